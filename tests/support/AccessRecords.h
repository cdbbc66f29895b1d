#pragma once

#include <QByteArray>
#include <QDir>
#include <QList>
#include <QString>

#include "support/RecordFixtures.h"

// Reader and key-holder records built byte by byte from the layout tables, for tests that read who opens
// which door: text is given as the bytes that go on disk (Windows-1252), maps as the reader numbers
// (from 1) whose bit is set.
namespace accessrecords {

struct ReaderSpec {
    QByteArray code;
    QByteArray name;
    int mode = 0;
    QByteArray date;
    bool changed = false;
};

struct HolderSpec {
    QByteArray geldig;
    QByteArray naam;
    QByteArray code;  // the 10 bytes of sleutelcode; shorter is padded with blanks
    QList<int> toegang;
    QList<int> wijziging;
};

inline QByteArray map(const QList<int>& readers) {
    QByteArray bytes(16, '\0');
    for (int n : readers) {
        bytes[(n - 1) / 8] = static_cast<char>(bytes.at((n - 1) / 8) | (1 << ((n - 1) % 8)));
    }
    return bytes;
}

inline QByteArray reader(const ReaderSpec& r) {
    QByteArray b = fixtures::with(
        QByteArray(128, '\0'),
        {{0, 6, r.code}, {14, 8, r.date}, {34, 20, r.name}, {60, 1, r.changed ? QByteArray("X") : QByteArray(" ")}});
    b[10] = static_cast<char>(r.mode);
    return b;
}

inline QByteArray holder(const HolderSpec& h) {
    QByteArray b = fixtures::with(QByteArray(512, ' '), {{0, 1, h.geldig}, {14, 30, h.naam}, {157, 10, h.code}});
    b.replace(291, 16, map(h.toegang));
    b.replace(307, 16, map(h.wijziging));
    return b;
}

inline bool writeFolder(const QString& folder, const QList<ReaderSpec>& readers, const QList<HolderSpec>& holders) {
    QByteArray r;
    for (const ReaderSpec& wanted : readers) {
        r += reader(wanted);
    }
    QByteArray h;
    for (const HolderSpec& wanted : holders) {
        h += holder(wanted);
    }
    return QDir().mkpath(folder) && fixtures::writeFile(QDir(folder).filePath(QStringLiteral("autonoom.bst")), r) &&
           fixtures::writeFile(QDir(folder).filePath(QStringLiteral("asleutel.bst")), h);
}

// Three readers and five key holders with one of each case: granted, withdrawn over granted, withdrawn
// alone, a holder whose key is not valid, a blank code (blanks) and a code of zero bytes, Windows-1252
// text, and the separator and quote of CSV in a name.
inline QList<ReaderSpec> sampleReaders() {
    return {{"A1F3C2", "Hoofdingang", 18, "12-05-25", true},
            {"0B7E44", "Caf\xE9 \x80-kassa", 30, "03-04-25", false},
            {"3C9D01", "Kantoor; 1e \"etage\"", 10, "28-05-25", true}};
}

inline QList<HolderSpec> sampleHolders() {
    return {{"1", "Jansen, Anna", "A1B2C3D4E5", {1, 2}, {}},
            {"0", "Bakker; Bram", "0011223344", {1}, {3}},
            {"1", "Visser \"Cor\"", "", {1, 3}, {1}},
            {"1", "M\xFCller, D\xE9sir\xE9", QByteArray(10, '\0'), {}, {}},
            {"1", "Smit, Eva", "FFEEDDCCBB", {2}, {2}}};
}

}  // namespace accessrecords
