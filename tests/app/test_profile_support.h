#pragma once

#include "app/condition_page.h"
#include "app/frm_main.h"
#include "app/profile_editor.h"
#include "link/stored_settings.h"
#include "sim/virtual_charger.h"

#include <QApplication>
#include <QStringList>
#include <QtTest>

#include <memory>

namespace profile_test {

// The window started on the given devices, its message boxes recorded instead of shown; with
// none, the charger's default profiles are loaded as the connection step would.
struct Window {
    std::unique_ptr<zun::app::FrmMain> w;
    QStringList messages;

    explicit Window(const QStringList& devices = {},
                    std::function<std::unique_ptr<zun::link::Exchange>()> exchange = {},
                    std::optional<zun::lang::LanguageFolders> languages = std::nullopt) {
        zun::app::StartOptions options;
        options.devices = devices;
        options.systemDevices = false;
        options.exchange = std::move(exchange);
        options.languageFolders = std::move(languages);
        w = std::make_unique<zun::app::FrmMain>(options);
        editor()->messageHook = [this](const QString& text) { messages << text; };
        w->Form_Load();
        if (devices.isEmpty()) {
            loadDefaultProfiles();
        }
    }

    zun::app::ProfileEditor* editor() const { return w->profileEditor(); }
    zun::app::WindowState& state() const { return w->state(); }

    template <typename T = QWidget>
    T* find(const QString& name) const {
        return w->findChild<T*>(name);
    }
    QLineEdit* box(const QString& name) const { return find<QLineEdit>(name); }

    // Model 3110 (12 V, 10 A), decoded from the settings reply as the connection step does.
    void loadDefaultProfiles() {
        zun::sim::VirtualCharger charger;
        const QByteArray reply = charger.respond(QByteArray::fromHex("850359AA000D"));
        state().ChargerModel = QStringLiteral("3110");
        state().RatedCurrent = 10;
        editor()->nominalVoltage()->setCurrentIndex(0);
        editor()->nominalVoltage()->setEnabled(false);
        zun::link::DecodeStoredSettings(QString::fromLatin1(reply.toHex().toUpper()),
                                        state().memory.profiles);
        editor()->CmbPN->setCurrentIndex(-1);
        editor()->CmbPN->setCurrentIndex(0);  // fills the pages from the profile memory
        editor()->Cmb0NV_Click();
    }

    // Shown and active, so that focus changes deliver real FocusIn / FocusOut events.
    bool activate() {
        w->show();
        QApplication::setActiveWindow(w.get());
        return QTest::qWaitForWindowActive(w.get());
    }

    // Tab2 shows the page that holds b, as the user would bring it up.
    void showPageOf(QWidget* b) {
        for (int i = 0; i < editor()->Tab2->count(); ++i) {
            if (editor()->Tab2->widget(i)->isAncestorOf(b)) {
                editor()->Tab2->setCurrentIndex(i);
            }
        }
    }

    // The user clicks into the box and then leaves it for another control.
    void leave(QLineEdit* b) {
        showPageOf(b);
        b->setFocus(Qt::MouseFocusReason);
        editor()->CmbPN->setFocus(Qt::TabFocusReason);
    }
};

// "Name=value" settings, blank-separated, in order: a combo box takes the value as its list
// position, a text box as its text; "Cmb3Type(*)" stands for every box of that array.
inline void Apply(Window& win, const QString& settings) {
    for (const QString& s : settings.split(' ', Qt::SkipEmptyParts)) {
        const QString name = s.section('=', 0, 0);
        const QString value = s.section('=', 1);
        const bool all = name.endsWith(QLatin1String("(*)"));
        int found = 0;
        for (QWidget* w : win.w->findChildren<QWidget*>()) {
            if (all ? !w->objectName().startsWith(name.chopped(2)) : w->objectName() != name) {
                continue;
            }
            ++found;
            if (auto* c = qobject_cast<QComboBox*>(w)) {
                c->setCurrentIndex(value.toInt());
            } else if (auto* e = qobject_cast<QLineEdit*>(w)) {
                e->setText(value);
            }
        }
        QVERIFY2(found > 0, qPrintable(name));
    }
}

// A test's rows: one per entry of a table of structs that carry a tag.
template <typename Row, std::size_t N>
void AddRows(const Row (&rows)[N]) {
    QTest::addColumn<int>("row");
    for (std::size_t i = 0; i < N; ++i) {
        QTest::newRow(rows[i].tag) << int(i);
    }
}

}  // namespace profile_test
