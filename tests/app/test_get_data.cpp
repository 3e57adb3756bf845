#include "test_get_data_support.h"

#include "link/codec.h"
#include "link/serial_link.h"

#include <QComboBox>
#include <QGuiApplication>
#include <QTemporaryDir>
#include <QTime>
#include <QTimer>
#include <QVBoxLayout>
#include <QtTest>

using namespace zun;
using namespace getdata_test;

Q_DECLARE_METATYPE(sim::Faults)

namespace {

enum class LogKind { Unwrapped, Streamed, StreamedNoRunTime };

// The controls the download locks, in the order it enables them again.
QStringList lockedNames() {
    return {"CboPort", "CmdOK0",      "CmdOK1",      "CmdOK2",     "CmdOK3",
            "CmdOK4",  "CmdGetOK(0)", "CmdGetOK(1)", "CmdGetOK(2)"};
}

// Records which of the named controls are enabled, every few milliseconds while the page
// downloads (the exchange keeps the event loop turning).
class LockSampler : public QObject {
public:
    LockSampler(app::GetDataPage* page, QWidget* window, QStringList names)
        : page_(page), window_(window), names_(std::move(names)) {
        timer_.setInterval(5);
        connect(&timer_, &QTimer::timeout, this, [this] { sample(); });
        timer_.start();
    }
    int samples = 0;
    QStringList enabledDuring;  // names seen enabled while downloading

private:
    void sample() {
        if (!page_->downloading()) {
            return;
        }
        ++samples;
        for (const QString& n : names_) {
            auto* w = window_->findChild<QWidget*>(n);
            if (w != nullptr && w->isEnabled() && !enabledDuring.contains(n)) {
                enabledDuring << n;
            }
        }
    }
    app::GetDataPage* page_;
    QWidget* window_;
    QStringList names_;
    QTimer timer_;
};

// Records the order in which the watched widgets become enabled.
class EnableRecorder : public QObject {
public:
    QStringList order;
    void watch(QWidget* w) { w->installEventFilter(this); }

protected:
    bool eventFilter(QObject* o, QEvent* e) override {
        if (e->type() == QEvent::EnabledChange && static_cast<QWidget*>(o)->isEnabled()) {
            order << o->objectName();
        }
        return false;
    }
};

}  // namespace

class TestGetData : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanupTestCase();
    void init();

    void readings_data();
    void readings();
    void download_data();
    void download();
    void lockDuringDownload_data();
    void lockDuringDownload();
    void lockOrderInAnyWindow();
    void saveRangeThenOpen_data();
    void saveRangeThenOpen();

private:
    std::unique_ptr<Charger> charger_;
    std::unique_ptr<app::FrmMain> window_;
    app::GetDataPage* page_ = nullptr;
};

void TestGetData::initTestCase() {
    charger_ = std::make_unique<Charger>();
    window_ = startWindow({charger_->device()});
    page_ = window_->getDataPage();
    QVERIFY(page_ != nullptr);
    QCOMPARE(window_->findChild<QLabel*>("Label0(1)")->text(), QStringLiteral("Connection OK"));
}

void TestGetData::cleanupTestCase() {
    window_.reset();
    charger_.reset();
}

void TestGetData::init() {
    charger_->charger.setFaults({});
    charger_->charger.setRunTimeMinutes(sim::VirtualCharger::kDefaultRunTimeMinutes);
    charger_->charger.setLive(sim::VirtualCharger::kDefaultLive);
    charger_->charger.setRequestListener({});
}

