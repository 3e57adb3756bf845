#include "sim/pty_host.h"
#include "sim/virtual_charger.h"

#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>
#include <QtTest>

// The manual pages and the bash completion against the programs they describe.
namespace {

QString run(const QString& program, const QStringList& arguments, const QString& dir = {}) {
    QProcess p;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    p.setProcessEnvironment(env);
    p.setWorkingDirectory(dir);
    p.start(program, arguments);
    if (!p.waitForFinished(60000) || p.exitCode() != 0) {
        qWarning("%s %s: %s", qPrintable(program), qPrintable(arguments.join(' ')),
                 p.readAllStandardError().constData());
        return QString();
    }
    return QString::fromUtf8(p.readAllStandardOutput());
}

// The options an option table of --help lists: lines starting with blanks and a dash.
QStringList optionsOf(const QString& help) {
    static const QRegularExpression row(QStringLiteral("^\\s+(?:-\\w, )?(--[a-z][a-z-]*)"),
                                        QRegularExpression::MultilineOption);
    QStringList out;
    for (auto it = row.globalMatch(help); it.hasNext();) {
        out << it.next().captured(1);
    }
    out.removeDuplicates();
    out.sort();
    return out;
}

QString programPath(const QString& name) {
    if (name == QLatin1String("zun")) {
        return QStringLiteral(ZUN_PATH);
    }
    return name == QLatin1String("zunctl") ? QStringLiteral(ZUNCTL_PATH)
                                           : QStringLiteral(ZUN_SIM_PATH);
}

// What the completion offers for the words typed so far (the last one is being completed).
QStringList complete(const QStringList& words, const QString& dir = QStringLiteral(".")) {
    const QString script = QStringLiteral(
        "source \"$1\"; cd \"$2\"; shift 2; COMP_WORDS=(\"$@\"); "
        "COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _zunctl; printf '%s\\n' \"${COMPREPLY[@]}\"");
    QStringList out =
        run(QStringLiteral("bash"), QStringList{"-c", script, "_", QStringLiteral(ZUN_COMPLETION),
                                                dir, QStringLiteral(ZUNCTL_PATH)} +
                                        words)
            .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    out.sort();
    return out;
}

}  // namespace

class TestPackaging : public QObject {
    Q_OBJECT
private slots:
    void manualPageListsEveryOption_data();
    void manualPageListsEveryOption();
    void completionFollowsTheHelp();
    void completion_data();
    void completion();
    void portsComeFromThePortList();
};

void TestPackaging::manualPageListsEveryOption_data() {
    QTest::addColumn<QString>("program");
    QTest::newRow("zun") << "zun";
    QTest::newRow("zunctl") << "zunctl";
    QTest::newRow("zun-sim") << "zun-sim";
}

void TestPackaging::manualPageListsEveryOption() {
    QFETCH(QString, program);
    QFile page(QStringLiteral(ZUN_MAN_DIR "/%1.1").arg(program));
    if (!page.exists()) {
        QSKIP("no manual pages in this build (no help2man, or a sanitizer build)");
    }
    QVERIFY(page.open(QIODevice::ReadOnly));
    // roff: "\-" is a dash, "\fB" and the like switch fonts.
    QString text = QString::fromUtf8(page.readAll());
    text.replace(QStringLiteral("\\-"), QStringLiteral("-"));
    text.remove(QRegularExpression(QStringLiteral("\\\\f[BIRP]")));

    const QString help = run(programPath(program), {QStringLiteral("--help")});
    const QStringList options = optionsOf(help);
    QVERIFY2(options.size() >= 3, qPrintable(help));
    for (const QString& option : options) {
        QVERIFY2(
            QRegularExpression(
                QStringLiteral("(^|[^a-z-])%1($|[^a-z-])").arg(QRegularExpression::escape(option)))
                .match(text)
                .hasMatch(),
            qPrintable(QStringLiteral("%1(1) lacks %2").arg(program, option)));
    }
    const QString th = QStringLiteral(".TH %1 \"1\"").arg(program.toUpper());
    QVERIFY2(text.contains(th), qPrintable(text.left(400)));
    QVERIFY2(text.contains(QStringLiteral("%1 %2.%3.%4\"")
                               .arg(program)
                               .arg(ZUN_VERSION_MAJOR)
                               .arg(ZUN_VERSION_MINOR)
                               .arg(ZUN_VERSION_PATCH)),
             qPrintable(text.left(400)));
    QVERIFY2(text.contains(QStringLiteral(".SH SYNOPSIS")), qPrintable(text.left(600)));
}

