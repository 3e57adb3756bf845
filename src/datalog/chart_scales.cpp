#include "datalog/chart_scales.h"

#include <algorithm>
#include <cmath>

namespace zun::datalog {

namespace {

// Values beyond this cannot come from a charger; they only keep the arithmetic sane when a
// hand-edited file holds absurd numbers.
constexpr double kValueLimit = 1.0e6;

double sane(float v) {
    if (!std::isfinite(v)) {
        return 0.0;
    }
    return std::clamp(static_cast<double>(v), -kValueLimit, kValueLimit);
}

}  // namespace

ChartScales ComputeChartScales(float vMin, float vMax, float iMin, float iMax, float ahMin,
                               float ahMax) {
    ChartScales s;
    // Rounding half away from zero, as the "0" format does.
    s.vTop = static_cast<long long>(std::round(sane(vMax))) + 1;
    s.vBottom = std::max(0LL, static_cast<long long>(std::floor(sane(vMin))) - 1);
    if (s.vTop <= s.vBottom) {
        s.vTop = s.vBottom + 1;
    }
    long long d = s.vTop - s.vBottom;
    while (d > 20) {
        d = (d % 2 == 0) ? d / 2 : d + 1;
    }
    s.D = static_cast<int>(d);
    while ((s.vTop - s.vBottom) % s.D != 0) {
        ++s.vTop;
    }

    s.iBottom = std::max(0LL, static_cast<long long>(std::floor(sane(iMin))) - 1);
    s.iTop = std::max(static_cast<long long>(std::floor(sane(iMax))) + 1, s.iBottom + 1);
    while ((s.iTop - s.iBottom) % s.D != 0) {
        ++s.iTop;
    }

    s.ahBottom = std::min(0.0, std::floor(sane(ahMin)));
    const double span = sane(ahMax) - s.ahBottom;
    double step = 1.0;
    int decimals = 0;
    if (span > 0) {
        // Smallest 1, 2 or 5 times a power of ten that reaches the top in D steps.
        const double raw = span / s.D;
        const int e = static_cast<int>(std::floor(std::log10(raw)));
        const double unit = std::pow(10.0, e);
        double m = 10.0;
        for (double c : {1.0, 2.0, 5.0, 10.0}) {
            if (c * unit >= raw * (1.0 - 1e-12)) {
                m = c;
                break;
            }
        }
        step = m * unit;
        decimals = std::max(0, -e);
        if (m == 10.0 && decimals > 0) {
            --decimals;
        }
    }
    s.ahTop = s.ahBottom + step * s.D;
    s.ahDecimals = decimals;
    return s;
}

ChartScales EmptyChartScales() {
    ChartScales s;
    s.D = 10;
    s.vBottom = 0;
    s.vTop = 10;
    s.iBottom = 0;
    s.iTop = 10;
    s.ahBottom = 0.0;
    s.ahTop = 10.0;
    return s;
}

ChartFrame FrameForSurface(const QSizeF& surfaceUnits) {
    ChartFrame f;
    f.right = surfaceUnits.width() - 35.0;
    f.bottom = surfaceUnits.height() - 25.0;
    return f;
}

}  // namespace zun::datalog
