#include "app/finding_text.h"

#include "lang/program_texts.h"

namespace zun::app {

using lang::T;
using lang::Text;

namespace {

QString num(double v) {
    return QString::number(v, 'g', 6);
}

}  // namespace

QString FindingName(const profile::Finding& f) {
    using profile::Field;
    switch (f.field) {
        case Field::Txt1_4:
            return Text(T::FindTotalTime);
        case Field::Cmb2Total:
            return Text(T::FindStageCount);
        case Field::Txt2:
            return (f.index % 2 == 0 ? Text(T::FindStageVoltage) : Text(T::FindStageCurrent))
                .arg(f.index / 2 + 1);
        case Field::Txt3:
            switch (f.index % 8) {
                case 0:
                    return Text(T::FindSwitchVoltage).arg(f.index / 8 + 1);
                case 4:
                    return Text(T::FindSwitchCurrent).arg(f.index / 8 + 1);
                case 5:
                    return Text(T::FindStageTime).arg(f.index / 8 + 1);
                default:
                    return Text(T::FindCondition).arg(f.index / 8 + 1).arg(f.index % 8 + 1);
            }
        case Field::Cmb3Type:
            return Text(T::FindConditionType).arg(f.index / 8 + 1).arg(f.index % 8 + 1);
        case Field::SectionTotal:
            return Text(T::FindStageTimes);
    }
    return QString();
}

QString FindingReason(const profile::Finding& f) {
    using profile::Rule;
    switch (f.rule) {
        case Rule::None:
            return QString();
        case Rule::TotalHours:
            return Text(T::RuleTotalHours).arg(num(f.low), num(f.high), num(f.value));
        case Rule::StageCount:
            return Text(T::RuleStageCount);
        case Rule::StageVoltage:
            return Text(T::RuleStageVoltage).arg(num(f.low), num(f.high), num(f.value));
        case Rule::StageCurrent:
            return Text(T::RuleStageCurrent).arg(num(f.low), num(f.high), num(f.value));
        case Rule::SwitchVoltage:
            return Text(T::RuleSwitchVoltage)
                .arg(num(f.low), num(f.high), num(f.step), num(f.value));
        case Rule::SwitchCurrent:
            return Text(T::RuleSwitchCurrent).arg(num(f.low), num(f.high), num(f.value));
        case Rule::SectionTimes:
            if (f.field == profile::Field::SectionTotal) {
                return Text(T::RuleTimesTotal).arg(num(f.value), num(f.high));
            }
            return Text(T::RuleTimesStage).arg(num(f.high));
        case Rule::AndOrMixed:
            return Text(T::RuleAndOrMixed);
    }
    return QString();
}

}  // namespace zun::app
