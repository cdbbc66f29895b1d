#include <signal.h>
#include <QApplication>
#include <QDate>
#include <QScreen>
#include <QTimer>
#include <cstdio>

#include "app/Application.h"
#include "app/DemoData.h"
#include "app/DutchTranslation.h"
#include "app/StartWindow.h"
#include "screens/SimulatedProbeWindow.h"

namespace {
// Long enough for the first paint under Xvfb, short enough for ./dev screenshot.
constexpr int kScreenshotDelayMs = 700;
}  // namespace

int main(int argc, char* argv[]) {
    QStringList arguments;
    for (int i = 0; i < argc; ++i) {
        arguments.append(QString::fromLocal8Bit(argv[i]));
    }
    const QString screenshot = Application::takeScreenshotOption(arguments);
    const CommandLine commandLine = CommandLine::parse(arguments);
    if (!commandLine.error.isEmpty()) {
        std::fprintf(stderr, "vondrel: %s\n", qPrintable(commandLine.error));
        return 2;
    }
    if (commandLine.showHelp) {
        std::fputs(qPrintable(commandLine.helpText), stdout);
        return 0;
    }
    if (commandLine.showVersion) {
        std::printf("vondrel %d.%d\n", VONDREL_VERSION_MAJOR, VONDREL_VERSION_MINOR);
        return 0;
    }

    // A file that reaches the size limit must fail its write with a message, not end the program.
    ::signal(SIGXFSZ, SIG_IGN);

    if (commandLine.demo) {
        if (const Status made = DemoData::create(programFolder(commandLine), QDate::currentDate()); !made) {
            std::fprintf(stderr, "vondrel: %s\n", qPrintable(made.error));
            return 2;
        }
    }

    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Vondrel"));
    installDutchTranslation(app);
    Application vondrel(commandLine);
    StartWindow& window = vondrel.mainWindow();
    QObject::connect(&window, &StartWindow::unloaded, &app, &QCoreApplication::quit, Qt::QueuedConnection);
    window.show();

    if (!screenshot.isEmpty()) {
        QTimer::singleShot(kScreenshotDelayMs, &window, [&window, &app, screenshot] {
            const bool saved = window.grab().save(screenshot);
            if (!saved) {
                std::fprintf(stderr, "vondrel: %s kan niet worden geschreven\n", qPrintable(screenshot));
            }
            window.close();
            app.exit(saved ? 0 : 1);
        });
    } else if (SimulatedProbeWindow* probeWindow = vondrel.simulatedProbeWindow()) {
        probeWindow->move(window.frameGeometry().right() + 20, window.y());
        probeWindow->show();
    }
    return app.exec();
}
