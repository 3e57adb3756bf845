#pragma once

#include "sim/charge_log.h"

#include <QByteArray>
#include <QList>
#include <QStringList>

#include <array>
#include <chrono>
#include <functional>
#include <mutex>

namespace zun::sim {

// Present readings in hundredths, in the order of the live reply: V0, I0, V1, V2, V3, I1, I2, I3.
using LiveValues = std::array<qint16, 8>;

// Ways in which a real charger or line misbehaves, for testing the tool against them.
struct Faults {
    bool silent = false;                // never answer
    int dropEvery = 0;                  // swallow every n-th reply (0: none)
    bool wrongAck = false;              // write acknowledgements carry status 00
    quint8 wrongAckCommand = 0;         // ... only for this write command (0: every write)
    int truncateTo = -1;                // cut every reply to this many bytes (-1: whole)
    QByteArray garbageBefore;           // sent in front of every reply
    QByteArray garbageAfter;            // sent after every reply
    int firstByteDelayMs = 0;           // pause before the first byte of every reply
    bool ignorePointerRequest = false;  // old firmware without the log pointer
    // The faults below, and truncateTo and the stray bytes above, hit only the requests with
    // these command bytes (empty: every request).
    QList<quint8> onlyFor;
    bool endless = false;      // after the reply the line never falls quiet (a device in a loop)
    bool badChecksum = false;  // the reply's checksum byte is wrong
    bool otherReply = false;   // the reply of another command (run time, or identification)
    int vanishAt = -1;         // the port vanishes after this many bytes of the reply (-1: no)
    int trickleMs = 0;         // the reply goes out one byte every N ms (0: at line speed)
};

// One reply as it goes on the line.
struct Reply {
    QByteArray bytes;
    int firstByteDelayMs = 0;
    bool endless = false;  // followed by bytes that never end, until the next request
    bool vanish = false;   // the port vanishes once the bytes are out
    int byteMs = 0;        // one byte every N ms instead of the line's pace (0: the line's)
};

// What an endless reply is followed by: a receiver's sentences, over and over.
QByteArray EndlessFiller();

// The charger's side of the protocol, bytes in and bytes out, with no I/O of its own. Every
// member may be called from any thread.
class VirtualCharger {
public:
    static constexpr quint16 kDefaultModel = 3110;
    static constexpr quint32 kDefaultRunTimeMinutes = 18950;
    static const LiveValues kDefaultLive;

    VirtualCharger();

    // Takes request bytes as they arrive; returns the replies to every frame they complete.
    QList<Reply> feed(const QByteArray& in);
    // The same, with the replies joined and their delays ignored.
    QByteArray respond(const QByteArray& in);
    // Drops a half-received frame; the host calls this after a silence on the line.
    void resync();
    bool hasPartialFrame() const;

    // Every complete request frame so far, as upper-case hex text.
    QStringList requests() const;
    void clearRequests();
    // Called with each request's hex text as it is recorded, outside the charger's lock.
    void setRequestListener(std::function<void(const QString&)> listener);

    void setModelCode(quint16 code);
    quint16 modelCode() const;
    void setRunTimeMinutes(quint32 minutes);
    quint32 runTimeMinutes() const;
    void setLive(const LiveValues& values);
    LiveValues live() const;
    // Live readings that follow a charge as time passes, timeScale seconds of charge per second
    // (60: an hour of charge a minute); 0 goes back to the fixed values of setLive.
    void setMovingLive(double timeScale);
    double movingLive() const;
    // The readings a 12 V / 10 A charger shows chargeSeconds into a charge: constant current
    // up to 14.4 V, constant voltage while the current falls, then float at 13.6 V; the
    // charge starts over after ten hours.
    static LiveValues ChargeLiveAt(double chargeSeconds);
    void setLog(const ChargeLog& log);
    ChargeLog log() const;
    // The 796 bytes of both profiles as the settings reply carries them; a wrong size is refused.
    bool setSettingsImage(const QByteArray& image);
    QByteArray settingsImage() const;
    void setFaults(const Faults& faults);
    Faults faults() const;

private:
    QByteArray answer(const QByteArray& frame);
    QByteArray writeSettings(const QByteArray& frame);
    QByteArray blockReply(const QByteArray& frame) const;
    QByteArray streamReply() const;
    QByteArray ack(quint8 command) const;

    mutable std::mutex mutex_;
    QByteArray pending_;
    QStringList requests_;
    std::function<void(const QString&)> listener_;
    quint16 model_ = kDefaultModel;
    quint32 runTime_ = kDefaultRunTimeMinutes;
    LiveValues live_ = kDefaultLive;
    double timeScale_ = 0.0;
    std::chrono::steady_clock::time_point movingSince_;
    ChargeLog log_;
    QByteArray image_;
    Faults faults_;
    int replyCount_ = 0;
};

// A reply frame with its length byte and checksum: 85, length, body, checksum, 0D. The length
// counts the body and the checksum; the checksum is the low byte of the length plus the body.
QByteArray MakeFrame(const QByteArray& body);

}  // namespace zun::sim
