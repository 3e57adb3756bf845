#include "link/stored_settings.h"
#include "sim/charge_log.h"
#include "sim/loopback_exchange.h"
#include "sim/settings_image.h"
#include "sim/virtual_charger.h"

#include <QtTest>

using namespace zun::sim;

namespace {

QByteArray bytes(const char* hex) {
    return QByteArray::fromHex(hex);
}
QString hexOf(const QByteArray& b) {
    return QString::fromLatin1(b.toHex().toUpper());
}
QString ask(VirtualCharger& charger, const char* requestHex) {
    return hexOf(charger.respond(bytes(requestHex)));
}
// Characters first..last (1-based, inclusive) of a hex text, as the tool addresses replies.
QString chars(const QString& text, int first, int last) {
    return text.mid(first - 1, last - first + 1);
}
QString settingsReply(VirtualCharger& charger) {
    return ask(charger, "850359AA000D");
}

// Low byte of every byte after the start byte up to the checksum position.
bool checksumHolds(const QByteArray& frame) {
    quint32 sum = 0;
    for (int i = 1; i < frame.size() - 2; ++i) {
        sum += quint8(frame.at(i));
    }
    return quint8(frame.at(frame.size() - 2)) == (sum & 0xFF);
}

}  // namespace

class TestVirtualCharger : public QObject {
    Q_OBJECT

private slots:
    void replies_data();
    void replies();
    void settingsReplyLayout();
    void writeShowsOnReread_data();
    void writeShowsOnReread();
    void stageWriteClearsLaterStages();
    void malformedWriteIsIgnored_data();
    void malformedWriteIsIgnored();
    void blockReply_data();
    void blockReply();
    void streamedTransfer_data();
    void streamedTransfer();
    void framing_data();
    void framing();
    void requestsAreRecorded();
    void faults_data();
    void faults();
    void firstByteDelayTravelsWithReply();
    void defaultsDecodeAsPlausibleProfiles();
    void defaultsPassTheToolsChecks();
    void chargeLogShape();
    void loopbackExchange();
    void loopbackStream();
};

void TestVirtualCharger::replies_data() {
    QTest::addColumn<QString>("setup");
    QTest::addColumn<QString>("request");
    QTest::addColumn<QString>("reply");

    QTest::newRow("probe answer") << ""
                                  << "850357AA000D"
                                  << "850667064A0000BD0D";
    QTest::newRow("run time 0") << "runtime0"
                                << "850357AA000D"
                                << "850667000000006D0D";
    QTest::newRow("run time little-endian") << "runtime7435"
                                            << "850357AA000D"
                                            << "8506670B1D0000950D";
    QTest::newRow("identify 3110") << ""
                                   << "850350AA000D"
                                   << "8504600C26960D";
    QTest::newRow("identify 3415") << "model3415"
                                   << "850350AA000D"
                                   << "8504600D57C80D";
    QTest::newRow("live big-endian hundredths") << "live"
                                                << "850358AA000D"
                                                << "8512680AC804E20564FFFF0000006400C8012CF20D";
    QTest::newRow("pointer unwrapped 25") << "log25"
                                          << "850375AA000D"
                                          << "85040019001D0D";
    QTest::newRow("pointer wrapped 5") << "wrap5"
                                       << "850375AA000D"
                                       << "85040005010A0D";
    QTest::newRow("block without data") << "log25"
                                        << "850678AA001E00270D"
                                        << "850388AA350D";
    QTest::newRow("ack general") << ""
                                 << "850E510004B00064001200FA020190000D"
                                 << "85036101650D";
    QTest::newRow("ack protection") << ""
                                    << "850C5200011B0708FFFFFF0014000D"
                                    << "85036201660D";
    QTest::newRow("ack stages") << ""
                                << "8510530002"
                                   "05A000C8"
                                   "05640032"
                                   "05460014"
                                   "000D"
                                << "85036301670D";
    QTest::newRow("ack next-stage") << ""
                                    << "851D54000000" + QString("00FFFF").repeated(8) + "000D"
                                    << "85036401680D";
    QTest::newRow("ack any-stage") << ""
                                   << "851D55010603" + QString("00FFFF").repeated(8) + "000D"
                                   << "85036501690D";
    QTest::newRow("unknown command") << ""
                                     << "850342AA000D"
                                     << "";
}

