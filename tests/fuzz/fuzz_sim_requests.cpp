// The virtual charger's request parser, which `zun --demo` runs inside the window: whatever
// arrives, replies are whole frames (the streamed log aside), and how the bytes are split on the
// line changes nothing.
#include "sim/virtual_charger.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) {
        return 0;
    }
    // The first byte chooses where the line splits the rest.
    const unsigned step = data[0] % 17 + 1;
    const QByteArray bytes(reinterpret_cast<const char*>(data + 1),
                           static_cast<qsizetype>(size - 1));

    zun::sim::VirtualCharger whole;
    const QList<zun::sim::Reply> atOnce = whole.feed(bytes);
    zun::sim::VirtualCharger pieces;
    QList<zun::sim::Reply> split;
    for (qsizetype at = 0; at < bytes.size(); at += step) {
        split += pieces.feed(bytes.mid(at, step));
    }
    if (atOnce.size() != split.size() || whole.requests() != pieces.requests() ||
        whole.settingsImage() != pieces.settingsImage()) {
        __builtin_trap();
    }
    if (whole.requests().size() > bytes.count(char(0x85))) {
        __builtin_trap();
    }
    for (qsizetype i = 0; i < atOnce.size(); ++i) {
        const QByteArray& reply = atOnce.at(i).bytes;
        // The streamed transfer (command 66) is a head and records, not a frame.
        const bool stream = reply.size() >= 3 && static_cast<uint8_t>(reply.at(2)) == 0x66;
        if (reply != split.at(i).bytes || reply.size() < 4 ||
            static_cast<uint8_t>(reply.front()) != 0x85 || (!stream && reply.back() != 0x0D)) {
            __builtin_trap();
        }
    }
    // Writes land in the stored image; its size never changes.
    if (whole.settingsImage().size() != zun::sim::VirtualCharger().settingsImage().size()) {
        __builtin_trap();
    }
    return 0;
}