void TestGetData::readings_data() {
    QTest::addColumn<int>("index");
    QTest::addColumn<qint64>("minutes");
    QTest::addColumn<QList<int>>("live");
    QTest::addColumn<sim::Faults>("faults");
    QTest::addColumn<bool>("keepsPrevious");
    QTest::addColumn<QString>("expected");

    const QList<int> dflt = {1420, 850, 1412, 1408, 0, 520, 330, 0};
    sim::Faults none;
    sim::Faults silent;
    silent.silent = true;
    sim::Faults shortReply;
    shortReply.truncateTo = 6;  // head and two data bytes only

    QTest::newRow("run time 18950")
        << 0 << qint64(18950) << dflt << none << false << "315Hours 50Minutes";
    QTest::newRow("run time 7435")
        << 0 << qint64(7435) << dflt << none << false << "123Hours 55Minutes";
    QTest::newRow("run time silent clears") << 0 << qint64(7435) << dflt << silent << false << "";
    QTest::newRow("run time short keeps") << 0 << qint64(7435) << dflt << shortReply << true << "";

    QTest::newRow("live default")
        << 1 << qint64(0) << dflt << none << false
        << "charge:14.2V  8.5A\r\nbat1:  14.12V  5.20A\r\nbat2:  14.08V  3.30A";
    QTest::newRow("live 0AC8 and FFFF")
        << 1 << qint64(0) << QList<int>{0x0AC8, 1250, 1380, 1379, 777, -1, 5, -2} << none << false
        << "charge:27.6V  12.5A\r\nbat1:  13.80V  -0.01A\r\nbat2:  13.79V  0.05A";
    QTest::newRow("live silent clears") << 1 << qint64(0) << dflt << silent << false << "";
    QTest::newRow("live short keeps") << 1 << qint64(0) << dflt << shortReply << true << "";
}

void TestGetData::readings() {
    QFETCH(int, index);
    QFETCH(qint64, minutes);
    QFETCH(QList<int>, live);
    QFETCH(sim::Faults, faults);
    QFETCH(bool, keepsPrevious);
    QFETCH(QString, expected);

    // A first good reading unlike every expected one, so that clearing, keeping and replacing
    // can be told apart.
    charger_->charger.setRunTimeMinutes(1234567);
    charger_->charger.setLive({1, 2, 3, 4, 5, 6, 7, 8});
    page_->CmdGetOK_Click(index);
    const QString previous = page_->TxtGetText(index);
    QVERIFY2(!previous.isEmpty(), "the default charger gave no reading");
    const QString other = page_->TxtGetText(1 - index);

    auto& c = charger_->charger;
    c.setRunTimeMinutes(static_cast<quint32>(minutes));
    sim::LiveValues values{};
    for (int k = 0; k < 8; ++k) {
        values[static_cast<size_t>(k)] = static_cast<qint16>(live.at(k));
    }
    c.setLive(values);
    c.setFaults(faults);
    c.clearRequests();

    page_->CmdGetOK_Click(index);

    const QString frame = index == 0 ? QStringLiteral("850357AA000D") : "850358AA000D";
    QCOMPARE(c.requests(), QStringList{frame});
    const QString shown = keepsPrevious ? previous : expected;
    QCOMPARE(page_->TxtGetText(index), shown);
    QCOMPARE(page_->TxtGet[static_cast<size_t>(index)]->toPlainText(),
             QString(shown).replace("\r\n", "\n"));
    QCOMPARE(page_->TxtGetText(1 - index), other);
    QVERIFY(page_->CmdGetOK[static_cast<size_t>(index)]->isEnabled());
    QCOMPARE(QGuiApplication::overrideCursor(), nullptr);
}

void TestGetData::download_data() {
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("records");
    QTest::addColumn<QStringList>("frames");
    QTest::addColumn<QString>("last");
    QTest::addColumn<QString>("progress");
    QTest::addColumn<bool>("save");
    QTest::addColumn<bool>("print");

    const int u = int(LogKind::Unwrapped);
    QTest::newRow("pointer 25") << u << 25
                                << QStringList{"850375AA000D", "850678AA000000090D",
                                               "850678AA000A00130D", "850678AA001400180D"}
                                << "0025"
                                << "Download: 100% finished" << true << true;
    QTest::newRow("pointer 11: a block of one")
        << u << 11 << QStringList{"850375AA000D", "850678AA000000090D", "850678AA000A000A0D"}
        << "0011"
        << "Download: 100% finished" << true << true;
    QTest::newRow("pointer 2: smallest chart")
        << u << 2 << QStringList{"850375AA000D", "850678AA000000010D"} << "0002"
        << "Download: 100% finished" << true << true;
    QTest::newRow("pointer 1: save, no chart")
        << u << 1 << QStringList{"850375AA000D", "850678AA000000000D"} << "0001"
        << "Download: 100% finished" << true << false;
    QTest::newRow("pointer 0: nothing") << u << 0 << QStringList{"850375AA000D"} << ""
                                        << "" << false << false;
    // 25 of the 1,895 records the run time promises.
    QTest::newRow("streamed 25") << int(LogKind::Streamed) << 25
                                 << QStringList{"850375AA000D", "850357AA000D", "850356AA000D"}
                                 << "0025"
                                 << "Download: 1% finished" << true << true;
    QTest::newRow("streamed, run time 0")
        << int(LogKind::StreamedNoRunTime) << 0 << QStringList{"850375AA000D", "850357AA000D"} << ""
        << "" << false << false;
}

