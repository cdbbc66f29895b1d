// Where the details window's boxes land in the key-holder record.
#include <QTemporaryDir>
#include <QTest>

#include "records/KeyHolderFile.h"
#include "screens/KeyHolderDetails.h"
#include "support/RecordFixtures.h"
#include "support/VerifyStatus.h"

using namespace fixtures;

class TestFormFields : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // A record never written (zero bytes) shows empty boxes; ten zeros as the code show as no code.
    void detailsShown() {
        KeyHolder holder;
        KeyHolderDetails shown = KeyHolderDetails::from(holder);
        QVERIFY(shown.naam.isEmpty() && shown.adres.isEmpty() && shown.mobiel.isEmpty() && shown.sleutelcode.isEmpty());
        QVERIFY(!shown.geldig);
        QVERIFY(holder.setBytes(with(record(512, 1), {{0, 1, "1"}, {14, 30, " Piet"}, {157, 10, "0000000000"}})));
        shown = KeyHolderDetails::from(holder);
        QCOMPARE(shown.naam, QString("Piet"));
        QVERIFY(shown.sleutelcode.isEmpty() && shown.geldig);
    }

    // "O.K." replaces the six texts and geldig; the reader maps and every reserved byte stay.
    void detailsSave_data() {
        QTest::addColumn<bool>("geldig");
        QTest::newRow("ticked") << true;
        QTest::newRow("not ticked") << false;
    }

    void detailsSave() {
        QFETCH(bool, geldig);
        QTemporaryDir dir;
        const QString path = dir.filePath("asleutel.bst");
        QVERIFY(writeFile(path, records(512, 3)));
        const KeyHolderDetails details{"Piet", "Laan 2", "Ede", "0318-123456", "06-12345678", "0A1B2C3D4E", geldig};
        VERIFY_OK(KeyHolderFile(dir.path()).update(2, [&details](KeyHolder& k) { details.applyTo(k); }));
        QByteArray second = with(record(512, 2), {{14, 30, "Piet"},
                                                  {44, 30, "Laan 2"},
                                                  {81, 21, "Ede"},
                                                  {102, 15, "0318-123456"},
                                                  {132, 15, "06-12345678"},
                                                  {157, 10, "0A1B2C3D4E"}});
        second[0] = geldig ? '1' : '0';
        QCOMPARE(readFile(path), record(512, 1) + second + record(512, 3));
    }
};

QTEST_GUILESS_MAIN(TestFormFields)
#include "tst_formfields.moc"
