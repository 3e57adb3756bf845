#pragma once

#include <QString>

#include <array>
#include <stdexcept>

namespace zun::profile {

// Every builder returns the exact frame text the page hands to SendFrame. A scaled value outside
// the signed 16-bit range throws link::OverflowError (what() "Overflow"); the window shows a
// message box for it instead of sending.

constexpr int kCellCount = 56;  // 7 stages x 8 slots, cell = stage * 8 + slot
constexpr int kSlotCount = 8;
constexpr int kStageFieldCount = 14;  // Txt2(0..13)
constexpr int kMaxStages = 7;

// The any-stage write ends with a message box showing the description of the error that
// stopped it; a target text that is not a number is this one.
class TypeMismatchError : public std::runtime_error {
public:
    TypeMismatchError() : std::runtime_error("Type mismatch") {}
};

// A target that names no stage of the charger (outside 1..7) would put a byte that is not hex,
// or no stage, into the frame; it ends the write the same way.
class TargetStageError : public std::runtime_error {
public:
    TargetStageError() : std::runtime_error("Invalid target stage") {}
};

struct GeneralFields {
    int profile = 0;              // CmbPN list position
    QString nominalText;          // Cmb0NV.Text, e.g. "12V"
    std::array<QString, 6> Txt0;  // Txt0(1)..Txt0(5); element 0 has no box and is not read
};

struct ProtectionFields {
    int profile = 0;
    std::array<QString, 5> Txt1;  // Txt1(0)..Txt1(4)
};

struct StageFields {
    int profile = 0;
    int stagePosition = -1;  // Cmb2Total list position
    QString stageText;       // Cmb2Total.Text
    std::array<QString, kStageFieldCount> Txt2;
};

// One condition page: type = list position of Cmb3Type/Cmb4Type, text = Txt3/Txt4.
struct ConditionGrid {
    std::array<int, kCellCount> types{};
    std::array<QString, kCellCount> texts;
};

// The any-stage page including the target lists Cmb4SN(0..6).
struct AnyCondFields {
    ConditionGrid grid;
    std::array<int, kMaxStages> targetPositions{-1, -1, -1, -1, -1, -1, -1};
    std::array<QString, kMaxStages> targetTexts;
};

// 0x51, "850E51" + profile + nominal x100 + capacity + coefficient + ref x10 + derating (1 byte)
// + derating ref x10 + "000D".
QString GeneralFrame(const GeneralFields& page);

// 0x52. Txt1(0) goes as its "0"-formatted value plus 273; Txt1(2) and Txt1(3) are never sent
// (always FFFF and FF).
QString ProtectionFrame(const ProtectionFields& page);

// What CmdOK2_Click does before sending: fail with the focus on Cmb2Total (no stage count) or
// on the first existing stage voltage that reads 0; otherwise the frame.
enum class StagesFocus { None, Cmb2Total, Txt2 };
struct StagesWrite {
    StagesFocus failFocus = StagesFocus::None;
    int txt2Index = -1;  // the Txt2 box to focus when failFocus is Txt2
    QString frame;       // empty when the write must not be sent

    bool ok() const { return failFocus == StagesFocus::None; }
};
StagesWrite StagesFrame(const StageFields& page);

// The 0x53 length byte (n + 1) * 4 as two hex digits: 1 stage "08", 3 "10", 7 "20".
QString StagesLengthByte(int stageCount);

// The number of stages the pages work with, from Cmb2Total.Text: 0 for no selection, and kept
// within 0..7 so that no page reads past its last stage.
int StageCountOfText(const QString& cmb2TotalText);

// 16-bit field of a condition cell's value by slot (0..7). chargerIdentified is
// !ChargerModel.isEmpty(): it changes how slot 4 (current threshold) is scaled.
qint16 SlotField(int slot, float value, bool chargerIdentified);

// One cell of a condition frame: type "00"-formatted, then the field as four hex digits.
QString ConditionCell(int type, int slot, const QString& text, bool chargerIdentified);

// The 48 characters of one stage's eight cells, slot 0 first.
QString ConditionPayload(const ConditionGrid& grid, int stage, bool chargerIdentified);

// 0x54 for one stage (0-based): "851D54" + profile + stage + "00" + cells + "000D".
QString NextCondFrame(int profile, int stage, const ConditionGrid& grid, bool chargerIdentified);

// Target byte of the any-stage frame: "00" with no selection, else the number in the item text
// minus 1, "00"-formatted. Throws TypeMismatchError for a text that is not a number,
// link::OverflowError for one beyond the 16-bit range and TargetStageError for a stage number
// outside 1..7. The window shows what() of any of them in a message box.
QString AnyTargetByte(int targetPosition, const QString& targetText);

// 0x55 for one stage: "851D55" + profile + stage + target + cells + "000D". Build each stage's
// frame just before sending it: an error ends the write after the stages already sent.
QString AnyCondFrame(int profile, int stage, const AnyCondFields& page, bool chargerIdentified);

// The any-stage page as the write-all leaves it before writing it: every target unselected and
// every type "none". A cell whose type changes is emptied by its type handler; a cell already
// "none" keeps its text, since setting the same position runs no handler.
AnyCondFields ClearedAnyCondFields(const AnyCondFields& page);

}  // namespace zun::profile
