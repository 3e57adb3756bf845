#include "datalog/log_csv.h"
#include "datalog/log_download.h"
#include "datalog/log_finish.h"
#include "datalog/log_table_model.h"
#include "known_settings.h"
#include "profile/settings_compare.h"
#include "profile/settings_file.h"
#include "sim/charge_log.h"
#include "sim/loopback_exchange.h"
#include "sim/pty_host.h"
#include "sim/virtual_charger.h"

#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

using namespace zun;

namespace {

// One virtual charger on its own pseudo-terminal, answering at once.
struct Sim {
    sim::VirtualCharger charger;
    sim::PtyHost host{charger};
    explicit Sim(quint16 model = 3120) {
        charger.setModelCode(model);
        host.setPacing(false);
        QString error;
        if (!host.start(&error)) {
            qFatal("pty: %s", qPrintable(error));
        }
    }
    QString device() const { return host.devicePath(); }
    // The write frames the charger received (commands 0x51 to 0x55), in order.
    QStringList writes() const {
        QStringList out;
        for (const QString& f : charger.requests()) {
            const QString command = f.mid(4, 2);
            if (command >= QLatin1String("51") && command <= QLatin1String("55")) {
                out << f;
            }
        }
        return out;
    }
};

struct Run {
    int code = -1;
    QString out;
    QString err;
    QString all() const {
        return QStringLiteral("exit %1\nstdout:\n%2\nstderr:\n%3").arg(code).arg(out, err);
    }
};

Run zunctl(const QStringList& arguments, int timeoutMs = 120000) {
    QProcess p;
    p.start(QStringLiteral(ZUNCTL_PATH), arguments);
    Run r;
    if (!p.waitForFinished(timeoutMs)) {
        p.kill();
        p.waitForFinished();
        r.err = QStringLiteral("zunctl did not finish");
        return r;
    }
    r.code = p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -2;
    r.out = QString::fromUtf8(p.readAllStandardOutput());
    r.err = QString::fromUtf8(p.readAllStandardError());
    return r;
}

QStringList lines(const QString& text) {
    return text.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

QString writeKnownFile(const QTemporaryDir& dir, const profile::SettingsFile& settings,
                       const QString& name = QStringLiteral("known.json")) {
    const QString path = dir.filePath(name);
    const auto w = profile::WriteSettingsFile(path, settings);
    if (!w.ok) {
        qFatal("%s", qPrintable(w.error));
    }
    return path;
}

// Every field of two profiles, exactly; no target and target stage 1 go as the same byte.
QStringList fieldDifferences(const link::ProfileSlot& a, const link::ProfileSlot& b, int p) {
    QStringList out;
    auto cmp = [&](const char* table, const auto& x, const auto& y) {
        for (size_t i = 0; i < x.size(); ++i) {
            if (x[i] != y[i]) {
                out << QStringLiteral("profile %1 %2[%3]: \"%4\" vs \"%5\"")
                           .arg(p + 1)
                           .arg(QLatin1String(table))
                           .arg(i)
                           .arg(x[i], y[i]);
            }
        }
    };
    cmp("general", a.general, b.general);
    cmp("protection", a.protection, b.protection);
    cmp("stages", a.stages, b.stages);
    cmp("nextCond", a.nextCond, b.nextCond);
    cmp("anyCond", a.anyCond, b.anyCond);
    auto targets = a.anyTarget;
    for (QString& t : targets) {
        if (t.isEmpty()) {
            t = QStringLiteral("0");
        }
    }
    cmp("anyTarget", targets, b.anyTarget);
    return out;
}

}  // namespace

class TestCliE2e : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void writeThenSettingsReproducesTheFile();
    void dryRunPrintsTheFramesAWriteSends();
    void frameExamplesAppearExactly_data();
    void frameExamplesAppearExactly();
    void chosenPagesAndProfile();
    void refusedFileSendsNothing_data();
    void refusedFileSendsNothing();
    void unacknowledgedPageStopsTheWrite_data();
    void unacknowledgedPageStopsTheWrite();
    void noChargerFound_data();
    void noChargerFound();
    void malformedFileIsRefused_data();
    void malformedFileIsRefused();
    void verifyListsTheChangedField();
    void readings();
    void portsMarkTheCharger();
    void traceShowsEveryFrame();
    void logOfAWrappedRingMatchesTheLibrary();
    void chartOfASavedLog_data();
    void chartOfASavedLog();
    void cloneScriptCopiesOneChargerOntoAnother();

private:
    QTemporaryDir dir_;
    QString known_;
    QStringList offlineDryRun_;
};

