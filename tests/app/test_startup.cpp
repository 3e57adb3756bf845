#include "app/frm_main.h"
#include "app/get_data_page.h"
#include "app/profile_editor.h"
#include "lang/english_captions.h"
#include "lang/key_table.h"
#include "link/build_info.h"
#include "sim/pty_host.h"
#include "sim/virtual_charger.h"

#include <QAbstractButton>
#include <QMenu>
#include <QSerialPort>
#include <QStatusBar>
#include <QTemporaryDir>
#include <QtTest>

using namespace zun;

namespace {

// One virtual charger on its own pseudo-terminal.
struct Charger {
    sim::VirtualCharger charger;
    sim::PtyHost host{charger};
    Charger() {
        host.setPacing(false);
        host.start();
    }
    QString device() const { return host.devicePath(); }
};

bool canOpen(const QString& device) {
    QSerialPort port(device);
    const bool ok = port.open(QIODevice::ReadWrite);
    port.close();
    return ok;
}

std::unique_ptr<app::FrmMain> startWindow(const QStringList& devices, const QString& langDir = {}) {
    // Keeps the remembered language out of the build folder.
    static QTemporaryDir scratch;
    app::StartOptions options;
    options.devices = devices;
    options.systemDevices = false;
    options.languageFolders =
        lang::LanguageFolders{langDir.isEmpty() ? scratch.path() : langDir, {}, {}};
    auto w = std::make_unique<app::FrmMain>(options);
    w->Form_Load();
    return w;
}

QString labelText(app::FrmMain& w, const char* name) {
    auto* l = w.findChild<QLabel*>(QString::fromLatin1(name));
    return l ? l->text() : QStringLiteral("<missing>");
}

// The caption a language key writes to, as the window shows it now.
QString captionOf(app::FrmMain& w, const QString& key) {
    const auto target = lang::KeyTable::target(key);
    if (!target) {
        return QString();
    }
    if (target->isTab()) {
        auto* tabs = w.findChild<QTabWidget*>(target->control);
        return tabs ? tabs->tabText(target->tab) : QStringLiteral("<missing>");
    }
    QWidget* c = w.findChild<QWidget*>(target->control);
    if (c == nullptr) {
        auto* a = w.findChild<QAction*>(target->control);
        return a ? a->text() : QStringLiteral("<missing>");
    }
    if (auto* m = qobject_cast<QMenu*>(c)) {
        return m->title();
    }
    if (auto* l = qobject_cast<QLabel*>(c)) {
        return l->text();
    }
    if (auto* b = qobject_cast<QAbstractButton*>(c)) {
        return b->text();
    }
    return QStringLiteral("<missing>");
}

}  // namespace

class TestStartup : public QObject {
    Q_OBJECT
private slots:
    // Closing a window remembers its size: into a test folder, not the user's settings.
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void findsTheChargerOnTheThirdPort();
    void anotherRunTimeIsPassedOverAndTheLastPortChosen();
    void noPortsMeansNothingSelected();
    void identification_data();
    void identification();
    void settingsReplyLength_data();
    void settingsReplyLength();
    void silentSecondPortKeepsTheModelCode();
    void storedSettingsReachTheProfileMemory();
    void title();
    void designCaptionsAreTheEnglishTexts();
    void languageChoiceAppliesAndIsRemembered();
    void closingReleasesThePort();
    void unpluggedAdapterShowsNoConnection();
    void busyPortIsNamedInTheStatusBar();
    void aboutBoxShowsVersionAndCommit();
};

void TestStartup::findsTheChargerOnTheThirdPort() {
    Charger a, b, c;
    sim::Faults silent;
    silent.silent = true;
    a.charger.setFaults(silent);
    b.charger.setFaults(silent);
    auto w = startWindow({a.device(), b.device(), c.device()});
    QCOMPARE(w->CboPort->count(), 3);
    QCOMPARE(w->CboPort->itemText(0), QStringLiteral("Com1"));
    QCOMPARE(w->CboPort->currentText(), QStringLiteral("Com3"));
    QCOMPARE(labelText(*w, "Label0(1)"), QStringLiteral("Connection OK"));
    // The probe went to every port in order; only the found one was asked for its model.
    QCOMPARE(a.charger.requests(), QStringList{"850357AA000D"});
    QCOMPARE(b.charger.requests(), QStringList{"850357AA000D"});
    QCOMPARE(c.charger.requests(), (QStringList{"850357AA000D", "850350AA000D", "850359AA000D"}));
    // The first two were closed again after their probes.
    QVERIFY(canOpen(a.device()));
    QVERIFY(canOpen(b.device()));
    QVERIFY(!canOpen(c.device()));
}

