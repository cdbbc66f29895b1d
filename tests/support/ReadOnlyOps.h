#pragma once

#include <cerrno>
#include <cstring>

#include "records/FileOps.h"

// What a read-only file does to a writer: every write is refused with the system's text. For the
// superuser, whom the mode bits do not stop.
class ReadOnlyOps : public FileOps {
public:
    Status write(QFile&, const QByteArray&) override {
        return Status::failure(QString::fromLocal8Bit(std::strerror(EACCES)));
    }
};
