#include "link/codec.h"
#include "profile/consistency_check.h"
#include "profile/field_corrections.h"
#include "profile/nominal_voltage.h"
#include "profile/page_frames.h"
#include "profile/profile_switch.h"
#include "profile/single_text.h"
#include "profile/stage_layout.h"

#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTest>

#include <algorithm>

using namespace zun::profile;
using zun::link::TextToSingle;

namespace {

// Most tables here map a list of input texts to one expected text.
void columns() {
    QTest::addColumn<QStringList>("in");
    QTest::addColumn<QString>("want");
}

// Named after its inputs, so that a failure shows them.
void row(const QStringList& in, const QString& want) {
    QTest::newRow(qPrintable(in.join(" | "))) << in << want;
}

// Second transition: "and" above 13.8 V, "or" below 2.5 A, "or" after 120 minutes; a text left
// in an unused cell of the third. Targets: stage 1 -> item "1", stage 2 -> item "4".
AnyCondFields samplePage() {
    AnyCondFields page;
    page.grid.types[8] = 1;
    page.grid.types[12] = page.grid.types[13] = 2;
    page.grid.texts[8] = "13.8";
    page.grid.texts[12] = "2.5";
    page.grid.texts[13] = "120";
    page.grid.texts[21] = "5";
    page.targetPositions = {0, 2, -1, -1, -1, -1, -1};
    page.targetTexts = {"1", "4"};
    return page;
}

// Three stages 14.4 V / 10 A, 13.8 V / 5 A, 13.5 V / 2 A, and the slot-5 boxes they show.
const std::array<QString, kStageFieldCount> kStages{"14.4", "10", "13.8", "5", "13.5", "2"};
const std::array<bool, kMaxStages> kThreeShown{true, true, true};

// 12 V, the three stages, slot-5 times 300, 300 and 150 minutes, 12 h protection time.
ConditionContext conditionContext(int nvPosition) {
    const VoltageLimits l = VoltageLimitsFor(0);
    ConditionContext c{nvPosition, l.VoltStep, l.StageVoltMin, l.StageVoltMax, kStages, "3.50",
                       "12",       {},         kThreeShown};
    c.texts[5] = c.texts[13] = "300";
    c.texts[21] = "150";
    return c;
}

// 12 V, over-voltage 18, 20 h, the three stages on a 10 A charger and no conditions, which is
// consistent; then the edits "name=value" or "name.index=value" in order (nv sets the list
// position and its text only: no row with another voltage has conditions).
ConsistencyInput consistencyInput(const QString& edits) {
    const VoltageLimits l = VoltageLimitsFor(0);
    ConsistencyInput in{
        0,  "12V",       "18",           "20",           2,          "3", kStages, {},
        {}, kThreeShown, l.StageVoltMin, l.StageVoltMax, l.VoltStep, 10};
    for (const QString& edit : edits.split(' ', Qt::SkipEmptyParts)) {
        const QString key = edit.section('=', 0, 0);
        const QString value = edit.section('=', 1);
        const int index = key.section('.', 1).toInt();
        const int n = value.toInt();
        if (key == "stages") {  // a count
            in.stagePosition = n - 1;
            in.stageText = n > 0 ? value : "";
        }
        if (key == "stages" || key == "visible") {  // the slot-5 boxes of so many stages shown
            for (int s = 0; s < kMaxStages; ++s) {
                in.slot5Visible[s] = s < n;
            }
        } else if (key == "nv") {
            in.nvPosition = n;
            in.nominalText = n < 0 ? "" : QString("%1V").arg(12 << n);
        } else if (key == "rated") {
            in.RatedCurrent = n;
        } else if (key.startsWith("Txt1")) {
            (key == "Txt1_1" ? in.Txt1_1 : in.Txt1_4) = value;
        } else if (key.startsWith("type")) {
            in.Cmb3Type.at(index) = n;
        } else {
            (key.startsWith("Txt2") ? in.Txt2.data() : in.Txt3.data())[index] = value;
        }
    }
    return in;
}

// CmdOK "on"/"off", every control as "control=letter" (U not judged, W wrong, R right), the
// cells reset to "none", and "scan=1" when the type handler's scan finds a mix.
QStringList verdict(const ConsistencyInput& in) {
    const ConsistencyVerdict v = CheckConsistency(in);
    const auto letter = [&v](Field field, int index = 0) {
        const Finding* f = v.find(field, index);
        return QChar(f == nullptr ? 'U' : f->wrong() ? 'W' : 'R');
    };
    QStringList out{v.cmdOkEnabled ? "on" : "off", QString("Txt1_4=") + letter(Field::Txt1_4),
                    QString("Cmb2Total=") + letter(Field::Cmb2Total)};
    for (int k = 0; k < kStageFieldCount; ++k) {
        out << QString("Txt2.%1=%2").arg(k).arg(letter(Field::Txt2, k));
    }
    for (int i = 0; i < kCellCount; ++i) {
        out << QString("Txt3.%1=%2").arg(i).arg(letter(Field::Txt3, i))
            << QString("Cmb3Type.%1=%2").arg(i).arg(letter(Field::Cmb3Type, i));
    }
    QString resets;
    for (int cell : v.resetToNone) {
        resets += (resets.isEmpty() ? "" : ",") + QString::number(cell);
    }
    return out << "reset=" + resets
               << QString("scan=%1").arg(HasTypeConflict(in.Cmb3Type, in.stagePosition + 1));
}

// The condition cells' findings as text, to compare two verdicts.
QStringList cellFindings(const ConsistencyVerdict& v) {
    QStringList out;
    for (const Finding& f : v.findings) {
        if (f.field == Field::Txt3 || f.field == Field::Cmb3Type) {
            out << QString("%1.%2:%3:%4-%5")
                       .arg(int(f.field))
                       .arg(f.index)
                       .arg(int(f.rule))
                       .arg(f.low)
                       .arg(f.high);
        }
    }
    return out;
}

// What a technician or a damaged profile can put into a box: pieces of such texts put together.
constexpr char kPieces[] =
    "|0|12|14.4|-|.|e|&H|&HFFFF|FF|V|v| |,|abc|nan|1e40|-1e40|1e-45|3.4e38|"
    "0.05|1440|32767|\u0663|\U0001F600|99999999999999999999";

QString randomText(QRandomGenerator& rng) {
    static const QStringList pieces = QString(kPieces).split('|');
    QString s;
    for (int k = rng.bounded(5); k > 0; --k) {
        s += pieces.at(rng.bounded(pieces.size()));
    }
    return s;
}

// Hex text of the frame's length, or one of the errors that stop a write.
template <typename Build>
bool frameOrError(Build build, int chars) {
    try {
        const QString frame = build();
        return frame.size() == chars && zun::link::IsHexText(frame);
    } catch (const std::runtime_error&) {
        return true;
    }
}

}  // namespace

