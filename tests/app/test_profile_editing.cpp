#include "test_profile_support.h"

#include "link/codec.h"

#include <cmath>

using namespace profile_test;

namespace {

const QColor kRed(255, 0, 0);

QColor systemText() {
    return QApplication::palette().color(QPalette::Active, QPalette::ButtonText);
}

// Everything a page shows for the current profile, to compare before and after a switch.
QStringList snapshot(Window& win) {
    QStringList s;
    for (int i = 1; i <= 5; ++i) {
        s << QStringLiteral("Txt0(%1)=%2").arg(i).arg(win.general()->Txt0[i]->text());
    }
    for (int i = 0; i < 5; ++i) {
        s << QStringLiteral("Txt1(%1)=%2").arg(i).arg(win.protection()->Txt1[i]->text());
    }
    s << QStringLiteral("Cmb0NV=%1").arg(win.general()->Cmb0NV->currentIndex());
    s << QStringLiteral("Cmb2Total=%1").arg(win.stages()->Cmb2Total->currentIndex());
    for (int i = 0; i < 14; ++i) {
        s << QStringLiteral("Txt2(%1)=%2").arg(i).arg(win.stages()->Txt2[i]->text());
    }
    for (auto* page : {win.nextCond(), win.anyCond()}) {
        const QString tag = page == win.nextCond() ? QStringLiteral("3") : QStringLiteral("4");
        for (int i = 0; i < 56; ++i) {
            const int type = page->CmbType[i]->currentIndex();
            s << QStringLiteral("Cmb%1Type(%2)=%3").arg(tag).arg(i).arg(type);
            // An unused cell's box is empty and disabled; what it shows is not the profile.
            if (type != 0) {
                s << QStringLiteral("Txt%1(%2)=%3").arg(tag).arg(i).arg(page->Txt[i]->text());
            }
        }
    }
    for (int s4 = 0; s4 < 7; ++s4) {
        s << QStringLiteral("Cmb4SN(%1)=%2").arg(s4).arg(win.anyCond()->Cmb4SN[s4]->currentText());
    }
    return s;
}

QStringList differences(const QStringList& a, const QStringList& b) {
    QStringList out;
    for (int i = 0; i < qMax(a.size(), b.size()); ++i) {
        const QString x = a.value(i);
        const QString y = b.value(i);
        if (x != y) {
            out << x + QStringLiteral(" <> ") + y;
        }
    }
    return out;
}

}  // namespace

class TestProfileEditing : public QObject {
    Q_OBJECT
private slots:
    void leaveCorrections_data();
    void leaveCorrections();
    void profileSwitchRestoresEveryPage();
    void storedNominalVoltage_data();
    void storedNominalVoltage();
    void storedCountAndTarget();
    void noProfileStoresNothing();
    void autoSet0_data();
    void autoSet0();
    void stageCountShapesPages_data();
    void stageCountShapesPages();
    void consistencyColours_data();
    void consistencyColours();
    void sectionTimeColours_data();
    void sectionTimeColours();
    void typeMix_data();
    void typeMix();
    void typeOutsideSlots045ReturnsToNone_data();
    void typeOutsideSlots045ReturnsToNone();
    void sectionTimeCapWhileTyping_data();
    void sectionTimeCapWhileTyping();
    void totalTimeMessage_data();
    void totalTimeMessage();
    void nominalVoltageSetsLimits_data();
    void nominalVoltageSetsLimits();
    void oddTextsNeverCrash_data();
    void oddTextsNeverCrash();
    void captions_data();
    void captions();
    void focusSelectsWholeText_data();
    void focusSelectsWholeText();
    void hidingParksTheFocus_data();
    void hidingParksTheFocus();
    void tabSwitchLeavesTheNewPageAlone_data();
    void tabSwitchLeavesTheNewPageAlone();
};

