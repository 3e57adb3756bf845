#include "lang/key_table.h"
#include "lang/language_file.h"

#include <QRandomGenerator>
#include <QtTest>

using zun::lang::Captions;
using zun::lang::KeyTable;
using zun::lang::LanguageFile;

namespace {

// "Label3(0)=Text|Tab2[4]=Any", in the key table's order, so a failure shows every caption.
QString describe(const Captions& captions) {
    QStringList parts;
    for (const auto& c : captions) {
        parts << c.target.describe() + u'=' + c.text;
    }
    return parts.join(u'|');
}

QString hexOf(const QByteArray& bytes) {
    return QString::fromLatin1(bytes.toHex(' '));
}

}  // namespace

class LanguageFileTest : public QObject {
    Q_OBJECT

private slots:
    void readFields_data();
    void readFields();
    void entryOf_data();
    void entryOf();
    void captions_data();
    void captions();
    void decode_data();
    void decode();
    void keyTable_data();
    void keyTable();
    void randomBytes_data();
    void randomBytes();
};

void LanguageFileTest::readFields_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("fields");

    QTest::newRow("one entry") << "011303 Text" << QStringList{"011303 Text"};
    QTest::newRow("comma splits") << "a,b" << QStringList{"a", "b"};
    QTest::newRow("leading blanks skipped") << "  \t a, \tb" << QStringList{"a", "b"};
    QTest::newRow("trailing blanks kept") << "a  ,b" << QStringList{"a  ", "b"};
    QTest::newRow("quoted comma kept") << "\"a,b\"" << QStringList{"a,b"};
    QTest::newRow("quoted after blanks") << "  \"a,b\",c" << QStringList{"a,b", "c"};
    QTest::newRow("rest after quote dropped") << "\"a,b\" junk,c" << QStringList{"a,b", "c"};
    QTest::newRow("rest after quote to eol") << "\"a\" junk\nb" << QStringList{"a", "b"};
    QTest::newRow("quote inside unquoted") << "a \"b\" c" << QStringList{"a \"b\" c"};
    QTest::newRow("open quote ends at eol") << "\"open,x\nb" << QStringList{"open,x", "b"};
    QTest::newRow("open quote at eof") << "\"open" << QStringList{"open"};
    QTest::newRow("empty quoted") << "\"\",a" << QStringList{"", "a"};
    QTest::newRow("LF") << "a\nb\n" << QStringList{"a", "b"};
    QTest::newRow("CR LF") << "a\r\nb\r\n" << QStringList{"a", "b"};
    QTest::newRow("lone CR") << "a\rb" << QStringList{"a", "b"};
    QTest::newRow("CR LF is one line end") << "a\r\n\r\nb" << QStringList{"a", "b"};
    QTest::newRow("blank lines hold nothing") << "\n  \n\t\r\n" << QStringList{};
    QTest::newRow("empty text") << "" << QStringList{};
    QTest::newRow("comma before eol") << "a,\nb" << QStringList{"a", "", "b"};
    QTest::newRow("comma at eof") << "a," << QStringList{"a", ""};
    QTest::newRow("two commas") << "a,,b" << QStringList{"a", "", "b"};
    QTest::newRow("comma blanks eol") << "a,  \r\nb" << QStringList{"a", "", "b"};
}

void LanguageFileTest::readFields() {
    QFETCH(QString, text);
    QFETCH(QStringList, fields);
    QCOMPARE(LanguageFile::readFields(text), fields);
}

void LanguageFileTest::entryOf_data() {
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("text");

    QTest::newRow("key blank text") << "011303 Text"
                                    << "011303"
                                    << "Text";
    QTest::newRow("separator is any char") << "011303XText"
                                           << "011303"
                                           << "Text";
    QTest::newRow("text trimmed") << "011303   two words \t"
                                  << "011303"
                                  << "two words";
    QTest::newRow("8 chars") << "011303 x"
                             << "011303"
                             << "x";
    QTest::newRow("7 chars") << "011303 "
                             << "011303"
                             << "";
    QTest::newRow("6 chars") << "011303"
                             << "011303"
                             << "";
    QTest::newRow("short key") << "0113"
                               << "0113"
                               << "";
    QTest::newRow("empty") << ""
                           << ""
                           << "";
    QTest::newRow("umlaut text") << QStringLiteral("020004 Öffnen") << "020004"
                                 << QStringLiteral("Öffnen");
}

