#include "datalog/charge_ah.h"
#include "datalog/log_chart.h"
#include "datalog/log_csv.h"
#include "datalog_support.h"

#include <QtTest>

#include <sys/resource.h>

#include <csignal>

using namespace zun::datalog;

namespace {

QByteArray readAll(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("<unreadable>");
}

}  // namespace

void DatalogTest::textRules_data() {
    // The chosen name and the one written by the ".csv" rule, or a range box before and after
    // it loses the focus.
    QTest::addColumn<QStringList>("texts");
    QTest::newRow("log.txt") << QStringList{"log.txt", "log.csv"};
    QTest::newRow("log") << QStringList{"log", "log.csv"};
    QTest::newRow("a.b.csv") << QStringList{"a.b.csv", "a.csv"};
    QTest::newRow("dotted folder") << QStringList{"/home/u/my.logs/day1.csv", "/home/u/my.csv"};
    QTest::newRow("default name") << QStringList{
        DefaultLogFileName(QDateTime({2026, 11, 15}, {11, 34, 2})), "ZUN-Log-261115-113402.csv"};
    QTest::newRow("range 0005") << QStringList{" 0005 ", "5"};
    QTest::newRow("range empty") << QStringList{"", "1"};
    QTest::newRow("range not a number") << QStringList{"abc", "1"};
}

void DatalogTest::textRules() {
    QFETCH(QStringList, texts);
    QCOMPARE(texts[1].endsWith(".csv") ? ForceCsvExtension(texts[0]) : NormaliseRangeText(texts[0]),
             texts[1]);
    QCOMPARE(OverwriteQuestion(texts[1]),
             "File '" + QFileInfo(texts[1]).fileName() + "' already exist. Overwrte it ?");
}

void DatalogTest::saveAndLoad_data() {
    // LabTime, TxtRow(0) and TxtRow(1) over records 0001..0012, where the save goes (beside or
    // below an older log.csv) and a file size limit in bytes; then the saved time line, the
    // first and last record saved and the page once the file is loaded back, or "refused".
    QTest::addColumn<QStringList>("in");
    QTest::addColumn<QString>("out");
    const QString d = "Time: 21/11/2026 ";
    QTest::newRow("5 to 8") << QStringList{d + "12:00", "5", "8"} << d + "11:20 | 5-8 | SPC 5..8";
    QTest::newRow("00:20, to 9: past midnight, date kept")
        << QStringList{d + "00:20", "1", "9"} << d + "23:50 | 1-9 | SPC 1..9";
    QTest::newRow("one record") << QStringList{"Time: x 08:40", "3", "3"}
                                << "Time: x 07:10 | 3-3 | S-C ..";
    QTest::newRow("days back") << QStringList{"Time: x 00:05", "1", "-300"}
                               << "Time: x 20:05 |  | --C ..";
    QTest::newRow("empty boxes") << QStringList{"Time: x 08:40", "", ""}
                                 << "Time: x 06:40 |  | --C ..";
    // The CSV, PNG and PDF writers all fail without touching the old file.
    QTest::newRow("a file where the folder should be")
        << QStringList{d, "1", "12", "log.csv/new.csv"} << "refused";
    // The buffered tail fails only at the flush: the commit must not rename it over the old file.
    QTest::newRow("file size limit, as a full disk")
        << QStringList{d, "1", "12", "log.csv", "64"} << "refused";
}

void DatalogTest::saveAndLoad() {
    QFETCH(QStringList, in);
    QFETCH(QString, out);
    LogTableModel table;  // records 0001..0012 with distinct values
    for (int n = 1; n <= 12; ++n) {
        table.appendRow({QString::asprintf("%04d", n), QString::asprintf("27.%02d", n),
                         QString::asprintf("9.%02d", 99 - n), "13.80", "13.79"});
    }
    const std::vector<float> ah = ComputeChargeAh(table);
    QTemporaryDir dir;
    const QString path = dir.filePath("log.csv");
    const QString target = dir.filePath(in.value(3, "log.csv"));
    const QByteArray old = "FileType: ZUN-Log\r\nan older log\r\n";
    QFile oldFile(path);
    QVERIFY(oldFile.open(QIODevice::WriteOnly) && oldFile.write(old) == old.size());
    oldFile.close();
    const QString desc = QString::fromUtf8("Gärtnerei – 24 V, Bank A");
    const bool refused = out == "refused";
    rlimit saved{};
    getrlimit(RLIMIT_FSIZE, &saved);
    const rlimit lowered{in.size() > 4 ? rlim_t(in[4].toInt()) : saved.rlim_cur, saved.rlim_max};
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);  // writes past the limit get EFBIG
    setrlimit(RLIMIT_FSIZE, &lowered);
    const FileResult r = SaveLogCsv(target, table, {in[0], desc, in[1], in[2]});
    const FileResult png = refused ? SaveChartPng({table, ah, in[0], desc}, {320, 200}, target) : r;
    const FileResult pdf = refused ? ExportChartPdf({table, ah, in[0], desc}, target) : r;
    setrlimit(RLIMIT_FSIZE, &saved);
    std::signal(SIGXFSZ, handler);
    QVERIFY2(r.ok != refused && png.ok == r.ok && pdf.ok == r.ok && r.error.isEmpty() == r.ok,
             qPrintable(r.error + " / " + png.error + " / " + pdf.error));
    // Nothing half-written is left behind, and a failed save leaves the old file as it was.
    QCOMPARE(QDir(dir.path()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries),
             QStringList{"log.csv"});
    if (refused) {
        QCOMPARE(readAll(path), old);
        return;
    }
    const QString timeLine = out.section(" | ", 0, 0);
    const QString range = out.section(" | ", 1, 1);
    QStringList lines{"FileType: ZUN-Log", timeLine, "Desc: " + desc,
                      "record,chr volt,curr,bat1 volt,bat2 volt"};
    QStringList loaded{timeLine, desc};  // a load gives "5" for "0005", the rest as written
    for (int n = qMax(1, range.section('-', 0, 0).toInt()); n <= range.section('-', 1).toInt();
         ++n) {
        lines << rowTexts(table.rows()).at(n - 1);
        loaded << QString::number(n) + lines.last().mid(4);
    }
    QCOMPARE(QString::fromUtf8(readAll(path)), lines.join("\r\n") + "\r\n");
    const CsvLoadResult back = LoadLogCsv(path);
    QCOMPARE(QStringList({back.labTime, back.description}) + rowTexts(back.rows), loaded);
    table.setRows(back.rows);
    QCOMPARE(finishState(FinishLoad(table, back.labTime)), out.section(" | ", 2));
    QVERIFY(LoadLogCsv(path + "x").status == CsvLoadResult::Status::ReadError);
    // The chart's time axis counts back the same way.
    QCOMPARE(RecordTimeText(in[0], 12 - int(in[2].toFloat())), timeLine.right(5));
    // An absurd range still gives a time of day, at once.
    QCOMPARE(SavedTimeLine(in[0], 1.0e30f, 0.f)
                 .replace(QRegularExpression("[0-2]\\d:[0-5]\\d$"), "hh:mm"),
             in[0].chopped(5) + "hh:mm");
}

