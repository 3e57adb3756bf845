#include "lang/language_catalog.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

using zun::lang::LanguageCatalog;
using zun::lang::LanguageFolders;

namespace {

// A program folder, an installed data folder and a user folder under one temporary directory.
struct Sandbox {
    QTemporaryDir root;
    LanguageFolders folders;

    Sandbox() {
        folders.program = root.filePath("bin");
        folders.data = root.filePath("share/zun/lang");
        folders.user = root.filePath("config");
        for (const QString& f : {folders.program, folders.data, folders.user}) {
            QDir().mkpath(f);
        }
    }
};

// "name" makes an empty file, "name=text" one holding text, "name/" a folder.
void populate(const QString& folder, const QStringList& specs) {
    for (const QString& spec : specs) {
        if (spec.endsWith(u'/')) {
            QDir(folder).mkpath(spec);
            continue;
        }
        const qsizetype eq = spec.indexOf(u'=');
        QFile file(folder + u'/' + (eq < 0 ? spec : spec.left(eq)));
        QVERIFY2(file.open(QIODevice::WriteOnly), qPrintable(file.fileName()));
        file.write(eq < 0 ? QByteArray() : spec.mid(eq + 1).toUtf8());
    }
}

QByteArray bytesOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

QString captionText(const zun::lang::Captions& captions) {
    QStringList parts;
    for (const auto& c : captions) {
        parts << c.target.describe() + u'=' + c.text;
    }
    return parts.join(u'|');
}

const QByteArray kAbsent("<missing>");

}  // namespace

class LanguageCatalogTest : public QObject {
    Q_OBJECT

private slots:
    void listLanguages_data();
    void listLanguages();
    void firstFolderWins_data();
    void firstFolderWins();
    void rememberedLanguage_data();
    void rememberedLanguage();
    void remember_data();
    void remember();
    void ensureEnglish_data();
    void ensureEnglish();
    void stateFolder_data();
    void stateFolder();
    void standardFolders();
};

void LanguageCatalogTest::listLanguages_data() {
    QTest::addColumn<QStringList>("program");
    QTest::addColumn<QStringList>("data");
    QTest::addColumn<QStringList>("user");
    QTest::addColumn<QStringList>("languages");

    QTest::newRow("two-letter name")
        << QStringList{"de.lang"} << QStringList{} << QStringList{} << QStringList{"de"};
    QTest::newRow("one-letter name")
        << QStringList{"x.lang"} << QStringList{} << QStringList{} << QStringList{"x"};
    QTest::newRow("name shorter than 6 not listed")
        << QStringList{".lang", "de.lang"} << QStringList{} << QStringList{} << QStringList{"de"};
    QTest::newRow("other files not listed")
        << QStringList{"English.lang", "notes.txt", "English.lang.bak", "Fr.LANG", "lang"}
        << QStringList{} << QStringList{} << QStringList{"English"};
    QTest::newRow("folders not listed") << QStringList{"dir.lang/", "de.lang"} << QStringList{}
                                        << QStringList{} << QStringList{"de"};
    QTest::newRow("sorted by name")
        << QStringList{"zz.lang", "English.lang", "alpha.lang", "Deutsch.lang"} << QStringList{}
        << QStringList{} << QStringList{"alpha", "Deutsch", "English", "zz"};
    QTest::newRow("all folders, once each")
        << QStringList{"English.lang"} << QStringList{"English.lang", "Deutsch.lang"}
        << QStringList{"fr.lang", "Deutsch.lang"} << QStringList{"Deutsch", "English", "fr"};
    QTest::newRow("data folder only")
        << QStringList{} << QStringList{"English.lang"} << QStringList{} << QStringList{"English"};
    QTest::newRow("nothing anywhere")
        << QStringList{} << QStringList{} << QStringList{} << QStringList{};
}

void LanguageCatalogTest::listLanguages() {
    QFETCH(QStringList, program);
    QFETCH(QStringList, data);
    QFETCH(QStringList, user);
    QFETCH(QStringList, languages);
    Sandbox box;
    populate(box.folders.program, program);
    populate(box.folders.data, data);
    populate(box.folders.user, user);
    QCOMPARE(LanguageCatalog(box.folders).listLanguages(), languages);
}

void LanguageCatalogTest::firstFolderWins_data() {
    QTest::addColumn<QStringList>("program");
    QTest::addColumn<QStringList>("data");
    QTest::addColumn<QStringList>("user");
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QString>("captions");

    const QString p = "English.lang=011303 P", d = "English.lang=011303 D",
                  u = "English.lang=011303 U";
    QTest::newRow("program before data")
        << QStringList{p} << QStringList{d} << QStringList{u} << "bin"
        << "Label3(0)=P";
    QTest::newRow("data before user")
        << QStringList{} << QStringList{d} << QStringList{u} << "share/zun/lang"
        << "Label3(0)=D";
    QTest::newRow("user last") << QStringList{} << QStringList{} << QStringList{u} << "config"
                               << "Label3(0)=U";
    QTest::newRow("empty file shadows")
        << QStringList{"English.lang"} << QStringList{d} << QStringList{} << "bin"
        << "";
    QTest::newRow("none") << QStringList{"Deutsch.lang=011303 X"} << QStringList{} << QStringList{}
                          << ""
                          << "";
}

