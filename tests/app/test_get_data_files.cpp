#include "test_get_data_support.h"

#include "link/codec.h"

#include <QPrinter>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/resource.h>
#include <csignal>

using namespace zun;
using namespace getdata_test;

namespace {

// A log file as the window writes it, with records numbered 1..count.
QByteArray logFile(int count, const QString& time = "Time: 15.11.26 00:20",
                   const QString& desc = "bench 3") {
    QStringList lines{"FileType: ZUN-Log", time, "Desc: " + desc,
                      "record,chr volt,curr,bat1 volt,bat2 volt"};
    for (int r = 1; r <= count; ++r) {
        const int v = 1240 + 10 * r;
        const int a = r < count / 2 ? 1000 : 1000 / r;
        lines << QString("%1,%2,%3,%4,%5")
                     .arg(QString::number(r).rightJustified(4, '0'), hundredthsText(v),
                          hundredthsText(a), hundredthsText(v - 5), hundredthsText(v - 7));
    }
    return (lines.join("\r\n") + "\r\n").toUtf8();
}

// The page on its own, every dialog answered by the test.
struct Page {
    app::WindowState state;
    app::GetDataPage page{state};
    QTemporaryDir dir;
    QString openPath;
    QString savePath;
    QString proposed;
    QStringList questions;
    bool answer = true;
    QStringList information;
    QStringList errors;

    Page() {
        page.dialogs.openLogName = [this](const QString& preset) {
            return preset == QLatin1String("*.csv") ? openPath : QString();
        };
        page.dialogs.saveLogName = [this](const QString& p) {
            proposed = p;
            return savePath;
        };
        page.dialogs.exportName = [this](const QString& p, const QString&) {
            proposed = p;
            return savePath;
        };
        page.dialogs.askYesNo = [this](const QString& q) {
            questions << q;
            return answer;
        };
        page.dialogs.information = [this](const QString& t) { information << t; };
        page.dialogs.error = [this](const QString& t) { errors << t; };
    }
    QString path(const QString& name) const { return dir.filePath(name); }
    // Opens a file holding these bytes through the page's Open button.
    void open(const QByteArray& bytes, const QString& name = "in.csv") {
        openPath = path(name);
        QVERIFY(writeAll(openPath, bytes));
        page.CmdGetOpen_Click();
    }
};

// Lowers the largest file this process may write, so that a save fails like on a full disk.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) {
        getrlimit(RLIMIT_FSIZE, &saved_);
        previous_ = std::signal(SIGXFSZ, SIG_IGN);
        rlimit lower = saved_;
        lower.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &lower);
    }
    ~FileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &saved_);
        std::signal(SIGXFSZ, previous_);
    }

private:
    rlimit saved_{};
    void (*previous_)(int) = nullptr;
};

}  // namespace

class TestGetDataFiles : public QObject {
    Q_OBJECT
private slots:
    void saveName_data();
    void saveName();
    void saveRange_data();
    void saveRange();
    void overwrite_data();
    void overwrite();
    void failedSave_data();
    void failedSave();
    void openRefuses_data();
    void openRefuses();
    void openSetsRangeAndButtons_data();
    void openSetsRangeAndButtons();
    void rangeBoxes_data();
    void rangeBoxes();
    void description_data();
    void description();
    void printOnePage();
    void exports_data();
    void exports();
    void layout_data();
    void layout();
};

void TestGetDataFiles::saveName_data() {
    QTest::addColumn<QString>("chosen");
    QTest::addColumn<QString>("written");
    QTest::newRow("log.txt") << "log.txt"
                             << "log.csv";
    QTest::newRow("dot in the folder") << "my.logs/day1.csv"
                                       << "my.csv";
}

void TestGetDataFiles::saveName() {
    QFETCH(QString, chosen);
    QFETCH(QString, written);
    Page p;
    QVERIFY(QDir(p.dir.path()).mkpath("my.logs"));
    p.open(logFile(3));
    p.savePath = p.path(chosen);
    p.page.CmdGetSave_Click();
    QVERIFY2(QRegularExpression("/ZUN-Log-\\d{6}-\\d{6}\\.csv$").match(p.proposed).hasMatch(),
             qPrintable(p.proposed));
    QVERIFY2(QFileInfo(p.path(written)).isFile(), qPrintable(p.path(written)));
    if (written != chosen) {
        QVERIFY2(!QFileInfo(p.path(chosen)).isFile(), qPrintable(chosen));
    }
    QVERIFY(readAll(p.path(written)).startsWith("FileType: ZUN-Log\r\n"));
    QCOMPARE(p.questions, QStringList());
    QCOMPARE(p.errors, QStringList());
}

