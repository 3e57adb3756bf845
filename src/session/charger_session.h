#pragma once

#include "datalog/live_reading.h"
#include "datalog/log_download.h"
#include "datalog/run_time.h"
#include "link/exchange.h"
#include "link/port_refusal.h"
#include "link/stored_settings.h"
#include "profile/profile_pages.h"

#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace zun::link {
class SerialLink;
}

namespace zun::session {

// How one page of a write went.
enum class PageOutcome {
    Acknowledged,  // every frame of the page got its acknowledgement
    Sent,          // sent, some frame unacknowledged, and the page is allowed to be
    Refused,       // a frame went unacknowledged after all its tries: the write stops here
    NotSent,       // the page could not be built, or an earlier page stopped the write
};

// One page of a write. frames is called only when the page's turn comes, so that a page built
// from the window's boxes sees what the pages before it changed. It returns the frames in sending
// order (none at all counts as acknowledged), or nullopt when the page cannot be built (nothing
// more is sent).
struct PageWrite {
    profile::Page page = profile::Page::General;
    std::function<std::optional<QStringList>()> frames;
    // False: an unacknowledged frame leaves the page Sent and the write goes on.
    bool mustAcknowledge = true;
};

struct PageResult {
    profile::Page page = profile::Page::General;
    PageOutcome outcome = PageOutcome::NotSent;
    QStringList replies;  // the last reply to each frame sent
    QString lineFailure;  // the line did not fall quiet or vanished: the page stopped there
};

// One probed port of the charger search.
struct ProbeResult {
    QString device;
    bool opened = false;
    QString openError;          // in plain words, when it did not open
    link::PortRefusal refusal;  // why it did not open, and what grants access
    bool answered = false;      // anything came back
    bool charger = false;       // the exact probe answer came back
    QString lineFailure;        // the line did not fall quiet or vanished, in words
};

// The one conversation with a charger, shared by the window and zunctl: port choice and search,
// identification, the stored profiles, page writes, readings and the log transfer. Everything
// goes through one Exchange; a SerialLink additionally gets opened and closed here, any other
// exchange counts as always open.
class ChargerSession : public QObject {
    Q_OBJECT
public:
    explicit ChargerSession(std::unique_ptr<link::Exchange> exchange, QObject* parent = nullptr);
    ~ChargerSession() override;

    // The port. Without a serial link these only remember the device.
    void setDevice(const QString& device);
    QString device() const;
    bool open();
    void close();
    // Plain words for the last failure to open or use the port.
    QString lastError() const;
    // Why the last open was refused, and what grants access; none without a serial link.
    link::PortRefusal lastRefusal() const;
    // Whether the device opens now; it is closed again either way.
    bool canOpen(const QString& device);

    // Observer of every frame: sent == true for requests, false for replies.
    void setTrace(std::function<void(bool sent, const QString& hex)> trace);

    // Fast mode ends each exchange at its complete, sound reply; the frames sent are the same.
    void setFastMode(bool on);
    bool fastMode() const;
    // The last exchange: its request, its reply and how it ended.
    QString lastFrame() const { return lastFrame_; }
    QString lastReply() const { return lastReply_; }
    link::ExchangeOutcome lastOutcome() const;

    // The probe on the open (or opened) port: only the exact answer, checksum included, counts.
    bool probe();
    // The charger search: probes each device in turn and stops at the first exact answer,
    // leaving that port open. One result per device tried.
    std::vector<ProbeResult> search(const QStringList& devices);

    // The model code from the identification request; empty when none came. Remembered as
    // modelCode() only when one came.
    QString identify();
    QString modelCode() const { return modelCode_; }

    // The settings request. Both profiles are decoded from whatever came, so a failed read
    // leaves them zero as the charger's empty image would. Returns the reply.
    QString readSettings(link::StoredSettings& profiles);

    datalog::RunTimeReading runTime();
    datalog::LiveReading liveReading();

    // Writes the pages in the order given and stops at the first page refused or not built.
    // One result per page, those after the stop NotSent.
    std::vector<PageResult> writePages(const std::vector<PageWrite>& pages);
    // The acknowledgement every frame of the page must get.
    static QString AckFor(profile::Page page);

    // The data log; progress comes as signals. A cancel request is honoured between exchanges:
    // what has arrived is returned.
    datalog::DownloadResult downloadLog();
    void requestCancel() { cancel_ = true; }
    bool cancelRequested() const { return cancel_; }

    bool busy() const { return depth_ > 0; }

    // After the adapter vanished, look for the device about once a second; once it opens and
    // the charger answers the probe, identify it and report portRegained. Off by default.
    void setWatchForReturn(bool on);
    bool watchingForReturn() const { return returnWatch_.isActive(); }

signals:
    // An exchange with the charger starts (true) or the last one has ended (false).
    void busyChanged(bool busy);
    // The log transfer begins (true) and ends (false); the controls that could start another
    // exchange stay locked in between.
    void transferActive(bool active);
    // How far the log transfer is, in percent of the records it expects.
    void progressPercent(int percent);
    void progressVisible(bool visible);
    void logRow(const datalog::LogRow& row);
    // A page whose turn came in a write (pages after a stop get none).
    void pageWritten(const zun::session::PageResult& result);
    // A request and its reply (empty: none came).
    void replied(const QString& frame, const QString& reply);
    // How each exchange ended, the reply check's verdict included.
    void exchangeEnded(const zun::link::ExchangeOutcome& outcome);
    // The adapter vanished; the port is closed.
    void portLost();
    // The device that was lost opened again and the charger answered: the port is open.
    void portRegained();

private:
    class Busy;
    class Line;
    PageResult writePage(const PageWrite& write);
    void lookForReturn();

    std::unique_ptr<link::Exchange> exchange_;
    link::SerialLink* serial_ = nullptr;
    std::unique_ptr<Line> line_;
    QString device_;
    QString modelCode_;
    QString lastFrame_;
    QString lastReply_;
    int depth_ = 0;
    bool cancel_ = false;
    bool watchForReturn_ = false;
    bool lookPending_ = false;  // a look for the lost device waits for the line to be free
    QTimer returnWatch_;
};

}  // namespace zun::session
