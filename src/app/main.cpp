#include "app/frm_main.h"
#include "link/build_info.h"

#ifdef ZUN_WITH_DEMO
#include "sim/pty_host.h"
#include "sim/virtual_charger.h"
#endif

#include <QApplication>
#include <QCommandLineParser>
#include <QTimer>

#include <csignal>

int main(int argc, char** argv) {
#ifdef SIGXFSZ
    // Under a file size limit a write must fail with its message, not end the program.
    std::signal(SIGXFSZ, SIG_IGN);
#endif
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("zun"));
    QApplication::setApplicationVersion(zun::link::BuildInfo::versionLine());

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Configures and monitors ZUN battery chargers over a serial line."));
    parser.addHelpOption();
    parser.addVersionOption();
    QCommandLineOption port(QStringLiteral("port"),
                            QStringLiteral("Serial device to list first (repeatable): Com1, Com2, "
                                           "... in the order given."),
                            QStringLiteral("DEVICE"));
    QCommandLineOption onlyGiven(QStringLiteral("only-given-ports"),
                                 QStringLiteral("Do not list the system's serial devices."));
    QCommandLineOption demo(
        QStringLiteral("demo"),
        QStringLiteral("Start a built-in virtual charger and list it as Com1."));
    parser.addOption(port);
    parser.addOption(onlyGiven);
    parser.addOption(demo);
    parser.process(app);

    zun::app::StartOptions options;
    options.devices = parser.values(port);
    options.systemDevices = !parser.isSet(onlyGiven);

#ifdef ZUN_WITH_DEMO
    // The demo charger is an ordinary serial device to the window: its pseudo-terminal comes
    // first in the list, as a --port would.
    zun::sim::VirtualCharger demoCharger;
    zun::sim::PtyHost demoHost(demoCharger);
    if (parser.isSet(demo)) {
        // The monitor has a charge to show: an hour of it a minute.
        demoCharger.setMovingLive(60.0);
        QString error;
        if (demoHost.start(&error)) {
            options.devices.prepend(demoHost.devicePath());
        } else {
            qWarning("virtual charger not started: %s", qPrintable(error));
        }
    }
#else
    if (parser.isSet(demo)) {
        qWarning("--demo needs a pseudo-terminal, which this system does not offer");
    }
#endif

    zun::app::FrmMain window(options);
    window.show();
    // The search runs with the window already on screen and responsive.
    QTimer::singleShot(0, &window, [&window] { window.Form_Load(); });
    return app.exec();
}
