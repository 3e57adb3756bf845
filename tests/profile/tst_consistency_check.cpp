#include "profile/consistency_check.h"
#include "profile/nominal_voltage.h"
#include "profile_tests.h"

#include <QTest>

using namespace zun::profile;

namespace {

// 12 V, over-voltage 18, 20 h, three stages 14.4/10, 13.8/5, 13.5/2 on a 10 A charger, no
// conditions: consistent.
ConsistencyInput baseInput() {
    ConsistencyInput in;
    in.nvPosition = 0;
    in.nominalText = QStringLiteral("12V");
    in.Txt1_1 = QStringLiteral("18");
    in.Txt1_4 = QStringLiteral("20");
    in.stagePosition = 2;
    in.stageText = QStringLiteral("3");
    in.Txt2 = {"14.4", "10", "13.8", "5", "13.5", "2", "", "", "", "", "", "", "", ""};
    in.slot5Visible = {true, true, true, false, false, false, false};
    const VoltageLimits limits = VoltageLimitsFor(0);
    in.StageVoltMin = limits.StageVoltMin;
    in.StageVoltMax = limits.StageVoltMax;
    in.VoltStep = limits.VoltStep;
    in.RatedCurrent = 10;
    return in;
}

// Edits in the form "name=value" or "name.index=value", applied in order.
void applyEdits(ConsistencyInput& in, const QStringList& edits) {
    for (const QString& edit : edits) {
        const int eq = edit.indexOf(QLatin1Char('='));
        const QString key = edit.left(eq);
        const QString value = edit.mid(eq + 1);
        const QString name = key.section(QLatin1Char('.'), 0, 0);
        const int index = key.section(QLatin1Char('.'), 1, 1).toInt();
        if (name == QLatin1String("nv")) {
            in.nvPosition = value.toInt();
            in.nominalText =
                in.nvPosition < 0 ? QString() : QStringList{"12V", "24V", "48V"}[in.nvPosition];
            const VoltageLimits limits = VoltageLimitsFor(in.nvPosition);
            in.StageVoltMin = limits.StageVoltMin;
            in.StageVoltMax = limits.StageVoltMax;
            in.VoltStep = limits.VoltStep;
        } else if (name == QLatin1String("stages")) {
            in.stagePosition = value.toInt();
            in.stageText = in.stagePosition < 0 ? QString() : QString::number(in.stagePosition + 1);
        } else if (name == QLatin1String("visible")) {
            for (int s = 0; s < kMaxStages; ++s) {
                in.slot5Visible[s] = s < value.toInt();
            }
        } else if (name == QLatin1String("rated")) {
            in.RatedCurrent = value.toInt();
        } else if (name == QLatin1String("Txt1_1")) {
            in.Txt1_1 = value;
        } else if (name == QLatin1String("Txt1_4")) {
            in.Txt1_4 = value;
        } else if (name == QLatin1String("Txt2")) {
            in.Txt2[index] = value;
        } else if (name == QLatin1String("Txt3")) {
            in.Txt3[index] = value;
        } else if (name == QLatin1String("type")) {
            in.Cmb3Type[index] = value.toInt();
        } else {
            qFatal("unknown edit %s", qPrintable(edit));
        }
    }
}

char markLetter(Mark m) {
    switch (m) {
        case Mark::Untouched:
            return 'U';
        case Mark::Wrong:
            return 'W';
        case Mark::RightSystem:
            return 'S';
        case Mark::RightBlack:
            return 'B';
    }
    return '?';
}

Mark markOf(const ConsistencyVerdict& v, const QString& key) {
    const QString name = key.section(QLatin1Char('.'), 0, 0);
    const int index = key.section(QLatin1Char('.'), 1, 1).toInt();
    if (name == QLatin1String("Txt1_4")) {
        return v.Txt1_4;
    }
    if (name == QLatin1String("Cmb2Total")) {
        return v.Cmb2Total;
    }
    if (name == QLatin1String("Txt2")) {
        return v.Txt2.at(index);
    }
    if (name == QLatin1String("Txt3")) {
        return v.Txt3.at(index);
    }
    if (name == QLatin1String("Cmb3Type")) {
        return v.Cmb3Type.at(index);
    }
    qFatal("unknown control %s", qPrintable(key));
    return Mark::Untouched;
}

// Every mark of the verdict in one text, for failure messages and comparisons.
QString allMarks(const ConsistencyVerdict& v) {
    QString out = QStringLiteral("Txt1_4=%1 Cmb2Total=%2 Txt2=")
                      .arg(markLetter(v.Txt1_4))
                      .arg(markLetter(v.Cmb2Total));
    for (Mark m : v.Txt2) {
        out += QLatin1Char(markLetter(m));
    }
    out += QStringLiteral(" Txt3=");
    for (Mark m : v.Txt3) {
        out += QLatin1Char(markLetter(m));
    }
    out += QStringLiteral(" Cmb3Type=");
    for (Mark m : v.Cmb3Type) {
        out += QLatin1Char(markLetter(m));
    }
    return out + (v.cmdOkEnabled ? QStringLiteral(" CmdOK on") : QStringLiteral(" CmdOK off"));
}

}  // namespace

