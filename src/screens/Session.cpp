#include "screens/Session.h"

#include "onewire/DowIo.h"
#include "records/DataFolder.h"

Session::Session(SettingsStore& settings, DowIo& dowIo, const QString& programFolder)
    : m_settings(settings), m_dowIo(dowIo), m_programFolder(programFolder) {}

SerialLine& Session::line() {
    return m_dowIo.line();
}

QString Session::bestandenFolder() const {
    return DataFolder::bestandenPath(m_programFolder);
}

QString Session::dataFolder() const {
    return DataFolder::path(m_programFolder, subdir);
}
