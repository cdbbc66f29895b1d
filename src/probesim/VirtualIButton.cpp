#include "probesim/VirtualIButton.h"

#include "probesim/VirtualIButtonMemory.h"

#include <algorithm>
#include <cctype>

namespace {

constexpr double kResetBitUs = 1e6 / VirtualIButton::kResetBitsPerSecond;

// Offsets of the presence pulse inside a reset-rate bit: start a quarter bit into the first low bit and
// end a quarter bit into the first high one, well clear of the UART's mid-bit samples.
constexpr double kPresenceEdgeFraction = 0.25;

}  // namespace

VirtualIButton::VirtualIButton(Kind kind, const Rom& rom) : m_kind(kind), m_rom(rom) {
    // Keys differ: derive the presence and read-slot timings from the ROM so that two keys on one line
    // never answer alike.
    uint32_t seed = 2166136261u;
    for (uint8_t byte : rom) {
        seed = (seed ^ byte) * 16777619u;
    }
    m_random = seed ? seed : 1;
    static constexpr uint8_t kPresenceEchoes[] = {0xE0, 0xC0, 0x90};
    setPresenceEcho(kPresenceEchoes[seed % 3]);
    const double minUs = kReadZeroHoldMinUs + (seed >> 8) % 10;
    setReadZeroHold(minUs, kReadZeroHoldMaxUs - (seed >> 16) % 15);
}

std::unique_ptr<VirtualIButton> VirtualIButton::create(Kind kind, const Rom& rom) {
    if (kind == Kind::Ds1993 || kind == Kind::Ds1994) {
        return std::make_unique<VirtualIButtonMemory>(kind, rom);
    }
    return std::unique_ptr<VirtualIButton>(new VirtualIButton(kind, rom));
}

std::unique_ptr<VirtualIButton> VirtualIButton::fromText(const QString& text, QString* error) {
    const int colon = text.indexOf(QLatin1Char(':'));
    if (colon < 0) {
        if (error) {
            *error =
                QStringLiteral("Verwacht <type>:<ROM-code>, bijvoorbeeld ds1993:06A1B2C3D4E5F6, niet \"%1\"").arg(text);
        }
        return nullptr;
    }
    Kind kind;
    const QString name = text.left(colon).trimmed();
    if (!kindFromName(name, &kind)) {
        if (error) {
            *error = QStringLiteral("Onbekend sleuteltype \"%1\" (ds1990a, ds1990, ds1993 of ds1994)").arg(name);
        }
        return nullptr;
    }
    Rom rom;
    const QString hex = text.mid(colon + 1).trimmed();
    if (!romFromHex(hex, &rom)) {
        if (error) {
            *error =
                QStringLiteral("Ongeldige ROM-code \"%1\": 14 of 16 hexadecimale cijfers, familiecode eerst").arg(hex);
        }
        return nullptr;
    }
    return create(kind, rom);
}

bool VirtualIButton::kindFromName(const QString& name, Kind* kind) {
    static const std::pair<const char*, Kind> kNames[] = {
        {"ds1990a", Kind::Ds1990A}, {"ds1990", Kind::Ds1990}, {"ds1993", Kind::Ds1993}, {"ds1994", Kind::Ds1994}};
    for (const auto& [text, value] : kNames) {
        if (name.compare(QLatin1String(text), Qt::CaseInsensitive) == 0) {
            *kind = value;
            return true;
        }
    }
    return false;
}

QString VirtualIButton::kindName(Kind kind) {
    switch (kind) {
        case Kind::Ds1990A:
            return QStringLiteral("ds1990a");
        case Kind::Ds1990:
            return QStringLiteral("ds1990");
        case Kind::Ds1993:
            return QStringLiteral("ds1993");
        case Kind::Ds1994:
            return QStringLiteral("ds1994");
    }
    return {};
}

bool VirtualIButton::romFromHex(const QString& hex, Rom* rom) {
    if (hex.size() != 14 && hex.size() != 16) {
        return false;
    }
    for (QChar c : hex) {
        if (!std::isxdigit(static_cast<unsigned char>(c.toLatin1()))) {
            return false;
        }
    }
    const QByteArray bytes = QByteArray::fromHex(hex.toLatin1());
    std::array<uint8_t, 7> head;
    std::copy_n(bytes.constData(), 7, head.begin());
    *rom = romWithCrc(head);
    if (bytes.size() == 8) {
        (*rom)[7] = static_cast<uint8_t>(bytes[7]);
    }
    return true;
}

QString VirtualIButton::romToHex(const Rom& rom) {
    return QString::fromLatin1(QByteArray(reinterpret_cast<const char*>(rom.data()), 8).toHex().toUpper());
}

uint8_t VirtualIButton::crc8(const uint8_t* bytes, int length) {
    uint8_t crc = 0;
    for (int i = 0; i < length; ++i) {
        uint8_t byte = bytes[i];
        for (int bit = 0; bit < 8; ++bit) {
            const bool mix = (crc ^ byte) & 1;
            crc >>= 1;
            if (mix) {
                crc ^= 0x8C;  // x^8 + x^5 + x^4 + 1, reflected
            }
            byte >>= 1;
        }
    }
    return crc;
}

VirtualIButton::Rom VirtualIButton::romWithCrc(const std::array<uint8_t, 7>& familyAndSerial) {
    Rom rom;
    std::copy(familyAndSerial.begin(), familyAndSerial.end(), rom.begin());
    rom[7] = crc8(familyAndSerial.data(), 7);
    return rom;
}

