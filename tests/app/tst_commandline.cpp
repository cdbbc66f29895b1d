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
        QTest::addColumn<bool>("failed");
        QTest::newRow("nothing") << QStringList{"vondrel"} << "" << false << "" << false;
        QTest::newRow("home") << QStringList{"vondrel", "--home", "/tmp/x"} << "/tmp/x" << false << "" << false;
        QTest::newRow("home with =") << QStringList{"vondrel", "--home=/tmp/y", "--simulate"} << "/tmp/y" << true << ""
                                     << false;
        QTest::newRow("com2") << QStringList{"vondrel", "--com2", "/dev/pts/7"} << "" << false << "/dev/pts/7" << false;
        QTest::newRow("home without folder") << QStringList{"vondrel", "--home"} << "" << false << "" << true;
        QTest::newRow("unknown option") << QStringList{"vondrel", "--bogus"} << "" << false << "" << true;
        QTest::newRow("stray argument") << QStringList{"vondrel", "bestanden"} << "" << false << "" << true;
    }
    void parses() {
        QFETCH(QStringList, arguments);
        QFETCH(QString, home);
        QFETCH(bool, simulate);
        QFETCH(QString, com2);
        QFETCH(bool, failed);
        const CommandLine line = CommandLine::parse(arguments);
        QCOMPARE(!line.error.isEmpty(), failed);
        if (failed) {
            return;
        }
        QCOMPARE(line.home, home);
        QCOMPARE(line.simulate, simulate);
        QCOMPARE(line.com2Path, com2);
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
