#pragma once

#include "profile/settings_file.h"

#include <QString>

// The README's example settings are the known file of these tests: two profiles for a 12 V /
// 20 A charger (model 3120) that pass every check the window makes and that the charger stores
// exactly as they stand. Profile 1 carries the frame examples of the general, protection and
// stage pages; profile 2 has four stages, stage 2 jumping to stage 4.
namespace known {

inline constexpr char kModel[] = "3120";
inline const QString kFile = QStringLiteral(EXAMPLE_SETTINGS);

inline zun::profile::SettingsFile Settings() {
    const zun::profile::SettingsReadResult r = zun::profile::ReadSettingsFile(kFile);
    if (!r.ok) {
        qFatal("%s", qPrintable(r.error));
    }
    return r.settings;
}

// Table 0 general, 1 protection, 2 stages, 3 next-stage cells, 4 any-stage cells, 5 targets.
inline QString& Field(zun::link::ProfileSlot& p, int table, int entry) {
    QString* tables[] = {p.general.data(),  p.protection.data(), p.stages.data(),
                         p.nextCond.data(), p.anyCond.data(),    p.anyTarget.data()};
    return tables[table][entry];
}

}  // namespace known
