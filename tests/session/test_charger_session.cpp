#include "session/charger_session.h"

#include "link/frames.h"
#include "sim/loopback_exchange.h"
#include "sim/virtual_charger.h"

#include <QSignalSpy>
#include <QtTest>

using namespace zun;
using session::PageOutcome;
using session::PageWrite;
using Page = profile::Page;

namespace {

// Frames the virtual charger takes as they are: one general page, one protection page, and a
// condition frame per stage.
const QString kGeneral = QStringLiteral("850E510004B00064001200FA020190000D");
const QString kProtection = QStringLiteral("850C520001 1B0708FFFFFF0014000D").remove(' ');
QString conditionFrame(const char* command, int stage) {
    return QStringLiteral(
               "851D%1 00 0%2 00 000000 000000 000111 000000 000000 000000 000000 "
               "000000 000D")
        .arg(QLatin1String(command))
        .arg(stage)
        .remove(QLatin1Char(' '));
}

// A session over an in-process line to one virtual charger.
struct Rig {
    sim::VirtualCharger charger;
    sim::LoopbackExchange* line = nullptr;
    std::unique_ptr<session::ChargerSession> session;

    explicit Rig(quint8 refusedCommand = 0) {
        if (refusedCommand != 0) {
            sim::Faults f;
            f.wrongAck = true;
            f.wrongAckCommand = refusedCommand;
            charger.setFaults(f);
        }
        auto loopback = std::make_unique<sim::LoopbackExchange>(charger);
        line = loopback.get();
        session = std::make_unique<session::ChargerSession>(std::move(loopback));
    }
    // The command byte of every request, in order.
    QString commands() const {
        QStringList out;
        for (const QString& r : charger.requests()) {
            out << r.mid(4, 2);
        }
        return out.join(' ');
    }
};

// 'A'cknowledged, 'S'ent, 'R'efused, 'N'ot sent, one letter per page.
QString letters(const std::vector<session::PageResult>& results) {
    QString out;
    for (const auto& r : results) {
        out += QLatin1Char("ASRN"[int(r.outcome)]);
    }
    return out;
}

PageWrite page(Page p, const QStringList& frames, bool mustAcknowledge = true) {
    return {p, [frames] { return std::optional<QStringList>(frames); }, mustAcknowledge};
}

PageWrite unbuildable(Page p) {
    return {p, [] { return std::optional<QStringList>(); }, true};
}

// The write plans of the table below.
std::vector<PageWrite> plan(const QString& name) {
    const QStringList next{conditionFrame("54", 0), conditionFrame("54", 1)};
    const QStringList any{conditionFrame("55", 0), conditionFrame("55", 1)};
    if (name == "all") {
        return {page(Page::General, {kGeneral}), page(Page::Protection, {kProtection}),
                page(Page::Next, next), page(Page::Any, any)};
    }
    if (name == "any tolerated") {
        return {page(Page::Any, any, false), page(Page::Protection, {kProtection})};
    }
    if (name == "unbuildable") {
        return {page(Page::General, {kGeneral}), unbuildable(Page::Protection),
                page(Page::Next, next)};
    }
    // A page with nothing to send counts as acknowledged and the write goes on.
    return {page(Page::Stages, {}), page(Page::Protection, {kProtection})};
}

}  // namespace

class TestChargerSession : public QObject {
    Q_OBJECT
private slots:
    void writePages_data() {
        QTest::addColumn<QString>("plan");
        QTest::addColumn<int>("refused");  // the write command the charger refuses
        QTest::addColumn<QString>("commands");
        QTest::addColumn<QString>("outcomes");
        QTest::addColumn<int>("reached");  // pageWritten: only the pages whose turn came
        QTest::addColumn<double>("waited");

        const auto row = [](const char* name, const char* plan, int refused, const char* commands,
                            const char* outcomes, int reached, double waited) {
            QTest::newRow(name) << QString(plan) << refused << QString(commands)
                                << QString(outcomes) << reached << waited;
        };
        row("all acknowledged", "all", 0, "51 52 54 54 55 55", "AAAA", 4, 0.4);
        row("protection refused: stop", "all", 0x52, "51 52", "ARNN", 2, 0.0);
        row("next refused: three tries a stage", "all", 0x54, "51 52 54 54 54 54 54 54", "AARN", 3,
            0.6);
        row("any refused", "all", 0x55, "51 52 54 54 55 55 55 55 55 55", "AAAR", 4, 0.8);
        row("refusal tolerated: goes on", "any tolerated", 0x55, "55 55 55 55 55 55 52", "SA", 2,
            0.6);
        row("unbuildable page: nothing more sent", "unbuildable", 0, "51", "ANN", 2, 0.0);
        row("empty page", "empty", 0, "52", "AA", 2, 0.0);
    }

