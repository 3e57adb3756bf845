// Feeds arbitrary bytes, as hex text, to every decoder of charger replies.
#include "datalog/live_reading.h"
#include "datalog/log_download.h"
#include "datalog/run_time.h"
#include "link/model_table.h"
#include "link/stored_settings.h"

#include <QString>

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<int>(size));
    // Replies reach the decoders as upper-case hex text; odd characters are fuzzed too.
    const QString hex = QString::fromLatin1(bytes.toHex()).toUpper();
    const QString raw = QString::fromLatin1(bytes);
    for (const QString& reply : {hex, raw}) {
        zun::link::StoredSettings settings;
        zun::link::DecodeStoredSettings(reply, settings);
        zun::link::ModelTable::ModelCodeFromReply(reply);
        zun::datalog::DecodeRunTime(reply);
        zun::datalog::DecodeLiveReading(reply);
        zun::datalog::ParsePointerReply(reply);
        int counter = 0;
        zun::datalog::DecodeBlockReply(reply, counter);
    }
    return 0;
}
