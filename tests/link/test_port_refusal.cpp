#include "link/port_refusal.h"
#include "link/serial_link.h"
#include "sim/pty_host.h"
#include "sim/virtual_charger.h"

#include <QSerialPort>
#include <QtTest>

using namespace zun;
using Kind = link::PortRefusal::Kind;

Q_DECLARE_METATYPE(QSerialPort::SerialPortError)
Q_DECLARE_METATYPE(Kind)

namespace {

link::DeviceAccess access(bool exists, bool readable, bool writable,
                          const QString& group = QStringLiteral("dialout"),
                          const QString& user = QStringLiteral("tech")) {
    link::DeviceAccess a;
    a.exists = exists;
    a.readable = readable;
    a.writable = writable;
    a.group = group;
    a.user = user;
    return a;
}

}  // namespace

class TestPortRefusal : public QObject {
    Q_OBJECT
private slots:
    void classify_data();
    void classify();
    void permissionText_data();
    void permissionText();
    void summarySaysTheRemedyOnce();
    void portHeldByAnotherProgramIsBusy();
    void missingDeviceIsNamedSo();
};

void TestPortRefusal::classify_data() {
    QTest::addColumn<QSerialPort::SerialPortError>("error");
    QTest::addColumn<bool>("exists");
    QTest::addColumn<bool>("readable");
    QTest::addColumn<bool>("writable");
    QTest::addColumn<Kind>("kind");
    const auto P = QSerialPort::PermissionError;
    QTest::newRow("refused, user may not read") << P << true << false << true << Kind::NoPermission;
    QTest::newRow("refused, user may not write")
        << P << true << true << false << Kind::NoPermission;
    QTest::newRow("refused, neither") << P << true << false << false << Kind::NoPermission;
    // Allowed to read and write, still refused: a lock file or exclusive mode of another program.
    QTest::newRow("refused, user may use it") << P << true << true << true << Kind::Busy;
    QTest::newRow("refused, no file (COM3)") << P << false << false << false << Kind::Busy;
    QTest::newRow("not found") << QSerialPort::DeviceNotFoundError << false << false << false
                               << Kind::Missing;
    QTest::newRow("opened fine") << QSerialPort::NoError << true << true << true << Kind::None;
    QTest::newRow("already open here")
        << QSerialPort::OpenError << true << true << true << Kind::Other;
    QTest::newRow("unsupported") << QSerialPort::UnsupportedOperationError << true << false << false
                                 << Kind::Other;
}

void TestPortRefusal::classify() {
    QFETCH(QSerialPort::SerialPortError, error);
    QFETCH(bool, exists);
    QFETCH(bool, readable);
    QFETCH(bool, writable);
    QFETCH(Kind, kind);
    QCOMPARE(link::PortRefusal::Classify(error, access(exists, readable, writable)), kind);
}

// The device's group and the user, then the group and the user the advice names.
void TestPortRefusal::permissionText_data() {
    QTest::addColumn<QStringList>("names");
    QTest::newRow("Debian's dialout") << QStringList{"dialout", "tech", "dialout", "tech"};
    QTest::newRow("the device's own group") << QStringList{"uucp", "anna", "uucp", "anna"};
    // Never advise joining root's group.
    QTest::newRow("root's group") << QStringList{"root", "tech", "dialout", "tech"};
    QTest::newRow("unknown user") << QStringList{"dialout", "", "dialout", "$USER"};
}

void TestPortRefusal::permissionText() {
    QFETCH(QStringList, names);
    const QString &group = names[0], &user = names[1], &namedGroup = names[2],
                  &namedUser = names[3];
    const link::PortRefusal r =
        link::PortRefusal::For(QStringLiteral("/dev/ttyUSB0"), QSerialPort::PermissionError,
                               access(true, false, false, group, user));
    QCOMPARE(r.kind, Kind::NoPermission);
    QCOMPARE(r.device, QStringLiteral("/dev/ttyUSB0"));
    QCOMPARE(r.reason,
             QString("permission denied: the user %1 may not use it (not in the group %2)")
                 .arg(namedUser, namedGroup));
    QCOMPARE(r.remedy,
             QString("to allow it, run \"sudo usermod -aG %1 %2\", then log out and log in again")
                 .arg(namedGroup, namedUser));
}

void TestPortRefusal::summarySaysTheRemedyOnce() {
    const auto denied = access(true, false, false);
    const QVector<link::PortRefusal> refusals = {
        link::PortRefusal::For("/dev/ttyS0", QSerialPort::PermissionError, denied),
        link::PortRefusal::For("/dev/ttyS1", QSerialPort::DeviceNotFoundError, access(0, 0, 0)),
        link::PortRefusal::For("/dev/ttyUSB0", QSerialPort::PermissionError, denied),
        link::PortRefusal::For("/dev/ttyUSB1", QSerialPort::PermissionError, access(1, 1, 1)),
    };
    QCOMPARE(link::PortRefusal::Summary(refusals),
             QStringLiteral("/dev/ttyS0: permission denied: the user tech may not use it (not in "
                            "the group dialout); /dev/ttyUSB0: permission denied: the user tech "
                            "may not use it (not in the group dialout); /dev/ttyUSB1: busy: "
                            "another program is using the port; to allow it, run \"sudo usermod "
                            "-aG dialout tech\", then log out and log in again"));
    // Nothing a user can act on: nothing to say.
    QCOMPARE(link::PortRefusal::Summary({refusals[1]}), QString());
    QCOMPARE(link::PortRefusal::Summary({refusals[3]}),
             QStringLiteral("/dev/ttyUSB1: busy: another program is using the port"));
}

void TestPortRefusal::portHeldByAnotherProgramIsBusy() {
    sim::VirtualCharger charger;
    sim::PtyHost host(charger);
    QString error;
    QVERIFY2(host.start(&error), qPrintable(error));
    QSerialPort holder(host.devicePath());
    QVERIFY2(holder.open(QIODevice::ReadWrite), qPrintable(holder.errorString()));

    link::SerialLink link;
    link.setDevice(host.devicePath());
    QVERIFY(!link.open());
    QCOMPARE(link.lastRefusal().kind, Kind::Busy);
    QCOMPARE(link.lastRefusal().device, host.devicePath());
    QCOMPARE(link.lastError(), QStringLiteral("busy: another program is using the port"));

    // Once the other program lets go, the port opens and the refusal is gone.
    holder.close();
    QVERIFY2(link.open(), qPrintable(link.lastError()));
    QCOMPARE(link.lastRefusal().kind, Kind::None);
}

void TestPortRefusal::missingDeviceIsNamedSo() {
    link::SerialLink link;
    link.setDevice(QStringLiteral("/dev/zun-no-such-port"));
    QVERIFY(!link.open());
    QCOMPARE(link.lastRefusal().kind, Kind::Missing);
    QCOMPARE(link.lastError(), QStringLiteral("the port does not exist"));
    QVERIFY(link.lastRefusal().remedy.isEmpty());
}

QTEST_GUILESS_MAIN(TestPortRefusal)
#include "test_port_refusal.moc"
