#include "link/frames.h"
#include "link/reply_check.h"
#include "sim/charge_log.h"
#include "sim/virtual_charger.h"

#include <QtTest>

using namespace zun;

namespace {

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
    // Hand-made replies: each fixed byte wrong in turn, and the bytes the protocol leaves open.
    void judgesReceivedBytes_data() {
        QTest::addColumn<QString>("request");
        QTest::addColumn<QString>("received");
        QTest::addColumn<QString>("state");
        QTest::addColumn<QString>("why");
        const auto row = [](const char* name, const QString& request, const QString& received,
                            const char* state, const char* why = "") {
            QTest::newRow(name) << request << received << QString(state) << QString(why);
        };
        const QString id = link::kIdentifyRequest;
        const QString block = "850678AA000000090D";  // ten records asked
        row("identify sound", id, "8504600C26960D", "complete");
        row("identify nothing", id, "", "incomplete", "nothing received");
        row("identify cut", id, "8504600C26", "incomplete", "5 of 7 bytes");
        row("identify stray first", id, "00FF138504600C26960D", "damaged", "start byte 00, not 85");
        row("identify checksum", id, "8504600C26970D", "damaged",
            "checksum 97, the bytes add up to 96");
        row("identify end byte", id, "8504600C26960A", "damaged", "end byte 0A, not 0D");
        row("identify answered by run time", id, link::kProbeAnswer, "damaged",
            "length byte 06, not 04");
        row("identify bytes after the end", id, "8504600C26960D8511", "damaged",
            "2 bytes after the end");
        // A damaged byte is seen before the rest has come.
        row("identify wrong command early", id, "850461", "damaged", "reply command 61, not 60");
        row("probe answer", link::kRunTimeRequest, link::kProbeAnswer, "complete");
        row("protection write answered with the general ack", "850C5200011B0708FFFFFF0014000D",
            link::kAckGeneral, "damaged", "reply command 61, not 62");
        // A refusal is a sound frame: the caller's comparison with the ack rejects it.
        row("general write refused", "850E510004B00064001200FA020190000D", "85036100640D",
            "complete");
        row("pointer, no command byte", link::kLogPointerRequest, "8504009000940D", "complete");
        row("pointer after stray bytes", link::kLogPointerRequest, "00FF138504009000940D",
            "damaged", "start byte 00");
        row("block, empty", block, "850388AA350D", "complete");
        // The byte after the block's command is the charger's to fill.
        row("block, any byte after the command", block, "850388008B0D", "complete");
        row("block, one record", block, "850F88AA000105DC03E8057805640000F40D", "complete");
        row("block, length not whole records", block, "850588AA", "damaged",
            "length byte 05 fits no reply");
        row("block, more records than asked", "850678AA000000010D", "852788AA", "damaged",
            "at most 2 records");
        row("block cut", block, "850F88AA000105DC", "incomplete", "8 of 18 bytes");
        row("settings, wrong length byte", link::kSettingsRequest, "8503690001", "damaged",
            "length byte 03, not 00");
        row("not hex", id, "85G4", "incomplete", "no reply is known");
    }

    void judgesReceivedBytes() {
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
    void everyChargerReplyIsSoundAndWithinItsLimits_data() {
        QTest::addColumn<QString>("request");
        const QString cells = QString("000000").repeated(8) + "000D";
        for (const auto& [name, request] : std::initializer_list<std::pair<const char*, QString>>{
                 {"identify", link::kIdentifyRequest},
                 {"settings", link::kSettingsRequest},
                 {"run time", link::kRunTimeRequest},
                 {"live", link::kLiveRequest},
                 {"pointer", link::kLogPointerRequest},
                 {"block of ten", "850678AA000A00130D"},
                 {"block of three", "850678AA008D008F0D"},
                 {"general", "850E510004B00064001200FA020190000D"},
                 {"protection", "850C5200011B0708FFFFFF0014000D"},
                 {"stages", "851053000205A000C80564003205460014000D"},
                 {"next stage", "851D54000000" + cells},
                 {"any stage", "851D55000100" + cells}}) {
            QTest::newRow(name) << request;
        }
    }

    void everyChargerReplyIsSoundAndWithinItsLimits() {
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
};

QTEST_GUILESS_MAIN(TestReplyCheck)
#include "test_reply_check.moc"
