// What the window tells the technician: why entries are red, how each write went, how far the
// log download is and how to stop it.
#include "test_get_data_support.h"
#include "test_profile_support.h"

#include "app/language_applier.h"
#include "sim/loopback_exchange.h"

#include <QMenu>
#include <QSettings>
#include <QStatusBar>
#include <QTabBar>
#include <QTemporaryDir>

using namespace profile_test;

namespace {

struct Charger {
    zun::sim::VirtualCharger charger;
    explicit Charger(int wrongAck = 0) {
        zun::sim::Faults f;
        f.wrongAck = wrongAck != 0;
        f.wrongAckCommand = static_cast<quint8>(wrongAck);
        charger.setFaults(f);
    }
    std::unique_ptr<Window> window() {
        return std::make_unique<Window>(QStringList{"charger"}, [this] {
            return std::make_unique<zun::sim::LoopbackExchange>(charger);
        });
    }
};

const struct {
    const char *tag, *settings, *control;
    int page;  // Tab2 index of the page that shows it
    int count;
    const char *name, *reason, *fix;
} kReasons[] = {
    {"stage current above the 10 A rating", "Txt2(1)=20", "Txt2(1)", 2, 1, "Stage 1 current",
     "between 2 A and 10 A, the charger's rating (now 20 A)", "Txt2(1)=5"},
    {"total time above 24 h", "Txt1(4)=30", "Txt1(4)", 1, 1, "Maximum total charging time",
     "between 4 h and 24 h (now 30 h)", "Txt1(4)=24"},
    {"stage times no longer fit", "Txt1(4)=11", "Txt3(5)", 3, 2, "Stage 1 time",
     "add up to 720 min, more than the 660 min of the maximum total charging time", "Txt1(4)=24"},
    {"and with or on one transition", "Cmb3Type(4)=1 Txt3(4)=2", "Cmb3Type(0)", 3, 3,
     "Stage 1 condition type 1", "\"and\" and \"or\" are mixed", "Cmb3Type(4)=2"},
};

const struct {
    const char* tag;
    int failing;  // the write command whose acknowledgement is wrong
    const char *button, *message, *status;
    const char* progress;  // the pages the status line announced, '|'-separated
} kOutcomes[] = {
    {"page acknowledged", 0, "CmdOK1", "",
     "Protection setting written and acknowledged by the charger.", ""},
    {"page refused", 0x52, "CmdOK1", "",
     "Protection setting refused: the charger did not acknowledge it after every try.", ""},
    {"write-all acknowledged", 0, "CmdOK", "OK !", "Write all pages: 4 pages written.",
     "Protection setting (page 1 of 4)|Charge Stage (page 2 of 4)|"
     "Next Stage Condition (page 3 of 4)|Any Stage Condition (page 4 of 4)"},
    {"write-all stopped at the first page", 0x52, "CmdOK", "Fail !",
     "Write all pages failed: Protection setting was refused: the charger did not acknowledge "
     "it. Not written: Charge Stage, Next Stage Condition, Any Stage Condition.",
     "Protection setting (page 1 of 4)"},
    {"write-all stopped at the next-stage page", 0x54, "CmdOK", "Fail !",
     "Write all pages failed: Next Stage Condition was refused: the charger did not acknowledge "
     "it. Not written: Any Stage Condition.",
     "Protection setting (page 1 of 4)|Charge Stage (page 2 of 4)|"
     "Next Stage Condition (page 3 of 4)"},
};

const struct {
    const char *tag, *from, *to;
    int first, last;  // the records charted
    bool red;
} kRanges[] = {
    {"whole log", "1", "40", 1, 40, false},
    {"ten to twenty", "10", "20", 10, 20, false},
    {"single record", "7", "7", 7, 7, false},
    {"from after to", "20", "10", 1, 40, true},
    {"beyond the log", "10", "41", 1, 40, true},
    {"letters read as record 1", "x", "20", 1, 20, false},
};

const struct {
    const char *tag, *settings, *box, *typed, *detail;
} kTotalTimes[] = {
    {"next-stage times over 24 h", "Txt1(4)=24", "Txt3(5)", "1500",
     "min; the maximum total charging time allows 1440 min (24 h)."},
    {"any-stage time over 4 h", "Cmb4Type(5)=2 Txt4(5)=1 Txt1(4)=4", "Txt4(5)", "2000",
     "min; the maximum total charging time allows 240 min (4 h)."},
};

}  // namespace

