#pragma once

#include <QByteArray>
#include <QElapsedTimer>
#include <QString>

#include <cstddef>
#include <deque>

namespace zun::link {

// One frame on the line: msecs since the trace began, the direction and the bytes (empty for a
// request that got no reply).
struct TraceEntry {
    qint64 msecs = 0;
    bool sent = false;
    QByteArray bytes;
};

// "[     123 ms] > 850357AA000D", the line zunctl --trace prints; "(no reply)" for an empty reply.
QString TraceLine(const TraceEntry& entry);

// Every frame sent and received, for support. Bounded: past the capacity the oldest frames
// are let go, and dropped() says how many.
class LineTrace {
public:
    static constexpr std::size_t kCapacity = 100000;

    explicit LineTrace(std::size_t capacity = kCapacity);

    // Records hex text as the exchange sees it, timed from the first frame recorded.
    void record(bool sent, const QString& hex);
    void recordAt(qint64 msecs, bool sent, const QByteArray& bytes);
    void clear();

    std::size_t size() const { return entries_.size(); }
    const TraceEntry& at(std::size_t i) const { return entries_.at(i); }
    qint64 dropped() const { return dropped_; }
    // Every line, each ended by a line feed, with a note first when frames were let go.
    QString text() const;

private:
    std::deque<TraceEntry> entries_;
    std::size_t capacity_;
    qint64 dropped_ = 0;
    QElapsedTimer clock_;
};

}  // namespace zun::link
