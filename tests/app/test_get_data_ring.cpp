#include "test_get_data_support.h"

#include <QElapsedTimer>
#include <QtTest>

using namespace zun;
using namespace getdata_test;

// The full ring costs one exchange per ten records (about 0.2 s each by the stall rule), so
// it has an executable of its own.
class TestGetDataRing : public QObject {
    Q_OBJECT
private slots:
    void wrappedRing_data();
    void wrappedRing();
};

void TestGetDataRing::wrappedRing_data() {
    QTest::addColumn<int>("pointer");
    QTest::addColumn<QString>("firstBlock");
    QTest::addColumn<QString>("lastOfFirstRange");
    QTest::addColumn<QString>("lastBlock");
    QTest::addColumn<int>("rows");
    QTest::addColumn<QString>("progress");
    // Slot N + 1 is never read and slot N is: 4,319 of the 4,320 records.
    QTest::newRow("pointer 5") << 5 << "850678AA000700100D"
                               << "850678AA10DD10DF0D"
                               << "850678AA000000050D" << 4319 << "Download: 99% finished";
}

void TestGetDataRing::wrappedRing() {
    QFETCH(int, pointer);
    QFETCH(QString, firstBlock);
    QFETCH(QString, lastOfFirstRange);
    QFETCH(QString, lastBlock);
    QFETCH(int, rows);
    QFETCH(QString, progress);

    Charger c;
    const sim::ChargeLog log = sim::ChargeLog::Wrapped(pointer);
    c.charger.setLog(log);
    auto w = startWindow({c.device()});
    app::GetDataPage* page = w->getDataPage();
    c.charger.clearRequests();

    QElapsedTimer clock;
    clock.start();
    page->CmdGetOK_Click(2);
    qInfo("full ring over the pty without pacing: %.1f s", clock.elapsed() / 1000.0);

    const QStringList frames = c.charger.requests();
    const int firstRangeBlocks = (4319 - (pointer + 2)) / 10 + 1;
    QCOMPARE(frames.size(), 1 + firstRangeBlocks + (pointer / 10 + 1));
    QCOMPARE(frames.at(0), QStringLiteral("850375AA000D"));
    QCOMPARE(frames.at(1), firstBlock);
    QCOMPARE(frames.at(firstRangeBlocks), lastOfFirstRange);
    QCOMPARE(frames.last(), lastBlock);

    const auto& t = page->logTable();
    QCOMPARE(t.recordCount(), rows);
    QCOMPARE(t.cell(1, 0), QStringLiteral("0001"));
    QCOMPARE(t.cell(rows, 0), QString::number(rows));
    // Row j holds slot N + 1 + j in the first range, then slots 0..N.
    const int inFirst = 4320 - (pointer + 2);
    for (int j : {1, 2, inFirst, inFirst + 1, rows}) {
        const int slot = j <= inFirst ? pointer + 1 + j : j - inFirst - 1;
        QCOMPARE(rowCells(t, j).mid(1), valueCells(log.at(slot)));
    }
    QCOMPARE(page->LabDownDisp->text(), progress);
    QCOMPARE(page->TxtRow[0]->text(), QStringLiteral("0001"));
    QCOMPARE(page->TxtRow[1]->text(), QString::number(rows));
    QVERIFY(page->CmdGetSave->isEnabled());
    QVERIFY(page->CmdPrint->isEnabled());
    QVERIFY(page->PP->showsLog());
    QCOMPARE(page->chargeAh().size(), size_t(rows + 1));
}

QTEST_MAIN(TestGetDataRing)
#include "test_get_data_ring.moc"
