#include "app/Application.h"

#include <QDir>

#include "app/StartWindow.h"
#include "onewire/DowIo.h"
#include "onewire/QtSerialLine.h"
#include "onewire/SimulatedProbe.h"
#include "onewire/UartBridgePortIo.h"
#include "screens/ProbeWindow.h"
#include "screens/Session.h"
#include "screens/SettingsStore.h"
#include "screens/SimulatedProbeWindow.h"

Application::Application(const CommandLine& commandLine, const QString& settingsIni) {
    m_settings =
        settingsIni.isEmpty() ? std::make_unique<SettingsStore>() : std::make_unique<SettingsStore>(settingsIni);
    QHash<int, QString> paths;
    if (commandLine.simulate) {
        auto probe = std::make_unique<SimulatedProbe>();
        m_probe = probe.get();
        m_line = std::move(probe);
    } else {
        auto port = std::make_unique<QtSerialLine>();
        if (!commandLine.com1Path.isEmpty()) {
            port->setDevicePath(1, commandLine.com1Path);
        }
        if (!commandLine.com2Path.isEmpty()) {
            port->setDevicePath(2, commandLine.com2Path);
        }
        paths.insert(1, port->devicePath(1));
        paths.insert(2, port->devicePath(2));
        m_line = std::move(port);
    }
    m_ports = std::make_unique<UartBridgePortIo>(*m_line);
    m_dowIo = std::make_unique<DowIo>(*m_line, *m_ports);
    // The per-user folder does not exist before the first start and is ours to make. A folder given with
    // --home is not: made anew it would be an empty data set in place of one on a disk not mounted.
    if (commandLine.home.isEmpty()) {
        QDir().mkpath(programFolder(commandLine));
    }
    m_session = std::make_unique<Session>(*m_settings, *m_line, *m_ports, *m_dowIo, programFolder(commandLine));
    m_session->simulated = commandLine.simulate;
    m_session->devicePaths = paths;
    if (m_probe) {
        m_probeWindow = std::make_unique<SimulatedProbeWindow>(*m_probe);
    }
    m_window = std::make_unique<StartWindow>(*m_session);
    m_window->setProgramKeyHook([this](int readerNumber) {
        ProbeWindow::programKey(*m_session, readerNumber, m_window.get(), [this] { m_window->openPortDialog(); });
    });
    if (m_probeWindow) {
        m_window->setSimulatedProbeWindow(m_probeWindow.get());
    }
}

Application::~Application() {
    // The main window unloads first: it still releases the port and closes the line.
    m_window.reset();
    m_probeWindow.reset();
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
