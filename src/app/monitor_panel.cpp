#include "app/monitor_panel.h"

#include "app/busy_guard.h"
#include "app/page_parts.h"
#include "lang/program_texts.h"
#include "session/charger_session.h"
#include "session/live_poller.h"

#include <QDateTime>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QPainter>
#include <QSettings>
#include <QVBoxLayout>

namespace zun::app {

using lang::T;
using lang::Text;

namespace {
const QString kIntervalKey = QStringLiteral("monitor/interval");
}  // namespace

MonitorChartView::MonitorChartView(const datalog::MonitorSeries& series, QWidget* parent)
    : QWidget(parent), series_(series) {
    setObjectName(QStringLiteral("PM"));
    setAttribute(Qt::WA_OpaquePaintEvent);
}

datalog::MonitorView MonitorChartView::view() const {
    const qint64 end = series_.empty() ? QDateTime::currentMSecsSinceEpoch() : series_.last().msecs;
    return datalog::MonitorView{end, spanMsecs_};
}

void MonitorChartView::paintEvent(QPaintEvent*) {
    QPainter p(this);
    datalog::MonitorChartTexts texts;
    texts.legend = {Text(T::MonitorChrVolt), Text(T::MonitorCurr), Text(T::MonitorBat1),
                    Text(T::MonitorBat2)};
    texts.noReadings = Text(T::MonitorNoReadings);
    datalog::DrawMonitorChart(p, QRectF(rect()), series_, view(), texts);
}

MonitorPanel::MonitorPanel(WindowState& state, std::function<void(const QString&)> showReading,
                           QWidget* parent)
    : QWidget(parent),
      state_(state),
      showReading_(std::move(showReading)),
      poller_(std::make_unique<session::LivePoller>(*state.session)),
      lastFolder_(QDir::homePath()) {
    setObjectName(QStringLiteral("MonitorPanel"));
    ChkMonitor = new QCheckBox;
    ChkMonitor->setObjectName(QStringLiteral("ChkMonitor"));
    TxtMonitorInterval = new QSpinBox;
    TxtMonitorInterval->setObjectName(QStringLiteral("TxtMonitorInterval"));
    TxtMonitorInterval->setRange(session::LivePoller::kMinSeconds,
                                 session::LivePoller::kMaxSeconds);
    TxtMonitorInterval->setSuffix(QStringLiteral(" s"));
    TxtMonitorInterval->setValue(
        QSettings().value(kIntervalKey, session::LivePoller::kDefaultSeconds).toInt());
    poller_->setIntervalSeconds(TxtMonitorInterval->value());
    CmdMonitorRecord = new QPushButton;
    CmdMonitorRecord->setObjectName(QStringLiteral("CmdMonitorRecord"));
    CmdMonitorRecord->setCheckable(true);
    LabMonitor = new QLabel;
    LabMonitor->setObjectName(QStringLiteral("LabMonitor"));
    PM = new MonitorChartView(series_);
    PM->setVisible(false);

    auto* row = new QHBoxLayout;
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(ChkMonitor);
    row->addWidget(TxtMonitorInterval);
    row->addWidget(CmdMonitorRecord);
    row->addWidget(LabMonitor, 1);
    auto* v = new QVBoxLayout(this);
    v->setContentsMargins(0, 0, 0, 0);
    v->addLayout(row);
    v->addWidget(PM);

    // The window's busy scope (start-up, a port choice) holds a poll back as well.
    if (state_.busy != nullptr) {
        BusyGuard* guard = state_.busy;
        poller_->setHold([guard] { return guard->busy(); });
    }
    connect(poller_.get(), &session::LivePoller::polled, this, &MonitorPanel::polled);
    // The adapter can vanish between two polls and be back before the next one.
    connect(state_.session, &session::ChargerSession::portLost, this, [this] {
        if (poller_->running()) {
            series_.markGap();
        }
    });
    FollowLanguage(this, [this] {
        ChkMonitor->setText(Text(T::Monitor));
        CmdMonitorRecord->setText(Text(T::Record));
        if (!LabMonitor->text().isEmpty()) {
            showCount();
        }
        PM->update();
    });
    connect(ChkMonitor, &QCheckBox::toggled, this, &MonitorPanel::ChkMonitor_Click);
    connect(CmdMonitorRecord, &QPushButton::toggled, this, &MonitorPanel::CmdMonitorRecord_Click);
    connect(TxtMonitorInterval, &QSpinBox::valueChanged, this, &MonitorPanel::intervalChanged);
}

MonitorPanel::~MonitorPanel() = default;

void MonitorPanel::intervalChanged(int seconds) {
    poller_->setIntervalSeconds(seconds);
    QSettings().setValue(kIntervalKey, poller_->intervalSeconds());
}

void MonitorPanel::ChkMonitor_Click(bool on) {
    if (on) {
        PM->setVisible(true);
        poller_->start();
    } else {
        poller_->stop();
    }
}

void MonitorPanel::CmdMonitorRecord_Click(bool on) {
    if (!on) {
        stopRecording(Text(T::RecordingStopped)
                          .arg(recorder_.lines())
                          .arg(QDir::toNativeSeparators(recorder_.path())));
        return;
    }
    const QString proposed =
        QDir(lastFolder_).filePath(datalog::MonitorFileName(QDateTime::currentDateTime()));
    const QString path = askRecordPath ? askRecordPath(proposed)
                                       : QFileDialog::getSaveFileName(
                                             this, Text(T::RecordMonitorTitle), proposed,
                                             Text(T::CsvFilter).arg(QStringLiteral("*.csv")));
    QString error;
    if (path.isEmpty() || !recorder_.start(path, &error)) {
        const QSignalBlocker block(CmdMonitorRecord);
        CmdMonitorRecord->setChecked(false);
        if (!path.isEmpty()) {
            emit statusMessage(
                Text(T::RecordingNotStarted).arg(QDir::toNativeSeparators(path), error));
        }
        return;
    }
    lastFolder_ = QFileInfo(path).absolutePath();
    emit statusMessage(Text(T::RecordingTo).arg(QDir::toNativeSeparators(recorder_.path())));
    showCount();
}

void MonitorPanel::stopRecording(const QString& message) {
    recorder_.stop();
    {
        const QSignalBlocker block(CmdMonitorRecord);
        CmdMonitorRecord->setChecked(false);
    }
    emit statusMessage(message);
    showCount();
}

void MonitorPanel::polled(const datalog::LiveReading& reading,
                          const datalog::MonitorSample& sample) {
    // The reading box follows the same rules as a click on "Charger V I".
    if (reading.outcome == datalog::ReplyOutcome::Clear) {
        showReading_(QString());
    } else if (reading.outcome == datalog::ReplyOutcome::Show) {
        showReading_(reading.text);
    }
    if (reading.outcome != datalog::ReplyOutcome::Show) {
        // No values: the curves break here, and the file notes it at the next reading.
        series_.markGap();
        return;
    }
    series_.append(sample);
    if (recorder_.recording()) {
        QString error;
        if (!recorder_.append(series_.last(), &error)) {
            stopRecording(
                Text(T::RecordingFailed).arg(QDir::toNativeSeparators(recorder_.path()), error));
        }
    }
    showCount();
    PM->update();
}

void MonitorPanel::showCount() {
    LabMonitor->setText(recorder_.recording() ? Text(T::ReadingsRecording)
                                                    .arg(series_.size())
                                                    .arg(QFileInfo(recorder_.path()).fileName())
                                              : Text(T::Readings).arg(series_.size()));
}

}  // namespace zun::app
