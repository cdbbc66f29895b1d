#include <QAbstractItemModelTester>
#include <QHeaderView>
#include <QPushButton>

#include "screens/LocationListModel.h"
#include "screens/LocationWindow.h"
#include "screens/MessageBox.h"
#include "screens/RecordGrid.h"
#include "screens/WindowSettings.h"
#include "support/GridFixture.h"
#include "support/ReadOnlyOps.h"
#include "support/RecordFixtures.h"

using namespace GridDriver;
using WindowSettings::headerTextPixels;
using WindowSettings::pixelsToTwips;
using WindowSettings::twipsToPixels;

namespace {

constexpr int kSize = 986;
// Offset and width of the nine texts in file order: name, contact person, address, town, telephone,
// fax, mobile, internet, folder; and the grid column that shows each.
constexpr int kPlaces[9][2] = {{12, 30},  {42, 30},  {72, 30},  {102, 30}, {132, 15},
                               {147, 15}, {162, 15}, {177, 50}, {227, 12}};
constexpr int kColumnOf[9] = {1, 5, 2, 3, 4, 7, 6, 8, 9};
constexpr int kTown = 3;

// A record holding texts (file order) over reserved bytes that differ with seed.
QByteArray locationBytes(int seed, const QStringList& texts) {
    QList<fixtures::Field> fields;
    for (int f = 0; f < 9; ++f) {
        fields.append({kPlaces[f][0], kPlaces[f][1], texts.value(f).toLatin1()});
    }
    return fixtures::with(fixtures::record(kSize, seed), fields);
}

QStringList site(const QString& name, const QString& map = {}) {
    return {name, "Mevr. " + name, "Markt 1", "Ede", "0318", "0318-2", "06-1", "www.x.nl", map};
}

// Records over the same reserved bytes. The grid saves every row it leaves, edited or not, with the
// reserved bytes of the record read last; over these that changes no byte.
QByteArray sites(const QStringList& names, const QStringList& maps = {}) {
    QByteArray bytes;
    for (int i = 0; i < names.size(); ++i) {
        bytes += locationBytes(1, site(names.at(i), maps.value(i)));
    }
    return bytes;
}

QString padded(const QString& text, int width) {
    return text.leftJustified(width, ' ', true);
}

}  // namespace

class TestLocationWindow : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<GridFixture> m_fx;
    std::unique_ptr<LocationWindow> m_window;
    std::unique_ptr<QAbstractItemModelTester> m_tester;

    QString bestanden() const { return m_fx->session.bestandenFolder(); }
    QString listPath() const { return QDir(bestanden()).filePath("locatie.bst"); }
    QByteArray onDisk() const { return fixtures::readFile(listPath()); }

    void open(const QByteArray& list) {
        QVERIFY(fixtures::writeFile(listPath(), list));
        open();
    }
    void open() {
        m_window = std::make_unique<LocationWindow>(m_fx->session);
        m_window->show();
        QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
        // Every edit, append and delete below goes through the model under the tester's eye.
        m_tester =
            std::make_unique<QAbstractItemModelTester>(model(), QAbstractItemModelTester::FailureReportingMode::QtTest);
    }
    LocationListModel* model() const { return m_window->model(); }
    RecordGrid* view() const { return m_window->grid(); }
    QLineEdit* txtedit() const { return m_window->findChild<QLineEdit*>("txtedit"); }

    void typeInto(int row, int column, const QString& text) {
        doubleClick(view(), row, column);
        QVERIFY(txtedit()->isVisible());
        txtedit()->selectAll();
        type(txtedit(), text);
        QTest::keyClick(txtedit(), Qt::Key_Return);
        QVERIFY(!txtedit()->isVisible());
    }