class ProfileTest : public QObject {
    Q_OBJECT

private slots:
    // What reaches the charger. in: profile, then general: Cmb0NV, Txt0(1..5); protection:
    // Txt1(0..4); stages: Cmb2Total, Txt2(0..); next, any, cleared (any after the write-all has
    // cleared it): stage, charger identified. slot: slot, value, charger identified (a type-1
    // cell); target: Cmb4SN position, item text. want: the text, or why nothing is sent.
    void frame_data() {
        columns();
        const auto frame = [](const char* name, const QStringList& in, const char* text) {
            const QString t(text);
            QTest::newRow(name) << in << (t.startsWith("85") ? QString(t).remove(' ') : t);
        };
        frame("general 12V example", {"0", "12V", "100", "18", "25.0", "2", "40.0"},
              "850E51 00 04B0 0064 0012 00FA 02 0190 000D");
        frame("general 24V, halves to even", {"1", "24V", "600.5", "29.5", "30", "5", "50"},
              "850E51 01 0960 0258 001E 012C 05 01F4 000D");
        frame("general 48V, negative in one byte", {"0", "48V", "2", "10", "22.5", "-10", "30"},
              "850E51 00 12C0 0002 000A 00E1 F6 012C 000D");
        frame("general derating 40000", {"0", "12V", "100", "18", "25", "40000", "40"}, "Overflow");
        frame("protection 12V example", {"0", "10", "18", "", "", "20"},
              "850C52 00 011B 0708 FFFF FF 0014 000D");
        frame("protection 48V 45 C profile 2", {"1", "45", "72", "200", "3", "24"},
              "850C52 01 013E 1C20 FFFF FF 0018 000D");
        frame("protection 10.5 C half away, 12.5 h as 12", {"0", "10.5", "36", "", "", "12.5"},
              "850C52 00 011C 0E10 FFFF FF 000C 000D");
        frame("protection negative, empty, huge charge", {"0", "-300", "", "1e9", "", ""},
              "850C52 00 FFE5 0000 FFFF FF 0000 000D");
        frame("protection 32495 C", {"0", "32495", "18", "", "", "20"}, "Overflow");
        frame("stages three", {"0", "3", "14.4", "20", "13.8", "5", "13.5", "2"},
              "85 10 53 00 02 05A0 00C8 0564 0032 0546 0014 000D");
        frame("stages one, profile 2", {"1", "1", "28.8", "2.5"}, "85 08 53 01 00 0B40 0019 000D");
        frame("stages two, zero current, nothing beyond", {"0", "2", "14", "2", "14.2", "0", "99"},
              "85 0C 53 00 01 0578 0014 058C 0000 000D");
        frame("stages seven",
              {"0", "7", "1", "2", "3", "4", "5", "6", "7", "8", "9", "10", "11", "12", "13", "14"},
              "85 20 53 00 06 0064 0014 012C 0028 01F4 003C 02BC 0050 0384 0064 044C 0078 0514 "
              "008C 000D");
        frame("stages no count", {"0", "", "14.4", "20"}, "focus: Cmb2Total");
        frame("stages first zero voltage", {"0", "3", "14.4", "20", "", "5", "abc", "2"},
              "focus: Txt2(2)");
        frame("next stage 2, profile 2", {"1", "1", "1"},
              "851D54 01 01 00 010564 000000 000111 000000 020019 020078 000000 000000 000D");
        frame("next slot 4 without a charger", {"0", "1", "0"},
              "851D54 00 01 00 010564 000000 000111 000000 020002 020078 000000 000000 000D");
        frame("any stage 2 jumps to 4", {"0", "1", "1"},
              "851D55 00 01 03 010564 000000 000111 000000 020019 020078 000000 000000 000D");
        frame("cleared stage 2", {"1", "1", "1"},
              "851D55 01 01 00 000000 000000 000111 000000 000000 000000 000000 000000 000D");
        frame("cleared stage 3 keeps the text of a cell already none", {"1", "2", "1"},
              "851D55 01 02 00 000000 000000 000111 000000 000000 000005 000000 000000 000D");
        frame("slot 0", {"0", "14.4", "1"}, "0105A0");
        frame("slot 0 half to even", {"0", "0.125", "1"}, "01000C");
        frame("slot 2 kelvin, half away", {"2", "44.5", "1"}, "01013E");
        frame("slot 2 negative", {"2", "-300", "0"}, "01FFE5");
        frame("slot 2 kelvin overflow", {"2", "32495", "1"}, "Overflow");
        frame("slot 3 half to even", {"3", "1.25", "1"}, "01000C");
        frame("slot 4", {"4", "2.5", "1"}, "010019");
        frame("slot 4 half away", {"4", "0.25", "1"}, "010003");
        frame("slot 4 without a charger", {"4", "2.5", "0"}, "010002");
        frame("slot 4 without a charger rounds down", {"4", "2.9", "0"}, "010002");
        frame("slot 4 without a charger, negative", {"4", "-0.5", "0"}, "01FFFF");
        frame("slot 5 half to even", {"5", "2.5", "1"}, "010002");
        frame("slot 6 odd half up", {"6", "3.5", "1"}, "010004");
        frame("target none", {"-1", "abc"}, "00");
        frame("target 4", {"2", "4"}, "03");
        frame("target text", {"0", "abc"}, "Type mismatch");
        frame("target 40000", {"0", "40000"}, "Overflow");
        frame("target 0", {"0", "0"}, "Invalid target stage");
        frame("target 8", {"0", "8"}, "Invalid target stage");
    }

