#include "onewire/MemoryKey.h"

#include "onewire/Clock.h"
#include "onewire/Link.h"
#include "onewire/SerialLine.h"

MemoryKey::Address MemoryKey::pageAddress(int page) {
    const int first = page <= 8 ? 1 : 9;
    return {static_cast<uint8_t>((page - first) * kPageSize), static_cast<uint8_t>(page <= 8 ? 0 : 1)};
}

MemoryKey::Failure MemoryKey::resetWithin(Link& link, const std::function<void()>& processEvents) {
    const Clock::Time deadline = link.clock().now() + std::chrono::milliseconds(kPageStageTimeoutMs);
    do {
        if (!link.line().isOpen()) {
            return Failure::ProbeGone;
        }
        if (processEvents) {
            processEvents();
        }
        if (link.reset()) {
            return Failure::None;
        }
    } while (link.clock().now() <= deadline);
    return link.line().isOpen() ? Failure::NoKey : Failure::ProbeGone;
}

QByteArray MemoryKey::addressed(uint8_t command, Address address) {
    const char bytes[] = {char(kSkipRom), char(command), char(address.ta1), char(address.ta2)};
    return QByteArray(bytes, sizeof bytes);
}

MemoryKey::Failure MemoryKey::writeScratchpad(Link& link, int page, const QByteArray& data) {
    const Address address = pageAddress(page);
    if (const Failure failure = resetWithin(link, {}); failure != Failure::None) {
        return failure;
    }
    link.switchFastRate();
    QByteArray bytes = addressed(kWriteScratchpad, address) + data.left(kPageSize);
    bytes.append(QByteArray(kPageSize - qMin(int(data.size()), kPageSize), '\0'));
    return link.sendRun(Link::writeSlots(bytes)) ? Failure::None : Failure::ProbeGone;
}

MemoryKey::Failure MemoryKey::copyScratchpad(Link& link, int page, const std::function<void()>& processEvents) {
    const Address address = pageAddress(page);
    if (const Failure failure = resetWithin(link, processEvents); failure != Failure::None) {
        return failure;
    }
    link.switchFastRate();
    const QByteArray bytes = addressed(kCopyScratchpad, address) + char(kFullPageEndingOffset);
    return link.sendRun(Link::writeSlots(bytes)) ? Failure::None : Failure::ProbeGone;
}

MemoryKey::Failure MemoryKey::readMemory(Link& link, QByteArray* data, const std::function<void()>& processEvents) {
    return readFrom(link, {0, 0}, kMemorySize, data, processEvents);
}

MemoryKey::Failure MemoryKey::readPage(Link& link, int page, QByteArray* data,
                                       const std::function<void()>& processEvents) {
    return readFrom(link, pageAddress(page), kPageSize, data, processEvents);
}

MemoryKey::Failure MemoryKey::readFrom(Link& link, Address address, int length, QByteArray* data,
                                       const std::function<void()>& processEvents) {
    if (const Failure failure = resetWithin(link, processEvents); failure != Failure::None) {
        return failure;
    }
    link.switchFastRate();
    const QByteArray command = addressed(kReadMemory, address);
    if (!link.sendRun(Link::writeSlots(command) + Link::readSlots(length))) {
        return Failure::ProbeGone;
    }
    for (int i = 0; i < command.size(); ++i) {
        link.readByte();
    }
    if (link.line().inBufferCount() != length * 8) {
        return Failure::Incomplete;
    }
    data->clear();
    data->reserve(length);
    for (int i = 0; i < length; ++i) {
        data->append(char(link.readByte()));
    }
    return Failure::None;
}
