// The remembered-language file: any bytes give one name without a line end, and every name a
// language file can have comes back as it was remembered.
#include "lang/language_catalog.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using zun::lang::LanguageCatalog;
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const QString read = LanguageCatalog::firstFieldOf(bytes);
    if (read.contains(u'\n') || read.contains(u'\r') ||
        read.size() > LanguageCatalog::kMaxStateBytes) {
        __builtin_trap();
    }
    // The same bytes as a name: a quote, a line end or a byte order mark cannot be kept in the
    // one-field file; a file name never holds a line end, and the others do not name languages.
    const QString name = QString::fromUtf8(bytes);
    if (name.isEmpty() || name.contains(u'"') || name.contains(u'\n') || name.contains(u'\r') ||
        name.contains(QChar(0xFEFF)) || name.contains(QChar::ReplacementCharacter) ||
        bytes.size() > 255) {
        return 0;
    }
    if (LanguageCatalog::firstFieldOf(LanguageCatalog::rememberedFileBytes(name)) != name) {
        __builtin_trap();
    }
    return 0;
}
