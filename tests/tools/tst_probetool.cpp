#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include "records/KeyHolder.h"
#include "records/Reader.h"
#include "support/RecordFixtures.h"

using fixtures::readFile;
using fixtures::writeFile;

namespace {

const QString kBin = QStringLiteral(VONDREL_BIN_DIR);
const QString kDs1990a = QStringLiteral("ds1990a:01A1B2C3D4E5F6");
const QString kDs1993 = QStringLiteral("ds1993:06A1B2C3D4E5F6");

QByteArray imageText() {
    QByteArray text;
    for (int i = 0; i < 512; ++i) {
        text += QByteArray::number((i * 13 + 1) & 0xFF, 16).rightJustified(2, '0').toUpper();
    }
    return text;
}

// vondrel-probe run to its end; with wait false only started, and finish() follows.
struct Tool : QProcess {
    explicit Tool(const QStringList& args, bool wait = true) {
        start(kBin + QStringLiteral("/vondrel-probe"), args);
        if (wait) {
            finish();
        }
    }
    void finish() {
        if (!waitForFinished(20000)) {
            kill();
            waitForFinished();
        }
        code = exitStatus() == NormalExit ? exitCode() : -1;
        out = QString::fromUtf8(readAllStandardOutput());
        err = QString::fromUtf8(readAllStandardError());
    }
    int code = -1;
    QString out;
    QString err;
};

// vondrel-sim on a pseudo-terminal, for as long as the object lives.
struct Sim : QProcess {
    explicit Sim(const QString& key) {
        start(kBin + QStringLiteral("/vondrel-sim"), key.isEmpty() ? QStringList{} : QStringList{"--key", key});
        if (waitForReadyRead(5000)) {
            path = QString::fromLocal8Bit(readLine()).trimmed();
        }
    }
    ~Sim() override {
        write("quit\n");
        waitForFinished(2000);
    }
    QString path;
};

}  // namespace