void TestProfileEditing::leaveCorrections_data() {
    QTest::addColumn<QString>("box");
    QTest::addColumn<QString>("typeBox");  // set to "and" first, to enable a condition cell
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");
    QTest::newRow("capacity above 600") << "Txt0(1)"
                                        << ""
                                        << "700"
                                        << "600";
    QTest::newRow("capacity below 2") << "Txt0(1)"
                                      << ""
                                      << "1.4"
                                      << "2";
    QTest::newRow("capacity rounded") << "Txt0(1)"
                                      << ""
                                      << "150.6"
                                      << "151";
    QTest::newRow("capacity not a number") << "Txt0(1)"
                                           << ""
                                           << "abc"
                                           << "2";
    QTest::newRow("coefficient half up") << "Txt0(2)"
                                         << ""
                                         << "18.5"
                                         << "19";
    QTest::newRow("reference temperature 25") << "Txt0(3)"
                                              << ""
                                              << "25"
                                              << "25.0";
    QTest::newRow("reference temperature 22.45") << "Txt0(3)"
                                                 << ""
                                                 << "22.45"
                                                 << "22.5";
    QTest::newRow("derating whole") << "Txt0(4)"
                                    << ""
                                    << "2.4"
                                    << "2";
    QTest::newRow("derating reference") << "Txt0(5)"
                                        << ""
                                        << "40"
                                        << "40.0";
    QTest::newRow("over-temperature negative") << "Txt1(0)"
                                               << ""
                                               << "-5"
                                               << "0";
    QTest::newRow("over-temperature whole") << "Txt1(0)"
                                            << ""
                                            << "45.6"
                                            << "46";
    QTest::newRow("over-voltage untouched") << "Txt1(1)"
                                            << ""
                                            << "abc"
                                            << "abc";
    QTest::newRow("charge amount negative") << "Txt1(2)"
                                            << ""
                                            << "-3"
                                            << "1";
    QTest::newRow("stage number whole") << "Txt1(3)"
                                        << ""
                                        << "2.6"
                                        << "3";
    QTest::newRow("total time above 24") << "Txt1(4)"
                                         << ""
                                         << "30"
                                         << "24";
    QTest::newRow("total time below 4") << "Txt1(4)"
                                        << ""
                                        << "2"
                                        << "4";
    QTest::newRow("total time one decimal") << "Txt1(4)"
                                            << ""
                                            << "12.5"
                                            << "12.5";
    QTest::newRow("stage current below 2") << "Txt2(1)"
                                           << ""
                                           << "1"
                                           << "2";
    QTest::newRow("stage current above rating") << "Txt2(1)"
                                                << ""
                                                << "100"
                                                << "10";
    QTest::newRow("stage current one decimal") << "Txt2(3)"
                                               << ""
                                               << "2.46"
                                               << "2.5";
    QTest::newRow("stage voltage 20 to the ceiling") << "Txt2(0)"
                                                     << ""
                                                     << "20"
                                                     << "16";
    QTest::newRow("stage voltage 15.9 stays") << "Txt2(2)"
                                              << ""
                                              << "15.9"
                                              << "15.9";
    QTest::newRow("stage voltage below nominal") << "Txt2(4)"
                                                 << ""
                                                 << "10"
                                                 << "12";
    QTest::newRow("stage voltage 14.45 shows 14.4") << "Txt2(0)"
                                                    << ""
                                                    << "14.45"
                                                    << "14.4";
    QTest::newRow("next: voltage above stage") << "Txt3(0)"
                                               << ""
                                               << "20"
                                               << "14.2";
    QTest::newRow("next: voltage below minimum") << "Txt3(0)"
                                                 << ""
                                                 << "5"
                                                 << "11.8";
    QTest::newRow("next: current below 1") << "Txt3(12)"
                                           << ""
                                           << "0.5"
                                           << "1";
    QTest::newRow("next: current above stage") << "Txt3(12)"
                                               << ""
                                               << "10"
                                               << "4";
    QTest::newRow("next: current stays") << "Txt3(12)"
                                         << ""
                                         << "2.5"
                                         << "2.5";
    QTest::newRow("next: temperature above 59") << "Txt3(18)"
                                                << "Cmb3Type(18)"
                                                << "70"
                                                << "59";
    QTest::newRow("next: temperature below 0") << "Txt3(18)"
                                               << "Cmb3Type(18)"
                                               << "-5"
                                               << "0";
    QTest::newRow("next: temperature cut") << "Txt3(18)"
                                           << "Cmb3Type(18)"
                                           << "45.7"
                                           << "45";
    QTest::newRow("next: section time") << "Txt3(5)"
                                        << ""
                                        << "abc"
                                        << "0";
    QTest::newRow("any: temperature") << "Txt4(2)"
                                      << "Cmb4Type(2)"
                                      << "70"
                                      << "59";
    QTest::newRow("any: voltage") << "Txt4(0)"
                                  << "Cmb4Type(0)"
                                  << "20"
                                  << "14.2";
    QTest::newRow("any: current") << "Txt4(4)"
                                  << "Cmb4Type(4)"
                                  << "10"
                                  << "9";
    QTest::newRow("any: rise kept as typed") << "Txt4(1)"
                                             << "Cmb4Type(1)"
                                             << "x7"
                                             << "x7";
}

void TestProfileEditing::leaveCorrections() {
    QFETCH(QString, box);
    QFETCH(QString, typeBox);
    QFETCH(QString, text);
    QFETCH(QString, expected);
    Window win({});
    LoadDefaultProfiles(win);
    QVERIFY(win.activate());
    if (!typeBox.isEmpty()) {
        win.combo(typeBox)->setCurrentIndex(1);
    }
    QLineEdit* b = win.box(box);
    QVERIFY2(b && b->isEnabled(), qPrintable(box));
    win.type(b, text);
    QCOMPARE(b->text(), text);
    win.leave(b);
    QCOMPARE(b->text(), expected);
}

