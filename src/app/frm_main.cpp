#include "app/frm_main.h"

#include "app/get_data_page.h"
#include "app/language_applier.h"
#include "app/line_trace_window.h"
#include "app/monitor_panel.h"
#include "app/page_parts.h"
#include "app/profile_editor.h"
#include "app/settings_actions.h"
#include "lang/program_texts.h"
#include "link/build_info.h"
#include "link/frames.h"
#include "link/model_table.h"
#include "link/serial_link.h"
#include "link/stored_settings.h"
#include "session/live_poller.h"

#include <QCloseEvent>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QScreen>
#include <QSettings>
#include <QStatusBar>
#include <QTimer>
#include <QVBoxLayout>

namespace zun::app {

using lang::T;
using lang::Text;

namespace {

// The window's colour value 32768; red is kWrongColour (255).
const QColor kGreen(0, 128, 0);

const QString kFastLinkKey = QStringLiteral("link/fast");
const QString kGeometryKey = QStringLiteral("window/geometry");

void setLabelSystemColour(QLabel* label) {
    label->setPalette(QPalette());
}

}  // namespace

FrmMain::FrmMain(const StartOptions& options, QWidget* parent)
    : QMainWindow(parent),
      options_(options),
      languages_(options.languageFolders.value_or(lang::LanguageFolders::standard())) {
    std::unique_ptr<link::Exchange> line;
    if (options_.exchange) {
        line = options_.exchange();
    } else {
        line = std::make_unique<link::SerialLink>();
    }
    session_ = std::make_unique<session::ChargerSession>(std::move(line));
    state_.session = session_.get();
    state_.busy = &busy_;
    // Busy cursor and held-off clicks for as long as the session talks to the charger.
    connect(session_.get(), &session::ChargerSession::busyChanged, this,
            [this](bool busy) { busy ? busy_.enter() : busy_.leave(); });
    ports_ = link::PortList(options_.devices, options_.systemDevices);
    buildUi();
    // A click during the monitor's short reading waits for it instead of being refused.
    busy_.setQueueClicksWhile([this] { return getData_->Monitor->poller().polling(); });
    connect(&lang::ProgramTexts::instance(), &lang::ProgramTexts::changed, this,
            &FrmMain::retranslate);
}

FrmMain::~FrmMain() {
    session_->close();
}

void FrmMain::buildUi() {
    auto* central = new QWidget;
    auto* v = new QVBoxLayout(central);
    v->addLayout(buildTopBar());
    Tab1 = new QTabWidget;
    Tab1->setObjectName("Tab1");
    editor_ = new ProfileEditor(state_);
    getData_ = new GetDataPage(state_);
    Tab1->addTab(editor_, tr("Charge Profile"));
    Tab1->addTab(getData_, tr("Get Data"));
    v->addWidget(Tab1, 1);
    setCentralWidget(central);
    connect(getData_->Monitor, &MonitorPanel::statusMessage, this,
            [this](const QString& text) { statusBar()->showMessage(text); });
    restoreWindowGeometry();
    buildTransferProgress();
    connect(editor_, &ProfileEditor::statusMessage, this,
            [this](const QString& text) { statusBar()->showMessage(text); });
    connect(&busy_, &BusyGuard::heldOff, this,
            [this] { statusBar()->showMessage(Text(T::Busy), 4000); });
    buildMenus();
    connectSession();
    connect(CboPort, &QComboBox::activated, this, [this] { CboPort_Click(); });
    connect(Tab1, &QTabWidget::currentChanged, this, &FrmMain::Tab1_Click);
    connect(CmbLang, &QComboBox::currentIndexChanged, this, [this] { LoadLanguage(); });
}

// The port list, the connection state, the charger's model and the language list.
QHBoxLayout* FrmMain::buildTopBar() {
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
    return bar;
}

void FrmMain::buildMenus() {
    // Settings files of the current profile and the compare with the charger's stored copy.
    auto* settingsActions = new SettingsActions(this);
    QMenu* settingsMenu = menuBar()->addMenu(tr("&Settings"));
    settingsMenu->setObjectName(QStringLiteral("MnuSettings"));
    settingsActions->AddTo(settingsMenu);
    // Opt-in: ends each exchange at its complete, sound reply; the frames sent stay the same.
    settingsMenu->addSeparator();
    ActFastLink = settingsMenu->addAction(tr("&Fast link"));
    ActFastLink->setObjectName(QStringLiteral("ActFastLink"));
    ActFastLink->setCheckable(true);
    ActFastLink->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_F));
    ActFastLink->setChecked(QSettings().value(kFastLinkKey, false).toBool());
    session_->setFastMode(ActFastLink->isChecked());
    connect(ActFastLink, &QAction::toggled, this, [this](bool on) {
        session_->setFastMode(on);
        QSettings().setValue(kFastLinkKey, on);
    });
    // Every frame on the line, kept for a support request.
    session_->setTrace([this](bool sent, const QString& hex) { traceFrame(sent, hex); });
    connect(session_.get(), &session::ChargerSession::replied, this,
            [this](const QString&, const QString& reply) {
                if (reply.isEmpty()) {
                    traceFrame(false, QString());
                }
            });
    QMenu* helpMenu = menuBar()->addMenu(tr("&Help"));
    helpMenu->setObjectName(QStringLiteral("MnuHelp"));
    ActLineTrace = helpMenu->addAction(QString());
    ActLineTrace->setObjectName(QStringLiteral("ActLineTrace"));
    ActLineTrace->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_T));
    FollowLanguage(ActLineTrace, [this] { ActLineTrace->setText(Text(T::LineTraceMenu)); });
    connect(ActLineTrace, &QAction::triggered, this, [this] {
        lineTraceWindow()->show();
        lineTraceWindow()->raise();
    });
    QAction* about = helpMenu->addAction(tr("&About ZUN"));
    about->setObjectName("ActAbout");
    about->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_F1));
    connect(about, &QAction::triggered, this,
            [this] { QMessageBox::about(this, Text(T::AboutTitle), AboutText()); });
}

