#include "datalog/monitor_chart.h"

#include "datalog/chart_scales.h"
#include "datalog/log_chart.h"
#include "link/codec.h"

#include <QDateTime>
#include <QFont>
#include <QFontMetricsF>
#include <QPainter>
#include <QPolygonF>

#include <algorithm>
#include <cmath>
#include <functional>

namespace zun::datalog {

namespace {

constexpr double kLabelPoints = 8.0;

float curveValue(const MonitorSample& s, int curve) {
    switch (curve) {
        case 0:
            return s.chargerV;
        case 1:
            return s.chargerA;
        case 2:
            return s.bat1V;
        default:
            return s.bat2V;
    }
}

// Collects the points of one curve, keeping per pixel column only the first, lowest, highest
// and last value, in the order they came; a gap ends the polyline.
class Decimator {
public:
    explicit Decimator(std::function<void(const QPolygonF&)> draw) : draw_(std::move(draw)) {}

    void add(double x, double y, bool gapBefore) {
        if (gapBefore) {
            flush();
        }
        const int column = static_cast<int>(std::floor(x));
        if (!open_ || column != column_) {
            emitColumn();
            open_ = true;
            column_ = column;
            first_ = last_ = lo_ = hi_ = QPointF(x, y);
            return;
        }
        last_ = QPointF(x, y);
        if (y < lo_.y()) {
            lo_ = last_;
        }
        if (y > hi_.y()) {
            hi_ = last_;
        }
    }

    void flush() {
        emitColumn();
        if (line_.size() == 1) {
            line_ << line_.first() + QPointF(1.0, 0.0);  // a lone reading still shows
        }
        if (!line_.isEmpty()) {
            draw_(line_);
        }
        line_.clear();
    }

private:
    void emitColumn() {
        if (!open_) {
            return;
        }
        open_ = false;
        const QPointF mid1 = lo_.x() <= hi_.x() ? lo_ : hi_;
        const QPointF mid2 = lo_.x() <= hi_.x() ? hi_ : lo_;
        for (const QPointF& p : {first_, mid1, mid2, last_}) {
            if (line_.isEmpty() || line_.last() != p) {
                line_ << p;
            }
        }
    }

