#include "app/event_helpers.h"

#include "app/busy_guard.h"

#include <QAbstractButton>

#include <QApplication>
#include <QFocusEvent>
#include <QKeyEvent>
#include <QPalette>
#include <QShortcut>
#include <QTimer>

namespace zun::app {

namespace {

bool setRole(QPalette& p, QPalette::ColorGroup group, QPalette::ColorRole role,
             const QColor& colour) {
    if (p.color(group, role) == colour) {
        return false;
    }
    p.setColor(group, role, colour);
    return true;
}

}  // namespace

void AddButtonShortcut(QAbstractButton* button, const QKeySequence& keys, BusyGuard* busy) {
    auto* shortcut = new QShortcut(keys, button);
    QObject::connect(shortcut, &QShortcut::activated, button, [button, busy] {
        if (busy != nullptr && busy->busy()) {
            busy->clickWhenFree(button);
            return;
        }
        if (button->isEnabled() && button->isVisible()) {
            button->click();
        }
    });
    const QString named = keys.toString(QKeySequence::NativeText);
    button->setToolTip(button->toolTip().isEmpty()
                           ? named
                           : QStringLiteral("%1 (%2)").arg(button->toolTip(), named));
}

bool IsOwnFocusChange(const QEvent* event) {
    const auto reason = static_cast<const QFocusEvent*>(event)->reason();
    return reason != Qt::ActiveWindowFocusReason && reason != Qt::PopupFocusReason;
}

void SetTextColour(QWidget* w, const QColor& colour) {
    if (w == nullptr || !colour.isValid()) {
        return;
    }
    // The disabled group keeps the style's greyed text.
    QPalette p = w->palette();
    bool changed = false;
    for (QPalette::ColorGroup g : {QPalette::Active, QPalette::Inactive}) {
        for (QPalette::ColorRole r : {QPalette::Text, QPalette::ButtonText, QPalette::WindowText}) {
            changed = setRole(p, g, r, colour) || changed;
        }
    }
    if (changed) {
        w->setPalette(p);
    }
}

void SetBackColour(QWidget* w, const QColor& colour) {
    if (w == nullptr || !colour.isValid()) {
        return;
    }
    QPalette p = w->palette();
    bool changed = false;
    for (QPalette::ColorGroup g : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
        for (QPalette::ColorRole r : {QPalette::Base, QPalette::Button}) {
            changed = setRole(p, g, r, colour) || changed;
        }
    }
    if (changed) {
        w->setPalette(p);
    }
}

QColor TextColourOf(const profile::Finding* finding) {
    if (finding == nullptr) {
        return QColor();
    }
    if (finding->wrong()) {
        return kWrongColour;
    }
    const bool black =
        finding->field == profile::Field::Cmb3Type ||
        (finding->field == profile::Field::Txt3 && finding->index % profile::kSlotCount == 5);
    return black ? QColor(Qt::black)
                 : QApplication::palette().color(QPalette::Active, QPalette::ButtonText);
}

bool BoxEvents::eventFilter(QObject* watched, QEvent* event) {
    const auto it = boxes_.constFind(watched);
    if (it == boxes_.constEnd()) {
        return false;
    }
    const Handlers& h = it.value();
    switch (event->type()) {
        case QEvent::FocusIn: {
            // Deferred, so that the mouse click that brought the focus does not undo it.
            QPointer<QLineEdit> box = h.box;
            QTimer::singleShot(0, this, [box] {
                if (box && box->hasFocus()) {
                    box->selectAll();
                }
            });
            break;
        }
        case QEvent::FocusOut: {
            if (watched == quiet_) {
                quiet_ = nullptr;
                break;
            }
            // Another window taking over, or a menu opening, is not leaving the box.
            if (IsOwnFocusChange(event) && h.lostFocus) {
                RunHandler(h.lostFocus);
            }
            break;
        }
        case QEvent::KeyRelease: {
            auto* key = static_cast<QKeyEvent*>(event);
            if (!key->isAutoRepeat() && h.keyUp) {
                const int code = key->key();
                RunHandler([&] { h.keyUp(code); });
            }
            break;
        }
        default:
            break;
    }
    return false;
}

}  // namespace zun::app
