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

namespace {

// What every part of the chart needs: the plot frame, the units of the device and the view.
struct MonitorLayout {
    QRectF surface;
    QRectF plot;
    double ux = 1.0;  // device pixels per millimetre
    double uy = 1.0;
    double penWidth = 1.0;
    qint64 start = 0;
    qint64 span = 1;
    std::size_t from = 0;  // the readings of the view
    std::size_t to = 0;
};

// Volts and amperes over the readings of the view; the empty grid when there are none.
ChartScales monitorScales(const MonitorSeries& series, const MonitorLayout& l) {
    float vMin = 0, vMax = 0, iMin = 0, iMax = 0;
    bool any = false;
    for (std::size_t k = l.from; k < l.to; ++k) {
        const MonitorSample& s = series.at(k);
        const float lo = std::min({s.chargerV, s.bat1V, s.bat2V});
        const float hi = std::max({s.chargerV, s.bat1V, s.bat2V});
        vMin = any ? std::min(vMin, lo) : lo;
        vMax = any ? std::max(vMax, hi) : hi;
        iMin = any ? std::min(iMin, s.chargerA) : s.chargerA;
        iMax = any ? std::max(iMax, s.chargerA) : s.chargerA;
        any = true;
    }
    return any ? ComputeChartScales(vMin, vMax, iMin, iMax, 0.0f, 0.0f) : EmptyChartScales();
}

// Grid and value labels: volts left, amperes right, one set of lines for both.
void drawValueAxes(QPainter& painter, const QFontMetricsF& fm, const MonitorLayout& l,
                   const ChartScales& sc) {
    const QRectF& plot = l.plot;
    for (int k = 0; k <= sc.D; ++k) {
        const double y = plot.bottom() - plot.height() * k / sc.D;
        painter.setPen(QPen(QColor::fromRgb(kGridColour), 0.0, Qt::DotLine));
        painter.drawLine(QPointF(plot.left(), y), QPointF(plot.right(), y));
        painter.setPen(QColor::fromRgb(kMonitorColours[0]));
        const QString v = axisNumber(sc.vBottom + k * sc.vStep(), sc.vStep());
        painter.drawText(QPointF(plot.left() - fm.horizontalAdvance(v) - l.ux, y + fm.ascent() / 3),
                         v);
        painter.setPen(QColor::fromRgb(kMonitorColours[1]));
        painter.drawText(QPointF(plot.right() + l.ux, y + fm.ascent() / 3),
                         axisNumber(sc.iBottom + k * sc.iStep(), sc.iStep()));
    }
    painter.setPen(QColor::fromRgb(kMonitorColours[0]));
    painter.drawText(QPointF(plot.left() - fm.horizontalAdvance(QStringLiteral("V")) - l.ux,
                             plot.top() - fm.descent() - l.uy),
                     QStringLiteral("V"));
    painter.setPen(QColor::fromRgb(kMonitorColours[1]));
    painter.drawText(QPointF(plot.right() + l.ux, plot.top() - fm.descent() - l.uy),
                     QStringLiteral("A"));
}

// The time axis in local time, labels on round steps of the local clock.
void drawTimeAxis(QPainter& painter, const QFontMetricsF& fm, const MonitorLayout& l) {
    const QRectF& plot = l.plot;
    const qint64 end = l.start + l.span;
    const qint64 step = MonitorTimeStep(l.span);
    const qint64 offset =
        QDateTime::fromMSecsSinceEpoch(end, Qt::LocalTime).offsetFromUtc() * 1000LL;
    for (qint64 tick = ((l.start + offset + step - 1) / step) * step - offset; tick <= end;
         tick += step) {
        const double x = plot.left() + plot.width() * double(tick - l.start) / double(l.span);
        painter.setPen(QPen(QColor::fromRgb(kGridColour), 0.0, Qt::DotLine));
        painter.drawLine(QPointF(x, plot.top()), QPointF(x, plot.bottom()));
        const QString label =
            QDateTime::fromMSecsSinceEpoch(tick, Qt::LocalTime).toString(QStringLiteral("HH:mm"));
        painter.setPen(QColor::fromRgb(kFrameColour));
        painter.drawText(
            QPointF(x - fm.horizontalAdvance(label) / 2, plot.bottom() + l.uy + fm.ascent()),
            label);
    }
    painter.setPen(QPen(QColor::fromRgb(kFrameColour), 0.0));
    painter.drawRect(plot);
}

// The legend across the top.
void drawLegend(QPainter& painter, const QFontMetricsF& fm, const MonitorLayout& l,
                const MonitorChartTexts& texts) {
    double lx = l.plot.left();
    const double ly = l.surface.top() + 4 * l.uy;
    for (int c = 0; c < 4; ++c) {
        painter.setPen(QPen(QColor::fromRgb(kMonitorColours[c]), l.penWidth));
        painter.drawLine(QPointF(lx, ly), QPointF(lx + 6 * l.ux, ly));
        painter.drawText(QPointF(lx + 7 * l.ux, ly + fm.ascent() / 3), texts.legend[c]);
        lx += 9 * l.ux + fm.horizontalAdvance(texts.legend[c]);
    }
}

// The four curves, broken where the line to the charger was lost.
void drawCurves(QPainter& painter, const MonitorSeries& series, const MonitorLayout& l,
                const ChartScales& sc) {
    const QRectF& plot = l.plot;
    painter.setClipRect(plot.adjusted(-l.penWidth, -l.penWidth, l.penWidth, l.penWidth));
    const double vSpan = double(sc.vTop - sc.vBottom);
    const double iSpan = double(sc.iTop - sc.iBottom);
    for (int c = 0; c < 4; ++c) {
        QPen pen(QColor::fromRgb(kMonitorColours[c]));
        pen.setWidthF(l.penWidth <= 1.0 ? 0.0 : l.penWidth);
        painter.setPen(pen);
        Decimator line([&painter](const QPolygonF& points) { painter.drawPolyline(points); });
        for (std::size_t k = l.from; k < l.to; ++k) {
            const MonitorSample& s = series.at(k);
            const double x =
                plot.left() + plot.width() * double(s.msecs - l.start) / double(l.span);
            const double fraction = c == 1 ? (curveValue(s, c) - sc.iBottom) / iSpan
                                           : (curveValue(s, c) - sc.vBottom) / vSpan;
            line.add(x, plot.bottom() - plot.height() * fraction, s.gapBefore && k != l.from);
        }
        line.flush();
    }
}

}  // namespace

