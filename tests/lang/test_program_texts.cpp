#include "lang/key_table.h"
#include "lang/language_file.h"
#include "lang/program_texts.h"

#include <QDirIterator>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QtTest>

#include <map>

using namespace zun::lang;

namespace {

QString readText(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? QString::fromUtf8(f.readAll()) : QString();
}

// The names and numbers of text_keys.h, as the compiler sees them.
std::map<QString, int> declaredKeys() {
    std::map<QString, int> out;
    static const QRegularExpression decl(QStringLiteral(R"(^\s+(\w+) = (\d{6}),)"),
                                         QRegularExpression::MultilineOption);
    auto it = decl.globalMatch(readText(QStringLiteral(ZUN_SOURCE_DIR "/src/lang/text_keys.h")));
    while (it.hasNext()) {
        const auto m = it.next();
        out[m.captured(1)] = m.captured(2).toInt();
    }
    return out;
}

// Every key name the sources use, with the first file that uses it.
std::map<QString, QString> usedKeys() {
    std::map<QString, QString> out;
    static const QRegularExpression use(QStringLiteral(R"(\bT::([A-Z]\w*))"));
    QDirIterator files(QStringLiteral(ZUN_SOURCE_DIR "/src"), {"*.cpp", "*.h"}, QDir::Files,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString path = files.next();
        // The declarations and the English table name every key.
        const QString name = QFileInfo(path).fileName();
        if (name == QLatin1String("text_keys.h") || name == QLatin1String("program_texts.cpp")) {
            continue;
        }
        auto it = use.globalMatch(readText(path));
        while (it.hasNext()) {
            out.emplace(it.next().captured(1), QFileInfo(path).fileName());
        }
    }
    return out;
}

QHash<QString, QString> shippedEntries(const QString& language) {
    QFile f(QStringLiteral(ZUN_LANG_DIR "/") + language + ".lang");
    QHash<QString, QString> out;
    if (f.open(QIODevice::ReadOnly)) {
        const LanguageFile file = LanguageFile::fromBytes(f.readAll());
        for (const Entry& e : file.entries()) {
            out.insert(e.key, e.text);
        }
    }
    return out;
}

// "%1 %2" of a text, sorted, so a translation that drops or adds an argument shows.
QStringList placeholders(const QString& text) {
    static const QRegularExpression arg(QStringLiteral("%\\d"));
    QStringList out;
    auto it = arg.globalMatch(text);
    while (it.hasNext()) {
        out << it.next().captured(0);
    }
    out.sort();
    return out;
}

}  // namespace

class ProgramTextsTest : public QObject {
    Q_OBJECT

private slots:
    void cleanup() { ProgramTexts::instance().use({}); }

    // The keys are the program's own: distinct, in their ranges, none of the caption table.
    void keysAreOwn() {
        const QList<int> keys = ProgramTexts::keys();
        QVERIFY(keys.size() > 100);
        QSet<int> seen;
        const QStringList captions = KeyTable::keys();
        for (int key : keys) {
            QVERIFY2(!seen.contains(key), qPrintable(QString::number(key)));
            seen.insert(key);
            QVERIFY2(key >= 910000 && key < 950000, qPrintable(QString::number(key)));
            QVERIFY2(!captions.contains(QString::number(key)), qPrintable(QString::number(key)));
        }
    }

    // Every declared key has an English text and is used somewhere in the program, and the
    // English table holds nothing that is not declared.
    void everyKeyHasEnglishAndIsUsed() {
        const std::map<QString, int> declared = declaredKeys();
        QCOMPARE(int(declared.size()), ProgramTexts::keys().size());
        for (const auto& [name, key] : declared) {
            QVERIFY2(!ProgramTexts::english(key).isEmpty(), qPrintable(name));
        }
        const std::map<QString, QString> used = usedKeys();
        for (const auto& entry : declared) {
            QVERIFY2(used.count(entry.first) == 1, qPrintable(entry.first + " is never used"));
        }
    }

    void shippedFiles_data() {
        QTest::addColumn<QString>("language");
        QTest::addColumn<int>("key");
        for (const char* language : {"English", "Deutsch"}) {
            for (int key : ProgramTexts::keys()) {
                QTest::addRow("%s %d", language, key) << QString::fromLatin1(language) << key;
            }
        }
    }

    // Both shipped files give every text: English word for word as the program has it, German
    // with the same arguments.
    void shippedFiles() {
        QFETCH(QString, language);
        QFETCH(int, key);
        static QHash<QString, QHash<QString, QString>> files;
        if (!files.contains(language)) {
            files.insert(language, shippedEntries(language));
        }
        const QString text = files[language].value(QString::number(key));
        const QString english = ProgramTexts::english(key);
        QVERIFY2(!text.isEmpty(), qPrintable(QString::number(key)));
        if (language == QLatin1String("English")) {
            QCOMPARE(text, english);
        } else {
            QCOMPARE(placeholders(text), placeholders(english));
        }
    }

    void lookup_data() {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<int>("key");
        QTest::addColumn<QString>("expected");
        QTest::newRow("given") << QByteArray("940001 und\n") << int(T::TypeAnd) << "und";
        QTest::newRow("not given: English") << QByteArray("940001 und\n") << int(T::TypeOr) << "or";
        QTest::newRow("empty: English") << QByteArray("940001\n") << int(T::TypeAnd) << "and";
        QTest::newRow("last wins")
            << QByteArray("940001 und\n940001 sowie\n") << int(T::TypeAnd) << "sowie";
        QTest::newRow("quoted, comma") << QByteArray("\"940041 %1 von %2, (%3)\"\n")
                                       << int(T::RecordsMissing) << "%1 von %2, (%3)";
        QTest::newRow("caption keys are not texts")
            << QByteArray("011303 Ladespannung\n") << int(T::TypeNone) << "none";
    }

    void lookup() {
        QFETCH(QByteArray, file);
        QFETCH(int, key);
        QFETCH(QString, expected);
        const QHash<int, QString> texts =
            ProgramTexts::fromEntries(LanguageFile::fromBytes(file).entries());
        QVERIFY(!texts.contains(11303));
        QSignalSpy changed(&ProgramTexts::instance(), &ProgramTexts::changed);
        ProgramTexts::instance().use(texts);
        QCOMPARE(changed.count(), 1);
        QCOMPARE(Text(static_cast<T>(key)), expected);
        ProgramTexts::instance().use({});
        QCOMPARE(Text(static_cast<T>(key)), ProgramTexts::english(key));
    }

    void unknownNumber() { QVERIFY(ProgramTexts::english(919999).isNull()); }
};

QTEST_GUILESS_MAIN(ProgramTextsTest)
#include "test_program_texts.moc"
