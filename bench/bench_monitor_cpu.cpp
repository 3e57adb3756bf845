// The window's CPU while its monitor polls the virtual charger at 1 s over the paced pty: the
// main thread's CPU time in total, inside the exchanges and between them. Prints figures;
// asserts nothing.
#include "app/frm_main.h"
#include "app/get_data_page.h"
#include "app/monitor_panel.h"
#include "bench_util.h"
#include "sim/pty_host.h"
#include "sim/virtual_charger.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTimer>

#include <cstdio>
#include <ctime>

namespace {

// CPU time of the calling thread only: the pty host's thread is the charger, not the window.
double threadCpuMs() {
    timespec ts{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return ts.tv_sec * 1000.0 + ts.tv_nsec / 1e6;
}

}  // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QApplication app(argc, argv);
    const int seconds = bench::option(app.arguments(), "--seconds", "30").toInt();

    zun::sim::VirtualCharger charger;
    charger.setMovingLive(60.0);
    zun::sim::PtyHost host(charger);
    if (!host.start()) {
        std::fprintf(stderr, "no pty\n");
        return 1;
    }
    QTemporaryDir scratch;
    zun::app::StartOptions options;
    options.devices = {host.devicePath()};
    options.systemDevices = false;
    options.languageFolders = zun::lang::LanguageFolders{scratch.path(), {}, {}};
    zun::app::FrmMain window(options);
    window.show();
    window.Form_Load();
    window.Tab1->setCurrentIndex(1);
    zun::app::MonitorPanel* monitor = window.getDataPage()->Monitor;

    double busyCpu = 0.0;
    qint64 busyWall = 0;
    double cpuAtStart = 0.0;
    QElapsedTimer busyClock;
    QObject::connect(&window.session(), &zun::session::ChargerSession::busyChanged, [&](bool busy) {
        if (busy) {
            cpuAtStart = threadCpuMs();
            busyClock.start();
        } else {
            busyCpu += threadCpuMs() - cpuAtStart;
            busyWall += busyClock.elapsed();
        }
    });
    monitor->TxtMonitorInterval->setValue(1);
    const double cpu0 = threadCpuMs();
    QElapsedTimer wall;
    wall.start();
    monitor->ChkMonitor->click();
    QTimer::singleShot(seconds * 1000, &app, &QApplication::quit);
    app.exec();
    const double cpu = threadCpuMs() - cpu0;
    const qint64 ms = wall.elapsed();
    const double idleCpu = cpu - busyCpu;
    const qint64 idleWall = ms - busyWall;
    std::printf(
        "monitor at 1 s for %.1f s: %zu readings; window main thread CPU %.1f ms (%.2f%% of "
        "one core)\n",
        ms / 1000.0, monitor->series().size(), cpu, 100.0 * cpu / double(ms));
    std::printf("  in the polls: %.1f ms CPU over %.1f s of exchanges (%.2f%%)\n", busyCpu,
                busyWall / 1000.0, busyWall > 0 ? 100.0 * busyCpu / double(busyWall) : 0.0);
    std::printf("  between polls: %.1f ms CPU over %.1f s (%.3f%% of one core)\n", idleCpu,
                idleWall / 1000.0, idleWall > 0 ? 100.0 * idleCpu / double(idleWall) : 0.0);
    std::printf("  peak RSS %.1f MiB\n", bench::peakRssMiB());
    return 0;
}
