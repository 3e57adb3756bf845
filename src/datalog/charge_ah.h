#pragma once

#include "datalog/log_table_model.h"

#include <vector>

namespace zun::datalog {

// The charge array: one accumulated ampere-hour value per grid row (index 0 is the header).
// AH(0) = AH(1) = 0, AH(r) = AH(r - 1) + (I(r - 1) + I(r)) * (1.0 / 6.0), from the "curr" cells.
std::vector<float> ComputeChargeAh(const LogTableModel& table);
std::vector<float> ComputeChargeAh(const std::vector<LogRow>& rows);

}  // namespace zun::datalog
