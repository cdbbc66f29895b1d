#pragma once

#include <QHash>
#include <QString>

class DowIo;
class FileOps;
class PortIo;
class SerialLine;
class SettingsStore;

// What the windows share for as long as the program runs: the settings store, the probe's serial line
// and port registers with the 1-Wire layer over them, the program folder, the current location's folder
// and the key-written flag. The windows get it handed in; nothing of it lives in a global.
class Session {
public:
    Session(SettingsStore& settings, SerialLine& line, PortIo& ports, DowIo& dowIo, const QString& programFolder);

    SettingsStore& settings() { return m_settings; }
    SerialLine& line() { return m_line; }
    PortIo& ports() { return m_ports; }
    DowIo& dowIo() { return m_dowIo; }

    const QString& programFolder() const { return m_programFolder; }
    // programFolder/bestanden
    QString bestandenFolder() const;
    // bestanden plus "/" and the trimmed `subdir`; with a blank subdir that is bestanden itself.
    QString dataFolder() const;

    // The chosen location's folder below bestanden, as stored (it is trimmed wherever it is used).
    QString subdir;
    // Set by the probe window when a programming key was written; consumed when the main window is
    // activated again.
    bool keyWritten = false;
    // The option flag check1 of section opties: read at load, not used.
    QString check1 = QStringLiteral("0");

    // The probe is the simulated one instead of a serial port.
    bool simulated = false;
    // Device paths of Com1 and Com2, for the status line.
    QHash<int, QString> devicePaths;
    // How the record files are written; null for the real thing (tests hand in one that fails).
    FileOps* fileOps = nullptr;

private:
    SettingsStore& m_settings;
    SerialLine& m_line;
    PortIo& m_ports;
    DowIo& m_dowIo;
    QString m_programFolder;
};
