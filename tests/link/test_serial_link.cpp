#include "link/frames.h"
#include "link/serial_link.h"
#include "sim/charge_log.h"
#include "sim/pty_host.h"
#include "sim/virtual_charger.h"

#include <QElapsedTimer>
#include <QtTest>

using namespace zun;

// Exchanges over a real pseudo-terminal with the virtual charger at 9600-baud pacing.
namespace {

enum Fault { None, Cut, Stray, BadChecksum, OtherReply };

sim::Faults faultsFor(int fault) {
    sim::Faults f;
    f.truncateTo = fault == Cut ? 5 : -1;
    if (fault == Stray) {
        f.garbageBefore = QByteArray("\x00\xFF\x13", 3);
    }
    f.badChecksum = fault == BadChecksum;
    f.otherReply = fault == OtherReply;
    return f;
}

const char* endName(link::ExchangeEnd end) {
    static const char* const names[] = {"not sent",   "quiet",      "complete-fast",
                                        "byte limit", "time limit", "port lost"};
    return names[int(end)];
}

}  // namespace

class TestSerialLink : public QObject {
    Q_OBJECT
private slots:

    void init() {
        charger_ = std::make_unique<sim::VirtualCharger>();
        host_ = std::make_unique<sim::PtyHost>(*charger_);
        QString error;
        QVERIFY2(host_->start(&error), qPrintable(error));
        link_ = std::make_unique<link::SerialLink>();
        link_->setDevice(host_->devicePath());
        QVERIFY2(link_->open(), qPrintable(link_->lastError()));
    }

    void cleanup() {
        link_.reset();
        host_.reset();
        charger_.reset();
    }

    // A frame that is no hex text is not sent and gives the empty reply.
    void repliesAsHexText_data() {
        QTest::addColumn<QString>("frame");
        QTest::addColumn<QString>("reply");
        QTest::newRow("probe") << link::kRunTimeRequest << link::kProbeAnswer;
        QTest::newRow("identify 3110") << link::kIdentifyRequest << "8504600C26960D";
        // Bytes below 0x10 keep their leading zero in the hex text.
        QTest::newRow("general ack") << "850E510004B00064001200FA020190000D" << link::kAckGeneral;
        QTest::newRow("lower-case request accepted") << "850357aa000d" << link::kProbeAnswer;
        QTest::newRow("G at the end") << "850357AA000G"
                                      << "";
        QTest::newRow("G at the start") << "G50357AA000D"
                                        << "";
        QTest::newRow("blank inside") << "8503 57AA000D"
                                      << "";
    }

    void repliesAsHexText() {
        QFETCH(QString, frame);
        QFETCH(QString, reply);
        QCOMPARE(link_->SendFrame(frame), reply);
        QTest::qWait(reply.isEmpty() ? 50 : 0);
        QCOMPARE(charger_->requests(),
                 reply.isEmpty() ? QStringList() : QStringList{frame.toUpper()});
    }

