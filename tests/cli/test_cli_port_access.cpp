#include "cli_e2e_support.h"
#include "link/build_info.h"

#include <QSerialPort>
#include <QStandardPaths>
#include <QtTest>

#include <unistd.h>

// What zunctl says on stderr when a port is refused, and its --version.
class TestCliPortAccess : public QObject {
    Q_OBJECT
private slots:
    void version();
    void busyPortIsNamed();
    void missingPermissionSaysHowToGetIt_data();
    void missingPermissionSaysHowToGetIt();
};

void TestCliPortAccess::version() {
    const QString expected = QStringLiteral("zunctl %1.%2.%3 (commit %4)\n")
                                 .arg(ZUN_VERSION_MAJOR)
                                 .arg(ZUN_VERSION_MINOR)
                                 .arg(ZUN_VERSION_PATCH)
                                 .arg(zun::link::BuildInfo::commit());
    for (const QStringList& arguments :
         {QStringList{"--version"}, QStringList{"--port", "/dev/null", "identify", "--version"}}) {
        const e2e::Run r = e2e::zunctl(arguments);
        QCOMPARE(r.code, 0);
        QCOMPARE(r.out, expected);
    }
    QVERIFY(!zun::link::BuildInfo::commit().isEmpty());
    QVERIFY2(e2e::zunctl({"--help"}).out.contains("--version"), "--help lists --version");
}

void TestCliPortAccess::busyPortIsNamed() {
    e2e::Sim sim;
    QSerialPort holder(sim.device());
    QVERIFY2(holder.open(QIODevice::ReadWrite), qPrintable(holder.errorString()));
    const e2e::Run r = e2e::zunctl({"--port", sim.device(), "identify"});
    QCOMPARE(r.code, 3);
    QCOMPARE(
        r.err,
        QStringLiteral("zunctl: %1: busy: another program is using the port\n").arg(sim.device()));
    QVERIFY(sim.charger.requests().isEmpty());
}

void TestCliPortAccess::missingPermissionSaysHowToGetIt_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("err");
    // The pseudo-terminal is mode 0620, of the group tty (or root in a container, for which the
    // advice names dialout); GROUP is filled in with the device at hand.
    const QString why = QStringLiteral(
        "permission denied: the user nobody may not use it (not in the group GROUP)");
    const QString remedy = QStringLiteral(
        "to allow it, run \"sudo usermod -aG GROUP nobody\", then log out and log in again");
    QTest::newRow("--port") << QStringList{"--port", "DEVICE", "identify"} << 3
                            << QStringLiteral("zunctl: DEVICE: %1; %2\n").arg(why, remedy);
    QTest::newRow("search") << QStringList{"--device", "DEVICE", "--only-given-ports", "runtime"}
                            << 3
                            << QStringLiteral(
                                   "zunctl: no charger found; tried Com1 (DEVICE): "
                                   "%1; %2\n")
                                   .arg(why, remedy);
    QTest::newRow("ports") << QStringList{"--device", "DEVICE", "--only-given-ports", "ports"} << 0
                           << QStringLiteral("zunctl: %1\n").arg(remedy);
}

void TestCliPortAccess::missingPermissionSaysHowToGetIt() {
    QFETCH(QStringList, arguments);
    QFETCH(int, code);
    QFETCH(QString, err);
    // Root may open anything: the refusal needs another user.
    const QString setpriv = QStandardPaths::findExecutable(QStringLiteral("setpriv"));
    if (geteuid() != 0 || setpriv.isEmpty()) {
        QSKIP("needs root and setpriv to run zunctl as the user nobody");
    }
    e2e::Sim sim;
    arguments.replaceInStrings(QStringLiteral("DEVICE"), sim.device());
    err.replace(QStringLiteral("DEVICE"), sim.device());
    const QString group = QFileInfo(sim.device()).group();
    err.replace(QStringLiteral("GROUP"),
                group == QLatin1String("root") ? QStringLiteral("dialout") : group);

    QProcess p;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("USER"), QStringLiteral("nobody"));
    p.setProcessEnvironment(env);
    p.start(setpriv, QStringList{"--reuid=65534", "--regid=65534", "--clear-groups",
                                 QStringLiteral(ZUNCTL_PATH)} +
                         arguments);
    QVERIFY(p.waitForFinished(60000));
    const QString stderrText = QString::fromUtf8(p.readAllStandardError());
    QCOMPARE(p.exitCode(), code);
    QVERIFY2(stderrText.endsWith(err), qPrintable(stderrText));
    QVERIFY(sim.charger.requests().isEmpty());
}

QTEST_GUILESS_MAIN(TestCliPortAccess)
#include "test_cli_port_access.moc"