void TestStartup::anotherRunTimeIsPassedOverAndTheLastPortChosen() {
    Charger a, b;
    a.charger.setRunTimeMinutes(18951);  // a well-formed answer, but not the expected one
    sim::Faults silent;
    silent.silent = true;
    b.charger.setFaults(silent);
    auto w = startWindow({a.device(), b.device()});
    QCOMPARE(w->CboPort->currentText(), QStringLiteral("Com2"));
    QCOMPARE(labelText(*w, "Label0(1)"), QStringLiteral("No Connection"));
    QCOMPARE(a.charger.requests(), QStringList{"850357AA000D"});
    QVERIFY(w->state().ChargerModel.isEmpty());
    QVERIFY(w->profileEditor()->nominalVoltage()->isEnabled());
    QCOMPARE(labelText(*w, "Label1"),
             QStringLiteral(
                 "Warning : The selected nominal battery voltage must be same as the charger's."));
}

void TestStartup::noPortsMeansNothingSelected() {
    auto w = startWindow({QStringLiteral("/dev/zun-no-such-port")});
    QCOMPARE(w->CboPort->count(), 0);
    QCOMPARE(w->CboPort->currentIndex(), -1);
    QCOMPARE(labelText(*w, "Label0(1)"), QString());
}

void TestStartup::identification_data() {
    QTest::addColumn<int>("model");
    QTest::addColumn<int>("nominal");
    QTest::addColumn<QString>("rating");
    QTest::addColumn<int>("rated");
    QTest::newRow("3110") << 3110 << 0 << "Rating : 12V 10A 150W." << 10;
    QTest::newRow("3230") << 3230 << 1 << "Rating : 24V 30A 900W." << 30;
    QTest::newRow("3415") << 3415 << 2 << "Rating : 48V 15A 900W." << 15;
    QTest::newRow("3300") << 3300 << -1 << "Rating : 0V 0A 0W." << 0;
    QTest::newRow("FFFF reads 0: 12 V list") << 0xFFFF << 0 << "Rating : 0V 0A 0W." << 0;
}

void TestStartup::identification() {
    QFETCH(int, model);
    QFETCH(int, nominal);
    QFETCH(QString, rating);
    QFETCH(int, rated);
    Charger c;
    c.charger.setModelCode(static_cast<quint16>(model));
    auto w = startWindow({c.device()});
    QCOMPARE(w->profileEditor()->nominalVoltage()->currentIndex(), nominal);
    QVERIFY(!w->profileEditor()->nominalVoltage()->isEnabled());
    QCOMPARE(labelText(*w, "Label1"), rating);
    QCOMPARE(w->state().RatedCurrent, rated);
    QCOMPARE(w->state().ChargerModel,
             model == 0xFFFF ? QStringLiteral("0") : QString::number(model));
}

void TestStartup::settingsReplyLength_data() {
    QTest::addColumn<int>("bytes");
    QTest::addColumn<QString>("state");
    QTest::newRow("98 hex characters") << 49 << "No Connection";
    QTest::newRow("100 hex characters") << 50 << "Connection OK";
}

void TestStartup::settingsReplyLength() {
    QFETCH(int, bytes);
    QFETCH(QString, state);
    Charger c;
    auto w = startWindow({c.device()});
    sim::Faults f;
    f.truncateTo = bytes;
    c.charger.setFaults(f);
    w->selectPort(0);
    QCOMPARE(labelText(*w, "Label0(1)"), state);
    QCOMPARE(w->lastSettingsReply().size(), bytes * 2);
    // The blocks beyond the reply decode as zeros.
    QCOMPARE(w->state().memory.ProfileStages(1, 1), QStringLiteral("0"));
}

