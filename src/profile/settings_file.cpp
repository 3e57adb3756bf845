#include "profile/settings_file.h"

#include "fileio/save_file.h"
#include "link/codec.h"
#include "profile/page_frames.h"
#include "profile/single_text.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>

#include <cmath>
#include <optional>

namespace zun::profile {

namespace {

const char* const kGeneralKeys[] = {"nominalVoltageV", "capacityAh",    "tempCompensationMv",
                                    "referenceTempC",  "deratingAPerC", "deratingReferenceTempC"};
const char* const kProtectionKeys[] = {"batteryTempAboveC", "batteryVoltageAboveV", "chargeAboveAh",
                                       "stageNumber", "maxTotalChargingHours"};
const char* const kConditionKeys[] = {"chargingVoltageAboveV", "voltageRise5MinBelow",
                                      "temperatureAboveC",     "temperatureRiseAboveC",
                                      "chargingCurrentBelowA", "sectionTimeAboveMin",
                                      "sectionChargeAboveAh",  "sectionChargePercent"};
const char* const kUseNames[] = {"none", "and", "or"};

constexpr int kMaxTarget = 255;

QString stageListKey(bool anyStage) {
    return anyStage ? QStringLiteral("anyStage") : QStringLiteral("nextStage");
}

QString typeName(const QJsonValue& v) {
    switch (v.type()) {
        case QJsonValue::Null:
            return QStringLiteral("null");
        case QJsonValue::Bool:
            return QStringLiteral("true/false");
        case QJsonValue::Double:
            return QStringLiteral("a number");
        case QJsonValue::String:
            return QStringLiteral("a text");
        case QJsonValue::Array:
            return QStringLiteral("a list");
        case QJsonValue::Object:
            return QStringLiteral("an object");
        default:
            return QStringLiteral("missing");
    }
}

// A plain decimal number ("14.4", "-273", "1e2"), read as the profile memory's texts are
// written; no group separators, no units.
std::optional<double> plainNumber(const QString& text) {
    QLocale c = QLocale::c();
    c.setNumberOptions(QLocale::RejectGroupSeparator);
    bool ok = false;
    const double d = c.toDouble(text.trimmed(), &ok);
    if (!ok || !std::isfinite(d)) {
        return std::nullopt;
    }
    return d;
}

// ---- writing ----

// The file is written by hand in a fixed key order, one line per stage and per condition, so
// that it reads well; every value goes through QJsonDocument's own number and text rules.
using Members = std::vector<std::pair<QString, QString>>;
constexpr int kIndent = 4;

QString leaf(const QJsonValue& value) {
    const QByteArray json = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
    return QString::fromUtf8(json.mid(1, json.size() - 2));
}

QString keyText(const QString& key) {
    return leaf(QJsonValue(key));
}

QString inlineObject(const Members& members) {
    QStringList parts;
    for (const auto& [key, value] : members) {
        parts << keyText(key) + QStringLiteral(": ") + value;
    }
    return QLatin1Char('{') + parts.join(QStringLiteral(", ")) + QLatin1Char('}');
}

// An object over several lines; depth is the indentation of its members.
QString block(const Members& members, int depth) {
    const QString pad(depth * kIndent, QLatin1Char(' '));
    QStringList lines;
    for (const auto& [key, value] : members) {
        lines << pad + keyText(key) + QStringLiteral(": ") + value;
    }
    return QStringLiteral("{\n") + lines.join(QStringLiteral(",\n")) + QLatin1Char('\n') +
           QString((depth - 1) * kIndent, QLatin1Char(' ')) + QLatin1Char('}');
}

QString list(const QStringList& items, int depth) {
    const QString pad(depth * kIndent, QLatin1Char(' '));
    QStringList lines;
    for (const QString& item : items) {
        lines << pad + item;
    }
    return QStringLiteral("[\n") + lines.join(QStringLiteral(",\n")) + QLatin1Char('\n') +
           QString((depth - 1) * kIndent, QLatin1Char(' ')) + QLatin1Char(']');
}

struct Writer {
    QStringList* warnings;

    void warn(const QString& text) {
        if (warnings) {
            warnings->append(text);
        }
    }