void TestCliE2e::initTestCase() {
    QVERIFY(dir_.isValid());
    // The example the README shows is the file these tests write to the charger.
    known_ = QStringLiteral(EXAMPLE_SETTINGS);
    QFile example(known_);
    QVERIFY(example.open(QIODevice::ReadOnly));
    QVERIFY2(example.readAll() == profile::SettingsToJson(known::Settings()),
             "scripts/example-settings.json is not the known settings as zunctl writes them");
    const Run r = zunctl({"write", known_, "--dry-run", "--model", known::kModel});
    QVERIFY2(r.code == 0, qPrintable(r.all()));
    offlineDryRun_ = lines(r.out);
}

void TestCliE2e::writeThenSettingsReproducesTheFile() {
    Sim sim;
    const Run w = zunctl({"--port", sim.device(), "write", known_});
    QVERIFY2(w.code == 0, qPrintable(w.all()));
    QCOMPARE(lines(w.out).size(), 10);
    QCOMPARE(lines(w.out).first(), QStringLiteral("profile 1 general: acknowledged"));
    QCOMPARE(lines(w.out).last(), QStringLiteral("profile 2 any: acknowledged"));

    const QString readBack = dir_.filePath("read-back.json");
    const Run s = zunctl({"--port", sim.device(), "settings", "-o", readBack});
    QVERIFY2(s.code == 0, qPrintable(s.all()));
    const profile::SettingsReadResult r = profile::ReadSettingsFile(readBack);
    QVERIFY2(r.ok, qPrintable(r.error));
    QCOMPARE(r.settings.chargerModel, QStringLiteral("3120"));
    const profile::SettingsFile wanted = known::Settings();
    QStringList diffs;
    for (int p = 0; p < 2; ++p) {
        diffs << fieldDifferences(wanted.profiles[p], r.settings.profiles[p], p);
        QVERIFY(profile::CompareProfiles(wanted.profiles[p], r.settings.profiles[p], p).empty());
    }
    QVERIFY2(diffs.isEmpty(), qPrintable(diffs.join('\n')));

    // Printed, the settings are one line per field in use; as JSON, the file itself.
    const Run text = zunctl({"--port", sim.device(), "settings"});
    QVERIFY2(text.code == 0, qPrintable(text.all()));
    for (const char* line :
         {"profiles[1].general.capacityAh = 100", "profiles[1].stageCount = 3",
          "profiles[1].stages[3].currentA = 2",
          "profiles[1].nextStage[3].temperatureAboveC = or 45",
          "profiles[1].anyStage[1].target = null", "profiles[2].anyStage[2].target = 4",
          "profiles[2].anyStage[2].temperatureAboveC = or 50",
          "profiles[2].nextStage[1].chargingCurrentBelowA = and 10"}) {
        QVERIFY2(lines(text.out).contains(QString::fromLatin1(line)), line);
    }
    QVERIFY2(!text.out.contains("profiles[1].stages[4]"), "a stage beyond the count was printed");
    QVERIFY2(!text.out.contains("= none"), "an unused condition was printed");
    const Run json = zunctl({"--json", "--port", sim.device(), "settings"});
    QFile saved(readBack);
    QVERIFY(saved.open(QIODevice::ReadOnly));
    QCOMPARE(json.out.toUtf8(), saved.readAll());

    const Run v = zunctl({"--port", sim.device(), "verify", known_});
    QVERIFY2(v.code == 0, qPrintable(v.all()));
    QCOMPARE(v.out.trimmed(), "the charger holds the settings of " + known_);
}

