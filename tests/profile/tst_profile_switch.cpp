#include "profile/profile_switch.h"
#include "profile/stage_layout.h"
#include "profile_tests.h"

#include <QTest>

using namespace zun::profile;

class ProfileSwitchTest : public QObject {
    Q_OBJECT

private slots:
    void storedNominal_data() {
        QTest::addColumn<QString>("stored");
        QTest::addColumn<int>("position");  // -1: Cmb0NV left as it is

        QTest::newRow("12") << "12" << 0;
        QTest::newRow("24") << "24" << 1;
        QTest::newRow("48") << "48" << 2;
        QTest::newRow("12V") << "12V" << 0;
        QTest::newRow("36") << "36" << -1;
        QTest::newRow("empty") << "" << -1;
        QTest::newRow("text") << "twelve" << -1;
    }

    void storedNominal() {
        QFETCH(QString, stored);
        QFETCH(int, position);
        QCOMPARE(StoredNominalPosition(stored).value_or(-1), position);
    }

    void stageCountPosition_data() {
        QTest::addColumn<QString>("stored");
        QTest::addColumn<int>("listCount");
        QTest::addColumn<int>("position");  // -2: step fails, Cmb2Total unchanged

        QTest::newRow("1") << "1" << 4 << 0;
        QTest::newRow("3") << "3" << 4 << 2;
        QTest::newRow("4 is the last") << "4" << 4 << 3;
        QTest::newRow("5 beyond the list") << "5" << 4 << 3;
        QTest::newRow("7 beyond the list") << "7" << 4 << 3;
        QTest::newRow("0 clears the selection") << "0" << 4 << -1;
        QTest::newRow("empty fails") << "" << 4 << -2;
        QTest::newRow("text fails") << "abc" << 4 << -2;
        QTest::newRow("negative fails") << "-3" << 4 << -2;
        QTest::newRow("blanks around") << " 2 " << 4 << 1;
    }

    void stageCountPosition() {
        QFETCH(QString, stored);
        QFETCH(int, listCount);
        QFETCH(int, position);
        QCOMPARE(StageCountPosition(stored, listCount).value_or(-2), position);
    }

    void stageFieldText_data() {
        QTest::addColumn<int>("index");
        QTest::addColumn<QString>("stored");
        QTest::addColumn<QString>("cmb2Total");
        QTest::addColumn<QString>("expected");

        QTest::newRow("last field of three stages") << 5 << "2"
                                                    << "3"
                                                    << "2";
        QTest::newRow("first field beyond three stages") << 6 << "13"
                                                         << "3"
                                                         << "";
        QTest::newRow("one stage current") << 1 << "2"
                                           << "1"
                                           << "2";
        QTest::newRow("one stage, second voltage") << 2 << "14"
                                                   << "1"
                                                   << "";
        QTest::newRow("no stage count empties all") << 0 << "14"
                                                    << ""
                                                    << "";
    }

    void stageFieldText() {
        QFETCH(int, index);
        QFETCH(QString, stored);
        QFETCH(QString, cmb2Total);
        QFETCH(QString, expected);
        QCOMPARE(StageFieldText(index, stored, cmb2Total), expected);
    }

    void cellEntries_data() {
        QTest::addColumn<QString>("entry");
        QTest::addColumn<int>("nextType");  // -2: left as it is
        QTest::addColumn<int>("anyType");
        QTest::addColumn<QString>("value");

        QTest::newRow("or 14.4") << "214.4" << 2 << 2 << "14.4";
        QTest::newRow("none, empty") << "0" << 0 << 0 << "";
        QTest::newRow("and 120") << "1120" << 1 << 1 << "120";
        QTest::newRow("empty entry") << "" << -2 << 0 << "";
        QTest::newRow("letter first") << "x5" << -2 << 0 << "5";
        QTest::newRow("V first reads as none on the any page") << "V1" << -2 << 0 << "1";
        QTest::newRow("type beyond the list") << "75" << -2 << -2 << "5";
        QTest::newRow("other script digit") << QString::fromUtf8("\u0663") << -2 << 0 << "";
    }

    void cellEntries() {
        QFETCH(QString, entry);
        QFETCH(int, nextType);
        QFETCH(int, anyType);
        QFETCH(QString, value);
        QCOMPARE(NextCondTypePosition(entry).value_or(-2), nextType);
        QCOMPARE(AnyCondTypePosition(entry).value_or(-2), anyType);
        QCOMPARE(CellValueText(entry), value);
    }

