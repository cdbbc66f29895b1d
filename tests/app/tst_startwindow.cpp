#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSet>
#include <QSettings>
#include <QSignalSpy>
#include <QTableView>

#include "app/AboutDialog.h"
#include "records/ChangeLog.h"
#include "records/ReaderFile.h"
#include "screens/AccessGrid.h"
#include "screens/AccessWindow.h"
#include "screens/LocationWindow.h"
#include "screens/MessageBox.h"
#include "screens/Mnemonics.h"
#include "screens/ReaderGrid.h"
#include "screens/ReaderListModel.h"
#include "screens/Session.h"
#include "screens/SettingsStore.h"
#include "screens/WindowSettings.h"
#include "support/AppFixture.h"
#include "support/VerifyStatus.h"

using Col = ReaderListModel::Column;
using WindowSettings::headerTextPixels;
using WindowSettings::pixelsToTwips;
using WindowSettings::twipsToPixels;

namespace {

// What the probe window reports of a run for reader n; checks: the check's text of each key written.
ProbeWindow::Outcome outcome(bool written, int n, const LoadedRecord& built = {}, const QStringList& checks = {}) {
    ProbeWindow::Outcome o;
    o.opened = true;
    o.written = written;
    o.readerNumber = n;
    o.built = built;
    o.readerName = QStringLiteral("Lezer %1").arg(n);
    o.keyCount = 2;
    o.runs = checks;
    return o;
}

Reader reader(const QString& name, const QString& flag) {
    Reader r = Reader::defaultRecord(QDate(2024, 2, 1));
    r.setLezerNaam(name);
    r.setChangedFlag(flag);
    return r;
}

void writeReaders(const QString& folder, const QList<Reader>& readers) {
    QDir().mkpath(folder);
    QFile::remove(QDir(folder).filePath("autonoom.bst"));
    for (int i = 0; i < readers.size(); ++i) {
        VERIFY_OK(ReaderFile(folder).write(i + 1, readers.at(i)));
    }
}

void clickCell(QTableView* view, int row, int column) {
    const QModelIndex index = view->model()->index(row, column);
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, view->visualRect(index).center());
}

// Another window takes the focus, then the main window gets it back.
bool reactivate(QWidget* window) {
    QWidget other;
    other.show();
    other.activateWindow();
    if (!QTest::qWaitForWindowActive(&other)) {
        return false;
    }
    window->activateWindow();
    return QTest::qWaitForWindowActive(window);
}

}  // namespace

