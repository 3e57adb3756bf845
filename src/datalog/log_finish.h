#pragma once

#include "datalog/log_table_model.h"

#include <QDateTime>
#include <QLocale>
#include <QString>

#include <vector>

namespace zun::datalog {

// Everything the window (and the command-line tool) sets once a download or a load is done.
struct LogFinish {
    QString labTime;            // LabTime caption
    bool saveEnabled = false;   // CmdGetSave
    bool printEnabled = false;  // CmdPrint
    bool drawChart = false;     // run DrawLogChart now
    QString txtRow0;            // TxtRow(0): first record of the range
    QString txtRow1;            // TxtRow(1): last record of the range
    std::vector<float> chargeAh;
};

// "Time: " + short date + " " + hour "00" + ":" + minute div 10 + "0" (11:07 -> 11:00).
QString LabTimeText(const QDateTime& now, const QLocale& locale = QLocale::system());

// After a download: Save with at least one record; range, charge, chart and Print with more
// than one.
LogFinish FinishDownload(const LogTableModel& table, const QDateTime& now,
                         const QLocale& locale = QLocale::system());

// After a file load: the file's own time stamp stays; the chart is always redrawn.
LogFinish FinishLoad(const LogTableModel& table, const QString& labTime);

// "ZUN-Log-" + yymmdd-hhmmss + ".csv".
QString DefaultLogFileName(const QDateTime& now);

// A range box after it loses the focus: the plain number, "1" for zero or no number.
QString NormaliseRangeText(const QString& text);

// A number as plain decimal text, shortest form ("0001" -> "1", "2.50" -> "2.5").
QString PlainNumberText(float value);

}  // namespace zun::datalog
