#pragma once

#include "link/stored_settings.h"
#include "profile/settings_file.h"

#include <QString>

// Two profiles for a 12 V / 20 A charger (model 3120) that pass every check the window makes
// and that the charger stores exactly as they stand. Profile 1 carries the frame examples of
// the general, protection and stage pages; profile 2 has four stages, stage 2 jumping to
// stage 4.
namespace known {

inline constexpr char kModel[] = "3120";

inline void setCell(zun::link::ProfileSlot& p, bool any, int stage, int slot, int type,
                    const QString& value) {
    (any ? p.anyCond : p.nextCond)[stage * 8 + slot] = QString::number(type) + value;
}

inline zun::link::ProfileSlot emptyProfile() {
    zun::link::ProfileSlot p;
    for (int c = 0; c < 56; ++c) {
        p.nextCond[c] = QStringLiteral("00");
        p.anyCond[c] = QStringLiteral("00");
    }
    for (int k = 1; k < 15; ++k) {
        p.stages[k] = QStringLiteral("0");
    }
    p.general = {"12", "100", "18", "25", "2", "40"};
    return p;
}

inline zun::profile::SettingsFile Settings() {
    zun::profile::SettingsFile f;
    f.chargerModel = QString::fromLatin1(kModel);

    zun::link::ProfileSlot& a = f.profiles[0];
    a = emptyProfile();
    a.protection = {"10", "18", "0", "0", "20"};
    a.stages[0] = "3";
    const char* stagesA[] = {"14.4", "20", "13.8", "5", "13.5", "2"};
    for (int i = 0; i < 6; ++i) {
        a.stages[i + 1] = stagesA[i];
    }
    setCell(a, false, 0, 0, 2, "14.2");
    setCell(a, false, 0, 5, 2, "480");
    setCell(a, false, 1, 4, 2, "2.5");
    setCell(a, false, 1, 5, 2, "240");
    setCell(a, false, 2, 2, 2, "45");

    zun::link::ProfileSlot& b = f.profiles[1];
    b = emptyProfile();
    b.protection = {"45", "18", "0", "0", "24"};
    b.stages[0] = "4";
    const char* stagesB[] = {"14.8", "15", "14.4", "10", "13.8", "5", "13.5", "2"};
    for (int i = 0; i < 8; ++i) {
        b.stages[i + 1] = stagesB[i];
    }
    setCell(b, false, 0, 0, 1, "14.4");
    setCell(b, false, 0, 4, 1, "10");
    setCell(b, false, 1, 5, 2, "300");
    setCell(b, false, 2, 4, 2, "3");
    setCell(b, false, 3, 1, 2, "0.5");
    setCell(b, false, 3, 3, 2, "1.5");
    setCell(b, false, 3, 6, 2, "50");
    setCell(b, false, 3, 7, 2, "80");
    b.anyTarget[0] = "2";  // stage 3
    b.anyTarget[1] = "3";  // stage 4
    b.anyTarget[3] = "0";  // stage 1
    setCell(b, true, 0, 5, 2, "60");
    setCell(b, true, 1, 2, 2, "50");
    setCell(b, true, 2, 4, 2, "2");
    setCell(b, true, 3, 0, 2, "13");
    return f;
}

}  // namespace known