class ConsistencyCheckTest : public QObject {
    Q_OBJECT

private slots:
    void check_data() {
        QTest::addColumn<QStringList>("edits");
        QTest::addColumn<bool>("cmdOk");
        QTest::addColumn<QStringList>("marks");  // control=U/W/S/B
        QTest::addColumn<QList<int>>("resets");

        using L = QStringList;
        using R = QList<int>;

        QTest::newRow("consistent profile")
            << L{} << true
            << L{"Txt1_4=S",      "Cmb2Total=S",  "Txt2.0=S",     "Txt2.1=S",     "Txt2.5=S",
                 "Txt2.6=U",      "Cmb3Type.0=B", "Cmb3Type.4=B", "Cmb3Type.5=B", "Cmb3Type.21=B",
                 "Cmb3Type.24=U", "Cmb3Type.2=U", "Txt3.0=U",     "Txt3.4=U",     "Txt3.5=B",
                 "Txt3.21=B",     "Txt3.29=U"}
            << R{};

        QTest::newRow("stage voltage 14.4 right")
            << L{"Txt2.4=14.4"} << true << L{"Txt2.4=S"} << R{};
        QTest::newRow("stage voltage 17.9 above 18 - 0.2")
            << L{"Txt2.0=17.9"} << false << L{"Txt2.0=W", "Txt2.2=S"} << R{};
        QTest::newRow("stage voltage 16.5 above 16")
            << L{"Txt2.2=16.5"} << false << L{"Txt2.2=W"} << R{};
        QTest::newRow("stage voltage 16 right") << L{"Txt2.2=16"} << true << L{"Txt2.2=S"} << R{};
        QTest::newRow("stage voltage 11.9 below 12")
            << L{"Txt2.4=11.9"} << false << L{"Txt2.4=W"} << R{};
        QTest::newRow("empty stage voltage") << L{"Txt2.4="} << false << L{"Txt2.4=W"} << R{};
        // The step here is the double 0.2: the single 15.8 lies above 16 - 0.2.
        QTest::newRow("over-voltage 16, stage voltage 15.8")
            << L{"Txt1_1=16", "Txt2.0=15.8"} << false << L{"Txt2.0=W"} << R{};
        QTest::newRow("over-voltage 16, stage voltage 15.7")
            << L{"Txt1_1=16", "Txt2.0=15.7"} << true << L{"Txt2.0=S"} << R{};
        QTest::newRow("24V profile on 12V voltages")
            << L{"nv=1", "Txt1_1=36"} << false << L{"Txt2.0=W", "Txt2.2=W", "Txt2.4=W"} << R{};

        QTest::newRow("current 1.9") << L{"Txt2.1=1.9"} << false << L{"Txt2.1=W"} << R{};
        QTest::newRow("current 2") << L{"Txt2.1=2"} << true << L{"Txt2.1=S"} << R{};
        QTest::newRow("current 10 on 10 A") << L{"Txt2.3=10"} << true << L{"Txt2.3=S"} << R{};
        QTest::newRow("current 10.5 on 10 A") << L{"Txt2.3=10.5"} << false << L{"Txt2.3=W"} << R{};
        QTest::newRow("no charger identified")
            << L{"rated=0"} << false << L{"Txt2.1=W", "Txt2.3=W", "Txt2.5=W", "Txt2.0=S"} << R{};

        QTest::newRow("total time 3.9") << L{"Txt1_4=3.9"} << false << L{"Txt1_4=W"} << R{};
        QTest::newRow("total time 24.1") << L{"Txt1_4=24.1"} << false << L{"Txt1_4=W"} << R{};
        QTest::newRow("total time 4") << L{"Txt1_4=4"} << true << L{"Txt1_4=S"} << R{};
        QTest::newRow("total time 24") << L{"Txt1_4=24"} << true << L{"Txt1_4=S"} << R{};

        QTest::newRow("no nominal voltage") << L{"nv=-1"} << false << L{} << R{};
        QTest::newRow("no stage count")
            << L{"stages=-1", "type.2=1"} << false
            << L{"Cmb2Total=W", "Txt2.0=U", "Txt2.1=U", "Cmb3Type.0=U", "Txt3.5=U"} << R{};

        QTest::newRow("section times 750 min over 12 h")
            << L{"Txt3.5=300", "Txt3.13=300", "Txt3.21=150", "Txt1_4=12"} << false
            << L{"Txt3.5=W", "Txt3.13=W", "Txt3.21=W"} << R{};
        QTest::newRow("section times 750 min under 13 h")
            << L{"Txt3.5=300", "Txt3.13=300", "Txt3.21=150", "Txt1_4=13"} << true
            << L{"Txt3.5=B", "Txt3.13=B", "Txt3.21=B"} << R{};
        QTest::newRow("a zero section time stays black")
            << L{"Txt3.5=300", "Txt3.13=0", "Txt3.21=450", "Txt1_4=12"} << false
            << L{"Txt3.5=W", "Txt3.13=B", "Txt3.21=W"} << R{};
        // 720.8 fails the sum, but the colouring rounds 360.4 + 360.4 to 720.
        QTest::newRow("unrounded sum disables, rounded sum colours")
            << L{"stages=1", "visible=2", "Txt3.5=360.4", "Txt3.13=360.4", "Txt1_4=12"} << false
            << L{"Txt3.5=B", "Txt3.13=B"} << R{};
        QTest::newRow("total exactly the protection time")
            << L{"Txt3.5=300", "Txt3.13=300", "Txt3.21=120", "Txt1_4=12"} << true
            << L{"Txt3.5=B", "Txt3.13=B", "Txt3.21=B"} << R{};
        // 721 + 0.5 rounds to 722 (even) after the addition; rounding 0.5 alone would give 721.
        QTest::newRow("the colouring sum rounds after each addition")
            << L{"stages=1", "visible=1", "Txt3.5=721", "Txt3.13=0.5", "Txt1_4=12.02"} << true
            << L{"Txt3.5=W", "Txt3.13=W"} << R{};
        QTest::newRow("hidden stage ends the sum, not the colouring")
            << L{"visible=2", "Txt3.5=300", "Txt3.13=300", "Txt3.21=150", "Txt1_4=12"} << true
            << L{"Txt3.5=W", "Txt3.13=W", "Txt3.21=W"} << R{};
        QTest::newRow("one stage: only the colouring sees its time")
            << L{"stages=0", "visible=1", "Txt3.5=800", "Txt1_4=12"} << true
            << L{"Txt3.5=W", "Txt3.13=U"} << R{};

        QTest::newRow("and in cell 0, or in cell 4")
            << L{"type.0=1", "Txt3.0=13", "type.4=2", "Txt3.4=2"} << false
            << L{"Cmb3Type.0=W", "Cmb3Type.4=W", "Cmb3Type.5=B", "Txt3.0=S", "Txt3.4=S"} << R{};
        QTest::newRow("and and or in different transitions")
            << L{"type.0=1", "Txt3.0=13", "type.12=2", "Txt3.12=2"} << true
            << L{"Cmb3Type.0=B", "Cmb3Type.12=B", "Txt3.0=S", "Txt3.12=S"} << R{};
        QTest::newRow("mix in the last transition, values not judged there")
            << L{"type.16=1", "Txt3.16=99", "type.21=2"} << false
            << L{"Cmb3Type.16=W", "Cmb3Type.20=B", "Cmb3Type.21=W", "Txt3.16=U"} << R{};

        QTest::newRow("threshold above stage voltage less a step")
            << L{"type.0=1", "Txt3.0=14.3"} << false << L{"Txt3.0=W"} << R{};
        QTest::newRow("threshold at stage voltage less a step")
            << L{"type.0=1", "Txt3.0=14.2"} << true << L{"Txt3.0=S"} << R{};
        QTest::newRow("threshold below StageVoltMin")
            << L{"type.0=2", "Txt3.0=11.7"} << false << L{"Txt3.0=W"} << R{};
        QTest::newRow("threshold above StageVoltMax")
            << L{"Txt2.2=16", "type.8=2", "Txt3.8=15.9"} << false << L{"Txt3.8=W"} << R{};
        QTest::newRow("unused threshold not judged")
            << L{"Txt3.0=99"} << true << L{"Txt3.0=U"} << R{};
        QTest::newRow("current threshold 0.9")
            << L{"type.4=1", "Txt3.4=0.9"} << false << L{"Txt3.4=W"} << R{};
        QTest::newRow("current threshold 9 on 10 A stage")
            << L{"type.4=1", "Txt3.4=9"} << true << L{"Txt3.4=S"} << R{};
        QTest::newRow("current threshold 9.5 on 10 A stage")
            << L{"type.4=1", "Txt3.4=9.5"} << false << L{"Txt3.4=W"} << R{};
        QTest::newRow("current threshold 4.5 on 5 A stage")
            << L{"type.12=2", "Txt3.12=4.5"} << false << L{"Txt3.12=W"} << R{};

        QTest::newRow("slot 2 of the first transition is reset")
            << L{"type.2=1"} << true << L{"Cmb3Type.2=U"} << R{2};
        QTest::newRow("slots 1, 3, 6, 7 are reset")
            << L{"type.1=1", "type.3=2", "type.6=1", "type.7=2"} << true << L{} << R{1, 3, 6, 7};
        QTest::newRow("the last transition keeps its slots")
            << L{"type.10=2", "type.15=1", "type.18=1", "type.23=2"} << true << L{} << R{10, 15};
        QTest::newRow("one stage resets nothing")
            << L{"stages=0", "visible=1", "type.2=1"} << true << L{} << R{};
    }

