#include "records/FileOps.h"

#include <QFileInfo>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#ifdef Q_OS_UNIX
#include <fcntl.h>
#include <unistd.h>
#endif

Status FileOps::write(QFile& file, const QByteArray& data) {
#ifdef Q_OS_UNIX
    // Written here rather than by QFile: a write cut short (a full disk, a size limit) leaves QFile with
    // no reason to give, where the system has one.
    const char* next = data.constData();
    qint64 left = data.size();
    qint64 at = file.pos();
    while (left > 0) {
        const ssize_t written = ::pwrite(file.handle(), next, size_t(left), off_t(at));
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return Status::failure(QString::fromLocal8Bit(std::strerror(written < 0 ? errno : ENOSPC)));
        }
        next += written;
        left -= written;
        at += written;
    }
    file.seek(at);
#else
    if (file.write(data) != data.size()) {
        return Status::failure(file.errorString());
    }
#endif
    return {};
}

Status FileOps::flush(QFile& file) {
    if (!file.flush()) {
        return Status::failure(file.errorString());
    }
#ifdef Q_OS_UNIX
    if (::fsync(file.handle()) != 0) {
        return Status::failure(QString::fromLocal8Bit(std::strerror(errno)));
    }
#endif
    return {};
}

Status FileOps::rename(const QString& from, const QString& to) {
    std::error_code ec;
    std::filesystem::rename(std::filesystem::path(from.toStdU16String()), std::filesystem::path(to.toStdU16String()),
                            ec);
    if (ec) {
        return Status::failure(QString::fromLocal8Bit(ec.message()));
    }
#ifdef Q_OS_UNIX
    const int dir = ::open(QFile::encodeName(QFileInfo(to).absolutePath()).constData(), O_RDONLY | O_DIRECTORY);
    if (dir >= 0) {
        ::fsync(dir);
        ::close(dir);
    }
#endif
    return {};
}

FileOps* FileOps::real() {
    static FileOps ops;
    return &ops;
}