void LanguageCatalogTest::firstFolderWins() {
    QFETCH(QStringList, program);
    QFETCH(QStringList, data);
    QFETCH(QStringList, user);
    QFETCH(QString, folder);
    QFETCH(QString, captions);
    Sandbox box;
    populate(box.folders.program, program);
    populate(box.folders.data, data);
    populate(box.folders.user, user);
    const LanguageCatalog catalog(box.folders);
    const QString expectedPath =
        folder.isEmpty() ? QString() : box.root.filePath(folder + "/English.lang");
    QCOMPARE(catalog.languageFilePath("English"), expectedPath);
    QCOMPARE(captionText(catalog.captionsOf("English")), captions);
}

void LanguageCatalogTest::rememberedLanguage_data() {
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QString>("remembered");
    QTest::addColumn<QByteArray>("after");

    QTest::newRow("missing is created") << kAbsent << "English" << QByteArray("English\n");
    QTest::newRow("crlf line") << QByteArray("Deutsch\r\n") << "Deutsch"
                               << QByteArray("Deutsch\r\n");
    QTest::newRow("no line end") << QByteArray("de") << "de" << QByteArray("de");
    QTest::newRow("first field only")
        << QByteArray("Deutsch,English\nfr\n") << "Deutsch" << QByteArray("Deutsch,English\nfr\n");
    QTest::newRow("quoted") << QByteArray("\"Deutsch, CH\"\r\n") << "Deutsch, CH"
                            << QByteArray("\"Deutsch, CH\"\r\n");
    QTest::newRow("leading blanks") << QByteArray("   fr\n") << "fr" << QByteArray("   fr\n");
    QTest::newRow("empty file stays") << QByteArray() << "" << QByteArray();
    QTest::newRow("latin-1") << QByteArray(
                                    "Fran\xE7"
                                    "ais\r\n")
                             << QStringLiteral("Français")
                             << QByteArray(
                                    "Fran\xE7"
                                    "ais\r\n");
    QTest::newRow("utf-8") << QByteArray(
                                  "Fran\xC3\xA7"
                                  "ais\n")
                           << QStringLiteral("Français")
                           << QByteArray(
                                  "Fran\xC3\xA7"
                                  "ais\n");
}

void LanguageCatalogTest::rememberedLanguage() {
    QFETCH(QByteArray, before);
    QFETCH(QString, remembered);
    QFETCH(QByteArray, after);
    Sandbox box;
    const QString state = box.folders.program + "/DefaultLang.txt";
    if (before != kAbsent) {
        populate(box.folders.program, {"DefaultLang.txt"});
        QFile f(state);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write(before);
    }
    QCOMPARE(LanguageCatalog(box.folders).rememberedLanguage(), remembered);
    QCOMPARE(bytesOf(state), after);
    QCOMPARE(bytesOf(box.folders.user + "/DefaultLang.txt"), kAbsent);
}

void LanguageCatalogTest::remember_data() {
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QString>("choice");
    QTest::addColumn<bool>("rewritten");
    QTest::addColumn<QByteArray>("after");

    QTest::newRow("same choice") << QByteArray("English\n") << "English" << false
                                 << QByteArray("English\n");
    QTest::newRow("same choice, crlf")
        << QByteArray("Deutsch\r\n") << "Deutsch" << false << QByteArray("Deutsch\r\n");
    QTest::newRow("same first field")
        << QByteArray("de,xx\n") << "de" << false << QByteArray("de,xx\n");
    QTest::newRow("other choice") << QByteArray("English\n") << "Deutsch" << true
                                  << QByteArray("Deutsch\n");
    QTest::newRow("case differs") << QByteArray("english\n") << "English" << true
                                  << QByteArray("English\n");
    QTest::newRow("missing file") << kAbsent << "Deutsch" << true << QByteArray("Deutsch\n");
    QTest::newRow("empty file") << QByteArray() << "de" << true << QByteArray("de\n");
    QTest::newRow("non-ascii name") << QByteArray("English\n") << QStringLiteral("Français") << true
                                    << QByteArray(
                                           "Fran\xC3\xA7"
                                           "ais\n");
    QTest::newRow("same in latin-1") << QByteArray(
                                            "Fran\xE7"
                                            "ais\n")
                                     << QStringLiteral("Français") << false
                                     << QByteArray(
                                            "Fran\xE7"
                                            "ais\n");
}