    void frame() {
        QFETCH(QStringList, in);
        QFETCH(QString, want);
        const QString page = QString(QTest::currentDataTag()).section(' ', 0, 0);
        const int profile = in[0].toInt();
        QString got;
        try {
            if (page == "slot") {
                got = ConditionCell(1, in[0].toInt(), in[1], in[2] == "1");
            } else if (page == "target") {
                got = AnyTargetByte(in[0].toInt(), in[1]);
            } else if (page == "general") {
                GeneralFields f{profile, in[1], {}};
                std::copy(in.begin() + 2, in.end(), f.Txt0.begin() + 1);
                got = GeneralFrame(f);
            } else if (page == "protection") {
                ProtectionFields f{profile, {}};
                std::copy(in.begin() + 1, in.end(), f.Txt1.begin());
                got = ProtectionFrame(f);
            } else if (page == "stages") {
                StageFields f{profile, in[1].isEmpty() ? -1 : in[1].toInt() - 1, in[1], {}};
                std::copy(in.begin() + 2, in.end(), f.Txt2.begin());
                const StagesWrite w = StagesFrame(f);
                got = w.ok() ? w.frame
                      : w.failFocus == StagesFocus::Txt2
                          ? QString("focus: Txt2(%1)").arg(w.txt2Index)
                          : QString("focus: Cmb2Total");
            } else if (page == "next") {
                got = NextCondFrame(profile, in[1].toInt(), samplePage().grid, in[2] == "1");
            } else {
                const AnyCondFields p = samplePage();
                got = AnyCondFrame(profile, in[1].toInt(),
                                   page == "any" ? p : ClearedAnyCondFields(p), in[2] == "1");
            }
        } catch (const std::exception& e) {
            got = e.what();
        }
        QCOMPARE(got, want);
    }

