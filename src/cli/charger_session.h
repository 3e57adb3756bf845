#pragma once

#include "link/exchange.h"
#include "link/port_list.h"
#include "link/serial_link.h"

#include <QElapsedTimer>
#include <QString>
#include <QStringList>

#include <cstdio>

namespace zun::cli {

// Exit codes of zunctl.
enum ExitCode : int {
    kExitDone = 0,
    kExitNoAnswer = 1,   // the charger did not acknowledge or answer
    kExitUsage = 2,      // usage or bad input file
    kExitNoCharger = 3,  // no charger found
    kExitDiffers = 4,    // verify: the charger holds other settings than the file
    kExitDamaged = 5,    // incomplete or damaged data
};

struct PortOptions {
    QString port;                // --port: device path, COMn or ComN; empty: search
    QStringList devices;         // --device, numbered first
    bool systemDevices = true;   // without --only-given-ports
    bool trace = false;          // --trace
    bool fast = false;           // --fast: end each exchange at its complete, sound reply
    bool acceptDamaged = false;  // --accept-damaged: a reply that fails the check is used
};

// "the line did not fall quiet" and the like for an exchange that ended at a hard limit or
// lost its port; otherwise the verdict on a reply that failed the check; else empty.
QString ReplyProblem(const QString& frame, const QString& reply,
                     const link::ExchangeOutcome& outcome);

// The port numbering zunctl shares with the window.
link::PortList PortsFor(const PortOptions& options);

// What --port names: a device path, or the device of ComN / COMn in the numbering. Empty with
// a message when ComN names no port.
QString ResolvePort(const QString& port, const link::PortList& ports, QString* error);

// The connection to one charger: the port chosen by --port or by the search, the exchange
// (traced on stderr with --trace) and the identified model.
class ChargerSession : public link::Exchange {
public:
    explicit ChargerSession(const PortOptions& options, FILE* err = stderr);

    // Opens the port given with --port, or searches the numbered ports for the exact probe
    // answer (falling back to the last port that opens, as the window does, when it answers the
    // identification request). Then identifies the charger. Returns kExitDone, kExitUsage,
    // kExitNoCharger or kExitNoAnswer with a message in plain words.
    int connect(QString* message);

    // The probe of one device as the search sends it; the port is closed again afterwards.
    // status says in plain words what happened.
    bool probe(const QString& device, QString* status);

    // What grants access to the port the last open or probe was refused, or empty.
    QString remedy() const { return link_.lastRefusal().remedy; }
    QString device() const { return link_.device(); }
    QString modelCode() const { return modelCode_; }
    bool acceptDamaged() const { return options_.acceptDamaged; }

    QString SendFrame(const QString& frame) override;
    void WaitSeconds(float seconds) override;
    bool ResetAndWrite(const QByteArray& bytes) override;
    QByteArray ReadWaiting() override;
    link::ExchangeOutcome lastOutcome() const override { return link_.lastOutcome(); }
    bool fastMode() const override { return link_.fastMode(); }
    void setFastMode(bool on) override { link_.setFastMode(on); }
    bool lineUp() const override { return link_.lineUp(); }

    // Observer of replies, for the progress of a log download.
    std::function<void(const QString& frame, const QString& reply)> onReply;

private:
    int identify(QString* message, bool searched);
    void traceLine(const char* arrow, const QString& text);

    PortOptions options_;
    FILE* err_;
    link::SerialLink link_;
    link::PortList ports_;
    QString modelCode_;
    QElapsedTimer clock_;
};

}  // namespace zun::cli
