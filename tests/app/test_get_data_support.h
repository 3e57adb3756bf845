#pragma once

#include "app/frm_main.h"
#include "app/get_data_page.h"
#include "app/log_chart_view.h"
#include "datalog/log_chart.h"
#include "sim/charge_log.h"
#include "sim/pty_host.h"
#include "sim/virtual_charger.h"

#include <QFile>
#include <QImage>
#include <QRegularExpression>
#include <QStringList>

#include <memory>

namespace getdata_test {

// One virtual charger on its own pseudo-terminal, answering as fast as the line allows.
struct Charger {
    zun::sim::VirtualCharger charger;
    zun::sim::PtyHost host{charger};
    Charger() {
        host.setPacing(false);
        host.start();
    }
    QString device() const { return host.devicePath(); }
};

inline std::unique_ptr<zun::app::FrmMain> startWindow(const QStringList& devices) {
    zun::app::StartOptions options;
    options.devices = devices;
    options.systemDevices = false;
    auto w = std::make_unique<zun::app::FrmMain>(options);
    w->Form_Load();
    return w;
}

// A value in hundredths as the table shows it ("0.00"), written out digit by digit.
inline QString hundredthsText(int v) {
    const QString sign = v < 0 ? QStringLiteral("-") : QString();
    v = v < 0 ? -v : v;
    return sign + QString::number(v / 100) + QLatin1Char('.') +
           QString::number(v % 100).rightJustified(2, QLatin1Char('0'));
}

// The four value cells of a record as the charger stores it.
inline QStringList valueCells(const zun::sim::LogRecord& r) {
    return {hundredthsText(r.chargerVolts), hundredthsText(r.chargerAmps),
            hundredthsText(r.battery1Volts), hundredthsText(r.battery2Volts)};
}

inline QStringList rowCells(const zun::datalog::LogTableModel& t, int gridRow) {
    QStringList cells;
    for (int c = 0; c < zun::datalog::LogTableModel::kColumns; ++c) {
        cells << t.cell(gridRow, c);
    }
    return cells;
}

// Pixels of each curve colour inside the plot frame, where only the grid and the curves are
// drawn (the scale labels of the same colours stand outside it).
struct CurvePixels {
    int voltage = 0;
    int current = 0;
    int charge = 0;
};

inline CurvePixels countCurvePixels(const QImage& image, const QRectF& frame) {
    CurvePixels n;
    const QRect inner = frame.toAlignedRect().adjusted(3, 3, -3, -3).intersected(image.rect());
    for (int y = inner.top(); y <= inner.bottom(); ++y) {
        for (int x = inner.left(); x <= inner.right(); ++x) {
            const QRgb p = image.pixel(x, y) | 0xFF000000;
            n.voltage += p == zun::datalog::kVoltageColour;
            n.current += p == zun::datalog::kCurrentColour;
            n.charge += p == zun::datalog::kChargeColour;
        }
    }
    return n;
}

inline CurvePixels countCurvePixels(const QImage& image) {
    return countCurvePixels(image, zun::datalog::ChartFrameRect(image, QRectF(image.rect())));
}

// Page objects of a PDF ("/Type /Page", not "/Type /Pages").
inline int pdfPageCount(const QByteArray& pdf) {
    static const QRegularExpression page(QStringLiteral("/Type\\s*/Page(?![A-Za-z])"));
    int n = 0;
    auto it = page.globalMatch(QString::fromLatin1(pdf));
    while (it.hasNext()) {
        it.next();
        ++n;
    }
    return n;
}

// Width and height of the first /MediaBox of a PDF, in points.
inline QSizeF pdfMediaBox(const QByteArray& pdf) {
    static const QRegularExpression box(
        QStringLiteral("/MediaBox\\s*\\[\\s*([-\\d.]+)\\s+([-\\d.]+)\\s+([-\\d.]+)\\s+([-\\d.]+)"));
    const auto m = box.match(QString::fromLatin1(pdf));
    if (!m.hasMatch()) {
        return {};
    }
    return {m.captured(3).toDouble() - m.captured(1).toDouble(),
            m.captured(4).toDouble() - m.captured(2).toDouble()};
}

inline QByteArray readAll(const QString& path) {
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly)) {
        return {};
    }
    return f.readAll();
}

inline bool writeAll(const QString& path, const QByteArray& bytes) {
    QFile f(path);
    return f.open(QIODevice::WriteOnly) && f.write(bytes) == bytes.size();
}

}  // namespace getdata_test
