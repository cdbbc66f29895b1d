#include "onewire/SerialDriver.h"

#include <linux/serial.h>
#include <sys/ioctl.h>

namespace SerialDriver {

SerialLine::LowLatency requestLowLatency(int fd, const Ioctl& ioctl) {
    const Ioctl driver = ioctl ? ioctl : [](int f, unsigned long r, serial_struct* s) { return ::ioctl(f, r, s); };
    serial_struct serial{};
    if (driver(fd, TIOCGSERIAL, &serial) != 0) {
        return SerialLine::LowLatency::NotOffered;
    }
    if (serial.flags & ASYNC_LOW_LATENCY) {
        return SerialLine::LowLatency::On;
    }
    serial.flags |= ASYNC_LOW_LATENCY;
    if (driver(fd, TIOCSSERIAL, &serial) != 0) {
        return SerialLine::LowLatency::Refused;
    }
    // Some drivers take the call and ignore the flag.
    serial_struct now{};
    if (driver(fd, TIOCGSERIAL, &now) != 0 || !(now.flags & ASYNC_LOW_LATENCY)) {
        return SerialLine::LowLatency::Refused;
    }
    return SerialLine::LowLatency::On;
}

}  // namespace SerialDriver
