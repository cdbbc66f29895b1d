#include "programming/ImageBuilder.h"

#include "programming/ProgrammingImage.h"

#include "records/AtomicWrite.h"
#include "records/Cp1252.h"
#include "records/KeyHolderFile.h"
#include "records/PlainFile.h"
#include "records/ReaderFile.h"

#include <QDir>
#include <QFileInfo>
#include <limits>

namespace {

// Only blanks are trimmed: a code holding other white space is not a code of 4.
QString trimBlanks(const QString& text) {
    qsizetype first = 0;
    qsizetype last = text.size();
    while (first < last && text.at(first) == QLatin1Char(' ')) {
        ++first;
    }
    while (last > first && text.at(last - 1) == QLatin1Char(' ')) {
        --last;
    }
    return text.mid(first, last - first);
}

// "lezer 3 (Hoofdingang)", or without the brackets when the name is blank.
QString named(const QString& what, int number, const QString& name) {
    const QString trimmed = name.trimmed();
    return trimmed.isEmpty() ? QStringLiteral("%1 %2").arg(what).arg(number)
                             : QStringLiteral("%1 %2 (%3)").arg(what).arg(number).arg(trimmed);
}

// The first character in text[from, from + length) that the key writer could not read as hex; -1 if none.
qsizetype firstNonHex(const QByteArray& text, qsizetype from, qsizetype length) {
    for (qsizetype i = from; i < from + length; ++i) {
        if (!ProgrammingImage::isImageChar(text.at(i))) {
            return i;
        }
    }
    return -1;
}

bool hasBit(const QByteArray& map, int index, int mask) {
    return index < map.size() && (static_cast<quint8>(map.at(index)) & mask) > 0;
}

}  // namespace

namespace ImageBuilder {

QString twoDigitHex(int value) {
    return (QStringLiteral("00") + QString::number(static_cast<quint16>(value), 16).toUpper()).right(2);
}

bool checkReaderNumber(int readerNumber, QString* error) {
    if (readerNumber >= 1 && readerNumber <= kMaxReaderNumber) {
        return true;
    }
    if (error) {
        *error = QStringLiteral(
                     "Lezer %1 heeft geen plaats in de toegangslijsten (lezers 1 tot en met %2); "
                     "er is geen programmeersleutel gemaakt en niets geschreven.")
                     .arg(readerNumber)
                     .arg(kMaxReaderNumber);
    }
    return false;
}

bool buildImage(const Reader& reader, int readerNumber, const QList<KeyHolder>& holders, BuiltImage* out,
                QString* error) {
    if (!checkReaderNumber(readerNumber, error)) {
        return false;
    }

    BuiltImage built;
    built.reader = reader;
    const QString code = trimBlanks(reader.lezerkode());
    built.reader.setLezerkode(code);

    QByteArray image(ProgrammingImage::kImageChars, ' ');
    Cp1252::putField(image, 0, 6, code.isEmpty() ? QStringLiteral("000000") : code);
    Cp1252::putField(image, 6, 4, QStringLiteral("0001"));
    Cp1252::putField(image, 12, 2, twoDigitHex(reader.mode()));
    Cp1252::putField(image, 14, 2, twoDigitHex(reader.relayTime()));

    const int index = (readerNumber - 1) / 8;
    const int mask = 1 << ((readerNumber - 1) % 8);
    QByteArray listA;
    QByteArray listB;
    // Which key holder (index into holders) stands in each 4-character slot of the lists.
    QList<int> holdersA;
    QList<int> holdersB;
    for (int h = 0; h < holders.size(); ++h) {
        const KeyHolder& holder = holders.at(h);
        const QString keyCode = holder.sleutelcode().left(kCodeChars);
        if (trimBlanks(keyCode).size() != kCodeChars) {
            continue;
        }
        const QByteArray bytes = Cp1252::encode(keyCode);
        if (hasBit(holder.toegang(), index, mask) && holder.geldig() == QLatin1String("1")) {
            listA += bytes;
            holdersA.append(h);
        }
        // Withdrawals go out whether or not the key is still valid.
        if (hasBit(holder.wijziging(), index, mask)) {
            listB += bytes;
            holdersB.append(h);
        }
    }

    const QByteArray keys = listA + listB;
    const qsizetype keyChars = qMin<qsizetype>(keys.size(), kKeyListChars);
    image.replace(kKeyListOffset, keyChars, keys.left(kKeyListChars));

    const QString readerText = named(QStringLiteral("lezer"), readerNumber, reader.lezerNaam());
    if (firstNonHex(image, 0, 6) >= 0) {
        if (error) {
            *error = QStringLiteral(
                         "De code van %1 is geen hexadecimaal getal: \"%2\". Verbeter de code in de lezerlijst; "
                         "er is geen programmeersleutel gemaakt.")
                         .arg(readerText, code);
        }
        return false;
    }
    // Only what goes into the image counts: a code cut off at the end of the list is not written.
    if (const qsizetype bad = firstNonHex(image, kKeyListOffset, keyChars); bad >= 0) {
        const int slot = int((bad - kKeyListOffset) / kCodeChars);
        const int h = slot < holdersA.size() ? holdersA.at(slot) : holdersB.at(slot - holdersA.size());
        if (error) {
            *error = QStringLiteral(
                         "De sleutelcode van %1 is geen hexadecimaal getal: \"%2\". Verbeter de sleutelcode van "
                         "deze sleutelhouder; er is geen programmeersleutel gemaakt voor %3.")
                         .arg(named(QStringLiteral("sleutelhouder"), h + 1, holders.at(h).naam()),
                              holders.at(h).sleutelcode().left(kCodeChars), readerText);
        }
        return false;
    }
    const int countA = int(listA.size() / kCodeChars);
    Cp1252::putField(image, 10, 2, countA == 0 ? QStringLiteral("FF") : twoDigitHex(countA + 1));
    Cp1252::putField(image, ProgrammingImage::kImageChars - 2, 2, QStringLiteral("AA"));

    built.keyCount = int(keys.size() / kCodeChars);
    // The field is a signed 16-bit number: a count beyond it is stored as its largest, never wrapped.
    built.reader.setAantalsleutels(static_cast<qint16>(qMin<int>(built.keyCount, std::numeric_limits<qint16>::max())));
    built.text = image;
    *out = built;
    return true;
}

}  // namespace ImageBuilder

