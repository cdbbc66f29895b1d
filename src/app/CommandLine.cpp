#include "app/CommandLine.h"

#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QStandardPaths>

namespace {

// Written out rather than taken from QCommandLineParser: its "Usage:" and "Options:" lines and its
// complaints are English unless a translator is installed, and --help runs before any application
// object can hold one.
const char kHelp[] =
    "Gebruik: %1 [opties]\n"
    "Vondrel Lezers: toegangslijsten van autonome lezers beheren en programmeersleutels schrijven.\n"
    "\n"
    "Opties:\n"
    "  -h, --help      Toont deze hulptekst.\n"
    "  -v, --version   Toont het versienummer.\n"
    "  --home MAP      Programmamap met de map bestanden (standaard de gebruikersmap).\n"
    "  --simulate      Gesimuleerde probe in plaats van een seriële poort.\n"
    "  --com1 PAD      Apparaat voor Com1 (standaard de instelling van het poortvenster, anders\n"
    "                  /dev/ttyS0).\n"
    "  --com2 PAD      Apparaat voor Com2 (standaard de instelling van het poortvenster, anders\n"
    "                  /dev/ttyS1).\n"
    "  --demo          Vult een lege programmamap (--home) met een kleine voorbeeldset: twee\n"
    "                  locaties met lezers en sleutelhouders.\n";

}  // namespace

CommandLine CommandLine::parse(const QStringList& arguments) {
    CommandLine result;
    result.helpText = QString::fromUtf8(kHelp).arg(QFileInfo(arguments.value(0, QStringLiteral("vondrel"))).fileName());
    const QHash<QString, QString*> valued{
        {QStringLiteral("--home"), &result.home},
        {QStringLiteral("--com1"), &result.com1Path},
        {QStringLiteral("--com2"), &result.com2Path},
    };
    const QHash<QString, bool*> flags{
        {QStringLiteral("-h"), &result.showHelp},         {QStringLiteral("--help"), &result.showHelp},
        {QStringLiteral("-v"), &result.showVersion},      {QStringLiteral("--version"), &result.showVersion},
        {QStringLiteral("--simulate"), &result.simulate}, {QStringLiteral("--demo"), &result.demo},
    };
    for (qsizetype i = 1; i < arguments.size(); ++i) {
        const QString& argument = arguments.at(i);
        const qsizetype equals = argument.indexOf(QLatin1Char('='));
        const QString name = argument.startsWith(QLatin1String("--")) && equals > 0 ? argument.left(equals) : argument;
        if (bool* flag = flags.value(name); flag && name == argument) {
            *flag = true;
        } else if (QString* target = valued.value(name)) {
            if (name != argument) {
                *target = argument.mid(equals + 1);
            } else if (i + 1 < arguments.size()) {
                *target = arguments.at(++i);
            } else {
                result.error = QStringLiteral("Bij %1 hoort een waarde.").arg(name);
                return result;
            }
        } else if (argument.startsWith(QLatin1Char('-'))) {
            result.error = QStringLiteral("Onbekende optie: %1").arg(argument);
            return result;
        } else {
            result.error = QStringLiteral("Onbekend argument: %1").arg(argument);
            return result;
        }
    }
    if (result.demo && result.home.isEmpty()) {
        // The per-user folder holds the real records: a demo set there could be taken for them.
        result.error = QStringLiteral("--demo kan alleen samen met --home MAP, een lege map voor de voorbeeldset.");
    }
    return result;
}

QString programFolder(const CommandLine& commandLine) {
    if (!commandLine.home.isEmpty()) {
        return QDir(commandLine.home).absolutePath();
    }
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
}
