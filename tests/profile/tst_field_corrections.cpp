#include "profile/field_corrections.h"
#include "profile/nominal_voltage.h"
#include "profile_tests.h"

#include <QTest>

using namespace zun::profile;

namespace {

StageContext stageContext(int position, const QString& overVoltage, int rated) {
    StageContext c;
    c.nvPosition = position;
    c.nominalText = position < 0 ? QString() : QStringList{"12V", "24V", "48V"}.at(position);
    c.overVoltage = overVoltage;
    c.voltStep = VoltStep(position);
    c.ratedCurrent = rated;
    return c;
}

// 12 V, three stages 14.4 V / 20 A, 13.8 V / 5 A, 13.5 V / 2 A, slot-5 times 300, 300, 150.
ConditionContext conditionContext() {
    ConditionContext c;
    c.nvPosition = 0;
    const VoltageLimits limits = VoltageLimitsFor(0);
    c.voltStep = limits.VoltStep;
    c.stageVoltMin = limits.StageVoltMin;
    c.stageVoltMax = limits.StageVoltMax;
    c.Txt2 = {"14.4", "20", "13.8", "5", "13.5", "2", "", "", "", "", "", "", "", ""};
    c.Txt1_3 = QStringLiteral("3");
    c.Txt1_4 = QStringLiteral("12");
    c.texts[5] = QStringLiteral("300");
    c.texts[13] = QStringLiteral("300");
    c.texts[21] = QStringLiteral("150");
    c.slot5Visible = {true, true, true, false, false, false, false};
    return c;
}

}  // namespace

class FieldCorrectionsTest : public QObject {
    Q_OBJECT

private slots:
    void general_data() {
        QTest::addColumn<int>("index");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");

        QTest::newRow("capacity above 600") << 1 << "700"
                                            << "600";
        QTest::newRow("capacity 600.4 above 600") << 1 << "600.4"
                                                  << "600";
        QTest::newRow("capacity below 2") << 1 << "1.4"
                                          << "2";
        QTest::newRow("capacity 1.99") << 1 << "1.99"
                                       << "2";
        QTest::newRow("capacity rounds") << 1 << "150.6"
                                         << "151";
        QTest::newRow("capacity half rounds away") << 1 << "150.5"
                                                   << "151";
        QTest::newRow("capacity 599.5 shows 600") << 1 << "599.5"
                                                  << "600";
        QTest::newRow("capacity not a number") << 1 << "abc"
                                               << "2";
        QTest::newRow("capacity negative") << 1 << "-50"
                                           << "2";
        QTest::newRow("coefficient whole") << 2 << "18.5"
                                           << "19";
        QTest::newRow("coefficient not a number") << 2 << "abc"
                                                  << "0";
        QTest::newRow("reference one decimal") << 3 << "25"
                                               << "25.0";
        QTest::newRow("reference 22.45 is above the half") << 3 << "22.45"
                                                           << "22.5";
        QTest::newRow("reference 14.45 is below the half") << 3 << "14.45"
                                                           << "14.4";
        QTest::newRow("reference V suffix") << 3 << "25V"
                                            << "25.0";
        QTest::newRow("derating half away") << 4 << "2.5"
                                            << "3";
        QTest::newRow("derating negative half away") << 4 << "-2.5"
                                                     << "-3";
        QTest::newRow("derating reference tiny negative") << 5 << "-0.04"
                                                          << "0.0";
        QTest::newRow("derating reference") << 5 << "40"
                                            << "40.0";
        QTest::newRow("no box 0") << 0 << "xyz"
                                  << "xyz";
    }

    void general() {
        QFETCH(int, index);
        QFETCH(QString, text);
        QFETCH(QString, expected);
        QCOMPARE(Txt0_LostFocus(index, text), expected);
    }

