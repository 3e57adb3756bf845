#include "profile/settings_compare.h"

#include "link/codec.h"
#include "profile/page_frames.h"
#include "profile/settings_file.h"

namespace zun::profile {

using link::TextToSingle;

namespace {

QString shown(const QString& text) {
    return text.trimmed().isEmpty() ? QStringLiteral("(empty)") : text;
}

bool sameNumber(const QString& a, const QString& b) {
    return TextToSingle(a) == TextToSingle(b);
}

// Type code of a condition entry: its first character; -1 when that is no digit.
int typeOf(const QString& entry) {
    if (entry.isEmpty() || !entry.at(0).isDigit()) {
        return -1;
    }
    return entry.at(0).digitValue();
}

QString useText(int type) {
    const QString name = UseName(type);
    return name.isEmpty() ? QStringLiteral("code %1").arg(type) : name;
}

QString targetText(const QString& zeroBased) {
    const float t = TextToSingle(zeroBased);
    return zeroBased.trimmed().isEmpty() ? QStringLiteral("none")
                                         : QString::number(double(t) + 1.0, 'g', 10);
}

class Comparer {
public:
    Comparer(const link::ProfileSlot& w, const link::ProfileSlot& c, int p)
        : wanted(w), charger(c), profile(p) {}

    std::vector<SettingsDifference> run() {
        for (int k = 0; k < 6; ++k) {
            number(wanted.general[k], charger.general[k], GeneralPath(profile, k),
                   k == 0 ? QStringLiteral("Cmb0NV") : QStringLiteral("Txt0(%1)").arg(k));
        }
        for (int k : {0, 1, 4}) {
            number(wanted.protection[k], charger.protection[k], ProtectionPath(profile, k),
                   QStringLiteral("Txt1(%1)").arg(k));
        }
        number(wanted.stages[0], charger.stages[0], StageCountPath(profile),
               QStringLiteral("Cmb2Total"));
        const int n = StageCountOfText(wanted.stages[0]);
        for (int i = 0; i < 2 * n; ++i) {
            number(wanted.stages[i + 1], charger.stages[i + 1], StagePath(profile, i),
                   QStringLiteral("Txt2(%1)").arg(i));
        }
        for (int c = 0; c < n * kSlotCount; ++c) {
            cell(wanted.nextCond[c], charger.nextCond[c], false, c);
        }
        for (int s = 0; s < n; ++s) {
            if (!sameNumber(wanted.anyTarget[s], charger.anyTarget[s])) {
                out.push_back({TargetPath(profile, s), targetText(wanted.anyTarget[s]),
                               targetText(charger.anyTarget[s]),
                               QStringLiteral("Cmb4SN(%1)").arg(s)});
            }
        }
        for (int c = 0; c < n * kSlotCount; ++c) {
            cell(wanted.anyCond[c], charger.anyCond[c], true, c);
        }
        return out;
    }

private:
    void number(const QString& a, const QString& b, const QString& path, const QString& control) {
        if (!sameNumber(a, b)) {
            out.push_back({path, shown(a), shown(b), control});
        }
    }

    void cell(const QString& a, const QString& b, bool anyStage, int c) {
        const int ta = typeOf(a);
        const int tb = typeOf(b);
        const QString page = anyStage ? QStringLiteral("4") : QStringLiteral("3");
        if (ta != tb) {
            out.push_back({CellPath(profile, anyStage, c, QStringLiteral("use")), useText(ta),
                           useText(tb), QStringLiteral("Cmb%1Type(%2)").arg(page).arg(c)});
        }
        if (ta > 0 && !sameNumber(a.mid(1), b.mid(1))) {
            out.push_back({CellPath(profile, anyStage, c, QStringLiteral("value")), shown(a.mid(1)),
                           shown(b.mid(1)), QStringLiteral("Txt%1(%2)").arg(page).arg(c)});
        }
    }

    const link::ProfileSlot& wanted;
    const link::ProfileSlot& charger;
    int profile;
    std::vector<SettingsDifference> out;
};

}  // namespace

std::vector<SettingsDifference> CompareProfiles(const link::ProfileSlot& wanted,
                                                const link::ProfileSlot& charger, int profile) {
    return Comparer(wanted, charger, profile).run();
}

}  // namespace zun::profile