void LanguageFileTest::entryOf() {
    QFETCH(QString, field);
    QFETCH(QString, key);
    QFETCH(QString, text);
    const auto entry = LanguageFile::entryOf(field);
    QCOMPARE(entry.key, key);
    QCOMPARE(entry.text, text);
}

void LanguageFileTest::captions_data() {
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QString>("captions");

    QTest::newRow("label") << QByteArray("011303 Text") << "Label3(0)=Text";
    QTest::newRow("7 chars clears") << QByteArray("011303 ") << "Label3(0)=";
    QTest::newRow("6 chars clears") << QByteArray("011303\n") << "Label3(0)=";
    QTest::newRow("unquoted comma cuts, rest is an entry")
        << QByteArray("011303 Volts, 011304 Temp") << "Label3(0)=Volts|Label3(2)=Temp";
    QTest::newRow("unquoted comma cuts, rest unknown")
        << QByteArray("011303 Volts, above") << "Label3(0)=Volts";
    QTest::newRow("quoted comma kept")
        << QByteArray("\"011303 Volts, above\"\r\n") << "Label3(0)=Volts, above";
    QTest::newRow("last occurrence wins")
        << QByteArray("011303 First\n011304 T\n011303 Second\n") << "Label3(0)=Second|Label3(2)=T";
    QTest::newRow("later empty wins") << QByteArray("011303 First\n011303\n") << "Label3(0)=";
    QTest::newRow("unknown keys ignored")
        << QByteArray("999999 X\n01130 Y\n0113033 Z\n011303 W") << "Label3(0)=W";
    QTest::newRow("000001 ignored") << QByteArray("000001 ZUN") << "";
    QTest::newRow("tabs") << QByteArray("011400 Any\n010000 Profile\n020000 Data\n011000 Gen")
                          << "Tab1[0]=Profile|Tab2[0]=Gen|Tab2[4]=Any|Tab1[1]=Data";
    QTest::newRow("buttons and labels")
        << QByteArray("020003 Log\n020006 D\n000000 P\n011208 S6\n011301 C")
        << "Label0(0)=P|Lab2(21)=S6|Label3(17)=C|CmdGetOK(2)=Log|LabelGetDesc=D";
    QTest::newRow("key not at field start")
        << QByteArray(" 011303 Lead blank\nx011304 Shifted") << "Label3(0)=Lead blank";
    QTest::newRow("utf8 bom") << QByteArray(
                                     "\xEF\xBB\xBF"
                                     "011303 B")
                              << "Label3(0)=B";
    QTest::newRow("empty file") << QByteArray() << "";
}

void LanguageFileTest::captions() {
    QFETCH(QByteArray, file);
    QFETCH(QString, captions);
    QCOMPARE(describe(LanguageFile::fromBytes(file).captions()), captions);
}

void LanguageFileTest::decode_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("text");

    const QString ueber = QStringLiteral("011101 Batterietemperatur über :");
    QTest::newRow("latin-1 umlaut") << QByteArray(
                                           "011101 Batterietemperatur \xFC"
                                           "ber :")
                                    << ueber;
    QTest::newRow("utf-8 umlaut") << ueber.toUtf8() << ueber;
    QTest::newRow("utf-8 with bom") << QByteArray("\xEF\xBB\xBF") + ueber.toUtf8() << ueber;
    QTest::newRow("ascii") << QByteArray("011303 Text") << "011303 Text";
    QTest::newRow("windows euro and quotes")
        << QByteArray("\x80 \x93x\x94 \x96") << QStringLiteral("€ “x” –");
    QTest::newRow("undefined windows byte") << QByteArray("\x81\xE9") << QStringLiteral("\u0081é");
    QTest::newRow("truncated utf-8 is latin-1") << QByteArray("a\xC3") << QStringLiteral("aÃ");
    QTest::newRow("overlong utf-8 is latin-1") << QByteArray("\xC0\xAF") << QStringLiteral("À¯");
    QTest::newRow("nul kept") << QByteArray("a\0b", 3)
                              << QString(QStringLiteral("a") + QChar(0) + u'b');
}