void TestProfileEditing::profileSwitchRestoresEveryPage() {
    Window win({});
    LoadDefaultProfiles(win);
    QVERIFY(win.activate());
    win.type(win.box("Txt0(1)"), "120");
    win.leave(win.box("Txt0(1)"));
    win.type(win.box("Txt1(0)"), "50");
    win.type(win.box("Txt2(2)"), "14");
    win.type(win.box("Txt3(0)"), "13.9");
    win.combo("Cmb3Type(13)")->setCurrentIndex(0);  // unused from now on
    win.combo("Cmb4Type(3)")->setCurrentIndex(1);
    win.type(win.box("Txt4(3)"), "7");
    // A target chosen by hand is kept with the profile.
    win.anyCond()->Cmb4SN[0]->setCurrentIndex(1);
    emit win.anyCond()->Cmb4SN[0]->activated(1);
    QCOMPARE(win.state().memory.ProfileAnyTarget(0, 0), QStringLiteral("2"));
    win.leave(win.box("Txt4(3)"));
    const QStringList before = snapshot(win);
    QVERIFY(before.contains("Txt0(1)=120"));
    QVERIFY(before.contains("Txt2(6)="));

    win.editor()->CmbPN->setCurrentIndex(1);
    const QStringList other = snapshot(win);
    QVERIFY(other.contains("Cmb2Total=1"));
    QVERIFY(other.contains("Txt2(4)="));  // beyond profile 2's two stages: emptied
    QVERIFY(other.contains("Txt0(1)=100"));
    QVERIFY(other.contains("Cmb3Type(0)=1"));

    win.editor()->CmbPN->setCurrentIndex(0);
    const QStringList after = snapshot(win);
    QVERIFY2(after == before, qPrintable(differences(before, after).join('\n')));
    // Filling profile 2 and back stored nothing of one into the other.
    QCOMPARE(win.state().memory.ProfileGeneral(1, 1), QStringLiteral("100"));
    QCOMPARE(win.state().memory.ProfileNextCond(0, 0), QStringLiteral("213.9"));
    QCOMPARE(win.state().memory.ProfileNextCond(1, 0), QStringLiteral("114"));
    QCOMPARE(win.state().memory.ProfileAnyCond(0, 3), QStringLiteral("17"));
    // Fields beyond a stage count are emptied on the page, not in the profile.
    QCOMPARE(win.state().memory.ProfileStages(1, 5), QStringLiteral("0"));
    QCOMPARE(win.state().memory.ProfileStages(0, 7), QStringLiteral("0"));
}

void TestProfileEditing::storedNominalVoltage_data() {
    QTest::addColumn<bool>("identified");
    QTest::addColumn<QString>("stored");
    QTest::addColumn<int>("expected");
    QTest::newRow("no charger, 24 V profile") << false << "24" << 1;
    QTest::newRow("no charger, 48 V profile") << false << "48" << 2;
    QTest::newRow("no charger, 36 V profile: unchanged") << false << "36" << 0;
    QTest::newRow("no charger, empty: unchanged") << false << "" << 0;
    QTest::newRow("charger identified: its own voltage wins") << true << "24" << 0;
}

void TestProfileEditing::storedNominalVoltage() {
    QFETCH(bool, identified);
    QFETCH(QString, stored);
    QFETCH(int, expected);
    Window win({});
    LoadDefaultProfiles(win, identified ? QStringLiteral("3110") : QString(), identified ? 10 : 0);
    win.state().memory.ProfileGeneral(1, 0) = stored;
    win.editor()->CmbPN->setCurrentIndex(1);
    QCOMPARE(win.general()->Cmb0NV->currentIndex(), expected);
    // The over-voltage limit follows the voltage shown, never the profile.
    QCOMPARE(win.protection()->Txt1[1]->text(), QString::number(18 << expected));
}

void TestProfileEditing::storedCountAndTarget() {
    Window win({});
    LoadDefaultProfiles(win);
    auto& m = win.state().memory;
    m.ProfileStages(1, 0) = QStringLiteral("6");
    for (int k = 5; k <= 12; ++k) {
        m.ProfileStages(1, k) = QStringLiteral("13.%1").arg(k);
    }
    m.ProfileAnyTarget(1, 0) = QStringLiteral("2");
    m.ProfileAnyTarget(1, 1) = QStringLiteral("1");  // its own stage: not in its list
    win.editor()->CmbPN->setCurrentIndex(1);
    QCOMPARE(win.stages()->Cmb2Total->currentIndex(), 3);
    QCOMPARE(win.box("Txt2(7)")->text(), QStringLiteral("13.8"));
    QCOMPARE(win.box("Txt2(8)")->text(), QString());
    QCOMPARE(win.anyCond()->Cmb4SN[0]->currentText(), QStringLiteral("3"));
    QCOMPARE(win.anyCond()->Cmb4SN[1]->currentIndex(), -1);
}

void TestProfileEditing::noProfileStoresNothing() {
    Window win({});
    LoadDefaultProfiles(win);
    {
        const QSignalBlocker block(win.editor()->CmbPN);
        win.editor()->CmbPN->setCurrentIndex(-1);
    }
    win.box("Txt0(1)")->setText("333");
    win.box("Txt2(0)")->setText("13");
    win.combo("Cmb3Type(0)")->setCurrentIndex(1);
    for (int p = 0; p < 2; ++p) {
        QCOMPARE(win.state().memory.ProfileGeneral(p, 1), QStringLiteral("100"));
        QCOMPARE(win.state().memory.ProfileStages(p, 1), QStringLiteral("14.4"));
    }
    QCOMPARE(win.state().memory.ProfileNextCond(0, 0), QStringLiteral("214"));
}

void TestProfileEditing::autoSet0_data() {
    QTest::addColumn<int>("nominal");
    QTest::addColumn<QStringList>("voltages");
    QTest::newRow("12V") << 0 << QStringList{"14", "14.2", "14.4"};
    QTest::newRow("24V") << 1 << QStringList{"28", "28.4", "28.8"};
    QTest::newRow("48V") << 2 << QStringList{"56", "56.8", "57.6"};
    QTest::newRow("none chosen") << -1 << QStringList{"9.1", "9.2", "9.3"};
}