void TestGetDataFiles::saveRange_data() {
    QTest::addColumn<QString>("from");
    QTest::addColumn<QString>("to");
    QTest::addColumn<QString>("timeLine");
    QTest::addColumn<QList<int>>("records");
    QTest::newRow("5..8") << "5"
                          << "8"
                          << "Time: 15.11.26 23:40" << QList<int>{5, 6, 7, 8};
    QTest::newRow("to 9 wraps past midnight, date kept")
        << "1"
        << "9"
        << "Time: 15.11.26 23:50" << QList<int>{1, 2, 3, 4, 5, 6, 7, 8, 9};
    QTest::newRow("to the last record") << "11"
                                        << "12"
                                        << "Time: 15.11.26 00:20" << QList<int>{11, 12};
    QTest::newRow("empty boxes: header only") << ""
                                              << ""
                                              << "Time: 15.11.26 22:20" << QList<int>{};
}

void TestGetDataFiles::saveRange() {
    QFETCH(QString, from);
    QFETCH(QString, to);
    QFETCH(QString, timeLine);
    QFETCH(QList<int>, records);
    Page p;
    const QByteArray source = logFile(12);
    p.open(source);
    QCOMPARE(p.page.logTable().recordCount(), 12);
    p.page.TxtRow[0]->setText(from);
    p.page.TxtRow[1]->setText(to);
    p.savePath = p.path("out.csv");
    p.page.CmdGetSave_Click();

    const QStringList in = QString::fromUtf8(source).split("\r\n");
    QStringList expected{"FileType: ZUN-Log", timeLine, "Desc: bench 3", in.at(3)};
    for (int r : records) {
        // Loaded records carry plain numbers: "0005" was read as "5".
        expected << QString::number(r) + in.at(3 + r).mid(4);
    }
    QCOMPARE(QString::fromUtf8(readAll(p.savePath)), expected.join("\r\n") + "\r\n");
}

void TestGetDataFiles::overwrite_data() {
    QTest::addColumn<bool>("answer");
    QTest::newRow("No keeps the file") << false;
    QTest::newRow("Yes replaces it") << true;
}

void TestGetDataFiles::overwrite() {
    QFETCH(bool, answer);
    Page p;
    p.open(logFile(4));
    p.savePath = p.path("kept.txt");  // becomes kept.csv, which exists
    const QByteArray old = "FileType: ZUN-Log\r\nsomething older\r\n";
    QVERIFY(writeAll(p.path("kept.csv"), old));
    p.answer = answer;
    p.page.CmdGetSave_Click();
    QCOMPARE(p.questions, QStringList{"File 'kept.csv' already exist. Overwrte it ?"});
    const QByteArray now = readAll(p.path("kept.csv"));
    if (answer) {
        QVERIFY2(now.contains("\r\n4,"), now.constData());
    } else {
        QCOMPARE(now, old);
    }
}

void TestGetDataFiles::failedSave_data() {
    QTest::addColumn<QString>("target");
    QTest::addColumn<bool>("limitSize");
    QTest::newRow("write fails (file size limit)") << "old.csv" << true;
    QTest::newRow("folder missing") << "no/such/folder/new.csv" << false;
}

void TestGetDataFiles::failedSave() {
    QFETCH(QString, target);
    QFETCH(bool, limitSize);
    Page p;
    p.open(logFile(200));
    p.page.TxtRow[0]->setText("1");
    p.page.TxtRow[1]->setText("200");
    const QByteArray old = "FileType: ZUN-Log\r\nthe earlier log\r\n";
    const bool existed = !target.contains('/');
    if (existed) {
        QVERIFY(writeAll(p.path(target), old));
    }
    p.savePath = p.path(target);
    {
        std::unique_ptr<FileSizeLimit> limit;
        if (limitSize) {
            limit = std::make_unique<FileSizeLimit>(1024);
        }
        p.page.CmdGetSave_Click();
    }
    QCOMPARE(p.errors.size(), 1);
    QVERIFY2(p.errors.first().contains(QFileInfo(target).fileName()), qPrintable(p.errors.first()));
    if (existed) {
        QCOMPARE(readAll(p.path(target)), old);
    } else {
        QVERIFY(!QFileInfo::exists(p.path(target)));
    }
    // Nothing half-written stays behind beside the target.
    const QStringList left = QDir(p.dir.path()).entryList(QDir::Files);
    QCOMPARE(left, existed ? QStringList({"in.csv", target}) : QStringList{"in.csv"});
}