void TestPackaging::completionFollowsTheHelp() {
    const QStringList offered = complete({QStringLiteral("--")});
    // Every option of the table and of the commands' synopses...
    for (const char* known :
         {"--port", "--device", "--only-given-ports", "--json", "--trace", "--version", "--help",
          "--profile", "--pages", "--dry-run", "--model", "--desc", "--from", "--to", "--size",
          "--interval", "--count", "--wait"}) {
        QVERIFY2(offered.contains(QLatin1String(known)), known);
    }
    // ...and nothing zunctl does not know.
    for (const QString& option : offered) {
        QProcess p;
        p.start(QStringLiteral(ZUNCTL_PATH), {option});
        QVERIFY(p.waitForFinished(10000));
        const QString err = QString::fromUtf8(p.readAllStandardError());
        QVERIFY2(!err.contains(QStringLiteral("Unknown option")), qPrintable(err));
    }
    QCOMPARE(complete({QString()}),
             (QStringList{"chart", "identify", "live", "log", "monitor", "ports", "runtime",
                          "settings", "verify", "write"}));
}

void TestPackaging::completion_data() {
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<QStringList>("offered");
    QTest::newRow("options by prefix")
        << QStringList{"--p"} << QStringList{"--pages", "--port", "--profile"};
    QTest::newRow("a command after a port")
        << QStringList{"--port", "Com1", "ver"} << QStringList{"verify"};
    QTest::newRow("write takes settings files")
        << QStringList{"write", ""} << QStringList{"a.json", "sub/"};
    QTest::newRow("verify after options")
        << QStringList{"--json", "verify", ""} << QStringList{"a.json", "sub/"};
    QTest::newRow("chart takes a log") << QStringList{"chart", ""} << QStringList{"b.csv", "sub/"};
    QTest::newRow("chart writes pictures")
        << QStringList{"chart", "b.csv", "-o", ""} << QStringList{"c.png", "d.pdf", "sub/"};
    QTest::newRow("settings writes JSON")
        << QStringList{"settings", "--output", ""} << QStringList{"a.json", "sub/"};
    QTest::newRow("log writes CSV") << QStringList{"log", "-o", "s"} << QStringList{"sub/"};
    QTest::newRow("into a folder") << QStringList{"write", "sub/"} << QStringList{"sub/e.json"};
    QTest::newRow("profile") << QStringList{"write", "a.json", "--profile", ""}
                             << QStringList{"1", "2"};
    QTest::newRow("pages, second of a list")
        << QStringList{"write", "a.json", "--pages", "general,s"} << QStringList{"general,stages"};
    QTest::newRow("no guess for a description")
        << QStringList{"log", "--desc", ""} << QStringList{};
    QTest::newRow("nothing after runtime") << QStringList{"runtime", ""} << QStringList{};
}

void TestPackaging::completion() {
    QFETCH(QStringList, words);
    QFETCH(QStringList, offered);
    QTemporaryDir dir;
    for (const char* name : {"a.json", "b.csv", "c.png", "d.pdf", "notes.txt", "sub/e.json"}) {
        QDir(dir.path()).mkpath(QStringLiteral("sub"));
        QFile f(dir.filePath(QLatin1String(name)));
        QVERIFY(f.open(QIODevice::WriteOnly));
    }
    // compopt marks directories with a slash only inside readline; add it here.
    QStringList got = complete(words, dir.path());
    for (QString& g : got) {
        if (QFileInfo(dir.filePath(g)).isDir() && !g.endsWith('/')) {
            g += '/';
        }
    }
    QCOMPARE(got, offered);
}

void TestPackaging::portsComeFromThePortList() {
    zun::sim::VirtualCharger charger;
    zun::sim::PtyHost host(charger);
    host.setPacing(false);
    QString error;
    QVERIFY2(host.start(&error), qPrintable(error));
    // The --device and --only-given-ports typed before --port number the list.
    QCOMPARE(complete({"--device", host.devicePath(), "--only-given-ports", "--port", ""}),
             (QStringList{host.devicePath(), "Com1"}));
    QCOMPARE(complete({"--device", host.devicePath(), "--only-given-ports", "--port", "C"}),
             QStringList{"Com1"});
    QCOMPARE(complete({"--port", "/dev/nul"}), QStringList{"/dev/null"});
}

QTEST_GUILESS_MAIN(TestPackaging)
#include "test_packaging.moc"
