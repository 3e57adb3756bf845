#pragma once

#include <QString>

#include <array>

namespace zun::link {

// One charge profile as the settings pages hold it: texts, indexed as the profile tables are.
struct ProfileSlot {
    std::array<QString, 6> general;     // 0: nominal voltage (12/24/48), 1..5: Txt0(1..5)
    std::array<QString, 5> protection;  // Txt1(0..4)
    std::array<QString, 15> stages;     // 0: number of stages, k: Txt2(k - 1)
    std::array<QString, 56> nextCond;   // type digit + Txt3 text, cell = stage * 8 + slot
    std::array<QString, 56> anyCond;    // type digit + Txt4 text
    std::array<QString, 7> anyTarget;   // zero-based target stage of Cmb4SN(stage)
};

using StoredSettings = std::array<ProfileSlot, 2>;

// Number of hex characters a settings reply needs for "Connection OK".
constexpr int kMinSettingsReplyChars = 100;

// Decodes the reply to the stored-settings request into both profiles. A short or empty reply
// decodes as zeros. The stage count (entry 0 of the stage table) is derived from the stage
// voltages and otherwise left as it was.
void DecodeStoredSettings(const QString& reply, StoredSettings& profiles);

// Field value of condition slot 0..7 turned back into the page's unit, as decimal text.
QString DecodeConditionValue(int slot, qint32 raw);

}  // namespace zun::link
