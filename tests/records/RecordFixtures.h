#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

namespace fixtures {

// A record whose bytes depend on their position and on seed, so records differ from each other and
// a shifted, torn or duplicated record never compares equal to the one expected.
inline QByteArray record(int length, int seed) {
    QByteArray b(length, '\0');
    for (int i = 0; i < length; ++i) {
        b[i] = static_cast<char>((i * 7 + seed * 31 + 3) & 0xFF);
    }
    return b;
}

inline QByteArray records(int length, int count, int firstSeed = 1) {
    QByteArray b;
    for (int i = 0; i < count; ++i) {
        b += record(length, firstSeed + i);
    }
    return b;
}

inline bool writeFile(const QString& path, const QByteArray& bytes) {
    QFile f(path);
    return f.open(QIODevice::WriteOnly | QIODevice::Truncate) && f.write(bytes) == bytes.size();
}

// The file's bytes; a missing file reads as "<missing>" so it never equals real content.
inline QByteArray readFile(const QString& path) {
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly)) {
        return QByteArray("<missing>");
    }
    return f.readAll();
}

}  // namespace fixtures