    // A box text as a JSON value: empty is null, a number stays itself, anything else becomes
    // the number the window reads from it.
    QJsonValue number(const QString& text, const QString& path) {
        const QString t = text.trimmed();
        if (t.isEmpty()) {
            return QJsonValue(QJsonValue::Null);
        }
        const std::optional<double> d = plainNumber(t);
        if (d && std::fabs(*d) <= kMaxSettingsMagnitude) {
            return QJsonValue(*d);
        }
        const float v = link::TextToSingle(text);
        const double kept = std::fabs(v) <= kMaxSettingsMagnitude ? double(v) : 0.0;
        const QString keptText = SingleText(float(kept));
        warn(QStringLiteral("%1: \"%2\" is not a plain number; saved as %3")
                 .arg(path, text, keptText));
        return QJsonValue(plainNumber(keptText).value_or(0.0));
    }

    QJsonValue stageCount(const QString& text, const QString& path) {
        const QString t = text.trimmed();
        if (t.isEmpty()) {
            return QJsonValue(QJsonValue::Null);
        }
        const std::optional<double> n = plainNumber(t);
        if (n && std::floor(*n) == *n && *n >= 0.0 && *n <= kMaxStages) {
            return QJsonValue(int(*n));
        }
        warn(QStringLiteral("%1: \"%2\" is no stage count; saved as null").arg(path, text));
        return QJsonValue(QJsonValue::Null);
    }

    QString cell(const QString& entry, const QString& path) {
        int type = 0;
        const QChar first = entry.isEmpty() ? QChar() : entry.at(0);
        if (first >= QLatin1Char('0') && first <= QLatin1Char('2')) {
            type = first.digitValue();
        } else if (!entry.isEmpty()) {
            warn(QStringLiteral("%1: type \"%2\" is not none, and or or; saved as none")
                     .arg(path, QString(first)));
        }
        return inlineObject({{QStringLiteral("use"), leaf(UseName(type))},
                             {QStringLiteral("value"),
                              leaf(number(entry.mid(1), path + QStringLiteral(".value")))}});
    }

    QJsonValue target(const QString& text, const QString& path) {
        const QString t = text.trimmed();
        if (t.isEmpty()) {
            return QJsonValue(QJsonValue::Null);
        }
        const std::optional<double> n = plainNumber(t);
        if (n && std::floor(*n) == *n && *n >= 0.0 && *n < kMaxTarget) {
            return QJsonValue(int(*n) + 1);
        }
        warn(QStringLiteral("%1: \"%2\" is no stage; saved as null").arg(path, text));
        return QJsonValue(QJsonValue::Null);
    }

    QString profile(const link::ProfileSlot& slot, int p) {
        Members general;
        for (int k = 0; k < 6; ++k) {
            general.push_back({GeneralKey(k), leaf(number(slot.general[k], GeneralPath(p, k)))});
        }
        Members protection;
        for (int k = 0; k < 5; ++k) {
            protection.push_back(
                {ProtectionKey(k), leaf(number(slot.protection[k], ProtectionPath(p, k)))});
        }
        QStringList stages;
        for (int s = 0; s < kMaxStages; ++s) {
            stages << inlineObject(
                {{QStringLiteral("stage"), leaf(s + 1)},
                 {QStringLiteral("voltageV"),
                  leaf(number(slot.stages[1 + 2 * s], StagePath(p, 2 * s)))},
                 {QStringLiteral("currentA"),
                  leaf(number(slot.stages[2 + 2 * s], StagePath(p, 2 * s + 1)))}});
        }
        QStringList next;
        QStringList any;
        for (int s = 0; s < kMaxStages; ++s) {
            Members n{{QStringLiteral("stage"), leaf(s + 1)}};
            Members a{
                {QStringLiteral("stage"), leaf(s + 1)},
                {QStringLiteral("target"), leaf(target(slot.anyTarget[s], TargetPath(p, s)))}};
            for (int slotIndex = 0; slotIndex < kSlotCount; ++slotIndex) {
                const int c = s * kSlotCount + slotIndex;
                n.push_back({ConditionKey(slotIndex),
                             cell(slot.nextCond[c], CellPath(p, false, c, QString()))});
                a.push_back({ConditionKey(slotIndex),
                             cell(slot.anyCond[c], CellPath(p, true, c, QString()))});
            }
            next << block(n, 5);
            any << block(a, 5);
        }
        return block(
            {{QStringLiteral("profile"), leaf(p + 1)},
             {QStringLiteral("general"), block(general, 4)},
             {QStringLiteral("protection"), block(protection, 4)},
             {QStringLiteral("stageCount"), leaf(stageCount(slot.stages[0], StageCountPath(p)))},
             {QStringLiteral("stages"), list(stages, 4)},
             {QStringLiteral("nextStage"), list(next, 4)},
             {QStringLiteral("anyStage"), list(any, 4)}},
            3);
    }
};

// ---- reading ----

class Reader {
public:
    QString error;

