#include "profile/consistency_check.h"

#include "link/codec.h"

#include <algorithm>
#include <cmath>

namespace zun::profile {

using link::TextToSingle;

namespace {

// Collects the findings and whether the profile passes.
class Judge {
public:
    explicit Judge(ConsistencyVerdict& out) : out_(out) {}

    void add(Field field, int index, bool wrong, Rule rule, double value, double low = 0.0,
             double high = 0.0, double step = 0.0) {
        if (wrong) {
            ok = false;
        }
        out_.findings.push_back({field, index, wrong ? rule : Rule::None, value, low, high, step});
    }

    bool ok = true;

private:
    ConsistencyVerdict& out_;
};

void judgeStages(const ConsistencyInput& in, Judge& judge) {
    const int e = in.nvPosition + 1;
    const double step = std::pow(2.0, e) / 10.0;  // a Double expression in the window
    const double ceiling = 8.0 * std::pow(2.0, e);
    const float protection = TextToSingle(in.Txt1_1);
    const float nominal = TextToSingle(in.nominalText);
    const int fields = std::min(2 * StageCountOfText(in.stageText), kStageFieldCount);
    for (int k = 0; k < fields; ++k) {
        const float v = TextToSingle(in.Txt2[k]);
        if (k % 2 == 0) {
            judge.add(Field::Txt2, k, v < nominal || v > protection - step || v > ceiling,
                      Rule::StageVoltage, v, nominal, std::min(protection - step, ceiling));
        } else {
            judge.add(Field::Txt2, k, v < 2.0f || v > static_cast<float>(in.RatedCurrent),
                      Rule::StageCurrent, v, 2.0, in.RatedCurrent);
        }
    }
}

// Every transition but the last: only slots 0, 4 and 5 may carry conditions there.
void judgeTransitions(const ConsistencyInput& in, int last, float hours, Judge& judge,
                      ConsistencyVerdict& out) {
    double sectionTotal = 0.0;
    for (int m = 0; m < kMaxStages && in.slot5Visible[m]; ++m) {
        sectionTotal += TextToSingle(in.Txt3[m * kSlotCount + 5]);
    }
    const double limitMinutes = static_cast<double>(hours * 60.0f);
    if (last > 0) {
        judge.add(Field::SectionTotal, 0, sectionTotal > limitMinutes, Rule::SectionTimes,
                  sectionTotal, 0.0, limitMinutes);
    }
    for (int i = 0; i < kSlotCount * last; ++i) {
        const int s = i / kSlotCount;
        const int slot = i % kSlotCount;
        if (slot == 5 || in.Cmb3Type[i] == 0) {
            continue;
        }
        if (slot == 0) {
            const float v = TextToSingle(in.Txt3[i]);
            const float below = TextToSingle(in.Txt2[2 * s]) - in.VoltStep;
            judge.add(Field::Txt3, i, v < in.StageVoltMin || v > in.StageVoltMax || v > below,
                      Rule::SwitchVoltage, v, in.StageVoltMin, in.StageVoltMax, in.VoltStep);
        } else if (slot == 4) {
            const float c = TextToSingle(in.Txt3[i]);
            const float below = TextToSingle(in.Txt2[2 * s + 1]) - 1.0f;
            judge.add(Field::Txt3, i, c < 1.0f || c > below, Rule::SwitchCurrent, c, 1.0, below);
        } else {
            out.resetToNone.push_back(i);
        }
    }
}

// No mix of "and" and "or" among the judged cells of one transition, the last included.
void judgeTypes(const ConsistencyInput& in, int last, Judge& judge) {
    for (int s = 0; s <= last; ++s) {
        const int cells[] = {s * kSlotCount, s * kSlotCount + 4, s * kSlotCount + 5};
        bool hasAnd = false;
        bool hasOr = false;
        for (int c : cells) {
            hasAnd = hasAnd || in.Cmb3Type[c] == 1;
            hasOr = hasOr || in.Cmb3Type[c] == 2;
        }
        const bool mixed = hasAnd && hasOr;
        for (int c : cells) {
            judge.add(Field::Cmb3Type, c, mixed && in.Cmb3Type[c] > 0, Rule::AndOrMixed,
                      in.Cmb3Type[c]);
        }
    }
}

// Marks only, never the verdict: the sum is a whole number after every addition, halves to
// even.
void markSectionTimes(const ConsistencyInput& in, int last, float hours, ConsistencyVerdict& out) {
    double roundedTotal = 0.0;
    for (int s = 0; s <= last; ++s) {
        roundedTotal = std::nearbyint(roundedTotal + TextToSingle(in.Txt3[s * kSlotCount + 5]));
    }
    const double limitMinutes = static_cast<double>(hours * 60.0f);
    const bool exceeded = limitMinutes < roundedTotal;
    for (int s = 0; s <= last; ++s) {
        const int c = s * kSlotCount + 5;
        const float v = TextToSingle(in.Txt3[c]);
        out.findings.push_back({Field::Txt3, c,
                                exceeded && v > 0.0f ? Rule::SectionTimes : Rule::None, v, 0.0,
                                limitMinutes, 0.0});
    }
}

}  // namespace

const Finding* ConsistencyVerdict::find(Field field, int index) const {
    for (const Finding& f : findings) {
        if (f.field == field && f.index == index) {
            return &f;
        }
    }
    return nullptr;
}

ConsistencyVerdict CheckConsistency(const ConsistencyInput& in) {
    ConsistencyVerdict out;
    Judge judge(out);
    judge.ok = in.nvPosition >= 0;

    const float hours = TextToSingle(in.Txt1_4);
    judge.add(Field::Txt1_4, 0, hours < 4.0f || hours > 24.0f, Rule::TotalHours, hours, 4.0, 24.0);
    judge.add(Field::Cmb2Total, 0, in.stagePosition < 0, Rule::StageCount, in.stagePosition + 1);
    if (in.stagePosition < 0) {
        out.cmdOkEnabled = judge.ok;
        return out;
    }
    judgeStages(in, judge);
    const int last = std::min(in.stagePosition, kMaxStages - 1);
    judgeTransitions(in, last, hours, judge, out);
    judgeTypes(in, last, judge);
    markSectionTimes(in, last, hours, out);
    out.cmdOkEnabled = judge.ok;
    return out;
}

bool HasTypeConflict(const std::array<int, kCellCount>& types, int stageCount) {
    const int stages = std::min(stageCount, kMaxStages);
    for (int s = 0; s < stages; ++s) {
        bool hasAnd = false;
        bool hasOr = false;
        for (int slot : {0, 2, 4, 5}) {
            const int t = types[s * kSlotCount + slot];
            hasAnd = hasAnd || t == 1;
            hasOr = hasOr || t == 2;
        }
        if (hasAnd && hasOr) {
            return true;
        }
    }
    return false;
}

}  // namespace zun::profile
