#include "datalog/log_download.h"

#include "datalog/run_time.h"
#include "link/codec.h"
#include "link/exchange.h"
#include "link/frames.h"
#include "link/reply_check.h"

#include <algorithm>
#include <cmath>

namespace zun::datalog {

namespace {

constexpr int kRecordChars = 24;
constexpr int kBlockRecordBytes = 12;
constexpr int kMinRecordChars = 12;
constexpr int kStreamHeadChars = 29;
constexpr float kStreamPollSeconds = 0.2f;
constexpr float kStreamStartWait = 0.1f;

QString counterText(int value) {
    return QString::number(value).rightJustified(4, QLatin1Char('0'));
}

qint32 fieldValue(const QString& field) {
    if (!link::IsHexText(field)) {
        return 0;
    }
    try {
        return link::HexToNumber(field);
    } catch (const link::OverflowError&) {
        return 0;
    }
}

void report(const DownloadProgress& progress, int count, int total) {
    const int percent = ProgressPercent(count, total);
    if (percent < 0) {
        return;
    }
    if (progress.text) {
        progress.text(ProgressText(count, total));
    }
    if (progress.percent) {
        progress.percent(percent);
    }
}

void emitRow(const DownloadProgress& progress, std::vector<LogRow>& rows, LogRow row) {
    rows.push_back(std::move(row));
    if (progress.row) {
        progress.row(rows.back());
    }
}

}  // namespace

LogPointer ParsePointerReply(const QString& reply) {
    LogPointer p;
    p.answered = !reply.isEmpty();
    if (!reply.contains(QLatin1String("0D"))) {
        return p;
    }
    const QString field = reply.mid(4, 4);
    const auto raw = static_cast<qint16>(static_cast<quint16>(fieldValue(field)));
    // A garbled pointer must not make the tool ask for slots the ring does not have.
    p.pointer = std::clamp<int>(raw, 0, kRingSlots - 1);
    p.wrapped = reply.mid(8, 2) == QLatin1String("01");
    return p;
}

std::vector<LogBlock> PlanBlocks(int pointer, bool wrapped) {
    const int n = std::clamp(pointer, 0, kRingSlots - 1);
    std::vector<LogBlock> blocks;
    auto range = [&blocks](int from, int end) {
        for (int i = from; i <= end; i += kBlockRecords) {
            blocks.push_back({i, (end - i) < kBlockRecords - 1 ? end : i + kBlockRecords - 1});
        }
    };
    if (wrapped) {
        range(n + 2, kRingSlots - 1);
        range(0, n);
    } else {
        range(0, n - 1);
    }
    return blocks;
}

QString BlockFrame(int first, int last) {
    return QStringLiteral("850678AA") + link::PadHex(QString::number(first, 16).toUpper(), 2) +
           link::PadHex(QString::number(last, 16).toUpper(), 2) + QStringLiteral("0D");
}

int ProgressTotal(int pointer, bool wrapped) {
    return wrapped ? kRingSlots : pointer;
}

int ProgressPercent(int count, int total) {
    if (total <= 0) {
        return -1;
    }
    return static_cast<int>(
        std::floor(static_cast<double>(count) / static_cast<double>(total) * 100.0));
}

QString ProgressText(int count, int total) {
    const int percent = ProgressPercent(count, total);
    if (percent < 0) {
        return {};
    }
    return QStringLiteral("Download: ") + QString::number(percent) + QStringLiteral("% finished");
}

LogRow RecordRow(const QString& record, const QString& counter) {
    LogRow row;
    row[0] = counter;
    for (int k = 0; k < 4; ++k) {
        const qint32 raw = fieldValue(record.mid(4 + 4 * k, 4));
        row[static_cast<size_t>(k + 1)] = link::FormatFixed(raw / 100.0, 2);
    }
    return row;
}

std::vector<LogRow> DecodeBlockReply(const QString& reply, int& counter) {
    std::vector<LogRow> rows;
    if (reply.size() <= 12) {
        return rows;
    }
    QString rest = reply.mid(8, reply.size() - 12);
    int at = 0;
    while (rest.size() - at >= kMinRecordChars) {
        ++counter;
        rows.push_back(RecordRow(rest.mid(at, kRecordChars), counterText(counter)));
        at += kRecordChars;
    }
    return rows;
}

QString RecordRanges(const std::vector<int>& records) {
    std::vector<int> sorted = records;
    std::sort(sorted.begin(), sorted.end());
    sorted.erase(std::unique(sorted.begin(), sorted.end()), sorted.end());
    QStringList parts;
    for (size_t i = 0; i < sorted.size();) {
        size_t j = i;
        while (j + 1 < sorted.size() && sorted[j + 1] == sorted[j] + 1) {
            ++j;
        }
        parts << (j == i ? counterText(sorted[i])
                         : counterText(sorted[i]) + QLatin1Char('-') + counterText(sorted[j]));
        i = j + 1;
    }
    return parts.join(QStringLiteral(", "));
}

QString MissingDamagedText(const DownloadResult& result, const ShortfallTexts& texts) {
    QStringList parts;
    if (result.cancelled && !result.missing.empty()) {
        // Not damage: the rest was never asked for.
        parts << texts.cancelled.arg(static_cast<int>(result.rows.size())).arg(result.recordsAsked);
    } else if (!result.missing.empty()) {
        parts << texts.missing.arg(result.missing.size())
                     .arg(result.recordsAsked)
                     .arg(RecordRanges(result.missing));
    }
    if (!result.damaged.empty()) {
        parts << texts.damaged.arg(result.damaged.size()).arg(RecordRanges(result.damaged));
    }
    if (parts.isEmpty() && !result.sound() && !result.cancelled) {
        parts << (result.lineFailure.isEmpty() ? result.problems.value(0) : result.lineFailure);
    }
    return parts.join(QStringLiteral("; "));
}

namespace {

void addRange(std::vector<int>& list, int from, int to) {
    for (int i = from; i <= to; ++i) {
        list.push_back(i);
    }
}

// Sorts the rows of one block reply into sound, damaged and missing records.
void accountBlock(DownloadResult& result, const LogBlock& block, const QString& frame,
                  const QString& reply, int rows) {
    const int asked = block.last - block.first + 1;
    const link::ReplyVerdict v = link::CheckReplyText(frame, reply);
    int sound = rows;
    if (v.state == link::ReplyState::Damaged) {
        sound = 0;
    } else if (v.state == link::ReplyState::Incomplete) {
        // Records that arrived whole are kept; the cut one is damaged.
        const int whole = std::max(0, (int(reply.size()) / 2 - 4) / kBlockRecordBytes);
        sound = std::min(rows, whole);
    }
    if (v.state != link::ReplyState::Complete) {
        result.problems << QStringLiteral("block %1-%2: %3")
                               .arg(counterText(block.first), counterText(block.last), v.why);
    }
    const int got = std::min(rows, asked);
    addRange(result.damaged, block.first + std::min(sound, got), block.first + got - 1);
    addRange(result.missing, block.first + got, block.last);
}

}  // namespace

DownloadResult DownloadLog(link::Exchange& exchange, const DownloadProgress& progress) {
    DownloadResult result;
    if (progress.text) {
        progress.text(QString());
    }
    const QString pointerFrame = QLatin1String(link::kLogPointerRequest);
    const QString pointerReply = exchange.SendFrame(pointerFrame);
    const link::ExchangeOutcome pointerOutcome = exchange.lastOutcome();
    result.pointer = ParsePointerReply(pointerReply);
    if (pointerOutcome.lineFailed()) {
        // A line that never falls quiet would only feed the streamed transfer the same noise.
        result.lineFailure = link::DescribeLineFailure(pointerOutcome);
        result.problems << QStringLiteral("log pointer: ") + result.lineFailure;
    } else if (!result.pointer.answered) {
        result.streamed = true;
        // The streamed transfer shows its progress where the block transfer does.
        if (progress.visible) {
            progress.visible(true);
        }
        result.rows = StreamLogDownload(exchange, progress, &result);
    } else {
        const link::ReplyVerdict v = link::CheckReplyText(pointerFrame, pointerReply);
        if (v.state != link::ReplyState::Complete) {
            result.problems << QStringLiteral("log pointer (read as %1%2): %3")
                                   .arg(result.pointer.pointer)
                                   .arg(result.pointer.wrapped ? QStringLiteral(", wrapped")
                                                               : QString(),
                                        v.why);
        }
        if (progress.visible) {
            progress.visible(true);
        }
        const int total = ProgressTotal(result.pointer.pointer, result.pointer.wrapped);
        int counter = 0;
        const std::vector<LogBlock> blocks =
            PlanBlocks(result.pointer.pointer, result.pointer.wrapped);
        for (size_t b = 0; b < blocks.size(); ++b) {
            const LogBlock& block = blocks[b];
            ++result.blocksRequested;
            result.recordsAsked += block.last - block.first + 1;
            const QString frame = BlockFrame(block.first, block.last);
            const QString reply = exchange.SendFrame(frame);
            if (reply.isEmpty()) {
                ++result.blocksSkipped;
                addRange(result.missing, block.first, block.last);
                const link::ExchangeOutcome outcome = exchange.lastOutcome();
                if (outcome.lineFailed()) {
                    // Every further block would end the same way: stop, and say what is
                    // missing.
                    result.lineFailure = link::DescribeLineFailure(outcome);
                    result.problems << QStringLiteral("block %1-%2: %3")
                                           .arg(counterText(block.first), counterText(block.last),
                                                result.lineFailure);
                    for (size_t rest = b + 1; rest < blocks.size(); ++rest) {
                        result.recordsAsked += blocks[rest].last - blocks[rest].first + 1;
                        addRange(result.missing, blocks[rest].first, blocks[rest].last);
                    }
                    break;
                }
                continue;
            }
            const int start = counter;
            std::vector<LogRow> rows = DecodeBlockReply(reply, counter);
            accountBlock(result, block, frame, reply, int(rows.size()));
            for (size_t i = 0; i < rows.size(); ++i) {
                emitRow(progress, result.rows, std::move(rows[i]));
                report(progress, start + static_cast<int>(i) + 1, total);
            }
        }
    }
    if (progress.visible) {
        progress.visible(false);
    }
    return result;
}

StreamLimits StreamLimitsFor(int expected) {
    const int records = std::clamp(expected + 1, 1, kRingSlots);
    StreamLimits limits;
    limits.bytes = link::kStreamHeadBytes + qint64(link::kStreamRecordBytes) * records + 64;
    // The margin lets the line pause as long as the idle rule allows, more than once.
    const double ms = 2.0 * link::WireMilliseconds(limits.bytes) + 5000.0;
    limits.polls = int(std::ceil(ms / (kStreamPollSeconds * 1000.0))) + kStreamIdlePolls + 1;
    return limits;
}

namespace {

// Asks for the run time, which says how many records the streamed transfer will bring. Zero
// when there is nothing to expect or the line failed.
int streamedRecordsToExpect(link::Exchange& exchange, DownloadResult* result) {
    const QString runTimeFrame = QLatin1String(link::kRunTimeRequest);
    const QString runTimeReply = exchange.SendFrame(runTimeFrame);
    const RunTimeReading runTime = DecodeRunTime(runTimeReply);
    if (result) {
        const link::ExchangeOutcome outcome = exchange.lastOutcome();
        if (outcome.lineFailed()) {
            result->lineFailure = link::DescribeLineFailure(outcome);
            result->problems << QStringLiteral("run time: ") + result->lineFailure;
            return 0;
        }
        const link::ReplyVerdict v = link::CheckReplyText(runTimeFrame, runTimeReply);
        if (!runTimeReply.isEmpty() && v.state != link::ReplyState::Complete) {
            result->problems << QStringLiteral("run time (the count of records to expect): ") +
                                    v.why;
        }
    }
    if (runTime.outcome != ReplyOutcome::Show) {
        return 0;
    }
    // The expected count is a 16-bit number; a negative run time means nothing to expect.
    return std::clamp(runTime.minutes / 10, 0, 32767);
}

// Cuts the streamed bytes into rows as they come in: first a head, then whatever precedes
// record 0001, then one record after the other.
class StreamedRecords {
public:
    StreamedRecords(int expected, const DownloadProgress& progress, DownloadResult* result)
        : expected_(expected),
          asked_(std::min(expected, kRingSlots)),
          progress_(progress),
          result_(result) {}

