#include "app/profile_editor.h"

#include "app/busy_guard.h"
#include "app/condition_page.h"
#include "app/event_helpers.h"
#include "app/finding_text.h"
#include "app/general_page.h"
#include "app/protection_page.h"
#include "app/stages_page.h"
#include "lang/program_texts.h"
#include "profile/nominal_voltage.h"
#include "profile/profile_switch.h"
#include "session/charger_session.h"

#include <QApplication>
#include <QEvent>
#include <QFocusEvent>
#include <QHBoxLayout>
#include <QHash>
#include <QKeyEvent>
#include <QMenu>
#include <QMessageBox>
#include <QPainter>
#include <QPointer>
#include <QSet>
#include <QTabBar>
#include <QTimer>
#include <QVBoxLayout>

#include <algorithm>

namespace zun::app {

using lang::T;
using lang::Text;

ProfileEditor::ProfileEditor(WindowState& state, QWidget* parent) : QWidget(parent), state_(state) {
    boxEvents_ = new BoxEvents(this);

    auto* top = new QHBoxLayout;
    auto* lab = new QLabel(QStringLiteral("Profile No :"));
    lab->setObjectName(QStringLiteral("Lab1(0)"));
    CmbPN = new QComboBox;
    CmbPN->setObjectName(QStringLiteral("CmbPN"));
    {
        // No profile is chosen until start-up chooses the first one.
        const QSignalBlocker block(CmbPN);
        CmbPN->addItems({QStringLiteral("1"), QStringLiteral("2")});
        CmbPN->setCurrentIndex(-1);
    }
    CmbPN->setFixedWidth(60);
    lab->setBuddy(CmbPN);
    Image1 = new QLabel;
    Image1->setObjectName(QStringLiteral("Image1"));
    Image1->setFixedSize(48, 26);
    Check1 = new QCheckBox(Text(T::AutoSet));
    Check1->setObjectName(QStringLiteral("Check1"));
    Check1->setToolTip(Text(T::TipAutoSet));
    CmdOK = new QPushButton(QStringLiteral("Write &all pages"));
    CmdOK->setObjectName(QStringLiteral("CmdOK"));
    CmdOK->setToolTip(Text(T::TipWriteAll));
    CmdOK->setMinimumWidth(130);
    cmdOkToolTip_ = CmdOK->toolTip();
    BusyGuard::MarkExchangeStarter(CmdOK);
    CmdToFix = new QToolButton;
    CmdToFix->setObjectName(QStringLiteral("CmdToFix"));
    CmdToFix->setPopupMode(QToolButton::InstantPopup);
    CmdToFix->setMenu(new QMenu(CmdToFix));
    SetTextColour(CmdToFix, kWrongColour);
    CmdToFix->setVisible(false);
    top->addWidget(lab);
    top->addWidget(CmbPN);
    top->addSpacing(6);
    top->addWidget(Image1);
    top->addSpacing(24);
    top->addWidget(Check1);
    top->addStretch();
    top->addWidget(CmdToFix);
    top->addWidget(CmdOK);

    Tab2 = new QTabWidget;
    Tab2->setObjectName(QStringLiteral("Tab2"));
    general_ = new GeneralPage(*this, state_);
    protection_ = new ProtectionPage(*this, state_);
    stages_ = new StagesPage(*this, state_);
    nextCond_ = new ConditionPage(ConditionKind::Next, *this, state_);
    anyCond_ = new ConditionPage(ConditionKind::Any, *this, state_);
    Tab2->addTab(general_, QStringLiteral("General Setting"));
    Tab2->addTab(protection_, QStringLiteral("Protection setting"));
    Tab2->addTab(stages_, QStringLiteral("Charge Stage"));
    Tab2->addTab(nextCond_, QStringLiteral("Next Stage Condition"));
    Tab2->addTab(anyCond_, QStringLiteral("Any Stage Condition"));

    auto* v = new QVBoxLayout(this);
    v->addLayout(top);
    v->addWidget(Tab2, 1);

    connect(CmbPN, &QComboBox::currentIndexChanged, this,
            [this] { RunHandler([this] { CmbPN_Click(); }); });
    connect(Tab2, &QTabWidget::currentChanged, this,
            [this] { RunHandler([this] { Tab2_Click(); }); });
    connect(Check1, &QCheckBox::clicked, this, [this] { RunHandler([this] { Check1_Click(); }); });
    connect(CmdOK, &QPushButton::clicked, this, [this] { RunHandler([this] { CmdOK_Click(); }); });
    if (state_.session != nullptr) {
        connect(state_.session, &session::ChargerSession::pageWritten, this,
                [this](const session::PageResult& r) { RunHandler([&] { PageWritten(r); }); });
    }
    connect(&lang::ProgramTexts::instance(), &lang::ProgramTexts::changed, this,
            &ProfileEditor::retranslate);
    CheckConsistency();
}

ProfileEditor::~ProfileEditor() = default;

void ProfileEditor::retranslate() {
    Check1->setText(Text(T::AutoSet));
    Check1->setToolTip(Text(T::TipAutoSet));
    cmdOkToolTip_ = Text(T::TipWriteAll);
    // The reasons of the red fields, their list and the grey write-all's tooltip.
    RunHandler([this] { CheckConsistency(); });
}

QComboBox* ProfileEditor::nominalVoltage() const {
    return general_->Cmb0NV;
}

void ProfileEditor::Store(MemoryTable table, int entry, const QString& text) {
    const int p = currentProfile();
    if (state_.FillingPages || p < 0 || p > 1) {
        return;
    }
    RunHandler([&] { (state_.memory.*table)(p, entry) = text; });
}

void ProfileEditor::ShowMessage(const QString& text, QMessageBox::Icon icon,
                                const QString& detail) {
    lastDetail_ = detail;
    if (messageHook) {
        messageHook(text);
        return;
    }
    QMessageBox box(icon, window()->windowTitle(), text, QMessageBox::Ok, window());
    box.setInformativeText(detail);
    box.exec();
}

QString ProfileEditor::PageCaption(profile::Page page) const {
    return Tab2->tabText(Tab2->indexOf(pageOf(page)));
}

QWidget* ProfileEditor::pageOf(profile::Page page) const {
    switch (page) {
        case profile::Page::General:
            return general_;
        case profile::Page::Protection:
            return protection_;
        case profile::Page::Stages:
            return stages_;
        case profile::Page::Next:
            return nextCond_;
        case profile::Page::Any:
            return anyCond_;
    }
    return nullptr;
}

void ProfileEditor::ParkFocus(QWidget* w) {
    if (w == nullptr) {
        return;
    }
    QWidget* focus = w->window()->focusWidget();
    if (focus != nullptr && (focus == w || w->isAncestorOf(focus))) {
        Tab2->tabBar()->setFocus(Qt::OtherFocusReason);
    }
}

void ProfileEditor::Tab2_Click() {
    // Qt hands the focus of the page left behind to the first box of the new page; the user
    // did not choose that box, so leaving it later must not run its correction.
    QWidget* focus = window()->focusWidget();
    QWidget* page = Tab2->currentWidget();
    if (focus == nullptr || page == nullptr || !page->isAncestorOf(focus) ||
        !boxEvents_->isWatched(focus)) {
        return;
    }
    boxEvents_->setQuiet(focus);
    Tab2->tabBar()->setFocus(Qt::OtherFocusReason);
    boxEvents_->setQuiet(nullptr);
}

void ProfileEditor::FocusNext(QWidget* from) {
    QWidget* w = from->nextInFocusChain();
    for (int guard = 0; w != nullptr && w != from && guard < 1000; ++guard) {
        if (isAncestorOf(w) && w->isEnabled() && w->isVisibleTo(this) &&
            (w->focusPolicy() & Qt::TabFocus) == Qt::TabFocus) {
            w->setFocus(Qt::TabFocusReason);
            return;
        }
        w = w->nextInFocusChain();
    }
}

void ProfileEditor::WatchBox(QLineEdit* box, std::function<void()> lostFocus,
                             std::function<void(int)> keyUp) {
    boxEvents_->watch(box, BoxEvents::Handlers{box, std::move(lostFocus), std::move(keyUp)});
}

void ProfileEditor::showProfilePicture(int p) {
    QPixmap pix(Image1->size());
    pix.fill(Qt::transparent);
    QPainter painter(&pix);
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor body = p == 0 ? QColor(46, 125, 50) : QColor(21, 101, 192);
    painter.setPen(QPen(body.darker(130), 1.5));
    painter.setBrush(body);
    painter.drawRoundedRect(QRectF(1.5, 2.5, 40, 21), 3, 3);
    painter.drawRect(QRectF(42, 9, 4, 8));
    painter.setPen(Qt::white);
    QFont f = font();
    f.setBold(true);
    painter.setFont(f);
    painter.drawText(QRectF(1.5, 2.5, 40, 21), Qt::AlignCenter, QStringLiteral("P%1").arg(p + 1));
    painter.end();
    Image1->setPixmap(pix);
}

void ProfileEditor::InitPages() {
    auto step = [](const auto& fn) { RunHandler(fn); };
    step([&] { state_.memory.clear(); });
    for (int i = 1; i <= 5; ++i) {
        step([&] { general_->Txt0[i]->setText(QString()); });
    }
    for (QLineEdit* box : protection_->Txt1) {
        step([&] { box->setText(QString()); });
    }
    for (QLineEdit* box : stages_->Txt2) {
        step([&] { box->setText(QString()); });
    }
    step([&] { nextCond_->InitPage(); });
    step([&] { anyCond_->InitPage(); });
}

void ProfileEditor::CmbPN_Click() {
    const int p = CmbPN->currentIndex();
    if (p < 0 || p > 1) {
        return;
    }
    // Every step that fails is skipped and the next one runs.
    auto step = [](const auto& fn) { RunHandler(fn); };
    profile::ProfileMemory& m = state_.memory;

    step([&] { showProfilePicture(p); });
    step([&] {
        // The charger's own voltage wins over the profile's once a charger is identified.
        if (!state_.ChargerModel.isEmpty()) {
            return;
        }
        const std::optional<int> pos = profile::StoredNominalPosition(m.ProfileGeneral(p, 0));
        if (pos) {
            general_->Cmb0NV->setCurrentIndex(*pos);
            if (const auto limits = profile::NominalLimits(*pos)) {
                state_.NominalLimits = *limits;
            }
        }
    });
    for (int i = 1; i <= 5; ++i) {
        step([&] { general_->Txt0[i]->setText(m.ProfileGeneral(p, i)); });
    }
    for (int i = 0; i < 5; ++i) {
        // Txt1(1) follows the nominal voltage, never the profile.
        if (i != 1) {
            step([&] { protection_->Txt1[i]->setText(m.ProfileProtection(p, i)); });
        }
    }

    state_.FillingPages = true;
    // The stage count first, so that its handling has enabled the right stage fields.
    step([&] {
        const std::optional<int> pos =
            profile::StageCountPosition(m.ProfileStages(p, 0), stages_->Cmb2Total->count());
        if (pos) {
            stages_->Cmb2Total->setCurrentIndex(*pos);
        }
    });
    for (int i = 0; i < profile::kStageFieldCount; ++i) {
        step([&] {
            stages_->Txt2[i]->setText(profile::StageFieldText(i, m.ProfileStages(p, i + 1),
                                                              stages_->Cmb2Total->currentText()));
        });
    }
    for (int i = 0; i < profile::kCellCount; ++i) {
        step([&] {
            if (const auto pos = profile::NextCondTypePosition(m.ProfileNextCond(p, i))) {
                nextCond_->CmbType[i]->setCurrentIndex(*pos);
            }
        });
        step([&] { nextCond_->Txt[i]->setText(profile::CellValueText(m.ProfileNextCond(p, i))); });
    }
    for (int s = 0; s < profile::kMaxStages; ++s) {
        step([&] { anyCond_->SelectStoredTarget(s, m.ProfileAnyTarget(p, s)); });
    }
    for (int i = 0; i < profile::kCellCount; ++i) {
        step([&] {
            if (const auto pos = profile::AnyCondTypePosition(m.ProfileAnyCond(p, i))) {
                anyCond_->CmbType[i]->setCurrentIndex(*pos);
            }
        });
        step([&] { anyCond_->Txt[i]->setText(profile::CellValueText(m.ProfileAnyCond(p, i))); });
    }
    state_.FillingPages = false;
}

void ProfileEditor::Cmb0NV_Click() {
    general_->Cmb0NV_Click();
}

void ProfileEditor::Check1_Click() {
    const profile::AutoSetPlan plan =
        profile::AutoSet0(general_->Cmb0NV->currentIndex(), Check1->isChecked());
    // Every assignment goes through the control's own handlers, as typing would.
    stages_->Cmb2Total->setCurrentIndex(plan.Cmb2Total);
    protection_->Txt1[4]->setText(plan.Txt1_4);
    for (const auto& [index, text] : plan.currents) {
        stages_->Txt2[index]->setText(text);
    }
    for (QComboBox* type : nextCond_->CmbType) {
        type->setCurrentIndex(0);
    }
    for (const auto& [index, position] : plan.sectionTypes) {
        nextCond_->CmbType[index]->setCurrentIndex(position);
    }
    for (const auto& [index, text] : plan.sectionTexts) {
        nextCond_->Txt[index]->setText(text);
    }
    for (const auto& [index, text] : plan.voltages) {
        stages_->Txt2[index]->setText(text);
    }
}

void ProfileEditor::CmdOK_Click() {
    CmdOK->setEnabled(false);
    std::vector<session::PageWrite> pages;
    // The General Setting page only while no charger has fixed the nominal voltage.
    if (general_->Cmb0NV->isEnabled()) {
        pages.push_back(general_->pageWrite());
    }
    pages.push_back(protection_->pageWrite());
    pages.push_back(stages_->pageWrite());
    pages.push_back(nextCond_->pageWrite());
    session::PageWrite any = anyCond_->pageWrite();
    any.frames = [this, build = std::move(any.frames)] {
        // The write-all always sends the any-stage conditions empty.
        for (QComboBox* target : anyCond_->Cmb4SN) {
            target->setCurrentIndex(-1);
        }
        for (QComboBox* type : anyCond_->CmbType) {
            type->setCurrentIndex(0);
        }
        return build();
    };
    pages.push_back(std::move(any));

    // The status line follows the write page by page.
    writeAllCount_ = int(pages.size());
    writeAllDone_ = 0;
    for (session::PageWrite& page : pages) {
        page.frames = [this, p = page.page, build = std::move(page.frames)] {
            ++writeAllDone_;
            emit statusMessage(Text(T::WriteAllWriting)
                                   .arg(PageCaption(p))
                                   .arg(writeAllDone_)
                                   .arg(writeAllCount_));
            return build();
        };
    }

    std::vector<session::PageResult> results;
    try {
        results = state_.session->writePages(pages);
    } catch (...) {
        writeAllCount_ = 0;
        CmdOK->setEnabled(true);
        throw;
    }
    writeAllCount_ = 0;
    // Whatever becomes of the any-stage page, the write-all counts as done.
    const auto stop = std::find_if(results.begin(), results.end(), [](const auto& r) {
        return r.page != profile::Page::Any && (r.outcome == session::PageOutcome::Refused ||
                                                r.outcome == session::PageOutcome::NotSent);
    });
    if (stop == results.end()) {
        const QString done = Text(T::WriteAllDone).arg(results.size());
        emit statusMessage(done);
        ShowMessage(Text(T::OkBox), QMessageBox::Information, done);
    } else {
        QStringList after;
        for (auto it = std::next(stop); it != results.end(); ++it) {
            after << PageCaption(it->page);
        }
        QString why = stop->outcome == session::PageOutcome::Refused ? Text(T::PageRefused)
                                                                     : Text(T::PageNotSendable);
        why = why.arg(PageCaption(stop->page));
        if (!stop->lineFailure.isEmpty()) {
            why += QStringLiteral(" (%1)").arg(stop->lineFailure);
        }
        QString detail = Text(T::WriteAllFailed).arg(why);
        if (!after.isEmpty()) {
            detail += QLatin1Char(' ') + Text(T::NotWritten).arg(after.join(QStringLiteral(", ")));
        }
        emit statusMessage(detail);
        ShowMessage(Text(T::FailBox), QMessageBox::Critical, detail);
    }
    CmdOK->setEnabled(true);
}

void ProfileEditor::PageWritten(const session::PageResult& result) {
    QString said;
    switch (result.outcome) {
        case session::PageOutcome::Acknowledged:
            said = Text(T::PageAcknowledged);
            break;
        case session::PageOutcome::Sent:
            said = Text(T::PagePartly);
            break;
        case session::PageOutcome::Refused:
            said = Text(T::PageRefusedAfterTries);
            break;
        case session::PageOutcome::NotSent:
            said = Text(T::PageNotSent);
            break;
    }
    said = said.arg(PageCaption(result.page));
    if (!result.lineFailure.isEmpty()) {
        said += QStringLiteral(" (%1)").arg(result.lineFailure);
    }
    if (writeAllCount_ > 0) {
        said = Text(T::WriteAllProgress).arg(writeAllDone_).arg(writeAllCount_).arg(said);
    }
    emit statusMessage(said);
    switch (result.page) {
        case profile::Page::General:
            if (result.outcome == session::PageOutcome::Acknowledged) {
                general_->Acknowledged();
            }
            break;
        case profile::Page::Next:
            nextCond_->WriteEnded();
            break;
        case profile::Page::Any:
            anyCond_->WriteEnded();
            break;
        default:
            break;
    }
}

void ProfileEditor::LockWrites(bool locked) {
    for (QWidget* b : {general_->CmdOK0, protection_->CmdOK1, stages_->CmdOK2, nextCond_->CmdOKn,
                       anyCond_->CmdOKn}) {
        b->setEnabled(!locked);
    }
}

void ProfileEditor::CheckConsistency() {
    if (general_ == nullptr || protection_ == nullptr || stages_ == nullptr ||
        nextCond_ == nullptr || CmdOK == nullptr) {
        return;
    }
    profile::ConsistencyInput in;
    in.nvPosition = general_->Cmb0NV->currentIndex();
    in.nominalText = general_->Cmb0NV->currentText();
    in.Txt1_1 = protection_->Txt1[1]->text();
    in.Txt1_4 = protection_->Txt1[4]->text();
    in.stagePosition = stages_->Cmb2Total->currentIndex();
    in.stageText = stages_->Cmb2Total->currentText();
    in.Txt2 = stages_->texts();
    in.Cmb3Type = nextCond_->types();
    for (int i = 0; i < profile::kCellCount; ++i) {
        in.Txt3[i] = nextCond_->Txt[i]->text();
    }
    in.slot5Visible = nextCond_->columnShown();
    in.StageVoltMin = state_.StageVoltMin;
    in.StageVoltMax = state_.StageVoltMax;
    in.VoltStep = state_.VoltStep;
    in.RatedCurrent = state_.RatedCurrent;

    using profile::Field;
    const profile::ConsistencyVerdict verdict = profile::CheckConsistency(in);
    SetTextColour(protection_->Txt1[4], TextColourOf(verdict.find(Field::Txt1_4)));
    if (const profile::Finding* count = verdict.find(Field::Cmb2Total)) {
        // The stage count shows its verdict as its background.
        SetBackColour(stages_->Cmb2Total, count->wrong() ? kWrongColour
                                                         : QApplication::palette().color(
                                                               QPalette::Active, QPalette::Base));
    }
    for (int k = 0; k < profile::kStageFieldCount; ++k) {
        SetTextColour(stages_->Txt2[k], TextColourOf(verdict.find(Field::Txt2, k)));
    }
    for (int i = 0; i < profile::kCellCount; ++i) {
        SetTextColour(nextCond_->Txt[i], TextColourOf(verdict.find(Field::Txt3, i)));
        SetTextColour(nextCond_->CmbType[i], TextColourOf(verdict.find(Field::Cmb3Type, i)));
    }
    CmdOK->setEnabled(verdict.cmdOkEnabled);
    showReasons(verdict);
    // Through the type handler, as a user's choice would be; the check it runs again finds
    // nothing more to reset.
    for (int i : verdict.resetToNone) {
        nextCond_->CmbType[i]->setCurrentIndex(0);
    }
}

QWidget* ProfileEditor::controlOf(const profile::Finding& f) const {
    using profile::Field;
    switch (f.field) {
        case Field::Txt1_4:
            return protection_->Txt1[4];
        case Field::Cmb2Total:
            return stages_->Cmb2Total;
        case Field::Txt2:
            return stages_->Txt2[f.index];
        case Field::Txt3:
            return nextCond_->Txt[f.index];
        case Field::Cmb3Type:
            return nextCond_->CmbType[f.index];
        case Field::SectionTotal:
            return nullptr;
    }
    return nullptr;
}

void ProfileEditor::bringUp(QWidget* control, QWidget* page) {
    if (auto* outer =
            qobject_cast<QTabWidget*>(parentWidget() ? parentWidget()->parentWidget() : nullptr)) {
        outer->setCurrentWidget(this);
    }
    Tab2->setCurrentWidget(page);
    if (control != nullptr && control->isEnabled()) {
        control->setFocus(Qt::OtherFocusReason);
    }
}

void ProfileEditor::showReasons(const profile::ConsistencyVerdict& verdict) {
    // A control's own tooltip is kept aside while it shows why it is red.
    static const char kOwnTip[] = "zunOwnToolTip";
    for (QWidget* w : findChildren<QWidget*>()) {
        const QVariant own = w->property(kOwnTip);
        if (own.isValid()) {
            w->setToolTip(own.toString());
            w->setProperty(kOwnTip, QVariant());
        }
    }
    wrong_.clear();
    QSet<QWidget*> markedPages;
    QMenu* menu = CmdToFix->menu();
    menu->clear();
    QStringList lines;
    // The stage times that no longer fit are named one by one, each with their sum.
    QString totalReason;
    bool timesMarked = false;
    for (const profile::Finding& f : verdict.findings) {
        if (f.wrong() && f.field == profile::Field::SectionTotal) {
            totalReason = FindingReason(f);
        } else if (f.wrong() && f.rule == profile::Rule::SectionTimes) {
            timesMarked = true;
        }
    }
    for (const profile::Finding& f : verdict.findings) {
        if (!f.wrong() || (f.field == profile::Field::SectionTotal && timesMarked)) {
            continue;
        }
        wrong_.push_back(f);
        QWidget* control = controlOf(f);
        QWidget* page =
            f.field == profile::Field::Txt1_4
                ? static_cast<QWidget*>(protection_)
                : (f.field == profile::Field::Cmb2Total || f.field == profile::Field::Txt2
                       ? static_cast<QWidget*>(stages_)
                       : static_cast<QWidget*>(nextCond_));
        markedPages.insert(page);
        const bool time = f.rule == profile::Rule::SectionTimes && !totalReason.isEmpty();
        const QString line =
            QStringLiteral("%1: %2").arg(FindingName(f), time ? totalReason : FindingReason(f));
        lines << line;
        if (control != nullptr) {
            if (!control->property(kOwnTip).isValid()) {
                control->setProperty(kOwnTip, control->toolTip());
            }
            control->setToolTip(line);
        }
        QAction* a = menu->addAction(
            QStringLiteral("%1 - %2").arg(Tab2->tabText(Tab2->indexOf(page)), line));
        QPointer<QWidget> target(control);
        connect(a, &QAction::triggered, this, [this, target, page] { bringUp(target, page); });
    }
    // A page holding a wrong entry carries a red mark beside its caption.
    static const QIcon mark = [] {
        QPixmap pix(12, 12);
        pix.fill(Qt::transparent);
        QPainter p(&pix);
        p.setRenderHint(QPainter::Antialiasing);
        p.setPen(Qt::NoPen);
        p.setBrush(kWrongColour);
        p.drawEllipse(QRectF(1, 1, 10, 10));
        return QIcon(pix);
    }();
    for (int i = 0; i < Tab2->count(); ++i) {
        const bool marked = markedPages.contains(Tab2->widget(i));
        Tab2->setTabIcon(i, marked ? mark : QIcon());
        Tab2->tabBar()->setTabTextColor(i, marked ? kWrongColour : QColor());
    }
    CmdToFix->setText(wrong_.size() == 1 ? Text(T::OneToFix)
                                         : Text(T::ManyToFix).arg(wrong_.size()));
    CmdToFix->setToolTip(Text(T::TipShowEntries));
    CmdToFix->setVisible(!wrong_.empty());
    if (CmdOK->isEnabled() || lines.isEmpty()) {
        CmdOK->setToolTip(cmdOkToolTip_);
    } else {
        CmdOK->setToolTip(Text(T::TipNothingWritable) + QStringLiteral("\n") +
                          lines.join(QLatin1Char('\n')));
    }
}

}  // namespace zun::app
