#include "test_get_data_support.h"

#include <QtTest>

using namespace zun;
using namespace getdata_test;

// The full ring costs one exchange per ten records, about 0.2 s each by the stall rule on a
// line: here the window talks to the charger in-process (test_app_get_data downloads over a
// pty).
class TestGetDataRing : public QObject {
    Q_OBJECT
private slots:
    void wrappedRing() {
        const sim::ChargeLog log = sim::ChargeLog::Wrapped(5);
        Rig rig(log, Line::InProcess);
        rig.charger.clearRequests();

        rig.page->CmdGetOK_Click(2);

        // Slots 7..4319 in 432 blocks of up to ten, then 0..5: slot 6 (N + 1) is never read.
        const QStringList f = rig.charger.requests();
        QCOMPARE(f.size(), 1 + 432 + 1);
        QCOMPARE((QStringList{f.at(0), f.at(1), f.at(432), f.at(433)}),
                 (QStringList{"850375AA000D", "850678AA000700100D", "850678AA10DD10DF0D",
                              "850678AA000000050D"}));
        // Grid row 1 holds the oldest slot read, rows 4,313 and 4,314 the ends of the two ranges.
        const auto& t = rig.page->logTable();
        QCOMPARE(t.recordCount(), 4319);
        for (auto [row, slot] : {std::pair{1, 7}, {2, 8}, {4313, 4319}, {4314, 0}, {4319, 5}}) {
            QCOMPARE(rowCells(t, row), expectedRow(row, log.at(slot)));
        }
        QCOMPARE(rig.page->LabDownDisp->text(), QStringLiteral("Download: 99% finished"));
        QCOMPARE(rig.page->TxtRow[0]->text() + ".." + rig.page->TxtRow[1]->text(),
                 QStringLiteral("0001..4319"));
        QVERIFY(rig.page->CmdGetSave->isEnabled() && rig.page->CmdPrint->isEnabled());
        QCOMPARE(rig.page->chargeAh().size(), size_t(4320));
    }
};

QTEST_MAIN(TestGetDataRing)
#include "test_get_data_ring.moc"
