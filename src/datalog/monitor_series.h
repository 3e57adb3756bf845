#pragma once

#include <QtGlobal>

#include <cstddef>
#include <deque>

namespace zun::datalog {

// One live reading as the monitor keeps it: the values shown in the reading box, taken at
// msecs (milliseconds since the epoch, UTC).
struct MonitorSample {
    qint64 msecs = 0;
    float chargerV = 0.0f;
    float chargerA = 0.0f;
    float bat1V = 0.0f;
    float bat1A = 0.0f;
    float bat2V = 0.0f;
    float bat2A = 0.0f;
    // The line was lost before this reading: the chart does not join it to the one before.
    bool gapBefore = false;
};

// The readings of a monitor run, oldest first. Bounded: once full, each new reading replaces
// the oldest, so a run of any length keeps a fixed amount of memory.
class MonitorSeries {
public:
    // A week of readings at one a second.
    static constexpr std::size_t kDefaultCapacity = 7 * 24 * 3600;

    explicit MonitorSeries(std::size_t capacity = kDefaultCapacity);

    void append(const MonitorSample& sample);
    // The next reading appended starts a new stretch of the curves.
    void markGap() { gapPending_ = true; }
    void clear();

    std::size_t size() const { return samples_.size(); }
    std::size_t capacity() const { return capacity_; }
    bool empty() const { return samples_.empty(); }
    // i = 0 is the oldest reading held.
    const MonitorSample& at(std::size_t i) const;
    const MonitorSample& last() const { return at(size() - 1); }
    // Index of the first reading taken at or after msecs (size() when none is).
    std::size_t firstAtOrAfter(qint64 msecs) const;

private:
    // A deque grows in chunks: no moment holds two copies of a week of readings.
    std::deque<MonitorSample> samples_;
    std::size_t capacity_;
    bool gapPending_ = false;
};

}  // namespace zun::datalog
