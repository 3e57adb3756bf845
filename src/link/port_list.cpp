#include "link/port_list.h"

#include <QCollator>
#include <QSerialPortInfo>

#include <algorithm>

namespace zun::link {

PortList::PortList(const QStringList& explicitDevices, bool includeSystemDevices) {
#ifdef Q_OS_WIN
    Q_UNUSED(explicitDevices);
    Q_UNUSED(includeSystemDevices);
    for (int n = 1; n <= kMaxPorts; ++n) {
        devices_ << QStringLiteral("COM%1").arg(n);
    }
#else
    devices_ = explicitDevices;
    if (includeSystemDevices) {
        QStringList system;
        for (const QSerialPortInfo& info : QSerialPortInfo::availablePorts()) {
            system << info.systemLocation();
        }
        QCollator natural;
        natural.setNumericMode(true);
        std::sort(system.begin(), system.end(),
                  [&](const QString& a, const QString& b) { return natural.compare(a, b) < 0; });
        for (const QString& dev : system) {
            if (!devices_.contains(dev)) {
                devices_ << dev;
            }
        }
    }
    while (devices_.size() > kMaxPorts) {
        devices_.removeLast();
    }
#endif
}

QString PortList::deviceFor(int number) const {
    if (number < 1 || number > devices_.size()) {
        return QString();
    }
    return devices_.at(number - 1);
}

QVector<int> PortList::numbers() const {
    QVector<int> out;
    for (int n = 1; n <= devices_.size(); ++n) {
        out << n;
    }
    return out;
}

QString PortList::EntryText(int number) {
    return QStringLiteral("Com") + QString::number(number);
}

int PortList::NumberOf(const QString& entryText) {
    bool ok = false;
    const int n = entryText.mid(3).trimmed().toInt(&ok);
    return ok ? n : 0;
}

}  // namespace zun::link
