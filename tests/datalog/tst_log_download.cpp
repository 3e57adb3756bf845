#include "datalog/log_download.h"
#include "fake_exchange.h"

#include <QtTest>

using namespace zun::datalog;

namespace {

QString hex4(int v) {
    return QString::number(v & 0xFFFF, 16).toUpper().rightJustified(4, '0');
}

// One record on the wire: number, charger volts, amps, battery 1, battery 2 (hundredths), spare.
QString record(int number, int cv, int ca, int b1, int b2) {
    return hex4(number) + hex4(cv) + hex4(ca) + hex4(b1) + hex4(b2) + "0000";
}

// Values a slot of the scripted charger holds: easy to recognise in the rows.
QString slotRecord(int slot) {
    return record(slot, 2700 + slot % 100, 1000 + slot % 50, 1300 + slot % 7, 1290 + slot % 3);
}

QString makeBlockReply(const QString& records) {
    const int len = records.size() / 2 + 3;
    return "85" + hex4(len).right(2) + "88AA" + records + "00" + "0D";
}

QString makePointerReply(int pointer, bool wrapped) {
    return "8504" + hex4(pointer) + (wrapped ? "01" : "00") + "000D";
}

// Answers every block request with the records of the slots it names.
QString answerBlocks(const QString& frame) {
    if (!frame.startsWith("850678AA") || frame.size() != 18) {
        return {};
    }
    const int first = frame.mid(8, 4).toInt(nullptr, 16);
    const int last = frame.mid(12, 4).toInt(nullptr, 16);
    QString records;
    for (int s = first; s <= last; ++s) {
        records += slotRecord(s);
    }
    return makeBlockReply(records);
}

QString rowText(const LogRow& row) {
    return QStringList(row.begin(), row.end()).join(',');
}

QStringList rowTexts(const std::vector<LogRow>& rows) {
    QStringList out;
    for (const LogRow& r : rows) {
        out << rowText(r);
    }
    return out;
}

}  // namespace

class LogDownloadTest : public QObject {
    Q_OBJECT
private slots:
    void pointerReply_data();
    void pointerReply();
    void blockPlan_data();
    void blockPlan();
    void blockFrame_data();
    void blockFrame();
    void progressText_data();
    void progressText();
    void blockReply_data();
    void blockReply();
    void downloadUnwrapped();
    void downloadWrapped();
    void downloadSkipsSilentBlock();
    void downloadBadPointer_data();
    void downloadBadPointer();
    void streamed_data();
    void streamed();
    void streamedIdleRule();
};

void LogDownloadTest::pointerReply_data() {
    QTest::addColumn<QString>("reply");
    QTest::addColumn<bool>("answered");
    QTest::addColumn<int>("pointer");
    QTest::addColumn<bool>("wrapped");

    QTest::newRow("25 unwrapped") << makePointerReply(25, false) << true << 25 << false;
    QTest::newRow("5 wrapped") << makePointerReply(5, true) << true << 5 << true;
    QTest::newRow("4319 wrapped") << makePointerReply(4319, true) << true << 4319 << true;
    QTest::newRow("flag 02 is not wrapped") << "8504000502000D" << true << 5 << false;
    QTest::newRow("no 0D reads as empty log") << "8504001901" << true << 0 << false;
    QTest::newRow("empty reply: not answered") << "" << false << 0 << false;
    QTest::newRow("FFFF is the unset marker") << "8504FFFF01000D" << true << 0 << true;
    QTest::newRow("negative 16-bit clamps to 0") << "8504FFF000000D" << true << 0 << false;
    QTest::newRow("8000 clamps to 0") << "8504800001000D" << true << 0 << true;
    QTest::newRow("beyond the ring clamps to 4319") << "850410E000000D" << true << 4319 << false;
    QTest::newRow("7FFF clamps to 4319") << "85047FFF00000D" << true << 4319 << false;
    QTest::newRow("short pointer field") << "85040D" << true << 13 << false;
}

void LogDownloadTest::pointerReply() {
    QFETCH(QString, reply);
    QFETCH(bool, answered);
    QFETCH(int, pointer);
    QFETCH(bool, wrapped);
    const LogPointer p = ParsePointerReply(reply);
    QVERIFY2(p.answered == answered, qPrintable(reply));
    QVERIFY2(p.pointer == pointer,
             qPrintable(QString("%1 -> %2, expected %3").arg(reply).arg(p.pointer).arg(pointer)));
    QVERIFY2(p.wrapped == wrapped, qPrintable(reply));
}

