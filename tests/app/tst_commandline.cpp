#include <QStandardPaths>
#include <QtTest>

#include "app/CommandLine.h"

class TestCommandLine : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void parses_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("home");
        QTest::addColumn<bool>("simulate");
        QTest::addColumn<QString>("com2");
        QTest::addColumn<bool>("demo");
        QTest::addColumn<QString>("failed");  // what the refusal says; empty when understood
        const auto row = [](const char* name, const QStringList& arguments, const QString& home, bool simulate,
                            const QString& com2, bool demo, const QString& failed = {}) {
            QTest::newRow(name) << QStringList{"vondrel"} + arguments << home << simulate << com2 << demo << failed;
        };
        row("nothing", {}, "", false, "", false);
        row("home", {"--home", "/tmp/x"}, "/tmp/x", false, "", false);
        row("home with =", {"--home=/tmp/y", "--simulate"}, "/tmp/y", true, "", false);
        row("com2", {"--com2", "/dev/pts/7"}, "", false, "/dev/pts/7", false);
        row("com2 with =", {"--com2=/dev/ttyUSB0"}, "", false, "/dev/ttyUSB0", false);
        row("demo in a folder", {"--demo", "--home", "/tmp/p"}, "/tmp/p", false, "", true);
        const QString demoAlone = "--demo kan alleen samen met --home";
        row("demo without a folder: never in the user's own", {"--demo"}, "", false, "", true, demoAlone);
        row("demo with an empty folder", {"--demo", "--home="}, "", false, "", true, demoAlone);
        row("home without folder", {"--home"}, "", false, "", false, "Bij --home hoort een waarde.");
        row("unknown option", {"--bogus"}, "", false, "", false, "Onbekende optie: --bogus");
        row("value for a flag", {"--simulate=1"}, "", false, "", false, "Onbekende optie: --simulate=1");
        row("stray argument", {"bestanden"}, "", false, "", false, "Onbekend argument: bestanden");
    }
    void parses() {
        QFETCH(QStringList, arguments);
        QFETCH(QString, home);
        QFETCH(bool, simulate);
        QFETCH(QString, com2);
        QFETCH(bool, demo);
        QFETCH(QString, failed);
        const CommandLine line = CommandLine::parse(arguments);
        QVERIFY2(failed.isEmpty() ? line.error.isEmpty() : line.error.startsWith(failed), qPrintable(line.error));
        if (!failed.isEmpty()) {
            return;
        }
        QCOMPARE(line.demo, demo);
        QCOMPARE(line.home, home);
        QCOMPARE(line.simulate, simulate);
        QCOMPARE(line.com2Path, com2);
    }

    // The help is Dutch from its first line to its last, and names every option the parser takes.
    void helpInDutch() {
        const CommandLine line = CommandLine::parse({"/usr/bin/vondrel", "--help"});
        QVERIFY(line.showHelp);
        QVERIFY2(line.helpText.startsWith("Gebruik: vondrel [opties]\n"), qPrintable(line.helpText));
        for (const char* english : {"Usage", "Options", "Displays", "help on commandline"}) {
            QVERIFY2(!line.helpText.contains(QLatin1String(english)), english);
        }
        // Each line of the help, and an option it names that the parser must know.
        const QList<QPair<QString, QStringList>> options{
            {"-h, --help", {"-h"}},
            {"-v, --version", {"--version"}},
            {"--home MAP", {"--home", "/tmp"}},
            {"--simulate", {"--simulate"}},
            {"--com1 PAD", {"--com1", "/dev/pts/1"}},
            {"--com2 PAD", {"--com2", "/dev/pts/2"}},
            {"--demo", {"--demo", "--home", "/tmp"}},
        };
        for (const auto& [text, arguments] : options) {
            QVERIFY2(line.helpText.contains("  " + text + " "), qPrintable(text));
            const CommandLine parsed = CommandLine::parse(QStringList{"vondrel"} + arguments);
            QVERIFY2(parsed.error.isEmpty(), qPrintable(text + ": " + parsed.error));
        }
    }

    void programFolderFallsBackToUserDataFolder() {
        QCoreApplication::setApplicationName("Vondrel");
        CommandLine line;
        QCOMPARE(programFolder(line), QStandardPaths::writableLocation(QStandardPaths::AppDataLocation));
        QVERIFY(programFolder(line).endsWith("/Vondrel"));
        line.home = "relative/home";
        QCOMPARE(programFolder(line), QDir::current().absoluteFilePath("relative/home"));
    }
};

QTEST_MAIN(TestCommandLine)
#include "tst_commandline.moc"
