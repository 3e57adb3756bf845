#include "app/language_applier.h"

#include <QGroupBox>
#include <QLabel>
#include <QPushButton>
#include <QTabWidget>
#include <QtTest>

class LanguageApplierTest : public QObject {
    Q_OBJECT

private slots:
    // Captions reach labels, buttons, group boxes and tabs by name, nested as the pages nest
    // them; a key whose control the window lacks is passed over.
    void apply() {
        QWidget window;
        QTabWidget tab1(&window);
        tab1.setObjectName("Tab1");
        tab1.addTab(new QWidget, "Charge Profile");
        tab1.addTab(new QWidget, "Get Data");
        QTabWidget tab2(tab1.widget(0));
        tab2.setObjectName("Tab2");
        tab2.addTab(new QWidget, "General Setting");
        tab2.addTab(new QWidget, "Protection setting");
        QLabel label("Charging voltage above (V)", tab2.widget(1));
        label.setObjectName("Label3(0)");
        QPushButton button("Data Log", tab1.widget(1));
        button.setObjectName("CmdGetOK(2)");
        QGroupBox group("Desc", tab1.widget(1));
        group.setObjectName("LabelGetDesc");
        const QByteArray file("011303 \n020003 L\n020006 D\n011100 S\n020000 G\n011304 T");
        const auto captions = zun::lang::LanguageFile::fromBytes(file).captions();
        zun::app::ApplyLanguage(nullptr, captions);
        zun::app::ApplyLanguage(&window, captions);
        const QStringList got{label.text(),    button.text(),   group.title(),  tab1.tabText(0),
                              tab1.tabText(1), tab2.tabText(0), tab2.tabText(1)};
        QCOMPARE(got, (QStringList{"", "L", "D", "Charge Profile", "G", "General Setting", "S"}));
    }
};

QTEST_MAIN(LanguageApplierTest)
#include "test_language_applier.moc"
