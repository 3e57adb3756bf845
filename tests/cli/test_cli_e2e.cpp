#include "cli_e2e_support.h"

#include <QImage>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

using namespace zun;
using namespace e2e;

namespace {

// The known file's frames in the write-all order, worked out by hand from its values: head
// (length, command, profile), stage count or stage and any-stage target, then the values; a
// condition cell is its use and four hex digits, an unused temperature 273 K.
const QStringList kKnownFrames =
    QStringList{
        "850E5100 04B0 0064 0012 00FA 02 0190 000D",
        "850C5200 011B 0708 FFFF FF 0014 000D",
        "85105300 02 05A0 00C8 0564 0032 0546 0014 000D",
        "851D5400 0000 02058C 000000 000111 000000 000000 0201E0 000000 000000 000D",
        "851D5400 0100 000000 000000 000111 000000 020019 0200F0 000000 000000 000D",
        "851D5400 0200 000000 000000 02013E 000000 000000 000000 000000 000000 000D",
        "851D5500 0000 000000 000000 000111 000000 000000 000000 000000 000000 000D",
        "851D5500 0100 000000 000000 000111 000000 000000 000000 000000 000000 000D",
        "851D5500 0200 000000 000000 000111 000000 000000 000000 000000 000000 000D",
        "850E5101 04B0 0064 0012 00FA 02 0190 000D",
        "850C5201 013E 0708 FFFF FF 0018 000D",
        "85145301 03 05C8 0096 05A0 0064 0564 0032 0546 0014 000D",
        "851D5401 0000 0105A0 000000 000111 000000 010064 000000 000000 000000 000D",
        "851D5401 0100 000000 000000 000111 000000 000000 02012C 000000 000000 000D",
        "851D5401 0200 000000 000000 000111 000000 02001E 000000 000000 000000 000D",
        "851D5401 0300 000000 020005 000111 02000F 000000 000000 020032 020050 000D",
        "851D5501 0002 000000 000000 000111 000000 000000 02003C 000000 000000 000D",
        "851D5501 0103 000000 000000 020143 000000 000000 000000 000000 000000 000D",
        "851D5501 0200 000000 000000 000111 000000 020014 000000 000000 000000 000D",
        "851D5501 0300 020514 000000 000111 000000 000000 000000 000000 000000 000D",
    }
        .replaceInStrings(" ", "");

}  // namespace

class TestCliE2e : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void writeSettingsDryRunAndVerify();
    void unacknowledgedPageStopsTheWrite_data();
    void unacknowledgedPageStopsTheWrite();
    void failures_data();
    void failures();
    void readings();
    void portsAndTrace();
    void chart();
    void cloneScriptCopiesOneChargerOntoAnother();

private:
    QTemporaryDir dir_;
    QString dayLog_;
};

void TestCliE2e::initTestCase() {
    QVERIFY(dir_.isValid());
    // The README's example is a file exactly as zunctl writes it.
    QVERIFY2(readFile(known::kFile) == profile::SettingsToJson(known::Settings()),
             "scripts/example-settings.json is not written as zunctl writes it");
    QCOMPARE(dryRun(known::kFile), kKnownFrames);

    // A day of charging, 144 records: saved whole, and records 5 to 8 of it.
    Sim sim(3110);
    dayLog_ = dir_.filePath("day.csv");
    QCOMPARE(zunctl({"--port", sim.device(), "log", "-o", dayLog_}).out,
             "144 records downloaded; records 0001 to 0144 saved to " + dayLog_ + "\n");
    const QString part = dir_.filePath("part.csv");
    QCOMPARE(zunctl({"--port", sim.device(), "log", "-o", part, "--from", "5", "--to", "8"}).code,
             0);
    const QList<QByteArray> csv = readFile(part).split('\n');
    QCOMPARE(csv.size(), 4 + 4 + 1);
    QCOMPARE(csv.mid(4, 4), readFile(dayLog_).split('\n').mid(4 + 4, 4));
}

