// Log download over the paced pseudo-terminal, against the protocol floor. Prints figures.
#include "bench_util.h"
#include "datalog/log_download.h"
#include "link/serial_link.h"
#include "sim/charge_log.h"
#include "sim/pty_host.h"
#include "sim/virtual_charger.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <cstdio>

using namespace zun;

namespace {

// Per exchange: request and reply on the wire at ten bits a byte, plus the 19 pauses of 0.01 s
// that the 20-poll rule costs after the last byte.
constexpr double kBitsPerByte = 10.0;
constexpr double kBaud = 9600.0;
constexpr double kPollRule = 0.19;

}  // namespace

namespace {

struct Run {
    double seconds = 0.0;
    double wire = 0.0;     // request and reply bytes at ten bits a byte
    double floor = 0.0;    // wire time plus the 20-poll rule per exchange
    double replies = 0.0;  // the replies alone: the pty hands the tool's requests over at once
    int exchanges = 0;
    qint64 bytes = 0;
    size_t rows = 0;
    bool sound = false;
};

Run download(link::SerialLink& serial, bool fast) {
    Run run;
    serial.setFastMode(fast);
    serial.trace = [&run](bool sent, const QString& hex) {
        const qint64 n = hex.size() / 2;
        run.bytes += n;
        run.wire += n * kBitsPerByte / kBaud;
        run.floor += n * kBitsPerByte / kBaud;
        if (sent) {
            ++run.exchanges;
            run.floor += kPollRule;
        } else {
            run.replies += n * kBitsPerByte / kBaud;
        }
    };
    QElapsedTimer t;
    t.start();
    const datalog::DownloadResult r = datalog::DownloadLog(serial);
    run.seconds = t.nsecsElapsed() / 1e9;
    run.rows = r.rows.size();
    run.sound = r.sound();
    serial.trace = nullptr;
    return run;
}

void show(const char* name, const Run& r) {
    std::printf(
        "%-8s %zu rows (%s), %d exchanges, %lld bytes: %.3f s; wire %.3f s (x%.4f), replies "
        "alone %.3f s (x%.4f); protocol floor %.3f s (x%.4f)\n",
        name, r.rows, r.sound ? "sound" : "NOT sound", r.exchanges, static_cast<long long>(r.bytes),
        r.seconds, r.wire, r.wire > 0 ? r.seconds / r.wire : 0.0, r.replies,
        r.replies > 0 ? r.seconds / r.replies : 0.0, r.floor,
        r.floor > 0 ? r.seconds / r.floor : 0.0);
    std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    const int records = bench::option(args, "--records", "4320").toInt();
    const bool wrapped = records >= sim::ChargeLog::kSlots;
    const int pointer = bench::option(args, "--pointer", "1000").toInt();
    // default, fast, or both one after the other on the same line
    const QString mode = bench::option(args, "--mode", "both");

    sim::VirtualCharger charger;
    charger.setLog(wrapped ? sim::ChargeLog::Wrapped(pointer) : sim::ChargeLog::Unwrapped(records));
    sim::PtyHost host(charger);
    QString error;
    if (!host.start(&error)) {
        std::printf("pty host did not start: %s\n", qPrintable(error));
        return 1;
    }
    link::SerialLink serial;
    serial.setDevice(host.devicePath());
    if (!serial.open()) {
        std::printf("cannot open %s: %s\n", qPrintable(host.devicePath()),
                    qPrintable(serial.lastError()));
        return 1;
    }

    std::printf("download of %d records (%s ring) over %s at 9600 baud, mode %s...\n",
                wrapped ? 4319 : records, wrapped ? "wrapped" : "unwrapped",
                qPrintable(host.devicePath()), qPrintable(mode));
    std::fflush(stdout);
    Run slow;
    Run fast;
    if (mode != QLatin1String("fast")) {
        slow = download(serial, false);
        show("default", slow);
    }
    if (mode != QLatin1String("default")) {
        fast = download(serial, true);
        show("fast", fast);
    }
    if (slow.seconds > 0 && fast.seconds > 0) {
        std::printf("default / fast: %.2f\n", slow.seconds / fast.seconds);
    }
    std::printf("peak RSS: %.1f MiB\n", bench::peakRssMiB());
    serial.close();
    host.stop();
    return 0;
}
