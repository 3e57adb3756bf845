#include "test_profile_support.h"

#include "link/codec.h"

using namespace profile_test;

namespace {

const QString kTotalTime = QStringLiteral("Total time exceed protection time!");

// Everything the pages show for the current profile; an unused condition cell's box is
// empty and disabled, and what it shows is not the profile.
QStringList snapshot(Window& win) {
    QStringList s;
    for (QWidget* w : win.editor()->findChildren<QWidget*>()) {
        const QString name = w->objectName();
        if (auto* c = qobject_cast<QComboBox*>(w); c && name.startsWith("Cmb")) {
            s << name + "=" + c->currentText();
        } else if (auto* e = qobject_cast<QLineEdit*>(w);
                   e && name.startsWith("Txt") && (e->isEnabled() || name < "Txt3")) {
            s << name + "=" + e->text();
        }
    }
    return s;
}

// "Name=text" (a combo box: its list position), "Name[]=items", "Name:on|off" (enabled),
// "Name:shown|hidden" (on its page) or "Name:red|black|system" (text colour); several are
// separated by "; ".
void expect(Window& win, const QString& e) {
    if (e.contains("; ")) {
        for (const QString& one : e.split("; ")) {
            expect(win, one);
        }
        return;
    }
    const int at = e.indexOf(QRegularExpression("[=:]"));
    QString name = e.left(at);
    const QString want = e.mid(at + 1);
    const bool items = name.endsWith("[]");
    name.chop(items ? 2 : 0);
    QWidget* w = win.find(name);
    QVERIFY2(w != nullptr, qPrintable(name));
    auto* combo = qobject_cast<QComboBox*>(w);
    QString got;
    if (items) {
        for (int i = 0; i < combo->count(); ++i) {
            got += (i ? " " : "") + combo->itemText(i);
        }
    } else if (e[at] == '=') {
        got = combo ? QString::number(combo->currentIndex()) : w->property("text").toString();
    } else if (want == "on" || want == "off") {
        got = w->isEnabled() ? "on" : "off";
    } else if (want == "shown" || want == "hidden") {
        win.showPageOf(w);
        got = w->isVisibleTo(win.editor()->Tab2) ? "shown" : "hidden";
    } else {
        const QColor c =
            w->palette().color(QPalette::Active, combo ? QPalette::ButtonText : QPalette::Text);
        const QColor system = QApplication::palette().color(QPalette::Active, QPalette::ButtonText);
        const QColor wanted = want == "red"     ? QColor(255, 0, 0)
                              : want == "black" ? Qt::black
                                                : system;
        got = c == wanted ? want : c.name();
    }
    QCOMPARE(name + ' ' + got, name + ' ' + want);
}

const struct {
    const char *tag, *settings, *expected;  // expected: expect() forms
} kRules[] = {
    {"stage voltage 17.9 above 18 - 0.2", "Txt2(0)=17.9", "Txt2(0):red; CmdOK:off"},
    {"stage voltage wrong, then right", "Txt2(0)=17.9 Txt2(0)=14.4", "Txt2(0):system; CmdOK:on"},
    {"total time 11 h: right, but the sections no longer fit", "Txt1(4)=11",
     "Txt1(4):system; CmdOK:off"},
    {"sections 750 min in 12 h", "Cmb3Type(21)=2 Txt3(5)=300 Txt3(13)=300 Txt3(21)=150 Txt1(4)=12",
     "Txt3(5):red; Txt3(21):red; CmdOK:off"},
    {"sections 750 min in 13 h", "Cmb3Type(21)=2 Txt3(5)=300 Txt3(13)=300 Txt3(21)=150 Txt1(4)=13",
     "Txt3(5):black; Txt3(21):black; CmdOK:on"},
    {"and with or in one transition", "Cmb3Type(4)=1 Txt3(4)=2",
     "Cmb3Type(0):red; Cmb3Type(4):red; CmdOK3:off; CmdOK:off"},
    {"and, or in different transitions", "Cmb3Type(0)=1 Cmb3Type(5)=1",
     "Cmb3Type(0):black; CmdOK3:on; CmdOK:on"},
    {"any-stage mix guards only its own button", "Cmb4Type(0)=1 Cmb4Type(4)=2",
     "CmdOK4:off; CmdOK:on"},
    {"slot 2 of the first transition returns to none", "Cmb3Type(2)=1",
     "Cmb3Type(2)=0; Txt3(2):off"},
    {"slot 2 of the last transition stays", "Cmb3Type(18)=1", "Cmb3Type(18)=1; Txt3(18):on"},
    {"48 V: over-voltage 72, 12 V stages wrong", "Cmb0NV=2", "Txt1(1)=72; Txt2(0):red; CmdOK:off"},
    {"one stage", "Cmb2Total=0",
     "Txt2(1):on; Txt2(2):off; Txt2(2):hidden; Lab2(9):hidden; LabNext(0)=Stage 1 to 1; "
     "LabNext(1):hidden; Cmb3Type(13):hidden; Txt4(8):hidden; Cmb4SN(0)[]=; Cmb4SN(1):hidden"},
    {"two stages", "Cmb2Total=1",
     "Txt2(3):shown; Txt2(4):off; LabNext(1)=Stage 2 to 1; Cmb4SN(0)[]=2; Cmb4SN(1)[]=1"},
    {"four stages", "Cmb2Total=3",
     "Txt2(7):on; Txt2(8):off; Txt2(8):hidden; Lab2(15):shown; Lab2(18):hidden; "
     "LabNext(2)=Stage 3 to 4; LabNext(3)=Stage 4 to 1; LabNext(4):hidden; Cmb3Type(29):shown; "
     "Cmb3Type(37):hidden; Txt4(31):shown; Txt4(32):hidden; Cmb4SN(1)[]=1 3 4; Cmb4SN(4):hidden"},
    {"no stage count", "Cmb2Total=-1",
     "Txt2(0):off; Txt2(0):hidden; LabNext(0):hidden; Cmb4SN(0):hidden; CmdOK:off"},
};

const struct {
    const char *tag, *settings, *box, *typed, *shown, *left, *focus;
    bool message;  // the total-time message on leaving
} kTyping[] = {
    {"capacity 700", "", "Txt0(1)", "700", "700", "600", "CmdOK0", false},
    {"total time 30", "", "Txt1(4)", "30", "30", "24", "CmdOK1", false},
    {"stage voltage 20", "", "Txt2(0)", "20", "20", "16", "Txt2(1)", false},
    {"last stage current 100", "", "Txt2(5)", "100", "100", "10", "CmdOK2", false},
    {"section 1500 capped, over 24 h", "Txt1(4)=24", "Txt3(5)", "1500", "1440", "1440",
     "Cmb3Type(6)", true},
    {"section 480 fits 12 h", "Txt1(4)=12", "Txt3(5)", "480", "480", "480", "Cmb3Type(6)", false},
    {"slot 4 not capped", "", "Txt3(12)", "1500", "1500", "4", "Cmb3Type(13)", false},
    {"temperature 70", "Cmb3Type(18)=1 Txt3(18)=30", "Txt3(18)", "70", "70", "59", "Cmb3Type(19)",
     false},
    {"any-stage section 2000 in 4 h", "Cmb4Type(5)=2 Txt4(5)=1 Txt1(4)=4", "Txt4(5)", "2000",
     "1440", "1440", "Cmb4Type(6)", true},
    {"any-stage voltage above the stage", "Cmb4Type(0)=1 Txt4(0)=1", "Txt4(0)", "20", "20", "14.2",
     "Cmb4Type(1)", false},
};

const struct {
    const char *tag, *box, *before, *during;  // settings before the box takes the focus, during
} kHiding[] = {
    {"stage 3 current, 4 stages to 1", "Txt2(5)", "Cmb2Total=3", "Cmb2Total=0"},
    {"stage 1 voltage, no count", "Txt2(0)", "Cmb2Total=3", "Cmb2Total=-1"},
    {"next-stage column beyond the count", "Txt3(21)", "Cmb3Type(21)=2 Txt3(21)=30", "Cmb2Total=1"},
    {"any-stage cell set to none", "Txt4(8)", "Cmb4Type(8)=2", "Cmb4Type(8)=0"},
};

}  // namespace