    void writePages() {
        QFETCH(QString, plan);
        QFETCH(int, refused);
        QFETCH(QString, commands);
        QFETCH(QString, outcomes);
        QFETCH(int, reached);
        QFETCH(double, waited);
        Rig rig{quint8(refused)};
        int written = 0;
        connect(rig.session.get(), &session::ChargerSession::pageWritten, this,
                [&written](const session::PageResult&) { ++written; });
        const auto results = rig.session->writePages(::plan(plan));
        QCOMPARE(rig.commands(), commands);
        QCOMPARE(letters(results), outcomes);
        QCOMPARE(written, reached);
        QCOMPARE(qRound(rig.line->waitedSeconds() * 10), qRound(waited * 10));
    }

    // The replies come back per frame, so that zunctl can say which stage was refused.
    void refusedStageReplies() {
        Rig rig(0x54);
        const auto results = rig.session->writePages({page(Page::Next, {conditionFrame("54", 0)})});
        QCOMPARE(results.size(), size_t(1));
        QCOMPARE(results[0].replies.size(), 1);
        QVERIFY(!results[0].replies[0].isEmpty());
        QVERIFY(results[0].replies[0] != session::ChargerSession::AckFor(Page::Next));
    }

    // Busy goes up once and down once however many exchanges an operation makes.
    void busyOncePerOperation() {
        Rig rig;
        QSignalSpy busy(rig.session.get(), &session::ChargerSession::busyChanged);
        rig.session->writePages(plan("all"));
        QCOMPARE(busy.count(), 2);
        QCOMPARE(busy.at(0).at(0).toBool(), true);
        QCOMPARE(busy.at(1).at(0).toBool(), false);
        QVERIFY(!rig.session->busy());
    }

    void searchStopsAtTheCharger() {
        Rig rig;
        const auto results = rig.session->search({"first", "second"});
        QCOMPARE(results.size(), size_t(1));
        QVERIFY(results[0].charger);
        QCOMPARE(rig.session->device(), QStringLiteral("first"));
        QCOMPARE(rig.charger.requests(), QStringList{QLatin1String(link::kRunTimeRequest)});

        sim::Faults silent;
        silent.silent = true;
        rig.charger.setFaults(silent);
        const auto none = rig.session->search({"a", "b"});
        QCOMPARE(none.size(), size_t(2));
        QVERIFY(!none[0].answered && !none[1].answered && !none[1].charger);
    }

    void identifyAndReadSettings() {
        Rig rig;
        rig.charger.setModelCode(3415);
        QCOMPARE(rig.session->identify(), QStringLiteral("3415"));
        link::StoredSettings profiles;
        const QString reply = rig.session->readSettings(profiles);
        QVERIFY(reply.size() >= link::kMinSettingsReplyChars);
        QVERIFY(!profiles[0].general[1].isEmpty());

        // A charger that stops answering leaves the model known and the profiles zero.
        sim::Faults silent;
        silent.silent = true;
        rig.charger.setFaults(silent);
        QCOMPARE(rig.session->identify(), QString());
        QCOMPARE(rig.session->modelCode(), QStringLiteral("3415"));
        QCOMPARE(rig.session->readSettings(profiles), QString());
        QCOMPARE(profiles[0].general[1], QStringLiteral("0"));
    }

    // A cancel asked for while a block comes in lets that block finish and sends nothing more.
    void cancelEndsTheTransferBetweenExchanges() {
        Rig rig;
        rig.charger.setLog(sim::ChargeLog::Unwrapped(100));
        int rows = 0;
        connect(rig.session.get(), &session::ChargerSession::logRow, this,
                [&](const datalog::LogRow&) {
                    if (++rows == 1) {
                        rig.session->requestCancel();
                    }
                });
        QSignalSpy active(rig.session.get(), &session::ChargerSession::transferActive);
        const datalog::DownloadResult r = rig.session->downloadLog();
        QCOMPARE(rig.commands(), QStringLiteral("75 78"));
        QCOMPARE(int(r.rows.size()), datalog::kBlockRecords);
        QCOMPARE(active.count(), 2);
        // The next transfer starts afresh.
        const datalog::DownloadResult again = rig.session->downloadLog();
        QCOMPARE(int(again.rows.size()), 100);
    }
};

QTEST_GUILESS_MAIN(TestChargerSession)
#include "test_charger_session.moc"
