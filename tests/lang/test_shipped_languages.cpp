#include "lang/english_captions.h"
#include "lang/key_table.h"
#include "lang/language_file.h"

#include <QFile>
#include <QSet>
#include <QStringDecoder>
#include <QtTest>

using zun::lang::KeyTable;
using zun::lang::LanguageFile;

class ShippedLanguagesTest : public QObject {
    Q_OBJECT

private slots:
    void englishCaptionsCoverKeyTable();
    void shippedFile_data();
    void shippedFile();
};

void ShippedLanguagesTest::englishCaptionsCoverKeyTable() {
    QStringList captionKeys;
    for (const auto& c : zun::lang::kEnglishCaptions) {
        captionKeys << QString::fromLatin1(c.key);
        QVERIFY2(!QString::fromLatin1(c.text).trimmed().isEmpty(), c.key);
    }
    QCOMPARE(captionKeys, KeyTable::keys());
}

void ShippedLanguagesTest::shippedFile_data() {
    QTest::addColumn<QString>("file");
    QTest::addColumn<bool>("english");
    QTest::addColumn<QString>("sampleKey");
    QTest::addColumn<QString>("sampleText");

    QTest::newRow("English") << "English.lang" << true << "011302"
                             << "Red color means wrong entry or conflict of previous setting "
                                ".Recheck just entered setting .";
    QTest::newRow("Deutsch") << "Deutsch.lang" << false << "020004" << QStringLiteral("Öffnen");
    QTest::newRow("Deutsch quoted comma")
        << "Deutsch.lang" << false << "011404"
        << QStringLiteral("Ladung in diesem Abschnitt, Prozent der Batterie-Nennkapazität (%)");
}

// Every shipped file is UTF-8 and gives every key exactly once; English.lang gives the window's
// own captions, so choosing English after another language restores the design.
void ShippedLanguagesTest::shippedFile() {
    QFETCH(QString, file);
    QFETCH(bool, english);
    QFETCH(QString, sampleKey);
    QFETCH(QString, sampleText);

    QFile f(QStringLiteral(ZUN_LANG_DIR "/") + file);
    QVERIFY2(f.open(QIODevice::ReadOnly), qPrintable(f.fileName()));
    const QByteArray bytes = f.readAll();
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = utf8.decode(bytes);
    QVERIFY2(!utf8.hasError(), "not valid UTF-8");
    QVERIFY2(!bytes.startsWith("\xEF\xBB\xBF"), "byte order mark");

    const LanguageFile parsed = LanguageFile::fromBytes(bytes);
    QStringList keys;
    for (const auto& entry : parsed.entries()) {
        QVERIFY2(!keys.contains(entry.key), qPrintable("repeated key " + entry.key));
        QVERIFY2(KeyTable::isKnown(entry.key), qPrintable("unknown key " + entry.key));
        QVERIFY2(!entry.text.isEmpty(), qPrintable("empty text for " + entry.key));
        if (english) {
            QCOMPARE(entry.text, zun::lang::englishCaptionOf(entry.key));
        }
        if (entry.key == sampleKey) {
            QCOMPARE(entry.text, sampleText);
        }
        keys << entry.key;
    }
    QCOMPARE(keys, KeyTable::keys());
    // One entry per line: the reader must not have found more fields than lines.
    QCOMPARE(text.count(u'\n'), KeyTable::keys().size());
}

#include "test_shipped_languages.moc"

int runShippedLanguagesTest(int argc, char** argv) {
    ShippedLanguagesTest test;
    return QTest::qExec(&test, argc, argv);
}
