#pragma once

#include <QByteArray>
#include <QString>

namespace zun::link {

// What the received bytes of one exchange are, judged against the reply its request expects.
enum class ReplyState {
    Complete,    // a whole reply, every fixed byte as it must be
    Incomplete,  // so far a correct beginning, but bytes are missing
    Damaged,     // a byte that cannot be right: more bytes cannot mend it
};

struct ReplyVerdict {
    ReplyState state = ReplyState::Incomplete;
    QString why;        // plain words for Incomplete and Damaged, empty for Complete
    int expected = -1;  // bytes the whole reply has once its length is known, else -1
};

// The shape of the reply to one request, from the table of every reply the tool receives.
struct ReplyShape {
    bool known = false;      // a request the tool sends
    quint8 command = 0;      // the reply's command byte (request + 0x10)
    bool hasCommand = true;  // the log-pointer reply carries none
    int size = 0;            // bytes of a fixed-size reply; 0 when the length byte says
    quint8 lengthByte = 0;   // the length byte of a fixed-size reply
    int recordBytes = 0;     // block reply: the records after the head
    int maxRecords = 0;      // block reply: at most the records asked for
    int longest = 0;         // the most bytes a sound reply can have
    bool stream = false;     // the streamed log transfer: a head and 12-byte records, no end
};

// Bytes of the streamed transfer's head and of each of its records.
inline constexpr int kStreamHeadBytes = 16;
inline constexpr int kStreamRecordBytes = 12;
// The most records the charger's log holds.
inline constexpr int kMostLogRecords = 4320;

// The reply shape for a request given as bytes (the frame as it goes on the line).
ReplyShape ShapeFor(const QByteArray& request);

// Judges received bytes against the request's reply. Only what the frame format fixes is
// checked: start byte, length byte, reply command, checksum, end byte and the size. Bytes that
// the protocol leaves open (the byte after a block reply's command, the streamed head) are not.
ReplyVerdict CheckReply(const QByteArray& request, const QByteArray& received);
// The same on hex text as SendFrame takes and returns it; a request that is not hex text has
// no known reply.
ReplyVerdict CheckReplyText(const QString& request, const QString& reply);

// Limits that end an exchange whose line never falls quiet: the longest reply plus a margin,
// and the time the request and that many bytes take at 9600 baud, plus a margin.
struct ExchangeLimits {
    int bytes = 0;
    int milliseconds = 0;
};
ExchangeLimits LimitsFor(const QByteArray& request);

// Time of n bytes at 9600 baud, ten bits each, in milliseconds.
double WireMilliseconds(qint64 bytes);

}  // namespace zun::link