void DatalogTest::load_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("loaded");  // LabTime | description | the first rows, or the error
    const QByteArray head = "FileType: ZUN-Log\r\nTime: t 10:00\r\nDesc: d\r\n";
    const QString t = "Time: t 10:00 | d | ";
    const QString refused = QString(kFileTypeError) + " |  | ";
    QTest::newRow("header skipped, record made plain")
        << head + "record,chr volt,curr,bat1 volt,bat2 volt\r\n0001,27.60,12.50,13.80,13.79\r\n"
        << t + "1,27.60,12.50,13.80,13.79";
    QTest::newRow("only the type")
        << QByteArray("ZUN-Log\r\nT\r\nDesc: e\r\n1,2,3,4,5") << QString("T | e | 1,2,3,4,5");
    QTest::newRow("trailing blank refused")
        << QByteArray("FileType: ZUN-Log \r\nT\r\nDesc: e\r\n1,2,3,4,5") << refused;
    QTest::newRow("empty file") << QByteArray() << refused;
    QTest::newRow("short and non-numbered lines skipped, values kept as written")
        << head +
               "0001,27.60,12.50,13.80\r\n0000,1,2,3,4\r\nabc,1,2,3,4\r\n-3,1,2,3,4\r\n"
               ",1,2,3,4\r\n0007,27.6,12.5,abc,-0\r\n"
        << t + "7,27.6,12.5,abc,-0";
    QTest::newRow("LF, CR and blank lines") << head + "1,1,2,3,4\n\n\r\n2,1,2,3,4\r3,1,2,3,4"
                                            << t + "1,1,2,3,4 ; 2,1,2,3,4 ; 3,1,2,3,4";
    QTest::newRow("Latin-1") << QByteArray("ZUN-Log\r\nT\r\nDesc: G\xE4rtnerei\r\n")
                             << QString::fromUtf8("T | Gärtnerei | ");
    QByteArray many = head;
    for (int i = 0; i < kMaxCsvDataLines + 50; ++i) {
        many += QByteArray::number(i + 1) + ",1,2,3,4\r\n";
    }
    QTest::newRow("more lines than a log holds")
        << many
        << t + QString("1,1,2,3,4 ; 2,1,2,3,4 ; 3,1,2,3,4 | cut at %1").arg(kMaxCsvDataLines);
}

void DatalogTest::load() {
    QFETCH(QByteArray, bytes);
    QFETCH(QString, loaded);
    const CsvLoadResult r = ParseLogCsv(bytes);
    const QString got = r.labTime + " | " + r.description + " | " +
                        rowTexts(r.rows).mid(0, 3).join(" ; ") +
                        (r.truncated ? " | cut at " + r.rows.back()[0] : "");
    QCOMPARE(r.status == CsvLoadResult::Status::Loaded ? got : r.error + got, loaded);
}

void DatalogTest::chargeAh_data() {
    QTest::addColumn<QStringList>("currents");
    QTest::addColumn<QList<float>>("ah");  // the last values, by grid row
    QTest::newRow("header only") << QStringList{} << QList<float>{0.f};
    // Sum of both currents times one sixth, not their mean.
    QTest::newRow("falling") << QStringList{"6.00", "6.00", "3.00", "0.50"}
                             << QList<float>{0.f, 0.f, 2.f, 3.5f, 4.0833335f};
    QTest::newRow("unreadable current is 0")
        << QStringList{"3.00", "x", "-3.00"} << QList<float>{0.f, 0.f, 0.5f, 0.f};
    // Each sum is stored as a single: a double accumulator would end at 66.6666641.
    QTest::newRow("single-precision sums")
        << QStringList(2001, "0.10") << QList<float>{66.6659927f};
}

void DatalogTest::chargeAh() {
    QFETCH(QStringList, currents);
    QFETCH(QList<float>, ah);
    std::vector<LogRow> rows;
    for (const QString& c : currents) {
        rows.push_back({"1", "27.00", c, "13.00", "13.00"});
    }
    const std::vector<float> got = ComputeChargeAh(rows);
    QCOMPARE(int(got.size()), int(currents.size()) + 1);
    QCOMPARE(QList<float>(got.end() - ah.size(), got.end()), ah);
}
