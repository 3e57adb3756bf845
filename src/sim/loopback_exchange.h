#pragma once

#include "link/exchange.h"

#include <QByteArray>
#include <QString>

namespace zun::sim {

class VirtualCharger;

// An exchange wired straight to a VirtualCharger: no port, no timing. Meant for fast tests of
// the code that talks to the charger.
class LoopbackExchange : public link::Exchange {
public:
    explicit LoopbackExchange(VirtualCharger& charger) : charger_(charger) {}

    QString SendFrame(const QString& frame) override;
    // Returns at once; the requested time is added up for the tests that care.
    void WaitSeconds(float seconds) override;
    bool ResetAndWrite(const QByteArray& bytes) override;
    QByteArray ReadWaiting() override;

    // Bytes ReadWaiting hands out per call (0: everything waiting), to imitate a line that
    // delivers the streamed transfer piece by piece.
    void setReadChunk(int bytes) { readChunk_ = bytes; }
    double waitedSeconds() const { return waited_; }
    int sendCount() const { return sends_; }

private:
    VirtualCharger& charger_;
    QByteArray waiting_;
    int readChunk_ = 0;
    double waited_ = 0.0;
    int sends_ = 0;
};

}  // namespace zun::sim
