#include "app/DemoData.h"

#include <QDir>
#include <QFileInfo>
#include <QList>

#include "records/DataFolder.h"
#include "records/KeyHolderFile.h"
#include "records/LocationFile.h"
#include "records/ReaderFile.h"

namespace {

struct DemoReader {
    const char* name;
    const char* code;
    quint8 mode;
    qint16 relayTime;
    bool changed;  // waits for a new programming key
};

struct DemoHolder {
    const char* name;
    const char* address;
    const char* town;
    const char* phone;
    const char* keyCode;
    QList<int> granted;    // reader numbers
    QList<int> withdrawn;  // taken back, not yet in a programming key
};

struct DemoLocation {
    Location::Texts texts;
    QList<DemoReader> readers;
    QList<DemoHolder> holders;
};

QList<DemoLocation> demoLocations() {
    const quint8 internTime = Reader::kModeAlways | Reader::kModeNotInverted;
    const quint8 externHold = Reader::kModeAlways | Reader::kModeExternal | Reader::kModeHold;
    return {
        {{QStringLiteral("Kantoor Noord"), QStringLiteral("P. de Vries"), QStringLiteral("Stationsweg 12"),
          QStringLiteral("Groningen"), QStringLiteral("050-1234567"), QStringLiteral("050-1234568"),
          QStringLiteral("06-12345678"), QStringLiteral("www.vondrel.example"), QStringLiteral("noord")},
         {{"Hoofdingang", "A1F3C2", internTime, 5, true},
          {"Kantoor 1e etage", "3C9D01", externHold, 3, true},
          {"Fietsenstalling", "F00D12", internTime, 10, false},
          {"Serverruimte", "0B7E44", internTime, 2, false}},
         {{"Jan de Boer", "Dorpsstraat 1", "Haren", "050-5550101", "1A2B3C4D5E", {1, 2, 3, 4}, {}},
          {"Fatima El Amrani", "Kerkpad 7", "Groningen", "050-5550102", "2B3C4D5E6F", {1, 2}, {}},
          {"Pieter Jansen", "Molenweg 23", "Zuidhorn", "0594-555010", "3C4D5E6F70", {1, 3}, {}},
          {"Sanne Visser", "Oosterstraat 5", "Groningen", "050-5550104", "4D5E6F7081", {1}, {}},
          {"Kees Bakker", "Zuiderdiep 40", "Groningen", "050-5550105", "5E6F708192", {}, {1, 2}}}},
        {{QStringLiteral("Magazijn Zuid"), QStringLiteral("A. Bakker"), QStringLiteral("Havenstraat 4"),
          QStringLiteral("Eindhoven"), QStringLiteral("040-7654321"), QString(), QStringLiteral("06-87654321"),
          QString(), QStringLiteral("zuid")},
         {{"Poort", "5C2E90", externHold, 8, true}, {"Kantine", "7D1A33", internTime, 5, false}},
         {{"Ahmed Yilmaz", "Hoogstraat 80", "Eindhoven", "040-5550201", "6F708192A3", {1, 2}, {}},
          {"Lotte Smit", "Vestdijk 2", "Eindhoven", "040-5550202", "708192A3B4", {1}, {}},
          {"Jan de Boer", "Dorpsstraat 1", "Haren", "050-5550101", "1A2B3C4D5E", {1, 2}, {}}}},
    };
}

QByteArray readerMap(const QList<int>& readers) {
    QByteArray map(KeyHolder::kMapBytes, '\0');
    for (const int n : readers) {
        map[(n - 1) / 8] = static_cast<char>(static_cast<quint8>(map.at((n - 1) / 8)) | (1 << ((n - 1) % 8)));
    }
    return map;
}

Status writeLocation(const QString& folder, const DemoLocation& location, const QDate& today) {
    const ReaderFile readers(folder);
    for (int i = 0; i < location.readers.size(); ++i) {
        const DemoReader& demo = location.readers.at(i);
        const int number = i + 1;
        Reader reader;
        reader.setLezerNaam(QString::fromUtf8(demo.name));
        reader.setLezerkode(QString::fromLatin1(demo.code));
        reader.setMode(demo.mode);
        reader.setRelayTime(demo.relayTime);
        reader.setChangedFlag(demo.changed ? QStringLiteral("X") : QString());
        reader.setDatum(demo.changed ? today : today.addMonths(-2));
        qint16 keys = 0;
        for (const DemoHolder& holder : location.holders) {
            keys += holder.granted.contains(number) || holder.withdrawn.contains(number) ? 1 : 0;
        }
        reader.setAantalsleutels(keys);
        if (const Status written = readers.write(number, reader); !written) {
            return written;
        }
    }
    KeyHolderFile holders(folder);
    for (int i = 0; i < location.holders.size(); ++i) {
        const DemoHolder& demo = location.holders.at(i);
        KeyHolder& holder = holders.current();
        holder = KeyHolder::blank();
        holder.setGeldig(QStringLiteral("1"));
        holder.setNaam(QString::fromUtf8(demo.name));
        holder.setAdres(QString::fromUtf8(demo.address));
        holder.setWoonplaats(QString::fromUtf8(demo.town));
        holder.setTelefoon(QString::fromLatin1(demo.phone));
        holder.setSleutelcode(QString::fromLatin1(demo.keyCode));
        holder.setToegang(readerMap(demo.granted));
        holder.setWijziging(readerMap(demo.withdrawn));
        if (const Status written = holders.write(i + 1); !written) {
            return written;
        }
    }
    return {};
}

}  // namespace

namespace DemoData {

QString firstMap() {
    return demoLocations().constFirst().texts.at(Location::Map);
}

Status create(const QString& programFolder, const QDate& today) {
    const QDir home(programFolder);
    if (!QFileInfo(programFolder).isDir()) {
        return Status::failure(QStringLiteral("De map %1 bestaat niet; de voorbeeldset is niet gemaakt.")
                                   .arg(QDir::toNativeSeparators(programFolder)));
    }
    if (!home.isEmpty(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System)) {
        return Status::failure(
            QStringLiteral("De map %1 is niet leeg; de voorbeeldset wordt alleen in een lege map gemaakt.")
                .arg(QDir::toNativeSeparators(programFolder)));
    }
    const QString bestanden = DataFolder::bestandenPath(programFolder);
    if (const Status made = DataFolder::ensureFolder(programFolder, QStringLiteral("bestanden")); !made) {
        return made;
    }
    LocationFile locations(bestanden);
    const QList<DemoLocation> demo = demoLocations();
    for (int i = 0; i < demo.size(); ++i) {
        const DemoLocation& location = demo.at(i);
        const QString map = location.texts.at(Location::Map);
        if (const Status made = DataFolder::ensureFolder(bestanden, map); !made) {
            return made;
        }
        if (const Status written = writeLocation(QDir(bestanden).filePath(map), location, today); !written) {
            return written;
        }
        if (const Status saved = locations.saveRecord(i + 1, location.texts); !saved) {
            return saved;
        }
    }
    return {};
}

}  // namespace DemoData
