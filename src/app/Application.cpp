#include "app/Application.h"

#include <QDir>

#include "app/DemoData.h"
#include "app/PortDialog.h"
#include "app/StartWindow.h"
#include "onewire/DowIo.h"
#include "onewire/ProbeStack.h"
#include "onewire/QtSerialLine.h"
#include "probesim/SimulatedProbe.h"
#include "screens/Session.h"
#include "screens/SettingsStore.h"
#include "screens/SimulatedProbeWindow.h"

Application::Application(const CommandLine& commandLine, const QString& settingsIni, Clock& clock, TickSource* ticks) {
    m_settings =
        settingsIni.isEmpty() ? std::make_unique<SettingsStore>() : std::make_unique<SettingsStore>(settingsIni);
    QtSerialLine* serialPort = nullptr;
    if (commandLine.simulate) {
        auto probe = std::make_unique<SimulatedProbe>(clock);
        m_probe = probe.get();
        m_probeStack = std::make_unique<ProbeStack>(std::move(probe), clock);
    } else {
        auto port = std::make_unique<QtSerialLine>();
        // A device given on the command line wins over the one tied to the port in the port dialog.
        for (const auto& [number, given] : {std::pair{1, commandLine.com1Path}, std::pair{2, commandLine.com2Path}}) {
            const QString stored =
                m_settings->get(QStringLiteral("startfrm"), PortDialog::devicePathKey(number), QString());
            const QString path = given.isEmpty() ? stored.trimmed() : given;
            if (!path.isEmpty()) {
                port->setDevicePath(number, path);
            }
        }
        serialPort = port.get();
        m_probeStack = std::make_unique<ProbeStack>(std::move(port));
    }
    // The per-user folder does not exist before the first start and is ours to make. A folder given with
    // --home is not: made anew it would be an empty data set in place of one on a disk not mounted.
    if (commandLine.home.isEmpty()) {
        QDir().mkpath(programFolder(commandLine));
    }
    m_session = std::make_unique<Session>(*m_settings, m_probeStack->dowIo(), programFolder(commandLine));
    if (commandLine.demo) {
        // Where no location is stored yet, a try-out opens on the demo's first one.
        m_session->subdir = DemoData::firstMap();
    }
    m_session->ticks = ticks;
    m_session->simulated = commandLine.simulate;
    m_session->serialPort = serialPort;
    if (m_probe) {
        m_probeWindow = std::make_unique<SimulatedProbeWindow>(*m_probe);
    }
    m_window = std::make_unique<StartWindow>(*m_session);
    if (m_probeWindow) {
        m_window->setSimulatedProbeWindow(m_probeWindow.get());
    }
}

Application::~Application() {
    // The main window unloads first: it still releases the port and closes the line.
    m_window.reset();
    m_probeWindow.reset();
}

DowIo& Application::dowIo() {
    return m_probeStack->dowIo();
}

SerialLine& Application::line() {
    return m_probeStack->line();
}

QString Application::takeScreenshotOption(QStringList& arguments) {
    QString file;
    for (int i = 1; i < arguments.size(); ++i) {
        const QString& argument = arguments.at(i);
        if (argument == QLatin1String("--screenshot") && i + 1 < arguments.size()) {
            file = arguments.at(i + 1);
            arguments.remove(i, 2);
            --i;
        } else if (argument.startsWith(QLatin1String("--screenshot="))) {
            file = argument.mid(int(qstrlen("--screenshot=")));
            arguments.remove(i);
            --i;
        }
    }
    return file;
}