// What the window shows of the session: exchange results, a lost and a regained port, and the
// locks while the log transfer holds the line.
void FrmMain::connectSession() {
    connect(session_.get(), &session::ChargerSession::exchangeEnded, this,
            &FrmMain::showExchangeEnd);

    // An unplugged adapter: say so at once rather than at the next port choice.
    connect(session_.get(), &session::ChargerSession::portLost, this, [this] {
        showConnection(false);
        statusBar()->showMessage(Text(T::WaitingForDevice).arg(session_->device()));
    });
    // The adapter is back. The pages keep what they show (edits would be lost): reading them
    // again is offered, not done.
    session_->setWatchForReturn(true);
    connect(session_.get(), &session::ChargerSession::portRegained, this, [this] {
        showConnection(true);
        statusBar()->showMessage(Text(T::DeviceBack).arg(session_->device()));
        readPagesButton()->setVisible(true);
    });
    // The log transfer holds the line: nothing else may start an exchange until it ends.
    connect(session_.get(), &session::ChargerSession::transferActive, this, [this](bool active) {
        if (active) {
            transferLock_.emplace(std::vector<QWidget*>{CboPort});
            editor_->LockWrites(true);
        } else {
            transferLock_.reset();
            editor_->LockWrites(false);
        }
    });
}

QSize FrmMain::FirstSize(const QSize& available) {
    return QSize(1024, 768).boundedTo(available);
}

void FrmMain::restoreWindowGeometry() {
    const QByteArray saved = QSettings().value(kGeometryKey).toByteArray();
    if (!saved.isEmpty() && restoreGeometry(saved)) {
        return;
    }
    const QScreen* screen = QGuiApplication::primaryScreen();
    resize(FirstSize(screen != nullptr ? screen->availableSize() : QSize(1024, 768)));
}

