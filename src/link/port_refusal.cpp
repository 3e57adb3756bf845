#include "link/port_refusal.h"

#include <QFileInfo>

namespace zun::link {

DeviceAccess DeviceAccess::Of(const QString& device) {
    DeviceAccess a;
    const QFileInfo info(device);
    a.exists = info.exists();
    // Qt asks access(2) here, so the answer holds for this user and their groups.
    a.readable = a.exists && info.isReadable();
    a.writable = a.exists && info.isWritable();
    a.group = a.exists ? info.group() : QString();
    for (const char* name : {"USER", "LOGNAME", "USERNAME"}) {
        a.user = qEnvironmentVariable(name);
        if (!a.user.isEmpty()) {
            break;
        }
    }
    return a;
}

PortRefusal::Kind PortRefusal::Classify(QSerialPort::SerialPortError error,
                                        const DeviceAccess& access) {
    switch (error) {
        case QSerialPort::NoError:
            return Kind::None;
        case QSerialPort::DeviceNotFoundError:
            return Kind::Missing;
        case QSerialPort::PermissionError:
            // Refused although this user may read and write it: another program holds it (its
            // lock file or exclusive mode). A device that is no file is a Windows COM port,
            // which reports a port in use this way.
            if (access.exists && (!access.readable || !access.writable)) {
                return Kind::NoPermission;
            }
            return Kind::Busy;
        default:
            return Kind::Other;
    }
}

PortRefusal PortRefusal::For(const QString& device, QSerialPort::SerialPortError error,
                             const DeviceAccess& access) {
    PortRefusal r;
    r.device = device;
    r.kind = Classify(error, access);
    switch (r.kind) {
        case Kind::None:
            break;
        case Kind::NoPermission: {
            // Adding someone to root's group would be wrong advice; Debian's serial devices
            // belong to dialout.
            const QString group = access.group.isEmpty() || access.group == QLatin1String("root")
                                      ? QStringLiteral("dialout")
                                      : access.group;
            const QString user = access.user.isEmpty() ? QStringLiteral("$USER") : access.user;
            r.reason = QStringLiteral(
                           "permission denied: the user %1 may not use it (not in the group %2)")
                           .arg(user, group);
            r.remedy = QStringLiteral(
                           "to allow it, run \"sudo usermod -aG %1 %2\", then log out "
                           "and log in again")
                           .arg(group, user);
            break;
        }
        case Kind::Busy:
            r.reason = QStringLiteral("busy: another program is using the port");
            break;
        case Kind::Missing:
            r.reason = QStringLiteral("the port does not exist");
            break;
        case Kind::Other:
            r.reason = QStringLiteral("the port cannot be opened");
            break;
    }
    return r;
}

QString PortRefusal::Summary(const QVector<PortRefusal>& refusals) {
    QStringList parts;
    QString remedy;
    for (const PortRefusal& r : refusals) {
        if (r.kind != Kind::NoPermission && r.kind != Kind::Busy) {
            continue;
        }
        parts << QStringLiteral("%1: %2").arg(r.device, r.reason);
        if (remedy.isEmpty()) {
            remedy = r.remedy;
        }
    }
    if (parts.isEmpty()) {
        return QString();
    }
    QString text = parts.join(QStringLiteral("; "));
    if (!remedy.isEmpty()) {
        text += QStringLiteral("; ") + remedy;
    }
    return text;
}

}  // namespace zun::link