void TestCliE2e::writeSettingsDryRunAndVerify() {
    Sim sim;
    const Run w = zunctl({"--port", sim.device(), "write", known::kFile});
    QVERIFY2(w.code == 0, qPrintable(w.all()));
    QCOMPARE(lines(w.out).last(), QStringLiteral("profile 2 any: acknowledged"));
    const QStringList written = sim.writes();
    QCOMPARE(written, kKnownFrames);

    // A dry run identifies the charger, sends nothing else and prints what the write sent.
    sim.charger.clearRequests();
    const Run d = zunctl({"--port", sim.device(), "write", known::kFile, "--dry-run"});
    QCOMPARE(lines(d.out), written);
    QCOMPARE(sim.charger.requests(), QStringList{"850350AA000D"});
    // One profile's chosen pages, in the write-all order; the any-stage page as the file has it.
    QCOMPARE(dryRun(known::kFile, {"--profile", "2", "--pages", "any,stages"}),
             kKnownFrames.mid(11, 1) + kKnownFrames.mid(16, 4));

    const QString readBack = dir_.filePath("read-back.json");
    QCOMPARE(zunctl({"--port", sim.device(), "settings", "-o", readBack}).code, 0);
    // The file read back is the known file; no target and target stage 1 both go as 0.
    profile::SettingsFile wanted = known::Settings();
    for (link::ProfileSlot& p : wanted.profiles) {
        std::replace(p.anyTarget.begin(), p.anyTarget.end(), QString(), QStringLiteral("0"));
    }
    const QByteArray file = readFile(readBack);
    QCOMPARE(file.split('\n'), profile::SettingsToJson(wanted).split('\n'));
    QCOMPARE(zunctl({"--json", "--port", sim.device(), "settings"}).out.toUtf8(), file);
    // Printed, one line per field in use.
    const QString printed = zunctl({"--port", sim.device(), "settings"}).out;
    QVERIFY2(printed.contains("profiles[1].anyStage[1].target = null\n") &&
                 printed.contains("profiles[2].nextStage[1].chargingCurrentBelowA = and 10\n") &&
                 !printed.contains("= none") && !printed.contains("profiles[1].stages[4]"),
             qPrintable(printed));

    const Run same = zunctl({"--port", sim.device(), "verify", known::kFile});
    QCOMPARE(same.code, 0);
    QCOMPARE(same.out, "the charger holds the settings of " + known::kFile + "\n");
    profile::SettingsFile changed = known::Settings();
    changed.profiles[0].stages[3] = QStringLiteral("13.6");     // stage 2 voltage
    changed.profiles[1].nextCond[13] = QStringLiteral("2310");  // section time 300 -> 310
    changed.profiles[1].anyCond[9] = QStringLiteral("10");      // voltage rise now "and"
    changed.profiles[1].anyTarget[1] = QStringLiteral("2");     // stage 2 now jumps to 3
    // Not listed: what the charger does not keep or act on, and the same value written alike.
    changed.profiles[1].protection[2] = QStringLiteral("200");  // charge amount: never stored
    changed.profiles[0].stages[9] = QStringLiteral("12");       // beyond the 3 stages
    changed.profiles[0].nextCond[1] = QStringLiteral("07");     // a value of an unused cell
    changed.profiles[0].general[3] = QStringLiteral("25.00");
    const QString path = writeFile(dir_.filePath("changed.json"), profile::SettingsToJson(changed));
    const Run v = zunctl({"--port", sim.device(), "verify", path});
    QCOMPARE(v.code, 4);
    QCOMPARE(
        lines(v.out),
        (QStringList{"profiles[1].stages[2].voltageV: file 13.6, charger 13.8",
                     "profiles[2].nextStage[2].sectionTimeAboveMin.value: file 310, charger 300",
                     "profiles[2].anyStage[2].target: file 3, charger 4",
                     "profiles[2].anyStage[2].voltageRise5MinBelow.use: file and, charger none"}));
}

void TestCliE2e::unacknowledgedPageStopsTheWrite_data() {
    QTest::addColumn<int>("command");
    QTest::addColumn<int>("first");  // the page's first frame and its frame count
    QTest::addColumn<int>("count");
    QTest::addColumn<QString>("message");
    QTest::newRow("protection") << 0x52 << 1 << 1
                                << "zunctl: profile 1 protection: the charger did not "
                                   "acknowledge (reply 85036200650D)";
    QTest::newRow("next-stage conditions")
        << 0x54 << 3 << 3
        << "zunctl: profile 1 next: the charger did not acknowledge (stage 1: reply "
           "85036400670D; stage 2: reply 85036400670D; stage 3: reply 85036400670D)";
}

