#include "datalog/charge_ah.h"
#include "datalog/chart_scales.h"
#include "datalog/log_chart.h"
#include "datalog_support.h"

#include <QtTest>

using namespace zun::datalog;

namespace {

int countColour(const QImage& img, const QRect& area, QRgb colour) {
    int n = 0;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            n += (img.pixel(x, y) | 0xFF000000) == colour;
        }
    }
    return n;
}

}  // namespace

void DatalogTest::scales_data() {
    QTest::addColumn<QList<float>>("ranges");  // vMin vMax iMin iMax ahMax
    QTest::addColumn<QString>("scales");
    QTest::newRow("27.2-28.9 V") << QList<float>{27.2f, 28.9f, 0.5f, 12.5f, 40.f}
                                 << "D 4 V 26..30 I 0..16 Ah ..40";
    // 46 -> 23 -> 24 -> 12 divisions, Vtop raised by 2 to a span of 48.
    QTest::newRow("46 V span") << QList<float>{2.5f, 46.f, 0.f, 10.f, 100.f}
                               << "D 12 V 1..49 I 0..12 Ah ..120";
    // Values are held to a million: 1000001 volts of span come down to 16 divisions.
    QTest::newRow("absurd values stay finite") << QList<float>{0.f, 1e30f, 0.f, 3e38f, 1e20f}
                                               << "D 16 V 0..1000016 I 0..1000016 Ah ..1.6e+06";
}

void DatalogTest::scales() {
    QFETCH(QList<float>, ranges);
    QFETCH(QString, scales);
    const ChartScales s =
        ComputeChartScales(ranges[0], ranges[1], ranges[2], ranges[3], 0.f, ranges[4]);
    QCOMPARE(QString::asprintf("D %d V %lld..%lld I %lld..%lld Ah ..%g", s.D, s.vBottom, s.vTop,
                               s.iBottom, s.iTop, s.ahTop),
             scales);
}

void DatalogTest::curves_data() {
    QTest::addColumn<int>("records");
    QTest::addColumn<QSize>("size");
    QTest::newRow("header only") << 0 << QSize(900, 600);
    QTest::newRow("two records, small window") << 2 << QSize(640, 400);
    QTest::newRow("full ring, 1920x1080") << 4320 << QSize(1920, 1080);
}

void DatalogTest::curves() {
    QFETCH(int, records);
    QFETCH(QSize, size);
    std::vector<LogRow> rows;  // voltage and current rise and fall, as over a charge
    for (int i = 0; i < records; ++i) {
        rows.push_back({QString::number(i + 1), QString::number(25.0 + i % 40 * 0.1, 'f', 2),
                        QString::number(20.0 - i % 70 * 0.25, 'f', 2), "13.00", "13.00"});
    }
    LogTableModel table;
    table.setRows(rows);
    const std::vector<float> ah = ComputeChargeAh(table);
    const QImage img = RenderChartImage({table, ah, "Time: 21/11/2026 11:30", "Bank A"}, size);
    const QRect frame = ChartFrameRect(img, QRectF(img.rect())).toAlignedRect();
    for (QRgb colour : {kVoltageColour, kCurrentColour, kChargeColour}) {
        const int inside = countColour(img, frame.adjusted(3, 3, -3, -3), colour);
        const int all = countColour(img, img.rect(), colour);
        QVERIFY2(records > 0 ? inside >= 20 : all == 0,
                 qPrintable(QString("%1: %2, %3 inside").arg(colour, 0, 16).arg(all).arg(inside)));
    }
    if (records == 0) {
        // Only the framed grid: no title, labels, legend or description around it.
        QVERIFY(countColour(img, frame.adjusted(2, 2, -2, -2), kGridColour) > frame.width());
        QVERIFY(countColour(img, frame, kFrameColour) > 2 * frame.width());
        const QRect around = frame.adjusted(-2, -2, 2, 2);
        QCOMPARE(countColour(img, img.rect(), 0xFFFFFFFF) - countColour(img, around, 0xFFFFFFFF),
                 size.width() * size.height() - around.width() * around.height());
        const ChartFrame f = FrameForSurface(QSizeF(200, 100));  // left 25, top 30, SW-35, SH-25
        QCOMPARE(QRectF(f.left, f.top, f.width(), f.height()), QRectF(25, 30, 140, 45));
    }
}

void DatalogTest::timeLabelsNeverOverlap() {
    // 4,320 records across 1,000 units with labels 30 units wide: only every n-th gets one.
    std::vector<double> centres;
    for (int i = 0; i < 4320; ++i) {
        centres.push_back(i * 1000.0 / 4319);
    }
    const auto width = [](int j) { return j % 7 == 0 ? 36.0 : 30.0; };
    const std::vector<int> chosen = ChooseTimeLabels(centres, width, 30.0, 4.0);
    QVERIFY(chosen.size() > 20 && chosen.size() < 31);
    QCOMPARE(chosen.front(), 0);
    for (size_t k = 1; k < chosen.size(); ++k) {
        const int a = chosen[k - 1];
        const int b = chosen[k];
        QVERIFY2(centres[b] - width(b) / 2 > centres[a] + width(a) / 2 + 4.0,
                 qPrintable(QString("labels %1 and %2 overlap").arg(a).arg(b)));
    }
    QCOMPARE(RecordTimeText("Time: 21/11/2026 00:20", 3), QStringLiteral("23:50"));
}
