#include "sim/loopback_exchange.h"

#include "sim/virtual_charger.h"

#include <algorithm>

namespace zun::sim {

namespace {

bool isHexFrame(const QString& text) {
    if (text.isEmpty() || text.size() % 2 != 0) {
        return false;
    }
    return std::all_of(text.cbegin(), text.cend(), [](QChar c) {
        const char16_t u = c.unicode();
        return (u >= '0' && u <= '9') || (u >= 'A' && u <= 'F') || (u >= 'a' && u <= 'f');
    });
}

}  // namespace

QString LoopbackExchange::SendFrame(const QString& frame) {
    ++sends_;
    waiting_.clear();
    if (!isHexFrame(frame)) {
        return {};
    }
    const QByteArray reply = charger_.respond(QByteArray::fromHex(frame.toLatin1()));
    // The real line stays quiet long enough after every exchange for the charger to drop a
    // half frame.
    charger_.resync();
    return QString::fromLatin1(reply.toHex().toUpper());
}

void LoopbackExchange::WaitSeconds(float seconds) {
    if (seconds > 0) {
        waited_ += seconds;
    }
}

bool LoopbackExchange::ResetAndWrite(const QByteArray& bytes) {
    waiting_ = charger_.respond(bytes);
    return true;
}

QByteArray LoopbackExchange::ReadWaiting() {
    const int n = readChunk_ > 0 ? std::min<int>(readChunk_, waiting_.size()) : waiting_.size();
    const QByteArray out = waiting_.left(n);
    waiting_.remove(0, n);
    return out;
}

}  // namespace zun::sim
