#include "cli_e2e_support.h"
#include "link/frames.h"
#include "sim/charge_log.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QtTest>

using namespace zun;
using namespace e2e;

namespace {

// "endless", "stray", "checksum", "other", "cut:N" or "vanish:N", for the commands listed
// (hex, comma-separated).
sim::Faults faultsFrom(const QString& fault, const QString& commands) {
    sim::Faults f;
    for (const QString& c : commands.split(',', Qt::SkipEmptyParts)) {
        f.onlyFor.append(quint8(c.toInt(nullptr, 16)));
    }
    const QString name = fault.section(':', 0, 0);
    const int n = fault.section(':', 1, 1).toInt();
    if (name == "endless") {
        f.endless = true;
    } else if (name == "stray") {
        f.garbageBefore = QByteArray("\x00\xFF\x13", 3);
    } else if (name == "checksum") {
        f.badChecksum = true;
    } else if (name == "other") {
        f.otherReply = true;
    } else if (name == "cut") {
        f.truncateTo = n;
    } else if (name == "vanish") {
        f.vanishAt = n;
    } else if (name != "none") {
        qFatal("unknown fault %s", qPrintable(fault));
    }
    return f;
}

int csvRecords(const QString& path) {
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly)) {
        return -1;
    }
    // Four head lines: file type, time, description, column names.
    const QList<QByteArray> lines = f.readAll().split('\n');
    return int(std::count_if(lines.cbegin(), lines.cend(),
                             [](const QByteArray& l) { return !l.trimmed().isEmpty(); })) -
           4;
}

}  // namespace

// Every fault a line can bring, on every kind of exchange, through zunctl over a paced
// pseudo-terminal: the exit code, what it says and what it saved.
class TestCliFaults : public QObject {
    Q_OBJECT
private slots:
    void faultTable_data();
    void faultTable();
    void searchPassesOverAPortThatNeverFallsQuiet();
    void fastLogSendsTheSameFramesAndSavesTheSameFile();
    void jsonListsTheMissingRecords();

private:
    QTemporaryDir dir_;
};

