#include "sim/pty_host.h"
#include "sim/virtual_charger.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QSerialPort>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

using namespace zun::sim;

namespace {

std::unique_ptr<QSerialPort> openPort(const QString& device) {
    auto port = std::make_unique<QSerialPort>(device);
    port->setBaudRate(QSerialPort::Baud9600);
    port->setDataBits(QSerialPort::Data8);
    port->setParity(QSerialPort::NoParity);
    port->setStopBits(QSerialPort::OneStop);
    port->setFlowControl(QSerialPort::NoFlowControl);
    if (!port->open(QIODevice::ReadWrite)) {
        qWarning() << "open" << device << port->errorString();
        return nullptr;
    }
    return port;
}

// Writes the request and collects bytes until `want` have come or the time is up.
QByteArray exchange(QSerialPort& port, const QByteArray& request, int want, int timeoutMs) {
    port.write(request);
    port.waitForBytesWritten(1000);
    QByteArray got;
    QElapsedTimer timer;
    timer.start();
    while (got.size() < want && timer.elapsed() < timeoutMs) {
        if (port.waitForReadyRead(50) || port.bytesAvailable() > 0) {
            got += port.readAll();
        }
    }
    return got;
}

QString hexOf(const QByteArray& b) {
    return QString::fromLatin1(b.toHex().toUpper());
}

// A charger served on a fresh pty, with the tool's side of the line open.
struct Rig {
    VirtualCharger charger;
    PtyHost host{charger};
    std::unique_ptr<QSerialPort> port;

    bool start(bool paced = false) {
        host.setPacing(paced);
        if (!host.start()) {
            return false;
        }
        port = openPort(host.devicePath());
        return port != nullptr;
    }
};

}  // namespace

class TestPtyHost : public QObject {
    Q_OBJECT

private slots:
    void requestGetsReply_data();
    void requestGetsReply();
    void pacing_data();
    void pacing();
    void firstByteDelay();
    void halfFrameDroppedAfterSilence();
    void closeAndReopen();
    void stopLooksLikeVanishedAdapter();
    void linkFollowsHost();
};

void TestPtyHost::requestGetsReply_data() {
    QTest::addColumn<QString>("request");
    QTest::addColumn<QString>("reply");
    QTest::newRow("probe") << "850357AA000D"
                           << "850667064A0000BD0D";
    QTest::newRow("identify") << "850350AA000D"
                              << "8504600C26960D";
    QTest::newRow("general write") << "850E510004B00064001200FA020190000D"
                                   << "85036101650D";
    QTest::newRow("log pointer, one day") << "850375AA000D"
                                          << "8504009000940D";
}

void TestPtyHost::requestGetsReply() {
    QFETCH(QString, request);
    QFETCH(QString, reply);
    Rig rig;
    QVERIFY(rig.start());
    auto& [charger, host, port] = rig;
    const QByteArray want = QByteArray::fromHex(reply.toLatin1());
    const QByteArray got =
        exchange(*port, QByteArray::fromHex(request.toLatin1()), int(want.size()), 2000);
    QVERIFY2(got == want, qPrintable(request + " -> " + hexOf(got) + ", expected " + reply));
    QCOMPARE(charger.requests(), QStringList{request});
}

void TestPtyHost::pacing_data() {
    QTest::addColumn<bool>("paced");
    QTest::newRow("9600 baud") << true;
    QTest::newRow("no pacing") << false;
}

void TestPtyHost::pacing() {
    QFETCH(bool, paced);
    Rig rig;
    QVERIFY(rig.start(paced));
    auto& port = rig.port;
    QElapsedTimer timer;
    timer.start();
    const QByteArray got = exchange(*port, QByteArray::fromHex("850359AA000D"), 802, 5000);
    const qint64 ms = timer.elapsed();
    QCOMPARE(got.size(), 802);
    QCOMPARE(hexOf(got.left(4)), QString("85006900"));
    // 802 bytes of 10 bits at 9600 baud are 835 ms on a real line.
    if (paced) {
        QVERIFY2(ms >= 700, qPrintable(QString("%1 ms").arg(ms)));
    } else {
        QVERIFY2(ms < 600, qPrintable(QString("%1 ms").arg(ms)));
    }
}

