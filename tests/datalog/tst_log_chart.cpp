#include "datalog/charge_ah.h"
#include "datalog/chart_scales.h"
#include "datalog/log_chart.h"
#include "datalog/stage_marks.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <cmath>

using namespace zun::datalog;

namespace {

std::vector<LogRow> rowsOf(const QList<float>& volts, const QList<float>& amps) {
    std::vector<LogRow> rows;
    for (int i = 0; i < volts.size(); ++i) {
        rows.push_back({QString::number(i + 1).rightJustified(4, '0'),
                        QString::number(volts[i], 'f', 2), QString::number(amps[i], 'f', 2),
                        QString::number(volts[i] - 0.05, 'f', 2),
                        QString::number(volts[i] - 0.06, 'f', 2)});
    }
    return rows;
}

// A day of a 24 V charger: bulk, absorption, float.
std::vector<LogRow> chargeDay(int records) {
    QList<float> v;
    QList<float> a;
    for (int i = 0; i < records; ++i) {
        const int p = i % 144;
        if (p < 36) {
            v << float(25.0 + 3.8 * std::sqrt((p + 1) / 36.0));
            a << 20.0f;
        } else if (p < 60) {
            v << 28.8f;
            a << float(0.6 + 19.4 * std::exp(-(p - 36) / 7.0));
        } else {
            v << 27.2f;
            a << 0.5f;
        }
    }
    return rowsOf(v, a);
}

struct Chart {
    LogTableModel table;
    std::vector<float> ah;
    explicit Chart(std::vector<LogRow> rows) {
        table.setRows(std::move(rows));
        ah = ComputeChargeAh(table);
    }
    ChartData data(const QString& labTime = "Time: 21/11/2026 11:30",
                   const QString& desc = "Bank A") const {
        return ChartData{table, ah, labTime, desc};
    }
};

int countColour(const QImage& img, const QRect& area, QRgb colour) {
    int n = 0;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            n += (img.pixel(x, y) | 0xFF000000) == colour;
        }
    }
    return n;
}

QRect interior(const QImage& img) {
    return ChartFrameRect(img, QRectF(img.rect())).toAlignedRect().adjusted(3, 3, -3, -3);
}

}  // namespace

class LogChartTest : public QObject {
    Q_OBJECT
private slots:
    void scales_data();
    void scales();
    void frame();
    void stageMarks_data();
    void stageMarks();
    void recordTime_data();
    void recordTime();
    void timeLabels_data();
    void timeLabels();
    void curveColours_data();
    void curveColours();
    void headerOnlyDrawsFrameOnly();
    void curvePositions();
    void exports();
};

