#include "Session.h"

#include <QDir>

Session::Session(SettingsStore& settings, SerialLine& line, PortIo& ports, DowIo& dowIo, const QString& programFolder)
    : m_settings(settings), m_line(line), m_ports(ports), m_dowIo(dowIo), m_programFolder(programFolder) {}

QString Session::bestandenFolder() const {
    return QDir(m_programFolder).filePath(QStringLiteral("bestanden"));
}

QString Session::dataFolder() const {
    const QString sub = subdir.trimmed();
    if (sub.isEmpty())
        return bestandenFolder();
    return QDir(bestandenFolder()).filePath(sub);
}
