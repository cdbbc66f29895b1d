// How a reader-grid row becomes its record: the numeric cells, the 16-bit refusals, the flag, and the
// mode byte with the texts it shows as.
#include <QTemporaryDir>
#include <QTest>

#include "screens/ReaderRow.h"
#include "support/RecordFixtures.h"

using namespace fixtures;

namespace {

const QDate kToday(2025, 6, 9);
const QByteArray kTodayText("09-06-25");
const QString kName = QString::fromUtf8("Poort é € 中 achterzijde");  // cut to 20

}  // namespace

class TestReaderRow : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void save_data() {
        QTest::addColumn<QStringList>("cells");  // number, key count, relay time, flag, code
        QTest::addColumn<int>("written");        // record written; 0 none, -1 refused with a message
        QTest::addColumn<int>("keyCount");
        QTest::addColumn<int>("relayTime");
        QTest::addColumn<char>("flag");
        QTest::newRow("plain") << QStringList{"2", "5", "7", "X", "ABC123"} << 2 << 5 << 7 << 'X';
        QTest::newRow("empty key count is 0") << QStringList{"1", "", "10", "X", "A"} << 1 << 0 << 10 << 'X';
        QTest::newRow("half away from zero") << QStringList{"1", "-2.5", "2.5", "", "A"} << 1 << -3 << 3 << ' ';
        QTest::newRow("text after relay time") << QStringList{"1", "3", "15 sec", "", "A"} << 1 << 3 << 15 << ' ';
        QTest::newRow("16-bit limits") << QStringList{"1", "-32768", "32767", "", "A"} << 1 << -32768 << 32767 << ' ';
        QTest::newRow("relay time 32768") << QStringList{"1", "3", "32768", "", "A"} << -1 << 0 << 0 << ' ';
        QTest::newRow("key count text") << QStringList{"1", "veel", "1", "", "A"} << -1 << 0 << 0 << ' ';
        QTest::newRow("key count 32768") << QStringList{"1", "32768", "1", "", "A"} << -1 << 0 << 0 << ' ';
        QTest::newRow("other flag blank") << QStringList{"1", "1", "1", "Y", "A"} << 1 << 1 << 1 << ' ';
        QTest::newRow("code cut to 6") << QStringList{"1", "1", "1", "", "ABCDEF12"} << 1 << 1 << 1 << ' ';
        QTest::newRow("number 0") << QStringList{"0", "1", "1", "", "A"} << 0 << 0 << 0 << ' ';
        QTest::newRow("number not numeric") << QStringList{"abc", "1", "1", "", "A"} << 0 << 0 << 0 << ' ';
        QTest::newRow("count + 1 appends") << QStringList{"3", "1", "1", "X", "A"} << 3 << 1 << 1 << 'X';
        QTest::newRow("count + 2 refused") << QStringList{"4", "1", "1", "X", "A"} << -1 << 0 << 0 << ' ';
        QTest::newRow("number beyond any file refused")
            << QStringList{"99999999999999999999", "1", "1", "X", "A"} << -1 << 0 << 0 << ' ';
    }

    void save() {
        QFETCH(QStringList, cells);
        QFETCH(int, written);
        QFETCH(int, keyCount);
        QFETCH(int, relayTime);
        QFETCH(char, flag);
        QTemporaryDir dir;
        const QString path = dir.filePath("autonoom.bst");
        QVERIFY(writeFile(path, records(128, 2)));
        const ReaderRow row{cells[3], cells[0], kName, cells[1], cells[4], "Extern Invers", "Houd", cells[2]};
        const Status saved = saveReaderRow(ReaderFile(dir.path()), row, kToday);
        QCOMPARE(saved.ok(), written >= 0);

        QByteArray expected = records(128, 2);
        if (written > 0) {
            const QByteArray rec = with(written <= 2 ? record(128, written) : Reader().bytes(),
                                        {{0, 6, cells[4].toLatin1()},
                                         {10, 1, oneByte(14)},  // 2 + 4 Houd + 8 Extern, inverted
                                         {12, 2, le16(relayTime)},
                                         {14, 8, kTodayText},
                                         {34, 20, "Poort \xE9 \x80 ? achterzi"},
                                         {58, 2, le16(keyCount)},
                                         {60, 1, QByteArray(1, flag)}});
            expected = expected.left((written - 1) * 128) + rec + expected.mid(written * 128);
        }
        QCOMPARE(readFile(path), expected);
    }

    // The modes the grid shows (0, 2, 10, 18, 30) and its choices make (10, 14, 18, 26) go through the
    // reader grid's own tests.
    void modeByte_data() {
        QTest::addColumn<int>("mode");
        QTest::addColumn<QStringList>("texts");  // LED, relay
        QTest::addColumn<bool>("written");       // whether the reader list stores this byte for these texts
        QTest::newRow("22 Houd") << 22 << QStringList{"Intern", "Houd"} << true;
        QTest::newRow("30 Houd") << 30 << QStringList{"Extern", "Houd"} << true;
        QTest::newRow("4 Houd") << 4 << QStringList{"Intern", "Houd"} << false;
    }

    void modeByte() {
        QFETCH(int, mode);
        QFETCH(QStringList, texts);
        QFETCH(bool, written);
        QCOMPARE(ledText(quint8(mode)), texts[0]);
        QCOMPARE(relayText(quint8(mode)), texts[1]);
        if (written) {
            QCOMPARE(int(::modeByte(texts[0], texts[1])), mode);
        }
    }
};

QTEST_GUILESS_MAIN(TestReaderRow)
#include "tst_readerrow.moc"
