// Chart redraw and CSV save/load of a full log. Prints figures; asserts nothing.
#include "bench_util.h"
#include "datalog/charge_ah.h"
#include "datalog/log_chart.h"
#include "datalog/log_csv.h"
#include "datalog/log_table_model.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QPainter>
#include <QTemporaryDir>

#include <cmath>
#include <cstdio>

using namespace zun::datalog;

namespace {

// Days of a 24 V charger: bulk, absorption and float, with a little ripple.
std::vector<LogRow> makeLog(int records) {
    std::vector<LogRow> rows;
    rows.reserve(static_cast<size_t>(records));
    for (int i = 0; i < records; ++i) {
        const int p = i % 144;
        double v;
        double a;
        if (p < 36) {
            v = 25.0 + 3.8 * std::sqrt((p + 1) / 36.0);
            a = 20.0;
        } else if (p < 60) {
            v = 28.8;
            a = 0.6 + 19.4 * std::exp(-(p - 36) / 7.0);
        } else {
            v = 27.2;
            a = 0.5;
        }
        v += 0.02 * std::sin(i * 1.7);
        a += 0.05 * std::cos(i * 2.3);
        rows.push_back({QString::number(i + 1).rightJustified(4, '0'), QString::number(v, 'f', 2),
                        QString::number(a, 'f', 2), QString::number(v - 0.1, 'f', 2),
                        QString::number(v - 0.12, 'f', 2)});
    }
    return rows;
}

}  // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QGuiApplication app(argc, argv);
    const QStringList args = app.arguments();
    const int records = bench::option(args, "--records", "4320").toInt();
    const int repeat = std::max(1, bench::option(args, "--repeat", "15").toInt());
    const QString savePng = bench::option(args, "--save-chart", "");
    const QString savePdf = bench::option(args, "--save-pdf", "");

    LogTableModel table;
    table.setRows(makeLog(records));
    const std::vector<float> ah = ComputeChargeAh(table);
    const ChartData data{table, ah, "Time: 21/11/2026 11:30", "Bench log, 24 V bank"};

    QImage image(1920, 1080, QImage::Format_RGB32);
    image.setDotsPerMeterX(3780);
    image.setDotsPerMeterY(3780);
    std::vector<double> draw;
    for (int i = 0; i < repeat + 1; ++i) {
        QElapsedTimer t;
        t.start();
        QPainter p(&image);
        DrawLogChart(p, QRectF(image.rect()), data);
        p.end();
        if (i > 0) {  // the first one loads fonts
            draw.push_back(t.nsecsElapsed() / 1e6);
        }
    }
    std::printf(
        "chart redraw, %d records, 1920x1080 image: median %.2f ms (min %.2f, max %.2f, "
        "%d runs)\n",
        records, bench::median(draw), *std::min_element(draw.begin(), draw.end()),
        *std::max_element(draw.begin(), draw.end()), repeat);

    QTemporaryDir dir;
    const QString path = dir.filePath("bench.csv");
    const CsvSaveInput in{data.labTime, data.description, "1", QString::number(records)};
    std::vector<double> save;
    std::vector<double> load;
    size_t loaded = 0;
    for (int i = 0; i < repeat; ++i) {
        QElapsedTimer t;
        t.start();
        const FileResult r = SaveLogCsv(path, table, in);
        save.push_back(t.nsecsElapsed() / 1e6);
        if (!r.ok) {
            std::printf("save failed: %s\n", qPrintable(r.error));
            return 1;
        }
        t.restart();
        const CsvLoadResult l = LoadLogCsv(path);
        load.push_back(t.nsecsElapsed() / 1e6);
        loaded = l.rows.size();
    }
    std::printf("CSV save, %d records: median %.2f ms\n", records, bench::median(save));
    std::printf("CSV load, %zu records: median %.2f ms\n", loaded, bench::median(load));

    if (!savePng.isEmpty()) {
        const FileResult r = SaveChartPng(data, QSize(1920, 1080), savePng);
        std::printf("chart image %s: %s\n", qPrintable(savePng),
                    r.ok ? "written" : qPrintable(r.error));
    }
    if (!savePdf.isEmpty()) {
        const FileResult r = ExportChartPdf(data, savePdf);
        std::printf("chart PDF %s: %s\n", qPrintable(savePdf),
                    r.ok ? "written" : qPrintable(r.error));
    }
    std::printf("peak RSS: %.1f MiB\n", bench::peakRssMiB());
    return 0;
}