    void protection_data() {
        QTest::addColumn<int>("index");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");

        QTest::newRow("temperature whole") << 0 << "45.5"
                                           << "46";
        QTest::newRow("temperature negative") << 0 << "-3"
                                              << "0";
        QTest::newRow("temperature -0.4 rounds to 0") << 0 << "-0.4"
                                                      << "0";
        QTest::newRow("temperature not a number") << 0 << "abc"
                                                  << "0";
        QTest::newRow("over-voltage untouched") << 1 << "17.95"
                                                << "17.95";
        QTest::newRow("over-voltage text untouched") << 1 << "abc"
                                                     << "abc";
        QTest::newRow("charge amount whole") << 2 << "200.4"
                                             << "200";
        QTest::newRow("charge amount negative") << 2 << "-5"
                                                << "1";
        QTest::newRow("stage number negative") << 3 << "-1"
                                               << "1";
        QTest::newRow("stage number half away") << 3 << "3.5"
                                                << "4";
        QTest::newRow("stage number zero stays") << 3 << "0"
                                                 << "0";
        QTest::newRow("total time above 24") << 4 << "30"
                                             << "24";
        QTest::newRow("total time below 4") << 4 << "2"
                                            << "4";
        QTest::newRow("total time 12.5 stays") << 4 << "12.5"
                                               << "12.5";
        QTest::newRow("total time 12.45 shows 12.4") << 4 << "12.45"
                                                     << "12.4";
        QTest::newRow("total time 4") << 4 << "4"
                                      << "4";
        QTest::newRow("total time 24") << 4 << "24"
                                       << "24";
        QTest::newRow("total time 24.04 shows 24.0") << 4 << "24.04"
                                                     << "24.0";
        QTest::newRow("total time 3.96 shows 4.0") << 4 << "3.96"
                                                   << "4.0";
        QTest::newRow("total time not a number") << 4 << "abc"
                                                 << "4";
    }

    void protection() {
        QFETCH(int, index);
        QFETCH(QString, text);
        QFETCH(QString, expected);
        QCOMPARE(Txt1_LostFocus(index, text), expected);
    }

    void stages_data() {
        QTest::addColumn<int>("position");
        QTest::addColumn<QString>("overVoltage");
        QTest::addColumn<int>("rated");
        QTest::addColumn<int>("index");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");

        QTest::newRow("current 1") << 0 << "18" << 30 << 1 << "1"
                                   << "2";
        QTest::newRow("current 100 on 30 A") << 0 << "18" << 30 << 3 << "100"
                                             << "30";
        QTest::newRow("current 2.45 shows 2.5") << 0 << "18" << 30 << 5 << "2.45"
                                                << "2.5";
        QTest::newRow("current not a number") << 0 << "18" << 30 << 1 << "abc"
                                              << "2";
        QTest::newRow("current before identification") << 0 << "18" << 0 << 1 << "5"
                                                       << "0";
        QTest::newRow("12V 20 -> 17.8 -> 16") << 0 << "18" << 30 << 0 << "20"
                                              << "16";
        QTest::newRow("12V 15.9 stays") << 0 << "18" << 30 << 2 << "15.9"
                                        << "15.9";
        QTest::newRow("12V 10 -> 12") << 0 << "18" << 30 << 4 << "10"
                                      << "12";
        QTest::newRow("12V not a number -> 12") << 0 << "18" << 30 << 0 << "abc"
                                                << "12";
        QTest::newRow("12V 14.45 shows 14.4") << 0 << "18" << 30 << 0 << "14.45"
                                              << "14.4";
        QTest::newRow("12V over-voltage 16 -> 15.8") << 0 << "16" << 30 << 0 << "15.9"
                                                     << "15.8";
        QTest::newRow("24V 40 -> 35.6 -> 32") << 1 << "36" << 20 << 0 << "40"
                                              << "32";
        QTest::newRow("24V over-voltage 30 -> 29.6") << 1 << "30" << 20 << 6 << "31"
                                                     << "29.6";
        QTest::newRow("24V 20 -> 24") << 1 << "36" << 20 << 6 << "20"
                                      << "24";
        QTest::newRow("48V 70 -> 64") << 2 << "72" << 15 << 8 << "70"
                                      << "64";
        QTest::newRow("48V over-voltage 60 -> 59.2") << 2 << "60" << 15 << 8 << "62"
                                                     << "59.2";
        QTest::newRow("no nominal voltage, voltage") << -1 << "0" << 30 << 0 << "14"
                                                     << "0";
        QTest::newRow("no nominal voltage, current") << -1 << "0" << 30 << 1 << "5"
                                                     << "0";
        QTest::newRow("over-voltage 0 leaves -0.2, then 0") << 0 << "0" << 30 << 0 << "14"
                                                            << "0";
    }

