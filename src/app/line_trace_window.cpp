#include "app/line_trace_window.h"

#include "app/page_parts.h"
#include "fileio/save_file.h"
#include "lang/program_texts.h"

#include <QClipboard>
#include <QDateTime>
#include <QDir>
#include <QFileDialog>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QMessageBox>
#include <QScrollBar>
#include <QVBoxLayout>

namespace zun::app {

using lang::T;
using lang::Text;

LineTraceWindow::LineTraceWindow(const link::LineTrace& trace, QWidget* parent)
    : QDialog(parent), trace_(trace) {
    setObjectName(QStringLiteral("FrmLineTrace"));
    TxtTrace = new QPlainTextEdit;
    TxtTrace->setObjectName(QStringLiteral("TxtTrace"));
    TxtTrace->setReadOnly(true);
    TxtTrace->setLineWrapMode(QPlainTextEdit::NoWrap);
    TxtTrace->setFont(QFont(QStringLiteral("monospace")));
    // Never more lines on screen than the trace keeps.
    TxtTrace->setMaximumBlockCount(int(link::LineTrace::kCapacity) + 1);
    CmdTraceCopy = new QPushButton;
    CmdTraceCopy->setObjectName(QStringLiteral("CmdTraceCopy"));
    CmdTraceSave = new QPushButton;
    CmdTraceSave->setObjectName(QStringLiteral("CmdTraceSave"));
    LabTrace = new QLabel;
    LabTrace->setObjectName(QStringLiteral("LabTrace"));
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(LabTrace, 1);
    buttons->addWidget(CmdTraceCopy);
    buttons->addWidget(CmdTraceSave);
    auto* v = new QVBoxLayout(this);
    v->addWidget(TxtTrace, 1);
    v->addLayout(buttons);
    resize(640, 480);
    connect(CmdTraceCopy, &QPushButton::clicked, this, &LineTraceWindow::CmdTraceCopy_Click);
    connect(CmdTraceSave, &QPushButton::clicked, this, &LineTraceWindow::CmdTraceSave_Click);
    FollowLanguage(this, [this] {
        setWindowTitle(Text(T::LineTraceTitle));
        CmdTraceCopy->setText(Text(T::Copy));
        CmdTraceSave->setText(Text(T::SaveEllipsis));
        LabTrace->setText(Text(T::Frames).arg(trace_.size()));
    });
}

void LineTraceWindow::showEvent(QShowEvent* event) {
    refill();
    QDialog::showEvent(event);
}

void LineTraceWindow::refill() {
    TxtTrace->setPlainText(trace_.text().chopped(trace_.size() > 0 ? 1 : 0));
    TxtTrace->verticalScrollBar()->setValue(TxtTrace->verticalScrollBar()->maximum());
    LabTrace->setText(Text(T::Frames).arg(trace_.size()));
}

void LineTraceWindow::frameAdded() {
    if (!isVisible() || trace_.size() == 0) {
        return;
    }
    TxtTrace->appendPlainText(link::TraceLine(trace_.at(trace_.size() - 1)));
    LabTrace->setText(Text(T::Frames).arg(trace_.size()));
}

void LineTraceWindow::CmdTraceCopy_Click() {
    QGuiApplication::clipboard()->setText(trace_.text());
}

void LineTraceWindow::CmdTraceSave_Click() {
    const QString proposed = QDir::home().filePath(
        QStringLiteral("ZUN-Trace-%1.txt")
            .arg(QDateTime::currentDateTime().toString(QStringLiteral("yyMMdd-HHmmss"))));
    const QString path = askSavePath
                             ? askSavePath(proposed)
                             : QFileDialog::getSaveFileName(this, Text(T::SaveLineTraceTitle),
                                                            proposed, Text(T::TextFilter));
    if (path.isEmpty()) {
        return;
    }
    // The shared safe writer: a failed save leaves an existing file as it was and says why.
    const fileio::SaveOutcome saved = fileio::SaveWholeFile(path, trace_.text().toUtf8());
    if (!saved.ok) {
        const QString why =
            Text(T::LineTraceNotSaved).arg(QDir::toNativeSeparators(path), saved.reason);
        if (tellError) {
            tellError(why);
        } else {
            QMessageBox::warning(this, QString(), why);
        }
    }
}

}  // namespace zun::app
