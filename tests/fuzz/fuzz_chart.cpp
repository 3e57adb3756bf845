// The chart drawn from a loaded CSV file, as the window and `zunctl chart` draw it.
#include "datalog/log_chart.h"
#include "datalog/log_csv.h"
#include "datalog/log_finish.h"

#include <QGuiApplication>
#include <QImage>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    // Fonts need the GUI side of Qt; nothing is shown.
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    static QGuiApplication app(*argc, *argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace zun::datalog;
    const CsvLoadResult r =
        ParseLogCsv(QByteArray(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)));
    if (r.status != CsvLoadResult::Status::Loaded) {
        return 0;
    }
    LogTableModel table;
    table.setRows(r.rows);
    const LogFinish f = FinishLoad(table, r.labTime);
    if (f.printEnabled && f.chargeAh.size() < r.rows.size()) {
        __builtin_trap();
    }
    const ChartData chart{table, f.chargeAh, f.labTime, r.description};
    const QImage image = RenderChartImage(chart, QSize(800, 500));
    // The frame is always drawn: the image cannot stay blank.
    bool drawn = false;
    for (int y = 0; y < image.height() && !drawn; ++y) {
        for (int x = 0; x < image.width() && !drawn; ++x) {
            drawn = image.pixel(x, y) != qRgb(255, 255, 255);
        }
    }
    if (!drawn) {
        __builtin_trap();
    }
    return 0;
}
