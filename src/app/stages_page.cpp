#include "app/stages_page.h"

#include "app/condition_page.h"
#include "app/page_parts.h"
#include "app/profile_editor.h"
#include "app/protection_page.h"
#include "lang/program_texts.h"
#include "profile/field_corrections.h"
#include "profile/stage_layout.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QVBoxLayout>

namespace zun::app {

using lang::T;
using lang::Text;

StagesPage::StagesPage(ProfileEditor& editor, WindowState& state, QWidget* parent)
    : QWidget(parent), editor_(editor), state_(state) {
    shown_.fill(true);
    Lab2[0] = MakeLabel(QStringLiteral("CHARGE STAGE VOLTAGE & CURRENT SETTING"),
                        QStringLiteral("Lab2(0)"));
    QFont titleFont = Lab2[0]->font();
    titleFont.setBold(true);
    Lab2[0]->setFont(titleFont);

    Lab2[1] = MakeLabel(QStringLiteral("Number of stages :"), QStringLiteral("Lab2(1)"));
    Cmb2Total = new QComboBox;
    Cmb2Total->setObjectName(QStringLiteral("Cmb2Total"));
    {
        const QSignalBlocker block(Cmb2Total);
        Cmb2Total->addItems(
            {QStringLiteral("1"), QStringLiteral("2"), QStringLiteral("3"), QStringLiteral("4")});
        Cmb2Total->setCurrentIndex(-1);
    }
    Cmb2Total->setFixedWidth(70);
    Lab2[1]->setBuddy(Cmb2Total);
    auto* countRow = new QHBoxLayout;
    countRow->addWidget(Lab2[1]);
    countRow->addWidget(Cmb2Total);
    countRow->addStretch(1);

    auto* grid = new QGridLayout;
    grid->setHorizontalSpacing(8);
    grid->setVerticalSpacing(8);
    for (int s = 1; s <= profile::kMaxStages; ++s) {
        const int row = s - 1;
        Lab2[3 * s + 3] = MakeLabel(QStringLiteral("Stage %1 :").arg(s),
                                    QStringLiteral("Lab2(%1)").arg(3 * s + 3));
        Lab2[3 * s + 4] = MakeLabel(QStringLiteral("V"), QStringLiteral("Lab2(%1)").arg(3 * s + 4));
        Lab2[3 * s + 5] = MakeLabel(QStringLiteral("A"), QStringLiteral("Lab2(%1)").arg(3 * s + 5));
        for (int k = 0; k < 2; ++k) {
            const int i = 2 * s - 2 + k;
            Txt2[i] = new QLineEdit;
            Txt2[i]->setObjectName(QStringLiteral("Txt2(%1)").arg(i));
            Txt2[i]->setFixedWidth(80);
        }
        Lab2[3 * s + 3]->setBuddy(Txt2[2 * s - 2]);
        grid->addWidget(Lab2[3 * s + 3], row, 0);
        grid->addWidget(Txt2[2 * s - 2], row, 1);
        grid->addWidget(Lab2[3 * s + 4], row, 2);
        grid->addWidget(Txt2[2 * s - 1], row, 3);
        grid->addWidget(Lab2[3 * s + 5], row, 4);
    }
    grid->setColumnMinimumWidth(2, 24);
    grid->setColumnStretch(5, 1);

    Lab2[2] = MakeWrongEntryNote(QStringLiteral("Lab2(2)"));

    CmdOK2 = MakeWriteButton(QStringLiteral("CmdOK2"), T::TipWriteStages);

    QHBoxLayout* bottom = MakePageFooter(Lab2[2], CmdOK2);

    auto* v = new QVBoxLayout(this);
    v->setContentsMargins(20, 16, 20, 16);
    v->addWidget(Lab2[0]);
    v->addSpacing(8);
    v->addLayout(countRow);
    v->addSpacing(8);
    v->addLayout(grid);
    v->addStretch(1);
    v->addLayout(bottom);

    connect(Cmb2Total, &QComboBox::currentIndexChanged, this,
            [this] { RunHandler([&] { Cmb2Total_Click(); }); });
    for (int i = 0; i < profile::kStageFieldCount; ++i) {
        connect(Txt2[i], &QLineEdit::textChanged, this,
                [this, i] { RunHandler([&] { Txt2_Change(i); }); });
        editor_.WatchBox(
            Txt2[i], [this, i] { Txt2_LostFocus(i); }, [this, i](int key) { Txt2_KeyUp(i, key); });
    }
    connect(CmdOK2, &QPushButton::clicked, this, [this] { RunHandler([&] { CmdOK2_Click(); }); });
}

int StagesPage::stageCount() const {
    return profile::StageCountOfText(Cmb2Total->currentText());
}

std::array<QString, profile::kStageFieldCount> StagesPage::texts() const {
    std::array<QString, profile::kStageFieldCount> out;
    for (int i = 0; i < profile::kStageFieldCount; ++i) {
        out[i] = Txt2[i]->text();
    }
    return out;
}

void StagesPage::Cmb2Total_Click() {
    const int n = stageCount();
    editor_.Store(&profile::ProfileMemory::ProfileStages, 0, Cmb2Total->currentText());

    for (int i = 0; i < profile::kStageFieldCount; ++i) {
        const bool enable = profile::Txt2Enabled(i, n);
        if (!enable) {
            editor_.ParkFocus(Txt2[i]);
        }
        Txt2[i]->setEnabled(enable);
    }
    for (int s = 0; s < profile::kMaxStages; ++s) {
        shown_[s] = profile::StageVisible(s, n);
        QWidget* parts[] = {Lab2[3 * s + 6], Txt2[2 * s], Lab2[3 * s + 7], Txt2[2 * s + 1],
                            Lab2[3 * s + 8]};
        for (QWidget* w : parts) {
            if (!shown_[s]) {
                editor_.ParkFocus(w);
            }
            w->setVisible(shown_[s]);
        }
    }

    if (ConditionPage* any = editor_.anyCond()) {
        any->FillTargets(n);
    }
    for (ConditionPage* page : {editor_.nextCond(), editor_.anyCond()}) {
        if (page != nullptr) {
            page->ShowColumns(n);
        }
    }
    editor_.CheckConsistency();
}

void StagesPage::Txt2_Change(int Index) {
    editor_.Store(&profile::ProfileMemory::ProfileStages, Index + 1, Txt2[Index]->text());
    CmdOK2->setEnabled(profile::StagesWritable(texts(), stageCount()));
    editor_.CheckConsistency();
}

void StagesPage::Txt2_KeyUp(int Index, int KeyCode) {
    if (KeyCode != Qt::Key_Return && KeyCode != Qt::Key_Enter) {
        return;
    }
    const int n = stageCount();
    if (Index == 2 * n - 1) {
        CmdOK2->setFocus(Qt::TabFocusReason);
    } else if (Index + 1 < profile::kStageFieldCount && shown_[(Index + 1) / 2]) {
        Txt2[Index + 1]->setFocus(Qt::TabFocusReason);
    }
}

void StagesPage::Txt2_LostFocus(int Index) {
    profile::StageContext context;
    QComboBox* nv = editor_.nominalVoltage();
    context.nvPosition = nv->currentIndex();
    context.nominalText = nv->currentText();
    if (ProtectionPage* protection = editor_.protection()) {
        context.overVoltage = protection->Txt1[1]->text();
    }
    context.voltStep = state_.VoltStep;
    context.ratedCurrent = state_.RatedCurrent;
    Txt2[Index]->setText(profile::Txt2_LostFocus(Index, Txt2[Index]->text(), context));
}

void StagesPage::CmdOK2_Click() {
    state_.session->writePages({pageWrite()});
}

session::PageWrite StagesPage::pageWrite() {
    return {profile::Page::Stages, [this] { return buildFrames(); }};
}

std::optional<QStringList> StagesPage::buildFrames() {
    profile::StageFields page;
    page.profile = editor_.currentProfile();
    page.stagePosition = Cmb2Total->currentIndex();
    page.stageText = Cmb2Total->currentText();
    page.Txt2 = texts();
    profile::StagesWrite write;
    try {
        write = profile::StagesFrame(page);
    } catch (const std::exception& e) {
        editor_.ShowMessage(QString::fromLatin1(e.what()), QMessageBox::Critical,
                            Text(T::NothingSent));
        return std::nullopt;
    }
    if (!write.ok()) {
        // Shown, nothing sent, and a write-all goes on with the next page.
        editor_.ShowMessage(Text(T::FailBox), QMessageBox::Warning, Text(T::StageOutOfRange));
        if (write.failFocus == profile::StagesFocus::Cmb2Total) {
            Cmb2Total->setFocus(Qt::OtherFocusReason);
        } else if (write.txt2Index >= 0 && write.txt2Index < profile::kStageFieldCount) {
            Txt2[write.txt2Index]->setFocus(Qt::OtherFocusReason);
        }
        return QStringList();
    }
    return QStringList{write.frame};
}

}  // namespace zun::app
