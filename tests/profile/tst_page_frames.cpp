#include "link/codec.h"
#include "profile/page_frames.h"
#include "profile_tests.h"

#include <QTest>

using namespace zun::profile;
using zun::link::OverflowError;

namespace {

// Frames are compared as one text; the expected ones are written in byte groups for reading.
QString joined(const QStringList& parts) {
    return parts.join(QString());
}

ConditionGrid gridWith(const QList<int>& cells, const QList<int>& types, const QStringList& texts) {
    ConditionGrid grid;
    for (int k = 0; k < cells.size(); ++k) {
        grid.types[cells[k]] = types[k];
        grid.texts[cells[k]] = texts[k];
    }
    return grid;
}

}  // namespace

class PageFramesTest : public QObject {
    Q_OBJECT

private slots:
    void generalFrame_data() {
        QTest::addColumn<int>("profile");
        QTest::addColumn<QString>("nominal");
        QTest::addColumn<QStringList>("boxes");  // Txt0(1..5)
        QTest::addColumn<QString>("expected");

        QTest::newRow("12V example")
            << 0 << "12V" << QStringList{"100", "18", "25.0", "2", "40.0"}
            << joined({"850E51", "00", "04B0", "0064", "0012", "00FA", "02", "0190", "000D"});
        QTest::newRow("profile 2, 24V")
            << 1 << "24V" << QStringList{"600", "30", "30.0", "5", "50.0"}
            << joined({"850E51", "01", "0960", "0258", "001E", "012C", "05", "01F4", "000D"});
        QTest::newRow("negative derating is one byte")
            << 0 << "48V" << QStringList{"2", "10", "20.0", "-10", "30.0"}
            << joined({"850E51", "00", "12C0", "0002", "000A", "00C8", "F6", "012C", "000D"});
        QTest::newRow("derating beyond a byte is cut from the left")
            << 0 << "12V" << QStringList{"100", "18", "25.0", "300", "40.0"}
            << joined({"850E51", "00", "04B0", "0064", "0012", "00FA", "2C", "0190", "000D"});
        QTest::newRow("shown 22.5 is sent as 225")
            << 0 << "12V" << QStringList{"100", "18", "22.5", "2", "40.0"}
            << joined({"850E51", "00", "04B0", "0064", "0012", "00E1", "02", "0190", "000D"});
        QTest::newRow("halves go to even")
            << 0 << "12V" << QStringList{"100.5", "17.5", "25.0", "2.5", "40.0"}
            << joined({"850E51", "00", "04B0", "0064", "0012", "00FA", "02", "0190", "000D"});
        QTest::newRow("odd halves go up")
            << 0 << "12V" << QStringList{"101.5", "18", "25.0", "3.5", "40.0"}
            << joined({"850E51", "00", "04B0", "0066", "0012", "00FA", "04", "0190", "000D"});
        QTest::newRow("unreadable texts are 0")
            << 0 << "" << QStringList{"abc", "", "12v", "x", "&"}
            << joined({"850E51", "00", "0000", "0000", "0000", "0000", "00", "0000", "000D"});
        QTest::newRow("hex notation and V suffix")
            << 0 << "12V" << QStringList{"&H64", "18V", "25", "2", "40"}
            << joined({"850E51", "00", "04B0", "0064", "0012", "00FA", "02", "0190", "000D"});
    }

    void generalFrame() {
        QFETCH(int, profile);
        QFETCH(QString, nominal);
        QFETCH(QStringList, boxes);
        QFETCH(QString, expected);

        GeneralFields page;
        page.profile = profile;
        page.nominalText = nominal;
        for (int i = 1; i <= 5; ++i) {
            page.Txt0[i] = boxes[i - 1];
        }
        QCOMPARE(GeneralFrame(page), expected);
    }