void TestCliE2e::dryRunPrintsTheFramesAWriteSends() {
    Sim dry;
    const Run d = zunctl({"--port", dry.device(), "write", known_, "--dry-run"});
    QVERIFY2(d.code == 0, qPrintable(d.all()));
    // A dry run identifies the charger and sends nothing else.
    QCOMPARE(dry.charger.requests(), QStringList{"850350AA000D"});
    QCOMPARE(lines(d.out).size(), (3 + 3 + 3) + (3 + 4 + 4));

    Sim real;
    const Run w = zunctl({"--port", real.device(), "write", known_});
    QVERIFY2(w.code == 0, qPrintable(w.all()));
    QCOMPARE(real.writes(), lines(d.out));
    QCOMPARE(offlineDryRun_, lines(d.out));
}

void TestCliE2e::frameExamplesAppearExactly_data() {
    QTest::addColumn<QString>("frame");
    QTest::newRow("general, profile 1") << "850E510004B00064001200FA020190000D";
    QTest::newRow("protection, 10 C and 20 h") << "850C5200011B0708FFFFFF0014000D";
    QTest::newRow("three stages") << "851053000205A000C805640032054600140"
                                     "00D";
    QTest::newRow("general, profile 2") << "850E510104B00064001200FA020190000D";
    QTest::newRow("four stages: length 14") << "8514530103"
                                               "05C80096"
                                               "05A00064"
                                               "05640032"
                                               "05460014"
                                               "000D";
    QTest::newRow("protection, 45 C as 318 K") << "850C5201013E0708FFFFFF0018000D";
    QTest::newRow("stage 2 of 4 jumps to stage 4") << "851D550101"
                                                      "03"
                                                      "000000"
                                                      "000000"
                                                      "020143"
                                                      "000000"
                                                      "000000"
                                                      "000000"
                                                      "000000"
                                                      "000000"
                                                      "000D";
}

void TestCliE2e::frameExamplesAppearExactly() {
    QFETCH(QString, frame);
    QVERIFY2(offlineDryRun_.contains(frame),
             qPrintable(frame + " not among\n" + offlineDryRun_.join('\n')));
}

void TestCliE2e::chosenPagesAndProfile() {
    const Run r = zunctl({"write", known_, "--dry-run", "--model", known::kModel, "--profile", "2",
                          "--pages", "any,stages"});
    QVERIFY2(r.code == 0, qPrintable(r.all()));
    QStringList expected;
    for (const QString& f : offlineDryRun_) {
        if (f.startsWith("85145301") || f.startsWith("851D5501")) {
            expected << f;
        }
    }
    QCOMPARE(expected.size(), 5);
    QCOMPARE(lines(r.out), expected);
}

void TestCliE2e::refusedFileSendsNothing_data() {
    QTest::addColumn<int>("profile");
    QTest::addColumn<int>("table");  // 0 general 1 protection 2 stages 3 next
    QTest::addColumn<int>("entry");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("message");
    QTest::newRow("stage voltage above the limit")
        << 0 << 2 << 3 << "17.9"
        << "zunctl: profiles[1].stages[2].voltageV = 17.9: the page would make it 16";
    QTest::newRow("a 24 V file on a 12 V charger")
        << 1 << 0 << 0 << "24"
        << "zunctl: profiles[2].general.nominalVoltageV = 24: the charger is a 12 V charger";
    QTest::newRow("total time of 30 h")
        << 1 << 1 << 4 << "30"
        << "zunctl: profiles[2].protection.maxTotalChargingHours = 30: the page would make it 24";
    QTest::newRow("temperature on the first transition")
        << 0 << 3 << 2 << "240"
        << "zunctl: profiles[1].nextStage[1].temperatureAboveC.use = or: only "
           "chargingVoltageAboveV";
}

void TestCliE2e::refusedFileSendsNothing() {
    QFETCH(int, profile);
    QFETCH(int, table);
    QFETCH(int, entry);
    QFETCH(QString, text);
    QFETCH(QString, message);
    profile::SettingsFile f = known::Settings();
    link::ProfileSlot& p = f.profiles[profile];
    (table == 0   ? p.general[entry]
     : table == 1 ? p.protection[entry]
     : table == 2 ? p.stages[entry]
                  : p.nextCond[entry]) = text;
    const QString path = writeKnownFile(dir_, f, QStringLiteral("refused.json"));
    Sim sim;
    const Run r = zunctl({"--port", sim.device(), "write", path});
    QCOMPARE(r.code, 2);
    QVERIFY2(r.err.startsWith(message), qPrintable(r.all()));
    QVERIFY2(r.err.contains("wrong fields; nothing was sent"), qPrintable(r.all()));
    QCOMPARE(sim.writes(), QStringList());
    // Only the identification went to the charger.
    QCOMPARE(sim.charger.requests(), QStringList{"850350AA000D"});
}

