#pragma once

#include <QString>

#include <atomic>
#include <chrono>
#include <thread>

namespace zun::sim {

class VirtualCharger;

// Serves a VirtualCharger on a pseudo-terminal, so that the tool can open it like a serial
// port. Replies leave at the pace of a 9600-baud line unless pacing is switched off.
class PtyHost {
public:
    // Ten bits per byte at 9600 baud.
    static constexpr std::chrono::nanoseconds kByteTime{1041667};
    // Silence after which a half-received frame is dropped.
    static constexpr std::chrono::milliseconds kResyncSilence{100};

    explicit PtyHost(VirtualCharger& charger);
    ~PtyHost();
    PtyHost(const PtyHost&) = delete;
    PtyHost& operator=(const PtyHost&) = delete;

    // Opens the pseudo-terminal and starts serving. False with a reason when the system
    // refuses.
    bool start(QString* error = nullptr);
    // Ends serving and closes both sides, as if the adapter had been pulled out. Removes the
    // link made by createLink.
    void stop();
    bool isRunning() const { return worker_.joinable(); }

    // The slave device the tool opens, for example /dev/pts/7; empty before start.
    QString devicePath() const { return devicePath_; }
    // A symbolic link to the device under a stable name; a stale link of that name is replaced.
    bool createLink(const QString& path, QString* error = nullptr);

    // The adapter is pulled out (the device and its link go) and plugged in again: a new
    // device, reached again under the link's name.
    void vanish();
    bool comeBack(QString* error = nullptr);

    void setPacing(bool on) { pacing_ = on; }
    bool pacing() const { return pacing_; }

private:
    void run();

    VirtualCharger& charger_;
    std::thread worker_;
    std::atomic<bool> stopping_{false};
    std::atomic<bool> pacing_{true};
    int master_ = -1;
    int keptSlave_ = -1;
    int wake_[2] = {-1, -1};
    QString devicePath_;
    QString linkPath_;
    QString vanishedLink_;
};

}  // namespace zun::sim