void TestCliFaults::faultTable_data() {
    QTest::addColumn<QStringList>("args");  // after --port DEVICE
    QTest::addColumn<QString>("fault");
    QTest::addColumn<QString>("commands");
    QTest::addColumn<bool>("streamed");  // a charger without the log pointer
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("err");  // a pattern stderr must hold
    QTest::addColumn<int>("saved");    // records in the saved file; -1: no file; -2: any

    const QStringList log{"log", "-o", "LOG"};
    const QStringList write{"write", known::kFile, "--profile", "1", "--pages", "general"};
    const auto row = [](const char* name, const QStringList& args, const char* fault,
                        const char* commands, bool streamed, int code, const char* err,
                        int saved = -1) {
        QTest::newRow(name) << args << QString(fault) << QString(commands) << streamed << code
                            << QString(err) << saved;
    };
    const QStringList id{"identify"};
    row("identify endless", id, "endless", "50", false, 1, "did not fall quiet");
    row("identify cut", id, "cut:5", "50", false, 5,
        "identification reply 8504600C30 failed the check \\(5 of 7");
    row("identify stray", id, "stray", "50", false, 5, "start byte 00, not 85");
    row("identify checksum", id, "checksum", "50", false, 5, "checksum FA");
    row("identify other reply", id, "other", "50", false, 5,
        "length byte 06, not 04\\); it would read as model 64000");
    row("identify checksum accepted", {"--accept-damaged", "identify"}, "checksum", "50", false, 0,
        "^$");
    // A pseudo-terminal shows its end only at the next write or read: here the cut reply is
    // all that is seen.
    row("identify port vanishes", id, "vanish:3", "50", false, 5,
        "failed the check \\(3 of 7 bytes");
    row("settings endless", {"settings"}, "endless", "59", false, 1,
        "settings request: the line did not fall quiet");
    row("settings cut", {"settings"}, "cut:400", "59", false, 5,
        "settings reply failed the check \\(400 of 802 bytes");
    row("settings checksum, fast", {"--fast", "settings"}, "checksum", "59", false, 5,
        "settings reply failed the check \\(checksum");
    row("run time other reply", {"runtime"}, "other", "57", false, 5,
        "run-time reply failed the check");
    row("live cut", {"live"}, "cut:10", "58", false, 5,
        "live-reading reply failed the check \\(10 of 21");
    row("page write endless", write, "endless", "51", false, 1,
        "general: the charger did not acknowledge \\(the line did not fall quiet");
    row("page write answered by another command", write, "other", "51", false, 1,
        "did not acknowledge \\(reply 850667FA000000670D\\)");
    row("log blocks cut", log, "cut:100", "78", false, 5,
        "4 of 25 records missing \\(0008-0009, 0018-0019\\)", 21);
    row("log blocks stray", log, "stray", "78", false, 5, "25 damaged \\(0000-0024\\)", 25);
    row("log blocks checksum accepted", {"--accept-damaged", "log", "-o", "LOG"}, "checksum", "78",
        false, 0, "block 0010-0019: checksum", 25);
    row("log block endless", log, "endless", "78", false, 1,
        "did not fall quiet \\(more than 190 bytes.*; nothing was saved");
    row("log port vanishes", log, "vanish:60", "78", false, 1,
        "block 0000-0009: .*records missing.*port vanished during the exchange; what came is "
        "saved",
        -2);
    // The pointer read from the damaged reply (4319) is used as the protocol says; what it
    // costs is reported. Fast mode keeps the 432 block requests short.
    row("log pointer stray, fast", {"--fast", "log", "-o", "LOG"}, "stray", "75", false, 5,
        "log pointer \\(read as 4319\\): start byte 00.*4294 of 4319 records missing "
        "\\(0025-4318\\)",
        25);
    row("stream cut", log, "cut:160", "56", true, 5, "13 of 25 records missing \\(0013-0025\\)",
        12);
    row("stream endless", log, "endless", "56", true, 1,
        "streamed transfer: the line did not fall quiet", 25);
    row("stream port vanishes", log, "vanish:200", "56", true, 1,
        "records missing.*the port vanished during the transfer; what came is saved", -2);
    row("stream sound", log, "none", "", true, 0, "^[^z]*$", 25);
}

void TestCliFaults::faultTable() {
    QFETCH(QStringList, args);
    QFETCH(QString, fault);
    QFETCH(QString, commands);
    QFETCH(bool, streamed);
    QFETCH(int, code);
    QFETCH(QString, err);
    QFETCH(int, saved);

    Sim sim(3120);  // the example settings file fits it
    sim.host.setPacing(true);
    sim.charger.setLog(sim::ChargeLog::Unwrapped(25));
    sim.charger.setRunTimeMinutes(250);  // the streamed transfer expects 25 records
    sim::Faults f = faultsFrom(fault, commands);
    f.ignorePointerRequest = streamed;
    sim.charger.setFaults(f);
    const QString path = dir_.filePath(QString(QTest::currentDataTag()).replace(' ', '-') + ".csv");
    args.replaceInStrings(QRegularExpression("^LOG$"), path);

    QElapsedTimer t;
    t.start();
    const Run r = zunctl(QStringList{"--port", sim.device()} + args, 180000);
    QVERIFY2(r.code == code, qPrintable(r.all()));
    QVERIFY2(QRegularExpression(err, QRegularExpression::DotMatchesEverythingOption)
                 .match(r.err)
                 .hasMatch(),
             qPrintable(r.all()));
    if (saved != -2) {
        QCOMPARE(csvRecords(path), saved);
    }
    // Never a hang: a generous bound, far below the minutes a line that never ends took.
    QVERIFY2(t.elapsed() < 90000, qPrintable(QString::number(t.elapsed())));
}

