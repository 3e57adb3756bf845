#include "cli/profile_check.h"

#include "link/codec.h"
#include "profile/consistency_check.h"
#include "profile/field_corrections.h"
#include "profile/nominal_voltage.h"
#include "profile/profile_switch.h"
#include "profile/settings_file.h"
#include "profile/single_text.h"
#include "profile/stage_layout.h"

#include <QSet>

#include <optional>

namespace zun::cli {

using link::TextToSingle;
using profile::kCellCount;
using profile::kMaxStages;
using profile::kSlotCount;

namespace {

QString shown(const QString& text) {
    return text.trimmed().isEmpty() ? QStringLiteral("(empty)") : text;
}

QString plain(float v) {
    return profile::SingleText(v);
}

// The value the charger hands back for a field sent with the given scale and width, as the
// settings read-back decodes it; nothing when it does not fit at all.
std::optional<float> storedAs(float value, float scale, int bytes) {
    try {
        const qint32 raw = link::HexToNumber(link::NumberToField(value, scale, bytes));
        return float(raw / double(scale));
    } catch (const link::OverflowError&) {
        return std::nullopt;
    }
}

std::optional<float> storedTemperature(float value) {
    try {
        const double kelvin = link::FormatFixed(value, 0).toDouble() + 273.0;
        const QString hex = link::PadHex(link::HexOfInt16(link::ToInt16(kelvin)), 2);
        return float(link::HexToNumber(hex) - 273);
    } catch (const link::OverflowError&) {
        return std::nullopt;
    }
}

std::optional<float> storedCondition(int slot, float value, bool identified) {
    try {
        const qint16 field = profile::SlotField(slot, value, identified);
        const qint32 raw = link::HexToNumber(link::PadHex(link::HexOfInt16(field), 2));
        return TextToSingle(link::DecodeConditionValue(slot, raw));
    } catch (const link::OverflowError&) {
        return std::nullopt;
    }
}

class Checker {
public:
    Checker(const link::ProfileSlot& s, int p, const profile::ChargerContext& c)
        : slot(s),
          profile(p),
          context(c),
          pages(profile::PagesFor(s, p, c)),
          limits(profile::VoltageLimitsFor(c.nvPosition)) {}

    ProfileCheck run() {
        nominal();
        general();
        protection();
        stages();
        conditions(false);
        conditions(true);
        consistency();
        targets();
        return out;
    }

private:
    void wrong(const QString& path, const QString& value, const QString& reason) {
        if (seen.contains(path)) {
            return;
        }
        seen.insert(path);
        out.wrong.push_back({path, shown(value), reason});
    }

    void warn(const QString& path, const QString& value, const QString& reason) {
        out.warnings.push_back({path, shown(value), reason});
    }

    // A leave-the-box correction that would change the value makes the field wrong.
    bool corrected(const QString& path, const QString& text, const QString& after) {
        if (TextToSingle(after) != TextToSingle(text)) {
            wrong(path, text, QStringLiteral("the page would make it %1").arg(after));
            return true;
        }
        return false;
    }

    void fits(const QString& path, const QString& text, std::optional<float> stored) {
        if (!stored) {
            wrong(path, text, QStringLiteral("too large for the charger's field"));
        } else if (*stored != TextToSingle(text)) {
            wrong(path, text,
                  QStringLiteral("the charger would store it as %1").arg(plain(*stored)));
        }
    }

    void nominal() {
        const QString path = profile::GeneralPath(profile, 0);
        const QString text = slot.general[0];
        if (context.nvPosition < 0) {
            wrong(path, text,
                  QStringLiteral("the charger (model %1) has no nominal voltage the pages know")
                      .arg(context.modelCode.isEmpty() ? QStringLiteral("unknown")
                                                       : context.modelCode));
            return;
        }
        const auto position = profile::PositionForNominal(TextToSingle(text));
        if (!position || *position != context.nvPosition) {
            wrong(path, text,
                  QStringLiteral("the charger is a %1 charger")
                      .arg(profile::NominalText(context.nvPosition)
                               .replace(QStringLiteral("V"), QStringLiteral(" V"))));
        }
    }