    bool fail(const QString& text) {
        if (error.isEmpty()) {
            error = text;
        }
        return false;
    }

    // Every required key present, nothing else besides the optional ones.
    bool keys(const QJsonObject& o, const QString& path, const QStringList& required,
              const QStringList& optional = {}) {
        for (const QString& k : required) {
            if (!o.contains(k)) {
                return fail(QStringLiteral("%1 is missing").arg(join(path, k)));
            }
        }
        for (auto it = o.begin(); it != o.end(); ++it) {
            if (!required.contains(it.key()) && !optional.contains(it.key())) {
                return fail(QStringLiteral("%1 is not a field of a settings file (the fields "
                                           "there are %2)")
                                .arg(join(path, it.key()), (required + optional).join(", ")));
            }
        }
        return true;
    }

    bool object(const QJsonValue& v, const QString& path, QJsonObject& out) {
        if (!v.isObject()) {
            return fail(QStringLiteral("%1 must be an object, not %2").arg(path, typeName(v)));
        }
        out = v.toObject();
        return true;
    }

    bool array(const QJsonValue& v, const QString& path, int size, QJsonArray& out) {
        if (!v.isArray()) {
            return fail(QStringLiteral("%1 must be a list, not %2").arg(path, typeName(v)));
        }
        out = v.toArray();
        if (out.size() != size) {
            return fail(QStringLiteral("%1 must hold %2 entries, not %3")
                            .arg(path)
                            .arg(size)
                            .arg(out.size()));
        }
        return true;
    }

    // A number or null (an empty box) into the profile memory's text.
    bool number(const QJsonValue& v, const QString& path, QString& text) {
        if (v.isNull()) {
            text.clear();
            return true;
        }
        if (!v.isDouble()) {
            return fail(
                QStringLiteral("%1 must be a number or null, not %2").arg(path, typeName(v)));
        }
        const double d = v.toDouble();
        if (!std::isfinite(d) || std::fabs(d) > kMaxSettingsMagnitude) {
            return fail(QStringLiteral("%1: %2 is far outside any setting")
                            .arg(path, QString::number(d, 'g', 6)));
        }
        text = SettingsNumberText(d);
        return true;
    }

    bool whole(const QJsonValue& v, const QString& path, int low, int high, bool nullable,
               int& out) {
        if (nullable && v.isNull()) {
            out = low - 1;
            return true;
        }
        const double d = v.isDouble() ? v.toDouble() : std::nan("");
        if (!v.isDouble() || std::floor(d) != d || d < low || d > high) {
            return fail(QStringLiteral("%1 must be a whole number from %2 to %3%4, not %5")
                            .arg(path)
                            .arg(low)
                            .arg(high)
                            .arg(nullable ? QStringLiteral(" or null") : QString())
                            .arg(v.isDouble() ? QString::number(d, 'g', 10) : typeName(v)));
        }
        out = int(d);
        return true;
    }

    // The "profile" / "stage" number of a list entry must be its place in the list.
    bool position(const QJsonObject& o, const QString& key, const QString& path, int expected) {
        int n = 0;
        if (!whole(o.value(key), join(path, key), expected, expected, false, n)) {
            error = QStringLiteral("%1 must be %2 (entries are in order)")
                        .arg(join(path, key))
                        .arg(expected);
            return false;
        }
        return true;
    }

    bool cell(const QJsonValue& v, const QString& path, QString& entry) {
        QJsonObject o;
        if (!object(v, path, o) ||
            !keys(o, path, {QStringLiteral("use"), QStringLiteral("value")})) {
            return false;
        }
        const QJsonValue use = o.value(QStringLiteral("use"));
        const int type = use.isString() ? UseCode(use.toString()) : -1;
        if (type < 0) {
            return fail(QStringLiteral("%1.use must be \"none\", \"and\" or \"or\", not %2")
                            .arg(path, use.isString() ? QStringLiteral("\"%1\"").arg(use.toString())
                                                      : typeName(use)));
        }
        QString value;
        if (!number(o.value(QStringLiteral("value")), path + QStringLiteral(".value"), value)) {
            return false;
        }
        entry = QString::number(type) + value;
        return true;
    }