void TestCliFaults::searchPassesOverAPortThatNeverFallsQuiet() {
    Sim noisy(3110);
    noisy.host.setPacing(true);
    noisy.charger.setFaults(faultsFrom("endless", ""));
    Sim charger(3120);
    charger.host.setPacing(true);
    const QStringList devices{"--device", noisy.device(), "--device", charger.device(),
                              "--only-given-ports"};

    const Run found = zunctl(devices + QStringList{"identify"}, 60000);
    QVERIFY2(found.code == 0, qPrintable(found.all()));
    QVERIFY2(found.out.contains("device: " + charger.device()), qPrintable(found.all()));
    QVERIFY2(found.out.contains("model: 3120"), qPrintable(found.all()));

    const Run ports = zunctl(devices + QStringList{"ports"}, 60000);
    QVERIFY2(ports.code == 0, qPrintable(ports.all()));
    QVERIFY2(ports.out.contains(
                 QRegularExpression("Com1 +" + noisy.device() + "  the line did not fall quiet")),
             qPrintable(ports.all()));
    QVERIFY2(ports.out.contains(QRegularExpression("Com2 +" + charger.device() + "  \\* charger")),
             qPrintable(ports.all()));

    // Alone, the noisy port is no charger: exit 3 with the reason.
    const Run alone = zunctl({"--device", noisy.device(), "--only-given-ports", "identify"});
    QVERIFY2(alone.code == 3, qPrintable(alone.all()));
    QVERIFY2(alone.err.contains("the line did not fall quiet"), qPrintable(alone.all()));
}

void TestCliFaults::fastLogSendsTheSameFramesAndSavesTheSameFile() {
    Sim sim(3110);
    sim.host.setPacing(true);
    sim.charger.setLog(sim::ChargeLog::Unwrapped(95));
    QStringList requests[2];
    QList<QByteArray> files[2];
    for (int fast = 0; fast < 2; ++fast) {
        sim.charger.clearRequests();
        const QString path = dir_.filePath(QStringLiteral("same-%1.csv").arg(fast));
        QStringList args{"--port", sim.device(), "log", "-o", path};
        if (fast) {
            args.prepend("--fast");
        }
        const Run r = zunctl(args, 120000);
        QVERIFY2(r.code == 0, qPrintable(r.all()));
        requests[fast] = sim.charger.requests();
        files[fast] = readFile(path).split('\n');
    }
    QCOMPARE(requests[1], requests[0]);
    QCOMPARE(requests[0].size(), 2 + 10);  // identify, pointer, ten blocks
    // The time line may differ by a ten-minute step if the runs straddle one; the rest may not.
    files[0].removeAt(1);
    files[1].removeAt(1);
    QCOMPARE(files[1], files[0]);
    QCOMPARE(files[0].size(), 3 + 95 + 1);
}

void TestCliFaults::jsonListsTheMissingRecords() {
    Sim sim(3110);
    sim.charger.setLog(sim::ChargeLog::Unwrapped(25));
    sim::Faults f;
    f.dropEvery = 3;  // identify, pointer answered; the first block's reply is lost
    sim.charger.setFaults(f);
    const QString path = dir_.filePath("json.csv");
    const Run r = zunctl({"--port", sim.device(), "--json", "log", "-o", path});
    QVERIFY2(r.code == 5, qPrintable(r.all()));
    const QJsonObject o = QJsonDocument::fromJson(r.out.toUtf8()).object();
    QVERIFY2(!o.isEmpty(), qPrintable(r.out));
    QCOMPARE(o.value("recordsAsked").toInt(), 25);
    QCOMPARE(o.value("records").toInt(), 15);
    QJsonArray missing;
    for (int n = 0; n <= 9; ++n) {
        missing.append(n);
    }
    QCOMPARE(o.value("missing").toArray(), missing);
    QCOMPARE(o.value("damaged").toArray(), QJsonArray());
    QCOMPARE(o.value("saved").toString(), path);
    QVERIFY2(r.err.contains("10 of 25 records missing (0000-0009)"), qPrintable(r.err));
}

QTEST_GUILESS_MAIN(TestCliFaults)
#include "test_cli_faults.moc"
