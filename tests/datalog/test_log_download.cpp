#include "datalog/live_reading.h"
#include "datalog/log_download.h"
#include "datalog/run_time.h"
#include "datalog_support.h"
#include "link/exchange.h"

#include <QtTest>

using namespace zun::datalog;

namespace {

// A charger by script: replies from a function, the streamed transfer as one list entry per
// read, and a record of everything the code under test did.
struct FakeExchange : zun::link::Exchange {
    std::function<QString(const QString&)> reply;
    QList<QByteArray> streamReads;
    QStringList requests;
    QList<float> waits;
    QList<QByteArray> written;
    int reads = 0;
    QString failOn;  // this request ends at the byte limit, as on a line that never falls quiet
    zun::link::ExchangeOutcome last;
    QString SendFrame(const QString& frame) override {
        requests << frame;
        last = {};
        if (frame == failOn) {
            last.end = zun::link::ExchangeEnd::HardByteLimit;
            return {};
        }
        return reply(frame);
    }
    zun::link::ExchangeOutcome lastOutcome() const override { return last; }
    void WaitSeconds(float seconds) override { waits << seconds; }
    bool ResetAndWrite(const QByteArray& bytes) override {
        written << bytes;
        return true;
    }
    QByteArray ReadWaiting() override {
        ++reads;
        return streamReads.isEmpty() ? QByteArray() : streamReads.takeFirst();
    }
};

// One record on the wire: number, charger volts, amps, battery 1, battery 2 (hundredths), spare.
QString record(int n, int cv, int ca, int b1, int b2) {
    return QString::asprintf("%04X%04X%04X%04X%04X0000", n, cv, ca, b1, b2);
}

// What slot s of the scripted ring holds: s, 100 + s, 200 + s and 300 + s hundredths.
QString slotRecord(int s) {
    return record(s, s, 100 + s, 200 + s, 300 + s);
}

QString blockOf(const QString& records) {
    return QString::asprintf("85%02X88AA", int(records.size() / 2 + 3) & 0xFF) + records + "000D";
}

}  // namespace

void DatalogTest::readings_data() {
    // The reply, then what the box shows: the text with the minutes (or V3 and I3 of a live
    // reading), "clear" or "keep"; an empty reply names its request.
    QTest::addColumn<QStringList>("io");
    QTest::newRow("7435 min") << QStringList{"8506670B1D0000000D", "123Hours 55Minutes (7435)"};
    QTest::newRow("0 min") << QStringList{"85066700000000000D", "0Hours 0Minutes (0)"};
    QTest::newRow("59 min") << QStringList{"8506673B000000000D", "0Hours 59Minutes (59)"};
    QTest::newRow("60 min") << QStringList{"8506673C000000000D", "1Hours 0Minutes (60)"};
    QTest::newRow("-61 min") << QStringList{"850667C3FFFFFF000D", "-1Hours -1Minutes (-61)"};
    QTest::newRow("0AC8, FFFF") << QStringList{
        "8511580AC804E2056405631234FFFF00008000000D",
        "charge:27.6V  12.5A\r\nbat1:  13.80V  -0.01A\r\nbat2:  13.79V  0.00A (46.6 -327.68)"};
    QTest::newRow("live, empty reply") << QStringList{"", "clear", "851158"};
    QTest::newRow("live, short reply") << QStringList{"8511580AC8", "keep"};
    QTest::newRow("live, garbled reply") << QStringList{"8511580AC8ZZ" + QString(28, '0'), "keep"};
}

void DatalogTest::readings() {
    QFETCH(QStringList, io);
    const bool live = (io[0] + io.value(2)).startsWith("851158");
    const LiveReading l = DecodeLiveReading(io[0]);
    const RunTimeReading t = DecodeRunTime(io[0]);
    const ReplyOutcome outcome = live ? l.outcome : t.outcome;
    const QString shown = live ? l.text + QString(" (%1 %2)").arg(l.V[3]).arg(l.I[3])
                               : t.text + QString(" (%1)").arg(t.minutes);
    QCOMPARE(outcome == ReplyOutcome::Show    ? shown
             : outcome == ReplyOutcome::Clear ? "clear"
                                              : "keep",
             io[1]);
}

