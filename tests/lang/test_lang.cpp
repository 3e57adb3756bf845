#include "lang/english_captions.h"
#include "lang/language_catalog.h"
#include "lang/program_texts.h"

#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtTest>

using namespace zun::lang;

namespace {

const QByteArray kAbsent("<missing>");

template <typename... T>
void row(const char* name, T... values) {
    (QTest::newRow(name) << ... << values);
}

// "Label3(0)=Text|Tab2[4]=Any", in the key table's order, so a failure shows every caption.
QString describe(const Captions& captions) {
    QStringList parts;
    for (const Caption& c : captions) {
        parts << c.target.describe() + u'=' + c.text;
    }
    return parts.join(u'|');
}

QByteArray bytesOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : kAbsent;
}

// A program folder "bin", an installed data folder "data" and a user folder "user"; every file
// made in it holds one caption naming its folder, e.g. "011303 data".
struct Sandbox {
    QTemporaryDir root;
    LanguageFolders folders{root.filePath("bin"), root.filePath("data"), root.filePath("user")};

    explicit Sandbox(const QString& files = {}) {
        QDir(root.path()).mkpath("bin");
        for (const QString& path : files.split(u' ', Qt::SkipEmptyParts)) {
            QDir(root.path()).mkpath(QFileInfo(path).path());
            QFile file(root.filePath(path));
            QVERIFY2(file.open(QIODevice::WriteOnly), qPrintable(file.fileName()));
            file.write("011303 " + path.section(u'/', 0, 0).toUtf8());
        }
    }
};

}  // namespace

class LangTest : public QObject {
    Q_OBJECT

private slots:
    void captions_data() {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("captions");
        row("7 chars clears", "011303 \n", "Label3(0)=");
        row("key, blank, text", "  011303   two words \t", "Label3(0)=two words");
        row("unquoted comma splits", "011303 V, 011304 T,above", "Label3(0)=V|Label3(2)=T");
        row("quoted comma kept", "\"011303 V, a\" junk,011304 T", "Label3(0)=V, a|Label3(2)=T");
        row("open quote ends at its line", "\"011303 a,b\r\n011304 c\r011305 d",
            "Label3(0)=a,b|Label3(2)=c|Label3(4)=d");
        row("last occurrence wins", "011303 A\n011304 T\n011303 B\n011304\n",
            "Label3(0)=B|Label3(2)=");
        row("key table",
            "000000 P\n000001 ZUN\n011208 S\n011401 A\n020004 O\n011209 X\n011500 Y\n020000 D\n"
            "011400 N\n010000 F",
            "Label0(0)=P|Tab1[0]=F|Lab2(21)=S|Tab2[4]=N|Label3(8)=A|Tab1[1]=D|CmdGetOpen=O");
        row("umlauts", "011101 Über\n020004 Öffnen", "Lab1(1)=Über|CmdGetOpen=Öffnen");
    }

    // Old files are Latin-1, new ones UTF-8 with or without a byte order mark: the same text.
    void captions() {
        QFETCH(QString, file);
        QFETCH(QString, captions);
        for (const QByteArray& bytes :
             {file.toLatin1(), file.toUtf8(), "\xEF\xBB\xBF" + file.toUtf8()}) {
            QCOMPARE(describe(LanguageFile::fromBytes(bytes).captions()), captions);
        }
    }

    // Noise never crashes the reader nor sets a caption that no entry explains; real entries
    // among the noise still count.
    void randomBytes() {
        for (quint32 start : {1u, 2024u, 0xC0FFEEu}) {
            QRandomGenerator random(start);
            QByteArray bytes(64 * 1024, Qt::Uninitialized);
            random.fillRange(reinterpret_cast<quint32*>(bytes.data()), bytes.size() / 4);
            bytes.insert(30000, "\r\n\"020004 Op\xE9n, now\"\r\n");
            bytes.insert(50000, "\n011303 Volts\n");
            // Nothing else: a caption out of noise would be one that no entry gave.
            QCOMPARE(describe(LanguageFile::fromBytes(bytes).captions()),
                     QString("Label3(0)=Volts|CmdGetOpen=Opén, now"));
        }
    }

    void folders_data() {
        QTest::addColumn<QString>("files");
        QTest::addColumn<QString>("languages");
        QTest::addColumn<QString>("english");  // folder whose English.lang is read; empty: none
        row("short names", "bin/de.lang bin/.lang user/x.lang", "de x", "");
        row("other files", "bin/n.txt bin/a.lang.bak bin/Fr.LANG", "", "");
        row("program first", "bin/English.lang data/English.lang data/de.lang", "de English",
            "bin");
        row("data before user", "data/English.lang user/English.lang", "English", "data");
        row("user last", "user/English.lang", "English", "user");
        row("program folder beneath a file", "plain", "", "");
    }

    // A missing English.lang and DefaultLang.txt are made beside the program, or in the user's
    // folder when the program's own cannot be written, and are found there again.
    void folders() {
        QFETCH(QString, files);
        QFETCH(QString, languages);
        QFETCH(QString, english);
        Sandbox box(files);
        const bool plain = files == "plain";  // no program folder can be made beneath a file
        const LanguageFolders folders{plain ? box.root.filePath("plain/bin") : box.folders.program,
                                      box.folders.data, box.folders.user};
        const QString state = plain ? folders.user : folders.program;
        const LanguageCatalog catalog(folders);
        QCOMPARE(catalog.listLanguages(), languages.split(u' ', Qt::SkipEmptyParts));
        QCOMPARE(catalog.ensureEnglish(), english.isEmpty());
        const QString holder = english.isEmpty() ? state : box.root.filePath(english);
        QCOMPARE(catalog.languageFilePath("English"), holder + "/English.lang");
        QCOMPARE(describe(catalog.captionsOf("English")),
                 english.isEmpty() ? QString() : "Label3(0)=" + english);
        QCOMPARE(catalog.rememberedLanguage(), QString("English"));
        QCOMPARE(bytesOf(state + "/DefaultLang.txt"), QByteArray("English\n"));
        QVERIFY(catalog.remember("Deutsch"));
        QCOMPARE(LanguageCatalog(folders).rememberedLanguage(), QString("Deutsch"));
    }

