#pragma once

#include <QString>

#include <functional>

class QPrinter;

namespace zun::app {

// Every file dialog and message box of the Get Data page goes through these; an empty member
// means the real dialog. A file name hook returns the empty text for a cancelled dialog.
struct LogDialogs {
    std::function<QString(const QString& proposedPath)> saveLogName;
    std::function<QString(const QString& preset)> openLogName;
    std::function<QString(const QString& proposedPath, const QString& filter)> exportName;
    std::function<bool(const QString& question)> askYesNo;
    std::function<void(const QString& text)> information;
    std::function<void(const QString& text)> error;
    // Shows the print dialog for the printer; true when the user chose to print.
    std::function<bool(QPrinter& printer)> print;
};

}  // namespace zun::app
