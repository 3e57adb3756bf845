#pragma once

#include "app/condition_page.h"
#include "app/frm_main.h"
#include "app/general_page.h"
#include "app/profile_editor.h"
#include "app/protection_page.h"
#include "app/stages_page.h"
#include "link/stored_settings.h"
#include "sim/pty_host.h"
#include "sim/virtual_charger.h"

#include <QApplication>
#include <QFocusEvent>
#include <QStringList>
#include <QtTest>

#include <memory>

namespace profile_test {

using zun::app::FrmMain;
using zun::app::ProfileEditor;

// One virtual charger on its own pseudo-terminal, answering as fast as the line allows.
struct Charger {
    zun::sim::VirtualCharger charger;
    zun::sim::PtyHost host{charger};
    Charger() {
        host.setPacing(false);
        host.start();
    }
    QString device() const { return host.devicePath(); }
};

// The window started on the given devices, its message boxes recorded instead of shown.
struct Window {
    std::unique_ptr<FrmMain> w;
    QStringList messages;

    explicit Window(const QStringList& devices) {
        zun::app::StartOptions options;
        options.devices = devices;
        options.systemDevices = false;
        w = std::make_unique<FrmMain>(options);
        editor()->messageHook = [this](const QString& text) { messages << text; };
        w->Form_Load();
    }

    ProfileEditor* editor() const { return w->profileEditor(); }
    zun::app::WindowState& state() const { return w->state(); }
    zun::app::GeneralPage* general() const { return editor()->general(); }
    zun::app::ProtectionPage* protection() const { return editor()->protection(); }
    zun::app::StagesPage* stages() const { return editor()->stages(); }
    zun::app::ConditionPage* nextCond() const { return editor()->nextCond(); }
    zun::app::ConditionPage* anyCond() const { return editor()->anyCond(); }

    template <typename T>
    T* find(const QString& name) const {
        return w->findChild<T*>(name);
    }
    QLineEdit* box(const QString& name) const { return find<QLineEdit>(name); }
    QComboBox* combo(const QString& name) const { return find<QComboBox>(name); }

    // Shown and active, so that focus changes deliver real FocusIn / FocusOut events.
    bool activate() {
        w->show();
        QApplication::setActiveWindow(w.get());
        return QTest::qWaitForWindowActive(w.get());
    }

    // Tab2 shows the page that holds w, as the user would bring it up.
    void showPageOf(QWidget* w) {
        QTabWidget* tabs = editor()->Tab2;
        for (int i = 0; i < tabs->count(); ++i) {
            if (tabs->widget(i)->isAncestorOf(w)) {
                tabs->setCurrentIndex(i);
            }
        }
    }

    // Whether w is shown on its own page of Tab2 (whichever page is current).
    bool shownOnItsPage(QWidget* w) const {
        QTabWidget* tabs = editor()->Tab2;
        for (int i = 0; i < tabs->count(); ++i) {
            if (tabs->widget(i)->isAncestorOf(w)) {
                return w->isVisibleTo(tabs->widget(i));
            }
        }
        return false;
    }

    // The user clicks into the box and then leaves it for another control.
    void leave(QLineEdit* b) {
        showPageOf(b);
        b->setFocus(Qt::MouseFocusReason);
        editor()->CmbPN->setFocus(Qt::TabFocusReason);
    }

    // Typed with real key presses and releases, replacing what the box held.
    void type(QLineEdit* b, const QString& text) {
        showPageOf(b);
        b->setFocus(Qt::MouseFocusReason);
        b->selectAll();
        if (text.isEmpty()) {
            QTest::keyClick(b, Qt::Key_Delete);
        } else {
            QTest::keyClicks(b, text);
        }
    }
};

// The charger's settings reply decoded into the window as the connection step does, for tests
// that need a loaded profile but no serial line: model 3110 (12 V, 10 A).
inline void LoadDefaultProfiles(Window& win, const QString& model = QStringLiteral("3110"),
                                int rated = 10, int nominalPosition = 0) {
    zun::sim::VirtualCharger charger;
    const QString reply =
        QString::fromLatin1(charger.respond(QByteArray::fromHex("850359AA000D")).toHex().toUpper());
    auto& state = win.state();
    state.ChargerModel = model;
    state.RatedCurrent = rated;
    QComboBox* nv = win.editor()->nominalVoltage();
    nv->setCurrentIndex(nominalPosition);
    nv->setEnabled(model.isEmpty());
    zun::link::DecodeStoredSettings(reply, state.memory.profiles);
    {
        const QSignalBlocker block(win.editor()->CmbPN);
        win.editor()->CmbPN->setCurrentIndex(0);
    }
    win.editor()->CmbPN_Click();
    win.editor()->Cmb0NV_Click();
}

// Requests of one command (0x51 .. 0x55) in the order the charger received them.
inline QStringList FramesOf(const zun::sim::VirtualCharger& c, const QString& command) {
    QStringList out;
    for (const QString& r : c.requests()) {
        if (r.mid(4, 2) == command) {
            out << r;
        }
    }
    return out;
}

// The command bytes of the write frames received, in order ("52", "53", ...).
inline QStringList WriteCommands(const zun::sim::VirtualCharger& c) {
    QStringList out;
    for (const QString& r : c.requests()) {
        const QString cmd = r.mid(4, 2);
        if (cmd >= QLatin1String("51") && cmd <= QLatin1String("55")) {
            out << cmd;
        }
    }
    return out;
}

inline QColor TextColour(QWidget* w) {
    return w->palette().color(QPalette::Active, QPalette::Text);
}

}  // namespace profile_test