void DatalogTest::download_data() {
    // The pointer reply (none: the streamed transfer), optionally a frame and its reply (other
    // block requests are answered from the scripted ring) and for a stream the bytes a read,
    // the silent polls after the first read and the record numbers sent; then the requests
    // after the pointer request (the first two and last two), the rows (all of up to three,
    // else the first and last as record:volts), the last progress text and the page after it.
    QTest::addColumn<QStringList>("in");
    QTest::addColumn<QString>("out");
    const QString slot0 = "0001:0.00 .. ";
    const QString block25 = "3: 0000-0009 000A-0013 .. 000A-0013 0014-0018 | ";
    QTest::newRow("pointer 25, flag 00")
        << QStringList{"8504001900000D"}
        << block25 + slot0 + "0025:0.24 | Download: 100% finished | SPC 0001..0025";
    QTest::newRow("pointer 5, flag 01")
        << QStringList{"8504000501000D"}
        << "433: 0007-0010 0011-001A .. 10DD-10DF 0000-0005 | 0001:0.07 .. 4319:0.05 | "
           "Download: 99% finished | SPC 0001..4319";
    // No retry: the counter runs on, and the rows after the gap hold slots 20..24.
    QTest::newRow("block without reply skipped")
        << QStringList{"8504001900000D", "850678AA000A00130D", ""}
        << block25 + slot0 + "0015:0.24 | Download: 60% finished | SPC 0001..0015";
    // 11 characters after the last record give nothing.
    QTest::newRow("3-record block, FFFF reads 0")
        << QStringList{"8504000300000D", "850678AA000000020D",
                       blockOf(record(0, 2760, 1250, 1380, 1379) + record(1, 0xFFFF, 255, 4095, 2) +
                               record(2, 2762, 1, 0, 65534) + "00010AC804E")}
        << "1: 0000-0002 .. 0000-0002 | 0001,27.60,12.50,13.80,13.79 ; 0002,0.00,2.55,40.95,0.02 ; "
           "0003,27.62,0.01,0.00,655.34 | Download: 100% finished | SPC 0001..0003";
    // 12 to 23 characters still give a row, the missing fields read 0.
    QTest::newRow("malformed field enters as 0, truncated last record")
        << QStringList{"8504000300000D", "850678AA000000020D",
                       blockOf(record(0, 2760, 1250, 1380, 1379) +
                               "00010AZ804E205640563000000010AC804E212")}
        << "1: 0000-0002 .. 0000-0002 | 0001,27.60,12.50,13.80,13.79 ; 0002,0.00,12.50,13.80,13.79 "
           "; "
           "0003,27.60,12.50,0.18,0.00 | Download: 100% finished | SPC 0001..0003";
    QTest::newRow("no 0D reads as empty") << QStringList{"8504001901"} << "0:  ..  |  |  | --- ..";
    QTest::newRow("beyond the ring clamps to 4319, flag 02 is not wrapped")
        << QStringList{"850410E002000D"}
        << "432: 0000-0009 000A-0013 .. 10CC-10D5 10D6-10DE | " + slot0 +
               "4319:43.18 | Download: 100% finished | SPC 0001..4319";
    // The streamed transfer expects run-time minutes / 10 records (X = 5, then 3).
    const QStringList runTime{"", "850357AA000D", "85066732000000000D"};
    const QString streamed = "1: 850357AA000D .. 850357AA000D | ";
    QTest::newRow("streamed, 7 bytes a read, 5 silent polls, numbered by their own field")
        << runTime + QStringList{"7", "5", "1", "2", "7", "8", "10"}
        << streamed + "0001:0.01 .. 0010:0.10 | Download: 100% finished | SPC 0001..0010";
    QTest::newRow("streamed, more records than expected")
        << QStringList{"", "850357AA000D", "8506671E000000000D", "99", "0", "1", "2", "3", "4"}
        << streamed +
               "0001,0.01,1.01,2.01,3.01 ; 0002,0.02,1.02,2.02,3.02 ; "
               "0003,0.03,1.03,2.03,3.03 | Download: 100% finished | SPC 0001..0003";
    QTest::newRow("streamed, no run time")
        << QStringList{"", "850357AA000D", ""} << streamed + " |  | --- ..";
}

