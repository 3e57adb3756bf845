#include "test_profile_support.h"

#include "sim/loopback_exchange.h"
#include "sim/pty_host.h"

using namespace profile_test;

namespace {

// One virtual charger, reached in-process where the line's timing is not what a test looks at,
// or on its own pseudo-terminal, answering as fast as the line allows.
struct Charger {
    zun::sim::VirtualCharger charger;
    zun::sim::PtyHost host{charger};
    explicit Charger(int wrongAck = 0) {
        zun::sim::Faults f;
        f.wrongAck = wrongAck != 0;
        f.wrongAckCommand = static_cast<quint8>(wrongAck);
        charger.setFaults(f);
    }
    std::unique_ptr<Window> inProcess() {
        return std::make_unique<Window>(QStringList{"charger"}, [this] {
            return std::make_unique<zun::sim::LoopbackExchange>(charger);
        });
    }
    std::unique_ptr<Window> overPty() {
        host.setPacing(false);
        host.start();
        return std::make_unique<Window>(QStringList{host.devicePath()});
    }
    // The requests of one command ("54"), or the commands of all writes (51 .. 55), in order.
    QStringList sent(const QString& command = {}) const {
        QStringList out;
        for (const QString& r : charger.requests()) {
            const QString c = r.mid(4, 2);
            if (command.isEmpty() ? c >= "51" && c <= "55" : c == command) {
                out << (command.isEmpty() ? c : r);
            }
        }
        return out;
    }
};

// Eight unused cells as an empty grid sends them (slot 2 is a temperature: 0 C is 273 K).
const QString kEmpty =
    QStringLiteral("000000 000000 000111 000000 000000 000000 000000 000000 000D");

const struct {
    const char *tag, *settings, *button, *frames;  // frames split by '|', '*' for kEmpty
    bool identified;
} kFrames[] = {
    {"general, 12 V", "Txt0(1)=100 Txt0(2)=18 Txt0(3)=25 Txt0(4)=2 Txt0(5)=40", "CmdOK0",
     "850E51 00 04B0 0064 0012 00FA 02 0190 000D", true},
    {"general, profile 2, negative derating",
     "CmbPN=1 Txt0(1)=100 Txt0(2)=18 Txt0(3)=25 Txt0(4)=-10 Txt0(5)=40", "CmdOK0",
     "850E51 01 04B0 0064 0012 00FA F6 0190 000D", true},
    {"protection, amount and stage number never sent",
     "Txt1(0)=10 Txt1(2)=200 Txt1(3)=3 Txt1(4)=20", "CmdOK1",
     "850C52 00 011B 0708 FFFF FF 0014 000D", true},
    {"protection, 48 V on profile 2", "CmbPN=1 Cmb0NV=2 Txt1(0)=0 Txt1(4)=24", "CmdOK1",
     "850C52 01 0111 1C20 FFFF FF 0018 000D", true},
    {"three stages",
     "Cmb2Total=2 Txt2(0)=14.4 Txt2(1)=20 Txt2(2)=13.8 Txt2(3)=5 Txt2(4)=13.5 Txt2(5)=2", "CmdOK2",
     "85 10 53 00 02 05A0 00C8 0564 0032 0546 0014 000D", true},
    {"one stage, N = 08", "Cmb2Total=0 Txt2(0)=14.4 Txt2(1)=10", "CmdOK2",
     "85 08 53 00 00 05A0 0064 000D", true},
    {"next-stage, two stages, current x10",
     "Cmb2Total=1 Cmb3Type(*)=0 Cmb3Type(0)=2 Txt3(0)=14.4 Cmb3Type(4)=2 Txt3(4)=2.5 "
     "Cmb3Type(5)=2 Txt3(5)=480 Cmb3Type(8)=1 Txt3(8)=13.9 Cmb3Type(10)=1 Txt3(10)=45",
     "CmdOK3",
     "851D54 00 00 00 0205A0 000000 000111 000000 020019 0201E0 000000 000000 000D|"
     "851D54 00 01 00 01056E 000000 01013E 000000 000000 000000 000000 000000 000D",
     true},
    {"next-stage, no charger: whole amperes", "Cmb2Total=0 Cmb3Type(*)=0 Cmb3Type(4)=2 Txt3(4)=2.5",
     "CmdOK3", "851D54 00 00 00 000000 000000 000111 000000 020002 000000 000000 000000 000D",
     false},
    // No target and stage 1 both send 00; stage 2 jumping to stage 4 sends 03.
    {"any-stage, four stages, targets",
     "Cmb2Total=3 Cmb4Type(*)=0 Cmb4Type(2)=1 Txt4(2)=45 Cmb4SN(0)=-1 Cmb4SN(1)=2 "
     "Cmb4SN(2)=0 Cmb4SN(3)=1",
     "CmdOK4",
     "851D55 00 00 00 000000 000000 01013E 000000 000000 000000 000000 000000 000D|"
     "851D55 00 01 03 *|851D55 00 02 00 *|851D55 00 03 01 *",
     true},
};

const struct {
    const char* tag;
    bool identified;
    int failing;  // the write command whose acknowledgement is wrong
    const char *commands, *message;
} kWriteAll[] = {
    {"identified: no general page", true, 0, "52 53 54 54 54 55 55 55", "OK !"},
    {"no charger: general page first", false, 0, "51 52 53 54 54 54 55 55 55", "OK !"},
    {"protection not acknowledged", true, 0x52, "52", "Fail !"},
    {"next-stage: three tries a stage", true, 0x54, "52 53 54 54 54 54 54 54 54 54 54", "Fail !"},
    // Deliberately accepted in silence.
    {"any-stage: three tries a stage", true, 0x55, "52 53 54 54 54 55 55 55 55 55 55 55 55 55",
     "OK !"},
};

const struct {
    const char *tag, *settings, *button, *message, *focus;
} kRefused[] = {
    {"no stage count", "Cmb2Total=-1", "CmdOK2", "Fail !", "Cmb2Total"},
    {"stage 2 voltage empty", "Txt2(2)=", "CmdOK2", "Fail !", "Txt2(2)"},
    {"capacity overflows", "Txt0(1)=99999", "CmdOK0", "Overflow", ""},
    {"next-stage charge overflows", "Cmb3Type(22)=2 Txt3(22)=99999999", "CmdOK3", "Overflow", ""},
};

}  // namespace

