#pragma once

#include "link/line_trace.h"

#include <QDialog>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>

#include <functional>

namespace zun::app {

// Every frame sent to and received from the charger with its milliseconds, as zunctl --trace
// prints them, for a support request: copied or saved as a text file.
class LineTraceWindow : public QDialog {
    Q_OBJECT
public:
    explicit LineTraceWindow(const link::LineTrace& trace, QWidget* parent = nullptr);

    // The file name to save to; empty: cancelled. Unset: the real dialog.
    std::function<QString(const QString& proposedPath)> askSavePath;
    // Told why a save failed. Unset: a message box.
    std::function<void(const QString&)> tellError;

    // A frame was recorded: shown at once while the window is open.
    void frameAdded();

    QPlainTextEdit* TxtTrace = nullptr;
    QPushButton* CmdTraceCopy = nullptr;
    QPushButton* CmdTraceSave = nullptr;
    QLabel* LabTrace = nullptr;

protected:
    void showEvent(QShowEvent* event) override;

private:
    void refill();
    void CmdTraceCopy_Click();
    void CmdTraceSave_Click();

    const link::LineTrace& trace_;
};

}  // namespace zun::app
