#include "screens/Session.h"

#include "onewire/DowIo.h"
#include "records/ChangeLog.h"
#include "records/DataFolder.h"
#include "screens/MessageBox.h"

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

void Session::logChange(const QString& change, QWidget* parent) {
    if (change.isEmpty()) {
        return;
    }
    const Status logged = ChangeLog(dataFolder(), logUser).append(change);
    if (logged || m_logWarned) {
        return;
    }
    m_logWarned = true;
    MessageBox::error(parent, QStringLiteral("Het logboek is niet bijgewerkt. %1\n"
                                             "De wijziging zelf is opgeslagen. Deze melding komt niet terug zolang "
                                             "het programma draait.")
                                  .arg(logged.error));
}