class TestProfileWrites : public QObject {
    Q_OBJECT
private slots:
    void pageFrames_data() { AddRows(kFrames); }

    void pageFrames() {
        QFETCH(int, row);
        const auto& r = kFrames[row];
        Charger c;
        const auto window = c.inProcess();
        Window& win = *window;
        if (!r.identified) {
            win.state().ChargerModel.clear();
        }
        Apply(win, r.settings);
        c.charger.clearRequests();
        QStringList outcomes;
        QObject::connect(&win.w->session(), &zun::session::ChargerSession::pageWritten,
                         [&outcomes](const zun::session::PageResult& p) {
                             outcomes << zun::profile::PageName(p.page) +
                                             QString::number(int(p.outcome));
                         });
        win.find<QPushButton>(r.button)->click();
        QCOMPARE(c.charger.requests(),
                 QString(r.frames).replace("*", kEmpty).remove(' ').split('|'));
        QCOMPARE(outcomes.size(), 1);
        QCOMPARE(outcomes.join(' ') + win.messages.join(' '),
                 outcomes.first().chopped(1) +
                     QString::number(int(zun::session::PageOutcome::Acknowledged)));
    }

    void writeAll_data() { AddRows(kWriteAll); }

    void writeAll() {
        QFETCH(int, row);
        const auto& r = kWriteAll[row];
        Charger c(r.failing);
        const auto window = c.inProcess();
        Window& win = *window;
        if (!r.identified) {
            // As after a connection whose identification got no answer.
            win.state().ChargerModel.clear();
            win.editor()->nominalVoltage()->setEnabled(true);
        }
        Apply(win, "Cmb4Type(0)=1 Txt4(0)=13 Cmb4SN(0)=1");
        c.charger.clearRequests();
        win.editor()->CmdOK->click();
        QCOMPARE(win.messages, QStringList{r.message});
        const QString commands = c.sent().join(' ');
        QCOMPARE(commands, QString(r.commands));
        // Three sends of one frame, stage after stage.
        const QStringList tries = c.sent(QString::number(r.failing, 16));
        for (int i = 0; r.failing >= 0x54 && i < tries.size(); ++i) {
            QCOMPARE(tries[i].mid(8, 2).toInt(), i / 3);
            QCOMPARE(tries[i], tries[i - i % 3]);
        }
        // The any-stage page is cleared and sent empty, but only by a write-all that reaches it.
        const bool reached = commands.contains("55");
        QCOMPARE(win.editor()->anyCond()->CmbType[0]->currentIndex(), reached ? 0 : 1);
        QCOMPARE(win.editor()->anyCond()->Cmb4SN[0]->currentIndex(), reached ? -1 : 1);
        for (const QString& f : c.sent("55")) {
            QCOMPARE(f.mid(10), QString("00" + kEmpty).remove(' '));
        }
        // Only the next-stage page's own button stays off after its write.
        QCOMPARE(win.editor()->nextCond()->CmdOKn->isEnabled(), !commands.contains("54"));
        QVERIFY(win.editor()->anyCond()->CmdOKn->isEnabled() && win.editor()->CmdOK->isEnabled());
    }

