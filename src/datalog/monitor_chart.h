#pragma once

#include "datalog/monitor_series.h"

#include <QImage>
#include <QRectF>
#include <QSize>
#include <QString>

#include <array>

class QPainter;

namespace zun::datalog {

// The window of time the live chart shows: spanMsecs up to endMsecs (milliseconds since the
// epoch); the time axis is labelled in local time.
struct MonitorView {
    qint64 endMsecs = 0;
    qint64 spanMsecs = 3 * 3600 * 1000LL;
};

// Legend captions, in curve order: charger volts, charger amperes, battery 1 and 2 volts.
struct MonitorChartTexts {
    std::array<QString, 4> legend{QStringLiteral("chr volt"), QStringLiteral("curr"),
                                  QStringLiteral("bat1 volt"), QStringLiteral("bat2 volt")};
    QString noReadings = QStringLiteral("No readings yet");
};

inline constexpr std::array<QRgb, 4> kMonitorColours{0xFF0000FF, 0xFFFF0000, 0xFF008800,
                                                     0xFFAA5500};

// Step between time-axis labels for a span, a round number of minutes or hours giving at most
// about eight labels.
qint64 MonitorTimeStep(qint64 spanMsecs);

// Paints the live chart into the surface rectangle (device pixels): volts on the left axis,
// amperes on the right, the readings of the view joined by lines that break where the line to
// the charger was lost. At most a few points per pixel column are drawn, so a day of readings
// redraws as fast as an hour.
void DrawMonitorChart(QPainter& painter, const QRectF& surface, const MonitorSeries& series,
                      const MonitorView& view, const MonitorChartTexts& texts = {});

QImage RenderMonitorImage(const MonitorSeries& series, const MonitorView& view, const QSize& size,
                          const MonitorChartTexts& texts = {});

}  // namespace zun::datalog
