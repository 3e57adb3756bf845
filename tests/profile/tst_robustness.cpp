#include "link/codec.h"
#include "profile/consistency_check.h"
#include "profile/field_corrections.h"
#include "profile/nominal_voltage.h"
#include "profile/page_frames.h"
#include "profile/profile_switch.h"
#include "profile_tests.h"

#include <QRandomGenerator>
#include <QTest>

using namespace zun::profile;
using zun::link::IsHexText;
using zun::link::OverflowError;
using zun::link::TextToSingle;

namespace {

constexpr int kRounds = 3000;

// Texts a technician or a damaged profile could put into a box, and pieces to build more.
const QStringList kPieces = {
    "",       "0",          "1",     "9",      "12",     "14.4",
    "-",      "+",          ".",     "e",      "E",      "&H",
    "&h",     "FF",         "V",     "v",      " ",      "\t",
    "1e40",   "-1e40",      "1e38",  "3.4e38", "nan",    "inf",
    "abc",    ",",          "1,5",   "\u0663", "\u00e9", "\U0001F600",
    "32767",  "-32768",     "65535", "1440",   "0.05",   "99999999999999999999",
    "&HFFFF", "&H7FFFFFFF", "1e-45", "\n"};

QString randomText(QRandomGenerator& rng) {
    const int parts = rng.bounded(5);
    QString s;
    for (int k = 0; k < parts; ++k) {
        s += kPieces.at(rng.bounded(kPieces.size()));
    }
    if (rng.bounded(10) == 0) {
        s += QString(rng.bounded(300), QLatin1Char('9'));
    }
    return s;
}

float value(const QString& text) {
    return TextToSingle(text);
}

// A built frame is hex text of the given length; anything else is a fault.
void checkFrame(const QString& frame, int chars, const QString& what) {
    QVERIFY2(frame.size() == chars && IsHexText(frame),
             qPrintable(QStringLiteral("%1 -> %2").arg(what, frame)));
}

}  // namespace

class RobustnessTest : public QObject {
    Q_OBJECT

private slots:
    void corrections() {
        QRandomGenerator rng(20240611);
        for (int round = 0; round < kRounds; ++round) {
            const QString text = randomText(rng);

            const QString capacity = Txt0_LostFocus(1, text);
            QVERIFY2(value(capacity) >= 2.0f && value(capacity) <= 600.0f,
                     qPrintable(text + QStringLiteral(" -> ") + capacity));
            for (int i : {2, 3, 4, 5}) {
                Txt0_LostFocus(i, text);
            }

            const QString hours = Txt1_LostFocus(4, text);
            QVERIFY2(value(hours) >= 4.0f && value(hours) <= 24.0f,
                     qPrintable(text + QStringLiteral(" -> ") + hours));
            for (int i : {0, 2, 3}) {
                const QString whole = Txt1_LostFocus(i, text);
                QVERIFY2(value(whole) >= 0.0f, qPrintable(text + QStringLiteral(" -> ") + whole));
            }
            QCOMPARE(Txt1_LostFocus(1, text), text);

            StageContext stage;
            stage.nvPosition = 0;
            stage.nominalText = QStringLiteral("12V");
            stage.overVoltage = QStringLiteral("18");
            stage.voltStep = VoltStep(0);
            stage.ratedCurrent = 30;
            const QString volts = Txt2_LostFocus(0, text, stage);
            QVERIFY2(value(volts) >= 12.0f && value(volts) <= 16.0f,
                     qPrintable(text + QStringLiteral(" -> ") + volts));
            const QString amps = Txt2_LostFocus(1, text, stage);
            QVERIFY2(value(amps) >= 2.0f && value(amps) <= 30.0f,
                     qPrintable(text + QStringLiteral(" -> ") + amps));
            // Any context text, including a broken over-voltage or nominal text.
            stage.nvPosition = rng.bounded(5) - 1;
            stage.nominalText = randomText(rng);
            stage.overVoltage = randomText(rng);
            stage.ratedCurrent = rng.bounded(61);
            Txt2_LostFocus(rng.bounded(14), text, stage);

            const std::optional<QString> capped = Txt3_KeyUp(5 + 8 * rng.bounded(7), text);
            QVERIFY(!capped || *capped == QLatin1String("1440"));
            QVERIFY(value(capped.value_or(text)) <= 1440.0f);
        }
    }

