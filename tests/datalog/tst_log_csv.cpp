#include "datalog/charge_ah.h"
#include "datalog/log_csv.h"
#include "datalog/log_finish.h"
#include "datalog/log_table_model.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/resource.h>

#include <csignal>

using namespace zun::datalog;

namespace {

// Records 0001..count with distinct values.
std::vector<LogRow> makeRows(int count) {
    std::vector<LogRow> rows;
    for (int n = 1; n <= count; ++n) {
        rows.push_back(
            {QString::number(n).rightJustified(4, '0'), QString::number(27.0 + n / 100.0, 'f', 2),
             QString::number(10.0 - n / 100.0, 'f', 2), QString("13.80"), QString("13.79")});
    }
    return rows;
}

QByteArray readAll(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("<unreadable>");
}

bool writeAll(const QString& path, const QByteArray& bytes) {
    QFile f(path);
    return f.open(QIODevice::WriteOnly) && f.write(bytes) == bytes.size();
}

QString rowText(const LogRow& row) {
    return QStringList(row.begin(), row.end()).join(',');
}

}  // namespace

class LogCsvTest : public QObject {
    Q_OBJECT
private slots:
    void csvExtension_data();
    void csvExtension();
    void overwriteQuestion();
    void savedTimeLine_data();
    void savedTimeLine();
    void saveRange_data();
    void saveRange();
    void roundTrip();
    void failedSaveKeepsOldFile_data();
    void failedSaveKeepsOldFile();
    void loadFileType_data();
    void loadFileType();
    void loadLines_data();
    void loadLines();
    void loadEncoding_data();
    void loadEncoding();
    void loadBounds();
    void chargeAh_data();
    void chargeAh();
    void chargeAhSinglePrecision();
    void labTime_data();
    void labTime();
    void finish_data();
    void finish();
    void defaultFileName();
    void rangeBox_data();
    void rangeBox();
    void tableModel();
};

void LogCsvTest::csvExtension_data() {
    QTest::addColumn<QString>("chosen");
    QTest::addColumn<QString>("written");
    QTest::newRow("log.txt") << "log.txt"
                             << "log.csv";
    QTest::newRow("log") << "log"
                         << "log.csv";
    QTest::newRow("a.b.csv") << "a.b.csv"
                             << "a.csv";
    QTest::newRow("already csv") << "/tmp/x/log.csv"
                                 << "/tmp/x/log.csv";
    QTest::newRow("dotted folder cuts at the folder") << "/home/u/my.logs/day1.csv"
                                                      << "/home/u/my.csv";
    QTest::newRow("no dot in a folder path") << "/home/u/logs/day1"
                                             << "/home/u/logs/day1.csv";
    QTest::newRow("trailing dot") << "log."
                                  << "log.csv";
}

void LogCsvTest::csvExtension() {
    QFETCH(QString, chosen);
    QFETCH(QString, written);
    QCOMPARE(ForceCsvExtension(chosen), written);
}

void LogCsvTest::overwriteQuestion() {
    QCOMPARE(OverwriteQuestion("/home/u/logs/ZUN-Log-261115-113402.csv"),
             QString("File 'ZUN-Log-261115-113402.csv' already exist. Overwrte it ?"));
    QCOMPARE(OverwriteQuestion("a.csv"), QString("File 'a.csv' already exist. Overwrte it ?"));
}

void LogCsvTest::savedTimeLine_data() {
    QTest::addColumn<QString>("labTime");
    QTest::addColumn<float>("last");
    QTest::addColumn<float>("rangeEnd");
    QTest::addColumn<QString>("line");
    QTest::newRow("range ends at the last record")
        << "Time: 21/11/2026 11:30" << 12.f << 12.f << "Time: 21/11/2026 11:30";
    QTest::newRow("six records back")
        << "Time: 21/11/2026 11:30" << 12.f << 6.f << "Time: 21/11/2026 10:30";
    QTest::newRow("past midnight keeps the date")
        << "Time: 21/11/2026 00:20" << 12.f << 9.f << "Time: 21/11/2026 23:50";
    QTest::newRow("several days back")
        << "Time: 1/2/26 00:05" << 300.f << 1.f << "Time: 1/2/26 22:15";
    QTest::newRow("whole day back") << "Time: x 08:40" << 145.f << 1.f << "Time: x 08:40";
    QTest::newRow("empty range box") << "Time: x 08:40" << 3.f << 0.f << "Time: x 08:10";
    QTest::newRow("range beyond the last record is not wrapped forward")
        << "Time: x 23:50" << 3.f << 5.f << "Time: x 24:10";
}