void TestProfileEditing::autoSet0() {
    QFETCH(int, nominal);
    QFETCH(QStringList, voltages);
    Window win({});
    LoadDefaultProfiles(win);
    win.general()->Cmb0NV->setCurrentIndex(nominal);
    win.stages()->Cmb2Total->setCurrentIndex(0);
    win.box("Txt1(4)")->setText("9");
    for (int s = 0; s < 3; ++s) {
        win.stages()->Txt2[2 * s]->setText(QStringLiteral("9.%1").arg(s + 1));
        win.stages()->Txt2[2 * s + 1]->setText("7");
    }
    win.combo("Cmb3Type(22)")->setCurrentIndex(1);
    for (bool checked : {true, false}) {
        win.editor()->Check1->click();
        QCOMPARE(win.editor()->Check1->isChecked(), checked);
        QCOMPARE(win.stages()->Cmb2Total->currentIndex(), 2);
        QCOMPARE(win.box("Txt1(4)")->text(), QStringLiteral("20"));
        for (int s = 0; s < 3; ++s) {
            QCOMPARE(win.stages()->Txt2[2 * s]->text(), voltages[s]);
            QCOMPARE(win.stages()->Txt2[2 * s + 1]->text(), QStringLiteral("2"));
            QVERIFY(win.stages()->Txt2[2 * s + 1]->isEnabled());
        }
        for (int i = 0; i < 56; ++i) {
            const bool section = checked && (i == 5 || i == 13 || i == 21);
            QCOMPARE(win.nextCond()->CmbType[i]->currentIndex(), section ? 2 : 0);
            if (section) {
                QCOMPARE(win.nextCond()->Txt[i]->text(), QStringLiteral("0"));
            }
        }
        // Through the handlers: the profile holds what the pages show.
        QCOMPARE(win.state().memory.ProfileStages(0, 0), QStringLiteral("3"));
        QCOMPARE(win.state().memory.ProfileStages(0, 1), voltages[0]);
        QCOMPARE(win.state().memory.ProfileProtection(0, 4), QStringLiteral("20"));
        QCOMPARE(win.state().memory.ProfileNextCond(0, 5),
                 checked ? QStringLiteral("20") : QStringLiteral("00"));
    }
}

void TestProfileEditing::stageCountShapesPages_data() {
    QTest::addColumn<int>("position");
    QTest::addColumn<QStringList>("captions");
    QTest::addColumn<QStringList>("targets");  // items of Cmb4SN(0) and Cmb4SN(1)
    QTest::newRow("one stage") << 0 << QStringList{"Stage 1 to 1"} << QStringList{"", "1"};
    QTest::newRow("two stages") << 1 << QStringList{"Stage 1 to 2", "Stage 2 to 1"}
                                << QStringList{"2", "1"};
    QTest::newRow("four stages") << 3
                                 << QStringList{"Stage 1 to 2", "Stage 2 to 3", "Stage 3 to 4",
                                                "Stage 4 to 1"}
                                 << QStringList{"2 3 4", "1 3 4"};
    QTest::newRow("none") << -1 << QStringList{} << QStringList{"", ""};
}

void TestProfileEditing::stageCountShapesPages() {
    QFETCH(int, position);
    QFETCH(QStringList, captions);
    QFETCH(QStringList, targets);
    Window win({});
    LoadDefaultProfiles(win);
    win.stages()->Cmb2Total->setCurrentIndex(position);
    const int n = captions.size();
    QCOMPARE(win.state().memory.ProfileStages(0, 0), win.stages()->Cmb2Total->currentText());
    for (int i = 0; i < 14; ++i) {
        QCOMPARE(win.stages()->Txt2[i]->isEnabled(), i < 2 * n);
        QCOMPARE(win.stages()->Txt2[i]->isVisibleTo(win.stages()), i < 2 * n);
    }
    for (int s = 0; s < 7; ++s) {
        const bool shown = s < n;
        auto* next = win.nextCond();
        auto* any = win.anyCond();
        QCOMPARE(next->LabCol[s]->isVisibleTo(next), shown);
        QCOMPARE(next->CmbType[8 * s + 5]->isVisibleTo(next), shown);
        QCOMPARE(next->Txt[8 * s + 7]->isVisibleTo(next), shown);
        QCOMPARE(any->Txt[8 * s]->isVisibleTo(any), shown);
        QCOMPARE(any->Cmb4SN[s]->isVisibleTo(any), shown);
        QCOMPARE(
            win.find<QLabel>(QStringLiteral("Lab2(%1)").arg(3 * s + 6))->isVisibleTo(win.stages()),
            shown);
        if (shown) {
            QCOMPARE(next->LabCol[s]->text(), captions[s]);
        }
    }
    for (int s = 0; s < 2; ++s) {
        QStringList items;
        for (int j = 0; j < win.anyCond()->Cmb4SN[s]->count(); ++j) {
            items << win.anyCond()->Cmb4SN[s]->itemText(j);
        }
        QCOMPARE(items.join(' '), targets[s]);
    }
}

