#include "profile/nominal_voltage.h"

namespace zun::profile {

namespace {

bool chosen(int nvPosition) {
    return nvPosition >= 0 && nvPosition <= 2;
}

}  // namespace

int VoltageExponent(int nvPosition) {
    return chosen(nvPosition) ? nvPosition + 1 : 0;
}

float VoltStep(int nvPosition) {
    return static_cast<float>(1 << VoltageExponent(nvPosition)) / 10.0f;
}

float StageVoltMin(int nvPosition) {
    // Formed in double and stored as a single, which for these operands equals single arithmetic.
    return static_cast<float>(6.0 * (1 << VoltageExponent(nvPosition)) -
                              static_cast<double>(VoltStep(nvPosition)));
}

float StageVoltMax(int nvPosition) {
    return static_cast<float>(8.0 * (1 << VoltageExponent(nvPosition)) -
                              static_cast<double>(VoltStep(nvPosition)));
}

VoltageLimits VoltageLimitsFor(int nvPosition) {
    return VoltageLimits{VoltStep(nvPosition), StageVoltMin(nvPosition), StageVoltMax(nvPosition)};
}

float VoltCeiling(int nvPosition) {
    return 8.0f * static_cast<float>(1 << VoltageExponent(nvPosition));
}

int OverVoltage(int nvPosition) {
    return chosen(nvPosition) ? 9 * (1 << VoltageExponent(nvPosition)) : 0;
}

QString OverVoltageText(int nvPosition) {
    return QString::number(OverVoltage(nvPosition));
}

std::optional<std::array<float, 4>> NominalLimits(int nvPosition) {
    switch (nvPosition) {
        case 0:
            return std::array<float, 4>{16.5f, 15.0f, 16.0f, 12.0f};
        case 1:
            return std::array<float, 4>{33.0f, 30.0f, 32.0f, 24.0f};
        case 2:
            return std::array<float, 4>{65.0f, 62.0f, 64.0f, 48.0f};
        default:
            return std::nullopt;
    }
}

std::optional<int> PositionForNominal(float volts) {
    if (volts == 12.0f) {
        return 0;
    }
    if (volts == 24.0f) {
        return 1;
    }
    if (volts == 48.0f) {
        return 2;
    }
    return std::nullopt;
}

}  // namespace zun::profile