void TestStartup::silentSecondPortKeepsTheModelCode() {
    Charger a, b;
    a.charger.setModelCode(3415);
    sim::Faults silent;
    silent.silent = true;
    b.charger.setFaults(silent);
    auto w = startWindow({a.device(), b.device()});
    QCOMPARE(w->state().ChargerModel, QStringLiteral("3415"));
    w->selectPort(1);
    QCOMPARE(w->state().ChargerModel, QStringLiteral("3415"));
    QCOMPARE(w->profileEditor()->nominalVoltage()->currentIndex(), 2);
    QCOMPARE(labelText(*w, "Label1"), QStringLiteral("Rating : 48V 15A 900W."));
    QCOMPARE(labelText(*w, "Label0(1)"), QStringLiteral("No Connection"));
    // The failed connection filled both profiles with zeros.
    QCOMPARE(w->state().memory.ProfileGeneral(0, 1), QStringLiteral("0"));
}

void TestStartup::storedSettingsReachTheProfileMemory() {
    Charger c;
    auto w = startWindow({c.device()});
    auto& m = w->state().memory;
    QCOMPARE(m.ProfileGeneral(0, 0), QStringLiteral("12"));
    QCOMPARE(m.ProfileGeneral(0, 1), QStringLiteral("100"));
    QCOMPARE(m.ProfileGeneral(0, 3), QStringLiteral("25"));
    QCOMPARE(m.ProfileProtection(0, 0), QStringLiteral("45"));
    QCOMPARE(m.ProfileProtection(0, 4), QStringLiteral("20"));
    QCOMPARE(m.ProfileStages(0, 0), QStringLiteral("3"));
    QCOMPARE(m.ProfileStages(0, 1), QStringLiteral("14.4"));
}

void TestStartup::title() {
    QCOMPARE(app::FrmMain::TitleFor(1, 2, 0), QStringLiteral("ZUN V1.2"));
    QCOMPARE(app::FrmMain::TitleFor(1, 2, 5), QStringLiteral("ZUN V1.2.5"));
    auto w = startWindow({});
    QCOMPARE(w->windowTitle(),
             app::FrmMain::TitleFor(ZUN_VERSION_MAJOR, ZUN_VERSION_MINOR, ZUN_VERSION_PATCH));
}

void TestStartup::designCaptionsAreTheEnglishTexts() {
    QTemporaryDir empty;  // English.lang is created empty: the window keeps its own captions
    auto w = startWindow({}, empty.path());
    QVERIFY(QFileInfo::exists(empty.filePath("English.lang")));
    for (const lang::EnglishCaption& c : lang::kEnglishCaptions) {
        if (lang::KeyTable::target(QString::fromLatin1(c.key))) {
            QCOMPARE(captionOf(*w, QString::fromLatin1(c.key)), QString::fromUtf8(c.text));
        }
    }
}

void TestStartup::languageChoiceAppliesAndIsRemembered() {
    QTemporaryDir dir;
    for (const QString f : {"English.lang", "Deutsch.lang"}) {
        QVERIFY(QFile::copy(QStringLiteral(ZUN_LANG_DIR "/") + f, dir.filePath(f)));
    }
    {
        auto w = startWindow({}, dir.path());
        QCOMPARE(w->CmbLang->currentText(), QStringLiteral("English"));
        w->CmbLang->setCurrentIndex(w->CmbLang->findText(QStringLiteral("Deutsch")));
        QCOMPARE(captionOf(*w, "010000"), QStringLiteral("Ladeprofil"));
        QCOMPARE(captionOf(*w, "011000"), QStringLiteral("Allgemeine Einstellungen"));
        QCOMPARE(captionOf(*w, "020001"), QStringLiteral("Gesamtlaufzeit"));
        // The program's own captions follow: write buttons, every red note, menus, outputs.
        QCOMPARE(captionOf(*w, "900000"), QStringLiteral("&Alle Seiten schreiben"));
        QCOMPARE(captionOf(*w, "900003"), QStringLiteral("Seite &schreiben"));
        for (const char* note : {"900010", "900011", "900012", "900013"}) {
            QCOMPARE(captionOf(*w, note), captionOf(*w, "011302"));
        }
        QCOMPARE(captionOf(*w, "900100"), QStringLiteral("&Einstellungen"));
        QCOMPARE(captionOf(*w, "900111"), QStringLiteral("&\u00DCber ZUN"));
        QCOMPARE(captionOf(*w, "900203"), QStringLiteral("&Abbrechen"));
    }
    auto again = startWindow({}, dir.path());
    QCOMPARE(again->CmbLang->currentText(), QStringLiteral("Deutsch"));
    QCOMPARE(captionOf(*again, "000000"), QStringLiteral("Anschluss :"));
    again->CmbLang->setCurrentIndex(again->CmbLang->findText(QStringLiteral("English")));
    QCOMPARE(captionOf(*again, "010000"), QStringLiteral("Charge Profile"));
}

