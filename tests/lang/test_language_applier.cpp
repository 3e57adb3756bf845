#include "app/language_applier.h"
#include "lang/language_file.h"

#include <QGroupBox>
#include <QLabel>
#include <QPushButton>
#include <QTabWidget>
#include <QVBoxLayout>
#include <QtTest>

using zun::lang::LanguageFile;

namespace {

// A cut-down window with the controls of the key table, nested the way the pages nest them.
struct Window {
    QWidget root;
    QTabWidget* tab1;
    QTabWidget* tab2;

    Window() {
        tab1 = new QTabWidget(&root);
        tab1->setObjectName("Tab1");
        auto* profile = new QWidget;
        tab1->addTab(profile, "Charge Profile");
        tab1->addTab(new QWidget, "Get Data");
        tab2 = new QTabWidget(profile);
        tab2->setObjectName("Tab2");
        for (int i = 0; i < 5; ++i) {
            tab2->addTab(new QWidget, QStringLiteral("page %1").arg(i));
        }
        auto* label = new QLabel("Charging voltage above (V)", tab2->widget(3));
        label->setObjectName("Label3(0)");
        auto* stage = new QLabel("Stage 6 :", tab2->widget(2));
        stage->setObjectName("Lab2(21)");
        auto* button = new QPushButton("Data Log", tab1->widget(1));
        button->setObjectName("CmdGetOK(2)");
        auto* group = new QGroupBox("Desc", tab1->widget(1));
        group->setObjectName("LabelGetDesc");
        auto* port = new QLabel("Port :", &root);
        port->setObjectName("Label0(0)");
    }

    QString text(const QString& name) const {
        QObject* o = root.findChild<QObject*>(name);
        if (auto* l = qobject_cast<QLabel*>(o)) {
            return l->text();
        }
        if (auto* b = qobject_cast<QAbstractButton*>(o)) {
            return b->text();
        }
        if (auto* g = qobject_cast<QGroupBox*>(o)) {
            return g->title();
        }
        return "<none>";
    }

    // "Label0(0)=...|Label3(0)=...|..." over every control and tab of this window.
    QString state() const {
        QStringList parts;
        for (const char* name :
             {"Label0(0)", "Label3(0)", "Lab2(21)", "CmdGetOK(2)", "LabelGetDesc"}) {
            parts << QString::fromLatin1(name) + u'=' + text(QString::fromLatin1(name));
        }
        for (int i = 0; i < tab1->count(); ++i) {
            parts << QStringLiteral("Tab1[%1]=").arg(i) + tab1->tabText(i);
        }
        for (int i = 0; i < tab2->count(); ++i) {
            parts << QStringLiteral("Tab2[%1]=").arg(i) + tab2->tabText(i);
        }
        return parts.join(u'|');
    }
};

}  // namespace

class LanguageApplierTest : public QObject {
    Q_OBJECT

private slots:
    void apply_data();
    void apply();
    void nullWindow();
};

void LanguageApplierTest::apply_data() {
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QStringList>("changes");  // "name=text" differing from the design

    QTest::newRow("nothing") << QByteArray() << QStringList{};
    QTest::newRow("label") << QByteArray("011303 Ladespannung")
                           << QStringList{"Label3(0)=Ladespannung"};
    QTest::newRow("cleared label") << QByteArray("011303 ") << QStringList{"Label3(0)="};
    QTest::newRow("button and group")
        << QByteArray("020003 Protokoll\n020006 Beschr.")
        << QStringList{"CmdGetOK(2)=Protokoll", "LabelGetDesc=Beschr."};
    QTest::newRow("tabs") << QByteArray("010000 Ladeprofil\n020000 Daten\n011400 Beliebig")
                          << QStringList{"Tab1[0]=Ladeprofil", "Tab1[1]=Daten", "Tab2[4]=Beliebig"};
    QTest::newRow("missing controls skipped")
        << QByteArray("011304 Temp\n020004 Open\n000000 Anschluss :")
        << QStringList{"Label0(0)=Anschluss :"};
    QTest::newRow("utf-8 text") << QStringLiteral("011208 Stufe 6 über").toUtf8()
                                << QStringList{QStringLiteral("Lab2(21)=Stufe 6 über")};
}

void LanguageApplierTest::apply() {
    QFETCH(QByteArray, file);
    QFETCH(QStringList, changes);
    Window window;
    QStringList expected = window.state().split(u'|');
    for (const QString& change : changes) {
        const QString name = change.section(u'=', 0, 0);
        const auto it = std::find_if(expected.begin(), expected.end(),
                                     [&](const QString& s) { return s.startsWith(name + u'='); });
        QVERIFY2(it != expected.end(), qPrintable(change));
        *it = change;
    }
    zun::app::ApplyLanguage(&window.root, LanguageFile::fromBytes(file).captions());
    QCOMPARE(window.state(), expected.join(u'|'));
}

void LanguageApplierTest::nullWindow() {
    zun::app::ApplyLanguage(nullptr, LanguageFile::fromBytes("011303 X").captions());
    Window window;
    const QString before = window.state();
    zun::app::ApplyLanguage(&window.root, {});
    QCOMPARE(window.state(), before);
}

QTEST_MAIN(LanguageApplierTest)
#include "test_language_applier.moc"
