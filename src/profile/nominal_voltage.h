#pragma once

#include <QString>

#include <array>
#include <optional>

namespace zun::profile {

// Cmb0NV list positions: 0 = "12V", 1 = "24V", 2 = "48V", -1 = nothing chosen. Every function
// here treats a position outside 0..2 as nothing chosen.
constexpr int kNoSelection = -1;

// The form-wide voltage values Cmb0NV_Click recomputes, as the window holds them (singles).
struct VoltageLimits {
    float VoltStep = 0.1f;      // 2^k / 10
    float StageVoltMin = 5.9f;  // 6 * 2^k - VoltStep
    float StageVoltMax = 7.9f;  // 8 * 2^k - VoltStep
};

// k = position + 1 (0 when nothing is chosen).
int VoltageExponent(int nvPosition);

float VoltStep(int nvPosition);
float StageVoltMin(int nvPosition);
float StageVoltMax(int nvPosition);
VoltageLimits VoltageLimitsFor(int nvPosition);

// The absolute stage-voltage ceiling 8 * 2^k: 16, 32, 64 (8 with nothing chosen).
float VoltCeiling(int nvPosition);

// The over-voltage protection value Cmb0NV_Click puts into Txt1(1): 18, 36, 72, or 0 for none.
int OverVoltage(int nvPosition);
QString OverVoltageText(int nvPosition);

// NominalLimits for a chosen position; nothing for no selection.
std::optional<std::array<float, 4>> NominalLimits(int nvPosition);

// The Cmb0NV position of a nominal voltage 12, 24 or 48; anything else selects nothing.
std::optional<int> PositionForNominal(float volts);

}  // namespace zun::profile
