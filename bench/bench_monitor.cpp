// The live monitor: redraw of a day of readings and the memory a week of them takes. Prints
// figures; asserts nothing.
#include "bench_util.h"
#include "datalog/monitor_chart.h"
#include "datalog/monitor_series.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QPainter>

#include <cmath>
#include <cstdio>
#include <ctime>

using namespace zun::datalog;

namespace {

MonitorSample chargeAt(qint64 msecs, int i) {
    const double phase = std::fmod(i / 720.0, 24.0);  // an hour per 720 readings at 5 s
    const float v =
        static_cast<float>(12.6 + 1.8 * std::min(1.0, phase / 6.0) + 0.02 * std::sin(i * 0.7));
    const float a = static_cast<float>(phase < 6 ? 10.0 : 10.0 * std::exp(-(phase - 6) / 2.0));
    return MonitorSample{msecs, v, a, v - 0.08f, a * 0.6f, v - 0.12f, a * 0.4f, false};
}

}  // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QGuiApplication app(argc, argv);
    const QStringList args = app.arguments();
    const int repeat = std::max(1, bench::option(args, "--repeat", "15").toInt());

    // A day at one reading every 5 s: 17,280 readings, drawn whole.
    const qint64 start = QDateTime::currentMSecsSinceEpoch();
    MonitorSeries day;
    const int readings = 24 * 3600 / 5;
    for (int i = 0; i < readings; ++i) {
        day.append(chargeAt(start + i * 5000LL, i));
    }
    const MonitorView view{start + (readings - 1) * 5000LL, 24 * 3600 * 1000LL};
    for (const QSize size : {QSize(1920, 1080), QSize(900, 500)}) {
        QImage image(size, QImage::Format_RGB32);
        std::vector<double> ms;
        std::vector<double> cpu;
        for (int r = 0; r < repeat; ++r) {
            QElapsedTimer t;
            t.start();
            const std::clock_t c0 = std::clock();
            QPainter p(&image);
            DrawMonitorChart(p, QRectF(QPointF(0, 0), QSizeF(size)), day, view);
            p.end();
            cpu.push_back(1000.0 * double(std::clock() - c0) / CLOCKS_PER_SEC);
            ms.push_back(t.nsecsElapsed() / 1e6);
        }
        // CPU time beside wall time: on a busy machine the wall figure also counts waiting.
        std::printf(
            "monitor chart redraw, %d readings at %dx%d: median %.2f ms wall, %.2f ms "
            "CPU (%d runs)\n",
            readings, size.width(), size.height(), bench::median(ms), bench::median(cpu), repeat);
    }

    // A week at one reading a second: the store's capacity, filled and then wrapped once more.
    const double before = bench::peakRssMiB();
    MonitorSeries week;
    const std::size_t n = MonitorSeries::kDefaultCapacity;
    for (std::size_t i = 0; i < n + 3600; ++i) {
        week.append(chargeAt(start + static_cast<qint64>(i) * 1000, static_cast<int>(i / 5)));
    }
    std::printf(
        "monitor store, a week at 1 s (%zu readings held of %zu taken): %.1f MiB "
        "(peak RSS %.1f MiB)\n",
        week.size(), n + 3600, bench::peakRssMiB() - before, bench::peakRssMiB());
    return 0;
}