void TestVirtualCharger::replies() {
    QFETCH(QString, setup);
    QFETCH(QString, request);
    QFETCH(QString, reply);
    VirtualCharger charger;
    if (setup == "runtime0") {
        charger.setRunTimeMinutes(0);
    } else if (setup == "runtime7435") {
        charger.setRunTimeMinutes(7435);
    } else if (setup == "model3415") {
        charger.setModelCode(3415);
    } else if (setup == "live") {
        charger.setLive({2760, 1250, 1380, -1, 0, 100, 200, 300});
    } else if (setup == "log25") {
        charger.setLog(ChargeLog::Unwrapped(25));
    } else if (setup == "wrap5") {
        charger.setLog(ChargeLog::Wrapped(5));
    }
    const QString got = ask(charger, request.toLatin1().constData());
    QVERIFY2(got == reply, qPrintable(request + " -> " + got + ", expected " + reply));
    if (!got.isEmpty()) {
        QVERIFY2(checksumHolds(QByteArray::fromHex(got.toLatin1())), qPrintable(got));
    }
}

void TestVirtualCharger::settingsReplyLayout() {
    VirtualCharger charger;
    const QString reply = settingsReply(charger);
    QCOMPARE(reply.size(), 1604);
    QCOMPARE(chars(reply, 1, 8), QString("85006900"));
    QCOMPARE(chars(reply, 1603, 1604), QString("0D"));
    QVERIFY2(checksumHolds(QByteArray::fromHex(reply.toLatin1())), qPrintable(reply.right(8)));
    QCOMPARE(chars(reply, 9, 30), QString("04B00064001200FA020190"));
    QCOMPARE(chars(reply, 31, 52), QString("04B00064001200FA020190"));
    QCOMPARE(chars(reply, 53, 70), QString("013E0708FFFFFF0014"));
    QCOMPARE(chars(reply, 71, 88), QString("013E0708FFFFFF0014"));
    QCOMPARE(chars(reply, 89, 144), "05A00064058C003205460014" + QString("0").repeated(32));
}

void TestVirtualCharger::writeShowsOnReread_data() {
    QTest::addColumn<QString>("request");
    QTest::addColumn<QString>("ack");
    QTest::addColumn<int>("first");  // character range of the written block in the reply
    QTest::addColumn<int>("last");
    QTest::addColumn<QString>("stored");

    const QString cells =
        "010578"
        "000000"
        "021234"
        "000000"
        "000000"
        "040019"
        "050258"
        "000000";
    QTest::newRow("general slot 0") << "850E510009600032000A00DC0501F4000D"
                                    << "85036101650D" << 9 << 30 << "09600032000A00DC0501F4";
    QTest::newRow("general slot 1") << "850E510112C0025800140104010154000D"
                                    << "85036101650D" << 31 << 52 << "12C0025800140104010154";
    QTest::newRow("protection slot 0") << "850C5200011B0708FFFFFF0014000D"
                                       << "85036201660D" << 53 << 70 << "011B0708FFFFFF0014";
    QTest::newRow("protection slot 1") << "850C5201013E1C20FFFFFF0018000D"
                                       << "85036201660D" << 71 << 88 << "013E1C20FFFFFF0018";
    QTest::newRow("stages slot 1, four")
        << "85145301030B400096AB0E0064ABCD0032ABDC0014000D"
        << "85036301670D" << 145 << 176 << "0B400096AB0E0064ABCD0032ABDC0014";
    QTest::newRow("next-stage slot 0 stage 0") << "851D54000000" + cells + "000D"
                                               << "85036401680D" << 201 << 250 << "00" + cells;
    QTest::newRow("next-stage slot 0 stage 6") << "851D54000600" + cells + "000D"
                                               << "85036401680D" << 501 << 550 << "00" + cells;
    QTest::newRow("any-stage slot 0 stage 2 to 4") << "851D55000203" + cells + "000D"
                                                   << "85036501690D" << 651 << 700 << "03" + cells;
    QTest::newRow("next-stage slot 1 stage 1") << "851D54010100" + cells + "000D"
                                               << "85036401680D" << 951 << 1000 << "00" + cells;
    QTest::newRow("any-stage slot 1 stage 6 to 1")
        << "851D55010600" + cells + "000D"
        << "85036501690D" << 1551 << 1600 << "00" + cells;
}