    void general() {
        struct Field {
            int k;
            float scale;
            int bytes;
            float low, high;
            const char* unit;
        };
        static const Field fields[] = {{1, 1.0f, 2, 2, 600, "Ah"},
                                       {2, 1.0f, 2, 10, 30, "mV"},
                                       {3, 10.0f, 2, 20, 30, "C"},
                                       {4, 1.0f, 1, 1, 5, "A/C"},
                                       {5, 10.0f, 2, 30, 50, "C"}};
        for (const Field& f : fields) {
            const QString path = profile::GeneralPath(profile, f.k);
            const QString text = slot.general[f.k];
            if (corrected(path, text, profile::Txt0_LostFocus(f.k, text))) {
                continue;
            }
            fits(path, text, storedAs(TextToSingle(text), f.scale, f.bytes));
            const float v = TextToSingle(text);
            if (v < f.low || v > f.high) {
                warn(path, text,
                     QStringLiteral("outside the page's range %1-%2 %3")
                         .arg(plain(f.low), plain(f.high), QLatin1String(f.unit)));
            }
        }
    }

    void protection() {
        for (int k : {0, 2, 3, 4}) {
            const QString path = profile::ProtectionPath(profile, k);
            const QString text = slot.protection[k];
            if (corrected(path, text, profile::Txt1_LostFocus(k, text))) {
                continue;
            }
            if (k == 0) {
                fits(path, text, storedTemperature(TextToSingle(text)));
            } else if (k == 4) {
                fits(path, text, storedAs(TextToSingle(text), 1.0f, 2));
            }
        }
        const QString over = profile::OverVoltageText(context.nvPosition);
        if (context.nvPosition >= 0 && TextToSingle(slot.protection[1]) != TextToSingle(over)) {
            wrong(profile::ProtectionPath(profile, 1), slot.protection[1],
                  QStringLiteral("follows the nominal voltage: %1 for %2")
                      .arg(over, profile::NominalText(context.nvPosition)));
        }
    }

    void stages() {
        const QString countPath = profile::StageCountPath(profile);
        const QString countText = slot.stages[0];
        if (pages.stages.stagePosition < 0) {
            wrong(countPath, countText, QStringLiteral("choose 1 to 4 stages"));
            return;
        }
        if (TextToSingle(countText) != float(pages.stageCount)) {
            wrong(countPath, countText,
                  QStringLiteral("the pages offer 1 to 4 stages; it would become %1")
                      .arg(pages.stageCount));
            return;
        }
        profile::StageContext sc;
        sc.nvPosition = context.nvPosition;
        sc.nominalText = profile::NominalText(context.nvPosition);
        sc.overVoltage = profile::OverVoltageText(context.nvPosition);
        sc.voltStep = limits.VoltStep;
        sc.ratedCurrent = context.ratedCurrent;
        for (int i = 0; i < 2 * pages.stageCount; ++i) {
            const QString path = profile::StagePath(profile, i);
            const QString text = slot.stages[i + 1];
            if (corrected(path, text, profile::Txt2_LostFocus(i, text, sc))) {
                continue;
            }
            fits(path, text, storedAs(TextToSingle(text), i % 2 == 0 ? 100.0f : 10.0f, 2));
        }
    }

    profile::ConditionContext conditionContext(bool anyStage) const {
        profile::ConditionContext cc;
        cc.nvPosition = context.nvPosition;
        cc.voltStep = limits.VoltStep;
        cc.stageVoltMin = limits.StageVoltMin;
        cc.stageVoltMax = limits.StageVoltMax;
        cc.Txt2 = pages.stages.Txt2;
        cc.Txt1_3 = slot.protection[3];
        cc.Txt1_4 = slot.protection[4];
        cc.texts = anyStage ? pages.any.grid.texts : pages.next.texts;
        cc.slot5Visible = profile::Slot5Visibility(pages.stageCount);
        return cc;
    }