    void protectionFrame_data() {
        QTest::addColumn<int>("profile");
        QTest::addColumn<QStringList>("boxes");  // Txt1(0..4)
        QTest::addColumn<QString>("expected");

        QTest::newRow("12V example")
            << 0 << QStringList{"10", "18", "", "", "20"}
            << joined({"850C52", "00", "011B", "0708", "FFFF", "FF", "0014", "000D"});
        QTest::newRow("charge amount and stage number are never sent")
            << 0 << QStringList{"10", "18", "200", "3", "20"}
            << joined({"850C52", "00", "011B", "0708", "FFFF", "FF", "0014", "000D"});
        QTest::newRow("45 C is 318 K, 48V, profile 2")
            << 1 << QStringList{"45", "72", "1", "1", "24"}
            << joined({"850C52", "01", "013E", "1C20", "FFFF", "FF", "0018", "000D"});
        QTest::newRow("temperature formatted '0' rounds half away")
            << 0 << QStringList{"10.5", "36", "", "", "4"}
            << joined({"850C52", "00", "011C", "0E10", "FFFF", "FF", "0004", "000D"});
        QTest::newRow("total time 12.5 is sent as 12")
            << 0 << QStringList{"10", "18", "", "", "12.5"}
            << joined({"850C52", "00", "011B", "0708", "FFFF", "FF", "000C", "000D"});
        QTest::newRow("negative temperature")
            << 0 << QStringList{"-300", "18", "", "", "20"}
            << joined({"850C52", "00", "FFE5", "0708", "FFFF", "FF", "0014", "000D"});
        QTest::newRow("empty boxes")
            << 0 << QStringList{"", "", "", "", ""}
            << joined({"850C52", "00", "0111", "0000", "FFFF", "FF", "0000", "000D"});
    }

    void protectionFrame() {
        QFETCH(int, profile);
        QFETCH(QStringList, boxes);
        QFETCH(QString, expected);

        ProtectionFields page;
        page.profile = profile;
        for (int i = 0; i < 5; ++i) {
            page.Txt1[i] = boxes[i];
        }
        QCOMPARE(ProtectionFrame(page), expected);
    }

    void stagesFrame_data() {
        QTest::addColumn<int>("profile");
        QTest::addColumn<int>("position");
        QTest::addColumn<QStringList>("boxes");
        QTest::addColumn<QString>("expected");

        QTest::newRow("three stages")
            << 0 << 2 << QStringList{"14.4", "20", "13.8", "5", "13.5", "2"}
            << joined({"85", "10", "53", "00", "02", "05A0", "00C8", "0564", "0032", "0546", "0014",
                       "00", "0D"});
        QTest::newRow("one stage, profile 2")
            << 1 << 0 << QStringList{"28.8", "2.5"}
            << joined({"85", "08", "53", "01", "00", "0B40", "0019", "000D"});
        QTest::newRow("four stages, fields beyond the count are not sent")
            << 0 << 3 << QStringList{"14", "2", "14.2", "2", "14.4", "2", "13", "0", "99", "99"}
            << joined({"85", "14", "53", "00", "03", "0578", "0014", "058C", "0014", "05A0", "0014",
                       "0514", "0000", "000D"});
        QTest::newRow("seven stages")
            << 0 << 6 << QStringList{"1", "2", "3",  "4",  "5",  "6",  "7",
                                     "8", "9", "10", "11", "12", "13", "14"}
            << joined({"85",   "20",   "53",   "00",   "06",   "0064", "0014",
                       "012C", "0028", "01F4", "003C", "02BC", "0050", "0384",
                       "0064", "044C", "0078", "0514", "008C", "000D"});
    }

    void stagesFrame() {
        QFETCH(int, profile);
        QFETCH(int, position);
        QFETCH(QStringList, boxes);
        QFETCH(QString, expected);

        StageFields page;
        page.profile = profile;
        page.stagePosition = position;
        page.stageText = QString::number(position + 1);
        for (int i = 0; i < boxes.size(); ++i) {
            page.Txt2[i] = boxes[i];
        }
        const StagesWrite write = StagesFrame(page);
        QVERIFY(write.ok());
        QCOMPARE(write.frame, expected);
        // The length byte counts command, data and checksum: the frame is N + 3 bytes.
        QCOMPARE(write.frame.size() / 2, write.frame.mid(2, 2).toInt(nullptr, 16) + 3);
    }

    void stagesPreCheck_data() {
        QTest::addColumn<int>("position");
        QTest::addColumn<QStringList>("boxes");
        QTest::addColumn<int>("focus");  // StagesFocus
        QTest::addColumn<int>("txt2Index");

        QTest::newRow("no stage count")
            << -1 << QStringList{"14.4", "20"} << int(StagesFocus::Cmb2Total) << -1;
        QTest::newRow("empty voltage of stage 2")
            << 2 << QStringList{"14.4", "20", "", "5", "13.5", "2"} << int(StagesFocus::Txt2) << 2;
        QTest::newRow("first zero voltage wins")
            << 2 << QStringList{"0", "20", "abc", "5", "13.5", "2"} << int(StagesFocus::Txt2) << 0;
        QTest::newRow("zero current is accepted")
            << 1 << QStringList{"14.4", "0", "13.8", ""} << int(StagesFocus::None) << -1;
        QTest::newRow("voltage 0.001 is not zero")
            << 0 << QStringList{"0.001", "2"} << int(StagesFocus::None) << -1;
    }