void TestVirtualCharger::writeShowsOnReread() {
    QFETCH(QString, request);
    QFETCH(QString, ack);
    QFETCH(int, first);
    QFETCH(int, last);
    QFETCH(QString, stored);
    VirtualCharger charger;
    const QString before = settingsReply(charger);
    QCOMPARE(ask(charger, request.toLatin1().constData()), ack);
    const QString after = settingsReply(charger);
    QCOMPARE(after.size(), 1604);
    QVERIFY2(chars(after, first, last) == stored,
             qPrintable(QString("chars %1-%2: %3, expected %4")
                            .arg(first)
                            .arg(last)
                            .arg(chars(after, first, last), stored)));
    // Everything outside the block stays as it was (the checksum aside).
    QCOMPARE(after.left(first - 1), before.left(first - 1));
    QCOMPARE(chars(after, last + 1, 1600), chars(before, last + 1, 1600));
}

void TestVirtualCharger::stageWriteClearsLaterStages() {
    VirtualCharger charger;
    // Defaults hold three stages in slot 0; a one-stage write must leave one stage.
    QCOMPARE(ask(charger, "85085300000578006E000D"), QString("85036301670D"));
    const QString reply = settingsReply(charger);
    QCOMPARE(chars(reply, 89, 144), "0578006E" + QString("0").repeated(48));
    zun::link::StoredSettings profiles;
    zun::link::DecodeStoredSettings(reply, profiles);
    QCOMPARE(profiles[0].stages[0], QString("1"));
    QCOMPARE(profiles[0].stages[1], QString("14"));
    QCOMPARE(profiles[0].stages[2], QString("11"));
    // Slot 1 is untouched.
    QCOMPARE(profiles[1].stages[0], QString("2"));
}

void TestVirtualCharger::malformedWriteIsIgnored_data() {
    QTest::addColumn<QString>("request");
    QTest::newRow("general profile 2") << "850E510204B00064001200FA020190000D";
    QTest::newRow("general one byte short") << "850D5100B00064001200FA020190000D";
    QTest::newRow("protection profile FF") << "850C52FF011B0708FFFFFF0014000D";
    QTest::newRow("stages length disagrees with count") << "850C5300030578006E0578006E000D";
    QTest::newRow("stages last index 7") << "8524530007" + QString("0578006E").repeated(8) + "000D";
    QTest::newRow("next-stage stage 7") << "851D54000700" + QString("00FFFF").repeated(8) + "000D";
    QTest::newRow("any-stage short") << "851C55000000" + QString("00FFFF").repeated(8) + "0D";
    QTest::newRow("block of 11") << "850678AA0000000A0D";
    QTest::newRow("block backwards") << "850678AA000900000D";
}

void TestVirtualCharger::malformedWriteIsIgnored() {
    QFETCH(QString, request);
    VirtualCharger charger;
    const QString before = settingsReply(charger);
    const QString got = ask(charger, request.toLatin1().constData());
    QVERIFY2(got.isEmpty(), qPrintable(request + " -> " + got));
    QCOMPARE(settingsReply(charger), before);
    // The frame was still taken off the line and recorded.
    QCOMPARE(charger.requests().at(1), request);
}

