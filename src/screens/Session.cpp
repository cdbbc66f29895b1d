#include "screens/Session.h"

#include "records/DataFolder.h"

Session::Session(SettingsStore& settings, SerialLine& line, PortIo& ports, DowIo& dowIo, const QString& programFolder)
    : m_settings(settings), m_line(line), m_ports(ports), m_dowIo(dowIo), m_programFolder(programFolder) {}

QString Session::bestandenFolder() const {
    return DataFolder::bestandenPath(m_programFolder);
}

QString Session::dataFolder() const {
    return DataFolder::path(m_programFolder, subdir);
}