    // in: the box left and its text, then for Txt2: Cmb0NV position, Txt1(1), RatedCurrent (12V,
    // 18, 30 A when not given); for Txt3: Cmb0NV position. KeyUp(i): a key released in Txt3(i).
    // NV: want VoltStep, StageVoltMin, StageVoltMax, ceiling, Txt1(1) and NominalLimits of a
    // Cmb0NV position. Sum: the message of leaving a slot-5 box, in: box, text, Txt1(4) hours,
    // stages shown, slot-5 texts of stages 1-3.
    void correction_data() {
        columns();
        row({"NV(0)", ""}, "0.2 11.8 15.8 16 18 16.5 15 16 12");
        row({"NV(1)", ""}, "0.4 23.6 31.6 32 36 33 30 32 24");
        row({"NV(2)", ""}, "0.8 47.2 63.2 64 72 65 62 64 48");
        row({"NV(-1)", ""}, "0.1 5.9 7.9 8 0 -1 -1 -1 -1");  // no NominalLimits
        row({"NV(3)", ""}, "0.1 5.9 7.9 8 0 -1 -1 -1 -1");
        row({"Txt0(1)", "700"}, "600");
        row({"Txt0(1)", "1.4"}, "2");
        row({"Txt0(1)", "150.6"}, "151");
        row({"Txt0(3)", "22.45"}, "22.5");
        row({"Txt0(4)", "-2.5"}, "-3");
        row({"Txt1(0)", "45.5"}, "46");
        row({"Txt1(0)", "-0.4"}, "0");
        row({"Txt1(1)", "17.95"}, "17.95");
        row({"Txt1(2)", "-5"}, "1");
        row({"Txt1(3)", "-1"}, "1");
        row({"Txt1(4)", "30"}, "24");
        row({"Txt1(4)", "2"}, "4");
        row({"Txt1(4)", "12.5"}, "12.5");
        row({"Txt1(4)", "24.04"}, "24.0");
        row({"Txt2(1)", "1"}, "2");
        row({"Txt2(3)", "100"}, "30");
        row({"Txt2(1)", "5", "0", "18", "0"}, "0");
        row({"Txt2(0)", "20"}, "16");
        row({"Txt2(2)", "15.9"}, "15.9");
        row({"Txt2(4)", "10"}, "12");
        row({"Txt2(0)", "15.9", "0", "16"}, "15.8");
        row({"Txt2(0)", "40", "1", "36", "20"}, "32");
        row({"Txt2(6)", "31", "1", "30", "20"}, "29.6");
        row({"Txt2(8)", "62", "2", "60", "15"}, "59.2");
        row({"Txt2(0)", "14", "-1", "0"}, "0");
        row({"Txt2(1)", "5", "-1", "0"}, "0");
        row({"Txt2(0)", "14", "0", "0"}, "0");
        row({"Txt3(0)", "10"}, "11.8");
        row({"Txt3(0)", "16"}, "14.2");
        row({"Txt3(0)", "13"}, "13");
        row({"Txt3(8)", "14"}, "13.6");
        row({"Txt3(24)", "13"}, "-0.2");
        row({"Txt3(0)", "13", "-1"}, "0");
        row({"Txt3(2)", "45.7"}, "45");
        row({"Txt3(10)", "-3"}, "0");
        row({"Txt3(2)", "1e30"}, "59");
        row({"Txt3(4)", "0.5"}, "1");
        row({"Txt3(4)", "25"}, "9");
        row({"Txt3(12)", "10"}, "4");
        row({"Txt3(4)", "2", "-1"}, "0");
        row({"Txt3(5)", "300.45"}, "300.5 Txt1(3)=3.5");
        row({"KeyUp(5)", "1500"}, "1440");
        row({"KeyUp(5)", "1440.0"}, "1440.0");
        row({"KeyUp(4)", "1500"}, "1500");
        row({"Sum(21)", "150", "12", "3", "300", "300", "150"}, kTotalTimeMessage);
        row({"Sum(21)", "120", "12", "3", "300", "300", "150"}, "");
        // Counted as shown after the correction: 121.5, which rounds to 122.
        row({"Sum(21)", "121.46", "12", "3", "300", "299", ""}, kTotalTimeMessage);
        row({"Sum(5)", "300", "12", "2", "300", "300", "150"}, "");
        row({"Sum(21)", "120", "12", "3", "300.5", "299.5", ""}, "");
        row({"Sum(21)", "120", "12", "3", "301.5", "299.5", ""}, kTotalTimeMessage);
    }

    void correction() {
        QFETCH(QStringList, in);
        QFETCH(QString, want);
        const QString box = in[0].section('(', 0, 0);
        const int index = in[0].section('(', 1).chopped(1).toInt();
        const int nv = in.value(2, "0").toInt();
        QStringList got;
        if (box == "NV") {
            const VoltageLimits l = VoltageLimitsFor(index);
            got << SingleText(l.VoltStep) << SingleText(l.StageVoltMin)
                << SingleText(l.StageVoltMax) << SingleText(VoltCeiling(index))
                << OverVoltageText(index);
            for (float v : NominalLimits(index).value_or(std::array<float, 4>{-1, -1, -1, -1})) {
                got << SingleText(v);
            }
        } else if (box == "Txt0") {
            got << Txt0_LostFocus(index, in[1]);
        } else if (box == "Txt1") {
            got << Txt1_LostFocus(index, in[1]);
        } else if (box == "Txt2") {
            got << Txt2_LostFocus(index, in[1],
                                  {nv, nv < 0 ? "" : QString("%1V").arg(12 << nv),
                                   in.value(3, "18"), VoltStep(nv), in.value(4, "30").toInt()});
        } else if (box == "Txt3") {
            const CellCorrection c = Txt3_LostFocus(index, in[1], conditionContext(nv));
            got << c.text << (c.Txt1_3 ? "Txt1(3)=" + *c.Txt1_3 : QString());
        } else if (box == "KeyUp") {
            got << Txt3_KeyUp(index, in[1]).value_or(in[1]);
        } else {
            ConditionContext c = conditionContext(0);
            c.Txt1_4 = in[2];
            for (int s = 0; s < kMaxStages; ++s) {
                c.texts[s * 8 + 5] = in.value(4 + s);
                c.slot5Visible[s] = s < in[3].toInt();
            }
            got << (Txt3_LostFocus(index, in[1], c).totalTimeExceeded ? kTotalTimeMessage : "");
        }
        QCOMPARE(got.join(' ').trimmed(), want);
    }

