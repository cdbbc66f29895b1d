#pragma once

#include <QByteArray>
#include <QFile>
#include <QList>
#include <QString>

namespace fixtures {

// A record whose bytes depend on their position and on seed, so records differ from each other and
// a shifted, torn or duplicated record, or a changed reserved byte, never compares equal.
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

struct Field {
    int offset;
    int width;
    QByteArray bytes;
};

// b with each field's bytes placed at its offset, cut to its width and padded with blanks. Expected
// records are built this way from the layout, never through the accessors under test.
inline QByteArray with(QByteArray b, const QList<Field>& fields) {
    for (const Field& f : fields) {
        b.replace(f.offset, f.width, (f.bytes + QByteArray(f.width, ' ')).left(f.width));
    }
    return b;
}

inline QByteArray oneByte(int value) {
    return QByteArray(1, static_cast<char>(value));
}

// A 16-bit number as the record files store it, low byte first.
inline QByteArray le16(int value) {
    return oneByte(value & 0xFF) + oneByte((value >> 8) & 0xFF);
}

inline bool writeFile(const QString& path, const QByteArray& bytes) {
    QFile f(path);
    return f.open(QIODevice::WriteOnly | QIODevice::Truncate) && f.write(bytes) == bytes.size();
}

// A missing file reads as "<missing>" so it never equals real content.
inline QByteArray readFile(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("<missing>");
}

}  // namespace fixtures
