// The window's live monitor over a pty to the virtual charger: polls wait their turn beside the
// other exchanges, the recording file holds every reading, and a vanished adapter comes back.
#include "app/frm_main.h"
#include "app/get_data_page.h"
#include "app/line_trace_window.h"
#include "app/monitor_panel.h"
#include "app/profile_editor.h"
#include "datalog/monitor_file.h"
#include "link/frames.h"
#include "session/live_poller.h"
#include "sim/pty_host.h"
#include "sim/virtual_charger.h"

#include <QClipboard>
#include <QFile>
#include <QStatusBar>
#include <QTemporaryDir>
#include <QtTest>

#include <atomic>

using namespace zun;

namespace {

// The window on the charger's pty, reached under a link name that survives a vanished device.
// Counts exchanges that began while another was still open: there must never be one.
struct Rig {
    sim::VirtualCharger charger;
    sim::PtyHost host{charger};
    QTemporaryDir dir;
    QString link;
    std::unique_ptr<app::FrmMain> window;
    app::MonitorPanel* monitor = nullptr;
    std::atomic<int> inFlight{0};
    std::atomic<int> nested{0};

    Rig() {
        host.setPacing(false);
        if (!host.start()) {
            qFatal("no pty");
        }
        link = dir.filePath("charger");
        host.createLink(link);
        // The request reaches the charger on the host's thread; the reply is handed over on
        // the window's.
        charger.setRequestListener([this](const QString&) {
            if (inFlight.fetch_add(1) > 0) {
                ++nested;
            }
        });
        app::StartOptions options;
        options.devices = {link};
        options.systemDevices = false;
        options.languageFolders = lang::LanguageFolders{dir.path(), {}, {}};
        window = std::make_unique<app::FrmMain>(options);
        QObject::connect(&window->session(), &session::ChargerSession::replied,
                         [this] { --inFlight; });
        window->Form_Load();
        monitor = window->getDataPage()->Monitor;
        window->profileEditor()->messageHook = [](const QString&) {};
    }

    void startMonitor(int seconds) {
        monitor->TxtMonitorInterval->setValue(seconds);
        monitor->ChkMonitor->click();
    }
    std::size_t readings() const { return monitor->series().size(); }
    QString label() const { return window->Label0_1->text(); }
};

const QString kLiveText =
    QStringLiteral("charge:14.2V  8.5A\r\nbat1:  14.12V  5.20A\r\nbat2:  14.08V  3.30A");

}  // namespace

class TestMonitorWindow : public QObject {
    Q_OBJECT
private slots:
    void pollsWaitTheirTurn_data();
    void pollsWaitTheirTurn();
    void aClickDuringAReadingWaitsForIt_data();
    void aClickDuringAReadingWaitsForIt();
    void recordingHoldsEveryReading();
    void aFileThatCannotBeWrittenIsNoRecording();
    void reconnectsAfterThePtyVanishesAndReturns();
    void lineTraceListsEveryFrame();
    void intervalIsRemembered();
};

void TestMonitorWindow::pollsWaitTheirTurn_data() {
    QTest::addColumn<QString>("button");
    QTest::newRow("Data Log") << "CmdGetOK(2)";
    QTest::newRow("Write all pages") << "CmdOK";
}

void TestMonitorWindow::pollsWaitTheirTurn() {
    QFETCH(QString, button);
    Rig rig;
    QCOMPARE(rig.label(), QStringLiteral("Connection OK"));
    auto* b = rig.window->findChild<QPushButton*>(button);
    QVERIFY(b != nullptr);
    QVERIFY(b->isEnabled());
    rig.startMonitor(1);
    QTRY_VERIFY_WITH_TIMEOUT(rig.readings() >= 1, 10000);
    QCOMPARE(rig.window->getDataPage()->TxtGetText(1), kLiveText);
    const int deferredBefore = rig.monitor->poller().deferred();
    for (int k = 0; k < 2; ++k) {
        // Each exchange of the click runs seconds; the monitor's timer comes due meanwhile.
        b->click();
        if (button == QLatin1String("CmdGetOK(2)")) {
            QCOMPARE(rig.window->getDataPage()->logTable().recordCount(),
                     rig.charger.log().count());
        }
    }
    QVERIFY2(rig.monitor->poller().deferred() > deferredBefore,
             "no poll came due during the clicked exchange");
    const std::size_t after = rig.readings();
    // The waiting poll went once the click was done, and the monitor carries on.
    QTRY_VERIFY_WITH_TIMEOUT(rig.readings() >= after + 2, 10000);
    QCOMPARE(rig.nested.load(), 0);
    // The live requests went between the other exchanges, never inside them.
    QVERIFY(rig.charger.requests().filter(QLatin1String(link::kLiveRequest)).size() >= 3);
}

