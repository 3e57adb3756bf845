#pragma once

#include "datalog/monitor_series.h"

#include <QDateTime>
#include <QFile>
#include <QString>

namespace zun::datalog {

// "ZUN-Monitor-yymmdd-hhmmss.csv" for a recording started at the given local time.
QString MonitorFileName(const QDateTime& started);

// The first line of a monitor file.
QString MonitorHeaderLine();

// ISO 8601 local time with its offset from UTC, to the second: 2026-11-23T13:05:01+01:00.
QString MonitorTimeText(qint64 msecs);

// One reading as a line of the file (no line end): the time, then the values as the reading
// box shows them (charger volts and amperes with one decimal, battery values with two), then a
// note: "reconnected" on the first reading after the line was lost.
QString MonitorLine(const MonitorSample& sample);

// Records readings to a file one line at a time. Each line is handed to the system and put on
// the disk as soon as it is written, so a killed program or a power cut leaves every line but
// possibly the last whole. A file that cannot be written stops the recording; the caller keeps
// its readings in memory.
class MonitorRecorder {
public:
    MonitorRecorder() = default;
    MonitorRecorder(const MonitorRecorder&) = delete;
    MonitorRecorder& operator=(const MonitorRecorder&) = delete;
    ~MonitorRecorder() { stop(); }

    // Creates the file (replacing one of the same name) and writes the header line.
    bool start(const QString& path, QString* error);
    // Appends one reading; false with the reason when the write failed, and the recording stops.
    bool append(const MonitorSample& sample, QString* error);
    void stop();

    bool recording() const { return file_.isOpen(); }
    QString path() const { return file_.fileName(); }
    qint64 lines() const { return lines_; }

private:
    bool writeLine(const QString& line, QString* error);

    QFile file_;
    qint64 lines_ = 0;
};

}  // namespace zun::datalog