void TestGetData::download() {
    QFETCH(int, kind);
    QFETCH(int, records);
    QFETCH(QStringList, frames);
    QFETCH(QString, last);
    QFETCH(QString, progress);
    QFETCH(bool, save);
    QFETCH(bool, print);

    auto& c = charger_->charger;
    const bool streamed = LogKind(kind) != LogKind::Unwrapped;
    const bool noRunTime = LogKind(kind) == LogKind::StreamedNoRunTime;
    sim::ChargeLog log = sim::ChargeLog::Unwrapped(noRunTime ? 25 : records);
    if (log.count() > 0) {
        log.set(0, sim::LogRecord{2760, 1250, 1380, 1379});
    }
    c.setLog(log);
    sim::Faults f;
    f.ignorePointerRequest = streamed;
    c.setFaults(f);
    if (noRunTime) {
        c.setRunTimeMinutes(9);  // less than one record's worth: nothing is streamed
    }
    // Something to be replaced: the previous download's table and range.
    page_->TxtRow[0]->setText("77");
    page_->TxtRow[1]->setText("88");
    c.clearRequests();

    page_->CmdGetOK_Click(2);

    QCOMPARE(c.requests(), frames);
    const auto& t = page_->logTable();
    QCOMPARE(t.recordCount(), records);
    if (records > 0) {
        QCOMPARE(rowCells(t, 1), QStringList({"0001", "27.60", "12.50", "13.80", "13.79"}));
        QCOMPARE(t.cell(records, 0), last);
        QCOMPARE(rowCells(t, records).mid(1), valueCells(log.at(records - 1)));
    }
    for (int r = 1; r <= records; ++r) {
        QCOMPARE(t.cell(r, 0), QString::number(r).rightJustified(4, '0'));
    }
    const bool range = records > 1;
    QCOMPARE(page_->TxtRow[0]->text(), range ? QStringLiteral("0001") : QString());
    QCOMPARE(page_->TxtRow[1]->text(), range ? last : QString());
    QCOMPARE(page_->CmdGetSave->isEnabled(), save);
    QCOMPARE(page_->CmdPrint->isEnabled(), print);
    QCOMPARE(page_->CmdExportPdf->isEnabled(), print);
    QCOMPARE(page_->CmdExportPng->isEnabled(), print);
    QVERIFY(page_->CmdGetOpen->isEnabled());
    QCOMPARE(page_->LabDownDisp->text(), progress);
    QVERIFY(!page_->LabDownDisp->isVisibleTo(page_));
    QVERIFY2(
        QRegularExpression("^Time: \\S.* \\d\\d:\\d0$").match(page_->LabTime->text()).hasMatch(),
        qPrintable(page_->LabTime->text()));

    // The chart: curves only when there is more than one record.
    QCOMPARE(page_->PP->showsLog(), print);
    QCOMPARE(page_->chargeAh().size(), size_t(print ? records + 1 : 0));
    const QImage image = page_->PP->renderImage(QSize(900, 600));
    const CurvePixels px = countCurvePixels(image);
    if (print) {
        QVERIFY2(
            px.voltage > 20 && px.current > 20 && px.charge > 20,
            qPrintable(
                QString("curve pixels %1 %2 %3").arg(px.voltage).arg(px.current).arg(px.charge)));
    } else {
        const CurvePixels all = countCurvePixels(image, QRectF(image.rect()));
        QCOMPARE(all.voltage + all.current + all.charge, 0);
    }
}