class TestProfileEditing : public QObject {
    Q_OBJECT
private slots:
    void profileSwitchRestoresEveryPage() {
        Window win;
        Apply(win,
              "Txt0(1)=120 Txt1(0)=50 Txt2(2)=14 Txt3(0)=13.9 Cmb3Type(13)=0 Cmb4Type(3)=1 "
              "Txt4(3)=7 Cmb4SN(0)=1");
        // A target chosen by hand is kept with the profile.
        emit win.editor()->anyCond()->Cmb4SN[0]->activated(1);
        QCOMPARE(win.state().memory.ProfileAnyTarget(0, 0), QStringLiteral("2"));
        const QStringList before = snapshot(win);
        QVERIFY(before.contains("Txt0(1)=120") && before.contains("Txt2(6)="));
        win.editor()->CmbPN->setCurrentIndex(1);
        for (const char* shown : {"Cmb2Total=2", "Txt2(4)=", "Txt0(1)=100", "Cmb3Type(0)=and"}) {
            QVERIFY2(snapshot(win).contains(shown), shown);
        }
        win.editor()->CmbPN->setCurrentIndex(0);
        QCOMPARE(snapshot(win), before);
        // Neither profile took anything of the other; fields beyond a stage count are emptied on
        // the page only.
        auto& m = win.state().memory;
        QCOMPARE(m.ProfileGeneral(1, 1) + " " + m.ProfileNextCond(1, 0), QStringLiteral("100 114"));
        QCOMPARE(m.ProfileNextCond(0, 0) + " " + m.ProfileAnyCond(0, 3),
                 QStringLiteral("213.9 17"));
        QCOMPARE(m.ProfileStages(1, 5) + " " + m.ProfileStages(0, 7), QStringLiteral("0 0"));
    }

