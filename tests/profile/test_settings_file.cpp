#include "link/stored_settings.h"
#include "profile/settings_compare.h"
#include "profile/settings_file.h"
#include "sim/settings_image.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtTest>

using namespace zun;

Q_DECLARE_METATYPE(link::ProfileSlot)

namespace {

// A settings reply around an image: any 4-byte head, then the image as hex text.
link::StoredSettings decoded(const QByteArray& image) {
    link::StoredSettings s;
    link::DecodeStoredSettings(
        QStringLiteral("85FF6900") + QString::fromLatin1(image.toHex()).toUpper(), s);
    return s;
}

// Random bytes everywhere, except that every condition's type byte is one the pages know
// (0 none, 1 and, 2 or); other codes cannot be told apart from the value in the profile texts.
QByteArray randomImage(quint32 seed) {
    QRandomGenerator gen(seed);
    QByteArray image(sim::kImageBytes, '\0');
    for (char& b : image) {
        b = char(gen.bounded(256));
    }
    for (int p = 0; p < 2; ++p) {
        for (int s = 0; s < sim::kStageCount; ++s) {
            for (int record : {sim::NextRecordOffset(p, s), sim::AnyRecordOffset(p, s)}) {
                for (int slot = 0; slot < 8; ++slot) {
                    image[record + 1 + 3 * slot] = char(gen.bounded(3));
                }
            }
        }
    }
    return image;
}

// The first field where two profiles differ, with both texts; empty when they are equal.
QString firstDifference(const link::ProfileSlot& a, const link::ProfileSlot& b) {
    auto cmp = [](const char* table, const auto& x, const auto& y) -> QString {
        for (size_t i = 0; i < x.size(); ++i) {
            if (x[i] != y[i]) {
                return QStringLiteral("%1[%2]: \"%3\" vs \"%4\"")
                    .arg(QLatin1String(table))
                    .arg(i)
                    .arg(x[i], y[i]);
            }
        }
        return QString();
    };
    for (const QString& d :
         {cmp("general", a.general, b.general), cmp("protection", a.protection, b.protection),
          cmp("stages", a.stages, b.stages), cmp("nextCond", a.nextCond, b.nextCond),
          cmp("anyCond", a.anyCond, b.anyCond), cmp("anyTarget", a.anyTarget, b.anyTarget)}) {
        if (!d.isEmpty()) {
            return d;
        }
    }
    return QString();
}

link::ProfileSlot handMadeSlot() {
    link::ProfileSlot s;
    s.general = {"24", "150", "18", "25.5", "2", "40"};
    s.protection = {"45", "36", "", "", "12"};
    s.stages = {"2", "28.8", "15", "27.6", "2.5", "", "", "", "", "", "", "", "", "", ""};
    for (int c = 0; c < 56; ++c) {
        s.nextCond[c] = QStringLiteral("0");
        s.anyCond[c] = QStringLiteral("00");
    }
    s.nextCond[0] = QStringLiteral("228.4");
    s.nextCond[5] = QStringLiteral("2600");
    s.nextCond[12] = QStringLiteral("12.5");
    s.anyCond[10] = QStringLiteral("1-273");
    s.anyTarget = {"", "0", "6", "", "", "", ""};
    return s;
}

QByteArray validFile() {
    profile::SettingsFile f;
    f.profiles = decoded(sim::DefaultSettingsImage());
    f.chargerModel = QStringLiteral("3110");
    return profile::SettingsToJson(f);
}

// Sets (or, for an undefined value, removes) the value at a path such as
// "profiles/0/general/capacityAh" inside a JSON document.
QJsonValue setAt(QJsonValue node, QStringList path, const QJsonValue& value) {
    if (path.isEmpty()) {
        return value;
    }
    const QString key = path.takeFirst();
    if (node.isArray()) {
        QJsonArray a = node.toArray();
        const int i = key.toInt();
        if (path.isEmpty() && value.isUndefined()) {
            a.removeAt(i);
        } else {
            a[i] = setAt(a.at(i), path, value);
        }
        return a;
    }
    QJsonObject o = node.toObject();
    if (path.isEmpty() && value.isUndefined()) {
        o.remove(key);
    } else {
        o[key] = setAt(o.value(key), path, value);
    }
    return o;
}

}  // namespace

