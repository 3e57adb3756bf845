#include "link/frames.h"
#include "link/reply_check.h"
#include "sim/charge_log.h"
#include "sim/virtual_charger.h"

#include <QtTest>

using namespace zun;

namespace {

QByteArray bytes(const char* hex) {
    return QByteArray::fromHex(QByteArray(hex));
}

const char* stateName(link::ReplyState s) {
    switch (s) {
        case link::ReplyState::Complete:
            return "complete";
        case link::ReplyState::Incomplete:
            return "incomplete";
        case link::ReplyState::Damaged:
            return "damaged";
    }
    return "?";
}

}  // namespace

class TestReplyCheck : public QObject {
    Q_OBJECT
private slots:
    void judgesReceivedBytes_data();
    void judgesReceivedBytes();
    void everyChargerReplyIsSoundAndWithinItsLimits_data();
    void everyChargerReplyIsSoundAndWithinItsLimits();
    void faultyChargerRepliesFailTheCheck_data();
    void faultyChargerRepliesFailTheCheck();
};

// Hand-made replies: each fixed byte wrong in turn, and the bytes the protocol leaves open.
void TestReplyCheck::judgesReceivedBytes_data() {
    QTest::addColumn<QString>("request");
    QTest::addColumn<QString>("received");
    QTest::addColumn<QString>("state");
    QTest::addColumn<QString>("why");

    const QString id = link::kIdentifyRequest;
    const QString block = "850678AA000000090D";  // ten records asked
    QTest::newRow("identify sound") << id << "8504600C26960D"
                                    << "complete"
                                    << "";
    QTest::newRow("identify nothing") << id << ""
                                      << "incomplete"
                                      << "nothing received";
    QTest::newRow("identify cut") << id << "8504600C26"
                                  << "incomplete"
                                  << "5 of 7 bytes";
    QTest::newRow("identify stray first") << id << "00FF138504600C26960D"
                                          << "damaged"
                                          << "start byte 00, not 85";
    QTest::newRow("identify checksum") << id << "8504600C26970D"
                                       << "damaged"
                                       << "checksum 97, the bytes add up to 96";
    QTest::newRow("identify end byte") << id << "8504600C26960A"
                                       << "damaged"
                                       << "end byte 0A, not 0D";
    QTest::newRow("identify answered by run time") << id << link::kProbeAnswer << "damaged"
                                                   << "length byte 06, not 04";
    QTest::newRow("identify bytes after the end") << id << "8504600C26960D8511"
                                                  << "damaged"
                                                  << "2 bytes after the end";
    // A damaged byte is seen before the rest has come.
    QTest::newRow("identify wrong command early") << id << "850461"
                                                  << "damaged"
                                                  << "reply command 61, not 60";
    QTest::newRow("probe answer") << link::kRunTimeRequest << link::kProbeAnswer << "complete"
                                  << "";
    QTest::newRow("protection write answered with the general ack")
        << "850C5200011B0708FFFFFF0014000D" << link::kAckGeneral << "damaged"
        << "reply command 61, not 62";
    // A refusal is a sound frame: the caller's comparison with the ack rejects it.
    QTest::newRow("general write refused") << "850E510004B00064001200FA020190000D"
                                           << "85036100640D"
                                           << "complete"
                                           << "";
    QTest::newRow("pointer, no command byte") << link::kLogPointerRequest << "8504009000940D"
                                              << "complete"
                                              << "";
    QTest::newRow("pointer after stray bytes") << link::kLogPointerRequest << "00FF138504009000940D"
                                               << "damaged"
                                               << "start byte 00";
    QTest::newRow("block, empty") << block << "850388AA350D"
                                  << "complete"
                                  << "";
    // The byte after the block's command is the charger's to fill.
    QTest::newRow("block, any byte after the command") << block << "850388008B0D"
                                                       << "complete"
                                                       << "";
    QTest::newRow("block, one record") << block << "850F88AA000105DC03E8057805640000F40D"
                                       << "complete"
                                       << "";
    QTest::newRow("block, length not whole records") << block << "850588AA"
                                                     << "damaged"
                                                     << "length byte 05 fits no reply";
    QTest::newRow("block, more records than asked") << "850678AA000000010D"
                                                    << "852788AA"
                                                    << "damaged"
                                                    << "at most 2 records";
    QTest::newRow("block cut") << block << "850F88AA000105DC"
                               << "incomplete"
                               << "8 of 18 bytes";
    QTest::newRow("settings, wrong length byte") << link::kSettingsRequest << "8503690001"
                                                 << "damaged"
                                                 << "length byte 03, not 00";
    QTest::newRow("not hex") << id << "85G4"
                             << "incomplete"
                             << "no reply is known";
}

void TestReplyCheck::judgesReceivedBytes() {
    QFETCH(QString, request);
    QFETCH(QString, received);
    QFETCH(QString, state);
    QFETCH(QString, why);
    const link::ReplyVerdict v = link::CheckReplyText(request, received);
    QVERIFY2(QString(stateName(v.state)) == state,
             qPrintable(QStringLiteral("%1 -> %2 is %3 (%4)")
                            .arg(request, received, stateName(v.state), v.why)));
    QVERIFY2(why.isEmpty() ? v.why.isEmpty() : v.why.contains(why), qPrintable(v.why));
}

