#include "onewire/RomIdentification.h"

#include "onewire/Crc8.h"
#include "onewire/FamilyNames.h"
#include "onewire/Link.h"
#include "onewire/SerialLine.h"

RomIdentification::Identification RomIdentification::identify(Link& link, int* alternation) {
    Identification id;
    link.selectBase();
    if (!link.line().isOpen()) {
        link.setInitialised(false);
        id.status = Identification::NotConnected;
        return id;
    }
    link.initSlowRate();
    switch (link.resetStep()) {
        case Link::ResetStep::Presence:
            break;
        case Link::ResetStep::NoKey:
            id.status = Identification::NoKey;
            return id;
        default:
            id.status = Identification::ResetSent;
            return id;
    }

    link.switchFastRate();
    uint8_t command = kReadRom;
    if (alternation) {
        // Alternating on purpose: older keys answer only 0x0F.
        command = *alternation == 1 ? kReadRom : kReadRomOld;
        *alternation = *alternation == 1 ? 0 : 1;
    }
    return readRom(link, command);
}

RomIdentification::Identification RomIdentification::readRom(Link& link, uint8_t command) {
    Identification id;
    link.sendRun(Link::writeSlots(QByteArray(1, char(command))) + Link::readSlots(kRomBytes));
    link.readByte();  // the command's own echoes
    id.status = Identification::NoResult;
    if (link.line().inBufferCount() != kRomBytes * 8) {
        return id;
    }
    QByteArray rom;
    while (link.line().inBufferCount() > 0 && rom.size() < kRomBytes) {
        rom.append(char(link.readByte()));
    }
    if (Crc8::of(rom) != 0) {
        return id;
    }
    id.status = Identification::Ok;
    id.rom = rom;
    id.family = uint8_t(rom[0]);
    id.familyName = FamilyNames::name(id.family);
    id.keyCode = keyCodeString(rom);
    return id;
}

QString RomIdentification::keyCodeString(const QByteArray& rom) {
    QString code;
    for (int i = 6; i >= 1; --i) {
        code += QStringLiteral("%1").arg(uint8_t(rom[i]), 2, 16, QLatin1Char('0')).toUpper();
    }
    return code;
}
