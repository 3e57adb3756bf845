#include "app/frm_main.h"
#include "app/get_data_page.h"
#include "sim/charge_log.h"
#include "sim/pty_host.h"
#include "sim/virtual_charger.h"

#include <QElapsedTimer>
#include <QMenuBar>
#include <QPushButton>
#include <QSettings>
#include <QStandardPaths>
#include <QStatusBar>
#include <QTemporaryDir>
#include <QtTest>

using namespace zun;

namespace {

// A virtual charger on a paced pseudo-terminal, with faults for the commands given.
struct Line {
    sim::VirtualCharger charger;
    sim::PtyHost host{charger};
    explicit Line(const sim::Faults& faults = {}) {
        charger.setModelCode(3120);
        charger.setLog(sim::ChargeLog::Unwrapped(25));
        charger.setFaults(faults);
        if (!host.start()) {
            qFatal("no pseudo-terminal");
        }
    }
    QString device() const { return host.devicePath(); }
};

sim::Faults endlessFor(QList<quint8> commands) {
    sim::Faults f;
    f.endless = true;
    f.onlyFor = std::move(commands);
    return f;
}

std::unique_ptr<app::FrmMain> startWindow(const QStringList& devices) {
    static QTemporaryDir scratch;
    app::StartOptions options;
    options.devices = devices;
    options.systemDevices = false;
    options.languageFolders = lang::LanguageFolders{scratch.path(), {}, {}};
    auto w = std::make_unique<app::FrmMain>(options);
    w->Form_Load();
    return w;
}

QString label(app::FrmMain& w, const char* name) {
    auto* l = w.findChild<QLabel*>(QString::fromLatin1(name));
    return l ? l->text() : QStringLiteral("<missing>");
}

}  // namespace

// The window on lines that misbehave: it never hangs, says why in its status bar, and shows
// the records a download could not bring.
class TestLinkWindow : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void searchPassesOverAPortThatNeverFallsQuiet();
    void connectionOnANoisyLineSaysWhy_data();
    void connectionOnANoisyLineSaysWhy();
    void downloadShowsMissingRecords_data();
    void downloadShowsMissingRecords();
};

void TestLinkWindow::initTestCase() {
    // The remembered "Fast link" goes to a test folder, not the user's settings.
    QStandardPaths::setTestModeEnabled(true);
    QSettings().remove(QStringLiteral("link/fast"));
}

void TestLinkWindow::searchPassesOverAPortThatNeverFallsQuiet() {
    Line noisy(endlessFor({}));
    Line charger;
    QElapsedTimer t;
    t.start();
    auto w = startWindow({noisy.device(), charger.device()});
    QVERIFY2(t.elapsed() < 60000, qPrintable(QString::number(t.elapsed())));
    QCOMPARE(w->CboPort->currentText(), QStringLiteral("Com2"));
    QCOMPARE(label(*w, "Label0(1)"), QStringLiteral("Connection OK"));
    QCOMPARE(label(*w, "Label1"), QStringLiteral("Rating : 12V 20A 300W."));
    const QString status = w->statusBar()->currentMessage();
    QVERIFY2(status.startsWith(noisy.device() + ": the line did not fall quiet"),
             qPrintable(status));
}

void TestLinkWindow::connectionOnANoisyLineSaysWhy_data() {
    QTest::addColumn<int>("command");
    QTest::addColumn<bool>("endless");  // else a wrong checksum
    QTest::addColumn<QString>("connection");
    QTest::addColumn<QString>("status");
    // The settings request never ends on its own: the labels say what they always say.
    QTest::newRow("settings endless") << 0x59 << true << "No Connection"
                                      << "the line did not fall quiet (more than 866 bytes";
    // A damaged reply is decoded as ever; the status bar says what is wrong with it.
    QTest::newRow("identify checksum") << 0x50 << false << "Connection OK"
                                       << "the reply failed the check (checksum FA";
    QTest::newRow("settings checksum") << 0x59 << false << "Connection OK"
                                       << "the reply failed the check (checksum";
}

void TestLinkWindow::connectionOnANoisyLineSaysWhy() {
    QFETCH(int, command);
    QFETCH(bool, endless);
    QFETCH(QString, connection);
    QFETCH(QString, status);
    sim::Faults f;
    f.onlyFor = {quint8(command)};
    f.endless = endless;
    f.badChecksum = !endless;
    Line line(f);
    auto w = startWindow({line.device()});
    QCOMPARE(label(*w, "Label0(1)"), connection);
    QCOMPARE(label(*w, "Label1"), QStringLiteral("Rating : 12V 20A 300W."));
    const QString shown = w->statusBar()->currentMessage();
    QVERIFY2(shown.startsWith(line.device() + ": " + status), qPrintable(shown));
}

void TestLinkWindow::downloadShowsMissingRecords_data() {
    QTest::addColumn<int>("cut");       // block replies cut to this many bytes (-1: whole)
    QTest::addColumn<bool>("endless");  // block replies never end
    QTest::addColumn<bool>("fast");     // the "Fast link" entry checked
    QTest::addColumn<int>("rows");
    QTest::addColumn<QString>("shown");
    QTest::newRow("sound") << -1 << false << false << 25 << "";
    QTest::newRow("sound, fast") << -1 << false << true << 25 << "";
    QTest::newRow("cut blocks") << 100 << false << false << 21
                                << "4 of 25 records missing (0008-0009, 0018-0019)";
    QTest::newRow("cut blocks, fast")
        << 100 << false << true << 21 << "4 of 25 records missing (0008-0009, 0018-0019)";
    QTest::newRow("endless blocks")
        << -1 << true << false << 0 << "the line did not fall quiet (more than 190 bytes";
}

void TestLinkWindow::downloadShowsMissingRecords() {
    QFETCH(int, cut);
    QFETCH(bool, endless);
    QFETCH(bool, fast);
    QFETCH(int, rows);
    QFETCH(QString, shown);
    QSettings().setValue(QStringLiteral("link/fast"), fast);
    Line line;
    auto w = startWindow({line.device()});
    QVERIFY(w->ActFastLink->isCheckable());
    QCOMPARE(w->ActFastLink->isChecked(), fast);
    QCOMPARE(label(*w, "Label0(1)"), QStringLiteral("Connection OK"));
    sim::Faults f;
    f.onlyFor = {0x78};
    f.truncateTo = cut;
    f.endless = endless;
    line.charger.setFaults(f);
    line.charger.clearRequests();

    w->findChild<QPushButton*>(QStringLiteral("CmdGetOK(2)"))->click();
    QCOMPARE(w->getDataPage()->logTable().recordCount(), rows);
    QVERIFY2(shown.isEmpty() || label(*w, "LabDownMissing").startsWith(shown),
             qPrintable(label(*w, "LabDownMissing")));
    QCOMPARE(label(*w, "LabDownMissing").isEmpty(), shown.isEmpty());
    QCOMPARE(w->findChild<QLabel*>(QStringLiteral("LabDownMissing"))->isHidden(), shown.isEmpty());
    // The same frames in either mode.
    const QStringList expected = endless ? QStringList{"850375AA000D", "850678AA000000090D"}
                                         : QStringList{"850375AA000D", "850678AA000000090D",
                                                       "850678AA000A00130D", "850678AA001400180D"};
    QCOMPARE(line.charger.requests(), expected);

    // The entry is remembered for the next start.
    w->ActFastLink->trigger();
    QCOMPARE(QSettings().value(QStringLiteral("link/fast")).toBool(), !fast);
}

QTEST_MAIN(TestLinkWindow)
#include "test_link_window.moc"
