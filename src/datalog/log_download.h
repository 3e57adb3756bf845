#pragma once

#include "datalog/log_table_model.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <vector>

namespace zun::link {
class Exchange;
}

namespace zun::datalog {

// Slots of the charger's log ring and the most records one block request asks for.
constexpr int kRingSlots = 4320;
constexpr int kBlockRecords = 10;

// The reply to the log-pointer request: the slot written next and whether the ring has wrapped.
struct LogPointer {
    bool answered = false;  // any reply at all; without one the streamed transfer is used
    int pointer = 0;        // always within 0..4319
    bool wrapped = false;
};

// Characters 5-8 of the reply are the pointer (16-bit), 9-10 "01" marks a wrapped ring. A
// reply without "0D" reads as an empty, unwrapped log.
LogPointer ParsePointerReply(const QString& reply);

struct LogBlock {
    int first = 0;
    int last = 0;
    friend bool operator==(const LogBlock& a, const LogBlock& b) {
        return a.first == b.first && a.last == b.last;
    }
};

// Blocks of at most ten records: wrapped N+2..4319 then 0..N (slot N+1 is never read), else
// 0..N-1.
std::vector<LogBlock> PlanBlocks(int pointer, bool wrapped);

// "850678AA" + first + last (four hex digits each) + "0D"; the request has no checksum byte.
QString BlockFrame(int first, int last);

// 4320 for a wrapped ring, else the pointer.
int ProgressTotal(int pointer, bool wrapped);

// Int(count / total * 100); -1 when total is not above 0.
int ProgressPercent(int count, int total);
// "Download: " + Int(count / total * 100) + "% finished"; empty when total is not above 0.
QString ProgressText(int count, int total);

// One record (24 hex characters, or fewer for a truncated last one) as a table row; the four
// values are hundredths written "0.00", a field that is not hex text enters as 0.
LogRow RecordRow(const QString& record, const QString& counterText);

// The records of one block reply (frame head of 8 and tail of 4 hex characters stripped). Each
// row is numbered with ++counter, formatted "0000".
std::vector<LogRow> DecodeBlockReply(const QString& reply, int& counter);

// What the window shows while the log comes in. Every member may be left empty.
struct DownloadProgress {
    std::function<void(const QString& text)> text;  // LabDownDisp caption
    std::function<void(bool visible)> visible;      // LabDownDisp visibility
    std::function<void(const LogRow& row)> row;     // each row as it is decoded
    std::function<void(int percent)> percent;       // the caption's progress as a number
};

struct DownloadResult {
    std::vector<LogRow> rows;
    bool streamed = false;  // the pointer request got no reply
    LogPointer pointer;
    int blocksRequested = 0;
    int blocksSkipped = 0;  // block requests without a reply
    // What the transfer asked for and what did not come sound. Record numbers are the
    // charger's: ring slots for block requests, 1.. for the streamed transfer.
    int recordsAsked = 0;
    std::vector<int> missing;  // asked for, never came
    std::vector<int> damaged;  // came in a reply that failed the check, or out of sequence
    QStringList problems;      // each reply that failed the check, and why
    // Set when the line did not fall quiet or the port vanished; the transfer stopped there.
    QString lineFailure;
    // The user cancelled: what is missing was never asked for, not lost on the line.
    bool cancelled = false;

    bool sound() const {
        return missing.empty() && damaged.empty() && problems.isEmpty() && lineFailure.isEmpty();
    }
};

// Record numbers as ranges of four digits: "0010-0019, 0025".
QString RecordRanges(const std::vector<int>& records);

// The wording of a download's shortfall; the window gives its language's.
struct ShortfallTexts {
    QString missing = QStringLiteral("%1 of %2 records missing (%3)");       // count, asked, ranges
    QString damaged = QStringLiteral("%1 damaged (%2)");                     // count, ranges
    QString cancelled = QStringLiteral("Cancelled: %1 of %2 records kept");  // kept, asked
};

// "12 of 144 records missing (0010-0019, 0025); 3 damaged (0040-0042)"; empty when none. A
// cancelled transfer names the records kept instead of the ones never asked for.
QString MissingDamagedText(const DownloadResult& result, const ShortfallTexts& texts = {});

// The whole download: pointer request, then block requests, or the streamed transfer when the
// pointer request goes unanswered. Finishing (time stamp, buttons, charge, chart) is left to
// FinishDownload.
DownloadResult DownloadLog(link::Exchange& exchange, const DownloadProgress& progress = {});

// Polls of 0.2 s in a row without data that end the streamed transfer (more than five).
constexpr int kStreamIdlePolls = 5;

// The streamed transfer's hard end for an expected count: bytes beyond the head and the
// records (plus a margin), and polls of 0.2 s beyond twice their wire time (plus a margin).
struct StreamLimits {
    qint64 bytes = 0;
    int polls = 0;
};
StreamLimits StreamLimitsFor(int expected);

// The older transfer: run-time request for the expected count, then the charger streams every
// record after "850356AA000D" and the rows are numbered by their own record-number field. The
// result, when given, learns what was asked for and what did not come.
std::vector<LogRow> StreamLogDownload(link::Exchange& exchange,
                                      const DownloadProgress& progress = {},
                                      DownloadResult* result = nullptr);

}  // namespace zun::datalog
