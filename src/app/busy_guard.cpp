#include "app/busy_guard.h"

#include <QAbstractButton>
#include <QApplication>
#include <QEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QTimer>

#include <algorithm>

namespace zun::app {

namespace {
constexpr char kStarterProperty[] = "zunExchangeStarter";

QWidget* starterOf(QObject* watched) {
    // The starter itself or anything inside it (a combo box's popup view belongs to it).
    for (QObject* o = watched; o != nullptr; o = o->parent()) {
        if (o->property(kStarterProperty).toBool()) {
            return qobject_cast<QWidget*>(o);
        }
    }
    return nullptr;
}
}  // namespace

BusyGuard::BusyGuard(QObject* parent) : QObject(parent) {
    qApp->installEventFilter(this);
}

void BusyGuard::MarkExchangeStarter(QWidget* w) {
    w->setProperty(kStarterProperty, true);
}

void BusyGuard::enter() {
    if (depth_++ == 0) {
        QGuiApplication::setOverrideCursor(Qt::BusyCursor);
    }
}

void BusyGuard::leave() {
    if (depth_ > 0 && --depth_ == 0) {
        QGuiApplication::restoreOverrideCursor();
        auto pending = std::move(idle_);
        idle_.clear();
        for (auto& fn : pending) {
            fn();
        }
    }
}

void BusyGuard::whenIdle(std::function<void()> fn) {
    if (depth_ == 0) {
        fn();
    } else {
        idle_.push_back(std::move(fn));
    }
}

bool BusyGuard::eventFilter(QObject* watched, QEvent* event) {
    if (depth_ == 0 || !watched->isWidgetType()) {
        return false;
    }
    switch (event->type()) {
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonRelease:
        case QEvent::MouseButtonDblClick:
        case QEvent::KeyPress:
        case QEvent::KeyRelease:
        case QEvent::Wheel:
        case QEvent::Shortcut:
            break;
        default:
            return false;
    }
    QWidget* starter = starterOf(watched);
    if (starter == nullptr) {
        return false;
    }
    auto* button = qobject_cast<QAbstractButton*>(starter);
    if (button != nullptr && queuesClicks() && queueButtonEvent(button, event)) {
        return true;
    }
    if (event->type() == QEvent::MouseButtonPress || event->type() == QEvent::KeyPress) {
        emit heldOff();
    }
    return true;
}

bool BusyGuard::queueButtonEvent(QAbstractButton* button, const QEvent* event) {
    switch (event->type()) {
        case QEvent::MouseButtonPress: {
            // Queued at the press: the release may come after the reading, when nothing
            // would take it for a click any more.
            if (static_cast<const QMouseEvent*>(event)->button() == Qt::LeftButton) {
                clickWhenFree(button);
            }
            return true;
        }
        case QEvent::MouseButtonRelease:
        case QEvent::MouseButtonDblClick:
        case QEvent::KeyRelease:
            return true;
        case QEvent::KeyPress: {
            const auto* key = static_cast<const QKeyEvent*>(event);
            if (key->key() == Qt::Key_Space && !key->isAutoRepeat()) {
                clickWhenFree(button);
                return true;
            }
            return false;
        }
        default:
            return false;
    }
}

void BusyGuard::clickWhenFree(QAbstractButton* button) {
    if (button == nullptr) {
        return;
    }
    if (!busy()) {
        button->click();
        return;
    }
    if (!queuesClicks()) {
        emit heldOff();
        return;
    }
    if (std::find(queued_.begin(), queued_.end(), button) != queued_.end()) {
        return;
    }
    queued_.emplace_back(button);
    const QPointer<QAbstractButton> target(button);
    // The click runs once the exchange has unwound, like a click the user makes then.
    whenIdle([this, target] {
        QTimer::singleShot(0, this, [this, target] {
            queued_.erase(std::remove(queued_.begin(), queued_.end(), target), queued_.end());
            if (target && target->isEnabled() && target->isVisible()) {
                clickWhenFree(target);
            }
        });
    });
}

BusyScope::BusyScope(BusyGuard* guard) : guard_(guard) {
    if (guard_ != nullptr) {
        guard_->enter();
    }
}

BusyScope::~BusyScope() {
    if (guard_ != nullptr) {
        guard_->leave();
    }
}

ControlLock::ControlLock(const std::vector<QWidget*>& widgets) {
    for (QWidget* w : widgets) {
        if (w != nullptr) {
            widgets_.emplace_back(w);
            w->setEnabled(false);
        }
    }
}

ControlLock::~ControlLock() {
    for (const QPointer<QWidget>& w : widgets_) {
        if (w) {
            w->setEnabled(true);
        }
    }
}

}  // namespace zun::app
