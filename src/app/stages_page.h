#pragma once

#include "app/window_state.h"
#include "profile/page_frames.h"
#include "session/charger_session.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QWidget>

#include <array>

namespace zun::app {

class ProfileEditor;

// "Charge Stage": the number of stages and each stage's voltage and current, written with
// command 0x53. The stage count also shapes both condition pages.
class StagesPage : public QWidget {
    Q_OBJECT
public:
    StagesPage(ProfileEditor& editor, WindowState& state, QWidget* parent = nullptr);

    void Cmb2Total_Click();
    void Txt2_Change(int Index);
    void Txt2_KeyUp(int Index, int KeyCode);
    void Txt2_LostFocus(int Index);
    void CmdOK2_Click();
    // This page as one step of a write; its frame is built from the boxes when its turn comes.
    session::PageWrite pageWrite();

    // The number of stages the pages work with (0 while none is chosen).
    int stageCount() const;
    std::array<QString, profile::kStageFieldCount> texts() const;
    // Whether stage s (0-based) is shown; the stage count decides it.
    bool stageShown(int stage) const { return shown_.at(stage); }

    QComboBox* Cmb2Total = nullptr;
    std::array<QLineEdit*, profile::kStageFieldCount> Txt2{};
    // 0 title, 1 "Number of stages :", 2 note; stage s: 3s+3 caption, 3s+4 "V", 3s+5 "A".
    std::array<QLabel*, 27> Lab2{};
    QPushButton* CmdOK2 = nullptr;

private:
    std::optional<QStringList> buildFrames();
    ProfileEditor& editor_;
    WindowState& state_;
    std::array<bool, profile::kMaxStages> shown_{};
};

}  // namespace zun::app
