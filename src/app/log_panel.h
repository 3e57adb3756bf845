#pragma once

#include "app/log_dialogs.h"
#include "app/window_state.h"
#include "datalog/log_table_model.h"

#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTableView>
#include <QWidget>

#include <array>
#include <utility>
#include <vector>

namespace zun::app {

class ChartPanel;

// The data log of the Get Data page: the "Data Log" button with the transfer's progress, the
// table, the record range, the description and Save/Open. It keeps the downloaded or opened
// records and hands the chart the records of the range.
class LogPanel : public QWidget {
    Q_OBJECT
public:
    // dialogs and lastFolder are the page's, shared with the chart's outputs.
    LogPanel(WindowState& state, LogDialogs& dialogs, QString& lastFolder,
             QWidget* parent = nullptr);

    // The chart drawn from the range; set once, before the first download.
    void setChart(ChartPanel* chart) { chart_ = chart; }

    // Start-up: the table's header texts, widths and alignment.
    void InitLogTable();
    // Downloads the log with the given controls locked as well.
    void DataLog(const std::vector<QWidget*>& alsoLocked);
    void CmdGetSave_Click();
    void CmdGetOpen_Click();
    void TxtRow_LostFocus(int Index);
    void TxtGetDesc_LostFocus();
    void TxtGetDesc_KeyUp(int KeyCode);
    void DrawLogChart();
    // Moves the focus off a control that is about to be disabled, onto the table.
    void parkFocus();

    // The records from..to of the range boxes, 1-based; {0, 0} when impossible.
    std::pair<int, int> chartedRange() const;
    // The time stamp of the last record charted.
    QString chartLabTime() const;

    const datalog::LogTableModel& logTable() const { return table_; }
    const std::vector<float>& chargeAh() const { return chargeAh_; }
    const datalog::LogTableModel& chartTable() const { return chartTable_; }
    const std::vector<float>& chartAh() const { return chartAh_; }
    bool downloading() const { return downloading_; }
    QString lastMessageDetail() const { return lastDetail_; }

    QPushButton* CmdDataLog = nullptr;  // CmdGetOK(2)
    QLabel* LabDownDisp = nullptr;
    // Beside the progress: the records of the last download that are missing or damaged.
    QLabel* LabDownMissing = nullptr;
    QTableView* FG1 = nullptr;
    QLabel* LabTime = nullptr;
    std::array<QLineEdit*, 2> TxtRow{};
    std::array<QLabel*, 2> LabelRow{};
    QLineEdit* TxtGetDesc = nullptr;
    QLabel* LabelGetDesc = nullptr;
    QPushButton* CmdGetSave = nullptr;
    QPushButton* CmdGetOpen = nullptr;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void buildTable();
    void buildControls();
    void arrange();
    void DownloadLog();
    void showDownloadOutcome();
    void finishDownload();
    void setChartButtons(bool enabled);
    // Red while the range boxes hold no possible range.
    void markRange();

    QString askSaveLogName(const QString& proposedPath);
    QString askOpenLogName(const QString& preset);
    bool askYesNo(const QString& question);
    // icon and detail go to the real box only; the hooks get the text.
    void tellInformation(const QString& text, QMessageBox::Icon icon = QMessageBox::Information,
                         const QString& detail = QString());
    void tellError(const QString& text);

    WindowState& state_;
    LogDialogs& dialogs_;
    QString& lastFolder_;
    ChartPanel* chart_ = nullptr;
    datalog::LogTableModel table_;
    std::vector<float> chargeAh_;
    // The records of the range: the chart's own copy of them and their charge.
    datalog::LogTableModel chartTable_;
    std::vector<float> chartAh_;
    bool downloading_ = false;
    QString lastDetail_;
};

}  // namespace zun::app
