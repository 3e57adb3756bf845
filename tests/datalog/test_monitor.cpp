// The live monitor's pieces: the bounded reading store, the recording file, the live chart and
// the line trace kept for support.
#include "datalog/monitor_chart.h"
#include "datalog/monitor_file.h"
#include "datalog/monitor_series.h"
#include "link/line_trace.h"

#include <QFile>
#include <QGuiApplication>
#include <QTemporaryDir>
#include <QTest>

using namespace zun::datalog;

namespace {

// 2026-11-23 12:00:00 UTC.
constexpr qint64 kNoon = 1795435200000LL;

MonitorSample reading(qint64 msecs, float v, float a, bool gap = false) {
    return MonitorSample{msecs, v, a, v - 0.1f, a / 2, v - 0.2f, a / 4, gap};
}

// Pixels of the colour between columns x0 and x1, below the legend strip.
int countColour(const QImage& image, QRgb colour, int x0, int x1) {
    int n = 0;
    for (int y = 9 * 96 / 25.4 + 1; y < image.height(); ++y) {
        for (int x = std::max(0, x0); x < std::min(image.width(), x1); ++x) {
            n += (image.pixel(x, y) & 0xFFFFFF) == (colour & 0xFFFFFF);
        }
    }
    return n;
}

}  // namespace

class MonitorTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() {
        // One hour east of UTC, without summer time, so the local times below are fixed.
        qputenv("TZ", "XXX-1");
    }

    void seriesKeepsTheNewestWithinItsCapacity_data() {
        QTest::addColumn<int>("capacity");
        QTest::addColumn<int>("appended");
        QTest::addColumn<int>("gapAt");     // reading index appended right after markGap(), or -1
        QTest::addColumn<QString>("held");  // seconds of the readings held, oldest first, * = gap
        QTest::newRow("below capacity") << 5 << 3 << -1 << "0,1,2";
        QTest::newRow("exactly full") << 3 << 3 << -1 << "0,1,2";
        QTest::newRow("wrapped once") << 3 << 5 << -1 << "2,3,4";
        QTest::newRow("wrapped many times") << 4 << 11 << -1 << "7,8,9,10";
        QTest::newRow("gap marks the next reading only") << 5 << 5 << 2 << "0,1,*2,3,4";
        QTest::newRow("gap survives the wrap") << 3 << 6 << 4 << "3,*4,5";
    }
    void seriesKeepsTheNewestWithinItsCapacity() {
        QFETCH(int, capacity);
        QFETCH(int, appended);
        QFETCH(int, gapAt);
        QFETCH(QString, held);
        MonitorSeries s(static_cast<std::size_t>(capacity));
        for (int i = 0; i < appended; ++i) {
            if (i == gapAt) {
                s.markGap();
            }
            s.append(reading(kNoon + i * 1000, 14.0f, 5.0f));
        }
        QStringList got;
        for (std::size_t k = 0; k < s.size(); ++k) {
            got << QString(s.at(k).gapBefore ? "*" : "") +
                       QString::number((s.at(k).msecs - kNoon) / 1000);
        }
        QCOMPARE(got.join(','), held);
        QVERIFY(s.size() <= s.capacity());
        // The first reading at or after a time, found across the ring's seam.
        const qint64 oldest = s.at(0).msecs;
        QCOMPARE(s.firstAtOrAfter(oldest - 1), std::size_t(0));
        QCOMPARE(s.firstAtOrAfter(s.last().msecs), s.size() - 1);
        QCOMPARE(s.firstAtOrAfter(s.last().msecs + 1), s.size());
        QVERIFY_THROWS_EXCEPTION(std::out_of_range, s.at(s.size()));
    }

    void fileHoldsEveryLineAsItIsWritten() {
        QCOMPARE(MonitorFileName(QDateTime(QDate(2026, 11, 3), QTime(9, 5, 7))),
                 QString("ZUN-Monitor-261103-090507.csv"));
        QTemporaryDir dir;
        const QString path = dir.filePath("m.csv");
        MonitorRecorder rec;
        QString error;
        QVERIFY2(rec.start(path, &error), qPrintable(error));
        QVERIFY(rec.append(reading(kNoon + 1000, 14.25f, 8.04f), &error));
        QVERIFY(rec.append(reading(kNoon + 61000, -0.04f, 0.0f, true), &error));
        // Read while the recorder still holds the file: nothing waits in a buffer.
        QFile f(path);
        QVERIFY(f.open(QIODevice::ReadOnly));
        QCOMPARE(
            QString::fromUtf8(f.readAll()),
            QString("time,chr volt,chr curr,bat1 volt,bat1 curr,bat2 volt,bat2 curr,note\r\n"
                    "2026-11-23T13:00:01+01:00,14.3,8.0,14.15,4.02,14.05,2.01,\r\n"
                    "2026-11-23T13:01:01+01:00,0.0,0.0,-0.14,0.00,-0.24,0.00,reconnected\r\n"));
        QCOMPARE(rec.lines(), qint64(2));
        QCOMPARE(MonitorTimeText(kNoon - 3600 * 1000), QString("2026-11-23T12:00:00+01:00"));
    }

    void aFailedWriteStopsTheRecordingWithItsReason() {
        if (!QFile::exists("/dev/full")) {
            QSKIP("no /dev/full here");
        }
        MonitorRecorder rec;
        QString error;
        QVERIFY(!rec.start("/dev/full", &error));
        QVERIFY2(error.contains("space", Qt::CaseInsensitive), qPrintable(error));
        QVERIFY(!rec.recording());
        QVERIFY(!rec.append(reading(kNoon, 14.0f, 5.0f), &error));
        QTemporaryDir dir;
        QVERIFY(!rec.start(dir.filePath("no/such/folder/m.csv"), &error));
        QVERIFY(!error.isEmpty());
    }

    void chartBreaksItsCurvesWhereTheLineWasLost() {
        // Two stretches of an hour each with an hour without readings between them.
        MonitorSeries s;
        for (int i = 0; i <= 720; ++i) {
            s.append(reading(kNoon + i * 5000LL, 14.0f + (i % 50) * 0.01f, 6.0f));
        }
        s.markGap();
        for (int i = 1440; i <= 2160; ++i) {
            s.append(reading(kNoon + i * 5000LL, 13.5f, 3.0f));
        }
        const QSize size(900, 400);
        const QImage img =
            RenderMonitorImage(s, {kNoon + 3 * 3600 * 1000LL, 3 * 3600 * 1000LL}, size);
        // The plot spans 14 mm to width - 14 mm at 96 dpi; thirds of it are the three hours.
        const double left = 14 * 96 / 25.4, width = size.width() - 2 * left;
        const int third = int(width / 3);
        const int a = int(left) + 4, b = int(left + third) + 6, c = int(left + 2 * third) + 4;
        for (int curve = 0; curve < 4; ++curve) {
            const QRgb colour = kMonitorColours[curve];
            QVERIFY2(countColour(img, colour, a, a + third - 8) > 50,
                     qPrintable(QString::number(curve)));
            QCOMPARE(countColour(img, colour, b, b + third - 12), 0);
            QVERIFY(countColour(img, colour, c, c + third - 8) > 50);
        }
        // Nothing recorded in the view: the frame and its message, no curve.
        const QImage empty = RenderMonitorImage(MonitorSeries(), {kNoon, 3600 * 1000LL}, size);
        QCOMPARE(countColour(empty, kMonitorColours[2], int(left), size.width() - int(left)), 0);
    }

    void timeAxisStepsStayFewAndRound_data() {
        QTest::addColumn<qint64>("span");
        QTest::addColumn<qint64>("step");
        const qint64 m = 60 * 1000;
        QTest::newRow("5 min") << 5 * m << m;
        QTest::newRow("1 h") << 60 * m << 10 * m;
        QTest::newRow("3 h") << 180 * m << 30 * m;
        QTest::newRow("24 h") << 1440 * m << 180 * m;
        QTest::newRow("a week") << 7 * 1440 * m << 1440 * m;
    }
    void timeAxisStepsStayFewAndRound() {
        QFETCH(qint64, span);
        QFETCH(qint64, step);
        QCOMPARE(MonitorTimeStep(span), step);
    }

    void lineTraceKeepsTheLastFrames() {
        using namespace zun::link;
        LineTrace trace(3);
        trace.recordAt(5, true, QByteArray::fromHex("850357AA000D"));
        trace.recordAt(130, false, QByteArray::fromHex("850667064A0000BD0D"));
        trace.recordAt(300, true, QByteArray::fromHex("850358AA000D"));
        trace.recordAt(520, false, QByteArray());
        QCOMPARE(trace.size(), std::size_t(3));
        QCOMPARE(trace.dropped(), qint64(1));
        QCOMPARE(trace.text(), QString("(1 earlier frames not kept)\n"
                                       "[     130 ms] < 850667064A0000BD0D\n"
                                       "[     300 ms] > 850358AA000D\n"
                                       "[     520 ms] < (no reply)\n"));
        trace.record(true, "850350aa000d");
        QCOMPARE(QString::fromLatin1(trace.at(2).bytes.toHex()).toUpper(), QString("850350AA000D"));
    }
};

int main(int argc, char** argv) {
    QGuiApplication app(argc, argv);
    MonitorTest t;
    return QTest::qExec(&t, argc, argv);
}

#include "test_monitor.moc"