    void stages() {
        QFETCH(int, position);
        QFETCH(QString, overVoltage);
        QFETCH(int, rated);
        QFETCH(int, index);
        QFETCH(QString, text);
        QFETCH(QString, expected);
        QCOMPARE(Txt2_LostFocus(index, text, stageContext(position, overVoltage, rated)), expected);
    }

    void conditions_data() {
        QTest::addColumn<int>("index");
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("position");  // Cmb0NV
        QTest::addColumn<QString>("expected");

        QTest::newRow("slot 0 below minimum") << 0 << "10" << 0 << "11.8";
        QTest::newRow("slot 0 above stage voltage less a step") << 0 << "16" << 0 << "14.2";
        QTest::newRow("slot 0 14.3 -> 14.2") << 0 << "14.3" << 0 << "14.2";
        QTest::newRow("slot 0 in range") << 0 << "13" << 0 << "13";
        QTest::newRow("slot 0 not a number") << 0 << "abc" << 0 << "11.8";
        QTest::newRow("slot 0 second stage") << 8 << "14" << 0 << "13.6";
        QTest::newRow("slot 0 empty stage voltage") << 24 << "13" << 0 << "-0.2";
        QTest::newRow("slot 0 no nominal voltage") << 0 << "13" << -1 << "0";
        QTest::newRow("slot 2 cut to whole") << 2 << "45.7" << 0 << "45";
        QTest::newRow("slot 2 negative") << 10 << "-3" << 0 << "0";
        QTest::newRow("slot 2 above 59") << 18 << "75" << 0 << "59";
        QTest::newRow("slot 2 huge") << 2 << "1e30" << 0 << "59";
        QTest::newRow("slot 2 not a number") << 2 << "abc" << 0 << "0";
        QTest::newRow("slot 2 without nominal voltage") << 2 << "45" << -1 << "45";
        QTest::newRow("slot 4 below 1") << 4 << "0.5" << 0 << "1";
        QTest::newRow("slot 4 above current less 1") << 4 << "25" << 0 << "19";
        QTest::newRow("slot 4 in range") << 4 << "2.5" << 0 << "2.5";
        QTest::newRow("slot 4 second stage") << 12 << "10" << 0 << "4";
        QTest::newRow("slot 4 no nominal voltage") << 4 << "2" << -1 << "0";
        QTest::newRow("slot 5 formatted") << 5 << "300.45" << 0 << "300.5";
        QTest::newRow("slot 5 whole") << 5 << "299.0" << 0 << "299";
        QTest::newRow("slot 1 unchanged") << 1 << "abc" << 0 << "abc";
        QTest::newRow("slot 3 unchanged") << 3 << "7.77" << 0 << "7.77";
        QTest::newRow("slot 6 unchanged") << 6 << "-5" << 0 << "-5";
        QTest::newRow("slot 7 unchanged") << 55 << "x" << 0 << "x";
    }

    void conditions() {
        QFETCH(int, index);
        QFETCH(QString, text);
        QFETCH(int, position);
        QFETCH(QString, expected);

        ConditionContext c = conditionContext();
        c.nvPosition = position;
        const CellCorrection got = Txt3_LostFocus(index, text, c);
        QCOMPARE(got.text, expected);
        QCOMPARE(got.Txt1_3.has_value(), index % 8 == 5);
    }

