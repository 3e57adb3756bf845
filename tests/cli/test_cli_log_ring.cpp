#include "cli_e2e_support.h"
#include "datalog/log_csv.h"
#include "datalog/log_download.h"
#include "datalog/log_finish.h"
#include "datalog/log_table_model.h"
#include "sim/charge_log.h"
#include "sim/loopback_exchange.h"

#include <QTemporaryDir>
#include <QtTest>

using namespace zun;

// A full ring costs one exchange per ten records, a minute and a half by the 20-poll rule.
class TestCliLogRing : public QObject {
    Q_OBJECT
private slots:
    void wrappedRingSavesTheWindowsCsv();
};

void TestCliLogRing::wrappedRingSavesTheWindowsCsv() {
    QTemporaryDir dir;
    e2e::Sim sim(3110);
    sim.charger.setLog(sim::ChargeLog::Wrapped(1234));
    const QString path = dir.filePath("ring.csv");
    const QDateTime before = QDateTime::currentDateTime();
    const e2e::Run r = e2e::zunctl(
        {"--port", sim.device(), "log", "-o", path, "--desc", "  workshop 3  "}, 600000);
    const QDateTime after = QDateTime::currentDateTime();
    QVERIFY2(r.code == 0, qPrintable(r.all()));
    QCOMPARE(r.out, "4319 records downloaded; records 0001 to 4319 saved to " + path + "\n");
    QVERIFY2(r.err.contains("4319/4320 records"), qPrintable(r.err.right(300)));
    QFile file(path);
    const QByteArray written = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();

    // The same download saved as the Get Data page saves it; the time line is the clock when
    // the download ended, so one of the two instants around the run gives the same file.
    sim::LoopbackExchange loopback(sim.charger);
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
