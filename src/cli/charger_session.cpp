#include "cli/charger_session.h"

#include "link/frames.h"
#include "link/model_table.h"
#include "link/reply_check.h"

#include <QRegularExpression>

namespace zun::cli {

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

QString ReplyProblem(const QString& frame, const QString& reply,
                     const link::ExchangeOutcome& outcome) {
    const QString failure = link::DescribeLineFailure(outcome);
    if (!failure.isEmpty() || reply.isEmpty()) {
        return failure;
    }
    const link::ReplyVerdict v = link::CheckReplyText(frame, reply);
    return v.state == link::ReplyState::Complete ? QString() : v.why;
}

ChargerSession::ChargerSession(const PortOptions& options, FILE* err)
    : options_(options), err_(err), ports_(PortsFor(options)) {
    clock_.start();
    link_.setFastMode(options_.fast);
    if (options_.trace) {
        link_.trace = [this](bool sent, const QString& hex) { traceLine(sent ? ">" : "<", hex); };
    }
}

void ChargerSession::traceLine(const char* arrow, const QString& text) {
    fprintf(err_, "[%8lld ms] %s %s\n", static_cast<long long>(clock_.elapsed()), arrow,
            qPrintable(text));
    fflush(err_);
}

int ChargerSession::connect(QString* message) {
    if (!options_.port.isEmpty()) {
        QString error;
        const QString device = ResolvePort(options_.port, ports_, &error);
        if (device.isEmpty()) {
            *message = error;
            return kExitUsage;
        }
        link_.setDevice(device);
        if (!link_.open()) {
            *message = QStringLiteral("%1: %2").arg(device, link_.lastError());
            if (!link_.lastRefusal().remedy.isEmpty()) {
                *message += QStringLiteral("; ") + link_.lastRefusal().remedy;
            }
            return kExitNoCharger;
        }
        return identify(message, false);
    }

    // The charger search: only the exact answer to the run-time request counts.
    QStringList tried;
    QString remedy;  // said once, however many ports it concerns
    int lastOpened = 0;
    for (int n : ports_.numbers()) {
        const QString device = ports_.deviceFor(n);
        link_.setDevice(device);
        if (!link_.open()) {
            tried << QStringLiteral("%1 (%2): %3")
                         .arg(link::PortList::EntryText(n), device, link_.lastError());
            if (remedy.isEmpty()) {
                remedy = link_.lastRefusal().remedy;
            }
            continue;
        }
        lastOpened = n;
        const QString reply = SendFrame(QLatin1String(link::kRunTimeRequest));
        if (reply == QLatin1String(link::kProbeAnswer)) {
            return identify(message, true);
        }
        const QString failure = link::DescribeLineFailure(link_.lastOutcome());
        tried << QStringLiteral("%1 (%2): %3")
                     .arg(link::PortList::EntryText(n), device,
                          !failure.isEmpty() ? failure
                          : reply.isEmpty()  ? QStringLiteral("no answer")
                                             : QStringLiteral("not the charger's answer"));
        link_.close();
    }
    // As the window does, the last port that could be opened gets the connection step; it
    // counts only when it answers the identification request.
    if (lastOpened > 0) {
        link_.setDevice(ports_.deviceFor(lastOpened));
        if (link_.open() && identify(message, false) == kExitDone) {
            return kExitDone;
        }
        link_.close();
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

bool ChargerSession::probe(const QString& device, QString* status) {
    link_.close();
    link_.setDevice(device);
    if (!link_.open()) {
        *status = link_.lastError();
        return false;
    }
    const QString reply = SendFrame(QLatin1String(link::kRunTimeRequest));
    const QString failure = link::DescribeLineFailure(link_.lastOutcome());
    link_.close();
    const bool charger = reply == QLatin1String(link::kProbeAnswer);
    *status = charger              ? QStringLiteral("charger")
              : !failure.isEmpty() ? failure
              : reply.isEmpty()    ? QStringLiteral("no answer")
                                   : QStringLiteral("answers, but not as the charger");
    return charger;
}

int ChargerSession::identify(QString* message, bool searched) {
    const QString frame = QLatin1String(link::kIdentifyRequest);
    const QString reply = SendFrame(frame);
    const QString failure = link::DescribeLineFailure(link_.lastOutcome());
    if (!failure.isEmpty()) {
        *message = QStringLiteral("%1: %2").arg(link_.device(), failure);
        return kExitNoAnswer;
    }
    const QString code = link::ModelTable::ModelCodeFromReply(reply);
    const QString problem = ReplyProblem(frame, reply, link_.lastOutcome());
    if (!problem.isEmpty() && !options_.acceptDamaged) {
        *message =
            QStringLiteral(
                "%1: incomplete or damaged data: the identification reply %2 failed the "
                "check (%3)%4")
                .arg(link_.device(), reply, problem,
                     code.isEmpty() ? QString()
                                    : QStringLiteral("; it would read as model %1").arg(code));
        return kExitDamaged;
    }
    if (code.isEmpty()) {
        if (searched) {
            *message = QStringLiteral("%1: the charger did not answer the identification request")
                           .arg(link_.device());
            return kExitNoAnswer;
        }
        *message = QStringLiteral("no charger found: nothing answered on %1%2")
                       .arg(link_.device(), link_.lastError().isEmpty()
                                                ? QString()
                                                : QStringLiteral(" (%1)").arg(link_.lastError()));
        return kExitNoCharger;
    }
    modelCode_ = code;
    return kExitDone;
}

QString ChargerSession::SendFrame(const QString& frame) {
    const QString reply = link_.SendFrame(frame);
    if (options_.trace && reply.isEmpty()) {
        traceLine("<", QStringLiteral("(no reply)"));
    }
    if (onReply) {
        onReply(frame, reply);
    }
    return reply;
}

void ChargerSession::WaitSeconds(float seconds) {
    link_.WaitSeconds(seconds);
}

bool ChargerSession::ResetAndWrite(const QByteArray& bytes) {
    return link_.ResetAndWrite(bytes);
}

QByteArray ChargerSession::ReadWaiting() {
    return link_.ReadWaiting();
}

}  // namespace zun::cli
