#pragma once

#include <QString>
#include <QStringList>

// What `vondrel` is told on its command line.
struct CommandLine {
    QString home;           // --home DIR: the program folder that holds "bestanden"
    bool simulate = false;  // --simulate: a simulated probe instead of a serial port
    QString com1Path;       // --com1 PATH: where Com1 leads, over the device tied to it in the port dialog
    QString com2Path;       // --com2 PATH: the same for Com2
    bool demo = false;      // --demo: fill the empty folder given with --home with the demo set
    bool showHelp = false;
    bool showVersion = false;
    QString helpText;  // in Dutch, --help's output
    QString error;     // non-empty when the arguments could not be understood

    static CommandLine parse(const QStringList& arguments);
};

// The folder given with --home, or else the per-user data folder.
QString programFolder(const CommandLine& commandLine);
