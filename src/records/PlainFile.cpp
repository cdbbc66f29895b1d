#include "records/PlainFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <QDir>
#include <QFileInfo>
#include <cerrno>
#include <climits>
#include <cstring>

#include "records/FileError.h"

namespace {

// Why what st describes is no plain file; empty when it is one.
QString notPlain(const struct stat& st) {
    if (S_ISREG(st.st_mode)) {
        return {};
    }
    if (S_ISDIR(st.st_mode)) {
        return PlainFile::systemText(EISDIR);
    }
    if (S_ISFIFO(st.st_mode)) {
        return QStringLiteral("dit is een FIFO, geen gewoon bestand");
    }
    if (S_ISCHR(st.st_mode) || S_ISBLK(st.st_mode)) {
        return QStringLiteral("dit is een apparaat, geen gewoon bestand");
    }
    return QStringLiteral("dit is geen gewoon bestand");
}

// As many as the kernel follows before it gives up with ELOOP.
constexpr int kMostLinks = 40;

}  // namespace

namespace PlainFile {

QString systemText(int error) {
    return QString::fromLocal8Bit(std::strerror(error));
}

Status open(QFile& file, const QString& path, QIODevice::OpenMode mode, bool* missing) {
    const QByteArray name = QFile::encodeName(path);
    const bool writing = mode & QIODevice::WriteOnly;
    struct stat st {};
    *missing = false;
    if (::stat(name.constData(), &st) == 0) {
        if (const QString why = notPlain(st); !why.isEmpty()) {
            return FileError::open(path, why);
        }
    } else if (errno != ENOENT) {
        return FileError::open(path, systemText(errno));
    } else {
        *missing = true;
        if (!writing) {
            return {};
        }
    }
    const int fd = ::open(name.constData(), (writing ? O_RDWR | O_CREAT : O_RDONLY) | O_NONBLOCK | O_CLOEXEC, 0666);
    if (fd < 0) {
        return FileError::open(path, systemText(errno));
    }
    // Something else may have been put in its place since it was looked at.
    if (::fstat(fd, &st) != 0) {
        const int error = errno;
        ::close(fd);
        return FileError::open(path, systemText(error));
    }
    if (const QString why = notPlain(st); !why.isEmpty()) {
        ::close(fd);
        return FileError::open(path, why);
    }
    if (!file.open(fd, mode, QFileDevice::AutoCloseHandle)) {
        ::close(fd);
        return FileError::open(path, file.errorString());
    }
    return {};
}

Status checkKind(const QString& path) {
    struct stat st {};
    if (::stat(QFile::encodeName(path).constData(), &st) != 0) {
        return errno == ENOENT ? Status() : FileError::write(path, systemText(errno));
    }
    if (const QString why = notPlain(st); !why.isEmpty()) {
        return FileError::write(path, why);
    }
    return {};
}

Status checkWritable(const QString& path) {
    const QByteArray name = QFile::encodeName(path);
    struct stat st {};
    if (const Status plain = checkKind(path); !plain || ::stat(name.constData(), &st) != 0) {
        return plain;
    }
    int error = 0;
    if ((st.st_mode & 0222) == 0) {
        error = EACCES;
    } else if (::faccessat(AT_FDCWD, name.constData(), W_OK, AT_EACCESS) != 0) {
        error = errno;
    }
    if (error == EACCES) {
        return FileError::write(path, QStringLiteral("%1 (het bestand is alleen-lezen)").arg(systemText(error)));
    }
    if (error != 0) {
        return FileError::write(path, systemText(error));
    }
    return {};
}

QString resolveLinks(const QString& path) {
    QString current = path;
    for (int hop = 0; hop < kMostLinks; ++hop) {
        char target[PATH_MAX];
        const ssize_t length = ::readlink(QFile::encodeName(current).constData(), target, sizeof target);
        if (length <= 0 || length == ssize_t(sizeof target)) {
            return current;
        }
        const QString next = QFile::decodeName(QByteArray(target, int(length)));
        current = QDir::isAbsolutePath(next) ? next : QFileInfo(current).absolutePath() + u'/' + next;
    }
    return current;
}

}  // namespace PlainFile
