#include "cli/invocation.h"
#include "link/build_info.h"

#include <QCoreApplication>
#include <QGuiApplication>

#include <csignal>
#include <cstdio>
#include <memory>

int main(int argc, char** argv) {
#ifdef SIGXFSZ
    // Under a file size limit a write must fail with its message, not end the program.
    std::signal(SIGXFSZ, SIG_IGN);
#endif
    QStringList arguments;
    for (int i = 1; i < argc; ++i) {
        arguments << QString::fromLocal8Bit(argv[i]);
    }
    // Answered before the parser, which would ask for a command; wherever it stands, as zun
    // and zun-sim do.
    if (arguments.contains(QStringLiteral("--version"))) {
        printf("zunctl %s\n", zun::link::BuildInfo::versionLine().toUtf8().constData());
        return zun::cli::kExitDone;
    }
    zun::cli::Invocation invocation;
    QString message;
    bool help = false;
    const int parsed = zun::cli::ParseCommandLine(arguments, invocation, &message, &help);
    if (help) {
        fputs(zun::cli::UsageText().toUtf8().constData(), stdout);
        return zun::cli::kExitDone;
    }
    if (parsed != zun::cli::kExitDone) {
        fprintf(stderr, "zunctl: %s (zunctl --help shows the usage)\n",
                message.toUtf8().constData());
        return parsed;
    }

    // Only the chart paints (fonts need the GUI side of Qt); it never shows a window.
    std::unique_ptr<QCoreApplication> app;
    if (invocation.command == QLatin1String("chart")) {
        if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
            qputenv("QT_QPA_PLATFORM", "offscreen");
        }
        app = std::make_unique<QGuiApplication>(argc, argv);
    } else {
        app = std::make_unique<QCoreApplication>(argc, argv);
    }
    QCoreApplication::setApplicationName(QStringLiteral("zunctl"));
    return zun::cli::RunCommand(invocation, stdout, stderr);
}
