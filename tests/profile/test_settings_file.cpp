#include "link/stored_settings.h"
#include "profile/settings_file.h"
#include "sim/settings_image.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtTest>

using namespace zun;

Q_DECLARE_METATYPE(link::StoredSettings)

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
QByteArray randomImage(quint32 start) {
    QRandomGenerator gen(start);
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

// Table 0 general, 1 protection, 2 stages, 3 next-stage cells, 4 any-stage cells, 5 targets.
QString& field(link::ProfileSlot& p, int table, int entry) {
    QString* tables[] = {p.general.data(),  p.protection.data(), p.stages.data(),
                         p.nextCond.data(), p.anyCond.data(),    p.anyTarget.data()};
    return tables[table][entry];
}

// Every text of both profiles, labelled, so that a comparison names the first one that differs.
QStringList texts(link::StoredSettings s) {
    QStringList out;
    const int sizes[] = {6, 5, 15, 56, 56, 7};
    for (int p = 0; p < 2; ++p) {
        for (int t = 0; t < 6; ++t) {
            for (int i = 0; i < sizes[t]; ++i) {
                const QString where =
                    QStringLiteral("profile %1 table %2 entry %3: ").arg(p + 1).arg(t).arg(i);
                out << where + '"' + field(s[p], t, i) + '"';
            }
        }
    }
    return out;
}

// Sets the value at a path such as "profiles/0/general/capacityAh"; undefined removes it.
QJsonValue setAt(const QJsonValue& node, QStringList path, const QJsonValue& value) {
    if (path.isEmpty()) {
        return value;
    }
    const QString key = path.takeFirst();
    const bool remove = path.isEmpty() && value.isUndefined();
    if (node.isArray()) {
        QJsonArray a = node.toArray();
        if (remove) {
            a.removeAt(key.toInt());
        } else {
            a[key.toInt()] = setAt(a.at(key.toInt()), path, value);
        }
        return a;
    }
    QJsonObject o = node.toObject();
    if (remove) {
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
    void roundTrip_data();
    void roundTrip();
    void malformedFilesNameTheField_data();
    void malformedFilesNameTheField();
    void fileOnDisk();
};

void TestSettingsFile::roundTrip_data() {
    QTest::addColumn<link::StoredSettings>("profiles");
    QTest::addColumn<link::StoredSettings>("readBack");
    QTest::addColumn<QStringList>("warnings");
    auto exact = [](const char* name, const link::StoredSettings& s) {
        QTest::newRow(name) << s << s << QStringList();
    };
    exact("virtual charger default image", decoded(sim::DefaultSettingsImage()));
    exact("all bytes 00 (temperatures -273)", decoded(QByteArray(sim::kImageBytes, 0)));
    exact("all bytes FF (unset markers)", decoded(QByteArray(sim::kImageBytes, char(0xFF))));
    for (quint32 start : {1u, 42u, 4711u}) {
        exact(qPrintable(QStringLiteral("random image %1").arg(start)),
              decoded(randomImage(start)));
    }

    // Box texts that are not plain numbers are saved as the number the window reads from them.
    link::StoredSettings odd = decoded(sim::DefaultSettingsImage());
    link::StoredSettings back = odd;
    struct Odd {
        int table, entry;
        const char *text, *back;
    };
    for (const Odd& o : {Odd{0, 1, "14.40", "14.4"}, Odd{0, 3, "", ""}, Odd{0, 4, "12V", "12"},
                         Odd{0, 5, "14,4", "0"}, Odd{3, 3, "75", "05"}}) {
        field(odd[1], o.table, o.entry) = QString::fromLatin1(o.text);
        field(back[1], o.table, o.entry) = QString::fromLatin1(o.back);
    }
    QTest::newRow("texts that are not plain numbers")
        << odd << back
        << QStringList{
               "profiles[2].general.deratingAPerC: \"12V\" is not a plain number; saved as 12",
               "profiles[2].general.deratingReferenceTempC: \"14,4\" is not a plain number; saved "
               "as 0",
               "profiles[2].nextStage[1].temperatureRiseAboveC: type \"7\" is not none, and or or; "
               "saved as none"};
}

void TestSettingsFile::roundTrip() {
    QFETCH(link::StoredSettings, profiles);
    QFETCH(link::StoredSettings, readBack);
    QFETCH(QStringList, warnings);
    profile::SettingsFile f;
    f.profiles = profiles;
    f.chargerModel = QStringLiteral("3215");
    f.comment = QStringLiteral("Werkstatt \"Süd\"");
    QStringList warned;
    const QByteArray json = profile::SettingsToJson(f, &warned);
    QCOMPARE(warned, warnings);
    const profile::SettingsReadResult r = profile::SettingsFromJson(json);
    QVERIFY2(r.ok, qPrintable(r.error));
    QCOMPARE(r.settings.chargerModel, f.chargerModel);
    QCOMPARE(r.settings.comment, f.comment);
    QCOMPARE(texts(r.settings.profiles), texts(readBack));
    QCOMPARE(profile::SettingsToJson(r.settings), json);
}

void TestSettingsFile::malformedFilesNameTheField_data() {
    QTest::addColumn<QString>("path");   // "" for a file that is the value itself
    QTest::addColumn<QString>("value");  // JSON text; "-" removes the field
    QTest::addColumn<QString>("message");
    auto row = [](const char* path, const char* value, const char* message) {
        QTest::newRow(message) << path << value << message;
    };
    row("", "FileType: ZUN-Log\r\n", "not a settings file: it is not JSON");
    row("format", "\"zun-log\"", "not a settings file: it has no \"format\": \"zun-settings\"");
    row("version", "2", "settings file version 2 is not supported; this version reads version 1");
    row("profiles/1", "-", "profiles must hold 2 entries, not 1");
    row("profiles/0/general/capacityAh", "-", "profiles[1].general.capacityAh is missing");
    row("profiles/0/general/capacityAh", "\"100\"",
        "profiles[1].general.capacityAh must be a number or null, not a text");
    row("profiles/0/general/capacity", "100",
        "profiles[1].general.capacity is not a field of a settings file");
    row("profiles/0/stages/1/stage", "5", "profiles[1].stages[2].stage must be 2");
    row("profiles/0/stages/2", "3", "profiles[1].stages entry 3 must be an object, not a number");
    row("profiles/0/stages/0/voltageV", "1e300",
        "profiles[1].stages[1].voltageV: 1e+300 is far outside any setting");
    row("profiles/1/nextStage/2/temperatureAboveC/use", "\"maybe\"",
        "profiles[2].nextStage[3].temperatureAboveC.use must be \"none\", \"and\" or \"or\", not "
        "\"maybe\"");
    row("profiles/0/anyStage/1/target", "0",
        "profiles[1].anyStage[2].target must be a whole number from 1 to 255 or null, not 0");
}

void TestSettingsFile::malformedFilesNameTheField() {
    QFETCH(QString, path);
    QFETCH(QString, value);
    QFETCH(QString, message);
    QByteArray bytes = value.toUtf8();
    if (!path.isEmpty()) {
        const QJsonValue v = value == "-" ? QJsonValue(QJsonValue::Undefined)
                                          : QJsonDocument::fromJson("[" + bytes + "]").array()[0];
        profile::SettingsFile valid;
        valid.profiles = decoded(sim::DefaultSettingsImage());
        const QJsonValue file = QJsonDocument::fromJson(profile::SettingsToJson(valid)).object();
        bytes = QJsonDocument(setAt(file, path.split('/'), v).toObject()).toJson();
    }
    const profile::SettingsReadResult r = profile::SettingsFromJson(bytes);
    QVERIFY(!r.ok);
    QVERIFY2(r.error.startsWith(message), qPrintable(r.error));
}

void TestSettingsFile::fileOnDisk() {
    QTemporaryDir dir;
    profile::SettingsFile f;
    f.profiles = decoded(randomImage(7));
    const QString path = dir.filePath("charger.json");
    QVERIFY(profile::WriteSettingsFile(path, f).ok);
    // Below a plain file no folder can exist: the write fails with a reason, the file stays.
    const QString impossible = path + "/charger.json";
    const profile::SettingsWriteResult bad = profile::WriteSettingsFile(impossible, f);
    QVERIFY2(!bad.ok && bad.error.startsWith("cannot write " + impossible), qPrintable(bad.error));
    QCOMPARE(texts(profile::ReadSettingsFile(path).settings.profiles), texts(f.profiles));

    // A huge file is refused before it is parsed.
    QFile huge(dir.filePath("huge.json"));
    QVERIFY(huge.open(QIODevice::WriteOnly) &&
            huge.write(QByteArray(profile::kMaxSettingsFileBytes + 10, ' ')) > 0);
    huge.close();
    const profile::SettingsReadResult big = profile::ReadSettingsFile(huge.fileName());
    QVERIFY2(!big.ok && big.error.contains("larger than 4 MiB"), qPrintable(big.error));
}

QTEST_GUILESS_MAIN(TestSettingsFile)
#include "test_settings_file.moc"
