#pragma once

#include "datalog/live_reading.h"
#include "datalog/monitor_series.h"

#include <QObject>
#include <QTimer>

#include <functional>

namespace zun::session {

class ChargerSession;

// Repeats the live-reading request every interval. A poll whose turn comes while another
// exchange runs waits until the session falls idle and then goes: polls never nest with
// another exchange and none is skipped for good.
class LivePoller : public QObject {
    Q_OBJECT
public:
    static constexpr int kMinSeconds = 1;
    static constexpr int kMaxSeconds = 3600;
    static constexpr int kDefaultSeconds = 5;

    explicit LivePoller(ChargerSession& session, QObject* parent = nullptr);

    void setIntervalSeconds(int seconds);
    int intervalSeconds() const { return seconds_; }
    // A further hold besides the session's own busy state (the window's busy scope).
    void setHold(std::function<bool()> held) { held_ = std::move(held); }

    // Starts with a reading at once, then one every interval.
    void start();
    void stop();
    bool running() const { return running_; }
    // How many polls had to wait for another exchange.
    int deferred() const { return deferred_; }
    // True while this poller's own reading is on the line.
    bool polling() const { return polling_; }

signals:
    // A poll ended. The sample is filled only when the reply showed values; lost is true when
    // no reply came (the line is gone or the charger is silent).
    void polled(const zun::datalog::LiveReading& reading,
                const zun::datalog::MonitorSample& sample);

private:
    void due();
    void poll();
    bool held() const;

    ChargerSession& session_;
    QTimer timer_;
    std::function<bool()> held_;
    int seconds_ = kDefaultSeconds;
    bool running_ = false;
    bool waiting_ = false;  // a poll is waiting for the session to fall idle
    bool polling_ = false;
    int deferred_ = 0;
};

// The reading as the monitor keeps it.
datalog::MonitorSample SampleOf(const datalog::LiveReading& reading, qint64 msecs);

}  // namespace zun::session
