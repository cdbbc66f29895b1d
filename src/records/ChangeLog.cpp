#include "records/ChangeLog.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <cerrno>

#include "records/FileError.h"
#include "records/PlainFile.h"

namespace {

// `kind number "name"`, or without the quotes when the record has no name.
QString named(const QString& kind, int number, const QString& name) {
    const QString trimmed = name.trimmed();
    const QString head = QStringLiteral("%1 %2").arg(kind).arg(number);
    return trimmed.isEmpty() ? head : QStringLiteral("%1 \"%2\"").arg(head, trimmed);
}

QString quoted(const QString& value) {
    return QLatin1Char('"') + value.trimmed() + QLatin1Char('"');
}

QString listed(const QList<ChangeLog::FieldChange>& changes) {
    QStringList parts;
    for (const ChangeLog::FieldChange& change : changes) {
        const bool shortValues = change.before.trimmed().size() <= ChangeLog::kShortValue &&
                                 change.after.trimmed().size() <= ChangeLog::kShortValue;
        if (change.withValues && shortValues) {
            parts.append(QStringLiteral("%1 %2 → %3").arg(change.field, quoted(change.before), quoted(change.after)));
        } else {
            parts.append(QStringLiteral("%1 gewijzigd").arg(change.field));
        }
    }
    return parts.join(QStringLiteral(", "));
}

// "; X n is nu X n-1" or "; de Xs n tot en met m zijn nu n-1 tot en met m-1" for the records behind a
// deleted one; empty when there are none.
QString renumbered(const QString& one, const QString& many, int deleted, int countBefore) {
    const int first = deleted + 1;
    const int last = countBefore;
    if (last < first) {
        return {};
    }
    if (first == last) {
        return QStringLiteral("; %1 %2 is nu %1 %3").arg(one).arg(first).arg(first - 1);
    }
    return QStringLiteral("; de %1 %2 tot en met %3 zijn nu %4 tot en met %5")
        .arg(many)
        .arg(first)
        .arg(last)
        .arg(first - 1)
        .arg(last - 1);
}

// One line in the file: no line break of a name may split it.
QString oneLine(QString text) {
    text.replace(QLatin1Char('\r'), QLatin1Char(' '));
    text.replace(QLatin1Char('\n'), QLatin1Char(' '));
    return text;
}

}  // namespace

ChangeLog::ChangeLog(const QString& folder, const QString& user)
    : m_path(QDir(folder).filePath(QLatin1String(kFileName))), m_user(user.isEmpty() ? loginName() : user) {}

QString ChangeLog::loginName() {
    QString name = qEnvironmentVariable("LOGNAME");
    if (name.isEmpty()) {
        name = qEnvironmentVariable("USER");
    }
    if (name.isEmpty()) {
        if (const passwd* entry = ::getpwuid(::geteuid()); entry && entry->pw_name) {
            name = QString::fromLocal8Bit(entry->pw_name);
        }
    }
    if (name.isEmpty()) {
        name = QStringLiteral("uid%1").arg(::geteuid());
    }
    // The name is the line's second word.
    name.replace(QLatin1Char(' '), QLatin1Char('_'));
    return oneLine(name);
}

Status ChangeLog::append(const QString& change, const QDateTime& when) const {
    if (const Status writable = PlainFile::checkWritable(m_path); !writable) {
        return writable;
    }
    const QByteArray name = QFile::encodeName(m_path);
    struct stat st {};
    if (::lstat(name.constData(), &st) != 0 && errno == ENOENT) {
        const QByteArray folder = QFile::encodeName(QFileInfo(m_path).absolutePath());
        if (::stat(folder.constData(), &st) == 0 && (st.st_mode & 0222) == 0) {
            return FileError::write(m_path,
                                    QStringLiteral("%1 (de map is alleen-lezen)").arg(PlainFile::systemText(EACCES)));
        }
    }
    const QDateTime stamped = when.toOffsetFromUtc(when.offsetFromUtc());
    const QByteArray line =
        oneLine(QStringLiteral("%1 %2 %3").arg(stamped.toString(Qt::ISODate), m_user, change)).toUtf8() + '\n';

    const int fd = ::open(name.constData(), O_WRONLY | O_APPEND | O_CREAT | O_NONBLOCK | O_CLOEXEC, 0666);
    if (fd < 0) {
        return FileError::write(m_path, PlainFile::systemText(errno));
    }
    Status status;
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        status = FileError::write(m_path, QStringLiteral("dit is geen gewoon bestand"));
    }
    // One write: appends of two programs do not interleave within a line.
    qint64 done = 0;
    while (status && done < line.size()) {
        const ssize_t n = ::write(fd, line.constData() + done, size_t(line.size() - done));
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            status = FileError::write(m_path, PlainFile::systemText(n < 0 ? errno : EIO));
        } else {
            done += n;
        }
    }
    ::close(fd);
    return status;
}

Result<QStringList> ChangeLog::newestFirst() const {
    QFile file(m_path);
    bool missing = false;
    if (const Status opened = PlainFile::open(file, m_path, QIODevice::ReadOnly, &missing); !opened) {
        return opened;
    }
    if (missing) {
        return QStringList();
    }
    const QByteArray bytes = file.readAll();
    if (file.error() != QFile::NoError) {
        return FileError::read(m_path, file.errorString());
    }
    QStringList lines;
    const QList<QByteArray> raw = bytes.split('\n');
    for (auto it = raw.crbegin(); it != raw.crend(); ++it) {
        QString line = QString::fromUtf8(*it);
        if (line.endsWith(QLatin1Char('\r'))) {
            line.chop(1);
        }
        if (!line.trimmed().isEmpty()) {
            lines.append(line);
        }
    }
    return lines;
}