void LogCsvTest::savedTimeLine() {
    QFETCH(QString, labTime);
    QFETCH(float, last);
    QFETCH(float, rangeEnd);
    QFETCH(QString, line);
    QCOMPARE(SavedTimeLine(labTime, last, rangeEnd), line);
    // An absurd range still gives a time of day, at once.
    const QString absurd = SavedTimeLine(labTime, 1.0e30f, 0.f);
    QVERIFY2(QRegularExpression("^Time: .* [0-2]\\d:[0-5]\\d$").match(absurd).hasMatch(),
             qPrintable(absurd));
}

void LogCsvTest::saveRange_data() {
    QTest::addColumn<QString>("from");
    QTest::addColumn<QString>("to");
    QTest::addColumn<QStringList>("records");
    QTest::newRow("5 to 8") << "5"
                            << "8" << QStringList{"0005", "0006", "0007", "0008"};
    QTest::newRow("whole table") << "1"
                                 << "12"
                                 << QStringList{"0001", "0002", "0003", "0004", "0005", "0006",
                                                "0007", "0008", "0009", "0010", "0011", "0012"};
    QTest::newRow("one record") << "12"
                                << "12" << QStringList{"0012"};
    QTest::newRow("empty boxes: header only") << ""
                                              << "" << QStringList{};
    QTest::newRow("reversed: header only") << "8"
                                           << "5" << QStringList{};
}

void LogCsvTest::saveRange() {
    QFETCH(QString, from);
    QFETCH(QString, to);
    QFETCH(QStringList, records);
    LogTableModel table;
    table.setRows(makeRows(12));
    QTemporaryDir dir;
    const QString path = dir.filePath("range.csv");
    const CsvSaveInput in{"Time: 21/11/2026 12:00", "Bank A", from, to};
    const FileResult r = SaveLogCsv(path, table, in);
    QVERIFY2(r.ok, qPrintable(r.error));

    const QByteArray bytes = readAll(path);
    QVERIFY2(bytes.endsWith("\r\n"), bytes.right(20).constData());
    const QStringList lines = QString::fromUtf8(bytes).split("\r\n");
    QCOMPARE(lines.at(0), QString("FileType: ZUN-Log"));
    QCOMPARE(lines.at(2), QString("Desc: Bank A"));
    QCOMPARE(lines.at(3), QString("record,chr volt,curr,bat1 volt,bat2 volt"));
    QStringList got;
    for (const QString& l : lines.mid(4)) {
        if (!l.isEmpty()) {
            got << l.section(',', 0, 0);
        }
    }
    QCOMPARE(got, records);
    QVERIFY2(!bytes.contains("\n\n") && bytes.count('\n') == bytes.count("\r\n"),
             "every line ends in CR LF");
    if (records == QStringList{"0005", "0006", "0007", "0008"}) {
        QCOMPARE(lines.at(1), QString("Time: 21/11/2026 11:20"));
        QCOMPARE(lines.at(4), QString("0005,27.05,9.95,13.80,13.79"));
    }
}