void TestGetDataFiles::openRefuses_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("blank after ZUN-Log") << QByteArray("FileType: ZUN-Log \r\n");
    QTest::newRow("a spreadsheet") << QByteArray("a,b,c\r\n1,2,3\r\n");
    QTest::newRow("binary") << QByteArray("\x89PNG\r\n\x1a\n\0\0\0", 12);
}

void TestGetDataFiles::openRefuses() {
    QFETCH(QByteArray, bytes);
    Page p;
    p.open(logFile(7, "Time: 01.02.26 10:30", "kept desc"));
    QCOMPARE(p.page.logTable().recordCount(), 7);
    const auto before = p.page.logTable().rows();
    p.open(bytes, "wrong.csv");
    QCOMPARE(p.information, QStringList{"File Type Error!"});
    QCOMPARE(p.errors, QStringList());
    QVERIFY(p.page.logTable().rows() == before);
    QCOMPARE(p.page.LabTime->text(), QStringLiteral("Time: 01.02.26 10:30"));
    QCOMPARE(p.page.TxtGetDesc->text(), QStringLiteral("kept desc"));
    QCOMPARE(p.page.TxtRow[1]->text(), QStringLiteral("7"));
}

void TestGetDataFiles::openSetsRangeAndButtons_data() {
    QTest::addColumn<int>("records");
    QTest::addColumn<QString>("from");
    QTest::addColumn<QString>("to");
    QTest::addColumn<bool>("save");
    QTest::addColumn<bool>("print");
    QTest::newRow("no records") << 0 << ""
                                << "" << false << false;
    QTest::newRow("one record: save only") << 1 << ""
                                           << "" << true << false;
    QTest::newRow("two records") << 2 << "1"
                                 << "2" << true << true;
    QTest::newRow("4320 records") << 4320 << "1"
                                  << "4320" << true << true;
}

void TestGetDataFiles::openSetsRangeAndButtons() {
    QFETCH(int, records);
    QFETCH(QString, from);
    QFETCH(QString, to);
    QFETCH(bool, save);
    QFETCH(bool, print);
    Page p;
    p.page.TxtRow[0]->setText("3");
    p.page.TxtRow[1]->setText("4");
    p.open(logFile(records));
    QCOMPARE(p.page.logTable().recordCount(), records);
    QCOMPARE(p.page.TxtRow[0]->text(), from);
    QCOMPARE(p.page.TxtRow[1]->text(), to);
    QCOMPARE(p.page.CmdGetSave->isEnabled(), save);
    QCOMPARE(p.page.CmdPrint->isEnabled(), print);
    QCOMPARE(p.page.CmdExportPng->isEnabled(), print);
    QCOMPARE(p.page.chargeAh().size(), size_t(records + 1));
    if (records >= 2) {
        // AH(r) = AH(r - 1) + (I(r - 1) + I(r)) / 6, from the "curr" cells.
        const float i1 = link::TextToSingle(p.page.logTable().cell(1, 2));
        const float i2 = link::TextToSingle(p.page.logTable().cell(2, 2));
        QCOMPARE(p.page.chargeAh().at(2), (i1 + i2) * float(1.0 / 6.0));
    }
    // A load always charts what it loaded.
    QVERIFY(p.page.PP->showsLog());
}

void TestGetDataFiles::rangeBoxes_data() {
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("shown");
    QTest::newRow("0005") << "0005"
                          << "5";
    QTest::newRow("empty") << ""
                           << "1";
    QTest::newRow("not a number") << "abc"
                                  << "1";
}

void TestGetDataFiles::rangeBoxes() {
    QFETCH(QString, typed);
    QFETCH(QString, shown);
    Page p;
    p.page.show();
    p.page.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&p.page));
    for (int i = 0; i < 2; ++i) {
        QLineEdit* box = p.page.TxtRow[static_cast<size_t>(i)];
        box->setFocus();
        QTRY_VERIFY(box->hasFocus());
        box->setText(typed);
        // Leaving the box by the keyboard, as a technician would.
        QTest::keyClick(box, Qt::Key_Tab);
        QTRY_VERIFY(!box->hasFocus());
        QCOMPARE(box->text(), shown);
    }
}

