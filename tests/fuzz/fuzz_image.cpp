// The programming image both ways: autonoom.hex text as the key writer parses it, and the image the
// builder makes from a reader record and key-holder records of any bytes. Input: the way in, then the
// text (parse) or a reader number, a reader record and up to eight key-holder records (build).
#include <QDir>

#include "fuzz/FuzzSupport.h"
#include "onewire/Crc8.h"
#include "programming/ImageBuilder.h"
#include "programming/ProgrammingImage.h"
#include "records/KeyHolderFile.h"
#include "records/ReaderFile.h"

namespace {

// What the key gets: 512 bytes whose last is the CRC-8 of the others, so the whole checks to zero, and
// the same bytes again when their own hex lines are parsed.
void checkMemory(const QByteArray& memory) {
    fuzz::expect(memory.size() == ProgrammingImage::kMemoryBytes, "the memory is not 512 bytes");
    fuzz::expect(Crc8::of(memory) == 0, "the memory does not end in its CRC-8");
    QByteArray again;
    QString error;
    const QByteArray lines = ProgrammingImage::hexLines(memory).toLatin1().replace('\n', QByteArray());
    fuzz::expect(ProgrammingImage::parse(lines, &again, &error) && again == memory,
                 "the memory's own hex lines do not parse back to it:", error);
}

void parseText(const QByteArray& text) {
    QByteArray memory;
    QString error;
    if (ProgrammingImage::parse(text, &memory, &error)) {
        checkMemory(memory);
    } else {
        fuzz::expect(!error.isEmpty(), "a refused image gave no message");
    }
}

void build(fuzz::Input& in) {
    const int readerNumber = in.number(0, ImageBuilder::kMaxReaderNumber + 2);
    const bool onDisk = in.number(0, 1) == 1;
    Reader reader;
    (void)reader.setBytes(in.take(Reader::kSize).leftJustified(Reader::kSize, ' '));
    QList<KeyHolder> holders;
    QByteArray holderRecords;
    while (holders.size() < 8) {
        const QByteArray bytes = in.take(KeyHolder::kSize);
        if (bytes.size() < KeyHolder::kSize) {
            break;
        }
        KeyHolder holder;
        (void)holder.setBytes(bytes);
        holders.append(holder);
        holderRecords += bytes;
    }

    BuiltImage built;
    QString error;
    const bool ok = ImageBuilder::buildImage(reader, readerNumber, holders, &built, &error);
    fuzz::expect(ok || !error.isEmpty(), "a refused image gave no message");
    if (ok) {
        // An image the builder accepts is one the key writer can read: it never fails only at the probe.
        fuzz::expect(built.text.size() == ProgrammingImage::kImageChars, "the image is not 1024 characters");
        QByteArray memory;
        fuzz::expect(ProgrammingImage::parse(built.text, &memory, &error), "the built image does not parse:", error);
        checkMemory(memory);
        fuzz::expect(built.keyCount >= 0 && built.reader.aantalsleutels() >= 0 &&
                         built.reader.aantalsleutels() == qMin(built.keyCount, 32767),
                     "the key count wrapped");
    }
    if (!onDisk) {
        return;
    }

    // The same through the files, as a click in the reader list does it.
    const QString folder = fuzz::emptyFolder();
    fuzz::writeFile(QDir(folder).filePath(QLatin1String(ReaderFile::kFileName)),
                    QByteArray(Reader::kSize * qMax(0, readerNumber - 1), ' ') + reader.bytes());
    fuzz::writeFile(QDir(folder).filePath(QLatin1String(KeyHolderFile::kFileName)), holderRecords);
    const SleutelLadenResult made = Sleutel_Laden(folder, readerNumber, fuzz::quickOps());
    fuzz::expect(made.ok == ok, "the files give another verdict than the records:", made.error + error);
    if (made.ok) {
        QByteArray memory;
        fuzz::expect(ProgrammingImage::readFile(made.imagePath, &memory, &error), "autonoom.hex does not read:", error);
        fuzz::expect(fuzz::readFile(made.imagePath) == built.text, "autonoom.hex is not the built image");
        checkMemory(memory);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::Input in(data, size);
    if (in.number(0, 1) == 0) {
        parseText(in.rest());
    } else {
        build(in);
    }
    return 0;
}