void LogCsvTest::roundTrip() {
    LogTableModel table;
    table.setRows(makeRows(12));
    QTemporaryDir dir;
    const QString path = dir.filePath("trip.csv");
    const QString desc = QString::fromUtf8("Batterie 3 – 24 V, Gärtnerei");
    QVERIFY(SaveLogCsv(path, table, {"Time: 21/11/2026 12:00", desc, "1", "12"}).ok);

    const CsvLoadResult r = LoadLogCsv(path);
    QVERIFY(r.status == CsvLoadResult::Status::Loaded);
    QCOMPARE(r.labTime, QString("Time: 21/11/2026 12:00"));
    QCOMPARE(r.description, desc);
    QCOMPARE(int(r.rows.size()), 12);
    QVERIFY(!r.truncated);
    for (size_t i = 0; i < r.rows.size(); ++i) {
        LogRow expected = table.rows()[i];
        expected[0] = QString::number(int(i) + 1);  // "0001" comes back as "1"
        QCOMPARE(rowText(r.rows[i]), rowText(expected));
    }

    // Saving the loaded table again gives the same bytes apart from the record column.
    LogTableModel loaded;
    loaded.setRows(r.rows);
    const QByteArray again = BuildLogCsv(loaded, {r.labTime, r.description, "1", "12"});
    QByteArray original = readAll(path);
    for (int n = 1; n <= 12; ++n) {
        original.replace("\r\n" + QByteArray::number(n).rightJustified(4, '0') + ",",
                         "\r\n" + QByteArray::number(n) + ",");
    }
    QCOMPARE(again, original);
}

void LogCsvTest::failedSaveKeepsOldFile_data() {
    QTest::addColumn<QString>("kind");
    QTest::newRow("path is a folder") << "folder";
    QTest::newRow("folder missing") << "missing";
    QTest::newRow("no room for the temporary file") << "longname";
    QTest::newRow("read-only folder") << "readonly";
    QTest::newRow("file size limit, as a full disk") << "sizelimit";
}

