#include "app/finding_text.h"

#include <QCoreApplication>

namespace zun::app {

namespace {

QString tr(const char* text) {
    return QCoreApplication::translate("zun::app::FindingText", text);
}

QString num(double v) {
    return QString::number(v, 'g', 6);
}

}  // namespace

QString FindingName(const profile::Finding& f) {
    using profile::Field;
    switch (f.field) {
        case Field::Txt1_4:
            return tr("Maximum total charging time");
        case Field::Cmb2Total:
            return tr("Number of stages");
        case Field::Txt2:
            return (f.index % 2 == 0 ? tr("Stage %1 voltage") : tr("Stage %1 current"))
                .arg(f.index / 2 + 1);
        case Field::Txt3:
            switch (f.index % 8) {
                case 0:
                    return tr("Stage %1 switch voltage").arg(f.index / 8 + 1);
                case 4:
                    return tr("Stage %1 switch current").arg(f.index / 8 + 1);
                case 5:
                    return tr("Stage %1 time").arg(f.index / 8 + 1);
                default:
                    return tr("Stage %1 condition %2").arg(f.index / 8 + 1).arg(f.index % 8 + 1);
            }
        case Field::Cmb3Type:
            return tr("Stage %1 condition type %2").arg(f.index / 8 + 1).arg(f.index % 8 + 1);
        case Field::SectionTotal:
            return tr("Stage times");
    }
    return QString();
}

QString FindingReason(const profile::Finding& f) {
    using profile::Rule;
    switch (f.rule) {
        case Rule::None:
            return QString();
        case Rule::TotalHours:
            return tr("must lie between %1 h and %2 h (now %3 h)")
                .arg(num(f.low), num(f.high), num(f.value));
        case Rule::StageCount:
            return tr("choose the number of stages");
        case Rule::StageVoltage:
            return tr("must lie between %1 V and %2 V, below the over-voltage protection "
                      "(now %3 V)")
                .arg(num(f.low), num(f.high), num(f.value));
        case Rule::StageCurrent:
            return tr("must lie between %1 A and %2 A, the charger's rating (now %3 A)")
                .arg(num(f.low), num(f.high), num(f.value));
        case Rule::SwitchVoltage:
            return tr("must lie between %1 V and %2 V and at least %3 V below the stage "
                      "voltage (now %4 V)")
                .arg(num(f.low), num(f.high), num(f.step), num(f.value));
        case Rule::SwitchCurrent:
            return tr("must lie between %1 A and %2 A, the stage current less 1 A (now %3 A)")
                .arg(num(f.low), num(f.high), num(f.value));
        case Rule::SectionTimes:
            if (f.field == profile::Field::SectionTotal) {
                return tr("add up to %1 min, more than the %2 min of the maximum total charging "
                          "time")
                    .arg(num(f.value), num(f.high));
            }
            return tr("the stage times add up to more than %1 min, the maximum total charging "
                      "time")
                .arg(num(f.high));
        case Rule::AndOrMixed:
            return tr("\"and\" and \"or\" are mixed on one stage's conditions");
    }
    return QString();
}

}  // namespace zun::app
