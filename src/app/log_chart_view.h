#pragma once

#include "datalog/log_chart.h"
#include "datalog/log_table_model.h"

#include <QImage>
#include <QString>
#include <QWidget>

#include <vector>

namespace zun::app {

// The chart's words in the language in use.
datalog::LogChartTexts ChartTextsInUse();

// The chart surface of the Get Data page. It paints from the page's log table and charge array
// on every repaint, so a resize redraws at the new size without keeping a picture around.
class LogChartView : public QWidget {
    Q_OBJECT
public:
    LogChartView(const datalog::LogTableModel& table, const std::vector<float>& chargeAh,
                 QWidget* parent = nullptr);

    // Draws the log as the table now holds it, with this time stamp and description.
    void showLog(const QString& labTime, const QString& description);
    // Only the empty frame and its grid: no log charted.
    void showEmpty();
    bool showsLog() const { return showsLog_; }

    // What the surface shows, rendered at the given size (96 dpi).
    QImage renderImage(const QSize& size) const;

    QSize minimumSizeHint() const override;
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const datalog::LogTableModel& table_;
    const std::vector<float>& chargeAh_;
    datalog::LogTableModel empty_;
    std::vector<float> emptyCharge_;
    bool showsLog_ = false;
    QString labTime_;
    QString description_;
};

}  // namespace zun::app
