#include "fileio/save_file.h"
#include "link/build_info.h"
#include "sim/charge_log.h"
#include "sim/pty_host.h"
#include "sim/virtual_charger.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <mutex>

using zun::sim::ChargeLog;
using zun::sim::Faults;
using zun::sim::PtyHost;
using zun::sim::VirtualCharger;

namespace {

bool readNumber(const QCommandLineParser& parser, const QString& name, qint64 low, qint64 high,
                qint64& value) {
    if (!parser.isSet(name)) {
        return true;
    }
    bool ok = false;
    value = parser.value(name).toLongLong(&ok);
    if (!ok || value < low || value > high) {
        fprintf(stderr, "zun-sim: --%s wants a number from %lld to %lld\n", qPrintable(name), low,
                high);
        return false;
    }
    return true;
}

// Every option of zun-sim, with its help text.
QList<QCommandLineOption> simOptions() {
    return {
        {QStringLiteral("link"), QStringLiteral("Make a symbolic link PATH to the device."),
         QStringLiteral("PATH")},
        {QStringLiteral("model"), QStringLiteral("Model code (default 3110)."),
         QStringLiteral("CODE")},
        {QStringLiteral("runtime"), QStringLiteral("Total run time in minutes (default 18950)."),
         QStringLiteral("MINUTES")},
        {QStringLiteral("no-pacing"), QStringLiteral("Send replies at once, not at 9600 baud.")},
        {QStringLiteral("log-records"),
         QStringLiteral("Records in the data log, not wrapped (default 144)."),
         QStringLiteral("N")},
        {QStringLiteral("wrapped"), QStringLiteral("A full, wrapped data log (see --pointer).")},
        {QStringLiteral("pointer"), QStringLiteral("Next slot of the wrapped log (default 0)."),
         QStringLiteral("N")},
        {QStringLiteral("silent"), QStringLiteral("Never answer.")},
        {QStringLiteral("drop-every"), QStringLiteral("Swallow every N-th reply."),
         QStringLiteral("N")},
        {QStringLiteral("wrong-ack"),
         QStringLiteral("Acknowledge writes with status 00 instead of 01.")},
        {QStringLiteral("wrong-ack-for"),
         QStringLiteral("Wrong acknowledgement for this write command only (hex, e.g. 53)."),
         QStringLiteral("CMD")},
        {QStringLiteral("truncate"), QStringLiteral("Cut every reply to N bytes."),
         QStringLiteral("N")},
        {QStringLiteral("garbage"), QStringLiteral("Send stray bytes before and after replies.")},
        {QStringLiteral("delay-ms"), QStringLiteral("Pause before the first byte of every reply."),
         QStringLiteral("N")},
        {QStringLiteral("no-pointer"),
         QStringLiteral("Ignore the log pointer request, as old firmware does.")},
        {QStringLiteral("stray"), QStringLiteral("Send three stray bytes before replies.")},
        {QStringLiteral("endless"),
         QStringLiteral("After a reply, keep sending (until the next request), as a device in a "
                        "loop does.")},
        {QStringLiteral("bad-checksum"), QStringLiteral("Send replies with a wrong checksum.")},
        {QStringLiteral("other-reply"),
         QStringLiteral("Answer with the reply of another command.")},
        {QStringLiteral("vanish-at"),
         QStringLiteral("Let the port vanish after N bytes of a reply."), QStringLiteral("N")},
        {QStringLiteral("trickle-ms"),
         QStringLiteral("Send replies one byte every N ms instead of at 9600 baud."),
         QStringLiteral("N")},
        {QStringLiteral("faults-for"),
         QStringLiteral(
             "Limit --truncate, --garbage, --stray, --endless, --bad-checksum, "
             "--other-reply, --vanish-at and --trickle-ms to these commands (hex, e.g. 50,78)."),
         QStringLiteral("CMDS")},
        {QStringLiteral("record"), QStringLiteral("Append every request frame as a hex line."),
         QStringLiteral("FILE")},
        {QStringLiteral("moving-live"),
         QStringLiteral("Live readings follow a charge, SCALE seconds of charge per second "
                        "(60: an hour a minute)."),
         QStringLiteral("SCALE")},
    };
}

// The charger as the options describe it; false (with a message on stderr) for a value out of
// range.
bool configure(const QCommandLineParser& parser, VirtualCharger& charger) {
    qint64 model = VirtualCharger::kDefaultModel;
    qint64 runTime = VirtualCharger::kDefaultRunTimeMinutes;
    qint64 records = 144;
    qint64 pointer = 0;
    qint64 dropEvery = 0;
    qint64 truncateTo = -1;
    qint64 delayMs = 0;
    qint64 wrongFor = 0;
    qint64 vanishAt = -1;
    qint64 trickleMs = 0;
    if (!readNumber(parser, QStringLiteral("model"), 0, 0xFFFF, model) ||
        !readNumber(parser, QStringLiteral("runtime"), 0, 0xFFFFFFFFLL, runTime) ||
        !readNumber(parser, QStringLiteral("log-records"), 0, ChargeLog::kSlots, records) ||
        !readNumber(parser, QStringLiteral("pointer"), 0, ChargeLog::kSlots - 1, pointer) ||
        !readNumber(parser, QStringLiteral("drop-every"), 0, 1000000, dropEvery) ||
        !readNumber(parser, QStringLiteral("truncate"), 0, 1000000, truncateTo) ||
        !readNumber(parser, QStringLiteral("delay-ms"), 0, 60000, delayMs) ||
        !readNumber(parser, QStringLiteral("vanish-at"), 0, 1000000, vanishAt) ||
        !readNumber(parser, QStringLiteral("trickle-ms"), 0, 10000, trickleMs)) {
        return false;
    }
    if (parser.isSet(QStringLiteral("wrong-ack-for"))) {
        bool ok = false;
        wrongFor = parser.value(QStringLiteral("wrong-ack-for")).toInt(&ok, 16);
        if (!ok || wrongFor < 0x51 || wrongFor > 0x55) {
            fprintf(stderr, "zun-sim: --wrong-ack-for wants a write command from 51 to 55\n");
            return false;
        }
    }

    QList<quint8> onlyFor;
    if (parser.isSet(QStringLiteral("faults-for"))) {
        for (const QString& text : parser.value(QStringLiteral("faults-for")).split(',')) {
            bool ok = false;
            const int command = text.trimmed().toInt(&ok, 16);
            if (!ok || command < 0x50 || command > 0x78) {
                fprintf(stderr, "zun-sim: --faults-for wants commands from 50 to 78 (hex)\n");
                return false;
            }
            onlyFor.append(quint8(command));
        }
    }

    charger.setModelCode(quint16(model));
    charger.setRunTimeMinutes(quint32(runTime));
    charger.setLog(parser.isSet(QStringLiteral("wrapped")) ? ChargeLog::Wrapped(int(pointer))
                                                           : ChargeLog::Unwrapped(int(records)));
    Faults faults;
    faults.silent = parser.isSet(QStringLiteral("silent"));
    faults.dropEvery = int(dropEvery);
    faults.wrongAck = parser.isSet(QStringLiteral("wrong-ack")) || wrongFor != 0;
    faults.wrongAckCommand = quint8(wrongFor);
    faults.truncateTo = int(truncateTo);
    if (parser.isSet(QStringLiteral("garbage"))) {
        faults.garbageBefore = QByteArray("\x00\xFF\x13", 3);
        faults.garbageAfter = QByteArray("\x85\x11", 2);
    }
    if (parser.isSet(QStringLiteral("stray"))) {
        faults.garbageBefore = QByteArray("\x00\xFF\x13", 3);
    }
    faults.onlyFor = onlyFor;
    faults.endless = parser.isSet(QStringLiteral("endless"));
    faults.badChecksum = parser.isSet(QStringLiteral("bad-checksum"));
    faults.otherReply = parser.isSet(QStringLiteral("other-reply"));
    faults.vanishAt = int(vanishAt);
    faults.trickleMs = int(trickleMs);
    faults.firstByteDelayMs = int(delayMs);
    faults.ignorePointerRequest = parser.isSet(QStringLiteral("no-pointer"));
    charger.setFaults(faults);
    return true;
}

// --moving-live: false with a message for a scale that is not a positive number.
bool configureMovingLive(const QCommandLineParser& parser, VirtualCharger& charger) {
    if (parser.isSet(QStringLiteral("moving-live"))) {
        bool ok = false;
        const double scale = parser.value(QStringLiteral("moving-live")).toDouble(&ok);
        if (!ok || scale <= 0) {
            fprintf(stderr, "zun-sim: --moving-live wants a positive number\n");
            return false;
        }
        charger.setMovingLive(scale);
    }

    return true;
}

// --record: every request frame appended as a hex line. A failed write (full disk, size limit)
// ends the recording with one message; the charger goes on serving.
bool startRecording(const QCommandLineParser& parser, VirtualCharger& charger, QFile& record,
                    std::atomic<bool>& recording) {
    if (parser.isSet(QStringLiteral("record"))) {
        record.setFileName(parser.value(QStringLiteral("record")));
        if (!record.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Text)) {
            fprintf(stderr, "zun-sim: cannot open %s: %s\n", qPrintable(record.fileName()),
                    qPrintable(record.errorString()));
            return false;
        }
        charger.setRequestListener([&record, &recording](const QString& frame) {
            if (!recording) {
                return;
            }
            const QByteArray line = frame.toLatin1() + '\n';
            errno = 0;
            if (record.write(line) != line.size() || !record.flush()) {
                recording = false;
                const int cause = errno;
                fprintf(stderr,
                        "zun-sim: cannot record to %s: %s; requests are no longer recorded\n",
                        qPrintable(record.fileName()),
                        qPrintable(zun::fileio::WriteFailureReason(record.fileName(), cause,
                                                                   record.errorString())));
            }
        });
    }