void TestProfileEditing::consistencyColours_data() {
    QTest::addColumn<QString>("box");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("wrong");
    QTest::addColumn<bool>("writable");
    QTest::newRow("stage voltage 17.9 above 18 - 0.2") << "Txt2(0)"
                                                       << "17.9" << true << false;
    QTest::newRow("stage voltage 16.5 above 16") << "Txt2(0)"
                                                 << "16.5" << true << false;
    QTest::newRow("stage voltage 11.9 below 12") << "Txt2(2)"
                                                 << "11.9" << true << false;
    QTest::newRow("stage voltage 14.4") << "Txt2(0)"
                                        << "14.4" << false << true;
    QTest::newRow("stage current 1.9") << "Txt2(1)"
                                       << "1.9" << true << false;
    QTest::newRow("stage current 10 of 10 A") << "Txt2(1)"
                                              << "10" << false << true;
    QTest::newRow("stage current 10.5 of 10 A") << "Txt2(3)"
                                                << "10.5" << true << false;
    QTest::newRow("total time 3.9") << "Txt1(4)"
                                    << "3.9" << true << false;
    QTest::newRow("total time 24.1") << "Txt1(4)"
                                     << "24.1" << true << false;
    QTest::newRow("total time 24") << "Txt1(4)"
                                   << "24" << false << true;
    // Right in itself, but the sections (720 min) no longer fit: disabled without colour.
    QTest::newRow("total time 11 h") << "Txt1(4)"
                                     << "11" << false << false;
    QTest::newRow("next: voltage above stage") << "Txt3(0)"
                                               << "14.3" << true << false;
    QTest::newRow("next: current above stage") << "Txt3(12)"
                                               << "4.5" << true << false;
}

void TestProfileEditing::consistencyColours() {
    QFETCH(QString, box);
    QFETCH(QString, text);
    QFETCH(bool, wrong);
    QFETCH(bool, writable);
    Window win({});
    LoadDefaultProfiles(win);
    QVERIFY(win.editor()->CmdOK->isEnabled());
    QLineEdit* b = win.box(box);
    const QString original = b->text();
    b->setText(text);
    QCOMPARE(TextColour(b), wrong ? kRed : systemText());
    QCOMPARE(win.editor()->CmdOK->isEnabled(), writable);
    // Back to the loaded value: right again and writable.
    b->setText(original);
    QCOMPARE(TextColour(b), systemText());
    QVERIFY(win.editor()->CmdOK->isEnabled());
}

void TestProfileEditing::sectionTimeColours_data() {
    QTest::addColumn<QString>("hours");
    QTest::addColumn<bool>("wrong");
    QTest::newRow("720 min in 12 h") << "12" << false;
    QTest::newRow("750 min in 12 h") << "12" << true;
    QTest::newRow("750 min in 13 h") << "13" << false;
}

void TestProfileEditing::sectionTimeColours() {
    QFETCH(QString, hours);
    QFETCH(bool, wrong);
    Window win({});
    LoadDefaultProfiles(win);
    const QString tag = QString::fromLatin1(QTest::currentDataTag());
    const QString third = tag.startsWith("720") ? "120" : "150";
    win.combo("Cmb3Type(21)")->setCurrentIndex(2);
    win.box("Txt3(5)")->setText("300");
    win.box("Txt3(13)")->setText("300");
    win.box("Txt3(21)")->setText(third);
    win.box("Txt1(4)")->setText(hours);
    for (const char* name : {"Txt3(5)", "Txt3(13)", "Txt3(21)"}) {
        QCOMPARE(TextColour(win.box(name)), wrong ? kRed : QColor(Qt::black));
    }
    QCOMPARE(win.editor()->CmdOK->isEnabled(), !wrong);
}

void TestProfileEditing::typeMix_data() {
    QTest::addColumn<int>("andCell");
    QTest::addColumn<int>("orCell");
    QTest::addColumn<bool>("mixed");     // the page's own conflict scan: slots 0, 2, 4, 5
    QTest::addColumn<bool>("coloured");  // the consistency check: slots 0, 4, 5
    QTest::newRow("slots 0 and 4 of transition 1") << 0 << 4 << true << true;
    QTest::newRow("slots 4 and 5 of transition 2") << 12 << 13 << true << true;
    QTest::newRow("slot 0 of 1, slot 4 of 2") << 0 << 12 << false << false;
    QTest::newRow("slots 0 and 2 of the last transition") << 16 << 18 << true << false;
}

void TestProfileEditing::typeMix() {
    QFETCH(int, andCell);
    QFETCH(int, orCell);
    QFETCH(bool, mixed);
    QFETCH(bool, coloured);
    Window win({});
    LoadDefaultProfiles(win);
    auto* page = win.nextCond();
    for (QComboBox* c : page->CmbType) {
        c->setCurrentIndex(0);
    }
    page->CmbType[andCell]->setCurrentIndex(1);
    page->Txt[andCell]->setText(andCell % 8 == 0 ? "13" : "2");
    page->CmbType[orCell]->setCurrentIndex(2);
    page->Txt[orCell]->setText(orCell % 8 == 5 ? "60" : orCell % 8 == 0 ? "13" : "2");
    QCOMPARE(page->CmdOKn->isEnabled(), !mixed);
    // Only slots 0, 4 and 5 are coloured, and only in conflict.
    for (int cell : {andCell, orCell}) {
        const bool judged = cell % 8 == 0 || cell % 8 == 4 || cell % 8 == 5;
        const QColor colour =
            page->CmbType[cell]->palette().color(QPalette::Active, QPalette::ButtonText);
        if (judged) {
            QCOMPARE(colour, coloured ? kRed : QColor(Qt::black));
        }
    }
    QCOMPARE(win.editor()->CmdOK->isEnabled(), !coloured);
    // The same types on the any-stage page only guard its own button.
    auto* any = win.anyCond();
    any->CmbType[andCell]->setCurrentIndex(1);
    any->CmbType[orCell]->setCurrentIndex(2);
    QCOMPARE(any->CmdOKn->isEnabled(), !mixed);
}

