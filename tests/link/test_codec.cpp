#include "link/codec.h"
#include "link/model_table.h"
#include "link/port_list.h"
#include "link/stored_settings.h"

#include <QtTest>

using namespace zun::link;

namespace {

// A settings reply built field by field at the character positions the tool reads.
QString settingsReply() {
    QString r = QStringLiteral("85006900");
    // general slot 0: 12 V, 100 Ah, 18 mV, 25.0 C, 2 A/C, 40.0 C; slot 1: 24 V ...
    r += "04B0 0064 0012 00FA 02 0190  0960 00C8 0014 0104 03 01A4";
    // protection slot 0: 45 C (318 K), 18.00 V, FFFF, FF, 20 h; slot 1: 0 C, 36 V, 200, 3, 8
    r += "013E 0708 FFFF FF 0014  0111 0E10 00C8 03 0008";
    // stages slot 0: 14.4/10, 14.2/5, 13.5/2, then zeros; slot 1: seven stages of 28.8/20
    r += "05A0 0064 058C 0032 0546 0014" + QString(4 * 8, '0') + QString("0B4000C8").repeated(7);
    // next-stage slot 0, stage 1: or 14.2 V, slot 2 and 45 C, rest unused; stages 2-7 unused
    r += "00 02058C 00FFFF 01013E" + QString("00FFFF").repeated(5);
    r += QString("00" + QString("00FFFF").repeated(8)).repeated(6);
    // any-stage slot 0, stage 1: target 3 (stored 0-based "2"), slot 4 current 2.5 A, slot 5 90
    r += "02" + QString("00FFFF").repeated(4) + "010019 02005A" + QString("00FFFF").repeated(2);
    return r.remove(' ');
}

}  // namespace