    return true;
}

// Serves until SIGINT or SIGTERM; SIGUSR1 lets the device vanish and, the next time, return.
int serve(PtyHost& host, const sigset_t& stopSignals) {
    QString error;
    int signal = 0;
    while (sigwait(&stopSignals, &signal) == 0 && signal == SIGUSR1) {
        if (host.isRunning()) {
            host.vanish();
            continue;
        }
        if (!host.comeBack(&error)) {
            fprintf(stderr, "zun-sim: %s\n", qPrintable(error));
            return 1;
        }
        printf("%s\n", qPrintable(host.devicePath()));
        fflush(stdout);
    }
    host.stop();
    return 0;
}

}  // namespace

int main(int argc, char* argv[]) {
#ifdef SIGXFSZ
    // Under a file size limit a write must fail with its message, not end the program.
    std::signal(SIGXFSZ, SIG_IGN);
#endif
    // The stop signals are taken by sigwait at the end; blocked before any thread exists, so
    // that every thread inherits the mask and none of them dies of them.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    // SIGUSR1 pulls the adapter out, the next one plugs it in again.
    sigaddset(&stopSignals, SIGUSR1);
    // A shell starts background jobs with SIGINT ignored, and an ignored signal never reaches
    // sigwait.
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);

    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("zun-sim"));
    QCoreApplication::setApplicationVersion(zun::link::BuildInfo::versionLine());

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Virtual charger on a pseudo-terminal. Prints the device path, serves until SIGINT or "
        "SIGTERM. SIGUSR1 lets the device vanish, the next SIGUSR1 brings it back (under the "
        "same --link name) and prints the new device path."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addOptions(simOptions());
    parser.process(app);

    if (!parser.positionalArguments().isEmpty()) {
        fprintf(stderr, "zun-sim: unexpected argument %s\n",
                qPrintable(parser.positionalArguments().first()));
        return 2;
    }
    VirtualCharger charger;
    if (!configure(parser, charger) || !configureMovingLive(parser, charger)) {
        return 2;
    }
    QFile record;
    std::atomic<bool> recording = true;
    if (!startRecording(parser, charger, record, recording)) {
        return 1;
    }

    PtyHost host(charger);
    host.setPacing(!parser.isSet(QStringLiteral("no-pacing")));
    QString error;
    if (!host.start(&error)) {
        fprintf(stderr, "zun-sim: %s\n", qPrintable(error));
        return 1;
    }
    if (parser.isSet(QStringLiteral("link")) &&
        !host.createLink(parser.value(QStringLiteral("link")), &error)) {
        fprintf(stderr, "zun-sim: %s\n", qPrintable(error));
        return 1;
    }
    printf("%s\n", qPrintable(host.devicePath()));
    fflush(stdout);

    return serve(host, stopSignals);
}
