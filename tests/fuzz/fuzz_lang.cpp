#include "lang/language_file.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const zun::lang::LanguageFile file = zun::lang::LanguageFile::fromBytes(bytes);
    // Every caption must come from an entry of the same key; anything else is a reader fault.
    for (const zun::lang::Caption& caption : file.captions()) {
        bool found = false;
        for (const zun::lang::Entry& entry : file.entries()) {
            found = found || (entry.key == caption.key && entry.text == caption.text);
        }
        if (!found || !zun::lang::KeyTable::target(caption.key)) {
            __builtin_trap();
        }
    }
    return 0;
}
