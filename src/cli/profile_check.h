#pragma once

#include "link/stored_settings.h"
#include "profile/profile_pages.h"

#include <QString>

#include <vector>

namespace zun::cli {

struct FieldProblem {
    QString path;    // the field as the settings file names it
    QString value;   // as the file has it
    QString reason;  // plain words
};

struct ProfileCheck {
    std::vector<FieldProblem> wrong;     // the write is refused
    std::vector<FieldProblem> warnings;  // shown; the window would write these as they are
    bool ok() const { return wrong.empty(); }
};

// Checks one profile as the window would before its write-all: every box the user could leave
// goes through its leave-the-box correction (a value the correction would change is wrong), the
// consistency check and the pages' "and"/"or" conflict scans run, the nominal voltage must be
// the charger's, and every value must reach the charger as it stands (a value the charger would
// store differently, such as 12.5 hours, is wrong).
ProfileCheck CheckProfile(const link::ProfileSlot& slot, int profile,
                          const profile::ChargerContext& context);

}  // namespace zun::cli
