#include "datalog/live_reading.h"
#include "datalog/run_time.h"

#include <QtTest>

using zun::datalog::DecodeLiveReading;
using zun::datalog::DecodeRunTime;
using zun::datalog::ReplyOutcome;

Q_DECLARE_METATYPE(zun::datalog::ReplyOutcome)

class ReadingsTest : public QObject {
    Q_OBJECT
private slots:
    void runTime_data();
    void runTime();
    void liveReading_data();
    void liveReading();
    void liveFields_data();
    void liveFields();
};

void ReadingsTest::runTime_data() {
    QTest::addColumn<QString>("reply");
    QTest::addColumn<ReplyOutcome>("outcome");
    QTest::addColumn<int>("minutes");
    QTest::addColumn<QString>("text");

    // Data bytes start at character 7, least significant byte first.
    QTest::newRow("7435 minutes") << "8506670B1D000095" + QString("0D") << ReplyOutcome::Show
                                  << 7435 << "123Hours 55Minutes";
    QTest::newRow("zero") << "8506670000000000" + QString("0D") << ReplyOutcome::Show << 0
                          << "0Hours 0Minutes";
    QTest::newRow("59") << "8506673B00000000" + QString("0D") << ReplyOutcome::Show << 59
                        << "0Hours 59Minutes";
    QTest::newRow("60") << "8506673C00000000" + QString("0D") << ReplyOutcome::Show << 60
                        << "1Hours 0Minutes";
    QTest::newRow("7507 no padding")
        << "850667531D000000" + QString("0D") << ReplyOutcome::Show << 7507 << "125Hours 7Minutes";
    QTest::newRow("probe answer") << "850667064A0000BD0D" << ReplyOutcome::Show << 18950
                                  << "315Hours 50Minutes";
    QTest::newRow("negative -61 truncates toward zero")
        << "850667C3FFFFFF000D" << ReplyOutcome::Show << -61 << "-1Hours -1Minutes";
    QTest::newRow("top byte set") << "8506670000008000" + QString("0D") << ReplyOutcome::Show
                                  << int(0x80000000) << "-35791394Hours -8Minutes";
    QTest::newRow("empty clears") << "" << ReplyOutcome::Clear << 0 << "";
    QTest::newRow("short leaves box") << "8506670B1D" << ReplyOutcome::LeaveUnchanged << 0 << "";
    QTest::newRow("non-hex leaves box")
        << "8506670B1DZZ0000" << ReplyOutcome::LeaveUnchanged << 0 << "";
}

void ReadingsTest::runTime() {
    QFETCH(QString, reply);
    QFETCH(ReplyOutcome, outcome);
    QFETCH(int, minutes);
    QFETCH(QString, text);
    const auto r = DecodeRunTime(reply);
    QVERIFY2(r.outcome == outcome, qPrintable("reply " + reply));
    QCOMPARE(r.text, text);
    if (outcome == ReplyOutcome::Show) {
        QCOMPARE(r.minutes, minutes);
    }
}

void ReadingsTest::liveReading_data() {
    QTest::addColumn<QString>("reply");
    QTest::addColumn<ReplyOutcome>("outcome");
    QTest::addColumn<QString>("text");

    const QString head = "851158";
    const QString tail = "000D";
    // V0 I0 V1 V2 V3 I1 I2 I3
    QTest::newRow("typical") << head + "0AC8" + "04E2" + "0564" + "0563" + "1234" + "FFFF" +
                                    "0000" + "8000" + tail
                             << ReplyOutcome::Show
                             << "charge:27.6V  12.5A\r\nbat1:  13.80V  -0.01A\r\nbat2:  13.79V  "
                                "0.00A";
    // 27.65 is 27.6499996 as a single, 0.25 is exact: halves go away from zero.
    QTest::newRow("single precision rounding")
        << head + "0ACD" + "0019" + "0001" + "FFFE" + "0000" + "0005" + "FFF6" + "0000" + tail
        << ReplyOutcome::Show
        << "charge:27.6V  0.3A\r\nbat1:  0.01V  0.05A\r\nbat2:  -0.02V  -0.10A";
    QTest::newRow("negative charger current")
        << head + "0000" + "FFCE" + "0000" + "0000" + "0000" + "0000" + "0000" + "0000" + tail
        << ReplyOutcome::Show << "charge:0.0V  -0.5A\r\nbat1:  0.00V  0.00A\r\nbat2:  0.00V  0.00A";
    QTest::newRow("empty clears") << "" << ReplyOutcome::Clear << "";
    QTest::newRow("short leaves box")
        << head + "0AC804E20564" << ReplyOutcome::LeaveUnchanged << "";
    QTest::newRow("garbled field leaves box")
        << head + "0AC8" + "04E2" + "05G4" + "0563" + "1234" + "FFFF" + "0000" + "8000" + tail
        << ReplyOutcome::LeaveUnchanged << "";
}

void ReadingsTest::liveReading() {
    QFETCH(QString, reply);
    QFETCH(ReplyOutcome, outcome);
    QFETCH(QString, text);
    const auto r = DecodeLiveReading(reply);
    QVERIFY2(r.outcome == outcome, qPrintable("reply " + reply));
    QCOMPARE(r.text, text);
}

void ReadingsTest::liveFields_data() {
    QTest::addColumn<QString>("field");
    QTest::addColumn<int>("slot");  // 0..7 in reply order V0 I0 V1 V2 V3 I1 I2 I3
    QTest::addColumn<float>("value");

    QTest::newRow("0AC8 is 27.60") << "0AC8" << 0 << 27.60f;
    QTest::newRow("FFFF is -0.01, not the unset marker") << "FFFF" << 5 << -0.01f;
    QTest::newRow("8000 is the most negative") << "8000" << 7 << -327.68f;
    QTest::newRow("7FFF") << "7FFF" << 4 << 327.67f;
    QTest::newRow("I0") << "04E2" << 1 << 12.5f;
    QTest::newRow("V2") << "0563" << 3 << 13.79f;
    QTest::newRow("I2") << "0102" << 6 << 2.58f;
}

void ReadingsTest::liveFields() {
    QFETCH(QString, field);
    QFETCH(int, slot);
    QFETCH(float, value);
    QString data = QString("0000").repeated(8);
    data.replace(slot * 4, 4, field);
    const auto r = DecodeLiveReading("851158" + data + "000D");
    QVERIFY(r.outcome == ReplyOutcome::Show);
    // Slot order on the wire against the V/I arrays.
    const float wire[8] = {r.V[0], r.I[0], r.V[1], r.V[2], r.V[3], r.I[1], r.I[2], r.I[3]};
    for (int k = 0; k < 8; ++k) {
        const float expected = (k == slot) ? value : 0.0f;
        QVERIFY2(wire[k] == expected, qPrintable(QString("slot %1 of %2: %3, expected %4")
                                                     .arg(k)
                                                     .arg(data)
                                                     .arg(wire[k], 0, 'g', 9)
                                                     .arg(expected, 0, 'g', 9)));
    }
}

int runReadingsTest(int argc, char** argv) {
    ReadingsTest t;
    return QTest::qExec(&t, argc, argv);
}

#include "tst_readings.moc"
