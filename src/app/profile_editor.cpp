#include "app/profile_editor.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QVBoxLayout>

namespace zun::app {

ProfileEditor::ProfileEditor(WindowState& state, QWidget* parent) : QWidget(parent), state_(state) {
    auto* top = new QHBoxLayout;
    auto* lab = new QLabel(tr("Profile No :"));
    lab->setObjectName("Lab1(0)");
    CmbPN = new QComboBox;
    CmbPN->setObjectName("CmbPN");
    CmbPN->addItems({"1", "2"});
    Check1 = new QCheckBox("Atuo set 0");
    Check1->setObjectName("Check1");
    CmdOK = new QPushButton("OK");
    CmdOK->setObjectName("CmdOK");
    top->addWidget(lab);
    top->addWidget(CmbPN);
    top->addWidget(Check1);
    top->addStretch();
    top->addWidget(CmdOK);

    Tab2 = new QTabWidget;
    Tab2->setObjectName("Tab2");
    auto* general = new QWidget;
    auto* g = new QGridLayout(general);
    Cmb0NV = new QComboBox;
    Cmb0NV->setObjectName("Cmb0NV");
    Cmb0NV->addItems({"12V", "24V", "48V"});
    Cmb0NV->setCurrentIndex(-1);
    auto* nvLabel = new QLabel("Nominal bat Voltage :");
    nvLabel->setObjectName("Lab0(1)");
    g->addWidget(nvLabel, 0, 0);
    g->addWidget(Cmb0NV, 0, 1);
    g->setRowStretch(1, 1);
    Tab2->addTab(general, "General Setting");
    Tab2->addTab(new QWidget, "Protection setting");
    Tab2->addTab(new QWidget, "Charge Stage");
    Tab2->addTab(new QWidget, "Next Stage Condition");
    Tab2->addTab(new QWidget, "Any Stage Condition");

    auto* v = new QVBoxLayout(this);
    v->addLayout(top);
    v->addWidget(Tab2, 1);
    connect(Cmb0NV, &QComboBox::currentIndexChanged, this, [this] { Cmb0NV_Click(); });
    connect(CmbPN, &QComboBox::currentIndexChanged, this, [this] { CmbPN_Click(); });
}

void ProfileEditor::InitPages() {}

void ProfileEditor::CmbPN_Click() {}

void ProfileEditor::Cmb0NV_Click() {}

}  // namespace zun::app
