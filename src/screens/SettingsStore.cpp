#include "screens/SettingsStore.h"

#include <QSettings>

namespace {

// The spelling under which name is already stored among names, whatever its case; empty when none.
QString storedSpelling(const QStringList& names, const QString& name) {
    for (const QString& stored : names) {
        if (stored.compare(name, Qt::CaseInsensitive) == 0) {
            return stored;
        }
    }
    return {};
}

}  // namespace

SettingsStore::SettingsStore()
    : m_settings(std::make_unique<QSettings>(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("Vondrel"),
                                             QStringLiteral("Vondrel"))) {}

SettingsStore::SettingsStore(const QString& iniPath)
    : m_settings(std::make_unique<QSettings>(iniPath, QSettings::IniFormat)) {}

SettingsStore::~SettingsStore() = default;

QStringList SettingsStore::spellings(const QString& section, const QString& key) const {
    QStringList paths;
    const QStringList groups = m_settings->childGroups();
    for (const QString& group : groups) {
        if (group.compare(section, Qt::CaseInsensitive) != 0) {
            continue;
        }
        m_settings->beginGroup(group);
        const QStringList keys = m_settings->childKeys();
        m_settings->endGroup();
        for (const QString& stored : keys) {
            if (stored.compare(key, Qt::CaseInsensitive) == 0) {
                paths.append(group + QLatin1Char('/') + stored);
            }
        }
    }
    return paths;
}

QString SettingsStore::get(const QString& section, const QString& key, const QString& defaultValue) const {
    const QStringList paths = spellings(section, key);
    if (paths.isEmpty()) {
        return defaultValue;
    }
    return m_settings->value(paths.first()).toString();
}

bool SettingsStore::contains(const QString& section, const QString& key) const {
    return !spellings(section, key).isEmpty();
}

void SettingsStore::save(const QString& section, const QString& key, const QString& value) {
    QStringList paths = spellings(section, key);
    QString path;
    if (!paths.isEmpty()) {
        path = paths.takeFirst();
    } else {
        // A section written by hand in another case takes the new key, rather than a second section.
        const QString group = storedSpelling(m_settings->childGroups(), section);
        path = (group.isEmpty() ? section : group) + QLatin1Char('/') + key;
    }
    m_settings->setValue(path, value);
    // Other spellings of the same key would only hide this value from someone reading the file.
    for (const QString& other : paths) {
        m_settings->remove(other);
    }
    m_settings->sync();
}