void LanguageCatalogTest::remember() {
    QFETCH(QByteArray, before);
    QFETCH(QString, choice);
    QFETCH(bool, rewritten);
    QFETCH(QByteArray, after);
    Sandbox box;
    const QString state = box.folders.program + "/DefaultLang.txt";
    const QDateTime old(QDate(2001, 2, 3), QTime(4, 5, 6), Qt::UTC);
    if (before != kAbsent) {
        QFile f(state);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write(before);
        f.close();
        // An old stamp, so that even a rewrite of identical bytes would show.
        QVERIFY(f.open(QIODevice::ReadWrite));
        QVERIFY(f.setFileTime(old, QFileDevice::FileModificationTime));
    }
    const LanguageCatalog catalog(box.folders);
    QCOMPARE(catalog.remember(choice), rewritten);
    QCOMPARE(bytesOf(state), after);
    const QDateTime stamp = QFileInfo(state).lastModified();
    if (rewritten) {
        QVERIFY2(stamp != old, qPrintable(stamp.toString(Qt::ISODate)));
    } else {
        QCOMPARE(stamp, old);
    }
    QCOMPARE(catalog.rememberedLanguage(), choice);
    QCOMPARE(catalog.remember(choice), false);
}

void LanguageCatalogTest::ensureEnglish_data() {
    QTest::addColumn<QString>("holder");  // folder that already has English.lang, or empty
    QTest::addColumn<bool>("created");

    QTest::newRow("nowhere") << "" << true;
    QTest::newRow("program") << "bin" << false;
    QTest::newRow("data") << "share/zun/lang" << false;
    QTest::newRow("user") << "config" << false;
}

void LanguageCatalogTest::ensureEnglish() {
    QFETCH(QString, holder);
    QFETCH(bool, created);
    Sandbox box;
    if (!holder.isEmpty()) {
        populate(box.root.filePath(holder), {"English.lang=011303 Kept"});
    }
    const LanguageCatalog catalog(box.folders);
    QCOMPARE(catalog.ensureEnglish(), created);
    const QString inProgram = box.folders.program + "/English.lang";
    if (created) {
        QCOMPARE(bytesOf(inProgram), QByteArray());
    } else {
        QCOMPARE(bytesOf(box.root.filePath(holder + "/English.lang")), QByteArray("011303 Kept"));
        if (holder != "bin") {
            QCOMPARE(bytesOf(inProgram), kAbsent);
        }
    }
    QCOMPARE(catalog.ensureEnglish(), false);
    QVERIFY(catalog.listLanguages().contains("English"));
}

void LanguageCatalogTest::stateFolder_data() {
    QTest::addColumn<QString>("program");  // how the program folder is made unusable
    QTest::addColumn<bool>("fallback");

    QTest::newRow("writable program folder") << "writable" << false;
    QTest::newRow("program folder beneath a file") << "beneath file" << true;
    QTest::newRow("program folder missing") << "missing" << true;
    QTest::newRow("read-only program folder") << "read-only" << true;
}

// An installed program cannot write beside itself; the choice and a new English.lang then live
// in the user's folder, and are found there again.
void LanguageCatalogTest::stateFolder() {
    QFETCH(QString, program);
    QFETCH(bool, fallback);
    Sandbox box;
    LanguageFolders folders = box.folders;
    if (program == "beneath file") {
        populate(box.root.path(), {"plain"});
        folders.program = box.root.filePath("plain/bin");
    } else if (program == "missing") {
        folders.program = box.root.filePath("gone");
    } else if (program == "read-only") {
        QFile::setPermissions(folders.program, QFile::ReadOwner | QFile::ExeOwner);
        if (QFileInfo(folders.program).isWritable()) {
            QFile::setPermissions(folders.program,
                                  QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
            QSKIP("the read-only folder is writable anyway for this user (root)");
        }
    }
    const LanguageCatalog catalog(folders);
    const QString expected = fallback ? folders.user : folders.program;
    QCOMPARE(catalog.stateFolder(), expected);
    QCOMPARE(catalog.rememberedLanguage(), QString("English"));
    QVERIFY(catalog.ensureEnglish());
    QVERIFY(catalog.remember("Deutsch"));
    QCOMPARE(bytesOf(expected + "/DefaultLang.txt"), QByteArray("Deutsch\n"));
    QCOMPARE(bytesOf(expected + "/English.lang"), QByteArray());
    QCOMPARE(catalog.languageFilePath("English"), expected + "/English.lang");
    QCOMPARE(LanguageCatalog(folders).rememberedLanguage(), QString("Deutsch"));
    if (fallback) {
        QVERIFY(!QFileInfo::exists(folders.program + "/DefaultLang.txt"));
    }
    QFile::setPermissions(box.folders.program,
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

void LanguageCatalogTest::standardFolders() {
    const LanguageFolders folders = LanguageFolders::standard();
    const QString program = QCoreApplication::applicationDirPath();
    QCOMPARE(folders.program, program);
    QCOMPARE(folders.data, QDir::cleanPath(program + "/../share/zun/lang"));
    QVERIFY(!folders.user.isEmpty());
    QCOMPARE(LanguageCatalog(folders).searchFolders(),
             (QStringList{program, folders.data, QDir::cleanPath(folders.user)}));
}

#include "test_language_catalog.moc"

int runLanguageCatalogTest(int argc, char** argv) {
    LanguageCatalogTest test;
    return QTest::qExec(&test, argc, argv);
}