void FrmMain::buildTransferProgress() {
    PrgTransfer = new QProgressBar;
    PrgTransfer->setObjectName(QStringLiteral("PrgTransfer"));
    PrgTransfer->setRange(0, 100);
    PrgTransfer->setMaximumWidth(200);
    PrgTransfer->setVisible(false);
    CmdCancel = new QPushButton(tr("&Cancel"));
    CmdCancel->setObjectName(QStringLiteral("CmdCancel"));
    FollowLanguage(CmdCancel, [this] { CmdCancel->setToolTip(Text(T::TipCancel)); });
    CmdCancel->setVisible(false);
    statusBar()->addPermanentWidget(PrgTransfer);
    statusBar()->addPermanentWidget(CmdCancel);
    connect(CmdCancel, &QPushButton::clicked, this, [this] {
        cancelled_ = true;
        CmdCancel->setEnabled(false);
        session_->requestCancel();
        statusBar()->showMessage(Text(T::Cancelling));
    });
    connect(session_.get(), &session::ChargerSession::progressPercent, PrgTransfer,
            &QProgressBar::setValue);
    connect(session_.get(), &session::ChargerSession::transferActive, this, [this](bool active) {
        PrgTransfer->setVisible(active);
        CmdCancel->setVisible(active);
        CmdCancel->setEnabled(active);
        const int rows = getData_->logTable().recordCount();
        if (active) {
            cancelled_ = false;
            PrgTransfer->setValue(0);
            statusBar()->showMessage(Text(T::Downloading));
        } else if (cancelled_) {
            statusBar()->showMessage(Text(T::DownloadCancelled).arg(rows));
        } else {
            statusBar()->showMessage(Text(T::DownloadEnded).arg(rows));
        }
    });
}

QString FrmMain::TitleFor(int major, int minor, int revision) {
    QString t = QStringLiteral("ZUN V%1.%2").arg(major).arg(minor);
    if (revision != 0) {
        t += QStringLiteral(".%1").arg(revision);
    }
    return t;
}

QString FrmMain::AboutText() {
    return QStringLiteral(
               "%1\n\nVersion %2, commit %3\n\nConfigures and monitors ZUN battery chargers "
               "over a serial line.\nBuilt with Qt %4.")
        .arg(TitleFor(ZUN_VERSION_MAJOR, ZUN_VERSION_MINOR, ZUN_VERSION_PATCH),
             link::BuildInfo::version(), link::BuildInfo::commit(), QStringLiteral(QT_VERSION_STR));
}

void FrmMain::reportRefusals(const QVector<link::PortRefusal>& refusals) {
    const QString text = link::PortRefusal::Summary(refusals);
    if (!text.isEmpty()) {
        diagnostic_ = text;
        statusBar()->showMessage(text);
    }
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
    step([&] { session_->close(); });
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
    QVector<link::PortRefusal> refused;
    for (int n : ports_.numbers()) {
        if (session_->canOpen(ports_.deviceFor(n))) {
            CboPort->addItem(link::PortList::EntryText(n));
            CboPort->setItemData(CboPort->count() - 1, ports_.deviceFor(n), Qt::ToolTipRole);
        } else {
            refused << session_->lastRefusal();
        }
    }
    CboPort->setCurrentIndex(-1);
    diagnostic_.clear();
    // The list stays as it was; the status bar says why a port is missing from it.
    reportRefusals(refused);
}

