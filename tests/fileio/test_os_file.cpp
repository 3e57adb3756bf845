// The calls on open files that differ between systems: syncing a recording to the disk and
// telling a terminal from a file or a pipe.
#include "fileio/os_file.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>

#ifdef Q_OS_UNIX
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>
#endif

using namespace zun::fileio;

class OsFileTest : public QObject {
    Q_OBJECT
private slots:
    void writtenFileIsSynced() {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        QFile file(dir.filePath(QStringLiteral("lines.csv")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write("12:00:00,13.80\r\n"), qint64(16));
        QVERIFY(file.flush());
        QVERIFY(SyncToDisk(file));
        file.close();
        QCOMPARE(QFile(file.fileName()).size(), qint64(16));
    }

    void closedFileIsNotSynced() {
#ifdef Q_OS_UNIX
        // No descriptor at all: the system refuses, and the recorder must hear of it.
        QFile file(QStringLiteral("never-opened.csv"));
        QVERIFY(!SyncToDisk(file));
#else
        QSKIP("only where the system has a sync call");
#endif
    }

    void pipeCountsAsSynced() {
#ifdef Q_OS_UNIX
        int ends[2];
        QCOMPARE(::pipe(ends), 0);
        QFile file;
        QVERIFY(file.open(ends[1], QIODevice::WriteOnly, QFileDevice::AutoCloseHandle));
        QCOMPARE(file.write("x\r\n"), qint64(3));
        QVERIFY(file.flush());
        QVERIFY(SyncToDisk(file));
        file.close();
        ::close(ends[0]);
#else
        QSKIP("pipes are made with POSIX calls here");
#endif
    }

    void fileIsNoTerminal() {
        std::FILE* f = std::tmpfile();
        QVERIFY(f);
        QVERIFY(!StreamIsTerminal(f));
        std::fclose(f);
    }

    void pseudoTerminalIsTerminal() {
#ifdef Q_OS_UNIX
        const int master = ::posix_openpt(O_RDWR | O_NOCTTY);
        if (master < 0) {
            QSKIP("no pseudo-terminals here");
        }
        QCOMPARE(::grantpt(master), 0);
        QCOMPARE(::unlockpt(master), 0);
        std::FILE* slave = std::fopen(::ptsname(master), "w");
        QVERIFY(slave);
        QVERIFY(StreamIsTerminal(slave));
        std::fclose(slave);
        ::close(master);
#else
        QSKIP("pseudo-terminals are made with POSIX calls here");
#endif
    }
};

QTEST_GUILESS_MAIN(OsFileTest)

#include "test_os_file.moc"
