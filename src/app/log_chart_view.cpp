#include "app/log_chart_view.h"

#include "datalog/log_chart.h"

#include <QPainter>

namespace zun::app {

LogChartView::LogChartView(const datalog::LogTableModel& table, const std::vector<float>& chargeAh,
                           QWidget* parent)
    : QWidget(parent), table_(table), chargeAh_(chargeAh) {
    setAttribute(Qt::WA_OpaquePaintEvent);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
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
        return datalog::RenderChartImage({table_, chargeAh_, labTime_, description_}, size);
    }
    return datalog::RenderChartImage({empty_, emptyCharge_, QString(), QString()}, size);
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
            datalog::DrawLogChart(painter, surface, {table_, chargeAh_, labTime_, description_});
        } else {
            datalog::DrawLogChart(painter, surface, {empty_, emptyCharge_, QString(), QString()});
        }
    } catch (...) {
        painter.fillRect(rect(), Qt::white);
    }
}

}  // namespace zun::app
