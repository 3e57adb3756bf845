#include "datalog/run_time.h"

#include "link/codec.h"

namespace zun::datalog {

QString RunTimeText(qint32 minutes) {
    // C++ division and remainder truncate toward zero, which is the display rule.
    return QString::number(minutes / 60) + QStringLiteral("Hours ") +
           QString::number(minutes % 60) + QStringLiteral("Minutes");
}

RunTimeReading DecodeRunTime(const QString& reply) {
    RunTimeReading r;
    if (reply.isEmpty()) {
        r.outcome = ReplyOutcome::Clear;
        return r;
    }
    const QString data = reply.mid(6, 8);
    if (data.size() < 8 || !link::IsHexText(data)) {
        r.outcome = ReplyOutcome::LeaveUnchanged;
        return r;
    }
    const QString swapped = data.mid(6, 2) + data.mid(4, 2) + data.mid(2, 2) + data.mid(0, 2);
    r.minutes = static_cast<qint32>(swapped.toUInt(nullptr, 16));
    r.text = RunTimeText(r.minutes);
    r.outcome = ReplyOutcome::Show;
    return r;
}

}  // namespace zun::datalog
