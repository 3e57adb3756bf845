#pragma once

#include "profile/page_frames.h"

#include <QString>

#include <array>
#include <vector>

namespace zun::profile {

// The rule a field broke, or None for a field judged and found right. Limits are in the
// window's units: volts, amperes, hours, minutes.
enum class Rule {
    None,
    TotalHours,     // Txt1_4: low..high hours
    StageCount,     // Cmb2Total: no stage count chosen
    StageVoltage,   // Txt2 even: low (nominal) .. high (protection less a step, at most 8 x 2^e)
    StageCurrent,   // Txt2 odd: low .. high (the charger's rating) A
    SwitchVoltage,  // Txt3 slot 0: low..high V and below the stage voltage by step
    SwitchCurrent,  // Txt3 slot 4: low A .. high (the stage current less 1 A)
    SectionTimes,   // Txt3 slot 5, SectionTotal: the section times exceed high minutes
    AndOrMixed,     // Cmb3Type: "and" and "or" on one transition
};

// The controls the check judges. SectionTotal is the sum of the section times before the last
// transition, which makes the profile inconsistent without marking any control.
enum class Field { Txt1_4, Cmb2Total, Txt2, Txt3, Cmb3Type, SectionTotal };

struct Finding {
    Field field = Field::Txt1_4;
    int index = 0;  // within Txt2 / Txt3 / Cmb3Type
    Rule rule = Rule::None;
    double value = 0.0;  // what was judged
    double low = 0.0;
    double high = 0.0;
    double step = 0.0;  // SwitchVoltage: the distance below the stage voltage
    bool wrong() const { return rule != Rule::None; }
};

// Everything the check reads from the window, as the controls hold it.
struct ConsistencyInput {
    int nvPosition = -1;     // Cmb0NV list position
    QString nominalText;     // Cmb0NV.Text
    QString Txt1_1;          // over-voltage protection
    QString Txt1_4;          // maximum total charging time, hours
    int stagePosition = -1;  // Cmb2Total list position (L)
    QString stageText;       // Cmb2Total.Text (N)
    std::array<QString, kStageFieldCount> Txt2;
    std::array<int, kCellCount> Cmb3Type{};
    std::array<QString, kCellCount> Txt3;
    std::array<bool, kMaxStages> slot5Visible{};  // visibility of Txt3(8s + 5)
    float StageVoltMin = 5.9f;
    float StageVoltMax = 7.9f;
    float VoltStep = 0.1f;
    int RatedCurrent = 0;
};

struct ConsistencyVerdict {
    bool cmdOkEnabled = false;  // CmdOK
    // Every field judged, right or wrong; a control without a finding keeps its colour.
    std::vector<Finding> findings;
    // Cells of slots 1, 2, 3, 6 and 7 on every transition but the last whose type is not
    // "none": the window sets them to position 0 through their normal type handler.
    std::vector<int> resetToNone;

    // The finding of one control; nullptr when the check left it alone.
    const Finding* find(Field field, int index = 0) const;
};

// CheckConsistency as a function of the controls. Resetting the listed type boxes changes
// nothing the check reads (only slots 0, 4 and 5 are judged), so the verdict returned is
// already the final one: the window applies the colours and CmdOK, then the resets; the check
// those resets run again returns the same verdict with nothing left to reset.
ConsistencyVerdict CheckConsistency(const ConsistencyInput& input);

// The conflict scan of a condition page's type handler: types 1 ("and") and 2 ("or") both among
// slots 0, 2, 4 and 5 of one of the first stageCount stages. CmdOK3 / CmdOK4 are enabled
// exactly when this is false.
bool HasTypeConflict(const std::array<int, kCellCount>& types, int stageCount);

}  // namespace zun::profile