void LogDownloadTest::blockPlan_data() {
    QTest::addColumn<int>("pointer");
    QTest::addColumn<bool>("wrapped");
    QTest::addColumn<int>("count");
    QTest::addColumn<QString>("head");  // first blocks, "first-last" joined by blanks
    QTest::addColumn<QString>("tail");  // last blocks

    QTest::newRow("25 unwrapped") << 25 << false << 3 << "0-9 10-19 20-24"
                                  << "20-24";
    QTest::newRow("0 unwrapped reads nothing") << 0 << false << 0 << ""
                                               << "";
    QTest::newRow("1 unwrapped") << 1 << false << 1 << "0-0"
                                 << "0-0";
    QTest::newRow("10 unwrapped") << 10 << false << 1 << "0-9"
                                  << "0-9";
    QTest::newRow("11 unwrapped") << 11 << false << 2 << "0-9 10-10"
                                  << "10-10";
    QTest::newRow("4319 unwrapped") << 4319 << false << 432 << "0-9"
                                    << "4310-4318";
    QTest::newRow("5 wrapped") << 5 << true << 433 << "7-16 17-26"
                               << "4317-4319 0-5";
    QTest::newRow("0 wrapped") << 0 << true << 433 << "2-11"
                               << "4312-4319 0-0";
    QTest::newRow("4318 wrapped: first range empty") << 4318 << true << 432 << "0-9"
                                                     << "4310-4318";
    QTest::newRow("4317 wrapped: first range is slot 4319")
        << 4317 << true << 433 << "4319-4319 0-9"
        << "4310-4317";
    QTest::newRow("4319 wrapped: every slot, in one range") << 4319 << true << 432 << "0-9"
                                                            << "4310-4319";
    QTest::newRow("negative clamps") << -40 << false << 0 << ""
                                     << "";
    QTest::newRow("too large clamps") << 30000 << false << 432 << "0-9"
                                      << "4310-4318";
}

void LogDownloadTest::blockPlan() {
    QFETCH(int, pointer);
    QFETCH(bool, wrapped);
    QFETCH(int, count);
    QFETCH(QString, head);
    QFETCH(QString, tail);
    const auto blocks = PlanBlocks(pointer, wrapped);
    QStringList all;
    int records = 0;
    for (const LogBlock& b : blocks) {
        all << QString("%1-%2").arg(b.first).arg(b.last);
        QVERIFY2(b.last >= b.first && b.last - b.first < 10 && b.first >= 0 && b.last <= 4319,
                 qPrintable(all.last()));
        records += b.last - b.first + 1;
    }
    QCOMPARE(int(blocks.size()), count);
    const QStringList h = head.split(' ', Qt::SkipEmptyParts);
    const QStringList t = tail.split(' ', Qt::SkipEmptyParts);
    QCOMPARE(all.mid(0, h.size()), h);
    QCOMPARE(all.mid(all.size() - t.size()), t);
    if (wrapped) {
        // Every slot but N + 1 is read once; with N = 4319 there is no slot N + 1.
        QCOMPARE(records, pointer == 4319 ? 4320 : 4319);
    }
}

void LogDownloadTest::blockFrame_data() {
    QTest::addColumn<int>("first");
    QTest::addColumn<int>("last");
    QTest::addColumn<QString>("frame");
    QTest::newRow("0-9") << 0 << 9 << "850678AA000000090D";
    QTest::newRow("10-19") << 10 << 19 << "850678AA000A00130D";
    QTest::newRow("20-24") << 20 << 24 << "850678AA001400180D";
    QTest::newRow("7-16") << 7 << 16 << "850678AA000700100D";
    QTest::newRow("4317-4319") << 4317 << 4319 << "850678AA10DD10DF0D";
    QTest::newRow("0-5") << 0 << 5 << "850678AA000000050D";
}

void LogDownloadTest::blockFrame() {
    QFETCH(int, first);
    QFETCH(int, last);
    QFETCH(QString, frame);
    QCOMPARE(BlockFrame(first, last), frame);
}

