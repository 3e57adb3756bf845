#include "app/log_chart_view.h"

#include "app/page_parts.h"
#include "datalog/log_chart.h"
#include "lang/program_texts.h"

#include <QPainter>

namespace zun::app {

datalog::LogChartTexts ChartTextsInUse() {
    using lang::T;
    using lang::Text;
    datalog::LogChartTexts t;
    t.title = Text(T::ChartTitle);
    t.voltage = Text(T::ChartVoltage);
    t.current = Text(T::ChartCurrent);
    t.charge = Text(T::ChartCharge);
    t.desc = Text(T::ChartDesc);
    t.time = Text(T::ChartTime);
    t.constantCurrent = Text(T::MarkCC);
    t.constantVoltage = Text(T::MarkCV);
    t.floatCharge = Text(T::MarkFloat);
    return t;
}

LogChartView::LogChartView(const datalog::LogTableModel& table, const std::vector<float>& chargeAh,
                           QWidget* parent)
    : QWidget(parent), table_(table), chargeAh_(chargeAh) {
    setAttribute(Qt::WA_OpaquePaintEvent);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    FollowLanguage(this, [this] { update(); });
}

void LogChartView::showLog(const QString& labTime, const QString& description) {
    showsLog_ = true;
    labTime_ = labTime;
    description_ = description;
    update();
}

void LogChartView::showEmpty() {
    showsLog_ = false;
    labTime_.clear();
    description_.clear();
    update();
}

QImage LogChartView::renderImage(const QSize& size) const {
    if (showsLog_) {
        return datalog::RenderChartImage(
            {table_, chargeAh_, labTime_, description_, ChartTextsInUse()}, size);
    }
    return datalog::RenderChartImage(
        {empty_, emptyCharge_, QString(), QString(), ChartTextsInUse()}, size);
}

QSize LogChartView::minimumSizeHint() const {
    // Below this the scales on the right and the legend no longer fit beside the plot.
    return {420, 260};
}

QSize LogChartView::sizeHint() const {
    return {640, 420};
}

void LogChartView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const QRectF surface(rect());
    try {
        if (showsLog_) {
            datalog::DrawLogChart(painter, surface,
                                  {table_, chargeAh_, labTime_, description_, ChartTextsInUse()});
        } else {
            datalog::DrawLogChart(painter, surface,
                                  {empty_, emptyCharge_, QString(), QString(), ChartTextsInUse()});
        }
    } catch (...) {
        painter.fillRect(rect(), Qt::white);
    }
}

}  // namespace zun::app