QString ChangeLog::readerAdded(int number, const Reader& reader) {
    return named(QStringLiteral("Lezer"), number, reader.lezerNaam()) + QStringLiteral(" toegevoegd");
}

QString ChangeLog::readerEdited(int number, const QString& name, const QList<FieldChange>& changes) {
    const QString who = named(QStringLiteral("Lezer"), number, name);
    if (changes.isEmpty()) {
        return who + QStringLiteral(" gemarkeerd voor een nieuwe programmeersleutel");
    }
    return who + QStringLiteral(" gewijzigd: ") + listed(changes);
}

QString ChangeLog::readerDeleted(int number, const Reader& reader, int readerCount, bool accessShifted) {
    QString line = named(QStringLiteral("Lezer"), number, reader.lezerNaam()) + QStringLiteral(" verwijderd");
    const QString moved = renumbered(QStringLiteral("lezer"), QStringLiteral("lezers"), number, readerCount);
    if (moved.isEmpty()) {
        return line + QStringLiteral("; er volgden geen lezers, er is niets verschoven");
    }
    line += moved;
    const bool one = number + 1 == readerCount;
    if (accessShifted) {
        return line + QStringLiteral(", de toegang van de sleutelhouders is meegeschoven");
    }
    return line + (one ? QStringLiteral(" en heeft de toegang van zijn voorganger gekregen: nakijken")
                       : QStringLiteral(" en hebben de toegang van hun voorganger gekregen: nakijken"));
}

QString ChangeLog::keyHolderAdded(int record, const KeyHolder& holder) {
    return named(QStringLiteral("Sleutelhouder"), record, holder.naam()) + QStringLiteral(" toegevoegd");
}

QString ChangeLog::keyHolderEdited(int record, const KeyHolder& before, const KeyHolder& after) {
    auto yesNo = [](const KeyHolder& k) {
        return k.geldig() == QLatin1String("1") ? QStringLiteral("ja") : QStringLiteral("nee");
    };
    const struct {
        const char* field;
        QString before;
        QString after;
        bool withValues;
    } fields[] = {
        {"Naam", before.naam(), after.naam(), true},
        {"Adres", before.adres(), after.adres(), true},
        {"Plaats", before.woonplaats(), after.woonplaats(), true},
        {"Telefoon", before.telefoon(), after.telefoon(), true},
        {"Mobiel", before.mobiel(), after.mobiel(), true},
        {"vrije tekst", before.vrijetekst(), after.vrijetekst(), true},
        // The access grid does not show key codes; neither does the log.
        {"sleutelcode", before.sleutelcode(), after.sleutelcode(), false},
        {"Geldig", yesNo(before), yesNo(after), true},
    };
    QList<FieldChange> changes;
    for (const auto& f : fields) {
        if (f.before.trimmed() != f.after.trimmed()) {
            changes.append({QLatin1String(f.field), f.before, f.after, f.withValues});
        }
    }
    if (changes.isEmpty()) {
        return {};
    }
    return named(QStringLiteral("Sleutelhouder"), record, before.naam()) + QStringLiteral(" gewijzigd: ") +
           listed(changes);
}

QString ChangeLog::keyHolderDeleted(int record, const KeyHolder& holder, int holderCount) {
    return named(QStringLiteral("Sleutelhouder"), record, holder.naam()) + QStringLiteral(" verwijderd") +
           renumbered(QStringLiteral("sleutelhouder"), QStringLiteral("sleutelhouders"), record, holderCount);
}

QString ChangeLog::accessChanged(int record, const KeyHolder& holder, int readerNumber, const QString& readerName,
                                 Access now) {
    QString what;
    switch (now) {
        case Access::Granted:
            what = QStringLiteral("toegang verleend (groen)");
            break;
        case Access::Withdrawn:
            what = QStringLiteral("toegang ingetrokken (blauw)");
            break;
        case Access::None:
            what = QStringLiteral("geen toegang meer vermeld (wit)");
            break;
    }
    return QStringLiteral("%1 × %2: %3")
        .arg(named(QStringLiteral("Sleutelhouder"), record, holder.naam()),
             named(QStringLiteral("lezer"), readerNumber, readerName), what);
}

QString ChangeLog::keyWritten(int readerNumber, const QString& readerName, int keyCount, const QString& checkText) {
    return QStringLiteral("Programmeersleutel geschreven voor %1 met %2 %3: %4")
        .arg(named(QStringLiteral("lezer"), readerNumber, readerName))
        .arg(keyCount)
        .arg(keyCount == 1 ? QStringLiteral("sleutel") : QStringLiteral("sleutels"), checkText);
}

QString ChangeLog::locationChosen(const QString& name, const QString& folder) {
    const QString trimmed = name.trimmed();
    const QString location = trimmed.isEmpty() ? QStringLiteral("Locatie") : QStringLiteral("Locatie ") + quoted(name);
    return QStringLiteral("%1 gekozen (map %2)").arg(location, folder.trimmed());
}
