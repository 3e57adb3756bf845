#pragma once

#include "lang/language_file.h"
#include "lang/text_keys.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QString>

namespace zun::lang {

// The program's own texts in the chosen language: status line, messages, tooltips, chart texts
// and the captions set at run time. A key the language file leaves out, or gives empty, reads
// as its English text, so a message never comes out blank.
class ProgramTexts : public QObject {
    Q_OBJECT
public:
    static ProgramTexts& instance();

    // The text of a key in the language in use.
    static QString of(T key);
    // The English text of a key; a null QString for a number that is none of ours.
    static QString english(int key);
    // Every key of the English table, in the table's order.
    static QList<int> keys();
    // The own keys of a language file's entries with their texts, the last occurrence winning.
    static QHash<int, QString> fromEntries(const QList<Entry>& entries);

    // Takes the texts of a language (empty: English) and tells every view to refresh.
    void use(const QHash<int, QString>& texts);

signals:
    void changed();

private:
    ProgramTexts() = default;
    QHash<int, QString> texts_;
};

// The text of a key in the language in use; arguments follow with QString::arg ("%1").
inline QString Text(T key) {
    return ProgramTexts::of(key);
}

}  // namespace zun::lang