// Every request the tool sends, answered by the virtual charger as the real one answers.
void TestReplyCheck::everyChargerReplyIsSoundAndWithinItsLimits_data() {
    QTest::addColumn<QString>("request");
    QTest::newRow("identify") << link::kIdentifyRequest;
    QTest::newRow("settings") << link::kSettingsRequest;
    QTest::newRow("run time") << link::kRunTimeRequest;
    QTest::newRow("live") << link::kLiveRequest;
    QTest::newRow("pointer") << link::kLogPointerRequest;
    QTest::newRow("block of ten") << "850678AA000A00130D";
    QTest::newRow("block of three") << "850678AA008D008F0D";
    QTest::newRow("general") << "850E510004B00064001200FA020190000D";
    QTest::newRow("protection") << "850C5200011B0708FFFFFF0014000D";
    QTest::newRow("stages") << "8510530002"
                               "05A000C8056400320546"
                               "0014"
                               "000D";
    QTest::newRow("next stage") << "851D54000000" + QString("000000").repeated(8) + "000D";
    QTest::newRow("any stage") << "851D55000100" + QString("000000").repeated(8) + "000D";
}

void TestReplyCheck::everyChargerReplyIsSoundAndWithinItsLimits() {
    QFETCH(QString, request);
    sim::VirtualCharger charger;
    charger.setLog(sim::ChargeLog::Unwrapped(200));
    const QByteArray frame = QByteArray::fromHex(request.toLatin1());
    const QByteArray reply = charger.respond(frame);
    QVERIFY2(!reply.isEmpty(), qPrintable(request));
    const link::ReplyVerdict v = link::CheckReply(frame, reply);
    QVERIFY2(v.state == link::ReplyState::Complete,
             qPrintable(QStringLiteral("%1 -> %2: %3").arg(request, reply.toHex(), v.why)));
    QCOMPARE(v.expected, int(reply.size()));
    QVERIFY2(reply.size() <= link::ShapeFor(frame).longest, qPrintable(request));
    const link::ExchangeLimits limits = link::LimitsFor(frame);
    QVERIFY(reply.size() < limits.bytes);
    // Room for the reply on the wire and the 20 polls after it, on a slow machine too.
    QVERIFY(limits.milliseconds > link::WireMilliseconds(frame.size() + reply.size()) + 1000);
}

// The virtual charger's fault knobs, judged: each must show as the fault it is.
void TestReplyCheck::faultyChargerRepliesFailTheCheck_data() {
    QTest::addColumn<QString>("request");
    QTest::addColumn<int>("fault");
    QTest::addColumn<QString>("state");
    QTest::addColumn<QString>("why");
    enum { Cut, Stray, Checksum, Other };
    QTest::newRow("identify cut") << link::kIdentifyRequest << int(Cut) << "incomplete"
                                  << "4 of 7 bytes";
    QTest::newRow("settings cut") << link::kSettingsRequest << int(Cut) << "incomplete"
                                  << "4 of 802 bytes";
    QTest::newRow("block stray") << "850678AA000A00130D" << int(Stray) << "damaged"
                                 << "start byte";
    QTest::newRow("pointer checksum") << link::kLogPointerRequest << int(Checksum) << "damaged"
                                      << "checksum";
    QTest::newRow("settings checksum") << link::kSettingsRequest << int(Checksum) << "damaged"
                                       << "checksum";
    QTest::newRow("identify answered as run time")
        << link::kIdentifyRequest << int(Other) << "damaged"
        << "length byte 06";
    QTest::newRow("run time answered as identify")
        << link::kRunTimeRequest << int(Other) << "damaged"
        << "length byte 04";
    QTest::newRow("live answered as run time") << link::kLiveRequest << int(Other) << "damaged"
                                               << "length byte 06";
}

void TestReplyCheck::faultyChargerRepliesFailTheCheck() {
    QFETCH(QString, request);
    QFETCH(int, fault);
    QFETCH(QString, state);
    QFETCH(QString, why);
    sim::VirtualCharger charger;
    charger.setLog(sim::ChargeLog::Unwrapped(200));
    sim::Faults f;
    f.truncateTo = fault == 0 ? 4 : -1;
    f.garbageBefore = fault == 1 ? QByteArray("\x00\xFF\x13", 3) : QByteArray();
    f.badChecksum = fault == 2;
    f.otherReply = fault == 3;
    charger.setFaults(f);
    const QByteArray frame = QByteArray::fromHex(request.toLatin1());
    const QByteArray reply = charger.respond(frame);
    const link::ReplyVerdict v = link::CheckReply(frame, reply);
    QVERIFY2(QString(stateName(v.state)) == state && v.why.contains(why),
             qPrintable(QStringLiteral("%1 -> %2: %3 (%4)")
                            .arg(request, reply.toHex(), stateName(v.state), v.why)));
}

QTEST_GUILESS_MAIN(TestReplyCheck)
#include "test_reply_check.moc"
