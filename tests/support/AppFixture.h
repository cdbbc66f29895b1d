#pragma once

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>
#include <memory>

#include "app/Application.h"
#include "app/StartWindow.h"
#include "onewire/DowIo.h"
#include "onewire/SerialLine.h"

// A program started on a temporary program folder and settings file. Com1 and Com2 lead to paths that
// do not exist unless a test maps them elsewhere: no real serial device is ever opened.
struct AppFixture {
    QTemporaryDir dir;
    QString com1 = dir.filePath(QStringLiteral("geen-com1"));
    QString com2 = dir.filePath(QStringLiteral("geen-com2"));
    bool demo = false;
    std::unique_ptr<Application> app;

    QString home() const { return dir.filePath(QStringLiteral("home")); }
    QString ini() const { return dir.filePath(QStringLiteral("vondrel.ini")); }
    QString bestanden() const { return QDir(home()).filePath(QStringLiteral("bestanden")); }

    StartWindow& start() {
        QDir().mkpath(home());
        CommandLine commandLine;
        commandLine.home = home();
        commandLine.com1Path = com1;
        commandLine.com2Path = com2;
        commandLine.demo = demo;
        app = std::make_unique<Application>(commandLine, ini());
        return app->mainWindow();
    }
    void stop() { app.reset(); }
};
