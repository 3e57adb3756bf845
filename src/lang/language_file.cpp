#include "lang/language_file.h"

#include <QHash>
#include <QStringDecoder>

namespace zun::lang {

namespace {

// Windows-1252 differs from Latin-1 only in 0x80..0x9F, where Latin-1 has control codes that
// never belong in a caption. The five undefined positions keep their Latin-1 value.
constexpr char16_t kCp1252High[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

bool isBlank(QChar c) {
    return c == u' ' || c == u'\t';
}
bool isLineEnd(QChar c) {
    return c == u'\n' || c == u'\r';
}

}  // namespace

QString LanguageFile::decode(const QByteArray& bytes) {
    // Stateless: a sequence cut off at the end of the file is an error, not a pending character.
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = utf8.decode(bytes);
    if (!utf8.hasError()) {
        return text;
    }
    text.resize(bytes.size());
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        const auto b = static_cast<unsigned char>(bytes[i]);
        text[i] = (b >= 0x80 && b <= 0x9F) ? QChar(kCp1252High[b - 0x80]) : QChar(b);
    }
    return text;
}

QStringList LanguageFile::readFields(QStringView text) {
    QStringList fields;
    const qsizetype n = text.size();
    qsizetype i = 0;
    bool afterComma = false;  // a comma promises one more field, even an empty one
    while (i < n) {
        while (i < n && isBlank(text[i])) {
            ++i;
        }
        if (i == n || isLineEnd(text[i])) {
            if (afterComma) {
                fields << QString();
                afterComma = false;
            }
            if (i < n) {
                // CR LF counts as one line end.
                i += (text[i] == u'\r' && i + 1 < n && text[i + 1] == u'\n') ? 2 : 1;
            }
            continue;
        }
        QString field;
        if (text[i] == u'"') {
            const qsizetype start = ++i;
            while (i < n && text[i] != u'"' && !isLineEnd(text[i])) {
                ++i;
            }
            field = text.mid(start, i - start).toString();
            if (i < n && text[i] == u'"') {
                ++i;
            }
            while (i < n && text[i] != u',' && !isLineEnd(text[i])) {
                ++i;
            }
        } else {
            const qsizetype start = i;
            while (i < n && text[i] != u',' && !isLineEnd(text[i])) {
                ++i;
            }
            field = text.mid(start, i - start).toString();
        }
        fields << field;
        afterComma = i < n && text[i] == u',';
        if (afterComma) {
            ++i;
        }
    }
    if (afterComma) {
        fields << QString();
    }
    return fields;
}

Entry LanguageFile::entryOf(QStringView field) {
    Entry entry;
    entry.key = field.left(6).toString();
    if (field.size() >= 8) {
        entry.text = field.mid(7).trimmed().toString();
    }
    return entry;
}

LanguageFile LanguageFile::fromBytes(const QByteArray& bytes) {
    LanguageFile file;
    const QStringList fields = readFields(decode(bytes));
    file.entries_.reserve(fields.size());
    for (const QString& field : fields) {
        file.entries_ << entryOf(field);
    }
    return file;
}

Captions LanguageFile::captions() const {
    QHash<QString, QString> last;
    for (const Entry& entry : entries_) {
        if (KeyTable::target(entry.key)) {
            last.insert(entry.key, entry.text);
        }
    }
    Captions out;
    for (const QString& key : KeyTable::keys()) {
        const auto it = last.constFind(key);
        if (it != last.constEnd()) {
            out << Caption{key, *KeyTable::target(key), *it};
        }
    }
    return out;
}

}  // namespace zun::lang
