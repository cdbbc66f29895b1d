#pragma once

#include <QString>

// Pseudo-terminals for the probe simulator and its tests (Linux): the pair itself, and the bit rate of a
// terminal through the termios2 ioctls, which also carry rates without a B-constant such as 115200/11.
class ProbeSimPty {
public:
    // A new pair in raw mode. The slave stays open too, so the master never sees a hang-up when a
    // client closes its side, and so its termios can be read. Non-blocking master.
    static bool open(int* master, int* slave, QString* slavePath, QString* error);
    // Raw 8N1, no echo, no flow control; false with the system's text in *error.
    static bool makeRaw(int fd, QString* error);
    // The output rate set on the terminal, 0 when it cannot be read.
    static int baudRate(int fd);
    static bool setBaudRate(int fd, int bitsPerSecond);
};
