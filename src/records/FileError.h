#pragma once

#include <QString>

#include "records/Result.h"

// The record layer's messages for a file that fails: the file's name, then the system's reason.
namespace FileError {

Status open(const QString& path, const QString& reason);
Status read(const QString& path, const QString& reason);
Status write(const QString& path, const QString& reason);

}  // namespace FileError
