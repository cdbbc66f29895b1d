#include "records/Cp1252.h"

#include <QList>

namespace {

// Unicode code points of bytes 0x80..0x9F; the undefined ones map to the C1 control of the same value.
constexpr char16_t kHighTable[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,  // 0x80
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,  // 0x88
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,  // 0x90
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,  // 0x98
};

char encodeCodePoint(uint cp) {
    if (cp < 0x80 || (cp >= 0xA0 && cp <= 0xFF)) {
        return static_cast<char>(cp);
    }
    for (int i = 0; i < 32; ++i) {
        if (kHighTable[i] == cp) {
            return static_cast<char>(0x80 + i);
        }
    }
    return '?';
}

}  // namespace

namespace Cp1252 {

QByteArray encode(const QString& text) {
    QByteArray out;
    out.reserve(text.size());
    // Code points, not UTF-16 units: a character outside the BMP is one "?", not two. Composed first:
    // pasted text often carries "e" plus a combining accent, which is plain "é" in the code page.
    for (uint cp : text.normalized(QString::NormalizationForm_C).toUcs4()) {
        out.append(encodeCodePoint(cp));
    }
    return out;
}

QString firstUnencodable(const QString& text) {
    for (uint cp : text.normalized(QString::NormalizationForm_C).toUcs4()) {
        if (cp != uint('?') && encodeCodePoint(cp) == '?') {
            const char32_t c = cp;
            return QString::fromUcs4(&c, 1);
        }
    }
    return {};
}

QString decode(const QByteArray& bytes) {
    QString out;
    out.reserve(bytes.size());
    for (char c : bytes) {
        const auto b = static_cast<unsigned char>(c);
        out.append(b >= 0x80 && b < 0xA0 ? QChar(kHighTable[b - 0x80]) : QChar(b));
    }
    return out;
}

void putField(QByteArray& bytes, int offset, int width, const QString& text) {
    QByteArray value = encode(text).left(width);
    value.append(QByteArray(width - value.size(), ' '));
    bytes.replace(offset, width, value);
}

QString field(const QByteArray& bytes, int offset, int width) {
    QByteArray value = bytes.mid(offset, width);
    value.replace('\0', ' ');
    return decode(value);
}

}  // namespace Cp1252
