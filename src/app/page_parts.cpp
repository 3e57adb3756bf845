#include "app/page_parts.h"

#include "app/busy_guard.h"
#include "app/profile_editor.h"
#include "lang/program_texts.h"

namespace zun::app {

QLabel* MakeLabel(const QString& text, const QString& name) {
    auto* l = new QLabel(text);
    l->setObjectName(name);
    return l;
}

QGridLayout* MakeFieldGrid() {
    auto* grid = new QGridLayout;
    grid->setHorizontalSpacing(10);
    grid->setVerticalSpacing(10);
    grid->setColumnStretch(3, 1);
    return grid;
}

QLineEdit* AddFieldRow(QGridLayout* grid, int row, QLabel* caption, const QString& boxName,
                       QLabel* unit) {
    auto* box = new QLineEdit;
    box->setObjectName(boxName);
    box->setFixedWidth(90);
    caption->setBuddy(box);
    grid->addWidget(caption, row, 0);
    grid->addWidget(box, row, 1);
    grid->addWidget(unit, row, 2);
    return box;
}

QPushButton* MakeButton(const QString& name, const QString& caption) {
    auto* b = new QPushButton(caption);
    b->setObjectName(name);
    b->setAutoDefault(false);
    return b;
}

QPushButton* MakeWriteButton(const QString& name, lang::T toolTip) {
    auto* b = new QPushButton(QStringLiteral("&Write page"));
    b->setObjectName(name);
    b->setMinimumWidth(100);
    BusyGuard::MarkExchangeStarter(b);
    FollowLanguage(b, [b, toolTip] { b->setToolTip(lang::Text(toolTip)); });
    return b;
}

void FollowLanguage(QObject* owner, const std::function<void()>& apply) {
    apply();
    QObject::connect(&lang::ProgramTexts::instance(), &lang::ProgramTexts::changed, owner, apply);
}

QLabel* MakeWrongEntryNote(const QString& name) {
    QLabel* note = MakeLabel(QStringLiteral("Red color means wrong entry or conflict of previous "
                                            "setting .Recheck just entered setting ."),
                             name);
    note->setWordWrap(true);
    SetTextColour(note, kWrongColour);
    return note;
}

QHBoxLayout* MakePageFooter(QLabel* note, QPushButton* write) {
    auto* bottom = new QHBoxLayout;
    bottom->addWidget(note, 1);
    bottom->addSpacing(20);
    bottom->addWidget(write, 0, Qt::AlignBottom);
    return bottom;
}

}  // namespace zun::app