void LogCsvTest::failedSaveKeepsOldFile() {
    QFETCH(QString, kind);
    QTemporaryDir dir;
    LogTableModel table;
    table.setRows(makeRows(3));
    const CsvSaveInput in{"Time: x 10:00", "new", "1", "3"};
    const QByteArray old = "FileType: ZUN-Log\r\nold content\r\n";
    QString path;
    QString oldPath;
    if (kind == "folder") {
        path = dir.filePath("taken.csv");
        QVERIFY(QDir(dir.path()).mkdir("taken.csv"));
        oldPath = dir.filePath("taken.csv/inside.csv");
        QVERIFY(writeAll(oldPath, old));
    } else if (kind == "missing") {
        path = dir.filePath("nowhere/log.csv");
        oldPath = dir.filePath("log.csv");
        QVERIFY(writeAll(oldPath, old));
    } else if (kind == "longname") {
        // The file itself fits the 255-byte name limit, its temporary sibling does not.
        path = dir.filePath(QString(251, 'a') + ".csv");
        oldPath = path;
        QVERIFY(writeAll(oldPath, old));
    } else if (kind == "sizelimit") {
        path = dir.filePath("log.csv");
        oldPath = path;
        QVERIFY(writeAll(oldPath, old));
    } else {
        QVERIFY(QDir(dir.path()).mkdir("ro"));
        path = dir.filePath("ro/log.csv");
        oldPath = path;
        QVERIFY(writeAll(oldPath, old));
        QFile::setPermissions(dir.filePath("ro"), QFile::ReadOwner | QFile::ExeOwner);
        QFile probe(dir.filePath("ro/probe"));
        if (probe.open(QIODevice::WriteOnly)) {
            probe.remove();
            QFile::setPermissions(dir.filePath("ro"),
                                  QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
            QSKIP("running with rights that ignore folder permissions");
        }
    }
    FileResult r;
    if (kind == "sizelimit") {
        // Writes beyond 64 bytes fail with EFBIG while the limit holds (the signal is ignored).
        rlimit saved{};
        getrlimit(RLIMIT_FSIZE, &saved);
        const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
        rlimit small = saved;
        small.rlim_cur = 64;
        setrlimit(RLIMIT_FSIZE, &small);
        r = SaveLogCsv(path, table, in);
        setrlimit(RLIMIT_FSIZE, &saved);
        std::signal(SIGXFSZ, oldHandler);
    } else {
        r = SaveLogCsv(path, table, in);
    }
    QFile::setPermissions(dir.filePath("ro"),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    QVERIFY2(!r.ok, qPrintable("saved to " + path));
    QVERIFY(!r.error.isEmpty());
    QCOMPARE(readAll(oldPath), old);
    if (kind == "folder") {
        QVERIFY(QFileInfo(path).isDir());
    }
    // Nothing half-written is left behind beside the target.
    const QFileInfo target(path);
    if (target.dir().exists() && kind != "folder") {
        const QStringList left = target.dir().entryList(QDir::Files);
        QCOMPARE(left.size(), 1);
    }
}

void LogCsvTest::loadFileType_data() {
    QTest::addColumn<QByteArray>("firstLine");
    QTest::addColumn<bool>("accepted");
    QTest::newRow("standard") << QByteArray("FileType: ZUN-Log") << true;
    QTest::newRow("only the type") << QByteArray("ZUN-Log") << true;
    QTest::newRow("other prefix") << QByteArray("Kind=ZUN-Log") << true;
    QTest::newRow("trailing blank refused") << QByteArray("FileType: ZUN-Log ") << false;
    QTest::newRow("case matters") << QByteArray("FileType: ZUN-LOG") << false;
    QTest::newRow("empty file") << QByteArray("") << false;
    QTest::newRow("other csv") << QByteArray("record,chr volt,curr,bat1 volt,bat2 volt") << false;
}

void LogCsvTest::loadFileType() {
    QFETCH(QByteArray, firstLine);
    QFETCH(bool, accepted);
    const QByteArray bytes = firstLine + (firstLine.isEmpty() ? ""
                                                              : "\r\nTime: t 10:00\r\nDesc: d\r\n"
                                                                "record,chr volt,curr,bat1 "
                                                                "volt,bat2 volt\r\n1,2,3,4,5\r\n");
    const CsvLoadResult r = ParseLogCsv(bytes);
    if (accepted) {
        QVERIFY(r.status == CsvLoadResult::Status::Loaded);
        QCOMPARE(int(r.rows.size()), 1);
    } else {
        QVERIFY2(r.status == CsvLoadResult::Status::TypeError, firstLine.constData());
        QCOMPARE(r.error, QString("File Type Error!"));
        QVERIFY(r.rows.empty());
        QVERIFY(r.labTime.isEmpty());
    }
}

void LogCsvTest::loadLines_data() {
    QTest::addColumn<QByteArray>("body");  // after the three head lines
    QTest::addColumn<QStringList>("rows");
    QTest::newRow("header skipped, record made plain")
        << QByteArray(
               "record,chr volt,curr,bat1 volt,bat2 volt\r\n0001,27.60,12.50,13.80,13.79\r\n")
        << QStringList{"1,27.60,12.50,13.80,13.79"};
    QTest::newRow("values kept as written")
        << QByteArray("0007,27.6,12.5,abc,-0\r\n") << QStringList{"7,27.6,12.5,abc,-0"};
    QTest::newRow("fewer than five fields skipped")
        << QByteArray("0001,27.60,12.50,13.80\r\n0002,1,2,3,4\r\n") << QStringList{"2,1,2,3,4"};
    QTest::newRow("record 0 and non-numbers skipped")
        << QByteArray("0000,1,2,3,4\r\nabc,1,2,3,4\r\n-3,1,2,3,4\r\n,1,2,3,4\r\n5,1,2,3,4\r\n")
        << QStringList{"5,1,2,3,4"};
    QTest::newRow("lone LF and lone CR end lines")
        << QByteArray("1,1,2,3,4\n2,1,2,3,4\r3,1,2,3,4")
        << QStringList{"1,1,2,3,4", "2,1,2,3,4", "3,1,2,3,4"};
    QTest::newRow("blank lines in between") << QByteArray("\r\n\r\n1,1,2,3,4\r\n\n\n2,1,2,3,4\r\n")
                                            << QStringList{"1,1,2,3,4", "2,1,2,3,4"};
    QTest::newRow("blanks and quotes around fields")
        << QByteArray(" 12 , 27.60,\"12.50\", 13.80 ,13.79\r\n")
        << QStringList{"12,27.60,12.50,13.80,13.79"};
    QTest::newRow("fractional record number")
        << QByteArray("2.50,1,2,3,4\r\n") << QStringList{"2.5,1,2,3,4"};
    QTest::newRow("sixth field ignored")
        << QByteArray("3,1,2,3,4,extra\r\n") << QStringList{"3,1,2,3,4"};
}

void LogCsvTest::loadLines() {
    QFETCH(QByteArray, body);
    QFETCH(QStringList, rows);
    const CsvLoadResult r =
        ParseLogCsv("FileType: ZUN-Log\r\nTime: 1/2/26 10:20\r\nDesc: d\r\n" + body);
    QVERIFY(r.status == CsvLoadResult::Status::Loaded);
    QStringList got;
    for (const LogRow& row : r.rows) {
        got << rowText(row);
    }
    QCOMPARE(got, rows);
    QCOMPARE(r.labTime, QString("Time: 1/2/26 10:20"));
    QCOMPARE(r.description, QString("d"));
}

void LogCsvTest::loadEncoding_data() {
    QTest::addColumn<QByteArray>("descBytes");
    QTest::addColumn<QString>("description");
    QTest::newRow("UTF-8") << QByteArray("G\xC3\xA4rtnerei") << QString::fromUtf8("Gärtnerei");
    QTest::newRow("Latin-1") << QByteArray("G\xE4rtnerei") << QString::fromUtf8("Gärtnerei");
    QTest::newRow("ASCII") << QByteArray("Bank A") << QString("Bank A");
    QTest::newRow("short third line") << QByteArray() << QString();
}

void LogCsvTest::loadEncoding() {
    QFETCH(QByteArray, descBytes);
    QFETCH(QString, description);
    QByteArray bytes = "FileType: ZUN-Log\r\nTime: x 10:00\r\n";
    bytes += descBytes.isEmpty() ? QByteArray("Desc:") : "Desc: " + descBytes;
    bytes += "\r\n1,1,2,3,4\r\n";
    const CsvLoadResult r = ParseLogCsv(bytes);
    QCOMPARE(r.description, description);
    QCOMPARE(int(r.rows.size()), 1);
}

void LogCsvTest::loadBounds() {
    // More data lines than a log can hold: the load stops at the bound and says so.
    QByteArray big = "FileType: ZUN-Log\r\nTime: x 10:00\r\nDesc: big\r\n";
    for (int n = 1; n <= kMaxCsvDataLines + 50; ++n) {
        big += QByteArray::number(n) + ",1,2,3,4\r\n";
    }
    const CsvLoadResult r = ParseLogCsv(big);
    QCOMPARE(int(r.rows.size()), kMaxCsvDataLines);
    QVERIFY(r.truncated);
    QCOMPARE(r.rows.back()[0], QString::number(kMaxCsvDataLines));

    // Binary bytes after a valid head: no rows, no crash.
    QByteArray binary = "FileType: ZUN-Log\r\n";
    for (int i = 0; i < 70000; ++i) {
        binary += char((i * 131) & 0xFF);
    }
    const CsvLoadResult b = ParseLogCsv(binary);
    QVERIFY(b.status == CsvLoadResult::Status::Loaded);
    for (const LogRow& row : b.rows) {
        QVERIFY(!row[0].isEmpty());
    }

    // A file that cannot be opened.
    const CsvLoadResult missing = LoadLogCsv("/nonexistent/dir/log.csv");
    QVERIFY(missing.status == CsvLoadResult::Status::ReadError);
    QVERIFY(!missing.error.isEmpty());
}

void LogCsvTest::chargeAh_data() {
    QTest::addColumn<QStringList>("currents");
    QTest::addColumn<QList<float>>("ah");  // by grid row, header first
    QTest::newRow("header only") << QStringList{} << QList<float>{0.f};
    QTest::newRow("one record") << QStringList{"12.00"} << QList<float>{0.f, 0.f};
    // Sum of both currents times one sixth, not their mean.
    QTest::newRow("steady 6 A") << QStringList{"6.00", "6.00", "6.00"}
                                << QList<float>{0.f, 0.f, 2.f, 4.f};
    QTest::newRow("falling") << QStringList{"6.00", "6.00", "3.00", "0.50"}
                             << QList<float>{0.f, 0.f, 2.f, 3.5f, 4.0833335f};
    QTest::newRow("unreadable current is 0")
        << QStringList{"3.00", "x", "3.00"} << QList<float>{0.f, 0.f, 0.5f, 1.f};
    QTest::newRow("negative current")
        << QStringList{"-3.00", "-3.00"} << QList<float>{0.f, 0.f, -1.f};
}

void LogCsvTest::chargeAh() {
    QFETCH(QStringList, currents);
    QFETCH(QList<float>, ah);
    std::vector<LogRow> rows;
    for (const QString& c : currents) {
        rows.push_back({"1", "27.00", c, "13.00", "13.00"});
    }
    LogTableModel table;
    table.setRows(rows);
    const std::vector<float> got = ComputeChargeAh(table);
    QCOMPARE(int(got.size()), int(ah.size()));
    for (int i = 0; i < ah.size(); ++i) {
        QVERIFY2(got[size_t(i)] == ah[i], qPrintable(QString("AH(%1) = %2, expected %3")
                                                         .arg(i)
                                                         .arg(got[size_t(i)], 0, 'g', 9)
                                                         .arg(ah[i], 0, 'g', 9)));
    }
}

void LogCsvTest::chargeAhSinglePrecision() {
    // 2,000 steps of (0.1 + 0.1) / 6: each sum is stored as a single, so the total drifts from
    // the exact 66.6 in a way a double accumulator would not.
    std::vector<LogRow> rows(2001, LogRow{"1", "27.00", "0.10", "13.00", "13.00"});
    const std::vector<float> got = ComputeChargeAh(rows);
    float single = 0.f;
    double dbl = 0.0;
    for (int r = 2; r <= 2001; ++r) {
        single = float(double(single) + double(0.1f + 0.1f) * (1.0 / 6.0));
        dbl += double(0.1f + 0.1f) * (1.0 / 6.0);
    }
    QVERIFY(float(dbl) != single);  // the case tells the two apart
    QCOMPARE(got.back(), single);
}

void LogCsvTest::labTime_data() {
    QTest::addColumn<QDateTime>("now");
    QTest::addColumn<QString>("text");
    const QDate d(2026, 11, 21);
    QTest::newRow("11:07") << QDateTime(d, QTime(11, 7, 59)) << "Time: 21/11/2026 11:00";
    QTest::newRow("09:59") << QDateTime(d, QTime(9, 59)) << "Time: 21/11/2026 09:50";
    QTest::newRow("11:37") << QDateTime(d, QTime(11, 37)) << "Time: 21/11/2026 11:30";
    QTest::newRow("midnight") << QDateTime(d, QTime(0, 0)) << "Time: 21/11/2026 00:00";
    QTest::newRow("23:50") << QDateTime(d, QTime(23, 50)) << "Time: 21/11/2026 23:50";
}

void LogCsvTest::labTime() {
    QFETCH(QDateTime, now);
    QFETCH(QString, text);
    QCOMPARE(LabTimeText(now, QLocale(QLocale::English, QLocale::UnitedKingdom)), text);
    // The date follows the system's short form; the time part does not.
    QVERIFY(LabTimeText(now).endsWith(text.right(6)));
    QVERIFY(LabTimeText(now).startsWith(
        "Time: " + QLocale::system().toString(now.date(), QLocale::ShortFormat)));
}

void LogCsvTest::finish_data() {
    QTest::addColumn<int>("records");
    QTest::addColumn<bool>("download");
    QTest::addColumn<bool>("save");
    QTest::addColumn<bool>("print");
    QTest::addColumn<bool>("chart");
    QTest::addColumn<QString>("from");
    QTest::addColumn<QString>("to");
    QTest::newRow("download, nothing") << 0 << true << false << false << false << ""
                                       << "";
    QTest::newRow("download, one record") << 1 << true << true << false << false << ""
                                          << "";
    QTest::newRow("download, two records") << 2 << true << true << true << true << "0001"
                                           << "0002";
    QTest::newRow("download, 25") << 25 << true << true << true << true << "0001"
                                  << "0025";
    QTest::newRow("load, nothing") << 0 << false << false << false << true << ""
                                   << "";
    QTest::newRow("load, one record") << 1 << false << true << false << true << ""
                                      << "";
    QTest::newRow("load, three") << 3 << false << true << true << true << "0001"
                                 << "0003";
}

void LogCsvTest::finish() {
    QFETCH(int, records);
    QFETCH(bool, download);
    QFETCH(bool, save);
    QFETCH(bool, print);
    QFETCH(bool, chart);
    QFETCH(QString, from);
    QFETCH(QString, to);
    LogTableModel table;
    table.setRows(makeRows(records));
    const QDateTime now(QDate(2026, 11, 21), QTime(11, 7));
    const LogFinish f =
        download ? FinishDownload(table, now, QLocale(QLocale::English, QLocale::UnitedKingdom))
                 : FinishLoad(table, "Time: file 08:00");
    QCOMPARE(f.saveEnabled, save);
    QCOMPARE(f.printEnabled, print);
    QCOMPARE(f.drawChart, chart);
    QCOMPARE(f.txtRow0, from);
    QCOMPARE(f.txtRow1, to);
    QCOMPARE(f.labTime, download ? QString("Time: 21/11/2026 11:00") : QString("Time: file 08:00"));
    QCOMPARE(int(f.chargeAh.size()), records + 1);
}

void LogCsvTest::defaultFileName() {
    QCOMPARE(DefaultLogFileName(QDateTime(QDate(2026, 11, 15), QTime(11, 34, 2))),
             QString("ZUN-Log-261115-113402.csv"));
    QCOMPARE(DefaultLogFileName(QDateTime(QDate(2031, 1, 5), QTime(21, 4, 9))),
             QString("ZUN-Log-310105-210409.csv"));
}

void LogCsvTest::rangeBox_data() {
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("shown");
    QTest::newRow("plain") << "5"
                           << "5";
    QTest::newRow("leading zeros") << "0005"
                                   << "5";
    QTest::newRow("blanks") << " 12 "
                            << "12";
    QTest::newRow("empty") << ""
                           << "1";
    QTest::newRow("zero") << "0"
                          << "1";
    QTest::newRow("not a number") << "abc"
                                  << "1";
    QTest::newRow("fraction kept") << "7.50"
                                   << "7.5";
    QTest::newRow("negative kept") << "-3"
                                   << "-3";
}

void LogCsvTest::rangeBox() {
    QFETCH(QString, typed);
    QFETCH(QString, shown);
    QCOMPARE(NormaliseRangeText(typed), shown);
}

void LogCsvTest::tableModel() {
    LogTableModel table;
    QCOMPARE(table.gridRows(), 1);
    QCOMPARE(table.cell(0, 2), QString("curr"));
    QCOMPARE(table.headerData(4, Qt::Horizontal).toString(), QString("bat2 volt"));
    table.setRows(makeRows(4320));
    QCOMPARE(table.rowCount(), 4320);
    QCOMPARE(table.gridRows(), 4321);
    QCOMPARE(table.cell(4320, 0), QString("4320"));
    QCOMPARE(table.cell(4321, 0), QString());
    QCOMPARE(table.data(table.index(0, 0)).toString(), QString("0001"));
    QCOMPARE(table.data(table.index(0, 0), Qt::TextAlignmentRole).toInt(), int(Qt::AlignCenter));
    for (int c = 1; c < 5; ++c) {
        QCOMPARE(table.data(table.index(0, c), Qt::TextAlignmentRole).toInt(),
                 int(Qt::AlignRight | Qt::AlignVCenter));
    }
    table.appendRow({"4321", "1.00", "2.00", "3.00", "4.00"});
    QCOMPARE(table.cell(4321, 3), QString("3.00"));
    table.clear();
    QCOMPARE(table.rowCount(), 0);
    QCOMPARE(table.cell(0, 0), QString("record"));
}

int runLogCsvTest(int argc, char** argv) {
    LogCsvTest t;
    return QTest::qExec(&t, argc, argv);
}

#include "tst_log_csv.moc"
