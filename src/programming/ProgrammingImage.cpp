#include "programming/ProgrammingImage.h"

#include "onewire/Crc8.h"
#include "records/PlainFile.h"

#include <QFile>
#include <cerrno>

namespace {

int hexDigit(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    return -1;
}

}  // namespace

namespace ProgrammingImage {

bool isImageChar(char c) {
    return c == ' ' || hexDigit(c) >= 0;
}

bool parse(const QByteArray& text, QByteArray* memory, QString* error) {
    if (text.size() < kImageChars) {
        if (error) {
            *error = QStringLiteral("Het sleutelbestand is te kort: %1 tekens, er zijn er %2 nodig.")
                         .arg(text.size())
                         .arg(kImageChars);
        }
        return false;
    }
    QByteArray bytes(kMemoryBytes, '\0');
    for (int i = 0; i < kMemoryBytes; ++i) {
        // A pair is read as a hexadecimal number with its blanks left out: a 5-digit reader code is padded
        // to "12345 ", whose last pair "5 " is 0x05, and "  " is 0.
        int value = 0;
        bool valid = true;
        for (const char c : {text.at(2 * i), text.at(2 * i + 1)}) {
            if (c == ' ') {
                continue;
            }
            const int digit = hexDigit(c);
            valid = valid && digit >= 0;
            value = value * 16 + digit;
        }
        if (!valid) {
            if (error) {
                *error = QStringLiteral("Het sleutelbestand bevat op positie %1 geen hexadecimaal getal: \"%2\".")
                             .arg(2 * i + 1)
                             .arg(QString::fromLatin1(text.mid(2 * i, 2)));
            }
            return false;
        }
        bytes[i] = static_cast<char>(value);
    }
    *memory = withCrc(bytes);
    return true;
}

bool readFile(const QString& path, QByteArray* memory, QString* error) {
    QFile file(path);
    bool missing = false;
    const Status opened = PlainFile::open(file, path, QIODevice::ReadOnly, &missing);
    if (!opened || missing) {
        if (error) {
            *error = missing ? QStringLiteral("Het sleutelbestand %1 kan niet worden geopend: %2")
                                   .arg(path, PlainFile::systemText(ENOENT))
                             : opened.error;
        }
        return false;
    }
    const QByteArray text = file.read(kImageChars);
    if (file.error() != QFile::NoError) {
        if (error) {
            *error = QStringLiteral("Het sleutelbestand %1 kan niet worden gelezen: %2").arg(path, file.errorString());
        }
        return false;
    }
    return parse(text, memory, error);
}

QByteArray withCrc(const QByteArray& bytes) {
    QByteArray result = bytes;
    if (!result.isEmpty()) {
        result[result.size() - 1] = static_cast<char>(Crc8::of(result.left(result.size() - 1)));
    }
    return result;
}

QString hexLines(const QByteArray& memory) {
    QString lines;
    for (int offset = 0; offset < memory.size(); offset += 32) {
        lines += QString::fromLatin1(memory.mid(offset, 32).toHex().toUpper()) + QLatin1Char('\n');
    }
    return lines;
}

}  // namespace ProgrammingImage
