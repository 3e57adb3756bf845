// A settings file as `zunctl write` takes it: when the checks accept a profile, its write plan
// builds without error, the charger acknowledges every frame, and the charger's settings read
// back equal to the file.
#include "cli/profile_check.h"
#include "link/frames.h"
#include "profile/profile_pages.h"
#include "profile/settings_compare.h"
#include "profile/settings_file.h"
#include "sim/virtual_charger.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace zun;
    const profile::SettingsReadResult file = profile::SettingsFromJson(
        QByteArray(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)));
    if (!file.ok) {
        return 0;
    }
    profile::ChargerContext context = profile::ContextForModel(file.settings.chargerModel);
    if (context.modelCode.isEmpty() || context.nvPosition < 0) {
        context = profile::ContextForModel(QStringLiteral("3120"));
    }
    sim::VirtualCharger charger;
    charger.setModelCode(context.modelCode.toUShort());
    for (int p = 0; p < 2; ++p) {
        const link::ProfileSlot& slot = file.settings.profiles[p];
        if (!cli::CheckProfile(slot, p, context).ok()) {
            continue;
        }
        std::vector<profile::PageFrames> plan;
        try {
            plan =
                profile::PlanWrite(profile::PagesFor(slot, p, context), profile::AllPages(), true);
        } catch (...) {
            __builtin_trap();  // the check let through a value that does not fit its frame
        }
        static const char* const kAcks[] = {link::kAckGeneral, link::kAckProtection,
                                            link::kAckStages, link::kAckNextCond,
                                            link::kAckAnyCond};
        for (const profile::PageFrames& page : plan) {
            for (const QString& frame : page.frames) {
                const QByteArray reply = charger.respond(QByteArray::fromHex(frame.toLatin1()));
                if (reply.toHex().toUpper() != kAcks[static_cast<int>(page.page)]) {
                    __builtin_trap();  // not acknowledged
                }
            }
        }
        link::StoredSettings stored;
        link::DecodeStoredSettings(
            QString::fromLatin1(
                charger.respond(QByteArray::fromHex(QByteArray(link::kSettingsRequest)))
                    .toHex()
                    .toUpper()),
            stored);
        if (!profile::CompareProfiles(slot, stored[p], p).empty()) {
            __builtin_trap();
        }
    }
    return 0;
}