class TestCodec : public QObject {
    Q_OBJECT
private slots:
    void padHex_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("mode");
        QTest::addColumn<QString>("expected");
        QTest::newRow("A one byte") << "A" << 1 << "0A";
        QTest::newRow("A two bytes") << "A" << 2 << "000A";
        QTest::newRow("negative into one byte") << "FFF6" << 1 << "F6";
        QTest::newRow("1234 one byte") << "1234" << 1 << "34";
        QTest::newRow("five digits two bytes") << "12345" << 2 << "2345";
        QTest::newRow("empty") << "" << 1 << "";
        QTest::newRow("empty mode 2") << "" << 2 << "";
        QTest::newRow("two digits mode 2") << "AB" << 2 << "00AB";
        QTest::newRow("three digits mode 1") << "ABC" << 1 << "BC";
        QTest::newRow("three digits mode 2") << "ABC" << 2 << "0ABC";
        QTest::newRow("other mode means four") << "7" << 0 << "0007";
    }

    void padHex() {
        QFETCH(QString, text);
        QFETCH(int, mode);
        QFETCH(QString, expected);
        QCOMPARE(PadHex(text, mode), expected);
    }

    void hexToNumber_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("expected");
        QTest::newRow("FFFF marker") << "FFFF" << 0;
        QTest::newRow("FF marker") << "FF" << 0;
        QTest::newRow("lower-case is no marker") << "ffff" << 65535;
        QTest::newRow("ff lower") << "ff" << 255;
        QTest::newRow("0FF") << "0FF" << 255;
        QTest::newRow("00FF") << "00FF" << 255;
        QTest::newRow("model 3110") << "0C26" << 3110;
        QTest::newRow("foreign character") << "1G" << 16;
        QTest::newRow("empty") << "" << 0;
        QTest::newRow("unsigned as read") << "FFF6" << 65526;
        QTest::newRow("seven digits") << "FFFFFFF" << 268435455;
        QTest::newRow("largest") << "7FFFFFFF" << 2147483647;
        QTest::newRow("one beyond int throws") << "80000000" << -1;
        QTest::newRow("far beyond int throws") << "FFFFFFFF" << -1;
    }

    void hexToNumber() {
        QFETCH(QString, text);
        QFETCH(int, expected);
        if (expected < 0) {
            QVERIFY_THROWS_EXCEPTION(OverflowError, HexToNumber(text));
        } else {
            QCOMPARE(HexToNumber(text), expected);
        }
    }

    void textToSingle_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<float>("expected");
        QTest::newRow("volts suffix") << "12V" << 12.0f;
        QTest::newRow("lower-case v fails") << "12v" << 0.0f;
        QTest::newRow("empty") << "" << 0.0f;
        QTest::newRow("blanks") << "  13.8 " << 13.8f;
        QTest::newRow("V in the middle") << "1V3.V8" << 13.8f;
        QTest::newRow("ampersand hex") << "&H10" << 16.0f;
        QTest::newRow("ampersand hex 16-bit negative") << "&HFFFF" << -1.0f;
        QTest::newRow("letters") << "abc" << 0.0f;
        QTest::newRow("beyond single") << "1e40" << 0.0f;
        QTest::newRow("negative") << "-2.5" << -2.5f;
        QTest::newRow("leading dot") << ".5" << 0.5f;
        QTest::newRow("comma is no decimal point") << "13,8" << 0.0f;
        QTest::newRow("c hex is not accepted") << "0x10" << 0.0f;
        QTest::newRow("inf") << "inf" << 0.0f;
        QTest::newRow("exponent") << "1.5E2" << 150.0f;
    }

    void textToSingle() {
        QFETCH(QString, text);
        QFETCH(float, expected);
        QCOMPARE(TextToSingle(text), expected);
    }

    void formatValue_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("mode");
        QTest::addColumn<QString>("expected");
        QTest::newRow("2.5 whole") << "2.5" << 0 << "3";
        QTest::newRow("-2.5 whole") << "-2.5" << 0 << "-3";
        QTest::newRow("2.5 decimal") << "2.5" << 1 << "2.5";
        QTest::newRow("3 decimal") << "3" << 1 << "3";
        QTest::newRow("2.46 decimal") << "2.46" << 1 << "2.5";
        QTest::newRow("14.45 single value below half") << "14.45" << 1 << "14.4";
        QTest::newRow("0.25 exact half away") << "0.25" << 1 << "0.3";
        QTest::newRow("9.96 carries") << "9.96" << 1 << "10.0";
        QTest::newRow("not a number") << "x" << 1 << "0";
        QTest::newRow("tiny negative is no minus zero") << "-0.01" << 1 << "0.0";
        QTest::newRow("-0.3 whole") << "-0.3" << 0 << "0";
    }

    void formatValue() {
        QFETCH(QString, text);
        QFETCH(int, mode);
        QFETCH(QString, expected);
        QCOMPARE(FormatValue(text, mode), expected);
    }

    void numberToField_data() {
        QTest::addColumn<float>("value");
        QTest::addColumn<float>("scale");
        QTest::addColumn<int>("bytes");
        QTest::addColumn<QString>("expected");
        QTest::newRow("12 V x100") << 12.0f << 100.0f << 2 << "04B0";
        QTest::newRow("14.4 V x100") << 14.4f << 100.0f << 2 << "05A0";
        QTest::newRow("25.0 C x10") << 25.0f << 10.0f << 2 << "00FA";
        QTest::newRow("12.5 ties to even") << 12.5f << 1.0f << 2 << "000C";
        QTest::newRow("13.5 ties to even") << 13.5f << 1.0f << 2 << "000E";
        QTest::newRow("-10 two bytes") << -10.0f << 1.0f << 2 << "FFF6";
        QTest::newRow("-10 one byte") << -10.0f << 1.0f << 1 << "F6";
        QTest::newRow("2 one byte") << 2.0f << 1.0f << 1 << "02";
        QTest::newRow("300 one byte cut") << 300.0f << 1.0f << 1 << "2C";
        QTest::newRow("max") << 32767.0f << 1.0f << 2 << "7FFF";
        QTest::newRow("min") << -32768.0f << 1.0f << 2 << "8000";
        QTest::newRow("just above, ties to even 32768") << 32767.5f << 1.0f << 2 << "Overflow";
        QTest::newRow("far above") << 1e9f << 1.0f << 2 << "Overflow";
        QTest::newRow("below") << -32769.0f << 1.0f << 2 << "Overflow";
    }

    void numberToField() {
        QFETCH(float, value);
        QFETCH(float, scale);
        QFETCH(int, bytes);
        QFETCH(QString, expected);
        if (expected == "Overflow") {
            QVERIFY_THROWS_EXCEPTION(OverflowError, NumberToField(value, scale, bytes));
        } else {
            QCOMPARE(NumberToField(value, scale, bytes), expected);
        }
    }

    void modelTable_data() {
        QTest::addColumn<QString>("code");
        QTest::addColumn<QString>("rating");
        QTest::addColumn<int>("amps");
        QTest::addColumn<int>("position");
        const auto row = [](const char* name, const char* code, const char* rating, int amps,
                            int position) {
            QTest::newRow(name) << code << "Rating : " + QString(rating) << amps << position;
        };
        row("3110", "3110", "12V 10A 150W.", 10, 0);
        row("3160", "3160", "12V 60A 900W.", 60, 0);
        row("3205", "3205", "24V 5A 150W.", 5, 1);
        row("3230", "3230", "24V 30A 900W.", 30, 1);
        row("3415", "3415", "48V 15A 900W.", 15, 2);
        row("3300 unknown", "3300", "0V 0A 0W.", 0, -1);
        row("0 from FFFF is in the 12 V list", "0", "0V 0A 0W.", 0, 0);
        row("fragment 311", "311", "0V 0A 0W.", 0, 0);
        row("fragment 41 only in 48 V", "41", "0V 0A 0W.", 0, 2);
    }

    void modelTable() {
        QFETCH(QString, code);
        QFETCH(QString, rating);
        QFETCH(int, amps);
        QFETCH(int, position);
        const ModelInfo info = ModelTable::RatingText(code);
        QCOMPARE(info.rating, rating);
        QCOMPARE(info.ratedCurrent, amps);
        QCOMPARE(ModelTable::NominalPositionFor(code), position);
    }

    void modelCodeFromReply() {
        for (const auto& [reply, code] : {std::pair{"8504600C26980D", "3110"},
                                          {"8504600D57C80D", "3415"},
                                          {"850460FFFF620D", "0"},  // FFFF reads 0
                                          {"8504600C2698", ""},     // no end byte
                                          {"", ""}}) {
            QCOMPARE(ModelTable::ModelCodeFromReply(reply), QString(code));
        }
    }

    void portNumbers() {
        const PortList list({"/dev/pts/7", "/dev/pts/9"}, false);
        QCOMPARE(list.numbers(), QVector<int>({1, 2}));
        QCOMPARE(list.deviceFor(2), QStringLiteral("/dev/pts/9"));
        QCOMPARE(list.deviceFor(3), QString());
        QCOMPARE(PortList::EntryText(3), QStringLiteral("Com3"));
        QCOMPARE(PortList::NumberOf(QStringLiteral("Com12")), 12);
        QCOMPARE(PortList::NumberOf(QStringLiteral("Com")), 0);
        QStringList many;
        for (int i = 0; i < 40; ++i) {
            many << QStringLiteral("/dev/x%1").arg(i);
        }
        QCOMPARE(PortList(many, false).numbers().size(), 32);
    }

    void storedSettingsDecode() {
        StoredSettings p;
        DecodeStoredSettings(settingsReply(), p);
        QCOMPARE(p[0].general, (std::array<QString, 6>{"12", "100", "18", "25", "2", "40"}));
        QCOMPARE(p[1].general, (std::array<QString, 6>{"24", "200", "20", "26", "3", "42"}));
        QCOMPARE(p[0].protection, (std::array<QString, 5>{"45", "18", "0", "0", "20"}));
        QCOMPARE(p[1].protection, (std::array<QString, 5>{"0", "36", "200", "3", "8"}));
        QCOMPARE(p[0].stages[0], QStringLiteral("3"));
        QCOMPARE(p[0].stages[1], QStringLiteral("14.4"));
        QCOMPARE(p[0].stages[2], QStringLiteral("10"));
        QCOMPARE(p[0].stages[5], QStringLiteral("13.5"));
        QCOMPARE(p[0].stages[6], QStringLiteral("2"));
        QCOMPARE(p[1].stages[13], QStringLiteral("28.8"));
        QCOMPARE(p[0].nextCond[0], QStringLiteral("214.2"));
        QCOMPARE(p[0].nextCond[1], QStringLiteral("00"));  // FFFF: unused, not converted
        QCOMPARE(p[0].nextCond[2], QStringLiteral("145"));
        QCOMPARE(p[0].nextCond[8], QStringLiteral("00"));
        QCOMPARE(p[0].anyTarget[0], QStringLiteral("2"));
        QCOMPARE(p[0].anyCond[4], QStringLiteral("12.5"));
        QCOMPARE(p[0].anyCond[5], QStringLiteral("290"));
        QCOMPARE(p[0].anyCond[0], QStringLiteral("00"));
    }

    // What the stage block gives as the count, over a count of 4 held before.
    void storedSettingsStageCount_data() {
        QTest::addColumn<QString>("stageBlock");
        QTest::addColumn<QString>("expected");
        const QString z(8, QLatin1Char('0'));
        QTest::newRow("first stage below 5 V") << "01F30064" + z.repeated(6) << "0";
        QTest::newRow("4.99 V ends the list") << "05A0006401F30064" + z.repeated(5) << "1";
        QTest::newRow("exactly 5 V counts") << "01F4006401F40064" + z.repeated(5) << "2";
        QTest::newRow("all seven kept as stored") << QString("05A00064").repeated(7) << "4";
    }

    void storedSettingsStageCount() {
        QFETCH(QString, stageBlock);
        QFETCH(QString, expected);
        QString reply = settingsReply();
        reply.replace(88, 56, stageBlock);
        StoredSettings p;
        p[0].stages[0] = "4";
        DecodeStoredSettings(reply, p);
        QCOMPARE(p[0].stages[0], expected);
    }

    void storedSettingsShortReply() {
        StoredSettings p;
        p[0].stages[0] = "3";
        DecodeStoredSettings(QString(), p);
        QCOMPARE(p[0].general[1], QStringLiteral("0"));
        QCOMPARE(p[1].stages[1], QStringLiteral("0"));
        QCOMPARE(p[0].stages[0], QStringLiteral("0"));
        QCOMPARE(p[1].nextCond[55], QStringLiteral("00"));
        // A garbage reply never throws, whatever characters it holds.
        DecodeStoredSettings(QString(1700, QChar(0x00E9)), p);
        DecodeStoredSettings(QString(1700, QLatin1Char('E')), p);
        QCOMPARE(p[0].general[0], QStringLiteral("611.66"));
    }
};

QTEST_GUILESS_MAIN(TestCodec)
#include "test_codec.moc"
