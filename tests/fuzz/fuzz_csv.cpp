#include "datalog/charge_ah.h"
#include "datalog/chart_scales.h"
#include "datalog/log_csv.h"
#include "datalog/stage_marks.h"
#include "link/codec.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

using namespace zun::datalog;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const CsvLoadResult r = ParseLogCsv(bytes);
    if (r.status != CsvLoadResult::Status::Loaded) {
        // A refused file must leave nothing to load.
        if (!r.rows.empty() || !r.labTime.isEmpty() || !r.description.isEmpty()) {
            __builtin_trap();
        }
        return 0;
    }
    if (r.rows.size() > static_cast<size_t>(kMaxCsvDataLines)) {
        __builtin_trap();
    }
    std::vector<float> volts;
    std::vector<float> amps;
    for (const LogRow& row : r.rows) {
        // Only records numbered above 0 are loaded, and no cell can hold a separator.
        if (!(zun::link::TextToSingle(row[0]) > 0.0f)) {
            __builtin_trap();
        }
        for (const QString& cell : row) {
            if (cell.contains(QLatin1Char(',')) || cell.contains(QLatin1Char('\r')) ||
                cell.contains(QLatin1Char('\n'))) {
                __builtin_trap();
            }
        }
        volts.push_back(zun::link::TextToSingle(row[1]));
        amps.push_back(zun::link::TextToSingle(row[2]));
    }
    // What the chart does with whatever a file holds must stay bounded.
    const std::vector<float> ah = ComputeChargeAh(r.rows);
    if (!volts.empty()) {
        const auto [vLo, vHi] = std::minmax_element(volts.begin(), volts.end());
        const auto [iLo, iHi] = std::minmax_element(amps.begin(), amps.end());
        const auto [aLo, aHi] = std::minmax_element(ah.begin(), ah.end());
        const ChartScales s = ComputeChartScales(*vLo, *vHi, *iLo, *iHi, *aLo, *aHi);
        if (s.D < 1 || s.D > 20 || s.vTop <= s.vBottom || s.iTop <= s.iBottom ||
            !(s.ahTop > s.ahBottom)) {
            __builtin_trap();
        }
    }
    for (const StageMark& m : FindStageMarks(volts, amps)) {
        if (m.index < 1 || static_cast<size_t>(m.index) >= volts.size()) {
            __builtin_trap();
        }
    }

    // Saved over its whole range and loaded again, a loaded file gives the same table. The save
    // writes cells without quoting, as the format has it, so a cell that was loaded from quotes
    // with blanks or quotes of its own inside cannot come back: such files are left out.
    for (const LogRow& row : r.rows) {
        for (const QString& cell : row) {
            if (cell != cell.trimmed() ||
                (cell.startsWith(QLatin1Char('"')) && cell.endsWith(QLatin1Char('"')))) {
                return 0;
            }
        }
    }
    CsvSaveInput in{r.labTime, r.description, QString(), QString()};
    if (!r.rows.empty()) {
        size_t lo = 0;
        size_t hi = 0;
        for (size_t i = 1; i < r.rows.size(); ++i) {
            const float n = zun::link::TextToSingle(r.rows[i][0]);
            lo = n < zun::link::TextToSingle(r.rows[lo][0]) ? i : lo;
            hi = n > zun::link::TextToSingle(r.rows[hi][0]) ? i : hi;
        }
        in.rowFrom = r.rows[lo][0];
        in.rowTo = r.rows[hi][0];
    }
    LogTableModel table;
    table.setRows(r.rows);
    const CsvLoadResult again = ParseLogCsv(BuildLogCsv(table, in));
    if (again.status != CsvLoadResult::Status::Loaded || again.rows != r.rows ||
        again.description != r.description) {
        __builtin_trap();
    }
    return 0;
}
