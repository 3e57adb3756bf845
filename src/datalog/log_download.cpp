#include "datalog/log_download.h"

#include "datalog/run_time.h"
#include "link/codec.h"
#include "link/exchange.h"
#include "link/frames.h"

#include <algorithm>
#include <cmath>

namespace zun::datalog {

namespace {

constexpr int kRecordChars = 24;
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

void report(const DownloadProgress& progress, const QString& text) {
    if (progress.text && !text.isEmpty()) {
        progress.text(text);
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

QString ProgressText(int count, int total) {
    if (total <= 0) {
        return {};
    }
    const auto percent = static_cast<long long>(
        std::floor(static_cast<double>(count) / static_cast<double>(total) * 100.0));
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

DownloadResult DownloadLog(link::Exchange& exchange, const DownloadProgress& progress) {
    DownloadResult result;
    if (progress.text) {
        progress.text(QString());
    }
    const QString pointerReply = exchange.SendFrame(QLatin1String(link::kLogPointerRequest));
    result.pointer = ParsePointerReply(pointerReply);
    if (!result.pointer.answered) {
        result.streamed = true;
        result.rows = StreamLogDownload(exchange, progress);
    } else {
        if (progress.visible) {
            progress.visible(true);
        }
        const int total = ProgressTotal(result.pointer.pointer, result.pointer.wrapped);
        int counter = 0;
        for (const LogBlock& block : PlanBlocks(result.pointer.pointer, result.pointer.wrapped)) {
            ++result.blocksRequested;
            const QString reply = exchange.SendFrame(BlockFrame(block.first, block.last));
            if (reply.isEmpty()) {
                ++result.blocksSkipped;
                continue;
            }
            const int start = counter;
            std::vector<LogRow> rows = DecodeBlockReply(reply, counter);
            for (size_t i = 0; i < rows.size(); ++i) {
                emitRow(progress, result.rows, std::move(rows[i]));
                report(progress, ProgressText(start + static_cast<int>(i) + 1, total));
            }
        }
    }
    if (progress.visible) {
        progress.visible(false);
    }
    return result;
}

std::vector<LogRow> StreamLogDownload(link::Exchange& exchange, const DownloadProgress& progress) {
    std::vector<LogRow> rows;
    const RunTimeReading runTime =
        DecodeRunTime(exchange.SendFrame(QLatin1String(link::kRunTimeRequest)));
    if (runTime.outcome != ReplyOutcome::Show) {
        return rows;
    }
    // The expected count is a 16-bit number; a negative run time means nothing to expect.
    const int expected = std::clamp(runTime.minutes / 10, 0, 32767);
    if (expected == 0) {
        return rows;
    }
    exchange.WaitSeconds(kStreamStartWait);
    QString text;
    exchange.ResetAndWrite(QByteArray::fromHex(QByteArray(link::kStreamRequest)));

    enum class Phase { Head, FirstRecord, Records } phase = Phase::Head;
    int k = 0;
    int idle = 0;
    for (int poll = 0; poll < kStreamMaxPolls; ++poll) {
        exchange.WaitSeconds(kStreamPollSeconds);
        const QByteArray bytes = exchange.ReadWaiting();
        if (bytes.isEmpty()) {
            if (++idle > kStreamIdlePolls) {
                break;
            }
            continue;
        }
        idle = 0;
        if (k >= expected + 1) {
            continue;  // everything expected is in; the rest only keeps the line busy
        }
        text += QString::fromLatin1(bytes.toHex().toUpper());
        while (k < expected + 1) {
            if (phase == Phase::Head) {
                if (text.size() < kRecordChars) {
                    break;
                }
                text.remove(0, kStreamHeadChars);
                phase = Phase::FirstRecord;
            }
            if (phase == Phase::FirstRecord) {
                const int first = text.indexOf(QLatin1String("0001"));
                if (first < 0) {
                    // The number may be split across two reads: keep its possible beginning.
                    text = text.right(3);
                    break;
                }
                text.remove(0, first);
                phase = Phase::Records;
                k = 1;
                continue;
            }
            if (text.size() < kRecordChars) {
                break;
            }
            const QString record = text.left(kRecordChars);
            emitRow(progress, rows, RecordRow(record, counterText(fieldValue(record.left(4)))));
            text.remove(0, kRecordChars);
            report(progress, ProgressText(k, expected));
            ++k;
        }
    }
    return rows;
}

}  // namespace zun::datalog
