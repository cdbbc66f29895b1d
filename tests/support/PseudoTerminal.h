#pragma once

#include <QByteArray>
#include <QString>

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

#include <asm/termbits.h>
#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <unistd.h>

// The master side of a pseudo-terminal; its slave, at path, stands in for a serial port. Given a far
// end, a thread plays the device: every character that arrives is answered through it (echo() answers
// like a passive probe).
class PseudoTerminal {
public:
    using FarEnd = std::function<QByteArray(char)>;
    static QByteArray echo(char c) { return QByteArray(1, c); }

    // Nobody at the far end: what the client sends is never read.
    PseudoTerminal() {
        master = ::posix_openpt(O_RDWR | O_NOCTTY);
        if (master >= 0 && ::grantpt(master) == 0 && ::unlockpt(master) == 0) {
            path = QString::fromLocal8Bit(::ptsname(master));
        }
    }
    explicit PseudoTerminal(FarEnd farEnd) : PseudoTerminal() {
        m_thread = std::thread([this, farEnd] {
            while (!m_stop) {
                pollfd pfd{master, POLLIN, 0};
                char buffer[256];
                const ssize_t n = ::poll(&pfd, 1, 5) > 0 && (pfd.revents & POLLIN) ? ::read(master, buffer, 256) : 0;
                QByteArray reply;
                for (ssize_t i = 0; i < n; ++i) {
                    reply += farEnd(buffer[i]);
                }
                // Without a slave side open, poll reports a hang-up at once.
                if (n <= 0) {
                    std::this_thread::sleep_for(std::chrono::milliseconds(1));
                } else if (::write(master, reply.constData(), size_t(reply.size())) < 0) {
                    break;
                }
            }
        });
    }
    ~PseudoTerminal() { hangUp(); }
    PseudoTerminal(const PseudoTerminal&) = delete;
    PseudoTerminal& operator=(const PseudoTerminal&) = delete;

    // The rate the slave side is set to, as the line discipline holds it.
    int rate() const {
        struct termios2 tio {};
        return ::ioctl(master, TCGETS2, &tio) == 0 ? int(tio.c_ospeed) : -1;
    }
    // Like pulling the USB adapter out.
    void hangUp() {
        m_stop = true;
        if (m_thread.joinable()) {
            m_thread.join();
        }
        if (master >= 0) {
            ::close(master);
        }
        master = -1;
    }

    int master = -1;
    QString path;

private:
    std::thread m_thread;
    std::atomic<bool> m_stop{false};
};