void TestCliE2e::unacknowledgedPageStopsTheWrite() {
    QFETCH(int, command);
    QFETCH(int, first);
    QFETCH(int, count);
    QFETCH(QString, message);
    Sim sim;
    sim::Faults faults;
    faults.wrongAck = true;
    faults.wrongAckCommand = quint8(command);
    sim.charger.setFaults(faults);
    const Run r = zunctl({"--port", sim.device(), "write", known::kFile});
    QCOMPARE(r.code, 1);
    QVERIFY2(r.err.startsWith(message), qPrintable(r.all()));
    // Each stage of a condition page is tried three times, as the window does; nothing follows.
    QStringList expected = kKnownFrames.mid(0, first);
    for (const QString& f : kKnownFrames.mid(first, count)) {
        expected << QStringList(first >= 3 ? 3 : 1, f);
    }
    QCOMPARE(sim.writes(), expected);
}

void TestCliE2e::failures_data() {
    // SILENT names a charger that never answers, CHARGER one that does; FILE holds the file.
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("message");
    auto row = [](const char* name, QStringList args, int code, const char* message,
                  const QByteArray& file = {}) {
        QTest::newRow(name) << args << file << code << message;
    };
    row("no ports at all", {"--only-given-ports", "identify"}, 3,
        "zunctl: no charger found: there are no serial ports");
    row("a silent charger on the given port", {"--port", "SILENT", "identify"}, 3,
        "zunctl: no charger found: nothing answered on SILENT");
    row("a device that does not exist", {"--port", "/dev/zun-no-such-port", "runtime"}, 3,
        "zunctl: /dev/zun-no-such-port: the port does not exist");
    row("ComN beyond the ports",
        {"--device", "SILENT", "--only-given-ports", "--port", "Com3", "live"}, 2,
        "zunctl: Com3 is not a port here (zunctl ports lists them)");
    // The file is judged before the charger is looked for.
    row("write, not JSON", {"--port", "SILENT", "write", "FILE"}, 2,
        "zunctl: FILE: not a settings file: it is not JSON", "stage 1: 14.4 V\n");
    row("verify, version 9", {"--port", "SILENT", "verify", "FILE"}, 2,
        "zunctl: FILE: settings file version 9 is not supported",
        "{\"format\": \"zun-settings\", \"version\": 9}");
    // A file with wrong fields is refused as a whole.
    profile::SettingsFile high = known::Settings();
    high.profiles[0].stages[3] = QStringLiteral("17.9");
    row("stage voltage above the limit", {"--port", "CHARGER", "write", "FILE"}, 2,
        "zunctl: profiles[1].stages[2].voltageV = 17.9: the page would make it 16\n"
        "zunctl: FILE: wrong fields; nothing was sent\n",
        profile::SettingsToJson(high));
    profile::SettingsFile volts = known::Settings();
    volts.profiles[1].general[0] = QStringLiteral("24");
    row("a 24 V file on a 12 V charger", {"--port", "CHARGER", "write", "FILE"}, 2,
        "zunctl: profiles[2].general.nominalVoltageV = 24: the charger is a 12 V charger\n"
        "zunctl: FILE: wrong fields; nothing was sent\n",
        profile::SettingsToJson(volts));
    row("chart of a file that is no log", {"chart", "FILE", "-o", "x.png"}, 2,
        "zunctl: FILE: not a ZUN-Log file (File Type Error!)", readFile(known::kFile));
    row("chart neither png nor pdf", {"chart", "FILE", "-o", "x.txt"}, 2,
        "the chart is written as .png or .pdf", readFile(dayLog_));
}

void TestCliE2e::failures() {
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, file);
    QFETCH(int, exitCode);
    QFETCH(QString, message);
    Sim silent(3120, true);
    Sim charger;
    const QString path = writeFile(dir_.filePath("input.json"), file);
    for (const auto& [from, to] :
         {std::pair{"SILENT", silent.device()}, {"CHARGER", charger.device()}, {"FILE", path}}) {
        arguments.replaceInStrings(from, to);
        message.replace(from, to);
    }
    const Run r = zunctl(arguments);
    QCOMPARE(r.code, exitCode);
    QVERIFY2(r.err.contains(message), qPrintable(r.all()));
    QCOMPARE(r.out, QString());
    QCOMPARE(charger.writes() + silent.writes(), QStringList());
}

