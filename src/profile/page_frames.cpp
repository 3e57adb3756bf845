#include "profile/page_frames.h"

#include "link/codec.h"

#include <QRegularExpression>

#include <cmath>

namespace zun::profile {

using link::Format00;
using link::FormatFixed;
using link::HexOfInt16;
using link::NumberToField;
using link::PadHex;
using link::TextToSingle;
using link::ToInt16;

namespace {

// A value written with the "0" pattern and read back, as the kelvin fields are formed.
double wholeOfFormatted(float value) {
    return FormatFixed(value, 0).toDouble();
}

QString field4(qint16 value) {
    return PadHex(HexOfInt16(value), 2);
}

}  // namespace

QString GeneralFrame(const GeneralFields& page) {
    QString frame = QStringLiteral("850E51") + Format00(page.profile);
    frame += NumberToField(TextToSingle(page.nominalText), 100.0f, 2);
    frame += NumberToField(TextToSingle(page.Txt0[1]), 1.0f, 2);
    frame += NumberToField(TextToSingle(page.Txt0[2]), 1.0f, 2);
    frame += NumberToField(TextToSingle(page.Txt0[3]), 10.0f, 2);
    frame += NumberToField(TextToSingle(page.Txt0[4]), 1.0f, 1);
    frame += NumberToField(TextToSingle(page.Txt0[5]), 10.0f, 2);
    return frame + QStringLiteral("000D");
}

QString ProtectionFrame(const ProtectionFields& page) {
    QString frame = QStringLiteral("850C52") + Format00(page.profile);
    frame += field4(ToInt16(wholeOfFormatted(TextToSingle(page.Txt1[0])) + 273.0));
    frame += NumberToField(TextToSingle(page.Txt1[1]), 100.0f, 2);
    frame += QStringLiteral("FFFF");
    frame += QStringLiteral("FF");
    frame += NumberToField(TextToSingle(page.Txt1[4]), 1.0f, 2);
    return frame + QStringLiteral("000D");
}

QString StagesLengthByte(int stageCount) {
    const QString hex = QString::number((stageCount + 1) * 4, 16).toUpper();
    return hex.size() == 1 ? QLatin1Char('0') + hex : hex;
}

int StageCountOfText(const QString& cmb2TotalText) {
    const float n = TextToSingle(cmb2TotalText);
    if (!(n > 0.0f)) {
        return 0;
    }
    if (n >= static_cast<float>(kMaxStages)) {
        return kMaxStages;
    }
    return static_cast<int>(std::nearbyint(n));
}

StagesWrite StagesFrame(const StageFields& page) {
    StagesWrite out;
    if (page.stagePosition < 0) {
        out.failFocus = StagesFocus::Cmb2Total;
        return out;
    }
    const int last = std::min(page.stagePosition, kMaxStages - 1);
    for (int s = 0; s <= last; ++s) {
        if (TextToSingle(page.Txt2[2 * s]) == 0.0f) {
            out.failFocus = StagesFocus::Txt2;
            out.txt2Index = 2 * s;
            return out;
        }
    }
    const int n = StageCountOfText(page.stageText);
    QString payload;
    for (int i = 0; i < 2 * n; ++i) {
        const float scale = (i % 2 == 0) ? 100.0f : 10.0f;
        payload += NumberToField(TextToSingle(page.Txt2[i]), scale, 2);
    }
    out.frame = QStringLiteral("85") + StagesLengthByte(n) + QStringLiteral("53") +
                Format00(page.profile) + Format00(page.stagePosition) + payload +
                QStringLiteral("000D");
    return out;
}

qint16 SlotField(int slot, float value, bool chargerIdentified) {
    switch (slot) {
        case 0:
            return ToInt16(value * 100.0f);
        case 1:
        case 3:
            return ToInt16(value * 10.0f);
        case 2:
            return ToInt16(wholeOfFormatted(value) + 273.0);
        case 4:
            if (!chargerIdentified) {
                return ToInt16(std::floor(static_cast<double>(value)));
            }
            return ToInt16(wholeOfFormatted(value * 10.0f));
        default:
            return ToInt16(value);
    }
}

QString ConditionCell(int type, int slot, const QString& text, bool chargerIdentified) {
    return Format00(type) + field4(SlotField(slot, TextToSingle(text), chargerIdentified));
}

QString ConditionPayload(const ConditionGrid& grid, int stage, bool chargerIdentified) {
    QString payload;
    for (int slot = 0; slot < kSlotCount; ++slot) {
        const int i = stage * kSlotCount + slot;
        payload += ConditionCell(grid.types.at(i), slot, grid.texts.at(i), chargerIdentified);
    }
    return payload;
}

QString NextCondFrame(int profile, int stage, const ConditionGrid& grid, bool chargerIdentified) {
    return QStringLiteral("851D54") + Format00(profile) + Format00(stage) + QStringLiteral("00") +
           ConditionPayload(grid, stage, chargerIdentified) + QStringLiteral("000D");
}

QString AnyTargetByte(int targetPosition, const QString& targetText) {
    if (targetPosition < 0) {
        return QStringLiteral("00");
    }
    static const QRegularExpression number(
        QStringLiteral("^[+-]?(\\d+\\.?\\d*|\\.\\d+)([eE][+-]?\\d+)?$"));
    const QString t = targetText.trimmed();
    if (!number.match(t).hasMatch()) {
        throw TypeMismatchError();
    }
    // The item is a stage number held as a 16-bit integer: halves to even, overflow beyond.
    const int stageNumber = ToInt16(t.toDouble());
    if (stageNumber < 1 || stageNumber > kMaxStages) {
        throw TargetStageError();
    }
    return Format00(stageNumber - 1);
}

QString AnyCondFrame(int profile, int stage, const AnyCondFields& page, bool chargerIdentified) {
    const QString target =
        AnyTargetByte(page.targetPositions.at(stage), page.targetTexts.at(stage));
    return QStringLiteral("851D55") + Format00(profile) + Format00(stage) + target +
           ConditionPayload(page.grid, stage, chargerIdentified) + QStringLiteral("000D");
}

AnyCondFields ClearedAnyCondFields(const AnyCondFields& page) {
    AnyCondFields out = page;
    out.targetPositions.fill(-1);
    for (int i = 0; i < kCellCount; ++i) {
        if (out.grid.types[i] != 0) {
            out.grid.types[i] = 0;
            out.grid.texts[i].clear();
        }
    }
    return out;
}

}  // namespace zun::profile
