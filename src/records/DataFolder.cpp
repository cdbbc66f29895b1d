#include "records/DataFolder.h"

#include <QDir>
#include <QFileInfo>
#include <filesystem>
#include <system_error>

#include "records/FileOps.h"
#include "records/FolderName.h"
#include "records/KeyHolderFile.h"
#include "records/ReaderFile.h"

namespace {

// The entry of parent that is a folder called name, letter case aside; empty when there is none.
QString findFolder(const QString& parent, const QString& name) {
    const QStringList entries = QDir(parent).entryList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden);
    const QString wanted = name.toLower();
    for (const QString& entry : entries) {
        if (entry.toLower() == wanted) {
            return entry;
        }
    }
    return QString();
}

bool cannotMake(QString* error, const QString& path, const QString& why) {
    if (error) {
        *error =
            QStringLiteral("De gegevensmap %1 kan niet worden aangemaakt: %2").arg(QDir::toNativeSeparators(path), why);
    }
    return false;
}

}  // namespace

QString DataFolder::bestandenPath(const QString& programFolder) {
    return programFolder + QStringLiteral("/bestanden");
}

QString DataFolder::path(const QString& programFolder, const QString& subdir) {
    return bestandenPath(programFolder) + u'/' + subdir.trimmed();
}

bool DataFolder::bst_find(const QString& parent, const QString& name) {
    return !findFolder(parent, name).isEmpty();
}

bool DataFolder::ensureFolder(const QString& parent, const QString& name, QString* error, FileOps* ops) {
    const QString target = QDir(parent).filePath(name);
    const QFileInfo info(target);
    if (info.isDir()) {
        return true;
    }
    if (info.exists()) {
        return cannotMake(error, target, QStringLiteral("er staat al een bestand met die naam."));
    }
    // A data folder copied from a disk that ignores letter case may carry the name in other case.
    const QString found = findFolder(parent, name);
    if (!found.isEmpty()) {
        QString reason;
        if (!(ops ? ops : FileOps::real())->rename(QDir(parent).filePath(found), target, &reason)) {
            return cannotMake(error, target, reason);
        }
        return true;
    }
    std::error_code ec;
    std::filesystem::create_directory(std::filesystem::path(target.toStdU16String()), ec);
    if (ec) {
        return cannotMake(error, target, QString::fromLocal8Bit(ec.message()));
    }
    return true;
}

bool DataFolder::prepare(const QString& programFolder, const QString& subdir, const QDate& today, QString* error,
                         FileOps* ops) {
    const QString sub = subdir.trimmed();
    if (!checkFolderName(sub, error)) {
        return false;
    }
    if (!QFileInfo(programFolder).isDir()) {
        return cannotMake(
            error, bestandenPath(programFolder),
            QStringLiteral("de programmamap %1 bestaat niet.").arg(QDir::toNativeSeparators(programFolder)));
    }
    if (!ensureFolder(programFolder, QStringLiteral("bestanden"), error, ops)) {
        return false;
    }
    if (!sub.isEmpty() && !ensureFolder(bestandenPath(programFolder), sub, error, ops)) {
        return false;
    }
    const QString folder = path(programFolder, sub);
    bool exists = false;
    if (!fixFileNameCase(folder, QLatin1String(ReaderFile::kFileName), &exists, error, ops)) {
        return false;
    }
    if (!exists && !ReaderFile(folder, ops).createDefault(today, error)) {
        return false;
    }
    if (!fixFileNameCase(folder, QLatin1String(KeyHolderFile::kFileName), &exists, error, ops)) {
        return false;
    }
    return exists || KeyHolderFile(folder, ops).create(error);
}

bool prepareDataFolder(const QString& programFolder, const QString& subdir, const QDate& today, QString* error) {
    return DataFolder::prepare(programFolder, subdir, today, error);
}
