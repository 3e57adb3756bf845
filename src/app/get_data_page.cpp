#include "app/get_data_page.h"

#include <QVBoxLayout>

namespace zun::app {

GetDataPage::GetDataPage(WindowState& state, QWidget* parent) : QWidget(parent), state_(state) {
    FG1 = new QTableView;
    FG1->setObjectName("FG1");
    auto* v = new QVBoxLayout(this);
    v->addWidget(FG1);
}

void GetDataPage::InitLogTable() {}

void GetDataPage::ArrangeLayout() {}

}  // namespace zun::app
