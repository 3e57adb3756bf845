#pragma once

#include <QByteArray>
#include <QtGlobal>

#include <vector>

namespace zun::sim {

// One logged sample, values in hundredths of a volt or ampere as the charger stores them.
struct LogRecord {
    quint16 chargerVolts = 0;
    quint16 chargerAmps = 0;
    quint16 battery1Volts = 0;
    quint16 battery2Volts = 0;

    friend bool operator==(const LogRecord& a, const LogRecord& b) {
        return a.chargerVolts == b.chargerVolts && a.chargerAmps == b.chargerAmps &&
               a.battery1Volts == b.battery1Volts && a.battery2Volts == b.battery2Volts;
    }
};

// The charger's data log: a ring of slots written every ten minutes, the slot to write next
// and whether the ring has gone round at least once.
class ChargeLog {
public:
    static constexpr int kSlots = 4320;
    static constexpr int kRecordBytes = 12;

    // One day of charging, not yet wrapped.
    ChargeLog() : ChargeLog(Unwrapped(144)) {}

    // The first count samples in slots 0..count-1; the pointer is count (a full ring from
    // 4,320 on).
    static ChargeLog Unwrapped(int count);
    // A full ring whose next slot to write (and oldest record) is pointer.
    static ChargeLog Wrapped(int pointer);

    // The sample taken at the given age index (0 = first ever): a 12 V / 10 A charger going
    // through bulk, absorption and float once a day, with a little measurement noise that is
    // the same on every run.
    static LogRecord Sample(int index);

    int pointer() const { return pointer_; }
    bool wrapped() const { return wrapped_; }
    int count() const { return wrapped_ ? kSlots : pointer_; }
    bool holdsData(int slot) const;
    const LogRecord& at(int slot) const { return slots_.at(slot); }
    void set(int slot, const LogRecord& record) { slots_.at(slot) = record; }

    // Slot of the n-th oldest record, n = 0 .. count() - 1.
    int slotByAge(int n) const;

    // The 12 bytes of a record on the line: number, the four values, two unused bytes.
    static QByteArray Encode(quint16 number, const LogRecord& record);

private:
    ChargeLog(int pointer, bool wrapped);

    std::vector<LogRecord> slots_;
    int pointer_ = 0;
    bool wrapped_ = false;
};

}  // namespace zun::sim
