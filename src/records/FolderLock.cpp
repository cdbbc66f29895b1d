#include "records/FolderLock.h"

#include <QDateTime>
#include <QDeadlineTimer>
#include <QDir>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QThread>
#include <cerrno>

#include "records/FileError.h"
#include "records/PlainFile.h"

namespace {

// Short against a change (a few milliseconds) and uneven, so that programs waiting together do not
// keep meeting.
constexpr int kShortestPauseUs = 200;
constexpr int kLongestPauseUs = 2000;

}  // namespace

FolderLock::FolderLock(const QString& folder)
    : m_path(QDir(folder).filePath(QLatin1String(kFileName))), m_file(m_path) {
    m_file.setStaleLockTime(kStaleMs);
}

Status FolderLock::lock(const QString& forFile) {
    const QDeadlineTimer deadline(kWaitMs);
    for (;;) {
        errno = 0;
        if (m_file.tryLock(0)) {
            return {};
        }
        const int error = errno;
        // A folder nobody may write in holds no lock and needs none: no program can rewrite a file there,
        // and a record written in place is still compared with what was loaded before it goes.
        if (m_file.error() != QLockFile::LockFailedError && !QFileInfo(QFileInfo(m_path).absolutePath()).isWritable()) {
            return {};
        }
        if (m_file.error() == QLockFile::PermissionError) {
            return FileError::write(forFile, PlainFile::systemText(error != 0 ? error : EACCES));
        }
        if (m_file.error() != QLockFile::LockFailedError) {
            return FileError::write(forFile, PlainFile::systemText(error != 0 ? error : EIO));
        }
        qint64 pid = 0;
        QString host;
        QString program;
        if (!m_file.getLockInfo(&pid, &host, &program)) {
            const QFileInfo info(m_path);
            if (info.exists() && info.lastModified().msecsTo(QDateTime::currentDateTime()) > kUnfinishedMs &&
                m_file.removeStaleLockFile()) {
                continue;
            }
        }
        if (deadline.hasExpired()) {
            const QString holder = pid > 0 ? QStringLiteral("%1 (proces %2 op %3)").arg(program).arg(pid).arg(host)
                                           : QStringLiteral("een ander programma");
            return FileError::write(forFile, QStringLiteral("%1 is de map aan het wijzigen en geeft %2 niet vrij. "
                                                            "Probeer het zo opnieuw.")
                                                 .arg(holder, QDir::toNativeSeparators(m_path)));
        }
        QThread::usleep(QRandomGenerator::global()->bounded(kShortestPauseUs, kLongestPauseUs + 1));
    }
}