void TestGetData::lockDuringDownload_data() {
    QTest::addColumn<bool>("silentAfterFirstBlock");
    QTest::addColumn<int>("rows");
    QTest::newRow("whole log") << false << 25;
    QTest::newRow("charger falls silent after the first block") << true << 10;
}

void TestGetData::lockDuringDownload() {
    QFETCH(bool, silentAfterFirstBlock);
    QFETCH(int, rows);
    auto& c = charger_->charger;
    c.setLog(sim::ChargeLog::Unwrapped(25));
    if (silentAfterFirstBlock) {
        c.setRequestListener([&c](const QString& frame) {
            if (frame == QLatin1String("850678AA000000090D")) {
                sim::Faults f;
                f.silent = true;
                c.setFaults(f);
            }
        });
    }
    // Through a real click with the focus on the button, as a technician would start it.
    window_->show();
    window_->Tab1->setCurrentIndex(1);
    window_->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(window_.get()));
    page_->CmdGetOK[2]->setFocus();
    QStringList present;
    for (const QString& n : lockedNames()) {
        if (window_->findChild<QWidget*>(n) != nullptr) {
            present << n;
        } else {
            qWarning("%s is not on the window yet", qPrintable(n));
        }
    }
    QVERIFY(present.contains("CboPort"));
    QVERIFY(present.contains("CmdGetOK(2)"));
    LockSampler sampler(page_, window_.get(), present);

    QTest::mouseClick(page_->CmdGetOK[2], Qt::LeftButton);

    QVERIFY2(sampler.samples > 3, "no sample was taken during the download");
    QVERIFY2(sampler.enabledDuring.isEmpty(),
             qPrintable("enabled during the download: " + sampler.enabledDuring.join(", ")));
    for (const QString& n : present) {
        QVERIFY2(window_->findChild<QWidget*>(n)->isEnabled(), qPrintable(n + " stayed disabled"));
    }
    QCOMPARE(page_->logTable().recordCount(), rows);
    QCOMPARE(QApplication::focusWidget(), page_->CmdGetOK[2]);
    // The focus never passed through a range box (its leave-the-box rule would show "1").
    QCOMPARE(page_->TxtRow[0]->text(), QStringLiteral("0001"));
    QCOMPARE(page_->TxtRow[1]->text(), QString::number(rows).rightJustified(4, '0'));
    QCOMPARE(QGuiApplication::overrideCursor(), nullptr);
}

void TestGetData::lockOrderInAnyWindow() {
    // Every control the download locks, on a window of its own around the page.
    Charger c;
    c.charger.setLog(sim::ChargeLog::Unwrapped(12));
    link::SerialLink serial;
    serial.setDevice(c.device());
    QVERIFY(serial.open());
    app::WindowState state;
    state.link = &serial;
    QWidget host;
    auto* layout = new QVBoxLayout(&host);
    auto* port = new QComboBox;
    port->setObjectName("CboPort");
    layout->addWidget(port);
    for (int i = 0; i < 5; ++i) {
        auto* b = new QPushButton(QString("OK %1").arg(i));
        b->setObjectName(QString("CmdOK%1").arg(i));
        layout->addWidget(b);
    }
    auto* page = new app::GetDataPage(state);
    layout->addWidget(page);
    EnableRecorder recorder;
    for (const QString& n : lockedNames()) {
        QWidget* w = host.findChild<QWidget*>(n);
        QVERIFY2(w != nullptr, qPrintable(n));
        recorder.watch(w);
    }
    LockSampler sampler(page, &host, lockedNames());

    page->CmdGetOK_Click(2);

    QVERIFY(sampler.samples > 3);
    QVERIFY2(sampler.enabledDuring.isEmpty(),
             qPrintable("enabled during the download: " + sampler.enabledDuring.join(", ")));
    QCOMPARE(recorder.order, lockedNames());
    QCOMPARE(page->logTable().recordCount(), 12);
}

