#pragma once

#include "profile/consistency_check.h"

#include <QColor>
#include <QHash>
#include <QLineEdit>
#include <QObject>
#include <QPointer>
#include <QWidget>

#include <functional>

class QAbstractButton;
class QEvent;
class QKeySequence;

namespace zun::app {

class BusyGuard;

// Helpers every page's event handling shares.

// Runs a handler started by an event or a signal: nothing it throws leaves it.
template <typename F>
void RunHandler(F&& fn) noexcept {
    try {
        fn();
    } catch (...) {
    }
}

// The window's colour value 255.
inline const QColor kWrongColour(255, 0, 0);

// Text colour of a text box or combo box, in every colour group.
void SetTextColour(QWidget* w, const QColor& colour);
// Background of a text box or combo box, in every colour group.
void SetBackColour(QWidget* w, const QColor& colour);
// The text colour the window gives a control the consistency check judged: red when wrong, else
// black for the type boxes and the section times, the system colour for the rest. An invalid
// colour (the control keeps its own) when there is no finding.
QColor TextColourOf(const profile::Finding* finding);

// A button's shortcut, named in its tooltip. A shortcut object of its own, because the
// language files set the caption and a button's caption replaces its shortcut; held off, like
// a click, while an exchange runs.
void AddButtonShortcut(QAbstractButton* button, const QKeySequence& keys, BusyGuard* busy);

// A focus change that the user made on this window, not a window switch or a popup.
bool IsOwnFocusChange(const QEvent* event);

// GotFocus, LostFocus and KeyUp of the settings boxes.
class BoxEvents : public QObject {
public:
    using QObject::QObject;

    struct Handlers {
        QPointer<QLineEdit> box;
        std::function<void()> lostFocus;
        std::function<void(int)> keyUp;
    };

    void watch(QLineEdit* box, Handlers handlers) {
        boxes_.insert(box, std::move(handlers));
        box->installEventFilter(this);
    }

    bool isWatched(QObject* o) const { return boxes_.contains(o); }

    // The next focus-out of this box is the window's doing, not the user leaving it.
    void setQuiet(QObject* box) { quiet_ = box; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QHash<QObject*, Handlers> boxes_;
    QPointer<QObject> quiet_;
};

}  // namespace zun::app