    void autoSet0() {
        Window win;
        Apply(win, "Cmb2Total=0 Txt1(4)=9 Txt2(0)=9.1 Txt2(1)=7 Cmb3Type(22)=1");
        for (bool checked : {true, false}) {
            win.editor()->Check1->click();
            QCOMPARE(win.editor()->Check1->isChecked(), checked);
            QStringList used;  // next-stage cells in use, as index=type
            for (int i = 0; i < 56; ++i) {
                if (const int t = win.editor()->nextCond()->CmbType[i]->currentIndex()) {
                    used << QStringLiteral("%1=%2").arg(i).arg(t);
                }
            }
            QCOMPARE(used.join(' '), QString(checked ? "5=2 13=2 21=2" : ""));
            expect(win,
                   "Cmb2Total=2; Txt1(4)=20; Txt2(0)=14; Txt2(1)=2; Txt2(2)=14.2; Txt2(4)=14.4; "
                   "Txt2(5)=2");
            // Through the handlers: the profile holds what the pages show.
            auto& m = win.state().memory;
            QCOMPARE(m.ProfileStages(0, 0) + " " + m.ProfileStages(0, 1) + " " +
                         m.ProfileProtection(0, 4) + " " + m.ProfileNextCond(0, 5),
                     QString(checked ? "3 14 20 20" : "3 14 20 00"));
        }
    }

    void crossPageRules_data() { AddRows(kRules); }

    void crossPageRules() {
        QFETCH(int, row);
        Window win;
        QVERIFY(win.editor()->CmdOK->isEnabled());
        Apply(win, kRules[row].settings);
        expect(win, kRules[row].expected);
    }

    void typingInABox_data() { AddRows(kTyping); }

    // Select-all on focus, typing, Enter moving on without writing, and the correction on leaving,
    // all with real mouse and key events.
    void typingInABox() {
        QFETCH(int, row);
        const auto& r = kTyping[row];
        Window win;
        QVERIFY(win.activate());
        Apply(win, r.settings);
        // Any exchange at all, a write included, makes the session busy.
        QSignalSpy exchanges(&win.w->session(), &zun::session::ChargerSession::busyChanged);
        QLineEdit* b = win.box(r.box);
        win.showPageOf(b);
        QVERIFY(!b->text().isEmpty());
        // A click puts the cursor where it lands; the deferred select-all follows it.
        QTest::mouseClick(b, Qt::LeftButton, {}, QPoint(b->width() - 4, b->height() / 2));
        QTRY_COMPARE(b->selectedText(), b->text());
        QTest::keyClicks(b, r.typed);
        QCOMPARE(b->text(), QString(r.shown));
        QTest::keyClick(b, Qt::Key_Return);
        QWidget* focus = QApplication::focusWidget();
        QCOMPARE(focus ? focus->objectName() : "none", QString(r.focus));
        QCOMPARE(b->text(), QString(r.left));
        QCOMPARE(win.messages, r.message ? QStringList{kTotalTime} : QStringList());
        QCOMPARE(exchanges.count(), 0);
    }

    void hidingParksTheFocus_data() { AddRows(kHiding); }

    void hidingParksTheFocus() {
        QFETCH(int, row);
        const auto& [tag, box, before, during] = kHiding[row];
        Window win;
        QVERIFY(win.activate());
        Apply(win, before);
        QLineEdit* b = win.box(box);
        win.showPageOf(b);
        b->setFocus(Qt::MouseFocusReason);
        QCOMPARE(QApplication::focusWidget(), b);
        const QStringList shown = snapshot(win);
        Apply(win, during);
        QWidget* focus = QApplication::focusWidget();
        QVERIFY2(qobject_cast<QLineEdit*>(focus) == nullptr,
                 qPrintable(focus ? focus->objectName() : ""));
        // No other box was left, so none was corrected.
        for (const QString& s : snapshot(win)) {
            QVERIFY2(!s.startsWith("Txt") || s.startsWith(box) || shown.contains(s), qPrintable(s));
        }
    }