void LogChartTest::scales_data() {
    QTest::addColumn<float>("vMin");
    QTest::addColumn<float>("vMax");
    QTest::addColumn<float>("iMin");
    QTest::addColumn<float>("iMax");
    QTest::addColumn<float>("ahMax");
    QTest::addColumn<int>("D");
    QTest::addColumn<int>("vBottom");
    QTest::addColumn<int>("vTop");
    QTest::addColumn<int>("iBottom");
    QTest::addColumn<int>("iTop");
    QTest::addColumn<double>("ahTop");

    QTest::newRow("27.2-28.9 V") << 27.2f << 28.9f << 0.5f << 12.5f << 40.f << 4 << 26 << 30 << 0
                                 << 16 << 40.0;
    // Span 46: 46 -> 23 -> 24 -> 12 divisions, Vtop raised by 2 to a span of 48.
    QTest::newRow("46 V span") << 2.5f << 46.0f << 0.f << 10.f << 100.f << 12 << 1 << 49 << 0 << 12
                               << 120.0;
    QTest::newRow("round half away from zero")
        << 12.0f << 13.5f << 2.f << 3.f << 1.f << 4 << 11 << 15 << 1 << 5 << 2.0;
    QTest::newRow("just below a half")
        << 12.0f << 13.49f << 2.f << 3.f << 1.f << 3 << 11 << 14 << 1 << 4 << 1.5;
    QTest::newRow("flat voltage") << 13.0f << 13.0f << 5.f << 5.f << 0.f << 2 << 12 << 14 << 4 << 6
                                  << 2.0;
    QTest::newRow("bottoms not below 0")
        << 0.3f << 14.4f << -0.5f << 10.f << 47.3f << 15 << 0 << 15 << 0 << 15 << 75.0;
    QTest::newRow("small charge") << 27.2f << 28.9f << 0.f << 0.2f << 0.35f << 4 << 26 << 30 << 0
                                  << 4 << 0.4;
    QTest::newRow("D of 20 stays")
        << 10.f << 28.f << 0.f << 1.f << 0.f << 20 << 9 << 29 << 0 << 20 << 20.0;
    QTest::newRow("span 21: 22, then 11, Vtop up by 1")
        << 10.f << 29.f << 0.f << 1.f << 0.f << 11 << 9 << 31 << 0 << 11 << 11.0;
    QTest::newRow("span 22 halves to 11")
        << 10.f << 30.f << 0.f << 1.f << 0.f << 11 << 9 << 31 << 0 << 11 << 11.0;
    QTest::newRow("negative voltages keep a scale")
        << -5.f << -3.f << 0.f << 0.f << 0.f << 1 << 0 << 1 << 0 << 1 << 1.0;
    // Values are held to a million: 1000001 volts of span come down to 16 divisions.
    QTest::newRow("absurd values stay finite") << 0.f << 1.0e30f << 0.f << 3.0e38f << 1.0e20f << 16
                                               << 0 << 1000016 << 0 << 1000016 << 1600000.0;
}

void LogChartTest::scales() {
    QFETCH(float, vMin);
    QFETCH(float, vMax);
    QFETCH(float, iMin);
    QFETCH(float, iMax);
    QFETCH(float, ahMax);
    QFETCH(int, D);
    QFETCH(int, vBottom);
    QFETCH(int, vTop);
    QFETCH(int, iBottom);
    QFETCH(int, iTop);
    QFETCH(double, ahTop);
    const ChartScales s = ComputeChartScales(vMin, vMax, iMin, iMax, 0.f, ahMax);
    const QString got = QString("D %1 V %2..%3 I %4..%5 Ah ..%6")
                            .arg(s.D)
                            .arg(s.vBottom)
                            .arg(s.vTop)
                            .arg(s.iBottom)
                            .arg(s.iTop)
                            .arg(s.ahTop);
    const QString want = QString("D %1 V %2..%3 I %4..%5 Ah ..%6")
                             .arg(D)
                             .arg(vBottom)
                             .arg(vTop)
                             .arg(iBottom)
                             .arg(iTop)
                             .arg(ahTop);
    QCOMPARE(got, want);
    QVERIFY(s.D >= 1 && s.D <= 20);
    QCOMPARE((s.vTop - s.vBottom) % s.D, 0LL);
    QCOMPARE((s.iTop - s.iBottom) % s.D, 0LL);
    QVERIFY(s.ahTop >= std::min(ahMax, 1.0e6f));  // charges are held to a million too
}

void LogChartTest::frame() {
    const ChartFrame f = FrameForSurface(QSizeF(200, 100));
    QCOMPARE(f.left, 25.0);
    QCOMPARE(f.top, 30.0);
    QCOMPARE(f.right, 165.0);
    QCOMPARE(f.bottom, 75.0);
    QCOMPARE(f.width(), 140.0);
    QCOMPARE(f.height(), 45.0);
}

