#pragma once

#include "lang/key_table.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <QStringView>

namespace zun::lang {

// One field of a language file: the first 6 characters are the key, the 7th separates, the
// rest (trimmed) is the text.
struct Entry {
    QString key;
    QString text;
};

// The text a control or tab receives; one per target, in the key table's order.
struct Caption {
    QString key;
    CaptionTarget target;
    QString text;
};

using Captions = QList<Caption>;

class LanguageFile {
public:
    static LanguageFile fromBytes(const QByteArray& bytes);

    // UTF-8 when the bytes are valid UTF-8 (a leading byte order mark is dropped), else the
    // single-byte Windows Western code page in which the old files were written.
    static QString decode(const QByteArray& bytes);

    // Comma-separated fields: a field ends at a comma or at the end of the line (LF, CR LF or
    // CR); leading blanks are skipped; a field opening with a double quote runs to the closing
    // quote, commas included, and whatever follows the closing quote up to the next comma is
    // dropped. A quote left open ends at the end of its line, so one stray quote cannot swallow
    // the rest of the file. Blank lines hold no field.
    static QStringList readFields(QStringView text);

    static Entry entryOf(QStringView field);

    const QList<Entry>& entries() const { return entries_; }

    // The last text given to each target. Unknown keys and "000001" give nothing.
    Captions captions() const;

private:
    QList<Entry> entries_;
};

}  // namespace zun::lang
