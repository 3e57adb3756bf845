#pragma once

#include "datalog/reply_outcome.h"

#include <QString>
#include <QtGlobal>

namespace zun::datalog {

// The charger's accumulated run time, as the reply to the run-time request carries it.
struct RunTimeReading {
    ReplyOutcome outcome = ReplyOutcome::Clear;
    qint32 minutes = 0;
    QString text;  // TxtGet(0)
};

// "125Hours 7Minutes": hours truncated toward zero, minutes with the sign of the count.
QString RunTimeText(qint32 minutes);

// Data bytes 0..3 of the reply are a little-endian signed 32-bit count of minutes.
RunTimeReading DecodeRunTime(const QString& reply);

}  // namespace zun::datalog