private Q_SLOTS:
    void init() {
        MessageBox::setTestMode(true);
        m_fx = std::make_unique<GridFixture>();
    }
    void cleanup() {
        m_tester.reset();
        m_window.reset();
        m_fx.reset();
        QCOMPARE(MessageBox::takeShown().size(), 0);
    }

    void firstUse_data() {
        QTest::addColumn<QStringList>("stored");  // key=value in section FG1
        QTest::addColumn<QList<int>>("twips");
        QTest::newRow("default widths: 900, and 200 where 100 is the default")
            << QStringList{} << QList<int>{900, 900, 900, 900, 900, 900, 200, 200, 200, 200};
        QTest::newRow("stored widths, every column at least 200")
            << QStringList{"colwidth(0)=0", "colwidth(1)=2500", "colwidth(3)=150", "colwidth(7)=50"}
            << QList<int>{200, 2500, 900, 200, 900, 900, 200, 200, 200, 200};
    }
    void firstUse() {
        QFETCH(QStringList, stored);
        QFETCH(QList<int>, twips);
        for (const QString& pair : stored) {
            m_fx->settings.save("FG1", pair.section('=', 0, 0), pair.section('=', 1));
        }
        open();
        QCOMPARE(onDisk(), QByteArray(kSize, '\0'));
        QCOMPARE(model()->rowCount(), 2);
        QCOMPARE(model()->cell(0, 0), QString(" 1"));
        QCOMPARE(model()->cell(1, 0), QString(" 2"));
        for (int f = 0; f < 9; ++f) {
            QCOMPARE(model()->cell(0, kColumnOf[f]), QString(kPlaces[f][1], ' '));
            QCOMPARE(model()->cell(1, kColumnOf[f]), QString());
        }
        const QStringList headers = {"",          "Locatie",    "Adres",    "Plaats", "Telefoonnr.", "Contactpersoon",
                                     "Mobielnr.", "Fax nummer", "Internet", "Map"};
        const int dpiX = m_window->logicalDpiX();
        for (int c = 0; c < headers.size(); ++c) {
            QCOMPARE(model()->headerData(c, Qt::Horizontal).toString(), headers.at(c));
            // Where nothing is stored yet, the header is read whole; a stored width is kept as it is.
            const bool isStored = stored.filter(QStringLiteral("colwidth(%1)=").arg(c)).size() == 1;
            const int pixels = twipsToPixels(twips.at(c), dpiX);
            QCOMPARE(view()->horizontalHeader()->sectionSize(c),
                     isStored ? pixels : qMax(pixels, headerTextPixels(view()->horizontalHeader(), c)));
        }
        QCOMPARE(m_window->windowTitle(), QString("Locaties"));
        QCOMPARE(m_window->windowModality(), Qt::ApplicationModal);
        const int dpiY = m_window->logicalDpiY();
        QCOMPARE(m_window->pos(), QPoint(twipsToPixels(200, dpiX), twipsToPixels(1000, dpiY)));
        QCOMPARE(m_window->size(), QSize(twipsToPixels(9000, dpiX), twipsToPixels(3500, dpiY)));
        QVERIFY(!m_window->wiscmd()->isEnabled());
    }

    // On the town "Ede": which key opens which editor. Escape then leaves the edit open; Enter saves it.
    void openingTheEditor_data() {
        QTest::addColumn<int>("column");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("text");  // empty: no editor opens
        QTest::addColumn<int>("caret");
        const auto row = [](const char* name, int column, const QString& key, const QString& text, int caret) {
            QTest::newRow(name) << column << key << text << caret;
        };
        const QString town = padded("Ede", 30);
        row("typed x: the x alone", kTown, "x", "x", 1);
        row("double-click: the padded town", kTown, "double-click", town, 0);
        row("space", kTown, " ", town, 0);
        row("Enter", kTown, "\r", town, 0);
        row("Backspace", kTown, "\b", town, 0);
        row("Ctrl+E", kTown, "\x05", town, 0);
        row("F2", kTown, "F2", town, 0);
        row("the number column takes no typing", 0, "7", "", 0);
        row("nor Enter", 0, "\r", "", 0);
        row("nor F2", 0, "F2", "", 0);
    }
    void openingTheEditor() {
        QFETCH(int, column);
        QFETCH(QString, key);
        QFETCH(QString, text);
        QFETCH(int, caret);
        open(sites({"Noord"}));
        // A click in column 0 would choose the location.
        view()->setCurrentIndex(model()->index(0, column));
        if (key == "double-click") {
            doubleClick(view(), 0, column);
        } else if (key == "F2") {
            QTest::keyClick(view(), Qt::Key_F2);
        } else {
            // Printable keys have the code of their upper-case character.
            const bool ctrl = key == "\x05";
            const int code = key == "\r"   ? Qt::Key_Return
                             : key == "\b" ? Qt::Key_Backspace
                             : ctrl        ? Qt::Key_E
                                           : int(key.at(0).toUpper().unicode());
            QKeyEvent press(QEvent::KeyPress, code, ctrl ? Qt::ControlModifier : Qt::NoModifier, key);
            QApplication::sendEvent(view(), &press);
        }
        QCOMPARE(txtedit()->isVisible(), !text.isEmpty());
        if (text.isEmpty()) {
            QCOMPARE(model()->cell(0, 0), QString(" 1"));
            return;
        }
        QCOMPARE(txtedit()->text(), text);
        QCOMPARE(txtedit()->cursorPosition(), caret);
        QVERIFY(coversCell(txtedit(), view(), model()->index(0, column)));

        QTest::keyClick(txtedit(), Qt::Key_Escape);
        QVERIFY(txtedit()->isVisible());
        QCOMPARE(onDisk(), sites({"Noord"}));
        QTest::keyClick(txtedit(), Qt::Key_Return);
        QVERIFY(!txtedit()->isVisible());
        QCOMPARE(view()->currentIndex(), model()->index(0, column));
        QStringList texts = site("Noord");
        texts[3] = text;
        QCOMPARE(onDisk(), locationBytes(1, texts));
    }

    // Each row shows the file's texts in the grid's order; a saved row goes back in the file's order, cut
    // to the field widths, over the reserved bytes of the record read last.
    void savedRowGoldenBytes_data() {
        QTest::addColumn<int>("column");
        QTest::addColumn<QString>("typed");  // empty: the row is only left, not edited
        QTest::addColumn<int>("field");
        QTest::addColumn<QString>("stored");
        QTest::newRow("left unedited") << 2 << "" << 2 << "Markt 1";
        QTest::newRow("name: second field") << 1 << "Hoofdkantoor" << 0 << "Hoofdkantoor";
        QTest::newRow("telephone: column 4, sixth field") << 4 << "0318-654321" << 4 << "0318-654321";
        QTest::newRow("contact person: column 5, third field") << 5 << "Dhr. Jansen" << 1 << "Dhr. Jansen";
        QTest::newRow("mobile: column 6, after the fax") << 6 << "06-12345678" << 6 << "06-12345678";
        QTest::newRow("fax: column 7, before the mobile") << 7 << "0318-999" << 5 << "0318-999";
        QTest::newRow("name cut to 30") << 1 << "Gemeentelijk sportcomplex De Oude Haven" << 0
                                        << "Gemeentelijk sportcomplex De O";
        QTest::newRow("mobile cut to 15") << 6 << "+31 6 1234 5678 9" << 6 << "+31 6 1234 5678";
        QTest::newRow("folder cut to 12") << 9 << "Hoofdkantoor2" << 8 << "Hoofdkantoor";
        QTest::newRow("internet cut to 50") << 8 << QString(55, 'w') << 7 << QString(50, 'w');
    }
    void savedRowGoldenBytes() {
        QFETCH(int, column);
        QFETCH(QString, typed);
        QFETCH(int, field);
        QFETCH(QString, stored);
        const QByteArray before =
            locationBytes(1, site("Noord")) + locationBytes(2, site("Midden")) + locationBytes(3, site("Zuid"));
        open(before);
        QCOMPARE(model()->cell(0, kColumnOf[field]), padded(site("Noord").at(field), kPlaces[field][1]));
        if (typed.isEmpty()) {
            click(view(), 0, column);
            click(view(), 1, column);
        } else {
            typeInto(0, column, typed);
        }
        QStringList texts = site("Noord");
        texts[field] = stored;
        QCOMPARE(onDisk(), locationBytes(3, texts) + before.mid(kSize));
        QVERIFY(m_window->FG1_laden());
        QCOMPARE(model()->cell(0, kColumnOf[field]), padded(stored, kPlaces[field][1]));
    }

    // Typed into, or only its number clicked: the new-entry row becomes a record, and no location is chosen.
    void theNewEntryRowAppends_data() {
        QTest::addColumn<QString>("leftBy");  // Enter, a click on another cell, or a click on its number
        QTest::addColumn<int>("tail");        // bytes of a partial record after the last whole one
        QTest::newRow("Enter") << "Enter" << 0;
        QTest::newRow("a click on another cell") << "click" << 0;
        QTest::newRow("over a partial record") << "Enter" << 100;
        QTest::newRow("its number clicked, nothing typed") << "number" << 0;
    }
    void theNewEntryRowAppends() {
        QFETCH(QString, leftBy);
        QFETCH(int, tail);
        const QByteArray before = sites({"Noord", "Zuid"});
        open(before + QByteArray(tail, 'x'));
        QSignalSpy chosen(m_window.get(), &LocationWindow::locationChosen);
        QCOMPARE(model()->rowCount(), 3);
        QCOMPARE(model()->cell(2, 0), QString(" 3"));
        const QString town = leftBy == "number" ? QString() : QString("Tiel");
        if (town.isEmpty()) {
            click(view(), 2, 0);
        } else {
            doubleClick(view(), 2, 3);
            type(txtedit(), town);
        }
        if (leftBy == "Enter") {
            QTest::keyClick(txtedit(), Qt::Key_Return);
        } else if (leftBy == "click") {
            click(view(), 0, 2);
        }
        QCOMPARE(onDisk(), before + locationBytes(1, {"", "", "", town}));
        QCOMPARE(model()->rowCount(), 4);
        QCOMPARE(model()->cell(3, 0), QString(" 4"));
        QCOMPARE(model()->cell(3, 3), QString());
        QCOMPARE(chosen.size(), 0);
        QVERIFY(m_window->isVisible());
        QVERIFY(m_fx->session.subdir.isEmpty());
    }

    void aReadOnlyListLosesNothing() {
        const QByteArray before = sites({"Noord", "Zuid"});
        QVERIFY(fixtures::writeFile(listPath(), before));
        QVERIFY(QFile::setPermissions(listPath(), QFile::ReadOwner | QFile::ReadGroup | QFile::ReadOther));
        ReadOnlyOps readOnly;
        QFile probe(listPath());
        // The superuser writes through the mode bits; there the refusal is made for it.
        if (probe.open(QIODevice::ReadWrite)) {
            m_fx->session.fileOps = &readOnly;
        }
        open();
        // Leaving the first row saves it, edited or not; then the edit of the second.
        click(view(), 1, kTown);
        typeInto(1, kTown, "Arnhem");
        const QList<MessageBox::Shown> shown = MessageBox::takeShown();
        QCOMPARE(shown.size(), 2);
        for (const MessageBox::Shown& box : shown) {
            QVERIFY2(box.text.contains(QString::fromLocal8Bit(std::strerror(EACCES))), qPrintable(box.text));
            QVERIFY2(box.text.contains("locatie.bst"), qPrintable(box.text));
        }
        QCOMPARE(model()->cell(1, kTown), padded("Ede", 30));
        QCOMPARE(onDisk(), before);
        m_window.reset();
        m_fx->session.fileOps = nullptr;
    }

    // Rows that could be typed into would be saved over records that were never shown.
    void anUnreadableListShowsNoRows() {
        QVERIFY(QDir(bestanden()).mkdir("locatie.bst"));
        open();
        const QList<MessageBox::Shown> shown = MessageBox::takeShown();
        QCOMPARE(shown.size(), 1);
        QVERIFY2(shown.at(0).text.contains("locatie.bst"), qPrintable(shown.at(0).text));
        QCOMPARE(model()->rowCount(), 0);
        QVERIFY(QFileInfo(listPath()).isDir());
    }

    void deleteButtonFollowsTheCell_data() {
        QTest::addColumn<int>("row");
        QTest::addColumn<int>("column");
        QTest::addColumn<bool>("enabled");
        QTest::newRow("a location's name") << 1 << 1 << true;
        QTest::newRow("its address") << 1 << 2 << false;
        QTest::newRow("the new-entry row's name") << 2 << 1 << false;
    }
    void deleteButtonFollowsTheCell() {
        QFETCH(int, row);
        QFETCH(int, column);
        QFETCH(bool, enabled);
        open(sites({"Noord", "Zuid"}));
        click(view(), row, column);
        QCOMPARE(m_window->wiscmd()->isEnabled(), enabled);
        // A click in column 0 of the header row chooses nothing.
        QTest::mouseClick(view()->horizontalHeader()->viewport(), Qt::LeftButton, {}, QPoint(2, 2));
        QCOMPARE(m_window->wiscmd()->isEnabled(), enabled);
        QVERIFY(m_window->isVisible());
    }

    void deleteRecord_data() {
        QTest::addColumn<int>("row");
        QTest::addColumn<int>("answer");
        QTest::addColumn<QStringList>("left");
        QTest::newRow("3 of 5") << 2 << int(QMessageBox::Yes) << QStringList{"A", "B", "D", "E"};
        QTest::newRow("5 of 5") << 4 << int(QMessageBox::Yes) << QStringList{"A", "B", "C", "D"};
        QTest::newRow("answered No") << 2 << int(QMessageBox::No) << QStringList{"A", "B", "C", "D", "E"};
    }
    void deleteRecord() {
        QFETCH(int, row);
        QFETCH(int, answer);
        QFETCH(QStringList, left);
        const QStringList all = {"A", "B", "C", "D", "E"};
        for (const QString& name : all) {
            QVERIFY(QDir(bestanden()).mkdir(name));
        }
        const QByteArray before = sites(all, all);
        open(before);
        click(view(), row, 1);
        MessageBox::setNextAnswer(QMessageBox::StandardButton(answer));
        QTest::mouseClick(m_window->wiscmd(), Qt::LeftButton);

        const QList<MessageBox::Shown> shown = MessageBox::takeShown();
        QCOMPARE(shown.size(), 1);
        QCOMPARE(shown.at(0).text, QString("Wissen regel  %1").arg(row + 1));
        QCOMPARE(shown.at(0).title, QString("Locatie gegevens weggooien"));
        QCOMPARE(shown.at(0).icon, QMessageBox::Critical);
        QCOMPARE(shown.at(0).buttons, QMessageBox::Yes | QMessageBox::No);
        QCOMPARE(shown.at(0).defaultButton, QMessageBox::No);
        QVERIFY(!m_window->wiscmd()->isEnabled());

        QCOMPARE(onDisk(), sites(left, left));
        QCOMPARE(model()->rowCount(), int(left.size()) + 1);
        for (int i = 0; i <= left.size(); ++i) {
            QCOMPARE(model()->cell(i, 0), QString(" %1").arg(i + 1));
            QCOMPARE(model()->cell(i, 1).trimmed(), left.value(i));
        }
        QCOMPARE(fixtures::readFile(QDir(bestanden()).filePath("tmp.bst")),
                 answer == QMessageBox::Yes ? before : QByteArray("<missing>"));
        // A location's folder outlives its entry in the list.
        for (const QString& name : all) {
            QVERIFY(QFileInfo(QDir(bestanden()).filePath(name)).isDir());
        }
    }

    void choosingALocation_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("map");
        QTest::addColumn<QString>("folder");
        QTest::addColumn<bool>("folderExists");
        QTest::addColumn<int>("key");  // 0: a click on the number; else that key on it
        const auto row = [](const char* name, const QString& location, const QString& map, const QString& folder,
                            bool folderExists,
                            int key) { QTest::newRow(name) << location << map << folder << folderExists << key; };
        row("empty Map: the name's first 12 characters", "Kantoor Ede Zuid", "", "Kantoor Ede", false, 0);
        row("a Map of its own, folder there", "Magazijn", "mag", "mag", true, 0);
        row("a Map of its own, folder made", "Magazijn", "mag2", "mag2", false, 0);
        row("Enter on the number", "Magazijn", "mag", "mag", true, int(Qt::Key_Return));
        row("Space on the number", "Magazijn", "mag", "mag", true, int(Qt::Key_Space));
    }
    void choosingALocation() {
        QFETCH(QString, name);
        QFETCH(QString, map);
        QFETCH(QString, folder);
        QFETCH(bool, folderExists);
        QFETCH(int, key);
        if (folderExists) {
            QVERIFY(QDir(bestanden()).mkdir(folder));
        }
        open(sites({"Noord", name}, {"", map}));
        QSignalSpy chosen(m_window.get(), &LocationWindow::locationChosen);
        if (key == 0) {
            click(view(), 1, 0);
        } else {
            view()->setCurrentIndex(model()->index(1, 0));
            QTest::keyClick(view(), Qt::Key(key), Qt::NoModifier);
        }

        QCOMPARE(chosen.size(), 1);
        QCOMPARE(chosen.at(0).at(0).toString(), name);
        QVERIFY(!m_window->isVisible());
        QCOMPARE(m_fx->session.subdir, folder);
        QVERIFY(QFileInfo(QDir(bestanden()).filePath(folder)).isDir());
        QCOMPARE(m_fx->settings.get("startfrm", "subdir", "?"), folder);
        QCOMPARE(onDisk(), sites({"Noord", name}, {"", map.isEmpty() ? name.left(12) : map}));
    }

    void refusedFolderNames_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("map");
        QTest::addColumn<bool>("typed");  // typed into the Map cell, else found in the file
        QTest::addColumn<QString>("message");
        const auto row = [](const char* name, const QString& location, const QString& map, bool typed,
                            const QString& message) { QTest::newRow(name) << location << map << typed << message; };
        row("..", "Noord", "..", false, "\"..\"");
        row("a/b", "Noord", "a/b", false, "/");
        row("con:", "Noord", "con:", false, ":");
        row("a plain file of that name", "Noord", "notities", false, "bestand");
        row("a name with a separator, empty Map", "Noord/Zuid", "", false, "/");
        row("typed ../buiten", "Noord", "../buiten", true, "../buiten");
    }
    void refusedFolderNames() {
        QFETCH(QString, name);
        QFETCH(QString, map);
        QFETCH(bool, typed);
        QFETCH(QString, message);
        QVERIFY(fixtures::writeFile(QDir(bestanden()).filePath("notities"), "lijstje"));
        m_fx->session.subdir = "oud";
        const QByteArray before = sites({name}, {typed ? QString() : map});
        open(before);
        const auto entries = [this] {
            return QDir(m_fx->dir.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot) +
                   QDir(bestanden()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
        };
        const QStringList entriesBefore = entries();
        QSignalSpy chosen(m_window.get(), &LocationWindow::locationChosen);
        if (typed) {
            typeInto(0, 9, map);
        } else {
            click(view(), 0, 0);
        }

        const QList<MessageBox::Shown> shown = MessageBox::takeShown();
        QCOMPARE(shown.size(), 1);
        QVERIFY2(shown.at(0).text.contains(message), qPrintable(shown.at(0).text));
        QCOMPARE(shown.at(0).icon, QMessageBox::Warning);
        QCOMPARE(chosen.size(), 0);
        QVERIFY(m_window->isVisible());
        QCOMPARE(m_fx->session.subdir, QString("oud"));
        QCOMPARE(entries(), entriesBefore);
        QCOMPARE(onDisk(), before);
        QCOMPARE(model()->cell(0, 9), padded(typed ? QString() : map, 12));
    }

    void closingSavesSettings_data() {
        QTest::addColumn<bool>("maximized");
        QTest::newRow("normal: place, size and widths saved") << false;
        QTest::newRow("maximized: only the folder saved") << true;
    }
    void closingSavesSettings() {
        QFETCH(bool, maximized);
        m_fx->session.subdir = "kantoor";
        m_fx->settings.save("startfrm", "subdir", "elders");
        open(sites({"Noord"}));
        m_window->move(40, 60);
        m_window->resize(640, 300);
        view()->horizontalHeader()->resizeSection(1, 150);
        if (maximized) {
            m_window->showMaximized();
        }
        // An edit still open is not lost.
        doubleClick(view(), 0, kTown);
        txtedit()->selectAll();
        type(txtedit(), "Arnhem");
        m_window->close();

        QStringList texts = site("Noord");
        texts[3] = "Arnhem";
        QCOMPARE(onDisk(), locationBytes(1, texts));
        const int dpiX = m_window->logicalDpiX();
        const auto stored = [&](const QString& section, const QString& key, double twips) {
            return m_fx->settings.get(section, key, "?") == (maximized ? QString("?") : QString::number(twips));
        };
        QCOMPARE(m_fx->settings.get("startfrm", "subdir", "?"), QString("kantoor"));
        QVERIFY(stored("locatiefrm", "width", pixelsToTwips(640, dpiX)));
        QVERIFY(stored("locatiefrm", "startuptop", pixelsToTwips(60, m_window->logicalDpiY())));
        QVERIFY(stored("FG1", "colwidth(1)", pixelsToTwips(150, dpiX)));
        QVERIFY(stored("FG1", "colwidth(9)", pixelsToTwips(view()->columnWidth(9), dpiX)));
    }
};

QTEST_MAIN(TestLocationWindow)
#include "tst_locationwindow.moc"