void DatalogTest::download() {
    QFETCH(QStringList, in);
    QFETCH(QString, out);
    FakeExchange ex;
    ex.reply = [&](const QString& f) {
        if (f == "850375AA000D" || f == in.value(1)) {
            return f == in.value(1) ? in[2] : in[0];
        }
        QString records;
        for (int s = f.mid(8, 4).toInt(nullptr, 16); s <= f.mid(12, 4).toInt(nullptr, 16); ++s) {
            records += slotRecord(s);
        }
        return blockOf(records);
    };
    QByteArray stream = QByteArray::fromHex("850066") + QByteArray(13, char(0xAA));
    for (const QString& n : in.mid(5)) {
        stream += QByteArray::fromHex(slotRecord(n.toInt()).toLatin1());
    }
    for (int i = 0; in.size() > 5 && i < stream.size(); i += in[3].toInt()) {
        ex.streamReads << stream.mid(i, in[3].toInt());
        for (int k = 0; i == 0 && k < in[4].toInt(); ++k) {
            ex.streamReads << QByteArray();  // silent polls short of the idle rule
        }
    }
    const int streamReads = int(ex.streamReads.size());
    QStringList texts{""};
    QList<bool> visible;
    QStringList percents;  // the number reported with each caption, as the caption words it
    const DownloadResult r = DownloadLog(
        ex, {[&](const QString& t) { texts << t; },
             [&](bool v) { visible << v; },
             {},
             [&](int p) { percents << QStringLiteral("Download: %1% finished").arg(p); }});
    QStringList requests;  // a block request 850678AA ffff llll 0D shows as ffff-llll
    for (const QString& f : ex.requests.mid(1)) {
        requests << QString(f).replace(QRegularExpression("^850678AA(....)(....)0D$"), "\\1-\\2");
    }
    LogTableModel table;
    table.setRows(r.rows);
    const LogFinish f = FinishDownload(table, QDateTime(QDate(2026, 11, 21), QTime(11, 7, 59)),
                                       QLocale(QLocale::English, QLocale::UnitedKingdom));
    const QStringList rows = rowTexts(r.rows);
    auto brief = [](const LogRow& row) { return row[0] + ":" + row[1]; };
    const QString got = QString::number(requests.size()) + ": " + requests.mid(0, 2).join(' ') +
                        " .. " + requests.mid(qMax(0, requests.size() - 2)).join(' ') + " | " +
                        (rows.size() > 3 ? brief(r.rows.front()) + " .. " + brief(r.rows.back())
                                         : rows.join(" ; ")) +
                        " | " + texts.last() + " | " + finishState(f);
    QCOMPARE(got, out);
    // The captions after the one that clears the label at the start.
    QCOMPARE(percents, texts.mid(2));
    QCOMPARE(f.labTime, QString("Time: 21/11/2026 11:00"));  // minutes down to whole tens
    QCOMPARE(ex.requests.first(), QString("850375AA000D"));
    QCOMPARE(r.streamed, in[0].isEmpty());
    QCOMPARE(r.blocksSkipped, int(!r.streamed && in.value(2, "-").isEmpty()));
    const bool started = r.streamed && !in.value(2).isEmpty();
    QCOMPARE(ex.written, started ? QList<QByteArray>{QByteArray::fromHex("850356AA000D")}
                                 : QList<QByteArray>());
    QCOMPARE(ex.reads, started ? streamReads + 6 : 0);
    if (started) {
        // 0.1 s before the start, then 0.2 s a poll; the sixth empty poll in a row ends it.
        QCOMPARE(ex.waits, QList<float>{0.1f} + QList<float>(ex.reads, 0.2f));
    } else if (!r.streamed) {
        QCOMPARE(visible, (QList<bool>{true, false}));
        QCOMPARE(texts.mid(1).size(), rows.size() + 1);  // emptied first, then set once a row
    }
}

QTEST_MAIN(DatalogTest)

namespace {

// A block reply as the charger sends it, checksum included.
QString soundBlock(int first, int last) {
    QByteArray body = QByteArray::fromHex("88AA");
    for (int s = first; s <= last; ++s) {
        body += QByteArray::fromHex(slotRecord(s).toLatin1());
    }
    const QByteArray length(1, char(body.size() + 1));
    quint32 sum = quint8(length[0]);
    for (char c : body) {
        sum += quint8(c);
    }
    const QByteArray frame = "\x85" + length + body + QByteArray(1, char(sum)) + "\x0D";
    return QString::fromLatin1(frame.toHex().toUpper());
}

QString numbers(const std::vector<int>& list) {
    QStringList out;
    for (int n : list) {
        out << QString::number(n);
    }
    return out.join(',');
}

}  // namespace

