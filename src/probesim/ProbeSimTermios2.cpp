#include "probesim/ProbeSimPty.h"

// <asm/termbits.h> brings its own struct termios, which clashes with <termios.h>: it lives alone here.
#include <asm/termbits.h>
#include <sys/ioctl.h>

int ProbeSimPty::baudRate(int fd) {
    struct termios2 settings {};
    if (ioctl(fd, TCGETS2, &settings) != 0) {
        return 0;
    }
    return int(settings.c_ospeed);
}

bool ProbeSimPty::setBaudRate(int fd, int bitsPerSecond) {
    struct termios2 settings {};
    if (ioctl(fd, TCGETS2, &settings) != 0) {
        return false;
    }
    settings.c_cflag &= ~CBAUD;
    settings.c_cflag |= BOTHER;
    settings.c_ospeed = unsigned(bitsPerSecond);
    settings.c_ispeed = unsigned(bitsPerSecond);
    return ioctl(fd, TCSETS2, &settings) == 0;
}
