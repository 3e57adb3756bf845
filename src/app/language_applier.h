#pragma once

#include "lang/language_file.h"

class QWidget;

namespace zun::app {

// Sets each caption on the window's child of that name: the text of a label or button, the
// title of a group box, or the tab text of the tab control. Controls the window lacks are
// passed over, so a language file can never make the window fail.
void ApplyLanguage(QWidget* window, const lang::Captions& captions);

}  // namespace zun::app
