#pragma once

#include <QString>

namespace zun::profile {

// A single-precision number written into a text box: the shortest plain decimal text that reads
// back as the same single (17.8, not 17.7999992), no exponent, never "-0".
QString SingleText(float value);

}  // namespace zun::profile