    bool profile(const QJsonValue& v, int p, link::ProfileSlot& slot) {
        const QString path = ProfilePath(p);
        QJsonObject o;
        if (!object(v, path, o) ||
            !keys(
                o, path,
                {QStringLiteral("profile"), QStringLiteral("general"), QStringLiteral("protection"),
                 QStringLiteral("stageCount"), QStringLiteral("stages"),
                 QStringLiteral("nextStage"), QStringLiteral("anyStage")}) ||
            !position(o, QStringLiteral("profile"), path, p + 1)) {
            return false;
        }

        QJsonObject general;
        QStringList generalKeys;
        for (int k = 0; k < 6; ++k) {
            generalKeys << GeneralKey(k);
        }
        const QString gPath = join(path, QStringLiteral("general"));
        if (!object(o.value(QStringLiteral("general")), gPath, general) ||
            !keys(general, gPath, generalKeys)) {
            return false;
        }
        for (int k = 0; k < 6; ++k) {
            if (!number(general.value(GeneralKey(k)), GeneralPath(p, k), slot.general[k])) {
                return false;
            }
        }

        QJsonObject protection;
        QStringList protectionKeys;
        for (int k = 0; k < 5; ++k) {
            protectionKeys << ProtectionKey(k);
        }
        const QString pPath = join(path, QStringLiteral("protection"));
        if (!object(o.value(QStringLiteral("protection")), pPath, protection) ||
            !keys(protection, pPath, protectionKeys)) {
            return false;
        }
        for (int k = 0; k < 5; ++k) {
            if (!number(protection.value(ProtectionKey(k)), ProtectionPath(p, k),
                        slot.protection[k])) {
                return false;
            }
        }

        int count = 0;
        if (!whole(o.value(QStringLiteral("stageCount")), StageCountPath(p), 0, kMaxStages, true,
                   count)) {
            return false;
        }
        slot.stages[0] = count < 0 ? QString() : QString::number(count);

        QJsonArray stages;
        const QString sPath = join(path, QStringLiteral("stages"));
        if (!array(o.value(QStringLiteral("stages")), sPath, kMaxStages, stages)) {
            return false;
        }
        for (int s = 0; s < kMaxStages; ++s) {
            const QString ePath = QStringLiteral("%1[%2]").arg(sPath).arg(s + 1);
            QJsonObject e;
            if (!object(stages.at(s), QStringLiteral("%1 entry %2").arg(sPath).arg(s + 1), e) ||
                !keys(e, ePath,
                      {QStringLiteral("stage"), QStringLiteral("voltageV"),
                       QStringLiteral("currentA")}) ||
                !position(e, QStringLiteral("stage"), ePath, s + 1) ||
                !number(e.value(QStringLiteral("voltageV")), StagePath(p, 2 * s),
                        slot.stages[1 + 2 * s]) ||
                !number(e.value(QStringLiteral("currentA")), StagePath(p, 2 * s + 1),
                        slot.stages[2 + 2 * s])) {
                return false;
            }
        }
        return conditions(o, p, false, slot) && conditions(o, p, true, slot);
    }

    bool conditions(const QJsonObject& o, int p, bool anyStage, link::ProfileSlot& slot) {
        const QString lPath = join(ProfilePath(p), stageListKey(anyStage));
        QJsonArray list;
        if (!array(o.value(stageListKey(anyStage)), lPath, kMaxStages, list)) {
            return false;
        }
        QStringList required{QStringLiteral("stage")};
        if (anyStage) {
            required << QStringLiteral("target");
        }
        for (int k = 0; k < kSlotCount; ++k) {
            required << ConditionKey(k);
        }
        for (int s = 0; s < kMaxStages; ++s) {
            const QString ePath = QStringLiteral("%1[%2]").arg(lPath).arg(s + 1);
            QJsonObject e;
            if (!object(list.at(s), QStringLiteral("%1 entry %2").arg(lPath).arg(s + 1), e) ||
                !keys(e, ePath, required) || !position(e, QStringLiteral("stage"), ePath, s + 1)) {
                return false;
            }
            if (anyStage) {
                int target = 0;
                if (!whole(e.value(QStringLiteral("target")), TargetPath(p, s), 1, kMaxTarget, true,
                           target)) {
                    return false;
                }
                slot.anyTarget[s] = target < 1 ? QString() : QString::number(target - 1);
            }
            for (int k = 0; k < kSlotCount; ++k) {
                const int c = s * kSlotCount + k;
                QString& entry = anyStage ? slot.anyCond[c] : slot.nextCond[c];
                if (!cell(e.value(ConditionKey(k)), CellPath(p, anyStage, c, QString()), entry)) {
                    return false;
                }
            }
        }
        return true;
    }