void TestMonitorWindow::aClickDuringAReadingWaitsForIt_data() {
    QTest::addColumn<QString>("how");
    QTest::newRow("mouse click") << "click";
    // The button is let go only after the reading: the press alone counts.
    QTest::newRow("press, release later") << "press";
    QTest::newRow("F5") << "key";
}

// A click that lands in the fraction of a second a reading takes is not refused: the run time
// is asked for, once, as soon as the reading is done.
void TestMonitorWindow::aClickDuringAReadingWaitsForIt() {
    QFETCH(QString, how);
    // Declared before the window, so that nothing it says while closing reaches a dead list.
    QStringList said;
    bool clicked = false;
    bool duringReading = false;
    Rig rig;
    rig.window->Tab1->setCurrentIndex(1);
    rig.window->show();
    QVERIFY(QTest::qWaitForWindowExposed(rig.window.get()));
    auto* runTime = rig.window->getDataPage()->CmdGetOK[0];
    QObject::connect(rig.window->statusBar(), &QStatusBar::messageChanged,
                     [&](const QString& text) { said << text; });
    QObject::connect(&rig.window->session(), &session::ChargerSession::busyChanged, [&](bool busy) {
        if (!busy || clicked || !rig.monitor->poller().polling()) {
            return;
        }
        clicked = true;
        QTimer::singleShot(20, rig.window.get(), [&] {
            duringReading = rig.monitor->poller().polling();
            if (how == QLatin1String("key")) {
                QTest::keyClick(rig.window.get(), Qt::Key_F5);
            } else if (how == QLatin1String("click")) {
                QTest::mouseClick(runTime, Qt::LeftButton);
            } else {
                QTest::mousePress(runTime, Qt::LeftButton);
                QTimer::singleShot(800, runTime,
                                   [runTime] { QTest::mouseRelease(runTime, Qt::LeftButton); });
            }
        });
    });
    QCOMPARE(rig.window->getDataPage()->TxtGetText(0), QString());
    const auto runTimeRequests = [&] {
        return rig.charger.requests().filter(QLatin1String(link::kRunTimeRequest)).size();
    };
    const auto before = runTimeRequests();
    rig.startMonitor(1);
    QTRY_VERIFY_WITH_TIMEOUT(clicked, 10000);
    QTRY_VERIFY_WITH_TIMEOUT(!rig.window->getDataPage()->TxtGetText(0).isEmpty(), 10000);
    QVERIFY(duringReading);
    QTest::qWait(1000);
    QVERIFY2(said.filter(QStringLiteral("Busy")).isEmpty(), qPrintable(said.join('|')));
    QCOMPARE(rig.nested.load(), 0);
    // Asked for once, after the reading, not inside it.
    QCOMPARE(runTimeRequests(), before + 1);
}