    void remember_data() {
        QTest::addColumn<QByteArray>("before");  // DefaultLang.txt
        QTest::addColumn<QString>("choice");
        QTest::addColumn<bool>("written");
        QTest::addColumn<QByteArray>("after");
        const QByteArray first = QByteArray("  \"Fran\xE7") + "ais, CH\",x\r\n";
        row("same first field, latin-1", first, "Français, CH", false, first);
        row("other", QByteArray("English\n"), "Deutsch", true, QByteArray("Deutsch\n"));
        row("missing", kAbsent, "de", true, QByteArray("de\n"));
        // Names whose first field would lose a part are quoted, so they come back whole.
        row("comma", kAbsent, "Français, CH", true,
            QByteArray("\"Fran\xC3\xA7"
                       "ais, CH\"\n"));
        row("leading blank", kAbsent, " x", true, QByteArray("\" x\"\n"));
    }

    // Language files are read whole and their encoding is decided on all of it; far beyond any
    // real file they are refused with a message and nothing changes.
    void largeFiles_data() {
        QTest::addColumn<int>("padding");  // bytes of unknown entries before the caption
        QTest::addColumn<QString>("caption");
        QTest::addColumn<QString>("error");
        // 4 MiB once cut the file here, inside the "ä", and the rest went unread.
        const int cut = 4 * 1024 * 1024 - 1 - int(qstrlen("011303 Ladung "));
        row("UTF-8 cut inside a character at 4 MiB", cut, "Label3(0)=Ladung ä", "");
        row("just at the limit", int(LanguageCatalog::kMaxFileBytes) - 17, "Label3(0)=Ladung ä",
            "");
        row("above the limit", int(LanguageCatalog::kMaxFileBytes), "", "larger than 16 MiB");
    }

    void largeFiles() {
        QFETCH(int, padding);
        QFETCH(QString, caption);
        QFETCH(QString, error);
        Sandbox box;
        QFile f(box.folders.program + "/Big.lang");
        QVERIFY(f.open(QIODevice::WriteOnly));
        // Unknown keys, one a line, filling the padding exactly.
        QByteArray pad(padding, 'x');
        for (int i = 99; i < padding; i += 100) {
            pad[i] = '\n';
        }
        pad[padding - 1] = '\n';
        QVERIFY(f.write(pad) == padding && f.write("011303 Ladung \xC3\xA4\n") == 17);
        f.close();
        const LanguageCatalog::LanguageRead read = LanguageCatalog(box.folders).readLanguage("Big");
        QCOMPARE(describe(read.captions), caption);
        QVERIFY2(error.isEmpty() ? read.error.isEmpty() : read.error.contains(error),
                 qPrintable(read.error));
    }

    void remember() {
        QFETCH(QByteArray, before);
        QFETCH(QString, choice);
        QFETCH(bool, written);
        QFETCH(QByteArray, after);
        Sandbox box;
        const QString state = box.folders.program + "/DefaultLang.txt";
        // An old stamp, so that even a rewrite of identical bytes would show.
        const QDateTime old(QDate(2001, 2, 3), QTime(4, 5, 6), Qt::UTC);
        if (before != kAbsent) {
            QFile f(state);
            QVERIFY(f.open(QIODevice::WriteOnly) && f.write(before) == before.size() && f.flush() &&
                    f.setFileTime(old, QFileDevice::FileModificationTime));
        }
        const LanguageCatalog catalog(box.folders);
        QCOMPARE(catalog.remember(choice), written);
        QCOMPARE(bytesOf(state), after);
        QCOMPARE(QFileInfo(state).lastModified() != old, written);
        QCOMPARE(catalog.rememberedLanguage(), choice);
    }

    // Every shipped file is UTF-8 without a byte order mark and gives every key once, one a
    // line; English.lang gives the window's own captions, so choosing English restores them.
    void shippedFiles() {
        for (const QString name : {"English", "Deutsch"}) {
            QFile f(QStringLiteral(ZUN_LANG_DIR "/") + name + ".lang");
            QVERIFY2(f.open(QIODevice::ReadOnly), qPrintable(f.fileName()));
            const QByteArray bytes = f.readAll();
            QVERIFY(QString::fromUtf8(bytes).toUtf8() == bytes &&
                    !bytes.startsWith("\xEF\xBB\xBF"));
            const LanguageFile parsed = LanguageFile::fromBytes(bytes);
            QStringList keys;
            for (const Entry& entry : parsed.entries()) {
                keys << entry.key;
                QVERIFY2(!entry.text.isEmpty(), qPrintable(name + ' ' + entry.key));
                if (name == "English" && KeyTable::isKnown(entry.key)) {
                    QCOMPARE(entry.text, englishCaptionOf(entry.key));
                }
            }
            // The captions by control name, then the program's own texts (test_program_texts).
            QStringList expected = KeyTable::keys();
            for (int key : ProgramTexts::keys()) {
                expected << QString::number(key);
            }
            QCOMPARE(keys, expected);
            QCOMPARE(bytes.count('\n'), keys.size());
        }
    }
};

QTEST_GUILESS_MAIN(LangTest)
#include "test_lang.moc"
