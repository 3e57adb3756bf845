#pragma once

#include "profile/page_frames.h"

#include <QString>
#include <QStringList>

#include <array>
#include <utility>

namespace zun::profile {

// What the number of stages n (StageCountOfText of Cmb2Total.Text) decides on the pages.

// Txt2(index) is enabled for the fields of existing stages only.
bool Txt2Enabled(int index, int stageCount);

// Stage s (0-based) is shown on the stage page and its transition column on the condition
// pages; the slot-5 boxes the checks sum over are visible exactly for these stages.
bool StageVisible(int stage, int stageCount);
std::array<bool, kMaxStages> Slot5Visibility(int stageCount);

// The stage a transition column leaves and the one it moves to (1-based): the last stage in use
// moves back to stage 1.
std::pair<int, int> TransitionStages(int stage, int stageCount);

// Items of Cmb4SN(stage): the numbers 1..n except the stage's own (stage + 1).
QStringList TargetItems(int stage, int stageCount);

// CmdOK2 is enabled exactly when no existing stage has a voltage that reads 0.
bool StagesWritable(const std::array<QString, kStageFieldCount>& Txt2, int stageCount);

}  // namespace zun::profile