void LanguageFileTest::decode() {
    QFETCH(QByteArray, bytes);
    QFETCH(QString, text);
    QVERIFY2(LanguageFile::decode(bytes) == text,
             qPrintable(QStringLiteral("bytes %1 decoded as \"%2\"")
                            .arg(hexOf(bytes), LanguageFile::decode(bytes))));
}

void LanguageFileTest::keyTable_data() {
    QTest::addColumn<QString>("key");
    QTest::addColumn<bool>("known");
    QTest::addColumn<QString>("target");

    QTest::newRow("port label") << "000000" << true << "Label0(0)";
    QTest::newRow("program name") << "000001" << true << "";
    QTest::newRow("profile tab") << "010000" << true << "Tab1[0]";
    QTest::newRow("data tab") << "020000" << true << "Tab1[1]";
    QTest::newRow("protection tab") << "011100" << true << "Tab2[1]";
    QTest::newRow("stage 1") << "011203" << true << "Lab2(6)";
    QTest::newRow("stage 4") << "011206" << true << "Lab2(15)";
    QTest::newRow("max time") << "011103" << true << "Lab1(5)";
    QTest::newRow("any voltage") << "011401" << true << "Label3(8)";
    QTest::newRow("any title") << "011403" << true << "Label3(19)";
    QTest::newRow("open") << "020004" << true << "CmdGetOpen";
    QTest::newRow("stage 7 unknown") << "011209" << false << "";
    QTest::newRow("next tab unknown") << "011500" << false << "";
    QTest::newRow("short") << "01130" << false << "";
    QTest::newRow("long") << "0113030" << false << "";
}

void LanguageFileTest::keyTable() {
    QFETCH(QString, key);
    QFETCH(bool, known);
    QFETCH(QString, target);
    QCOMPARE(KeyTable::isKnown(key), known);
    const auto found = KeyTable::target(key);
    QCOMPARE(found ? found->describe() : QString(), target);
}

void LanguageFileTest::randomBytes_data() {
    QTest::addColumn<quint32>("seed");
    QTest::addColumn<bool>("withEntries");
    for (quint32 seed : {1u, 7u, 2024u, 0xC0FFEEu}) {
        QTest::addRow("seed %u", seed) << seed << false;
        QTest::addRow("seed %u with entries", seed) << seed << true;
    }
}

// Noise must never crash the reader nor set a caption that no entry in the bytes gives; valid
// lines among the noise still count.
void LanguageFileTest::randomBytes() {
    QFETCH(quint32, seed);
    QFETCH(bool, withEntries);
    QRandomGenerator random(seed);
    QByteArray bytes(64 * 1024, Qt::Uninitialized);
    for (char& b : bytes) {
        b = static_cast<char>(random.bounded(256));
    }
    QString expected;
    if (withEntries) {
        bytes.insert(1000, "\n011303 Volts\n");
        bytes.insert(30000, "\r\n\"020004 Op\xE9n, now\"\r\n");
        bytes.insert(50000, "\n011303 Volts again\n");
        expected = QStringLiteral("Label3(0)=Volts again|CmdGetOpen=Opén, now");
    }
    const Captions captions = LanguageFile::fromBytes(bytes).captions();
    QStringList unexplained;
    QStringList wanted = expected.isEmpty() ? QStringList() : expected.split(u'|');
    for (const auto& c : captions) {
        const QString one = c.target.describe() + u'=' + c.text;
        if (wanted.removeOne(one)) {
            continue;
        }
        // Noise may spell out a real entry; then at least its key is in the bytes.
        if (!bytes.contains(c.key.toLatin1())) {
            unexplained << one;
        }
    }
    QVERIFY2(unexplained.isEmpty(), qPrintable(unexplained.join(u'|')));
    QVERIFY2(wanted.isEmpty(),
             qPrintable(
                 QStringLiteral("missing %1; got %2").arg(wanted.join(u'|'), describe(captions))));
}

#include "test_language_file.moc"

int runLanguageFileTest(int argc, char** argv) {
    LanguageFileTest test;
    return QTest::qExec(&test, argc, argv);
}
