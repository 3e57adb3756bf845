#include "sim/charge_log.h"

#include <QtMath>

#include <algorithm>

namespace zun::sim {

namespace {

constexpr int kDaySamples = 144;  // ten-minute samples in a day
constexpr int kBulkEnd = 36;      // 6 h at full current
constexpr int kAbsorptionEnd = 60;

// Fixed integer hash: the same noise for the same sample on every run and every machine.
double noise(quint32 index, quint32 channel) {
    quint32 x = index * 0x9E3779B1u ^ (channel + 1) * 0x85EBCA77u;
    x ^= x >> 16;
    x *= 0x7FEB352Du;
    x ^= x >> 15;
    x *= 0x846CA68Bu;
    x ^= x >> 16;
    return (x / 4294967295.0) * 2.0 - 1.0;
}

quint16 hundredths(double value) {
    return quint16(std::clamp(qRound(value * 100.0), 0, 0xFFFF));
}

}  // namespace

ChargeLog::ChargeLog(int pointer, bool wrapped)
    : slots_(kSlots), pointer_(pointer), wrapped_(wrapped) {}

ChargeLog ChargeLog::Unwrapped(int count) {
    if (count >= kSlots) {
        return Wrapped(0);  // the pointer has just gone round
    }
    ChargeLog log(std::max(count, 0), false);
    for (int i = 0; i < log.pointer_; ++i) {
        log.slots_[i] = Sample(i);
    }
    return log;
}

ChargeLog ChargeLog::Wrapped(int pointer) {
    ChargeLog log(std::clamp(pointer, 0, kSlots - 1), true);
    for (int n = 0; n < kSlots; ++n) {
        log.slots_[log.slotByAge(n)] = Sample(n);
    }
    return log;
}

LogRecord ChargeLog::Sample(int index) {
    const int phase = index % kDaySamples;
    double volts;
    double amps;
    if (phase < kBulkEnd) {
        volts = std::min(14.4, 12.4 + 2.0 * std::sqrt((phase + 1) / double(kBulkEnd)));
        amps = 10.0 + 0.05 * noise(index, 1);
    } else if (phase < kAbsorptionEnd) {
        volts = 14.4;
        amps = 0.3 + 9.7 * std::exp(-(phase - kBulkEnd) / 7.0) + 0.03 * noise(index, 1);
    } else {
        volts = 13.5;
        amps = 0.2 + 0.4 * std::exp(-(phase - kAbsorptionEnd) / 10.0) + 0.02 * noise(index, 1);
    }
    volts += 0.01 * noise(index, 0);
    LogRecord r;
    r.chargerVolts = hundredths(volts);
    r.chargerAmps = hundredths(amps);
    // Cable drop: the batteries sit a little below the charger, more so at high current.
    r.battery1Volts = hundredths(volts - 0.02 - 0.008 * amps + 0.005 * noise(index, 2));
    r.battery2Volts = hundredths(volts - 0.03 - 0.012 * amps + 0.005 * noise(index, 3));
    return r;
}

bool ChargeLog::holdsData(int slot) const {
    if (slot < 0 || slot >= kSlots) {
        return false;
    }
    return wrapped_ || slot < pointer_;
}

int ChargeLog::slotByAge(int n) const {
    return wrapped_ ? (pointer_ + n) % kSlots : n;
}

QByteArray ChargeLog::Encode(quint16 number, const LogRecord& record) {
    QByteArray bytes;
    bytes.reserve(kRecordBytes);
    for (quint16 v : {number, record.chargerVolts, record.chargerAmps, record.battery1Volts,
                      record.battery2Volts, quint16(0)}) {
        bytes.append(char(v >> 8));
        bytes.append(char(v & 0xFF));
    }
    return bytes;
}

}  // namespace zun::sim
