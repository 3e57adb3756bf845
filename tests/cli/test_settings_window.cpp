#include "app/condition_page.h"
#include "app/frm_main.h"
#include "app/general_page.h"
#include "app/get_data_page.h"
#include "app/profile_editor.h"
#include "app/settings_actions.h"
#include "datalog/log_csv.h"
#include "datalog/log_download.h"
#include "datalog/log_finish.h"
#include "known_settings.h"
#include "profile/settings_compare.h"
#include "profile/settings_file.h"
#include "sim/charge_log.h"
#include "sim/loopback_exchange.h"
#include "sim/pty_host.h"
#include "sim/virtual_charger.h"

#include <QComboBox>
#include <QLineEdit>
#include <QMenuBar>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

using namespace zun;

namespace {

struct Sim {
    sim::VirtualCharger charger;
    sim::PtyHost host{charger};
    explicit Sim(quint16 model = 3120) {
        charger.setModelCode(model);
        host.setPacing(false);
        host.start();
    }
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

struct Window {
    std::unique_ptr<app::FrmMain> w;
    app::SettingsActions* actions = nullptr;
    QStringList messages;
    QStringList editorMessages;

    explicit Window(const QString& device) {
        app::StartOptions options;
        options.devices = {device};
        options.systemDevices = false;
        w = std::make_unique<app::FrmMain>(options);
        w->Form_Load();
        actions = w->findChild<app::SettingsActions*>();
        if (actions) {
            actions->messageHook = [this](const QString& t) { messages << t; };
        }
        w->profileEditor()->messageHook = [this](const QString& t) { editorMessages << t; };
    }
    app::ProfileEditor* editor() const { return w->profileEditor(); }
    QString text(const QString& name) const {
        auto* b = w->findChild<QLineEdit*>(name);
        return b ? b->text() : QStringLiteral("<missing %1>").arg(name);
    }
    QComboBox* combo(const QString& name) const { return w->findChild<QComboBox*>(name); }
    int position(const QString& name) const {
        auto* c = combo(name);
        return c ? c->currentIndex() : -99;
    }
    void chooseProfile(int p) const { editor()->CmbPN->setCurrentIndex(p); }
};

QStringList dryRun(const QString& file, const QStringList& extra) {
    QProcess p;
    p.start(QStringLiteral(ZUNCTL_PATH),
            QStringList{"write", file, "--dry-run", "--model", known::kModel} + extra);
    p.waitForFinished(60000);
    return QString::fromUtf8(p.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
}

bool isMarked(const QWidget* w) {
    return w->palette().color(QPalette::Active, QPalette::Base) ==
           app::SettingsActions::kMarkColour;
}

}  // namespace

class TestSettingsWindow : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void menuHoldsTheThreeActions();
    void openFillsThePagesAndTheirChecks();
    void writeAllSendsTheDryRunFrames();
    void anyStagePageSendsTheFileAsZunctlDoes();
    void saveWritesThePagesProfile();
    void badFilesLeaveThePagesAlone_data();
    void badFilesLeaveThePagesAlone();
    void fileForAnotherVoltageIsShownWithAWarning();
    void compareMarksTheFieldsThatDiffer();
    void logCsvEqualsTheWindowsSave();

private:
    QTemporaryDir dir_;
    QString known_;
};

void TestSettingsWindow::initTestCase() {
    QVERIFY(dir_.isValid());
    known_ = dir_.filePath("known.json");
    QVERIFY(profile::WriteSettingsFile(known_, known::Settings()).ok);
}

void TestSettingsWindow::menuHoldsTheThreeActions() {
    Sim sim;
    Window win(sim.host.devicePath());
    QVERIFY(win.actions != nullptr);
    const QList<QAction*> menus = win.w->menuBar()->actions();
    QCOMPARE(menus.size(), 1);
    QCOMPARE(menus.first()->text(), QStringLiteral("Settings"));
    QStringList texts;
    for (QAction* a : menus.first()->menu()->actions()) {
        if (!a->isSeparator()) {
            texts << a->text();
        }
    }
    QCOMPARE(texts, (QStringList{"Save settings...", "Open settings...", "Compare with charger"}));
}

void TestSettingsWindow::openFillsThePagesAndTheirChecks() {
    Sim sim;
    Window win(sim.host.devicePath());
    QVERIFY(win.actions->OpenSettingsFrom(known_));
    QCOMPARE(win.messages, QStringList());
    QCOMPARE(win.text("Txt0(1)"), QStringLiteral("100"));
    QCOMPARE(win.text("Txt0(3)"), QStringLiteral("25"));
    QCOMPARE(win.text("Txt1(0)"), QStringLiteral("10"));
    QCOMPARE(win.text("Txt1(1)"), QStringLiteral("18"));
    QCOMPARE(win.text("Txt1(4)"), QStringLiteral("20"));
    QCOMPARE(win.combo("Cmb2Total")->currentText(), QStringLiteral("3"));
    QCOMPARE(win.text("Txt2(0)"), QStringLiteral("14.4"));
    QCOMPARE(win.text("Txt2(1)"), QStringLiteral("20"));
    QCOMPARE(win.text("Txt2(5)"), QStringLiteral("2"));
    QCOMPARE(win.text("Txt2(6)"), QString());  // beyond the stage count
    QCOMPARE(win.position("Cmb3Type(0)"), 2);
    QCOMPARE(win.text("Txt3(0)"), QStringLiteral("14.2"));
    QCOMPARE(win.position("Cmb3Type(12)"), 2);
    QCOMPARE(win.text("Txt3(12)"), QStringLiteral("2.5"));
    QCOMPARE(win.position("Cmb3Type(18)"), 2);
    QCOMPARE(win.text("Txt3(18)"), QStringLiteral("45"));
    QCOMPARE(win.position("Cmb3Type(1)"), 0);
    // The checks ran: nothing conflicts, so the write-all button is on.
    QVERIFY(win.editor()->CmdOK->isEnabled());
    // The handlers stored every value in the current profile's memory.
    const link::ProfileSlot& stored = win.w->state().memory.profiles[0];
    QCOMPARE(stored.stages[1], QStringLiteral("14.4"));
    QCOMPARE(stored.nextCond[0], QStringLiteral("214.2"));
    QVERIFY(profile::CompareProfiles(known::Settings().profiles[0], stored, 0).empty());

    // A wrong stage voltage from a file is shown red and blocks the write-all, as typed would.
    profile::SettingsFile bad = known::Settings();
    bad.profiles[0].stages[1] = QStringLiteral("17.9");
    const QString badPath = dir_.filePath("bad-voltage.json");
    QVERIFY(profile::WriteSettingsFile(badPath, bad).ok);
    QVERIFY(win.actions->OpenSettingsFrom(badPath));
    QCOMPARE(win.text("Txt2(0)"), QStringLiteral("17.9"));
    QCOMPARE(
        win.w->findChild<QLineEdit*>("Txt2(0)")->palette().color(QPalette::Active, QPalette::Text),
        QColor(255, 0, 0));
    QVERIFY(!win.editor()->CmdOK->isEnabled());
}

void TestSettingsWindow::writeAllSendsTheDryRunFrames() {
    Sim sim;
    Window win(sim.host.devicePath());
    for (int p = 0; p < 2; ++p) {
        win.chooseProfile(p);
        QVERIFY(win.actions->OpenSettingsFrom(known_));
        QVERIFY2(win.editor()->CmdOK->isEnabled(), qPrintable(QString::number(p)));
        sim.charger.clearRequests();
        win.editor()->general()->CmdOK0_Click();
        win.editor()->CmdOK_Click();
        QCOMPARE(win.editorMessages.takeLast(), QStringLiteral("OK !"));
        // The write-all leaves the general page to CmdOK0 when a charger is identified, and
        // always sends the any-stage page empty.
        QStringList expected = dryRun(known_, {"--profile", QString::number(p + 1), "--pages",
                                               "general,protection,stages,next"});
        QVERIFY(!expected.isEmpty());
        const QStringList sent = sim.writes();
        QCOMPARE(sent.mid(0, expected.size()), expected);
        for (const QString& f : sent.mid(expected.size())) {
            QVERIFY2(f.startsWith("851D55") && f.mid(10, 2) == "00", qPrintable(f));
        }
    }
}

void TestSettingsWindow::anyStagePageSendsTheFileAsZunctlDoes() {
    Sim sim;
    Window win(sim.host.devicePath());
    win.chooseProfile(1);
    QVERIFY(win.actions->OpenSettingsFrom(known_));
    QCOMPARE(win.combo("Cmb4SN(1)")->currentText(), QStringLiteral("4"));
    QCOMPARE(win.combo("Cmb4SN(0)")->currentText(), QStringLiteral("3"));
    QCOMPARE(win.combo("Cmb4SN(2)")->currentIndex(), -1);
    QCOMPARE(win.position("Cmb4Type(10)"), 2);
    QCOMPARE(win.text("Txt4(10)"), QStringLiteral("50"));
    sim.charger.clearRequests();
    win.editor()->anyCond()->CmdOK4_Click();
    QCOMPARE(sim.writes(), dryRun(known_, {"--profile", "2", "--pages", "any"}));
}

void TestSettingsWindow::saveWritesThePagesProfile() {
    Sim sim;
    Window win(sim.host.devicePath());
    win.chooseProfile(1);
    QVERIFY(win.actions->OpenSettingsFrom(known_));
    // An edit on the page that no handler has stored elsewhere still reaches the file.
    win.combo("Cmb4SN(1)")->setCurrentIndex(0);  // stage 2 now jumps to stage 1
    QString asked;
    win.actions->fileHook = [&](bool save, const QString& proposed) {
        asked = proposed;
        return save ? dir_.filePath("saved") : QString();
    };
    win.actions->SaveSettings();
    QVERIFY2(QRegularExpression("^ZUN-Settings-\\d{6}-\\d{6}\\.json$").match(asked).hasMatch(),
             qPrintable(asked));
    const profile::SettingsReadResult r = profile::ReadSettingsFile(dir_.filePath("saved.json"));
    QVERIFY2(r.ok, qPrintable(r.error));
    QCOMPARE(r.settings.chargerModel, QStringLiteral("3120"));
    link::ProfileSlot wanted = known::Settings().profiles[1];
    wanted.anyTarget[1] = QStringLiteral("0");
    const auto d = profile::CompareProfiles(wanted, r.settings.profiles[1], 1);
    QVERIFY2(d.empty(), qPrintable(d.empty() ? QString() : d.front().path));
    QCOMPARE(r.settings.profiles[1].anyTarget[1], QStringLiteral("0"));
    QCOMPARE(r.settings.profiles[1].stages[7], QStringLiteral("13.5"));
    // The other profile is the charger's, as the memory holds it.
    QVERIFY(profile::CompareProfiles(win.w->state().memory.profiles[0], r.settings.profiles[0], 0)
                .empty());

    // A save that cannot be written says why and leaves nothing.
    QVERIFY(!win.actions->SaveSettingsTo(dir_.filePath("saved.json/x.json")));
    QVERIFY2(win.messages.last().startsWith("The settings were not saved: cannot write"),
             qPrintable(win.messages.last()));
}

void TestSettingsWindow::badFilesLeaveThePagesAlone_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("message");
    QTest::newRow("not JSON") << QByteArray("capacity=100") << "bad.json: not a settings file";
    QTest::newRow("version 3") << QByteArray("{\"format\":\"zun-settings\",\"version\":3}")
                               << "bad.json: settings file version 3 is not supported";
    QByteArray missing = profile::SettingsToJson(known::Settings());
    missing.replace("\"capacityAh\": 100,", "");
    QTest::newRow("missing field")
        << missing << "bad.json: profiles[1].general.capacityAh is missing";
}