    void check() {
        QFETCH(QStringList, edits);
        QFETCH(bool, cmdOk);
        QFETCH(QStringList, marks);
        QFETCH(QList<int>, resets);

        ConsistencyInput in = baseInput();
        applyEdits(in, edits);
        const ConsistencyVerdict v = CheckConsistency(in);
        const QByteArray context = allMarks(v).toLatin1();

        QVERIFY2(v.cmdOkEnabled == cmdOk, context.constData());
        for (const QString& m : marks) {
            const QString key = m.section(QLatin1Char('='), 0, 0);
            const char want = m.section(QLatin1Char('='), 1).at(0).toLatin1();
            const char got = markLetter(markOf(v, key));
            QVERIFY2(got == want, qPrintable(QStringLiteral("%1 is %2, want %3; %4")
                                                 .arg(key)
                                                 .arg(QLatin1Char(got))
                                                 .arg(QLatin1Char(want))
                                                 .arg(QString::fromLatin1(context))));
        }
        QCOMPARE(QList<int>(v.resetToNone.begin(), v.resetToNone.end()), resets);

        // The window applies the resets through the type handler (which empties the box) and
        // the check runs again: same outcome, nothing left to reset.
        for (int cell : v.resetToNone) {
            in.Cmb3Type[cell] = 0;
            in.Txt3[cell].clear();
        }
        const ConsistencyVerdict again = CheckConsistency(in);
        QCOMPARE(allMarks(again), allMarks(v));
        QVERIFY(again.resetToNone.empty());
    }

