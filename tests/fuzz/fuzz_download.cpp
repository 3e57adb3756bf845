// The whole log download over a line that answers with whatever the input holds: the pointer
// request, the block plan and its replies, or the streamed transfer with its reads.
#include "datalog/charge_ah.h"
#include "datalog/log_download.h"
#include "datalog/log_finish.h"
#include "link/exchange.h"

#include <QDateTime>
#include <QRegularExpression>

#include <cstddef>
#include <cstdint>

namespace {

// The input is a list of chunks, each a length byte and that many bytes. SendFrame answers with
// the next chunk as hex text, ReadWaiting returns the next chunk; an empty chunk is silence.
class ScriptedLine : public zun::link::Exchange {
public:
    ScriptedLine(const uint8_t* data, size_t size) : data_(data), size_(size) {}

    QString SendFrame(const QString& frame) override {
        ++sent;
        frames << frame;
        return QString::fromLatin1(next().toHex().toUpper());
    }
    void WaitSeconds(float) override {}
    bool ResetAndWrite(const QByteArray&) override {
        ++resets;
        return true;
    }
    QByteArray ReadWaiting() override {
        ++reads;
        return next();
    }

    int sent = 0;
    int resets = 0;
    int reads = 0;
    QStringList frames;

private:
    QByteArray next() {
        if (at_ >= size_) {
            return {};
        }
        const size_t n = std::min<size_t>(data_[at_], size_ - at_ - 1);
        const QByteArray chunk(reinterpret_cast<const char*>(data_ + at_ + 1),
                               static_cast<qsizetype>(n));
        at_ += n + 1;
        return chunk;
    }

    const uint8_t* data_;
    size_t size_;
    size_t at_ = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace zun::datalog;
    static const QRegularExpression value(QStringLiteral("^-?\\d+\\.\\d\\d$"));
    ScriptedLine line(data, size);
    const DownloadResult r = DownloadLog(line);
    if (r.pointer.pointer < 0 || r.pointer.pointer >= kRingSlots) {
        __builtin_trap();
    }
    if (r.streamed) {
        // The run-time request at most; the reads end at the transfer's own bound (a hang is
        // caught by the fuzzer's time limit).
        if (line.sent > 2 || r.rows.size() > 32767) {
            __builtin_trap();
        }
    } else {
        // One block request per planned block, each as the plan gives it, and rows numbered
        // 0001, 0002, ... in the order they came in.
        const std::vector<LogBlock> plan = PlanBlocks(r.pointer.pointer, r.pointer.wrapped);
        if (r.blocksRequested != static_cast<int>(plan.size()) ||
            line.sent != 1 + r.blocksRequested || r.blocksSkipped > r.blocksRequested ||
            line.resets != 0) {
            __builtin_trap();
        }
        for (size_t i = 0; i < plan.size(); ++i) {
            if (line.frames.at(static_cast<qsizetype>(i) + 1) !=
                BlockFrame(plan[i].first, plan[i].last)) {
                __builtin_trap();
            }
        }
        for (size_t i = 0; i < r.rows.size(); ++i) {
            if (r.rows[i][0] != QString::number(i + 1).rightJustified(4, QLatin1Char('0'))) {
                __builtin_trap();
            }
        }
    }
    for (const LogRow& row : r.rows) {
        for (size_t c = 1; c < row.size(); ++c) {
            if (!value.match(row[c]).hasMatch()) {
                __builtin_trap();
            }
        }
    }
    LogTableModel table;
    table.setRows(r.rows);
    const LogFinish f =
        FinishDownload(table, QDateTime(QDate(2026, 11, 21), QTime(20, 37)), QLocale::c());
    if (f.saveEnabled != !r.rows.empty()) {
        __builtin_trap();
    }
    return 0;
}
