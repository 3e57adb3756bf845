#include "datalog/log_chart.h"

#include "datalog/chart_scales.h"
#include "datalog/stage_marks.h"
#include "link/codec.h"

#include <QBuffer>
#include <QFont>
#include <QFontMetricsF>
#include <QPageLayout>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QPolygonF>

#include <algorithm>
#include <cmath>
#include <limits>

namespace zun::datalog {

namespace {

constexpr double kMmPerInch = 25.4;
constexpr double kLabelPoints = 9.0;
constexpr double kTitlePoints = 12.0;

// Chart units (millimetres) to device pixels within the surface rectangle.
struct Mapper {
    QRectF surface;
    double ux = 1.0;
    double uy = 1.0;
    double x(double units) const { return surface.left() + units * ux; }
    double y(double units) const { return surface.top() + units * uy; }
};

class TextWriter {
public:
    TextWriter(QPainter& painter, const Mapper& map, const QFont& font)
        : painter_(painter), map_(map), font_(font), metrics_(font, painter.device()) {}

    double width(const QString& text) const { return metrics_.horizontalAdvance(text) / map_.ux; }
    double height() const { return metrics_.height() / map_.uy; }
    const QFontMetricsF& metrics() const { return metrics_; }

    // Text with its top-left corner at the given point, as the surface's print position works.
    void at(double x, double y, const QString& text, QRgb colour) const {
        painter_.setFont(font_);
        painter_.setPen(QColor::fromRgb(colour));
        painter_.drawText(QPointF(map_.x(x), map_.y(y) + metrics_.ascent()), text);
    }

private:
    QPainter& painter_;
    const Mapper& map_;
    QFont font_;
    QFontMetricsF metrics_;
};

QPen linePen(QRgb colour, double widthPx, Qt::PenStyle style = Qt::SolidLine) {
    QPen pen(QColor::fromRgb(colour));
    // Whole pixels: a one-pixel line is drawn as a hairline, which the raster engine draws
    // many times faster than a stroked outline, and thicker ones stay crisp without smoothing.
    const double width = std::round(widthPx);
    pen.setWidthF(width <= 1.0 ? 0.0 : width);
    pen.setStyle(style);
    pen.setCapStyle(Qt::FlatCap);
    return pen;
}

int lastMinutes(const QString& labTime) {
    const QString hhmm = labTime.right(5);
    const double t = static_cast<double>(link::TextToSingle(hhmm.left(2))) * 60.0 +
                     static_cast<double>(link::TextToSingle(hhmm.mid(3, 2)));
    if (!std::isfinite(t)) {
        return 0;
    }
    return static_cast<int>(std::fmod(std::fabs(std::trunc(t)), 1440.0));
}

// Keeps the look of a curve that has more points than pixel columns: per column the first,
// lowest, highest and last point, in the order they occur.
QPolygonF decimate(const std::vector<QPointF>& pts) {
    QPolygonF out;
    out.reserve(static_cast<int>(std::min<size_t>(pts.size(), 8192)));
    size_t i = 0;
    while (i < pts.size()) {
        const double column = std::floor(pts[i].x());
        size_t j = i;
        size_t lo = i;
        size_t hi = i;
        while (j < pts.size() && std::floor(pts[j].x()) == column) {
            if (pts[j].y() < pts[lo].y()) {
                lo = j;
            }
            if (pts[j].y() > pts[hi].y()) {
                hi = j;
            }
            ++j;
        }
        const size_t last = j - 1;
        if (last - i < 4) {
            for (size_t k = i; k <= last; ++k) {
                out << pts[k];
            }
        } else {
            out << pts[i];
            out << pts[std::min(lo, hi)];
            out << pts[std::max(lo, hi)];
            out << pts[last];
        }
        i = j;
    }
    return out;
}

}  // namespace

double PixelsPerUnit(const QPaintDevice& device, bool horizontal) {
    const int dpi = horizontal ? device.logicalDpiX() : device.logicalDpiY();
    return (dpi > 0 ? dpi : 96) / kMmPerInch;
}

QRectF ChartFrameRect(const QPaintDevice& device, const QRectF& surface) {
    const double ux = PixelsPerUnit(device, true);
    const double uy = PixelsPerUnit(device, false);
    const ChartFrame f = FrameForSurface(QSizeF(surface.width() / ux, surface.height() / uy));
    return QRectF(surface.left() + f.left * ux, surface.top() + f.top * uy, f.width() * ux,
                  f.height() * uy);
}

QString RecordTimeText(const QString& labTime, int steps) {
    long long t = static_cast<long long>(lastMinutes(labTime)) - 10LL * steps;
    t %= 1440;
    if (t < 0) {
        t += 1440;
    }
    return QString::number(t / 60).rightJustified(2, QLatin1Char('0')) + QLatin1Char(':') +
           QString::number(t % 60).rightJustified(2, QLatin1Char('0'));
}

std::vector<int> ChooseTimeLabels(const std::vector<double>& centres,
                                  const std::function<double(int)>& width, double minWidth,
                                  double gap) {
    std::vector<int> chosen;
    double prevEnd = -std::numeric_limits<double>::infinity();
    for (size_t j = 0; j < centres.size(); ++j) {
        const double x = centres[j];
        if (x - minWidth / 2.0 <= prevEnd) {
            continue;  // cannot clear the previous label whatever its width
        }
        const double w = width(static_cast<int>(j));
        const double left = x - w / 2.0;
        if (left <= prevEnd) {
            continue;
        }
        chosen.push_back(static_cast<int>(j));
        prevEnd = left + w + gap;
    }
    return chosen;
}

void DrawLogChart(QPainter& painter, const QRectF& surface, const ChartData& data) {
    QPaintDevice* device = painter.device();
    if (device == nullptr) {
        return;
    }
    Mapper map;
    map.surface = surface;
    map.ux = PixelsPerUnit(*device, true);
    map.uy = PixelsPerUnit(*device, false);
    const double sw = surface.width() / map.ux;
    const ChartFrame f = FrameForSurface(QSizeF(sw, surface.height() / map.uy));

    painter.save();
    painter.setClipRect(surface);
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.fillRect(surface, Qt::white);
    if (f.width() <= 0 || f.height() <= 0) {
        painter.restore();
        return;
    }

    const int n = data.table.recordCount();
    std::vector<float> volts(static_cast<size_t>(n));
    std::vector<float> amps(static_cast<size_t>(n));
    std::vector<float> charge(static_cast<size_t>(n), 0.0f);
    for (int j = 0; j < n; ++j) {
        const LogRow& row = data.table.rows()[static_cast<size_t>(j)];
        volts[static_cast<size_t>(j)] = link::TextToSingle(row[1]);
        amps[static_cast<size_t>(j)] = link::TextToSingle(row[2]);
        if (static_cast<size_t>(j + 1) < data.chargeAh.size()) {
            charge[static_cast<size_t>(j)] = data.chargeAh[static_cast<size_t>(j + 1)];
        }
    }
    ChartScales s = EmptyChartScales();
    if (n > 0) {
        const auto [vLo, vHi] = std::minmax_element(volts.begin(), volts.end());
        const auto [iLo, iHi] = std::minmax_element(amps.begin(), amps.end());
        const auto [aLo, aHi] = std::minmax_element(charge.begin(), charge.end());
        s = ComputeChartScales(*vLo, *vHi, *iLo, *iHi, *aLo, *aHi);
    }

    const double thin = 0.25 * map.ux;
    const QRectF frame(map.x(f.left), map.y(f.top), f.width() * map.ux, f.height() * map.uy);
    auto divisionY = [&](int k) { return f.bottom - k * f.height() / s.D; };

    painter.setPen(linePen(kGridColour, thin));
    for (int k = 1; k < s.D; ++k) {
        const double y = map.y(divisionY(k));
        painter.drawLine(QPointF(frame.left(), y), QPointF(frame.right(), y));
    }
    painter.setPen(linePen(kFrameColour, thin));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(frame);
    if (n == 0) {
        painter.restore();
        return;
    }

    QFont labelFont = painter.font();
    labelFont.setBold(false);
    labelFont.setPointSizeF(kLabelPoints);
    QFont titleFont = labelFont;
    titleFont.setPointSizeF(kTitlePoints);
    titleFont.setBold(true);
    const TextWriter text(painter, map, labelFont);
    const TextWriter title(painter, map, titleFont);
    const double th = text.height();

    const QString caption = QStringLiteral("Data Log");
    title.at((sw - title.width(caption)) / 2.0, 5.0, caption, 0xFF000000);

    for (int k = 0; k <= s.D; ++k) {
        const double y = divisionY(k) - th / 2.0;
        const QString v = link::FormatFixed(s.vBottom + k * s.vStep(), 0) + QStringLiteral(" V");
        text.at(f.left - text.width(v) - 2.0, y, v, kVoltageColour);
        const QString i = link::FormatFixed(s.iBottom + k * s.iStep(), 0) + QStringLiteral(" A");
        text.at(f.right + 2.0, y, i, kCurrentColour);
        const QString a =
            link::FormatFixed(s.ahBottom + k * s.ahStep(), s.ahDecimals) + QStringLiteral(" Ah");
        text.at(f.right + 12.0, y, a, kChargeColour);
    }

    auto rowX = [&](int j) { return n > 1 ? f.left + j * f.width() / (n - 1) : f.left; };

    // Time axis: a label only where it clears the one before, with a grid line under it.
    {
        std::vector<double> centres(static_cast<size_t>(n));
        for (int j = 0; j < n; ++j) {
            centres[static_cast<size_t>(j)] = rowX(j);
        }
        auto label = [&](int j) { return RecordTimeText(data.labTime, n - 1 - j); };
        const std::vector<int> chosen = ChooseTimeLabels(
            centres, [&](int j) { return text.width(label(j)); },
            0.75 * text.width(QStringLiteral("00:00")), text.width(QStringLiteral(" ")));
        painter.setPen(linePen(kGridColour, thin));
        for (int j : chosen) {
            const double x = centres[static_cast<size_t>(j)];
            if (x - f.left > 0.5 && f.right - x > 0.5) {
                painter.drawLine(QPointF(map.x(x), frame.top()), QPointF(map.x(x), frame.bottom()));
            }
        }
        for (int j : chosen) {
            const QString t = label(j);
            text.at(centres[static_cast<size_t>(j)] - text.width(t) / 2.0, f.bottom + 3.0, t,
                    0xFF000000);
        }
    }

    // Curves, clipped to the frame.
    painter.save();
    painter.setClipRect(frame.adjusted(-1, -1, 1, 1), Qt::IntersectClip);
    auto curve = [&](const std::vector<float>& values, double bottom, double top, QRgb colour) {
        std::vector<QPointF> pts;
        pts.reserve(values.size());
        const double span = top - bottom;
        for (int j = 0; j < n; ++j) {
            const double v = std::clamp(static_cast<double>(values[static_cast<size_t>(j)]),
                                        bottom - span, top + span);
            pts.emplace_back(map.x(rowX(j)), map.y(f.bottom - (v - bottom) * f.height() / span));
        }
        painter.setPen(linePen(colour, 0.35 * map.ux));
        const QPolygonF line = decimate(pts);
        if (line.size() == 1) {
            painter.drawPoint(line.front());
        } else {
            painter.drawPolyline(line);
        }
    };
    curve(charge, s.ahBottom, s.ahTop, kChargeColour);
    curve(amps, double(s.iBottom), double(s.iTop), kCurrentColour);
    curve(volts, double(s.vBottom), double(s.vTop), kVoltageColour);
    painter.restore();

    // Legend.
    {
        const double ly = f.bottom + 15.0;
        const double ty = f.bottom + 13.0;
        const double lw = 0.5 * map.ux;
        painter.setPen(linePen(kVoltageColour, lw));
        painter.drawLine(QPointF(map.x(f.right - 42), map.y(ly)),
                         QPointF(map.x(f.right - 35), map.y(ly)));
        text.at(f.right - 33, ty, QStringLiteral("Voltage"), 0xFF000000);
        painter.setPen(linePen(kCurrentColour, lw));
        painter.drawLine(QPointF(map.x(f.right - 17), map.y(ly)),
                         QPointF(map.x(f.right - 10), map.y(ly)));
        text.at(f.right - 8, ty, QStringLiteral("Current"), 0xFF000000);
        painter.setPen(linePen(kChargeColour, lw));
        painter.drawLine(QPointF(map.x(f.right + 8), map.y(ly)),
                         QPointF(map.x(f.right + 15), map.y(ly)));
        text.at(f.right + 17, ty, QStringLiteral("AH"), 0xFF000000);
    }

    // Description and time stamp under the time axis, clear of the legend.
    {
        const double room = std::max(0.0, (f.right - 44.0) - f.left) * map.ux;
        const QString desc = text.metrics().elidedText(QStringLiteral("Desc: ") + data.description,
                                                       Qt::ElideRight, room);
        text.at(f.left, f.bottom + 9.0, desc, 0xFF000000);
        const QString stamp = text.metrics().elidedText(data.labTime, Qt::ElideRight, room);
        text.at(f.left, f.bottom + 9.0 + th, stamp, 0xFF000000);
    }

    // Stage marks above the frame.
    {
        const double lineTop = f.top - 7.0;
        double prevEnd = -std::numeric_limits<double>::infinity();
        for (const StageMark& m : FindStageMarks(volts, amps)) {
            const double x = rowX(m.index);
            const QString name = StageName(m.stage);
            const double w = text.width(name);
            if (x - w / 2.0 <= prevEnd) {
                continue;
            }
            prevEnd = x + w / 2.0;
            painter.setPen(linePen(kFrameColour, thin));
            painter.drawLine(QPointF(map.x(x), map.y(lineTop)), QPointF(map.x(x), frame.top()));
            painter.setPen(linePen(kFrameColour, thin, Qt::DotLine));
            painter.drawLine(QPointF(map.x(x), frame.top()), QPointF(map.x(x), frame.bottom()));
            text.at(x - w / 2.0, lineTop - 5.0 - th / 2.0, name, 0xFF000000);
        }
    }
    painter.restore();
}

void DrawLogChart(QPaintDevice& device, const ChartData& data) {
    QPainter painter(&device);
    DrawLogChart(painter, QRectF(0, 0, device.width(), device.height()), data);
}

QImage RenderChartImage(const ChartData& data, const QSize& size) {
    QImage image(size, QImage::Format_RGB32);
    if (image.isNull()) {
        return image;
    }
    // 96 dpi whatever the screen, so the same data gives the same picture everywhere.
    image.setDotsPerMeterX(3780);
    image.setDotsPerMeterY(3780);
    image.fill(Qt::white);
    QPainter painter(&image);
    DrawLogChart(painter, QRectF(QPointF(0, 0), QSizeF(size)), data);
    return image;
}

FileResult SaveChartPng(const ChartData& data, const QSize& size, const QString& path) {
    const QImage image = RenderChartImage(data, size);
    if (image.isNull()) {
        return {false, QStringLiteral("Image size not usable")};
    }
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    if (!image.save(&buffer, "PNG")) {
        return {false, QStringLiteral("PNG encoding failed")};
    }
    return WriteWholeFile(path, png);
}

FileResult ExportChartPdf(const ChartData& data, const QString& path) {
    // The page is made in memory and then written in one piece, so a failing disk cannot leave
    // half a PDF behind.
    QByteArray pdf;
    {
        QBuffer buffer(&pdf);
        buffer.open(QIODevice::WriteOnly);
        QPdfWriter writer(&buffer);
        writer.setTitle(QStringLiteral("Data Log"));
        writer.setPageLayout(QPageLayout(QPageSize(QPageSize::A4), QPageLayout::Landscape,
                                         QMarginsF(10, 10, 10, 10), QPageLayout::Millimeter));
        QPainter painter;
        if (!painter.begin(&writer)) {
            return {false, QStringLiteral("Cannot start the PDF page")};
        }
        DrawLogChart(painter, QRectF(0, 0, writer.width(), writer.height()), data);
        painter.end();
    }
    return WriteWholeFile(path, pdf);
}

}  // namespace zun::datalog
