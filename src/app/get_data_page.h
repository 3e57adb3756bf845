#pragma once

#include "app/chart_panel.h"
#include "app/log_dialogs.h"
#include "app/window_state.h"
#include "datalog/log_table_model.h"

#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTableView>
#include <QWidget>

#include <array>
#include <utility>
#include <vector>

namespace zun::app {

class LogChartView;
class LogPanel;
class MonitorPanel;
class ReadingsPanel;

// The Get Data page (Tab1 page 1): the readings panel, the data log panel, the live monitor and
// the chart panel. The page wires them together and keeps the window's handler names.
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
    // The records from..to of the range boxes, 1-based; {0, 0} when impossible.
    std::pair<int, int> chartedRange() const;
    // What the chart, Print and the exports draw.
    const datalog::LogTableModel& chartTable() const;

    using Dialogs = LogDialogs;
    Dialogs dialogs;

    const datalog::LogTableModel& logTable() const;
    const std::vector<float>& chargeAh() const;
    bool downloading() const;
    // The detail of the last message box shown.
    QString lastMessageDetail() const;
    // The exact text last put in TxtGet(index), CR LF included.
    QString TxtGetText(int index) const;
    // The size a PNG export is written at.
    static QSize exportImageSize() { return ChartPanel::exportImageSize(); }

    ReadingsPanel* Readings = nullptr;
    LogPanel* Log = nullptr;
    ChartPanel* PB = nullptr;  // the chart area: plot surface and its buttons
    // Live readings every few seconds, their chart and file.
    MonitorPanel* Monitor = nullptr;

    // The panels' controls, under the window's names.
    std::array<QPushButton*, 3> CmdGetOK{};
    std::array<QPlainTextEdit*, 2> TxtGet{};
    QTableView* FG1 = nullptr;
    std::array<QLineEdit*, 2> TxtRow{};
    std::array<QLabel*, 2> LabelRow{};
    QLineEdit* TxtGetDesc = nullptr;
    QLabel* LabelGetDesc = nullptr;
    QLabel* LabTime = nullptr;
    QLabel* LabDownDisp = nullptr;
    QLabel* LabDownMissing = nullptr;
    QPushButton* CmdGetSave = nullptr;
    QPushButton* CmdGetOpen = nullptr;
    QPushButton* CmdPrint = nullptr;
    QPushButton* CmdExportPdf = nullptr;
    QPushButton* CmdExportPng = nullptr;
    LogChartView* PP = nullptr;  // the plot surface

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void buildPanels();
    void nameControls();
    void addShortcuts();
    // Left: readings and the log; right: the monitor and the chart.
    void arrange();
    void fitLeftColumn();

    WindowState& state_;
    QString lastFolder_;
};

}  // namespace zun::app