    void stagesPreCheck() {
        QFETCH(int, position);
        QFETCH(QStringList, boxes);
        QFETCH(int, focus);
        QFETCH(int, txt2Index);

        StageFields page;
        page.stagePosition = position;
        page.stageText = position < 0 ? QString() : QString::number(position + 1);
        for (int i = 0; i < boxes.size(); ++i) {
            page.Txt2[i] = boxes[i];
        }
        const StagesWrite write = StagesFrame(page);
        QCOMPARE(int(write.failFocus), focus);
        QCOMPARE(write.txt2Index, txt2Index);
        QCOMPARE(write.frame.isEmpty(), focus != int(StagesFocus::None));
    }

    void lengthByte_data() {
        QTest::addColumn<int>("stages");
        QTest::addColumn<QString>("byte");

        QTest::newRow("1") << 1 << "08";
        QTest::newRow("2") << 2 << "0C";
        QTest::newRow("3") << 3 << "10";
        QTest::newRow("4") << 4 << "14";
        QTest::newRow("6") << 6 << "1C";
        QTest::newRow("7") << 7 << "20";
    }

    void lengthByte() {
        QFETCH(int, stages);
        QFETCH(QString, byte);
        QCOMPARE(StagesLengthByte(stages), byte);
    }

    void stageCountOfText_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("count");