void TestProfileEditing::typeOutsideSlots045ReturnsToNone_data() {
    QTest::addColumn<int>("cell");
    QTest::addColumn<int>("expected");
    QTest::newRow("slot 2 of the first transition") << 2 << 0;
    QTest::newRow("slot 1 of the first transition") << 1 << 0;
    QTest::newRow("slot 7 of the second transition") << 15 << 0;
    QTest::newRow("slot 2 of the last transition stays") << 18 << 1;
    QTest::newRow("slot 0 stays") << 0 << 1;
    QTest::newRow("slot 4 stays") << 4 << 1;
}

void TestProfileEditing::typeOutsideSlots045ReturnsToNone() {
    QFETCH(int, cell);
    QFETCH(int, expected);
    Window win({});
    LoadDefaultProfiles(win);
    auto* page = win.nextCond();
    page->CmbType[cell]->setCurrentIndex(1);
    QCOMPARE(page->CmbType[cell]->currentIndex(), expected);
    QCOMPARE(page->Txt[cell]->isEnabled(), expected != 0);
    QCOMPARE(win.state().memory.ProfileNextCond(0, cell).left(1), QString::number(expected));
}

void TestProfileEditing::sectionTimeCapWhileTyping_data() {
    QTest::addColumn<QString>("box");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");
    QTest::newRow("1500 minutes") << "Txt3(5)"
                                  << "1500"
                                  << "1440";
    QTest::newRow("1441 minutes") << "Txt3(13)"
                                  << "1441"
                                  << "1440";
    QTest::newRow("1440 stays") << "Txt3(5)"
                                << "1440"
                                << "1440";
    QTest::newRow("any-stage page") << "Txt4(5)"
                                    << "2000"
                                    << "1440";
    QTest::newRow("slot 4 is not capped") << "Txt3(12)"
                                          << "1500"
                                          << "1500";
}

void TestProfileEditing::sectionTimeCapWhileTyping() {
    QFETCH(QString, box);
    QFETCH(QString, text);
    QFETCH(QString, expected);
    Window win({});
    LoadDefaultProfiles(win);
    QVERIFY(win.activate());
    win.anyCond()->CmbType[5]->setCurrentIndex(2);
    QLineEdit* b = win.box(box);
    win.type(b, text);
    QCOMPARE(b->text(), expected);
}

void TestProfileEditing::totalTimeMessage_data() {
    QTest::addColumn<QString>("hours");
    QTest::addColumn<QString>("box");
    QTest::addColumn<QString>("minutes");
    QTest::addColumn<bool>("shown");
    QTest::newRow("480 + 240 in 4 h") << "4"
                                      << "Txt3(5)"
                                      << "480" << true;
    QTest::newRow("480 + 240 in 12 h") << "12"
                                       << "Txt3(5)"
                                       << "480" << false;
    QTest::newRow("600 + 480 in 18 h") << "18"
                                       << "Txt3(13)"
                                       << "600" << false;
    QTest::newRow("any-stage page") << "4"
                                    << "Txt4(5)"
                                    << "300" << true;
}

void TestProfileEditing::totalTimeMessage() {
    QFETCH(QString, hours);
    QFETCH(QString, box);
    QFETCH(QString, minutes);
    QFETCH(bool, shown);
    Window win({});
    LoadDefaultProfiles(win);
    QVERIFY(win.activate());
    win.anyCond()->CmbType[5]->setCurrentIndex(2);
    win.box("Txt1(3)")->setText("3.0");
    win.box("Txt1(4)")->setText(hours);
    QLineEdit* b = win.box(box);
    win.type(b, minutes);
    win.leave(b);
    QCOMPARE(win.messages.contains("Total time exceed protection time!"), shown);
    QCOMPARE(b->text(), minutes);  // the value itself is kept
    QCOMPARE(win.box("Txt1(3)")->text(), QStringLiteral("3"));
}

void TestProfileEditing::nominalVoltageSetsLimits_data() {
    QTest::addColumn<int>("position");
    QTest::addColumn<QString>("overVoltage");
    QTest::addColumn<float>("step");
    QTest::addColumn<float>("maximum");
    QTest::newRow("12V") << 0 << "18" << 0.2f << 15.8f;
    QTest::newRow("24V") << 1 << "36" << 0.4f << 31.6f;
    QTest::newRow("48V") << 2 << "72" << 0.8f << 63.2f;
    QTest::newRow("none") << -1 << "0" << 0.1f << 7.9f;
}

void TestProfileEditing::nominalVoltageSetsLimits() {
    QFETCH(int, position);
    QFETCH(QString, overVoltage);
    QFETCH(float, step);
    QFETCH(float, maximum);
    Window win({});
    LoadDefaultProfiles(win, QString(), 10, position == 0 ? 1 : 0);
    win.general()->Cmb0NV->setCurrentIndex(position);
    QCOMPARE(win.protection()->Txt1[1]->text(), overVoltage);
    QCOMPARE(win.state().VoltStep, step);
    QCOMPARE(win.state().StageVoltMax, maximum);
    QCOMPARE(win.editor()->CmdOK->isEnabled(), position == 0);
}

void TestProfileEditing::oddTextsNeverCrash_data() {
    QTest::addColumn<QString>("text");
    QTest::newRow("empty") << "";
    QTest::newRow("letters") << "abc";
    QTest::newRow("beyond single") << "1e40";
    QTest::newRow("hex") << "&HFFFF";
    QTest::newRow("minus zero") << "-0";
    QTest::newRow("huge") << "99999999";
    QTest::newRow("unicode digits") << QString::fromUtf8("\u0663\u066B\u0665");
    QTest::newRow("emoji") << QString::fromUtf8("\U0001F50B12");
    QTest::newRow("comma") << "1,5";
}

