#include "app/general_page.h"

#include "app/page_parts.h"
#include "app/profile_editor.h"
#include "app/protection_page.h"
#include "lang/program_texts.h"
#include "link/codec.h"
#include "profile/field_corrections.h"
#include "profile/nominal_voltage.h"
#include "profile/page_frames.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QVBoxLayout>

namespace zun::app {

using lang::T;
using lang::Text;

namespace {

// Txt0(1)..Txt0(5) in page order.
constexpr FieldCaption kFields[] = {
    {"Nominal bat Capacity :", "AH  (2-600)"},
    {"Temperature compensation coefficient of battery :", "mV  (10-30)"},
    {"Reference temperature for voltage :", "\u00B0C  (20-30)"},
    {"Battery temperature derating :", "A/C  (1-5)"},
    {"Reference temperature for starting derating current :", "\u00B0C  (30-50)"},
};

}  // namespace

GeneralPage::GeneralPage(ProfileEditor& editor, WindowState& state, QWidget* parent)
    : QWidget(parent), editor_(editor), state_(state) {
    QGridLayout* grid = MakeFieldGrid();

    Lab0[1] = MakeLabel(QStringLiteral("Nominal bat Voltage :"), QStringLiteral("Lab0(1)"));
    Cmb0NV = new QComboBox;
    Cmb0NV->setObjectName(QStringLiteral("Cmb0NV"));
    {
        const QSignalBlocker block(Cmb0NV);
        Cmb0NV->addItems({QStringLiteral("12V"), QStringLiteral("24V"), QStringLiteral("48V")});
        Cmb0NV->setCurrentIndex(-1);
    }
    Cmb0NV->setFixedWidth(90);
    Lab0[1]->setBuddy(Cmb0NV);
    grid->addWidget(Lab0[1], 0, 0);
    grid->addWidget(Cmb0NV, 0, 1);

    for (int i = 1; i <= 5; ++i) {
        const FieldCaption& f = kFields[i - 1];
        Lab0[i + 1] =
            MakeLabel(QString::fromUtf8(f.caption), QStringLiteral("Lab0(%1)").arg(i + 1));
        Lab0[i + 7] = MakeLabel(QString::fromUtf8(f.unit), QStringLiteral("Lab0(%1)").arg(i + 7));
        Txt0[i] = AddFieldRow(grid, i, Lab0[i + 1], QStringLiteral("Txt0(%1)").arg(i), Lab0[i + 7]);
    }

    Lab0[13] = MakeWrongEntryNote(QStringLiteral("Lab0(13)"));

    CmdOK0 = MakeWriteButton(QStringLiteral("CmdOK0"), T::TipWritePage);

    QHBoxLayout* bottom = MakePageFooter(Lab0[13], CmdOK0);

    auto* v = new QVBoxLayout(this);
    v->setContentsMargins(20, 20, 20, 16);
    v->addLayout(grid);
    v->addStretch(1);
    v->addLayout(bottom);

    connect(Cmb0NV, &QComboBox::currentIndexChanged, this,
            [this] { RunHandler([&] { Cmb0NV_Click(); }); });
    for (int i = 1; i <= 5; ++i) {
        connect(Txt0[i], &QLineEdit::textChanged, this,
                [this, i] { RunHandler([&] { Txt0_Change(i); }); });
        editor_.WatchBox(
            Txt0[i], [this, i] { Txt0_LostFocus(i); }, [this, i](int key) { Txt0_KeyUp(i, key); });
    }
    connect(CmdOK0, &QPushButton::clicked, this, [this] { RunHandler([&] { CmdOK0_Click(); }); });
}

void GeneralPage::Cmb0NV_Click() {
    const int pos = Cmb0NV->currentIndex();
    if (ProtectionPage* protection = editor_.protection()) {
        protection->Txt1[1]->setText(profile::OverVoltageText(pos));
    }
    const profile::VoltageLimits limits = profile::VoltageLimitsFor(pos);
    state_.VoltStep = limits.VoltStep;
    state_.StageVoltMin = limits.StageVoltMin;
    state_.StageVoltMax = limits.StageVoltMax;
    editor_.CheckConsistency();
}

void GeneralPage::Txt0_Change(int Index) {
    editor_.Store(&profile::ProfileMemory::ProfileGeneral, Index, Txt0[Index]->text());
}

void GeneralPage::Txt0_KeyUp(int Index, int KeyCode) {
    Q_UNUSED(Index);
    if (KeyCode == Qt::Key_Return || KeyCode == Qt::Key_Enter) {
        CmdOK0->setFocus(Qt::TabFocusReason);
    }
}

void GeneralPage::Txt0_LostFocus(int Index) {
    Txt0[Index]->setText(profile::Txt0_LostFocus(Index, Txt0[Index]->text()));
}

void GeneralPage::CmdOK0_Click() {
    state_.session->writePages({pageWrite()});
}

session::PageWrite GeneralPage::pageWrite() {
    return {profile::Page::General, [this] { return buildFrames(); }};
}

std::optional<QStringList> GeneralPage::buildFrames() {
    profile::GeneralFields page;
    page.profile = editor_.currentProfile();
    page.nominalText = Cmb0NV->currentText();
    for (int i = 1; i <= 5; ++i) {
        page.Txt0[i] = Txt0[i]->text();
    }
    try {
        return QStringList{profile::GeneralFrame(page)};
    } catch (const std::exception& e) {
        // Nothing is sent; the write-all must not report this page as written.
        editor_.ShowMessage(QString::fromLatin1(e.what()), QMessageBox::Critical,
                            Text(T::NothingSent));
        return std::nullopt;
    }
}

void GeneralPage::Acknowledged() {
    const std::optional<int> pos =
        profile::PositionForNominal(link::TextToSingle(Cmb0NV->currentText()));
    if (pos) {
        Cmb0NV->setCurrentIndex(*pos);
        if (const auto limits = profile::NominalLimits(*pos)) {
            state_.NominalLimits = *limits;
        }
    }
}

}  // namespace zun::app
