#include "datalog/charge_ah.h"

#include "link/codec.h"

namespace zun::datalog {

std::vector<float> ComputeChargeAh(const std::vector<LogRow>& rows) {
    std::vector<float> ah(rows.size() + 1, 0.0f);
    for (size_t r = 2; r < ah.size(); ++r) {
        // The two singles add in single precision; the sixth is a double, so the step is
        // formed in double and stored back as a single.
        const float sum = link::TextToSingle(rows[r - 2][2]) + link::TextToSingle(rows[r - 1][2]);
        ah[r] = static_cast<float>(static_cast<double>(ah[r - 1]) +
                                   static_cast<double>(sum) * (1.0 / 6.0));
    }
    return ah;
}

std::vector<float> ComputeChargeAh(const LogTableModel& table) {
    return ComputeChargeAh(table.rows());
}

}  // namespace zun::datalog
