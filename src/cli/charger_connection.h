#pragma once

#include "link/port_list.h"
#include "session/charger_session.h"

#include <QString>
#include <QStringList>

#include <cstdio>
#include <functional>
#include <memory>

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
    int waitSeconds = 0;         // --wait: how long the port and the charger may take to appear
    // The line to the charger; the serial port when unset. Tests run commands in-process
    // against a charger this way.
    std::function<std::unique_ptr<link::Exchange>()> exchange;
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

// A session on the serial line, traced on err with --trace (every frame with milliseconds).
std::unique_ptr<session::ChargerSession> OpenSession(const PortOptions& options, FILE* err);

// Opens the port given with --port, or searches the numbered ports for the exact probe answer
// (falling back to the last port that opens, as the window does, when it answers the
// identification request). Then identifies the charger. Returns kExitDone, kExitUsage,
// kExitNoCharger, kExitNoAnswer or kExitDamaged with a message in plain words.
int Connect(session::ChargerSession& session, const PortOptions& options, QString* message);

}  // namespace zun::cli
