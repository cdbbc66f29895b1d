#include "onewire/DowIo.h"

#include "onewire/Crc8.h"
#include "onewire/FamilyNames.h"
#include "onewire/PortIo.h"
#include "onewire/SerialLine.h"

#include <QElapsedTimer>

namespace {

enum RegisterOffset : uint16_t { kDivisorLow = 0, kInterruptEnable = 1, kLineControl = 3 };

constexpr uint8_t kLatchOpen8N1 = 0x83;
constexpr uint8_t kLatchClosed8N1 = 0x03;
// Received-data, line-status and modem-status interrupts: the serial driver must keep receiving.
constexpr uint8_t kInterruptsOn = 0x0D;
constexpr uint8_t kResetDivisor = 11;  // 115200 / 11: about 10,473 bit/s, a reset pulse per character
constexpr uint8_t kSlotDivisor = 1;    // 115200 bit/s: one 1-Wire slot per character

constexpr int kEchoSlackMs = 100;
constexpr int kEchoCharsPerMs = 4;  // a slot character takes 87 us; allow three times that

}  // namespace

DowIo::DowIo(SerialLine& line, PortIo& ports) : m_line(line), m_ports(ports) {}

uint16_t DowIo::baseOf(int portNumber) {
    switch (portNumber) {
        case 1:
            return kCom1Base;
        case 2:
            return kCom2Base;
        default:
            return 0;
    }
}

void DowIo::selectBase() {
    const uint16_t base = baseOf(m_line.portNumber());
    if (base != 0) {
        m_portBase = base;
    }
}

void DowIo::initSlowRate() {
    if (m_initialised) {
        return;
    }
    m_line.discardInput();
    m_ports.outport(m_portBase + kInterruptEnable, 0);
    m_ports.outport(m_portBase + kLineControl, kLatchOpen8N1);
    m_ports.outport(m_portBase + kInterruptEnable, 0);
    m_ports.outport(m_portBase + kDivisorLow, kResetDivisor);
    m_ports.outport(m_portBase + kLineControl, kLatchClosed8N1);
    m_ports.outport(m_portBase + kInterruptEnable, kInterruptsOn);
    m_initialised = true;
}

void DowIo::switchFastRate() {
    m_initialised = false;
    m_ports.outport(m_portBase + kInterruptEnable, 0);
    m_ports.outport(m_portBase + kLineControl, kLatchOpen8N1);
    // The high divisor byte stays 0 from the slow program.
    m_ports.outport(m_portBase + kDivisorLow, kSlotDivisor);
    m_ports.outport(m_portBase + kLineControl, kLatchClosed8N1);
    m_ports.outport(m_portBase + kInterruptEnable, kInterruptsOn);
}

bool DowIo::startUp(const QString& poort, QString* error) {
    const QString number = poort.trimmed();
    if (!number.isEmpty()) {
        m_line.setPortNumber(number.toInt());
    }
    grantPort(m_line.portNumber());
    QString systemError;
    if (!m_line.open(&systemError)) {
        if (error) {
            *error = portOpenMessage(m_line.portNumber(), systemError);
        }
        return false;
    }
    return true;
}

void DowIo::grantPort(int portNumber) {
    if (m_ports.isWinNT() == 0) {
        return;
    }
    const uint16_t base = baseOf(portNumber);
    if (base != 0) {
        m_ports.enablePorts(base, base + kPortRangeLength - 1);
    }
}

void DowIo::beginPortDialog() {
    if (m_line.isOpen()) {
        m_line.close();
    }
    m_ports.disablePorts(kCom1Base, kCom1Base + kPortRangeLength - 1);
    m_ports.disablePorts(kCom2Base, kCom2Base + kPortRangeLength - 1);
}

bool DowIo::applyPortChoice(int portNumber, QString* error) {
    m_line.close();
    m_line.setPortNumber(portNumber);
    QString systemError;
    const bool opened = m_line.open(&systemError);
    if (!opened && error) {
        *error = portOpenMessage(portNumber, systemError);
    }
    m_initialised = false;
    grantPort(portNumber);
    return opened;
}

void DowIo::shutdown() {
    // Only the first three registers of each range, whatever was granted: harmless, and kept that way.
    if (m_ports.isWinNT() != 0) {
        m_ports.disablePorts(kCom1Base, kCom1Base + kShutdownRangeLength - 1);
        m_ports.disablePorts(kCom2Base, kCom2Base + kShutdownRangeLength - 1);
    }
    if (m_line.isOpen()) {
        m_line.close();
    }
}

