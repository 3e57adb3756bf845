// zunctl's and zun-sim's file writes on machines where writing fails: a file size limit, a full
// disk, a read-only file system, a folder where the file should be. Each must end with the
// reason in words and the usual exit code, leave an existing file byte for byte as it was and
// no temporary file behind. The disks are small tmpfs mounts (we run as root, also in CI);
// where mounting is not permitted those cases are skipped.
#include "cli_e2e_support.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QStorageInfo>
#include <QTemporaryDir>
#include <QTest>

namespace {

bool runQuietly(const QStringList& command) {
    QProcess p;
    p.start(command.first(), command.mid(1));
    return p.waitForFinished(20000) && p.exitStatus() == QProcess::NormalExit && p.exitCode() == 0;
}

// A 64 KiB tmpfs over a folder, unmounted however the test ends.
class SmallDisk {
public:
    explicit SmallDisk(const QString& folder) : folder_(folder) {
        mounted_ = runQuietly({"mount", "-t", "tmpfs", "-o", "size=64k", "tmpfs", folder});
    }
    ~SmallDisk() {
        if (mounted_) {
            runQuietly({"umount", "-l", folder_});
        }
    }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

    bool mounted() const { return mounted_; }
    bool makeReadOnly() { return runQuietly({"mount", "-o", "remount,ro", folder_}); }
    // Fills what is left with one file; true when not a byte is free afterwards.
    bool fill() {
        QFile filler(folder_ + QStringLiteral("/filler"));
        if (!filler.open(QIODevice::WriteOnly | QIODevice::Unbuffered)) {
            return false;
        }
        const QByteArray block(1024, 'x');
        while (filler.write(block) > 0) {
        }
        filler.close();
        return QStorageInfo(folder_).bytesAvailable() == 0;
    }

private:
    QString folder_;
    bool mounted_ = false;
};

const QByteArray kOldBytes = "the file as it was before\n";

QString handMadeLog() {
    QString csv = QStringLiteral(
        "FileType: ZUN-Log\r\nTime: 21/11/2026 20:30\r\nDesc: bench\r\n"
        "record,chr volt,curr,bat1 volt,bat2 volt\r\n");
    for (int i = 1; i <= 40; ++i) {
        csv += QStringLiteral("%1,14.%2,9.50,13.90,13.80\r\n")
                   .arg(i, 4, 10, QLatin1Char('0'))
                   .arg(i % 100, 2, 10, QLatin1Char('0'));
    }
    return csv;
}

}  // namespace

