#include "test_profile_support.h"

#include "link/frames.h"

using namespace profile_test;
using zun::sim::Faults;

namespace {

// The cells of a condition frame, written out: type byte then the 16-bit value.
QString cell(const char* type, const char* value) {
    return QLatin1String(type) + QLatin1String(value);
}

// Eight unused cells as an empty grid sends them: slot 2 is a temperature, 0 C is 273 K.
QString emptyPayload() {
    QString p;
    for (int slot = 0; slot < 8; ++slot) {
        p += slot == 2 ? cell("00", "0111") : cell("00", "0000");
    }
    return p;
}

void setAllTypes(zun::app::ConditionPage* page, int position) {
    for (QComboBox* c : page->CmbType) {
        c->setCurrentIndex(position);
    }
}

}  // namespace

class TestProfileWrites : public QObject {
    Q_OBJECT
private slots:
    void generalFrame_data();
    void generalFrame();
    void protectionFrame_data();
    void protectionFrame();
    void stagesFrame_data();
    void stagesFrame();
    void stagesPreSendChecks_data();
    void stagesPreSendChecks();
    void nextConditionFrames_data();
    void nextConditionFrames();
    void anyStageTargetByte();
    void writeAllOrder_data();
    void writeAllOrder();
    void writeAllStopsAtUnacknowledgedPage_data();
    void writeAllStopsAtUnacknowledgedPage();
    void conditionPagesRetry_data();
    void conditionPagesRetry();
    void droppedRepliesAreRetried();
    void writtenValueIsReadBack();
    void overflowSendsNothing_data();
    void overflowSendsNothing();
    void enterMovesOnWithoutWriting_data();
    void enterMovesOnWithoutWriting();
};

void TestProfileWrites::generalFrame_data() {
    QTest::addColumn<int>("profile");
    QTest::addColumn<int>("nominal");
    QTest::addColumn<QStringList>("fields");
    QTest::addColumn<QString>("frame");
    QTest::newRow("12 V example") << 0 << 0 << QStringList{"100", "18", "25", "2", "40"}
                                  << "850E510004B00064001200FA020190000D";
    QTest::newRow("negative derating, profile 2")
        << 1 << 0 << QStringList{"100", "18", "25", "-10", "40"}
        << "850E510104B00064001200FAF60190000D";
    QTest::newRow("24 V, one-decimal temperatures")
        << 0 << 1 << QStringList{"600", "30", "22.5", "5", "30.0"}
        << "850E5100"
           "0960"
           "0258"
           "001E"
           "00E1"
           "05"
           "012C"
           "000D";
    QTest::newRow("48 V, text that is no number sent as 0")
        << 0 << 2 << QStringList{"2", "abc", "20", "1", "50"}
        << "850E5100"
           "12C0"
           "0002"
           "0000"
           "00C8"
           "01"
           "01F4"
           "000D";
}

void TestProfileWrites::generalFrame() {
    QFETCH(int, profile);
    QFETCH(int, nominal);
    QFETCH(QStringList, fields);
    QFETCH(QString, frame);
    Charger c;
    Window win({c.device()});
    win.editor()->CmbPN->setCurrentIndex(profile);
    win.general()->Cmb0NV->setCurrentIndex(nominal);
    for (int i = 1; i <= 5; ++i) {
        win.general()->Txt0[i]->setText(fields.at(i - 1));
    }
    c.charger.clearRequests();
    win.general()->CmdOK0->click();
    QCOMPARE(c.charger.requests(), QStringList{frame});
    QVERIFY2(win.state().WriteResult.isEmpty(), qPrintable(win.state().WriteResult));
    QVERIFY(win.messages.isEmpty());
}

void TestProfileWrites::protectionFrame_data() {
    QTest::addColumn<int>("profile");
    QTest::addColumn<int>("nominal");
    QTest::addColumn<QStringList>("fields");
    QTest::addColumn<QString>("frame");
    QTest::newRow("12 V example") << 0 << 0 << QStringList{"10", "", "", "", "20"}
                                  << "850C5200011B0708FFFFFF0014000D";
    QTest::newRow("charge amount and stage number never sent")
        << 0 << 0 << QStringList{"45", "", "200", "3", "12.5"} << "850C5200013E0708FFFFFF000C000D";
    QTest::newRow("48 V on profile 2")
        << 1 << 2 << QStringList{"0", "", "1", "1", "24"} << "850C520101111C20FFFFFF0018000D";
}