void TestCliE2e::readings() {
    Sim sim(3215);
    sim.charger.setRunTimeMinutes(7435);
    sim.charger.setLive({2760, 1250, 2731, 2729, 0, 500, -1, 0});
    const QString port = sim.device();
    QCOMPARE(lines(zunctl({"--port", port, "identify"}).out),
             (QStringList{"device: " + port, "model: 3215", "Rating : 24V 15A 450W.",
                          "nominal voltage: 24V"}));
    QCOMPARE(zunctl({"--port", port, "runtime"}).out, QStringLiteral("123Hours 55Minutes\n"));
    QCOMPARE(lines(zunctl({"--port", port, "live"}).out),
             (QStringList{"charge:27.6V  12.5A", "bat1:  27.31V  5.00A", "bat2:  27.29V  -0.01A"}));
}

void TestCliE2e::portsAndTrace() {
    Sim charger;
    Sim other;
    other.charger.setRunTimeMinutes(60);  // answers, but not with the probe answer
    Sim silent(3120, true);
    const QStringList given{"--device", silent.device(),  "--device",          other.device(),
                            "--device", charger.device(), "--only-given-ports"};
    const Run r = zunctl(given + QStringList{"ports"});
    QCOMPARE(lines(r.out),
             (QStringList{"Com1   " + silent.device() + "  no answer",
                          "Com2   " + other.device() + "  answers, but not as the charger",
                          "Com3   " + charger.device() + "  * charger"}));
    QVERIFY(zunctl(given + QStringList{"identify"}).out.startsWith("device: " + charger.device()));
    QCOMPARE(zunctl(given + QStringList{"--port", "Com2", "runtime"}).out, "1Hours 0Minutes\n");

    QString trace = zunctl({"--trace", "--port", charger.device(), "runtime"}).err;
    trace.replace(QRegularExpression("^\\[ *\\d+ ms\\] ", QRegularExpression::MultilineOption), "");
    QCOMPARE(lines(trace), (QStringList{"> 850350AA000D", "< 8504600C30A00D", "> 850357AA000D",
                                        "< 850667064A0000BD0D"}));
}

void TestCliE2e::chart() {
    const QString png = dir_.filePath("chart.png");
    const QString pdf = dir_.filePath("chart.pdf");
    QCOMPARE(zunctl({"chart", dayLog_, "-o", png, "--size", "800x600"}).out,
             "chart of 144 records written to " + png + "\n");
    const QImage image(png);
    QCOMPARE(image.size(), QSize(800, 600));
    int blue = 0;  // the curves were drawn
    for (int i = 0; i < 800 * 600; ++i) {
        blue += image.pixel(i % 800, i / 800) == qRgb(0, 0, 255);
    }
    QVERIFY2(blue > 100, qPrintable(QString::number(blue)));
    QCOMPARE(zunctl({"chart", dayLog_, "-o", pdf}).code, 0);
    QVERIFY(readFile(pdf).startsWith("%PDF-"));
}

void TestCliE2e::cloneScriptCopiesOneChargerOntoAnother() {
    Sim from;
    Sim to;
    Sim other(3215);  // 24 V
    QCOMPARE(zunctl({"--port", from.device(), "write", known::kFile}).code, 0);
    QVERIFY(from.charger.settingsImage() != to.charger.settingsImage());
    qputenv("ZUNCTL", ZUNCTL_PATH);
    const QString kept = dir_.filePath("clone.json");
    const Run r = run("sh", {CLONE_SCRIPT, from.device(), to.device(), kept});
    QVERIFY2(r.code == 0, qPrintable(r.all()));
    QCOMPARE(lines(r.out).last(), to.device() + " now holds the settings of " + from.device() +
                                      " (kept in " + kept + ")");
    QCOMPARE(to.charger.settingsImage().toHex(), from.charger.settingsImage().toHex());

    // A 24 V charger refuses the 12 V settings; nothing reaches it.
    const Run refused = run("sh", {CLONE_SCRIPT, from.device(), other.device(), kept});
    QCOMPARE(refused.code, 2);
    QVERIFY2(refused.err.contains("failed (zunctl exit code 2)"), qPrintable(refused.all()));
    QCOMPARE(other.writes(), QStringList());
}

QTEST_GUILESS_MAIN(TestCliE2e)
#include "test_cli_e2e.moc"