    void storedCellText_data() {
        QTest::addColumn<int>("type");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("typed");       // from the value box's change handler
        QTest::addColumn<QString>("typeChange");  // from the type handler

        QTest::newRow("or 14.4") << 2 << "14.4"
                                 << "214.4"
                                 << "214.4";
        QTest::newRow("trailing zero") << 2 << "14.40"
                                       << "214.40"
                                       << "214.4";
        QTest::newRow("empty box") << 1 << ""
                                   << "1"
                                   << "10";
        QTest::newRow("not a number") << 0 << "abc"
                                      << "0abc"
                                      << "00";
        QTest::newRow("single precision") << 1 << "13.8"
                                          << "113.8"
                                          << "113.8";
    }

    void storedCellText() {
        QFETCH(int, type);
        QFETCH(QString, text);
        QFETCH(QString, typed);
        QFETCH(QString, typeChange);
        QCOMPARE(CondEntry(type, text), typed);
        QCOMPARE(CondEntryOfTypeChange(type, text), typeChange);
        // What is stored must come back to the same type and value when the profile returns.
        QCOMPARE(NextCondTypePosition(typed).value_or(-1), type);
        QCOMPARE(CellValueText(typed), text);
    }

    void anyTarget_data() {
        QTest::addColumn<QString>("stored");
        QTest::addColumn<QStringList>("items");
        QTest::addColumn<int>("position");  // -2: left as it is

        QTest::newRow("2 selects item 3") << "2" << QStringList{"2", "3", "4"} << 1;
        QTest::newRow("0 selects item 1") << "0" << QStringList{"1", "3"} << 0;
        QTest::newRow("own stage is not listed") << "0" << QStringList{"2", "3"} << -2;
        QTest::newRow("empty is stage 1") << "" << QStringList{"1", "2"} << 0;
        QTest::newRow("beyond the list") << "6" << QStringList{"1", "2", "3"} << -2;
        QTest::newRow("empty list") << "1" << QStringList{} << -2;
    }

    void anyTarget() {
        QFETCH(QString, stored);
        QFETCH(QStringList, items);
        QFETCH(int, position);
        QCOMPARE(AnyTargetPosition(stored, items).value_or(-2), position);
    }

    void autoSet_data() {
        QTest::addColumn<int>("nvPosition");
        QTest::addColumn<bool>("checked");
        QTest::addColumn<QStringList>("voltages");
        QTest::addColumn<QList<int>>("sectionCells");

        const QList<int> slot5{5, 13, 21};
        QTest::newRow("12V checked") << 0 << true << QStringList{"14", "14.2", "14.4"} << slot5;
        QTest::newRow("24V checked") << 1 << true << QStringList{"28", "28.4", "28.8"} << slot5;
        QTest::newRow("48V checked") << 2 << true << QStringList{"56", "56.8", "57.6"} << slot5;
        QTest::newRow("12V unchecked")
            << 0 << false << QStringList{"14", "14.2", "14.4"} << QList<int>{};
        QTest::newRow("no nominal voltage") << -1 << true << QStringList{} << slot5;
    }

    void autoSet() {
        QFETCH(int, nvPosition);
        QFETCH(bool, checked);
        QFETCH(QStringList, voltages);
        QFETCH(QList<int>, sectionCells);

        const AutoSetPlan plan = AutoSet0(nvPosition, checked);
        QCOMPARE(plan.Cmb2Total, 2);
        QCOMPARE(plan.Txt1_4, QStringLiteral("20"));
        QCOMPARE(plan.currents.size(), size_t(3));
        for (size_t k = 0; k < plan.currents.size(); ++k) {
            QCOMPARE(plan.currents[k].first, int(2 * k + 1));
            QCOMPARE(plan.currents[k].second, QStringLiteral("2"));
        }
        QStringList gotVoltages;
        for (size_t k = 0; k < plan.voltages.size(); ++k) {
            QCOMPARE(plan.voltages[k].first, int(2 * k));
            gotVoltages << plan.voltages[k].second;
        }
        QCOMPARE(gotVoltages, voltages);
        QList<int> cells;
        for (size_t k = 0; k < plan.sectionTypes.size(); ++k) {
            cells << plan.sectionTypes[k].first;
            QCOMPARE(plan.sectionTypes[k].second, 2);
            QCOMPARE(plan.sectionTexts[k].first, plan.sectionTypes[k].first);
            QCOMPARE(plan.sectionTexts[k].second, QStringLiteral("0"));
        }
        QCOMPARE(cells, sectionCells);
        QCOMPARE(plan.sectionTexts.size(), plan.sectionTypes.size());
    }

