#include "app/settings_actions.h"

#include "app/busy_guard.h"
#include "app/frm_main.h"
#include "app/profile_editor.h"
#include "lang/program_texts.h"
#include "link/codec.h"
#include "profile/page_frames.h"
#include "profile/profile_switch.h"
#include "profile/settings_compare.h"
#include "profile/settings_file.h"
#include "session/charger_session.h"

#include <QAction>
#include <QComboBox>
#include <QDateTime>
#include <QFileDialog>
#include <QFileInfo>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>

namespace zun::app {

using lang::Text;

namespace {

// The settings reply up to the end of the last condition block.
constexpr int kFullSettingsChars = 1600;

QString stageText(const QComboBox* c) {
    return (c != nullptr && c->currentIndex() >= 0) ? c->currentText() : QString();
}

QString volts(const QString& text) {
    return QStringLiteral("%1 V").arg(link::TextToSingle(text));
}

}  // namespace

const QColor SettingsActions::kMarkColour(255, 255, 0);

SettingsActions::SettingsActions(FrmMain* window) : QObject(window), window_(window) {
    setObjectName(QStringLiteral("SettingsActions"));
    ActSaveSettings = new QAction(tr("&Save settings..."), this);
    ActSaveSettings->setObjectName(QStringLiteral("ActSaveSettings"));
    ActOpenSettings = new QAction(tr("&Open settings..."), this);
    ActOpenSettings->setObjectName(QStringLiteral("ActOpenSettings"));
    ActCompare = new QAction(tr("&Compare with charger"), this);
    ActCompare->setObjectName(QStringLiteral("ActCompare"));
    // Ctrl+S and Ctrl+O are the data log's; the settings take them with Shift.
    ActSaveSettings->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_S));
    ActOpenSettings->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_O));
    ActCompare->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_C));
    connect(ActSaveSettings, &QAction::triggered, this,
            [this] { RunHandler([this] { SaveSettings(); }); });
    connect(ActOpenSettings, &QAction::triggered, this,
            [this] { RunHandler([this] { OpenSettings(); }); });
    connect(ActCompare, &QAction::triggered, this,
            [this] { RunHandler([this] { CompareWithCharger(); }); });
    // The marks belong to the profile they were made for.
    if (ProfileEditor* editor = window_->profileEditor()) {
        connect(editor->CmbPN, &QComboBox::currentIndexChanged, this, [this] { ClearMarks(); });
    }
}

void SettingsActions::AddTo(QMenu* menu) {
    menu->addAction(ActSaveSettings);
    menu->addAction(ActOpenSettings);
    menu->addSeparator();
    menu->addAction(ActCompare);
}

template <typename T>
T* SettingsActions::control(const QString& name) const {
    return window_->findChild<T*>(name);
}

QLineEdit* SettingsActions::box(const QString& name) const {
    return control<QLineEdit>(name);
}

QComboBox* SettingsActions::combo(const QString& name) const {
    return control<QComboBox>(name);
}

void SettingsActions::show(const QString& text) {
    if (messageHook) {
        messageHook(text);
        return;
    }
    QMessageBox::information(window_, window_->windowTitle(), text);
}

link::ProfileSlot SettingsActions::PagesProfile() const {
    link::ProfileSlot slot;
    auto text = [this](const QString& name) {
        const QLineEdit* b = box(name);
        return b ? b->text() : QString();
    };
    const QComboBox* nv = combo(QStringLiteral("Cmb0NV"));
    slot.general[0] = (nv && nv->currentIndex() >= 0)
                          ? QString::number(link::TextToSingle(nv->currentText()))
                          : QString();
    for (int k = 1; k < 6; ++k) {
        slot.general[k] = text(QStringLiteral("Txt0(%1)").arg(k));
    }
    for (int k = 0; k < 5; ++k) {
        slot.protection[k] = text(QStringLiteral("Txt1(%1)").arg(k));
    }
    slot.stages[0] = stageText(combo(QStringLiteral("Cmb2Total")));
    for (int i = 0; i < profile::kStageFieldCount; ++i) {
        slot.stages[i + 1] = text(QStringLiteral("Txt2(%1)").arg(i));
    }
    for (int c = 0; c < profile::kCellCount; ++c) {
        const QComboBox* next = combo(QStringLiteral("Cmb3Type(%1)").arg(c));
        const QComboBox* any = combo(QStringLiteral("Cmb4Type(%1)").arg(c));
        slot.nextCond[c] = profile::CondEntry(next ? qMax(next->currentIndex(), 0) : 0,
                                              text(QStringLiteral("Txt3(%1)").arg(c)));
        slot.anyCond[c] = profile::CondEntry(any ? qMax(any->currentIndex(), 0) : 0,
                                             text(QStringLiteral("Txt4(%1)").arg(c)));
    }
    for (int s = 0; s < profile::kMaxStages; ++s) {
        const QString target = stageText(combo(QStringLiteral("Cmb4SN(%1)").arg(s)));
        slot.anyTarget[s] =
            target.isEmpty() ? QString() : QString::number(link::TextToSingle(target) - 1.0f);
    }
    return slot;
}

