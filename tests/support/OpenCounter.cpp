#include "support/OpenCounter.h"

#include <sys/inotify.h>
#include <unistd.h>
#include <QFile>

OpenCounter::OpenCounter(const QString& path) : m_fd(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
    if (m_fd >= 0) {
        // Closes are watched too: identical events in a row are merged into one, so opens alone
        // would count as a single one.
        m_watch = inotify_add_watch(m_fd, QFile::encodeName(path).constData(), IN_OPEN | IN_CLOSE);
    }
}

OpenCounter::~OpenCounter() {
    if (m_fd >= 0) {
        ::close(m_fd);
    }
}

int OpenCounter::take() {
    int opens = 0;
    alignas(inotify_event) char buffer[4096];
    for (;;) {
        const ssize_t got = ::read(m_fd, buffer, sizeof buffer);
        if (got <= 0) {
            return opens;
        }
        for (ssize_t at = 0; at < got;) {
            const auto* event = reinterpret_cast<const inotify_event*>(buffer + at);
            opens += (event->mask & IN_OPEN) ? 1 : 0;
            at += ssize_t(sizeof(inotify_event)) + event->len;
        }
    }
}
