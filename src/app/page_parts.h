#pragma once

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QString>

namespace zun::app {

// Pieces every settings page is built from, so the pages look and behave alike.

QLabel* MakeLabel(const QString& text, const QString& name);

// The page's own write button: starts an exchange, so clicks are held off while one runs.
QPushButton* MakeWriteButton(const QString& name, const QString& toolTip);

// The red note under every page that explains the colour of wrong entries.
QLabel* MakeWrongEntryNote(const QString& name);

// The note on the left, the write button at the bottom right.
QHBoxLayout* MakePageFooter(QLabel* note, QPushButton* write);

}  // namespace zun::app
