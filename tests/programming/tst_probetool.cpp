#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include "programming/ProgrammingImage.h"
#include "records/KeyHolder.h"
#include "records/Reader.h"

namespace {

const QString kBin = QStringLiteral(VONDREL_BIN_DIR);

QByteArray imageText() {
    QByteArray text;
    for (int i = 0; i < 512; ++i) {
        text += QByteArray::number((i * 13 + 1) & 0xFF, 16).rightJustified(2, '0').toUpper();
    }
    return text;
}

struct Run {
    int exitCode = -1;
    QString out;
    QString err;
};

// The simulated probe on a pseudo-terminal, for as long as the object lives.
class Sim {
public:
    explicit Sim(const QStringList& keys) {
        QStringList args;
        for (const QString& key : keys) {
            args << QStringLiteral("--key") << key;
        }
        m_process.start(kBin + QStringLiteral("/vondrel-sim"), args);
        if (m_process.waitForStarted(5000) && m_process.waitForReadyRead(5000)) {
            m_path = QString::fromLocal8Bit(m_process.readLine()).trimmed();
        }
    }
    ~Sim() {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.write("quit\n");
            if (!m_process.waitForFinished(2000)) {
                m_process.kill();
                m_process.waitForFinished(2000);
            }
        }
    }
    const QString& path() const { return m_path; }
    void unplug() {
        m_process.kill();
        m_process.waitForFinished(2000);
    }

private:
    QProcess m_process;
    QString m_path;
};

Run probeTool(const QStringList& args) {
    QProcess process;
    process.start(kBin + QStringLiteral("/vondrel-probe"), args);
    Run run;
    if (!process.waitForFinished(20000)) {
        process.kill();
        process.waitForFinished();
        run.err = QStringLiteral("<timed out>");
        return run;
    }
    run.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    run.out = QString::fromUtf8(process.readAllStandardOutput());
    run.err = QString::fromUtf8(process.readAllStandardError());
    return run;
}

}  // namespace

class TestProbeTool : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void readsRom_data();
    void readsRom();
    void writesAndReadsBack();
    void refusesBeforeWriting_data();
    void refusesBeforeWriting();
    void reportsUnpluggedProbe();
    void buildsImages_data();
    void buildsImages();

private:
    QTemporaryDir m_dir;
    QString m_imagePath;
};

void TestProbeTool::initTestCase() {
    QVERIFY(QFile::exists(kBin + QStringLiteral("/vondrel-sim")));
    QVERIFY(QFile::exists(kBin + QStringLiteral("/vondrel-probe")));
    m_imagePath = m_dir.filePath(QStringLiteral("image.hex"));
    QFile file(m_imagePath);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(imageText());
}

void TestProbeTool::readsRom_data() {
    QTest::addColumn<QStringList>("keys");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("expected");
    QTest::newRow("DS1990A")
        << QStringList{"ds1990a:01A1B2C3D4E5F6"} << 0
        << "Familiecode: 01\nType: DS1990A\nSleutelcode: F6E5D4C3B2A1\nOpgeslagen code: A1B2C3D4E5\n";
    QTest::newRow("DS1994") << QStringList{"ds1994:04102030405060"} << 0
                            << "Familiecode: 04\nType: DS1994(klok)\nSleutelcode: 605040302010\nOpgeslagen code: "
                               "1020304050\n";
    QTest::newRow("no key") << QStringList{} << 1 << "";
}

void TestProbeTool::readsRom() {
    QFETCH(QStringList, keys);
    QFETCH(int, exitCode);
    QFETCH(QString, expected);
    Sim sim(keys);
    QVERIFY(!sim.path().isEmpty());
    const Run run = probeTool({"--device", sim.path(), "--timeout", "0.8", "read-rom"});
    QCOMPARE(run.exitCode, exitCode);
    QCOMPARE(run.out, expected);
    if (exitCode != 0) {
        QVERIFY2(run.err.contains(QStringLiteral("Geen sleutel gevonden")), qPrintable(run.err));
    }
}

void TestProbeTool::writesAndReadsBack() {
    Sim sim({"ds1993:06A1B2C3D4E5F6"});
    const Run write = probeTool({"--device", sim.path(), "write-image", m_imagePath});
    QCOMPARE(write.exitCode, 0);
    QCOMPARE(write.out.count(QStringLiteral(" geschreven\n")), 16);
    QVERIFY(write.out.endsWith(QStringLiteral("Pagina 16 van 16 geschreven\nControle OK\n")));

    const Run read = probeTool({"--device", sim.path(), "read-memory"});
    QCOMPARE(read.exitCode, 0);
    QByteArray memory;
    QVERIFY(ProgrammingImage::parse(imageText(), &memory, nullptr));
    QCOMPARE(read.out, ProgrammingImage::hexLines(memory));
    // The last byte is the CRC, not what the file said.
    QVERIFY(!read.out.endsWith(QString::fromLatin1(imageText().right(2)) + QLatin1Char('\n')));
}

