#pragma once

#include "profile/page_frames.h"

#include <QString>
#include <QStringList>

#include <array>
#include <optional>
#include <utility>
#include <vector>

namespace zun::profile {

// Items of every Cmb3Type / Cmb4Type box: "none", "and", "or".
constexpr int kTypeCount = 3;

// What CmbPN_Click gives each control. Nothing (std::nullopt) means the step fails and the
// control is left as it is.

// Step 4, only while no charger is identified: the Cmb0NV position of the stored nominal
// voltage ProfileGeneral(p, 0); NominalLimits follows from the position.
std::optional<int> StoredNominalPosition(const QString& storedNominal);

// Step 8: the Cmb2Total position for the stored count ProfileStages(p, 0): n - 1, or the last
// item when n is larger than the list. An empty or non-numeric count fails.
std::optional<int> StageCountPosition(const QString& storedCount, int listCount);

// Step 9: Txt2(i) gets ProfileStages(p, i + 1) for the stages of the count now in Cmb2Total and
// "" beyond them.
QString StageFieldText(int index, const QString& stored, const QString& cmb2TotalText);

// Step 10: Cmb3Type takes the first character of ProfileNextCond read as an integer; a
// character that is not a digit, or a position beyond the list, fails.
std::optional<int> NextCondTypePosition(const QString& entry, int listCount = kTypeCount);

// Step 12: Cmb4Type takes the first character of ProfileAnyCond read as a number, so an empty or
// non-numeric entry selects "none"; a position beyond the list fails.
std::optional<int> AnyCondTypePosition(const QString& entry, int listCount = kTypeCount);

// Steps 10 and 12: the value box gets the entry from its second character on.
QString CellValueText(const QString& entry);

// Step 11: the first Cmb4SN item whose number equals the stored zero-based target plus one
// ("2" selects the item "3"); nothing when no item matches.
std::optional<int> AnyTargetPosition(const QString& storedTarget, const QStringList& items);

// Profile memory entry of a condition cell as the value box's change handler stores it: the
// type digit followed by the text exactly as typed (type 2, "14.4" gives "214.4").
QString CondEntry(int type, const QString& text);

// The same entry as the type handler stores it: the value goes through TextToSingle and back
// to text, so an empty box is stored as "0".
QString CondEntryOfTypeChange(int type, const QString& text);

// "Atuo set 0" (Check1_Click), in the order the window applies it through its handlers:
// Cmb2Total, Txt1(4), the currents, every Cmb3Type to "none", the slot-5 cells when checked,
// then the stage voltages (none when no nominal voltage is chosen).
struct AutoSetPlan {
    int Cmb2Total = 2;
    QString Txt1_4 = QStringLiteral("20");
    std::vector<std::pair<int, QString>> currents;      // Txt2 index, text
    std::vector<std::pair<int, int>> sectionTypes;      // Cmb3Type index, position (after all 0)
    std::vector<std::pair<int, QString>> sectionTexts;  // Txt3 index, text
    std::vector<std::pair<int, QString>> voltages;      // Txt2 index, text
};
AutoSetPlan AutoSet0(int nvPosition, bool checked);

}  // namespace zun::profile