void DrawMonitorChart(QPainter& painter, const QRectF& surface, const MonitorSeries& series,
                      const MonitorView& view, const MonitorChartTexts& texts) {
    QPaintDevice* device = painter.device();
    MonitorLayout l;
    l.surface = surface;
    l.ux = device ? PixelsPerUnit(*device, true) : 96 / 25.4;
    l.uy = device ? PixelsPerUnit(*device, false) : 96 / 25.4;
    l.span = std::max<qint64>(view.spanMsecs, 60 * 1000);
    l.start = view.endMsecs - l.span;
    l.plot = QRectF(surface.left() + 14 * l.ux, surface.top() + 9 * l.uy,
                    std::max(1.0, surface.width() - 28 * l.ux),
                    std::max(1.0, surface.height() - 17 * l.uy));
    l.penWidth = std::max(1.0, std::round(0.3 * l.ux));
    l.from = series.firstAtOrAfter(l.start);
    l.to = series.firstAtOrAfter(view.endMsecs + 1);

    painter.save();
    painter.setClipRect(surface);
    painter.fillRect(surface, Qt::white);
    QFont font = painter.font();
    font.setPointSizeF(kLabelPoints);
    painter.setFont(font);
    const QFontMetricsF fm(font, device);

    const ChartScales sc = monitorScales(series, l);
    drawValueAxes(painter, fm, l, sc);
    drawTimeAxis(painter, fm, l);
    drawLegend(painter, fm, l, texts);
    if (l.from >= l.to) {
        painter.setPen(QColor::fromRgb(kFrameColour));
        painter.drawText(l.plot, Qt::AlignCenter, texts.noReadings);
    } else {
        drawCurves(painter, series, l, sc);
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