    void sectionTime_data() {
        QTest::addColumn<int>("index");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("hours");
        QTest::addColumn<int>("visibleStages");
        QTest::addColumn<QStringList>("others");  // slot-5 texts of stages 0..2
        QTest::addColumn<bool>("exceeded");

        const QStringList times{"300", "300", "150"};
        QTest::newRow("750 min over 12 h") << 21 << "150"
                                           << "12" << 3 << times << true;
        QTest::newRow("750 min under 13 h") << 21 << "150"
                                            << "13" << 3 << times << false;
        // 121.46 is shown as 121.5, which rounds to 122 (121 before the correction).
        QTest::newRow("the left box counts as corrected")
            << 21 << "121.46"
            << "12" << 3 << QStringList{"300", "299", ""} << true;
        QTest::newRow("the left box counts with its new text") << 5 << "400"
                                                               << "13" << 3 << times << true;
        QTest::newRow("hidden third stage stops the sum") << 5 << "300"
                                                          << "12" << 2 << times << false;
        QTest::newRow("exactly the limit") << 21 << "120"
                                           << "12" << 3 << times << false;
        QTest::newRow("each value rounds half to even")
            << 21 << "120"
            << "12" << 3 << QStringList{"300.5", "299.5", ""} << false;
        QTest::newRow("odd halves round up")
            << 21 << "120"
            << "12" << 3 << QStringList{"301.5", "299.5", ""} << true;
        QTest::newRow("no protection time") << 5 << "1"
                                            << "" << 1 << times << true;
    }

    void sectionTime() {
        QFETCH(int, index);
        QFETCH(QString, text);
        QFETCH(QString, hours);
        QFETCH(int, visibleStages);
        QFETCH(QStringList, others);
        QFETCH(bool, exceeded);

        ConditionContext c = conditionContext();
        c.Txt1_4 = hours;
        for (int s = 0; s < 3; ++s) {
            c.texts[s * 8 + 5] = others[s];
        }
        for (int s = 0; s < kMaxStages; ++s) {
            c.slot5Visible[s] = s < visibleStages;
        }
        const CellCorrection got = Txt3_LostFocus(index, text, c);
        QVERIFY2(got.totalTimeExceeded == exceeded,
                 qPrintable(QStringLiteral("cell %1 = %2 (now %3), Txt1(4) = %4")
                                .arg(index)
                                .arg(text, got.text, hours)));
    }

    void sectionTimeRewritesTxt1_3_data() {
        QTest::addColumn<QString>("txt1_3");
        QTest::addColumn<QString>("expected");

        QTest::newRow("trailing zero") << "3.50"
                                       << "3.5";
        QTest::newRow("not a number") << "abc"
                                      << "0";
        QTest::newRow("empty") << ""
                               << "0";
        QTest::newRow("whole") << "3"
                               << "3";
    }

    void sectionTimeRewritesTxt1_3() {
        QFETCH(QString, txt1_3);
        QFETCH(QString, expected);

        ConditionContext c = conditionContext();
        c.Txt1_3 = txt1_3;
        const CellCorrection got = Txt3_LostFocus(13, QStringLiteral("10"), c);
        QVERIFY(got.Txt1_3.has_value());
        QCOMPARE(*got.Txt1_3, expected);
    }

    void keyUpCap_data() {
        QTest::addColumn<int>("index");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");  // "" when the text stays

        QTest::newRow("1500 capped") << 5 << "1500"
                                     << "1440";
        QTest::newRow("1440 stays") << 5 << "1440"
                                    << "";
        QTest::newRow("1440.5 capped") << 13 << "1440.5"
                                       << "1440";
        QTest::newRow("slot 4 not capped") << 4 << "1500"
                                           << "";
        QTest::newRow("slot 6 not capped") << 6 << "5000"
                                           << "";
        QTest::newRow("not a number") << 53 << "abc"
                                      << "";
        QTest::newRow("last stage capped") << 53 << "99999"
                                           << "1440";
    }

    void keyUpCap() {
        QFETCH(int, index);
        QFETCH(QString, text);
        QFETCH(QString, expected);
        QCOMPARE(Txt3_KeyUp(index, text).value_or(QString()), expected);
    }
};

std::unique_ptr<QObject> MakeFieldCorrectionsTest() {
    return std::make_unique<FieldCorrectionsTest>();
}

#include "tst_field_corrections.moc"
