#include "link/reply_check.h"

#include "link/codec.h"

#include <algorithm>

namespace zun::link {

namespace {

constexpr quint8 kStart = 0x85;
constexpr quint8 kEnd = 0x0D;
constexpr int kBlockHead = 4;  // start, length, command, one byte the charger fills as it likes
constexpr int kFrameTail = 2;  // checksum, end
constexpr int kBlockLimit = 10;
// The stored-settings reply: its length byte cannot hold its size and carries 00.
constexpr int kSettingsReplyBytes = 802;
// Bytes beyond the longest reply before an exchange is cut off: room for line noise.
constexpr int kByteMargin = 64;
// Time beyond twice the wire time: room for a late first byte, the 20 polls and a slow machine.
constexpr int kTimeMarginMs = 2000;

QString hexByte(quint8 b) {
    return QString::number(b, 16).toUpper().rightJustified(2, QLatin1Char('0'));
}

ReplyShape fixed(quint8 command, int dataBytes, bool hasCommand = true) {
    ReplyShape s;
    s.known = true;
    s.command = command;
    s.hasCommand = hasCommand;
    s.size = 2 + (hasCommand ? 1 : 0) + dataBytes + kFrameTail;
    s.lengthByte = quint8(s.size - 3);
    s.longest = s.size;
    return s;
}

ReplyVerdict verdict(ReplyState state, const QString& why, int expected = -1) {
    return {state, why, expected};
}

}  // namespace

double WireMilliseconds(qint64 bytes) {
    return double(bytes) * 10.0 * 1000.0 / 9600.0;
}

ReplyShape ShapeFor(const QByteArray& request) {
    if (request.size() < 3 || quint8(request.at(0)) != kStart) {
        return {};
    }
    const quint8 command = quint8(request.at(2));
    const quint8 reply = quint8(command + 0x10);
    switch (command) {
        case 0x50:  // identification: the two-byte model code
            return fixed(reply, 2);
        case 0x57:  // run time: four bytes of minutes
            return fixed(reply, 4);
        case 0x58:  // live readings: eight two-byte values
            return fixed(reply, 16);
        case 0x51:
        case 0x52:
        case 0x53:
        case 0x54:
        case 0x55:  // write acknowledgement: one status byte
            return fixed(reply, 1);
        case 0x75:  // log pointer: pointer and wrapped flag, no command byte
            return fixed(0, 3, false);
        case 0x59: {
            ReplyShape s;
            s.known = true;
            s.command = reply;
            s.size = kSettingsReplyBytes;
            s.lengthByte = 0;
            s.longest = s.size;
            return s;
        }
        case 0x78: {
            ReplyShape s;
            s.known = true;
            s.command = reply;
            s.recordBytes = 12;
            if (request.size() >= 8) {
                const int first = quint8(request.at(4)) << 8 | quint8(request.at(5));
                const int last = quint8(request.at(6)) << 8 | quint8(request.at(7));
                s.maxRecords = std::clamp(last - first + 1, 0, kBlockLimit);
            }
            s.longest = kBlockHead + s.recordBytes * s.maxRecords + kFrameTail;
            return s;
        }
        case 0x56: {
            ReplyShape s;
            s.known = true;
            s.stream = true;
            s.command = reply;
            s.recordBytes = kStreamRecordBytes;
            s.maxRecords = kMostLogRecords;
            s.longest = kStreamHeadBytes + kStreamRecordBytes * kMostLogRecords;
            return s;
        }
        default:
            return {};
    }
}

ReplyVerdict CheckReply(const QByteArray& request, const QByteArray& received) {
    const ReplyShape shape = ShapeFor(request);
    if (!shape.known) {
        return verdict(ReplyState::Incomplete,
                       QStringLiteral("no reply is known for this request"));
    }
    const int n = int(received.size());
    if (n == 0) {
        return verdict(ReplyState::Incomplete, QStringLiteral("nothing received"));
    }
    const auto at = [&received](int i) { return quint8(received.at(i)); };
    if (at(0) != kStart) {
        return verdict(ReplyState::Damaged,
                       QStringLiteral("start byte %1, not 85").arg(hexByte(at(0))));
    }
    if (shape.stream) {
        // The streamed transfer has no length or end; its records are judged by the download.
        return verdict(ReplyState::Incomplete, QStringLiteral("a streamed transfer"));
    }
    if (n < 2) {
        return verdict(ReplyState::Incomplete, QStringLiteral("1 byte of the reply"));
    }
    int expected = shape.size;
    const quint8 length = at(1);
    if (shape.recordBytes > 0) {
        const int body = int(length) - 3;
        if (body < 0 || body % shape.recordBytes != 0 ||
            body / shape.recordBytes > shape.maxRecords) {
            return verdict(ReplyState::Damaged,
                           QStringLiteral("length byte %1 fits no reply of at most %2 records")
                               .arg(hexByte(length))
                               .arg(shape.maxRecords));
        }
        expected = int(length) + 3;
    } else if (length != shape.lengthByte) {
        return verdict(ReplyState::Damaged, QStringLiteral("length byte %1, not %2")
                                                .arg(hexByte(length), hexByte(shape.lengthByte)));
    }
    if (shape.hasCommand && n >= 3 && at(2) != shape.command) {
        return verdict(
            ReplyState::Damaged,
            QStringLiteral("reply command %1, not %2").arg(hexByte(at(2)), hexByte(shape.command)),
            expected);
    }
    if (n < expected) {
        return verdict(ReplyState::Incomplete,
                       QStringLiteral("%1 of %2 bytes of the reply").arg(n).arg(expected),
                       expected);
    }
    if (at(expected - 1) != kEnd) {
        return verdict(ReplyState::Damaged,
                       QStringLiteral("end byte %1, not 0D").arg(hexByte(at(expected - 1))),
                       expected);
    }
    quint32 sum = 0;
    for (int i = 1; i < expected - 2; ++i) {
        sum += at(i);
    }
    const quint8 checksum = at(expected - 2);
    if (checksum != quint8(sum & 0xFF)) {
        return verdict(ReplyState::Damaged,
                       QStringLiteral("checksum %1, the bytes add up to %2")
                           .arg(hexByte(checksum), hexByte(quint8(sum & 0xFF))),
                       expected);
    }
    if (n > expected) {
        return verdict(ReplyState::Damaged,
                       QStringLiteral("%1 bytes after the end of the reply").arg(n - expected),
                       expected);
    }
    return verdict(ReplyState::Complete, QString(), expected);
}

ReplyVerdict CheckReplyText(const QString& request, const QString& reply) {
    if (!IsHexText(request) || (!reply.isEmpty() && !IsHexText(reply))) {
        return verdict(ReplyState::Incomplete,
                       QStringLiteral("no reply is known for this request"));
    }
    return CheckReply(QByteArray::fromHex(request.toLatin1()),
                      QByteArray::fromHex(reply.toLatin1()));
}

ExchangeLimits LimitsFor(const QByteArray& request) {
    const ReplyShape shape = ShapeFor(request);
    // A request without a known reply gets the room of the longest ordinary reply.
    const int longest = shape.known ? shape.longest : kSettingsReplyBytes;
    ExchangeLimits limits;
    limits.bytes = longest + kByteMargin;
    limits.milliseconds =
        int(2.0 * WireMilliseconds(request.size() + limits.bytes)) + kTimeMarginMs;
    return limits;
}

}  // namespace zun::link
