#pragma once

#include <QString>
#include <QStringList>
#include <memory>

#include "app/CommandLine.h"

class DowIo;
class PortIo;
class QtSerialLine;
class SerialLine;
class Session;
class SettingsStore;
class SimulatedProbe;
class SimulatedProbeWindow;
class StartWindow;

// The program put together from its command line: settings store, the probe's serial line (a port, or
// the simulated probe with --simulate) and port registers, the 1-Wire layer, the shared session and the
// main window, which loads at once.
class Application {
public:
    // settingsIni: an INI file instead of the user's own settings (tests).
    explicit Application(const CommandLine& commandLine, const QString& settingsIni = {});
    ~Application();

    StartWindow& mainWindow() { return *m_window; }
    Session& session() { return *m_session; }
    DowIo& dowIo() { return *m_dowIo; }
    SerialLine& line() { return *m_line; }
    // Only with --simulate.
    SimulatedProbe* simulatedProbe() { return m_probe; }
    SimulatedProbeWindow* simulatedProbeWindow() { return m_probeWindow.get(); }

    // Takes "--screenshot FILE" out of the arguments (an option for ./dev screenshot, not shown in the
    // help); the file, or empty when the option is absent.
    static QString takeScreenshotOption(QStringList& arguments);

private:
    std::unique_ptr<SettingsStore> m_settings;
    std::unique_ptr<SerialLine> m_line;
    SimulatedProbe* m_probe = nullptr;
    std::unique_ptr<PortIo> m_ports;
    std::unique_ptr<DowIo> m_dowIo;
    std::unique_ptr<Session> m_session;
    std::unique_ptr<SimulatedProbeWindow> m_probeWindow;
    std::unique_ptr<StartWindow> m_window;
};
