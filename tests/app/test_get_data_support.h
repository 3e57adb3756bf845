#pragma once

#include "app/frm_main.h"
#include "app/get_data_page.h"
#include "sim/loopback_exchange.h"
#include "sim/pty_host.h"
#include "sim/virtual_charger.h"

namespace getdata_test {

// How the window reaches the charger: its own pseudo-terminal, answering as fast as the line
// allows, or an in-process exchange where the line's timing is not what a test looks at.
enum class Line { Pty, InProcess };

// A virtual charger holding this log and the window started on it.
struct Rig {
    zun::sim::VirtualCharger charger;
    zun::sim::PtyHost host{charger};
    std::unique_ptr<zun::app::FrmMain> window;
    zun::app::GetDataPage* page = nullptr;

    explicit Rig(const zun::sim::ChargeLog& log, Line line = Line::Pty) {
        charger.setLog(log);
        zun::app::StartOptions options;
        options.systemDevices = false;
        if (line == Line::Pty) {
            host.setPacing(false);
            host.start();
            options.devices = {host.devicePath()};
        } else {
            options.devices = {QStringLiteral("charger")};
            options.exchange = [this] {
                return std::make_unique<zun::sim::LoopbackExchange>(charger);
            };
        }
        window = std::make_unique<zun::app::FrmMain>(options);
        window->Form_Load();
        page = window->getDataPage();
    }
};

// A table row as the charger stores the record: its number (four digits as downloaded, plain as
// read back from a file), then hundredths written as "0.00".
inline QStringList expectedRow(int number, const zun::sim::LogRecord& r, int digits = 4) {
    QStringList cells{QString::number(number).rightJustified(digits, QLatin1Char('0'))};
    for (int v : {r.chargerVolts, r.chargerAmps, r.battery1Volts, r.battery2Volts}) {
        cells << QString::asprintf("%d.%02d", v / 100, v % 100);
    }
    return cells;
}

inline QStringList rowCells(const zun::datalog::LogTableModel& t, int gridRow) {
    const zun::datalog::LogRow& row = t.rows().at(size_t(gridRow - 1));
    return QStringList(row.begin(), row.end());
}

}  // namespace getdata_test