void TestVirtualCharger::blockReply_data() {
    QTest::addColumn<bool>("wrapped");
    QTest::addColumn<int>("pointer");
    QTest::addColumn<int>("first");
    QTest::addColumn<int>("last");
    QTest::addColumn<QList<int>>("present");

    QTest::newRow("unwrapped 25, first block")
        << false << 25 << 0 << 9 << QList<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9};
    QTest::newRow("unwrapped 25, last block")
        << false << 25 << 20 << 24 << QList<int>{20, 21, 22, 23, 24};
    QTest::newRow("unwrapped 25, past the pointer")
        << false << 25 << 20 << 29 << QList<int>{20, 21, 22, 23, 24};
    QTest::newRow("unwrapped 25, nothing") << false << 25 << 25 << 34 << QList<int>{};
    QTest::newRow("wrapped 5, after the pointer")
        << true << 5 << 7 << 16 << QList<int>{7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    QTest::newRow("wrapped 5, ring end")
        << true << 5 << 4317 << 4319 << QList<int>{4317, 4318, 4319};
    QTest::newRow("wrapped 5, start") << true << 5 << 0 << 5 << QList<int>{0, 1, 2, 3, 4, 5};
    QTest::newRow("wrapped 5, beyond the ring") << true << 5 << 4319 << 4322 << QList<int>{4319};
}

void TestVirtualCharger::blockReply() {
    QFETCH(bool, wrapped);
    QFETCH(int, pointer);
    QFETCH(int, first);
    QFETCH(int, last);
    QFETCH(QList<int>, present);
    VirtualCharger charger;
    const ChargeLog log = wrapped ? ChargeLog::Wrapped(pointer) : ChargeLog::Unwrapped(pointer);
    charger.setLog(log);
    const QString request =
        "850678AA" +
        QString("%1%2").arg(first, 4, 16, QChar('0')).arg(last, 4, 16, QChar('0')).toUpper() + "0D";
    const QString reply = ask(charger, request.toLatin1().constData());
    const int k = int(present.size());
    QVERIFY2(reply.size() == 12 + 24 * k, qPrintable(request + " -> " + reply));
    QCOMPARE(chars(reply, 1, 2), QString("85"));
    QCOMPARE(chars(reply, 3, 4).toInt(nullptr, 16), 12 * k + 3);
    QCOMPARE(chars(reply, 5, 8), QString("88AA"));
    QCOMPARE(reply.right(2), QString("0D"));
    QVERIFY2(checksumHolds(QByteArray::fromHex(reply.toLatin1())), qPrintable(reply));
    const QString body = reply.mid(8, reply.size() - 12);
    for (int i = 0; i < k; ++i) {
        const QString rec = body.mid(24 * i, 24);
        const LogRecord& r = log.at(present[i]);
        QCOMPARE(rec.left(4).toInt(nullptr, 16), present[i]);
        QCOMPARE(rec.mid(4, 4).toInt(nullptr, 16), int(r.chargerVolts));
        QCOMPARE(rec.mid(8, 4).toInt(nullptr, 16), int(r.chargerAmps));
        QCOMPARE(rec.mid(12, 4).toInt(nullptr, 16), int(r.battery1Volts));
        QCOMPARE(rec.mid(16, 4).toInt(nullptr, 16), int(r.battery2Volts));
        QCOMPARE(rec.mid(20, 4), QString("0000"));
    }
}

void TestVirtualCharger::streamedTransfer_data() {
    QTest::addColumn<bool>("wrapped");
    QTest::addColumn<int>("pointer");
    QTest::addColumn<int>("records");
    QTest::addColumn<int>("oldestSlot");

    QTest::newRow("unwrapped 25") << false << 25 << 25 << 0;
    QTest::newRow("wrapped 5") << true << 5 << 4320 << 5;
    QTest::newRow("empty") << false << 0 << 0 << 0;
}

void TestVirtualCharger::streamedTransfer() {
    QFETCH(bool, wrapped);
    QFETCH(int, pointer);
    QFETCH(int, records);
    QFETCH(int, oldestSlot);
    VirtualCharger charger;
    const ChargeLog log = wrapped ? ChargeLog::Wrapped(pointer) : ChargeLog::Unwrapped(pointer);
    charger.setLog(log);
    const QString text = ask(charger, "850356AA000D");
    QCOMPARE(text.size(), 32 + 24 * records);
    QCOMPARE(text.left(32), "850066" + QString("AA").repeated(13));
    // What the tool does with it: drop 29 characters, cut at the first record number 0001.
    if (records > 0) {
        const QString rest = text.mid(29);
        QCOMPARE(rest.indexOf("0001"), 3);
    }
    for (int n = 0; n < records; ++n) {
        const QString rec = text.mid(32 + 24 * n, 24);
        QVERIFY2(rec.left(4).toInt(nullptr, 16) == n + 1, qPrintable(rec));
        const LogRecord& r = log.at((oldestSlot + n) % ChargeLog::kSlots);
        QVERIFY2(rec.mid(4, 4).toInt(nullptr, 16) == r.chargerVolts, qPrintable(rec));
        QVERIFY2(rec.mid(16, 4).toInt(nullptr, 16) == r.battery2Volts, qPrintable(rec));
    }
}