    void conflictScan_data() {
        QTest::addColumn<QList<int>>("cells");
        QTest::addColumn<QList<int>>("types");
        QTest::addColumn<int>("stageCount");
        QTest::addColumn<bool>("conflict");

        using C = QList<int>;
        QTest::newRow("none") << C{} << C{} << 4 << false;
        QTest::newRow("slots 0 and 2") << C{0, 2} << C{1, 2} << 1 << true;
        QTest::newRow("slots 0 and 4") << C{0, 4} << C{1, 2} << 1 << true;
        QTest::newRow("slots 5 and 2") << C{5, 2} << C{1, 2} << 1 << true;
        QTest::newRow("all and") << C{0, 2, 4, 5} << C{1, 1, 1, 1} << 1 << false;
        QTest::newRow("all or") << C{0, 2, 4, 5} << C{2, 2, 2, 2} << 1 << false;
        QTest::newRow("slots 1 and 3") << C{1, 3} << C{1, 2} << 1 << false;
        QTest::newRow("slots 6 and 7") << C{6, 7} << C{1, 2} << 1 << false;
        QTest::newRow("slot 0 and slot 1") << C{0, 1} << C{1, 2} << 1 << false;
        QTest::newRow("different stages") << C{0, 8} << C{1, 2} << 4 << false;
        QTest::newRow("second stage beyond the count") << C{8, 13} << C{1, 2} << 1 << false;
        QTest::newRow("second stage within the count") << C{8, 13} << C{1, 2} << 2 << true;
        QTest::newRow("seventh stage") << C{48, 53} << C{2, 1} << 7 << true;
        QTest::newRow("count beyond seven") << C{48, 53} << C{2, 1} << 12 << true;
    }

    void conflictScan() {
        QFETCH(QList<int>, cells);
        QFETCH(QList<int>, types);
        QFETCH(int, stageCount);
        QFETCH(bool, conflict);

        std::array<int, kCellCount> grid{};
        for (int k = 0; k < cells.size(); ++k) {
            grid[cells[k]] = types[k];
        }
        QCOMPARE(HasTypeConflict(grid, stageCount), conflict);
    }
};

std::unique_ptr<QObject> MakeConsistencyCheckTest() {
    return std::make_unique<ConsistencyCheckTest>();
}

#include "tst_consistency_check.moc"
