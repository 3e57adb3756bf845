#pragma once

#include "app/busy_guard.h"
#include "app/window_state.h"
#include "lang/language_catalog.h"
#include "link/line_trace.h"
#include "link/port_list.h"
#include "session/charger_session.h"

#include <QAction>
#include <QComboBox>
#include <QLabel>
#include <QMainWindow>
#include <QProgressBar>
#include <QPushButton>
#include <QTabWidget>

#include <functional>
#include <memory>
#include <optional>

class QHBoxLayout;

namespace zun::app {

class GetDataPage;
class LineTraceWindow;
class ProfileEditor;

struct StartOptions {
    QStringList devices;        // --port, in the order given: Com1, Com2, ...
    bool systemDevices = true;  // also number the system's serial devices after them
    bool search = true;         // run the charger search at start-up
    // Where language files and the remembered language live; the standard folders when unset.
    std::optional<lang::LanguageFolders> languageFolders;
    // The line to the charger; the serial port when unset. Every listed device opens on any
    // other exchange, which tests use to talk to a charger in-process.
    std::function<std::unique_ptr<link::Exchange>()> exchange;
};

// The one main window. Start-up, the port list and the connection step live here; the pages
// own their controls and handlers.
class FrmMain : public QMainWindow {
    Q_OBJECT
public:
    explicit FrmMain(const StartOptions& options, QWidget* parent = nullptr);
    ~FrmMain() override;

    // Runs the start-up sequence (language, pages, ports, charger search, title).
    void Form_Load();
    // The connection step for the entry chosen in CboPort.
    void CboPort_Click();
    // Selects entry i of CboPort as a user would, which runs the connection step.
    void selectPort(int index);

    WindowState& state() { return state_; }
    ProfileEditor* profileEditor() const { return editor_; }
    GetDataPage* getDataPage() const { return getData_; }
    session::ChargerSession& session() { return *session_; }
    QString lastSettingsReply() const { return lastSettingsReply_; }
    bool loaded() const { return loaded_; }

    static QString TitleFor(int major, int minor, int revision);
    // The About box's text: the title, the full version and the commit of this build.
    static QString AboutText();

    QTabWidget* Tab1 = nullptr;
    QComboBox* CboPort = nullptr;
    QLabel* Label0_0 = nullptr;  // "Port :"
    QLabel* Label0_1 = nullptr;  // connection state
    QLabel* Label1 = nullptr;    // rating or warning
    QComboBox* CmbLang = nullptr;
    QAction* ActFastLink = nullptr;  // Settings menu: "Fast link", remembered
    // In the status bar once a lost charger is back: reads the pages again on request.
    QPushButton* CmdReadPages = nullptr;
    QAction* ActLineTrace = nullptr;  // Help menu: the line trace window

    const link::LineTrace& lineTrace() const { return lineTrace_; }
    LineTraceWindow* lineTraceWindow();
    // In the status bar while the log transfer runs: how far it is, and the way out.
    QProgressBar* PrgTransfer = nullptr;
    QPushButton* CmdCancel = nullptr;

    // The first size: 1024 x 768, or the screen's available area when that is smaller.
    static QSize FirstSize(const QSize& available);

signals:
    void loadFinished();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void buildUi();
    QHBoxLayout* buildTopBar();
    void buildMenus();
    void connectSession();
    void discoverPorts();
    void searchCharger();
    void Tab1_Click(int index);
    void fillLanguages();
    void LoadLanguage();
    // "Connection OK" / "No Connection" and the rating or the nominal-voltage warning, in the
    // language in use; retranslate() shows them again after a change of language.
    void showConnection(bool ok);
    void showRating();
    void retranslate();
    // Ports refused for lack of permission or held by another program, with the remedy, in
    // the status bar (which exists only once there is something to say).
    void reportRefusals(const QVector<link::PortRefusal>& refusals);
    void showExchangeEnd(const link::ExchangeOutcome& outcome);
    QPushButton* readPagesButton();
    void traceFrame(bool sent, const QString& hex);
    void buildTransferProgress();
    void restoreWindowGeometry();

    StartOptions options_;
    WindowState state_;
    std::unique_ptr<session::ChargerSession> session_;
    std::optional<ControlLock> transferLock_;
    link::PortList ports_;
    lang::LanguageCatalog languages_;
    BusyGuard busy_;
    ProfileEditor* editor_ = nullptr;
    GetDataPage* getData_ = nullptr;
    QString lastSettingsReply_;
    bool loaded_ = false;
    link::LineTrace lineTrace_;
    LineTraceWindow* traceWindow_ = nullptr;
    bool cancelled_ = false;
    int connectionShown_ = -1;  // -1 nothing yet, 0 "No Connection", 1 "Connection OK"
    bool ratingShown_ = false;
    // The last line or port trouble reported in the status bar.
    QString diagnostic_;
};

}  // namespace zun::app