bool VirtualIButton::setPresenceEcho(uint8_t echoAtResetRate) {
    if (echoAtResetRate & 0x0F) {
        return false;
    }
    int first = -1;
    int last = -1;
    for (int bit = 4; bit < 8; ++bit) {
        if (!(echoAtResetRate & (1 << bit))) {
            if (first < 0) {
                first = bit;
            } else if (last != bit - 1) {
                return false;
            }
            last = bit;
        }
    }
    if (first < 0) {
        return false;
    }
    // Data bit k is the (k+1)th bit of the character, sampled at its middle.
    const double startUs = (first + 1 + kPresenceEdgeFraction) * kResetBitUs;
    const double endUs = (last + 2 + kPresenceEdgeFraction) * kResetBitUs;
    m_presence.delayUs = startUs - kResetLowBits * kResetBitUs;
    m_presence.lowUs = endUs - startUs;
    return true;
}

uint8_t VirtualIButton::presenceEcho() const {
    const double startUs = kResetLowBits * kResetBitUs + m_presence.delayUs;
    const double endUs = startUs + m_presence.lowUs;
    uint8_t echo = 0xF0;
    for (int bit = 4; bit < 8; ++bit) {
        const double sampleUs = (bit + 1.5) * kResetBitUs;
        if (sampleUs >= startUs && sampleUs < endUs) {
            echo &= ~(1 << bit);
        }
    }
    return echo;
}

void VirtualIButton::setReadZeroHold(double minUs, double maxUs) {
    m_holdMinUs = minUs;
    m_holdMaxUs = std::max(minUs, maxUs);
}

void VirtualIButton::powerUp() {
    m_phase = Phase::Idle;
    functionReset(0);
}

VirtualIButton::PresenceTiming VirtualIButton::busReset() {
    functionReset(m_phase == Phase::FunctionReceive ? m_bitIndex : 0);
    m_phase = Phase::RomCommand;
    m_bitIndex = 0;
    m_byte = 0;
    return m_presence;
}

bool VirtualIButton::releasesLine() const {
    switch (m_phase) {
        case Phase::ReadRom:
            return romBit(m_bitIndex);
        case Phase::SearchRom:
            return m_searchStep == 0 ? romBit(m_bitIndex) : m_searchStep == 1 ? !romBit(m_bitIndex) : true;
        case Phase::FunctionTransmit:
            return (m_byte >> m_bitIndex) & 1;
        default:
            return true;
    }
}

double VirtualIButton::nextReadZeroHoldUs() {
    m_random ^= m_random << 13;
    m_random ^= m_random >> 17;
    m_random ^= m_random << 5;
    return m_holdMinUs + (m_holdMaxUs - m_holdMinUs) * (m_random / 4294967296.0);
}

void VirtualIButton::busSlot(bool bit) {
    switch (m_phase) {
        case Phase::Idle:
            return;
        case Phase::RomCommand:
            m_byte |= uint8_t(bit) << m_bitIndex;
            if (++m_bitIndex == 8) {
                romCommand(m_byte);
            }
            return;
        case Phase::ReadRom:
            if (++m_bitIndex == 64) {
                enterFunctionLayer();
            }
            return;
        case Phase::MatchRom:
            if (bit != romBit(m_bitIndex)) {
                goIdle();
            } else if (++m_bitIndex == 64) {
                enterFunctionLayer();
            }
            return;
        case Phase::SearchRom:
            if (m_searchStep < 2) {
                ++m_searchStep;
            } else if (bit != romBit(m_bitIndex)) {
                goIdle();
            } else {
                m_searchStep = 0;
                if (++m_bitIndex == 64) {
                    enterFunctionLayer();
                }
            }
            return;
        case Phase::FunctionReceive:
            m_byte |= uint8_t(bit) << m_bitIndex;
            if (++m_bitIndex == 8) {
                const uint8_t byte = m_byte;
                m_bitIndex = 0;
                m_byte = 0;
                functionByte(byte);
            }
            return;
        case Phase::FunctionTransmit:
            if (++m_bitIndex == 8) {
                m_bitIndex = 0;
                m_byte = nextFunctionByte();
            }
            return;
    }
}

bool VirtualIButton::answersRomCommand(uint8_t command) const {
    // The old DS1990 predates the 0x33 code and the addressing commands.
    if (m_kind == Kind::Ds1990) {
        return command == kReadRomOld;
    }
    // The DS1990A still takes the old code beside 0x33; the memory keys know only the newer set.
    if (command == kReadRomOld) {
        return m_kind == Kind::Ds1990A;
    }
    return command == kReadRom || command == kMatchRom || command == kSearchRom || command == kSkipRom;
}

void VirtualIButton::romCommand(uint8_t command) {
    m_bitIndex = 0;
    m_byte = 0;
    m_searchStep = 0;
    if (!answersRomCommand(command)) {
        goIdle();
        return;
    }
    switch (command) {
        case kReadRom:
        case kReadRomOld:
            m_phase = Phase::ReadRom;
            break;
        case kMatchRom:
            m_phase = Phase::MatchRom;
            break;
        case kSearchRom:
            m_phase = Phase::SearchRom;
            break;
        default:
            enterFunctionLayer();
            break;
    }
}

void VirtualIButton::enterFunctionLayer() {
    setTransmitting(false);
}

void VirtualIButton::functionByte(uint8_t) {
    goIdle();
}

void VirtualIButton::setTransmitting(bool transmitting) {
    m_bitIndex = 0;
    if (transmitting) {
        m_phase = Phase::FunctionTransmit;
        m_byte = nextFunctionByte();
    } else {
        m_phase = Phase::FunctionReceive;
        m_byte = 0;
    }
}

void VirtualIButton::goIdle() {
    m_phase = Phase::Idle;
    m_bitIndex = 0;
    m_byte = 0;
}
