#pragma once

#include <QByteArray>

#include <cstdint>
#include <functional>

class Link;

// A DS1993 or DS1994 memory key, the programming key: 16 pages of 32 bytes, written page by page through
// its scratchpad (Write Scratchpad, then Copy Scratchpad) and read back with Read Memory, whole or a page. Each
// transaction starts with blocking resets, retried for kPageStageTimeoutMs on the link's clock.
class MemoryKey {
public:
    static constexpr int kFamilyDs1993 = 6;
    static constexpr int kFamilyDs1994 = 4;
    static bool isProgrammingKey(int family) { return family == kFamilyDs1993 || family == kFamilyDs1994; }

    static constexpr int kPageCount = 16;
    static constexpr int kPageSize = 32;
    static constexpr int kMemorySize = kPageCount * kPageSize;

    static constexpr uint8_t kSkipRom = 0xCC;
    static constexpr uint8_t kWriteScratchpad = 0x0F;
    static constexpr uint8_t kCopyScratchpad = 0x55;
    static constexpr uint8_t kReadMemory = 0xF0;
    // The ending offset and status byte the key expects after copying a whole page.
    static constexpr uint8_t kFullPageEndingOffset = 0x1F;

    static constexpr int kPageStageTimeoutMs = 1000;

    enum class Failure {
        None,
        NoKey,       // no presence during a whole stage
        ProbeGone,   // the line closed, or the run's echoes did not come back
        Incomplete,  // the read-back answered with too few or too many slots
    };

    struct Address {
        uint8_t ta1 = 0;
        uint8_t ta2 = 0;
    };
    // Page 1..8 at 0x0000..0x00E0, page 9..16 at 0x0100..0x01E0.
    static Address pageAddress(int page);

    // The 32 bytes of data into the scratchpad of page 1..16. Deliberately not read back before the copy.
    static Failure writeScratchpad(Link& link, int page, const QByteArray& data);
    // The scratchpad into memory. processEvents runs before every reset of the stage.
    static Failure copyScratchpad(Link& link, int page, const std::function<void()>& processEvents);
    // All 512 bytes into *data.
    static Failure readMemory(Link& link, QByteArray* data, const std::function<void()>& processEvents);
    // The 32 bytes of page 1..16 into *data.
    static Failure readPage(Link& link, int page, QByteArray* data, const std::function<void()>& processEvents);

private:
    static Failure resetWithin(Link& link, const std::function<void()>& processEvents);
    static Failure readFrom(Link& link, Address address, int length, QByteArray* data,
                            const std::function<void()>& processEvents);
    static QByteArray addressed(uint8_t command, Address address);
};
