#include "profile/nominal_voltage.h"
#include "profile/single_text.h"
#include "profile_tests.h"

#include <QTest>

using namespace zun::profile;

class NominalVoltageTest : public QObject {
    Q_OBJECT

private slots:
    void derivedValues_data() {
        QTest::addColumn<int>("position");
        QTest::addColumn<float>("step");
        QTest::addColumn<float>("minimum");
        QTest::addColumn<float>("maximum");
        QTest::addColumn<float>("ceiling");
        QTest::addColumn<QString>("overVoltage");

        QTest::newRow("12V") << 0 << 0.2f << 11.8f << 15.8f << 16.0f << "18";
        QTest::newRow("24V") << 1 << 0.4f << 23.6f << 31.6f << 32.0f << "36";
        QTest::newRow("48V") << 2 << 0.8f << 47.2f << 63.2f << 64.0f << "72";
        QTest::newRow("none") << -1 << 0.1f << 5.9f << 7.9f << 8.0f << "0";
        QTest::newRow("beyond the list is none") << 3 << 0.1f << 5.9f << 7.9f << 8.0f << "0";
    }

    void derivedValues() {
        QFETCH(int, position);
        QFETCH(float, step);
        QFETCH(float, minimum);
        QFETCH(float, maximum);
        QFETCH(float, ceiling);
        QFETCH(QString, overVoltage);

        // Exact single comparisons: the window compares these singles with typed values.
        QCOMPARE(VoltStep(position), step);
        QCOMPARE(StageVoltMin(position), minimum);
        QCOMPARE(StageVoltMax(position), maximum);
        QCOMPARE(VoltCeiling(position), ceiling);
        QCOMPARE(OverVoltageText(position), overVoltage);
        const VoltageLimits limits = VoltageLimitsFor(position);
        QCOMPARE(limits.VoltStep, step);
        QCOMPARE(limits.StageVoltMin, minimum);
        QCOMPARE(limits.StageVoltMax, maximum);
        QCOMPARE(SingleText(limits.StageVoltMax), QString::number(maximum));
    }

    void nominalLimits_data() {
        QTest::addColumn<int>("position");
        QTest::addColumn<bool>("present");
        QTest::addColumn<QList<float>>("limits");

        QTest::newRow("12V") << 0 << true << QList<float>{16.5f, 15.0f, 16.0f, 12.0f};
        QTest::newRow("24V") << 1 << true << QList<float>{33.0f, 30.0f, 32.0f, 24.0f};
        QTest::newRow("48V") << 2 << true << QList<float>{65.0f, 62.0f, 64.0f, 48.0f};
        QTest::newRow("none") << -1 << false << QList<float>{};
    }

    void nominalLimits() {
        QFETCH(int, position);
        QFETCH(bool, present);
        QFETCH(QList<float>, limits);

        const auto got = NominalLimits(position);
        QCOMPARE(got.has_value(), present);
        if (present) {
            QCOMPARE(QList<float>(got->begin(), got->end()), limits);
        }
    }

    void singleText_data() {
        QTest::addColumn<float>("value");
        QTest::addColumn<QString>("text");

        QTest::newRow("18 - 0.2 in single") << 18.0f - 0.2f << "17.8";
        QTest::newRow("30 - 0.4 in single") << 30.0f - 0.4f << "29.6";
        QTest::newRow("60 - 0.8 in single") << 60.0f - 0.8f << "59.2";
        QTest::newRow("whole") << 16.0f << "16";
        QTest::newRow("tenth") << 0.1f << "0.1";
        QTest::newRow("negative") << -0.2f << "-0.2";
        QTest::newRow("negative zero") << -0.0f << "0";
        QTest::newRow("large, no exponent") << 1e20f << "100000002004087734272";
        QTest::newRow("small, no exponent") << 1e-5f << "0.00001";
        QTest::newRow("seven digits") << 14.45f << "14.45";
    }

    void singleText() {
        QFETCH(float, value);
        QFETCH(QString, text);
        QCOMPARE(SingleText(value), text);
    }
};

std::unique_ptr<QObject> MakeNominalVoltageTest() {
    return std::make_unique<NominalVoltageTest>();
}

#include "tst_nominal_voltage.moc"
