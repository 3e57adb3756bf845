#pragma once

#include "link/stored_settings.h"

namespace zun::profile {

// Both charge profiles as text tables, one per settings page. Profile p is the list position
// of CmbPN (0 or 1).
struct ProfileMemory {
    link::StoredSettings profiles;

    QString& ProfileGeneral(int p, int k) { return profiles.at(p).general.at(k); }
    QString& ProfileProtection(int p, int k) { return profiles.at(p).protection.at(k); }
    QString& ProfileStages(int p, int k) { return profiles.at(p).stages.at(k); }
    QString& ProfileNextCond(int p, int k) { return profiles.at(p).nextCond.at(k); }
    QString& ProfileAnyCond(int p, int k) { return profiles.at(p).anyCond.at(k); }
    QString& ProfileAnyTarget(int p, int k) { return profiles.at(p).anyTarget.at(k); }

    void clear() { profiles = link::StoredSettings{}; }
};

}  // namespace zun::profile
