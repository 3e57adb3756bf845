#pragma once

#include "app/window_state.h"
#include "datalog/live_reading.h"
#include "datalog/monitor_chart.h"
#include "datalog/monitor_file.h"
#include "datalog/monitor_series.h"

#include <QCheckBox>
#include <QLabel>
#include <QPushButton>
#include <QSpinBox>
#include <QWidget>

#include <functional>
#include <memory>

namespace zun::session {
class LivePoller;
}

namespace zun::app {

// The live chart surface: the monitor's readings of the last hours, repainted from the store
// on every repaint.
class MonitorChartView : public QWidget {
    Q_OBJECT
public:
    MonitorChartView(const datalog::MonitorSeries& series, QWidget* parent = nullptr);
    void setSpanMsecs(qint64 span) { spanMsecs_ = span; }
    // The view's end: the newest reading, so the chart scrolls as readings come.
    datalog::MonitorView view() const;
    QSize minimumSizeHint() const override { return {320, 160}; }
    QSize sizeHint() const override { return {600, 220}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const datalog::MonitorSeries& series_;
    qint64 spanMsecs_ = 3 * 3600 * 1000LL;
};

// The Get Data page's live monitor: repeats the "Charger V I" request every interval, shows
// each reading in the reading box and the live chart, and can record the readings to a file.
class MonitorPanel : public QWidget {
    Q_OBJECT
public:
    // showReading puts a reading's text into the reading box.
    MonitorPanel(WindowState& state, std::function<void(const QString&)> showReading,
                 QWidget* parent = nullptr);
    ~MonitorPanel() override;

    // The recording file's name; empty: the user cancelled. Unset: the real dialog.
    std::function<QString(const QString& proposedPath)> askRecordPath;

    const datalog::MonitorSeries& series() const { return series_; }
    const datalog::MonitorRecorder& recorder() const { return recorder_; }
    session::LivePoller& poller() { return *poller_; }

    QCheckBox* ChkMonitor = nullptr;
    QSpinBox* TxtMonitorInterval = nullptr;
    QPushButton* CmdMonitorRecord = nullptr;
    QLabel* LabMonitor = nullptr;
    MonitorChartView* PM = nullptr;

signals:
    // Recording started or stopped, or why a recording failed; for the status bar.
    void statusMessage(const QString& text);

private:
    void ChkMonitor_Click(bool on);
    void CmdMonitorRecord_Click(bool on);
    void intervalChanged(int seconds);
    void polled(const datalog::LiveReading& reading, const datalog::MonitorSample& sample);
    void stopRecording(const QString& message);
    void showCount();

    WindowState& state_;
    std::function<void(const QString&)> showReading_;
    std::unique_ptr<session::LivePoller> poller_;
    datalog::MonitorSeries series_;
    datalog::MonitorRecorder recorder_;
    QString lastFolder_;
};

}  // namespace zun::app
