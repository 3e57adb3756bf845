#include "app/frm_main.h"

#include "app/get_data_page.h"
#include "app/language_applier.h"
#include "app/profile_editor.h"
#include "app/settings_actions.h"
#include "link/frames.h"
#include "link/model_table.h"
#include "link/stored_settings.h"
#include "sim/pty_host.h"
#include "sim/virtual_charger.h"

#include <QCloseEvent>
#include <QHBoxLayout>
#include <QMenuBar>
#include <QMessageBox>
#include <QTimer>
#include <QVBoxLayout>

namespace zun::app {

namespace {

// The window's colour value 32768; red is kWrongColour (255).
const QColor kGreen(0, 128, 0);

void setLabelSystemColour(QLabel* label) {
    label->setPalette(QPalette());
}

}  // namespace

FrmMain::FrmMain(const StartOptions& options, QWidget* parent)
    : QMainWindow(parent),
      options_(options),
      languages_(options.languageFolders.value_or(lang::LanguageFolders::standard())) {
    state_.link = &link_;
    state_.busy = &busy_;
    if (options_.demo) {
        demoCharger_ = std::make_unique<sim::VirtualCharger>();
        demoHost_ = std::make_unique<sim::PtyHost>(*demoCharger_);
        QString error;
        if (demoHost_->start(&error)) {
            options_.devices.prepend(demoHost_->devicePath());
        } else {
            qWarning("virtual charger not started: %s", qPrintable(error));
        }
    }
    ports_ = link::PortList(options_.devices, options_.systemDevices);
    buildUi();
}

FrmMain::~FrmMain() {
    link_.close();
    if (demoHost_) {
        demoHost_->stop();
    }
}

sim::VirtualCharger* FrmMain::demoCharger() const {
    return demoCharger_.get();
}

void FrmMain::buildUi() {
    auto* central = new QWidget;
    auto* v = new QVBoxLayout(central);

    auto* bar = new QHBoxLayout;
    Label0_0 = new QLabel(tr("Port :"));
    Label0_0->setObjectName("Label0(0)");
    CboPort = new QComboBox;
    CboPort->setObjectName("CboPort");
    CboPort->setMinimumContentsLength(8);
    BusyGuard::MarkExchangeStarter(CboPort);
    Label0_1 = new QLabel;
    Label0_1->setObjectName("Label0(1)");
    Label0_1->setMinimumWidth(120);
    QFont bold = Label0_1->font();
    bold.setBold(true);
    Label0_1->setFont(bold);
    Label1 = new QLabel;
    Label1->setObjectName("Label1");
    Label1->setWordWrap(true);
    bar->addWidget(Label0_0);
    bar->addWidget(CboPort);
    bar->addSpacing(12);
    bar->addWidget(Label0_1);
    bar->addSpacing(12);
    bar->addWidget(Label1, 1);
    CmbLang = new QComboBox;
    CmbLang->setObjectName("CmbLang");
    CmbLang->setMinimumContentsLength(10);
    bar->addWidget(CmbLang);
    v->addLayout(bar);

    Tab1 = new QTabWidget;
    Tab1->setObjectName("Tab1");
    editor_ = new ProfileEditor(state_);
    getData_ = new GetDataPage(state_);
    Tab1->addTab(editor_, tr("Charge Profile"));
    Tab1->addTab(getData_, tr("Get Data"));
    v->addWidget(Tab1, 1);
    setCentralWidget(central);
    resize(1024, 768);

    // Settings files of the current profile and the compare with the charger's stored copy.
    auto* settingsActions = new SettingsActions(this);
    settingsActions->AddTo(menuBar()->addMenu(tr("Settings")));

    // An unplugged adapter: say so at once rather than at the next port choice.
    connect(&link_, &link::SerialLink::portLost, this, [this] {
        Label0_1->setText(QStringLiteral("No Connection"));
        SetTextColour(Label0_1, kWrongColour);
    });
    connect(CboPort, &QComboBox::activated, this, [this] { CboPort_Click(); });
    connect(Tab1, &QTabWidget::currentChanged, this, &FrmMain::Tab1_Click);
    connect(CmbLang, &QComboBox::currentIndexChanged, this, [this] { LoadLanguage(); });
}

QString FrmMain::TitleFor(int major, int minor, int revision) {
    QString t = QStringLiteral("ZUN V%1.%2").arg(major).arg(minor);
    if (revision != 0) {
        t += QStringLiteral(".%1").arg(revision);
    }
    return t;
}

void FrmMain::Form_Load() {
    BusyScope busy(&busy_);
    // Every step is guarded on its own: a failing one is skipped and the load goes on.
    auto step = [](const auto& fn) { RunHandler(fn); };
    step([&] {
        Tab1->setCurrentIndex(0);
        editor_->Tab2->setCurrentIndex(0);
    });
    step([&] { fillLanguages(); });
    step([&] { editor_->InitPages(); });
    step([&] { link_.close(); });
    step([&] { discoverPorts(); });
    if (options_.search) {
        step([&] { searchCharger(); });
    }
    step([&] {
        if (CboPort->currentIndex() < 0 && CboPort->count() > 0) {
            selectPort(CboPort->count() - 1);
        }
    });
    step([&] {
        const QSignalBlocker block(editor_->CmbPN);
        editor_->CmbPN->setCurrentIndex(0);
        editor_->CmbPN_Click();
    });
    step([&] { getData_->InitLogTable(); });
    setWindowTitle(TitleFor(ZUN_VERSION_MAJOR, ZUN_VERSION_MINOR, ZUN_VERSION_PATCH));
    loaded_ = true;
    emit loadFinished();
}

void FrmMain::discoverPorts() {
    // Filling the list must not select anything by itself: that would connect.
    const QSignalBlocker block(CboPort);
    CboPort->clear();
    for (int n : ports_.numbers()) {
        link_.setDevice(ports_.deviceFor(n));
        if (link_.open()) {
            CboPort->addItem(link::PortList::EntryText(n));
            CboPort->setItemData(CboPort->count() - 1, ports_.deviceFor(n), Qt::ToolTipRole);
        }
        link_.close();
    }
    CboPort->setCurrentIndex(-1);
}

void FrmMain::searchCharger() {
    for (int i = 0; i < CboPort->count(); ++i) {
        link_.setDevice(ports_.deviceFor(link::PortList::NumberOf(CboPort->itemText(i))));
        link_.open();
        // Only this exact answer, checksum included, identifies the charger.
        if (link_.SendFrame(link::kRunTimeRequest) == QLatin1String(link::kProbeAnswer)) {
            selectPort(i);
            return;
        }
        link_.close();
    }
}

void FrmMain::selectPort(int index) {
    {
        const QSignalBlocker block(CboPort);
        CboPort->setCurrentIndex(index);
    }
    CboPort_Click();
}

void FrmMain::CboPort_Click() {
    if (CboPort->currentIndex() < 0) {
        return;
    }
    BusyScope busy(&busy_);
    link_.close();
    link_.setDevice(ports_.deviceFor(link::PortList::NumberOf(CboPort->currentText())));

    QComboBox* nv = editor_->nominalVoltage();
    const QString code =
        link::ModelTable::ModelCodeFromReply(link_.SendFrame(link::kIdentifyRequest));
    if (!code.isEmpty()) {
        state_.ChargerModel = code;
        nv->setCurrentIndex(link::ModelTable::NominalPositionFor(code));
    }
    // Disabling the focused list would push the focus into a settings box and correct it.
    editor_->ParkFocus(nv);
    nv->setEnabled(state_.ChargerModel.isEmpty());
    if (nv->isEnabled()) {
        Label1->setText(
            QStringLiteral("Warning : The selected nominal battery voltage must be same as the "
                           "charger's."));
        SetTextColour(Label1, kWrongColour);
    } else {
        const link::ModelInfo info = link::ModelTable::RatingText(state_.ChargerModel);
        state_.RatedCurrent = info.ratedCurrent;
        Label1->setText(info.rating);
        setLabelSystemColour(Label1);
    }

    const QString reply = link_.SendFrame(link::kSettingsRequest);
    if (reply.size() >= link::kMinSettingsReplyChars) {
        Label0_1->setText(QStringLiteral("Connection OK"));
        SetTextColour(Label0_1, kGreen);
    } else {
        Label0_1->setText(QStringLiteral("No Connection"));
        SetTextColour(Label0_1, kWrongColour);
    }
    // A failed connection fills both profiles with zeros, as the charger's empty image would.
    link::DecodeStoredSettings(reply, state_.memory.profiles);
    editor_->CmbPN_Click();
    lastSettingsReply_ = reply;
    editor_->Cmb0NV_Click();
}

void FrmMain::fillLanguages() {
    const QString remembered = languages_.rememberedLanguage();
    languages_.ensureEnglish();
    {
        const QSignalBlocker block(CmbLang);
        CmbLang->clear();
        CmbLang->addItems(languages_.listLanguages());
        CmbLang->setCurrentIndex(-1);
    }
    CmbLang->setCurrentIndex(CmbLang->findText(remembered));
}

void FrmMain::LoadLanguage() {
    if (CmbLang->currentIndex() < 0) {
        return;
    }
    const QString name = CmbLang->currentText();
    languages_.remember(name);
    const lang::LanguageCatalog::LanguageRead read = languages_.readLanguage(name);
    if (!read.error.isEmpty()) {
        QMessageBox::warning(this, windowTitle(), read.error);
        return;
    }
    ApplyLanguage(this, read.captions);
}

void FrmMain::Tab1_Click(int index) {
    if (index == 1) {
        getData_->ArrangeLayout();
    }
}

void FrmMain::closeEvent(QCloseEvent* event) {
    // Closing in the middle of an exchange would pull the window from under it: close as soon
    // as the exchange has ended instead.
    if (busy_.busy()) {
        event->ignore();
        busy_.whenIdle([this] { QTimer::singleShot(0, this, &QWidget::close); });
        return;
    }
    link_.close();
    event->accept();
}

}  // namespace zun::app