void SettingsActions::SaveSettings() {
    if (window_->state().busy && window_->state().busy->busy()) {
        return;
    }
    const QString proposed =
        QStringLiteral("ZUN-Settings-") +
        QDateTime::currentDateTime().toString(QStringLiteral("yyMMdd-HHmmss")) +
        QStringLiteral(".json");
    QString path = fileHook
                       ? fileHook(true, proposed)
                       : QFileDialog::getSaveFileName(window_, Text(lang::T::SaveSettingsTitle),
                                                      proposed, Text(lang::T::SettingsFilter));
    if (path.isEmpty()) {
        return;
    }
    if (QFileInfo(path).suffix().isEmpty()) {
        path += QStringLiteral(".json");
    }
    SaveSettingsTo(path);
}

bool SettingsActions::SaveSettingsTo(const QString& path) {
    WindowState& state = window_->state();
    const int p = window_->profileEditor()->currentProfile();
    profile::SettingsFile settings;
    settings.profiles = state.memory.profiles;
    if (p >= 0 && p <= 1) {
        // The pages are what the user sees; the other profile is as the memory keeps it.
        settings.profiles[p] = PagesProfile();
    }
    settings.chargerModel = state.ChargerModel;
    QStringList warnings;
    const profile::SettingsWriteResult w = profile::WriteSettingsFile(path, settings, &warnings);
    if (!w.ok) {
        show(Text(lang::T::SettingsNotSaved).arg(w.error));
        return false;
    }
    if (!warnings.isEmpty()) {
        show(Text(lang::T::SavedWithChanges) + QLatin1Char('\n') +
             warnings.join(QLatin1Char('\n')));
    }
    return true;
}

void SettingsActions::OpenSettings() {
    if (window_->state().busy && window_->state().busy->busy()) {
        return;
    }
    const QString path =
        fileHook ? fileHook(false, QString())
                 : QFileDialog::getOpenFileName(window_, Text(lang::T::OpenSettingsTitle),
                                                QString(), Text(lang::T::SettingsFilter));
    if (!path.isEmpty()) {
        OpenSettingsFrom(path);
    }
}

bool SettingsActions::OpenSettingsFrom(const QString& path) {
    const int p = window_->profileEditor()->currentProfile();
    if (p < 0 || p > 1) {
        show(Text(lang::T::ChooseProfile));
        return false;
    }
    const profile::SettingsReadResult r = profile::ReadSettingsFile(path);
    if (!r.ok) {
        show(QStringLiteral("%1: %2").arg(QFileInfo(path).fileName(), r.error));
        return false;
    }
    ClearMarks();
    const link::ProfileSlot& slot = r.settings.profiles[p];
    const QComboBox* nv = combo(QStringLiteral("Cmb0NV"));
    const auto filePosition = profile::StoredNominalPosition(slot.general[0]);
    const bool otherVoltage = nv && !nv->isEnabled() && nv->currentIndex() >= 0 &&
                              filePosition != std::optional<int>(nv->currentIndex());
    fillPages(slot, p);
    if (otherVoltage) {
        show(Text(lang::T::ProfileOtherVoltage)
                 .arg(p + 1)
                 .arg(volts(slot.general[0]), volts(nv->currentText())));
    }
    return true;
}

