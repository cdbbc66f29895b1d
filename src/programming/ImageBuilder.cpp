#include "programming/ImageBuilder.h"

#include "records/Cp1252.h"
#include "records/KeyHolderFile.h"
#include "records/ReaderFile.h"
#include "records/RecordFile.h"

#include <QDir>
#include <QFileInfo>

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

    QByteArray image(kImageChars, ' ');
    Cp1252::putField(image, 0, 6, code.isEmpty() ? QStringLiteral("000000") : code);
    Cp1252::putField(image, 6, 4, QStringLiteral("0001"));
    Cp1252::putField(image, 12, 2, twoDigitHex(reader.mode()));
    Cp1252::putField(image, 14, 2, twoDigitHex(reader.relayTime()));

    const int index = (readerNumber - 1) / 8;
    const int mask = 1 << ((readerNumber - 1) % 8);
    QByteArray listA;
    QByteArray listB;
    for (const KeyHolder& holder : holders) {
        const QString keyCode = holder.sleutelcode().left(kCodeChars);
        if (trimBlanks(keyCode).size() != kCodeChars) {
            continue;
        }
        const QByteArray bytes = Cp1252::encode(keyCode);
        if (hasBit(holder.toegang(), index, mask) && holder.geldig() == QLatin1String("1")) {
            listA += bytes;
        }
        // Withdrawals go out whether or not the key is still valid.
        if (hasBit(holder.wijziging(), index, mask)) {
            listB += bytes;
        }
    }

    const QByteArray keys = listA + listB;
    image.replace(kKeyListOffset, qMin<qsizetype>(keys.size(), kKeyListChars), keys.left(kKeyListChars));
    const int countA = int(listA.size() / kCodeChars);
    Cp1252::putField(image, 10, 2, countA == 0 ? QStringLiteral("FF") : twoDigitHex(countA + 1));
    Cp1252::putField(image, kImageChars - 2, 2, QStringLiteral("AA"));

    built.keyCount = int(keys.size() / kCodeChars);
    built.reader.setAantalsleutels(static_cast<qint16>(built.keyCount));
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
        if (!QFileInfo(path).isFile()) {
            return fail(
                QStringLiteral("Het bestand %1 bestaat niet; er is geen programmeersleutel gemaakt.").arg(path));
        }
    }

    QString error;
    if (!ImageBuilder::checkReaderNumber(readerNumber, &error)) {
        return fail(error);
    }
    const ReaderFile readers(dataFolder, ops);
    const int readerCount = readers.count(&error);
    if (readerCount < 0) {
        return fail(error);
    }
    if (readerNumber > readerCount) {
        return fail(QStringLiteral("Lezer %1 bestaat niet; %2 bevat %3 lezers.")
                        .arg(readerNumber)
                        .arg(readers.path())
                        .arg(readerCount));
    }
    Reader reader;
    if (!readers.read(readerNumber, &reader, &error)) {
        return fail(error);
    }

    KeyHolderFile keyFile(dataFolder, ops);
    const int holderCount = keyFile.count(&error);
    if (holderCount < 0) {
        return fail(error);
    }
    QList<KeyHolder> holders;
    holders.reserve(holderCount);
    for (int j = 1; j <= holderCount; ++j) {
        if (!keyFile.record_load(j, &error)) {
            return fail(error);
        }
        holders.append(keyFile.current());
    }

    BuiltImage built;
    if (!ImageBuilder::buildImage(reader, readerNumber, holders, &built, &error)) {
        return fail(error);
    }
    if (!RecordFile(result.imagePath, ImageBuilder::kImageChars, ops).replaceWith(built.text, &error)) {
        return fail(error);
    }
    if (!readers.write(readerNumber, built.reader, &error)) {
        return fail(error);
    }
    result.ok = true;
    result.keyCount = built.keyCount;
    return result;
}
