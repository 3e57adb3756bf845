#pragma once

#include <algorithm>

#include "app/log_dialogs.h"
#include "datalog/log_chart.h"
#include "datalog/log_table_model.h"

#include <QPushButton>
#include <QSize>
#include <QString>
#include <QWidget>

#include <functional>
#include <vector>

namespace zun::app {

class LogChartView;

// The chart area of the Get Data page (PB): the plot surface and its outputs, Print, Export PDF
// and Export PNG. It charts the page's log table as it stands.
class ChartPanel : public QWidget {
    Q_OBJECT
public:
    // What the chart shows, kept by the page.
    struct Source {
        const datalog::LogTableModel& table;
        const std::vector<float>& chargeAh;
        std::function<QString()> labTime;
        std::function<QString()> description;
    };

    // lastFolder is the page's: saving, opening and exporting propose the folder used last.
    ChartPanel(Source source, LogDialogs& dialogs, QString& lastFolder, QWidget* parent = nullptr);

    void setButtons(bool enabled);
    void CmdPrint_Click();
    void CmdExportPdf_Click();
    void CmdExportPng_Click();

    // The size a PNG export is written at.
    static QSize exportImageSize() { return {1920, 1080}; }
    // Lines and text of an exported picture grow with it, as if the 960-pixel-wide chart were
    // scaled up: 192 dpi for 1920 pixels.
    static int ExportDpi(const QSize& size) { return std::max(96, 96 * size.width() / 960); }

    LogChartView* PP = nullptr;  // the plot surface
    QPushButton* CmdPrint = nullptr;
    QPushButton* CmdExportPdf = nullptr;
    QPushButton* CmdExportPng = nullptr;

private:
    datalog::ChartData chartData() const;
    QString exportPath(const QString& suffix, const QString& filter);
    // Asks for a file name and writes the chart there with write; a failure is shown.
    void exportChart(
        const QString& suffix, const QString& filter,
        const std::function<datalog::FileResult(const datalog::ChartData&, const QString&)>& write);
    void tellError(const QString& text);

    Source source_;
    LogDialogs& dialogs_;
    QString& lastFolder_;
};

}  // namespace zun::app
