#include "app/get_data_page.h"

#include "app/event_helpers.h"
#include "app/log_chart_view.h"
#include "app/log_panel.h"
#include "app/monitor_panel.h"
#include "app/readings_panel.h"

#include <QDir>
#include <QHBoxLayout>
#include <QKeySequence>
#include <QVBoxLayout>

#include <algorithm>

namespace zun::app {

GetDataPage::GetDataPage(WindowState& state, QWidget* parent)
    : QWidget(parent), state_(state), lastFolder_(QDir::homePath()) {
    buildPanels();
    nameControls();
    addShortcuts();
    arrange();
    for (int i = 0; i < 3; ++i) {
        connect(CmdGetOK[i], &QPushButton::clicked, this, [this, i] { CmdGetOK_Click(i); });
    }
    InitLogTable();
}

void GetDataPage::buildPanels() {
    Readings = new ReadingsPanel(state_);
    Log = new LogPanel(state_, dialogs, lastFolder_);
    const ChartPanel::Source source{Log->chartTable(), Log->chartAh(),
                                    [this] { return Log->chartLabTime(); },
                                    [this] { return Log->TxtGetDesc->text(); }};
    PB = new ChartPanel(source, dialogs, lastFolder_);
    Log->setChart(PB);
    Monitor = new MonitorPanel(state_, [this](const QString& t) { Readings->setBoxText(1, t); });
}

void GetDataPage::nameControls() {
    CmdGetOK = {Readings->CmdGetOK[0], Readings->CmdGetOK[1], Log->CmdDataLog};
    TxtGet = Readings->TxtGet;
    FG1 = Log->FG1;
    TxtRow = Log->TxtRow;
    LabelRow = Log->LabelRow;
    TxtGetDesc = Log->TxtGetDesc;
    LabelGetDesc = Log->LabelGetDesc;
    LabTime = Log->LabTime;
    LabDownDisp = Log->LabDownDisp;
    LabDownMissing = Log->LabDownMissing;
    CmdGetSave = Log->CmdGetSave;
    CmdGetOpen = Log->CmdGetOpen;
    CmdPrint = PB->CmdPrint;
    CmdExportPdf = PB->CmdExportPdf;
    CmdExportPng = PB->CmdExportPng;
    PP = PB->PP;
}

void GetDataPage::addShortcuts() {
    AddButtonShortcut(CmdGetOK[0], QKeySequence(Qt::Key_F5), state_.busy);
    AddButtonShortcut(CmdGetOK[1], QKeySequence(Qt::Key_F6), state_.busy);
    AddButtonShortcut(CmdGetOK[2], QKeySequence(Qt::Key_F7), state_.busy);
    // The captions come from the language files: shortcuts rather than mnemonics.
    AddButtonShortcut(CmdGetSave, QKeySequence::Save, state_.busy);
    AddButtonShortcut(CmdGetOpen, QKeySequence::Open, state_.busy);
    AddButtonShortcut(CmdPrint, QKeySequence::Print, state_.busy);
    AddButtonShortcut(CmdExportPdf, QKeySequence(Qt::CTRL | Qt::Key_E), state_.busy);
    AddButtonShortcut(CmdExportPng, QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_E), state_.busy);
}

void GetDataPage::arrange() {
    auto* left = new QWidget;
    left->setObjectName(QStringLiteral("GetDataLeft"));
    auto* lv = new QVBoxLayout(left);
    lv->setContentsMargins(0, 0, 0, 0);
    lv->addWidget(Readings);
    lv->addWidget(Log, 1);

    auto* h = new QHBoxLayout(this);
    h->addWidget(left);
    auto* right = new QVBoxLayout;
    right->addWidget(Monitor);
    right->addWidget(PB, 1);
    h->addLayout(right, 1);

    setTabOrder(CmdGetOK[1], CmdGetOK[0]);
    setTabOrder(CmdGetOK[0], CmdGetOK[2]);
    setTabOrder(CmdGetOK[2], FG1);
    setTabOrder(FG1, TxtRow[0]);
    setTabOrder(TxtRow[0], TxtRow[1]);
    setTabOrder(TxtRow[1], TxtGetDesc);
    setTabOrder(TxtGetDesc, CmdGetSave);
    setTabOrder(CmdGetSave, CmdGetOpen);
    setTabOrder(CmdGetOpen, CmdPrint);
    setTabOrder(CmdPrint, CmdExportPdf);
    setTabOrder(CmdExportPdf, CmdExportPng);
}