void TestVirtualCharger::framing_data() {
    QTest::addColumn<QStringList>("pieces");  // hex pieces fed one after the other
    QTest::addColumn<bool>("resyncBetween");
    QTest::addColumn<QString>("reply");
    QTest::addColumn<int>("recorded");

    const QString probe = "850667064A0000BD0D";
    QTest::newRow("whole") << QStringList{"850357AA000D"} << false << probe << 1;
    QTest::newRow("byte by byte") << QStringList{"85", "03", "57", "AA", "00", "0D"} << false
                                  << probe << 1;
    QTest::newRow("split after start") << QStringList{"85", "0357AA000D"} << false << probe << 1;
    QTest::newRow("split before end") << QStringList{"850357AA00", "0D"} << false << probe << 1;
    QTest::newRow("garbage before") << QStringList{"00FF0D13850357AA000D"} << false << probe << 1;
    QTest::newRow("two frames at once")
        << QStringList{"850357AA000D850350AA000D"} << false << probe + "8504600C26960D" << 2;
    QTest::newRow("second frame split")
        << QStringList{"850357AA000D8503", "50AA000D"} << false << probe + "8504600C26960D" << 2;
    QTest::newRow("block request across pieces")
        << QStringList{"850678AA00", "1E00270D"} << false << "850388AA350D" << 1;
    QTest::newRow("bad end byte") << QStringList{"850357AA000E"} << false << "" << 0;
    QTest::newRow("bad end byte, next frame still served")
        << QStringList{"850357AA000E850350AA000D"} << false << "8504600C26960D" << 1;
    QTest::newRow("half frame dropped on silence")
        << QStringList{"850357", "850350AA000D"} << true << "8504600C26960D" << 1;
    QTest::newRow("half frame kept without silence")
        << QStringList{"850357", "AA000D"} << false << probe << 1;
}

void TestVirtualCharger::framing() {
    QFETCH(QStringList, pieces);
    QFETCH(bool, resyncBetween);
    QFETCH(QString, reply);
    QFETCH(int, recorded);
    VirtualCharger charger;
    charger.setLog(ChargeLog::Unwrapped(25));
    QByteArray out;
    for (const QString& piece : pieces) {
        out += charger.respond(QByteArray::fromHex(piece.toLatin1()));
        if (resyncBetween) {
            charger.resync();
        }
    }
    QVERIFY2(hexOf(out) == reply, qPrintable(pieces.join('|') + " -> " + hexOf(out)));
    QCOMPARE(charger.requests().size(), recorded);
    QVERIFY(!charger.hasPartialFrame());
}

void TestVirtualCharger::requestsAreRecorded() {
    VirtualCharger charger;
    QStringList heard;
    charger.setRequestListener([&heard](const QString& frame) { heard << frame; });
    Faults silent;
    silent.silent = true;
    charger.respond(bytes("850350AA000D"));
    charger.respond(bytes("00850678AA000000090D"));
    charger.setFaults(silent);
    charger.respond(bytes("850E510004B00064001200FA020190000D"));
    const QStringList expected{"850350AA000D", "850678AA000000090D",
                               "850E510004B00064001200FA020190000D"};
    QCOMPARE(charger.requests(), expected);
    QCOMPARE(heard, expected);
    charger.clearRequests();
    QVERIFY(charger.requests().isEmpty());
    charger.respond(bytes("850357AA000D"));
    QCOMPARE(charger.requests(), QStringList{"850357AA000D"});
}

