#include "datalog/live_reading.h"

#include "link/codec.h"

namespace zun::datalog {

namespace {

constexpr int kDataStart = 6;
constexpr int kFieldChars = 4;
constexpr int kFields = 8;

}  // namespace

LiveReading DecodeLiveReading(const QString& reply) {
    LiveReading r;
    if (reply.isEmpty()) {
        r.outcome = ReplyOutcome::Clear;
        return r;
    }
    const QString data = reply.mid(kDataStart, kFields * kFieldChars);
    if (data.size() < kFields * kFieldChars || !link::IsHexText(data)) {
        r.outcome = ReplyOutcome::LeaveUnchanged;
        return r;
    }
    std::array<float, kFields> values{};
    for (int k = 0; k < kFields; ++k) {
        // Two's complement: 8000..FFFF are negative; the FFFF "unset" marker does not apply.
        const auto raw = static_cast<qint16>(
            static_cast<quint16>(data.mid(k * kFieldChars, kFieldChars).toUInt(nullptr, 16)));
        values[k] = static_cast<float>(raw / 100.0);
    }
    r.V = {values[0], values[2], values[3], values[4]};
    r.I = {values[1], values[5], values[6], values[7]};
    r.text = LiveReadingText(r);
    r.outcome = ReplyOutcome::Show;
    return r;
}

QString LiveReadingText(const LiveReading& reading) {
    using link::FormatFixed;
    return QStringLiteral("charge:") + FormatFixed(reading.V[0], 1) + QStringLiteral("V  ") +
           FormatFixed(reading.I[0], 1) + QStringLiteral("A\r\n") + QStringLiteral("bat1:  ") +
           FormatFixed(reading.V[1], 2) + QStringLiteral("V  ") + FormatFixed(reading.I[1], 2) +
           QStringLiteral("A\r\n") + QStringLiteral("bat2:  ") + FormatFixed(reading.V[2], 2) +
           QStringLiteral("V  ") + FormatFixed(reading.I[2], 2) + QStringLiteral("A");
}

}  // namespace zun::datalog
