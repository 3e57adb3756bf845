#include "cli/invocation.h"
#include "datalog/log_csv.h"
#include "datalog/log_download.h"
#include "datalog/log_finish.h"
#include "datalog/log_table_model.h"
#include "sim/charge_log.h"
#include "sim/loopback_exchange.h"
#include "sim/virtual_charger.h"

#include <QTemporaryDir>
#include <QtTest>

#include <cstdio>

using namespace zun;

namespace {

QString readBack(FILE* f) {
    fflush(f);
    rewind(f);
    QByteArray bytes;
    char buffer[4096];
    for (size_t n; (n = fread(buffer, 1, sizeof buffer, f)) > 0;) {
        bytes.append(buffer, qsizetype(n));
    }
    return QString::fromUtf8(bytes);
}

}  // namespace

// A full ring is 433 exchanges, a minute and a half by the 20-poll rule on a line; zunctl's log
// command runs in-process here against the charger, and test_cli_e2e keeps a download over a
// pty.
class TestCliLogRing : public QObject {
    Q_OBJECT
private slots:
    void wrappedRingSavesTheWindowsCsv();
};

void TestCliLogRing::wrappedRingSavesTheWindowsCsv() {
    QTemporaryDir dir;
    sim::VirtualCharger charger;
    charger.setLog(sim::ChargeLog::Wrapped(1234));
    const QString path = dir.filePath("ring.csv");

    cli::Invocation inv;
    QString message;
    bool help = false;
    QCOMPARE(
        cli::ParseCommandLine({"--port", "charger", "log", "-o", path, "--desc", "  workshop 3  "},
                              inv, &message, &help),
        int(cli::kExitDone));
    inv.port.exchange = [&charger] { return std::make_unique<sim::LoopbackExchange>(charger); };
    FILE* out = tmpfile();
    FILE* err = tmpfile();
    QVERIFY(out != nullptr && err != nullptr);
    const QDateTime before = QDateTime::currentDateTime();
    const int code = cli::RunCommand(inv, out, err);
    const QDateTime after = QDateTime::currentDateTime();
    const QString printed = readBack(out);
    const QString errors = readBack(err);
    fclose(out);
    fclose(err);
    QVERIFY2(code == 0, qPrintable(errors));
    QCOMPARE(printed, "4319 records downloaded; records 0001 to 4319 saved to " + path + "\n");
    QVERIFY2(errors.contains("4319/4320 records"), qPrintable(errors.right(300)));
    // The block requests: pointer, 432 blocks of the older range, one of the newer.
    QCOMPARE(charger.requests().filter(QRegularExpression("^850678AA")).size(), 433);
    QFile file(path);
    const QByteArray written = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();

    // The same download saved as the Get Data page saves it; the time line is the clock when
    // the download ended, so one of the two instants around the run gives the same file.
    sim::LoopbackExchange loopback(charger);
    datalog::LogTableModel table;
    table.setRows(datalog::DownloadLog(loopback).rows);
    QByteArray expected;
    for (const QDateTime& now : {before, after}) {
        const datalog::LogFinish f = datalog::FinishDownload(table, now);
        if (expected != written) {
            expected = datalog::BuildLogCsv(table, {f.labTime, "workshop 3", f.txtRow0, f.txtRow1});
        }
    }
    QCOMPARE(written.split('\n'), expected.split('\n'));
}

QTEST_GUILESS_MAIN(TestCliLogRing)
#include "test_cli_log_ring.moc"