    // in: the edits; want: tokens the verdict must hold ("reset=" when none is given).
    void check_data() {
        columns();
        row({"Txt2.0=14.4"},
            "on Txt1_4=R Cmb2Total=R Txt2.0=R Txt2.5=R Txt2.6=U Txt3.0=U Txt3.5=R "
            "Txt3.29=U Cmb3Type.0=R Cmb3Type.21=R Cmb3Type.24=U");
        row({"Txt2.0=17.9"}, "off Txt2.0=W Txt2.2=R");
        row({"Txt2.2=16.5"}, "off Txt2.2=W");
        row({"Txt2.2=16"}, "on Txt2.2=R");
        row({"Txt2.4=11.9"}, "off Txt2.4=W");
        // The step is the double 0.2 here: the single 15.8 lies above 16 - 0.2.
        row({"Txt1_1=16 Txt2.0=15.8"}, "off Txt2.0=W");
        row({"Txt1_1=16 Txt2.0=15.7"}, "on Txt2.0=R");
        row({"nv=1 Txt1_1=36"}, "off Txt2.0=W Txt2.2=W Txt2.4=W");
        row({"nv=-1"}, "off Txt2.0=W");
        row({"Txt2.1=1.9"}, "off Txt2.1=W");
        row({"Txt2.1=2 Txt2.3=10"}, "on Txt2.1=R Txt2.3=R");
        row({"Txt2.3=10.5"}, "off Txt2.3=W");
        row({"rated=0"}, "off Txt2.0=R Txt2.1=W Txt2.3=W Txt2.5=W");
        row({"Txt1_4=3.9"}, "off Txt1_4=W");
        row({"Txt1_4=4"}, "on Txt1_4=R");
        row({"Txt1_4=24"}, "on Txt1_4=R");
        row({"Txt1_4=24.1"}, "off Txt1_4=W");
        row({"stages=0 type.2=1"}, "off Cmb2Total=W Txt2.0=U Cmb3Type.0=U Txt3.5=U");
        row({"Txt3.5=300 Txt3.13=300 Txt3.21=150 Txt1_4=12"}, "off Txt3.5=W Txt3.21=W");
        row({"Txt3.5=300 Txt3.13=300 Txt3.21=150 Txt1_4=13"}, "on Txt3.5=R Txt3.21=R");
        row({"Txt3.5=300 Txt3.13=300 Txt3.21=120 Txt1_4=12"}, "on Txt3.5=R Txt3.21=R");
        row({"Txt3.5=300 Txt3.13=0 Txt3.21=450 Txt1_4=12"}, "off Txt3.5=W Txt3.13=R");
        // 720.8 fails the sum, but the colouring rounds 360.4 + 360.4 to 720.
        row({"stages=2 Txt3.5=360.4 Txt3.13=360.4 Txt1_4=12"}, "off Txt3.5=R Txt3.13=R");
        // 721 + 0.5 rounds to 722 (even) after the addition; 0.5 alone would round to 0.
        row({"stages=2 visible=1 Txt3.5=721 Txt3.13=0.5 Txt1_4=12.02"}, "on Txt3.5=W Txt3.13=W");
        row({"visible=2 Txt3.5=300 Txt3.13=300 Txt3.21=150 Txt1_4=12"}, "on Txt3.21=W");
        row({"stages=1 Txt3.5=800 Txt1_4=12"}, "on Txt3.5=W");
        row({"type.0=1 Txt3.0=13 type.4=2 Txt3.4=2"},
            "off scan=1 Cmb3Type.0=W Cmb3Type.4=W Cmb3Type.5=R Txt3.0=R Txt3.4=R");
        row({"type.0=1 Txt3.0=13 type.12=2 Txt3.12=2"}, "on scan=0 Cmb3Type.0=R");
        row({"type.16=1 Txt3.16=99 type.21=2"},
            "off scan=1 Cmb3Type.16=W Cmb3Type.20=R Cmb3Type.21=W Txt3.16=U");
        row({"type.0=1 Txt3.0=14.3"}, "off Txt3.0=W");
        row({"type.0=1 Txt3.0=14.2"}, "on Txt3.0=R");
        row({"type.0=2 Txt3.0=11.7"}, "off Txt3.0=W");
        row({"Txt2.2=16 type.8=2 Txt3.8=15.9"}, "off Txt3.8=W");
        row({"type.4=1 Txt3.4=0.9"}, "off Txt3.4=W");
        row({"type.4=1 Txt3.4=9"}, "on Txt3.4=R");
        row({"type.12=2 Txt3.12=4.5"}, "off Txt3.12=W");
        row({"type.0=1 Txt3.0=13 type.2=2"}, "on scan=1 Cmb3Type.2=U reset=2");
        row({"type.1=1 type.3=2 type.6=1 type.7=2"}, "on scan=0 reset=1,3,6,7");
        row({"type.10=2 type.15=1 type.18=1 type.23=2"}, "on scan=0 reset=10,15");
        row({"stages=1 type.8=1 type.13=2"}, "on scan=0");
        row({"stages=2 type.8=1 type.13=2"}, "off scan=1");
        row({"stages=12 type.48=2 type.53=1"}, "off scan=1");
    }

