#pragma once

namespace zun::link {

// Requests the tool sends as they stand.
inline constexpr char kIdentifyRequest[] = "850350AA000D";
inline constexpr char kSettingsRequest[] = "850359AA000D";
inline constexpr char kRunTimeRequest[] = "850357AA000D";
inline constexpr char kLiveRequest[] = "850358AA000D";
inline constexpr char kLogPointerRequest[] = "850375AA000D";
inline constexpr char kStreamRequest[] = "850356AA000D";

// The charger search accepts this one answer to the run-time request, checksum included.
inline constexpr char kProbeAnswer[] = "850667064A0000BD0D";

// Write acknowledgements, command + 0x10 with status 01.
inline constexpr char kAckGeneral[] = "85036101650D";
inline constexpr char kAckProtection[] = "85036201660D";
inline constexpr char kAckStages[] = "85036301670D";
inline constexpr char kAckNextCond[] = "85036401680D";
inline constexpr char kAckAnyCond[] = "85036501690D";

}  // namespace zun::link
