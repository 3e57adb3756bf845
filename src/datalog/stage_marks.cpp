#include "datalog/stage_marks.h"

#include <algorithm>
#include <optional>

namespace zun::datalog {

std::vector<StageMark> FindStageMarks(const std::vector<float>& volts,
                                      const std::vector<float>& amps) {
    std::vector<StageMark> marks;
    const size_t n = std::min(volts.size(), amps.size());
    if (n < 2) {
        return marks;
    }
    const float iMax = *std::max_element(amps.begin(), amps.begin() + static_cast<long>(n));
    if (iMax <= kStageTolerance) {
        return marks;
    }
    std::optional<ChargeStage> stage;
    float chargeTop = volts[0];  // highest voltage since the current charge began
    for (size_t r = 1; r < n; ++r) {
        const float dv = volts[r] - volts[r - 1];
        const float di = amps[r] - amps[r - 1];
        const bool vRises = dv > kStageTolerance;
        const bool vFalls = dv < -kStageTolerance;
        const bool iRises = di > kStageTolerance;
        const bool iFalls = di < -kStageTolerance;
        const bool highCurrent = amps[r] > 0.5f * iMax;
        const bool smallCurrent = amps[r] <= 0.25f * iMax;

        std::optional<ChargeStage> next;
        if (highCurrent && !iFalls && (vRises || iRises)) {
            next = ChargeStage::ConstantCurrent;
        } else if (!vRises && !vFalls && iFalls && volts[r] >= chargeTop - kStageTolerance &&
                   stage != ChargeStage::Float) {
            next = ChargeStage::ConstantVoltage;
        } else if (vFalls && smallCurrent && !iRises) {
            next = ChargeStage::Float;
        }
        if (next && next != stage) {
            if (*next == ChargeStage::ConstantCurrent) {
                chargeTop = volts[r];
            }
            stage = next;
            marks.push_back({static_cast<int>(r), *next});
        }
        chargeTop = std::max(chargeTop, volts[r]);
    }
    return marks;
}

}  // namespace zun::datalog
