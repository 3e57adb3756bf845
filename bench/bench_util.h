#pragma once

#include <QString>
#include <QStringList>

#include <sys/resource.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace bench {

inline double median(std::vector<double> v) {
    if (v.empty()) {
        return 0.0;
    }
    std::sort(v.begin(), v.end());
    const size_t m = v.size() / 2;
    return v.size() % 2 ? v[m] : (v[m - 1] + v[m]) / 2.0;
}

// Peak resident set of this process in MiB (Linux reports kilobytes).
inline double peakRssMiB() {
    rusage u{};
    getrusage(RUSAGE_SELF, &u);
    return u.ru_maxrss / 1024.0;
}

// The value after "--name" on the command line, or the fallback.
inline QString option(const QStringList& args, const QString& name, const QString& fallback) {
    const int i = static_cast<int>(args.indexOf(name));
    return (i >= 0 && i + 1 < args.size()) ? args.at(i + 1) : fallback;
}

}  // namespace bench
