#include "sim/charge_log.h"
#include "sim/loopback_exchange.h"
#include "sim/virtual_charger.h"

#include <QtTest>

using namespace zun::sim;

namespace {

const QString kProbe = "850357AA000D";
const QString kProbeAnswer = "850667064A0000BD0D";
const QString kGeneral = "850E510004B00064001200FA020190000D";
const QString kOneStage = "85085300000578006E000D";
const QString kCells = "010578000000021234000000000000040019050258000000";

template <typename... T>
void row(const char* name, T... values) {
    (QTest::newRow(name) << ... << values);
}

QString hexOf(const QByteArray& b) {
    return QString::fromLatin1(b.toHex().toUpper());
}
QString ask(VirtualCharger& charger, const QString& requestHex) {
    return hexOf(charger.respond(QByteArray::fromHex(requestHex.toLatin1())));
}
QString settingsReply(VirtualCharger& charger) {
    return ask(charger, "850359AA000D");
}
// Characters first..last (1-based, inclusive) of a hex text, as the tool addresses replies.
QString chars(const QString& text, int first, int last) {
    return text.mid(first - 1, last - first + 1);
}

// The checksum is the low byte of everything from the length byte up to it.
bool checksumHolds(const QString& hex) {
    const QByteArray frame = QByteArray::fromHex(hex.toLatin1());
    quint32 sum = 0;
    for (int i = 1; i < frame.size() - 2; ++i) {
        sum += quint8(frame.at(i));
    }
    return frame.size() > 3 && quint8(frame.at(frame.size() - 2)) == (sum & 0xFF);
}

// "log25": 25 records, not yet wrapped; "wrap5": a full ring whose next slot is 5.
ChargeLog logOf(const QString& kind) {
    return kind.startsWith("wrap") ? ChargeLog::Wrapped(kind.mid(4).toInt())
                                   : ChargeLog::Unwrapped(kind.mid(3).toInt());
}

// A record as the tool reads it: number, charger volts, amps, battery 1 and 2 volts, 0000.
QString recordHex(int number, const LogRecord& r) {
    return QString::asprintf("%04X%04X%04X%04X%04X0000", number, r.chargerVolts, r.chargerAmps,
                             r.battery1Volts, r.battery2Volts);
}

}  // namespace

class TestVirtualCharger : public QObject {
    Q_OBJECT

private slots:
    void exchanges_data() {
        QTest::addColumn<QString>("setup");
        QTest::addColumn<QString>("request");
        QTest::addColumn<QString>("reply");
        QTest::addColumn<int>("first");  // characters of the settings reply the request wrote
        QTest::addColumn<int>("last");
        QTest::addColumn<QString>("stored");
        row("probe answer", "", kProbe, kProbeAnswer, 0, 0, "");
        row("run time little-endian", "runtime", kProbe, "8506670B1D0000950D", 0, 0, "");
        row("identify", "", "850350AA000D", "8504600C26960D", 0, 0, "");
        row("live, big-endian hundredths", "", "850358AA000D",
            "8512680AC804E20564FFFF0000006400C8012CF20D", 0, 0, "");
        row("pointer, unwrapped 25", "log25", "850375AA000D", "85040019001D0D", 0, 0, "");
        row("pointer, wrapped 5", "wrap5", "850375AA000D", "85040005010A0D", 0, 0, "");
        row("unknown command", "", "850342AA000D", "", 0, 0, "");
        row("general slot 1", "", "850E510112C0025800140104010154000D", "85036101650D", 31, 52,
            "12C0025800140104010154");
        row("protection slot 0", "", "850C5200011B0708FFFFFF0014000D", "85036201660D", 53, 70,
            "011B0708FFFFFF0014");
        row("stages slot 1, four", "", "85145301030B400096AB0E0064ABCD0032ABDC0014000D",
            "85036301670D", 145, 176, "0B400096AB0E0064ABCD0032ABDC0014");
        row("stages slot 0, one clears the rest", "", kOneStage, "85036301670D", 89, 144,
            "0578006E" + QString(48, '0'));
        row("next-stage slot 0 stage 6", "", "851D54000600" + kCells + "000D", "85036401680D", 501,
            550, "00" + kCells);
        row("next-stage slot 1 stage 1", "", "851D54010100" + kCells + "000D", "85036401680D", 951,
            1000, "00" + kCells);
        row("any-stage slot 0 stage 2", "", "851D55000203" + kCells + "000D", "85036501690D", 651,
            700, "03" + kCells);
        row("any-stage slot 1 stage 6", "", "851D55010600" + kCells + "000D", "85036501690D", 1551,
            1600, "00" + kCells);
        row("general profile 2", "", "850E510204B00064001200FA020190000D", "", 0, 0, "");
        row("general one byte short", "", "850D5100B00064001200FA020190000D", "", 0, 0, "");
        row("stages count disagrees", "", "850C5300030578006E0578006E000D", "", 0, 0, "");
        row("next-stage stage 7", "", "851D54000700" + kCells + "000D", "", 0, 0, "");
        row("block of 11", "", "850678AA0000000A0D", "", 0, 0, "");
    }

