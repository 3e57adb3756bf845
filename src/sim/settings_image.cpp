#include "sim/settings_image.h"

#include <QtGlobal>

namespace zun::sim {

int GeneralOffset(int profile) {
    return kGeneralOffset + profile * kGeneralBytes;
}
int ProtectionOffset(int profile) {
    return kProtectionOffset + profile * kProtectionBytes;
}
int StagesOffset(int profile) {
    return kStagesOffset + profile * kStagesBytes;
}
int NextRecordOffset(int profile, int stage) {
    return kRecordsOffset + (2 * profile) * kRecordBlockBytes + stage * kRecordBytes;
}
int AnyRecordOffset(int profile, int stage) {
    return kRecordsOffset + (2 * profile + 1) * kRecordBlockBytes + stage * kRecordBytes;
}

namespace {

void put16(QByteArray& image, int offset, quint16 value) {
    image[offset] = char(value >> 8);
    image[offset + 1] = char(value & 0xFF);
}

struct Cell {
    int slot;
    int type;  // 1 = and, 2 = or
    quint16 value;
};

// A record with every cell unused except the given ones; unused cells carry the "unset" marker.
void putRecord(QByteArray& image, int offset, quint8 lead, std::initializer_list<Cell> cells) {
    image[offset] = char(lead);
    for (int slot = 0; slot < 8; ++slot) {
        image[offset + 1 + 3 * slot] = 0;
        put16(image, offset + 2 + 3 * slot, 0xFFFF);
    }
    for (const Cell& c : cells) {
        image[offset + 1 + 3 * c.slot] = char(c.type);
        put16(image, offset + 2 + 3 * c.slot, c.value);
    }
}

void putCommon(QByteArray& image, int profile) {
    const int g = GeneralOffset(profile);
    put16(image, g, 1200);     // nominal 12 V x100
    put16(image, g + 2, 100);  // Ah
    put16(image, g + 4, 18);   // mV per degree
    put16(image, g + 6, 250);  // 25.0 C x10
    image[g + 8] = 2;          // A per degree
    put16(image, g + 9, 400);  // 40.0 C x10

    const int p = ProtectionOffset(profile);
    put16(image, p, 273 + 45);    // kelvin
    put16(image, p + 2, 1800);    // 18 V x100
    put16(image, p + 4, 0xFFFF);  // charge amount: always unset
    image[p + 6] = char(0xFF);    // stage number: always unset
    put16(image, p + 7, 20);      // hours
}

void putStage(QByteArray& image, int profile, int stage, quint16 volts100, quint16 amps10) {
    const int o = StagesOffset(profile) + stage * kStageBytes;
    put16(image, o, volts100);
    put16(image, o + 2, amps10);
}

}  // namespace

QByteArray DefaultSettingsImage() {
    QByteArray image(kImageBytes, '\0');
    for (int profile = 0; profile < 2; ++profile) {
        putCommon(image, profile);
        for (int stage = 0; stage < kStageCount; ++stage) {
            putRecord(image, NextRecordOffset(profile, stage), 0, {});
            putRecord(image, AnyRecordOffset(profile, stage), 0, {});
        }
    }

    // Profile 1: bulk, absorption, float. Leaves bulk above 14.0 V or after 8 h, absorption
    // below 2.0 A or after 4 h; float has no exit.
    putStage(image, 0, 0, 1440, 100);
    putStage(image, 0, 1, 1420, 50);
    putStage(image, 0, 2, 1350, 20);
    putRecord(image, NextRecordOffset(0, 0), 0, {{0, 2, 1400}, {5, 2, 480}});
    putRecord(image, NextRecordOffset(0, 1), 0, {{4, 2, 20}, {5, 2, 240}});

    // Profile 2: bulk then float, leaving bulk above 14.0 V and below 3.0 A together.
    putStage(image, 1, 0, 1440, 100);
    putStage(image, 1, 1, 1350, 20);
    putRecord(image, NextRecordOffset(1, 0), 0, {{0, 1, 1400}, {4, 1, 30}});
    return image;
}

}  // namespace zun::sim
