#pragma once

#include "app/window_state.h"

#include <QPlainTextEdit>
#include <QPushButton>
#include <QString>
#include <QWidget>

#include <array>

namespace zun::app {

// The top of the Get Data page: "Charger V I" and "Total Run Time" with their reading boxes.
// The buttons keep the page's indices: CmdGetOK(0) is the run time, CmdGetOK(1) the readings.
class ReadingsPanel : public QWidget {
    Q_OBJECT
public:
    explicit ReadingsPanel(WindowState& state, QWidget* parent = nullptr);

    // Asks the charger and shows the answer; a reply that says nothing leaves the box as it is.
    void RunTime();
    void LiveReading();

    // The exact text last put in TxtGet(index), CR LF included.
    QString boxText(int index) const;
    void setBoxText(int index, const QString& text);
    // Lines the buttons up with the "Data Log" button below the panel.
    void setButtonWidth(int width);
    int buttonWidth() const;

    std::array<QPushButton*, 2> CmdGetOK{};
    std::array<QPlainTextEdit*, 2> TxtGet{};

private:
    WindowState& state_;
    std::array<QString, 2> texts_;
};

}  // namespace zun::app