    // Every exchange a button starts runs with the window busy (busy cursor, other starters
    // held off), and the window is idle again afterwards.
    void exchangesRunBusy_data() {
        QTest::addColumn<QString>("button");
        QTest::addColumn<int>("requests");
        for (const char* b : {"CmdOK0", "CmdOK1", "CmdOK2", "CmdOK3", "CmdOK4", "CmdOK"}) {
            QTest::newRow(b) << b << -1;
        }
        QTest::newRow("run time") << "CmdGetOK(0)" << 1;
        QTest::newRow("live") << "CmdGetOK(1)" << 1;
        QTest::newRow("data log") << "CmdGetOK(2)" << -1;
    }

    void exchangesRunBusy() {
        QFETCH(QString, button);
        QFETCH(int, requests);
        Charger c;
        const auto window = c.inProcess();
        Window& win = *window;
        // Writable as it stands, whatever the identified charger fixed.
        win.editor()->nominalVoltage()->setEnabled(true);
        QStringList seen;
        c.charger.setRequestListener([&](const QString& frame) {
            seen << frame.left(6) + (win.state().busy->busy() ? "+busy" : "-idle");
        });
        win.find<QPushButton>(button)->setEnabled(true);
        win.find<QPushButton>(button)->click();
        c.charger.setRequestListener({});
        QVERIFY(!seen.isEmpty());
        if (requests >= 0) {
            QCOMPARE(seen.size(), requests);
        }
        QCOMPARE(seen.filter("-idle"), QStringList());
        QVERIFY(!win.state().busy->busy());
    }

    void refusedWritesSendNothing_data() { AddRows(kRefused); }

    void refusedWritesSendNothing() {
        QFETCH(int, row);
        const auto& r = kRefused[row];
        Charger c;
        const auto window = c.inProcess();
        Window& win = *window;
        Apply(win, r.settings);
        c.charger.clearRequests();
        // The write's own checks, also behind a button that the page has disabled.
        win.find<QPushButton>(r.button)->setEnabled(true);
        win.find<QPushButton>(r.button)->click();
        QCOMPARE(win.messages, QStringList{r.message});
        QCOMPARE(c.charger.requests(), QStringList());
        if (*r.focus) {
            QCOMPARE(win.w->focusWidget() ? win.w->focusWidget()->objectName() : "", r.focus);
        }
    }

    // Done means the charger holds it: the new value comes back when the port is chosen again.
    // End to end over the pty.
    void writtenValueIsReadBack() {
        Charger c;
        const auto window = c.overPty();
        Window& win = *window;
        QVERIFY(win.activate());
        QLineEdit* v1 = win.box("Txt2(0)");
        v1->setText("14.6");
        win.leave(v1);
        win.editor()->CmdOK->click();
        QCOMPARE(win.messages, QStringList{"OK !"});
        v1->setText("13");
        win.w->selectPort(0);
        QCOMPARE(win.box("Txt2(0)")->text(), QStringLiteral("14.6"));
        QCOMPARE(win.state().memory.ProfileStages(0, 1), QStringLiteral("14.6"));
    }
};

QTEST_MAIN(TestProfileWrites)
#include "test_profile_writes.moc"
