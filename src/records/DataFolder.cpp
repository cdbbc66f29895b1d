#include "records/DataFolder.h"

#include <QDir>
#include <QFileInfo>
#include <filesystem>
#include <system_error>

#include "records/AtomicWrite.h"
#include "records/FileOps.h"
#include "records/FolderLock.h"
#include "records/FolderName.h"
#include "records/KeyHolderFile.h"
#include "records/LocationFile.h"
#include "records/PlainFile.h"
#include "records/ReaderFile.h"

namespace {

const QString kBestanden = QStringLiteral("bestanden");

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

Status cannotMake(const QString& path, const QString& why) {
    return Status::failure(
        QStringLiteral("De gegevensmap %1 kan niet worden aangemaakt: %2").arg(QDir::toNativeSeparators(path), why));
}

// What a killed write can leave in folder, for these files, is removed; under the folder's lock, so that
// the scratch of another program's write in progress stays. The files' own folders, when they are
// symbolic links to elsewhere, are looked in as well.
Status removeLeftovers(const QString& folder, const QStringList& names) {
    FolderLock lock(folder);
    if (const Status locked = lock.lock(QDir(folder).filePath(names.constFirst())); !locked) {
        return locked;
    }
    removeScratchFiles(lock, folder, names);
    for (const QString& name : names) {
        const QString path = QDir(folder).filePath(name);
        const QString target = PlainFile::resolveLinks(path);
        if (target != path) {
            removeScratchFiles(lock, QFileInfo(target).absolutePath(), {QFileInfo(target).fileName()});
        }
    }
    return {};
}

}  // namespace

QString DataFolder::bestandenPath(const QString& programFolder) {
    return programFolder + u'/' + kBestanden;
}

QString DataFolder::path(const QString& programFolder, const QString& subdir) {
    const QString bestanden = bestandenPath(programFolder);
    const QString sub = subdir.trimmed();
    if (sub.isEmpty() || QFileInfo::exists(bestanden + u'/' + sub)) {
        return bestanden + u'/' + sub;
    }
    const QString found = findFolder(bestanden, sub);
    return bestanden + u'/' + (found.isEmpty() ? sub : found);
}

bool DataFolder::bst_find(const QString& parent, const QString& name) {
    return !findFolder(parent, name).isEmpty();
}

Status DataFolder::checkLocation(const QString& programFolder, const QString& subdir) {
    const QString sub = subdir.trimmed();
    if (const Status allowed = checkFolderName(sub); !allowed || sub.isEmpty()) {
        return allowed;
    }
    const QFileInfo folder(path(programFolder, sub));
    if (!folder.isSymLink()) {
        return {};
    }
    const QString bestanden = QFileInfo(bestandenPath(programFolder)).canonicalFilePath();
    const QString target = folder.canonicalFilePath();
    if (!target.isEmpty() && target.startsWith(bestanden + u'/')) {
        return {};
    }
    return Status::failure(
        QStringLiteral("De map \"%1\" kan niet worden gebruikt: %2 is een koppeling naar %3, buiten %4.")
            .arg(sub, QDir::toNativeSeparators(folder.filePath()),
                 target.isEmpty() ? QStringLiteral("een map die niet bestaat") : QDir::toNativeSeparators(target),
                 QDir::toNativeSeparators(bestandenPath(programFolder))));
}

Status DataFolder::ensureFolder(const QString& parent, const QString& name) {
    const QString target = QDir(parent).filePath(name);
    const QFileInfo info(target);
    if (info.isDir() || !findFolder(parent, name).isEmpty()) {
        return {};
    }
    if (info.exists()) {
        return cannotMake(target, QStringLiteral("er staat al een bestand met die naam."));
    }
    std::error_code ec;
    std::filesystem::create_directory(std::filesystem::path(target.toStdU16String()), ec);
    if (ec) {
        return cannotMake(target, QString::fromLocal8Bit(ec.message()));
    }
    return {};
}

Status DataFolder::prepare(const QString& programFolder, const QString& subdir, const QDate& today, FileOps* ops) {
    const QString sub = subdir.trimmed();
    if (const Status allowed = checkFolderName(sub); !allowed) {
        return allowed;
    }
    if (!QFileInfo(programFolder).isDir()) {
        return cannotMake(
            bestandenPath(programFolder),
            QStringLiteral("de programmamap %1 bestaat niet.").arg(QDir::toNativeSeparators(programFolder)));
    }
    // The program and its tools look for bestanden by that name; one copied from a disk that ignores
    // letter case takes it.
    const QString bestanden = bestandenPath(programFolder);
    const QString found = findFolder(programFolder, kBestanden);
    if (!QFileInfo(bestanden).isDir() && !found.isEmpty()) {
        const Status renamed = (ops ? ops : FileOps::real())->rename(QDir(programFolder).filePath(found), bestanden);
        if (!renamed) {
            return cannotMake(bestanden, renamed.error);
        }
    }
    if (const Status made = ensureFolder(programFolder, kBestanden); !made) {
        return made;
    }
    if (const Status allowed = checkLocation(programFolder, sub); !allowed) {
        return allowed;
    }
    if (!sub.isEmpty()) {
        if (const Status made = ensureFolder(bestanden, sub); !made) {
            return made;
        }
    }
    const QString folder = path(programFolder, sub);
    const QStringList inFolder{QLatin1String(ReaderFile::kFileName), QLatin1String(KeyHolderFile::kFileName),
                               QStringLiteral("autonoom.hex"), QStringLiteral("tmp.bst")};
    if (const Status cleared =
            removeLeftovers(bestanden, {QLatin1String(LocationFile::kFileName), QStringLiteral("tmp.bst")});
        !cleared) {
        return cleared;
    }
    if (const Status cleared = removeLeftovers(folder, inFolder); !cleared) {
        return cleared;
    }
    const Result<bool> readers = fixFileNameCase(folder, QLatin1String(ReaderFile::kFileName), ops);
    if (!readers) {
        return readers;
    }
    if (!readers.value) {
        if (const Status created = ReaderFile(folder, ops).createDefault(today); !created) {
            return created;
        }
    }
    const Result<bool> holders = fixFileNameCase(folder, QLatin1String(KeyHolderFile::kFileName), ops);
    if (!holders || holders.value) {
        return holders;
    }
    return KeyHolderFile(folder, ops).create();
}

Status prepareDataFolder(const QString& programFolder, const QString& subdir, const QDate& today) {
    return DataFolder::prepare(programFolder, subdir, today);
}