    // The reply bytes, and what the next settings read shows: the written block where the tool
    // reads it back, and everything else as it was.
    void exchanges() {
        QFETCH(QString, setup);
        QFETCH(QString, request);
        QFETCH(QString, reply);
        QFETCH(int, first);
        QFETCH(int, last);
        QFETCH(QString, stored);
        VirtualCharger charger;
        if (setup == "runtime") {
            charger.setRunTimeMinutes(7435);
        }
        charger.setLive({2760, 1250, 1380, -1, 0, 100, 200, 300});
        charger.setLog(logOf(setup.startsWith("wrap") ? setup : "log25"));
        const QString before = settingsReply(charger);
        QCOMPARE(ask(charger, request), reply);
        QCOMPARE(charger.requests().at(1), request);
        const QString after = settingsReply(charger);
        QVERIFY2(after.size() == 1604 && after.startsWith("85006900") && after.endsWith("0D") &&
                     checksumHolds(after),
                 qPrintable(after.left(8) + "..." + after.right(8)));
        if (first == 0) {
            QCOMPARE(after, before);
            return;
        }
        QCOMPARE(chars(after, first, last), stored);
        QCOMPARE(after.left(first - 1), before.left(first - 1));
        QCOMPARE(chars(after, last + 1, 1600), chars(before, last + 1, 1600));
    }

    void settingsDefaults() {
        VirtualCharger charger;
        const QString reply = settingsReply(charger);
        QCOMPARE(chars(reply, 9, 52), QString("04B00064001200FA020190").repeated(2));
        QCOMPARE(chars(reply, 53, 88), QString("013E0708FFFFFF0014").repeated(2));
        QCOMPARE(chars(reply, 89, 144), "05A00064058C003205460014" + QString(32, '0'));
    }

    void blocks_data() {
        QTest::addColumn<QString>("log");
        QTest::addColumn<int>("first");
        QTest::addColumn<int>("last");
        QTest::addColumn<int>("from");  // the slots that come back
        QTest::addColumn<int>("to");
        row("unwrapped 25, past the pointer", "log25", 20, 29, 20, 24);
        row("unwrapped 25, nothing", "log25", 25, 34, 25, 24);
        row("wrapped 5, across the pointer", "wrap5", 0, 9, 0, 9);
        row("wrapped 5, beyond the ring", "wrap5", 4317, 4322, 4317, 4319);
    }

    void blocks() {
        QFETCH(QString, log);
        QFETCH(int, first);
        QFETCH(int, last);
        QFETCH(int, from);
        QFETCH(int, to);
        VirtualCharger charger;
        const ChargeLog ring = logOf(log);
        charger.setLog(ring);
        QString records;
        for (int slot = from; slot <= to; ++slot) {
            records += recordHex(slot, ring.at(slot));
        }
        const QString reply = ask(charger, QString::asprintf("850678AA%04X%04X0D", first, last));
        QCOMPARE(chars(reply, 1, 8), QString::asprintf("85%02X88AA", int(records.size()) / 2 + 3));
        QCOMPARE(reply.mid(8, reply.size() - 12), records);
        QVERIFY2(reply.endsWith("0D") && checksumHolds(reply), qPrintable(reply));
    }

    // The head the tool skips, then every record oldest first, numbered from 1; the oldest is
    // the first sample ever taken, also after the ring has wrapped.
    void stream_data() {
        QTest::addColumn<QString>("log");
        QTest::addColumn<int>("count");
        row("unwrapped 25", "log25", 25);
        row("wrapped 5", "wrap5", ChargeLog::kSlots);
    }

