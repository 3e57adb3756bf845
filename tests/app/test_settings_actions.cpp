#include "../cli/cli_e2e_support.h"
#include "app/condition_page.h"
#include "app/frm_main.h"
#include "app/general_page.h"
#include "app/profile_editor.h"
#include "app/settings_actions.h"

#include <QComboBox>
#include <QLineEdit>
#include <QMenuBar>
#include <QTemporaryDir>
#include <QtTest>

using namespace zun;
using namespace e2e;

namespace {

// The window on its own virtual charger; messages are collected instead of shown.
struct Window {
    Sim sim;
    std::unique_ptr<app::FrmMain> w;
    app::SettingsActions* actions = nullptr;
    QStringList messages;

    explicit Window(quint16 model = 3120) : sim(model) {
        w = std::make_unique<app::FrmMain>(app::StartOptions{{sim.device()}, false, true, {}, {}});
        w->Form_Load();
        actions = w->findChild<app::SettingsActions*>();
        actions->messageHook = [this](const QString& t) { messages << t; };
        editor()->messageHook = [this](const QString& t) { messages << t; };
    }
    app::ProfileEditor* editor() const { return w->profileEditor(); }
    template <typename T = QLineEdit>
    T* get(const QString& name) const {
        T* control = w->findChild<T*>(name);
        return control ? control : (qFatal("no control %s", qPrintable(name)), nullptr);
    }
    bool marked(const QString& name) const {
        return get<QWidget>(name)->palette().color(QPalette::Base) ==
               app::SettingsActions::kMarkColour;
    }
};

}  // namespace

class TestSettingsActions : public QObject {
    Q_OBJECT
private slots:
    void openFillsThePagesAndTheirChecks();
    void writeAllSendsTheDryRunFrames();
    void saveWritesThePagesProfile();
    void compareMarksTheFieldsThatDiffer();

private:
    QTemporaryDir dir_;
};

void TestSettingsActions::openFillsThePagesAndTheirChecks() {
    Window win;
    QStringList menu;
    for (QAction* top : win.w->menuBar()->actions()) {
        menu << top->text() + ':';
        for (QAction* a : top->menu()->actions()) {
            menu << a->text();
        }
        // Every entry opens from the keyboard.
        for (const QString& t : menu.mid(menu.size() - top->menu()->actions().size() - 1)) {
            QVERIFY2(t.isEmpty() || t.contains('&'), qPrintable(t));
        }
    }
    menu.replaceInStrings("&", "");
    QCOMPARE(menu, (QStringList{"Settings:", "Save settings...", "Open settings...", "",
                                "Compare with charger", "", "Fast link", "Help:", "Line trace...",
                                "About ZUN"}));

    // A file that cannot be read says so and leaves the pages alone.
    const QString before = win.get("Txt0(1)")->text();
    win.actions->fileHook = [](bool, const QString&) { return known::kFile + ".missing"; };
    win.actions->OpenSettings();
    QVERIFY2(win.messages.size() == 1 &&
                 win.messages[0].startsWith("example-settings.json.missing: cannot read"),
             qPrintable(win.messages.join('\n')));
    QCOMPARE(win.get("Txt0(1)")->text(), before);

    win.messages.clear();
    QVERIFY(win.actions->OpenSettingsFrom(known::kFile));
    QCOMPARE(win.messages, QStringList());
    QStringList shown;
    for (const char* name : {"Txt0(1)", "Txt1(4)", "Txt2(0)", "Txt2(5)", "Txt2(6)", "Txt3(12)"}) {
        shown << win.get(name)->text();
    }
    for (const char* name : {"Cmb2Total", "Cmb3Type(12)", "Cmb3Type(1)"}) {
        shown << win.get<QComboBox>(name)->currentText();
    }
    QCOMPARE(shown, (QStringList{"100", "20", "14.4", "2", "", "2.5", "3", "or", "none"}));
    QVERIFY(win.editor()->CmdOK->isEnabled());  // the checks found nothing in conflict

    // A wrong stage voltage from a file is shown red and blocks the write-all, as typed would.
    profile::SettingsFile bad = known::Settings();
    bad.profiles[0].stages[1] = QStringLiteral("17.9");
    const QString badPath = dir_.filePath("bad-voltage.json");
    QVERIFY(profile::WriteSettingsFile(badPath, bad).ok);
    QVERIFY(win.actions->OpenSettingsFrom(badPath));
    QCOMPARE(win.get("Txt2(0)")->text(), QStringLiteral("17.9"));
    QCOMPARE(win.get("Txt2(0)")->palette().color(QPalette::Text), QColor(255, 0, 0));
    QVERIFY(!win.editor()->CmdOK->isEnabled());

    // On a 24 V charger the nominal voltage stays the charger's.
    Window other(3215);
    QVERIFY(other.actions->OpenSettingsFrom(known::kFile));
    QCOMPARE(other.messages,
             QStringList{"Profile 1 of the file is for 12 V; this charger is 24 V."});
    QCOMPARE(other.get<QComboBox>("Cmb0NV")->currentText(), QStringLiteral("24V"));
    QVERIFY(!other.editor()->CmdOK->isEnabled());
}

