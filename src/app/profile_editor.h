#pragma once

#include "app/window_state.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QTabWidget>
#include <QWidget>

namespace zun::app {

// The charge-profile area (Tab1 page 0): profile choice, "Atuo set 0", the five settings pages
// in Tab2 and the write-all button.
class ProfileEditor : public QWidget {
    Q_OBJECT
public:
    ProfileEditor(WindowState& state, QWidget* parent = nullptr);

    // Start-up: empty every settings box, condition types to "none", targets to their first entry.
    void InitPages();
    // Shows the chosen profile on every page.
    void CmbPN_Click();
    // The nominal-voltage list of the General Setting page.
    QComboBox* nominalVoltage() const { return Cmb0NV; }
    void Cmb0NV_Click();

    QTabWidget* Tab2 = nullptr;
    QComboBox* CmbPN = nullptr;
    QCheckBox* Check1 = nullptr;
    QPushButton* CmdOK = nullptr;

private:
    WindowState& state_;
    QComboBox* Cmb0NV = nullptr;
};

}  // namespace zun::app
