// The window in the shipped languages: the status line, tooltips, message boxes, the chart and
// the captions set at run time follow the language chosen, and English reads as it always did.
#include "test_get_data_support.h"
#include "test_profile_support.h"

#include "app/log_chart_view.h"
#include "sim/loopback_exchange.h"

#include <QComboBox>
#include <QStatusBar>
#include <QTemporaryDir>

using namespace profile_test;

namespace {

// A program folder holding the shipped language files.
struct LanguageFolder {
    QTemporaryDir dir;
    LanguageFolder() {
        for (const char* name : {"English.lang", "Deutsch.lang"}) {
            QFile::copy(QStringLiteral(ZUN_LANG_DIR "/") + name, dir.filePath(name));
        }
    }
    zun::lang::LanguageFolders folders() const { return {dir.path(), QString(), QString()}; }
};

void choose(zun::app::FrmMain& w, const QString& language) {
    auto* list = w.findChild<QComboBox*>("CmbLang");
    QVERIFY(list != nullptr);
    const int at = list->findText(language);
    QVERIFY2(at >= 0, qPrintable(language));
    list->setCurrentIndex(at);
}

// What the window shows in one language.
struct Expected {
    const char *pageRefused, *fail, *failDetail, *toolTip, *greyToolTip, *toFix;
    const char *title, *voltage, *current, *desc, *time;
    const char *none, *andText, *orText, *monitor, *record, *connection;
};

const Expected kEnglish{
    "Protection setting refused: the charger did not acknowledge it after every try.",
    "Fail !",
    "Write all pages failed: Protection setting was refused: the charger did not acknowledge "
    "it. Not written: Charge Stage, Next Stage Condition, Any Stage Condition.",
    "Stage 1 current: must lie between 2 A and 10 A, the charger's rating (now 20 A)",
    "Nothing can be written while an entry is wrong:\nStage 1 current: must lie",
    "1 entry to fix",
    "Data Log",
    "Voltage",
    "Current",
    "Desc:",
    "Time:",
    "none",
    "and",
    "or",
    "Monitor",
    "Record...",
    "Connection OK"};

const Expected kGerman{
    "Schutzeinstellungen abgelehnt: Das Ladegerät hat sie auch nach allen Versuchen nicht "
    "bestätigt.",
    "Fehler !",
    "Schreiben aller Seiten fehlgeschlagen: Schutzeinstellungen wurde abgelehnt: Das Ladegerät "
    "hat sie nicht bestätigt. Nicht geschrieben: Ladestufen, Bedingung nächste Stufe, "
    "Bedingung beliebige Stufe.",
    "Stufe 1 Strom: muss zwischen 2 A und 10 A liegen, der Nennstrom des Ladegeräts (jetzt "
    "20 A)",
    "Solange ein Eintrag falsch ist, kann nichts geschrieben werden:\nStufe 1 Strom: muss",
    "1 Eintrag zu korrigieren",
    "Datenprotokoll",
    "Spannung",
    "Strom",
    "Beschr.:",
    "Zeit:",
    "keine",
    "und",
    "oder",
    "Überwachen",
    "Aufzeichnen...",
    "Verbindung OK"};

const struct {
    const char* tag;
    const char* first;  // the language chosen before the one under test; "" for none
    const char* language;
    const Expected& want;
} kLanguages[] = {
    {"English", "", "English", kEnglish},
    {"Deutsch", "", "Deutsch", kGerman},
    // Back from German, every text set at run time is English again.
    {"Deutsch, then English", "Deutsch", "English", kEnglish},
};

}  // namespace

class TestWindowLanguage : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void textsFollowTheLanguage_data() { AddRows(kLanguages); }

    void textsFollowTheLanguage() {
        QFETCH(int, row);
        const auto& choice = kLanguages[row];
        const Expected& r = choice.want;
        LanguageFolder folder;
        // The charger refuses the protection page.
        zun::sim::VirtualCharger charger;
        zun::sim::Faults faults;
        faults.wrongAck = true;
        faults.wrongAckCommand = 0x52;
        charger.setFaults(faults);
        Window win(
            {"charger"}, [&] { return std::make_unique<zun::sim::LoopbackExchange>(charger); },
            folder.folders());
        QVERIFY(win.activate());
        if (*choice.first != 0) {
            choose(*win.w, choice.first);
        }
        choose(*win.w, choice.language);

        // The captions set at run time.
        auto* type = win.find<QComboBox>("Cmb3Type(0)");
        QVERIFY(type != nullptr);
        QCOMPARE(type->itemText(0), QString::fromUtf8(r.none));
        QCOMPARE(type->itemText(1), QString::fromUtf8(r.andText));
        QCOMPARE(type->itemText(2), QString::fromUtf8(r.orText));
        QCOMPARE(win.find<QAbstractButton>("ChkMonitor")->text(), QString::fromUtf8(r.monitor));
        QCOMPARE(win.find<QAbstractButton>("CmdMonitorRecord")->text(),
                 QString::fromUtf8(r.record));
        QCOMPARE(win.w->Label0_1->text(), QString::fromUtf8(r.connection));

        // A page write reports in the status line.
        win.find<QPushButton>("CmdOK1")->click();
        QCOMPARE(win.w->statusBar()->currentMessage(), QString::fromUtf8(r.pageRefused));

        // The write-all's message box and its detail.
        win.messages.clear();
        win.editor()->CmdOK->click();
        QCOMPARE(win.messages, QStringList{QString::fromUtf8(r.fail)});
        QCOMPARE(win.editor()->lastMessageDetail(), QString::fromUtf8(r.failDetail));

        // A red field's tooltip, the grey write-all's and the list of entries to fix.
        Apply(win, "Txt2(1)=20");
        QCOMPARE(win.box("Txt2(1)")->toolTip(), QString::fromUtf8(r.toolTip));
        QVERIFY2(win.editor()->CmdOK->toolTip().startsWith(QString::fromUtf8(r.greyToolTip)),
                 qPrintable(win.editor()->CmdOK->toolTip()));
        QCOMPARE(win.editor()->CmdToFix->text(), QString::fromUtf8(r.toFix));

        // The chart's words.
        const zun::datalog::LogChartTexts chart = zun::app::ChartTextsInUse();
        const QStringList got{chart.title, chart.voltage, chart.current, chart.desc, chart.time};
        const QStringList want{QString::fromUtf8(r.title), QString::fromUtf8(r.voltage),
                               QString::fromUtf8(r.current), QString::fromUtf8(r.desc),
                               QString::fromUtf8(r.time)};
        QCOMPARE(got, want);
    }
};

QTEST_MAIN(TestWindowLanguage)
#include "test_window_language.moc"