void TestProfileWrites::protectionFrame() {
    QFETCH(int, profile);
    QFETCH(int, nominal);
    QFETCH(QStringList, fields);
    QFETCH(QString, frame);
    Charger c;
    Window win({c.device()});
    win.editor()->CmbPN->setCurrentIndex(profile);
    win.general()->Cmb0NV->setCurrentIndex(nominal);
    for (int k = 0; k < 5; ++k) {
        if (k != 1) {
            win.protection()->Txt1[k]->setText(fields.at(k));
        }
    }
    c.charger.clearRequests();
    win.protection()->CmdOK1->click();
    QCOMPARE(c.charger.requests(), QStringList{frame});
    QVERIFY(win.state().WriteResult.isEmpty());
}

void TestProfileWrites::stagesFrame_data() {
    QTest::addColumn<int>("profile");
    QTest::addColumn<int>("stages");
    QTest::addColumn<QStringList>("fields");
    QTest::addColumn<QString>("frame");
    QTest::newRow("three stages") << 0 << 3 << QStringList{"14.4", "20", "13.8", "5", "13.5", "2"}
                                  << "8510530002"
                                     "05A000C8"
                                     "05640032"
                                     "05460014"
                                     "000D";
    QTest::newRow("one stage, N = 08") << 0 << 1 << QStringList{"14.4", "10"}
                                       << "8508530000"
                                          "05A00064"
                                          "000D";
    QTest::newRow("four stages on profile 2")
        << 1 << 4 << QStringList{"14.4", "10", "14.2", "5", "13.5", "2", "13.2", "0"}
        << "8514530103"
           "05A00064"
           "058C0032"
           "05460014"
           "05280000"
           "000D";
}

void TestProfileWrites::stagesFrame() {
    QFETCH(int, profile);
    QFETCH(int, stages);
    QFETCH(QStringList, fields);
    QFETCH(QString, frame);
    Charger c;
    Window win({c.device()});
    win.editor()->CmbPN->setCurrentIndex(profile);
    win.stages()->Cmb2Total->setCurrentIndex(stages - 1);
    for (int i = 0; i < fields.size(); ++i) {
        win.stages()->Txt2[i]->setText(fields.at(i));
    }
    QVERIFY(win.stages()->CmdOK2->isEnabled());
    c.charger.clearRequests();
    win.stages()->CmdOK2->click();
    QCOMPARE(c.charger.requests(), QStringList{frame});
    QVERIFY(win.state().WriteResult.isEmpty());
}

void TestProfileWrites::stagesPreSendChecks_data() {
    QTest::addColumn<int>("position");
    QTest::addColumn<int>("emptyVoltage");  // Txt2 index emptied, -1 for none
    QTest::addColumn<QString>("focus");
    QTest::newRow("no stage count") << -1 << -1 << "Cmb2Total";
    QTest::newRow("stage 2 voltage empty") << 2 << 2 << "Txt2(2)";
    QTest::newRow("stage 3 voltage 0") << 2 << 4 << "Txt2(4)";
}

void TestProfileWrites::stagesPreSendChecks() {
    QFETCH(int, position);
    QFETCH(int, emptyVoltage);
    QFETCH(QString, focus);
    Charger c;
    Window win({c.device()});
    win.stages()->Cmb2Total->setCurrentIndex(position);
    if (emptyVoltage >= 0) {
        win.stages()->Txt2[emptyVoltage]->setText(emptyVoltage == 2 ? "" : "0");
    }
    c.charger.clearRequests();
    win.stages()->CmdOK2_Click();
    QCOMPARE(win.messages, QStringList{"Fail !"});
    QVERIFY2(c.charger.requests().isEmpty(), qPrintable(c.charger.requests().join(' ')));
    QVERIFY(win.w->focusWidget() != nullptr);
    QCOMPARE(win.w->focusWidget()->objectName(), focus);
    // The write-all learns nothing from this failure.
    QVERIFY(win.state().WriteResult.isEmpty());
}

void TestProfileWrites::nextConditionFrames_data() {
    QTest::addColumn<bool>("identified");
    QTest::addColumn<QString>("slot4");
    QTest::newRow("charger identified: current x10") << true << "0019";
    QTest::newRow("no charger: whole amperes") << false << "0002";
}

