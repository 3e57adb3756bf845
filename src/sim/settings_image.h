#pragma once

#include <QByteArray>

namespace zun::sim {

// Byte layout of the stored-settings image that follows the 4-byte head of the settings reply.
// Offsets are byte offsets into the image; both profile slots of each block follow each other,
// except the condition records, which come grouped by profile (next, any, next, any).
inline constexpr int kGeneralBytes = 11;
inline constexpr int kProtectionBytes = 9;
inline constexpr int kStageCount = 7;
inline constexpr int kStageBytes = 4;                                 // voltage x100, current x10
inline constexpr int kStagesBytes = kStageCount * kStageBytes;        // 28
inline constexpr int kConditionBytes = 24;                            // 8 cells x (type, value)
inline constexpr int kRecordBytes = 1 + kConditionBytes;              // leading byte + conditions
inline constexpr int kRecordBlockBytes = kStageCount * kRecordBytes;  // 175

inline constexpr int kGeneralOffset = 0;
inline constexpr int kProtectionOffset = kGeneralOffset + 2 * kGeneralBytes;
inline constexpr int kStagesOffset = kProtectionOffset + 2 * kProtectionBytes;
inline constexpr int kRecordsOffset = kStagesOffset + 2 * kStagesBytes;
inline constexpr int kImageBytes = kRecordsOffset + 4 * kRecordBlockBytes;  // 796

int GeneralOffset(int profile);
int ProtectionOffset(int profile);
int StagesOffset(int profile);
int NextRecordOffset(int profile, int stage);
int AnyRecordOffset(int profile, int stage);

// A 12 V profile pair for the 10 A model that the tool's own checks accept as it stands.
QByteArray DefaultSettingsImage();

}  // namespace zun::sim
