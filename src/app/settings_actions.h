#pragma once

#include "link/stored_settings.h"

#include <QColor>
#include <QObject>
#include <QPalette>
#include <QPointer>
#include <QString>
#include <QStringList>

#include <functional>
#include <vector>

class QAction;
class QComboBox;
class QLineEdit;
class QMenu;
class QWidget;

namespace zun::app {

class FrmMain;

// "Save settings...", "Open settings..." and "Compare with charger": the settings file of zunctl
// for the profile shown on the pages. Opening goes through the pages' own handlers, so the
// stores into the profile memory and the checks run as if the values had been typed; the
// compare marks every control whose value differs from the charger's stored copy.
class SettingsActions : public QObject {
    Q_OBJECT
public:
    explicit SettingsActions(FrmMain* window);

    // Adds the three actions to a menu.
    void AddTo(QMenu* menu);

    void SaveSettings();
    void OpenSettings();
    void CompareWithCharger();

    // The same without the file dialog; false (with a message shown) when nothing was done.
    bool SaveSettingsTo(const QString& path);
    bool OpenSettingsFrom(const QString& path);

    // The profile as the pages show it, in the profile memory's texts.
    link::ProfileSlot PagesProfile() const;

    // Removes the compare marks (also done when another profile is chosen).
    void ClearMarks();
    // objectNames of the controls marked by the last compare.
    QStringList markedControls() const;

    // While set, messages go here instead of a message box.
    std::function<void(const QString&)> messageHook;
    // While set, replaces the file dialogs: gets whether it is a save and the proposed name,
    // returns the chosen path or an empty text for a cancel.
    std::function<QString(bool save, const QString& proposed)> fileHook;

    // The mark of a control that differs from the charger.
    static const QColor kMarkColour;

    QAction* ActSaveSettings = nullptr;
    QAction* ActOpenSettings = nullptr;
    QAction* ActCompare = nullptr;

private:
    template <typename T>
    T* control(const QString& name) const;
    QLineEdit* box(const QString& name) const;
    QComboBox* combo(const QString& name) const;
    void show(const QString& text);
    void mark(QWidget* w, const QString& toolTip);
    void fillPages(const link::ProfileSlot& slot, int p);

    struct Mark {
        QPointer<QWidget> widget;
        QString toolTip;
        QString oldToolTip;
        QPalette oldPalette;
    };

    FrmMain* window_;
    std::vector<Mark> marks_;
};

}  // namespace zun::app
