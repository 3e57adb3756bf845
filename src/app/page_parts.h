#pragma once

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QString>

#include "lang/text_keys.h"

#include <functional>

namespace zun::app {

// Pieces every settings page is built from, so the pages look and behave alike.

QLabel* MakeLabel(const QString& text, const QString& name);

// Caption and unit label of one settings box.
struct FieldCaption {
    const char* caption;
    const char* unit;
};

// The caption/box/unit grid of a settings form.
QGridLayout* MakeFieldGrid();

// One row of that grid: the caption (buddy of the box), a named box and its unit.
QLineEdit* AddFieldRow(QGridLayout* grid, int row, QLabel* caption, const QString& boxName,
                       QLabel* unit);

// A plain named button that never acts as the dialog's default.
QPushButton* MakeButton(const QString& name, const QString& caption);

// The page's own write button, its tooltip in the language in use: starts an exchange, so clicks
// are held off while one runs.
QPushButton* MakeWriteButton(const QString& name, lang::T toolTip);

// Runs apply now and again after every change of language, for as long as owner lives: for
// the texts a language file gives by key rather than by control name.
void FollowLanguage(QObject* owner, const std::function<void()>& apply);

// The red note under every page that explains the colour of wrong entries.
QLabel* MakeWrongEntryNote(const QString& name);

// The note on the left, the write button at the bottom right.
QHBoxLayout* MakePageFooter(QLabel* note, QPushButton* write);

}  // namespace zun::app
