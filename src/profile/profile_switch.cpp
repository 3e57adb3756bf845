#include "profile/profile_switch.h"

#include "link/codec.h"
#include "profile/nominal_voltage.h"
#include "profile/single_text.h"

#include <QRegularExpression>

#include <cmath>

namespace zun::profile {

using link::TextToSingle;

namespace {

// A stored text read as a number where a failure must be told apart from 0.
std::optional<double> strictNumber(const QString& text) {
    static const QRegularExpression number(
        QStringLiteral("^[+-]?(\\d+\\.?\\d*|\\.\\d+)([eE][+-]?\\d+)?$"));
    const QString t = text.trimmed();
    if (!number.match(t).hasMatch()) {
        return std::nullopt;
    }
    const double d = t.toDouble();
    if (!std::isfinite(d)) {
        return std::nullopt;
    }
    return d;
}

std::optional<int> inList(double position, int listCount) {
    if (position < 0.0 || position >= listCount) {
        return std::nullopt;
    }
    return static_cast<int>(position);
}

}  // namespace

std::optional<int> StoredNominalPosition(const QString& storedNominal) {
    return PositionForNominal(TextToSingle(storedNominal));
}

std::optional<int> StageCountPosition(const QString& storedCount, int listCount) {
    const std::optional<double> n = strictNumber(storedCount);
    if (!n) {
        return std::nullopt;
    }
    if (*n > listCount) {
        return listCount > 0 ? std::optional<int>(listCount - 1) : std::nullopt;
    }
    // A list position is a whole number; position -1 (a count of 0) clears the selection.
    const double position = std::nearbyint(*n - 1.0);
    if (position < -1.0) {
        return std::nullopt;
    }
    return static_cast<int>(position);
}

QString StageFieldText(int index, const QString& stored, const QString& cmb2TotalText) {
    if (static_cast<float>(index) < 2.0f * TextToSingle(cmb2TotalText)) {
        return stored;
    }
    return QString();
}

std::optional<int> NextCondTypePosition(const QString& entry, int listCount) {
    if (entry.isEmpty() || !entry.at(0).isDigit() || entry.at(0).unicode() > '9') {
        return std::nullopt;
    }
    return inList(entry.at(0).unicode() - '0', listCount);
}

std::optional<int> AnyCondTypePosition(const QString& entry, int listCount) {
    return inList(TextToSingle(entry.left(1)), listCount);
}

QString CellValueText(const QString& entry) {
    return entry.mid(1);
}

std::optional<int> AnyTargetPosition(const QString& storedTarget, const QStringList& items) {
    const float wanted = TextToSingle(storedTarget) + 1.0f;
    for (int j = 0; j < items.size(); ++j) {
        if (TextToSingle(items.at(j)) == wanted) {
            return j;
        }
    }
    return std::nullopt;
}

QString CondEntry(int type, const QString& text) {
    return QString::number(type) + text;
}

QString CondEntryOfTypeChange(int type, const QString& text) {
    return QString::number(type) + SingleText(TextToSingle(text));
}

AutoSetPlan AutoSet0(int nvPosition, bool checked) {
    AutoSetPlan plan;
    plan.currents = {{1, QStringLiteral("2")}, {3, QStringLiteral("2")}, {5, QStringLiteral("2")}};
    if (checked) {
        for (int cell : {5, 13, 21}) {
            plan.sectionTypes.emplace_back(cell, 2);
            plan.sectionTexts.emplace_back(cell, QStringLiteral("0"));
        }
    }
    static const float kVolts[3][3] = {
        {14.0f, 14.2f, 14.4f}, {28.0f, 28.4f, 28.8f}, {56.0f, 56.8f, 57.6f}};
    if (nvPosition >= 0 && nvPosition <= 2) {
        for (int s = 0; s < 3; ++s) {
            plan.voltages.emplace_back(2 * s, SingleText(kVolts[nvPosition][s]));
        }
    }
    return plan;
}

}  // namespace zun::profile
