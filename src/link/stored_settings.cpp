#include "link/stored_settings.h"

#include "link/codec.h"

namespace zun::link {

namespace {

// Reads the field at 1-based character position pos of the given width; characters beyond
// the reply's end are simply missing, so a short reply reads as zeros.
qint32 field(const QString& reply, int pos, int width) {
    try {
        return HexToNumber(reply.mid(pos - 1, width));
    } catch (const OverflowError&) {
        return 0;
    }
}

QString number(double v) {
    return QString::number(v, 'g', 15);
}

void decodeConditions(const QString& reply, int start, bool anyStage, ProfileSlot& slot) {
    for (int stage = 0; stage < 7; ++stage) {
        const int rec = start + stage * 50;
        if (anyStage) {
            slot.anyTarget[stage] = QString::number(field(reply, rec, 2));
        }
        for (int c = 0; c < 8; ++c) {
            const int pos = rec + 2 + 6 * c;
            const qint32 type = field(reply, pos, 2);
            const QString valueText = reply.mid(pos + 1, 4);
            // FFFF marks an unused condition: its value is not converted.
            const QString value = (valueText == QLatin1String("FFFF"))
                                      ? QStringLiteral("0")
                                      : DecodeConditionValue(c, field(reply, pos + 2, 4));
            const QString cell = QString::number(type) + value;
            (anyStage ? slot.anyCond : slot.nextCond)[stage * 8 + c] = cell;
        }
    }
}

}  // namespace

QString DecodeConditionValue(int slot, qint32 raw) {
    switch (slot) {
        case 0:
            return number(raw / 100.0);
        case 1:
        case 3:
        case 4:
            return number(raw / 10.0);
        case 2:
            return number(raw - 273);
        default:
            return number(raw);
    }
}

void DecodeStoredSettings(const QString& reply, StoredSettings& profiles) {
    for (int s = 0; s < 2; ++s) {
        ProfileSlot& slot = profiles[s];
        const int g = 9 + 22 * s;
        slot.general[0] = number(field(reply, g, 4) / 100.0);
        slot.general[1] = number(field(reply, g + 4, 4));
        slot.general[2] = number(field(reply, g + 8, 4));
        slot.general[3] = number(field(reply, g + 12, 4) / 10.0);
        slot.general[4] = number(field(reply, g + 16, 2));
        slot.general[5] = number(field(reply, g + 18, 4) / 10.0);

        const int p = 53 + 18 * s;
        slot.protection[0] = number(field(reply, p, 4) - 273);
        slot.protection[1] = number(field(reply, p + 4, 4) / 100.0);
        slot.protection[2] = number(field(reply, p + 8, 4));
        slot.protection[3] = number(field(reply, p + 12, 2));
        slot.protection[4] = number(field(reply, p + 14, 4));

        const int st = 89 + 56 * s;
        for (int k = 0; k < 7; ++k) {
            slot.stages[1 + 2 * k] = number(field(reply, st + 8 * k, 4) / 100.0);
            slot.stages[2 + 2 * k] = number(field(reply, st + 8 * k + 4, 4) / 10.0);
        }
        // The charger does not send its stage count: the first stage below 5 V ends the list.
        for (int k = 1; k <= 7; ++k) {
            if (TextToSingle(slot.stages[2 * k - 1]) < 5) {
                slot.stages[0] = QString::number(k - 1);
                break;
            }
        }
    }
    decodeConditions(reply, 201, false, profiles[0]);
    decodeConditions(reply, 551, true, profiles[0]);
    decodeConditions(reply, 901, false, profiles[1]);
    decodeConditions(reply, 1251, true, profiles[1]);
}

}  // namespace zun::link
