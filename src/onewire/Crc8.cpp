#include "onewire/Crc8.h"

namespace {

constexpr std::array<uint8_t, 256> makeTable() {
    std::array<uint8_t, 256> table{};
    for (int i = 0; i < 256; ++i) {
        uint8_t crc = static_cast<uint8_t>(i);
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 1) ? static_cast<uint8_t>((crc >> 1) ^ 0x8C) : static_cast<uint8_t>(crc >> 1);
        }
        table[i] = crc;
    }
    return table;
}

constexpr std::array<uint8_t, 256> kTable = makeTable();

}  // namespace

const std::array<uint8_t, 256>& Crc8::table() {
    return kTable;
}

uint8_t Crc8::of(const QByteArray& bytes, uint8_t crc) {
    for (char c : bytes) {
        crc = update(crc, static_cast<uint8_t>(c));
    }
    return crc;
}