void TestProfileWrites::nextConditionFrames() {
    QFETCH(bool, identified);
    QFETCH(QString, slot4);
    Charger c;
    Window win({c.device()});
    win.stages()->Cmb2Total->setCurrentIndex(1);  // two stages
    auto* page = win.nextCond();
    setAllTypes(page, 0);
    auto set = [&](int i, int type, const QString& text) {
        page->CmbType[i]->setCurrentIndex(type);
        page->Txt[i]->setText(text);
    };
    set(0, 2, "14.4");
    set(4, 2, "2.5");
    set(5, 2, "480");
    set(8, 1, "13.9");
    set(10, 1, "45");
    if (!identified) {
        win.state().ChargerModel.clear();
    }
    c.charger.clearRequests();
    page->CmdOKn->click();
    const QString stage0 = "851D54000000" + cell("02", "05A0") + cell("00", "0000") +
                           cell("00", "0111") + cell("00", "0000") + cell("02", slot4.toLatin1()) +
                           cell("02", "01E0") + cell("00", "0000") + cell("00", "0000") + "000D";
    const QString stage1 = "851D54000100" + cell("01", "056E") + cell("00", "0000") +
                           cell("01", "013E") + cell("00", "0000") + cell("00", "0000") +
                           cell("00", "0000") + cell("00", "0000") + cell("00", "0000") + "000D";
    QCOMPARE(c.charger.requests(), (QStringList{stage0, stage1}));
    QVERIFY(win.state().WriteResult.isEmpty());
    // The page's button comes back only through a later type change.
    QVERIFY(!page->CmdOKn->isEnabled());
}

void TestProfileWrites::anyStageTargetByte() {
    Charger c;
    Window win({c.device()});
    win.stages()->Cmb2Total->setCurrentIndex(3);  // four stages
    auto* page = win.anyCond();
    setAllTypes(page, 0);
    QCOMPARE(page->Cmb4SN[1]->itemText(2), QStringLiteral("4"));
    page->Cmb4SN[0]->setCurrentIndex(-1);
    page->Cmb4SN[1]->setCurrentIndex(2);
    page->Cmb4SN[2]->setCurrentIndex(0);  // stage 3 to stage 1: also 00
    page->Cmb4SN[3]->setCurrentIndex(1);  // stage 4 to stage 2
    c.charger.clearRequests();
    page->CmdOKn->click();
    const QStringList frames = FramesOf(c.charger, "55");
    QCOMPARE(frames.size(), 4);
    const QStringList targets{"00", "03", "00", "01"};
    for (int s = 0; s < 4; ++s) {
        const QString expected =
            QStringLiteral("851D5500%1%2").arg(s, 2, 10, QLatin1Char('0')).arg(targets[s]) +
            emptyPayload() + "000D";
        QCOMPARE(frames[s], expected);
    }
    QVERIFY(page->CmdOKn->isEnabled());
}

void TestProfileWrites::writeAllOrder_data() {
    QTest::addColumn<bool>("identified");
    QTest::addColumn<QStringList>("commands");
    QTest::newRow("charger identified: no general page")
        << true << QStringList{"52", "53", "54", "54", "54", "55", "55", "55"};
    QTest::newRow("no charger: general page first")
        << false << QStringList{"51", "52", "53", "54", "54", "54", "55", "55", "55"};
}

void TestProfileWrites::writeAllOrder() {
    QFETCH(bool, identified);
    QFETCH(QStringList, commands);
    Charger c;
    Window win({c.device()});
    if (!identified) {
        // As after a connection whose identification got no answer.
        win.state().ChargerModel.clear();
        win.general()->Cmb0NV->setEnabled(true);
    }
    // Conditions on the any-stage page are cleared by the write-all, not sent.
    auto* any = win.anyCond();
    any->CmbType[0]->setCurrentIndex(1);
    any->Txt[0]->setText("13");
    any->Cmb4SN[0]->setCurrentIndex(1);
    QVERIFY2(win.editor()->CmdOK->isEnabled(), "the stored profile should be consistent");
    c.charger.clearRequests();
    win.editor()->CmdOK->click();
    QCOMPARE(win.messages, QStringList{"OK !"});
    QCOMPARE(WriteCommands(c.charger), commands);
    const QStringList any55 = FramesOf(c.charger, "55");
    for (int s = 0; s < any55.size(); ++s) {
        const QString expected = QStringLiteral("851D5500%1").arg(s, 2, 10, QLatin1Char('0')) +
                                 "00" + emptyPayload() + "000D";
        QCOMPARE(any55[s], expected);
    }
    QCOMPARE(any->CmbType[0]->currentIndex(), 0);
    QCOMPARE(any->Cmb4SN[0]->currentIndex(), -1);
    QVERIFY(win.editor()->CmdOK->isEnabled());
}