    void stream() {
        QFETCH(QString, log);
        QFETCH(int, count);
        VirtualCharger charger;
        charger.setLog(logOf(log));
        QString expected = "850066" + QString("AA").repeated(13);
        for (int n = 0; n < count; ++n) {
            expected += recordHex(n + 1, ChargeLog::Sample(n));
        }
        QCOMPARE(ask(charger, "850356AA000D"), expected);
    }

    void framing_data() {
        QTest::addColumn<QString>("pieces");  // fed one after the other; "/" is a silence
        QTest::addColumn<QString>("reply");
        QTest::addColumn<int>("recorded");
        const QString id = "8504600C26960D";
        row("byte by byte", "85 03 57 AA 00 0D", kProbeAnswer, 1);
        row("split after start", "85 0357AA000D", kProbeAnswer, 1);
        row("split before end", "850357AA00 0D", kProbeAnswer, 1);
        row("garbage before", "00FF0D13850357AA000D", kProbeAnswer, 1);
        row("two frames, second split", "850357AA000D8503 50AA000D", kProbeAnswer + id, 2);
        row("bad end byte, next served", "850357AA000E850350AA000D", id, 1);
        row("half frame dropped on silence", "850357 / 850350AA000D", id, 1);
        row("half frame kept without silence", "850357 AA000D", kProbeAnswer, 1);
    }

    void framing() {
        QFETCH(QString, pieces);
        QFETCH(QString, reply);
        QFETCH(int, recorded);
        VirtualCharger charger;
        QStringList heard;
        charger.setRequestListener([&heard](const QString& frame) { heard << frame; });
        QString out;
        for (const QString& piece : pieces.split(u' ')) {
            if (piece == "/") {
                charger.resync();
            } else {
                out += ask(charger, piece);
            }
        }
        QCOMPARE(out, reply);
        QCOMPARE(charger.requests().size(), recorded);
        QCOMPARE(heard, charger.requests());
        QVERIFY(!charger.hasPartialFrame());
        charger.clearRequests();
        QVERIFY(charger.requests().isEmpty());
    }

    void faults_data() {
        QTest::addColumn<QString>("knob");
        QTest::addColumn<QStringList>("requests");
        QTest::addColumn<QStringList>("replies");
        row("silent", "silent", QStringList{kProbe, kGeneral}, QStringList{"", ""});
        row("drop every 2nd", "drop2", QStringList{kProbe, kProbe, kProbe},
            QStringList{kProbeAnswer, "", kProbeAnswer});
        row("wrong ack, every write", "wrongAll", QStringList{kGeneral, kOneStage, kProbe},
            QStringList{"85036100640D", "85036300660D", kProbeAnswer});
        row("wrong ack, stages only", "wrong53", QStringList{kGeneral, kOneStage},
            QStringList{"85036101650D", "85036300660D"});
        row("truncate to 5", "truncate5", QStringList{kProbe, kGeneral},
            QStringList{"850667064A", "8503610165"});
        row("garbage around", "garbage", QStringList{kProbe},
            QStringList{"00FF" + kProbeAnswer + "8511"});
        row("first byte delay", "delay", QStringList{kProbe}, QStringList{kProbeAnswer});
        row("no pointer", "noPointer", QStringList{"850375AA000D", kProbe},
            QStringList{"", kProbeAnswer});
    }

    void faults() {
        QFETCH(QString, knob);
        QFETCH(QStringList, requests);
        QFETCH(QStringList, replies);
        VirtualCharger charger;
        Faults f;
        f.silent = knob == "silent";
        f.dropEvery = knob == "drop2" ? 2 : 0;
        f.wrongAck = knob.startsWith("wrong");
        f.wrongAckCommand = knob == "wrong53" ? 0x53 : 0;
        f.truncateTo = knob == "truncate5" ? 5 : -1;
        f.garbageBefore = knob == "garbage" ? QByteArray::fromHex("00FF") : QByteArray();
        f.garbageAfter = knob == "garbage" ? QByteArray::fromHex("8511") : QByteArray();
        f.firstByteDelayMs = knob == "delay" ? 250 : 0;
        f.ignorePointerRequest = knob == "noPointer";
        charger.setFaults(f);
        for (int i = 0; i < requests.size(); ++i) {
            QString got;
            for (const Reply& r : charger.feed(QByteArray::fromHex(requests[i].toLatin1()))) {
                got += hexOf(r.bytes);
                QCOMPARE(r.firstByteDelayMs, f.firstByteDelayMs);
            }
            QCOMPARE(got, replies[i]);
        }
        QCOMPARE(charger.requests(), requests);
        // A fault never loses a write: the image follows even a wrongly acknowledged one.
        if (f.wrongAck) {
            QCOMPARE(chars(settingsReply(charger), 89, 96), QString("0578006E"));
        }
    }