class TestStartWindow : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { MessageBox::setTestMode(true); }

    void firstStartInAnEmptyFolder() {
        AppFixture fx;
        StartWindow& window = fx.start();
        QCOMPARE(window.windowTitle(), QString("Vondrel Lezers"));
        QCOMPARE(QFileInfo(QDir(fx.bestanden()).filePath("autonoom.bst")).size(), qint64(Reader::kSize));
        QCOMPARE(QFileInfo(QDir(fx.bestanden()).filePath("asleutel.bst")).size(), qint64(512));
        QCOMPARE(QFileInfo(QDir(fx.bestanden()).filePath("autonoom.bst")).fileName(), QString("autonoom.bst"));

        const ReaderListModel* model = window.grid()->model();
        QCOMPARE(model->rowCount(), 2);
        QCOMPARE(model->cell(0, Col::ColName), QString("nieuwe lezer"));
        QCOMPARE(model->cell(0, Col::ColCode), QString("000000"));
        QCOMPARE(model->cell(0, Col::ColFlag), QString());
        QCOMPARE(model->cell(0, Col::ColLed), QString("Intern"));
        QCOMPARE(model->cell(0, Col::ColDate), datumText(QDate::currentDate()));
        QCOMPARE(model->cell(1, Col::ColNumber), QString("2"));

        // Geometry and column widths from the defaults.
        const int dpiX = window.logicalDpiX();
        const int dpiY = window.logicalDpiY();
        QCOMPARE(window.x(), twipsToPixels(200, dpiX));
        QCOMPARE(window.y(), twipsToPixels(1000, dpiY));
        QCOMPARE(window.width(), twipsToPixels(9000, dpiX));
        QCOMPARE(window.height(), twipsToPixels(3500, dpiY));
        const QHeaderView* header = window.grid()->view()->horizontalHeader();
        // A first start reads every header whole: "aantalsleutels" is wider than 900 twips.
        QVERIFY(headerTextPixels(header, Col::ColKeyCount) > twipsToPixels(900, dpiX));
        for (int c = 0; c <= 5; ++c) {
            const int atLeast = qMax(twipsToPixels(900, dpiX), headerTextPixels(header, c));
            // The name, the code and the LED text fit what the rows show as well.
            QCOMPARE(header->sectionSize(c),
                     c < Col::ColName
                         ? atLeast
                         : qMax(atLeast, static_cast<const QAbstractItemView*>(window.grid())->sizeHintForColumn(c)));
        }
        QVERIFY(header->sectionSize(Col::ColName) >=
                window.grid()->fontMetrics().horizontalAdvance(QStringLiteral("nieuwe lezer")));
        const int keyCountWidth = header->sectionSize(Col::ColKeyCount);

        // The port could not be opened; the program runs on and says so.
        QVERIFY(!fx.app->line().isOpen());
        const QString status = window.findChild<QLabel*>("statuslbl")->text();
        QVERIFY2(status.contains("niet verbonden"), qPrintable(status));
        // The folder is in the tool tip, whole; the line itself carries no path.
        QVERIFY2(!status.contains(QDir::toNativeSeparators(fx.home())), qPrintable(status));
        const QString tip = window.findChild<QLabel*>("statuslbl")->toolTip();
        QVERIFY2(tip.contains("Programmamap: " + QDir::toNativeSeparators(QDir::cleanPath(fx.home()))),
                 qPrintable(tip));
        QCOMPARE(MessageBox::takeShown().size(), 0);

        window.close();
        SettingsStore store(fx.ini());
        QCOMPARE(store.get("startfrm", "width", "?"), QString::number(pixelsToTwips(twipsToPixels(9000, dpiX), dpiX)));
        QCOMPARE(store.get("startfrm", "height", "?"), QString::number(pixelsToTwips(twipsToPixels(3500, dpiY), dpiY)));
        QCOMPARE(store.get("FG2", "colwidth(3)", "?"), QString::number(pixelsToTwips(keyCountWidth, dpiX)));
        QCOMPARE(store.get("startfrm", "subdir", "?"), QString());
        QCOMPARE(store.get("startfrm", "poort", "?"), QString("1"));
    }

    void aMisspelledFileIsRenamedNotReplaced() {
        AppFixture fx;
        writeReaders(fx.bestanden(), {reader("Bestaand", " "), reader("Tweede", " ")});
        QVERIFY(QFile::rename(QDir(fx.bestanden()).filePath("autonoom.bst"),
                              QDir(fx.bestanden()).filePath("AUTONOOM.BST")));
        StartWindow& window = fx.start();
        QVERIFY(QFile::exists(QDir(fx.bestanden()).filePath("autonoom.bst")));
        QVERIFY(!QFile::exists(QDir(fx.bestanden()).filePath("AUTONOOM.BST")));
        QCOMPARE(window.grid()->model()->cell(1, Col::ColName), QString("Tweede"));
    }

    void geometryAndFolderSurviveARestart() {
        AppFixture fx;
        {
            StartWindow& window = fx.start();
            window.show();
            QVERIFY(QTest::qWaitForWindowExposed(&window));
            window.move(37, 81);
            window.resize(700, 320);
            window.grid()->view()->horizontalHeader()->resizeSection(2, 150);
            window.grid()->view()->horizontalHeader()->resizeSection(0, 0);
            window.session().subdir = "kantoor";
            window.close();
            fx.stop();
        }
        StartWindow& window = fx.start();
        QCOMPARE(window.pos(), QPoint(37, 81));
        QCOMPARE(window.size(), QSize(700, 320));
        const QHeaderView* header = window.grid()->view()->horizontalHeader();
        QCOMPARE(header->sectionSize(2), 150);
        // Column 0 may be closed to nothing; it stays closed.
        QVERIFY(header->isSectionHidden(0));
        QCOMPARE(window.session().subdir, QString("kantoor"));
        const QString kantoor = QDir(fx.bestanden()).filePath("kantoor");
        QVERIFY(QFile::exists(QDir(kantoor).filePath("autonoom.bst")));
        QVERIFY(QFile::exists(QDir(kantoor).filePath("asleutel.bst")));
        QCOMPARE(MessageBox::takeShown().size(), 0);
    }

    void aFolderNameLeadingOutsideIsRefused_data() {
        QTest::addColumn<QString>("subdir");
        QTest::addColumn<bool>("link");  // bestanden/subdir is a link to the program folder's buiten
        QTest::newRow("name climbs out") << "../buiten" << false;
        QTest::newRow("folder is a link to outside") << "buiten" << true;
    }
    void aFolderNameLeadingOutsideIsRefused() {
        QFETCH(QString, subdir);
        QFETCH(bool, link);
        AppFixture fx;
        if (link) {
            QVERIFY(QDir().mkpath(QDir(fx.home()).filePath("buiten")));
            QVERIFY(QDir().mkpath(fx.bestanden()));
            QVERIFY(QFile::link("../buiten", QDir(fx.bestanden()).filePath("buiten")));
        }
        SettingsStore(fx.ini()).save("startfrm", "subdir", subdir);
        StartWindow& window = fx.start();
        QCOMPARE(MessageBox::takeShown().size(), 1);
        QVERIFY(window.session().subdir.isEmpty());
        if (link) {
            QCOMPARE(QDir(QDir(fx.home()).filePath("buiten")).entryList(QDir::Files), QStringList());
        } else {
            QVERIFY(!QFile::exists(QDir(fx.home()).filePath("buiten")));
        }
        QCOMPARE(window.grid()->model()->cell(0, Col::ColName), QString("nieuwe lezer"));
    }

    // A --home on a disk that is not mounted must not quietly become a new, empty data set.
    void aMissingProgramFolderIsNotMadeAnew() {
        AppFixture fx;
        CommandLine commandLine;
        commandLine.home = fx.dir.filePath("stick/vondrel");
        commandLine.com1Path = fx.com1;
        commandLine.com2Path = fx.com2;
        fx.app = std::make_unique<Application>(commandLine, fx.ini());
        const QList<MessageBox::Shown> shown = MessageBox::takeShown();
        QCOMPARE(shown.size(), 1);
        QVERIFY2(shown.first().text.contains("bestaat niet"), qPrintable(shown.first().text));
        QVERIFY(!QFile::exists(fx.dir.filePath("stick")));
        QVERIFY(fx.app->mainWindow().isEnabled());
    }

    void helpButton_data() {
        QTest::addColumn<int>("presses");
        QTest::addColumn<bool>("shown");
        QTest::addColumn<QString>("caption");
        QTest::newRow("once") << 1 << true << "X Help";
        QTest::newRow("twice") << 2 << false << "Help";
        QTest::newRow("three times") << 3 << true << "X Help";
    }
    void helpButton() {
        QFETCH(int, presses);
        QFETCH(bool, shown);
        QFETCH(QString, caption);
        AppFixture fx;
        StartWindow& window = fx.start();
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        auto* button = window.findChild<QPushButton*>("CmdHelp");
        auto* list = window.findChild<QListWidget*>("Helplst");
        QCOMPARE(button->text(), QString("Help"));
        for (int i = 0; i < presses; ++i) {
            QTest::mouseClick(button, Qt::LeftButton);
        }
        QCOMPARE(button->text(), caption);
        QCOMPARE(list->isVisible(), shown);
        QCOMPARE(list->count(), shown ? 15 : 0);
        if (!shown) {
            return;
        }
        const QString indent(18, ' ');
        QCOMPARE(list->item(0)->text(), QString(" In dit scherm kunt U een lezer toevoegen of verwijderen-"));
        QCOMPARE(list->item(1)->text(), QString(58, '_'));
        QCOMPARE(list->item(2)->text(), QString(" "));
        QCOMPARE(list->item(3)->text(), QString("Kolom 1 [Click] = Programmeersleutel voor deze lezer laden"));
        QVERIFY(list->item(4)->text().startsWith(indent + "Rood kruis"));
        QVERIFY(list->item(4)->text().endsWith("opnieuw geprogrammeerd"));
        QCOMPARE(list->item(12)->text(),
                 indent + "bij 'Puls' : eerste keer aanbieden sleutel = aan, tweede keer = uit");
        QCOMPARE(list->item(14)->text(), QString("Kolom 9 =Datum "));
        // The continuation lines start under the text after "Kolom 1 [Click] = ".
        QCOMPARE(list->item(3)->text().indexOf("Programmeer"), indent.size());
    }

    void aboutBox_data() {
        QTest::addColumn<int>("major");
        QTest::addColumn<int>("minor");
        QTest::addColumn<QString>("text");
        QTest::newRow("2.13: no leading zero, no space") << 2 << 13 << "Release 2.13";
        QTest::newRow("1.0") << 1 << 0 << "Release 1.0";
        QTest::newRow("10.5") << 10 << 5 << "Release 10.5";
    }
    void aboutBox() {
        QFETCH(int, major);
        QFETCH(int, minor);
        QFETCH(QString, text);
        QCOMPARE(AboutDialog::releaseText(major, minor), text);
        AboutDialog box(nullptr, major, minor);
        QCOMPARE(box.windowTitle(), QString("About"));
        QCOMPARE(box.findChild<QLabel*>("lblVersion")->text(), text);
        QCOMPARE(box.findChild<QLabel*>("lblDate")->text(), QString("Date: 1-06-2005"));
        QCOMPARE(box.findChild<QLabel*>("lblExtra")->text(), QString());
    }

    void versieOpensTheAboutBox() {
        AppFixture fx;
        StartWindow& window = fx.start();
        window.show();
        QTest::mouseClick(window.findChild<QPushButton*>("optiebtn"), Qt::LeftButton);
        auto* box = window.findChild<AboutDialog*>("aboutfrm");
        QVERIFY(box);
        QVERIFY(box->isVisible());
        QCOMPARE(box->findChild<QLabel*>("lblVersion")->text(),
                 AboutDialog::releaseText(VONDREL_VERSION_MAJOR, VONDREL_VERSION_MINOR));
    }

    void aWrittenKeyClearsItsMark_data() {
        QTest::addColumn<QString>("subdir");
        QTest::newRow("records in bestanden: no reload at activation") << "";
        QTest::newRow("a location's folder: reload at activation") << "kantoor";
    }
    void aWrittenKeyClearsItsMark() {
        QFETCH(QString, subdir);
        AppFixture fx;
        SettingsStore(fx.ini()).save("startfrm", "subdir", subdir);
        const QString folder = subdir.isEmpty() ? fx.bestanden() : QDir(fx.bestanden()).filePath(subdir);
        writeReaders(folder, {reader("Hoofdingang", "X"), reader("Magazijn", "X"), reader("Kantoor", "X")});
        StartWindow& window = fx.start();
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));

        // The probe window wrote reader 2's key; meanwhile another reader came into the file.
        VERIFY_OK(ReaderFile(folder).write(4, reader("Nieuw", "X")));
        window.keyProgrammed(outcome(true, 2));

        const ReaderListModel* model = window.grid()->model();
        QCOMPARE(model->cell(1, Col::ColFlag), QString());
        QCOMPARE(model->cell(0, Col::ColFlag), QString("X"));
        QCOMPARE(model->cell(2, Col::ColFlag), QString("X"));
        Result<Reader> onDisk = ReaderFile(folder).read(2);
        VERIFY_OK(onDisk);
        QVERIFY(!onDisk.value.isChanged());
        QCOMPARE(onDisk.value.lezerNaam().trimmed(), QString("Magazijn"));
        onDisk = ReaderFile(folder).read(1);
        VERIFY_OK(onDisk);
        QVERIFY(onDisk.value.isChanged());
        QCOMPARE(model->rowCount(), 5);

        // A run that did not end in a written key leaves every mark; the keys that were written are
        // logged all the same, with their check.
        window.keyProgrammed(outcome(false, 1, {}, {"Controle mislukt", "Controle mislukt"}));
        QCOMPARE(model->cell(0, Col::ColFlag), QString("X"));
        const Result<QStringList> logged = ChangeLog(folder).newestFirst();
        VERIFY_OK(logged);
        QCOMPARE(logged.value.size(), 2);
        for (const QString& line : logged.value) {
            QVERIFY2(line.endsWith(" Programmeersleutel geschreven voor lezer 1 \"Lezer 1\" met 2 sleutels: "
                                   "Controle mislukt"),
                     qPrintable(line));
        }

        // Activation reads the list again only in a location's folder.
        VERIFY_OK(ReaderFile(folder).write(5, reader("Later", "X")));
        QVERIFY(reactivate(&window));
        QCOMPARE(model->rowCount(), subdir.isEmpty() ? 5 : 6);
        QCOMPARE(MessageBox::takeShown().size(), 0);
    }

    // The mark goes only while the reader on disk is as the key's image left it: changed since by
    // another program, the key may not hold what the reader should get.
    void aKeyForAReaderChangedMeanwhileKeepsItsMark() {
        AppFixture fx;
        writeReaders(fx.bestanden(), {reader("Hoofdingang", "X"), reader("Magazijn", "X")});
        StartWindow& window = fx.start();
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        const ReaderFile file(fx.bestanden());
        const ReaderListModel* model = window.grid()->model();

        Reader built = file.read(2).value;
        VERIFY_OK(file.update(2, [](Reader& r) { r.setLezerNaam("Elders"); }));
        window.keyProgrammed(outcome(true, 2, built));
        const QList<MessageBox::Shown> shown = MessageBox::takeShown();
        QCOMPARE(shown.size(), 1);
        QVERIFY2(shown.at(0).text.contains("is intussen door een ander gewijzigd"), qPrintable(shown.at(0).text));
        QVERIFY(file.read(2).value.isChanged());
        QCOMPARE(model->cell(1, Col::ColFlag), QString("X"));
        QCOMPARE(model->cell(1, Col::ColName), QString("Elders"));

        built = file.read(2).value;
        window.keyProgrammed(outcome(true, 2, built));
        QCOMPARE(MessageBox::takeShown().size(), 0);
        QVERIFY(!file.read(2).value.isChanged());
        QCOMPARE(model->cell(1, Col::ColFlag), QString());
        QVERIFY(file.read(1).value.isChanged());
    }

    // Every button is reached with Alt and a letter of its caption; the captions stay as they were.
    void everyButtonHasAnAltLetter_data() {
        QTest::addColumn<QString>("window");
        QTest::addColumn<QStringList>("captions");
        QTest::newRow("startfrm") << "startfrm"
                                  << QStringList{"Locaties", "Sleutelhouders", "Overzicht", "Verwijderen", "Logboek",
                                                 "Versie",   "Help",           "Einde",     "Poort...",    "Probe..."};
        QTest::newRow("sleutelfrm") << "sleutelfrm" << QStringList{" Zoeken", "Help", "Nieuw", "Overzicht", "Sluiten"};
        QTest::newRow("Locatiefrm") << "Locatiefrm" << QStringList{"Wissen"};
    }
    void everyButtonHasAnAltLetter() {
        QFETCH(QString, window);
        QFETCH(QStringList, captions);
        AppFixture fx;
        StartWindow& start = fx.start();
        start.show();
        QVERIFY(QTest::qWaitForWindowExposed(&start));
        QWidget* shown = &start;
        if (window == "sleutelfrm") {
            QTest::mouseClick(start.findChild<QPushButton*>("persoonbtn"), Qt::LeftButton);
            for (QWidget* w : QApplication::topLevelWidgets()) {
                if (w->objectName() == window && w->isVisible()) {
                    shown = w;
                }
            }
        } else if (window == "Locatiefrm") {
            shown = start.openLocations();
        }
        QCOMPARE(shown->objectName(), window);
        QStringList found;
        QSet<QKeySequence> keys;
        for (QPushButton* button : shown->findChildren<QPushButton*>()) {
            found.append(button->text());
            const QKeySequence key = Mnemonics::of(button);
            QVERIFY2(!key.isEmpty(), qPrintable(button->text()));
            QCOMPARE(key[0].keyboardModifiers(), Qt::AltModifier);
            QVERIFY2(button->text().toUpper().contains(QChar(key[0].key())), qPrintable(button->text()));
            QVERIFY2(button->toolTip().contains(key.toString(QKeySequence::NativeText)), qPrintable(button->toolTip()));
            keys.insert(key);
        }
        found.sort();
        captions.sort();
        QCOMPARE(found, captions);
        QCOMPARE(keys.size(), captions.size());
    }

    void altLetterPressesTheButton() {
        AppFixture fx;
        StartWindow& window = fx.start();
        window.show();
        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        auto* help = window.findChild<QPushButton*>("CmdHelp");
        QCOMPARE(Mnemonics::of(help), QKeySequence(Qt::ALT | Qt::Key_H));
        QTest::keyClick(window.grid(), Qt::Key_H, Qt::AltModifier);
        QCOMPARE(help->text(), QString("X Help"));
        // The letter stays with the button whatever its caption says now.
        QTest::keyClick(window.grid(), Qt::Key_H, Qt::AltModifier);
        QCOMPARE(help->text(), QString("Help"));
        // A hidden button is not pressed by its letter.
        auto* probe = window.findChild<QPushButton*>("simprobebtn");
        QVERIFY(probe->isHidden());
        QSignalSpy pressed(probe, &QPushButton::clicked);
        QTest::keyClick(window.grid(), Mnemonics::of(probe)[0].key(), Qt::AltModifier);
        QCOMPARE(pressed.size(), 0);
    }

    void accessWindowMarksTheReaders_data() {
        QTest::addColumn<bool>("fromReaderList");  // else the "Sleutelhouders" button
        QTest::newRow("the reader number in the list") << true;
        QTest::newRow("Sleutelhouders") << false;
    }
    void accessWindowMarksTheReaders() {
        QFETCH(bool, fromReaderList);
        AppFixture fx;
        writeReaders(fx.bestanden(), {reader("Hoofdingang", " "), reader("Magazijn", " ")});
        StartWindow& window = fx.start();
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        if (fromReaderList) {
            clickCell(window.grid()->view(), 1, Col::ColNumber);
        } else {
            QTest::mouseClick(window.findChild<QPushButton*>("persoonbtn"), Qt::LeftButton);
        }
        QVERIFY(!window.isVisible());
        AccessWindow* access = nullptr;
        for (QWidget* w : QApplication::topLevelWidgets()) {
            if (w->objectName() == "sleutelfrm" && w->isVisible()) {
                access = qobject_cast<AccessWindow*>(w);
            }
        }
        QVERIFY(access);
        QCOMPARE(access->windowTitle(), QString("sleutelhouders"));
        QLineEdit* locatietxt = access->grid()->locatietxt();
        QCOMPARE(locatietxt->isVisible(), fromReaderList);
        if (fromReaderList) {
            QCOMPARE(locatietxt->text(), QString("Magazijn"));
        }

        // The one key holder of the new file gets the second reader; that reader alone gets its cross.
        clickCell(access->grid(), 0, AccessGridModel::kFirstReaderColumn + 1);
        QCOMPARE(access->grid()->model()->colour(0, 1), AccessGridModel::Colour::Green);
        access->close();
        QVERIFY(window.isVisible());
        QCOMPARE(window.grid()->model()->cell(0, Col::ColFlag), QString());
        QCOMPARE(window.grid()->model()->cell(1, Col::ColFlag), QString("X"));
        QCOMPARE(MessageBox::takeShown().size(), 0);
    }
};

QTEST_MAIN(TestStartWindow)
#include "tst_startwindow.moc"