void TestMonitorWindow::recordingHoldsEveryReading() {
    Rig rig;
    const QString path = rig.dir.filePath("ZUN-Monitor-test.csv");
    QString proposed;
    rig.monitor->askRecordPath = [&](const QString& p) {
        proposed = p;
        return path;
    };
    rig.monitor->CmdMonitorRecord->click();
    QVERIFY(rig.monitor->recorder().recording());
    QVERIFY2(QRegularExpression("ZUN-Monitor-\\d{6}-\\d{6}\\.csv$").match(proposed).hasMatch(),
             qPrintable(proposed));
    QCOMPARE(rig.window->statusBar()->currentMessage(), QStringLiteral("Recording to ") + path);
    rig.startMonitor(1);
    QTRY_VERIFY_WITH_TIMEOUT(rig.readings() >= 3, 15000);
    rig.monitor->CmdMonitorRecord->click();
    QVERIFY(!rig.monitor->recorder().recording());
    QVERIFY(!rig.monitor->CmdMonitorRecord->isChecked());
    const std::size_t n = rig.readings();
    QCOMPARE(rig.window->statusBar()->currentMessage(),
             QStringLiteral("Recording stopped: %1 readings in %2").arg(n).arg(path));
    QFile f(path);
    QVERIFY(f.open(QIODevice::ReadOnly));
    const QStringList lines = QString::fromUtf8(f.readAll()).split("\r\n");
    QCOMPARE(lines.size(), int(n) + 2);  // header, the readings, nothing after the last CR LF
    QCOMPARE(lines.first(), datalog::MonitorHeaderLine());
    for (std::size_t i = 0; i < n; ++i) {
        QCOMPARE(lines.at(int(i) + 1), datalog::MonitorLine(rig.monitor->series().at(i)));
    }
    QVERIFY(lines.last().isEmpty());
}

void TestMonitorWindow::aFileThatCannotBeWrittenIsNoRecording() {
    if (!QFile::exists("/dev/full")) {
        QSKIP("no /dev/full here");
    }
    Rig rig;
    rig.monitor->askRecordPath = [](const QString&) { return QStringLiteral("/dev/full"); };
    rig.startMonitor(1);
    rig.monitor->CmdMonitorRecord->click();
    QVERIFY(!rig.monitor->recorder().recording());
    QVERIFY(!rig.monitor->CmdMonitorRecord->isChecked());
    const QString message = rig.window->statusBar()->currentMessage();
    QVERIFY2(message.startsWith("Recording not started: /dev/full: "), qPrintable(message));
    // The readings go on in memory and on the chart.
    const std::size_t before = rig.readings();
    QTRY_VERIFY_WITH_TIMEOUT(rig.readings() >= before + 2, 10000);
}

void TestMonitorWindow::reconnectsAfterThePtyVanishesAndReturns() {
    Rig rig;
    QCOMPARE(rig.label(), QStringLiteral("Connection OK"));
    const QString path = rig.dir.filePath("m.csv");
    rig.monitor->askRecordPath = [&](const QString&) { return path; };
    rig.monitor->CmdMonitorRecord->click();
    rig.startMonitor(1);
    QTRY_VERIFY_WITH_TIMEOUT(rig.readings() >= 2, 10000);
    rig.host.vanish();
    QTRY_COMPARE_WITH_TIMEOUT(rig.label(), QStringLiteral("No Connection"), 10000);
    QCOMPARE(rig.window->statusBar()->currentMessage(),
             QStringLiteral("No Connection: waiting for %1 to come back").arg(rig.link));
    QVERIFY(rig.window->session().watchingForReturn());
    const std::size_t beforeReturn = rig.readings();
    rig.charger.clearRequests();
    QVERIFY(rig.host.comeBack());
    QTRY_COMPARE_WITH_TIMEOUT(rig.label(), QStringLiteral("Connection OK"), 10000);
    QVERIFY(rig.window->statusBar()->currentMessage().startsWith(rig.link + " is back"));
    QVERIFY(rig.window->CmdReadPages != nullptr && !rig.window->CmdReadPages->isHidden());
    // The charger was identified again, the pages were not read.
    QVERIFY(rig.charger.requests().contains(QLatin1String(link::kIdentifyRequest)));
    QVERIFY(!rig.charger.requests().contains(QLatin1String(link::kSettingsRequest)));
    // The monitor resumed, its first reading after the return marked as after a gap.
    QTRY_VERIFY_WITH_TIMEOUT(rig.readings() > beforeReturn, 10000);
    QVERIFY(rig.monitor->series().at(beforeReturn).gapBefore);
    for (std::size_t i = 1; i < beforeReturn; ++i) {
        QVERIFY(!rig.monitor->series().at(i).gapBefore);
    }
    // The file notes the gap at the same reading and goes on.
    QFile f(path);
    QVERIFY(f.open(QIODevice::ReadOnly));
    const QStringList lines = QString::fromUtf8(f.readAll()).split("\r\n", Qt::SkipEmptyParts);
    QCOMPARE(lines.filter(",reconnected").size(), 1);
    QCOMPARE(lines.indexOf(QRegularExpression(".*,reconnected$")), int(beforeReturn) + 1);
    // Reading the pages is the user's choice.
    rig.window->CmdReadPages->click();
    QVERIFY(rig.charger.requests().contains(QLatin1String(link::kSettingsRequest)));
    QVERIFY(rig.window->CmdReadPages->isHidden());
    QCOMPARE(rig.nested.load(), 0);
}

