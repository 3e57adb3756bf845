#include "profile/consistency_check.h"

#include "link/codec.h"

#include <algorithm>
#include <cmath>

namespace zun::profile {

using link::TextToSingle;

namespace {

Mark judge(bool wrong, Mark right, bool& ok) {
    if (wrong) {
        ok = false;
        return Mark::Wrong;
    }
    return right;
}

}  // namespace

ConsistencyVerdict CheckConsistency(const ConsistencyInput& in) {
    ConsistencyVerdict out;
    bool ok = in.nvPosition >= 0;

    const float hours = TextToSingle(in.Txt1_4);
    out.Txt1_4 = judge(hours < 4.0f || hours > 24.0f, Mark::RightSystem, ok);

    if (in.stagePosition < 0) {
        out.Cmb2Total = Mark::Wrong;
        ok = false;
    } else {
        out.Cmb2Total = Mark::RightSystem;
        const int e = in.nvPosition + 1;
        const double step = std::pow(2.0, e) / 10.0;  // a Double expression in the window
        const double ceiling = 8.0 * std::pow(2.0, e);
        const float protection = TextToSingle(in.Txt1_1);
        const float nominal = TextToSingle(in.nominalText);
        const int fields = std::min(2 * StageCountOfText(in.stageText), kStageFieldCount);
        for (int k = 0; k < fields; ++k) {
            const float v = TextToSingle(in.Txt2[k]);
            bool wrong;
            if (k % 2 == 0) {
                wrong = v < nominal || v > protection - step || v > ceiling;
            } else {
                wrong = v < 2.0f || v > static_cast<float>(in.RatedCurrent);
            }
            out.Txt2[k] = judge(wrong, Mark::RightSystem, ok);
        }
    }

    if (in.stagePosition < 0) {
        out.cmdOkEnabled = ok;
        return out;
    }
    const int last = std::min(in.stagePosition, kMaxStages - 1);

    // Every transition but the last: only slots 0, 4 and 5 may carry conditions there.
    double sectionTotal = 0.0;
    for (int m = 0; m < kMaxStages && in.slot5Visible[m]; ++m) {
        sectionTotal += TextToSingle(in.Txt3[m * kSlotCount + 5]);
    }
    const double limitMinutes = static_cast<double>(hours * 60.0f);
    for (int i = 0; i < kSlotCount * last; ++i) {
        const int s = i / kSlotCount;
        switch (i % kSlotCount) {
            case 0:
                if (in.Cmb3Type[i] != 0) {
                    const float v = TextToSingle(in.Txt3[i]);
                    const float below = TextToSingle(in.Txt2[2 * s]) - in.VoltStep;
                    out.Txt3[i] = judge(v < in.StageVoltMin || v > in.StageVoltMax || v > below,
                                        Mark::RightSystem, ok);
                }
                break;
            case 4:
                if (in.Cmb3Type[i] != 0) {
                    const float c = TextToSingle(in.Txt3[i]);
                    const float below = TextToSingle(in.Txt2[2 * s + 1]) - 1.0f;
                    out.Txt3[i] = judge(c < 1.0f || c > below, Mark::RightSystem, ok);
                }
                break;
            case 5:
                if (sectionTotal > limitMinutes) {
                    ok = false;
                }
                break;
            default:
                if (in.Cmb3Type[i] != 0) {
                    out.resetToNone.push_back(i);
                }
                break;
        }
    }

    // No mix of "and" and "or" among the judged cells of one transition, the last included.
    for (int s = 0; s <= last; ++s) {
        const int cells[] = {s * kSlotCount, s * kSlotCount + 4, s * kSlotCount + 5};
        bool hasAnd = false;
        bool hasOr = false;
        for (int c : cells) {
            hasAnd = hasAnd || in.Cmb3Type[c] == 1;
            hasOr = hasOr || in.Cmb3Type[c] == 2;
        }
        const bool mixed = hasAnd && hasOr;
        if (mixed) {
            ok = false;
        }
        for (int c : cells) {
            out.Cmb3Type[c] = (mixed && in.Cmb3Type[c] > 0) ? Mark::Wrong : Mark::RightBlack;
        }
    }

    // Colouring only: the sum is a whole number after every addition, halves to even.
    double roundedTotal = 0.0;
    for (int s = 0; s <= last; ++s) {
        roundedTotal = std::nearbyint(roundedTotal + TextToSingle(in.Txt3[s * kSlotCount + 5]));
    }
    const bool exceeded = limitMinutes < roundedTotal;
    for (int s = 0; s <= last; ++s) {
        const int c = s * kSlotCount + 5;
        out.Txt3[c] =
            (exceeded && TextToSingle(in.Txt3[c]) > 0.0f) ? Mark::Wrong : Mark::RightBlack;
    }

    out.cmdOkEnabled = ok;
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