void TestVirtualCharger::faults_data() {
    QTest::addColumn<QString>("knob");
    QTest::addColumn<QStringList>("requests");
    QTest::addColumn<QStringList>("replies");

    const QString general = "850E510004B00064001200FA020190000D";
    const QString stages = "85085300000578006E000D";
    const QString probe = "850667064A0000BD0D";
    QTest::newRow("silent") << "silent" << QStringList{"850357AA000D", general}
                            << QStringList{"", ""};
    QTest::newRow("drop every 2nd")
        << "drop2" << QStringList{"850357AA000D", "850357AA000D", "850357AA000D", "850357AA000D"}
        << QStringList{probe, "", probe, ""};
    QTest::newRow("wrong ack, every write")
        << "wrongAll" << QStringList{general, stages, "850357AA000D"}
        << QStringList{"85036100640D", "85036300660D", probe};
    QTest::newRow("wrong ack, stages only")
        << "wrong53" << QStringList{general, stages} << QStringList{"85036101650D", "85036300660D"};
    QTest::newRow("truncate to 5") << "truncate5" << QStringList{"850357AA000D", general}
                                   << QStringList{"850667064A", "8503610165"};
    QTest::newRow("garbage around")
        << "garbage" << QStringList{"850357AA000D"} << QStringList{"00FF" + probe + "8511"};
    QTest::newRow("no pointer") << "noPointer" << QStringList{"850375AA000D", "850357AA000D"}
                                << QStringList{"", probe};
}

void TestVirtualCharger::faults() {
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
    if (knob == "garbage") {
        f.garbageBefore = bytes("00FF");
        f.garbageAfter = bytes("8511");
    }
    f.ignorePointerRequest = knob == "noPointer";
    charger.setFaults(f);
    for (int i = 0; i < requests.size(); ++i) {
        const QString got = ask(charger, requests[i].toLatin1().constData());
        QVERIFY2(
            got == replies[i],
            qPrintable(
                QString("#%1 %2 -> %3, expected %4").arg(i).arg(requests[i], got, replies[i])));
    }
    // A fault never loses a write: the image follows even a wrongly acknowledged one.
    if (knob.startsWith("wrong")) {
        QCOMPARE(chars(settingsReply(charger), 89, 96), QString("0578006E"));
    }
}

void TestVirtualCharger::firstByteDelayTravelsWithReply() {
    VirtualCharger charger;
    Faults f;
    f.firstByteDelayMs = 250;
    charger.setFaults(f);
    const QList<Reply> replies = charger.feed(bytes("850357AA000D850350AA000D"));
    QCOMPARE(replies.size(), 2);
    QCOMPARE(replies[0].firstByteDelayMs, 250);
    QCOMPARE(hexOf(replies[0].bytes), QString("850667064A0000BD0D"));
    QCOMPARE(hexOf(replies[1].bytes), QString("8504600C26960D"));
}

void TestVirtualCharger::defaultsDecodeAsPlausibleProfiles() {
    VirtualCharger charger;
    zun::link::StoredSettings profiles;
    zun::link::DecodeStoredSettings(settingsReply(charger), profiles);
    for (int p = 0; p < 2; ++p) {
        const auto& s = profiles[p];
        QCOMPARE(s.general[0], QString("12"));
        QCOMPARE(s.general[1], QString("100"));
        QCOMPARE(s.general[2], QString("18"));
        QCOMPARE(s.general[3], QString("25"));
        QCOMPARE(s.general[4], QString("2"));
        QCOMPARE(s.general[5], QString("40"));
        QCOMPARE(s.protection[0], QString("45"));
        QCOMPARE(s.protection[1], QString("18"));
        QCOMPARE(s.protection[4], QString("20"));
        for (int k = 0; k < 7; ++k) {
            QCOMPARE(s.anyTarget[k], QString("0"));
        }
    }
    QCOMPARE(profiles[0].stages[0], QString("3"));
    QCOMPARE(profiles[0].stages[1], QString("14.4"));
    QCOMPARE(profiles[0].stages[2], QString("10"));
    QCOMPARE(profiles[0].stages[5], QString("13.5"));
    QCOMPARE(profiles[1].stages[0], QString("2"));
    QCOMPARE(profiles[0].nextCond[0], QString("214"));
    QCOMPARE(profiles[0].nextCond[5], QString("2480"));
    QCOMPARE(profiles[0].nextCond[12], QString("22"));
    QCOMPARE(profiles[1].nextCond[4], QString("13"));
}