class TestSettingsFile : public QObject {
    Q_OBJECT
private slots:
    void roundTripIsExact_data();
    void roundTripIsExact();
    void boxTextsAreSavedAsNumbers_data();
    void boxTextsAreSavedAsNumbers();
    void entriesThePagesCannotShow_data();
    void entriesThePagesCannotShow();
    void fileLayout();
    void malformedFieldsAreNamed_data();
    void malformedFieldsAreNamed();
    void notSettingsFiles_data();
    void notSettingsFiles();
    void fileOnDisk();
    void comparison_data();
    void comparison();
};

void TestSettingsFile::roundTripIsExact_data() {
    QTest::addColumn<link::ProfileSlot>("p1");
    QTest::addColumn<link::ProfileSlot>("p2");
    auto add = [](const char* name, const link::StoredSettings& s) {
        QTest::newRow(name) << s[0] << s[1];
    };
    add("virtual charger default image", decoded(sim::DefaultSettingsImage()));
    add("all bytes 00 (unused temperatures read -273)", decoded(QByteArray(sim::kImageBytes, 0)));
    add("all bytes FF (unset markers)", decoded(QByteArray(sim::kImageBytes, char(0xFF))));
    add("empty reply (all zeros, no stage count)", [] {
        link::StoredSettings s;
        link::DecodeStoredSettings(QString(), s);
        return s;
    }());
    for (quint32 seed : {1u, 2u, 3u, 42u, 4711u}) {
        const QByteArray name = "random image, seed " + QByteArray::number(seed);
        add(name.constData(), decoded(randomImage(seed)));
    }
    link::StoredSettings hand;
    hand[0] = handMadeSlot();
    hand[1] = decoded(randomImage(99))[1];
    add("hand-made texts", hand);
}

void TestSettingsFile::roundTripIsExact() {
    QFETCH(link::ProfileSlot, p1);
    QFETCH(link::ProfileSlot, p2);
    profile::SettingsFile f;
    f.profiles = {p1, p2};
    f.chargerModel = QStringLiteral("3215");
    f.comment = QStringLiteral("Werkstatt \"Süd\"");
    QStringList warnings;
    const QByteArray json = profile::SettingsToJson(f, &warnings);
    QVERIFY2(warnings.isEmpty(), qPrintable(warnings.join('\n')));
    const profile::SettingsReadResult r = profile::SettingsFromJson(json);
    QVERIFY2(r.ok, qPrintable(r.error));
    QCOMPARE(r.settings.chargerModel, f.chargerModel);
    QCOMPARE(r.settings.comment, f.comment);
    for (int p = 0; p < 2; ++p) {
        const QString d = firstDifference(f.profiles[p], r.settings.profiles[p]);
        QVERIFY2(d.isEmpty(), qPrintable(QStringLiteral("profile %1: %2").arg(p + 1).arg(d)));
    }
    // A second round changes nothing either.
    QCOMPARE(profile::SettingsToJson(r.settings), json);
}

void TestSettingsFile::boxTextsAreSavedAsNumbers_data() {
    QTest::addColumn<QString>("boxText");
    QTest::addColumn<QString>("fileValue");  // the JSON text of capacityAh
    QTest::addColumn<QString>("readBack");   // the profile text read back
    QTest::addColumn<bool>("warned");
    QTest::newRow("plain") << "100"
                           << "100"
                           << "100" << false;
    QTest::newRow("trailing zero") << "14.40"
                                   << "14.4"
                                   << "14.4" << false;
    QTest::newRow("blanks") << " 12 "
                            << "12"
                            << "12" << false;
    QTest::newRow("exponent") << "1e2"
                              << "100"
                              << "100" << false;
    QTest::newRow("tiny") << "0.00001"
                          << "1e-05"
                          << "0.00001" << false;
    QTest::newRow("negative") << "-273"
                              << "-273"
                              << "-273" << false;
    QTest::newRow("empty box") << ""
                               << "null"
                               << "" << false;
    QTest::newRow("volts suffix as the window reads it") << "12V"
                                                         << "12"
                                                         << "12" << true;
    QTest::newRow("letters read as 0") << "abc"
                                       << "0"
                                       << "0" << true;
    QTest::newRow("decimal comma read as 0") << "14,4"
                                             << "0"
                                             << "0" << true;
    QTest::newRow("far too large") << "1e9"
                                   << "0"
                                   << "0" << true;
}