void FrmMain::searchCharger() {
    // What went wrong on a port (refused, noisy) outlasts the search's own progress words.
    const auto settle = [this](const QString& text) {
        statusBar()->showMessage(diagnostic_.isEmpty() ? text : diagnostic_);
    };
    for (int i = 0; i < CboPort->count(); ++i) {
        const QString device = ports_.deviceFor(link::PortList::NumberOf(CboPort->itemText(i)));
        statusBar()->showMessage(Text(T::Searching).arg(CboPort->itemText(i), device));
        if (session_->search({device}).front().charger) {
            settle(Text(T::ChargerFound).arg(CboPort->itemText(i), device));
            selectPort(i);
            return;
        }
    }
    settle(Text(T::NoChargerFound).arg(CboPort->count()));
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
    session_->close();
    session_->setDevice(ports_.deviceFor(link::PortList::NumberOf(CboPort->currentText())));

    QComboBox* nv = editor_->nominalVoltage();
    const QString code = session_->identify();
    const link::PortRefusal refusal = session_->lastRefusal();
    if (!code.isEmpty()) {
        state_.ChargerModel = code;
        nv->setCurrentIndex(link::ModelTable::NominalPositionFor(code));
    }
    // Disabling the focused list would push the focus into a settings box and correct it.
    editor_->ParkFocus(nv);
    nv->setEnabled(state_.ChargerModel.isEmpty());
    if (!nv->isEnabled()) {
        state_.RatedCurrent = link::ModelTable::RatingText(state_.ChargerModel).ratedCurrent;
    }
    showRating();

    // A failed connection fills both profiles with zeros, as the charger's empty image would.
    const QString reply = session_->readSettings(state_.memory.profiles);
    if (reply.size() >= link::kMinSettingsReplyChars) {
        showConnection(true);
    } else {
        showConnection(false);
        reportRefusals({refusal});
    }
    editor_->CmbPN_Click();
    lastSettingsReply_ = reply;
    editor_->Cmb0NV_Click();
}

void FrmMain::traceFrame(bool sent, const QString& hex) {
    lineTrace_.record(sent, hex);
    if (traceWindow_ != nullptr) {
        traceWindow_->frameAdded();
    }
}

LineTraceWindow* FrmMain::lineTraceWindow() {
    if (traceWindow_ == nullptr) {
        traceWindow_ = new LineTraceWindow(lineTrace_, this);
    }
    return traceWindow_;
}

QPushButton* FrmMain::readPagesButton() {
    if (CmdReadPages == nullptr) {
        CmdReadPages = new QPushButton(Text(T::ReadPages));
        CmdReadPages->setObjectName(QStringLiteral("CmdReadPages"));
        BusyGuard::MarkExchangeStarter(CmdReadPages);
        statusBar()->addPermanentWidget(CmdReadPages);
        connect(CmdReadPages, &QPushButton::clicked, this, [this] {
            CmdReadPages->setVisible(false);
            RunHandler([this] { CboPort_Click(); });
        });
    }
    return CmdReadPages;
}

void FrmMain::showExchangeEnd(const link::ExchangeOutcome& outcome) {
    // The labels keep their own texts; why an exchange went wrong goes to the status bar.
    QString why = link::DescribeLineFailure(outcome);
    if (why.isEmpty() && outcome.received > 0 &&
        outcome.verdict.state != link::ReplyState::Complete) {
        why = Text(T::ReplyFailedCheck).arg(outcome.verdict.why);
    }
    if (!why.isEmpty()) {
        diagnostic_ = QStringLiteral("%1: %2").arg(session_->device(), why);
        statusBar()->showMessage(diagnostic_);
    }
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
    lang::ProgramTexts::instance().use(read.texts);
}

void FrmMain::showConnection(bool ok) {
    connectionShown_ = ok ? 1 : 0;
    Label0_1->setText(Text(ok ? T::ConnectionOk : T::NoConnection));
    SetTextColour(Label0_1, ok ? kGreen : kWrongColour);
}

void FrmMain::showRating() {
    ratingShown_ = true;
    if (state_.ChargerModel.isEmpty()) {
        Label1->setText(Text(T::NominalWarning));
        SetTextColour(Label1, kWrongColour);
        return;
    }
    // The model table's "Rating : 12V 10A 150W." with its head in the window's language.
    QString rating = link::ModelTable::RatingText(state_.ChargerModel).rating;
    const QString head = QStringLiteral("Rating :");
    if (rating.startsWith(head)) {
        rating = Text(T::Rating) + rating.mid(head.size());
    }
    Label1->setText(rating);
    setLabelSystemColour(Label1);
}

void FrmMain::retranslate() {
    if (connectionShown_ >= 0) {
        showConnection(connectionShown_ == 1);
    }
    if (ratingShown_) {
        showRating();
    }
    if (CmdReadPages != nullptr) {
        CmdReadPages->setText(Text(T::ReadPages));
    }
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
    QSettings().setValue(kGeometryKey, saveGeometry());
    session_->close();
    event->accept();
}

}  // namespace zun::app
