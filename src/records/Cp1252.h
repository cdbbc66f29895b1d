#pragma once

#include <QByteArray>
#include <QString>

// Text in the record files is single-byte Windows-1252, whatever the machine's own code page, so a
// data folder copied between machines reads the same everywhere.
namespace Cp1252 {

// One byte per character; a character that Windows-1252 cannot hold becomes "?".
QByteArray encode(const QString& text);

// The first character of text that Windows-1252 cannot hold (as encode would compose it), or an empty
// string when every character fits; a character outside the BMP comes back whole.
QString firstUnencodable(const QString& text);

// Every byte decodes; the five bytes Windows-1252 leaves undefined (0x81, 0x8D, 0x8F, 0x90, 0x9D)
// decode to the C1 control of the same value and encode back to the same byte.
QString decode(const QByteArray& bytes);

// Writes text into bytes[offset, offset + width): encoded, cut to width, padded with blanks.
void putField(QByteArray& bytes, int offset, int width, const QString& text);

// The field bytes[offset, offset + width) as text, padding included. Zero bytes (a field that was
// never written) read as blanks, so that trimming works on a fresh record.
QString field(const QByteArray& bytes, int offset, int width);

}  // namespace Cp1252
