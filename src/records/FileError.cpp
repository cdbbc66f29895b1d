#include "records/FileError.h"

#include <QDir>

namespace FileError {

Status open(const QString& path, const QString& reason) {
    return Status::failure(QStringLiteral("Kan %1 niet openen: %2").arg(QDir::toNativeSeparators(path), reason));
}

Status read(const QString& path, const QString& reason) {
    return Status::failure(QStringLiteral("Kan %1 niet lezen: %2").arg(QDir::toNativeSeparators(path), reason));
}

Status write(const QString& path, const QString& reason) {
    return Status::failure(QStringLiteral("Kan %1 niet schrijven: %2").arg(QDir::toNativeSeparators(path), reason));
}

}  // namespace FileError
