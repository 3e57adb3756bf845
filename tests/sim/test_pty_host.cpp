#include "sim/pty_host.h"
#include "sim/virtual_charger.h"

#include <QElapsedTimer>
#include <QSerialPort>
#include <QtTest>

#include <memory>

using namespace zun::sim;

namespace {

// QSerialPort opens at 9600 8N1 without flow control unless told otherwise.
std::unique_ptr<QSerialPort> openPort(const QString& device) {
    auto port = std::make_unique<QSerialPort>(device);
    return port->open(QIODevice::ReadWrite) ? std::move(port) : nullptr;
}

// Writes the request and collects bytes until `want` have come or the time is up.
QString exchange(QSerialPort& port, const QString& request, int want, int timeoutMs = 2000) {
    port.write(QByteArray::fromHex(request.toLatin1()));
    port.waitForBytesWritten(1000);
    QByteArray got;
    QElapsedTimer timer;
    timer.start();
    while (got.size() < want && timer.elapsed() < timeoutMs) {
        port.waitForReadyRead(50);
        got += port.readAll();
    }
    return QString::fromLatin1(got.toHex().toUpper());
}

}  // namespace

class TestPtyHost : public QObject {
    Q_OBJECT

    VirtualCharger charger;
    std::unique_ptr<PtyHost> host;
    std::unique_ptr<QSerialPort> port;

private slots:
    // A charger served on a fresh pty, with the tool's side of the line open.
    void init() {
        port.reset();
        charger.clearRequests();
        host = std::make_unique<PtyHost>(charger);
        host->setPacing(false);
        QVERIFY(host->start());
        port = openPort(host->devicePath());
        QVERIFY(port);
    }

    void replies() {
        QCOMPARE(exchange(*port, "850357AA000D", 9), QString("850667064A0000BD0D"));
        QCOMPARE(exchange(*port, "850E510004B00064001200FA020190000D", 6), QString("85036101650D"));
        // A frame cut short by the line; after a silence the charger does not glue it to the next.
        port->write(QByteArray::fromHex("851D5400"));
        port->waitForBytesWritten(1000);
        QTest::qWait(300);
        QCOMPARE(exchange(*port, "850350AA000D", 7), QString("8504600C26960D"));
        QCOMPARE(
            charger.requests(),
            (QStringList{"850357AA000D", "850E510004B00064001200FA020190000D", "850350AA000D"}));
    }

    // 802 bytes of 10 bits at 9600 baud take 835 ms on a real line.
    void pacing() {
        host->setPacing(true);
        QElapsedTimer timer;
        timer.start();
        const QString got = exchange(*port, "850359AA000D", 802, 5000);
        const qint64 ms = timer.elapsed();
        QCOMPARE(got.size(), 1604);
        QVERIFY2(ms >= 700, qPrintable(QString("%1 ms").arg(ms)));
    }

    void closeAndReopen() {
        for (int round = 0; round < 3; ++round) {
            port.reset();
            port = openPort(host->devicePath());
            QVERIFY2(port, qPrintable(QString("round %1").arg(round)));
            QCOMPARE(exchange(*port, "850357AA000D", 9), QString("850667064A0000BD0D"));
        }
        QCOMPARE(charger.requests().size(), 3);
    }

    // Stopping looks like a pulled adapter: the open port reports an error instead of hanging.
    void stopGivesAnError() {
        QCOMPARE(exchange(*port, "850357AA000D", 9).size(), 18);
        host->stop();
        QVERIFY(!host->isRunning());
        QElapsedTimer timer;
        timer.start();
        while (port->error() == QSerialPort::NoError && timer.elapsed() < 3000) {
            port->waitForReadyRead(100);
        }
        QVERIFY2(
            port->error() == QSerialPort::ResourceError || port->error() == QSerialPort::ReadError,
            qPrintable(QString("error %1: %2").arg(int(port->error())).arg(port->errorString())));
    }

    void linkFollowsHost() {
        QTemporaryDir dir;
        const QString link = dir.filePath("ttyZUN0");
        QVERIFY(host->createLink(link));
        // A second run replaces a stale link of the same name.
        QVERIFY(host->createLink(link));
        auto linked = openPort(link);
        QVERIFY(linked);
        QCOMPARE(exchange(*linked, "850350AA000D", 7), QString("8504600C26960D"));
        linked.reset();
        host->stop();
        QVERIFY(!QFileInfo(link).isSymLink());
    }

    // A pulled adapter plugged in again: a new device under the same link name, serving.
    void vanishAndComeBack() {
        QTemporaryDir dir;
        const QString link = dir.filePath("ttyZUN0");
        QVERIFY(host->createLink(link));
        const QString first = host->devicePath();
        port.reset();
        host->vanish();
        QVERIFY(!host->isRunning());
        QVERIFY(!QFileInfo(link).isSymLink());
        QVERIFY(!openPort(link));
        QString error;
        QVERIFY2(host->comeBack(&error), qPrintable(error));
        QCOMPARE(QFileInfo(link).symLinkTarget(), host->devicePath());
        auto again = openPort(link);
        QVERIFY(again);
        QCOMPARE(exchange(*again, "850350AA000D", 7), QString("8504600C26960D"));
        // A second round works the same; the old device stays gone.
        again.reset();
        host->vanish();
        QVERIFY(host->comeBack());
        QVERIFY(QFileInfo(link).isSymLink());
        QVERIFY(first != host->devicePath() || QFileInfo::exists(first));
    }
};

QTEST_GUILESS_MAIN(TestPtyHost)
#include "test_pty_host.moc"