void LogDownloadTest::progressText_data() {
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("total");
    QTest::addColumn<QString>("text");
    QTest::newRow("first of 25") << 1 << 25 << "Download: 4% finished";
    QTest::newRow("last of 25") << 25 << 25 << "Download: 100% finished";
    QTest::newRow("truncates 2/3") << 2 << 3 << "Download: 66% finished";
    QTest::newRow("4319 of 4320") << 4319 << 4320 << "Download: 99% finished";
    QTest::newRow("no total, no text") << 3 << 0 << "";
}

void LogDownloadTest::progressText() {
    QFETCH(int, count);
    QFETCH(int, total);
    QFETCH(QString, text);
    QCOMPARE(ProgressText(count, total), text);
}

void LogDownloadTest::blockReply_data() {
    QTest::addColumn<QString>("reply");
    QTest::addColumn<int>("counterBefore");
    QTest::addColumn<QStringList>("rows");

    QTest::newRow("three records")
        << makeBlockReply(record(0, 2760, 1250, 1380, 1379) + record(1, 2761, 1249, 1381, 1378) +
                          record(2, 2762, 1, 0, 65534))
        << 0
        << QStringList{"0001,27.60,12.50,13.80,13.79", "0002,27.61,12.49,13.81,13.78",
                       "0003,27.62,0.01,0.00,655.34"};
    QTest::newRow("counter continues, FFFF unset marker reads 0")
        << makeBlockReply(record(9, 0xFFFF, 0x00FF, 0x0FFF, 2)) << 41
        << QStringList{"0042,0.00,2.55,40.95,0.02"};
    // 12 to 23 characters still give a row; the missing fields are empty and read 0.
    QTest::newRow("truncated last record (14 characters)")
        << makeBlockReply(record(0, 2760, 1250, 1380, 1379) + "00010AC804E212") << 0
        << QStringList{"0001,27.60,12.50,13.80,13.79", "0002,27.60,12.50,0.18,0.00"};
    QTest::newRow("remainder of 12 characters")
        << makeBlockReply("00010AC804E2") << 0 << QStringList{"0001,27.60,12.50,0.00,0.00"};
    QTest::newRow("remainder of 11 characters gives nothing")
        << makeBlockReply("00010AC804E") << 0 << QStringList{};
    QTest::newRow("malformed field enters as 0")
        << makeBlockReply("0001" + QString("0AZ8") + "04E2" + "0564" + "0563" + "0000") << 0
        << QStringList{"0001,0.00,12.50,13.80,13.79"};
    QTest::newRow("head only") << QString("8503880D") << 0 << QStringList{};
    QTest::newRow("counter past 9999 keeps every digit")
        << makeBlockReply(record(0, 100, 200, 300, 400)) << 9999
        << QStringList{"10000,1.00,2.00,3.00,4.00"};
}

void LogDownloadTest::blockReply() {
    QFETCH(QString, reply);
    QFETCH(int, counterBefore);
    QFETCH(QStringList, rows);
    int counter = counterBefore;
    const auto got = DecodeBlockReply(reply, counter);
    QCOMPARE(rowTexts(got), rows);
    QCOMPARE(counter, counterBefore + int(rows.size()));
}

void LogDownloadTest::downloadUnwrapped() {
    FakeExchange ex;
    ex.replies["850375AA000D"] = makePointerReply(25, false);
    ex.responder = answerBlocks;
    QStringList progress;
    QList<bool> visible;
    int rowsSeen = 0;
    DownloadProgress cb;
    cb.text = [&](const QString& t) { progress << t; };
    cb.visible = [&](bool v) { visible << v; };
    cb.row = [&](const LogRow&) { ++rowsSeen; };

    const DownloadResult r = DownloadLog(ex, cb);
    QCOMPARE(ex.requests, (QStringList{"850375AA000D", "850678AA000000090D", "850678AA000A00130D",
                                       "850678AA001400180D"}));
    QCOMPARE(int(r.rows.size()), 25);
    QCOMPARE(rowsSeen, 25);
    QCOMPARE(rowText(r.rows.front()), QString("0001,27.00,10.00,13.00,12.90"));
    QCOMPARE(rowText(r.rows.back()), QString("0025,27.24,10.24,13.03,12.90"));
    QVERIFY(!r.streamed);
    QCOMPARE(progress.first(), QString());  // LabDownDisp emptied first
    QCOMPARE(progress.last(), QString("Download: 100% finished"));
    QCOMPARE(progress.size(), 26);
    QCOMPARE(visible, (QList<bool>{true, false}));
    QVERIFY(ex.written.isEmpty());
}