    // The failed rule and the limits it applied, in the window's units: what zunctl explains.
    void findingLimits_data() {
        QTest::addColumn<QString>("edits");
        QTest::addColumn<int>("field");
        QTest::addColumn<int>("index");
        QTest::addColumn<QString>("want");  // rule value low..high [step]
        const int txt2 = int(Field::Txt2);
        const int txt3 = int(Field::Txt3);
        const QString sections = "Txt3.5=300 Txt3.13=300 Txt3.21=150 Txt1_4=12";
        const auto row = [](const char* name, const QString& edits, int field, int index,
                            const char* want) {
            QTest::newRow(name) << edits << field << index << QString(want);
        };
        row("stage voltage: 8 x 2 V cap", "Txt2.0=17.9", txt2, 0, "StageVoltage 17.9 12..16");
        row("stage voltage: protection less a step", "nv=1 Txt1_1=30 Txt2.0=30", txt2, 0,
            "StageVoltage 30 24..29.6");
        row("stage current: rating", "Txt2.3=10.5", txt2, 3, "StageCurrent 10.5 2..10");
        row("stage current: no rating", "rated=0", txt2, 1, "StageCurrent 10 2..0");
        row("total hours", "Txt1_4=24.1", int(Field::Txt1_4), 0, "TotalHours 24.1 4..24");
        row("switch voltage", "type.0=1 Txt3.0=14.3", txt3, 0, "SwitchVoltage 14.3 11.8..15.8 0.2");
        row("switch current, stage 1", "type.4=1 Txt3.4=0.9", txt3, 4, "SwitchCurrent 0.9 1..9");
        row("switch current, stage 2", "type.12=2 Txt3.12=4.5", txt3, 12, "SwitchCurrent 4.5 1..4");
        row("section time", sections, txt3, 5, "SectionTimes 300 0..720");
        row("section total", sections, int(Field::SectionTotal), 0, "SectionTimes 750 0..720");
    }

    void findingLimits() {
        QFETCH(QString, edits);
        QFETCH(int, field);
        QFETCH(int, index);
        QFETCH(QString, want);
        static const char* const rules[] = {"None",          "TotalHours",   "StageCount",
                                            "StageVoltage",  "StageCurrent", "SwitchVoltage",
                                            "SwitchCurrent", "SectionTimes", "AndOrMixed"};
        const ConsistencyVerdict v = CheckConsistency(consistencyInput(edits));
        const Finding* f = v.find(Field(field), index);
        QVERIFY(f != nullptr);
        const auto n = [](double x) { return QString::number(float(x)); };
        QString got =
            QString("%1 %2 %3..%4")
                .arg(QLatin1String(rules[int(f->rule)]), n(f->value), n(f->low), n(f->high));
        if (f->step != 0.0) {
            got += " " + n(f->step);
        }
        QCOMPARE(got, want);
    }

    void check() {
        QFETCH(QStringList, in);
        QFETCH(QString, want);
        const QStringList got = verdict(consistencyInput(in[0]));
        const QString shown = got.filter(QRegularExpression("^[^=]*$|[WR]$|=\\d")).join(' ');
        for (const QString& token : (want.contains("reset") ? want : want + " reset=").split(' ')) {
            QVERIFY2(got.contains(token), qPrintable(token + " not in " + shown));
        }
    }

