#include "app/readings_panel.h"

#include "app/busy_guard.h"
#include "app/page_parts.h"
#include "datalog/live_reading.h"
#include "datalog/run_time.h"
#include "session/charger_session.h"

#include <QGridLayout>

#include <algorithm>

namespace zun::app {

ReadingsPanel::ReadingsPanel(WindowState& state, QWidget* parent) : QWidget(parent), state_(state) {
    setObjectName(QStringLiteral("ReadingsPanel"));
    CmdGetOK[0] = MakeButton(QStringLiteral("CmdGetOK(0)"), QStringLiteral("Total Run Time"));
    CmdGetOK[1] = MakeButton(QStringLiteral("CmdGetOK(1)"), QStringLiteral("Charger V I"));
    const QFontMetrics fm(font());
    for (int i = 0; i < 2; ++i) {
        BusyGuard::MarkExchangeStarter(CmdGetOK[i]);
        auto* box = new QPlainTextEdit;
        box->setObjectName(QStringLiteral("TxtGet(%1)").arg(i));
        box->setReadOnly(true);
        box->setLineWrapMode(QPlainTextEdit::NoWrap);
        box->setTabChangesFocus(true);
        box->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        box->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        const int lines = i == 1 ? 3 : 1;
        const int margin = static_cast<int>(box->document()->documentMargin());
        box->setFixedHeight(lines * fm.lineSpacing() + 2 * margin + 2 * box->frameWidth() + 2);
        box->setMinimumWidth(fm.horizontalAdvance(QStringLiteral("bat2:  -14.08V  -10.00A")) +
                             2 * margin + 2 * box->frameWidth() + 4);
        TxtGet[i] = box;
    }
    // "Charger V I" stands first on the page.
    auto* grid = new QGridLayout(this);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->addWidget(CmdGetOK[1], 0, 0, Qt::AlignTop);
    grid->addWidget(TxtGet[1], 0, 1);
    grid->addWidget(CmdGetOK[0], 1, 0);
    grid->addWidget(TxtGet[0], 1, 1);
    grid->setColumnStretch(1, 1);
}

void ReadingsPanel::RunTime() {
    const datalog::RunTimeReading r = state_.session->runTime();
    if (r.outcome == datalog::ReplyOutcome::Clear) {
        setBoxText(0, QString());
    } else if (r.outcome == datalog::ReplyOutcome::Show) {
        setBoxText(0, r.text);
    }
}

void ReadingsPanel::LiveReading() {
    const datalog::LiveReading r = state_.session->liveReading();
    if (r.outcome == datalog::ReplyOutcome::Clear) {
        setBoxText(1, QString());
    } else if (r.outcome == datalog::ReplyOutcome::Show) {
        setBoxText(1, r.text);
    }
}

QString ReadingsPanel::boxText(int index) const {
    return index >= 0 && index < 2 ? texts_[static_cast<size_t>(index)] : QString();
}

void ReadingsPanel::setBoxText(int index, const QString& text) {
    if (index < 0 || index > 1) {
        return;
    }
    texts_[static_cast<size_t>(index)] = text;
    QString shown = text;
    shown.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    TxtGet[static_cast<size_t>(index)]->setPlainText(shown);
}

int ReadingsPanel::buttonWidth() const {
    return std::max(CmdGetOK[0]->sizeHint().width(), CmdGetOK[1]->sizeHint().width());
}

void ReadingsPanel::setButtonWidth(int width) {
    for (QPushButton* b : CmdGetOK) {
        b->setMinimumWidth(width);
    }
}

}  // namespace zun::app
