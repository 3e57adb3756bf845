// zunctl monitor and --wait, through the real program against the virtual charger on a pty.
#include "cli_e2e_support.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QtTest>

using namespace e2e;

namespace {

const QString kTime = QStringLiteral("\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d[+-]\\d\\d:\\d\\d");
const QString kHeader =
    QStringLiteral("time,chr volt,chr curr,bat1 volt,bat1 curr,bat2 volt,bat2 curr,note");
// The virtual charger's fixed live values, as the reading box shows them.
const QString kFileValues = QStringLiteral(",14.2,8.5,14.12,5.20,14.08,3.30,");

QByteArray readAll(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

int wholeLines(const QString& path) {
    return int(readAll(path).count("\r\n"));
}

// Every line ended by CR LF is a whole reading (after the header); what follows the last line
// end is at most a line begun and never finished. Returns the readings, -1 when a line is wrong.
int checkedReadings(const QByteArray& bytes, QString* why) {
    const QList<QByteArray> parts = bytes.split('\n');
    if (parts.isEmpty() || parts.first() != kHeader.toUtf8() + '\r') {
        *why = QStringLiteral("header: ") + QString::fromUtf8(parts.value(0));
        return -1;
    }
    const QRegularExpression line(
        QStringLiteral("^%1%2(reconnected)?\\r$").arg(kTime, kFileValues));
    int n = 0;
    for (int i = 1; i < parts.size() - 1; ++i) {
        if (!line.match(QString::fromUtf8(parts.at(i))).hasMatch()) {
            *why = QStringLiteral("line %1: %2").arg(i + 1).arg(QString::fromUtf8(parts.at(i)));
            return -1;
        }
        ++n;
    }
    if (parts.last().size() >= kHeader.size()) {
        *why = QStringLiteral("unfinished tail too long: ") + QString::fromUtf8(parts.last());
        return -1;
    }
    return n;
}

}  // namespace

class TestCliMonitor : public QObject {
    Q_OBJECT
private slots:
    void readingsOnStdoutAndInTheFile_data();
    void readingsOnStdoutAndInTheFile();
    void interruptEndsWithTheFileComplete();
    void killedAtAnyMomentLeavesWholeLines_data();
    void killedAtAnyMomentLeavesWholeLines();
    void resumesWhenThePortReturns();
    void waitsForThePortToAppear();
};

void TestCliMonitor::readingsOnStdoutAndInTheFile_data() {
    QTest::addColumn<bool>("json");
    QTest::newRow("text lines") << false;
    QTest::newRow("JSON lines") << true;
}

void TestCliMonitor::readingsOnStdoutAndInTheFile() {
    QFETCH(bool, json);
    Sim sim;
    QTemporaryDir dir;
    const QString file = dir.filePath("m.csv");
    QStringList args{"--port",  sim.device(), "monitor", "--interval", "1",
                     "--count", "3",          "-o",      file};
    if (json) {
        args << "--json";
    }
    const Run r = zunctl(args);
    QVERIFY2(r.code == 0, qPrintable(r.all()));
    const QStringList out = lines(r.out);
    QCOMPARE(out.size(), 3);
    for (const QString& l : out) {
        if (json) {
            const QJsonObject o = QJsonDocument::fromJson(l.toUtf8()).object();
            QVERIFY2(QRegularExpression("^" + kTime + "$").match(o["time"].toString()).hasMatch(),
                     qPrintable(l));
            QCOMPARE(o["chargerV"].toDouble(), 14.2);
            QCOMPARE(o["chargerA"].toDouble(), 8.5);
            QCOMPARE(o["battery1V"].toDouble(), 14.12);
            QCOMPARE(o["battery1A"].toDouble(), 5.2);
            QCOMPARE(o["battery2V"].toDouble(), 14.08);
            QCOMPARE(o["battery2A"].toDouble(), 3.3);
            QCOMPARE(o["reconnected"].toBool(), false);
        } else {
            QVERIFY2(QRegularExpression("^" + kTime +
                                        "  charge:14.2V  8.5A  bat1:  14.12V  5.20A  "
                                        "bat2:  14.08V  3.30A$")
                         .match(l)
                         .hasMatch(),
                     qPrintable(l));
        }
    }
    QString why;
    const QByteArray bytes = readAll(file);
    QCOMPARE(checkedReadings(bytes, &why), 3);
    QVERIFY2(bytes.endsWith("\r\n"), bytes.constData());
    // One live request per reading, after the identification.
    QCOMPARE(sim.charger.requests().filter("850358AA000D").size(), 3);
}

void TestCliMonitor::interruptEndsWithTheFileComplete() {
    Sim sim;
    QTemporaryDir dir;
    const QString file = dir.filePath("m.csv");
    QProcess p;
    p.start(ZUNCTL_PATH, {"--port", sim.device(), "monitor", "--interval", "1", "-o", file});
    QTRY_VERIFY_WITH_TIMEOUT(wholeLines(file) >= 3, 20000);
    p.terminate();  // SIGTERM, handled like Ctrl-C
    QVERIFY(p.waitForFinished(10000));
    QCOMPARE(p.exitStatus(), QProcess::NormalExit);
    QCOMPARE(p.exitCode(), 0);
    const QByteArray bytes = readAll(file);
    QString why;
    const int readings = checkedReadings(bytes, &why);
    QVERIFY2(readings >= 2, qPrintable(why));
    QVERIFY(bytes.endsWith("\r\n"));
    // Every reading printed is in the file.
    QCOMPARE(lines(QString::fromUtf8(p.readAllStandardOutput())).size(), readings);
}

void TestCliMonitor::killedAtAnyMomentLeavesWholeLines_data() {
    // Moments after the second line is in the file, spread over an interval.
    QTest::addColumn<int>("afterMs");
    for (int ms : {0, 130, 420, 770, 990}) {
        QTest::newRow(qPrintable(QStringLiteral("%1 ms").arg(ms))) << ms;
    }
}

void TestCliMonitor::killedAtAnyMomentLeavesWholeLines() {
    QFETCH(int, afterMs);
    Sim sim;
    QTemporaryDir dir;
    const QString file = dir.filePath("m.csv");
    QProcess p;
    p.start(ZUNCTL_PATH, {"--port", sim.device(), "monitor", "--interval", "1", "-o", file});
    QTRY_VERIFY_WITH_TIMEOUT(wholeLines(file) >= 3, 20000);
    QTest::qWait(afterMs);
    const int before = wholeLines(file);
    p.kill();
    QVERIFY(p.waitForFinished(10000));
    QCOMPARE(p.exitStatus(), QProcess::CrashExit);
    const QByteArray bytes = readAll(file);
    QString why;
    const int readings = checkedReadings(bytes, &why);
    QVERIFY2(readings >= 0, qPrintable(why));
    QVERIFY(readings + 1 >= before);
}

void TestCliMonitor::resumesWhenThePortReturns() {
    Sim sim;
    QTemporaryDir dir;
    const QString link = dir.filePath("charger");
    QVERIFY(sim.host.createLink(link));
    QProcess p;
    QString out;
    QString err;
    connect(&p, &QProcess::readyReadStandardOutput, this,
            [&] { out += QString::fromUtf8(p.readAllStandardOutput()); });
    connect(&p, &QProcess::readyReadStandardError, this,
            [&] { err += QString::fromUtf8(p.readAllStandardError()); });
    p.start(ZUNCTL_PATH, {"--port", link, "monitor", "--interval", "1", "--json"});
    QTRY_VERIFY_WITH_TIMEOUT(lines(out).size() >= 2, 20000);
    sim.host.vanish();
    QVERIFY(!QFile::exists(link));
    QTRY_VERIFY_WITH_TIMEOUT(err.contains("zunctl: no reading"), 20000);
    const int beforeReturn = int(lines(out).size());
    QVERIFY(sim.host.comeBack());
    QTRY_VERIFY_WITH_TIMEOUT(out.contains("\"reconnected\":true"), 20000);
    p.terminate();
    QVERIFY(p.waitForFinished(10000));
    QCOMPARE(p.exitCode(), 0);
    // Exactly one reading carries the mark: the first after the return.
    const QStringList all = lines(out);
    QCOMPARE(all.filter("\"reconnected\":true").size(), 1);
    QVERIFY2(all.at(beforeReturn).contains("\"reconnected\":true"), qPrintable(out));
}

void TestCliMonitor::waitsForThePortToAppear() {
    zun::sim::VirtualCharger charger;
    charger.setModelCode(3120);
    zun::sim::PtyHost host(charger);
    host.setPacing(false);
    QTemporaryDir dir;
    const QString link = dir.filePath("charger");
    // Without --wait a missing port is no charger, at once.
    QCOMPARE(zunctl({"--port", link, "identify"}).code, 3);
    QProcess p;
    p.start(ZUNCTL_PATH, {"--port", link, "--wait", "30", "identify"});
    QVERIFY(p.waitForStarted());
    QTest::qWait(1500);
    QCOMPARE(p.state(), QProcess::Running);
    QVERIFY(host.start());
    QVERIFY(host.createLink(link));
    QVERIFY(p.waitForFinished(30000));
    QVERIFY2(p.exitCode() == 0, p.readAllStandardError().constData());
    QVERIFY(p.readAllStandardOutput().contains("3120"));
}

QTEST_GUILESS_MAIN(TestCliMonitor)
#include "test_cli_monitor.moc"
