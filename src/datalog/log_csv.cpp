#include "datalog/log_csv.h"

#include "datalog/log_finish.h"
#include "fileio/save_file.h"
#include "link/codec.h"

#include <QFile>
#include <QFileInfo>
#include <QStringDecoder>
#include <QStringView>

#include <cmath>

namespace zun::datalog {

namespace {

const QString kCrLf = QStringLiteral("\r\n");

QString twoDigits(long long v) {
    return QString::number(v).rightJustified(2, QLatin1Char('0'));
}

QString decodeText(const QByteArray& bytes) {
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = utf8.decode(bytes);
    if (utf8.hasError()) {
        return QString::fromLatin1(bytes);
    }
    return text;
}

// Fields as the window's reader takes them: blanks around a field dropped, quotes removed.
QString fieldText(QStringView raw) {
    QStringView f = raw.trimmed();
    if (f.size() >= 2 && f.front() == QLatin1Char('"') && f.back() == QLatin1Char('"')) {
        f = f.mid(1, f.size() - 2);
    }
    return f.toString();
}

}  // namespace

QString ForceCsvExtension(const QString& path) {
    const int dot = path.indexOf(QLatin1Char('.'));
    if (dot < 0) {
        return path + QStringLiteral(".csv");
    }
    return path.left(dot) + QStringLiteral(".csv");
}

QString OverwriteQuestion(const QString& finalPath, const QString& wording) {
    return QString(wording).replace(QStringLiteral("%1"), QFileInfo(finalPath).fileName());
}

QString SavedTimeLine(const QString& labTime, float lastRecord, float rangeEnd) {
    const QString hhmm = labTime.right(5);
    const double now = static_cast<double>(link::TextToSingle(hhmm.left(2))) * 60.0 +
                       static_cast<double>(link::TextToSingle(hhmm.mid(3, 2)));
    double t = now - (static_cast<double>(lastRecord) - static_cast<double>(rangeEnd)) * 10.0;
    if (t < 0) {
        // Same as adding 1440 until it is no longer negative, without looping on absurd ranges.
        t = std::fmod(t, 1440.0);
        if (t < 0) {
            t += 1440.0;
        }
    }
    t = std::min(t, 1.0e12);
    const auto minutes = static_cast<long long>(std::nearbyint(t));
    return labTime.left(std::max(0, static_cast<int>(labTime.size()) - 5)) +
           twoDigits(minutes / 60) + QLatin1Char(':') + twoDigits(minutes % 60);
}

QByteArray BuildLogCsv(const LogTableModel& table, const CsvSaveInput& input) {
    const float from = link::TextToSingle(input.rowFrom);
    const float to = link::TextToSingle(input.rowTo);
    const float last = link::TextToSingle(table.cell(table.gridRows() - 1, 0));
    QString out;
    out.reserve(64 + table.recordCount() * 32);
    out += QLatin1String(kFileTypeLine) + kCrLf;
    out += SavedTimeLine(input.labTime, last, to) + kCrLf;
    out += QStringLiteral("Desc: ") + input.description + kCrLf;
    out += LogTableModel::HeaderTexts().join(QLatin1Char(',')) + kCrLf;
    for (const LogRow& row : table.rows()) {
        const float n = link::TextToSingle(row[0]);
        if (n < from || n > to) {
            continue;
        }
        out += row[0];
        for (size_t c = 1; c < row.size(); ++c) {
            out += QLatin1Char(',') + row[c];
        }
        out += kCrLf;
    }
    return out.toUtf8();
}

FileResult WriteWholeFile(const QString& path, const QByteArray& bytes) {
    const fileio::SaveOutcome saved = fileio::SaveWholeFile(path, bytes);
    return FileResult{saved.ok, saved.reason};
}

FileResult SaveLogCsv(const QString& path, const LogTableModel& table, const CsvSaveInput& input) {
    return WriteWholeFile(path, BuildLogCsv(table, input));
}

CsvLoadResult ParseLogCsv(const QByteArray& bytes, bool bytesCut) {
    CsvLoadResult r;
    r.truncated = bytesCut;
    const QString text = decodeText(bytes.left(kMaxCsvBytes));
    if (bytes.size() > kMaxCsvBytes) {
        r.truncated = true;
    }

    int lineNo = 0;
    qsizetype pos = 0;
    const qsizetype n = text.size();
    while (pos < n || (lineNo == 0 && pos == 0)) {
        qsizetype end = pos;
        while (end < n && text.at(end) != QLatin1Char('\r') && text.at(end) != QLatin1Char('\n')) {
            ++end;
        }
        const QStringView line = QStringView(text).mid(pos, end - pos);
        // CR LF, a lone LF and a lone CR all end a line.
        pos = end;
        if (pos < n && text.at(pos) == QLatin1Char('\r')) {
            ++pos;
            if (pos < n && text.at(pos) == QLatin1Char('\n')) {
                ++pos;
            }
        } else if (pos < n) {
            ++pos;
        }
        ++lineNo;
        if (lineNo == 1) {
            if (!line.endsWith(QLatin1String("ZUN-Log"))) {
                r.status = CsvLoadResult::Status::TypeError;
                r.error = QLatin1String(kFileTypeError);
                r.truncated = false;
                return r;
            }
            continue;
        }
        if (lineNo == 2) {
            r.labTime = line.toString();
            continue;
        }
        if (lineNo == 3) {
            r.description = line.mid(6).toString();
            continue;
        }
        if (static_cast<int>(r.rows.size()) >= kMaxCsvDataLines) {
            r.truncated = true;
            break;
        }
        const auto fields = line.split(QLatin1Char(','));
        if (fields.size() < LogTableModel::kColumns) {
            continue;
        }
        const float record = link::TextToSingle(fieldText(fields[0]));
        if (!(record > 0.0f)) {
            continue;
        }
        LogRow row;
        row[0] = PlainNumberText(record);
        for (int c = 1; c < LogTableModel::kColumns; ++c) {
            row[static_cast<size_t>(c)] = fieldText(fields[c]);
        }
        r.rows.push_back(std::move(row));
    }
    r.status = CsvLoadResult::Status::Loaded;
    return r;
}

CsvLoadResult LoadLogCsv(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        CsvLoadResult r;
        r.status = CsvLoadResult::Status::ReadError;
        r.error = file.errorString();
        return r;
    }
    const QByteArray bytes = file.read(kMaxCsvBytes);
    const bool cut = !file.atEnd();
    if (file.error() != QFileDevice::NoError) {
        CsvLoadResult r;
        r.status = CsvLoadResult::Status::ReadError;
        r.error = file.errorString();
        return r;
    }
    return ParseLogCsv(bytes, cut);
}

}  // namespace zun::datalog