// The rules the tool applies before it lets a profile be written back, on the raw image.
void TestVirtualCharger::defaultsPassTheToolsChecks() {
    const QByteArray image = DefaultSettingsImage();
    QCOMPARE(image.size(), kImageBytes);
    auto u16 = [&](int o) { return quint8(image[o]) << 8 | quint8(image[o + 1]); };
    for (int p = 0; p < 2; ++p) {
        int n = 0;
        while (n < kStageCount && u16(StagesOffset(p) + 4 * n) >= 500) {
            ++n;
        }
        QVERIFY2(n >= 1 && n <= 4, qPrintable(QString("profile %1: %2 stages").arg(p).arg(n)));
        int minutes = 0;
        for (int s = 0; s < kStageCount; ++s) {
            const int volts = u16(StagesOffset(p) + 4 * s);
            const int amps = u16(StagesOffset(p) + 4 * s + 2);
            if (s < n) {
                QVERIFY2(
                    volts >= 1200 && volts <= 1600 && amps >= 20 && amps <= 100,
                    qPrintable(
                        QString("profile %1 stage %2: %3 %4").arg(p).arg(s).arg(volts).arg(amps)));
            } else {
                QCOMPARE(volts | amps, 0);
            }
            bool andUsed = false;
            bool orUsed = false;
            for (int slot = 0; slot < 8; ++slot) {
                const int cell = NextRecordOffset(p, s) + 1 + 3 * slot;
                const int type = quint8(image[cell]);
                const int value = u16(cell + 1);
                const QString where = QString("profile %1 stage %2 slot %3: type %4 value %5")
                                          .arg(p)
                                          .arg(s)
                                          .arg(slot)
                                          .arg(type)
                                          .arg(value);
                QVERIFY2(type <= 2, qPrintable(where));
                if (type == 0) {
                    QVERIFY2(value == 0xFFFF, qPrintable(where));
                    continue;
                }
                QVERIFY2(s < n - 1 && (slot == 0 || slot == 4 || slot == 5), qPrintable(where));
                (type == 1 ? andUsed : orUsed) = true;
                if (slot == 0) {
                    QVERIFY2(value >= 1180 && value <= volts - 20, qPrintable(where));
                } else if (slot == 4) {
                    QVERIFY2(value >= 10 && value <= amps - 10, qPrintable(where));
                } else {
                    minutes += value;
                }
            }
            QVERIFY2(!(andUsed && orUsed),
                     qPrintable(QString("profile %1 stage %2").arg(p).arg(s)));
            const int any = AnyRecordOffset(p, s);
            QCOMPARE(hexOf(image.mid(any, kRecordBytes)), "00" + QString("00FFFF").repeated(8));
        }
        const int hours = u16(ProtectionOffset(p) + 7);
        QVERIFY2(minutes <= hours * 60,
                 qPrintable(QString("%1 min, %2 h").arg(minutes).arg(hours)));
    }
}

