#pragma once

#include "profile/profile_memory.h"

#include <QString>

#include <array>

namespace zun::session {
class ChargerSession;
}

namespace zun::app {

class BusyGuard;

// What the window knows beyond its controls, shared by FrmMain and every page.
struct WindowState {
    profile::ProfileMemory memory;
    bool FillingPages = false;

    // Derived from the nominal voltage chosen in Cmb0NV.
    float VoltStep = 0.1f;
    float StageVoltMin = 0.0f;
    float StageVoltMax = 0.0f;
    std::array<float, 4> NominalLimits{};

    // The identified charger: empty / 0 until one has answered.
    QString ChargerModel;
    int RatedCurrent = 0;

    session::ChargerSession* session = nullptr;
    BusyGuard* busy = nullptr;
};

}  // namespace zun::app