    // in: the control a profile change sets and the stored text; want: its new list position,
    // "none" when the step fails and leaves the box alone. entry: what a condition cell of type
    // in[1] and text in[2] stores through its value box and through its type box. Check1: what
    // "Atuo set 0" sets, in order, for a Cmb0NV position, checked or not.
    void stored_data() {
        columns();
        const QString all = "Cmb2Total=2 Txt1(4)=20 Txt2(1)=2 Txt2(3)=2 Txt2(5)=2 ";
        const QString slot5 =
            "Cmb3Type(5)=2 Cmb3Type(13)=2 Cmb3Type(21)=2 Txt3(5)=0 Txt3(13)=0 "
            "Txt3(21)=0 ";
        row({"Check1", "0", "1"}, all + slot5 + "Txt2(0)=14 Txt2(2)=14.2 Txt2(4)=14.4");
        row({"Check1", "2", "1"}, all + slot5 + "Txt2(0)=56 Txt2(2)=56.8 Txt2(4)=57.6");
        row({"Check1", "1", "0"}, all + "Txt2(0)=28 Txt2(2)=28.4 Txt2(4)=28.8");
        row({"Check1", "-1", "1"}, all + slot5.trimmed());
        row({"Cmb0NV", "12"}, "0");
        row({"Cmb0NV", "36"}, "none");
        row({"Cmb0NV", ""}, "none");
        row({"Cmb2Total", "3"}, "2");
        row({"Cmb2Total", "7"}, "3");  // beyond the list: its last item
        row({"Cmb2Total", "0"}, "-1");
        row({"Cmb2Total", "abc"}, "none");
        row({"Cmb3Type", "214.4"}, "2");
        row({"Cmb3Type", "x5"}, "none");
        row({"Cmb3Type", "75"}, "none");
        row({"Cmb3Type", QString::fromUtf8("\u0663")}, "none");  // a digit, but not 0-9
        row({"Cmb4Type", ""}, "0");
        row({"Cmb4Type", "75"}, "none");
        row({"Cmb4SN", "2"}, "1");
        row({"Cmb4SN", ""}, "0");
        row({"Cmb4SN", "1"}, "none");  // the stage's own number is not listed
        row({"entry", "2", "14.40"}, "214.40 214.4");
        row({"entry", "1", ""}, "1 10");
        row({"entry", "0", "abc"}, "0abc 00");
    }

    void stored() {
        QFETCH(QStringList, in);
        QFETCH(QString, want);
        if (in[0] == "Check1") {
            const AutoSetPlan p = AutoSet0(in[1].toInt(), in[2] == "1");
            QStringList got{QString("Cmb2Total=%1 Txt1(4)=%2").arg(p.Cmb2Total).arg(p.Txt1_4)};
            const auto add = [&got](const QString& box, const auto& list) {
                for (const auto& [index, value] : list) {
                    got << QString("%1(%2)=%3").arg(box).arg(index).arg(value);
                }
            };
            add("Txt2", p.currents);
            add("Cmb3Type", p.sectionTypes);
            add("Txt3", p.sectionTexts);
            add("Txt2", p.voltages);
            QCOMPARE(got.join(' '), want);
            return;
        }
        if (in[0] == "entry") {
            const QString typed = CondEntry(in[1].toInt(), in[2]);
            QCOMPARE(typed + ' ' + CondEntryOfTypeChange(in[1].toInt(), in[2]), want);
            // What is stored comes back as the same type and text when the profile returns.
            QCOMPARE(NextCondTypePosition(typed).value_or(-1), in[1].toInt());
            QCOMPARE(CellValueText(typed), in[2]);
            return;
        }
        std::optional<int> got;
        if (in[0] == "Cmb0NV") {
            got = StoredNominalPosition(in[1]);
        } else if (in[0] == "Cmb2Total") {
            got = StageCountPosition(in[1], 4);
        } else if (in[0] == "Cmb3Type") {
            got = NextCondTypePosition(in[1]);
        } else if (in[0] == "Cmb4Type") {
            got = AnyCondTypePosition(in[1]);
        } else {
            got = AnyTargetPosition(in[1], {"1", "3", "4"});  // stage 2 of four
        }
        QCOMPARE(got ? QString::number(*got) : "none", want);
    }

    // in: Cmb2Total.Text; want: Txt2 boxes in use (and slot-5 boxes shown, per field pair), the
    // column captions, the Cmb4SN(1) items, and whether CmdOK2 is enabled with stage 3 empty.
    void stageLayout_data() {
        columns();
        row({""}, "00000000000000 |  |  | 1");
        row({"1"}, "11000000000000 | Stage 1 to 1 | 1 | 1");
        row({"3"}, "11111100000000 | Stage 1 to 2, Stage 2 to 3, Stage 3 to 1 | 1 3 | 0");
        row({"12"},
            "11111111111111 | Stage 1 to 2, Stage 2 to 3, Stage 3 to 4, Stage 4 to 5, "
            "Stage 5 to 6, Stage 6 to 7, Stage 7 to 1 | 1 3 4 5 6 7 | 0");
    }

    void stageLayout() {
        QFETCH(QStringList, in);
        QFETCH(QString, want);
        const int n = StageCountOfText(in[0]);
        QString enabled, filled, shown;
        QStringList captions;
        for (int i = 0; i < kStageFieldCount; ++i) {
            enabled += Txt2Enabled(i, n) ? '1' : '0';
            filled += StageFieldText(i, "x", in[0]).isEmpty() ? '0' : '1';
            shown += Slot5Visibility(n)[i / 2] ? '1' : '0';
            if (i < n) {
                const auto [from, to] = TransitionStages(i, n);
                captions << QStringLiteral("Stage %1 to %2").arg(from).arg(to);
            }
        }
        QCOMPARE(filled, enabled);
        QCOMPARE(shown, enabled);
        const bool writable = StagesWritable({"14.4", "0", "13.8", "2", "", "2"}, n);
        QCOMPARE(enabled + " | " + captions.join(", ") + " | " + TargetItems(1, n).join(' ') +
                     " | " + QString::number(writable),
                 want);
    }