void LogChartTest::stageMarks_data() {
    QTest::addColumn<QList<float>>("volts");
    QTest::addColumn<QList<float>>("amps");
    QTest::addColumn<QString>("marks");  // "index:name" joined by blanks

    QTest::newRow("bulk, absorption, float")
        << QList<float>{12.5f, 12.8f, 13.1f, 13.4f, 13.7f, 14.0f, 14.3f,
                        14.4f, 14.4f, 14.4f, 14.4f, 13.5f, 13.5f}
        << QList<float>{10, 10, 10, 10, 10, 10, 10, 10, 8, 6, 4, 0.5f, 0.4f}
        << "1:C.C. 8:C.V. 11:Float";
    QTest::newRow("charge starts from float")
        << QList<float>{13.5f, 13.5f, 12.7f, 13.0f, 13.3f}
        << QList<float>{0.3f, 0.3f, 10.0f, 10.0f, 10.0f} << "2:C.C.";
    QTest::newRow("noise within the tolerance")
        << QList<float>{13.50f, 13.55f, 13.46f, 13.52f, 13.50f}
        << QList<float>{5.00f, 5.05f, 4.96f, 5.02f, 5.00f} << "";
    QTest::newRow("slow voltage rise is not a stage")
        << QList<float>{12.50f, 12.55f, 12.60f, 12.65f} << QList<float>{10, 10, 10, 10} << "";
    QTest::newRow("no current, no marks")
        << QList<float>{12.f, 13.f, 14.f, 13.f} << QList<float>{0, 0, 0, 0} << "";
    QTest::newRow("falling current below the top voltage is not C.V.")
        << QList<float>{14.4f, 14.4f, 13.9f, 13.9f, 13.9f}
        << QList<float>{10.f, 10.f, 9.5f, 8.0f, 6.0f} << "";
    QTest::newRow("voltage drop with high current is not float")
        << QList<float>{14.0f, 13.0f, 13.0f} << QList<float>{10.f, 10.f, 10.f} << "";
    QTest::newRow("two cycles") << QList<float>{12.5f, 12.9f, 14.4f, 14.4f, 13.5f,
                                                12.6f, 13.0f, 14.4f, 14.4f, 13.5f}
                                << QList<float>{10, 10, 10, 6, 0.5f, 10, 10, 10, 6, 0.5f}
                                << "1:C.C. 3:C.V. 4:Float 5:C.C. 8:C.V. 9:Float";
    QTest::newRow("one record") << QList<float>{14.f} << QList<float>{5.f} << "";
}

void LogChartTest::stageMarks() {
    QFETCH(QList<float>, volts);
    QFETCH(QList<float>, amps);
    QFETCH(QString, marks);
    const std::vector<float> v(volts.begin(), volts.end());
    const std::vector<float> a(amps.begin(), amps.end());
    QStringList got;
    for (const StageMark& m : FindStageMarks(v, a)) {
        got << QString("%1:%2").arg(m.index).arg(StageName(m.stage));
    }
    QCOMPARE(got.join(' '), marks);
}

void LogChartTest::recordTime_data() {
    QTest::addColumn<QString>("labTime");
    QTest::addColumn<int>("steps");
    QTest::addColumn<QString>("text");
    QTest::newRow("last record") << "Time: 21/11/2026 11:30" << 0 << "11:30";
    QTest::newRow("one back") << "Time: 21/11/2026 11:30" << 1 << "11:20";
    QTest::newRow("past midnight") << "Time: 21/11/2026 00:20" << 3 << "23:50";
    QTest::newRow("a day back") << "Time: x 08:40" << 144 << "08:40";
    QTest::newRow("a full ring back") << "Time: x 08:40" << 4319 << "08:50";
    QTest::newRow("no time stamp") << "" << 2 << "23:40";
}

void LogChartTest::recordTime() {
    QFETCH(QString, labTime);
    QFETCH(int, steps);
    QFETCH(QString, text);
    QCOMPARE(RecordTimeText(labTime, steps), text);
}

void LogChartTest::timeLabels_data() {
    QTest::addColumn<int>("rows");
    QTest::addColumn<double>("plotWidth");
    QTest::addColumn<double>("labelWidth");
    QTest::newRow("few rows, all fit") << 6 << 200.0 << 10.0;
    QTest::newRow("full ring") << 4320 << 450.0 << 9.5;
    QTest::newRow("narrow plot") << 144 << 40.0 << 9.5;
    QTest::newRow("wider than the plot") << 3 << 5.0 << 9.5;
}

