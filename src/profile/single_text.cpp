#include "profile/single_text.h"

#include <charconv>
#include <cmath>

namespace zun::profile {

QString SingleText(float value) {
    if (!std::isfinite(value) || value == 0.0f) {
        return QStringLiteral("0");
    }
    // Fixed notation of the largest single is 39 digits; leave room for sign and fraction.
    char buf[128];
    const auto res = std::to_chars(buf, buf + sizeof buf, value, std::chars_format::fixed);
    return QString::fromLatin1(buf, static_cast<int>(res.ptr - buf));
}

}  // namespace zun::profile
