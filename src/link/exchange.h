#pragma once

#include "link/reply_check.h"

#include <QByteArray>
#include <QString>

namespace zun::link {

// How the last exchange ended.
enum class ExchangeEnd {
    NotSent,        // the port could not be opened or the frame was not hex text
    Quiet,          // 20 polls brought nothing new
    CompleteFast,   // fast mode: a complete, sound reply was in
    HardByteLimit,  // more bytes than the longest reply can have: the line did not fall quiet
    HardTimeLimit,  // the time of the longest reply passed: the line did not fall quiet
    PortLost,       // the adapter vanished during the exchange
};

struct ExchangeOutcome {
    ExchangeEnd end = ExchangeEnd::Quiet;
    ReplyVerdict verdict;  // the received bytes against the reply the request expects
    ExchangeLimits limits;
    int received = 0;  // bytes received

    bool lineNotQuiet() const {
        return end == ExchangeEnd::HardByteLimit || end == ExchangeEnd::HardTimeLimit;
    }
    // The exchange ended in a way that makes the next one on this line pointless.
    bool lineFailed() const { return lineNotQuiet() || end == ExchangeEnd::PortLost; }
};

// Plain words for an exchange that ended at a hard limit or lost its port; empty otherwise.
QString DescribeLineFailure(const ExchangeOutcome& outcome);

// The one synchronous request/reply exchange with the charger, and the raw access that the
// older streamed log transfer needs. SerialLink is the real one; tests may drive a
// VirtualCharger directly through the same interface.
class Exchange {
public:
    virtual ~Exchange() = default;

    // Sends a frame given as hex text; returns everything received as upper-case hex text, or
    // the empty text on any failure (port missing, non-hex frame text, nothing received, a line
    // that did not fall quiet).
    virtual QString SendFrame(const QString& frame) = 0;

    // Waits the given time while the window's events keep running.
    virtual void WaitSeconds(float seconds) = 0;

    // Streamed transfer: discard pending input, open the port if closed, write the bytes.
    virtual bool ResetAndWrite(const QByteArray& bytes) = 0;

    // Streamed transfer: every byte waiting in the input buffer (possibly none).
    virtual QByteArray ReadWaiting() = 0;

    // How the last SendFrame ended. An exchange without a line of its own ends quietly.
    virtual ExchangeOutcome lastOutcome() const { return {}; }

    // Fast mode ends an exchange as soon as a complete, sound reply is in; the frames sent are
    // the same. Off by default.
    virtual void setFastMode(bool on) { (void)on; }
    virtual bool fastMode() const { return false; }

    // False once the port has gone; the streamed transfer then stops waiting for it.
    virtual bool lineUp() const { return true; }
};

}  // namespace zun::link