void TestProfileEditing::oddTextsNeverCrash() {
    QFETCH(QString, text);
    Window win({});
    LoadDefaultProfiles(win);
    QVERIFY(win.activate());
    for (auto* page : {win.nextCond(), win.anyCond()}) {
        for (int i = 16; i < 24; ++i) {
            page->CmbType[i]->setCurrentIndex(1);  // the last transition keeps every slot
        }
    }
    const QList<QLineEdit*> boxes = win.editor()->findChildren<QLineEdit*>();
    int left = 0;
    for (QLineEdit* b : boxes) {
        if (!b->isEnabled() || !win.shownOnItsPage(b)) {
            continue;
        }
        b->setText(text);
        win.leave(b);
        ++left;
        const QString name = b->objectName();
        const float v = zun::link::TextToSingle(b->text());
        auto within = [&](float lo, float hi) {
            QVERIFY2(v >= lo && v <= hi, qPrintable(name + " shows " + b->text()));
        };
        if (name == "Txt0(1)") {
            within(2, 600);
        } else if (name == "Txt1(4)") {
            within(4, 24);
        } else if (name.startsWith("Txt2(")) {
            const int i = name.mid(5).chopped(1).toInt();
            i % 2 == 0 ? within(12, 16) : within(2, 10);
        } else if (name.startsWith("Txt3(") || name.startsWith("Txt4(")) {
            const int i = name.mid(5).chopped(1).toInt();
            if (i % 8 == 2) {
                within(0, 59);
            } else if (i % 8 == 0) {
                within(11.8f, 15.8f);
            }
        }
    }
    QVERIFY2(left > 30, qPrintable(QString::number(left)));
    // Writing what is there ends in a clear outcome, never a crash: no charger is connected.
    for (const char* button : {"CmdOK0", "CmdOK1", "CmdOK2", "CmdOK3", "CmdOK4"}) {
        win.find<QPushButton>(button)->click();
    }
    win.editor()->CmdOK_Click();
    for (const QString& m : win.messages) {
        QVERIFY2(m == "Overflow" || m == "Fail !" || m == "Total time exceed protection time!",
                 qPrintable(m));
    }
    QCOMPARE(win.messages.last(), QStringLiteral("Fail !"));
}

void TestProfileEditing::captions_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("text");
    const char* const rows[][2] = {
        {"Lab1(0)", "Profile No :"},
        {"Check1", "Atuo set 0"},
        {"Lab0(1)", "Nominal bat Voltage :"},
        {"Lab0(2)", "Nominal bat Capacity :"},
        {"Lab0(8)", "AH  (2-600)"},
        {"Lab0(9)", "mV  (10-30)"},
        {"Lab0(10)", "\u00B0C  (20-30)"},
        {"Lab0(11)", "A/C  (1-5)"},
        {"Lab0(12)", "\u00B0C  (30-50)"},
        {"Lab1(1)", "Bat temperature above :"},
        {"Lab1(2)", "Battery voltage above :"},
        {"Lab1(3)", "Amount of charge above :"},
        {"Lab1(4)", "N stage :"},
        {"Lab1(5)", "Maximum total charging time of all stages :"},
        {"Lab1(10)", "H  (4 - 24)"},
        {"Lab2(0)", "CHARGE STAGE VOLTAGE & CURRENT SETTING"},
        {"Lab2(1)", "Number of stages :"},
        {"Lab2(6)", "Stage 1 :"},
        {"Lab2(7)", "V"},
        {"Lab2(8)", "A"},
        {"Lab2(24)", "Stage 7 :"},
        {"Label3(17)", "CONDITIONS OF MOVE TO NEXT STAGE"},
        {"Label3(16)",
         "Red color means wrong entry or conflict of previous setting .Recheck just entered "
         "setting ."},
        {"Label3(0)", "Charging voltage above (V)"},
        {"Label3(1)", "Voltage rise in 5 Min. below (A)"},
        {"Label3(3)", "Temperature rise above (\u00B0C)"},
        {"Label3(7)", "Charge in this section percent of nominal bat capacity (%)"},
        {"Label3(19)", "CONDITIONS OF JUMP TO ANY STAGE"},
        {"Label3(13)", "Charging time of this section above (Minute)"},
        {"Label3(14)", "Amount of charge in this section above (AH)"},
        {"LabNext(0)", "Stage 1 to 2"},
        {"LabNext(2)", "Stage 3 to 1"},
    };
    for (const auto& row : rows) {
        QTest::newRow(row[0]) << QString::fromLatin1(row[0]) << QString::fromUtf8(row[1]);
    }
}

void TestProfileEditing::captions() {
    QFETCH(QString, name);
    QFETCH(QString, text);
    Window win({});
    LoadDefaultProfiles(win);
    QObject* o = win.w->findChild<QObject*>(name);
    QVERIFY2(o != nullptr, qPrintable(name));
    const QString shown = o->property("text").toString();
    QCOMPARE(shown, text);
    const QStringList tabs{"General Setting", "Protection setting", "Charge Stage",
                           "Next Stage Condition", "Any Stage Condition"};
    for (int i = 0; i < tabs.size(); ++i) {
        QCOMPARE(win.editor()->Tab2->tabText(i), tabs[i]);
    }
}