    void transitionCaption_data() {
        QTest::addColumn<int>("stage");
        QTest::addColumn<int>("count");
        QTest::addColumn<QString>("caption");

        QTest::newRow("first of three") << 0 << 3 << "Stage 1 to 2";
        QTest::newRow("second of three") << 1 << 3 << "Stage 2 to 3";
        QTest::newRow("last of three") << 2 << 3 << "Stage 3 to 1";
        QTest::newRow("only stage") << 0 << 1 << "Stage 1 to 1";
        QTest::newRow("last of four") << 3 << 4 << "Stage 4 to 1";
    }

    void transitionCaption() {
        QFETCH(int, stage);
        QFETCH(int, count);
        QFETCH(QString, caption);
        QCOMPARE(TransitionCaption(stage, count), caption);
    }

    void targetItems_data() {
        QTest::addColumn<int>("stage");
        QTest::addColumn<int>("count");
        QTest::addColumn<QStringList>("items");

        QTest::newRow("stage 2 of 4") << 1 << 4 << QStringList{"1", "3", "4"};
        QTest::newRow("stage 1 of 2") << 0 << 2 << QStringList{"2"};
        QTest::newRow("only stage") << 0 << 1 << QStringList{};
        QTest::newRow("stage beyond the count") << 5 << 3 << QStringList{"1", "2", "3"};
    }

    void targetItems() {
        QFETCH(int, stage);
        QFETCH(int, count);
        QFETCH(QStringList, items);
        QCOMPARE(TargetItems(stage, count), items);
    }

    void stageVisibility_data() {
        QTest::addColumn<int>("count");
        QTest::addColumn<QString>("fields");  // Txt2 enabled, 14 flags
        QTest::addColumn<QString>("slot5");   // 7 flags

        QTest::newRow("none") << 0 << "00000000000000"
                              << "0000000";
        QTest::newRow("one") << 1 << "11000000000000"
                             << "1000000";
        QTest::newRow("four") << 4 << "11111111000000"
                              << "1111000";
        QTest::newRow("seven") << 7 << "11111111111111"
                               << "1111111";
    }

    void stageVisibility() {
        QFETCH(int, count);
        QFETCH(QString, fields);
        QFETCH(QString, slot5);
        QString gotFields;
        for (int i = 0; i < kStageFieldCount; ++i) {
            gotFields += Txt2Enabled(i, count) ? QLatin1Char('1') : QLatin1Char('0');
        }
        QString gotSlot5;
        for (bool v : Slot5Visibility(count)) {
            gotSlot5 += v ? QLatin1Char('1') : QLatin1Char('0');
        }
        QCOMPARE(gotFields, fields);
        QCOMPARE(gotSlot5, slot5);
    }

    void stagesWritable_data() {
        QTest::addColumn<QStringList>("boxes");
        QTest::addColumn<int>("count");
        QTest::addColumn<bool>("writable");

        QTest::newRow("all set") << QStringList{"14.4", "2", "13.8", "0"} << 2 << true;
        QTest::newRow("second voltage empty") << QStringList{"14.4", "2", "", "2"} << 2 << false;
        QTest::newRow("empty beyond the count") << QStringList{"14.4", "2", "", ""} << 1 << true;
        QTest::newRow("not a number") << QStringList{"abc", "2"} << 1 << false;
    }

    void stagesWritable() {
        QFETCH(QStringList, boxes);
        QFETCH(int, count);
        QFETCH(bool, writable);
        std::array<QString, kStageFieldCount> txt2;
        for (int i = 0; i < boxes.size(); ++i) {
            txt2[i] = boxes[i];
        }
        QCOMPARE(StagesWritable(txt2, count), writable);
    }
};

std::unique_ptr<QObject> MakeProfileSwitchTest() {
    return std::make_unique<ProfileSwitchTest>();
}

#include "tst_profile_switch.moc"
