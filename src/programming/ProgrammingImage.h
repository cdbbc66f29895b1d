#pragma once

#include "onewire/MemoryKey.h"

#include <QByteArray>
#include <QString>

// The 512 bytes that go into a programming key, from the image text: 512 pairs of hex digits, each read
// with its blanks left out (so "  " is 0 and "5 " is 5), and the last byte replaced by the CRC-8 of the
// 511 before it.
namespace ProgrammingImage {

constexpr int kMemoryBytes = MemoryKey::kMemorySize;
constexpr int kImageChars = 2 * kMemoryBytes;

// What a pair may hold: a hex digit in either case, or a blank.
bool isImageChar(char c);

// Only the first 1024 characters count; fewer, or a pair holding anything but hex digits and blanks,
// is refused with a Dutch message naming the place.
bool parse(const QByteArray& text, QByteArray* memory, QString* error);
// parse on the file at path. A FIFO, device or folder there is refused with a message, never opened.
bool readFile(const QString& path, QByteArray* memory, QString* error);

// The same bytes with the last one replaced by the CRC-8 of all the others.
QByteArray withCrc(const QByteArray& bytes);

// The 512 bytes as 16 lines of 64 hex digits, one line per page.
QString hexLines(const QByteArray& memory);

}  // namespace ProgrammingImage
