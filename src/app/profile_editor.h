#pragma once

#include "app/event_helpers.h"
#include "app/window_state.h"
#include "profile/consistency_check.h"
#include "session/charger_session.h"

#include <QCheckBox>
#include <QColor>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTabWidget>
#include <QWidget>

#include <functional>

namespace zun::app {

class GeneralPage;
class ProtectionPage;
class StagesPage;
class ConditionPage;

// The charge-profile area (Tab1 page 0): profile choice, "Atuo set 0", the five settings pages
// in Tab2 and the write-all button. The pages share the window state and reach each other
// through this editor.
class ProfileEditor : public QWidget {
    Q_OBJECT
public:
    ProfileEditor(WindowState& state, QWidget* parent = nullptr);
    ~ProfileEditor() override;

    // Start-up: empty every settings box, condition types to "none", targets to their first entry.
    void InitPages();
    // Shows the chosen profile on every page.
    void CmbPN_Click();
    // The nominal-voltage list of the General Setting page.
    QComboBox* nominalVoltage() const;
    void Cmb0NV_Click();
    // "Atuo set 0", on every click whether the box becomes checked or not.
    void Check1_Click();
    // Writes all pages in turn.
    void CmdOK_Click();
    // What the window does once the charger has taken (or not) one page of a write.
    void PageWritten(const session::PageResult& result);
    // The pages' own write buttons, off while the log transfer holds the line.
    void LockWrites(bool locked);
    // Recolours the entries that depend on each other and enables CmdOK only when consistent.
    void CheckConsistency();

    GeneralPage* general() const { return general_; }
    ProtectionPage* protection() const { return protection_; }
    StagesPage* stages() const { return stages_; }
    ConditionPage* nextCond() const { return nextCond_; }
    ConditionPage* anyCond() const { return anyCond_; }

    // CmbPN list position; -1 while no profile is chosen.
    int currentProfile() const { return CmbPN->currentIndex(); }
    bool chargerIdentified() const { return !state_.ChargerModel.isEmpty(); }

    // The store hook of every page: writes into the current profile's row, unless the pages
    // are being filled from a profile or no profile is chosen.
    using MemoryTable = QString& (profile::ProfileMemory::*)(int, int);
    void Store(MemoryTable table, int entry, const QString& text);

    // Every message box of the profile pages goes through here. While messageHook is set it
    // receives the text instead of a modal box being shown.
    void ShowMessage(const QString& text);
    std::function<void(const QString&)> messageHook;

    // Moves the focus out of w (or its children) to a neutral place before w is disabled or
    // hidden, so that Qt does not push it into a settings box whose corrections would then run.
    void ParkFocus(QWidget* w);
    // A page of Tab2 was chosen.
    void Tab2_Click();
    // Enter in a box: the focus moves on to the next control that can take it.
    void FocusNext(QWidget* from);

    // The window's GotFocus / LostFocus / KeyUp events of a settings box: focus-in selects the
    // whole text, focus-out runs lostFocus, a key release runs keyUp with the key code.
    void WatchBox(QLineEdit* box, std::function<void()> lostFocus,
                  std::function<void(int key)> keyUp);

    QTabWidget* Tab2 = nullptr;
    QComboBox* CmbPN = nullptr;
    QCheckBox* Check1 = nullptr;
    QPushButton* CmdOK = nullptr;
    QLabel* Image1 = nullptr;

private:
    void showProfilePicture(int p);

    WindowState& state_;
    BoxEvents* boxEvents_ = nullptr;
    GeneralPage* general_ = nullptr;
    ProtectionPage* protection_ = nullptr;
    StagesPage* stages_ = nullptr;
    ConditionPage* nextCond_ = nullptr;
    ConditionPage* anyCond_ = nullptr;
};

}  // namespace zun::app
