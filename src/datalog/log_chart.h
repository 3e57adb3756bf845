#pragma once

#include "datalog/log_csv.h"
#include "datalog/log_table_model.h"

#include <QImage>
#include <QRectF>
#include <QSize>
#include <QString>

#include <functional>
#include <vector>

class QPainter;
class QPaintDevice;

namespace zun::datalog {

// The chart's own words; English unless the window gives them in its language.
struct LogChartTexts {
    QString title = QStringLiteral("Data Log");
    QString voltage = QStringLiteral("Voltage");
    QString current = QStringLiteral("Current");
    QString charge = QStringLiteral("Ah");
    QString desc = QStringLiteral("Desc:");
    // Replaces the "Time:" that heads the LabTime caption on the chart.
    QString time = QStringLiteral("Time:");
    QString constantCurrent = QStringLiteral("C.C.");
    QString constantVoltage = QStringLiteral("C.V.");
    QString floatCharge = QStringLiteral("Float");
};

// What the chart shows: the table, its charge array (indexed by grid row), the LabTime caption
// (its last five characters are the time of the last record) and the description.
struct ChartData {
    const LogTableModel& table;
    const std::vector<float>& chargeAh;
    QString labTime;
    QString description;
    LogChartTexts texts{};
};

// Curve and text colours.
inline constexpr QRgb kVoltageColour = 0xFF0000FF;
inline constexpr QRgb kCurrentColour = 0xFFFF0000;
inline constexpr QRgb kChargeColour = 0xFF008800;
inline constexpr QRgb kFrameColour = 0xFF444444;
inline constexpr QRgb kGridColour = 0xFFAAAAAA;

// One chart unit is a millimetre of the device (from its logical DPI), so the layout and the
// fonts keep their proportions on a window, a 1920x1080 image and an A4 page alike.
double PixelsPerUnit(const QPaintDevice& device, bool horizontal);

// The plot frame of a surface in device pixels (the frame of FrameForSurface, scaled).
QRectF ChartFrameRect(const QPaintDevice& device, const QRectF& surface);

// "hh:mm" of the record that lies steps records (ten minutes each) before the one at lastTime,
// the "hh:mm" at the end of the LabTime caption.
QString RecordTimeText(const QString& labTime, int steps);

// Rows that get a time label, given each row's label centre (ascending): a label is placed only
// when its left edge lies right of the end of the previous label plus the gap. width(i) is the
// label width of row i; minWidth a lower bound of every width, to pass over rows quickly.
std::vector<int> ChooseTimeLabels(const std::vector<double>& centres,
                                  const std::function<double(int)>& width, double minWidth,
                                  double gap);

// Paints the whole chart into the surface rectangle (device pixels) of the painter's device.
// Only the header row gives the empty frame with its grid and nothing else.
void DrawLogChart(QPainter& painter, const QRectF& surface, const ChartData& data);
// The same onto a whole device (a widget, an image, a printer page).
void DrawLogChart(QPaintDevice& device, const ChartData& data);

// The chart as an image of the given pixel size, at 96 dpi unless told otherwise.
QImage RenderChartImage(const ChartData& data, const QSize& size, int dpi = 96);
// PNG through QSaveFile: an existing file stays untouched when the write fails.
// dpi scales lines and text with the picture (192 for a 1920 x 1080 picture that should
// read like the 960-pixel-wide chart on screen).
FileResult SaveChartPng(const ChartData& data, const QSize& size, const QString& path,
                        int dpi = 96);
// One A4 landscape PDF page with the chart, its description and its time stamp.
FileResult ExportChartPdf(const ChartData& data, const QString& path);

}  // namespace zun::datalog
