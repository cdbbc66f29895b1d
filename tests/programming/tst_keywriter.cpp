#include "onewire/MemoryKey.h"
#include "probesim/VirtualIButtonMemory.h"
#include "programming/KeyWriter.h"
#include "support/OneWireDoubles.h"
#include "support/SimulatedProbeStack.h"

#include <QTest>

namespace {

using std::chrono::milliseconds;

const QString kDs1993 = QStringLiteral("ds1993:06A1B2C3D4E5F6");

// A DS1993 on the simulated probe, everything on one manual clock.
struct Rig {
    explicit Rig(const QByteArray& memory, double noise = 0, uint32_t seed = 1) {
        key = static_cast<VirtualIButtonMemory*>(sim.insertKey(kDs1993, memory));
        sim.probe.open(nullptr);
        sim.probe.setEchoNoise(noise, seed);
        sim.dowIo().selectBase();
    }
    qint64 elapsedMs() const { return std::chrono::duration_cast<milliseconds>(clock.now()).count(); }

    ManualClock clock;
    SimulatedProbeStack sim{clock};
    VirtualIButtonMemory* key = nullptr;
};

QString pageList(const QList<int>& pages) {
    QStringList texts;
    for (int page : pages) {
        texts << QString::number(page);
    }
    return texts.join(QLatin1Char(' '));
}

}  // namespace

