#include "link/frames.h"
#include "link/serial_link.h"
#include "sim/pty_host.h"
#include "sim/virtual_charger.h"

#include <QElapsedTimer>
#include <QtTest>

using namespace zun;

// Exchanges over a real pseudo-terminal with the virtual charger at 9600-baud pacing.
class TestSerialLink : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void repliesAsHexText_data();
    void repliesAsHexText();
    void silentChargerGivesEmptyAfterTheStallRule();
    void nonHexFrameIsNotSent_data();
    void nonHexFrameIsNotSent();
    void longReplyArrivesInPiecesAndIsComplete();
    void delayedFirstByteStillArrives();
    void garbageIsPartOfTheReply();
    void vanishedAdapterGivesEmptyAndClosesThePort();

private:
    std::unique_ptr<sim::VirtualCharger> charger_;
    std::unique_ptr<sim::PtyHost> host_;
    std::unique_ptr<link::SerialLink> link_;
};

void TestSerialLink::init() {
    charger_ = std::make_unique<sim::VirtualCharger>();
    host_ = std::make_unique<sim::PtyHost>(*charger_);
    QString error;
    QVERIFY2(host_->start(&error), qPrintable(error));
    link_ = std::make_unique<link::SerialLink>();
    link_->setDevice(host_->devicePath());
    QVERIFY2(link_->open(), qPrintable(link_->lastError()));
}

void TestSerialLink::cleanup() {
    link_.reset();
    host_.reset();
    charger_.reset();
}

void TestSerialLink::repliesAsHexText_data() {
    QTest::addColumn<QString>("frame");
    QTest::addColumn<QString>("reply");
    QTest::newRow("probe") << link::kRunTimeRequest << link::kProbeAnswer;
    QTest::newRow("identify 3110") << link::kIdentifyRequest << "8504600C26960D";
    // Bytes below 0x10 keep their leading zero in the hex text.
    QTest::newRow("general ack") << "850E510004B00064001200FA020190000D" << link::kAckGeneral;
    QTest::newRow("lower-case request accepted") << "850357aa000d" << link::kProbeAnswer;
}

void TestSerialLink::repliesAsHexText() {
    QFETCH(QString, frame);
    QFETCH(QString, reply);
    QCOMPARE(link_->SendFrame(frame), reply);
    QCOMPARE(charger_->requests().value(0), frame.toUpper());
}

void TestSerialLink::silentChargerGivesEmptyAfterTheStallRule() {
    sim::Faults f;
    f.silent = true;
    charger_->setFaults(f);
    QElapsedTimer t;
    t.start();
    QCOMPARE(link_->SendFrame(link::kRunTimeRequest), QString());
    // 19 pauses of 0.01 s: about 0.19 s; generous bounds for a loaded machine.
    QVERIFY2(t.elapsed() >= 180, qPrintable(QString::number(t.elapsed())));
    QVERIFY2(t.elapsed() < 1500, qPrintable(QString::number(t.elapsed())));
    QVERIFY(link_->isOpen());
}

void TestSerialLink::nonHexFrameIsNotSent_data() {
    QTest::addColumn<QString>("frame");
    QTest::newRow("G at the end") << "850357AA000G";
    QTest::newRow("G at the start") << "G50357AA000D";
    QTest::newRow("blank inside") << "8503 57AA000D";
}

void TestSerialLink::nonHexFrameIsNotSent() {
    QFETCH(QString, frame);
    QCOMPARE(link_->SendFrame(frame), QString());
    QTest::qWait(50);
    QVERIFY2(charger_->requests().isEmpty(), qPrintable(charger_->requests().join(' ')));
}

void TestSerialLink::longReplyArrivesInPiecesAndIsComplete() {
    // 802 bytes at 9600 baud arrive over ~0.8 s in many reads; the stall rule must wait them out.
    const QString reply = link_->SendFrame(link::kSettingsRequest);
    QCOMPARE(reply.size(), 1604);
    QVERIFY(reply.startsWith(QLatin1String("85006900")));
    QVERIFY(reply.endsWith(QLatin1String("0D")));
}

void TestSerialLink::delayedFirstByteStillArrives() {
    sim::Faults f;
    f.firstByteDelayMs = 100;  // well inside the 0.19 s of empty polls
    charger_->setFaults(f);
    QCOMPARE(link_->SendFrame(link::kRunTimeRequest), QString(link::kProbeAnswer));
    f.firstByteDelayMs = 600;  // beyond them: the exchange gives up, the reply comes too late
    charger_->setFaults(f);
    QCOMPARE(link_->SendFrame(link::kRunTimeRequest), QString());
    QTest::qWait(700);
    // ... and the late reply is discarded by the next exchange instead of being mixed into it.
    f.firstByteDelayMs = 0;
    charger_->setFaults(f);
    QCOMPARE(link_->SendFrame(link::kIdentifyRequest), QStringLiteral("8504600C26960D"));
}

void TestSerialLink::garbageIsPartOfTheReply() {
    sim::Faults f;
    f.garbageBefore = QByteArray::fromHex("00FF");
    f.garbageAfter = QByteArray::fromHex("AA");
    charger_->setFaults(f);
    QCOMPARE(link_->SendFrame(link::kRunTimeRequest),
             QStringLiteral("00FF") + link::kProbeAnswer + QStringLiteral("AA"));
}

void TestSerialLink::vanishedAdapterGivesEmptyAndClosesThePort() {
    QSignalSpy lost(link_.get(), &link::SerialLink::portLost);
    host_->stop();
    QCOMPARE(link_->SendFrame(link::kRunTimeRequest), QString());
    QTRY_VERIFY(!link_->isOpen());
    QVERIFY(lost.count() >= 1);
    // Further exchanges fail quietly too: the device is gone.
    QCOMPARE(link_->SendFrame(link::kRunTimeRequest), QString());
}

QTEST_GUILESS_MAIN(TestSerialLink)
#include "test_serial_link.moc"
