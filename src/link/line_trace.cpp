#include "link/line_trace.h"

namespace zun::link {

QString TraceLine(const TraceEntry& entry) {
    const QString body = entry.bytes.isEmpty() && !entry.sent
                             ? QStringLiteral("(no reply)")
                             : QString::fromLatin1(entry.bytes.toHex()).toUpper();
    return QStringLiteral("[%1 ms] %2 %3")
        .arg(entry.msecs, 8)
        .arg(entry.sent ? QLatin1Char('>') : QLatin1Char('<'))
        .arg(body);
}

LineTrace::LineTrace(std::size_t capacity) : capacity_(capacity > 0 ? capacity : 1) {}

void LineTrace::record(bool sent, const QString& hex) {
    if (!clock_.isValid()) {
        clock_.start();
    }
    recordAt(clock_.elapsed(), sent, QByteArray::fromHex(hex.toLatin1()));
}

void LineTrace::recordAt(qint64 msecs, bool sent, const QByteArray& bytes) {
    entries_.push_back(TraceEntry{msecs, sent, bytes});
    while (entries_.size() > capacity_) {
        entries_.pop_front();
        ++dropped_;
    }
}

void LineTrace::clear() {
    entries_.clear();
    dropped_ = 0;
    clock_.invalidate();
}

QString LineTrace::text() const {
    QString out;
    if (dropped_ > 0) {
        out += QStringLiteral("(%1 earlier frames not kept)\n").arg(dropped_);
    }
    for (const TraceEntry& e : entries_) {
        out += TraceLine(e);
        out += QLatin1Char('\n');
    }
    return out;
}

}  // namespace zun::link