void TestSettingsFile::boxTextsAreSavedAsNumbers() {
    QFETCH(QString, boxText);
    QFETCH(QString, fileValue);
    QFETCH(QString, readBack);
    QFETCH(bool, warned);
    profile::SettingsFile f;
    f.profiles = decoded(sim::DefaultSettingsImage());
    f.profiles[1].general[1] = boxText;
    QStringList warnings;
    const QByteArray json = profile::SettingsToJson(f, &warnings);
    const QJsonObject general = QJsonDocument::fromJson(json)
                                    .object()
                                    .value("profiles")
                                    .toArray()
                                    .at(1)
                                    .toObject()
                                    .value("general")
                                    .toObject();
    const QByteArray valueJson =
        QJsonDocument(QJsonArray{general.value("capacityAh")}).toJson(QJsonDocument::Compact);
    QCOMPARE(QString::fromUtf8(valueJson.mid(1, valueJson.size() - 2)), fileValue);
    QCOMPARE(warnings.size(), warned ? 1 : 0);
    if (warned) {
        QVERIFY2(warnings.first().startsWith("profiles[2].general.capacityAh"),
                 qPrintable(warnings.first()));
    }
    const profile::SettingsReadResult r = profile::SettingsFromJson(json);
    QVERIFY2(r.ok, qPrintable(r.error));
    QCOMPARE(r.settings.profiles[1].general[1], readBack);
}

void TestSettingsFile::entriesThePagesCannotShow_data() {
    QTest::addColumn<int>("cell");
    QTest::addColumn<QString>("entry");
    QTest::addColumn<QString>("readBack");
    QTest::addColumn<QString>("warning");  // "" for none
    QTest::newRow("type code 7") << 3 << "75"
                                 << "05"
                                 << "profiles[1].nextStage[1].temperatureRiseAboveC: type \"7\"";
    QTest::newRow("type of a wide code byte, read as the window reads it")
        << 10 << "12732366"
        << "10"
        << "profiles[1].nextStage[2].temperatureAboveC.value: \"2732366\" is not a plain number";
    QTest::newRow("empty entry is an unused cell") << 20 << ""
                                                   << "0"
                                                   << "";
    QTest::newRow("type only") << 21 << "2"
                               << "2"
                               << "";
}

void TestSettingsFile::entriesThePagesCannotShow() {
    QFETCH(int, cell);
    QFETCH(QString, entry);
    QFETCH(QString, readBack);
    QFETCH(QString, warning);
    profile::SettingsFile f;
    f.profiles = decoded(sim::DefaultSettingsImage());
    f.profiles[0].nextCond[cell] = entry;
    QStringList warnings;
    const profile::SettingsReadResult r =
        profile::SettingsFromJson(profile::SettingsToJson(f, &warnings));
    QVERIFY2(r.ok, qPrintable(r.error));
    QCOMPARE(r.settings.profiles[0].nextCond[cell], readBack);
    if (warning.isEmpty()) {
        QVERIFY2(warnings.isEmpty(), qPrintable(warnings.join('\n')));
    } else {
        QCOMPARE(warnings.size(), 1);
        QVERIFY2(warnings.first().startsWith(warning), qPrintable(warnings.first()));
    }
}

void TestSettingsFile::fileLayout() {
    const QList<QByteArray> lines = validFile().split('\n');
    // Fixed key order and one line per stage and per condition, so a person can read it.
    QCOMPARE(lines.value(0), QByteArray("{"));
    QCOMPARE(lines.value(1), QByteArray("    \"format\": \"zun-settings\","));
    QCOMPARE(lines.value(2), QByteArray("    \"version\": 1,"));
    QCOMPARE(lines.value(3), QByteArray("    \"chargerModel\": \"3110\","));
    QCOMPARE(lines.value(6), QByteArray("            \"profile\": 1,"));
    QVERIFY(
        lines.contains("                {\"stage\": 1, \"voltageV\": 14.4, \"currentA\": 10},"));
    QVERIFY(lines.contains(
        "                    \"chargingVoltageAboveV\": {\"use\": \"or\", \"value\": 14},"));
    QVERIFY(lines.contains("                    \"target\": 1,"));
    QVERIFY2(lines.size() < 420, QByteArray::number(lines.size()));
}

