#include "profile/stage_layout.h"

#include "link/codec.h"

#include <algorithm>

namespace zun::profile {

bool Txt2Enabled(int index, int stageCount) {
    return index >= 0 && index < 2 * stageCount;
}

bool StageVisible(int stage, int stageCount) {
    return stage >= 0 && stage < stageCount;
}

std::array<bool, kMaxStages> Slot5Visibility(int stageCount) {
    std::array<bool, kMaxStages> visible{};
    for (int s = 0; s < kMaxStages; ++s) {
        visible[s] = StageVisible(s, stageCount);
    }
    return visible;
}

std::pair<int, int> TransitionStages(int stage, int stageCount) {
    const int from = stage + 1;
    return {from, from == stageCount ? 1 : from + 1};
}

QStringList TargetItems(int stage, int stageCount) {
    QStringList items;
    for (int k = 1; k <= stageCount; ++k) {
        if (k != stage + 1) {
            items << QString::number(k);
        }
    }
    return items;
}

bool StagesWritable(const std::array<QString, kStageFieldCount>& Txt2, int stageCount) {
    const int stages = std::min(stageCount, kMaxStages);
    for (int s = 0; s < stages; ++s) {
        if (link::TextToSingle(Txt2[2 * s]) == 0.0f) {
            return false;
        }
    }
    return true;
}

}  // namespace zun::profile
