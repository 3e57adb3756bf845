#include "link/model_table.h"

#include "link/codec.h"

namespace zun::link {

namespace {

struct Row {
    const char* code;
    int volts;
    int amps;
    const char* rating;
};

constexpr Row kModels[] = {
    {"3110", 12, 10, "Rating : 12V 10A 150W."}, {"3115", 12, 15, "Rating : 12V 15A 225W."},
    {"3120", 12, 20, "Rating : 12V 20A 300W."}, {"3130", 12, 30, "Rating : 12V 30A 450W."},
    {"3140", 12, 40, "Rating : 12V 40A 600W."}, {"3160", 12, 60, "Rating : 12V 60A 900W."},
    {"3205", 24, 5, "Rating : 24V 5A 150W."},   {"3210", 24, 10, "Rating : 24V 10A 300W."},
    {"3215", 24, 15, "Rating : 24V 15A 450W."}, {"3220", 24, 20, "Rating : 24V 20A 600W."},
    {"3230", 24, 30, "Rating : 24V 30A 900W."}, {"3415", 48, 15, "Rating : 48V 15A 900W."},
};

constexpr const char* kNominalLists[] = {"3110-3115-3120-3130-3140-3160",
                                         "3205-3210-3215-3220-3230", "3415"};

}  // namespace

ModelInfo ModelTable::RatingText(const QString& modelCode) {
    for (const Row& row : kModels) {
        if (modelCode == QLatin1String(row.code)) {
            return {QString::fromLatin1(row.rating), row.volts, row.amps};
        }
    }
    return {QStringLiteral("Rating : 0V 0A 0W."), 0, 0};
}

int ModelTable::NominalPositionFor(const QString& modelCode) {
    for (int i = 0; i < 3; ++i) {
        if (QString::fromLatin1(kNominalLists[i]).contains(modelCode)) {
            return i;
        }
    }
    return -1;
}

QString ModelTable::ModelCodeFromReply(const QString& reply) {
    if (!reply.contains(QLatin1String("0D"))) {
        return QString();
    }
    try {
        return QString::number(HexToNumber(reply.mid(6, 4)));
    } catch (const OverflowError&) {
        return QString();
    }
}

}  // namespace zun::link