void TestProbeTool::refusesBeforeWriting_data() {
    QTest::addColumn<QStringList>("keys");
    QTest::addColumn<QString>("command");
    QTest::addColumn<QByteArray>("image");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("message");
    QTest::newRow("DS1990A") << QStringList{"ds1990a:01A1B2C3D4E5F6"} << "write-image" << imageText() << 4
                             << "geen programmeersleutel";
    QTest::newRow("DS1990A memory") << QStringList{"ds1990a:01A1B2C3D4E5F6"} << "read-memory" << QByteArray() << 4
                                    << "geen programmeersleutel";
    QTest::newRow("short image") << QStringList{"ds1993:06A1B2C3D4E5F6"} << "write-image" << imageText().left(1022) << 2
                                 << "te kort";
    QTest::newRow("no key") << QStringList{} << "write-image" << imageText() << 1 << "Geen sleutel gevonden";
    QTest::newRow("bad port") << QStringList{} << "bad-port" << imageText() << 3 << "kan niet worden geopend";
}

void TestProbeTool::refusesBeforeWriting() {
    QFETCH(QStringList, keys);
    QFETCH(QString, command);
    QFETCH(QByteArray, image);
    QFETCH(int, exitCode);
    QFETCH(QString, message);
    Sim sim(keys);
    const QString path = m_dir.filePath(QStringLiteral("refused.hex"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(image);
    file.close();

    QStringList args{"--device", sim.path(), "--timeout", "0.5"};
    if (command == QLatin1String("bad-port")) {
        args[1] = m_dir.filePath(QStringLiteral("no-such-port"));
        command = QStringLiteral("read-rom");
    }
    args << command;
    if (command == QLatin1String("write-image")) {
        args << path;
    }
    const Run run = probeTool(args);
    QCOMPARE(run.exitCode, exitCode);
    QVERIFY2(run.err.contains(message), qPrintable(run.err));
    QVERIFY(!run.out.contains(QStringLiteral("geschreven")));
}

void TestProbeTool::reportsUnpluggedProbe() {
    Sim sim({"ds1993:06A1B2C3D4E5F6"});
    QProcess process;
    process.start(kBin + QStringLiteral("/vondrel-probe"), {"--device", sim.path(), "write-image", m_imagePath});
    QByteArray out;
    QVERIFY(QTest::qWaitFor(
        [&] {
            process.waitForReadyRead(50);
            out += process.readAllStandardOutput();
            return out.contains("Pagina 3 ") || process.state() == QProcess::NotRunning;
        },
        5000));
    sim.unplug();
    QVERIFY(process.waitForFinished(10000));
    out += process.readAllStandardOutput();
    const QString err = QString::fromUtf8(process.readAllStandardError());
    QCOMPARE(process.exitCode(), 3);
    QVERIFY2(err.contains(QStringLiteral("De probe geeft geen antwoord meer")), qPrintable(err));
    QVERIFY(err.contains(QStringLiteral("Pagina 16 van 16 niet geschreven")));
    QVERIFY(out.endsWith("Controle mislukt\n"));
}

void TestProbeTool::buildsImages_data() {
    QTest::addColumn<QString>("map");
    QTest::addColumn<int>("reader");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("message");
    QTest::newRow("location folder") << "noord" << 2 << 0 << "1 sleutels";
    QTest::newRow("bestanden itself") << "" << 1 << 0 << "0 sleutels";
    QTest::newRow("reader 129") << "noord" << 129 << 2 << "129";
    QTest::newRow("folder outside bestanden") << "../noord" << 1 << 2 << "";
}

void TestProbeTool::buildsImages() {
    QFETCH(QString, map);
    QFETCH(int, reader);
    QFETCH(int, exitCode);
    QFETCH(QString, message);
    QTemporaryDir home;
    const QString folder = home.filePath(QStringLiteral("bestanden/") + map);
    QVERIFY(QDir().mkpath(folder));
    QFile readers(folder + QStringLiteral("/autonoom.bst"));
    QVERIFY(readers.open(QIODevice::WriteOnly));
    readers.write(Reader::defaultRecord(QDate(2024, 5, 1)).bytes().repeated(2));
    readers.close();
    KeyHolder holder = KeyHolder::blank();
    holder.setGeldig(QStringLiteral("1"));
    holder.setSleutelcode(QStringLiteral("BEEF123456"));
    holder.setToegang(QByteArray(1, '\x02'));
    QFile keys(folder + QStringLiteral("/asleutel.bst"));
    QVERIFY(keys.open(QIODevice::WriteOnly));
    keys.write(holder.bytes());
    keys.close();

    QStringList args{"build-image", "--home", home.path(), "--reader", QString::number(reader)};
    if (!map.isEmpty()) {
        args << "--map" << map;
    }
    const Run run = probeTool(args);
    QCOMPARE(run.exitCode, exitCode);
    const QString hex = folder + QStringLiteral("/autonoom.hex");
    if (exitCode == 0) {
        QVERIFY2(run.out.contains(message), qPrintable(run.out));
        QFile image(hex);
        QVERIFY(image.open(QIODevice::ReadOnly));
        const QByteArray text = image.readAll();
        QCOMPARE(text.size(), 1024);
        QCOMPARE(text.mid(16, 4), reader == 2 ? QByteArray("BEEF") : QByteArray("    "));
    } else {
        QVERIFY2(run.err.contains(message), qPrintable(run.err));
        QVERIFY(!run.err.isEmpty());
        QVERIFY(!QFile::exists(hex));
    }
}

QTEST_GUILESS_MAIN(TestProbeTool)
#include "tst_probetool.moc"
