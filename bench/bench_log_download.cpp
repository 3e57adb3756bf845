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

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    const int records = bench::option(args, "--records", "4320").toInt();
    const bool wrapped = records >= sim::ChargeLog::kSlots;
    const int pointer = bench::option(args, "--pointer", "1000").toInt();

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

    int exchanges = 0;
    qint64 bytes = 0;
    double floor = 0.0;
    serial.trace = [&](bool sent, const QString& hex) {
        const qint64 n = hex.size() / 2;
        bytes += n;
        if (sent) {
            ++exchanges;
            floor += kPollRule + n * kBitsPerByte / kBaud;
        } else {
            floor += n * kBitsPerByte / kBaud;
        }
    };

    std::printf("download of %d records (%s ring) over %s at 9600 baud...\n",
                wrapped ? 4319 : records, wrapped ? "wrapped" : "unwrapped",
                qPrintable(host.devicePath()));
    std::fflush(stdout);
    QElapsedTimer t;
    t.start();
    const datalog::DownloadResult r = datalog::DownloadLog(serial);
    const double seconds = t.nsecsElapsed() / 1e9;

    std::printf("rows: %zu, exchanges: %d, skipped blocks: %d, bytes on the line: %lld\n",
                r.rows.size(), exchanges, r.blocksSkipped, static_cast<long long>(bytes));
    std::printf("download: %.3f s, protocol floor %.3f s, ratio %.4f\n", seconds, floor,
                floor > 0 ? seconds / floor : 0.0);
    std::printf("peak RSS: %.1f MiB\n", bench::peakRssMiB());
    serial.close();
    host.stop();
    return 0;
}
