#include "probesim/ProbeSimPty.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace {

bool fail(QString* error, const char* what) {
    if (error) {
        *error = QStringLiteral("%1: %2").arg(QLatin1String(what), QString::fromLocal8Bit(std::strerror(errno)));
    }
    return false;
}

}  // namespace

bool ProbeSimPty::open(int* master, int* slave, QString* slavePath, QString* error) {
    const int m = posix_openpt(O_RDWR | O_NOCTTY);
    if (m < 0) {
        return fail(error, "posix_openpt");
    }
    if (grantpt(m) != 0 || unlockpt(m) != 0) {
        fail(error, "grantpt/unlockpt");
        ::close(m);
        return false;
    }
    const char* name = ptsname(m);
    if (!name) {
        fail(error, "ptsname");
        ::close(m);
        return false;
    }
    const QString path = QString::fromLocal8Bit(name);
    const int s = ::open(name, O_RDWR | O_NOCTTY);
    if (s < 0) {
        fail(error, name);
        ::close(m);
        return false;
    }
    const bool ready =
        makeRaw(s, error) && (fcntl(m, F_SETFL, fcntl(m, F_GETFL) | O_NONBLOCK) == 0 || fail(error, "fcntl"));
    if (!ready) {
        ::close(s);
        ::close(m);
        return false;
    }
    *master = m;
    *slave = s;
    *slavePath = path;
    return true;
}

bool ProbeSimPty::makeRaw(int fd, QString* error) {
    termios settings{};
    if (tcgetattr(fd, &settings) != 0) {
        return fail(error, "tcgetattr");
    }
    cfmakeraw(&settings);
    settings.c_cflag |= CLOCAL | CREAD;
    settings.c_cflag &= ~CRTSCTS;
    settings.c_cc[VMIN] = 0;
    settings.c_cc[VTIME] = 0;
    if (tcsetattr(fd, TCSANOW, &settings) != 0) {
        return fail(error, "tcsetattr");
    }
    return true;
}
