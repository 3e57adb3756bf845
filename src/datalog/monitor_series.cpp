#include "datalog/monitor_series.h"

namespace zun::datalog {

MonitorSeries::MonitorSeries(std::size_t capacity) : capacity_(capacity > 0 ? capacity : 1) {}

void MonitorSeries::append(const MonitorSample& sample) {
    MonitorSample s = sample;
    s.gapBefore = s.gapBefore || gapPending_;
    gapPending_ = false;
    samples_.push_back(s);
    if (samples_.size() > capacity_) {
        samples_.pop_front();
    }
}

void MonitorSeries::clear() {
    samples_ = {};
    gapPending_ = false;
}

const MonitorSample& MonitorSeries::at(std::size_t i) const {
    return samples_.at(i);
}

std::size_t MonitorSeries::firstAtOrAfter(qint64 msecs) const {
    std::size_t lo = 0;
    std::size_t hi = samples_.size();
    while (lo < hi) {
        const std::size_t mid = lo + (hi - lo) / 2;
        if (samples_[mid].msecs < msecs) {
            lo = mid + 1;
        } else {
            hi = mid;
        }
    }
    return lo;
}

}  // namespace zun::datalog