void TestStartup::closingReleasesThePort() {
    Charger c;
    auto w = startWindow({c.device()});
    QVERIFY(!canOpen(c.device()));
    w->show();
    QVERIFY(w->close());
    QVERIFY(canOpen(c.device()));
}

void TestStartup::unpluggedAdapterShowsNoConnection() {
    Charger c;
    auto w = startWindow({c.device()});
    QCOMPARE(labelText(*w, "Label0(1)"), QStringLiteral("Connection OK"));
    c.host.stop();
    auto* runTime = w->findChild<QAbstractButton*>(QStringLiteral("CmdGetOK(0)"));
    QVERIFY(runTime != nullptr);
    runTime->click();
    QTRY_COMPARE(labelText(*w, "Label0(1)"), QStringLiteral("No Connection"));
    QCOMPARE(w->getDataPage()->TxtGetText(0), QString());
}

void TestStartup::busyPortIsNamedInTheStatusBar() {
    Charger held, free;
    QSerialPort other(held.device());
    QVERIFY(other.open(QIODevice::ReadWrite));
    auto w = startWindow({held.device(), free.device()});
    // The list is as before: the held port is left out and the free one connects.
    QCOMPARE(w->CboPort->count(), 1);
    QCOMPARE(w->CboPort->itemData(0, Qt::ToolTipRole).toString(), free.device());
    QCOMPARE(labelText(*w, "Label0(1)"), QStringLiteral("Connection OK"));
    QCOMPARE(w->statusBar()->currentMessage(),
             QStringLiteral("%1: busy: another program is using the port").arg(held.device()));

    // Nothing refused: the status line reports the search, no port trouble.
    other.close();
    auto plain = startWindow({held.device()});
    QVERIFY2(!plain->statusBar()->currentMessage().contains(QStringLiteral("busy")),
             qPrintable(plain->statusBar()->currentMessage()));

    // A port taken by another program after start-up: choosing it again says so beside the
    // "No Connection" label.
    plain->show();
    QVERIFY(plain->close());
    QVERIFY(other.open(QIODevice::ReadWrite));
    plain->selectPort(0);
    QCOMPARE(labelText(*plain, "Label0(1)"), QStringLiteral("No Connection"));
    QCOMPARE(plain->statusBar()->currentMessage(),
             QStringLiteral("%1: busy: another program is using the port").arg(held.device()));
}

void TestStartup::aboutBoxShowsVersionAndCommit() {
    auto w = startWindow({});
    auto* about = w->findChild<QAction*>(QStringLiteral("ActAbout"));
    QVERIFY(about);
    const QString text = app::FrmMain::AboutText();
    QVERIFY2(text.startsWith(w->windowTitle() + QLatin1Char('\n')), qPrintable(text));
    QVERIFY2(text.contains(QStringLiteral("Version %1, commit %2")
                               .arg(link::BuildInfo::version(), link::BuildInfo::commit())),
             qPrintable(text));
    QCOMPARE(link::BuildInfo::version(), QStringLiteral("%1.%2.%3")
                                             .arg(ZUN_VERSION_MAJOR)
                                             .arg(ZUN_VERSION_MINOR)
                                             .arg(ZUN_VERSION_PATCH));
}

QTEST_MAIN(TestStartup)
#include "test_startup.moc"
