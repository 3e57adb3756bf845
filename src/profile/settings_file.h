#pragma once

#include "link/stored_settings.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace zun::profile {

// A charger's two profiles kept on disk: JSON, "format": "zun-settings", "version": 1, named
// fields in the window's units. The profile-memory texts (link::ProfileSlot) are what the file
// converts to and from, so the window and zunctl read and write the same thing.
inline constexpr char kSettingsFormat[] = "zun-settings";
constexpr int kSettingsVersion = 1;
// A settings file is a few kilobytes; anything far bigger is not one.
constexpr qint64 kMaxSettingsFileBytes = 4 * 1024 * 1024;
// Values beyond this are typing accidents, not settings.
constexpr double kMaxSettingsMagnitude = 1.0e6;

struct SettingsFile {
    link::StoredSettings profiles;
    QString chargerModel;  // the model the settings were read from; empty when unknown
    QString comment;       // free text, kept as it is
};

// Names of the fields as the file spells them.
QString GeneralKey(int entry);     // ProfileGeneral entry 0..5
QString ProtectionKey(int entry);  // ProfileProtection entry 0..4
QString ConditionKey(int slot);    // condition slot 0..7, e.g. "chargingVoltageAboveV"

// Paths that name a field in messages. Numbers in brackets are the entry's own "profile" or
// "stage" number (1-based), as the file writes it: profiles[1].stages[2].voltageV.
QString ProfilePath(int profile);  // profile 0 or 1
QString GeneralPath(int profile, int entry);
QString ProtectionPath(int profile, int entry);
QString StageCountPath(int profile);
QString StagePath(int profile, int field);  // field = Txt2 index 0..13
// Condition cells: anyStage false for the next-stage page; part "use" or "value".
QString CellPath(int profile, bool anyStage, int cell, const QString& part);
QString TargetPath(int profile, int stage);

// "none", "and", "or" for type codes 0..2.
QString UseName(int type);
// The type code of a use name; -1 for anything else.
int UseCode(const QString& name);

// The file's bytes (UTF-8, indented). Texts that are not numbers are saved as the number the
// window would read from them; what could not be kept is described in warnings.
QByteArray SettingsToJson(const SettingsFile& settings, QStringList* warnings = nullptr);

struct SettingsReadResult {
    bool ok = false;
    QString error;  // names the field when one is missing, mistyped or out of range
    SettingsFile settings;
};

// Strict: a file that is not a settings file, another version, a missing, unknown or mistyped
// field is refused with a message naming it.
SettingsReadResult SettingsFromJson(const QByteArray& bytes);
SettingsReadResult ReadSettingsFile(const QString& path);

struct SettingsWriteResult {
    bool ok = false;
    QString error;
};

// Through QSaveFile: an existing file stays untouched when the write fails.
SettingsWriteResult WriteSettingsFile(const QString& path, const SettingsFile& settings,
                                      QStringList* warnings = nullptr);

// A number as the profile memory holds it: plain decimal text ("14.4", "100", "-273").
QString SettingsNumberText(double value);

}  // namespace zun::profile
