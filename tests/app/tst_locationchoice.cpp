// Choosing a location through the real windows: the main window's Locaties opens the location list, a
// location's number is clicked, and the main window then lists that location's own readers, also after a
// restart.
#include <QLabel>
#include <QPushButton>

#include "records/LocationFile.h"
#include "records/ReaderFile.h"
#include "screens/ChangeLogWindow.h"
#include "screens/LocationWindow.h"
#include "screens/MessageBox.h"
#include "screens/ReaderGrid.h"
#include "screens/ReaderListModel.h"
#include "screens/RecordGrid.h"
#include "support/AppFixture.h"
#include "support/GridFixture.h"
#include "support/VerifyStatus.h"

using namespace GridDriver;
using Col = ReaderListModel::Column;

namespace {

void writeReaders(const QString& folder, const QStringList& names) {
    QDir().mkpath(folder);
    for (int i = 0; i < names.size(); ++i) {
        Reader r = Reader::defaultRecord(QDate(2024, 2, 1));
        r.setLezerNaam(names.at(i));
        VERIFY_OK(ReaderFile(folder).write(i + 1, r));
    }
}

void writeLocations(const QString& bestanden, const QList<QPair<QString, QString>>& nameAndMap) {
    QDir().mkpath(bestanden);
    LocationFile file(bestanden);
    for (int i = 0; i < nameAndMap.size(); ++i) {
        Location::Texts texts;
        texts[Location::Naam] = nameAndMap.at(i).first;
        texts[Location::Map] = nameAndMap.at(i).second;
        VERIFY_OK(file.saveRecord(i + 1, texts));
    }
}

QStringList readerNames(StartWindow& window) {
    const ReaderListModel* model = window.grid()->model();
    QStringList names;
    for (int row = 0; row + 1 < model->rowCount(); ++row) {
        names.append(model->cell(row, Col::ColName));
    }
    return names;
}

LocationWindow* openLocations(StartWindow& window) {
    QTest::mouseClick(window.findChild<QPushButton*>("locatiebtn"), Qt::LeftButton);
    // A window closed a moment ago may not be gone yet.
    for (LocationWindow* locations : window.findChildren<LocationWindow*>("Locatiefrm")) {
        if (locations->isVisible()) {
            return QTest::qWaitForWindowActive(locations) ? locations : nullptr;
        }
    }
    return nullptr;
}

QString status(StartWindow& window) {
    return window.findChild<QLabel*>("statuslbl")->text();
}

}  // namespace

