#pragma once

#include "profile/consistency_check.h"

#include <QString>

namespace zun::app {

// What a technician reads about one entry the consistency check found wrong: which entry it is
// and the rule it broke, with its limits in the window's units.
QString FindingName(const profile::Finding& finding);
QString FindingReason(const profile::Finding& finding);

}  // namespace zun::app
