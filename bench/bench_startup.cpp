// Start-up of the window against the virtual charger on a paced pty: time to the first paint of
// the main window, time until the connection step has filled the pages, and peak RSS.
//   QT_QPA_PLATFORM=offscreen bench_startup [--repeat K]
#include "app/frm_main.h"
#include "bench_util.h"
#include "sim/pty_host.h"
#include "sim/virtual_charger.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QEvent>
#include <QTemporaryDir>
#include <QTimer>

#include <cstdio>

namespace {

class FirstPaint : public QObject {
public:
    QElapsedTimer* clock = nullptr;
    qint64 at = -1;

protected:
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Paint && at < 0) {
            at = clock->nsecsElapsed();
        }
        return false;
    }
};

}  // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    const int repeat = bench::option(app.arguments(), "--repeat", "3").toInt();
    std::vector<double> paintMs;
    std::vector<double> connectedMs;
    for (int i = 0; i < repeat; ++i) {
        QTemporaryDir langDir;
        zun::app::StartOptions options;
        options.systemDevices = false;
        options.languageFolders = zun::lang::LanguageFolders{langDir.path(), {}, {}};
        QElapsedTimer clock;
        clock.start();
        // As zun --demo composes it: the charger's pty is the first port.
        zun::sim::VirtualCharger charger;
        zun::sim::PtyHost host(charger);
        host.start();
        options.devices = {host.devicePath()};
        zun::app::FrmMain window(options);
        FirstPaint paint;
        paint.clock = &clock;
        window.installEventFilter(&paint);
        window.show();
        QTimer::singleShot(0, &window, [&window] { window.Form_Load(); });
        while (!window.loaded()) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
        }
        connectedMs.push_back(clock.nsecsElapsed() / 1e6);
        paintMs.push_back(paint.at < 0 ? -1.0 : paint.at / 1e6);
    }
    std::printf("start-up to first paint: %.1f ms (median of %d)\n", bench::median(paintMs),
                repeat);
    std::printf("start-up to connected, pages filled (9600-baud pty): %.1f ms (median of %d)\n",
                bench::median(connectedMs), repeat);
    std::printf("peak RSS: %.1f MiB\n", bench::peakRssMiB());
    return 0;
}
