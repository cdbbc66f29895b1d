#pragma once

#include <QByteArray>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QString>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "records/FileOps.h"

// What the harnesses share: taking an input apart, a scratch folder of the process's own, and file
// operations without the syncs that would hold a fuzzer to a few hundred inputs a second.
namespace fuzz {

// Small numbers from the front of an input, then the rest as one block. Past the end every number is
// its lowest value, so a short input is still a whole case.
class Input {
public:
    Input(const uint8_t* data, size_t size) : m_data(data), m_size(size) {}

    int number(int lowest, int highest) {
        const int span = highest - lowest + 1;
        return m_at < m_size ? lowest + m_data[m_at++] % span : lowest;
    }
    QByteArray take(size_t count) {
        const size_t n = std::min(count, m_size - m_at);
        const QByteArray bytes(reinterpret_cast<const char*>(m_data + m_at), qsizetype(n));
        m_at += n;
        return bytes;
    }
    QByteArray rest() { return take(m_size - m_at); }

private:
    const uint8_t* m_data;
    size_t m_size;
    size_t m_at = 0;
};

// A broken promise of the code under test: reported like a crash, so the fuzzer keeps the input.
[[noreturn]] inline void fail(const char* what, const QString& detail = {}) {
    std::fprintf(stderr, "fuzz: %s %s\n", what, qPrintable(detail));
    std::abort();
}
inline void expect(bool holds, const char* what, const QString& detail = {}) {
    if (!holds) {
        fail(what, detail);
    }
}

inline void expectOk(const Status& status, const char* what) {
    expect(status.ok(), what, status.error);
}

// Renames and flushes as the program does, less the fsync of file and folder: what lands in the files
// is the same, only not forced to the disk.
class QuickOps : public FileOps {
public:
    Status flush(QFile& file) override { return file.flush() ? Status{} : Status::failure(file.errorString()); }
    Status rename(const QString& from, const QString& to) override {
        if (std::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) != 0) {
            return Status::failure(QStringLiteral("rename failed"));
        }
        return {};
    }
};

inline FileOps* quickOps() {
    static QuickOps ops;
    return &ops;
}

// One folder for the whole run, in memory where the system offers that, emptied for every input and
// removed when the run ends.
inline QString emptyFolder() {
    struct Folder {
        QString path;
        Folder() {
            const QString base =
                QDir(QStringLiteral("/dev/shm")).exists() ? QStringLiteral("/dev/shm") : QDir::tempPath();
            path = QDir(base).filePath(QStringLiteral("vondrel-fuzz-%1").arg(QCoreApplication::applicationPid()));
        }
        ~Folder() { QDir(path).removeRecursively(); }
    };
    static const Folder folder;
    QDir(folder.path).removeRecursively();
    QDir().mkpath(folder.path);
    return folder.path;
}

inline QByteArray readFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

inline void writeFile(const QString& path, const QByteArray& content) {
    QFile file(path);
    expect(file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(content) == content.size(),
           "cannot write the input to", path);
}

}  // namespace fuzz
