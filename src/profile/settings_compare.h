#pragma once

#include "link/stored_settings.h"

#include <QString>

#include <vector>

namespace zun::profile {

// One setting that differs between what should be in the charger and what it holds.
struct SettingsDifference {
    QString path;          // the field as the settings file names it
    QString wantedValue;   // as the file (or the pages) has it
    QString chargerValue;  // as the charger holds it
    QString control;       // objectName of the window's control showing the field
};

// Compares one profile with the charger's stored copy, field by field, for the fields the
// charger keeps and acts on:
// - the stages, conditions and targets of the stages beyond wanted's stage count are left out
//   (a write does not send them);
// - a condition's value counts only when its use is not "none";
// - no target and target stage 1 are the same (both go as 0);
// - the charge-amount and stage-number protection fields are left out: the charger is always
//   sent its "unset" markers for them;
// - values are compared as the window reads them (14.4 equals 14.40, an empty box equals 0).
std::vector<SettingsDifference> CompareProfiles(const link::ProfileSlot& wanted,
                                                const link::ProfileSlot& charger, int profile);

}  // namespace zun::profile