    // Random texts in every box and entry: nothing crashes, the corrections keep their ranges,
    // every frame is hex text of its length or refused, the check settles after its resets.
    void randomTexts() {
        QRandomGenerator rng(20240611);
        for (int round = 0; round < 3000; ++round) {
            const QString t = randomText(rng);
            const StageContext stage{0, "12V", "18", VoltStep(0), 30};
            const QStringList fixed{Txt0_LostFocus(1, t), Txt1_LostFocus(4, t),
                                    Txt2_LostFocus(0, t, stage), Txt2_LostFocus(1, t, stage),
                                    Txt3_KeyUp(5, t).value_or(t)};
            const auto value = [&fixed](int k) { return TextToSingle(fixed[k]); };
            QVERIFY2(value(0) >= 2 && value(0) <= 600 && value(1) >= 4 && value(1) <= 24 &&
                         value(2) >= 12 && value(2) <= 16 && value(3) >= 2 && value(3) <= 30 &&
                         value(4) <= 1440,
                     qPrintable(t + " -> " + fixed.join(" | ")));

            ConsistencyInput in;
            in.nvPosition = rng.bounded(5) - 1;
            in.stagePosition = rng.bounded(9) - 1;
            in.stageText = rng.bounded(4) ? QString::number(in.stagePosition + 1) : t;
            for (QString* s : {&in.nominalText, &in.Txt1_1, &in.Txt1_4}) {
                *s = randomText(rng);
            }
            for (int i = 0; i < kCellCount; ++i) {
                in.Cmb3Type[i] = rng.bounded(3);
                in.Txt3[i] = randomText(rng);
                in.Txt2[i % kStageFieldCount] = randomText(rng);
                in.slot5Visible[i % kMaxStages] = rng.bounded(4);
            }
            in.RatedCurrent = rng.bounded(61);
            Txt3_LostFocus(rng.bounded(kCellCount), t,
                           {in.nvPosition, 0.2f, 11.8f, 15.8f, in.Txt2, in.Txt1_1, in.Txt1_4,
                            in.Txt3, in.slot5Visible});
            Txt2_LostFocus(rng.bounded(kStageFieldCount), t,
                           {in.nvPosition, in.nominalText, in.Txt1_1, 0.2f, in.RatedCurrent});

            AnyCondFields page{{in.Cmb3Type, in.Txt3}, {}, {}};
            for (int s = 0; s < kMaxStages; ++s) {
                page.targetPositions[s] = rng.bounded(3) - 1;
                page.targetTexts[s] = rng.bounded(2) ? QString::number(s + 1) : in.Txt3[s];
            }
            GeneralFields g{0, in.nominalText, {}};
            ProtectionFields p{1, {}};
            std::copy_n(in.Txt3.begin(), 6, g.Txt0.begin());
            std::copy_n(in.Txt3.begin() + 6, 5, p.Txt1.begin());
            const StageFields st{0, in.stagePosition, in.stageText, in.Txt2};
            const int chars = 8 * StageCountOfText(st.stageText) + 14;
            const int stageNo = rng.bounded(kMaxStages);
            QVERIFY(frameOrError([&] { return GeneralFrame(g); }, 34));
            QVERIFY(frameOrError([&] { return ProtectionFrame(p); }, 30));
            QVERIFY(frameOrError([&] { return NextCondFrame(1, stageNo, page.grid, true); }, 64));
            QVERIFY(frameOrError([&] { return AnyCondFrame(0, stageNo, page, false); }, 64));
            QVERIFY(frameOrError(
                [&] {
                    const StagesWrite w = StagesFrame(st);  // a refused write sends nothing
                    return w.ok() ? w.frame : w.frame.isEmpty() ? QString(chars, '0') : "!";
                },
                chars));

            const ConsistencyVerdict first = CheckConsistency(in);
            for (int cell : first.resetToNone) {
                QVERIFY(in.Cmb3Type.at(cell) != 0);
                in.Cmb3Type[cell] = 0;
                in.Txt3[cell].clear();
            }
            const ConsistencyVerdict again = CheckConsistency(in);
            QVERIFY(again.resetToNone.empty() && again.cmdOkEnabled == first.cmdOkEnabled &&
                    cellFindings(again) == cellFindings(first));
            for (const auto& position :
                 {NextCondTypePosition(t), AnyCondTypePosition(t), StoredNominalPosition(t),
                  StageCountPosition(t, 3), AnyTargetPosition(t, {"1", "3", t})}) {
                QVERIFY2(!position || (*position >= -1 && *position < 3), qPrintable(t));
            }
        }
    }
};

QTEST_GUILESS_MAIN(ProfileTest)
#include "test_profile_rules.moc"