    std::function<void(const QPolygonF&)> draw_;
    QPolygonF line_;
    bool open_ = false;
    int column_ = 0;
    QPointF first_, last_, lo_, hi_;
};

QString axisNumber(double value, double step) {
    return link::FormatFixed(value, step < 1.0 ? 1 : 0);
}

}  // namespace

qint64 MonitorTimeStep(qint64 spanMsecs) {
    static constexpr qint64 kMinute = 60 * 1000;
    static constexpr qint64 kSteps[] = {
        kMinute,      2 * kMinute,   5 * kMinute,   10 * kMinute,  15 * kMinute,  30 * kMinute,
        60 * kMinute, 120 * kMinute, 180 * kMinute, 360 * kMinute, 720 * kMinute, 1440 * kMinute};
    for (qint64 step : kSteps) {
        if (spanMsecs / step <= 8) {
            return step;
        }
    }
    return kSteps[std::size(kSteps) - 1];
}

void DrawMonitorChart(QPainter& painter, const QRectF& surface, const MonitorSeries& series,
                      const MonitorView& view, const MonitorChartTexts& texts) {
    QPaintDevice* device = painter.device();
    const double ux = device ? PixelsPerUnit(*device, true) : 96 / 25.4;
    const double uy = device ? PixelsPerUnit(*device, false) : 96 / 25.4;
    const qint64 span = std::max<qint64>(view.spanMsecs, 60 * 1000);
    const qint64 start = view.endMsecs - span;

    painter.save();
    painter.setClipRect(surface);
    painter.fillRect(surface, Qt::white);
    QFont font = painter.font();
    font.setPointSizeF(kLabelPoints);
    painter.setFont(font);
    const QFontMetricsF fm(font, device);

    const QRectF plot(surface.left() + 14 * ux, surface.top() + 9 * uy,
                      std::max(1.0, surface.width() - 28 * ux),
                      std::max(1.0, surface.height() - 17 * uy));
    const double penWidth = std::max(1.0, std::round(0.3 * ux));

    const std::size_t from = series.firstAtOrAfter(start);
    const std::size_t to = series.firstAtOrAfter(view.endMsecs + 1);
    float vMin = 0, vMax = 0, iMin = 0, iMax = 0;
    bool any = false;
    for (std::size_t k = from; k < to; ++k) {
        const MonitorSample& s = series.at(k);
        const float lo = std::min({s.chargerV, s.bat1V, s.bat2V});
        const float hi = std::max({s.chargerV, s.bat1V, s.bat2V});
        vMin = any ? std::min(vMin, lo) : lo;
        vMax = any ? std::max(vMax, hi) : hi;
        iMin = any ? std::min(iMin, s.chargerA) : s.chargerA;
        iMax = any ? std::max(iMax, s.chargerA) : s.chargerA;
        any = true;
    }
    const ChartScales sc =
        any ? ComputeChartScales(vMin, vMax, iMin, iMax, 0.0f, 0.0f) : EmptyChartScales();

    // Grid and value labels: volts left, amperes right, one set of lines for both.
    painter.setPen(QPen(QColor::fromRgb(kGridColour), 0.0, Qt::DotLine));
    for (int k = 0; k <= sc.D; ++k) {
        const double y = plot.bottom() - plot.height() * k / sc.D;
        painter.drawLine(QPointF(plot.left(), y), QPointF(plot.right(), y));
        painter.setPen(QColor::fromRgb(kMonitorColours[0]));
        const QString v = axisNumber(sc.vBottom + k * sc.vStep(), sc.vStep());
        painter.drawText(QPointF(plot.left() - fm.horizontalAdvance(v) - ux, y + fm.ascent() / 3),
                         v);
        painter.setPen(QColor::fromRgb(kMonitorColours[1]));
        painter.drawText(QPointF(plot.right() + ux, y + fm.ascent() / 3),
                         axisNumber(sc.iBottom + k * sc.iStep(), sc.iStep()));
        painter.setPen(QPen(QColor::fromRgb(kGridColour), 0.0, Qt::DotLine));
    }
    painter.setPen(QColor::fromRgb(kMonitorColours[0]));
    painter.drawText(QPointF(plot.left() - fm.horizontalAdvance(QStringLiteral("V")) - ux,
                             plot.top() - fm.descent() - uy),
                     QStringLiteral("V"));
    painter.setPen(QColor::fromRgb(kMonitorColours[1]));
    painter.drawText(QPointF(plot.right() + ux, plot.top() - fm.descent() - uy),
                     QStringLiteral("A"));

    // Time axis in local time, labels on round steps of the local clock.
    const qint64 step = MonitorTimeStep(span);
    const qint64 offset =
        QDateTime::fromMSecsSinceEpoch(view.endMsecs, Qt::LocalTime).offsetFromUtc() * 1000LL;
    qint64 tick = ((start + offset + step - 1) / step) * step - offset;
    for (; tick <= view.endMsecs; tick += step) {
        const double x = plot.left() + plot.width() * double(tick - start) / double(span);
        painter.setPen(QPen(QColor::fromRgb(kGridColour), 0.0, Qt::DotLine));
        painter.drawLine(QPointF(x, plot.top()), QPointF(x, plot.bottom()));
        const QString label =
            QDateTime::fromMSecsSinceEpoch(tick, Qt::LocalTime).toString(QStringLiteral("HH:mm"));
        painter.setPen(QColor::fromRgb(kFrameColour));
        painter.drawText(
            QPointF(x - fm.horizontalAdvance(label) / 2, plot.bottom() + uy + fm.ascent()), label);
    }
    painter.setPen(QPen(QColor::fromRgb(kFrameColour), 0.0));
    painter.drawRect(plot);

    // Legend across the top.
    double lx = plot.left();
    for (int c = 0; c < 4; ++c) {
        painter.setPen(QPen(QColor::fromRgb(kMonitorColours[c]), penWidth));
        const double ly = surface.top() + 4 * uy;
        painter.drawLine(QPointF(lx, ly), QPointF(lx + 6 * ux, ly));
        painter.drawText(QPointF(lx + 7 * ux, ly + fm.ascent() / 3), texts.legend[c]);
        lx += 9 * ux + fm.horizontalAdvance(texts.legend[c]);
    }

    if (!any) {
        painter.setPen(QColor::fromRgb(kFrameColour));
        painter.drawText(plot, Qt::AlignCenter, texts.noReadings);
        painter.restore();
        return;
    }

    painter.setClipRect(plot.adjusted(-penWidth, -penWidth, penWidth, penWidth));
    const double vSpan = double(sc.vTop - sc.vBottom);
    const double iSpan = double(sc.iTop - sc.iBottom);
    for (int c = 0; c < 4; ++c) {
        QPen pen(QColor::fromRgb(kMonitorColours[c]));
        pen.setWidthF(penWidth <= 1.0 ? 0.0 : penWidth);
        painter.setPen(pen);
        Decimator line([&painter](const QPolygonF& points) { painter.drawPolyline(points); });
        for (std::size_t k = from; k < to; ++k) {
            const MonitorSample& s = series.at(k);
            const double x = plot.left() + plot.width() * double(s.msecs - start) / double(span);
            const double fraction = c == 1 ? (curveValue(s, c) - sc.iBottom) / iSpan
                                           : (curveValue(s, c) - sc.vBottom) / vSpan;
            line.add(x, plot.bottom() - plot.height() * fraction, s.gapBefore && k != from);
        }
        line.flush();
    }
    painter.restore();
}

QImage RenderMonitorImage(const MonitorSeries& series, const MonitorView& view, const QSize& size,
                          const MonitorChartTexts& texts) {
    QImage image(size, QImage::Format_RGB32);
    image.setDotsPerMeterX(3780);  // 96 dpi
    image.setDotsPerMeterY(3780);
    QPainter painter(&image);
    DrawMonitorChart(painter, QRectF(QPointF(0, 0), QSizeF(size)), series, view, texts);
    return image;
}

}  // namespace zun::datalog