void LogDownloadTest::downloadWrapped() {
    FakeExchange ex;
    ex.replies["850375AA000D"] = makePointerReply(5, true);
    ex.responder = answerBlocks;
    QStringList progress;
    DownloadProgress cb;
    cb.text = [&](const QString& t) { progress << t; };
    const DownloadResult r = DownloadLog(ex, cb);

    QCOMPARE(ex.requests.size(), 1 + 433);
    QCOMPARE(ex.requests.at(1), QString("850678AA000700100D"));
    QCOMPARE(ex.requests.at(432), QString("850678AA10DD10DF0D"));
    QCOMPARE(ex.requests.at(433), QString("850678AA000000050D"));
    QVERIFY2(!ex.requests.contains("850678AA000600060D"), "slot N + 1 is never read");
    QCOMPARE(int(r.rows.size()), 4319);
    // Oldest first: slot 7 is row 0001, slot 5 (the newest) is the last row.
    QCOMPARE(rowText(r.rows.front()), QString("0001,27.07,10.07,13.00,12.91"));
    QCOMPARE(rowText(r.rows.back()), QString("4319,27.05,10.05,13.05,12.92"));
    QCOMPARE(progress.last(), QString("Download: 99% finished"));  // against 4320
}

void LogDownloadTest::downloadSkipsSilentBlock() {
    FakeExchange ex;
    ex.replies["850375AA000D"] = makePointerReply(25, false);
    ex.replies["850678AA000A00130D"] = "";  // the charger does not answer this block
    ex.responder = answerBlocks;
    const DownloadResult r = DownloadLog(ex);
    QCOMPARE(ex.requests.size(), 4);  // no retry
    QCOMPARE(r.blocksSkipped, 1);
    QCOMPARE(int(r.rows.size()), 15);
    // The counter goes on without a gap; the values after the gap are those of slots 20..24.
    QCOMPARE(rowText(r.rows.at(10)), QString("0011,27.20,10.20,13.06,12.92"));
    QCOMPARE(rowText(r.rows.back()), QString("0015,27.24,10.24,13.03,12.90"));
}

void LogDownloadTest::downloadBadPointer_data() {
    QTest::addColumn<QString>("reply");
    QTest::addColumn<int>("blockRequests");
    QTest::newRow("negative pointer") << "8504FFF000000D" << 0;
    QTest::newRow("huge pointer, unwrapped") << "85047FFF00000D" << 432;
    QTest::newRow("reply without 0D") << "85047FFF0000" << 0;
}

void LogDownloadTest::downloadBadPointer() {
    QFETCH(QString, reply);
    QFETCH(int, blockRequests);
    FakeExchange ex;
    ex.replies["850375AA000D"] = reply;
    ex.responder = answerBlocks;
    const DownloadResult r = DownloadLog(ex);
    QCOMPARE(ex.requests.size() - 1, blockRequests);
    for (const QString& f : ex.requests.mid(1)) {
        const int last = f.mid(12, 4).toInt(nullptr, 16);
        QVERIFY2(last <= 4319, qPrintable(f));
    }
    QCOMPARE(int(r.rows.size()), blockRequests == 0 ? 0 : 4319);
}

namespace {

QByteArray streamBytes(const QList<int>& numbers) {
    QByteArray out = QByteArray::fromHex("850066") + QByteArray(13, char(0xAA));
    for (int n : numbers) {
        out += QByteArray::fromHex(record(n, 2700 + n, 1000 + n, 1300, 1290).toLatin1());
    }
    return out;
}

QList<QByteArray> chunks(const QByteArray& bytes, int size) {
    QList<QByteArray> out;
    for (int i = 0; i < bytes.size(); i += size) {
        out << bytes.mid(i, size);
    }
    return out;
}

}  // namespace

