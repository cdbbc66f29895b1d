#pragma once

#include <QDate>
#include <QList>
#include <QString>
#include <QStringList>

#include "records/KeyHolder.h"
#include "records/Reader.h"
#include "records/Result.h"

// Who opens which door of one location, read from its two record files: per reader the key holders
// whose toegang bit is set (granted) and those whose wijziging bit is set (withdrawn, as the access
// grid shows it blue even when toegang is set too), and per key holder the same seen from the other side.
struct OverviewReader {
    int number = 0;  // record number, from 1
    QString code;
    QString name;
    quint8 mode = 0;
    QString datum;
    bool changed = false;  // its "X"
    // Indexes into Overview::holders, in file order.
    QList<int> granted;
    QList<int> withdrawn;
};

struct OverviewHolder {
    int number = 0;  // record number, from 1
    QString name;
    QString keyCode;  // blank-trimmed; zero bytes count blank
    bool geldig = false;
    // Indexes into Overview::readers, in file order.
    QList<int> granted;
    QList<int> withdrawn;
};

struct Overview {
    QString location;  // the location's name, or its folder when it has none
    QString folder;    // the data folder read
    QList<OverviewReader> readers;
    QList<OverviewHolder> holders;

    // A reader beyond 128 has no bit in the maps: it is listed, with nobody on it.
    static Overview build(const QList<Reader>& readers, const QList<KeyHolder>& holders);

    // Reads autonoom.bst and asleutel.bst in dataFolder. A missing file is an empty list, not an error:
    // a location nobody has filled yet has nothing to show.
    static Result<Overview> load(const QString& dataFolder, const QString& location);
};

// The location name that locatie.bst in bestanden gives the folder subdir (letter case aside); empty when
// none does or the file cannot be read.
QString locationNameOf(const QString& bestandenFolder, const QString& subdir);

// The narrowing a filter text gives: blank keeps everything; otherwise a key holder stays when the text is
// part of its name or key code, letter case aside. In the reader view a reader whose name or code holds
// the text keeps all its key holders.
class OverviewFilter {
public:
    OverviewFilter() = default;
    explicit OverviewFilter(const QString& text) : m_text(text.trimmed()) {}

    bool isEmpty() const { return m_text.isEmpty(); }
    bool matches(const OverviewHolder& holder) const;
    bool matches(const OverviewReader& reader) const;

private:
    QString m_text;
};

enum class OverviewView { PerReader, PerHolder };

// One table of texts, as the window, the text and the printed report show it.
struct OverviewTable {
    QStringList headings;
    QList<QStringList> rows;
};

// One reader (or one key holder) with what it is about: a title line, and its granted and withdrawn
// lists.
struct OverviewSection {
    QString title;
    OverviewTable granted;
    OverviewTable withdrawn;
};

namespace OverviewTables {

// "Intern, Tijd"
QString modeText(quint8 mode);
QString geldigText(bool geldig);

// The readers, or the key holders, that the filter leaves, as the window's upper list: indexes into the
// overview's readers (or holders).
QList<int> visibleReaders(const Overview& overview, const OverviewFilter& filter);
QList<int> visibleHolders(const Overview& overview, const OverviewFilter& filter);

// The upper lists: one row per index.
OverviewTable readerList(const Overview& overview, const QList<int>& readers);
OverviewTable holderList(const Overview& overview, const QList<int>& holders);

// The key holders on reader (an index), granted or withdrawn, that the filter leaves; and the readers of
// a key holder.
OverviewTable holdersOf(const Overview& overview, int reader, bool withdrawn, const OverviewFilter& filter);
OverviewTable readersOf(const Overview& overview, int holder, bool withdrawn);

// Everything the filter leaves, section by section. only (a record number) keeps one reader or holder.
QList<OverviewSection> sections(const Overview& overview, OverviewView view, const OverviewFilter& filter,
                                int only = 0);

}  // namespace OverviewTables