void LogChartTest::timeLabels() {
    QFETCH(int, rows);
    QFETCH(double, plotWidth);
    QFETCH(double, labelWidth);
    std::vector<double> centres;
    for (int j = 0; j < rows; ++j) {
        centres.push_back(25.0 + j * plotWidth / std::max(1, rows - 1));
    }
    // Widths vary a little, as proportional digits do.
    auto width = [&](int j) { return labelWidth * (1.0 + 0.1 * (j % 3)); };
    const double gap = 1.0;
    const std::vector<int> chosen = ChooseTimeLabels(centres, width, labelWidth, gap);
    QVERIFY(!chosen.empty());
    QCOMPARE(chosen.front(), 0);
    for (size_t k = 1; k < chosen.size(); ++k) {
        const int a = chosen[k - 1];
        const int b = chosen[k];
        const double endA = centres[size_t(a)] + width(a) / 2.0;
        const double startB = centres[size_t(b)] - width(b) / 2.0;
        QVERIFY2(
            startB > endA + gap - 1e-9,
            qPrintable(
                QString("rows %1 and %2 overlap: %3 <= %4").arg(a).arg(b).arg(startB).arg(endA)));
        // Greedy: nothing between two labels would have fitted.
        for (int j = a + 1; j < b; ++j) {
            QVERIFY(centres[size_t(j)] - width(j) / 2.0 <= endA + gap);
        }
    }
    if (rows == 6) {
        QCOMPARE(int(chosen.size()), 6);
    }
    if (rows == 4320) {
        QVERIFY(chosen.size() > 20 && chosen.size() < 60);
    }
}

void LogChartTest::curveColours_data() {
    QTest::addColumn<int>("records");
    QTest::addColumn<QSize>("size");
    QTest::newRow("two records, small window") << 2 << QSize(640, 400);
    QTest::newRow("a day, 1920x1080") << 144 << QSize(1920, 1080);
    QTest::newRow("full ring, 1920x1080") << 4320 << QSize(1920, 1080);
}

void LogChartTest::curveColours() {
    QFETCH(int, records);
    QFETCH(QSize, size);
    const Chart c(chargeDay(records));
    const QImage img = RenderChartImage(c.data(), size);
    QCOMPARE(img.size(), size);
    const QRect in = interior(img);
    for (QRgb colour : {kVoltageColour, kCurrentColour, kChargeColour}) {
        const int n = countColour(img, in, colour);
        QVERIFY2(
            n >= 20,
            qPrintable(QString("colour %1: %2 pixels inside the frame").arg(colour, 8, 16).arg(n)));
    }
}

void LogChartTest::headerOnlyDrawsFrameOnly() {
    const Chart c({});
    const QImage img =
        RenderChartImage(c.data("Time: 21/11/2026 11:30", "not shown"), QSize(900, 600));
    for (QRgb colour : {kVoltageColour, kCurrentColour, kChargeColour}) {
        QCOMPARE(countColour(img, img.rect(), colour), 0);
    }
    const QRect frame = ChartFrameRect(img, QRectF(img.rect())).toAlignedRect();
    QVERIFY(countColour(img, frame.adjusted(2, 2, -2, -2), kGridColour) > frame.width());
    QVERIFY(countColour(img, frame, kFrameColour) > 2 * frame.width());
    // Nothing outside the frame: no title, labels, legend or description.
    int outside = 0;
    const QRect around = frame.adjusted(-2, -2, 2, 2);
    for (int y = 0; y < img.height(); ++y) {
        for (int x = 0; x < img.width(); ++x) {
            if (!around.contains(x, y) && (img.pixel(x, y) | 0xFF000000) != 0xFFFFFFFF) {
                ++outside;
            }
        }
    }
    QCOMPARE(outside, 0);
}