    // Hours into a charge: what the live reply carries (hundredths), charger volts and amperes.
    void chargeLiveFollowsTheStages_data() {
        QTest::addColumn<double>("hours");
        QTest::addColumn<int>("volts");  // charger volts, within 0.02 V of ripple
        QTest::addColumn<int>("amps");   // charger amperes, within 0.2 A
        row("bulk begins", 0.0, 1240, 1000);
        row("bulk, an hour in", 1.0, 1283, 1000);
        row("bulk ends at 14.4 V", 2.999, 1440, 1000);
        row("absorption, half an hour in", 3.5, 1440, 494);
        row("absorption ends", 5.99, 1440, 51);
        row("float", 8.0, 1360, 30);
        row("the next charge", 10.0, 1240, 1000);
    }
    void chargeLiveFollowsTheStages() {
        QFETCH(double, hours);
        QFETCH(int, volts);
        QFETCH(int, amps);
        const LiveValues v = VirtualCharger::ChargeLiveAt(hours * 3600.0);
        QVERIFY2(qAbs(v[0] - volts) <= 2, qPrintable(QString::number(v[0])));
        QVERIFY2(qAbs(v[1] - amps) <= 20, qPrintable(QString::number(v[1])));
        // Batteries a little below the charger, sharing its current; channel 4 unused.
        QVERIFY(qAbs(v[2] - (v[0] - 8)) <= 1);
        QVERIFY(qAbs(v[3] - (v[0] - 12)) <= 1);
        QVERIFY(qAbs(v[5] + v[6] - v[1]) <= 12);
        QCOMPARE(v[4], qint16(0));
        QCOMPARE(v[7], qint16(0));
    }

    // Switched on, the live reply moves with time; switched off, the fixed values return.
    void movingLiveReply() {
        VirtualCharger charger;
        const QString fixed = ask(charger, "850358AA000D");
        QCOMPARE(chars(fixed, 7, 10), QString("058C"));  // 14.20 V
        charger.setMovingLive(3600.0 * 60);              // an hour a millisecond: bulk to float
        const QString first = ask(charger, "850358AA000D");
        QTest::qWait(20);
        const QString later = ask(charger, "850358AA000D");
        QVERIFY(first != later);
        QVERIFY(checksumHolds(later));
        QCOMPARE(later.size(), fixed.size());
        charger.setMovingLive(0);
        QCOMPARE(ask(charger, "850358AA000D"), fixed);
    }

    void loopback() {
        VirtualCharger charger;
        charger.setLog(ChargeLog::Unwrapped(25));
        LoopbackExchange link(charger);
        QCOMPARE(link.SendFrame("850357aa000d"), kProbeAnswer);
        QCOMPARE(link.SendFrame("850357AG000D"), QString());
        // A half frame does not linger into the next exchange.
        QCOMPARE(link.SendFrame("851D54"), QString());
        QCOMPARE(link.SendFrame("850350AA000D"), QString("8504600C26960D"));
        QCOMPARE(link.sendCount(), 4);
        link.setReadChunk(100);
        QVERIFY(link.ResetAndWrite(QByteArray::fromHex("850356AA000D")));
        QList<int> sizes;
        for (QByteArray piece = link.ReadWaiting(); !piece.isEmpty(); piece = link.ReadWaiting()) {
            sizes << int(piece.size());
        }
        QCOMPARE(sizes, (QList<int>{100, 100, 100, 16}));
        // A new exchange throws away what was still waiting.
        link.ResetAndWrite(QByteArray::fromHex("850356AA000D"));
        link.SendFrame(kProbe);
        QVERIFY(link.ReadWaiting().isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestVirtualCharger)
#include "test_virtual_charger.moc"