    void silentChargerGivesEmptyAfterTheStallRule() {
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

    void delayedFirstByteStillArrives() {
        sim::Faults f;
        f.firstByteDelayMs = 100;  // well inside the 0.19 s of empty polls
        charger_->setFaults(f);
        QCOMPARE(link_->SendFrame(link::kRunTimeRequest), QString(link::kProbeAnswer));
        // Far beyond them, so that even polls slowed down by a loaded machine are over: the
        // exchange gives up, the reply comes too late.
        f.firstByteDelayMs = 1500;
        charger_->setFaults(f);
        QCOMPARE(link_->SendFrame(link::kRunTimeRequest), QString());
        QTest::qWait(1600);
        // ... and the late reply is discarded by the next exchange instead of being mixed into it.
        f.firstByteDelayMs = 0;
        charger_->setFaults(f);
        QCOMPARE(link_->SendFrame(link::kIdentifyRequest), QStringLiteral("8504600C26960D"));
    }

    void garbageIsPartOfTheReply() {
        sim::Faults f;
        f.garbageBefore = QByteArray::fromHex("00FF");
        f.garbageAfter = QByteArray::fromHex("AA");
        charger_->setFaults(f);
        QCOMPARE(link_->SendFrame(link::kRunTimeRequest),
                 QStringLiteral("00FF") + link::kProbeAnswer + QStringLiteral("AA"));
    }

    void vanishedAdapterGivesEmptyAndClosesThePort() {
        QSignalSpy lost(link_.get(), &link::SerialLink::portLost);
        host_->stop();
        QCOMPARE(link_->SendFrame(link::kRunTimeRequest), QString());
        QTRY_VERIFY(!link_->isOpen());
        QVERIFY(lost.count() >= 1);
        // Further exchanges fail quietly too: the device is gone.
        QCOMPARE(link_->SendFrame(link::kRunTimeRequest), QString());
    }

    // The same request in both modes: the same frame reaches the charger and the same text comes
    // back; fast mode ends early only on a sound reply and otherwise falls back to the poll rule.
    void fastModeSendsTheSameFramesAndFallsBack_data() {
        QTest::addColumn<QString>("frame");
        QTest::addColumn<int>("fault");
        QTest::addColumn<QString>("fastEnd");
        QTest::newRow("identify") << link::kIdentifyRequest << int(None) << "complete-fast";
        QTest::newRow("settings") << link::kSettingsRequest << int(None) << "complete-fast";
        QTest::newRow("block") << "850678AA000000090D" << int(None) << "complete-fast";
        QTest::newRow("general write")
            << "850E510004B00064001200FA020190000D" << int(None) << "complete-fast";
        QTest::newRow("identify cut") << link::kIdentifyRequest << int(Cut) << "quiet";
        QTest::newRow("block stray") << "850678AA000000090D" << int(Stray) << "quiet";
        QTest::newRow("settings checksum") << link::kSettingsRequest << int(BadChecksum) << "quiet";
        QTest::newRow("identify other reply")
            << link::kIdentifyRequest << int(OtherReply) << "quiet";
    }

    void fastModeSendsTheSameFramesAndFallsBack() {
        QFETCH(QString, frame);
        QFETCH(int, fault);
        QFETCH(QString, fastEnd);
        charger_->setLog(sim::ChargeLog::Unwrapped(50));
        charger_->setFaults(faultsFor(fault));

        const QString slow = link_->SendFrame(frame);
        QCOMPARE(endName(link_->lastOutcome().end), "quiet");
        const QStringList slowRequests = charger_->requests();
        charger_->clearRequests();
        link_->setFastMode(true);
        const QString fast = link_->SendFrame(frame);
        const link::ExchangeOutcome outcome = link_->lastOutcome();
        QCOMPARE(charger_->requests(), slowRequests);
        QCOMPARE(slowRequests, QStringList{frame});
        QCOMPARE(fast, slow);
        QVERIFY(!fast.isEmpty());
        QCOMPARE(endName(outcome.end), qPrintable(fastEnd));
        QCOMPARE(outcome.verdict.state == link::ReplyState::Complete, fault == None);
    }

    // A device that keeps sending after (or instead of) the reply: the exchange ends at the byte
    // limit with the empty reply, never hangs. Fast mode still takes a sound reply at its end.
    void lineThatNeverFallsQuietEnds_data() {
        QTest::addColumn<QString>("frame");
        QTest::addColumn<bool>("fast");
        QTest::addColumn<bool>("stray");
        QTest::addColumn<QString>("reply");
        QTest::addColumn<QString>("end");
        QTest::addColumn<int>("trickleMs");
        const auto row = [](const char* name, const QString& frame, bool fast, bool stray,
                            const char* reply, const char* end, int trickleMs = 0) {
            QTest::newRow(name) << frame << fast << stray << QString(reply) << QString(end)
                                << trickleMs;
        };
        const QString id = link::kIdentifyRequest;
        row("settings", link::kSettingsRequest, false, false, "", "byte limit");
        row("probe", link::kRunTimeRequest, false, false, "", "byte limit");
        row("identify, fast", id, true, false, "8504600C26960D", "complete-fast");
        row("identify after stray bytes, fast", id, true, true, "", "byte limit");
        row("block after stray bytes, fast", "850678AA000000090D", true, true, "", "byte limit");
        // A byte every 8 ms: every poll sees something new, yet the settings reply's byte limit is
        // far off; the time limit ends it.
        row("settings trickling", link::kSettingsRequest, false, false, "", "time limit", 8);
    }

    void lineThatNeverFallsQuietEnds() {
        QFETCH(QString, frame);
        QFETCH(bool, fast);
        QFETCH(bool, stray);
        QFETCH(QString, reply);
        QFETCH(QString, end);
        QFETCH(int, trickleMs);
        sim::Faults f;
        f.endless = true;
        f.trickleMs = trickleMs;
        if (stray) {
            f.garbageBefore = QByteArray("\x00\xFF\x13", 3);
        }
        charger_->setFaults(f);
        link_->setFastMode(fast);
        QElapsedTimer t;
        t.start();
        QCOMPARE(link_->SendFrame(frame), reply);
        const link::ExchangeOutcome outcome = link_->lastOutcome();
        QCOMPARE(endName(outcome.end), qPrintable(end));
        QVERIFY2(t.elapsed() < 20000, qPrintable(QString::number(t.elapsed())));
        if (outcome.end == link::ExchangeEnd::HardByteLimit) {
            QVERIFY(outcome.received > outcome.limits.bytes);
        }
        if (outcome.lineNotQuiet()) {
            QVERIFY(link::DescribeLineFailure(outcome).contains("did not fall quiet"));
        }
        // The next request ends the endless stream (its reply may still carry the stream's last
        // bytes, in flight when the request went out); after it the line serves again.
        charger_->setFaults({});
        link_->SendFrame(link::kRunTimeRequest);
        QTest::qWait(50);
        QCOMPARE(link_->SendFrame(link::kRunTimeRequest), QString(link::kProbeAnswer));
    }

    // A pseudo-terminal reports its end only when written to: the cut reply comes back as it is,
    // failing the check, and the next exchange finds the port gone.
    void portVanishingMidReplyIsReported() {
        QSignalSpy lost(link_.get(), &link::SerialLink::portLost);
        sim::Faults f;
        f.vanishAt = 300;
        f.onlyFor = {0x59};
        charger_->setFaults(f);
        QCOMPARE(link_->SendFrame(link::kIdentifyRequest), QStringLiteral("8504600C26960D"));
        const QString cut = link_->SendFrame(link::kSettingsRequest);
        QVERIFY2(cut.size() <= 600, qPrintable(cut));
        QVERIFY(link_->lastOutcome().verdict.state != link::ReplyState::Complete);
        QCOMPARE(link_->SendFrame(link::kIdentifyRequest), QString());
        QCOMPARE(endName(link_->lastOutcome().end), "port lost");
        QVERIFY(!link_->isOpen());
        QVERIFY(lost.count() >= 1);
    }

private:
    std::unique_ptr<sim::VirtualCharger> charger_;
    std::unique_ptr<sim::PtyHost> host_;
    std::unique_ptr<link::SerialLink> link_;
};

QTEST_GUILESS_MAIN(TestSerialLink)
#include "test_serial_link.moc"