void TestGetDataFiles::description_data() {
    QTest::addColumn<QString>("typed");
    QTest::addColumn<int>("key");
    QTest::addColumn<QString>("shown");
    QTest::newRow("Enter trims") << "  cells 1-6  " << int(Qt::Key_Return) << "cells 1-6";
    QTest::newRow("keypad Enter trims") << " x " << int(Qt::Key_Enter) << "x";
    QTest::newRow("other keys leave it") << "  cells  " << int(Qt::Key_Shift) << "  cells  ";
}

void TestGetDataFiles::description() {
    QFETCH(QString, typed);
    QFETCH(int, key);
    QFETCH(QString, shown);
    Page p;
    p.open(logFile(30, "Time: 15.11.26 00:20", ""));
    const QImage before = p.page.PP->renderImage(QSize(800, 500));
    p.page.TxtGetDesc->setText(typed);
    QTest::keyClick(p.page.TxtGetDesc, Qt::Key(key));
    QCOMPARE(p.page.TxtGetDesc->text(), shown);
    // The chart shows the description only once it has been confirmed.
    const bool redrawn = p.page.PP->renderImage(QSize(800, 500)) != before;
    QCOMPARE(redrawn, shown != typed);
}

void TestGetDataFiles::printOnePage() {
    Page p;
    p.open(logFile(144));
    QVERIFY(p.page.CmdPrint->isEnabled());
    const QString pdf = p.path("printed.pdf");
    bool asked = false;
    QPageLayout::Orientation offered = QPageLayout::Portrait;
    p.page.dialogs.print = [&](QPrinter& printer) {
        asked = true;
        offered = printer.pageLayout().orientation();
        printer.setOutputFormat(QPrinter::PdfFormat);
        printer.setOutputFileName(pdf);
        return true;
    };
    p.page.CmdPrint_Click();
    QVERIFY(asked);
    QCOMPARE(offered, QPageLayout::Landscape);
    const QByteArray bytes = readAll(pdf);
    QVERIFY2(bytes.startsWith("%PDF"), bytes.left(16).constData());
    QCOMPARE(pdfPageCount(bytes), 1);
    const QSizeF box = pdfMediaBox(bytes);
    QVERIFY2(box.width() > box.height(),
             qPrintable(QString("%1 x %2").arg(box.width()).arg(box.height())));
    QCOMPARE(p.errors, QStringList());

    // A cancelled print dialog prints nothing.
    QVERIFY(QFile::remove(pdf));
    p.page.dialogs.print = [&](QPrinter& printer) {
        printer.setOutputFormat(QPrinter::PdfFormat);
        printer.setOutputFileName(pdf);
        return false;
    };
    p.page.CmdPrint_Click();
    QVERIFY(!QFileInfo::exists(pdf));
}

void TestGetDataFiles::exports_data() {
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("chosen");
    QTest::addColumn<QString>("written");
    QTest::addColumn<bool>("limitSize");
    QTest::newRow("pdf") << "pdf"
                         << "chart.pdf"
                         << "chart.pdf" << false;
    QTest::newRow("pdf, suffix added") << "pdf"
                                       << "chart"
                                       << "chart.pdf" << false;
    QTest::newRow("png") << "png"
                         << "chart.png"
                         << "chart.png" << false;
    QTest::newRow("png into a missing folder") << "png"
                                               << "none/chart.png"
                                               << "" << false;
    QTest::newRow("pdf over an old one, write fails") << "pdf"
                                                      << "old.pdf"
                                                      << "" << true;
    QTest::newRow("png over an old one, write fails") << "png"
                                                      << "old.png"
                                                      << "" << true;
}

void TestGetDataFiles::exports() {
    QFETCH(QString, kind);
    QFETCH(QString, chosen);
    QFETCH(QString, written);
    QFETCH(bool, limitSize);
    Page p;
    p.open(logFile(144));
    p.savePath = p.path(chosen);
    const QByteArray old = "an older picture";
    if (limitSize) {
        QVERIFY(writeAll(p.savePath, old));
    }
    {
        std::unique_ptr<FileSizeLimit> limit;
        if (limitSize) {
            limit = std::make_unique<FileSizeLimit>(4096);
        }
        if (kind == "pdf") {
            p.page.CmdExportPdf_Click();
        } else {
            p.page.CmdExportPng_Click();
        }
    }
    QVERIFY2(p.proposed.endsWith("." + kind), qPrintable(p.proposed));
    if (written.isEmpty()) {
        QCOMPARE(p.errors.size(), 1);
        if (limitSize) {
            QCOMPARE(readAll(p.savePath), old);
        } else {
            QVERIFY(!QFileInfo::exists(p.savePath));
        }
        return;
    }
    QCOMPARE(p.errors, QStringList());
    const QByteArray bytes = readAll(p.path(written));
    if (kind == "pdf") {
        QVERIFY2(bytes.startsWith("%PDF"), bytes.left(16).constData());
        QCOMPARE(pdfPageCount(bytes), 1);
        return;
    }
    QImage image;
    QVERIFY(image.loadFromData(bytes, "PNG"));
    QCOMPARE(image.size(), app::GetDataPage::exportImageSize());
    const CurvePixels px = countCurvePixels(image);
    QVERIFY2(px.voltage > 100 && px.current > 100 && px.charge > 100,
             qPrintable(
                 QString("curve pixels %1 %2 %3").arg(px.voltage).arg(px.current).arg(px.charge)));
}

