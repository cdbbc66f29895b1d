#include "records/AtomicWrite.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <atomic>
#include <cerrno>

#include "records/FileError.h"
#include "records/FileOps.h"
#include "records/FolderLock.h"
#include "records/PlainFile.h"

namespace {

// A scratch name is this process's own; should a dead process of the same number have left one, the
// next number is taken.
constexpr int kScratchAttempts = 100;

QString scratchName(const QString& target) {
    static std::atomic<int> next{0};
    return QStringLiteral("%1.%2-%3.new").arg(target).arg(QCoreApplication::applicationPid()).arg(next++);
}

// The owner and group first: giving a file away clears its set-id bits, which the mode then restores.
Status takeOwnerAndMode(int fd, const QString& model) {
    struct stat st {};
    if (::stat(QFile::encodeName(model).constData(), &st) != 0) {
        return {};
    }
    // Only the superuser may give a file away; anyone may give it a group of their own. What cannot be
    // kept is left to the folder's defaults.
    if (::fchown(fd, st.st_uid, st.st_gid) != 0) {
        (void)!::fchown(fd, uid_t(-1), st.st_gid);
    }
    if (::fchmod(fd, st.st_mode & 07777) != 0) {
        return Status::failure(PlainFile::systemText(errno));
    }
    return {};
}

}  // namespace

Status writeAtomically(const QString& path, const QByteArray& content, FileOps* ops, const QString& recordFile) {
    FolderLock lock(QFileInfo(path).absolutePath());
    if (const Status locked = lock.lock(recordFile.isEmpty() ? path : recordFile); !locked) {
        return locked;
    }
    return writeAtomically(lock, path, content, ops, recordFile);
}

Status writeAtomically(const FolderLock&, const QString& path, const QByteArray& content, FileOps* ops,
                       const QString& recordFile) {
    FileOps* const io = ops ? ops : FileOps::real();
    const QString named = recordFile.isEmpty() ? path : recordFile;
    const QString target = PlainFile::resolveLinks(path);
    if (const Status plain = PlainFile::checkKind(path); !plain) {
        return plain;
    }

    QString scratch;
    int fd = -1;
    for (int attempt = 0; fd < 0 && attempt < kScratchAttempts; ++attempt) {
        scratch = scratchName(target);
        fd = ::open(QFile::encodeName(scratch).constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd < 0 && errno != EEXIST) {
            break;
        }
    }
    if (fd < 0) {
        return FileError::write(named, PlainFile::systemText(errno));
    }
    QFile file(scratch);
    Status status = takeOwnerAndMode(fd, named);
    if (!file.open(fd, QIODevice::WriteOnly | QIODevice::Unbuffered, QFileDevice::AutoCloseHandle)) {
        ::close(fd);
        status = Status::failure(file.errorString());
    }
    if (status) {
        status = io->write(file, content);
    }
    if (status) {
        status = io->flush(file);
    }
    file.close();
    if (status) {
        status = io->rename(scratch, target);
    }
    if (!status) {
        QFile::remove(scratch);
        return FileError::write(named, status.error);
    }
    return {};
}

void removeScratchFiles(const FolderLock&, const QString& folder, const QStringList& names) {
    QStringList escaped;
    for (const QString& name : names) {
        escaped.append(QRegularExpression::escape(name));
    }
    // The names of writes before the scratch files had numbers of their own (".new" alone) too.
    const QRegularExpression scratch(QStringLiteral("^(%1)(\\.\\d+-\\d+)?\\.new$").arg(escaped.join(u'|')));
    const QDir dir(folder);
    for (const QString& entry : dir.entryList(QDir::Files | QDir::Hidden | QDir::System)) {
        if (scratch.match(entry).hasMatch()) {
            QFile::remove(dir.filePath(entry));
        }
    }
}