void TestCliE2e::unacknowledgedPageStopsTheWrite_data() {
    QTest::addColumn<int>("command");
    QTest::addColumn<int>("framesSent");  // write frames the charger saw before the stop
    QTest::addColumn<QString>("message");
    QTest::newRow("general") << 0x51 << 1
                             << "zunctl: profile 1 general: the charger did not acknowledge "
                                "(reply 85036100640D)";
    QTest::newRow("protection") << 0x52 << 2
                                << "zunctl: profile 1 protection: the charger did not "
                                   "acknowledge (reply 85036200650D)";
    QTest::newRow("stages") << 0x53 << 3
                            << "zunctl: profile 1 stages: the charger did not acknowledge "
                               "(reply 85036300660D)";
    // Three tries for each of the three stages, as the window does.
    QTest::newRow("next-stage conditions")
        << 0x54 << 3 + 9
        << "zunctl: profile 1 next: the charger did not acknowledge (stage 1: reply "
           "85036400670D; stage 2: reply 85036400670D; stage 3: reply 85036400670D)";
    QTest::newRow("any-stage conditions") << 0x55 << 3 + 3 + 9
                                          << "zunctl: profile 1 any: the charger did not "
                                             "acknowledge (stage 1: reply 85036500680D";
}

void TestCliE2e::unacknowledgedPageStopsTheWrite() {
    QFETCH(int, command);
    QFETCH(int, framesSent);
    QFETCH(QString, message);
    Sim sim;
    sim::Faults faults;
    faults.wrongAck = true;
    faults.wrongAckCommand = quint8(command);
    sim.charger.setFaults(faults);
    const Run r = zunctl({"--port", sim.device(), "write", known_});
    QCOMPARE(r.code, 1);
    QVERIFY2(r.err.startsWith(message), qPrintable(r.all()));
    const QStringList writes = sim.writes();
    QCOMPARE(writes.size(), framesSent);
    // Nothing after the page that failed: every frame sent is one of that page or before it.
    const QString last = QString::number(command, 16).toUpper();
    QCOMPARE(writes.last().mid(4, 2), last);
    for (const QString& f : writes) {
        QVERIFY2(f.mid(6, 2) == "00", qPrintable("a profile 2 frame was sent: " + f));
    }
}

void TestCliE2e::noChargerFound_data() {
    QTest::addColumn<QStringList>("arguments");  // "SILENT" is replaced by a silent charger
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("message");
    QTest::newRow("no ports at all") << QStringList{"--only-given-ports", "identify"} << 3
                                     << "zunctl: no charger found: there are no serial ports";
    QTest::newRow("a silent charger found by no search")
        << QStringList{"--device", "SILENT", "--only-given-ports", "runtime"} << 3
        << "zunctl: no charger found; tried Com1 (SILENT): no answer";
    QTest::newRow("a silent charger on the given port")
        << QStringList{"--port", "SILENT", "identify"} << 3
        << "zunctl: no charger found: nothing answered on SILENT";
    QTest::newRow("a device that does not exist")
        << QStringList{"--port", "/dev/zun-no-such-port", "live"} << 3
        << "zunctl: /dev/zun-no-such-port: the port does not exist";
    QTest::newRow("ComN beyond the ports")
        << QStringList{"--port", "Com3", "--device", "SILENT", "--only-given-ports", "identify"}
        << 2 << "zunctl: Com3 is not a port here (zunctl ports lists them)";
}