    // Polls the line until it falls quiet; why it had to be cut off instead, or empty.
    QString receive(link::Exchange& exchange, const StreamLimits& limits);
    // Counts the records that never came as missing and notes why the line was cut off.
    void account(const QString& failure);
    std::vector<LogRow> takeRows() { return std::move(rows_); }

private:
    enum class Phase { Head, FirstRecord, Records };

    void add(const QByteArray& bytes);
    bool reachFirstRecord();
    void takeRecord();

    const int expected_;
    const int asked_;
    const DownloadProgress& progress_;
    DownloadResult* result_;
    std::vector<LogRow> rows_;
    Phase phase_ = Phase::Head;
    int k_ = 0;  // the number the next record should carry; 0 until record 0001 is found
    QString text_;
};

QString StreamedRecords::receive(link::Exchange& exchange, const StreamLimits& limits) {
    int idle = 0;
    qint64 received = 0;
    for (int poll = 0;; ++poll) {
        if (poll >= limits.polls) {
            return QStringLiteral("the line did not fall quiet (still sending after %1 s)")
                .arg(double(limits.polls) * kStreamPollSeconds, 0, 'f', 1);
        }
        exchange.WaitSeconds(kStreamPollSeconds);
        const QByteArray bytes = exchange.ReadWaiting();
        if (bytes.isEmpty()) {
            if (!exchange.lineUp()) {
                return QStringLiteral("the port vanished during the transfer");
            }
            if (++idle > kStreamIdlePolls) {
                return QString();
            }
            continue;
        }
        idle = 0;
        received += bytes.size();
        add(bytes);
        if (received > limits.bytes) {
            return QStringLiteral(
                       "the line did not fall quiet (more than %1 bytes, the transfer of %2 "
                       "records has fewer)")
                .arg(limits.bytes)
                .arg(expected_);
        }
    }
}

void StreamedRecords::add(const QByteArray& bytes) {
    if (k_ < expected_ + 1) {
        text_ += QString::fromLatin1(bytes.toHex().toUpper());
    }
    // Everything expected may be in already; the rest only keeps the line busy.
    while (k_ < expected_ + 1) {
        if (phase_ != Phase::Records) {
            if (!reachFirstRecord()) {
                break;
            }
            continue;
        }
        if (text_.size() < kRecordChars) {
            break;
        }
        takeRecord();
    }
}

// Drops the head and what precedes record 0001; false while the text does not reach it yet.
bool StreamedRecords::reachFirstRecord() {
    if (phase_ == Phase::Head) {
        if (text_.size() < kRecordChars) {
            return false;
        }
        text_.remove(0, kStreamHeadChars);
        phase_ = Phase::FirstRecord;
    }
    const int first = text_.indexOf(QLatin1String("0001"));
    if (first < 0) {
        // The number may be split across two reads: keep its possible beginning.
        text_ = text_.right(3);
        return false;
    }
    text_.remove(0, first);
    phase_ = Phase::Records;
    k_ = 1;
    return true;
}

void StreamedRecords::takeRecord() {
    const QString record = text_.left(kRecordChars);
    const int number = fieldValue(record.left(4));
    emitRow(progress_, rows_, RecordRow(record, counterText(number)));
    if (result_ && number != k_ && k_ <= asked_) {
        // Out of sequence: a lost or stray byte has shifted the records.
        result_->damaged.push_back(k_);
    }
    text_.remove(0, kRecordChars);
    report(progress_, k_, expected_);
    ++k_;
}

void StreamedRecords::account(const QString& failure) {
    if (!result_) {
        return;
    }
    const int came = std::max(0, k_ - 1);
    addRange(result_->missing, came + 1, asked_);
    if (!failure.isEmpty()) {
        result_->lineFailure = failure;
        result_->problems << QStringLiteral("streamed transfer: ") + failure;
    }
}

}  // namespace

std::vector<LogRow> StreamLogDownload(link::Exchange& exchange, const DownloadProgress& progress,
                                      DownloadResult* result) {
    const int expected = streamedRecordsToExpect(exchange, result);
    if (expected == 0) {
        return {};
    }
    if (result) {
        result->recordsAsked = std::min(expected, kRingSlots);
    }
    const StreamLimits limits = StreamLimitsFor(expected);
    exchange.WaitSeconds(kStreamStartWait);
    exchange.ResetAndWrite(QByteArray::fromHex(QByteArray(link::kStreamRequest)));
    StreamedRecords records(expected, progress, result);
    records.account(records.receive(exchange, limits));
    return records.takeRows();
}

}  // namespace zun::datalog
