#include "session/charger_session.h"

#include "link/frames.h"
#include "link/model_table.h"
#include "link/serial_link.h"

namespace zun::session {

// Marks the length of one operation; nested operations report busy only once.
class ChargerSession::Busy {
public:
    explicit Busy(ChargerSession& s) : s_(s) {
        if (s_.depth_++ == 0) {
            emit s_.busyChanged(true);
        }
    }
    ~Busy() {
        if (--s_.depth_ == 0) {
            emit s_.busyChanged(false);
            if (s_.lookPending_ && s_.returnWatch_.isActive()) {
                s_.lookPending_ = false;
                QTimer::singleShot(0, &s_, &ChargerSession::lookForReturn);
            }
        }
    }
    Busy(const Busy&) = delete;
    Busy& operator=(const Busy&) = delete;

private:
    ChargerSession& s_;
};

// The exchange every operation goes through: it reports each reply and, once a cancel has been
// requested, sends nothing more, so that a transfer in progress runs out at its next exchange.
// It must pass on every member of Exchange: one left to its default would hide from the log
// transfer what the real line reports.
class ChargerSession::Line : public link::Exchange {
public:
    explicit Line(ChargerSession& s) : s_(s) {}

    QString SendFrame(const QString& frame) override {
        if (s_.cancel_) {
            return QString();
        }
        const QString reply = s_.exchange_->SendFrame(frame);
        s_.lastFrame_ = frame;
        s_.lastReply_ = reply;
        emit s_.replied(frame, reply);
        emit s_.exchangeEnded(s_.exchange_->lastOutcome());
        return reply;
    }
    void WaitSeconds(float seconds) override {
        if (!s_.cancel_) {
            s_.exchange_->WaitSeconds(seconds);
        }
    }
    bool ResetAndWrite(const QByteArray& bytes) override {
        return !s_.cancel_ && s_.exchange_->ResetAndWrite(bytes);
    }
    QByteArray ReadWaiting() override {
        return s_.cancel_ ? QByteArray() : s_.exchange_->ReadWaiting();
    }
    link::ExchangeOutcome lastOutcome() const override { return s_.exchange_->lastOutcome(); }
    void setFastMode(bool on) override { s_.exchange_->setFastMode(on); }
    bool fastMode() const override { return s_.exchange_->fastMode(); }
    bool lineUp() const override { return s_.exchange_->lineUp(); }

private:
    ChargerSession& s_;
};

ChargerSession::ChargerSession(std::unique_ptr<link::Exchange> exchange, QObject* parent)
    : QObject(parent), exchange_(std::move(exchange)), line_(std::make_unique<Line>(*this)) {
    serial_ = dynamic_cast<link::SerialLink*>(exchange_.get());
    if (serial_ != nullptr) {
        connect(serial_, &link::SerialLink::portLost, this, &ChargerSession::portLost);
        connect(serial_, &link::SerialLink::portLost, this, [this] {
            if (watchForReturn_) {
                returnWatch_.start();
            }
        });
    }
    // Once a second is soon enough for a person plugging a cable back in, and costs nothing.
    returnWatch_.setInterval(1000);
    returnWatch_.setTimerType(Qt::CoarseTimer);
    connect(&returnWatch_, &QTimer::timeout, this, &ChargerSession::lookForReturn);
}

void ChargerSession::setWatchForReturn(bool on) {
    watchForReturn_ = on;
    if (!on) {
        returnWatch_.stop();
    }
}

void ChargerSession::lookForReturn() {
    if (serial_ == nullptr) {
        return;
    }
    // Another exchange holds the line: look as soon as it has ended. (A monitor polling at the
    // same pace would otherwise hold the line at every tick.)
    if (busy()) {
        lookPending_ = true;
        return;
    }
    if (!serial_->open()) {
        return;
    }
    if (!probe()) {
        close();
        return;
    }
    returnWatch_.stop();
    identify();
    emit portRegained();
}

ChargerSession::~ChargerSession() {
    close();
}

void ChargerSession::setDevice(const QString& device) {
    if (device != device_) {
        returnWatch_.stop();
    }
    device_ = device;
    if (serial_ != nullptr) {
        serial_->setDevice(device);
    }
}

QString ChargerSession::device() const {
    return device_;
}

bool ChargerSession::open() {
    return serial_ == nullptr || serial_->open();
}

void ChargerSession::close() {
    if (serial_ != nullptr) {
        serial_->close();
    }
}

QString ChargerSession::lastError() const {
    return serial_ != nullptr ? serial_->lastError() : QString();
}

link::PortRefusal ChargerSession::lastRefusal() const {
    return serial_ != nullptr ? serial_->lastRefusal() : link::PortRefusal();
}

bool ChargerSession::canOpen(const QString& device) {
    setDevice(device);
    const bool ok = open();
    close();
    return ok;
}

void ChargerSession::setFastMode(bool on) {
    exchange_->setFastMode(on);
}

bool ChargerSession::fastMode() const {
    return exchange_->fastMode();
}

link::ExchangeOutcome ChargerSession::lastOutcome() const {
    return exchange_->lastOutcome();
}

void ChargerSession::setTrace(std::function<void(bool, const QString&)> trace) {
    if (serial_ != nullptr) {
        serial_->trace = std::move(trace);
    }
}

bool ChargerSession::probe() {
    const Busy busy(*this);
    return line_->SendFrame(QLatin1String(link::kRunTimeRequest)) ==
           QLatin1String(link::kProbeAnswer);
}

std::vector<ProbeResult> ChargerSession::search(const QStringList& devices) {
    const Busy busy(*this);
    std::vector<ProbeResult> results;
    for (const QString& device : devices) {
        ProbeResult r;
        r.device = device;
        setDevice(device);
        r.opened = open();
        if (!r.opened) {
            r.openError = lastError();
            r.refusal = lastRefusal();
            results.push_back(r);
            continue;
        }
        const QString reply = line_->SendFrame(QLatin1String(link::kRunTimeRequest));
        r.answered = !reply.isEmpty();
        r.charger = reply == QLatin1String(link::kProbeAnswer);
        r.lineFailure = link::DescribeLineFailure(exchange_->lastOutcome());
        results.push_back(r);
        if (r.charger) {
            break;
        }
        close();
    }
    return results;
}

QString ChargerSession::identify() {
    const Busy busy(*this);
    const QString code = link::ModelTable::ModelCodeFromReply(
        line_->SendFrame(QLatin1String(link::kIdentifyRequest)));
    if (!code.isEmpty()) {
        modelCode_ = code;
    }
    return code;
}

QString ChargerSession::readSettings(link::StoredSettings& profiles) {
    const Busy busy(*this);
    const QString reply = line_->SendFrame(QLatin1String(link::kSettingsRequest));
    link::DecodeStoredSettings(reply, profiles);
    return reply;
}

datalog::RunTimeReading ChargerSession::runTime() {
    const Busy busy(*this);
    return datalog::DecodeRunTime(line_->SendFrame(QLatin1String(link::kRunTimeRequest)));
}

datalog::LiveReading ChargerSession::liveReading() {
    const Busy busy(*this);
    return datalog::DecodeLiveReading(line_->SendFrame(QLatin1String(link::kLiveRequest)));
}

QString ChargerSession::AckFor(profile::Page page) {
    switch (page) {
        case profile::Page::General:
            return QLatin1String(link::kAckGeneral);
        case profile::Page::Protection:
            return QLatin1String(link::kAckProtection);
        case profile::Page::Stages:
            return QLatin1String(link::kAckStages);
        case profile::Page::Next:
            return QLatin1String(link::kAckNextCond);
        case profile::Page::Any:
            return QLatin1String(link::kAckAnyCond);
    }
    return QString();
}

PageResult ChargerSession::writePage(const PageWrite& write) {
    PageResult result;
    result.page = write.page;
    const std::optional<QStringList> frames = write.frames ? write.frames() : std::nullopt;
    if (!frames) {
        return result;
    }
    const QString ack = AckFor(write.page);
    // The condition pages go one frame per stage, each after a short pause and tried three
    // times; the charger needs the pause between stage frames.
    const bool perStage = write.page == profile::Page::Next || write.page == profile::Page::Any;
    bool acknowledged = true;
    for (const QString& frame : *frames) {
        QString reply;
        for (int attempt = 0; attempt < (perStage ? 3 : 1); ++attempt) {
            if (perStage) {
                line_->WaitSeconds(0.1f);
            }
            reply = line_->SendFrame(frame);
            if (reply == ack || exchange_->lastOutcome().lineFailed()) {
                break;
            }
        }
        result.replies << reply;
        acknowledged = acknowledged && reply == ack;
        // A line that did not fall quiet or vanished: the frames after it cannot fare better.
        result.lineFailure = link::DescribeLineFailure(exchange_->lastOutcome());
        if (!result.lineFailure.isEmpty()) {
            result.outcome = PageOutcome::Refused;
            return result;
        }
    }
    result.outcome = acknowledged            ? PageOutcome::Acknowledged
                     : write.mustAcknowledge ? PageOutcome::Refused
                                             : PageOutcome::Sent;
    return result;
}

std::vector<PageResult> ChargerSession::writePages(const std::vector<PageWrite>& pages) {
    const Busy busy(*this);
    std::vector<PageResult> results;
    bool stopped = false;
    for (const PageWrite& write : pages) {
        PageResult r;
        r.page = write.page;
        if (stopped) {
            results.push_back(r);
            continue;
        }
        r = writePage(write);
        stopped = r.outcome == PageOutcome::Refused || r.outcome == PageOutcome::NotSent;
        results.push_back(r);
        emit pageWritten(r);
    }
    return results;
}

datalog::DownloadResult ChargerSession::downloadLog() {
    const Busy busy(*this);
    cancel_ = false;
    emit transferActive(true);
    datalog::DownloadProgress progress;
    progress.percent = [this](int percent) { emit progressPercent(percent); };
    progress.visible = [this](bool visible) { emit progressVisible(visible); };
    progress.row = [this](const datalog::LogRow& row) { emit logRow(row); };
    datalog::DownloadResult result;
    try {
        result = datalog::DownloadLog(*line_, progress);
    } catch (...) {
        emit transferActive(false);
        cancel_ = false;
        throw;
    }
    emit transferActive(false);
    result.cancelled = cancel_;
    cancel_ = false;
    return result;
}

}  // namespace zun::session
