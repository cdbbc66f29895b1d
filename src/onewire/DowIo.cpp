#include "onewire/DowIo.h"

#include "onewire/FamilyNames.h"
#include "onewire/MemoryKey.h"
#include "onewire/PortIo.h"
#include "onewire/SerialLine.h"

namespace {

// Shutdown releases only the first three registers of each range, whatever was granted: harmless, and
// kept that way.
constexpr uint16_t kShutdownRangeLength = 3;

QString failureMessage(MemoryKey::Failure failure) {
    switch (failure) {
        case MemoryKey::Failure::None:
            return {};
        case MemoryKey::Failure::NoKey:
            return DowIo::noKeyMessage();
        case MemoryKey::Failure::ProbeGone:
            return DowIo::probeGoneMessage();
        case MemoryKey::Failure::Incomplete:
            return QStringLiteral("Onvolledig antwoord van de sleutel bij het teruglezen.");
    }
    return {};
}

}  // namespace

DowIo::DowIo(SerialLine& line, PortIo& ports, Clock& clock)
    : m_line(line), m_ports(ports), m_link(line, ports, clock) {}

bool DowIo::startUp(const QString& poort, QString* error) {
    // Text that is no number is read as empty, as if nothing were stored: it must not become port 0.
    bool isNumber = false;
    const int number = poort.trimmed().toInt(&isNumber);
    if (isNumber) {
        m_line.setPortNumber(number);
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
    const uint16_t base = PortIo::baseOf(portNumber);
    if (base != 0) {
        m_ports.enablePorts(base, base + PortIo::kRegisterCount - 1);
    }
}

void DowIo::beginPortDialog() {
    if (m_line.isOpen()) {
        m_line.close();
    }
    m_ports.disablePorts(PortIo::kCom1Base, PortIo::kCom1Base + PortIo::kRegisterCount - 1);
    m_ports.disablePorts(PortIo::kCom2Base, PortIo::kCom2Base + PortIo::kRegisterCount - 1);
}

bool DowIo::applyPortChoice(int portNumber, QString* error) {
    m_line.close();
    m_line.setPortNumber(portNumber);
    QString systemError;
    const bool opened = m_line.open(&systemError);
    if (!opened && error) {
        *error = portOpenMessage(portNumber, systemError);
    }
    m_link.setInitialised(false);
    grantPort(portNumber);
    return opened;
}

void DowIo::shutdown() {
    if (m_ports.isWinNT() != 0) {
        m_ports.disablePorts(PortIo::kCom1Base, PortIo::kCom1Base + kShutdownRangeLength - 1);
        m_ports.disablePorts(PortIo::kCom2Base, PortIo::kCom2Base + kShutdownRangeLength - 1);
    }
    if (m_line.isOpen()) {
        m_line.close();
    }
}

DowIo::Identification DowIo::readKeyCode() {
    return identify(&m_commandToggle);
}

DowIo::Identification DowIo::identifyProbe() {
    return identify(nullptr);
}

DowIo::Identification DowIo::identify(int* alternation) {
    const Identification id = RomIdentification::identify(m_link, alternation);
    if (id.romRead()) {
        m_keyCode = id.keyCode;
    }
    return id;
}

DowIo::PageWrite DowIo::writePage(int page, const QByteArray& data, const std::function<void()>& processEvents) {
    PageWrite result;
    if (page < 1 || page > MemoryKey::kPageCount || data.size() != MemoryKey::kPageSize) {
        result.error = QStringLiteral("Ongeldige pagina %1 (%2 bytes).").arg(page).arg(data.size());
        return result;
    }
    const MemoryKey::Failure written = MemoryKey::writeScratchpad(m_link, page, data);
    const MemoryKey::Failure copied = MemoryKey::copyScratchpad(m_link, page, processEvents);
    result.ok = written == MemoryKey::Failure::None;
    result.copied = copied == MemoryKey::Failure::None;
    result.error = failureMessage(result.ok ? copied : written);
    return result;
}

DowIo::MemoryRead DowIo::readMemory(const std::function<void()>& processEvents) {
    MemoryRead result;
    const MemoryKey::Failure failure = MemoryKey::readMemory(m_link, &result.data, processEvents);
    result.ok = failure == MemoryKey::Failure::None;
    result.error = failureMessage(failure);
    if (!result.ok) {
        result.data.clear();
    }
    return result;
}

DowIo::MemoryRead DowIo::readPage(int page, const std::function<void()>& processEvents) {
    MemoryRead result;
    if (page < 1 || page > MemoryKey::kPageCount) {
        result.error = QStringLiteral("Ongeldige pagina %1.").arg(page);
        return result;
    }
    const MemoryKey::Failure failure = MemoryKey::readPage(m_link, page, &result.data, processEvents);
    result.ok = failure == MemoryKey::Failure::None;
    result.error = failureMessage(failure);
    if (!result.ok) {
        result.data.clear();
    }
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
