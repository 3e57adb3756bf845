#include "app/language_applier.h"

#include <QAbstractButton>
#include <QAction>
#include <QGroupBox>
#include <QLabel>
#include <QMenu>
#include <QTabWidget>
#include <QWidget>

namespace zun::app {

void ApplyLanguage(QWidget* window, const lang::Captions& captions) {
    if (window == nullptr) {
        return;
    }
    for (const lang::Caption& caption : captions) {
        const QString& name = caption.target.control;
        if (caption.target.isTab()) {
            auto* tabs = window->findChild<QTabWidget*>(name);
            if (tabs != nullptr && caption.target.tab < tabs->count()) {
                tabs->setTabText(caption.target.tab, caption.text);
            }
            continue;
        }
        QWidget* widget = window->findChild<QWidget*>(name);
        if (widget == nullptr) {
            if (auto* action = window->findChild<QAction*>(name)) {
                action->setText(caption.text);
            }
            continue;
        }
        if (auto* menu = qobject_cast<QMenu*>(widget)) {
            menu->setTitle(caption.text);
        } else if (auto* label = qobject_cast<QLabel*>(widget)) {
            label->setText(caption.text);
        } else if (auto* button = qobject_cast<QAbstractButton*>(widget)) {
            button->setText(caption.text);
        } else if (auto* group = qobject_cast<QGroupBox*>(widget)) {
            group->setTitle(caption.text);
        }
    }
}

}  // namespace zun::app