class TestProbeTool : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;
    QString file(const char* name) const { return m_dir.filePath(QLatin1String(name)); }

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(writeFile(file("image.hex"), imageText()));
        QVERIFY(writeFile(file("short.hex"), imageText().left(1022)));
    }

    void runsOnAKey_data() {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("out");
        QTest::addColumn<QString>("err");
        auto row = [](const char* name, const QString& key, const QStringList& args, int exitCode, const char* err,
                      const char* out = "") { QTest::newRow(name) << key << args << exitCode << out << err; };
        row("read-rom", kDs1990a, {"read-rom"}, 0, "",
            "Familiecode: 01\nType: DS1990A\nSleutelcode: F6E5D4C3B2A1\nOpgeslagen code: A1B2C3D4E5\n");
        row("read-rom, no key", "", {"read-rom"}, 1, "Geen sleutel gevonden");
        row("DS1990A not written", kDs1990a, {"write-image", file("image.hex")}, 4, "geen programmeersleutel");
        row("DS1990A not read", kDs1990a, {"read-memory"}, 4, "geen programmeersleutel");
        row("short image", kDs1993, {"write-image", file("short.hex")}, 2, "te kort");
        // The last --device counts.
        row("port that cannot be opened", "", {"--device", file("no-port"), "read-rom"}, 3, "kan niet worden geopend");
    }

    void runsOnAKey() {
        QFETCH(QString, key);
        QFETCH(QStringList, args);
        QFETCH(int, exitCode);
        QFETCH(QString, out);
        QFETCH(QString, err);
        Sim sim(key);
        QVERIFY(!sim.path.isEmpty());
        Tool result(QStringList{"--device", sim.path, "--timeout", "0.5"} + args);
        QCOMPARE(result.code, exitCode);
        QCOMPARE(result.out, out);
        QVERIFY2(result.err.contains(err), qPrintable(result.err));
    }

    void writesReadsBackAndLosesTheProbe() {
        Sim sim(kDs1993);
        Tool write({"--device", sim.path, "write-image", file("image.hex")});
        QCOMPARE(write.code, 0);
        QCOMPARE(write.out.count(QStringLiteral(" geschreven\n")), 16);
        QVERIFY(write.out.endsWith(QStringLiteral("Pagina 16 van 16 geschreven\nControle OK\n")));

        // The image as 16 lines of 64 digits, but the last byte is the CRC, not what the file said.
        Tool read({"--device", sim.path, "read-memory"});
        QCOMPARE(read.code, 0);
        QString expected;
        for (int line = 0; line < 16; ++line) {
            expected += QString::fromLatin1(imageText().mid(64 * line, 64)) + QLatin1Char('\n');
        }
        QCOMPARE(read.out.chopped(3), expected.chopped(3));
        QVERIFY(read.out.right(3) != expected.right(3));

        // The probe pulled out after page 3: one message for the cause, not one per page.
        Tool lost({"--device", sim.path, "write-image", file("image.hex")}, false);
        auto pastPage3 = [&] {
            lost.waitForReadyRead(50);
            return lost.peek(4096).contains("Pagina 3 ");
        };
        QVERIFY(QTest::qWaitFor(pastPage3, 5000));
        sim.kill();
        lost.finish();
        QCOMPARE(lost.code, 3);
        QCOMPARE(lost.err.count(QStringLiteral("De probe geeft geen antwoord meer")), 1);
        QVERIFY(lost.err.contains(QStringLiteral("Pagina 16 van 16 niet geschreven\n")));
        QVERIFY(lost.out.endsWith(QStringLiteral("Controle mislukt\n")));
    }

    void buildsImage_data() {
        QTest::addColumn<QString>("map");
        QTest::addColumn<int>("reader");
        QTest::addColumn<int>("holders");  // copies of the one key holder
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QStringList>("says");  // on stdout when built, on stderr when refused
        QTest::addColumn<int>("stored");        // the key count in bytes 58..59 of reader 2
        QTest::newRow("reader 2") << "noord" << 2 << 1 << 0 << QStringList{"1 sleutels"} << 1;
        // More keys than the 16-bit field holds: it gets its largest number, and the tool says so.
        QTest::newRow("more keys than the field holds")
            << "noord" << 2 << 16400 << 0 << QStringList{"lezer 2: 32767 sleutels", "32800"} << 32767;
        QTest::newRow("reader 129") << "noord" << 129 << 1 << 2 << QStringList{"129"} << 0;
        QTest::newRow("reader beyond the file") << "noord" << 3 << 1 << 2 << QStringList{"bestaat niet"} << 0;
        QTest::newRow("folder outside bestanden") << "../noord" << 2 << 1 << 2 << QStringList{} << 0;
        QTest::newRow("no key-holder file") << "" << 2 << 1 << 2 << QStringList{"asleutel.bst"} << 0;
    }

    // Reader 2 of two in bestanden and in bestanden/noord; key holders, for reader 2, only in noord.
    void buildsImage() {
        QFETCH(QString, map);
        QFETCH(int, reader);
        QFETCH(int, holders);
        QFETCH(int, exitCode);
        QFETCH(QStringList, says);
        QFETCH(int, stored);
        QTemporaryDir home;
        const QString folder = home.filePath(QStringLiteral("bestanden/noord"));
        QVERIFY(QDir().mkpath(folder));
        KeyHolder holder = KeyHolder::blank();
        holder.setGeldig(QStringLiteral("1"));
        holder.setSleutelcode(QStringLiteral("BEEF123456"));
        holder.setToegang(QByteArray(1, '\x02'));
        holder.setWijziging(QByteArray(1, holders > 1 ? '\x02' : '\0'));
        QVERIFY(writeFile(folder + QStringLiteral("/asleutel.bst"), holder.bytes().repeated(holders)));
        const QByteArray readers = Reader::defaultRecord({2024, 5, 1}).bytes().repeated(2);
        for (const QString& dir : {folder, home.filePath(QStringLiteral("bestanden"))}) {
            QVERIFY(writeFile(dir + QStringLiteral("/autonoom.bst"), readers));
            QVERIFY(writeFile(dir + QStringLiteral("/autonoom.hex"), QByteArray(2048, 'Z')));
        }

        Tool tool({"build-image", "--home", home.path(), "--map", map, "--reader", QString::number(reader)});
        QCOMPARE(tool.code, exitCode);
        const bool built = exitCode == 0;
        for (const QString& part : says) {
            QVERIFY2((built ? tool.out : tool.err).contains(part), qPrintable(tool.out + tool.err));
        }
        // Built: the image replaces the old file whole and the key count goes into reader 2.
        QCOMPARE(readFile(folder + QStringLiteral("/autonoom.bst")),
                 readers.left(186) + fixtures::le16(stored) + readers.mid(188));
        const QByteArray image = readFile(folder + QStringLiteral("/autonoom.hex"));
        QCOMPARE(image.size(), built ? 1024 : 2048);
        QCOMPARE(image.mid(16, 4), built ? QByteArray("BEEF") : QByteArray("ZZZZ"));
    }
};

QTEST_GUILESS_MAIN(TestProbeTool)
#include "tst_probetool.moc"
