#pragma once

#include "profile/page_frames.h"

#include <QString>

#include <array>
#include <optional>

namespace zun::profile {

// The corrections applied when the user leaves a settings box. Each takes the box's text and
// what the correction reads from other controls, and returns the text the box must show.

// General page, Txt0(1..5): capacity clamped to 2..600 and whole; 2 and 4 whole; 3 and 5 with
// one decimal. Any other index is returned unchanged.
QString Txt0_LostFocus(int index, const QString& text);

// Protection page, Txt1(0..4).
QString Txt1_LostFocus(int index, const QString& text);

// What the stage and condition corrections read besides the box itself.
struct StageContext {
    int nvPosition = -1;    // Cmb0NV list position
    QString nominalText;    // Cmb0NV.Text ("12V")
    QString overVoltage;    // Txt1(1)
    float voltStep = 0.1f;  // VoltStep
    int ratedCurrent = 0;   // RatedCurrent, whole amperes
};

// Charge stage page, Txt2(0..13): even indices are voltages, odd ones currents.
QString Txt2_LostFocus(int index, const QString& text, const StageContext& context);

// The condition pages (Txt3 and, identically, Txt4).
struct ConditionContext {
    int nvPosition = -1;
    float voltStep = 0.1f;
    float stageVoltMin = 5.9f;
    float stageVoltMax = 7.9f;
    std::array<QString, kStageFieldCount> Txt2;   // stage voltages and currents
    QString Txt1_3;                               // Txt1(3), rewritten by a slot-5 correction
    QString Txt1_4;                               // Txt1(4), maximum total time in hours
    std::array<QString, kCellCount> texts;        // the page's value boxes, the left one included
    std::array<bool, kMaxStages> slot5Visible{};  // visibility of the slot-5 box of each stage
};

struct CellCorrection {
    QString text;                    // the new text of the box that was left
    std::optional<QString> Txt1_3;   // new text of Txt1(3) when the correction rewrites it
    bool totalTimeExceeded = false;  // show "Total time exceed protection time!"
};

// Txt3_LostFocus / Txt4_LostFocus for cell index 0..55; context.texts[index] is ignored in
// favour of text.
CellCorrection Txt3_LostFocus(int index, const QString& text, const ConditionContext& context);

// The message the window shows when totalTimeExceeded is set.
inline constexpr char kTotalTimeMessage[] = "Total time exceed protection time!";

// Txt3_KeyUp / Txt4_KeyUp: a slot-5 value above 1440 minutes becomes "1440"; nothing otherwise.
std::optional<QString> Txt3_KeyUp(int index, const QString& text);

// Sum of the slot-5 values of the stages, each rounded (halves to even), stopping at the first
// slot-5 box that is not visible.
double SectionTimeSum(const std::array<QString, kCellCount>& texts,
                      const std::array<bool, kMaxStages>& slot5Visible);

}  // namespace zun::profile