void TestSettingsFile::malformedFieldsAreNamed_data() {
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("value");  // JSON text; "<remove>" deletes the field
    QTest::addColumn<QString>("message");
    QTest::newRow("missing profiles") << "profiles"
                                      << "<remove>"
                                      << "profiles is missing";
    QTest::newRow("one profile") << "profiles/1"
                                 << "<remove>"
                                 << "profiles must hold 2 entries, not 1";
    QTest::newRow("profiles not a list") << "profiles"
                                         << "{}"
                                         << "profiles must be a list, not an object";
    QTest::newRow("profile out of order") << "profiles/0/profile"
                                          << "2"
                                          << "profiles[1].profile must be 1";
    QTest::newRow("missing capacity") << "profiles/0/general/capacityAh"
                                      << "<remove>"
                                      << "profiles[1].general.capacityAh is missing";
    QTest::newRow("capacity as text")
        << "profiles/0/general/capacityAh"
        << "\"100\""
        << "profiles[1].general.capacityAh must be a number or null, not a text";
    QTest::newRow("hours as true")
        << "profiles/1/protection/maxTotalChargingHours"
        << "true"
        << "profiles[2].protection.maxTotalChargingHours must be a number or null, not "
           "true/false";
    QTest::newRow("misspelt field")
        << "profiles/0/general/capacity"
        << "100"
        << "profiles[1].general.capacity is not a field of a settings file";
    QTest::newRow("unknown top-level field") << "extra"
                                             << "1"
                                             << "extra is not a field of a settings file";
    QTest::newRow("stage count with a fraction")
        << "profiles/0/stageCount"
        << "2.5"
        << "profiles[1].stageCount must be a whole number from 0 to 7 or null, not 2.5";
    QTest::newRow("stage count too large")
        << "profiles/1/stageCount"
        << "8"
        << "profiles[2].stageCount must be a whole number from 0 to 7 or null, not 8";
    QTest::newRow("six stages") << "profiles/0/stages/6"
                                << "<remove>"
                                << "profiles[1].stages must hold 7 entries, not 6";
    QTest::newRow("stage out of order") << "profiles/0/stages/1/stage"
                                        << "5"
                                        << "profiles[1].stages[2].stage must be 2";
    QTest::newRow("stage entry a number") << "profiles/0/stages/2"
                                          << "3"
                                          << "profiles[1].stages entry 3 must be an object, "
                                             "not a number";
    QTest::newRow("missing stage current") << "profiles/0/stages/0/currentA"
                                           << "<remove>"
                                           << "profiles[1].stages[1].currentA is missing";
    QTest::newRow("unknown use")
        << "profiles/1/nextStage/2/temperatureAboveC/use"
        << "\"maybe\""
        << "profiles[2].nextStage[3].temperatureAboveC.use must be \"none\", \"and\" or \"or\", "
           "not \"maybe\"";
    QTest::newRow("use as a number")
        << "profiles/0/anyStage/0/sectionTimeAboveMin/use"
        << "1"
        << "profiles[1].anyStage[1].sectionTimeAboveMin.use must be \"none\", \"and\" or "
           "\"or\", not a number";
    QTest::newRow("value as a list")
        << "profiles/0/nextStage/0/chargingVoltageAboveV/value"
        << "[14]"
        << "profiles[1].nextStage[1].chargingVoltageAboveV.value must be a number or null, "
           "not a list";
    QTest::newRow("cell without value")
        << "profiles/0/nextStage/6/sectionChargePercent/value"
        << "<remove>"
        << "profiles[1].nextStage[7].sectionChargePercent.value is missing";
    QTest::newRow("cell as a number")
        << "profiles/0/nextStage/0/chargingCurrentBelowA"
        << "2"
        << "profiles[1].nextStage[1].chargingCurrentBelowA must be an object, not a number";
    QTest::newRow("target 0") << "profiles/0/anyStage/1/target"
                              << "0"
                              << "profiles[1].anyStage[2].target must be a whole number from 1 "
                                 "to 255 or null, not 0";
    QTest::newRow("target missing") << "profiles/0/anyStage/0/target"
                                    << "<remove>"
                                    << "profiles[1].anyStage[1].target is missing";
    QTest::newRow("absurd value")
        << "profiles/0/stages/0/voltageV"
        << "1e300"
        << "profiles[1].stages[1].voltageV: 1e+300 is far outside any setting";
    QTest::newRow("model as a number") << "chargerModel"
                                       << "3110"
                                       << "chargerModel must be a text or null, not a number";
    QTest::newRow("comment as null") << "comment"
                                     << "null"
                                     << "comment must be a text, not null";
    QTest::newRow("version 2") << "version"
                               << "2"
                               << "settings file version 2 is not supported; this version "
                                  "reads version 1";
    QTest::newRow("version as text") << "version"
                                     << "\"1\""
                                     << "settings file version a text is not supported";
    QTest::newRow("other format") << "format"
                                  << "\"zun-log\""
                                  << "not a settings file: it has no \"format\": "
                                     "\"zun-settings\"";
}