class TestLocationChoice : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { MessageBox::setTestMode(true); }
    void cleanup() { QCOMPARE(MessageBox::takeShown().size(), 0); }

    void choosingSwitchesTheReaderList_data() {
        QTest::addColumn<QString>("typedName");  // a location typed into the new-entry row; else the second
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("folder");
        QTest::addColumn<QStringList>("readers");
        QTest::newRow("a location with readers of its own") << ""
                                                            << "Magazijn"
                                                            << "mag" << QStringList{"Poort A", "Poort B"};
        QTest::newRow("a new location: its own, empty list") << "Sporthal De Brug"
                                                             << "Sporthal De Brug"
                                                             << "Sporthal De" << QStringList{};
    }
    void choosingSwitchesTheReaderList() {
        QFETCH(QString, typedName);
        QFETCH(QString, name);
        QFETCH(QString, folder);
        QFETCH(QStringList, readers);
        AppFixture fx;
        writeReaders(fx.bestanden(), {"Hoofdingang"});
        writeLocations(fx.bestanden(), {{"Kantoor", "kantoor"}, {"Magazijn", "mag"}});
        writeReaders(QDir(fx.bestanden()).filePath("mag"), {"Poort A", "Poort B"});
        StartWindow& window = fx.start();
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        QCOMPARE(readerNames(window), QStringList{"Hoofdingang"});
        QVERIFY(window.findChild<QLabel*>("lblLocatie")->isHidden());
        QVERIFY2(status(window).contains("Geen locatie gekozen"), qPrintable(status(window)));

        LocationWindow* locations = openLocations(window);
        QVERIFY(locations);
        QCOMPARE(QApplication::activeModalWidget(), static_cast<QWidget*>(locations));
        RecordGrid* fg1 = locations->grid();
        int row = 1;
        if (!typedName.isEmpty()) {
            row = 2;
            auto* txtedit = locations->findChild<QLineEdit*>("txtedit");
            click(fg1, row, 1);
            QTest::keyClicks(fg1, typedName.left(1));
            type(txtedit, typedName.mid(1));
            QTest::keyClick(txtedit, Qt::Key_Return);
        }
        click(fg1, row, 0);

        QVERIFY(!locations->isVisible());
        QVERIFY(!QApplication::activeModalWidget());
        QCOMPARE(window.session().subdir, folder);
        const QString data = QDir(fx.bestanden()).filePath(folder);
        QVERIFY(QFileInfo(data).isDir());
        QCOMPARE(readerNames(window), readers);
        QCOMPARE(window.grid()->model()->cell(int(readers.size()), Col::ColNumber),
                 QString::number(readers.size() + 1));
        auto* label = window.findChild<QLabel*>("lblLocatie");
        QCOMPARE(label->text(), name);
        QVERIFY(label->isVisible());
        QVERIFY2(status(window).contains("Locatie: " + name), qPrintable(status(window)));
        const QString tip = window.findChild<QLabel*>("statuslbl")->toolTip();
        QVERIFY2(tip.contains(QDir::toNativeSeparators(data)), qPrintable(tip));

        // The main window works in the location's folder: a reader typed there lands in its file.
        doubleClick(window.grid(), int(readers.size()), Col::ColName);
        type(window.grid()->findChild<QLineEdit*>("txtedit"), "Nooduitgang");
        QTest::keyClick(window.grid()->findChild<QLineEdit*>("txtedit"), Qt::Key_Return);
        QCOMPARE(ReaderFile(data).read(int(readers.size()) + 1).value.lezerNaam().trimmed(), QString("Nooduitgang"));
        QCOMPARE(ReaderFile(fx.bestanden()).count().value, 1);

        // The location's own log tells both, newest first; the folder left holds none.
        QTest::mouseClick(window.findChild<QPushButton*>("logboekbtn"), Qt::LeftButton);
        ChangeLogWindow* logboek = nullptr;
        for (QWidget* w : QApplication::topLevelWidgets()) {
            if (w->objectName() == "logboekfrm" && w->isVisible()) {
                logboek = qobject_cast<ChangeLogWindow*>(w);
            }
        }
        QVERIFY(logboek);
        const QStringList lines = logboek->shownLines();
        QCOMPARE(lines.size(), 2);
        QVERIFY2(lines.at(0).endsWith(QString(" Lezer %1 \"Nooduitgang\" toegevoegd").arg(readers.size() + 1)),
                 qPrintable(lines.at(0)));
        QVERIFY2(lines.at(1).endsWith(QString(" Locatie \"%1\" gekozen (map %2)").arg(name, folder)),
                 qPrintable(lines.at(1)));
        QVERIFY(!QFile::exists(QDir(fx.bestanden()).filePath("logboek.txt")));

        window.close();
        fx.stop();
        StartWindow& again = fx.start();
        QCOMPARE(again.session().subdir, folder);
        QCOMPARE(readerNames(again), readers + QStringList{"Nooduitgang"});
        QCOMPARE(again.findChild<QLabel*>("lblLocatie")->text(), name);
    }

    void closingWithoutAChoiceChangesNothing() {
        AppFixture fx;
        writeLocations(fx.bestanden(), {{"Kantoor", "kantoor"}});
        SettingsStore(fx.ini()).save("startfrm", "subdir", "kantoor");
        writeReaders(QDir(fx.bestanden()).filePath("kantoor"), {"Balie"});
        StartWindow& window = fx.start();
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        QCOMPARE(window.findChild<QLabel*>("lblLocatie")->text(), QString("Kantoor"));

        QPointer<LocationWindow> locations = openLocations(window);
        QVERIFY(locations);
        locations->close();
        QVERIFY(!QApplication::activeModalWidget());
        QCOMPARE(window.session().subdir, QString("kantoor"));
        QCOMPARE(readerNames(window), QStringList{"Balie"});
        QCOMPARE(SettingsStore(fx.ini()).get("startfrm", "subdir", "?"), QString("kantoor"));
        // Opened again at once, before the closed one is gone: a window of its own.
        LocationWindow* again = openLocations(window);
        QVERIFY(again && again != locations);
        QVERIFY(again->isVisible());
    }
};

QTEST_MAIN(TestLocationChoice)
#include "tst_locationchoice.moc"