void GetDataPage::InitLogTable() {
    Log->InitLogTable();
    fitLeftColumn();
}

void GetDataPage::fitLeftColumn() {
    // The three request buttons stand in one column, as wide as the widest caption.
    const int buttons = std::max(Readings->buttonWidth(), CmdGetOK[2]->sizeHint().width());
    Readings->setButtonWidth(buttons);
    CmdGetOK[2]->setMinimumWidth(buttons);
    // As wide as the table, or wider when the captions of a language need it.
    if (QWidget* left = Log->parentWidget()) {
        for (QWidget* w : {static_cast<QWidget*>(Readings), static_cast<QWidget*>(Log), left}) {
            w->layout()->activate();
        }
        left->setFixedWidth(std::max(FG1->minimumWidth(), left->minimumSizeHint().width()));
    }
}

void GetDataPage::ArrangeLayout() {
    try {
        fitLeftColumn();
        if (layout() != nullptr) {
            layout()->activate();
        }
        // The chart is painted from the table at the surface's new size.
        PP->update();
    } catch (...) {
    }
}

void GetDataPage::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    if (isVisible()) {
        ArrangeLayout();
    }
}

void GetDataPage::CmdGetOK_Click(int Index) {
    if (Index < 0 || Index > 2) {
        return;
    }
    QPushButton* button = CmdGetOK[static_cast<size_t>(Index)];
    Log->parkFocus();
    button->setEnabled(false);
    try {
        switch (Index) {
            case 0:
                Readings->RunTime();
                break;
            case 1:
                Readings->LiveReading();
                break;
            default:
                Log->DataLog(std::vector<QWidget*>(CmdGetOK.begin(), CmdGetOK.end()));
                break;
        }
    } catch (...) {
        // A failing read ends the handler quietly, as the window's handlers do.
    }
    button->setEnabled(true);
    button->setFocus(Qt::OtherFocusReason);
}

void GetDataPage::CmdGetSave_Click() {
    Log->CmdGetSave_Click();
}

void GetDataPage::CmdGetOpen_Click() {
    Log->CmdGetOpen_Click();
}

void GetDataPage::CmdPrint_Click() {
    PB->CmdPrint_Click();
}

void GetDataPage::CmdExportPdf_Click() {
    PB->CmdExportPdf_Click();
}

void GetDataPage::CmdExportPng_Click() {
    PB->CmdExportPng_Click();
}

void GetDataPage::TxtRow_LostFocus(int Index) {
    Log->TxtRow_LostFocus(Index);
}

void GetDataPage::TxtGetDesc_LostFocus() {
    Log->TxtGetDesc_LostFocus();
}

void GetDataPage::TxtGetDesc_KeyUp(int KeyCode) {
    Log->TxtGetDesc_KeyUp(KeyCode);
}

void GetDataPage::DrawLogChart() {
    Log->DrawLogChart();
}

std::pair<int, int> GetDataPage::chartedRange() const {
    return Log->chartedRange();
}

const datalog::LogTableModel& GetDataPage::chartTable() const {
    return Log->chartTable();
}

const datalog::LogTableModel& GetDataPage::logTable() const {
    return Log->logTable();
}

const std::vector<float>& GetDataPage::chargeAh() const {
    return Log->chargeAh();
}

bool GetDataPage::downloading() const {
    return Log->downloading();
}

QString GetDataPage::lastMessageDetail() const {
    return Log->lastMessageDetail();
}

QString GetDataPage::TxtGetText(int index) const {
    return Readings->boxText(index);
}

}  // namespace zun::app
