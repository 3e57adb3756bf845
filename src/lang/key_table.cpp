#include "lang/key_table.h"

namespace zun::lang {

namespace {

struct Row {
    const char* key;
    const char* control;  // nullptr: recognised, no caption
    int tab;
};

constexpr Row kRows[] = {
    {"000000", "Label0(0)", -1},
    {"000001", nullptr, -1},
    {"010000", "Tab1", 0},
    {"010001", "Lab1(0)", -1},
    {"011000", "Tab2", 0},
    {"011001", "Lab0(1)", -1},
    {"011002", "Lab0(2)", -1},
    {"011100", "Tab2", 1},
    {"011101", "Lab1(1)", -1},
    {"011102", "Lab1(2)", -1},
    {"011103", "Lab1(5)", -1},
    {"011200", "Tab2", 2},
    {"011201", "Lab2(0)", -1},
    {"011202", "Lab2(1)", -1},
    {"011203", "Lab2(6)", -1},
    {"011204", "Lab2(9)", -1},
    {"011205", "Lab2(12)", -1},
    {"011206", "Lab2(15)", -1},
    {"011207", "Lab2(18)", -1},
    {"011208", "Lab2(21)", -1},
    {"011300", "Tab2", 3},
    {"011301", "Label3(17)", -1},
    {"011302", "Label3(16)", -1},
    {"011303", "Label3(0)", -1},
    {"011304", "Label3(2)", -1},
    {"011305", "Label3(4)", -1},
    {"011306", "Label3(5)", -1},
    {"011400", "Tab2", 4},
    {"011401", "Label3(8)", -1},
    {"011402", "Label3(9)", -1},
    {"011403", "Label3(19)", -1},
    {"011404", "Label3(15)", -1},
    {"011405", "Label3(13)", -1},
    {"011406", "Label3(12)", -1},
    {"020000", "Tab1", 1},
    {"020001", "CmdGetOK(0)", -1},
    {"020002", "CmdGetOK(1)", -1},
    {"020003", "CmdGetOK(2)", -1},
    {"020004", "CmdGetOpen", -1},
    {"020005", "CmdGetSave", -1},
    {"020006", "LabelGetDesc", -1},
    // The program's own captions: write buttons, the red notes, menus, chart outputs.
    {"900000", "CmdOK", -1},
    {"900001", "CmdOK0", -1},
    {"900002", "CmdOK1", -1},
    {"900003", "CmdOK2", -1},
    {"900004", "CmdOK3", -1},
    {"900005", "CmdOK4", -1},
    {"900010", "Lab0(13)", -1},
    {"900011", "Lab1(11)", -1},
    {"900012", "Lab2(2)", -1},
    {"900013", "Label3(20)", -1},
    {"900100", "MnuSettings", -1},
    {"900101", "ActSaveSettings", -1},
    {"900102", "ActOpenSettings", -1},
    {"900103", "ActCompare", -1},
    {"900104", "ActFastLink", -1},
    {"900110", "MnuHelp", -1},
    {"900111", "ActAbout", -1},
    {"900200", "CmdPrint", -1},
    {"900201", "CmdExportPdf", -1},
    {"900202", "CmdExportPng", -1},
    {"900203", "CmdCancel", -1},
    {"900300", "Lab0(3)", -1},
    {"900301", "Lab0(4)", -1},
    {"900302", "Lab0(5)", -1},
    {"900303", "Lab0(6)", -1},
    {"900310", "Lab1(3)", -1},
    {"900311", "Lab1(4)", -1},
    {"900320", "Label3(18)", -1},
    {"900330", "LabelRow(0)", -1},
    {"900331", "LabelRow(1)", -1},
    {"900340", "Label3(1)", -1},
    {"900341", "Label3(3)", -1},
    {"900342", "Label3(6)", -1},
    {"900343", "Label3(7)", -1},
    {"900344", "Label3(10)", -1},
    {"900345", "Label3(11)", -1},
    {"900346", "Label3(14)", -1},
};

const Row* find(QStringView key) {
    for (const Row& row : kRows) {
        if (key == QLatin1String(row.key)) {
            return &row;
        }
    }
    return nullptr;
}

}  // namespace

QString CaptionTarget::describe() const {
    return isTab() ? QStringLiteral("%1[%2]").arg(control).arg(tab) : control;
}

std::optional<CaptionTarget> KeyTable::target(QStringView key) {
    const Row* row = find(key);
    if (row == nullptr || row->control == nullptr) {
        return std::nullopt;
    }
    return CaptionTarget{QString::fromLatin1(row->control), row->tab};
}

bool KeyTable::isKnown(QStringView key) {
    return find(key) != nullptr;
}

QStringList KeyTable::keys() {
    QStringList out;
    for (const Row& row : kRows) {
        out << QString::fromLatin1(row.key);
    }
    return out;
}

}  // namespace zun::lang