    void conditionCorrections() {
        QRandomGenerator rng(77);
        for (int round = 0; round < kRounds; ++round) {
            ConditionContext c;
            c.nvPosition = rng.bounded(4) - 1;
            const VoltageLimits limits = VoltageLimitsFor(c.nvPosition);
            c.voltStep = limits.VoltStep;
            c.stageVoltMin = limits.StageVoltMin;
            c.stageVoltMax = limits.StageVoltMax;
            for (QString& t : c.Txt2) {
                t = randomText(rng);
            }
            for (QString& t : c.texts) {
                t = randomText(rng);
            }
            c.Txt1_3 = randomText(rng);
            c.Txt1_4 = randomText(rng);
            for (bool& v : c.slot5Visible) {
                v = rng.bounded(3) != 0;
            }
            const int index = rng.bounded(kCellCount);
            const QString text = randomText(rng);
            const CellCorrection got = Txt3_LostFocus(index, text, c);
            if (index % 8 == 2) {
                bool whole = false;
                const int t = got.text.toInt(&whole);
                QVERIFY2(whole && t >= 0 && t <= 59, qPrintable(text + " -> " + got.text));
            }
            if (index % 8 == 0 && c.nvPosition >= 0) {
                // Within the page limits unless the stage voltage pulls it lower.
                QVERIFY2(value(got.text) <= c.stageVoltMax + 0.05f,
                         qPrintable(text + " -> " + got.text));
            }
        }
    }

    void frames() {
        QRandomGenerator rng(4242);
        int built = 0;
        int overflows = 0;
        for (int round = 0; round < kRounds; ++round) {
            const int profile = rng.bounded(2);
            try {
                GeneralFields g;
                g.profile = profile;
                g.nominalText = randomText(rng);
                for (QString& t : g.Txt0) {
                    t = randomText(rng);
                }
                checkFrame(GeneralFrame(g), 34, g.Txt0.at(1));
                ++built;
            } catch (const OverflowError&) {
                ++overflows;
            }
            try {
                ProtectionFields p;
                p.profile = profile;
                for (QString& t : p.Txt1) {
                    t = randomText(rng);
                }
                checkFrame(ProtectionFrame(p), 30, p.Txt1.at(0));
                ++built;
            } catch (const OverflowError&) {
                ++overflows;
            }
            try {
                StageFields s;
                s.profile = profile;
                s.stagePosition = rng.bounded(8) - 1;
                s.stageText =
                    rng.bounded(4) == 0 ? randomText(rng) : QString::number(s.stagePosition + 1);
                for (QString& t : s.Txt2) {
                    t = randomText(rng);
                }
                const StagesWrite w = StagesFrame(s);
                if (w.ok()) {
                    const int n = StageCountOfText(s.stageText);
                    checkFrame(w.frame, 2 * (4 * n + 7), s.stageText);
                } else {
                    QVERIFY(w.frame.isEmpty());
                }
                ++built;
            } catch (const OverflowError&) {
                ++overflows;
            }
            AnyCondFields page;
            for (int i = 0; i < kCellCount; ++i) {
                page.grid.types[i] = rng.bounded(3);
                page.grid.texts[i] = randomText(rng);
            }
            for (int s = 0; s < kMaxStages; ++s) {
                page.targetPositions[s] = rng.bounded(4) - 1;
                page.targetTexts[s] =
                    rng.bounded(3) == 0 ? randomText(rng) : QString::number(rng.bounded(1, 8));
            }
            const int stage = rng.bounded(kMaxStages);
            const bool identified = rng.bounded(2) == 1;
            try {
                checkFrame(NextCondFrame(profile, stage, page.grid, identified), 64,
                           page.grid.texts.at(stage * 8));
                ++built;
            } catch (const OverflowError&) {
                ++overflows;
            }
            try {
                checkFrame(AnyCondFrame(profile, stage, page, identified), 64,
                           page.targetTexts.at(stage));
                ++built;
            } catch (const OverflowError&) {
                ++overflows;
            } catch (const TypeMismatchError&) {
                ++overflows;
            } catch (const TargetStageError&) {
                ++overflows;
            }
        }
        // Both outcomes must have been exercised for the run to mean something.
        QVERIFY2(built > kRounds && overflows > 0,
                 qPrintable(QStringLiteral("built %1, errors %2").arg(built).arg(overflows)));
    }