void LogChartTest::curvePositions() {
    // 28 V throughout: scale 27..29 in 2 divisions, so the voltage runs at half height; 4.5 A
    // on 3..5 runs at three quarters.
    QList<float> v;
    QList<float> a;
    for (int i = 0; i < 50; ++i) {
        v << 28.0f;
        a << 4.5f;
    }
    const Chart c(rowsOf(v, a));
    const QImage img = RenderChartImage(c.data(), QSize(1000, 700));
    const QRectF frame = ChartFrameRect(img, QRectF(img.rect()));
    auto rowsWith = [&](QRgb colour) {
        QList<int> ys;
        const QRect in = interior(img);
        for (int y = in.top(); y <= in.bottom(); ++y) {
            if (countColour(img, QRect(in.left(), y, in.width(), 1), colour) > in.width() / 2) {
                ys << y;
            }
        }
        return ys;
    };
    const QList<int> blue = rowsWith(kVoltageColour);
    const QList<int> red = rowsWith(kCurrentColour);
    QVERIFY2(!blue.isEmpty() && std::abs(blue.first() - (frame.top() + frame.height() / 2)) <= 2,
             qPrintable(QString("voltage rows %1, frame %2..%3")
                            .arg(blue.isEmpty() ? -1 : blue.first())
                            .arg(frame.top())
                            .arg(frame.bottom())));
    QVERIFY2(!red.isEmpty() && std::abs(red.first() - (frame.top() + frame.height() / 4)) <= 2,
             qPrintable(QString("current rows %1").arg(red.isEmpty() ? -1 : red.first())));
    // The charge climbs from the bottom left to 73.5 Ah on a 0..100 Ah scale at the right.
    const QRect in = interior(img);
    QVERIFY(countColour(img, QRect(in.left(), in.bottom() - 10, 20, 11), kChargeColour) > 0);
    const int endY = int(std::lround(frame.bottom() - 0.735 * frame.height()));
    QVERIFY2(countColour(img, QRect(in.right() - 2, endY - 4, 3, 9), kChargeColour) > 0,
             qPrintable(QString("no charge pixel near (%1, %2)").arg(in.right()).arg(endY)));
    QCOMPARE(
        countColour(img, QRect(in.right() - 2, in.top(), 3, endY - 8 - in.top()), kChargeColour),
        0);
}

void LogChartTest::exports() {
    const Chart c(chargeDay(144));
    QTemporaryDir dir;

    const QString pdf = dir.filePath("chart.pdf");
    const FileResult p = ExportChartPdf(c.data(), pdf);
    QVERIFY2(p.ok, qPrintable(p.error));
    QFile f(pdf);
    QVERIFY(f.open(QIODevice::ReadOnly));
    const QByteArray bytes = f.readAll();
    QVERIFY2(bytes.startsWith("%PDF-"), bytes.left(16).constData());
    QVERIFY(bytes.size() > 2000);

    const QString png = dir.filePath("chart.png");
    const FileResult g = SaveChartPng(c.data(), QSize(1280, 720), png);
    QVERIFY2(g.ok, qPrintable(g.error));
    const QImage back(png);
    QCOMPARE(back.size(), QSize(1280, 720));
    QVERIFY(countColour(back, interior(back), kChargeColour) > 0);

    // A folder in the way: reported, nothing replaced.
    QVERIFY(QDir(dir.path()).mkdir("taken.png"));
    const FileResult bad = SaveChartPng(c.data(), QSize(100, 100), dir.filePath("taken.png"));
    QVERIFY(!bad.ok);
    QVERIFY(!bad.error.isEmpty());
    QVERIFY(QFileInfo(dir.filePath("taken.png")).isDir());
}

int runLogChartTest(int argc, char** argv) {
    LogChartTest t;
    return QTest::qExec(&t, argc, argv);
}

#include "tst_log_chart.moc"
