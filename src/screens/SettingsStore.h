#pragma once

#include <QString>
#include <QStringList>
#include <memory>

class QSettings;

// The per-user settings store: text values addressed by section and key under the application name
// "Vondrel". Section and key names are compared without regard to case ("FG2" and "fg2" are one
// section); QSettings' INI files on Linux are case-sensitive, so names are folded to lower case on
// the way in.
class SettingsStore {
public:
    // The user's own store (~/.config/Vondrel/Vondrel.ini).
    SettingsStore();
    // A store in the given INI file, for tests and tools.
    explicit SettingsStore(const QString& iniPath);
    ~SettingsStore();

    // The stored text, or defaultValue unchanged when the section or key does not exist.
    QString get(const QString& section, const QString& key, const QString& defaultValue) const;
    // Whether the key has been stored (any value, an empty one included).
    bool contains(const QString& section, const QString& key) const;
    // Creates the section and key as needed and overwrites an earlier value.
    void save(const QString& section, const QString& key, const QString& value);

private:
    // "section/key" paths of every stored spelling of the key, in the store's order.
    QStringList spellings(const QString& section, const QString& key) const;

    std::unique_ptr<QSettings> m_settings;
};
