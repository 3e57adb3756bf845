#include "datalog/monitor_file.h"

#include "fileio/os_file.h"
#include "link/codec.h"

namespace zun::datalog {

QString MonitorFileName(const QDateTime& started) {
    return QStringLiteral("ZUN-Monitor-") + started.toString(QStringLiteral("yyMMdd-HHmmss")) +
           QStringLiteral(".csv");
}

QString MonitorHeaderLine() {
    return QStringLiteral("time,chr volt,chr curr,bat1 volt,bat1 curr,bat2 volt,bat2 curr,note");
}

QString MonitorTimeText(qint64 msecs) {
    const QDateTime local = QDateTime::fromMSecsSinceEpoch(msecs, Qt::LocalTime);
    const int offset = local.offsetFromUtc();
    const int minutes = (offset < 0 ? -offset : offset) / 60;
    return local.toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss")) + QChar(offset < 0 ? '-' : '+') +
           QStringLiteral("%1:%2")
               .arg(minutes / 60, 2, 10, QChar('0'))
               .arg(minutes % 60, 2, 10, QChar('0'));
}

QString MonitorLine(const MonitorSample& s) {
    using link::FormatFixed;
    return MonitorTimeText(s.msecs) + QChar(',') + FormatFixed(s.chargerV, 1) + QChar(',') +
           FormatFixed(s.chargerA, 1) + QChar(',') + FormatFixed(s.bat1V, 2) + QChar(',') +
           FormatFixed(s.bat1A, 2) + QChar(',') + FormatFixed(s.bat2V, 2) + QChar(',') +
           FormatFixed(s.bat2A, 2) + QChar(',') +
           (s.gapBefore ? QStringLiteral("reconnected") : QString());
}

bool MonitorRecorder::start(const QString& path, QString* error) {
    stop();
    lines_ = 0;
    file_.setFileName(path);
    // Unbuffered: every line goes to the system as it is written, not when a buffer fills.
    if (!file_.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered)) {
        if (error) {
            *error = file_.errorString();
        }
        return false;
    }
    return writeLine(MonitorHeaderLine(), error);
}

bool MonitorRecorder::append(const MonitorSample& sample, QString* error) {
    if (!file_.isOpen()) {
        if (error) {
            *error = QStringLiteral("not recording");
        }
        return false;
    }
    if (!writeLine(MonitorLine(sample), error)) {
        return false;
    }
    ++lines_;
    return true;
}

bool MonitorRecorder::writeLine(const QString& line, QString* error) {
    const QByteArray bytes = line.toUtf8() + "\r\n";
    if (file_.write(bytes) != bytes.size() || !file_.flush() || !fileio::SyncToDisk(file_)) {
        if (error) {
            *error = file_.errorString();
        }
        file_.close();
        return false;
    }
    return true;
}

void MonitorRecorder::stop() {
    if (file_.isOpen()) {
        file_.close();
    }
}

}  // namespace zun::datalog