void TestMonitorWindow::lineTraceListsEveryFrame() {
    Rig rig;
    rig.charger.clearRequests();
    rig.window->getDataPage()->CmdGetOK[0]->click();
    // A request that gets no reply shows as such.
    sim::Faults silent;
    silent.silent = true;
    rig.charger.setFaults(silent);
    rig.window->getDataPage()->CmdGetOK[1]->click();
    rig.window->ActLineTrace->trigger();
    app::LineTraceWindow* w = rig.window->lineTraceWindow();
    QVERIFY(w->isVisible());
    const QStringList shown = w->TxtTrace->toPlainText().split('\n');
    const QRegularExpression frame("^\\[ *\\d+ ms\\] ([<>]) (.*)$");
    QStringList tail;
    for (const QString& line : shown.mid(shown.size() - 4)) {
        const QRegularExpressionMatch m = frame.match(line);
        QVERIFY2(m.hasMatch(), qPrintable(line));
        tail << m.captured(1) + " " + m.captured(2);
    }
    QCOMPARE(tail, (QStringList{"> 850357AA000D", "< 850667064A0000BD0D", "> 850358AA000D",
                                "< (no reply)"}));
    // The start-up's frames came first: probe, identification, settings.
    QVERIFY(w->TxtTrace->toPlainText().contains("> 850359AA000D"));
    // A frame arriving while the window is open is added at once.
    rig.charger.setFaults({});
    rig.window->getDataPage()->CmdGetOK[0]->click();
    QVERIFY(w->TxtTrace->toPlainText().endsWith("< 850667064A0000BD0D"));

    w->CmdTraceCopy->click();
    QCOMPARE(QGuiApplication::clipboard()->text(), rig.window->lineTrace().text());
    const QString path = rig.dir.filePath("trace.txt");
    w->askSavePath = [&](const QString&) { return path; };
    QString error;
    w->tellError = [&](const QString& e) { error = e; };
    w->CmdTraceSave->click();
    QFile f(path);
    QVERIFY(f.open(QIODevice::ReadOnly));
    QCOMPARE(QString::fromUtf8(f.readAll()), rig.window->lineTrace().text());
    QVERIFY(error.isEmpty());
    // A folder that does not exist: said, not saved.
    w->askSavePath = [&](const QString&) { return rig.dir.filePath("no/such/trace.txt"); };
    w->CmdTraceSave->click();
    QVERIFY2(error.startsWith("The line trace was not saved to"), qPrintable(error));
}

void TestMonitorWindow::intervalIsRemembered() {
    {
        Rig rig;
        QVERIFY(!rig.monitor->ChkMonitor->isChecked());   // off until the user ticks it
        rig.monitor->TxtMonitorInterval->setValue(3601);  // clamped to the hour
        QCOMPARE(rig.monitor->poller().intervalSeconds(), 3600);
        rig.monitor->TxtMonitorInterval->setValue(7);
    }
    Rig again;
    QCOMPARE(again.monitor->TxtMonitorInterval->value(), 7);
    QCOMPARE(again.monitor->poller().intervalSeconds(), 7);
    QVERIFY(!again.monitor->ChkMonitor->isChecked());
}

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("zun-tests"));
    TestMonitorWindow t;
    return QTest::qExec(&t, argc, argv);
}

#include "test_monitor_window.moc"