void TestPtyHost::firstByteDelay() {
    Rig rig;
    QVERIFY(rig.start());
    Faults f;
    f.firstByteDelayMs = 300;
    rig.charger.setFaults(f);
    auto& port = rig.port;
    QElapsedTimer timer;
    timer.start();
    const QByteArray got = exchange(*port, QByteArray::fromHex("850357AA000D"), 9, 3000);
    QCOMPARE(hexOf(got), QString("850667064A0000BD0D"));
    QVERIFY2(timer.elapsed() >= 280, qPrintable(QString("%1 ms").arg(timer.elapsed())));
}

void TestPtyHost::halfFrameDroppedAfterSilence() {
    Rig rig;
    QVERIFY(rig.start());
    auto& [charger, host, port] = rig;
    // A frame cut short by the line; after a silence the charger must not glue it to the next.
    port->write(QByteArray::fromHex("851D5400"));
    port->waitForBytesWritten(1000);
    QTest::qWait(300);
    const QByteArray got = exchange(*port, QByteArray::fromHex("850350AA000D"), 7, 2000);
    QCOMPARE(hexOf(got), QString("8504600C26960D"));
    QCOMPARE(charger.requests(), QStringList{"850350AA000D"});
}

void TestPtyHost::closeAndReopen() {
    VirtualCharger charger;
    PtyHost host(charger);
    host.setPacing(false);
    QVERIFY(host.start());
    for (int round = 0; round < 3; ++round) {
        auto port = openPort(host.devicePath());
        QVERIFY2(port, qPrintable(QString("round %1").arg(round)));
        const QByteArray got = exchange(*port, QByteArray::fromHex("850357AA000D"), 9, 2000);
        QVERIFY2(hexOf(got) == "850667064A0000BD0D",
                 qPrintable(QString("round %1: %2").arg(round).arg(hexOf(got))));
        port->close();
    }
    QCOMPARE(charger.requests().size(), 3);
}

void TestPtyHost::stopLooksLikeVanishedAdapter() {
    Rig rig;
    QVERIFY(rig.start());
    auto& [charger, host, port] = rig;
    QCOMPARE(exchange(*port, QByteArray::fromHex("850357AA000D"), 9, 2000).size(), 9);

    QElapsedTimer timer;
    timer.start();
    host.stop();
    QVERIFY(!host.isRunning());
    QSerialPort::SerialPortError error = QSerialPort::NoError;
    while (timer.elapsed() < 3000) {
        port->waitForReadyRead(100);
        error = port->error();
        if (error != QSerialPort::NoError) {
            break;
        }
    }
    QVERIFY2(error == QSerialPort::ResourceError || error == QSerialPort::ReadError,
             qPrintable(QString("error %1: %2").arg(int(error)).arg(port->errorString())));
}

void TestPtyHost::linkFollowsHost() {
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString link = dir.filePath("ttyZUN0");
    VirtualCharger charger;
    {
        PtyHost host(charger);
        host.setPacing(false);
        QVERIFY(host.start());
        QVERIFY(host.createLink(link));
        QCOMPARE(QFileInfo(link).symLinkTarget(), host.devicePath());
        // A second run replaces a stale link of the same name.
        QVERIFY(host.createLink(link));
        auto port = openPort(link);
        QVERIFY(port);
        QCOMPARE(hexOf(exchange(*port, QByteArray::fromHex("850350AA000D"), 7, 2000)),
                 QString("8504600C26960D"));
    }
    QVERIFY(!QFileInfo(link).isSymLink());

    QFile plain(dir.filePath("file"));
    QVERIFY(plain.open(QIODevice::WriteOnly));
    plain.close();
    PtyHost host(charger);
    QVERIFY(host.start());
    QString error;
    QVERIFY(!host.createLink(plain.fileName(), &error));
    QVERIFY2(error.contains("not a link"), qPrintable(error));
}

QTEST_GUILESS_MAIN(TestPtyHost)
#include "test_pty_host.moc"
