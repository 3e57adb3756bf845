#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

namespace zun::link {

// Port numbering. On Windows ComN is the device COMN. Elsewhere ComN numbers an ordered list:
// the devices given on the command line first, then the system's serial devices in natural
// order. Only Com1 to Com32 exist.
class PortList {
public:
    static constexpr int kMaxPorts = 32;

    PortList() = default;
    PortList(const QStringList& explicitDevices, bool includeSystemDevices);

    // Device for port number n (1-based), or empty when there is none.
    QString deviceFor(int number) const;
    // Every numbered port that has a device, in ascending order.
    QVector<int> numbers() const;

    // "Com" + number, as the port list shows it.
    static QString EntryText(int number);
    // The port number from the list text, taken from its fourth character on ("Com3" -> 3);
    // 0 when it is not a number.
    static int NumberOf(const QString& entryText);

private:
    QStringList devices_;
};

}  // namespace zun::link
