#include "session/live_poller.h"

#include "session/charger_session.h"

#include <QDateTime>

#include <algorithm>

namespace zun::session {

namespace {
// While a poll waits on a hold the session does not signal, it looks again this often.
constexpr int kHoldRetryMs = 100;
}  // namespace

datalog::MonitorSample SampleOf(const datalog::LiveReading& r, qint64 msecs) {
    datalog::MonitorSample s;
    s.msecs = msecs;
    s.chargerV = r.V[0];
    s.chargerA = r.I[0];
    s.bat1V = r.V[1];
    s.bat1A = r.I[1];
    s.bat2V = r.V[2];
    s.bat2A = r.I[2];
    return s;
}

LivePoller::LivePoller(ChargerSession& session, QObject* parent)
    : QObject(parent), session_(session) {
    timer_.setTimerType(Qt::CoarseTimer);
    connect(&timer_, &QTimer::timeout, this, &LivePoller::due);
    // The exchange that held the poll back has ended: go once the handler has returned.
    connect(&session_, &ChargerSession::busyChanged, this, [this](bool busy) {
        if (!busy && waiting_) {
            QTimer::singleShot(0, this, &LivePoller::due);
        }
    });
}

void LivePoller::setIntervalSeconds(int seconds) {
    seconds_ = std::clamp(seconds, kMinSeconds, kMaxSeconds);
    timer_.setInterval(seconds_ * 1000);
}

void LivePoller::start() {
    running_ = true;
    timer_.start(seconds_ * 1000);
    due();
}

void LivePoller::stop() {
    running_ = false;
    waiting_ = false;
    timer_.stop();
}

bool LivePoller::held() const {
    return session_.busy() || (held_ && held_());
}

void LivePoller::due() {
    // A turn that comes during this poller's own exchange is that poll's turn.
    if (!running_ || polling_) {
        return;
    }
    if (held()) {
        if (!waiting_) {
            ++deferred_;
        }
        waiting_ = true;
        // The window's hold has no signal of its own; the session's busyChanged covers the rest.
        if (!session_.busy()) {
            QTimer::singleShot(kHoldRetryMs, this, &LivePoller::due);
        }
        return;
    }
    waiting_ = false;
    poll();
}

void LivePoller::poll() {
    polling_ = true;
    datalog::LiveReading r;
    try {
        r = session_.liveReading();
    } catch (...) {
        r.outcome = datalog::ReplyOutcome::Clear;
    }
    polling_ = false;
    if (running_) {
        emit polled(r, SampleOf(r, QDateTime::currentMSecsSinceEpoch()));
    }
}

}  // namespace zun::session
