#pragma once

#include <QByteArray>
#include <QString>

namespace zun::link {

// The one synchronous request/reply exchange with the charger, and the raw access that the
// older streamed log transfer needs. SerialLink is the real one; tests may drive a
// VirtualCharger directly through the same interface.
class Exchange {
public:
    virtual ~Exchange() = default;

    // Sends a frame given as hex text; returns everything received as upper-case hex text, or
    // the empty text on any failure (port missing, non-hex frame text, nothing received).
    virtual QString SendFrame(const QString& frame) = 0;

    // Waits the given time while the window's events keep running.
    virtual void WaitSeconds(float seconds) = 0;

    // Streamed transfer: discard pending input, open the port if closed, write the bytes.
    virtual bool ResetAndWrite(const QByteArray& bytes) = 0;

    // Streamed transfer: every byte waiting in the input buffer (possibly none).
    virtual QByteArray ReadWaiting() = 0;
};

}  // namespace zun::link
