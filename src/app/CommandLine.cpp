#include "app/CommandLine.h"

#include <QCommandLineParser>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

CommandLine CommandLine::parse(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Vondrel Lezers: toegangslijsten van autonome lezers beheren en "
                       "programmeersleutels schrijven."));
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Toont deze hulptekst."));
    const QCommandLineOption version({QStringLiteral("v"), QStringLiteral("version")},
                                     QStringLiteral("Toont het versienummer."));
    const QCommandLineOption home(QStringLiteral("home"),
                                  QStringLiteral("Programmamap met de map bestanden (standaard de gebruikersmap)."),
                                  QStringLiteral("MAP"));
    const QCommandLineOption simulate(QStringLiteral("simulate"),
                                      QStringLiteral("Gesimuleerde probe in plaats van een seriële poort."));
    const QCommandLineOption com1(QStringLiteral("com1"), QStringLiteral("Apparaat voor Com1 (standaard /dev/ttyS0)."),
                                  QStringLiteral("PAD"));
    const QCommandLineOption com2(QStringLiteral("com2"), QStringLiteral("Apparaat voor Com2 (standaard /dev/ttyS1)."),
                                  QStringLiteral("PAD"));
    parser.addOptions({help, version, home, simulate, com1, com2});

    CommandLine result;
    if (!parser.parse(arguments)) {
        result.error = parser.errorText();
        return result;
    }
    if (!parser.positionalArguments().isEmpty()) {
        result.error = QStringLiteral("Onbekend argument: %1").arg(parser.positionalArguments().constFirst());
        return result;
    }
    result.showHelp = parser.isSet(help);
    result.showVersion = parser.isSet(version);
    // Parsed before any application object exists (so --help needs no display), when the parser
    // cannot know the program's name itself.
    result.helpText = parser.helpText().replace(QStringLiteral("<executable_name>"),
                                                QFileInfo(arguments.value(0, QStringLiteral("vondrel"))).fileName());
    result.home = parser.value(home);
    result.simulate = parser.isSet(simulate);
    result.com1Path = parser.value(com1);
    result.com2Path = parser.value(com2);
    return result;
}

QString programFolder(const CommandLine& commandLine) {
    if (!commandLine.home.isEmpty()) {
        return QDir(commandLine.home).absolutePath();
    }
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
}
