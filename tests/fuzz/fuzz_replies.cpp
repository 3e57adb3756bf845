// Feeds arbitrary bytes, as hex text, to every decoder of charger replies.
#include "datalog/live_reading.h"
#include "datalog/log_download.h"
#include "datalog/run_time.h"
#include "link/model_table.h"
#include "link/reply_check.h"
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
    // The reply check against every request the tool sends, on the raw bytes.
    for (const char* request :
         {"850350AA000D", "850359AA000D", "850357AA000D", "850358AA000D", "850375AA000D",
          "850356AA000D", "850678AA000000090D", "850E510004B00064001200FA020190000D"}) {
        const QByteArray frame = QByteArray::fromHex(request);
        const zun::link::ReplyVerdict v = zun::link::CheckReply(frame, bytes);
        if (v.state == zun::link::ReplyState::Complete && v.expected != bytes.size()) {
            __builtin_trap();
        }
    }
    return 0;
}
