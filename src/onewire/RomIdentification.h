#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>

class Link;

// Who is on the probe: one polling step that resets the line or, once a key has answered the reset,
// reads its 64-bit ROM with Read ROM, checks the CRC-8 and makes the key code string.
class RomIdentification {
public:
    static constexpr uint8_t kReadRom = 0x33;
    // The Read ROM code of the oldest keys, which answer nothing else.
    static constexpr uint8_t kReadRomOld = 0x0F;
    static constexpr int kRomBytes = 8;

    struct Identification {
        enum Status { NotConnected, NoKey, ResetSent, NoResult, Ok };
        Status status = ResetSent;
        int family = 0;
        QString familyName;
        QString keyCode;
        QByteArray rom;  // the 8 ROM bytes, family first and CRC last
        // The ROM was read (with or without a result), so the module's key code string is replaced.
        bool romRead() const { return status == NoResult || status == Ok; }
    };

    // One step. alternation null: always Read ROM 0x33 (the probe window). Otherwise the key-holder
    // read's toggle, moved only when a key answered: 1 reads with 0x33 and becomes 0, 0 with 0x0F and
    // becomes 1.
    static Identification identify(Link& link, int* alternation);

    // ROM bytes 7 down to 2 (family code and CRC left out) as 12 upper-case hex digits.
    static QString keyCodeString(const QByteArray& rom);

private:
    static Identification readRom(Link& link, uint8_t command);
};
