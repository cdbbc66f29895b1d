#pragma once

#include <QList>
#include <QString>

#include <functional>

#include "onewire/SerialPorts.h"

class DowIo;
class FileOps;
class QtSerialLine;
class SerialLine;
class SettingsStore;
class TickSource;
class QWidget;

// What the windows share for as long as the program runs: the settings store, the probe's serial line
// and port registers with the 1-Wire layer over them, the program folder, the current location's folder
// and the key-written flag. The windows get it handed in; nothing of it lives in a global.
class Session {
public:
    Session(SettingsStore& settings, DowIo& dowIo, const QString& programFolder);

    SettingsStore& settings() { return m_settings; }
    SerialLine& line();
    DowIo& dowIo() { return m_dowIo; }

    const QString& programFolder() const { return m_programFolder; }
    // programFolder/bestanden
    QString bestandenFolder() const;
    // bestanden plus "/" and the trimmed `subdir`; with a blank subdir that is bestanden itself.
    QString dataFolder() const;

    // The chosen location's folder below bestanden, as stored (it is trimmed wherever it is used).
    QString subdir;
    // Setting check1 of section opties, read once at start: pages of a programming key that still
    // differ after the check are written again (a few times) before the probe window turns red.
    bool check1 = false;
    // What drives the windows' timers; real timers when null (tests hand in a manual clock's).
    TickSource* ticks = nullptr;

    // The probe is the simulated one instead of a serial port.
    bool simulated = false;
    // The serial port behind Com1 and Com2, where the probe is a real one; null with the simulated probe.
    QtSerialLine* serialPort = nullptr;
    // The serial ports the port dialog offers; SerialPorts::scan() when null (tests hand in their own).
    std::function<QList<SerialPortEntry>()> listPorts;
    // How the record files are written; null for the real thing (tests hand in one that fails).
    FileOps* fileOps = nullptr;

    // Appends change to the current location's logboek.txt; call it once the change is on disk. Nothing
    // for an empty change. A log that cannot be written is shown once a session, through parent's
    // message box, and never undoes or stops the change.
    void logChange(const QString& change, QWidget* parent);
    // The name the log gives the user; the login name when empty.
    QString logUser;

private:
    SettingsStore& m_settings;
    DowIo& m_dowIo;
    QString m_programFolder;
    bool m_logWarned = false;
};
