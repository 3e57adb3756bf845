#include "cli/charger_connection.h"

#include "link/line_trace.h"
#include "link/reply_check.h"
#include "link/serial_link.h"

#include <QElapsedTimer>
#include <QRegularExpression>

namespace zun::cli {

namespace {

QString lastErrorNote(const session::ChargerSession& s) {
    return s.lastError().isEmpty() ? QString() : QStringLiteral(" (%1)").arg(s.lastError());
}

int identify(session::ChargerSession& s, const PortOptions& options, QString* message,
             bool searched) {
    const QString code = s.identify();
    const QString failure = link::DescribeLineFailure(s.lastOutcome());
    if (!failure.isEmpty()) {
        *message = QStringLiteral("%1: %2").arg(s.device(), failure);
        return kExitNoAnswer;
    }
    const QString problem = ReplyProblem(s.lastFrame(), s.lastReply(), s.lastOutcome());
    if (!problem.isEmpty() && !options.acceptDamaged) {
        *message =
            QStringLiteral(
                "%1: incomplete or damaged data: the identification reply %2 failed the "
                "check (%3)%4")
                .arg(s.device(), s.lastReply(), problem,
                     code.isEmpty() ? QString()
                                    : QStringLiteral("; it would read as model %1").arg(code));
        return kExitDamaged;
    }
    if (!code.isEmpty()) {
        return kExitDone;
    }
    if (searched) {
        *message = QStringLiteral("%1: the charger did not answer the identification request")
                       .arg(s.device());
        return kExitNoAnswer;
    }
    *message = QStringLiteral("no charger found: nothing answered on %1%2")
                   .arg(s.device(), lastErrorNote(s));
    return kExitNoCharger;
}

}  // namespace

QString ReplyProblem(const QString& frame, const QString& reply,
                     const link::ExchangeOutcome& outcome) {
    const QString failure = link::DescribeLineFailure(outcome);
    if (!failure.isEmpty() || reply.isEmpty()) {
        return failure;
    }
    const link::ReplyVerdict v = link::CheckReplyText(frame, reply);
    return v.state == link::ReplyState::Complete ? QString() : v.why;
}

link::PortList PortsFor(const PortOptions& options) {
    return link::PortList(options.devices, options.systemDevices);
}

QString ResolvePort(const QString& port, const link::PortList& ports, QString* error) {
    static const QRegularExpression comN(QStringLiteral("^com(\\d+)$"),
                                         QRegularExpression::CaseInsensitiveOption);
    const QRegularExpressionMatch m = comN.match(port.trimmed());
    if (!m.hasMatch()) {
        return port;
    }
    const int n = m.captured(1).toInt();
    const QString device = ports.deviceFor(n);
    if (device.isEmpty() && error) {
        *error = QStringLiteral("%1 is not a port here (zunctl ports lists them)").arg(port);
    }
    return device;
}

std::unique_ptr<session::ChargerSession> OpenSession(const PortOptions& options, FILE* err) {
    std::unique_ptr<link::Exchange> line;
    if (options.exchange) {
        line = options.exchange();
    } else {
        line = std::make_unique<link::SerialLink>();
    }
    auto s = std::make_unique<session::ChargerSession>(std::move(line));
    s->setFastMode(options.fast);
    if (options.trace) {
        auto clock = std::make_shared<QElapsedTimer>();
        clock->start();
        // The same lines as the window's line trace.
        auto line = [clock, err](bool sent, const QString& hex) {
            const link::TraceEntry entry{clock->elapsed(), sent,
                                         QByteArray::fromHex(hex.toLatin1())};
            fprintf(err, "%s\n", qPrintable(link::TraceLine(entry)));
            fflush(err);
        };
        s->setTrace(line);
        QObject::connect(s.get(), &session::ChargerSession::replied,
                         [line](const QString&, const QString& reply) {
                             if (reply.isEmpty()) {
                                 line(false, QString());
                             }
                         });
    }
    return s;
}

int Connect(session::ChargerSession& s, const PortOptions& options, QString* message) {
    const link::PortList ports = PortsFor(options);
    if (!options.port.isEmpty()) {
        QString error;
        const QString device = ResolvePort(options.port, ports, &error);
        if (device.isEmpty()) {
            *message = error;
            return kExitUsage;
        }
        s.setDevice(device);
        if (!s.open()) {
            *message = QStringLiteral("%1: %2").arg(device, s.lastError());
            if (!s.lastRefusal().remedy.isEmpty()) {
                *message += QStringLiteral("; ") + s.lastRefusal().remedy;
            }
            return kExitNoCharger;
        }
        return identify(s, options, message, false);
    }

    QStringList devices;
    for (int n : ports.numbers()) {
        devices << ports.deviceFor(n);
    }
    QStringList tried;
    QString remedy;  // said once, however many ports it concerns
    QString lastOpened;
    for (const session::ProbeResult& r : s.search(devices)) {
        if (r.charger) {
            return identify(s, options, message, true);
        }
        if (r.opened) {
            lastOpened = r.device;
        } else if (remedy.isEmpty()) {
            remedy = r.refusal.remedy;
        }
        const int n = ports.numbers().at(devices.indexOf(r.device));
        const QString status = !r.opened                  ? r.openError
                               : !r.lineFailure.isEmpty() ? r.lineFailure
                               : r.answered ? QStringLiteral("not the charger's answer")
                                            : QStringLiteral("no answer");
        tried << QStringLiteral("%1 (%2): %3").arg(link::PortList::EntryText(n), r.device, status);
    }
    // As the window does, the last port that could be opened gets the connection step; it
    // counts only when it answers the identification request.
    if (!lastOpened.isEmpty()) {
        s.setDevice(lastOpened);
        if (s.open() && identify(s, options, message, false) == kExitDone) {
            return kExitDone;
        }
        s.close();
    }
    *message =
        tried.isEmpty()
            ? QStringLiteral("no charger found: there are no serial ports")
            : QStringLiteral("no charger found; tried %1").arg(tried.join(QStringLiteral("; ")));
    if (!remedy.isEmpty()) {
        *message += QStringLiteral("; ") + remedy;
    }
    return kExitNoCharger;
}

}  // namespace zun::cli