    void consistencyAndSwitching() {
        QRandomGenerator rng(99);
        for (int round = 0; round < kRounds; ++round) {
            ConsistencyInput in;
            in.nvPosition = rng.bounded(4) - 1;
            in.nominalText = randomText(rng);
            in.Txt1_1 = randomText(rng);
            in.Txt1_4 = randomText(rng);
            in.stagePosition = rng.bounded(9) - 1;
            in.stageText =
                rng.bounded(3) == 0 ? randomText(rng) : QString::number(in.stagePosition + 1);
            for (QString& t : in.Txt2) {
                t = randomText(rng);
            }
            for (int i = 0; i < kCellCount; ++i) {
                in.Cmb3Type[i] = rng.bounded(3);
                in.Txt3[i] = randomText(rng);
            }
            for (bool& v : in.slot5Visible) {
                v = rng.bounded(4) != 0;
            }
            const VoltageLimits limits = VoltageLimitsFor(in.nvPosition);
            in.StageVoltMin = limits.StageVoltMin;
            in.StageVoltMax = limits.StageVoltMax;
            in.VoltStep = limits.VoltStep;
            in.RatedCurrent = rng.bounded(61);

            const ConsistencyVerdict v = CheckConsistency(in);
            for (int cell : v.resetToNone) {
                QVERIFY(cell >= 0 && cell < kCellCount && in.Cmb3Type[cell] != 0);
                in.Cmb3Type[cell] = 0;
                in.Txt3[cell].clear();
            }
            const ConsistencyVerdict again = CheckConsistency(in);
            QCOMPARE(again.cmdOkEnabled, v.cmdOkEnabled);
            QVERIFY(again.resetToNone.empty());
            QVERIFY(again.Txt3 == v.Txt3 && again.Cmb3Type == v.Cmb3Type && again.Txt2 == v.Txt2);
            HasTypeConflict(in.Cmb3Type, rng.bounded(-1, 12));

            const QString entry = randomText(rng);
            const std::optional<int> next = NextCondTypePosition(entry);
            QVERIFY(!next || (*next >= 0 && *next < kTypeCount));
            const std::optional<int> any = AnyCondTypePosition(entry);
            QVERIFY(!any || (*any >= 0 && *any < kTypeCount));
            const std::optional<int> count = StageCountPosition(entry, 4);
            QVERIFY(!count || (*count >= -1 && *count < 4));
            const QStringList items{"1", "3", randomText(rng)};
            const std::optional<int> target = AnyTargetPosition(entry, items);
            QVERIFY(!target || (*target >= 0 && *target < items.size()));
            CondEntryOfTypeChange(rng.bounded(3), entry);
            StageFieldText(rng.bounded(14), entry, randomText(rng));
            StoredNominalPosition(entry);
        }
    }
};

std::unique_ptr<QObject> MakeRobustnessTest() {
    return std::make_unique<RobustnessTest>();
}

#include "tst_robustness.moc"
