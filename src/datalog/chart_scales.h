#pragma once

#include <QSizeF>

namespace zun::datalog {

// The three value scales of the chart. All share the division count D, so one set of grid lines
// serves them all: division k (0..D) is value bottom + k * step on each scale.
struct ChartScales {
    int D = 1;
    long long vBottom = 0;
    long long vTop = 1;
    long long iBottom = 0;
    long long iTop = 1;
    double ahBottom = 0.0;
    double ahTop = 1.0;
    int ahDecimals = 0;  // decimals the charge labels need for their step

    double vStep() const { return double(vTop - vBottom) / D; }
    double iStep() const { return double(iTop - iBottom) / D; }
    double ahStep() const { return (ahTop - ahBottom) / D; }
};

// Scales from the value ranges of the log: Vtop = round(max V) + 1, Vbottom = Int(min V) - 1
// (not below 0), D = Vtop - Vbottom brought to at most 20 (halve when even, else add one), Vtop
// raised until the span is a multiple of D; the current scale from Int(min I) - 1 up to the
// first whole number above max I that gives D whole steps; the charge scale from 0 (or the
// lowest charge) in D equal round steps that reach the largest charge.
ChartScales ComputeChartScales(float vMin, float vMax, float iMin, float iMax, float ahMin,
                               float ahMax);

// The grid an empty log is drawn with.
ChartScales EmptyChartScales();

// The plot frame in chart units: left 25, top 30, right SW - 35, bottom SH - 25.
struct ChartFrame {
    double left = 25.0;
    double top = 30.0;
    double right = 0.0;
    double bottom = 0.0;
    double width() const { return right - left; }
    double height() const { return bottom - top; }
};

ChartFrame FrameForSurface(const QSizeF& surfaceUnits);

}  // namespace zun::datalog
