#pragma once

#include "app/window_state.h"
#include "session/charger_session.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QWidget>

#include <array>

namespace zun::app {

class ProfileEditor;

// "Protection setting": the limits that end a charge, Txt1(0..4), written with command 0x52.
class ProtectionPage : public QWidget {
    Q_OBJECT
public:
    ProtectionPage(ProfileEditor& editor, WindowState& state, QWidget* parent = nullptr);

    void Txt1_Change(int Index);
    void Txt1_KeyUp(int Index, int KeyCode);
    void Txt1_LostFocus(int Index);
    void CmdOK1_Click();
    // This page as one step of a write; its frame is built from the boxes when its turn comes.
    session::PageWrite pageWrite();

    std::array<QLineEdit*, 5> Txt1{};
    std::array<QLabel*, 12> Lab1{};  // Lab1(k + 1) captions Txt1(k); Lab1(0) is the editor's
    QPushButton* CmdOK1 = nullptr;

private:
    std::optional<QStringList> buildFrames();
    ProfileEditor& editor_;
    WindowState& state_;
};

}  // namespace zun::app
