#pragma once

#include <QObject>
#include <QPointer>
#include <QWidget>

#include <functional>
#include <vector>

class QAbstractButton;

namespace zun::app {

// While an exchange with the charger runs, the event loop keeps turning (the window stays
// responsive), so a second click could start a nested exchange on the same port. The guard
// makes every control marked as an exchange starter ignore clicks and keys until the outer
// exchange ends; nothing is visibly disabled and the focus does not move.
class BusyGuard : public QObject {
    Q_OBJECT
public:
    explicit BusyGuard(QObject* parent = nullptr);

    static void MarkExchangeStarter(QWidget* w);
    bool busy() const { return depth_ > 0; }

    void enter();
    void leave();
    // Runs once the outermost exchange has ended (e.g. a close requested meanwhile).
    void whenIdle(std::function<void()> fn);

    // While this says yes (a background reading of a fraction of a second), a button clicked
    // is not refused but clicked again once the line is free; once, however often it was hit.
    void setQueueClicksWhile(std::function<bool()> background) {
        background_ = std::move(background);
    }
    // A click on the button (or its shortcut) during an exchange: queued or held off.
    void clickWhenFree(QAbstractButton* button);

signals:
    // A click or key on an exchange starter was held off while an exchange ran.
    void heldOff();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool queuesClicks() const { return background_ && background_(); }
    // Mouse and keys on a button during a background reading: true when the event is taken.
    bool queueButtonEvent(QAbstractButton* button, const QEvent* event);

    int depth_ = 0;
    std::vector<std::function<void()>> idle_;
    std::function<bool()> background_;
    std::vector<QPointer<QAbstractButton>> queued_;
};

// RAII: busy cursor and guard for the length of a handler that talks to the charger.
class BusyScope {
public:
    explicit BusyScope(BusyGuard* guard);
    ~BusyScope();
    BusyScope(const BusyScope&) = delete;
    BusyScope& operator=(const BusyScope&) = delete;

private:
    BusyGuard* guard_;
};

// Disables controls for its lifetime and enables them again, in the same order, however the
// scope is left.
class ControlLock {
public:
    explicit ControlLock(const std::vector<QWidget*>& widgets);
    ~ControlLock();
    ControlLock(const ControlLock&) = delete;
    ControlLock& operator=(const ControlLock&) = delete;

private:
    std::vector<QPointer<QWidget>> widgets_;
};

}  // namespace zun::app