void LogDownloadTest::streamed_data() {
    QTest::addColumn<int>("minutes");
    QTest::addColumn<QList<int>>("numbers");
    QTest::addColumn<int>("chunk");
    QTest::addColumn<QStringList>("rows");
    QTest::addColumn<QString>("lastProgress");

    const QStringList five = {"0001,27.01,10.01,13.00,12.90", "0002,27.02,10.02,13.00,12.90",
                              "0003,27.03,10.03,13.00,12.90", "0004,27.04,10.04,13.00,12.90",
                              "0005,27.05,10.05,13.00,12.90"};
    QTest::newRow("all at once") << 50 << QList<int>{1, 2, 3, 4, 5} << 4096 << five
                                 << "Download: 100% finished";
    QTest::newRow("seven bytes a read")
        << 59 << QList<int>{1, 2, 3, 4, 5} << 7 << five << "Download: 100% finished";
    QTest::newRow("one byte a read")
        << 50 << QList<int>{1, 2, 3, 4, 5} << 1 << five << "Download: 100% finished";
    QTest::newRow("numbered by their own field")
        << 50 << QList<int>{1, 2, 7, 8, 10} << 5
        << QStringList{"0001,27.01,10.01,13.00,12.90", "0002,27.02,10.02,13.00,12.90",
                       "0007,27.07,10.07,13.00,12.90", "0008,27.08,10.08,13.00,12.90",
                       "0010,27.10,10.10,13.00,12.90"}
        << "Download: 100% finished";
    QTest::newRow("more records than expected")
        << 30 << QList<int>{1, 2, 3, 4, 5} << 4096 << five.mid(0, 3) << "Download: 100% finished";
    QTest::newRow("fewer records than expected")
        << 100 << QList<int>{1, 2, 3} << 4096 << five.mid(0, 3) << "Download: 30% finished";
}

void LogDownloadTest::streamed() {
    QFETCH(int, minutes);
    QFETCH(QList<int>, numbers);
    QFETCH(int, chunk);
    QFETCH(QStringList, rows);
    QFETCH(QString, lastProgress);

    FakeExchange ex;
    // No reply to the pointer request: the older transfer takes over.
    ex.replies["850357AA000D"] =
        "850667" + hex4(minutes).right(2) + hex4(minutes).left(2) + "0000" + "000D";
    ex.streamReads = chunks(streamBytes(numbers), chunk);
    QStringList progress;
    DownloadProgress cb;
    cb.text = [&](const QString& t) { progress << t; };
    const DownloadResult r = DownloadLog(ex, cb);

    QVERIFY(r.streamed);
    QCOMPARE(ex.requests, (QStringList{"850375AA000D", "850357AA000D"}));
    QCOMPARE(ex.written, (QList<QByteArray>{QByteArray::fromHex("850356AA000D")}));
    QCOMPARE(rowTexts(r.rows), rows);
    QCOMPARE(progress.last(), lastProgress);
    QCOMPARE(ex.waits.first(), 0.1f);
}

void LogDownloadTest::streamedIdleRule() {
    FakeExchange ex;
    ex.replies["850357AA000D"] = "850667320000" + QString("00") + "000D";  // 50 minutes
    const QList<QByteArray> data = chunks(streamBytes({1, 2, 3}), 20);
    // Data, five silent polls, more data, then silence: five in a row do not end the loop.
    ex.streamReads = data.mid(0, 2);
    for (int i = 0; i < 5; ++i) {
        ex.streamReads << QByteArray();
    }
    ex.streamReads << data.mid(2);
    const int dataReads = int(data.size());
    const auto rows = StreamLogDownload(ex);
    QCOMPARE(int(rows.size()), 3);
    // Every poll waits 0.2 s; the loop ends on the sixth empty poll in a row.
    QCOMPARE(ex.reads, dataReads + 5 + 6);
    QCOMPARE(ex.waits.size(), 1 + ex.reads);
    for (int i = 1; i < ex.waits.size(); ++i) {
        QCOMPARE(ex.waits.at(i), 0.2f);
    }

    FakeExchange silent;  // no run-time reply: nothing expected, nothing written
    QVERIFY(StreamLogDownload(silent).empty());
    QVERIFY(silent.written.isEmpty());
    QCOMPARE(silent.reads, 0);

    FakeExchange zero;
    zero.replies["850357AA000D"] = "8506670900000000" + QString("0D");  // 9 minutes: X = 0
    QVERIFY(StreamLogDownload(zero).empty());
    QVERIFY(zero.written.isEmpty());
}

int runLogDownloadTest(int argc, char** argv) {
    LogDownloadTest t;
    return QTest::qExec(&t, argc, argv);
}

#include "tst_log_download.moc"