void TestProfileEditing::focusSelectsWholeText_data() {
    QTest::addColumn<QString>("box");
    QTest::newRow("capacity") << "Txt0(1)";
    QTest::newRow("total time") << "Txt1(4)";
    QTest::newRow("stage voltage") << "Txt2(2)";
    QTest::newRow("next-stage cell") << "Txt3(5)";
}

void TestProfileEditing::focusSelectsWholeText() {
    QFETCH(QString, box);
    Window win({});
    LoadDefaultProfiles(win);
    QVERIFY(win.activate());
    QLineEdit* b = win.box(box);
    win.showPageOf(b);
    QVERIFY(!b->text().isEmpty());
    // A mouse click puts the cursor where it lands; the deferred select-all follows it.
    QTest::mouseClick(b, Qt::LeftButton, {}, QPoint(b->width() - 4, b->height() / 2));
    QTRY_COMPARE(b->selectedText(), b->text());
    QTest::keyClicks(b, "7");
    QCOMPARE(b->text(), QStringLiteral("7"));
}

void TestProfileEditing::hidingParksTheFocus_data() {
    QTest::addColumn<QString>("box");
    QTest::addColumn<int>("startPosition");  // the stage count before the box takes the focus
    QTest::addColumn<int>("stagePosition");  // the stage count chosen while the box has focus
    QTest::addColumn<QString>("typeBox");    // or this cell set to "none"
    QTest::newRow("stage 3 current, four stages to one") << "Txt2(5)" << 3 << 0 << "";
    QTest::newRow("stage 1 voltage, four stages to none") << "Txt2(0)" << 3 << -1 << "";
    QTest::newRow("next-stage column beyond the new count") << "Txt3(21)" << 2 << 1 << "";
    QTest::newRow("cell set to none") << "Txt3(13)" << 2 << -2 << "Cmb3Type(13)";
    QTest::newRow("any-stage cell set to none") << "Txt4(8)" << 2 << -2 << "Cmb4Type(8)";
}

void TestProfileEditing::hidingParksTheFocus() {
    QFETCH(QString, box);
    QFETCH(int, startPosition);
    QFETCH(int, stagePosition);
    QFETCH(QString, typeBox);
    Window win({});
    LoadDefaultProfiles(win);
    QVERIFY(win.activate());
    win.stages()->Cmb2Total->setCurrentIndex(startPosition);
    win.combo("Cmb3Type(21)")->setCurrentIndex(2);
    win.combo("Cmb4Type(8)")->setCurrentIndex(2);
    win.box("Txt3(21)")->setText("30");
    QLineEdit* b = win.box(box);
    win.showPageOf(b);
    b->setFocus(Qt::MouseFocusReason);
    QCOMPARE(QApplication::focusWidget(), b);
    // Every other box keeps its text: none was entered and left by itself.
    QMap<QString, QString> before;
    for (QLineEdit* e : win.editor()->findChildren<QLineEdit*>()) {
        before.insert(e->objectName(), e->text());
    }
    if (typeBox.isEmpty()) {
        win.stages()->Cmb2Total->setCurrentIndex(stagePosition);
    } else {
        win.combo(typeBox)->setCurrentIndex(0);
    }
    QWidget* focus = QApplication::focusWidget();
    QVERIFY2(qobject_cast<QLineEdit*>(focus) == nullptr,
             qPrintable(focus ? focus->objectName() : QStringLiteral("none")));
    for (QLineEdit* e : win.editor()->findChildren<QLineEdit*>()) {
        if (e != b) {
            QCOMPARE(e->objectName() + "=" + e->text(),
                     e->objectName() + "=" + before.value(e->objectName()));
        }
    }
}

void TestProfileEditing::tabSwitchLeavesTheNewPageAlone_data() {
    QTest::addColumn<QString>("from");
    QTest::addColumn<QString>("fromText");
    QTest::addColumn<QString>("fromCorrected");
    QTest::addColumn<int>("tab");
    QTest::addColumn<QString>("first");  // the first box of the new page
    QTest::addColumn<QString>("firstText");
    QTest::newRow("stages to protection") << "Txt2(0)"
                                          << "14.45"
                                          << "14.4" << 1 << "Txt1(0)"
                                          << "45.6";
    QTest::newRow("protection to general") << "Txt1(4)"
                                           << "30"
                                           << "24" << 0 << "Txt0(1)"
                                           << "150.6";
    QTest::newRow("general to stages") << "Txt0(3)"
                                       << "25"
                                       << "25.0" << 2 << "Txt2(0)"
                                       << "20";
}

void TestProfileEditing::tabSwitchLeavesTheNewPageAlone() {
    QFETCH(QString, from);
    QFETCH(QString, fromText);
    QFETCH(QString, fromCorrected);
    QFETCH(int, tab);
    QFETCH(QString, first);
    QFETCH(QString, firstText);
    Window win({});
    LoadDefaultProfiles(win);
    QVERIFY(win.activate());
    win.box(first)->setText(firstText);
    QLineEdit* b = win.box(from);
    win.type(b, fromText);
    win.editor()->Tab2->setCurrentIndex(tab);
    // The box the user was in was left; the new page's first box was never chosen.
    QCOMPARE(b->text(), fromCorrected);
    QVERIFY(qobject_cast<QLineEdit*>(QApplication::focusWidget()) == nullptr);
    win.editor()->CmbPN->setFocus(Qt::MouseFocusReason);
    QCOMPARE(win.box(first)->text(), firstText);
}

QTEST_MAIN(TestProfileEditing)
#include "test_profile_editing.moc"