void TestGetData::saveRangeThenOpen_data() {
    QTest::addColumn<QString>("from");
    QTest::addColumn<QString>("to");
    QTest::addColumn<QStringList>("saved");
    QTest::newRow("5..8") << "5"
                          << "8" << QStringList{"0005", "0006", "0007", "0008"};
    QTest::newRow("whole log") << "0001"
                               << "0025" << QStringList{"0001", "0002", "0003", "0004", "0005",
                                                        "0006", "0007", "0008", "0009", "0010",
                                                        "0011", "0012", "0013", "0014", "0015",
                                                        "0016", "0017", "0018", "0019", "0020",
                                                        "0021", "0022", "0023", "0024", "0025"};
    QTest::newRow("24..30 past the end") << "24"
                                         << "30" << QStringList{"0024", "0025"};
    QTest::newRow("8..5 backwards") << "8"
                                    << "5" << QStringList{};
}

void TestGetData::saveRangeThenOpen() {
    QFETCH(QString, from);
    QFETCH(QString, to);
    QFETCH(QStringList, saved);
    charger_->charger.setLog(sim::ChargeLog::Unwrapped(25));
    page_->CmdGetOK_Click(2);
    QCOMPARE(page_->logTable().recordCount(), 25);
    const auto downloaded = page_->logTable().rows();
    const QString labTime = page_->LabTime->text();

    QTemporaryDir dir;
    const QString path = dir.filePath("range.csv");
    QString proposed;
    page_->dialogs.saveLogName = [&](const QString& p) {
        proposed = p;
        return path;
    };
    page_->TxtRow[0]->setText(from);
    page_->TxtRow[1]->setText(to);
    page_->TxtGetDesc->setText("bench 3, cells 1-6");
    page_->CmdGetSave_Click();
    QVERIFY2(QRegularExpression("/ZUN-Log-\\d{6}-\\d{6}\\.csv$").match(proposed).hasMatch(),
             qPrintable(proposed));

    // Line 2: the time of the last saved record, ten minutes per record before the last one.
    const int back = (25 - int(link::TextToSingle(to))) * 10;
    const QTime last = QTime::fromString(labTime.right(5), "hh:mm");
    QVERIFY(last.isValid());
    QStringList expected{
        "FileType: ZUN-Log",
        labTime.left(labTime.size() - 5) + last.addSecs(-60 * back).toString("hh:mm"),
        "Desc: bench 3, cells 1-6", "record,chr volt,curr,bat1 volt,bat2 volt"};
    for (const QString& n : saved) {
        const auto& row = downloaded.at(size_t(n.toInt() - 1));
        QCOMPARE(row[0], n);
        expected << QStringList(row.begin(), row.end()).join(',');
    }
    const QByteArray bytes = readAll(path);
    QCOMPARE(QString::fromUtf8(bytes), expected.join("\r\n") + "\r\n");

    // Read back: plain record numbers, values as written, the range and the buttons restored.
    page_->dialogs.openLogName = [&](const QString& preset) {
        return preset == QLatin1String("*.csv") ? path : QString();
    };
    page_->CmdGetOpen_Click();
    const auto& t = page_->logTable();
    QCOMPARE(t.recordCount(), saved.size());
    for (int i = 0; i < saved.size(); ++i) {
        const QStringList cells = rowCells(t, i + 1);
        QCOMPARE(cells.at(0), QString::number(saved.at(i).toInt()));
        QCOMPARE(cells.mid(1), expected.at(4 + i).split(',').mid(1));
    }
    QCOMPARE(page_->LabTime->text(), expected.at(1));
    QCOMPARE(page_->TxtGetDesc->text(), QStringLiteral("bench 3, cells 1-6"));
    const bool chart = saved.size() >= 2;
    QCOMPARE(page_->TxtRow[0]->text(), chart ? QString::number(saved.first().toInt()) : QString());
    QCOMPARE(page_->TxtRow[1]->text(), chart ? QString::number(saved.last().toInt()) : QString());
    QCOMPARE(page_->CmdGetSave->isEnabled(), !saved.isEmpty());
    QCOMPARE(page_->CmdPrint->isEnabled(), chart);
    QVERIFY(page_->PP->showsLog());
    page_->dialogs = {};
}

QTEST_MAIN(TestGetData)
#include "test_get_data.moc"