class TestCliFiles : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        // prlimit puts the size limit on zunctl alone.
        if (QStandardPaths::findExecutable(QStringLiteral("prlimit")).isEmpty()) {
            QSKIP("prlimit (util-linux) is not installed");
        }
    }

    void failedSave_data() {
        QTest::addColumn<QString>("command");  // settings, log, chart
        QTest::addColumn<QString>("failure");  // size limit, full disk, read-only, folder
        QTest::addColumn<QString>("reason");

        const QString kReasons[][2] = {
            {"size limit", "File too large: the file size limit was reached"},
            {"full disk", "No space left on device"},
            {"read-only", "Read-only file system"},
            {"folder", "not a file: a folder has that name"},
        };
        for (const QString command : {"settings", "log", "chart"}) {
            for (const auto& [failure, reason] : kReasons) {
                QTest::addRow("%s, %s", qPrintable(command), qPrintable(failure))
                    << command << failure << reason;
            }
        }
    }

    void failedSave() {
        QFETCH(QString, command);
        QFETCH(QString, failure);
        QFETCH(QString, reason);

        QTemporaryDir tmp;
        QVERIFY(tmp.isValid());
        const QString folder = tmp.filePath(QStringLiteral("out"));
        QVERIFY(QDir().mkpath(folder));
        std::unique_ptr<SmallDisk> disk;
        if (failure == QLatin1String("full disk") || failure == QLatin1String("read-only")) {
            disk = std::make_unique<SmallDisk>(folder);
            if (!disk->mounted()) {
                QSKIP("mounting a small tmpfs is not permitted here");
            }
        }

        const QString name = command == QLatin1String("settings") ? QStringLiteral("saved.json")
                             : command == QLatin1String("log")    ? QStringLiteral("saved.csv")
                                                                  : QStringLiteral("saved.png");
        const QString target = folder + u'/' + name;
        // A folder in place holds the old bytes in a file of its own.
        const QString old = failure == QLatin1String("folder") ? target + "/keep" : target;
        QVERIFY(QDir().mkpath(QFileInfo(old).path()));
        e2e::writeFile(old, kOldBytes);
        if (failure == QLatin1String("full disk")) {
            QVERIFY2(disk->fill(), "the small disk could not be filled");
        }
        if (failure == QLatin1String("read-only")) {
            QVERIFY2(disk->makeReadOnly(), "the small disk could not be made read-only");
        }
        const QStringList before = QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot |
                                                          QDir::Hidden | QDir::System);

        std::unique_ptr<e2e::Sim> sim;
        QStringList arguments;
        if (command == QLatin1String("chart")) {
            const QString source =
                e2e::writeFile(tmp.filePath("source.csv"), handMadeLog().toUtf8());
            arguments = {"chart", source, "-o", target};
        } else {
            sim = std::make_unique<e2e::Sim>();
            sim->charger.setLog(zun::sim::ChargeLog::Unwrapped(40));
            arguments = {"--port", sim->device(), command, "-o", target};
        }
        // Every file written here is far above 512 bytes; the old one is far below.
        const e2e::Run r =
            failure == QLatin1String("size limit")
                ? e2e::run(
                      QStringLiteral("prlimit"),
                      QStringList{"--fsize=512", "--", QStringLiteral(ZUNCTL_PATH)} + arguments)
                : e2e::zunctl(arguments);

        QCOMPARE_EQ(r.code, 2);
        QVERIFY2(r.err.contains(QStringLiteral("cannot write ")) && r.err.contains(reason),
                 qPrintable(r.all()));
        QCOMPARE(QFileInfo(target).isDir(), failure == QLatin1String("folder"));
        QCOMPARE(e2e::readFile(old), kOldBytes);
        // No temporary file left beside it.
        QCOMPARE(QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden |
                                        QDir::System),
                 before);
    }

    // A log above the record limit is charted up to the limit, and zunctl says so.
    void chartOfAnOverlongLog() {
        QTemporaryDir tmp;
        QVERIFY(tmp.isValid());
        const QString source = tmp.filePath(QStringLiteral("long.csv"));
        QFile csv(source);
        QVERIFY(csv.open(QIODevice::WriteOnly));
        csv.write("FileType: ZUN-Log\r\nTime: 21/11/2026 20:30\r\nDesc: long\r\n");
        for (int i = 1; i <= 100005; ++i) {
            csv.write(QByteArray::number(i) + ",14.10,9.50,13.90,13.80\r\n");
        }
        csv.close();
        const QString png = tmp.filePath(QStringLiteral("long.png"));
        const e2e::Run r = e2e::zunctl({"chart", source, "-o", png});
        QVERIFY2(r.code == 0, qPrintable(r.all()));
        QVERIFY2(r.err.contains(QStringLiteral("at most 100000 records")) &&
                     r.err.contains(QStringLiteral("the chart shows its first 100000 records")),
                 qPrintable(r.all()));
        QVERIFY2(r.out.contains(QStringLiteral("chart of 100000 records")), qPrintable(r.all()));
        QVERIFY(QFileInfo(png).size() > 0);
    }

    // The virtual charger records requests into a file; past a size limit it says so once and
    // goes on serving, instead of dying of SIGXFSZ.
    void simRecordUnderSizeLimit() {
        QTemporaryDir tmp;
        QVERIFY(tmp.isValid());
        const QString record = tmp.filePath(QStringLiteral("requests.txt"));
        QProcess sim;
        sim.start(QStringLiteral("prlimit"),
                  {"--fsize=100", "--", QStringLiteral(ZUNSIM_PATH), "--no-pacing", "--model",
                   "3120", "--record", record});
        QVERIFY(sim.waitForStarted());
        QVERIFY(sim.waitForReadyRead(10000));
        const QString device = QString::fromLocal8Bit(sim.readLine()).trimmed();
        QVERIFY2(device.startsWith(QStringLiteral("/dev/")), qPrintable(device));

        // Both profiles: about thirty frames, far more than 100 bytes of record.
        const e2e::Run w =
            e2e::zunctl({"--port", device, "write", QStringLiteral(EXAMPLE_SETTINGS)});
        QCOMPARE_EQ(QFileInfo(record).size() <= 100, true);
        QCOMPARE(sim.state(), QProcess::Running);
        QVERIFY2(w.code == 0, qPrintable(w.all()));

        sim.terminate();
        QVERIFY(sim.waitForFinished(10000));
        QCOMPARE(sim.exitStatus(), QProcess::NormalExit);
        QCOMPARE(sim.exitCode(), 0);
        const QString err = QString::fromLocal8Bit(sim.readAllStandardError());
        QVERIFY2(
            err.contains(QStringLiteral("cannot record to ")) &&
                err.contains(QStringLiteral("File too large: the file size limit was reached")),
            qPrintable(err));
        QCOMPARE(err.count(QStringLiteral("cannot record")), 1);
    }
};

QTEST_GUILESS_MAIN(TestCliFiles)
#include "test_cli_files.moc"
