#pragma once

#include "app/window_state.h"

#include <QTableView>
#include <QWidget>

namespace zun::app {

// The Get Data page (Tab1 page 1): run time, live readings, the data log table and chart.
class GetDataPage : public QWidget {
    Q_OBJECT
public:
    GetDataPage(WindowState& state, QWidget* parent = nullptr);

    // Start-up: the log table's header texts, widths and alignment.
    void InitLogTable();
    // Rearranges the page's controls and redraws the chart.
    void ArrangeLayout();

    QTableView* FG1 = nullptr;

private:
    WindowState& state_;
};

}  // namespace zun::app