void TestCliE2e::noChargerFound() {
    QFETCH(QStringList, arguments);
    QFETCH(int, exitCode);
    QFETCH(QString, message);
    Sim silent;
    sim::Faults faults;
    faults.silent = true;
    silent.charger.setFaults(faults);
    arguments.replaceInStrings(QStringLiteral("SILENT"), silent.device());
    message.replace(QStringLiteral("SILENT"), silent.device());
    const Run r = zunctl(arguments);
    QCOMPARE(r.code, exitCode);
    QVERIFY2(r.err.startsWith(message), qPrintable(r.all()));
    QCOMPARE(r.out, QString());
}

void TestCliE2e::malformedFileIsRefused_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("message");
    QTest::newRow("not JSON") << QByteArray("stage 1: 14.4 V\n")
                              << "not a settings file: it is not JSON";
    QTest::newRow("a log file") << QByteArray("FileType: ZUN-Log\r\n")
                                << "not a settings file: it is not JSON";
    QTest::newRow("another format") << QByteArray("{\"format\": \"other\", \"version\": 1}")
                                    << "not a settings file: it has no \"format\": "
                                       "\"zun-settings\"";
    QTest::newRow("version 9") << QByteArray("{\"format\": \"zun-settings\", \"version\": 9}")
                               << "settings file version 9 is not supported";
    QByteArray mistyped = profile::SettingsToJson(known::Settings());
    mistyped.replace("\"capacityAh\": 100", "\"capacityAh\": \"100\"");
    QTest::newRow("mistyped field")
        << mistyped << "profiles[1].general.capacityAh must be a number or null, not a text";
    QByteArray missing = profile::SettingsToJson(known::Settings());
    missing.replace("\"stageCount\": 4,", "");
    QTest::newRow("missing field") << missing << "profiles[2].stageCount is missing";
}

