// The demo set a try-out starts with: made only in an empty folder given with --home, and a working
// data set once made: the reader list shows its first location, every location can be chosen, and every
// reader's programming key can be built.
#include <QDir>

#include "app/DemoData.h"
#include "programming/ImageBuilder.h"
#include "records/DataFolder.h"
#include "records/KeyHolderFile.h"
#include "records/LocationFile.h"
#include "records/ReaderFile.h"
#include "screens/MessageBox.h"
#include "screens/ReaderGrid.h"
#include "screens/ReaderListModel.h"
#include "screens/Session.h"
#include "support/AppFixture.h"
#include "support/RecordFixtures.h"
#include "support/VerifyStatus.h"

using Col = ReaderListModel::Column;

namespace {

const QDate kToday(2025, 6, 2);

QStringList column(const ReaderListModel* model, int column) {
    QStringList texts;
    for (int row = 0; row + 1 < model->rowCount(); ++row) {
        texts << model->cell(row, column);
    }
    return texts;
}

// Every file below folder with its content, to see that a refusal changed nothing.
QMap<QString, QByteArray> snapshot(const QString& folder) {
    QMap<QString, QByteArray> files;
    const QDir root(folder);
    for (const QString& path : QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden)) {
        files.insert(path, fixtures::readFile(root.filePath(path)));
    }
    return files;
}

}  // namespace

class TestDemo : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { MessageBox::setTestMode(true); }

    void demoSetWorks() {
        AppFixture fx;
        QVERIFY(QDir().mkpath(fx.home()));
        VERIFY_OK(DemoData::create(fx.home(), kToday));
        fx.demo = true;
        StartWindow& window = fx.start();
        QCOMPARE(MessageBox::takeShown().size(), 0);

        // The first location's readers, two of them waiting for a new programming key.
        const ReaderListModel* model = window.grid()->model();
        QCOMPARE(fx.app->session().subdir, DemoData::firstMap());
        QCOMPARE(column(model, Col::ColName),
                 (QStringList{"Hoofdingang", "Kantoor 1e etage", "Fietsenstalling", "Serverruimte"}));
        QCOMPARE(column(model, Col::ColFlag), (QStringList{"X", "X", "", ""}));

        LocationFile locations(fx.bestanden());
        const Result<QList<Location>> all = locations.readAll();
        VERIFY_OK(all);
        QCOMPARE(all.value.size(), 2);
        int withdrawn = 0;
        for (const Location& location : all.value) {
            const QString map = location.text(Location::Map).trimmed();
            fx.app->session().subdir = map;
            QVERIFY(window.grid()->fg2_laden());
            QVERIFY2(model->rowCount() > 2, qPrintable(map));
            const QString folder = fx.app->session().dataFolder();
            for (int n = 1; n < model->rowCount(); ++n) {
                const SleutelLadenResult built = Sleutel_Laden(folder, n);
                QVERIFY2(built.ok, qPrintable(built.error));
                QVERIFY2(built.keyCount > 0, qPrintable(built.readerName));
            }
            const Result<QList<KeyHolder>> holders = KeyHolderFile(folder).readAll();
            VERIFY_OK(holders);
            for (const KeyHolder& holder : holders.value) {
                withdrawn += holder.wijziging().count('\0') < KeyHolder::kMapBytes ? 1 : 0;
            }
        }
        QCOMPARE(withdrawn, 1);
        window.close();
    }

    void onlyInAnEmptyFolder_data() {
        QTest::addColumn<bool>("exists");
        QTest::addColumn<bool>("withRecords");
        QTest::newRow("folder with records") << true << true;
        QTest::newRow("folder that is not there") << false << false;
    }
    void onlyInAnEmptyFolder() {
        QFETCH(bool, exists);
        QFETCH(bool, withRecords);
        AppFixture fx;
        if (exists) {
            QVERIFY(QDir().mkpath(fx.home()));
        }
        if (withRecords) {
            VERIFY_OK(prepareDataFolder(fx.home(), QString(), kToday));
        }
        const QMap<QString, QByteArray> before = snapshot(fx.bestanden());
        const Status made = DemoData::create(fx.home(), kToday);
        QVERIFY(!made.ok());
        QVERIFY2(made.error.contains(QDir::toNativeSeparators(fx.home())), qPrintable(made.error));
        QCOMPARE(QFileInfo::exists(fx.home()), exists);
        QCOMPARE(snapshot(fx.bestanden()), before);
    }

    void withoutTheOptionNothingIsMade() {
        AppFixture fx;
        StartWindow& window = fx.start();
        QVERIFY(!QFileInfo::exists(QDir(fx.bestanden()).filePath("locatie.bst")));
        QCOMPARE(QDir(fx.bestanden()).entryList(QDir::Dirs | QDir::NoDotAndDotDot), QStringList());
        QCOMPARE(column(window.grid()->model(), Col::ColName), QStringList{"nieuwe lezer"});
        window.close();
    }
};

QTEST_MAIN(TestDemo)
#include "tst_demo.moc"