// What a download reports beside its rows: the records asked for, and which of them did not
// come or came in a reply that failed the check.
void DatalogTest::shortfall_data() {
    QTest::addColumn<QString>("pointer");    // pointer reply; empty: the streamed transfer
    QTest::addColumn<QString>("block");      // what block 0010-0019 brings: sound, none, cut,
                                             // checksum, endless
    QTest::addColumn<QList<int>>("stream");  // record numbers of the streamed transfer
    QTest::addColumn<int>("rows");
    QTest::addColumn<int>("asked");
    QTest::addColumn<QString>("missing");
    QTest::addColumn<QString>("damaged");
    QTest::addColumn<QString>("report");  // what the window shows beside the progress

    const auto row = [](const char* name, const QString& pointer, const char* block,
                        const QList<int>& stream, int rows, int asked, const QString& missing,
                        const QString& damaged, const char* report) {
        QTest::newRow(name) << pointer << QString(block) << stream << rows << asked << missing
                            << damaged << QString(report);
    };
    const QString p25 = "85040019001D0D";  // 25 records, not wrapped, sound
    const QString tens = "10,11,12,13,14,15,16,17,18,19";
    row("sound", p25, "sound", {}, 25, 25, "", "", "");
    row("block without reply", p25, "none", {}, 15, 25, tens, "",
        "10 of 25 records missing (0010-0019)");
    // Seven records whole, the eighth cut inside: it still makes a row, a damaged one.
    row("block cut", p25, "cut", {}, 23, 25, "18,19", "17",
        "2 of 25 records missing (0018-0019); 1 damaged (0017)");
    row("block with a wrong checksum", p25, "checksum", {}, 25, 25, "", tens,
        "10 damaged (0010-0019)");
    row("pointer with a wrong checksum", "8504001900FF0D", "sound", {}, 25, 25, "", "",
        "log pointer (read as 25): checksum FF, the bytes add up to 1D");
    row("line never quiet on a block", p25, "endless", {}, 10, 25,
        "10,11,12,13,14,15,16,17,18,19,20,21,22,23,24", "", "15 of 25 records missing (0010-0024)");
    row("stream sound", "", "", {1, 2, 3, 4, 5}, 5, 5, "", "", "");
    row("stream cut short", "", "", {1, 2, 3}, 3, 5, "4,5", "",
        "2 of 5 records missing (0004-0005)");
    row("stream out of sequence", "", "", {1, 2, 4, 5}, 4, 5, "5", "3,4",
        "1 of 5 records missing (0005); 2 damaged (0003-0004)");
}

void DatalogTest::shortfall() {
    QFETCH(QString, pointer);
    QFETCH(QString, block);
    QFETCH(QList<int>, stream);
    QFETCH(int, rows);
    QFETCH(int, asked);
    QFETCH(QString, missing);
    QFETCH(QString, damaged);
    QFETCH(QString, report);
    FakeExchange ex;
    if (block == "endless") {
        ex.failOn = "850678AA000A00130D";
    }
    ex.reply = [&](const QString& f) -> QString {
        if (f == "850375AA000D") {
            return pointer;
        }
        if (f == "850357AA000D") {
            return QString("850667320000009F0D");  // 50 minutes: five records
        }
        const int first = f.mid(8, 4).toInt(nullptr, 16);
        const int last = f.mid(12, 4).toInt(nullptr, 16);
        const QString whole = soundBlock(first, last);
        if (first != 10 || block == "sound") {
            return whole;
        }
        if (block == "cut") {
            return whole.left(8 + 24 * 7 + 20);
        }
        if (block == "checksum") {
            return whole.left(whole.size() - 4) + "000D";
        }
        return {};
    };
    QByteArray bytes = QByteArray::fromHex("850066") + QByteArray(13, char(0xAA));
    for (int n : stream) {
        bytes += QByteArray::fromHex(record(n, n, 100 + n, 200 + n, 300 + n).toLatin1());
    }
    ex.streamReads << bytes;
    const DownloadResult r = DownloadLog(ex);
    QCOMPARE(int(r.rows.size()), rows);
    QCOMPARE(r.recordsAsked, asked);
    QCOMPARE(numbers(r.missing), missing);
    QCOMPARE(numbers(r.damaged), damaged);
    QCOMPARE(MissingDamagedText(r), report);
    QCOMPARE(r.sound(), report.isEmpty());
    QCOMPARE(!r.lineFailure.isEmpty(), block == "endless");
    if (block == "endless") {
        // Nothing more is sent into a line that never falls quiet.
        QCOMPARE(ex.requests.last(), QString("850678AA000A00130D"));
    }
}

// A streamed transfer that never falls quiet ends at its limit, not after twenty minutes.
void DatalogTest::streamNeverQuietEnds() {
    FakeExchange ex;
    ex.reply = [](const QString&) { return QString("850667320000009F0D"); };  // five records
    const StreamLimits limits = StreamLimitsFor(5);
    // One byte a poll: never enough to reach the byte limit, always enough to not be idle.
    for (int i = 0; i < limits.polls + 50; ++i) {
        ex.streamReads << QByteArray(1, char(0x55));
    }
    DownloadResult result;
    StreamLogDownload(ex, {}, &result);
    QCOMPARE(ex.reads, limits.polls);
    QVERIFY(limits.polls < 100);
    QVERIFY2(result.lineFailure.startsWith("the line did not fall quiet (still sending after"),
             qPrintable(result.lineFailure));
    QCOMPARE(numbers(result.missing), QString("1,2,3,4,5"));
}
