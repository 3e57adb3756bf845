#pragma once

#include "app/window_state.h"
#include "session/charger_session.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QWidget>

#include <array>

namespace zun::app {

class ProfileEditor;

// "General Setting": the nominal battery voltage and the battery data Txt0(1..5), written with
// command 0x51.
class GeneralPage : public QWidget {
    Q_OBJECT
public:
    GeneralPage(ProfileEditor& editor, WindowState& state, QWidget* parent = nullptr);

    void Cmb0NV_Click();
    void Txt0_Change(int Index);
    void Txt0_KeyUp(int Index, int KeyCode);
    void Txt0_LostFocus(int Index);
    void CmdOK0_Click();
    // This page as one step of a write; its frame is built from the boxes when its turn comes.
    session::PageWrite pageWrite();
    // The charger took the page: the nominal voltage list settles on the value written.
    void Acknowledged();

    QComboBox* Cmb0NV = nullptr;
    std::array<QLineEdit*, 6> Txt0{};  // Txt0(1)..Txt0(5); there is no Txt0(0)
    std::array<QLabel*, 14> Lab0{};
    QPushButton* CmdOK0 = nullptr;

private:
    std::optional<QStringList> buildFrames();
    ProfileEditor& editor_;
    WindowState& state_;
};

}  // namespace zun::app
