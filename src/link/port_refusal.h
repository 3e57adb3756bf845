#pragma once

#include <QSerialPort>
#include <QString>
#include <QVector>

namespace zun::link {

// What the file system says about a device for the current user. Windows' COM names are no
// files, so there exists stays false.
struct DeviceAccess {
    bool exists = false;
    bool readable = false;  // by the current user (root may always)
    bool writable = false;
    QString group;  // the group owning the device, "dialout" on Debian
    QString user;   // the current user's login name

    static DeviceAccess Of(const QString& device);
};

// Why a port could not be opened, in words the user can act on. Qt reports a missing
// permission and a port held by another program alike (PermissionError); the device's access
// rights tell them apart.
struct PortRefusal {
    enum class Kind { None, NoPermission, Busy, Missing, Other };

    QString device;
    Kind kind = Kind::None;
    QString reason;  // "no permission to open it: ..." (without the device)
    QString remedy;  // the command that grants access, or empty

    static Kind Classify(QSerialPort::SerialPortError error, const DeviceAccess& access);
    static PortRefusal For(const QString& device, QSerialPort::SerialPortError error,
                           const DeviceAccess& access);
    // One line for the refusals a user can do something about (no permission, busy): each
    // device with its reason, then the remedy once. Empty when there are none.
    static QString Summary(const QVector<PortRefusal>& refusals);
};

}  // namespace zun::link
