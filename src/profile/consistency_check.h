#pragma once

#include "profile/page_frames.h"

#include <QString>

#include <array>
#include <vector>

namespace zun::profile {

// How the check leaves a control. Text boxes: Wrong is text colour 255 (red); RightSystem is the
// system button-text colour (steps on Txt1, Txt2 and the slot 0/4 cells of Txt3); RightBlack is
// black (Cmb3Type and the slot-5 cells of Txt3). For Cmb2Total the mark is its background: red
// or the system window colour. Untouched: the control keeps whatever colour it had.
enum class Mark { Untouched, Wrong, RightSystem, RightBlack };

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
    Mark Txt1_4 = Mark::Untouched;
    Mark Cmb2Total = Mark::Untouched;
    std::array<Mark, kStageFieldCount> Txt2{};
    std::array<Mark, kCellCount> Txt3{};
    std::array<Mark, kCellCount> Cmb3Type{};
    // Cells of slots 1, 2, 3, 6 and 7 on every transition but the last whose type is not
    // "none": the window sets them to position 0 through their normal type handler.
    std::vector<int> resetToNone;
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
