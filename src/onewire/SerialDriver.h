#pragma once

#include "onewire/SerialLine.h"

#include <functional>

struct serial_struct;

namespace SerialDriver {

// The driver call: ioctl(fd, TIOCGSERIAL or TIOCSSERIAL, serial), 0 when it worked. Tests hand in a
// driver of their own.
using Ioctl = std::function<int(int fd, unsigned long request, serial_struct* serial)>;

// Asks the driver of the open tty fd for ASYNC_LOW_LATENCY, leaving its other settings as they are, and
// reads back whether it took. A driver without TIOCGSERIAL (a pseudo-terminal) does not offer it.
SerialLine::LowLatency requestLowLatency(int fd, const Ioctl& ioctl = {});

}  // namespace SerialDriver
