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
#include <QMessageBox>
#include <QPushButton>
#include <QTabWidget>
#include <QToolButton>
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
    // icon and detail (what a technician needs to act on it) go to the box only.
    void ShowMessage(const QString& text, QMessageBox::Icon icon = QMessageBox::Information,
                     const QString& detail = QString());
    std::function<void(const QString&)> messageHook;
    // The detail of the last message shown.
    QString lastMessageDetail() const { return lastDetail_; }

    // The caption of a settings page as its tab shows it.
    QString PageCaption(profile::Page page) const;
    // The entries the last consistency check found wrong.
    const std::vector<profile::Finding>& wrongEntries() const { return wrong_; }

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
    // "n entries to fix": its menu brings up each wrong entry.
    QToolButton* CmdToFix = nullptr;

signals:
    // How an exchange of these pages went, in words, for the window's status line.
    void statusMessage(const QString& text);

private:
    // The texts set here and the reasons of the red fields in the language now in use.
    void retranslate();
    void showProfilePicture(int p);
    // Tooltips, tab markers, the entries to fix and CmdOK's tooltip from the verdict.
    void showReasons(const profile::ConsistencyVerdict& verdict);
    QWidget* controlOf(const profile::Finding& finding) const;
    QWidget* pageOf(profile::Page page) const;
    void bringUp(QWidget* control, QWidget* page);

    std::vector<profile::Finding> wrong_;
    QString lastDetail_;
    QString cmdOkToolTip_;
    // The write-all in progress: the page counter for the status line.
    int writeAllCount_ = 0;
    int writeAllDone_ = 0;
    WindowState& state_;
    BoxEvents* boxEvents_ = nullptr;
    GeneralPage* general_ = nullptr;
    ProtectionPage* protection_ = nullptr;
    StagesPage* stages_ = nullptr;
    ConditionPage* nextCond_ = nullptr;
    ConditionPage* anyCond_ = nullptr;
};

}  // namespace zun::app
