#pragma once

#include "datalog/reply_outcome.h"

#include <QString>

#include <array>

namespace zun::datalog {

// The present voltages and currents. V3 and I3 are decoded like the others but shown nowhere.
struct LiveReading {
    ReplyOutcome outcome = ReplyOutcome::Clear;
    std::array<float, 4> V{};  // charger, battery 1, battery 2, fourth channel
    std::array<float, 4> I{};
    QString text;  // TxtGet(1)
};

// Eight big-endian signed 16-bit fields in hundredths, in the order V0 I0 V1 V2 V3 I1 I2 I3.
LiveReading DecodeLiveReading(const QString& reply);

// The three lines of TxtGet(1), joined by CR LF, no line end after the last.
QString LiveReadingText(const LiveReading& reading);

}  // namespace zun::datalog
