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

QPen linePen(const QPainter& painter, QRgb colour, double widthPx,
             Qt::PenStyle style = Qt::SolidLine) {
    QPen pen(QColor::fromRgb(colour));
    // Whole device pixels: a one-pixel line is drawn as a hairline, which the raster engine
    // draws many times faster than a stroked outline, and thicker ones stay crisp without
    // smoothing. On a high-density screen a logical pixel is several device pixels.
    const double ratio = painter.device() != nullptr ? painter.device()->devicePixelRatioF() : 1.0;
    const double width = std::round(widthPx * ratio);
    pen.setWidthF(width <= 1.0 ? 0.0 : width / ratio);
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

namespace {

// The values the chart plots, one per record.
struct Series {
    std::vector<float> volts;
    std::vector<float> amps;
    std::vector<float> charge;
};

Series SeriesOf(const ChartData& data) {
    const size_t n = static_cast<size_t>(data.table.recordCount());
    Series s{std::vector<float>(n), std::vector<float>(n), std::vector<float>(n, 0.0f)};
    for (size_t j = 0; j < n; ++j) {
        const LogRow& row = data.table.rows()[j];
        s.volts[j] = link::TextToSingle(row[1]);
        s.amps[j] = link::TextToSingle(row[2]);
        if (j + 1 < data.chargeAh.size()) {
            s.charge[j] = data.chargeAh[j + 1];
        }
    }
    return s;
}

ChartScales ScalesOf(const Series& s) {
    if (s.volts.empty()) {
        return EmptyChartScales();
    }
    const auto [vLo, vHi] = std::minmax_element(s.volts.begin(), s.volts.end());
    const auto [iLo, iHi] = std::minmax_element(s.amps.begin(), s.amps.end());
    const auto [aLo, aHi] = std::minmax_element(s.charge.begin(), s.charge.end());
    return ComputeChartScales(*vLo, *vHi, *iLo, *iHi, *aLo, *aHi);
}

// One drawing of the chart: the parts in the order they are painted, in chart units
// (millimetres) mapped onto the surface.
class ChartPainter {
public:
    ChartPainter(QPainter& painter, const Mapper& map, const ChartFrame& f, const ChartData& data,
                 const Series& series, const ChartScales& scales)
        : painter_(painter),
          map_(map),
          f_(f),
          data_(data),
          series_(series),
          s_(scales),
          n_(static_cast<int>(series.volts.size())),
          thin_(0.25 * map.ux),
          frame_(map.x(f.left), map.y(f.top), f.width() * map.ux, f.height() * map.uy) {}

    void gridAndFrame() {
        painter_.setPen(linePen(painter_, kGridColour, thin_));
        for (int k = 1; k < s_.D; ++k) {
            const double y = map_.y(divisionY(k));
            painter_.drawLine(QPointF(frame_.left(), y), QPointF(frame_.right(), y));
        }
        painter_.setPen(linePen(painter_, kFrameColour, thin_));
        painter_.setBrush(Qt::NoBrush);
        painter_.drawRect(frame_);
    }

    // Everything that needs records: texts, curves, legend and stage marks.
    void records(double surfaceWidth) {
        QFont labelFont = painter_.font();
        labelFont.setBold(false);
        labelFont.setPointSizeF(kLabelPoints);
        QFont titleFont = labelFont;
        titleFont.setPointSizeF(kTitlePoints);
        titleFont.setBold(true);
        const TextWriter text(painter_, map_, labelFont);
        const TextWriter title(painter_, map_, titleFont);

        const QString caption = data_.texts.title;
        title.at((surfaceWidth - title.width(caption)) / 2.0, 5.0, caption, 0xFF000000);
        scaleLabels(text);
        timeAxis(text);
        curves();
        legend(text);
        description(text);
        stageMarks(text);
    }

private:
    double divisionY(int k) const { return f_.bottom - k * f_.height() / s_.D; }
    double rowX(int j) const { return n_ > 1 ? f_.left + j * f_.width() / (n_ - 1) : f_.left; }

    void scaleLabels(const TextWriter& text) {
        const double th = text.height();
        for (int k = 0; k <= s_.D; ++k) {
            const double y = divisionY(k) - th / 2.0;
            const QString v =
                link::FormatFixed(s_.vBottom + k * s_.vStep(), 0) + QStringLiteral(" V");
            text.at(f_.left - text.width(v) - 2.0, y, v, kVoltageColour);
            const QString i =
                link::FormatFixed(s_.iBottom + k * s_.iStep(), 0) + QStringLiteral(" A");
            text.at(f_.right + 2.0, y, i, kCurrentColour);
            const QString a = link::FormatFixed(s_.ahBottom + k * s_.ahStep(), s_.ahDecimals) +
                              QStringLiteral(" Ah");
            text.at(f_.right + 12.0, y, a, kChargeColour);
        }
    }

    // A time label only where it clears the one before, with a grid line under it.
    void timeAxis(const TextWriter& text) {
        std::vector<double> centres(static_cast<size_t>(n_));
        for (int j = 0; j < n_; ++j) {
            centres[static_cast<size_t>(j)] = rowX(j);
        }
        auto label = [&](int j) { return RecordTimeText(data_.labTime, n_ - 1 - j); };
        const std::vector<int> chosen = ChooseTimeLabels(
            centres, [&](int j) { return text.width(label(j)); },
            0.75 * text.width(QStringLiteral("00:00")), text.width(QStringLiteral(" ")));
        painter_.setPen(linePen(painter_, kGridColour, thin_));
        for (int j : chosen) {
            const double x = centres[static_cast<size_t>(j)];
            if (x - f_.left > 0.5 && f_.right - x > 0.5) {
                painter_.drawLine(QPointF(map_.x(x), frame_.top()),
                                  QPointF(map_.x(x), frame_.bottom()));
            }
        }
        for (int j : chosen) {
            const QString t = label(j);
            text.at(centres[static_cast<size_t>(j)] - text.width(t) / 2.0, f_.bottom + 3.0, t,
                    0xFF000000);
        }
    }

    // Clipped to the frame.
    void curves() {
        painter_.save();
        painter_.setClipRect(frame_.adjusted(-1, -1, 1, 1), Qt::IntersectClip);
        curve(series_.charge, s_.ahBottom, s_.ahTop, kChargeColour);
        curve(series_.amps, double(s_.iBottom), double(s_.iTop), kCurrentColour);
        curve(series_.volts, double(s_.vBottom), double(s_.vTop), kVoltageColour);
        painter_.restore();
    }

    void curve(const std::vector<float>& values, double bottom, double top, QRgb colour) {
        std::vector<QPointF> pts;
        pts.reserve(values.size());
        const double span = top - bottom;
        for (int j = 0; j < n_; ++j) {
            const double v = std::clamp(static_cast<double>(values[static_cast<size_t>(j)]),
                                        bottom - span, top + span);
            pts.emplace_back(map_.x(rowX(j)),
                             map_.y(f_.bottom - (v - bottom) * f_.height() / span));
        }
        painter_.setPen(linePen(painter_, colour, 0.35 * map_.ux));
        const QPolygonF line = decimate(pts);
        if (line.size() == 1) {
            painter_.drawPoint(line.front());
        } else {
            painter_.drawPolyline(line);
        }
    }

    void legend(const TextWriter& text) {
        const double ly = f_.bottom + 15.0;
        const double ty = f_.bottom + 13.0;
        const double lw = 0.5 * map_.ux;
        const struct {
            double at;
            QRgb colour;
            const QString& name;
        } entries[] = {{-42, kVoltageColour, data_.texts.voltage},
                       {-17, kCurrentColour, data_.texts.current},
                       {8, kChargeColour, data_.texts.charge}};
        // A longer word than the English one moves the entries after it to the right.
        double free = -std::numeric_limits<double>::infinity();
        for (const auto& e : entries) {
            const double at = std::max(f_.right + e.at, free);
            painter_.setPen(linePen(painter_, e.colour, lw));
            painter_.drawLine(QPointF(map_.x(at), map_.y(ly)), QPointF(map_.x(at + 7), map_.y(ly)));
            text.at(at + 9, ty, e.name, 0xFF000000);
            free = at + 9 + text.width(e.name) + 2;
        }
    }

    // Description and time stamp under the time axis, clear of the legend.
    void description(const TextWriter& text) {
        const double room = std::max(0.0, (f_.right - 44.0) - f_.left) * map_.ux;
        // The caption ("Desc:", "Time:") always shows; only what follows it is shortened.
        const auto fit = [&](const QString& whole) {
            const int colon = whole.indexOf(QLatin1String(": "));
            const QString head = colon < 0 ? QString() : whole.left(colon + 2);
            const double left = std::max(0.0, room - text.metrics().horizontalAdvance(head));
            return head + text.metrics().elidedText(whole.mid(head.size()), Qt::ElideRight, left);
        };
        const QString desc = fit(data_.texts.desc + QLatin1Char(' ') + data_.description);
        text.at(f_.left, f_.bottom + 9.0, desc, 0xFF000000);
        // The stamp keeps its English head in the table and the file; the chart says it in the
        // window's language.
        QString labTime = data_.labTime;
        if (labTime.startsWith(QLatin1String("Time:"))) {
            labTime = data_.texts.time + labTime.mid(5);
        }
        const QString stamp = fit(labTime);
        text.at(f_.left, f_.bottom + 9.0 + text.height(), stamp, 0xFF000000);
    }

    // Above the frame; a mark whose name would overlap the one before is left out.
    void stageMarks(const TextWriter& text) {
        const double th = text.height();
        const double lineTop = f_.top - 7.0;
        double prevEnd = -std::numeric_limits<double>::infinity();
        for (const StageMark& m : FindStageMarks(series_.volts, series_.amps)) {
            const double x = rowX(m.index);
            const QString name =
                m.stage == ChargeStage::ConstantCurrent
                    ? data_.texts.constantCurrent
                    : (m.stage == ChargeStage::ConstantVoltage ? data_.texts.constantVoltage
                                                               : data_.texts.floatCharge);
            const double w = text.width(name);
            if (x - w / 2.0 <= prevEnd) {
                continue;
            }
            prevEnd = x + w / 2.0;
            painter_.setPen(linePen(painter_, kFrameColour, thin_));
            painter_.drawLine(QPointF(map_.x(x), map_.y(lineTop)),
                              QPointF(map_.x(x), frame_.top()));
            painter_.setPen(linePen(painter_, kFrameColour, thin_, Qt::DotLine));
            painter_.drawLine(QPointF(map_.x(x), frame_.top()),
                              QPointF(map_.x(x), frame_.bottom()));
            text.at(x - w / 2.0, lineTop - 5.0 - th / 2.0, name, 0xFF000000);
        }
    }

    QPainter& painter_;
    const Mapper& map_;
    const ChartFrame f_;
    const ChartData& data_;
    const Series& series_;
    const ChartScales s_;
    const int n_;
    const double thin_;
    const QRectF frame_;
};

}  // namespace

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
    if (f.width() > 0 && f.height() > 0) {
        const Series series = SeriesOf(data);
        ChartPainter chart(painter, map, f, data, series, ScalesOf(series));
        chart.gridAndFrame();
        if (!series.volts.empty()) {
            chart.records(sw);
        }
    }
    painter.restore();
}

void DrawLogChart(QPaintDevice& device, const ChartData& data) {
    QPainter painter(&device);
    DrawLogChart(painter, QRectF(0, 0, device.width(), device.height()), data);
}

QImage RenderChartImage(const ChartData& data, const QSize& size, int dpi) {
    QImage image(size, QImage::Format_RGB32);
    if (image.isNull()) {
        return image;
    }
    // A fixed resolution whatever the screen, so the same data gives the same picture
    // everywhere; 96 dpi unless the caller wants lines and text to grow with the image.
    const int dotsPerMeter = static_cast<int>(std::lround(dpi / 0.0254));
    image.setDotsPerMeterX(dotsPerMeter);
    image.setDotsPerMeterY(dotsPerMeter);
    image.fill(Qt::white);
    QPainter painter(&image);
    DrawLogChart(painter, QRectF(QPointF(0, 0), QSizeF(size)), data);
    return image;
}

FileResult SaveChartPng(const ChartData& data, const QSize& size, const QString& path, int dpi) {
    const QImage image = RenderChartImage(data, size, dpi);
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
        writer.setTitle(data.texts.title);
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
