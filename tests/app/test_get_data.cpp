#include "test_get_data_support.h"

#include "app/log_chart_view.h"
#include "datalog/log_chart.h"

#include <QHeaderView>
#include <QPrinter>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/resource.h>
#include <csignal>

using namespace zun;
using namespace zun::datalog;
using namespace getdata_test;

static QByteArray readAll(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

static bool writeAll(const QString& path, const QByteArray& bytes) {
    QFile f(path);
    return f.open(QIODevice::WriteOnly) && f.write(bytes) == bytes.size();
}

// The page inside the real window, talking to a virtual charger on a pty; the test answers
// every dialog.
class TestGetData : public QObject {
    Q_OBJECT
    std::unique_ptr<Rig> rig_;
    app::GetDataPage* page_ = nullptr;
    QString savePath_, openPath_;
    QStringList questions_, information_, errors_;
    bool answer_ = true;

private slots:
    void initTestCase() {
        rig_ = std::make_unique<Rig>(sim::ChargeLog::Unwrapped(25));
        page_ = rig_->page;
        auto& d = page_->dialogs;
        d.saveLogName = [this](const QString&) { return savePath_; };
        d.exportName = [this](const QString&, const QString&) { return savePath_; };
        d.openLogName = [this](const QString&) { return openPath_; };
        d.askYesNo = [this](const QString& q) {
            questions_ << q;
            return answer_;
        };
        d.information = [this](const QString& t) { information_ << t; };
        d.error = [this](const QString& t) { errors_ << t; };
        // Only a landscape page is printed: a portrait one leaves the old file in place.
        d.print = [this](QPrinter& printer) {
            printer.setOutputFormat(QPrinter::PdfFormat);
            printer.setOutputFileName(savePath_);
            return printer.pageLayout().orientation() == QPageLayout::Landscape;
        };
        // A save cut short by the file size limit must fail, not end the process.
        std::signal(SIGXFSZ, SIG_IGN);
        rig_->window->show();
        rig_->window->Tab1->setCurrentIndex(1);
        rig_->window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(rig_->window.get()));
    }

    void init() {
        rig_->charger.setFaults({});
        rig_->charger.setRequestListener({});
        rig_->charger.setLog(sim::ChargeLog::Unwrapped(25));
        questions_ = information_ = errors_ = {};
    }

    void readings_data() {
        QTest::addColumn<int>("index");
        QTest::addColumn<int>("truncateTo");  // 0: an empty reply; -1: the whole reply
        QTest::addColumn<QString>("expected");
        // The charger's own 18,950 minutes.
        QTest::newRow("run time") << 0 << -1 << "315Hours 50Minutes";
        QTest::newRow("run time, empty reply clears") << 0 << 0 << "";
        const QString live = "charge:27.6V  12.5A\r\nbat1:  13.80V  -0.01A\r\nbat2:  13.79V  0.05A";
        QTest::newRow("live 0AC8 and FFFF") << 1 << -1 << live;
        QTest::newRow("live, empty reply clears") << 1 << 0 << "";
        // Head and two data bytes only: the box keeps the reading it showed.
        QTest::newRow("live, short reply keeps") << 1 << 6 << live;
    }

    void readings() {
        QFETCH(int, index);
        QFETCH(int, truncateTo);
        QFETCH(QString, expected);
        auto& c = rig_->charger;
        c.setLive({0x0AC8, 1250, 1380, 1379, 777, -1, 5, -2});
        page_->CmdGetOK_Click(index);  // a good reading first, to be cleared, kept or replaced
        QVERIFY(!page_->TxtGetText(index).isEmpty());
        sim::Faults f;
        f.truncateTo = truncateTo;
        c.setFaults(f);
        c.clearRequests();

        page_->CmdGetOK_Click(index);

        QCOMPARE(c.requests(), QStringList{index == 0 ? "850357AA000D" : "850358AA000D"});
        QCOMPARE(page_->TxtGet[size_t(index)]->toPlainText().replace('\n', "\r\n"), expected);
    }

    void download_data() {
        QTest::addColumn<int>("records");
        QTest::addColumn<QString>("fault");
        QTest::addColumn<QStringList>("frames");
        QTest::addColumn<int>("rows");
        QTest::addColumn<QString>("progress");
        const QStringList blocks{"850375AA000D", "850678AA000000090D", "850678AA000A00130D",
                                 "850678AA001400180D"};
        const QString done = "Download: 100% finished";
        QTest::newRow("pointer 25") << 25 << "" << blocks << 25 << done;
        QTest::newRow("pointer 1: save, no chart")
            << 1 << "" << QStringList{"850375AA000D", "850678AA000000000D"} << 1 << done;
        // 25 of the 1,895 records the run time promises.
        QTest::newRow("streamed") << 25 << "no pointer"
                                  << QStringList{"850375AA000D", "850357AA000D", "850356AA000D"}
                                  << 25 << "Download: 1% finished";
        // The blocks left unanswered are skipped; what arrived is kept.
        QTest::newRow("charger falls silent after the first block")
            << 25 << "silent" << blocks << 10 << "Download: 40% finished";
    }

    void download() {
        QFETCH(int, records);
        QFETCH(QString, fault);
        QFETCH(QStringList, frames);
        QFETCH(int, rows);
        QFETCH(QString, progress);
        auto& c = rig_->charger;
        sim::ChargeLog log = sim::ChargeLog::Unwrapped(records);
        log.set(0, sim::LogRecord{2760, 1250, 1380, 1379});
        c.setLog(log);
        sim::Faults f;
        f.ignorePointerRequest = fault == "no pointer";
        c.setFaults(f);
        f.silent = fault == "silent";
        c.setRequestListener([&c, f](const QString& frame) {
            if (frame == QLatin1String("850678AA000000090D")) {
                c.setFaults(f);
            }
        });
        // Every control that could start an exchange or load a file over the rows still coming
        // in, looked at as each row arrives.
        const auto locked = rig_->window->findChildren<QWidget*>(
            QRegularExpression("^(CboPort|CmdOK[0-4]|CmdGetOK\\([0-2]\\)|CmdGetOpen)$"));
        QCOMPARE(locked.size(), 10);
        QStringList enabledDuring;
        QObject watch;
        connect(&page_->logTable(), &QAbstractItemModel::rowsInserted, &watch, [&] {
            for (QWidget* w : locked) {
                enabledDuring << (w->isEnabled() ? w->objectName() : QString());
            }
        });
        page_->CmdGetOK[2]->setFocus();
        c.clearRequests();

        QTest::mouseClick(page_->CmdGetOK[2], Qt::LeftButton);

        QCOMPARE(c.requests(), frames);
        QCOMPARE(enabledDuring, QStringList(rows * 10));
        for (QWidget* w : locked) {
            QVERIFY2(w->isEnabled(), qPrintable(w->objectName()));
        }
        QCOMPARE(QApplication::focusWidget(), page_->CmdGetOK[2]);
        const auto& t = page_->logTable();
        QCOMPARE(t.recordCount(), rows);
        QCOMPARE(rowCells(t, 1), QStringList({"0001", "27.60", "12.50", "13.80", "13.79"}));
        for (int r = 2; r <= rows; ++r) {
            QCOMPARE(rowCells(t, r), expectedRow(r, log.at(r - 1)));
        }
        // A chart from two records on. The focus never passed through a range box on the way,
        // whose leave-the-box rule would have shown "1".
        const bool chart = rows > 1;
        QCOMPARE(page_->TxtRow[0]->text() + ".." + page_->TxtRow[1]->text(),
                 chart ? QString::asprintf("0001..%04d", rows) : "..");
        QCOMPARE(page_->LabDownDisp->text(), progress);
        QVERIFY(page_->CmdGetSave->isEnabled());
        QCOMPARE(page_->CmdPrint->isEnabled(), chart);
        QCOMPARE(page_->PP->showsLog(), chart);
    }

    void saveRangeThenOpen() {
        page_->CmdGetOK_Click(2);
        const QString labTime = page_->LabTime->text();
        QTemporaryDir dir;
        savePath_ = dir.filePath("range.csv");
        // Typed as a technician would: leaving a range box turns "0005" into 5, Enter trims.
        page_->TxtRow[0]->setFocus();
        page_->TxtRow[0]->setText("0005");
        page_->TxtRow[1]->setFocus();
        QCOMPARE(page_->TxtRow[0]->text(), QStringLiteral("5"));
        page_->TxtRow[1]->setText("8");
        page_->TxtGetDesc->setText("  bench 3, cells 1-6  ");
        const QImage chart = page_->PP->renderImage(QSize(600, 400));
        QTest::keyClick(page_->TxtGetDesc, Qt::Key_Return);
        QVERIFY(page_->PP->renderImage(QSize(600, 400)) != chart);  // the description drawn
        page_->CmdGetSave->click();

        // Line 2 holds the time of the last saved record, 25 - 8 records of ten minutes earlier.
        const QTime last = QTime::fromString(labTime.right(5), "hh:mm");
        QStringList expected{
            "FileType: ZUN-Log", labTime.chopped(5) + last.addSecs(-170 * 60).toString("hh:mm"),
            "Desc: bench 3, cells 1-6", "record,chr volt,curr,bat1 volt,bat2 volt"};
        for (int r = 5; r <= 8; ++r) {
            expected << expectedRow(r, sim::ChargeLog::Sample(r - 1)).join(',');
        }
        QCOMPARE(QString::fromUtf8(readAll(savePath_)), expected.join("\r\n") + "\r\n");

        // Read back: plain record numbers, the values, time, description and range restored.
        page_->TxtGetDesc->clear();
        openPath_ = savePath_;
        page_->CmdGetOpen->click();
        const auto& t = page_->logTable();
        QCOMPARE(t.recordCount(), 4);
        for (int r = 5; r <= 8; ++r) {
            QCOMPARE(rowCells(t, r - 4), expectedRow(r, sim::ChargeLog::Sample(r - 1), 1));
        }
        QCOMPARE(page_->LabTime->text(), expected.at(1));
        QCOMPARE(page_->TxtGetDesc->text(), QStringLiteral("bench 3, cells 1-6"));
        QCOMPARE(page_->TxtRow[0]->text() + ".." + page_->TxtRow[1]->text(),
                 QStringLiteral("5..8"));
        QVERIFY(page_->CmdGetSave->isEnabled() && page_->CmdPrint->isEnabled());

        // A file of another kind (a blank after the type) is refused and changes nothing.
        const auto before = t.rows();
        openPath_ = dir.filePath("wrong.csv");
        QVERIFY(writeAll(openPath_, "FileType: ZUN-Log \r\n0001,1,2,3,4\r\n"));
        page_->CmdGetOpen->click();
        QCOMPARE(information_, QStringList{"File Type Error!"});
        QVERIFY(t.rows() == before);
    }

    void files_data() {
        QTest::addColumn<QString>("button");
        QTest::addColumn<bool>("answer");     // to the overwrite question
        QTest::addColumn<QString>("chosen");  // the name the file dialog returns
        QTest::addColumn<int>("sizeLimit");   // bytes the process may write, 0: no limit
        QTest::addColumn<QString>("target");  // the file written, there before with old bytes
        // "kept.txt" is saved as kept.csv, which is there: the overwrite question comes first.
        QTest::newRow("save, No") << "CmdGetSave" << false << "kept.txt" << 0 << "kept.csv";
        QTest::newRow("save fails") << "CmdGetSave" << true << "kept.csv" << 256 << "kept.csv";
        QTest::newRow("save, Yes") << "CmdGetSave" << true << "kept.csv" << 0 << "kept.csv";
        QTest::newRow("print") << "CmdPrint" << true << "chart" << 0 << "chart";
        QTest::newRow("pdf, suffix added") << "CmdExportPdf" << true << "chart" << 0 << "chart.pdf";
        QTest::newRow("png") << "CmdExportPng" << true << "chart.png" << 0 << "chart.png";
        QTest::newRow("png fails") << "CmdExportPng" << true << "chart.png" << 4096 << "chart.png";
    }

    void files() {
        QFETCH(QString, button);
        QFETCH(bool, answer);
        QFETCH(QString, chosen);
        QFETCH(int, sizeLimit);
        QFETCH(QString, target);
        page_->CmdGetOK_Click(2);
        QTemporaryDir dir;
        const QByteArray old = "FileType: ZUN-Log\r\nsomething older\r\n";
        QVERIFY(writeAll(dir.filePath(target), old));
        savePath_ = dir.filePath(chosen);
        answer_ = answer;
        rlimit saved{};
        getrlimit(RLIMIT_FSIZE, &saved);
        const rlimit lower{sizeLimit > 0 ? rlim_t(sizeLimit) : saved.rlim_cur, saved.rlim_max};
        setrlimit(RLIMIT_FSIZE, &lower);
        rig_->window->findChild<QPushButton*>(button)->click();
        setrlimit(RLIMIT_FSIZE, &saved);
        answer_ = true;

        const QString question = "File '" + target + "' already exist. Overwrte it ?";
        QCOMPARE(questions_, button == "CmdGetSave" ? QStringList{question} : QStringList());
        QCOMPARE(errors_.size(), sizeLimit > 0 ? 1 : 0);
        QCOMPARE(errors_.filter(target), errors_);
        // The reason in words, and the downloaded log still there to save elsewhere.
        QCOMPARE(errors_.filter("File too large: the file size limit was reached"), errors_);
        QCOMPARE(page_->logTable().recordCount(), 25);
        // Nothing half-written stays behind beside it.
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files), QStringList{target});
        const QByteArray bytes = readAll(dir.filePath(target));
        if (!answer || sizeLimit > 0) {
            QCOMPARE(bytes, old);
        } else if (button == "CmdGetSave") {
            QVERIFY2(bytes.startsWith("FileType: ZUN-Log\r\nTime: "), bytes.constData());
        } else if (button != "CmdExportPng") {
            QVERIFY2(bytes.startsWith("%PDF"), bytes.left(16).constData());
            // Page objects: "/Type /Page", not "/Type /Pages".
            QCOMPARE(QString(bytes).count(QRegularExpression("/Type\\s*/Page\\b")), 1);
        } else {
            const QImage image = QImage::fromData(bytes, "PNG");
            QCOMPARE(image.size(), app::GetDataPage::exportImageSize());
            // Pixels of each curve colour inside the plot frame, where only the grid and the
            // curves are drawn (the scale labels of the same colours stand outside it).
            const QRect frame = ChartFrameRect(image, QRectF(image.rect())).toAlignedRect();
            const QImage plot =
                image.copy(frame.adjusted(3, 3, -3, -3)).convertToFormat(QImage::Format_RGB32);
            const auto* bits = reinterpret_cast<const QRgb*>(plot.constBits());
            QList<qsizetype> px;
            for (QRgb colour : {kVoltageColour, kCurrentColour, kChargeColour}) {
                px << std::count(bits, bits + plot.width() * plot.height(), colour);
            }
            QVERIFY2(*std::min_element(px.cbegin(), px.cend()) > 100,
                     qPrintable(QString("curve pixels %1 %2 %3").arg(px[0]).arg(px[1]).arg(px[2])));
        }
    }

    void layout() {
        // The smallest screen, with a caption much longer than the window's own as a language
        // file may give it: no two controls overlap, none is squeezed, all stay on the page.
        page_->CmdGetOK[0]->setText("Gesamte Betriebszeit des Ladegeraets lesen");
        rig_->window->resize(1024, 768);
        rig_->window->Tab1->setCurrentIndex(0);
        rig_->window->Tab1->setCurrentIndex(1);
        auto controls = page_->findChildren<QWidget*>(QRegularExpression("^(Cmd|Txt|Lab|FG1|PP)"));
        controls.removeIf([](QWidget* c) { return !c->isVisible(); });
        QCOMPARE(controls.size(), 22);  // with the monitor's interval, record button and count
        auto rectOf = [this](QWidget* c) { return QRect(c->mapTo(page_, QPoint()), c->size()); };
        for (QWidget* a : controls) {
            QVERIFY2(
                page_->rect().contains(rectOf(a)) && a->width() >= a->minimumSizeHint().width(),
                qPrintable(a->objectName()));
            for (QWidget* b : controls) {
                QVERIFY2(a == b || !rectOf(a).intersects(rectOf(b)),
                         qPrintable(a->objectName() + " / " + b->objectName()));
            }
        }
        // All five table columns side by side.
        QVERIFY(page_->FG1->horizontalHeader()->length() <= page_->FG1->viewport()->width());
    }
};

QTEST_MAIN(TestGetData)
#include "test_get_data.moc"
