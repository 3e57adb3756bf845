#include "datalog/log_download.h"
#include "sim/charge_log.h"
#include "sim/loopback_exchange.h"
#include "sim/virtual_charger.h"

#include <QtTest>

using namespace zun;
using datalog::LogRow;

namespace {

QString hundredths(quint16 v) {
    return QString::number(v / 100) + "." + QString::number(v % 100).rightJustified(2, '0');
}

QString rowText(const LogRow& row) {
    return QStringList(row.begin(), row.end()).join(',');
}

// The row the tool should show for a slot of the charger's log.
QString expectedRow(const QString& counter, const sim::LogRecord& r) {
    return counter + "," + hundredths(r.chargerVolts) + "," + hundredths(r.chargerAmps) + "," +
           hundredths(r.battery1Volts) + "," + hundredths(r.battery2Volts);
}

QString counterText(int n) {
    return QString::number(n).rightJustified(4, '0');
}

}  // namespace

// The download against the virtual charger's full protocol, through the loopback exchange.
class SimDownloadTest : public QObject {
    Q_OBJECT
private slots:
    void download_data();
    void download();
    void faults();
};

void SimDownloadTest::download_data() {
    QTest::addColumn<int>("records");  // 4320: a full ring
    QTest::addColumn<int>("pointer");  // next slot of a full ring
    QTest::addColumn<bool>("oldFirmware");
    QTest::newRow("empty log") << 0 << 0 << false;
    QTest::newRow("25 records") << 25 << 0 << false;
    QTest::newRow("one day") << 144 << 0 << false;
    QTest::newRow("full ring, pointer 5") << 4320 << 5 << false;
    QTest::newRow("full ring, pointer 4319") << 4320 << 4319 << false;
    QTest::newRow("full ring, pointer 0") << 4320 << 0 << false;
    QTest::newRow("streamed, one day") << 144 << 0 << true;
    QTest::newRow("streamed, 25 records") << 25 << 0 << true;
}

void SimDownloadTest::download() {
    QFETCH(int, records);
    QFETCH(int, pointer);
    QFETCH(bool, oldFirmware);
    sim::VirtualCharger charger;
    const bool wrapped = records >= sim::ChargeLog::kSlots;
    const sim::ChargeLog log =
        wrapped ? sim::ChargeLog::Wrapped(pointer) : sim::ChargeLog::Unwrapped(records);
    charger.setLog(log);
    charger.setRunTimeMinutes(quint32(records * 10 + 9));
    sim::Faults f;
    f.ignorePointerRequest = oldFirmware;
    charger.setFaults(f);
    sim::LoopbackExchange exchange(charger);
    exchange.setReadChunk(37);  // the streamed records arrive in uneven pieces

    const datalog::DownloadResult r = datalog::DownloadLog(exchange);
    QCOMPARE(r.streamed, oldFirmware);

    // A wrapped ring is read from slot N + 2 to the end, then from 0 up to N itself: slot N + 1
    // is left out and slot N, the oldest record, comes last.
    QStringList expected;
    if (wrapped) {
        QList<int> order;
        for (int s = pointer + 2; s < sim::ChargeLog::kSlots; ++s) {
            order << s;
        }
        for (int s = 0; s <= pointer; ++s) {
            order << s;
        }
        for (int i = 0; i < order.size(); ++i) {
            expected << expectedRow(counterText(i + 1), log.at(order[i]));
        }
        QCOMPARE(log.slotByAge(0), pointer);
    } else {
        for (int n = 0; n < records; ++n) {
            expected << expectedRow(counterText(n + 1), log.at(n));
        }
    }
    QStringList got;
    for (const LogRow& row : r.rows) {
        got << rowText(row);
    }
    QCOMPARE(got.size(), expected.size());
    for (int i = 0; i < got.size(); ++i) {
        QVERIFY2(got[i] == expected[i],
                 qPrintable(QString("row %1: %2, expected %3").arg(i).arg(got[i], expected[i])));
    }
    for (const QString& req : charger.requests()) {
        if (req.startsWith("850678AA")) {
            QVERIFY2(req.mid(12, 4).toInt(nullptr, 16) <= 4319, qPrintable(req));
        }
    }
}

void SimDownloadTest::faults() {
    // Every second reply lost: the pointer reply arrives, then blocks 0-9 and 20-24 go
    // unanswered; the counter runs on without a gap over the block that came.
    {
        sim::VirtualCharger charger;
        charger.setLog(sim::ChargeLog::Unwrapped(25));
        sim::Faults f;
        f.dropEvery = 2;
        charger.setFaults(f);
        sim::LoopbackExchange exchange(charger);
        const datalog::DownloadResult r = datalog::DownloadLog(exchange);
        QCOMPARE(r.blocksSkipped, 2);
        QCOMPARE(int(r.rows.size()), 10);
        QCOMPARE(rowText(r.rows.front()), expectedRow("0001", charger.log().at(10)));
        QCOMPARE(rowText(r.rows.back()), expectedRow("0010", charger.log().at(19)));
    }
    // Replies cut to 36 bytes: two whole records and the first 12 characters of a third, which
    // still makes a row with its battery fields empty.
    {
        sim::VirtualCharger charger;
        charger.setLog(sim::ChargeLog::Unwrapped(25));
        sim::Faults f;
        f.truncateTo = 36;
        charger.setFaults(f);
        sim::LoopbackExchange exchange(charger);
        const datalog::DownloadResult r = datalog::DownloadLog(exchange);
        QCOMPARE(int(r.rows.size()), 9);
        const sim::LogRecord third = charger.log().at(2);
        QCOMPARE(rowText(r.rows.at(2)), "0003," + hundredths(third.chargerVolts) + "," +
                                            hundredths(third.chargerAmps) + ",0.00,0.00");
        QCOMPARE(rowText(r.rows.at(3)), expectedRow("0004", charger.log().at(10)));
    }
    // A silent charger: nothing at all, and no block is asked for.
    {
        sim::VirtualCharger charger;
        sim::Faults f;
        f.silent = true;
        charger.setFaults(f);
        sim::LoopbackExchange exchange(charger);
        const datalog::DownloadResult r = datalog::DownloadLog(exchange);
        QVERIFY(r.streamed);
        QVERIFY(r.rows.empty());
        QCOMPARE(charger.requests(), (QStringList{"850375AA000D", "850357AA000D"}));
    }
}

int runSimDownloadTest(int argc, char** argv) {
    SimDownloadTest t;
    return QTest::qExec(&t, argc, argv);
}

#include "tst_sim_download.moc"
