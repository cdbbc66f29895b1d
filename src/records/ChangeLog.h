#pragma once

#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>

#include "records/KeyHolder.h"
#include "records/Reader.h"
#include "records/Result.h"

// logboek.txt in one location's folder: one line per change a user made there, appended once the change
// is on disk. A line is the date and time (ISO 8601, local time), the user's login name and the change in
// plain Dutch. It names readers and key holders by number and name and holds nothing the grids do not
// show: no key code of a key holder. A folder without a log is fine; the first change starts one.
class ChangeLog {
public:
    static constexpr const char* kFileName = "logboek.txt";

    // user: the login name written in each line; the one this program runs under when empty.
    explicit ChangeLog(const QString& folder, const QString& user = QString());

    QString path() const { return m_path; }

    // Appends one line, in one write to the end of the file, so two programs on one folder never mix
    // their lines. No folder lock: a log that cannot be written must never hold up a change. Refused
    // when something else than a plain file stands there, when the file may not be written, or when it
    // is missing and the folder may not be written (also for the superuser: a folder or file that nobody
    // may write was closed on purpose).
    Status append(const QString& change, const QDateTime& when = QDateTime::currentDateTime()) const;

    // The lines, newest first; none for a folder without a log.
    Result<QStringList> newestFirst() const;

    // The name the system knows the user by.
    static QString loginName();

    // How the state of a key holder's reader cell is told: white, green and blue in the access grid.
    enum class Access { None, Granted, Withdrawn };

    // One field of a record as it was and as it is; a value longer than kShortValue characters, or one
    // that must not be written down, is told as changed without its values.
    struct FieldChange {
        QString field;
        QString before;
        QString after;
        bool withValues = true;
    };
    static constexpr int kShortValue = 30;

    // The changes, as the log tells them.
    static QString readerAdded(int number, const Reader& reader);
    // changes: the reader list's cells that differ, by their headings. None: the save only marked the
    // reader for a new programming key.
    static QString readerEdited(int number, const QString& name, const QList<FieldChange>& changes);
    // readerCount: how many readers there were before; the ones behind the deleted one move up a
    // number. accessShifted: the key holders' maps were moved with them.
    static QString readerDeleted(int number, const Reader& reader, int readerCount, bool accessShifted);
    static QString keyHolderAdded(int record, const KeyHolder& holder);
    // Empty when no field changed. A changed key code is told without the codes.
    static QString keyHolderEdited(int record, const KeyHolder& before, const KeyHolder& after);
    static QString keyHolderDeleted(int record, const KeyHolder& holder, int holderCount);
    // readerNumber from 1.
    static QString accessChanged(int record, const KeyHolder& holder, int readerNumber, const QString& readerName,
                                 Access now);
    static QString keyWritten(int readerNumber, const QString& readerName, int keyCount, const QString& checkText);
    static QString locationChosen(const QString& name, const QString& folder);

private:
    QString m_path;
    QString m_user;
};