class TestKeyWriter : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // Echo noise of 1 in 1,000 spoils most whole read-backs of a key that holds the image exactly; read
    // again, the key is judged good every time.
    void noisyProbeGoodKey_data() {
        QTest::addColumn<bool>("writeFirst");
        QTest::newRow("check of a key holding the image") << false;
        QTest::newRow("write, then check") << true;
    }

    void noisyProbeGoodKey() {
        QFETCH(bool, writeFirst);
        const QByteArray image = pattern(MemoryKey::kMemorySize, 21);
        int spoiltFirstReads = 0;
        for (uint32_t seed = 1; seed <= 5; ++seed) {
            Rig r(writeFirst ? QByteArray(MemoryKey::kMemorySize, '\0') : image, 0.001, seed);
            KeyWriter writer(r.sim.dowIo());
            const KeyWriter::Result result = writeFirst ? writer.write(image) : writer.check(image);
            QVERIFY2(result.checkOk(), qPrintable(result.failureText()));
            QCOMPARE(result.checkText(), QStringLiteral("Controle OK"));
            QCOMPARE(r.key->memory(), image);
            QVERIFY(result.pageRereads <= result.firstDiffering.size() * KeyWriter::kPageRereads);
            spoiltFirstReads += result.firstDiffering.isEmpty() ? 0 : 1;
        }
        QVERIFY2(spoiltFirstReads >= 4, qPrintable(QString::number(spoiltFirstReads)));
    }

    // A key that does not hold the image is never judged good, noise or not, and is read a bounded
    // number of times.
    void keyThatDiffers_data() {
        QTest::addColumn<double>("noise");
        QTest::addColumn<int>("address");
        QTest::addColumn<int>("extraOnes");  // ones the key holds beyond the image
        QTest::addColumn<int>("stuckLow");   // ones of the image the key cannot hold
        QTest::addColumn<int>("rereads");    // of the page, on a quiet line
        for (double noise : {0.0, 0.001}) {
            const QByteArray tag = noise > 0 ? " under noise" : "";
            // A 1 the image does not have is proof at once: noise never makes a 1.
            QTest::newRow("one 1 too many" + tag) << noise << 100 << 0x02 << 0 << 0;
            QTest::newRow("one 1 missing" + tag) << noise << 300 << 0 << 0x10 << KeyWriter::kPageRereads;
            QTest::newRow("last byte, all bits missing" + tag) << noise << 511 << 0 << 0xFF << KeyWriter::kPageRereads;
        }
    }

    void keyThatDiffers() {
        QFETCH(double, noise);
        QFETCH(int, address);
        QFETCH(int, extraOnes);
        QFETCH(int, stuckLow);
        QFETCH(int, rereads);
        QByteArray image = pattern(MemoryKey::kMemorySize, 3);
        image[address] = char((uint8_t(image[address]) & ~extraOnes) | stuckLow);
        QByteArray held = image;
        held[address] = char(uint8_t(image[address]) | extraOnes);
        for (uint32_t seed = 1; seed <= 3; ++seed) {
            Rig r(held, noise, seed);
            r.key->setStuckLowBits(address, uint8_t(stuckLow));
            const KeyWriter::Result result = KeyWriter(r.sim.dowIo()).check(image);
            QVERIFY(result.readBack);
            QVERIFY(!result.checkOk());
            QCOMPARE(pageList(result.differingPages), QString::number(address / MemoryKey::kPageSize + 1));
            QCOMPARE(result.checkText(), QStringLiteral("Controle mislukt"));
            if (noise == 0.0) {
                QCOMPARE(result.pageRereads, rereads);
            } else {
                QVERIFY(result.pageRereads <= result.firstDiffering.size() * KeyWriter::kPageRereads);
            }
        }
    }

    // Pages that still differ are written again in a bounded number of rounds: a page lost while the key
    // was off the probe comes right in the first, a worn cell never does.
    void rewriteRounds_data() {
        QTest::addColumn<QString>("fault");
        QTest::addColumn<int>("rounds");
        QTest::addColumn<bool>("ok");
        QTest::addColumn<QString>("rewritten");
        QTest::newRow("page 5 lost, no rewrites") << "lost" << 0 << false << "";
        QTest::newRow("page 5 lost, written again") << "lost" << KeyWriter::kRewriteRounds << true << "5";
        QTest::newRow("worn cell on page 9") << "worn" << KeyWriter::kRewriteRounds << false << "9 9";
        QTest::newRow("worn cell, no rewrites") << "worn" << 0 << false << "";
    }

    void rewriteRounds() {
        QFETCH(QString, fault);
        QFETCH(int, rounds);
        QFETCH(bool, ok);
        QFETCH(QString, rewritten);
        const QByteArray image = pattern(MemoryKey::kMemorySize, 8);
        Rig r(QByteArray(MemoryKey::kMemorySize, '\0'), 0.001);
        if (fault == QLatin1String("worn")) {
            r.key->setStuckLowBits(8 * MemoryKey::kPageSize + 3, 0xFF);
        }
        QStringList again;
        const KeyWriter::Result result =
            KeyWriter(r.sim.dowIo())
                .write(
                    image,
                    [&](const KeyWriter::PageReport& report) {
                        if (report.round > 0) {
                            again << QString::number(report.page);
                            QVERIFY(report.ok && report.copied);
                        }
                        if (fault == QLatin1String("lost") && report.page == 4 && report.round == 0) {
                            // Off the probe for longer than the write stage of page 5 tries.
                            std::unique_ptr<VirtualIButton> key = r.sim.probe.removeKey(r.key);
                            r.sim.probe.insertKeyAfterCharacters(std::move(key), r.sim.probe.charactersSent() + 14);
                        }
                    },
                    {}, rounds);
        QCOMPARE(again.join(QLatin1Char(' ')), rewritten);
        QCOMPARE(result.checkOk(), ok);
        QCOMPARE(result.pagesRewritten, int(again.size()));
        QCOMPARE(pageList(result.firstDiffering).split(QLatin1Char(' ')).contains(QStringLiteral("5")),
                 fault == QLatin1String("lost"));
        if (!ok) {
            QVERIFY(result.failureText().contains(QStringLiteral("Afwijkende pagina's: ")));
        }
        // Sixteen pages, a lost page's two stages of 1 s, the read-back and the rounds: a few seconds.
        QVERIFY2(r.elapsedMs() < 5000, qPrintable(QString::number(r.elapsedMs())));
    }
};

QTEST_GUILESS_MAIN(TestKeyWriter)
#include "tst_keywriter.moc"