void TestSettingsWindow::badFilesLeaveThePagesAlone() {
    QFETCH(QByteArray, bytes);
    QFETCH(QString, message);
    Sim sim;
    Window win(sim.host.devicePath());
    const QString before = win.text("Txt0(1)");
    QFile f(dir_.filePath("bad.json"));
    QVERIFY(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
    f.write(bytes);
    f.close();
    win.actions->fileHook = [&](bool, const QString&) { return f.fileName(); };
    win.actions->OpenSettings();
    QCOMPARE(win.messages.size(), 1);
    QVERIFY2(win.messages.first().startsWith(message), qPrintable(win.messages.first()));
    QCOMPARE(win.text("Txt0(1)"), before);
}

void TestSettingsWindow::fileForAnotherVoltageIsShownWithAWarning() {
    Sim sim(3215);  // 24 V
    Window win(sim.host.devicePath());
    QVERIFY(win.actions->OpenSettingsFrom(known_));
    QCOMPARE(win.messages, QStringList{"Profile 1 of the file is for 12 V; this charger is 24 V."});
    QCOMPARE(win.combo("Cmb0NV")->currentText(), QStringLiteral("24V"));
    QVERIFY(!win.editor()->CmdOK->isEnabled());
}

void TestSettingsWindow::compareMarksTheFieldsThatDiffer() {
    Sim sim(3110);
    Window win(sim.host.devicePath());
    win.actions->CompareWithCharger();
    QCOMPARE(win.messages.takeLast(), QStringLiteral("The pages hold the charger's profile 1."));
    QVERIFY(sim.charger.requests().endsWith("850359AA000D"));
    QCOMPARE(win.actions->markedControls(), QStringList());

    QLineEdit* voltage = win.w->findChild<QLineEdit*>("Txt2(2)");
    const QString oldTip = voltage->toolTip();
    voltage->setText(QStringLiteral("13.8"));       // the charger holds 14.2
    win.combo("Cmb3Type(12)")->setCurrentIndex(0);  // the charger uses it ("or")
    win.actions->CompareWithCharger();
    QCOMPARE(win.actions->markedControls(), (QStringList{"Txt2(2)", "Cmb3Type(12)"}));
    QCOMPARE(voltage->toolTip(), QStringLiteral("Charger: 14.2"));
    QCOMPARE(win.combo("Cmb3Type(12)")->toolTip(), QStringLiteral("Charger: or"));
    QVERIFY(isMarked(voltage));
    QVERIFY(!isMarked(win.w->findChild<QLineEdit*>("Txt2(0)")));
    QVERIFY2(win.messages.takeLast().startsWith("2 setting(s) of profile 1 differ"), "no summary");

    // The next compare starts afresh.
    voltage->setText(QStringLiteral("14.2"));
    win.actions->CompareWithCharger();
    QCOMPARE(win.actions->markedControls(), QStringList{"Cmb3Type(12)"});
    QVERIFY(!isMarked(voltage));
    QCOMPARE(voltage->toolTip(), oldTip);

    // Another profile clears the marks.
    win.chooseProfile(1);
    QCOMPARE(win.actions->markedControls(), QStringList());
    QVERIFY(!isMarked(win.combo("Cmb3Type(12)")));

    // A charger that does not answer: nothing is marked.
    sim::Faults silent;
    silent.silent = true;
    sim.charger.setFaults(silent);
    win.w->findChild<QLineEdit*>("Txt0(1)")->setText(QStringLiteral("99"));
    win.actions->CompareWithCharger();
    QCOMPARE(win.messages.takeLast(),
             QStringLiteral("The charger did not send its settings; nothing was compared."));
    QCOMPARE(win.actions->markedControls(), QStringList());
}

// zunctl's log file equals the library's save of the same download (test_cli_e2e); here the
// window's save of a wrapped ring equals that same library save, byte for byte.
void TestSettingsWindow::logCsvEqualsTheWindowsSave() {
    Sim sim(3110);
    sim.charger.setLog(sim::ChargeLog::Wrapped(2500));
    Window win(sim.host.devicePath());
    app::GetDataPage* page = win.w->getDataPage();
    page->CmdGetOK_Click(2);
    QCOMPARE(page->logTable().recordCount(), 4319);
    page->TxtGetDesc->setText(QStringLiteral("ring"));
    const QString windowPath = dir_.filePath("window-ring.csv");
    page->dialogs.saveLogName = [&](const QString&) { return windowPath; };
    page->dialogs.askYesNo = [](const QString&) { return true; };
    page->CmdGetSave_Click();
    QFile saved(windowPath);
    QVERIFY(saved.open(QIODevice::ReadOnly));
    const QByteArray window = saved.readAll();

    sim::LoopbackExchange loopback(sim.charger);
    datalog::LogTableModel table;
    table.setRows(datalog::DownloadLog(loopback).rows);
    const datalog::LogFinish finish = datalog::FinishDownload(table, QDateTime::currentDateTime());
    // The range zunctl saves by default is the one the window puts in its range boxes.
    QCOMPARE(page->TxtRow[0]->text(), finish.txtRow0);
    QCOMPARE(page->TxtRow[1]->text(), finish.txtRow1);
    datalog::CsvSaveInput input;
    input.labTime = page->LabTime->text();
    input.description = QStringLiteral("ring");
    input.rowFrom = finish.txtRow0;
    input.rowTo = finish.txtRow1;
    const QByteArray library = datalog::BuildLogCsv(table, input);
    QCOMPARE(window.size(), library.size());
    QVERIFY2(window == library, "the window's CSV differs from the library's");
}

QTEST_MAIN(TestSettingsWindow)
#include "test_settings_window.moc"
