#pragma once

#include "datalog/log_table_model.h"

#include <QByteArray>
#include <QString>

#include <vector>

namespace zun::datalog {

inline constexpr char kFileTypeError[] = "File Type Error!";
inline constexpr char kFileTypeLine[] = "FileType: ZUN-Log";

// Bounds on what a load reads, so a huge or binary file cannot stall the window.
constexpr qint64 kMaxCsvBytes = 16 * 1024 * 1024;
constexpr int kMaxCsvDataLines = 100000;

// The ".csv" rule: the path is cut at its first "." (folders included) and ".csv" put behind;
// a path without a dot gets ".csv" appended.
QString ForceCsvExtension(const QString& path);

// The question asked before replacing an existing file: the wording with its %1 replaced by the
// bare file name (no folder).
QString OverwriteQuestion(const QString& finalPath,
                          const QString& wording = QStringLiteral("File '%1' already exist. "
                                                                  "Overwrte it ?"));

// Line 2 of a saved file: the LabTime caption with its last five characters (hh:mm, the time of
// the last record in the table) moved back ten minutes per record between the last record and
// the end of the saved range, wrapping past midnight; the date part is kept as it is.
QString SavedTimeLine(const QString& labTime, float lastRecord, float rangeEnd);

// What the save writes.
struct CsvSaveInput {
    QString labTime;      // LabTime caption
    QString description;  // TxtGetDesc
    QString rowFrom;      // TxtRow(0)
    QString rowTo;        // TxtRow(1)
};

// The file's bytes: four head lines, then the records numbered rowFrom..rowTo, CR LF, UTF-8.
QByteArray BuildLogCsv(const LogTableModel& table, const CsvSaveInput& input);

struct FileResult {
    bool ok = false;
    QString error;  // why the file was not written; an existing file is then untouched
};

// Replaces the file by the bytes through QSaveFile, all or nothing. The flush is checked before
// the commit: QSaveFile would otherwise rename a temporary file whose buffered tail could not be
// written (a full disk, a file size limit) over the good old file.
FileResult WriteWholeFile(const QString& path, const QByteArray& bytes);

// Writes BuildLogCsv to the path as given (apply ForceCsvExtension first); all or nothing.
FileResult SaveLogCsv(const QString& path, const LogTableModel& table, const CsvSaveInput& input);

struct CsvLoadResult {
    enum class Status {
        Loaded,
        TypeError,  // first line does not end in "ZUN-Log": show kFileTypeError, keep the table
        ReadError,  // the file could not be opened or read
    };
    Status status = Status::ReadError;
    QString error;
    QString labTime;      // line 2 as it stands
    QString description;  // line 3 from its 7th character
    std::vector<LogRow> rows;
    bool truncated = false;  // stopped at kMaxCsvBytes or kMaxCsvDataLines
};

// The loader on bytes in memory: UTF-8 when the bytes are valid UTF-8, else Latin-1.
CsvLoadResult ParseLogCsv(const QByteArray& bytes, bool bytesCut = false);
CsvLoadResult LoadLogCsv(const QString& path);

}  // namespace zun::datalog