void TestProfileWrites::writeAllStopsAtUnacknowledgedPage_data() {
    QTest::addColumn<int>("failing");
    QTest::addColumn<QStringList>("commands");
    QTest::newRow("protection") << 0x52 << QStringList{"52"};
    QTest::newRow("stages") << 0x53 << QStringList{"52", "53"};
    // Three stages, three tries each.
    QTest::newRow("next-stage conditions")
        << 0x54 << QStringList{"52", "53", "54", "54", "54", "54", "54", "54", "54", "54", "54"};
}

void TestProfileWrites::writeAllStopsAtUnacknowledgedPage() {
    QFETCH(int, failing);
    QFETCH(QStringList, commands);
    Charger c;
    Window win({c.device()});
    Faults f;
    f.wrongAck = true;
    f.wrongAckCommand = static_cast<quint8>(failing);
    c.charger.setFaults(f);
    c.charger.clearRequests();
    win.editor()->CmdOK_Click();
    QCOMPARE(win.messages, QStringList{"Fail !"});
    QCOMPARE(WriteCommands(c.charger), commands);
    QVERIFY(win.editor()->CmdOK->isEnabled());
}

void TestProfileWrites::conditionPagesRetry_data() {
    QTest::addColumn<bool>("next");
    QTest::addColumn<int>("stages");
    QTest::newRow("next-stage page, 3 stages") << true << 3;
    QTest::newRow("next-stage page, 1 stage") << true << 1;
    QTest::newRow("any-stage page, 2 stages") << false << 2;
}

void TestProfileWrites::conditionPagesRetry() {
    QFETCH(bool, next);
    QFETCH(int, stages);
    Charger c;
    Window win({c.device()});
    win.stages()->Cmb2Total->setCurrentIndex(stages - 1);
    Faults f;
    f.wrongAck = true;
    f.wrongAckCommand = next ? 0x54 : 0x55;
    c.charger.setFaults(f);
    c.charger.clearRequests();
    auto* page = next ? win.nextCond() : win.anyCond();
    page->CmdOK_Click();
    const QStringList frames = FramesOf(c.charger, next ? "54" : "55");
    QCOMPARE(frames.size(), 3 * stages);
    for (int s = 0; s < stages; ++s) {
        // Three sends of the same frame, stage after stage.
        QCOMPARE(frames[3 * s].mid(8, 2).toInt(), s);
        QCOMPARE(frames[3 * s + 1], frames[3 * s]);
        QCOMPARE(frames[3 * s + 2], frames[3 * s]);
    }
    if (next) {
        QCOMPARE(win.state().WriteResult, QStringLiteral("Fail !"));
        QVERIFY(!page->CmdOKn->isEnabled());
    } else {
        // Deliberately silent: no failure is recorded and the button comes back.
        QVERIFY(win.state().WriteResult.isEmpty());
        QVERIFY(page->CmdOKn->isEnabled());
    }
    QVERIFY(win.messages.isEmpty());
}

void TestProfileWrites::droppedRepliesAreRetried() {
    Charger c;
    Window win({c.device()});
    Faults f;
    f.dropEvery = 2;
    c.charger.setFaults(f);
    c.charger.clearRequests();
    win.nextCond()->CmdOK3_Click();
    const QStringList frames = FramesOf(c.charger, "54");
    // Every stage went out until one send was answered: at most two sends each here.
    QVERIFY2(frames.size() >= 3 && frames.size() <= 6, qPrintable(frames.join('\n')));
    QCOMPARE(frames.first().mid(8, 2), QStringLiteral("00"));
    QCOMPARE(frames.last().mid(8, 2), QStringLiteral("02"));
    QVERIFY(win.state().WriteResult.isEmpty());
}

