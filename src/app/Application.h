#pragma once

#include <QString>
#include <QStringList>
#include <memory>

#include "app/CommandLine.h"
#include "onewire/Clock.h"

class DowIo;
class ProbeStack;
class SerialLine;
class Session;
class SettingsStore;
class SimulatedProbe;
class SimulatedProbeWindow;
class StartWindow;
class TickSource;

// The program put together from its command line: settings store, the probe's serial line (a port, or
// the simulated probe with --simulate) and port registers, the 1-Wire layer, the shared session and the
// main window, which loads at once.
class Application {
public:
    // settingsIni: an INI file instead of the user's own settings. clock and ticks: what the simulated
    // probe and the windows' timers run on (tests hand in a manual clock).
    explicit Application(const CommandLine& commandLine, const QString& settingsIni = {},
                         Clock& clock = Clock::steady(), TickSource* ticks = nullptr);
    ~Application();

    StartWindow& mainWindow() { return *m_window; }
    Session& session() { return *m_session; }
    DowIo& dowIo();
    SerialLine& line();
    // Only with --simulate.
    SimulatedProbe* simulatedProbe() { return m_probe; }
    SimulatedProbeWindow* simulatedProbeWindow() { return m_probeWindow.get(); }

    // Takes "--screenshot FILE" out of the arguments (an option for ./dev screenshot, not shown in the
    // help); the file, or empty when the option is absent.
    static QString takeScreenshotOption(QStringList& arguments);

private:
    std::unique_ptr<SettingsStore> m_settings;
    SimulatedProbe* m_probe = nullptr;
    std::unique_ptr<ProbeStack> m_probeStack;
    std::unique_ptr<Session> m_session;
    std::unique_ptr<SimulatedProbeWindow> m_probeWindow;
    std::unique_ptr<StartWindow> m_window;
};
