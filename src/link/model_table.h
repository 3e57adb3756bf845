#pragma once

#include <QString>

namespace zun::link {

// What the model code of an identified charger means.
struct ModelInfo {
    QString rating;        // "Rating : 12V 10A 150W." or "Rating : 0V 0A 0W."
    int ratedVoltage = 0;  // 12, 24, 48; 0 for an unknown code
    int ratedCurrent = 0;  // amperes; the upper bound of every stage current
};

class ModelTable {
public:
    // Exact match of the code against the table; any other code gives the zero rating.
    static ModelInfo RatingText(const QString& modelCode);

    // Nominal-voltage list position for a newly read code: a substring search of the model
    // lists, so "0" and "311" fall into the 12 V list. -1 when no list holds it.
    static int NominalPositionFor(const QString& modelCode);

    // The model code from an identification reply: characters 7-10 read as a number, when the
    // reply contains "0D" anywhere; empty otherwise (the old code is then kept).
    static QString ModelCodeFromReply(const QString& reply);
};

}  // namespace zun::link
