#include "screens/SettingsStore.h"

#include <QSettings>

SettingsStore::SettingsStore()
    : m_settings(std::make_unique<QSettings>(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("Vondrel"),
                                             QStringLiteral("Vondrel"))) {}

SettingsStore::SettingsStore(const QString& iniPath)
    : m_settings(std::make_unique<QSettings>(iniPath, QSettings::IniFormat)) {}

SettingsStore::~SettingsStore() = default;

QString SettingsStore::keyPath(const QString& section, const QString& key) {
    return section.toLower() + QLatin1Char('/') + key.toLower();
}

QString SettingsStore::get(const QString& section, const QString& key, const QString& defaultValue) const {
    const QVariant value = m_settings->value(keyPath(section, key));
    return value.isValid() ? value.toString() : defaultValue;
}

bool SettingsStore::contains(const QString& section, const QString& key) const {
    return m_settings->contains(keyPath(section, key));
}

void SettingsStore::save(const QString& section, const QString& key, const QString& value) {
    m_settings->setValue(keyPath(section, key), value);
    m_settings->sync();
}