SleutelLadenResult Sleutel_Laden(const QString& dataFolder, int readerNumber, FileOps* ops) {
    SleutelLadenResult result;
    const QDir folder(dataFolder);
    result.imagePath = folder.filePath(QStringLiteral("autonoom.hex"));
    auto fail = [&result](const QString& message) {
        result.error = message;
        return result;
    };

    for (const char* name : {ReaderFile::kFileName, KeyHolderFile::kFileName}) {
        const QString path = folder.filePath(QLatin1String(name));
        if (const Status plain = PlainFile::checkKind(path); !plain) {
            return fail(plain.error);
        }
        if (!QFileInfo::exists(path)) {
            return fail(
                QStringLiteral("Het bestand %1 bestaat niet; er is geen programmeersleutel gemaakt.").arg(path));
        }
    }
    if (const Status writable = PlainFile::checkWritable(result.imagePath); !writable) {
        return fail(writable.error);
    }

    QString error;
    if (!ImageBuilder::checkReaderNumber(readerNumber, &error)) {
        return fail(error);
    }
    const ReaderFile readers(dataFolder, ops);
    const Result<int> readerCount = readers.count();
    if (!readerCount) {
        return fail(readerCount.error);
    }
    if (readerNumber > readerCount.value) {
        return fail(QStringLiteral("Lezer %1 bestaat niet; %2 bevat %3 lezers.")
                        .arg(readerNumber)
                        .arg(readers.path())
                        .arg(readerCount.value));
    }
    const Result<Reader> reader = readers.read(readerNumber);
    if (!reader) {
        return fail(reader.error);
    }
    const Result<QList<KeyHolder>> holders = KeyHolderFile(dataFolder, ops).readAll();
    if (!holders) {
        return fail(holders.error);
    }

    BuiltImage built;
    if (!ImageBuilder::buildImage(reader.value, readerNumber, holders.value, &built, &error)) {
        return fail(error);
    }
    if (const Status written = writeAtomically(result.imagePath, built.text, ops); !written) {
        return fail(written.error);
    }
    const Result<Reader> counted = readers.update(readerNumber, [&built](Reader& onDisk) {
        onDisk.setLezerkode(built.reader.lezerkode());
        onDisk.setAantalsleutels(built.reader.aantalsleutels());
    });
    if (!counted) {
        return fail(counted.error);
    }
    result.ok = true;
    result.keyCount = built.keyCount;
    result.reader = counted.value;
    result.readerName = reader.value.lezerNaam().trimmed();
    return result;
}
