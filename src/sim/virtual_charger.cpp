#include "sim/virtual_charger.h"

#include "sim/settings_image.h"

#include <algorithm>
#include <cmath>

namespace zun::sim {

namespace {

constexpr quint8 kStart = 0x85;
constexpr quint8 kEnd = 0x0D;
constexpr int kBlockLimit = 10;  // records per block request

constexpr quint8 kIdentify = 0x50;
constexpr quint8 kGeneral = 0x51;
constexpr quint8 kProtection = 0x52;
constexpr quint8 kStages = 0x53;
constexpr quint8 kNextCond = 0x54;
constexpr quint8 kAnyCond = 0x55;
constexpr quint8 kStream = 0x56;
constexpr quint8 kRunTime = 0x57;
constexpr quint8 kLive = 0x58;
constexpr quint8 kSettings = 0x59;
constexpr quint8 kPointer = 0x75;
constexpr quint8 kBlock = 0x78;

quint8 byteAt(const QByteArray& bytes, int i) {
    return quint8(bytes.at(i));
}

quint16 word(const QByteArray& bytes, int i) {
    return quint16(byteAt(bytes, i) << 8 | byteAt(bytes, i + 1));
}

void append16(QByteArray& bytes, quint16 value) {
    bytes.append(char(value >> 8));
    bytes.append(char(value & 0xFF));
}

// Frame with an explicit length byte: the settings reply is too long for its length byte and
// carries 00 there, but its checksum follows the usual rule.
QByteArray frameWithLength(quint8 length, const QByteArray& body) {
    quint32 sum = length;
    for (char c : body) {
        sum += quint8(c);
    }
    QByteArray frame;
    frame.reserve(body.size() + 4);
    frame.append(char(kStart));
    frame.append(char(length));
    frame.append(body);
    frame.append(char(sum & 0xFF));
    frame.append(char(kEnd));
    return frame;
}

}  // namespace

const LiveValues VirtualCharger::kDefaultLive = {1420, 850, 1412, 1408, 0, 520, 330, 0};

QByteArray EndlessFiller() {
    return QByteArrayLiteral(
        "$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*47\r\n"
        "$GPRMC,123519,A,4807.038,N,01131.000,E,022.4,084.4,230394,003.1,W*6A\r\n");
}

QByteArray MakeFrame(const QByteArray& body) {
    return frameWithLength(quint8(body.size() + 1), body);
}

VirtualCharger::VirtualCharger() : image_(DefaultSettingsImage()) {}

QList<Reply> VirtualCharger::feed(const QByteArray& in) {
    QList<Reply> replies;
    QStringList recorded;
    std::function<void(const QString&)> listener;
    {
        std::lock_guard lock(mutex_);
        pending_.append(in);
        for (;;) {
            const int start = pending_.indexOf(char(kStart));
            if (start < 0) {
                pending_.clear();
                break;
            }
            pending_.remove(0, start);
            if (pending_.size() < 2) {
                break;
            }
            const int size = byteAt(pending_, 1) + 3;
            if (pending_.size() < size) {
                break;
            }
            const QByteArray frame = pending_.left(size);
            pending_.remove(0, size);
            if (byteAt(frame, size - 1) != kEnd) {
                continue;
            }
            const QString text = QString::fromLatin1(frame.toHex().toUpper());
            requests_.append(text);
            recorded.append(text);

            const quint8 command = byteAt(frame, 2);
            const bool hit = faults_.onlyFor.isEmpty() || faults_.onlyFor.contains(command);
            QByteArray reply;
            if (hit && faults_.otherReply && frame.size() >= 4) {
                QByteArray other = frame;
                other[2] = char(command == kRunTime ? kIdentify : kRunTime);
                reply = answer(other);
            } else {
                reply = answer(frame);
            }
            if (reply.isEmpty() || faults_.silent) {
                continue;
            }
            ++replyCount_;
            if (faults_.dropEvery > 0 && replyCount_ % faults_.dropEvery == 0) {
                continue;
            }
            if (!hit) {
                replies.append({reply, faults_.firstByteDelayMs});
                continue;
            }
            if (faults_.badChecksum && reply.size() >= 2) {
                reply[reply.size() - 2] = char(quint8(reply.at(reply.size() - 2)) ^ 0x5A);
            }
            if (faults_.truncateTo >= 0) {
                reply.truncate(faults_.truncateTo);
            }
            Reply r{faults_.garbageBefore + reply + faults_.garbageAfter, faults_.firstByteDelayMs};
            r.byteMs = faults_.trickleMs;
            if (faults_.vanishAt >= 0) {
                r.bytes.truncate(faults_.vanishAt);
                r.vanish = true;
            } else {
                r.endless = faults_.endless;
            }
            replies.append(r);
        }
        listener = listener_;
    }
    if (listener) {
        for (const QString& text : recorded) {
            listener(text);
        }
    }
    return replies;
}

QByteArray VirtualCharger::respond(const QByteArray& in) {
    QByteArray out;
    for (const Reply& r : feed(in)) {
        out.append(r.bytes);
    }
    return out;
}

void VirtualCharger::resync() {
    std::lock_guard lock(mutex_);
    pending_.clear();
}

bool VirtualCharger::hasPartialFrame() const {
    std::lock_guard lock(mutex_);
    return !pending_.isEmpty();
}

QByteArray VirtualCharger::answer(const QByteArray& frame) {
    if (frame.size() < 4) {
        return {};
    }
    const quint8 command = byteAt(frame, 2);
    switch (command) {
        case kIdentify: {
            QByteArray body(1, char(command + 0x10));
            append16(body, model_);
            return MakeFrame(body);
        }
        case kRunTime: {
            QByteArray body(1, char(command + 0x10));
            for (int shift = 0; shift < 32; shift += 8) {
                body.append(char((runTime_ >> shift) & 0xFF));
            }
            return MakeFrame(body);
        }
        case kLive: {
            QByteArray body(1, char(command + 0x10));
            LiveValues values = live_;
            if (timeScale_ > 0.0) {
                const std::chrono::duration<double> since =
                    std::chrono::steady_clock::now() - movingSince_;
                values = ChargeLiveAt(since.count() * timeScale_);
            }
            for (qint16 v : values) {
                append16(body, quint16(v));
            }
            return MakeFrame(body);
        }
        case kSettings: {
            QByteArray body;
            body.append(char(command + 0x10));
            body.append('\0');
            body.append(image_);
            return frameWithLength(0, body);
        }
        case kGeneral:
        case kProtection:
        case kStages:
        case kNextCond:
        case kAnyCond:
            return writeSettings(frame);
        case kPointer: {
            if (faults_.ignorePointerRequest) {
                return {};
            }
            // No command byte: the tool reads the pointer right after the length byte.
            QByteArray body;
            append16(body, quint16(log_.pointer()));
            body.append(char(log_.wrapped() ? 1 : 0));
            return MakeFrame(body);
        }
        case kBlock:
            return blockReply(frame);
        case kStream:
            return streamReply();
        default:
            return {};
    }
}

QByteArray VirtualCharger::writeSettings(const QByteArray& frame) {
    const quint8 command = byteAt(frame, 2);
    const int profile = byteAt(frame, 3);
    if (profile > 1) {
        return {};
    }
    // Payload between the profile byte and the checksum position.
    auto store = [&](int offset, int from, int count) {
        std::copy_n(frame.constData() + from, count, image_.data() + offset);
    };
    switch (command) {
        case kGeneral:
            if (frame.size() != 6 + kGeneralBytes) {
                return {};
            }
            store(GeneralOffset(profile), 4, kGeneralBytes);
            break;
        case kProtection:
            if (frame.size() != 6 + kProtectionBytes) {
                return {};
            }
            store(ProtectionOffset(profile), 4, kProtectionBytes);
            break;
        case kStages: {
            if (frame.size() < 5) {
                return {};
            }
            const int last = byteAt(frame, 4);
            const int n = last + 1;
            if (last >= kStageCount || frame.size() != 7 + kStageBytes * n) {
                return {};
            }
            const int offset = StagesOffset(profile);
            std::fill_n(image_.data() + offset, kStagesBytes, '\0');
            store(offset, 5, kStageBytes * n);
            break;
        }
        case kNextCond:
        case kAnyCond: {
            const int stage = byteAt(frame, 4);
            if (stage >= kStageCount || frame.size() != 7 + kRecordBytes) {
                return {};
            }
            const int offset = command == kNextCond ? NextRecordOffset(profile, stage)
                                                    : AnyRecordOffset(profile, stage);
            store(offset, 5, kRecordBytes);
            break;
        }
        default:
            return {};
    }
    return ack(command);
}

QByteArray VirtualCharger::ack(quint8 command) const {
    const bool wrong =
        faults_.wrongAck && (faults_.wrongAckCommand == 0 || faults_.wrongAckCommand == command);
    QByteArray body;
    body.append(char(command + 0x10));
    body.append(char(wrong ? 0x00 : 0x01));
    return MakeFrame(body);
}

QByteArray VirtualCharger::blockReply(const QByteArray& frame) const {
    // 85 06 78 AA first(2) last(2) 0D: no checksum byte in this request.
    if (frame.size() != 9) {
        return {};
    }
    const int first = word(frame, 4);
    const int last = word(frame, 6);
    if (last < first || last - first + 1 > kBlockLimit) {
        return {};
    }
    QByteArray body;
    body.append(char(kBlock + 0x10));
    body.append(char(0xAA));
    for (int slot = first; slot <= last; ++slot) {
        if (log_.holdsData(slot)) {
            body.append(ChargeLog::Encode(quint16(slot), log_.at(slot)));
        }
    }
    return MakeFrame(body);
}

QByteArray VirtualCharger::streamReply() const {
    QByteArray out;
    out.reserve(16 + log_.count() * ChargeLog::kRecordBytes);
    out.append(char(kStart));
    out.append('\0');
    out.append(char(kStream + 0x10));
    out.append(QByteArray(13, char(0xAA)));
    for (int n = 0; n < log_.count(); ++n) {
        out.append(ChargeLog::Encode(quint16(n + 1), log_.at(log_.slotByAge(n))));
    }
    return out;
}

QStringList VirtualCharger::requests() const {
    std::lock_guard lock(mutex_);
    return requests_;
}

void VirtualCharger::clearRequests() {
    std::lock_guard lock(mutex_);
    requests_.clear();
}

void VirtualCharger::setRequestListener(std::function<void(const QString&)> listener) {
    std::lock_guard lock(mutex_);
    listener_ = std::move(listener);
}

void VirtualCharger::setModelCode(quint16 code) {
    std::lock_guard lock(mutex_);
    model_ = code;
}

quint16 VirtualCharger::modelCode() const {
    std::lock_guard lock(mutex_);
    return model_;
}

void VirtualCharger::setRunTimeMinutes(quint32 minutes) {
    std::lock_guard lock(mutex_);
    runTime_ = minutes;
}

quint32 VirtualCharger::runTimeMinutes() const {
    std::lock_guard lock(mutex_);
    return runTime_;
}

void VirtualCharger::setLive(const LiveValues& values) {
    std::lock_guard lock(mutex_);
    live_ = values;
}

void VirtualCharger::setMovingLive(double timeScale) {
    std::lock_guard lock(mutex_);
    timeScale_ = std::max(0.0, timeScale);
    movingSince_ = std::chrono::steady_clock::now();
}

double VirtualCharger::movingLive() const {
    std::lock_guard lock(mutex_);
    return timeScale_;
}

LiveValues VirtualCharger::ChargeLiveAt(double chargeSeconds) {
    constexpr double kCycleHours = 10.0;
    constexpr double kBulkHours = 3.0;    // constant current until the voltage reaches 14.4 V
    constexpr double kAbsorbHours = 6.0;  // constant voltage until float
    const double h = std::fmod(std::max(0.0, chargeSeconds) / 3600.0, kCycleHours);
    double volts = 0.0;
    double amps = 0.0;
    if (h < kBulkHours) {
        // The battery's voltage climbs slowly at first and steeply near the end of bulk.
        const double x = h / kBulkHours;
        volts = 12.4 + 2.0 * (0.6 * x + 0.4 * x * x * x);
        amps = 10.0;
    } else if (h < kAbsorbHours) {
        volts = 14.4;
        amps = 0.4 + 9.6 * std::exp(-(h - kBulkHours) * 1.5);
    } else {
        volts = 13.6;
        amps = 0.3;
    }
    // A little ripple so that the readings look measured, the same at the same moment.
    const double ripple = 0.01 * std::sin(chargeSeconds / 37.0);
    auto hundredths = [](double v) { return qint16(std::lround(v * 100.0)); };
    return {hundredths(volts + ripple),
            hundredths(amps + 10 * ripple),
            hundredths(volts - 0.08 + ripple),
            hundredths(volts - 0.12 + ripple),
            0,
            hundredths(amps * 0.6),
            hundredths(amps * 0.4),
            0};
}

LiveValues VirtualCharger::live() const {
    std::lock_guard lock(mutex_);
    return live_;
}

void VirtualCharger::setLog(const ChargeLog& log) {
    std::lock_guard lock(mutex_);
    log_ = log;
}

ChargeLog VirtualCharger::log() const {
    std::lock_guard lock(mutex_);
    return log_;
}

bool VirtualCharger::setSettingsImage(const QByteArray& image) {
    if (image.size() != kImageBytes) {
        return false;
    }
    std::lock_guard lock(mutex_);
    image_ = image;
    return true;
}

QByteArray VirtualCharger::settingsImage() const {
    std::lock_guard lock(mutex_);
    return image_;
}

void VirtualCharger::setFaults(const Faults& faults) {
    std::lock_guard lock(mutex_);
    faults_ = faults;
}

Faults VirtualCharger::faults() const {
    std::lock_guard lock(mutex_);
    return faults_;
}

}  // namespace zun::sim