void TestSettingsFile::malformedFieldsAreNamed() {
    QFETCH(QString, path);
    QFETCH(QString, value);
    QFETCH(QString, message);
    QJsonValue v(QJsonValue::Undefined);  // removes the field
    if (value != QLatin1String("<remove>")) {
        QJsonParseError e;
        const QJsonDocument d = QJsonDocument::fromJson("[" + value.toUtf8() + "]", &e);
        QVERIFY2(e.error == QJsonParseError::NoError, qPrintable(value));
        v = d.array().at(0);
    }
    const QJsonValue root =
        setAt(QJsonDocument::fromJson(validFile()).object(), path.split('/'), v);
    const QByteArray bytes = QJsonDocument(root.toObject()).toJson();
    const profile::SettingsReadResult r = profile::SettingsFromJson(bytes);
    QVERIFY2(!r.ok, qPrintable(path));
    QVERIFY2(r.error.startsWith(message),
             qPrintable(QStringLiteral("got \"%1\", wanted \"%2...\"").arg(r.error, message)));
}

void TestSettingsFile::notSettingsFiles_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("message");
    QTest::newRow("empty") << QByteArray() << "not a settings file: it is not JSON";
    QTest::newRow("text") << QByteArray("hello") << "not a settings file: it is not JSON";
    QTest::newRow("a log file") << QByteArray("FileType: ZUN-Log\r\nTime: x\r\n")
                                << "not a settings file: it is not JSON";
    QTest::newRow("cut in half") << validFile().left(validFile().size() / 2)
                                 << "not a settings file: it is not JSON";
    QTest::newRow("a list") << QByteArray("[1,2]")
                            << "not a settings file: it holds no JSON object";
    QTest::newRow("an object without format")
        << QByteArray("{\"version\": 1}") << "not a settings file: it has no \"format\"";
    QTest::newRow("binary") << QByteArray("\x00\xff\xfe{\x01", 5)
                            << "not a settings file: it is not JSON";
}

void TestSettingsFile::notSettingsFiles() {
    QFETCH(QByteArray, bytes);
    QFETCH(QString, message);
    const profile::SettingsReadResult r = profile::SettingsFromJson(bytes);
    QVERIFY(!r.ok);
    QVERIFY2(r.error.startsWith(message), qPrintable(r.error));
}

