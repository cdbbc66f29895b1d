// Where the location grid's columns and the details window's boxes land in their records.
#include <QTemporaryDir>
#include <QTest>

#include "records/KeyHolderFile.h"
#include "screens/KeyHolderDetails.h"
#include "screens/LocationColumns.h"
#include "support/RecordFixtures.h"
#include "support/VerifyStatus.h"

using namespace fixtures;

namespace {

// Offset and width of the field that location grid column 1..9 shows, from the file layout.
const QPair<int, int> kPlaces[] = {{0, 0},   {12, 30},  {72, 30},  {102, 30}, {132, 15},
                                   {42, 30}, {162, 15}, {147, 15}, {177, 50}, {227, 12}};

}  // namespace

class TestFormFields : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // The grid's order differs from the file's: the contact person is the sixth column, the fax comes
    // after the mobile number.
    void locationColumns_data() {
        QTest::addColumn<int>("column");
        for (int column = 0; column <= Location::kFieldCount + 1; ++column) {
            QTest::addRow("column %d", column) << column;
        }
    }

    void locationColumns() {
        QFETCH(int, column);
        const int field = LocationColumns::fieldForGridColumn(column);
        QCOMPARE(field >= 0, column >= 1 && column <= Location::kFieldCount);
        if (field < 0) {
            return;
        }
        QCOMPARE(LocationColumns::gridColumn(Location::Field(field)), column);

        // Only the column's own field takes its text, cut to the field's width; the others are blanked.
        const QByteArray text("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz");
        QStringList columns(Location::kFieldCount);
        columns[column - 1] = QString::fromLatin1(text);
        Location location;
        location.setTexts(LocationColumns::fieldTexts(columns));
        QList<Field> expected;
        for (int c = 1; c <= Location::kFieldCount; ++c) {
            const auto [offset, width] = kPlaces[c];
            expected.append({offset, width, c == column ? text : QByteArray()});
        }
        QCOMPARE(location.bytes(), with(QByteArray(986, '\0'), expected));
        QCOMPARE(LocationColumns::gridTexts(location).at(column - 1),
                 QString::fromLatin1(text.left(kPlaces[column].second)));
    }

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