    static QString join(const QString& path, const QString& key) {
        return path.isEmpty() ? key : path + QLatin1Char('.') + key;
    }
};

}  // namespace

QString GeneralKey(int entry) {
    return (entry >= 0 && entry < 6) ? QString::fromLatin1(kGeneralKeys[entry]) : QString();
}

QString ProtectionKey(int entry) {
    return (entry >= 0 && entry < 5) ? QString::fromLatin1(kProtectionKeys[entry]) : QString();
}

QString ConditionKey(int slot) {
    return (slot >= 0 && slot < kSlotCount) ? QString::fromLatin1(kConditionKeys[slot]) : QString();
}

QString ProfilePath(int profile) {
    return QStringLiteral("profiles[%1]").arg(profile + 1);
}

QString GeneralPath(int profile, int entry) {
    return ProfilePath(profile) + QStringLiteral(".general.") + GeneralKey(entry);
}

QString ProtectionPath(int profile, int entry) {
    return ProfilePath(profile) + QStringLiteral(".protection.") + ProtectionKey(entry);
}

QString StageCountPath(int profile) {
    return ProfilePath(profile) + QStringLiteral(".stageCount");
}

QString StagePath(int profile, int field) {
    return ProfilePath(profile) +
           QStringLiteral(".stages[%1].%2")
               .arg(field / 2 + 1)
               .arg(field % 2 == 0 ? QStringLiteral("voltageV") : QStringLiteral("currentA"));
}

QString CellPath(int profile, bool anyStage, int cell, const QString& part) {
    QString path = ProfilePath(profile) + QStringLiteral(".%1[%2].%3")
                                              .arg(stageListKey(anyStage))
                                              .arg(cell / kSlotCount + 1)
                                              .arg(ConditionKey(cell % kSlotCount));
    if (!part.isEmpty()) {
        path += QLatin1Char('.') + part;
    }
    return path;
}

QString TargetPath(int profile, int stage) {
    return ProfilePath(profile) + QStringLiteral(".anyStage[%1].target").arg(stage + 1);
}

QString UseName(int type) {
    return (type >= 0 && type < 3) ? QString::fromLatin1(kUseNames[type]) : QString();
}

int UseCode(const QString& name) {
    for (int t = 0; t < 3; ++t) {
        if (name == QLatin1String(kUseNames[t])) {
            return t;
        }
    }
    return -1;
}

QString SettingsNumberText(double value) {
    if (!std::isfinite(value) || value == 0.0) {
        return QStringLiteral("0");
    }
    QString t = QString::number(value, 'g', 15);
    if (t.contains(QLatin1Char('e'))) {
        // The boxes hold plain decimals; tiny values are written out in full.
        t = QString::number(value, 'f', 20);
        while (t.endsWith(QLatin1Char('0'))) {
            t.chop(1);
        }
        if (t.endsWith(QLatin1Char('.'))) {
            t.chop(1);
        }
    }
    return t;
}

QByteArray SettingsToJson(const SettingsFile& settings, QStringList* warnings) {
    Writer w{warnings};
    Members root{{QStringLiteral("format"), leaf(QString::fromLatin1(kSettingsFormat))},
                 {QStringLiteral("version"), leaf(kSettingsVersion)},
                 {QStringLiteral("chargerModel"), settings.chargerModel.isEmpty()
                                                      ? leaf(QJsonValue(QJsonValue::Null))
                                                      : leaf(settings.chargerModel)}};
    if (!settings.comment.isEmpty()) {
        root.push_back({QStringLiteral("comment"), leaf(settings.comment)});
    }
    QStringList profiles;
    for (int p = 0; p < 2; ++p) {
        profiles << w.profile(settings.profiles[p], p);
    }
    root.push_back({QStringLiteral("profiles"), list(profiles, 2)});
    return (block(root, 1) + QLatin1Char('\n')).toUtf8();
}

SettingsReadResult SettingsFromJson(const QByteArray& bytes) {
    SettingsReadResult r;
    QJsonParseError parseError;
    const QJsonDocument doc = QJsonDocument::fromJson(bytes, &parseError);
    if (parseError.error != QJsonParseError::NoError) {
        r.error = QStringLiteral("not a settings file: it is not JSON (%1 at character %2)")
                      .arg(parseError.errorString())
                      .arg(parseError.offset);
        return r;
    }
    if (!doc.isObject()) {
        r.error = QStringLiteral("not a settings file: it holds no JSON object");
        return r;
    }
    const QJsonObject root = doc.object();
    if (root.value(QStringLiteral("format")).toString() != QLatin1String(kSettingsFormat)) {
        r.error = QStringLiteral("not a settings file: it has no \"format\": \"%1\"")
                      .arg(QLatin1String(kSettingsFormat));
        return r;
    }
    const QJsonValue version = root.value(QStringLiteral("version"));
    if (!version.isDouble() || version.toDouble() != double(kSettingsVersion)) {
        r.error = QStringLiteral(
                      "settings file version %1 is not supported; this version reads "
                      "version %2")
                      .arg(version.isDouble() ? QString::number(version.toDouble(), 'g', 10)
                                              : typeName(version))
                      .arg(kSettingsVersion);
        return r;
    }

    Reader reader;
    const QStringList required{QStringLiteral("format"), QStringLiteral("version"),
                               QStringLiteral("profiles")};
    const QStringList optional{QStringLiteral("chargerModel"), QStringLiteral("comment")};
    if (!reader.keys(root, QString(), required, optional)) {
        r.error = reader.error;
        return r;
    }
    const QJsonValue model = root.value(QStringLiteral("chargerModel"));
    if (!model.isUndefined() && !model.isNull() && !model.isString()) {
        r.error =
            QStringLiteral("chargerModel must be a text or null, not %1").arg(typeName(model));
        return r;
    }
    r.settings.chargerModel = model.toString();
    const QJsonValue comment = root.value(QStringLiteral("comment"));
    if (!comment.isUndefined() && !comment.isString()) {
        r.error = QStringLiteral("comment must be a text, not %1").arg(typeName(comment));
        return r;
    }
    r.settings.comment = comment.toString();

    QJsonArray profiles;
    if (!reader.array(root.value(QStringLiteral("profiles")), QStringLiteral("profiles"), 2,
                      profiles)) {
        r.error = reader.error;
        return r;
    }
    for (int p = 0; p < 2; ++p) {
        if (!reader.profile(profiles.at(p), p, r.settings.profiles[p])) {
            r.error = reader.error;
            return r;
        }
    }
    r.ok = true;
    return r;
}

SettingsReadResult ReadSettingsFile(const QString& path) {
    SettingsReadResult r;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        r.error = QStringLiteral("cannot read %1: %2").arg(path, file.errorString());
        return r;
    }
    if (file.size() > kMaxSettingsFileBytes) {
        r.error = QStringLiteral("not a settings file: %1 is larger than %2 MiB")
                      .arg(path)
                      .arg(kMaxSettingsFileBytes / (1024 * 1024));
        return r;
    }
    const QByteArray bytes = file.read(kMaxSettingsFileBytes + 1);
    if (file.error() != QFileDevice::NoError) {
        r.error = QStringLiteral("cannot read %1: %2").arg(path, file.errorString());
        return r;
    }
    if (bytes.size() > kMaxSettingsFileBytes) {
        r.error = QStringLiteral("not a settings file: %1 is larger than %2 MiB")
                      .arg(path)
                      .arg(kMaxSettingsFileBytes / (1024 * 1024));
        return r;
    }
    return SettingsFromJson(bytes);
}

SettingsWriteResult WriteSettingsFile(const QString& path, const SettingsFile& settings,
                                      QStringList* warnings) {
    SettingsWriteResult r;
    const QByteArray bytes = SettingsToJson(settings, warnings);
    const fileio::SaveOutcome saved = fileio::SaveWholeFile(path, bytes);
    if (!saved.ok) {
        r.error = QStringLiteral("cannot write %1: %2").arg(path, saved.reason);
        return r;
    }
    r.ok = true;
    return r;
}

}  // namespace zun::profile