void TestCliE2e::malformedFileIsRefused() {
    QFETCH(QByteArray, bytes);
    QFETCH(QString, message);
    const QString path = dir_.filePath("malformed.json");
    QFile f(path);
    QVERIFY(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
    f.write(bytes);
    f.close();
    Sim sim;
    for (const char* command : {"write", "verify"}) {
        const Run r = zunctl({"--port", sim.device(), command, path});
        QCOMPARE(r.code, 2);
        QVERIFY2(r.err.startsWith("zunctl: " + path + ": " + message), qPrintable(r.all()));
    }
    // The file is judged before the charger is asked anything.
    QCOMPARE(sim.charger.requests(), QStringList());
}

void TestCliE2e::verifyListsTheChangedField() {
    Sim sim;
    QVERIFY(zunctl({"--port", sim.device(), "write", known_}).code == 0);
    profile::SettingsFile changed = known::Settings();
    changed.profiles[0].stages[3] = QStringLiteral("13.6");     // stage 2 voltage
    changed.profiles[1].nextCond[13] = QStringLiteral("2310");  // section time 300 -> 310
    changed.profiles[1].anyTarget[1] = QStringLiteral("2");     // stage 2 now jumps to 3
    changed.profiles[1].protection[2] = QStringLiteral("200");  // never stored: not listed
    const QString path = writeKnownFile(dir_, changed, QStringLiteral("changed.json"));
    const Run r = zunctl({"--port", sim.device(), "verify", path});
    QCOMPARE(r.code, 4);
    QCOMPARE(lines(r.out), (QStringList{
                               "profiles[1].stages[2].voltageV: file 13.6, charger 13.8",
                               "profiles[2].nextStage[2].sectionTimeAboveMin.value: file 310, "
                               "charger 300",
                               "profiles[2].anyStage[2].target: file 3, charger 4",
                           }));

    const Run j = zunctl({"--json", "--port", sim.device(), "verify", path, "--profile", "1"});
    QCOMPARE(j.code, 4);
    const QJsonObject o = QJsonDocument::fromJson(j.out.toUtf8()).object();
    QCOMPARE(o.value("identical").toBool(true), false);
    const QJsonArray d = o.value("differences").toArray();
    QCOMPARE(d.size(), 1);
    QCOMPARE(d.at(0).toObject().value("field").toString(),
             QStringLiteral("profiles[1].stages[2].voltageV"));
    QCOMPARE(d.at(0).toObject().value("charger").toString(), QStringLiteral("13.8"));
}

void TestCliE2e::readings() {
    Sim sim(3215);
    sim.charger.setRunTimeMinutes(7435);
    sim.charger.setLive({2760, 1250, 2731, 2729, 0, 500, -1, 0});
    // The search probes with the run-time request, so this charger is named with --port.
    const Run id = zunctl({"--port", sim.device(), "identify"});
    QVERIFY2(id.code == 0, qPrintable(id.all()));
    QCOMPARE(lines(id.out), (QStringList{"device: " + sim.device(), "model: 3215",
                                         "Rating : 24V 15A 450W.", "nominal voltage: 24V"}));
    const Run idJson = zunctl({"--json", "--port", sim.device(), "identify"});
    const QJsonObject o = QJsonDocument::fromJson(idJson.out.toUtf8()).object();
    QCOMPARE(o.value("model").toString(), QStringLiteral("3215"));
    QCOMPARE(o.value("nominalVoltageV").toInt(), 24);
    QCOMPARE(o.value("ratedCurrentA").toInt(), 15);

    const Run rt = zunctl({"--port", sim.device(), "runtime"});
    QCOMPARE(rt.out, QStringLiteral("123Hours 55Minutes\n"));
    const Run rtJson = zunctl({"--json", "--port", sim.device(), "runtime"});
    QCOMPARE(QJsonDocument::fromJson(rtJson.out.toUtf8()).object().value("minutes").toInt(), 7435);

    const Run live = zunctl({"--port", sim.device(), "live"});
    QVERIFY2(live.code == 0, qPrintable(live.all()));
    QCOMPARE(lines(live.out),
             (QStringList{"charge:27.6V  12.5A", "bat1:  27.31V  5.00A", "bat2:  27.29V  -0.01A"}));
    const Run liveJson = zunctl({"--json", "--port", sim.device(), "live"});
    const QJsonObject l = QJsonDocument::fromJson(liveJson.out.toUtf8()).object();
    QCOMPARE(l.value("chargerV").toDouble(), 27.6);
    QCOMPARE(l.value("battery2A").toDouble(), -0.01);

    // The identification reply is 7 bytes long; the live reply cut to as many is no reading.
    sim::Faults cut;
    cut.truncateTo = 7;
    sim.charger.setFaults(cut);
    const Run shortLive = zunctl({"--port", sim.device(), "live"});
    QCOMPARE(shortLive.code, 1);
    QVERIFY2(shortLive.err.startsWith("zunctl: the live-reading"), qPrintable(shortLive.all()));
}

void TestCliE2e::portsMarkTheCharger() {
    Sim charger;
    Sim other;
    other.charger.setRunTimeMinutes(60);  // answers, but not with the probe answer
    Sim silent;
    sim::Faults faults;
    faults.silent = true;
    silent.charger.setFaults(faults);
    const QStringList args{"--device", silent.device(),  "--device",          other.device(),
                           "--device", charger.device(), "--only-given-ports"};
    const Run r = zunctl(args + QStringList{"ports"});
    QVERIFY2(r.code == 0, qPrintable(r.all()));
    QCOMPARE(lines(r.out),
             (QStringList{"Com1   " + silent.device() + "  no answer",
                          "Com2   " + other.device() + "  answers, but not as the charger",
                          "Com3   " + charger.device() + "  * charger"}));
    const Run j = zunctl(args + QStringList{"--json", "ports"});
    const QJsonArray a = QJsonDocument::fromJson(j.out.toUtf8()).array();
    QCOMPARE(a.size(), 3);
    QCOMPARE(a.at(2).toObject().value("charger").toBool(), true);
    QCOMPARE(a.at(2).toObject().value("port").toString(), QStringLiteral("Com3"));

    // The search picks the same port, and ComN names it too.
    const Run id = zunctl(args + QStringList{"identify"});
    QVERIFY2(id.out.startsWith("device: " + charger.device()), qPrintable(id.all()));
    const Run byNumber = zunctl(args + QStringList{"--port", "Com2", "runtime"});
    QCOMPARE(byNumber.out, QStringLiteral("1Hours 0Minutes\n"));
}

void TestCliE2e::traceShowsEveryFrame() {
    Sim sim;
    const Run r = zunctl({"--trace", "--port", sim.device(), "runtime"});
    QVERIFY2(r.code == 0, qPrintable(r.all()));
    const QStringList l = lines(r.err);
    QCOMPARE(l.size(), 4);
    const QRegularExpression form(QStringLiteral("^\\[ *(\\d+) ms\\] ([<>]) ([0-9A-F]+)$"));
    const QStringList frames{"850350AA000D", "8504600C30A00D", "850357AA000D",
                             "850667064A0000BD0D"};
    qint64 previous = -1;
    for (int i = 0; i < 4; ++i) {
        const QRegularExpressionMatch m = form.match(l[i]);
        QVERIFY2(m.hasMatch(), qPrintable(l[i]));
        QCOMPARE(m.captured(2), i % 2 == 0 ? QStringLiteral(">") : QStringLiteral("<"));
        QCOMPARE(m.captured(3), frames[i]);
        QVERIFY(m.captured(1).toLongLong() >= previous);
        previous = m.captured(1).toLongLong();
    }
}

void TestCliE2e::logOfAWrappedRingMatchesTheLibrary() {
    Sim sim(3110);
    sim.charger.setLog(sim::ChargeLog::Wrapped(1234));
    const QString path = dir_.filePath("ring.csv");
    const QDateTime before = QDateTime::currentDateTime();
    const Run r =
        zunctl({"--port", sim.device(), "log", "-o", path, "--desc", "  workshop 3  "}, 600000);
    const QDateTime after = QDateTime::currentDateTime();
    QVERIFY2(r.code == 0, qPrintable(r.all()));
    QCOMPARE(r.out, "4319 records downloaded; records 0001 to 4319 saved to " + path + "\n");
    QVERIFY2(r.err.contains("4319/4320 records"), qPrintable(r.err.right(300)));

    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray written = file.readAll();

    // The same download through the library, saved as the window saves it.
    sim::LoopbackExchange loopback(sim.charger);
    const datalog::DownloadResult d = datalog::DownloadLog(loopback);
    datalog::LogTableModel table;
    table.setRows(d.rows);
    QCOMPARE(table.recordCount(), 4319);
    QByteArray expected;
    for (const QDateTime& now : {before, after}) {
        const datalog::LogFinish finish = datalog::FinishDownload(table, now);
        datalog::CsvSaveInput input;
        input.labTime = finish.labTime;
        input.description = QStringLiteral("workshop 3");
        input.rowFrom = finish.txtRow0;
        input.rowTo = finish.txtRow1;
        expected = datalog::BuildLogCsv(table, input);
        if (expected == written) {
            break;
        }
    }
    QCOMPARE(written.size(), expected.size());
    QVERIFY2(written == expected, "the CSV differs from the library's save");
    QVERIFY(written.startsWith("FileType: ZUN-Log\r\n"));

    // A range of records, as the window's range boxes give it.
    Sim small(3110);
    small.charger.setLog(sim::ChargeLog::Unwrapped(30));
    const QString part = dir_.filePath("part.csv");
    const Run p = zunctl({"--port", small.device(), "log", "-o", part, "--from", "5", "--to", "8"});
    QVERIFY2(p.code == 0, qPrintable(p.all()));
    QFile partFile(part);
    QVERIFY(partFile.open(QIODevice::ReadOnly));
    const QList<QByteArray> partLines = partFile.readAll().split('\n');
    QCOMPARE(partLines.size(), 4 + 4 + 1);
    QVERIFY(partLines[4].startsWith("0005,"));
    QVERIFY(partLines[7].startsWith("0008,"));
}

void TestCliE2e::chartOfASavedLog_data() {
    QTest::addColumn<QString>("output");
    QTest::addColumn<QStringList>("extra");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("message");
    QTest::newRow("png") << "chart.png" << QStringList() << 0 << "";
    QTest::newRow("png, smaller") << "small.png" << QStringList{"--size", "800x600"} << 0 << "";
    QTest::newRow("pdf") << "chart.pdf" << QStringList() << 0 << "";
    QTest::newRow("neither") << "chart.txt" << QStringList() << 2
                             << "the chart is written as .png or .pdf";
    QTest::newRow("into a folder that is a file")
        << "log.csv/chart.png" << QStringList() << 2 << "cannot write";
}

void TestCliE2e::chartOfASavedLog() {
    QFETCH(QString, output);
    QFETCH(QStringList, extra);
    QFETCH(int, exitCode);
    QFETCH(QString, message);
    // A day of charging as the virtual charger logs it, saved by the library.
    sim::VirtualCharger charger;
    sim::LoopbackExchange loopback(charger);
    datalog::LogTableModel table;
    table.setRows(datalog::DownloadLog(loopback).rows);
    const datalog::LogFinish finish = datalog::FinishDownload(table, QDateTime::currentDateTime());
    const QString log = dir_.filePath("log.csv");
    QVERIFY(
        datalog::SaveLogCsv(log, table, {finish.labTime, "bench", finish.txtRow0, finish.txtRow1})
            .ok);
    const QString out = dir_.filePath(output);
    const Run r = zunctl(QStringList{"chart", log, "-o", out} + extra);
    QCOMPARE(r.code, exitCode);
    if (exitCode != 0) {
        QVERIFY2(r.err.contains(message), qPrintable(r.all()));
        return;
    }
    QCOMPARE(r.out, "chart of 144 records written to " + out + "\n");
    if (output.endsWith(".pdf")) {
        QFile pdf(out);
        QVERIFY(pdf.open(QIODevice::ReadOnly));
        QVERIFY(pdf.read(5) == "%PDF-");
    } else {
        QImage image(out);
        QCOMPARE(image.size(), extra.isEmpty() ? QSize(1920, 1080) : QSize(800, 600));
        // Something was drawn: the curves' colours are there.
        int blue = 0;
        for (int y = 0; y < image.height(); y += 2) {
            for (int x = 0; x < image.width(); x += 2) {
                blue += image.pixel(x, y) == qRgb(0, 0, 255);
            }
        }
        QVERIFY2(blue > 50, qPrintable(QString::number(blue)));
    }
    // A file that is not a log is refused.
    const Run bad = zunctl({"chart", known_, "-o", dir_.filePath("x.png")});
    QCOMPARE(bad.code, 2);
    QVERIFY2(bad.err.contains("not a ZUN-Log file (File Type Error!)"), qPrintable(bad.all()));
}

void TestCliE2e::cloneScriptCopiesOneChargerOntoAnother() {
    Sim from;
    Sim to;
    QVERIFY(zunctl({"--port", from.device(), "write", known_}).code == 0);
    QVERIFY(from.charger.settingsImage() != to.charger.settingsImage());
    auto clone = [this](const QString& source, const QString& target) {
        QProcess p;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("ZUNCTL"), QStringLiteral(ZUNCTL_PATH));
        p.setProcessEnvironment(env);
        p.start(QStringLiteral("sh"), {QStringLiteral(CLONE_SCRIPT), source, target,
                                       dir_.filePath(QStringLiteral("clone.json"))});
        Run r;
        if (p.waitForFinished(120000)) {
            r.code = p.exitCode();
        }
        r.out = QString::fromUtf8(p.readAllStandardOutput());
        r.err = QString::fromUtf8(p.readAllStandardError());
        return r;
    };
    const Run r = clone(from.device(), to.device());
    QVERIFY2(r.code == 0, qPrintable(r.all()));
    QCOMPARE(lines(r.out).last(), to.device() + " now holds the settings of " + from.device() +
                                      " (kept in " + dir_.filePath("clone.json") + ")");
    // Byte for byte, both chargers now hold the same settings.
    QCOMPARE(to.charger.settingsImage().toHex(), from.charger.settingsImage().toHex());

    // A 24 V charger refuses the 12 V settings; nothing reaches it.
    Sim other(3215);
    const Run refused = clone(from.device(), other.device());
    QCOMPARE(refused.code, 2);
    QVERIFY2(refused.err.contains("failed (zunctl exit code 2)"), qPrintable(refused.all()));
    QCOMPARE(other.writes(), QStringList());
}

QTEST_GUILESS_MAIN(TestCliE2e)
#include "test_cli_e2e.moc"