void TestProfileWrites::writtenValueIsReadBack() {
    Charger c;
    Window win({c.device()});
    QVERIFY(win.activate());
    QLineEdit* v1 = win.box("Txt2(0)");
    win.type(v1, "14.6");
    win.leave(v1);
    QCOMPARE(v1->text(), QStringLiteral("14.6"));
    QCOMPARE(win.state().memory.ProfileStages(0, 1), QStringLiteral("14.6"));
    win.editor()->CmdOK->click();
    QCOMPARE(win.messages, QStringList{"OK !"});
    v1->setText("13");
    win.w->selectPort(0);
    QCOMPARE(win.box("Txt2(0)")->text(), QStringLiteral("14.6"));
    QCOMPARE(win.state().memory.ProfileStages(0, 1), QStringLiteral("14.6"));
}

void TestProfileWrites::overflowSendsNothing_data() {
    QTest::addColumn<QString>("box");
    QTest::addColumn<QString>("typeBox");  // the cell's type combo, set to "or" first
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("button");
    QTest::addColumn<QString>("command");
    QTest::newRow("capacity") << "Txt0(1)"
                              << ""
                              << "99999"
                              << "CmdOK0"
                              << "51";
    QTest::newRow("over-temperature") << "Txt1(0)"
                                      << ""
                                      << "40000"
                                      << "CmdOK1"
                                      << "52";
    QTest::newRow("stage voltage") << "Txt2(0)"
                                   << ""
                                   << "400"
                                   << "CmdOK2"
                                   << "53";
    QTest::newRow("next-stage charge") << "Txt3(22)"
                                       << "Cmb3Type(22)"
                                       << "99999999"
                                       << "CmdOK3"
                                       << "54";
    QTest::newRow("any-stage percent") << "Txt4(7)"
                                       << "Cmb4Type(7)"
                                       << "40000"
                                       << "CmdOK4"
                                       << "55";
}

void TestProfileWrites::overflowSendsNothing() {
    QFETCH(QString, box);
    QFETCH(QString, typeBox);
    QFETCH(QString, text);
    QFETCH(QString, button);
    QFETCH(QString, command);
    Charger c;
    Window win({c.device()});
    if (!typeBox.isEmpty()) {
        win.combo(typeBox)->setCurrentIndex(2);
    }
    win.box(box)->setText(text);
    c.charger.clearRequests();
    win.find<QPushButton>(button)->click();
    QCOMPARE(win.messages, QStringList{"Overflow"});
    QVERIFY2(FramesOf(c.charger, command).isEmpty(), qPrintable(c.charger.requests().join(' ')));
}

void TestProfileWrites::enterMovesOnWithoutWriting_data() {
    QTest::addColumn<QString>("box");
    QTest::addColumn<QString>("focus");
    QTest::newRow("capacity") << "Txt0(1)"
                              << "CmdOK0";
    QTest::newRow("derating") << "Txt0(4)"
                              << "CmdOK0";
    QTest::newRow("over-voltage") << "Txt1(1)"
                                  << "Txt1(4)";
    QTest::newRow("total time") << "Txt1(4)"
                                << "CmdOK1";
    QTest::newRow("over-temperature stays") << "Txt1(0)"
                                            << "Txt1(0)";
    QTest::newRow("stage voltage") << "Txt2(0)"
                                   << "Txt2(1)";
    QTest::newRow("last stage current") << "Txt2(5)"
                                        << "CmdOK2";
}

void TestProfileWrites::enterMovesOnWithoutWriting() {
    QFETCH(QString, box);
    QFETCH(QString, focus);
    Charger c;
    Window win({c.device()});
    QVERIFY(win.activate());
    QLineEdit* b = win.box(box);
    win.showPageOf(b);
    b->setFocus(Qt::MouseFocusReason);
    c.charger.clearRequests();
    QTest::keyClick(b, Qt::Key_Return);
    QVERIFY(QApplication::focusWidget() != nullptr);
    QCOMPARE(QApplication::focusWidget()->objectName(), focus);
    QTest::qWait(50);
    QVERIFY2(c.charger.requests().isEmpty(), qPrintable(c.charger.requests().join(' ')));
}

QTEST_MAIN(TestProfileWrites)
#include "test_profile_writes.moc"
