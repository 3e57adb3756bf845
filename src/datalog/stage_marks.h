#pragma once

#include <vector>

namespace zun::datalog {

enum class ChargeStage { ConstantCurrent, ConstantVoltage, Float };

struct StageMark {
    int index = 0;  // data row, 0 = first record
    ChargeStage stage = ChargeStage::ConstantCurrent;
    friend bool operator==(const StageMark& a, const StageMark& b) {
        return a.index == b.index && a.stage == b.stage;
    }
};

// Differences between consecutive records smaller than this are measurement noise.
constexpr float kStageTolerance = 0.1f;

// Where the charge stage changes, from consecutive records of the charger voltage and current:
// - C.C.: the current rises to, or holds at, a high level (above half the log's largest
//   current) while the voltage climbs;
// - C.V.: the voltage holds at the top it reached in this charge while the current falls;
// - Float: the voltage falls to a lower level while the current stays small (at most a quarter
//   of the largest current) and does not rise.
// A mark is set only where the stage differs from the one before; a log whose current never
// exceeds the tolerance gets no marks.
std::vector<StageMark> FindStageMarks(const std::vector<float>& volts,
                                      const std::vector<float>& amps);

}  // namespace zun::datalog
