#include "app/protection_page.h"

#include "app/page_parts.h"
#include "app/profile_editor.h"
#include "lang/program_texts.h"
#include "profile/field_corrections.h"
#include "profile/page_frames.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QVBoxLayout>

namespace zun::app {

using lang::T;
using lang::Text;

namespace {

// Txt1(0)..Txt1(4).
constexpr FieldCaption kFields[] = {
    {"Bat temperature above :", "C"},
    {"Battery voltage above :", "V"},
    {"Amount of charge above :", "AH"},
    {"N stage :", ""},
    {"Maximum total charging time of all stages :", "H  (4 - 24)"},
};

}  // namespace

ProtectionPage::ProtectionPage(ProfileEditor& editor, WindowState& state, QWidget* parent)
    : QWidget(parent), editor_(editor), state_(state) {
    QGridLayout* grid = MakeFieldGrid();
    for (int k = 0; k < 5; ++k) {
        Lab1[k + 1] =
            MakeLabel(QString::fromUtf8(kFields[k].caption), QStringLiteral("Lab1(%1)").arg(k + 1));
        Lab1[k + 6] =
            MakeLabel(QString::fromUtf8(kFields[k].unit), QStringLiteral("Lab1(%1)").arg(k + 6));
        Txt1[k] = AddFieldRow(grid, k, Lab1[k + 1], QStringLiteral("Txt1(%1)").arg(k), Lab1[k + 6]);
    }
    FollowLanguage(this, [this] {
        Txt1[1]->setToolTip(Text(T::TipFollowsNominal));
        Txt1[2]->setToolTip(Text(T::TipAlwaysFFFF));
        Txt1[3]->setToolTip(Text(T::TipAlwaysFF));
    });

    Lab1[11] = MakeWrongEntryNote(QStringLiteral("Lab1(11)"));

    CmdOK1 = MakeWriteButton(QStringLiteral("CmdOK1"), T::TipWritePage);

    QHBoxLayout* bottom = MakePageFooter(Lab1[11], CmdOK1);

    auto* v = new QVBoxLayout(this);
    v->setContentsMargins(20, 20, 20, 16);
    v->addLayout(grid);
    v->addStretch(1);
    v->addLayout(bottom);

    for (int k = 0; k < 5; ++k) {
        connect(Txt1[k], &QLineEdit::textChanged, this,
                [this, k] { RunHandler([&] { Txt1_Change(k); }); });
        editor_.WatchBox(
            Txt1[k], [this, k] { Txt1_LostFocus(k); }, [this, k](int key) { Txt1_KeyUp(k, key); });
    }
    connect(CmdOK1, &QPushButton::clicked, this, [this] { RunHandler([&] { CmdOK1_Click(); }); });
}

void ProtectionPage::Txt1_Change(int Index) {
    editor_.Store(&profile::ProfileMemory::ProfileProtection, Index, Txt1[Index]->text());
    editor_.CheckConsistency();
}

void ProtectionPage::Txt1_KeyUp(int Index, int KeyCode) {
    if (KeyCode != Qt::Key_Return && KeyCode != Qt::Key_Enter) {
        return;
    }
    if (Index == 1) {
        Txt1[4]->setFocus(Qt::TabFocusReason);
    } else if (Index == 4) {
        CmdOK1->setFocus(Qt::TabFocusReason);
    }
}

void ProtectionPage::Txt1_LostFocus(int Index) {
    Txt1[Index]->setText(profile::Txt1_LostFocus(Index, Txt1[Index]->text()));
}

void ProtectionPage::CmdOK1_Click() {
    state_.session->writePages({pageWrite()});
}

session::PageWrite ProtectionPage::pageWrite() {
    return {profile::Page::Protection, [this] { return buildFrames(); }};
}

std::optional<QStringList> ProtectionPage::buildFrames() {
    profile::ProtectionFields page;
    page.profile = editor_.currentProfile();
    for (int k = 0; k < 5; ++k) {
        page.Txt1[k] = Txt1[k]->text();
    }
    try {
        return QStringList{profile::ProtectionFrame(page)};
    } catch (const std::exception& e) {
        editor_.ShowMessage(QString::fromLatin1(e.what()), QMessageBox::Critical,
                            Text(T::NothingSent));
        return std::nullopt;
    }
}

}  // namespace zun::app