void SettingsActions::fillPages(const link::ProfileSlot& slot, int p) {
    WindowState& state = window_->state();
    auto step = [](const auto& fn) { RunHandler(fn); };
    // No handler keeps the targets in the profile memory; the stage-count handling selects them
    // from there.
    for (int s = 0; s < profile::kMaxStages; ++s) {
        state.memory.ProfileAnyTarget(p, s) = slot.anyTarget[s];
    }
    step([&] {
        QComboBox* nv = combo(QStringLiteral("Cmb0NV"));
        // An identified charger fixes the nominal voltage; the file cannot change it.
        if (nv == nullptr || !nv->isEnabled()) {
            return;
        }
        if (const auto pos = profile::StoredNominalPosition(slot.general[0])) {
            nv->setCurrentIndex(*pos);
            state.memory.ProfileGeneral(p, 0) = slot.general[0];
        }
    });
    for (int k = 1; k < 6; ++k) {
        step([&] { box(QStringLiteral("Txt0(%1)").arg(k))->setText(slot.general[k]); });
    }
    for (int k : {0, 2, 3, 4}) {
        step([&] { box(QStringLiteral("Txt1(%1)").arg(k))->setText(slot.protection[k]); });
    }
    QComboBox* total = combo(QStringLiteral("Cmb2Total"));
    step([&] {
        if (const auto pos = profile::StageCountPosition(slot.stages[0], total->count())) {
            total->setCurrentIndex(*pos);
        }
    });
    for (int i = 0; i < profile::kStageFieldCount; ++i) {
        step([&] {
            box(QStringLiteral("Txt2(%1)").arg(i))
                ->setText(profile::StageFieldText(i, slot.stages[i + 1], total->currentText()));
        });
    }
    // Type first: its handler empties an unused cell's box, which then takes the file's text.
    for (int c = 0; c < profile::kCellCount; ++c) {
        step([&] {
            if (const auto pos = profile::NextCondTypePosition(slot.nextCond[c])) {
                combo(QStringLiteral("Cmb3Type(%1)").arg(c))->setCurrentIndex(*pos);
            }
        });
        step([&] {
            box(QStringLiteral("Txt3(%1)").arg(c))
                ->setText(profile::CellValueText(slot.nextCond[c]));
        });
    }
    for (int s = 0; s < profile::kMaxStages; ++s) {
        step([&] {
            QComboBox* target = combo(QStringLiteral("Cmb4SN(%1)").arg(s));
            QStringList items;
            for (int j = 0; j < target->count(); ++j) {
                items << target->itemText(j);
            }
            // No target in the file is no selection, not the item "1" an empty text reads as.
            const auto pos = slot.anyTarget[s].trimmed().isEmpty()
                                 ? std::nullopt
                                 : profile::AnyTargetPosition(slot.anyTarget[s], items);
            target->setCurrentIndex(pos.value_or(-1));
        });
    }
    for (int c = 0; c < profile::kCellCount; ++c) {
        step([&] {
            if (const auto pos = profile::AnyCondTypePosition(slot.anyCond[c])) {
                combo(QStringLiteral("Cmb4Type(%1)").arg(c))->setCurrentIndex(*pos);
            }
        });
        step([&] {
            box(QStringLiteral("Txt4(%1)").arg(c))
                ->setText(profile::CellValueText(slot.anyCond[c]));
        });
    }
}

void SettingsActions::CompareWithCharger() {
    WindowState& state = window_->state();
    if (state.busy && state.busy->busy()) {
        return;
    }
    const int p = window_->profileEditor()->currentProfile();
    if (p < 0 || p > 1 || state.session == nullptr) {
        show(Text(lang::T::ChooseProfile));
        return;
    }
    link::StoredSettings stored;
    const QString reply = state.session->readSettings(stored);
    ClearMarks();
    if (reply.size() < kFullSettingsChars) {
        show(Text(lang::T::NoChargerSettings));
        return;
    }
    const auto differences = profile::CompareProfiles(PagesProfile(), stored[p], p);
    for (const auto& d : differences) {
        if (QWidget* w = control<QWidget>(d.control)) {
            mark(w, Text(lang::T::TipChargerValue).arg(d.chargerValue));
        }
    }
    if (differences.empty()) {
        show(Text(lang::T::SameAsCharger).arg(p + 1));
    } else {
        show(Text(lang::T::DifferFromCharger).arg(differences.size()).arg(p + 1));
    }
}

void SettingsActions::mark(QWidget* w, const QString& toolTip) {
    Mark m{w, toolTip, w->toolTip(), w->palette()};
    QPalette pal = w->palette();
    for (QPalette::ColorGroup g : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
        pal.setColor(g, QPalette::Base, kMarkColour);
        pal.setColor(g, QPalette::Button, kMarkColour);
    }
    w->setPalette(pal);
    w->setToolTip(toolTip);
    marks_.push_back(m);
}

void SettingsActions::ClearMarks() {
    for (const Mark& m : marks_) {
        QWidget* w = m.widget.data();
        if (w == nullptr) {
            continue;
        }
        // Only the mark goes: a colour the pages' checks set meanwhile stays.
        QPalette pal = w->palette();
        for (QPalette::ColorGroup g : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
            for (QPalette::ColorRole r : {QPalette::Base, QPalette::Button}) {
                if (pal.color(g, r) == kMarkColour) {
                    pal.setColor(g, r, m.oldPalette.color(g, r));
                }
            }
        }
        w->setPalette(pal);
        if (w->toolTip() == m.toolTip) {
            w->setToolTip(m.oldToolTip);
        }
    }
    marks_.clear();
}

QStringList SettingsActions::markedControls() const {
    QStringList names;
    for (const Mark& m : marks_) {
        if (m.widget) {
            names << m.widget->objectName();
        }
    }
    return names;
}

}  // namespace zun::app
