#pragma once

#include <QString>
#include <QStringView>

namespace zun::lang {

struct EnglishCaption {
    const char* key;
    const char* text;
};

// The window's design-time captions. The shipped English.lang repeats them, and the pages set
// them at construction, so a window without any language file still reads as English.
inline constexpr EnglishCaption kEnglishCaptions[] = {
    {"000000", "Port :"},
    {"000001", "ZUN"},
    {"010000", "Charge Profile"},
    {"010001", "Profile No :"},
    {"011000", "General Setting"},
    {"011001", "Nominal bat Voltage :"},
    {"011002", "Nominal bat Capacity :"},
    {"011100", "Protection setting"},
    {"011101", "Bat temperature above :"},
    {"011102", "Battery voltage above :"},
    {"011103", "Maximum total charging time of all stages :"},
    {"011200", "Charge Stage"},
    {"011201", "CHARGE STAGE VOLTAGE & CURRENT SETTING"},
    {"011202", "Number of stages :"},
    {"011203", "Stage 1 :"},
    {"011204", "Stage 2 :"},
    {"011205", "Stage 3 :"},
    {"011206", "Stage 4 :"},
    {"011207", "Stage 5 :"},
    {"011208", "Stage 6 :"},
    {"011300", "Next Stage Condition"},
    {"011301", "CONDITIONS OF MOVE TO NEXT STAGE"},
    {"011302",
     "Red color means wrong entry or conflict of previous setting .Recheck just entered setting ."},
    {"011303", "Charging voltage above (V)"},
    {"011304", "Temperature above (C)"},
    {"011305", "Charging current below (A)"},
    {"011306", "Charging time of this section above (Minute)"},
    {"011400", "Any Stage Condition"},
    {"011401", "Charging voltage above (V)"},
    {"011402", "Voltage rise in 5 Min. below (A)"},
    {"011403", "CONDITIONS OF JUMP TO ANY STAGE"},
    {"011404", "Charge in this section percent of nominal bat capacity (%)"},
    {"011405", "Charging time of this section above (Minute)"},
    {"011406", "Charging current below (A)"},
    {"020000", "Get Data"},
    {"020001", "Total Run Time"},
    {"020002", "Charger V I"},
    {"020003", "Data Log"},
    {"020004", "Open"},
    {"020005", "Save"},
    {"020006", "Desc"},
    {"900000", "Write &all pages"},
    {"900001", "&Write page"},
    {"900002", "&Write page"},
    {"900003", "&Write page"},
    {"900004", "&Write page"},
    {"900005", "&Write page"},
    {"900010",
     "Red color means wrong entry or conflict of previous setting .Recheck just entered setting ."},
    {"900011",
     "Red color means wrong entry or conflict of previous setting .Recheck just entered setting ."},
    {"900012",
     "Red color means wrong entry or conflict of previous setting .Recheck just entered setting ."},
    {"900013",
     "Red color means wrong entry or conflict of previous setting .Recheck just entered setting ."},
    {"900100", "&Settings"},
    {"900101", "&Save settings..."},
    {"900102", "&Open settings..."},
    {"900103", "&Compare with charger"},
    {"900104", "&Fast link"},
    {"900110", "&Help"},
    {"900111", "&About ZUN"},
    {"900200", "&Print"},
    {"900201", "Export P&DF"},
    {"900202", "Export P&NG"},
    {"900203", "&Cancel"},
    {"900300", "Temperature compensation coefficient of battery :"},
    {"900301", "Reference temperature for voltage :"},
    {"900302", "Battery temperature derating :"},
    {"900303", "Reference temperature for starting derating current :"},
    {"900310", "Amount of charge above :"},
    {"900311", "N stage :"},
    {"900320", "Jump to stage"},
    {"900330", "from"},
    {"900331", "to"},
    {"900340", "Voltage rise in 5 Min. below (A)"},
    {"900341", "Temperature rise above (\u00B0C)"},
    {"900342", "Amount of charge in this section above (AH)"},
    {"900343", "Charge in this section percent of nominal bat capacity (%)"},
    {"900344", "Temperature above (C)"},
    {"900345", "Temperature rise above (\u00B0C)"},
    {"900346", "Amount of charge in this section above (AH)"},
};

// The English caption of a key; a null QString for a key that has none.
inline QString englishCaptionOf(QStringView key) {
    for (const EnglishCaption& c : kEnglishCaptions) {
        if (key == QLatin1String(c.key)) {
            return QString::fromUtf8(c.text);
        }
    }
    return QString();
}

}  // namespace zun::lang
