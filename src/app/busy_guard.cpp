#include "app/busy_guard.h"

#include <QApplication>
#include <QEvent>
#include <QGuiApplication>

namespace zun::app {

namespace {
constexpr char kStarterProperty[] = "zunExchangeStarter";
}

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
    // The starter itself or anything inside it (a combo box's popup view belongs to it).
    for (QObject* o = watched; o != nullptr; o = o->parent()) {
        if (o->property(kStarterProperty).toBool()) {
            if (event->type() == QEvent::MouseButtonPress || event->type() == QEvent::KeyPress) {
                emit heldOff();
            }
            return true;
        }
    }
    return false;
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