void TestSettingsActions::writeAllSendsTheDryRunFrames() {
    Window win;
    for (int p = 0; p < 2; ++p) {
        win.editor()->CmbPN->setCurrentIndex(p);
        QVERIFY(win.actions->OpenSettingsFrom(known::kFile));
        win.sim.charger.clearRequests();
        win.editor()->general()->CmdOK0_Click();
        win.editor()->CmdOK_Click();
        QCOMPARE(win.messages.takeLast(), QStringLiteral("OK !"));
        // With a charger identified the write-all leaves the general page to CmdOK0, and it
        // always sends the any-stage page empty; that page's own button sends the file's.
        const QString profile = QString::number(p + 1);
        const QStringList pages = dryRun(
            known::kFile, {"--profile", profile, "--pages", "general,protection,stages,next"});
        const QStringList sent = win.sim.writes();
        QCOMPARE(sent.mid(0, pages.size()), pages);
        for (const QString& f : sent.mid(pages.size())) {
            QVERIFY2(f.startsWith("851D55") && f.mid(10, 2) == "00", qPrintable(f));
        }
        QVERIFY(win.actions->OpenSettingsFrom(known::kFile));
        win.sim.charger.clearRequests();
        win.editor()->anyCond()->CmdOK4_Click();
        QCOMPARE(win.sim.writes(), dryRun(known::kFile, {"--profile", profile, "--pages", "any"}));
    }
}

void TestSettingsActions::saveWritesThePagesProfile() {
    Window win;
    win.editor()->CmbPN->setCurrentIndex(1);
    QVERIFY(win.actions->OpenSettingsFrom(known::kFile));
    // An edit that no handler stores in the profile memory still reaches the file.
    win.get<QComboBox>("Cmb4SN(1)")->setCurrentIndex(0);  // stage 2 now jumps to stage 1
    QString proposed;
    win.actions->fileHook = [&](bool save, const QString& name) {
        proposed = name;
        return save ? dir_.filePath("saved") : QString();
    };
    win.actions->SaveSettings();
    QVERIFY2(QRegularExpression("^ZUN-Settings-\\d{6}-\\d{6}\\.json$").match(proposed).hasMatch(),
             qPrintable(proposed));
    const profile::SettingsReadResult r = profile::ReadSettingsFile(dir_.filePath("saved.json"));
    QVERIFY2(r.ok, qPrintable(r.error));
    profile::SettingsFile wanted = known::Settings();
    wanted.profiles[1].anyTarget[1] = QStringLiteral("0");
    std::fill(wanted.profiles[1].stages.begin() + 9, wanted.profiles[1].stages.end(), QString());
    // The pages' profile, boxes beyond the four stages left empty; the other one as the
    // memory holds it.
    wanted.profiles[0] = win.w->state().memory.profiles[0];
    QCOMPARE(profile::SettingsToJson(r.settings).split('\n'),
             profile::SettingsToJson(wanted).split('\n'));
}

void TestSettingsActions::compareMarksTheFieldsThatDiffer() {
    Window win(3110);
    win.actions->CompareWithCharger();
    QCOMPARE(win.messages.takeLast(), QStringLiteral("The pages hold the charger's profile 1."));
    QVERIFY(win.sim.charger.requests().endsWith("850359AA000D"));
    QCOMPARE(win.actions->markedControls(), QStringList());

    QLineEdit* voltage = win.get("Txt2(2)");
    const QString oldTip = voltage->toolTip();
    voltage->setText(QStringLiteral("13.8"));                // the charger holds 14.2
    win.get<QComboBox>("Cmb3Type(12)")->setCurrentIndex(0);  // the charger uses it ("or")
    win.actions->CompareWithCharger();
    QCOMPARE(win.actions->markedControls(), (QStringList{"Txt2(2)", "Cmb3Type(12)"}));
    QCOMPARE(voltage->toolTip(), QStringLiteral("Charger: 14.2"));
    QCOMPARE(win.get<QComboBox>("Cmb3Type(12)")->toolTip(), QStringLiteral("Charger: or"));
    QVERIFY(win.marked("Txt2(2)") && !win.marked("Txt2(0)"));
    QVERIFY2(win.messages.takeLast().startsWith("2 setting(s) of profile 1 differ"), "no summary");

    // The next compare starts afresh; another profile clears the marks.
    voltage->setText(QStringLiteral("14.2"));
    win.actions->CompareWithCharger();
    QCOMPARE(win.actions->markedControls(), QStringList{"Cmb3Type(12)"});
    QVERIFY(!win.marked("Txt2(2)"));
    QCOMPARE(voltage->toolTip(), oldTip);
    win.editor()->CmbPN->setCurrentIndex(1);
    QCOMPARE(win.actions->markedControls(), QStringList());
    QVERIFY(!win.marked("Cmb3Type(12)"));
}

QTEST_MAIN(TestSettingsActions)
#include "test_settings_actions.moc"