void TestSettingsFile::fileOnDisk() {
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    profile::SettingsFile f;
    f.profiles = decoded(randomImage(7));
    const QString path = dir.filePath("charger.json");
    QStringList warnings;
    const profile::SettingsWriteResult w = profile::WriteSettingsFile(path, f, &warnings);
    QVERIFY2(w.ok, qPrintable(w.error));
    const profile::SettingsReadResult r = profile::ReadSettingsFile(path);
    QVERIFY2(r.ok, qPrintable(r.error));
    for (int p = 0; p < 2; ++p) {
        const QString d = firstDifference(f.profiles[p], r.settings.profiles[p]);
        QVERIFY2(d.isEmpty(), qPrintable(d));
    }

    // A folder that cannot exist: the write fails with a reason and leaves nothing behind.
    QFile blocker(dir.filePath("plain-file"));
    QVERIFY(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    const QString impossible = dir.filePath("plain-file/charger.json");
    const profile::SettingsWriteResult bad = profile::WriteSettingsFile(impossible, f);
    QVERIFY(!bad.ok);
    QVERIFY2(bad.error.startsWith("cannot write " + impossible), qPrintable(bad.error));

    const profile::SettingsReadResult missing = profile::ReadSettingsFile(dir.filePath("nope"));
    QVERIFY(!missing.ok);
    QVERIFY2(missing.error.startsWith("cannot read "), qPrintable(missing.error));

    // A huge file is refused before it is parsed.
    QFile huge(dir.filePath("huge.json"));
    QVERIFY(huge.open(QIODevice::WriteOnly));
    huge.write(QByteArray(profile::kMaxSettingsFileBytes + 10, ' '));
    huge.close();
    const profile::SettingsReadResult big = profile::ReadSettingsFile(huge.fileName());
    QVERIFY(!big.ok);
    QVERIFY2(big.error.contains("far too large"), qPrintable(big.error));
}

void TestSettingsFile::comparison_data() {
    QTest::addColumn<int>("table");  // 0 general 1 protection 2 stages 3 next 4 any 5 target
    QTest::addColumn<int>("entry");
    QTest::addColumn<QString>("chargerText");
    QTest::addColumn<QString>("expected");  // "path|control|wanted|charger", or "" for none

    // The wanted profile is the virtual charger's profile 1 (three stages).
    QTest::newRow("nominal voltage") << 0 << 0 << "24"
                                     << "profiles[1].general.nominalVoltageV|Cmb0NV|12|24";
    QTest::newRow("capacity") << 0 << 1 << "120"
                              << "profiles[1].general.capacityAh|Txt0(1)|100|120";
    QTest::newRow("same value, other text") << 0 << 3 << "25.00"
                                            << "";
    QTest::newRow("over-voltage") << 1 << 1 << "17"
                                  << "profiles[1].protection.batteryVoltageAboveV|Txt1(1)|18|17";
    QTest::newRow("charge amount is never stored") << 1 << 2 << "200"
                                                   << "";
    QTest::newRow("stage number is never stored") << 1 << 3 << "3"
                                                  << "";
    QTest::newRow("stage count") << 2 << 0 << "2"
                                 << "profiles[1].stageCount|Cmb2Total|3|2";
    QTest::newRow("stage 3 current") << 2 << 6 << "3"
                                     << "profiles[1].stages[3].currentA|Txt2(5)|2|3";
    QTest::newRow("stage 4 is beyond the count") << 2 << 7 << "14"
                                                 << "";
    QTest::newRow("used cell value") << 3 << 5 << "2470"
                                     << "profiles[1].nextStage[1].sectionTimeAboveMin.value|"
                                        "Txt3(5)|480|470";
    QTest::newRow("used cell turned off")
        << 3 << 12 << "02"
        << "profiles[1].nextStage[2].chargingCurrentBelowA.use|Cmb3Type(12)|or|none";
    QTest::newRow("unused cell value") << 3 << 3 << "055"
                                       << "";
    QTest::newRow("cell beyond the stage count") << 3 << 24 << "214"
                                                 << "";
    QTest::newRow("any-stage use")
        << 4 << 9 << "10"
        << "profiles[1].anyStage[2].voltageRise5MinBelow.use|Cmb4Type(9)|none|and";
    QTest::newRow("target stage 1 is no target") << 5 << 1 << ""
                                                 << "";
    QTest::newRow("target") << 5 << 1 << "2"
                            << "profiles[1].anyStage[2].target|Cmb4SN(1)|1|3";
}

void TestSettingsFile::comparison() {
    QFETCH(int, table);
    QFETCH(int, entry);
    QFETCH(QString, chargerText);
    QFETCH(QString, expected);
    const link::ProfileSlot wanted = decoded(sim::DefaultSettingsImage())[0];
    link::ProfileSlot charger = wanted;
    QVERIFY2(profile::CompareProfiles(wanted, charger, 0).empty(), "identical profiles differ");
    switch (table) {
        case 0:
            charger.general[entry] = chargerText;
            break;
        case 1:
            charger.protection[entry] = chargerText;
            break;
        case 2:
            charger.stages[entry] = chargerText;
            break;
        case 3:
            charger.nextCond[entry] = chargerText;
            break;
        case 4:
            charger.anyCond[entry] = chargerText;
            break;
        default:
            charger.anyTarget[entry] = chargerText;
            break;
    }
    const auto d = profile::CompareProfiles(wanted, charger, 0);
    QStringList got;
    for (const auto& x : d) {
        got << QStringList{x.path, x.control, x.wantedValue, x.chargerValue}.join('|');
    }
    QCOMPARE(got.join(" ; "), expected);
}

QTEST_GUILESS_MAIN(TestSettingsFile)
#include "test_settings_file.moc"
