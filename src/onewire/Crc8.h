#pragma once

#include <QByteArray>

#include <array>
#include <cstdint>

// The 1-Wire CRC-8 (x^8 + x^5 + x^4 + 1, bit-reflected, start value 0), as the ROM of every iButton and
// the last byte of a programming key carry it.
class Crc8 {
public:
    static const std::array<uint8_t, 256>& table();
    static uint8_t update(uint8_t crc, uint8_t byte) { return table()[crc ^ byte]; }
    static uint8_t of(const QByteArray& bytes, uint8_t crc = 0);
};
