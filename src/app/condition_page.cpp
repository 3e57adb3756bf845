#include "app/condition_page.h"

#include "app/page_parts.h"
#include "app/profile_editor.h"
#include "app/protection_page.h"
#include "app/stages_page.h"
#include "lang/program_texts.h"
#include "link/codec.h"
#include "profile/consistency_check.h"
#include "profile/field_corrections.h"
#include "profile/profile_switch.h"
#include "profile/single_text.h"
#include "profile/stage_layout.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QScrollArea>
#include <QVBoxLayout>

#include <vector>

namespace zun::app {

using lang::T;
using lang::Text;

namespace {

using profile::kCellCount;
using profile::kMaxStages;
using profile::kSlotCount;

// Row captions in slot order, the same on both pages.
constexpr const char* kRowCaptions[kSlotCount] = {
    "Charging voltage above (V)",
    "Voltage rise in 5 Min. below (A)",
    "Temperature above (C)",
    "Temperature rise above (\u00B0C)",
    "Charging current below (A)",
    "Charging time of this section above (Minute)",
    "Amount of charge in this section above (AH)",
    "Charge in this section percent of nominal bat capacity (%)",
};

// "Stage 1 to 2": the transition out of a stage, the last one back to stage 1.
QString TransitionText(int stage, int stageCount) {
    const auto [from, to] = profile::TransitionStages(stage, stageCount);
    return Text(T::StageToStage).arg(from).arg(to);
}

// The captions the columns carry before a stage count has been chosen.
QString designCaption(int stage) {
    if (stage == 0) {
        return QStringLiteral("** ") + Text(T::StageToStage).arg(1).arg(2);
    }
    return TransitionText(stage, kMaxStages);
}

}  // namespace

ConditionPage::ConditionPage(ConditionKind kind, ProfileEditor& editor, WindowState& state,
                             QWidget* parent)
    : QWidget(parent), kind_(kind), editor_(editor), state_(state) {
    shown_.fill(true);
    const bool next = kind_ == ConditionKind::Next;
    Title = MakeLabel(next ? QStringLiteral("CONDITIONS OF MOVE TO NEXT STAGE")
                           : QStringLiteral("CONDITIONS OF JUMP TO ANY STAGE"),
                      next ? QStringLiteral("Label3(17)") : QStringLiteral("Label3(19)"));
    QFont bold = Title->font();
    bold.setBold(true);
    Title->setFont(bold);

    Note = MakeWrongEntryNote(next ? QStringLiteral("Label3(16)") : QStringLiteral("Label3(20)"));
    CmdOKn = MakeWriteButton(next ? QStringLiteral("CmdOK3") : QStringLiteral("CmdOK4"),
                             T::TipWriteConditions);
    QHBoxLayout* bottom = MakePageFooter(Note, CmdOKn);

    auto* v = new QVBoxLayout(this);
    v->setContentsMargins(12, 12, 12, 12);
    v->addWidget(Title);
    v->addWidget(buildGrid(), 1);
    v->addLayout(bottom);
    connectCells();
}

// The condition grid in a scroll area: row captions on the left, a column per stage.
QWidget* ConditionPage::buildGrid() {
    const bool next = kind_ == ConditionKind::Next;
    auto* gridHost = new QWidget;
    gridHost->setObjectName(next ? QStringLiteral("NextGrid") : QStringLiteral("AnyGrid"));
    auto* grid = new QGridLayout(gridHost);
    grid->setHorizontalSpacing(4);
    grid->setVerticalSpacing(6);
    grid->setContentsMargins(6, 6, 6, 6);

    const int rowBase = next ? 0 : 8;
    for (int slot = 0; slot < kSlotCount; ++slot) {
        RowLabel[slot] = MakeLabel(QString::fromUtf8(kRowCaptions[slot]),
                                   QStringLiteral("Label3(%1)").arg(rowBase + slot));
        // The column is as wide as its longest caption, in whatever language, up to the
        // longest English one: a longer translation wraps onto a second line rather than
        // pushing the stage columns out of a 1024-pixel window.
        RowLabel[slot]->setWordWrap(true);
        RowLabel[slot]->setFixedWidth(
            RowLabel[slot]->fontMetrics().horizontalAdvance(QString::fromUtf8(kRowCaptions[7])) +
            8);
        grid->addWidget(RowLabel[slot], slot + 1, 0);
    }
    if (!next) {
        TargetLabel = MakeLabel(QStringLiteral("Jump to stage"), QStringLiteral("Label3(18)"));
        grid->addWidget(TargetLabel, kSlotCount + 1, 0);
    }
    // Created transition by transition, so the tab order runs down one column at a time.
    for (int s = 0; s < kMaxStages; ++s) {
        addStageColumn(grid, s);
    }
    grid->setColumnStretch(1 + 2 * kMaxStages, 1);
    grid->setRowStretch(kSlotCount + 2, 1);

    auto* scroll = new QScrollArea;
    scroll->setWidget(gridHost);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    // The grid sits on the tab page's own background, not a grey scroll area.
    scroll->setAutoFillBackground(false);
    scroll->viewport()->setAutoFillBackground(false);
    gridHost->setAutoFillBackground(false);
    return scroll;
}

// One stage's column: its caption, a type box and a value box per condition, and on the
// any-stage page the stage to jump to.
void ConditionPage::addStageColumn(QGridLayout* grid, int s) {
    const bool next = kind_ == ConditionKind::Next;
    const QString typeName = next ? QStringLiteral("Cmb3Type(%1)") : QStringLiteral("Cmb4Type(%1)");
    const QString txtName = next ? QStringLiteral("Txt3(%1)") : QStringLiteral("Txt4(%1)");
    const QString colName = next ? QStringLiteral("LabNext(%1)") : QStringLiteral("LabAny(%1)");
    const QStringList typeItems{Text(T::TypeNone), Text(T::TypeAnd), Text(T::TypeOr)};
    const int col = 1 + 2 * s;
    LabCol[s] = MakeLabel(next ? designCaption(s) : columnCaption(s, kMaxStages), colName.arg(s));
    LabCol[s]->setAlignment(Qt::AlignCenter);
    LabCol[s]->setFont(Title->font());
    grid->addWidget(LabCol[s], 0, col, 1, 2);
    for (int slot = 0; slot < kSlotCount; ++slot) {
        const int i = s * kSlotCount + slot;
        CmbType[i] = new QComboBox;
        CmbType[i]->setObjectName(typeName.arg(i));
        {
            const QSignalBlocker block(CmbType[i]);
            CmbType[i]->addItems(typeItems);
            CmbType[i]->setCurrentIndex(0);
        }
        CmbType[i]->setFixedWidth(66);
        Txt[i] = new QLineEdit;
        Txt[i]->setObjectName(txtName.arg(i));
        Txt[i]->setFixedWidth(58);
        grid->addWidget(CmbType[i], slot + 1, col);
        grid->addWidget(Txt[i], slot + 1, col + 1);
    }
    if (!next) {
        Cmb4SN[s] = new QComboBox;
        Cmb4SN[s]->setObjectName(QStringLiteral("Cmb4SN(%1)").arg(s));
        Cmb4SN[s]->setFixedWidth(66);
        grid->addWidget(Cmb4SN[s], kSlotCount + 1, col);
        // A target the technician picks belongs to the profile like every other entry, so
        // that switching profiles does not lose it.
        connect(Cmb4SN[s], &QComboBox::activated, this, [this, s] {
            const int p = editor_.currentProfile();
            if (!state_.FillingPages && p >= 0) {
                state_.memory.ProfileAnyTarget(p, s) =
                    profile::SingleText(link::TextToSingle(Cmb4SN[s]->currentText()) - 1);
            }
        });
    }
    grid->setColumnMinimumWidth(col + 1, 58);
}

void ConditionPage::retranslate() {
    const QStringList types{Text(T::TypeNone), Text(T::TypeAnd), Text(T::TypeOr)};
    for (QComboBox* type : CmbType) {
        for (int k = 0; k < types.size() && k < type->count(); ++k) {
            type->setItemText(k, types[k]);
        }
    }
    for (int s = 0; s < kMaxStages; ++s) {
        if (captionStages_ < 0) {
            LabCol[s]->setText(kind_ == ConditionKind::Next ? designCaption(s)
                                                            : columnCaption(s, kMaxStages));
        } else if (shown_[s]) {
            LabCol[s]->setText(columnCaption(s, captionStages_));
        }
    }
}

void ConditionPage::connectCells() {
    connect(&lang::ProgramTexts::instance(), &lang::ProgramTexts::changed, this,
            &ConditionPage::retranslate);
    for (int i = 0; i < kCellCount; ++i) {
        setCellUsed(i, false);
        connect(CmbType[i], &QComboBox::currentIndexChanged, this,
                [this, i] { RunHandler([&] { CmbType_Click(i); }); });
        connect(Txt[i], &QLineEdit::textChanged, this,
                [this, i] { RunHandler([&] { Txt_Change(i); }); });
        editor_.WatchBox(
            Txt[i], [this, i] { Txt_LostFocus(i); }, [this, i](int key) { Txt_KeyUp(i, key); });
    }
    connect(CmdOKn, &QPushButton::clicked, this, [this] { RunHandler([&] { CmdOK_Click(); }); });
}

// The next-stage page names the transition, the any-stage page the stage the jump leaves.
QString ConditionPage::columnCaption(int stage, int stageCount) const {
    if (kind_ == ConditionKind::Next) {
        return TransitionText(stage, stageCount);
    }
    return Text(T::StageNumber).arg(stage + 1);
}

ConditionPage::MemoryTable ConditionPage::table() const {
    return kind_ == ConditionKind::Next ? &profile::ProfileMemory::ProfileNextCond
                                        : &profile::ProfileMemory::ProfileAnyCond;
}

std::array<int, kCellCount> ConditionPage::types() const {
    std::array<int, kCellCount> out{};
    for (int i = 0; i < kCellCount; ++i) {
        out[i] = CmbType[i]->currentIndex();
    }
    return out;
}

profile::ConditionGrid ConditionPage::grid() const {
    profile::ConditionGrid g;
    g.types = types();
    for (int i = 0; i < kCellCount; ++i) {
        g.texts[i] = Txt[i]->text();
    }
    return g;
}

profile::AnyCondFields ConditionPage::anyPage() const {
    profile::AnyCondFields page;
    page.grid = grid();
    for (int s = 0; s < kMaxStages; ++s) {
        if (Cmb4SN[s] != nullptr) {
            page.targetPositions[s] = Cmb4SN[s]->currentIndex();
            page.targetTexts[s] = Cmb4SN[s]->currentText();
        }
    }
    return page;
}

void ConditionPage::setCellUsed(int Index, bool used) {
    QLineEdit* box = Txt[Index];
    if (used) {
        SetBackColour(box, editor_.CmbPN->palette().color(QPalette::Base));
    } else {
        editor_.ParkFocus(box);
        SetBackColour(box, palette().color(QPalette::Window));
    }
    box->setEnabled(used);
}

void ConditionPage::CmbType_Click(int Index) {
    const int type = CmbType[Index]->currentIndex();
    if (type <= 0) {
        Txt[Index]->setText(QString());
        setCellUsed(Index, false);
    } else {
        setCellUsed(Index, true);
    }
    const int n = editor_.stages() ? editor_.stages()->stageCount() : 0;
    CmdOKn->setEnabled(!profile::HasTypeConflict(types(), n));
    editor_.Store(table(), Index,
                  profile::CondEntryOfTypeChange(qMax(type, 0), Txt[Index]->text()));
    if (kind_ == ConditionKind::Next) {
        editor_.CheckConsistency();
    }
}

void ConditionPage::Txt_Change(int Index) {
    editor_.Store(table(), Index,
                  profile::CondEntry(qMax(CmbType[Index]->currentIndex(), 0), Txt[Index]->text()));
    if (kind_ == ConditionKind::Next) {
        editor_.CheckConsistency();
    }
}

void ConditionPage::Txt_KeyUp(int Index, int KeyCode) {
    QLineEdit* box = Txt[Index];
    if (const std::optional<QString> capped = profile::Txt3_KeyUp(Index, box->text())) {
        box->setText(*capped);
        box->end(false);
    }
    if (KeyCode == Qt::Key_Return || KeyCode == Qt::Key_Enter) {
        editor_.FocusNext(box);
    }
}

void ConditionPage::Txt_LostFocus(int Index) {
    profile::ConditionContext context;
    context.nvPosition = editor_.nominalVoltage()->currentIndex();
    context.voltStep = state_.VoltStep;
    context.stageVoltMin = state_.StageVoltMin;
    context.stageVoltMax = state_.StageVoltMax;
    if (StagesPage* stages = editor_.stages()) {
        context.Txt2 = stages->texts();
    }
    ProtectionPage* protection = editor_.protection();
    if (protection != nullptr) {
        context.Txt1_3 = protection->Txt1[3]->text();
        context.Txt1_4 = protection->Txt1[4]->text();
    }
    for (int i = 0; i < kCellCount; ++i) {
        context.texts[i] = Txt[i]->text();
    }
    context.slot5Visible = shown_;

    const profile::CellCorrection c = profile::Txt3_LostFocus(Index, Txt[Index]->text(), context);
    Txt[Index]->setText(c.text);
    if (c.Txt1_3 && protection != nullptr) {
        protection->Txt1[3]->setText(*c.Txt1_3);
    }
    if (c.totalTimeExceeded) {
        std::array<QString, kCellCount> texts;
        for (int i = 0; i < kCellCount; ++i) {
            texts[i] = Txt[i]->text();
        }
        const double sum = profile::SectionTimeSum(texts, shown_);
        const double limit = static_cast<double>(link::TextToSingle(context.Txt1_4) * 60.0f);
        editor_.ShowMessage(
            Text(T::TotalTimeExceeded), QMessageBox::Warning,
            Text(T::StageTimesSum)
                .arg(QString::number(sum, 'g', 6), QString::number(limit, 'g', 6), context.Txt1_4));
    }
}

void ConditionPage::CmdOK_Click() {
    state_.session->writePages({pageWrite()});
}

session::PageWrite ConditionPage::pageWrite() {
    const bool next = kind_ == ConditionKind::Next;
    return {next ? profile::Page::Next : profile::Page::Any, [this] { return buildFrames(); },
            next};
}

std::optional<QStringList> ConditionPage::buildFrames() {
    const bool next = kind_ == ConditionKind::Next;
    CmdOKn->setEnabled(false);
    const int stages = editor_.stages() ? editor_.stages()->stageCount() : 0;
    const int profileNo = editor_.currentProfile();
    const bool identified = editor_.chargerIdentified();
    // Every frame is built before the first is sent: a value that does not fit its field
    // stops the write with nothing sent.
    QStringList built;
    try {
        const profile::ConditionGrid g = grid();
        const profile::AnyCondFields any = next ? profile::AnyCondFields{} : anyPage();
        for (int stage = 0; stage < stages; ++stage) {
            built << (next ? profile::NextCondFrame(profileNo, stage, g, identified)
                           : profile::AnyCondFrame(profileNo, stage, any, identified));
        }
    } catch (const std::exception& e) {
        editor_.ShowMessage(QString::fromLatin1(e.what()), QMessageBox::Critical,
                            Text(T::NothingSent));
        return std::nullopt;
    }
    return built;
}

void ConditionPage::WriteEnded() {
    // The next-stage page's button stays off until its types are checked again.
    if (kind_ == ConditionKind::Any) {
        CmdOKn->setEnabled(true);
    }
}

void ConditionPage::InitPage() {
    for (int i = 0; i < kCellCount; ++i) {
        CmbType[i]->setCurrentIndex(0);
        Txt[i]->setText(QString());
    }
    for (QComboBox* target : Cmb4SN) {
        if (target != nullptr && target->count() > 0) {
            target->setCurrentIndex(0);
        }
    }
}

void ConditionPage::ShowColumns(int stageCount) {
    captionStages_ = stageCount;
    auto* grid = qobject_cast<QGridLayout*>(LabCol[0]->parentWidget()->layout());
    for (int s = 0; s < kMaxStages; ++s) {
        const bool shown = profile::StageVisible(s, stageCount);
        shown_[s] = shown;
        // A hidden stage keeps no room, so the page scrolls only when the shown ones need it.
        if (grid != nullptr) {
            grid->setColumnMinimumWidth(2 + 2 * s, shown ? 58 : 0);
        }
        if (shown) {
            LabCol[s]->setText(columnCaption(s, stageCount));
        }
        std::vector<QWidget*> parts{LabCol[s]};
        for (int slot = 0; slot < kSlotCount; ++slot) {
            parts.push_back(CmbType[s * kSlotCount + slot]);
            parts.push_back(Txt[s * kSlotCount + slot]);
        }
        if (Cmb4SN[s] != nullptr) {
            parts.push_back(Cmb4SN[s]);
        }
        for (QWidget* w : parts) {
            if (!shown) {
                editor_.ParkFocus(w);
            }
            w->setVisible(shown);
        }
    }
}

void ConditionPage::FillTargets(int stageCount) {
    const int p = editor_.currentProfile();
    for (int s = 0; s < kMaxStages; ++s) {
        QComboBox* target = Cmb4SN[s];
        if (target == nullptr) {
            continue;
        }
        {
            // Filling a list selects its first item by itself; the window's lists start empty.
            const QSignalBlocker block(target);
            target->clear();
            target->addItems(profile::TargetItems(s, stageCount));
            target->setCurrentIndex(-1);
        }
        if (p >= 0) {
            SelectStoredTarget(s, state_.memory.ProfileAnyTarget(p, s));
        }
    }
}

void ConditionPage::SelectStoredTarget(int stage, const QString& storedTarget) {
    QComboBox* target = Cmb4SN.at(stage);
    if (target == nullptr) {
        return;
    }
    QStringList items;
    for (int j = 0; j < target->count(); ++j) {
        items << target->itemText(j);
    }
    if (const std::optional<int> j = profile::AnyTargetPosition(storedTarget, items)) {
        target->setCurrentIndex(*j);
    }
}

}  // namespace zun::app
