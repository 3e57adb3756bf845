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

class QGridLayout;

namespace zun::app {

class ProfileEditor;

enum class ConditionKind {
    Next,  // "Next Stage Condition": Cmb3Type, Txt3, LabNext, CmdOK3, command 0x54
    Any,   // "Any Stage Condition": Cmb4Type, Txt4, LabAny, Cmb4SN, CmdOK4, command 0x55
};

// One condition page: a grid of 7 transitions by 8 condition kinds, cell = stage * 8 + slot,
// each a type combo box and a value box. Both condition pages are this class; the any-stage
// page adds the target list Cmb4SN of each stage and runs no consistency check.
class ConditionPage : public QWidget {
    Q_OBJECT
public:
    ConditionPage(ConditionKind kind, ProfileEditor& editor, WindowState& state,
                  QWidget* parent = nullptr);

    ConditionKind kind() const { return kind_; }

    void CmbType_Click(int Index);
    void Txt_Change(int Index);
    void Txt_KeyUp(int Index, int KeyCode);
    void Txt_LostFocus(int Index);
    void CmdOK_Click();
    // This page as one step of a write: one frame per stage, built when its turn comes. The
    // any-stage page's unanswered stages are accepted silently.
    session::PageWrite pageWrite();
    // The write of this page has ended, however it went.
    void WriteEnded();

    // The window's names of the same handlers.
    void Cmb3Type_Click(int Index) { CmbType_Click(Index); }
    void Cmb4Type_Click(int Index) { CmbType_Click(Index); }
    void Txt3_Change(int Index) { Txt_Change(Index); }
    void Txt4_Change(int Index) { Txt_Change(Index); }
    void Txt3_KeyUp(int Index, int KeyCode) { Txt_KeyUp(Index, KeyCode); }
    void Txt4_KeyUp(int Index, int KeyCode) { Txt_KeyUp(Index, KeyCode); }
    void Txt3_LostFocus(int Index) { Txt_LostFocus(Index); }
    void Txt4_LostFocus(int Index) { Txt_LostFocus(Index); }
    void CmdOK3_Click() { CmdOK_Click(); }
    void CmdOK4_Click() { CmdOK_Click(); }

    // Start-up: every type "none", every value box empty, every target list at its first entry.
    void InitPage();
    // The stage count's part of the page: the columns of existing transitions are shown with
    // their captions, the others hidden.
    void ShowColumns(int stageCount);
    // Any-stage page: refills every Cmb4SN with the other stages' numbers and selects the
    // target stored in the current profile.
    void FillTargets(int stageCount);
    // Selects the Cmb4SN entry of the stored zero-based target; left as it is when none matches.
    void SelectStoredTarget(int stage, const QString& storedTarget);

    std::array<int, profile::kCellCount> types() const;
    profile::ConditionGrid grid() const;
    profile::AnyCondFields anyPage() const;
    // Visibility of each transition's column, as the stage count set it.
    const std::array<bool, profile::kMaxStages>& columnShown() const { return shown_; }

    std::array<QComboBox*, profile::kCellCount> CmbType{};  // Cmb3Type / Cmb4Type
    std::array<QLineEdit*, profile::kCellCount> Txt{};      // Txt3 / Txt4
    std::array<QLabel*, profile::kMaxStages> LabCol{};      // LabNext / LabAny
    std::array<QComboBox*, profile::kMaxStages> Cmb4SN{};   // any-stage page only
    std::array<QLabel*, profile::kSlotCount> RowLabel{};    // Label3(0..7) / Label3(8..15)
    QLabel* Title = nullptr;                                // Label3(17) / Label3(19)
    QLabel* Note = nullptr;                                 // Label3(16) / Label3(20)
    QLabel* TargetLabel = nullptr;                          // Label3(18)
    QPushButton* CmdOKn = nullptr;                          // CmdOK3 / CmdOK4

private:
    QWidget* buildGrid();
    void addStageColumn(QGridLayout* grid, int stage);
    void connectCells();
    std::optional<QStringList> buildFrames();
    using MemoryTable = QString& (profile::ProfileMemory::*)(int, int);
    MemoryTable table() const;
    QString columnCaption(int stage, int stageCount) const;
    // The condition types and the column captions in the language in use.
    void retranslate();
    void setCellUsed(int Index, bool used);

    ConditionKind kind_;
    ProfileEditor& editor_;
    WindowState& state_;
    std::array<bool, profile::kMaxStages> shown_{};
    int captionStages_ = -1;  // the stage count the column captions name; -1 before one
};

}  // namespace zun::app