        QTest::newRow("no selection") << "" << 0;
        QTest::newRow("3") << "3" << 3;
        QTest::newRow("7") << "7" << 7;
        QTest::newRow("beyond the fields") << "12" << 7;
        QTest::newRow("negative") << "-2" << 0;
        QTest::newRow("text") << "four" << 0;
    }

    void stageCountOfText() {
        QFETCH(QString, text);
        QFETCH(int, count);
        QCOMPARE(StageCountOfText(text), count);
    }

    void slotField_data() {
        QTest::addColumn<int>("slot");
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("identified");
        QTest::addColumn<QString>("cell");  // type 1

        QTest::newRow("slot 0 volts x100") << 0 << "14.4" << true << "0105A0";
        QTest::newRow("slot 0 empty") << 0 << "" << true << "010000";
        QTest::newRow("slot 1 x10") << 1 << "0.5" << true << "010005";
        QTest::newRow("slot 2 kelvin") << 2 << "45" << true << "01013E";
        QTest::newRow("slot 2 half rounds away") << 2 << "44.5" << true << "01013E";
        QTest::newRow("slot 2 empty is 273") << 2 << "" << true << "010111";
        QTest::newRow("slot 2 negative") << 2 << "-300" << false << "01FFE5";
        QTest::newRow("slot 3 x10 halves to even") << 3 << "1.25" << true << "01000C";
        QTest::newRow("slot 4 identified x10") << 4 << "2.5" << true << "010019";
        QTest::newRow("slot 4 not identified whole part") << 4 << "2.5" << false << "010002";
        QTest::newRow("slot 4 identified half away") << 4 << "0.25" << true << "010003";
        QTest::newRow("slot 4 not identified rounds down") << 4 << "2.9" << false << "010002";
        QTest::newRow("slot 4 not identified negative") << 4 << "-0.5" << false << "01FFFF";
        QTest::newRow("slot 5 halves to even") << 5 << "2.5" << true << "010002";
        QTest::newRow("slot 5 odd half up") << 5 << "3.5" << true << "010004";
        QTest::newRow("slot 6") << 6 << "1440" << true << "0105A0";
        QTest::newRow("slot 7") << 7 << "100" << false << "010064";
    }

    void slotField() {
        QFETCH(int, slot);
        QFETCH(QString, text);
        QFETCH(bool, identified);
        QFETCH(QString, cell);
        QCOMPARE(ConditionCell(1, slot, text, identified), cell);
    }

    // Where a 16-bit field would overflow, the builder throws instead of sending.
    void overflow_data() {
        QTest::addColumn<QString>("field");  // page and box, or "slotN" / "slotN-" (no charger)
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("throws");

        QTest::newRow("capacity 32767 fits") << "Txt0(1)"
                                             << "32767" << false;
        QTest::newRow("capacity 32768") << "Txt0(1)"
                                        << "32768" << true;
        QTest::newRow("capacity -32769") << "Txt0(1)"
                                         << "-32769" << true;
        QTest::newRow("reference 3276.7 fits") << "Txt0(3)"
                                               << "3276.7" << false;
        QTest::newRow("reference 3276.8") << "Txt0(3)"
                                          << "3276.8" << true;
        QTest::newRow("derating 40000, one byte") << "Txt0(4)"
                                                  << "40000" << true;
        QTest::newRow("temperature 32494 fits") << "Txt1(0)"
                                                << "32494" << false;
        QTest::newRow("temperature 32495 in kelvin") << "Txt1(0)"
                                                     << "32495" << true;
        QTest::newRow("over-voltage 327.67 fits") << "Txt1(1)"
                                                  << "327.67" << false;
        QTest::newRow("over-voltage 400") << "Txt1(1)"
                                          << "400" << true;
        QTest::newRow("charge amount is not sent") << "Txt1(2)"
                                                   << "1e9" << false;
        QTest::newRow("total time 1e5") << "Txt1(4)"
                                        << "1e5" << true;
        QTest::newRow("stage voltage 327.68") << "Txt2(0)"
                                              << "327.68" << true;
        QTest::newRow("stage current 3276.8") << "Txt2(1)"
                                              << "3276.8" << true;
        QTest::newRow("slot 0 volts") << "slot0"
                                      << "400" << true;
        QTest::newRow("slot 2 kelvin") << "slot2"
                                       << "32495" << true;
        QTest::newRow("slot 4 identified") << "slot4"
                                           << "3276.8" << true;
        QTest::newRow("slot 4 not identified") << "slot4-"
                                               << "32768" << true;
        QTest::newRow("slot 5") << "slot5"
                                << "1e9" << true;
    }

    void overflow() {
        QFETCH(QString, field);
        QFETCH(QString, text);
        QFETCH(bool, throws);

        GeneralFields general;
        general.nominalText = QStringLiteral("12V");
        general.Txt0 = {"", "100", "18", "25", "2", "40"};
        ProtectionFields protection;
        protection.Txt1 = {"10", "18", "", "", "20"};
        StageFields stages;
        stages.stagePosition = 0;
        stages.stageText = QStringLiteral("1");
        stages.Txt2[0] = QStringLiteral("14");
        stages.Txt2[1] = QStringLiteral("2");
        const int index = field.mid(5, 1).toInt();
        bool thrown = false;
        try {
            if (field.startsWith(QLatin1String("Txt0"))) {
                general.Txt0[index] = text;
                GeneralFrame(general);
            } else if (field.startsWith(QLatin1String("Txt1"))) {
                protection.Txt1[index] = text;
                ProtectionFrame(protection);
            } else if (field.startsWith(QLatin1String("Txt2"))) {
                stages.Txt2[index] = text;
                StagesFrame(stages);
            } else {
                ConditionCell(1, field.mid(4, 1).toInt(), text, !field.endsWith(QLatin1Char('-')));
            }
        } catch (const OverflowError&) {
            thrown = true;
        }
        QVERIFY2(thrown == throws, qPrintable(field + QStringLiteral(" = ") + text));
    }

    void nextCondFrame_data() {
        QTest::addColumn<int>("profile");
        QTest::addColumn<int>("stage");
        QTest::addColumn<bool>("identified");
        QTest::addColumn<QString>("expected");

        // Stage 1 (second transition): 13.8 V and, as "or", 2.5 A and 120 minutes.
        QTest::newRow("stage 1, profile 2, identified")
            << 1 << 1 << true
            << joined({"851D54", "01", "01", "00", "010564", "000000", "000111", "000000", "020019",
                       "020078", "000000", "000000", "000D"});
        QTest::newRow("slot 4 not identified")
            << 0 << 1 << false
            << joined({"851D54", "00", "01", "00", "010564", "000000", "000111", "000000", "020002",
                       "020078", "000000", "000000", "000D"});
        QTest::newRow("empty stage still sends eight cells")
            << 0 << 0 << true
            << joined({"851D54", "00", "00", "00", "000000", "000000", "000111", "000000", "000000",
                       "000000", "000000", "000000", "000D"});
    }

    void nextCondFrame() {
        QFETCH(int, profile);
        QFETCH(int, stage);
        QFETCH(bool, identified);
        QFETCH(QString, expected);

        const ConditionGrid grid = gridWith({8, 12, 13}, {1, 2, 2}, {"13.8", "2.5", "120"});
        const QString frame = NextCondFrame(profile, stage, grid, identified);
        QCOMPARE(frame, expected);
        QCOMPARE(frame.size(), 64);
    }

    void anyTargetByte_data() {
        QTest::addColumn<int>("position");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("byte");  // "!type", "!overflow", "!stage": the error expected

        QTest::newRow("no selection") << -1 << "abc"
                                      << "00";
        QTest::newRow("stage 1") << 0 << "1"
                                 << "00";
        QTest::newRow("stage 4") << 2 << "4"
                                 << "03";
        QTest::newRow("stage 7") << 5 << "7"
                                 << "06";
        QTest::newRow("blanks around") << 1 << " 3 "
                                       << "02";
        QTest::newRow("not a number") << 0 << "abc"
                                      << "!type";
        QTest::newRow("empty item text") << 0 << ""
                                         << "!type";
        QTest::newRow("V suffix is not a number here") << 0 << "3V"
                                                       << "!type";
        QTest::newRow("beyond 16 bits") << 0 << "40000"
                                        << "!overflow";
        QTest::newRow("stage 0") << 0 << "0"
                                 << "!stage";
        QTest::newRow("stage 8") << 0 << "8"
                                 << "!stage";
        QTest::newRow("stage 1440.") << 0 << "1440."
                                     << "!stage";
    }

    void anyTargetByte() {
        QFETCH(int, position);
        QFETCH(QString, text);
        QFETCH(QString, byte);

        QString got;
        try {
            got = AnyTargetByte(position, text);
        } catch (const TypeMismatchError& e) {
            got = QStringLiteral("!type");
            QCOMPARE(QString::fromLatin1(e.what()), QStringLiteral("Type mismatch"));
        } catch (const OverflowError&) {
            got = QStringLiteral("!overflow");
        } catch (const TargetStageError&) {
            got = QStringLiteral("!stage");
        }
        QCOMPARE(got, byte);
    }

    void anyCondFrame_data() {
        QTest::addColumn<int>("stage");
        QTest::addColumn<QString>("expected");

        // Four stages; stage 2 jumps to stage 4 when its voltage is above 27 V.
        QTest::newRow("stage 2 jumps to 4")
            << 1
            << joined({"851D55", "00", "01", "03", "020A8C", "000000", "000111", "000000", "000000",
                       "000000", "000000", "000000", "000D"});
        QTest::newRow("stage 1 with target stage 1")
            << 0
            << joined({"851D55", "00", "00", "00", "000000", "000000", "000111", "000000", "000000",
                       "000000", "000000", "000000", "000D"});
        QTest::newRow("stage 3 with no target")
            << 2
            << joined({"851D55", "00", "02", "00", "000000", "000000", "01014A", "000000", "000000",
                       "000000", "000000", "000000", "000D"});
    }

    void anyCondFrame() {
        QFETCH(int, stage);
        QFETCH(QString, expected);

        AnyCondFields page;
        page.grid = gridWith({8, 18}, {2, 1}, {"27", "57"});
        page.targetPositions = {0, 2, -1, 0, -1, -1, -1};
        page.targetTexts = {"1", "4", "", "1", "", "", ""};
        QCOMPARE(AnyCondFrame(0, stage, page, true), expected);
    }

    void writeAllClearsAnyStagePage() {
        AnyCondFields page;
        page.grid = gridWith({8, 13, 21}, {2, 0, 1}, {"27", "5", "90"});
        page.targetPositions = {1, 2, 0, -1, -1, -1, -1};
        page.targetTexts = {"3", "4", "1", "", "", "", ""};
        const AnyCondFields cleared = ClearedAnyCondFields(page);

        for (int i = 0; i < kCellCount; ++i) {
            QCOMPARE(cleared.grid.types[i], 0);
        }
        // Cell 13 was already "none": no handler runs for it, so its text stays and is sent.
        QCOMPARE(cleared.grid.texts[13], QStringLiteral("5"));
        QVERIFY(cleared.grid.texts[8].isEmpty());
        QVERIFY(cleared.grid.texts[21].isEmpty());
        QCOMPARE(AnyCondFrame(1, 0, cleared, true),
                 joined({"851D55", "01", "00", "00", "000000", "000000", "000111", "000000",
                         "000000", "000000", "000000", "000000", "000D"}));
        QCOMPARE(AnyCondFrame(1, 1, cleared, true),
                 joined({"851D55", "01", "01", "00", "000000", "000000", "000111", "000000",
                         "000000", "000005", "000000", "000000", "000D"}));
    }
};

std::unique_ptr<QObject> MakePageFramesTest() {
    return std::make_unique<PageFramesTest>();
}

#include "tst_page_frames.moc"