void TestVirtualCharger::chargeLogShape() {
    // One day: bulk near rated current, absorption at 14.4 V with falling current, float.
    const ChargeLog day = ChargeLog::Unwrapped(144);
    QCOMPARE(day.pointer(), 144);
    QVERIFY(!day.wrapped());
    QVERIFY(day.holdsData(143));
    QVERIFY(!day.holdsData(144));
    int bulk = 0;
    int floatCount = 0;
    for (int i = 0; i < 144; ++i) {
        const LogRecord& r = day.at(i);
        const QString what = QString("#%1: %2 V %3 A %4 V %5 V")
                                 .arg(i)
                                 .arg(r.chargerVolts)
                                 .arg(r.chargerAmps)
                                 .arg(r.battery1Volts)
                                 .arg(r.battery2Volts);
        QVERIFY2(r.chargerVolts >= 1200 && r.chargerVolts <= 1445, qPrintable(what));
        QVERIFY2(r.chargerAmps <= 1010, qPrintable(what));
        QVERIFY2(r.battery1Volts < r.chargerVolts && r.battery2Volts < r.chargerVolts &&
                     r.chargerVolts - r.battery2Volts < 30,
                 qPrintable(what));
        bulk += r.chargerAmps >= 990 ? 1 : 0;
        floatCount += (r.chargerVolts >= 1348 && r.chargerVolts <= 1352) ? 1 : 0;
        QCOMPARE(ChargeLog::Sample(i), r);
    }
    QVERIFY2(bulk >= 30 && floatCount >= 60,
             qPrintable(QString("%1 %2").arg(bulk).arg(floatCount)));

    // A wrapped ring: the oldest record sits at the pointer, the newest just before it.
    const ChargeLog ring = ChargeLog::Wrapped(5);
    QCOMPARE(ring.count(), ChargeLog::kSlots);
    QCOMPARE(ring.slotByAge(0), 5);
    QCOMPARE(ring.slotByAge(ChargeLog::kSlots - 1), 4);
    QCOMPARE(ring.at(5), ChargeLog::Sample(0));
    QCOMPARE(ring.at(4), ChargeLog::Sample(ChargeLog::kSlots - 1));
    QVERIFY(ring.holdsData(4319) && !ring.holdsData(4320));

    const ChargeLog full = ChargeLog::Unwrapped(ChargeLog::kSlots);
    QVERIFY(full.wrapped());
    QCOMPARE(full.pointer(), 0);
    QCOMPARE(hexOf(ChargeLog::Encode(0x1234, {0x0578, 0x03E8, 0x0570, 0x056E})),
             QString("12340578"
                     "03E80570"
                     "056E0000"));
}

void TestVirtualCharger::loopbackExchange() {
    VirtualCharger charger;
    LoopbackExchange link(charger);
    QCOMPARE(link.SendFrame("850357AA000D"), QString("850667064A0000BD0D"));
    QCOMPARE(link.SendFrame("850357aa000d"), QString("850667064A0000BD0D"));
    QCOMPARE(link.SendFrame("850357AG000D"), QString());
    QCOMPARE(link.SendFrame("850357AA000"), QString());
    QCOMPARE(link.SendFrame(""), QString());
    // A half frame does not linger into the next exchange.
    QCOMPARE(link.SendFrame("851D54"), QString());
    QCOMPARE(link.SendFrame("850350AA000D"), QString("8504600C26960D"));
    QCOMPARE(link.SendFrame("850E510104B00064001200FA020190000D"), QString("85036101650D"));
    QCOMPARE(charger.requests(), (QStringList{"850357AA000D", "850357AA000D", "850350AA000D",
                                              "850E510104B00064001200FA020190000D"}));
    link.WaitSeconds(0.1f);
    link.WaitSeconds(0.2f);
    QVERIFY(qAbs(link.waitedSeconds() - 0.3) < 1e-6);
    QCOMPARE(link.sendCount(), 8);
}

void TestVirtualCharger::loopbackStream() {
    VirtualCharger charger;
    charger.setLog(ChargeLog::Unwrapped(25));
    LoopbackExchange link(charger);
    link.setReadChunk(100);
    QVERIFY(link.ResetAndWrite(bytes("850356AA000D")));
    QByteArray all;
    int reads = 0;
    for (QByteArray piece = link.ReadWaiting(); !piece.isEmpty(); piece = link.ReadWaiting()) {
        QVERIFY(piece.size() <= 100);
        all += piece;
        ++reads;
    }
    QCOMPARE(all.size(), 16 + 25 * 12);
    QCOMPARE(reads, 4);
    QCOMPARE(hexOf(all.mid(16, 2)), QString("0001"));
    QCOMPARE(hexOf(all.mid(16 + 24 * 12, 2)), QString("0019"));
    // A new exchange throws away what was still waiting.
    link.setReadChunk(0);
    link.ResetAndWrite(bytes("850356AA000D"));
    link.SendFrame("850357AA000D");
    QVERIFY(link.ReadWaiting().isEmpty());
}

QTEST_GUILESS_MAIN(TestVirtualCharger)
#include "test_virtual_charger.moc"