DowIo::ResetStep DowIo::resetStep() {
    if (m_line.inBufferCount() > 1) {
        m_line.discardInput();
    }
    ResetStep outcome = ResetStep::ResetSent;
    if (m_line.inBufferCount() != 0) {
        const int echo = m_line.readChar();
        if (isPresence(echo)) {
            return ResetStep::Presence;
        }
        outcome = echo == kResetChar ? ResetStep::NoKey : ResetStep::NoPresence;
    }
    if (m_line.outBufferCount() == 0) {
        m_line.write(QByteArray(1, char(kResetChar)));
    } else if (outcome == ResetStep::ResetSent) {
        outcome = ResetStep::Busy;
    }
    return outcome;
}

bool DowIo::reset() {
    m_initialised = false;
    initSlowRate();
    QElapsedTimer clock;
    clock.start();
    m_line.discardInput();
    if (!m_line.write(QByteArray(1, char(kResetChar)))) {
        return false;
    }
    for (;;) {
        const qint64 left = kResetTimeoutMs - clock.elapsed();
        if (left <= 0) {
            return false;
        }
        if (m_line.waitForInput(1, static_cast<int>(left)) && isPresence(m_line.readChar())) {
            return true;
        }
    }
}

QByteArray DowIo::byteSlots(uint8_t byte) {
    QByteArray slots;
    slots.reserve(8);
    for (int mask = 1; mask < 255; mask <<= 1) {
        slots.append(char((byte & mask) ? kOneSlotChar : kZeroSlotChar));
    }
    return slots;
}

int DowIo::echoTimeoutMs(int characters) {
    return kEchoSlackMs + characters / kEchoCharsPerMs;
}

bool DowIo::sendRun(const QByteArray& run) {
    // One wait per run, never per slot: the run is on the wire in one go, and its echoes say it has gone.
    return m_line.write(run) && m_line.waitForEchoes(echoTimeoutMs(run.size()));
}

bool DowIo::writeByte(uint8_t byte) {
    m_commandByte = byte;
    return sendRun(byteSlots(byte));
}

uint8_t DowIo::readByte(uint8_t value) {
    for (int mask = 1; mask < 255; mask <<= 1) {
        if (m_line.inBufferCount() > 0 && m_line.readChar() == kOneSlotChar) {
            value |= static_cast<uint8_t>(mask);
        }
    }
    return value;
}

DowIo::Identification DowIo::readKeyCode() {
    return identify(0, false);
}

DowIo::Identification DowIo::identifyProbe() {
    return identify(kReadRom, true);
}

DowIo::Identification DowIo::identify(uint8_t command, bool probeVariant) {
    Identification id;
    selectBase();
    if (!m_line.isOpen()) {
        m_initialised = false;
        id.status = Identification::NotConnected;
        return id;
    }
    initSlowRate();
    switch (resetStep()) {
        case ResetStep::Presence:
            break;
        case ResetStep::NoKey:
            id.status = Identification::NoKey;
            return id;
        default:
            id.status = Identification::ResetSent;
            return id;
    }

    switchFastRate();
    if (!probeVariant) {
        // Alternating on purpose: older keys answer only 0x0F.
        command = m_commandToggle == 1 ? kReadRom : kReadRomOld;
        m_commandToggle = m_commandToggle == 1 ? 0 : 1;
    }
    m_commandByte = command;
    sendRun(byteSlots(command) + readSlots(8));

    readByte();  // the command's own echoes
    m_keyCode.clear();
    m_crc = 0;
    id.status = Identification::NoResult;
    if (m_line.inBufferCount() != kRomSlots) {
        return id;
    }
    QByteArray rom;
    while (m_line.inBufferCount() > 0 && rom.size() < 8) {
        const uint8_t byte = readByte();
        rom.append(char(byte));
        m_crc = Crc8::update(m_crc, byte);
    }
    if (m_crc != 0) {
        return id;
    }

    for (int i = 6; i >= 1; --i) {
        m_keyCode += QStringLiteral("%1").arg(uint8_t(rom[i]), 2, 16, QLatin1Char('0')).toUpper();
    }
    id.status = Identification::Ok;
    id.rom = rom;
    id.family = uint8_t(rom[0]);
    id.familyName = FamilyNames::name(id.family);
    id.keyCode = m_keyCode;
    return id;
}

void DowIo::pageAddress(int page, uint8_t* ta1, uint8_t* ta2) {
    const int first = page <= 8 ? 1 : 9;
    *ta1 = static_cast<uint8_t>((page - first) * kPageSize);
    *ta2 = page <= 8 ? 0 : 1;
}