    void conditions(bool anyStage) {
        const std::array<QString, kCellCount>& entries = anyStage ? slot.anyCond : slot.nextCond;
        const profile::ConditionGrid& grid = anyStage ? pages.any.grid : pages.next;
        const profile::ConditionContext cc = conditionContext(anyStage);
        const bool identified = !context.modelCode.isEmpty();
        bool timeWarned = false;
        for (int c = 0; c < kMaxStages * kSlotCount; ++c) {
            const int slotIndex = c % kSlotCount;
            const bool sent = c / kSlotCount < pages.stageCount;
            const QString valuePath =
                profile::CellPath(profile, anyStage, c, QStringLiteral("value"));
            const QString text = grid.texts[c];
            const auto type = anyStage ? profile::AnyCondTypePosition(entries[c])
                                       : profile::NextCondTypePosition(entries[c]);
            if (!sent) {
                continue;
            }
            if (!type) {
                wrong(profile::CellPath(profile, anyStage, c, QStringLiteral("use")),
                      entries[c].left(1), QStringLiteral("use must be none, and or or"));
                continue;
            }
            if (*type == 0) {
                // Unused cells still go in the frame: they only have to fit.
                if (!storedCondition(slotIndex, TextToSingle(text), identified)) {
                    wrong(valuePath, text, QStringLiteral("too large for the charger's field"));
                }
                continue;
            }
            const profile::CellCorrection fix = profile::Txt3_LostFocus(c, text, cc);
            if (fix.totalTimeExceeded && !timeWarned) {
                timeWarned = true;
                if (anyStage) {
                    warn(valuePath, text, QLatin1String(profile::kTotalTimeMessage));
                }
            }
            if (corrected(valuePath, text, fix.text)) {
                continue;
            }
            fits(valuePath, text, storedCondition(slotIndex, TextToSingle(text), identified));
        }
        // The page's own button stays disabled while "and" and "or" are mixed.
        const int stages = pages.stageCount;
        for (int s = 0; s < stages; ++s) {
            bool hasAnd = false;
            bool hasOr = false;
            for (int k : {0, 2, 4, 5}) {
                hasAnd = hasAnd || grid.types[s * kSlotCount + k] == 1;
                hasOr = hasOr || grid.types[s * kSlotCount + k] == 2;
            }
            if (!(hasAnd && hasOr)) {
                continue;
            }
            for (int k : {0, 2, 4, 5}) {
                const int c = s * kSlotCount + k;
                if (grid.types[c] > 0) {
                    wrong(profile::CellPath(profile, anyStage, c, QStringLiteral("use")),
                          profile::UseName(grid.types[c]),
                          QStringLiteral("\"and\" and \"or\" are mixed on this transition"));
                }
            }
        }
    }