    void tabSwitchLeavesTheNewPageAlone() {
        Window win;
        QVERIFY(win.activate());
        Apply(win, "Txt1(0)=45.6 Txt2(0)=14.45");
        QLineEdit* b = win.box("Txt2(0)");
        win.showPageOf(b);
        b->setFocus(Qt::MouseFocusReason);
        win.editor()->Tab2->setCurrentIndex(1);
        // The box the user was in was left; the new page's first box was never chosen.
        QCOMPARE(b->text(), QStringLiteral("14.4"));
        QVERIFY(qobject_cast<QLineEdit*>(QApplication::focusWidget()) == nullptr);
        win.editor()->CmbPN->setFocus(Qt::MouseFocusReason);
        QCOMPARE(win.box("Txt1(0)")->text(), QStringLiteral("45.6"));
    }

    void oddTextsNeverCrash_data() {
        QTest::addColumn<QString>("text");
        for (const char* t : {"", "abc", "1e40", "&HFFFF", "-0", "99999999", "1,5",
                              "\u0663\u066B\u0665", "\U0001F50B"}) {
            QTest::newRow(t) << QString::fromUtf8(t);
        }
    }

    void oddTextsNeverCrash() {
        QFETCH(QString, text);
        Window win;
        QVERIFY(win.activate());
        Apply(win, "Cmb3Type(*)=1 Cmb4Type(*)=1");  // every cell that stays in use takes the text
        int left = 0;
        for (QLineEdit* b : win.editor()->findChildren<QLineEdit*>()) {
            const QString name = b->objectName();
            win.showPageOf(b);
            if (!name.startsWith("Txt") || !b->isEnabled() || !b->isVisible()) {
                continue;
            }
            b->setText(text);
            win.leave(b);
            ++left;
            const float v = zun::link::TextToSingle(b->text());
            const int i = name.section('(', 1).chopped(1).toInt();
            const auto in = [v](float lo, float hi) { return v >= lo && v <= hi; };
            const bool stage = name.startsWith("Txt2");
            QVERIFY2(name == "Txt0(1)"   ? in(2, 600)
                     : name == "Txt1(4)" ? in(4, 24)
                                         : !stage || (i % 2 ? in(2, 10) : in(12, 16)),
                     qPrintable(name + " shows " + b->text()));
        }
        QVERIFY2(left > 30, qPrintable(QString::number(left)));
        // Writing what is there ends in a clear outcome: no charger is connected.
        for (const char* button : {"CmdOK0", "CmdOK1", "CmdOK2", "CmdOK3", "CmdOK4"}) {
            win.find<QPushButton>(button)->click();
        }
        win.editor()->CmdOK_Click();
        for (const QString& m : win.messages) {
            QVERIFY2(m == "Overflow" || m == "Fail !" || m == kTotalTime, qPrintable(m));
        }
        QCOMPARE(win.messages.last(), QStringLiteral("Fail !"));
    }

    void captionsAndNames() {
        Window win;
        expect(win, QString::fromUtf8(
                        "Check1=Atuo set 0; Lab1(0)=Profile No :; Lab0(10)=\u00B0C  (20-30); "
                        "Lab1(10)=H  (4 - 24); Lab2(0)=CHARGE STAGE VOLTAGE & CURRENT SETTING; "
                        "Label3(3)=Temperature rise above (\u00B0C); LabNext(2)=Stage 3 to 1; "
                        "Label3(16)=Red color means wrong entry or conflict of previous setting "
                        ".Recheck just entered setting ."));
        QStringList tabs;
        for (int i = 0; i < win.editor()->Tab2->count(); ++i) {
            tabs << win.editor()->Tab2->tabText(i);
        }
        QCOMPARE(tabs.join('|'), QStringLiteral("General Setting|Protection setting|Charge Stage|"
                                                "Next Stage Condition|Any Stage Condition"));
        for (const QString& name :
             QString("CmdOK CmdOK0 CmdOK4 CmbPN Cmb0NV Cmb2Total Txt0(5) Txt1(4) "
                     "Txt2(13) Txt3(55) Txt4(55) Cmb3Type(55) Cmb4SN(6)")
                 .split(' ')) {
            QVERIFY2(win.find(name) != nullptr, qPrintable(name));
        }
    }
};

QTEST_MAIN(TestProfileEditing)
#include "test_profile_editing.moc"