bool DowIo::resetWithin(int timeoutMs, const std::function<void()>& processEvents) {
    QElapsedTimer clock;
    clock.start();
    do {
        if (!m_line.isOpen()) {
            return false;
        }
        if (processEvents) {
            processEvents();
        }
        if (reset()) {
            return true;
        }
    } while (clock.elapsed() <= timeoutMs);
    return false;
}

bool DowIo::writeScratchpad(const QByteArray& data, int page, QString* error) {
    uint8_t ta1 = 0;
    uint8_t ta2 = 0;
    pageAddress(page, &ta1, &ta2);
    if (!resetWithin(kPageStageTimeoutMs, {})) {
        if (error) {
            *error = m_line.isOpen() ? noKeyMessage() : probeGoneMessage();
        }
        return false;
    }
    m_initialised = false;
    switchFastRate();
    QByteArray run = byteSlots(kSkipRom) + byteSlots(kWriteScratchpad) + byteSlots(ta1) + byteSlots(ta2);
    // Set but never sent: the scratchpad is deliberately not read back.
    m_commandByte = kReadScratchpad;
    for (int i = 0; i < kPageSize; ++i) {
        run += byteSlots(i < data.size() ? uint8_t(data[i]) : 0);
    }
    if (!sendRun(run)) {
        if (error) {
            *error = probeGoneMessage();
        }
        return false;
    }
    return true;
}

bool DowIo::copyScratchpad(int page, const std::function<void()>& processEvents, QString* error) {
    uint8_t ta1 = 0;
    uint8_t ta2 = 0;
    pageAddress(page, &ta1, &ta2);
    if (!resetWithin(kPageStageTimeoutMs, processEvents)) {
        if (error) {
            *error = m_line.isOpen() ? noKeyMessage() : probeGoneMessage();
        }
        return false;
    }
    switchFastRate();
    const QByteArray run = byteSlots(kSkipRom) + byteSlots(kCopyScratchpad) + byteSlots(ta1) + byteSlots(ta2) +
                           byteSlots(kFullPageEndingOffset);
    if (!sendRun(run)) {
        if (error) {
            *error = probeGoneMessage();
        }
        return false;
    }
    return true;
}

DowIo::PageWrite DowIo::writePage(int page, const QByteArray& data, const std::function<void()>& processEvents) {
    PageWrite result;
    if (page < 1 || page > kPageCount || data.size() != kPageSize) {
        result.error = QStringLiteral("Ongeldige pagina %1 (%2 bytes).").arg(page).arg(data.size());
        return result;
    }
    QString copyError;
    result.ok = writeScratchpad(data, page, &result.error);
    result.copied = copyScratchpad(page, processEvents, &copyError);
    if (result.ok && !result.copied) {
        result.error = copyError;
    }
    return result;
}

DowIo::MemoryRead DowIo::readMemory(const std::function<void()>& processEvents) {
    MemoryRead result;
    if (!resetWithin(kPageStageTimeoutMs, processEvents)) {
        result.error = m_line.isOpen() ? noKeyMessage() : probeGoneMessage();
        return result;
    }
    switchFastRate();
    const QByteArray command = byteSlots(kSkipRom) + byteSlots(kReadMemory) + byteSlots(0) + byteSlots(0);
    if (!sendRun(command + readSlots(kMemorySize))) {
        result.error = probeGoneMessage();
        return result;
    }
    for (int i = 0; i < 4; ++i) {
        readByte();
    }
    if (m_line.inBufferCount() != kMemorySize * 8) {
        result.error = QStringLiteral("Onvolledig antwoord van de sleutel bij het teruglezen.");
        return result;
    }
    result.data.reserve(kMemorySize);
    for (int i = 0; i < kMemorySize; ++i) {
        result.data.append(char(readByte()));
    }
    result.ok = true;
    return result;
}

QString DowIo::portOpenMessage(int portNumber, const QString& systemError) {
    return QStringLiteral("De poort Com%1 kan niet worden geopend: %2").arg(portNumber).arg(systemError);
}

QString DowIo::probeGoneMessage() {
    return QStringLiteral("De probe geeft geen antwoord meer. Controleer of de probe nog is aangesloten.");
}

QString DowIo::noKeyMessage() {
    return QStringLiteral("Geen sleutel gevonden. Houd de sleutel tegen de probe en probeer het opnieuw.");
}

QString DowIo::wrongFamilyMessage(int family) {
    return QStringLiteral("Deze sleutel (%1) is geen programmeersleutel. Gebruik een DS1993 of DS1994.")
        .arg(FamilyNames::name(family));
}