    void consistency() {
        profile::ConsistencyInput in;
        in.nvPosition = context.nvPosition;
        in.nominalText = profile::NominalText(context.nvPosition);
        in.Txt1_1 = profile::OverVoltageText(context.nvPosition);
        in.Txt1_4 = slot.protection[4];
        in.stagePosition = pages.stages.stagePosition;
        in.stageText = pages.stages.stageText;
        in.Txt2 = pages.stages.Txt2;
        in.Cmb3Type = pages.next.types;
        in.Txt3 = pages.next.texts;
        in.slot5Visible = profile::Slot5Visibility(pages.stageCount);
        in.StageVoltMin = limits.StageVoltMin;
        in.StageVoltMax = limits.StageVoltMax;
        in.VoltStep = limits.VoltStep;
        in.RatedCurrent = context.ratedCurrent;
        const profile::ConsistencyVerdict v = profile::CheckConsistency(in);
        using profile::Field;
        auto failed = [&v](Field field, int index = 0) {
            const profile::Finding* f = v.find(field, index);
            return f != nullptr && f->wrong() ? f : nullptr;
        };
        if (failed(Field::Txt1_4)) {
            wrong(profile::ProtectionPath(profile, 4), slot.protection[4],
                  QStringLiteral("must be 4 to 24 hours"));
        }
        if (failed(Field::Cmb2Total)) {
            wrong(profile::StageCountPath(profile), slot.stages[0],
                  QStringLiteral("choose 1 to 4 stages"));
        }
        for (int k = 0; k < profile::kStageFieldCount; ++k) {
            if (const profile::Finding* f = failed(Field::Txt2, k)) {
                wrong(profile::StagePath(profile, k), in.Txt2[k], explain(*f));
            }
        }
        for (int c = 0; c < kCellCount; ++c) {
            if (const profile::Finding* f = failed(Field::Txt3, c)) {
                wrong(profile::CellPath(profile, false, c, QStringLiteral("value")), in.Txt3[c],
                      explain(*f));
            }
            if (failed(Field::Cmb3Type, c)) {
                wrong(profile::CellPath(profile, false, c, QStringLiteral("use")),
                      profile::UseName(in.Cmb3Type[c]),
                      QStringLiteral("\"and\" and \"or\" are mixed on this transition"));
            }
        }
        for (int c : v.resetToNone) {
            wrong(profile::CellPath(profile, false, c, QStringLiteral("use")),
                  profile::UseName(in.Cmb3Type[c]),
                  QStringLiteral("only chargingVoltageAboveV, chargingCurrentBelowA and "
                                 "sectionTimeAboveMin can be used before the last transition; "
                                 "the page would set it to none"));
        }
        if (!v.cmdOkEnabled && out.wrong.empty()) {
            if (const profile::Finding* total = failed(Field::SectionTotal)) {
                wrong(profile::ProtectionPath(profile, 4), slot.protection[4],
                      QStringLiteral("the next-stage section times add up to %1 minutes, more "
                                     "than %2 minutes")
                          .arg(total->value)
                          .arg(total->high));
            } else {
                wrong(profile::ProfilePath(profile), QString(),
                      QStringLiteral("the profile does not pass the window's consistency "
                                     "check"));
            }
        }
    }

    // A failed stage or condition value in plain words, with the limits the check applied.
    QString explain(const profile::Finding& f) const {
        switch (f.rule) {
            case profile::Rule::StageVoltage:
                return QStringLiteral("a stage voltage must lie from %1 to %2 V")
                    .arg(plain(float(f.low)), plain(float(f.high)));
            case profile::Rule::StageCurrent:
                return QStringLiteral(
                           "a stage current must lie from 2 to %1 A (the charger's "
                           "rating)")
                    .arg(qRound(f.high));
            case profile::Rule::SwitchVoltage:
                return QStringLiteral("must lie from %1 to %2 V and below the stage voltage by %3")
                    .arg(plain(float(f.low)), plain(float(f.high)), plain(float(f.step)));
            case profile::Rule::SwitchCurrent:
                return QStringLiteral("must lie from 1 A to the stage current less 1 A (%1)")
                    .arg(plain(float(f.high)));
            default:
                return QStringLiteral(
                           "the section times add up to more than "
                           "maxTotalChargingHours (%1 h)")
                    .arg(shown(slot.protection[4]));
        }
    }

    void targets() {
        for (int s = 0; s < pages.stageCount; ++s) {
            const QString stored = slot.anyTarget[s];
            if (stored.trimmed().isEmpty() || pages.any.targetPositions[s] >= 0) {
                continue;
            }
            // Target stage 1 and no target both go as 0.
            if (TextToSingle(stored) == 0.0f) {
                continue;
            }
            wrong(
                profile::TargetPath(profile, s), plain(TextToSingle(stored) + 1.0f),
                QStringLiteral("must be another of the %1 stages, or null").arg(pages.stageCount));
        }
    }

    const link::ProfileSlot& slot;
    int profile;
    profile::ChargerContext context;
    profile::ProfilePages pages;
    profile::VoltageLimits limits;
    ProfileCheck out;
    QSet<QString> seen;
};

}  // namespace

ProfileCheck CheckProfile(const link::ProfileSlot& slot, int profile,
                          const profile::ChargerContext& context) {
    return Checker(slot, profile, context).run();
}

}  // namespace zun::cli
