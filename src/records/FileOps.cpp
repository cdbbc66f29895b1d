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

bool FileOps::write(QFile& file, const QByteArray& data, QString* error) {
    const qint64 written = file.write(data);
    if (written != data.size()) {
        if (error) {
            *error = file.errorString();
        }
        return false;
    }
    return true;
}

bool FileOps::flush(QFile& file, QString* error) {
    if (!file.flush()) {
        if (error) {
            *error = file.errorString();
        }
        return false;
    }
#ifdef Q_OS_UNIX
    if (::fsync(file.handle()) != 0) {
        if (error) {
            *error = QString::fromLocal8Bit(std::strerror(errno));
        }
        return false;
    }
#endif
    return true;
}

bool FileOps::rename(const QString& from, const QString& to, QString* error) {
    std::error_code ec;
    std::filesystem::rename(std::filesystem::path(from.toStdU16String()), std::filesystem::path(to.toStdU16String()),
                            ec);
    if (ec) {
        if (error) {
            *error = QString::fromLocal8Bit(ec.message());
        }
        return false;
    }
#ifdef Q_OS_UNIX
    // The rename itself only lasts once the folder's entry is on disk.
    const int dir = ::open(QFile::encodeName(QFileInfo(to).absolutePath()).constData(), O_RDONLY | O_DIRECTORY);
    if (dir >= 0) {
        ::fsync(dir);
        ::close(dir);
    }
#endif
    return true;
}

FileOps* FileOps::real() {
    static FileOps ops;
    return &ops;
}

bool FaultyFileOps::failNow(QString* error) {
    ++m_count;
    if (m_count == m_failAt) {
        m_fired = true;
        if (error) {
            *error = faultText();
        }
        return true;
    }
    return false;
}

bool FaultyFileOps::write(QFile& file, const QByteArray& data, QString* error) {
    return !failNow(error) && FileOps::write(file, data, error);
}

bool FaultyFileOps::flush(QFile& file, QString* error) {
    return !failNow(error) && FileOps::flush(file, error);
}

bool FaultyFileOps::rename(const QString& from, const QString& to, QString* error) {
    return !failNow(error) && FileOps::rename(from, to, error);
}
