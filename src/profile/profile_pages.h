#pragma once

#include "link/stored_settings.h"
#include "profile/page_frames.h"

#include <QString>
#include <QStringList>

#include <vector>

namespace zun::profile {

// What the window knows about the connected charger when it checks and writes a profile.
struct ChargerContext {
    QString modelCode;     // ChargerModel; empty when none was identified
    int nvPosition = -1;   // Cmb0NV position the model selects
    int ratedCurrent = 0;  // RatedCurrent
};

// The context the window gets from an identified model code.
ChargerContext ContextForModel(const QString& modelCode);

// "12V", "24V", "48V" as Cmb0NV shows them; empty for no selection.
QString NominalText(int nvPosition);

// The five settings pages as the window shows a profile once it has been opened on them: the
// nominal voltage and the over-voltage limit follow the charger, the stage count is a Cmb2Total
// position (1 to 4 stages), stage fields beyond the count are empty.
struct ProfilePages {
    int stageCount = 0;  // StageCountOfText(Cmb2Total.Text)
    GeneralFields general;
    ProtectionFields protection;
    StageFields stages;
    ConditionGrid next;
    AnyCondFields any;
};

ProfilePages PagesFor(const link::ProfileSlot& slot, int profile, const ChargerContext& context);

enum class Page { General, Protection, Stages, Next, Any };

// "general", "protection", "stages", "next", "any".
QString PageName(Page page);
// Parses a --pages list; the pages come back in the write-all order whatever order was given.
// False with a message naming the unknown page.
bool ParsePages(const QString& list, std::vector<Page>& pages, QString* error);
std::vector<Page> AllPages();

// The frames of one page, in sending order (one per stage for the condition pages).
struct PageFrames {
    Page page = Page::General;
    QStringList frames;
};

// The chosen pages' frames in the write-all order. Unlike the write-all button, the any-stage
// page goes as the profile has it. Throws link::OverflowError or profile::TypeMismatchError
// for values the check lets through only by mistake.
std::vector<PageFrames> PlanWrite(const ProfilePages& pages, const std::vector<Page>& chosen,
                                  bool chargerIdentified);

}  // namespace zun::profile
