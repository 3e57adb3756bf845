#pragma once

#include <QString>
#include <QStringList>
#include <QStringView>

#include <optional>

namespace zun::lang {

// Where a language entry's text goes: the caption of the control named `control`, or, when tab
// is 0 or more, the caption of that tab of the tab control named `control`.
struct CaptionTarget {
    QString control;
    int tab = -1;

    bool isTab() const { return tab >= 0; }
    QString describe() const;  // "Label3(0)" or "Tab2[3]", for messages
    friend bool operator==(const CaptionTarget& a, const CaptionTarget& b) {
        return a.control == b.control && a.tab == b.tab;
    }
    friend bool operator!=(const CaptionTarget& a, const CaptionTarget& b) { return !(a == b); }
};

// Every key the window knows, in the window's order.
class KeyTable {
public:
    // The target of a key; nothing for an unknown key and for "000001", which names no control.
    static std::optional<CaptionTarget> target(QStringView key);
    // True for every key of the table, "000001" included.
    static bool isKnown(QStringView key);
    static QStringList keys();
};

}  // namespace zun::lang
