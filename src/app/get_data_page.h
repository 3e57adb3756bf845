#pragma once

#include "app/chart_panel.h"
#include "app/log_dialogs.h"
#include "app/window_state.h"
#include "datalog/log_chart.h"
#include "datalog/log_table_model.h"

#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTableView>
#include <QWidget>

#include <array>
#include <functional>
#include <utility>
#include <vector>

class QPrinter;

namespace zun::app {

class LogChartView;
class MonitorPanel;

// The Get Data page (Tab1 page 1): run time, live readings, the data log table and chart.
class GetDataPage : public QWidget {
    Q_OBJECT
public:
    GetDataPage(WindowState& state, QWidget* parent = nullptr);

    // Start-up: the log table's header texts, widths and alignment.
    void InitLogTable();
    // Rearranges the page's controls and redraws the chart.
    void ArrangeLayout();

    // Index 0 "Total Run Time", 1 "Charger V I", 2 "Data Log".
    void CmdGetOK_Click(int Index);
    void CmdGetSave_Click();
    void CmdGetOpen_Click();
    void CmdPrint_Click();
    void CmdExportPdf_Click();
    void CmdExportPng_Click();
    void TxtRow_LostFocus(int Index);
    void TxtGetDesc_LostFocus();
    void TxtGetDesc_KeyUp(int KeyCode);

    // Charts the records of the range boxes (all of them while the range is impossible), with
    // the time stamp and the description shown.
    void DrawLogChart();
    // The records from..to of the range boxes, 1-based; nullopt-like {0, 0} when impossible.
    std::pair<int, int> chartedRange() const;
    // What the chart, Print and the exports draw.
    const datalog::LogTableModel& chartTable() const { return chartTable_; }

    using Dialogs = LogDialogs;
    Dialogs dialogs;

    const datalog::LogTableModel& logTable() const { return table_; }
    const std::vector<float>& chargeAh() const { return chargeAh_; }
    bool downloading() const { return downloading_; }
    // The detail of the last message box shown.
    QString lastMessageDetail() const { return lastDetail_; }
    // The exact text last put in TxtGet(index), CR LF included.
    QString TxtGetText(int index) const;
    // The size a PNG export is written at.
    static QSize exportImageSize() { return ChartPanel::exportImageSize(); }

    std::array<QPushButton*, 3> CmdGetOK{};
    std::array<QPlainTextEdit*, 2> TxtGet{};
    QTableView* FG1 = nullptr;
    std::array<QLineEdit*, 2> TxtRow{};
    std::array<QLabel*, 2> LabelRow{};
    QLineEdit* TxtGetDesc = nullptr;
    QLabel* LabelGetDesc = nullptr;
    QLabel* LabTime = nullptr;
    QLabel* LabDownDisp = nullptr;
    // Beside the progress: the records of the last download that are missing or damaged.
    QLabel* LabDownMissing = nullptr;
    QPushButton* CmdGetSave = nullptr;
    QPushButton* CmdGetOpen = nullptr;
    QPushButton* CmdPrint = nullptr;
    QPushButton* CmdExportPdf = nullptr;
    QPushButton* CmdExportPng = nullptr;
    ChartPanel* PB = nullptr;    // the chart area: plot surface and its buttons
    LogChartView* PP = nullptr;  // the plot surface

    // Live readings every few seconds, their chart and file.
    MonitorPanel* Monitor = nullptr;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void buildUi();
    void buildReadings(const QFontMetrics& fm);
    void buildLogTable(const QFontMetrics& fm);
    void buildLogControls(const QFontMetrics& fm);
    void buildFileButtons();
    void buildChart();
    // Left: readings, the table and its file controls; right: the chart and its outputs.
    void arrange();
    void fitLeftColumn();
    void RunTime();
    void LiveReading();
    void DataLog();
    void DownloadLog();
    void setBoxText(int index, const QString& text);
    void parkFocus();
    void setChartButtons(bool enabled);
    // Red while the range boxes hold no possible range.
    void markRange();
    QString chartLabTime() const;

    QString askSaveLogName(const QString& proposedPath);
    QString askOpenLogName(const QString& preset);
    bool askYesNo(const QString& question);
    // icon and detail go to the real box only; the hooks get the text.
    void tellInformation(const QString& text, QMessageBox::Icon icon = QMessageBox::Information,
                         const QString& detail = QString());
    void tellError(const QString& text);

    WindowState& state_;
    datalog::LogTableModel table_;
    std::vector<float> chargeAh_;
    // The records of the range: the chart's own copy of them and their charge.
    datalog::LogTableModel chartTable_;
    std::vector<float> chartAh_;
    std::array<QString, 2> getTexts_;
    bool downloading_ = false;
    QString lastFolder_;
    QString lastDetail_;
};

}  // namespace zun::app
