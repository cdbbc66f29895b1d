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
        QTest::newRow("nothing") << QStringList{"vondrel"} << "" << false << "" << false << "";
        QTest::newRow("home") << QStringList{"vondrel", "--home", "/tmp/x"} << "/tmp/x" << false << "" << false << "";
        QTest::newRow("home with =") << QStringList{"vondrel", "--home=/tmp/y", "--simulate"} << "/tmp/y" << true << ""
                                     << false << "";
        QTest::newRow("com2") << QStringList{"vondrel", "--com2", "/dev/pts/7"} << "" << false << "/dev/pts/7" << false
                              << "";
        QTest::newRow("com2 with =") << QStringList{"vondrel", "--com2=/dev/ttyUSB0"} << "" << false << "/dev/ttyUSB0"
                                     << false << "";
        QTest::newRow("demo in a folder")
            << QStringList{"vondrel", "--demo", "--home", "/tmp/p"} << "/tmp/p" << false << "" << true << "";
        QTest::newRow("demo without a folder: never in the user's own")
            << QStringList{"vondrel", "--demo"} << "" << false << "" << true << "--demo kan alleen samen met --home";
        QTest::newRow("demo with an empty folder") << QStringList{"vondrel", "--demo", "--home="} << "" << false << ""
                                                   << true << "--demo kan alleen samen met --home";
        QTest::newRow("home without folder")
            << QStringList{"vondrel", "--home"} << "" << false << "" << false << "Bij --home hoort een waarde.";
        QTest::newRow("unknown option") << QStringList{"vondrel", "--bogus"} << "" << false << "" << false
                                        << "Onbekende optie: --bogus";
        QTest::newRow("value for a flag")
            << QStringList{"vondrel", "--simulate=1"} << "" << false << "" << false << "Onbekende optie: --simulate=1";
        QTest::newRow("stray argument") << QStringList{"vondrel", "bestanden"} << "" << false << "" << false
                                        << "Onbekend argument: bestanden";
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
