#include "profile/field_corrections.h"

#include "link/codec.h"
#include "profile/nominal_voltage.h"
#include "profile/single_text.h"

#include <cmath>

namespace zun::profile {

using link::FormatFixed;
using link::FormatValue;
using link::TextToSingle;

namespace {

constexpr int kTempLow = 0;
constexpr int kTempHigh = 59;
constexpr float kSectionTimeCap = 1440.0f;

double roundHalfEven(double v) {
    return std::nearbyint(v);  // the default rounding mode is to nearest, ties to even
}

}  // namespace

QString Txt0_LostFocus(int index, const QString& text) {
    const float v = TextToSingle(text);
    switch (index) {
        case 1:
            if (v > 600.0f) {
                return QStringLiteral("600");
            }
            if (v < 2.0f) {
                return QStringLiteral("2");
            }
            return FormatFixed(v, 0);
        case 2:
        case 4:
            return FormatFixed(v, 0);
        case 3:
        case 5:
            return FormatFixed(v, 1);
        default:
            return text;
    }
}

QString Txt1_LostFocus(int index, const QString& text) {
    switch (index) {
        case 0:
        case 2:
        case 3: {
            const QString whole = FormatFixed(TextToSingle(text), 0);
            if (TextToSingle(whole) < 0.0f) {
                return index == 0 ? QStringLiteral("0") : QStringLiteral("1");
            }
            return whole;
        }
        case 4: {
            const QString shown = FormatValue(text, 1);
            const float v = TextToSingle(shown);
            if (v < 4.0f) {
                return QStringLiteral("4");
            }
            if (v > 24.0f) {
                return QStringLiteral("24");
            }
            return shown;
        }
        default:
            return text;
    }
}

QString Txt2_LostFocus(int index, const QString& text, const StageContext& context) {
    QString t = FormatValue(text, 1);
    if (context.nvPosition < 0 || context.nvPosition > 2) {
        return QStringLiteral("0");
    }
    if (index % 2 == 1) {
        if (TextToSingle(t) < 2.0f) {
            t = QStringLiteral("2");
        }
        if (TextToSingle(t) > static_cast<float>(context.ratedCurrent)) {
            t = QString::number(context.ratedCurrent);
        }
        return t;
    }
    // Each limit re-reads the text the previous one wrote.
    const float nominal = TextToSingle(context.nominalText);
    if (TextToSingle(t) < nominal) {
        t = SingleText(nominal);
    }
    const float belowProtection = TextToSingle(context.overVoltage) - context.voltStep;
    if (TextToSingle(t) > belowProtection) {
        t = SingleText(belowProtection);
    }
    const float ceiling = VoltCeiling(context.nvPosition);
    if (TextToSingle(t) > ceiling) {
        t = SingleText(ceiling);
    }
    if (TextToSingle(t) < 0.0f) {
        t = QStringLiteral("0");
    }
    return t;
}

double SectionTimeSum(const std::array<QString, kCellCount>& texts,
                      const std::array<bool, kMaxStages>& slot5Visible) {
    double sum = 0.0;
    for (int m = 0; m < kMaxStages; ++m) {
        if (!slot5Visible[m]) {
            break;
        }
        sum += roundHalfEven(TextToSingle(texts[m * kSlotCount + 5]));
    }
    return sum;
}

CellCorrection Txt3_LostFocus(int index, const QString& text, const ConditionContext& context) {
    CellCorrection out;
    out.text = text;
    if (index < 0 || index >= kCellCount) {
        return out;
    }
    const int stage = index / kSlotCount;
    const bool noNominal = context.nvPosition < 0 || context.nvPosition > 2;
    QString t = text;
    switch (index % kSlotCount) {
        case 0: {
            if (noNominal) {
                out.text = QStringLiteral("0");
                return out;
            }
            if (TextToSingle(t) < context.stageVoltMin) {
                t = SingleText(context.stageVoltMin);
            }
            if (TextToSingle(t) > context.stageVoltMax) {
                t = SingleText(context.stageVoltMax);
            }
            const float belowStage = TextToSingle(context.Txt2[2 * stage]) - context.voltStep;
            if (TextToSingle(t) > belowStage) {
                t = SingleText(belowStage);
            }
            out.text = FormatValue(t, 1);
            return out;
        }
        case 2: {
            double whole = std::floor(static_cast<double>(TextToSingle(t)));
            if (whole < kTempLow) {
                whole = kTempLow;
            }
            if (whole > kTempHigh) {
                whole = kTempHigh;
            }
            out.text = QString::number(static_cast<int>(whole));
            return out;
        }
        case 4: {
            if (noNominal) {
                out.text = QStringLiteral("0");
                return out;
            }
            if (TextToSingle(t) < 1.0f) {
                t = QStringLiteral("1");
            }
            const float belowStage = TextToSingle(context.Txt2[2 * stage + 1]) - 1.0f;
            if (TextToSingle(t) > belowStage) {
                t = SingleText(belowStage);
            }
            out.text = FormatValue(t, 1);
            return out;
        }
        case 5: {
            out.text = FormatValue(t, 1);
            out.Txt1_3 = SingleText(TextToSingle(context.Txt1_3));
            std::array<QString, kCellCount> texts = context.texts;
            texts[index] = out.text;
            const double sum = SectionTimeSum(texts, context.slot5Visible);
            out.totalTimeExceeded = sum > static_cast<double>(TextToSingle(context.Txt1_4) * 60.0f);
            return out;
        }
        default:
            return out;
    }
}

std::optional<QString> Txt3_KeyUp(int index, const QString& text) {
    if (index % kSlotCount != 5) {
        return std::nullopt;
    }
    if (TextToSingle(text) > kSectionTimeCap) {
        return QStringLiteral("1440");
    }
    return std::nullopt;
}

}  // namespace zun::profile
