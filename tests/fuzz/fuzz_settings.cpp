#include "profile/settings_file.h"

#include <cstddef>
#include <cstdint>

// A settings file read from any bytes either fails with a message or, written again and read
// back, gives the very same profiles: the reader accepts nothing the writer cannot reproduce.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const zun::profile::SettingsReadResult first = zun::profile::SettingsFromJson(bytes);
    if (!first.ok) {
        if (first.error.isEmpty()) {
            __builtin_trap();
        }
        return 0;
    }
    QStringList warnings;
    const QByteArray again = zun::profile::SettingsToJson(first.settings, &warnings);
    const zun::profile::SettingsReadResult second = zun::profile::SettingsFromJson(again);
    if (!second.ok || !warnings.isEmpty()) {
        __builtin_trap();
    }
    for (int p = 0; p < 2; ++p) {
        const auto& a = first.settings.profiles[p];
        const auto& b = second.settings.profiles[p];
        if (a.general != b.general || a.protection != b.protection || a.stages != b.stages ||
            a.nextCond != b.nextCond || a.anyCond != b.anyCond || a.anyTarget != b.anyTarget) {
            __builtin_trap();
        }
    }
    if (first.settings.chargerModel != second.settings.chargerModel ||
        first.settings.comment != second.settings.comment) {
        __builtin_trap();
    }
    return 0;
}