class TestWindowFeedback : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void redEntriesSayWhy_data() { AddRows(kReasons); }

    void redEntriesSayWhy() {
        QFETCH(int, row);
        const auto& r = kReasons[row];
        Window win;
        QVERIFY(win.activate());
        auto* editor = win.editor();
        QWidget* control = win.find(r.control);
        QVERIFY(control != nullptr);
        const QString ownTip = control->toolTip();
        const QString cmdOkTip = editor->CmdOK->toolTip();
        QVERIFY(editor->CmdOK->isEnabled());
        QVERIFY(!editor->CmdToFix->isVisibleTo(editor));

        Apply(win, r.settings);

        // The field says which rule it broke and its limits.
        QVERIFY2(control->toolTip().startsWith(QString(r.name) + ": "),
                 qPrintable(control->toolTip()));
        QVERIFY2(control->toolTip().contains(r.reason), qPrintable(control->toolTip()));
        // Only the page holding it is marked, whatever page is shown.
        editor->Tab2->setCurrentIndex(0);
        for (int i = 0; i < editor->Tab2->count(); ++i) {
            QCOMPARE(editor->Tab2->tabIcon(i).isNull(), i != r.page);
        }
        // The grey write-all button explains itself; the entries to fix are listed.
        QVERIFY(!editor->CmdOK->isEnabled());
        QVERIFY2(editor->CmdOK->toolTip().contains(r.name), qPrintable(editor->CmdOK->toolTip()));
        QVERIFY(editor->CmdToFix->isVisibleTo(editor));
        const QList<QAction*> entries = editor->CmdToFix->menu()->actions();
        QStringList listed;
        for (const QAction* a : entries) {
            listed << a->text();
        }
        QVERIFY2(entries.size() == r.count, qPrintable(listed.join('\n')));
        QCOMPARE(editor->CmdToFix->text(), r.count == 1
                                               ? QString("1 entry to fix")
                                               : QString("%1 entries to fix").arg(r.count));
        QVERIFY2(entries.first()->text().contains(r.reason), qPrintable(entries.first()->text()));

        // Choosing the entry brings up its page and its field.
        entries.first()->trigger();
        QCOMPARE(editor->Tab2->currentIndex(), r.page);
        QTRY_COMPARE(QApplication::focusWidget(), control);

        // Put right, everything is as before.
        win.editor()->CmbPN->setFocus();
        Apply(win, r.fix);
        QVERIFY(editor->CmdOK->isEnabled());
        QCOMPARE(editor->CmdOK->toolTip(), cmdOkTip);
        QVERIFY(!editor->CmdToFix->isVisibleTo(editor));
        for (int i = 0; i < editor->Tab2->count(); ++i) {
            QVERIFY(editor->Tab2->tabIcon(i).isNull());
        }
        QCOMPARE(control->toolTip(), ownTip);
    }

    void totalTimeNamesSumAndLimit_data() { AddRows(kTotalTimes); }

    void totalTimeNamesSumAndLimit() {
        QFETCH(int, row);
        const auto& r = kTotalTimes[row];
        Window win;
        QVERIFY(win.activate());
        Apply(win, r.settings);
        QLineEdit* b = win.box(r.box);
        win.showPageOf(b);
        QTest::mouseClick(b, Qt::LeftButton);
        QTRY_COMPARE(b->selectedText(), b->text());
        QTest::keyClicks(b, r.typed);
        win.editor()->CmbPN->setFocus(Qt::TabFocusReason);
        QCOMPARE(win.messages, QStringList{"Total time exceed protection time!"});
        const QString detail = win.editor()->lastMessageDetail();
        QVERIFY2(detail.startsWith("The stage times add up to ") && detail.endsWith(r.detail),
                 qPrintable(detail));
        // The sum is more than the limit it is compared with.
        const double sum = detail.section(' ', 6, 6).toDouble();
        const double limit = detail.section("allows ", 1).section(' ', 0, 0).toDouble();
        QVERIFY2(sum > limit, qPrintable(detail));
    }

    void fileTypeErrorNamesTheFile() {
        getdata_test::Rig rig(zun::sim::ChargeLog::Unwrapped(3), getdata_test::Line::InProcess);
        QTemporaryDir dir;
        const QString path = dir.filePath("notes.csv");
        QFile f(path);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write("just some notes\r\n");
        f.close();
        QStringList shown;
        rig.page->dialogs.openLogName = [&](const QString&) { return path; };
        rig.page->dialogs.information = [&](const QString& t) { shown << t; };
        rig.page->CmdGetOpen->click();
        QCOMPARE(shown, QStringList{"File Type Error!"});
        QVERIFY2(rig.page->lastMessageDetail().contains(QDir::toNativeSeparators(path)),
                 qPrintable(rig.page->lastMessageDetail()));
        QVERIFY(rig.page->lastMessageDetail().contains("ZUN-Log"));
    }

    void writesReportTheirOutcome_data() { AddRows(kOutcomes); }

    void writesReportTheirOutcome() {
        QFETCH(int, row);
        const auto& r = kOutcomes[row];
        Charger c(r.failing);
        const auto window = c.window();
        Window& win = *window;
        QStringList progress;
        connect(win.w->statusBar(), &QStatusBar::messageChanged, this,
                [&progress](const QString& text) {
                    if (text.startsWith("Write all pages: writing ")) {
                        progress << text.mid(25).remove(" ...");
                    }
                });
        win.find<QPushButton>(r.button)->click();

        QCOMPARE(win.w->statusBar()->currentMessage(), QString(r.status));
        QCOMPARE(progress.join('|'), QString(r.progress));
        // The boxes keep their words; the detail names the pages.
        QCOMPARE(win.messages.join('|'), QString(r.message));
        if (r.message[0] != 0) {
            QCOMPARE(win.editor()->lastMessageDetail(), QString(r.status));
        }
    }

    void chartFollowsTheRange_data() { AddRows(kRanges); }

    void chartFollowsTheRange() {
        QFETCH(int, row);
        const auto& r = kRanges[row];
        getdata_test::Rig rig(zun::sim::ChargeLog::Unwrapped(40), getdata_test::Line::InProcess);
        auto* page = rig.page;
        rig.window->Tab1->setCurrentIndex(1);
        rig.window->show();
        QApplication::setActiveWindow(rig.window.get());
        QVERIFY(QTest::qWaitForWindowActive(rig.window.get()));
        page->CmdGetOK[2]->click();
        QCOMPARE(page->chartTable().recordCount(), 40);

        // A click into a range box selects its number: typing replaces it.
        QTest::mouseClick(page->TxtRow[0], Qt::LeftButton);
        QTRY_VERIFY(page->TxtRow[0]->hasSelectedText());
        QTest::keyClicks(page->TxtRow[0], r.from);
        QCOMPARE(page->TxtRow[0]->text(), QString(r.from));
        QTest::mouseClick(page->TxtRow[1], Qt::LeftButton);
        QTRY_VERIFY(page->TxtRow[1]->hasSelectedText());
        QTest::keyClicks(page->TxtRow[1], r.to);
        page->FG1->setFocus(Qt::MouseFocusReason);

        const auto& charted = page->chartTable();
        QCOMPARE(charted.recordCount(), r.last - r.first + 1);
        QCOMPARE(charted.rows().front().front().toInt(), r.first);
        QCOMPARE(charted.rows().back().front().toInt(), r.last);
        for (QLineEdit* box : page->TxtRow) {
            const bool red = box->palette().color(QPalette::Text) == QColor(255, 0, 0);
            QCOMPARE(red, r.red);
        }
        // Tab leaves the table at once.
        QTest::keyClick(page->FG1, Qt::Key_Tab);
        QCOMPARE(QApplication::focusWidget(), page->TxtRow[0]);
    }

    // The 1920 x 1080 picture reads like the chart on screen scaled up: thicker curves.
    void pngExportScalesLines() {
        getdata_test::Rig rig(zun::sim::ChargeLog::Unwrapped(40), getdata_test::Line::InProcess);
        rig.page->CmdGetOK[2]->click();
        QTemporaryDir dir;
        const QString path = dir.filePath("chart.png");
        rig.page->dialogs.exportName = [&](const QString&, const QString&) { return path; };
        rig.page->CmdExportPng->click();
        QImage image(path);
        QCOMPARE(image.size(), QSize(1920, 1080));
        QCOMPARE(qRound(image.dotsPerMeterX() * 0.0254), 192);
        // The voltage curve where it crosses the middle of the picture, in pixels.
        int thickest = 0;
        for (int x = 900; x < 1020; ++x) {
            int run = 0;
            for (int y = 0; y < image.height(); ++y) {
                const QColor c = image.pixelColor(x, y);
                run = c.blue() > 200 && c.red() < 90 && c.green() < 90 ? run + 1 : 0;
                thickest = std::max(thickest, run);
            }
        }
        QVERIFY2(thickest >= 2, qPrintable(QString::number(thickest)));
    }

    // The start-up search names each port it probes; the window comes back at its last size.
    void startUpSaysWhereItSearchesAndKeepsItsSize() {
        QSettings().remove("window/geometry");
        zun::sim::VirtualCharger charger;
        zun::app::StartOptions options;
        options.devices = {"first", "second"};
        options.systemDevices = false;
        // Every device reaches the charger: the search stops at the first.
        options.exchange = [&] { return std::make_unique<zun::sim::LoopbackExchange>(charger); };
        QStringList said;
        QSize kept;
        {
            zun::app::FrmMain w(options);
            connect(w.statusBar(), &QStatusBar::messageChanged, this,
                    [&](const QString& t) { said << t; });
            w.Form_Load();
            QVERIFY2(!said.isEmpty() &&
                         said.first().startsWith("Searching for the charger on Com1 (first)"),
                     qPrintable(said.join('|')));
            QVERIFY(!said.join('|').contains("Com2"));
            QCOMPARE(w.statusBar()->currentMessage(), QString("Charger found on Com1 (first)."));
            QVERIFY(w.width() <= 1024 && w.height() <= 768);
            w.show();
            w.resize(w.width() + 37, w.height() + 23);
            kept = w.size();
            QVERIFY(w.close());
        }
        zun::app::FrmMain again(options);
        QCOMPARE(again.size(), kept);
        QSettings().remove("window/geometry");
    }

    // A click on another write button while a write runs is held off, and the window says so.
    void heldOffClickIsNamed() {
        Charger c;
        const auto window = c.window();
        Window& win = *window;
        QStringList said;
        connect(win.w->statusBar(), &QStatusBar::messageChanged, this,
                [&](const QString& t) { said << t; });
        int clicks = 0;
        auto* other = win.find<QPushButton>("CmdOK2");
        connect(other, &QPushButton::clicked, this, [&] { ++clicks; });
        QObject once;
        connect(&win.w->session(), &zun::session::ChargerSession::pageWritten, &once,
                [&] { QTest::mouseClick(other, Qt::LeftButton); });
        win.find<QPushButton>("CmdOK1")->click();
        QCOMPARE(clicks, 0);
        QVERIFY2(said.filter("Busy: the charger is still answering").size() == 1,
                 qPrintable(said.join('|')));
        // Once idle, the same click goes through and says nothing of being busy.
        said.clear();
        QObject::disconnect(&win.w->session(), nullptr, &once, nullptr);
        QTest::mouseClick(other, Qt::LeftButton);
        QCOMPARE(clicks, 1);
        QVERIFY2(said.filter("Busy").isEmpty(), qPrintable(said.join('|')));
    }

    // The readings' keys keep working once a language file has set the buttons' captions.
    void readingKeysSurviveALanguage() {
        getdata_test::Rig rig(zun::sim::ChargeLog::Unwrapped(3), getdata_test::Line::InProcess);
        zun::app::ApplyLanguage(rig.window.get(),
                                {{"020001", {"CmdGetOK(0)", -1}, "Gesamtlaufzeit"},
                                 {"020003", {"CmdGetOK(2)", -1}, "Datenprotokoll"}});
        QCOMPARE(rig.page->CmdGetOK[0]->text(), QString("Gesamtlaufzeit"));
        rig.window->Tab1->setCurrentIndex(1);
        rig.window->show();
        QApplication::setActiveWindow(rig.window.get());
        QVERIFY(QTest::qWaitForWindowActive(rig.window.get()));
        rig.charger.clearRequests();
        QTest::keyClick(rig.window.get(), Qt::Key_F5);
        QCOMPARE(rig.charger.requests().size(), 1);
        QTest::keyClick(rig.window.get(), Qt::Key_F7);
        QCOMPARE(rig.page->logTable().recordCount(), 3);
    }

    void logDownloadCancels() {
        getdata_test::Rig rig(zun::sim::ChargeLog::Unwrapped(200));
        auto* bar = rig.window->findChild<QProgressBar*>("PrgTransfer");
        auto* cancel = rig.window->findChild<QPushButton*>("CmdCancel");
        QVERIFY(bar != nullptr && cancel != nullptr);
        QVERIFY(!bar->isVisibleTo(rig.window.get()));
        int shownWhileRunning = 0;
        int highest = 0;
        auto watch = std::make_unique<QObject>();
        connect(&rig.page->logTable(), &QAbstractItemModel::rowsInserted, watch.get(), [&] {
            shownWhileRunning +=
                bar->isVisibleTo(rig.window.get()) && cancel->isVisibleTo(rig.window.get());
            highest = std::max(highest, bar->value());
            if (rig.page->logTable().recordCount() == 30) {
                cancel->click();
            }
        });
        rig.page->CmdGetOK[2]->click();

        const int kept = rig.page->logTable().recordCount();
        QVERIFY2(kept >= 30 && kept < 200, qPrintable(QString::number(kept)));
        QCOMPARE(shownWhileRunning, kept);
        QVERIFY2(highest > 0 && highest < 100, qPrintable(QString::number(highest)));
        QVERIFY(!bar->isVisibleTo(rig.window.get()));
        QCOMPARE(rig.window->statusBar()->currentMessage(),
                 QString("Log download cancelled: the %1 records read so far are kept.").arg(kept));
        // Beside the progress: a cancel, not damage.
        QCOMPARE(rig.page->LabDownMissing->text(),
                 QString("Cancelled: %1 of 200 records kept").arg(kept));

        // The next download runs to its end.
        watch.reset();
        rig.page->CmdGetOK[2]->click();
        QCOMPARE(rig.page->logTable().recordCount(), 200);
        QCOMPARE(rig.window->statusBar()->currentMessage(),
                 QString("Log download ended: 200 records read."));
        QVERIFY(!rig.page->LabDownMissing->isVisibleTo(rig.window.get()));
    }
};

QTEST_MAIN(TestWindowFeedback)
#include "test_window_feedback.moc"
