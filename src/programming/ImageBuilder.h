#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include "records/KeyHolder.h"
#include "records/Reader.h"

// One reader's programming image: 1024 text characters, 512 hex pairs, one pair per byte of the
// programming key's memory.
struct BuiltImage {
    QByteArray text;
    // Codes in lists A and B together, beyond what the key list can hold too.
    int keyCount = 0;
    // The reader record as it is written back: code trimmed, key count set (at most 32767, all its
    // field holds).
    Reader reader;
};

namespace ImageBuilder {

constexpr int kKeyListOffset = 16;
constexpr int kKeyListChars = 1006;
constexpr int kCodeChars = 4;
constexpr int kMaxReaderNumber = KeyHolder::kMaxReaders;

// Last two characters of "00" + the value's upper-case hex text.
QString twoDigitHex(int value);

// Readers 1 to 128 have a place in the access maps; any other number is refused with a message.
bool checkReaderNumber(int readerNumber, QString* error);

// Builds the image of reader record readerNumber (from 1) from its record and every key-holder
// record in file order. A reader number outside 1..128 has no bit in the access maps and is refused;
// so is a reader code or a key code going into the image that is no hex number, naming the reader or
// the key holder, before any probe is asked to write it.
bool buildImage(const Reader& reader, int readerNumber, const QList<KeyHolder>& holders, BuiltImage* out,
                QString* error);

}  // namespace ImageBuilder

class FileOps;

struct SleutelLadenResult {
    bool ok = false;
    int keyCount = 0;
    QString imagePath;   // autonoom.hex
    QString readerName;  // blank-trimmed
    QString error;
    // The reader's record as the image left it on disk, the key count it stores included.
    Reader reader;
};

// Makes a programming key's image on the files of one data folder: builds reader readerNumber's image
// into autonoom.hex (built beside it and renamed over it) and writes the key count into the reader's
// record. Both record files must exist as plain files and the reader must be one of them, and
// autonoom.hex must be a plain file that may be written, or none yet; on any refusal nothing is written.
SleutelLadenResult Sleutel_Laden(const QString& dataFolder, int readerNumber, FileOps* ops = nullptr);
