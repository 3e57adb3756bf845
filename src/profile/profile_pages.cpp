#include "profile/profile_pages.h"

#include "link/model_table.h"
#include "profile/nominal_voltage.h"
#include "profile/profile_switch.h"
#include "profile/stage_layout.h"

namespace zun::profile {

namespace {

// Cmb2Total offers "1" to "4".
constexpr int kStageListCount = 4;

}  // namespace

ChargerContext ContextForModel(const QString& modelCode) {
    ChargerContext c;
    c.modelCode = modelCode;
    if (!modelCode.isEmpty()) {
        c.nvPosition = link::ModelTable::NominalPositionFor(modelCode);
        c.ratedCurrent = link::ModelTable::RatingText(modelCode).ratedCurrent;
    }
    return c;
}

QString NominalText(int nvPosition) {
    switch (nvPosition) {
        case 0:
            return QStringLiteral("12V");
        case 1:
            return QStringLiteral("24V");
        case 2:
            return QStringLiteral("48V");
        default:
            return QString();
    }
}

ProfilePages PagesFor(const link::ProfileSlot& slot, int profile, const ChargerContext& context) {
    ProfilePages pages;
    pages.general.profile = profile;
    pages.general.nominalText = NominalText(context.nvPosition);
    for (int k = 1; k < 6; ++k) {
        pages.general.Txt0[k] = slot.general[k];
    }

    pages.protection.profile = profile;
    for (int k = 0; k < 5; ++k) {
        pages.protection.Txt1[k] = slot.protection[k];
    }
    // Txt1(1) is never taken from a profile: the nominal voltage sets it.
    pages.protection.Txt1[1] = OverVoltageText(context.nvPosition);

    pages.stages.profile = profile;
    const auto position = StageCountPosition(slot.stages[0], kStageListCount);
    pages.stages.stagePosition = position.value_or(-1);
    pages.stages.stageText = pages.stages.stagePosition >= 0
                                 ? QString::number(pages.stages.stagePosition + 1)
                                 : QString();
    pages.stageCount = StageCountOfText(pages.stages.stageText);
    for (int i = 0; i < kStageFieldCount; ++i) {
        pages.stages.Txt2[i] = StageFieldText(i, slot.stages[i + 1], pages.stages.stageText);
    }

    for (int c = 0; c < kCellCount; ++c) {
        pages.next.types[c] = NextCondTypePosition(slot.nextCond[c]).value_or(0);
        pages.next.texts[c] = CellValueText(slot.nextCond[c]);
        pages.any.grid.types[c] = AnyCondTypePosition(slot.anyCond[c]).value_or(0);
        pages.any.grid.texts[c] = CellValueText(slot.anyCond[c]);
    }
    for (int s = 0; s < kMaxStages; ++s) {
        const QStringList items = TargetItems(s, pages.stageCount);
        // No target is no selection; both go as 00, like target stage 1.
        const auto target = slot.anyTarget[s].trimmed().isEmpty()
                                ? std::nullopt
                                : AnyTargetPosition(slot.anyTarget[s], items);
        pages.any.targetPositions[s] = target.value_or(-1);
        pages.any.targetTexts[s] = target ? items.at(*target) : QString();
    }
    return pages;
}

QString PageName(Page page) {
    switch (page) {
        case Page::General:
            return QStringLiteral("general");
        case Page::Protection:
            return QStringLiteral("protection");
        case Page::Stages:
            return QStringLiteral("stages");
        case Page::Next:
            return QStringLiteral("next");
        case Page::Any:
            return QStringLiteral("any");
    }
    return QString();
}

std::vector<Page> AllPages() {
    return {Page::General, Page::Protection, Page::Stages, Page::Next, Page::Any};
}

bool ParsePages(const QString& list, std::vector<Page>& pages, QString* error) {
    std::vector<bool> wanted(5, false);
    bool any = false;
    for (const QString& raw : list.split(QLatin1Char(','))) {
        const QString name = raw.trimmed();
        bool known = false;
        for (Page p : AllPages()) {
            if (name == PageName(p)) {
                wanted[size_t(p)] = true;
                known = any = true;
            }
        }
        if (!known) {
            if (error) {
                *error = QStringLiteral(
                             "--pages: \"%1\" is not a page (the pages are general, "
                             "protection, stages, next, any)")
                             .arg(name);
            }
            return false;
        }
    }
    if (!any) {
        if (error) {
            *error = QStringLiteral("--pages names no page");
        }
        return false;
    }
    pages.clear();
    for (Page p : AllPages()) {
        if (wanted[size_t(p)]) {
            pages.push_back(p);
        }
    }
    return true;
}

std::vector<PageFrames> PlanWrite(const ProfilePages& pages, const std::vector<Page>& chosen,
                                  bool chargerIdentified) {
    std::vector<PageFrames> plan;
    for (Page page : chosen) {
        PageFrames f;
        f.page = page;
        switch (page) {
            case Page::General:
                f.frames << GeneralFrame(pages.general);
                break;
            case Page::Protection:
                f.frames << ProtectionFrame(pages.protection);
                break;
            case Page::Stages: {
                const StagesWrite w = StagesFrame(pages.stages);
                if (w.ok()) {
                    f.frames << w.frame;
                }
                break;
            }
            case Page::Next:
                for (int s = 0; s < pages.stageCount; ++s) {
                    f.frames << NextCondFrame(pages.general.profile, s, pages.next,
                                              chargerIdentified);
                }
                break;
            case Page::Any:
                for (int s = 0; s < pages.stageCount; ++s) {
                    f.frames << AnyCondFrame(pages.general.profile, s, pages.any,
                                             chargerIdentified);
                }
                break;
        }
        plan.push_back(f);
    }
    return plan;
}

}  // namespace zun::profile