void TestGetDataFiles::layout_data() {
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QString>("runTimeCaption");
    QTest::newRow("1024x768") << QSize(1024, 768) << QString();
    QTest::newRow("1920x1080") << QSize(1920, 1080) << QString();
    // A language file may give a button a much longer caption.
    QTest::newRow("1024x768, long caption")
        << QSize(1024, 768) << "Gesamte Betriebszeit des Ladegeraets lesen";
}

void TestGetDataFiles::layout() {
    QFETCH(QSize, size);
    QFETCH(QString, runTimeCaption);
    app::StartOptions options;
    options.systemDevices = false;
    app::FrmMain w(options);
    w.Form_Load();
    if (!runTimeCaption.isEmpty()) {
        w.findChild<QPushButton*>("CmdGetOK(0)")->setText(runTimeCaption);
    }
    w.resize(size);
    w.show();
    QVERIFY(QTest::qWaitForWindowExposed(&w));
    w.Tab1->setCurrentIndex(1);
    app::GetDataPage* page = w.getDataPage();
    QCoreApplication::processEvents();

    // Every column of the table is visible side by side.
    int columns = 0;
    for (int c = 0; c < 5; ++c) {
        columns += page->FG1->columnWidth(c);
        QVERIFY2(page->FG1->columnWidth(c) >= page->FG1->fontMetrics().horizontalAdvance(
                                                  datalog::LogTableModel::HeaderTexts().at(c)),
                 qPrintable(QString("column %1 is %2 px").arg(c).arg(page->FG1->columnWidth(c))));
    }
    QVERIFY2(
        page->FG1->viewport()->width() >= columns,
        qPrintable(
            QString("viewport %1 < columns %2").arg(page->FG1->viewport()->width()).arg(columns)));

    // No two controls overlap, and all lie within the page.
    QList<QWidget*> controls{page->CmdGetOK[0],  page->CmdGetOK[1], page->CmdGetOK[2],
                             page->TxtGet[0],    page->TxtGet[1],   page->FG1,
                             page->TxtRow[0],    page->TxtRow[1],   page->TxtGetDesc,
                             page->LabelGetDesc, page->LabTime,     page->CmdGetSave,
                             page->CmdGetOpen,   page->CmdPrint,    page->CmdExportPdf,
                             page->CmdExportPng, page->PP};
    auto rectOf = [page](QWidget* c) { return QRect(c->mapTo(page, QPoint(0, 0)), c->size()); };
    for (int i = 0; i < controls.size(); ++i) {
        const QRect a = rectOf(controls[i]);
        QVERIFY2(a.width() >= controls[i]->minimumSizeHint().width(),
                 qPrintable(controls[i]->objectName() + " is squeezed"));
        QVERIFY2(page->rect().contains(a),
                 qPrintable(controls[i]->objectName() + " leaves the page"));
        for (int j = i + 1; j < controls.size(); ++j) {
            QVERIFY2(
                !a.intersects(rectOf(controls[j])),
                qPrintable(controls[i]->objectName() + " overlaps " + controls[j]->objectName()));
        }
    }
    // Print stands beside the chart: right below it, within its width.
    const QRect chart = rectOf(page->PP);
    const QRect print = rectOf(page->CmdPrint);
    QVERIFY(print.top() >= chart.bottom());
    QVERIFY(print.top() - chart.bottom() < 3 * print.height());
    QVERIFY(print.left() >= chart.left() && print.right() <= chart.right());
    // The chart gets the room the table leaves.
    QVERIFY2(chart.width() >= size.width() / 2,
             qPrintable(QString("chart %1 px wide").arg(chart.width())));
}

QTEST_MAIN(TestGetDataFiles)
#include "test_get_data_files.moc"
