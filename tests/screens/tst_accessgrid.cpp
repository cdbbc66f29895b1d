// The access window driven as a user drives it: cells stepped through their three colours with the
// record writes and reader marks checked on disk byte by byte, texts typed in place, sorting, the
// reader headings, refusals, and what the window keeps in the settings.
#include <QAbstractItemModelTester>
#include <QLabel>
#include <QPushButton>
#include <QScrollBar>

#include "records/Cp1252.h"
#include "screens/AccessGrid.h"
#include "screens/AccessGridModel.h"
#include "screens/AccessWindow.h"
#include "screens/CellEditor.h"
#include "screens/DetailsWindow.h"
#include "screens/MessageBox.h"
#include "screens/WindowSettings.h"
#include "support/FaultyFileOps.h"
#include "support/GridFixture.h"
#include "support/ReadOnlyFile.h"
#include "support/RecordFixtures.h"

using namespace fixtures;
using namespace GridDriver;
using Col = AccessGridModel::Column;
using WindowSettings::twipsToPixels;

namespace {

const QDate kToday(2025, 6, 9);
const QByteArray kTodayText("09-06-25");
constexpr int kToegang = 291;
constexpr int kWijziging = 307;
const QColor kGreen(0, 255, 0);
const QColor kBlue(0, 0, 255);

void setBit(QByteArray& record, int mapOffset, int reader, bool on) {
    char& byte = record[mapOffset + reader / 8];
    const char mask = char(1 << (reader % 8));
    byte = on ? char(byte | mask) : char(byte & ~mask);
}

// Key holder `seed`: bytes that differ per record, the four texts by the layout, clean maps.
QByteArray holder(int seed, const QByteArray& naam, bool toegang = false, bool wijziging = false, int reader = 0) {
    QByteArray b = with(record(512, seed), {{14, 30, naam},
                                            {44, 30, "Straat " + QByteArray::number(seed)},
                                            {81, 21, "Ede"},
                                            {175, 58, "pas " + QByteArray::number(seed)}});
    b.replace(kToegang, 32, QByteArray(32, '\0'));
    setBit(b, kToegang, reader, toegang);
    setBit(b, kWijziging, reader, wijziging);
    return b;
}

QByteArray readerRecord(int n, const QByteArray& name = {}) {
    return with(record(128, 100 + n),
                {{34, 20, name.isEmpty() ? "Lezer " + QByteArray::number(n) : name}, {60, 1, " "}});
}

QByteArray readers(int count) {
    QByteArray b;
    for (int n = 1; n <= count; ++n) {
        b += readerRecord(n);
    }
    return b;
}

QByteArray marked(QByteArray readerFile, int reader) {
    readerFile.replace(reader * 128, 128, with(readerFile.mid(reader * 128, 128), {{14, 8, kTodayText}, {60, 1, "X"}}));
    return readerFile;
}

}  // namespace

class TestAccessGrid : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<GridFixture> m_fx;
    std::unique_ptr<AccessWindow> m_window;

    QString holdersPath() const { return QDir(m_fx->folder()).filePath("asleutel.bst"); }
    QByteArray holdersOnDisk() const { return readFile(holdersPath()); }
    QByteArray readersOnDisk() const { return readFile(m_fx->readerPath()); }
    AccessGrid* grid() const { return m_window->grid(); }
    AccessGridModel* model() const { return grid()->model(); }
    QLineEdit* txtedit() const { return grid()->editor()->txtedit(); }

    void writeFiles(const QByteArray& readerFile, const QList<QByteArray>& holders) {
        QVERIFY(writeFile(m_fx->readerPath(), readerFile));
        QVERIFY(writeFile(holdersPath(), holders.join()));
    }
    void open() {
        m_window = std::make_unique<AccessWindow>(m_fx->session);
        grid()->setToday([] { return kToday; });
        m_window->resize(1000, 600);
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
    }
    QString number(int row) const { return model()->data(model()->index(row, Col::ColNumber)).toString(); }
    QColor colour(int row, int column) const {
        return model()->data(model()->index(row, column), Qt::BackgroundRole).value<QColor>();
    }
    DetailsWindow* details() const { return m_window->details(); }

private Q_SLOTS:
    void init() {
        MessageBox::setTestMode(true);
        m_fx = std::make_unique<GridFixture>();
    }
    void cleanup() {
        m_window.reset();
        m_fx.reset();
        QCOMPARE(MessageBox::takeShown().size(), 0);
    }

    void modelPassesTheTester() {
        writeFiles(readers(3), {holder(1, "Zwart"), holder(2, "Appel", true), holder(3, "Mol")});
        open();
        QAbstractItemModelTester tester(model(), QAbstractItemModelTester::FailureReportingMode::QtTest);
        click(grid(), 0, Col::kFirstReaderColumn + 1);
        clickHeading(grid(), Col::ColNaam);
        doubleClick(grid(), 1, Col::ColAdres);
        type(txtedit(), "Laan 3");
        QTest::keyClick(txtedit(), Qt::Key_Return);
        clickHeading(grid(), Col::ColNumber);
        QVERIFY(writeFile(m_fx->readerPath(), readers(5)));
        QVERIFY(grid()->fg3_laden());
        QCOMPARE(model()->columnCount(), 10);
        QVERIFY(writeFile(holdersPath(), QByteArray()));
        QVERIFY(grid()->fg3_laden());
        QCOMPARE(model()->rowCount(), 0);
    }

    void columnsAndHeadings_data() {
        QTest::addColumn<int>("readerCount");
        QTest::newRow("no readers: exactly the five text columns") << 0;
        QTest::newRow("three readers") << 3;
        QTest::newRow("130 readers, more than the maps hold") << 130;
    }
    void columnsAndHeadings() {
        QFETCH(int, readerCount);
        QByteArray readerFile = readers(readerCount);
        if (readerCount > 0) {
            readerFile.replace(34, 20, "  Poort   noord     ");
        }
        writeFiles(readerFile, {holder(1, "Jansen"), holder(2, QByteArray("M\xFCller", 6), true, true, 2)});
        open();
        QCOMPARE(model()->columnCount(), 5 + readerCount);
        QCOMPARE(model()->rowCount(), 2);
        const QStringList headings = {"", "Naam", "Adres", "Plaats", ""};
        for (int c = 0; c < 5; ++c) {
            QCOMPARE(model()->headerData(c, Qt::Horizontal).toString(), headings.at(c));
        }
        if (readerCount > 0) {
            QCOMPARE(model()->headerData(5, Qt::Horizontal).toString(), QString("Poort   noord"));
            QCOMPARE(model()->headerData(4 + readerCount, Qt::Horizontal).toString(),
                     QString("Lezer %1").arg(readerCount));
        }
        const QStringList row = {" 2", QString::fromUtf8("Müller"), "Straat 2", "Ede", "pas 2"};
        for (int c = 0; c < 5; ++c) {
            QCOMPARE(model()->data(model()->index(1, c)).toString(), row.at(c));
        }
        // Blue wins over green; a reader beyond the maps shows white.
        const QColor white = QGuiApplication::palette().color(QPalette::Base);
        for (int c = Col::kFirstReaderColumn; c < model()->columnCount(); ++c) {
            QCOMPARE(colour(0, c), white);
            QCOMPARE(colour(1, c), c == 7 ? kBlue : white);
        }
    }

    void stepCell_data() {
        QTest::addColumn<int>("reader");
        QTest::addColumn<bool>("toegang");  // bits before
        QTest::addColumn<bool>("wijziging");
        QTest::addColumn<int>("failAt");  // file operation that fails (writes and flushes from 1), 0 none
        // In order: M the reader's mark, H the holder; a write that fails is followed by the old record
        // written back in its place.
        QTest::addColumn<QString>("writes");
        QTest::addColumn<bool>("toegangAfter");
        QTest::addColumn<bool>("wijzigingAfter");
        QTest::newRow("white grants") << 0 << false << false << 0 << "MH" << true << false;
        QTest::newRow("green withdraws") << 9 << true << false << 0 << "MHMH" << false << true;
        QTest::newRow("blue clears") << 127 << false << true << 0 << "MHMH" << false << false;
        QTest::newRow("both bits show blue and are cleared") << 9 << true << true << 0 << "MHMH" << false << false;
        QTest::newRow("white, holder's write fails: marked, not granted")
            << 0 << false << false << 3 << "MHH" << false << false;
        QTest::newRow("green, second mark fails: wijziging set first")
            << 9 << true << false << 5 << "MHMM" << true << true;
        QTest::newRow("blue, second mark fails: toegang cleared first")
            << 9 << true << true << 5 << "MHMM" << false << true;
    }
    void stepCell() {
        QFETCH(int, reader);
        QFETCH(bool, toegang);
        QFETCH(bool, wijziging);
        QFETCH(int, failAt);
        QFETCH(QString, writes);
        QFETCH(bool, toegangAfter);
        QFETCH(bool, wijzigingAfter);
        const QByteArray readerFile = readers(128);
        writeFiles(readerFile, {holder(1, "Een", true, true, reader), holder(2, "Twee", toegang, wijziging, reader),
                                holder(3, "Drie")});
        open();
        FaultyFileOps ops(failAt);
        m_fx->session.fileOps = &ops;

        click(grid(), 1, Col::kFirstReaderColumn + reader);

        QList<QPair<qint64, qint64>> spans;
        for (const QChar w : writes) {
            spans.append(w == 'M' ? qMakePair(qint64(reader) * 128, qint64(128)) : qMakePair(qint64(512), qint64(512)));
        }
        QCOMPARE(ops.writeSpans(), spans);
        QCOMPARE(readersOnDisk(), marked(readerFile, reader));
        QCOMPARE(holdersOnDisk(), holder(1, "Een", true, true, reader) +
                                      holder(2, "Twee", toegangAfter, wijzigingAfter, reader) + holder(3, "Drie"));
        // The cell shows what landed.
        const QColor white = QGuiApplication::palette().color(QPalette::Base);
        QCOMPARE(colour(1, Col::kFirstReaderColumn + reader), wijzigingAfter ? kBlue : (toegangAfter ? kGreen : white));
        const QList<MessageBox::Shown> shown = MessageBox::takeShown();
        QCOMPARE(shown.size(), failAt > 0 ? 1 : 0);
        if (failAt > 0) {
            QVERIFY2(shown.at(0).text.contains(FaultyFileOps::faultText()), qPrintable(shown.at(0).text));
        }
        m_fx->session.fileOps = nullptr;
    }

    // By keyboard: Space steps a reader cell as a click does, F2 opens a text cell, Escape drops the edit.
    void keyboardOnTheAccessGrid() {
        const QByteArray readerFile = readers(2);
        writeFiles(readerFile, {holder(1, "Een")});
        open();
        const int column = Col::kFirstReaderColumn + 1;
        grid()->setCurrentIndex(model()->index(0, column));
        QTest::keyClick(grid(), Qt::Key_Space);
        QCOMPARE(colour(0, column), kGreen);
        QCOMPARE(readersOnDisk(), marked(readerFile, 1));

        const QByteArray holders = holdersOnDisk();
        grid()->setCurrentIndex(model()->index(0, Col::ColNaam));
        QTest::keyClick(grid(), Qt::Key_F2);
        QVERIFY(txtedit()->isVisible());
        type(txtedit(), "Twee");
        QTest::keyClick(txtedit(), Qt::Key_Escape);
        QVERIFY(!txtedit()->isVisible());
        QTest::keyClick(grid(), Qt::Key_Return);
        QVERIFY(txtedit()->isVisible());
        QTest::keyClick(txtedit(), Qt::Key_Return);
        QCOMPARE(holdersOnDisk(), holders);
        QCOMPARE(grid()->currentIndex(), model()->index(0, Col::ColNaam));
    }

    void threeClicksGoRoundTheCycle() {
        const QByteArray readerFile = readers(2);
        writeFiles(readerFile, {holder(1, "Een")});
        open();
        const int column = Col::kFirstReaderColumn + 1;
        const QList<QColor> cycle = {kGreen, kBlue, QGuiApplication::palette().color(QPalette::Base)};
        for (const QColor& expected : cycle) {
            click(grid(), 0, column);
            QCOMPARE(colour(0, column), expected);
        }
        QCOMPARE(holdersOnDisk(), holder(1, "Een"));
        QCOMPARE(readersOnDisk(), marked(readerFile, 1));
    }

    void refusedSteps_data() {
        QTest::addColumn<QString>("fault");
        QTest::addColumn<QString>("message");  // a part of it
        QTest::addColumn<int>("rowsAfter");
        QTest::newRow("reader 129: the maps hold 128") << "beyond"
                                                       << "Lezer 129" << 3;
        QTest::newRow("holder gone: file shortened") << "shortened"
                                                     << "intussen door een ander gewijzigd" << 2;
        QTest::newRow("another holder at its place") << "shifted"
                                                     << "intussen door een ander gewijzigd" << 2;
        QTest::newRow("read-only asleutel.bst") << "read-only"
                                                << "asleutel.bst" << 3;
    }
    void refusedSteps() {
        QFETCH(QString, fault);
        QFETCH(QString, message);
        QFETCH(int, rowsAfter);
        const QByteArray readerFile = readers(130);
        const QList<QByteArray> holders = {holder(1, "Een"), holder(2, "Twee"), holder(3, "Drie")};
        writeFiles(readerFile, holders);
        open();
        int row = 1;
        int column = Col::kFirstReaderColumn;
        QByteArray holderFile = holders.join();
        std::unique_ptr<ReadOnlyFile> locked;
        if (fault == "beyond") {
            column = Col::kFirstReaderColumn + 128;
        } else if (fault == "shortened") {
            row = 2;
            holderFile = holders.at(0) + holders.at(1);
        } else if (fault == "shifted") {
            holderFile = holders.at(0) + holders.at(2);
        }
        QVERIFY(writeFile(holdersPath(), holderFile));
        if (fault == "read-only") {
            locked = std::make_unique<ReadOnlyFile>(holdersPath());
            if (!locked->holds()) {
                QSKIP("this file system cannot make a file read-only for this user");
            }
        }

        click(grid(), row, column);

        const QList<MessageBox::Shown> shown = MessageBox::takeShown();
        QCOMPARE(shown.size(), 1);
        QVERIFY2(shown.at(0).text.contains(message), qPrintable(shown.at(0).text));
        QCOMPARE(holdersOnDisk(), holderFile);
        QCOMPARE(readersOnDisk(), readerFile);
        QCOMPARE(model()->rowCount(), rowsAfter);
        if (row < rowsAfter) {
            QCOMPARE(colour(row, column), QGuiApplication::palette().color(QPalette::Base));
        }
        if (fault == "shifted") {
            QCOMPARE(model()->data(model()->index(1, Col::ColNaam)).toString(), QString("Drie"));
        }
    }

    void editTexts_data() {
        QTest::addColumn<int>("column");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<int>("offset");
        QTest::addColumn<int>("width");
        QTest::addColumn<QByteArray>("stored");
        QTest::newRow("naam") << int(Col::ColNaam) << "de Vries" << 14 << 30 << QByteArray("de Vries");
        QTest::newRow("naam cut to 30") << int(Col::ColNaam) << QString(35, 'a') << 14 << 30 << QByteArray(30, 'a');
        QTest::newRow("naam in the code page") << int(Col::ColNaam) << QString::fromUtf8("Çelik-Müller") << 14 << 30
                                               << QByteArray(
                                                      "\xC7"
                                                      "elik-M\xFC"
                                                      "ller");
        QTest::newRow("adres") << int(Col::ColAdres) << "Kerkstraat 12" << 44 << 30 << QByteArray("Kerkstraat 12");
        QTest::newRow("plaats cut to 21")
            << int(Col::ColPlaats) << "Nieuwerkerk aan den IJssel" << 81 << 21 << QByteArray("Nieuwerkerk aan den I");
        QTest::newRow("vrije tekst") << int(Col::ColVrijetekst) << "reservesleutel in kluis" << 175 << 58
                                     << QByteArray("reservesleutel in kluis");
        QTest::newRow("emptied") << int(Col::ColAdres) << "" << 44 << 30 << QByteArray();
        QTest::newRow("the same text again writes nothing") << int(Col::ColPlaats) << "Ede" << -1 << 0 << QByteArray();
    }
    void editTexts() {
        QFETCH(int, column);
        QFETCH(QString, typed);
        QFETCH(int, offset);
        QFETCH(int, width);
        QFETCH(QByteArray, stored);
        const QByteArray readerFile = readers(2);
        // Holder 2 was never given a vrije tekst: zero bytes there and in the reserved field behind.
        QByteArray second = holder(2, "Twee", true, false, 1);
        second.replace(175, 58, QByteArray(58, '\0'));
        writeFiles(readerFile, {holder(1, "Een"), second, holder(3, "Drie")});
        open();
        FaultyFileOps ops;
        m_fx->session.fileOps = &ops;

        doubleClick(grid(), 1, column);
        QVERIFY(txtedit()->isVisible());
        QCOMPARE(txtedit()->text(), model()->data(model()->index(1, column)).toString());
        // Inserted as a paste would: the test keyboard has no keys beyond ASCII.
        txtedit()->selectAll();
        txtedit()->insert(typed);
        QTest::keyClick(txtedit(), Qt::Key_Return);

        QVERIFY(!txtedit()->isVisible());
        QByteArray expected = second;
        if (offset >= 0) {
            // The four texts are written back as the row shows them; the blank vrije tekst comes back padded.
            expected = with(expected, {{175, 58, ""}, {offset, width, stored}});
        }
        QCOMPARE(holdersOnDisk(), holder(1, "Een") + expected + holder(3, "Drie"));
        QCOMPARE(ops.operations(), offset >= 0 ? 2 : 0);
        QCOMPARE(readersOnDisk(), readerFile);
        QCOMPARE(model()->data(model()->index(1, column)).toString(), offset >= 0 ? Cp1252::decode(stored) : typed);
        m_fx->session.fileOps = nullptr;
    }

    // A press on a reader cell first saves what is typed, then steps the cell; a save that fails and
    // reads the grid again steps nothing.
    void pressWhileEditing_data() {
        QTest::addColumn<bool>("saveFails");
        QTest::newRow("save, then step") << false;
        QTest::newRow("failed save: no step") << true;
    }
    void pressWhileEditing() {
        QFETCH(bool, saveFails);
        const QByteArray readerFile = readers(2);
        writeFiles(readerFile, {holder(1, "Een"), holder(2, "Twee")});
        open();
        FaultyFileOps ops(saveFails ? 1 : 0);
        m_fx->session.fileOps = &ops;
        doubleClick(grid(), 1, Col::ColNaam);
        type(txtedit(), "Drie");
        click(grid(), 1, Col::kFirstReaderColumn + 1);
        m_fx->session.fileOps = nullptr;

        QCOMPARE(MessageBox::takeShown().size(), saveFails ? 1 : 0);
        QCOMPARE(readersOnDisk(), saveFails ? readerFile : marked(readerFile, 1));
        QCOMPARE(holdersOnDisk(),
                 holder(1, "Een") + (saveFails ? holder(2, "Twee") : holder(2, "Drie", true, false, 1)));
    }

    void sortingKeepsRowsWithTheirRecords() {
        const QByteArray readerFile = readers(3);
        QList<QByteArray> holders;
        const QList<QByteArray> names = {"Zwart", "de Boer", "appel", "Bakker", "\xC9mile", "Appel"};
        for (int i = 0; i < names.size(); ++i) {
            holders.append(holder(i + 1, names.at(i)));
        }
        writeFiles(readerFile, holders);
        open();

        clickHeading(grid(), Col::ColAdres);
        const QStringList byName = {" 3", " 6", " 4", " 2", " 5", " 1"};
        for (int row = 0; row < byName.size(); ++row) {
            QCOMPARE(number(row), byName.at(row));
        }
        // A step and an edit land on the holder the row shows.
        click(grid(), 0, Col::kFirstReaderColumn);
        doubleClick(grid(), 1, Col::ColNaam);
        type(txtedit(), "Aa");
        QTest::keyClick(txtedit(), Qt::Key_Return);
        holders[2] = holder(3, "appel", true);
        holders[5] = holder(6, "Aa");
        QCOMPARE(holdersOnDisk(), holders.join());

        // Reading the files again keeps the order the user chose.
        QVERIFY(reactivate(m_window.get()));
        const QStringList reread = {" 6", " 3", " 4", " 2", " 5", " 1"};
        for (int row = 0; row < reread.size(); ++row) {
            QCOMPARE(number(row), reread.at(row));
        }

        clickHeading(grid(), Col::ColNumber);
        for (int row = 0; row < 6; ++row) {
            QCOMPARE(number(row), QString(" %1").arg(row + 1));
        }
        // A reader's heading sorts by name too.
        clickHeading(grid(), Col::kFirstReaderColumn + 2);
        QVERIFY(grid()->locatietxt()->isVisible());
        QCOMPARE(number(0), QString(" 6"));
    }

    void deletedHolderRenumbersAfterActivation() {
        const QList<QByteArray> holders = {holder(1, "Een"), holder(2, "Twee"), holder(3, "Drie")};
        writeFiles(readers(1), holders);
        open();
        QCOMPARE(model()->rowCount(), 3);
        QVERIFY(writeFile(holdersPath(), holders.at(0) + holders.at(2)));
        QCOMPARE(model()->rowCount(), 3);
        QVERIFY(reactivate(m_window.get()));
        QCOMPARE(model()->rowCount(), 2);
        QCOMPARE(number(1), QString(" 2"));
        QCOMPARE(model()->data(model()->index(1, Col::ColNaam)).toString(), QString("Drie"));
    }

    void readerHeadingShowsTheFullName() {
        QByteArray readerFile = readers(60);
        readerFile.replace(40 * 128, 128, readerRecord(41, "Achteringang parkeer"));
        writeFiles(readerFile, {holder(1, "Een")});
        open();
        QLineEdit* locatietxt = grid()->locatietxt();
        QVERIFY(!locatietxt->isVisible());

        // As the reader list opens it: the reader's column in view, its name over its heading.
        m_window->showReader(41);
        const int column = Col::kFirstReaderColumn + 40;
        const int left = grid()->columnViewportPosition(column);
        QVERIFY(left >= 0);
        QVERIFY(left + grid()->columnWidth(column) <= grid()->viewport()->width());
        QVERIFY(locatietxt->isVisible());
        QCOMPARE(locatietxt->text(), QString("Achteringang parkeer"));
        QCOMPARE(locatietxt->geometry().top(), grid()->horizontalHeader()->geometry().top());
        QVERIFY(locatietxt->width() > locatietxt->fontMetrics().horizontalAdvance(locatietxt->text()));

        // Gone once the grid scrolls sideways; a click on another heading brings it back there.
        grid()->horizontalScrollBar()->setValue(0);
        QVERIFY(!locatietxt->isVisible());
        clickHeading(grid(), Col::kFirstReaderColumn + 1);
        QVERIFY(locatietxt->isVisible());
        QCOMPARE(locatietxt->text(), QString("Lezer 2"));
        // It stays over its heading when a column before it is made wider.
        QHeaderView* header = grid()->horizontalHeader();
        const auto headingLeft = [header] {
            return header->geometry().left() + header->sectionViewportPosition(Col::kFirstReaderColumn + 1);
        };
        QCOMPARE(locatietxt->x(), headingLeft());
        header->resizeSection(Col::ColAdres, header->sectionSize(Col::ColAdres) + 40);
        QCOMPARE(locatietxt->x(), headingLeft());
        clickHeading(grid(), Col::ColNaam);
        QVERIFY(locatietxt->isVisible());
    }

    void activationKeepsThePlace() {
        QList<QByteArray> holders;
        for (int i = 1; i <= 80; ++i) {
            holders.append(holder(i, "Houder " + QByteArray::number(i)));
        }
        writeFiles(readers(100), holders);
        open();
        grid()->scrollTo(model()->index(30, 60), QAbstractItemView::PositionAtTop);
        const int top = grid()->rowAt(0);
        const int sideways = grid()->horizontalScrollBar()->value();
        QVERIFY(top > 0 && sideways > 0);
        QVERIFY(reactivate(m_window.get()));
        QCOMPARE(grid()->rowAt(0), top);
        QCOMPARE(grid()->horizontalScrollBar()->value(), sideways);
    }

    void storedTopRowOnActivation_data() {
        QTest::addColumn<QString>("stored");
        QTest::addColumn<int>("top");
        QTest::newRow("row 10") << "10" << 9;
        QTest::newRow("the last row never goes to the top") << "60" << 0;
        QTest::newRow("not a number") << "tien" << 0;
    }
    void storedTopRowOnActivation() {
        QFETCH(QString, stored);
        QFETCH(int, top);
        QList<QByteArray> holders;
        for (int i = 1; i <= 60; ++i) {
            holders.append(holder(i, "Houder " + QByteArray::number(i)));
        }
        writeFiles(readers(2), holders);
        m_fx->settings.save("fg3", "toprow", stored);
        open();
        QCOMPARE(grid()->rowAt(0), top);
    }

    void settingsKeptOnClose() {
        writeFiles(readers(8), {holder(1, "Een"), holder(2, "Twee")});
        SettingsStore& store = m_fx->settings;
        store.save("FG3", "colwidth(0)", "0");
        store.save("fg3", "colwidth(1)", "2000");
        store.save("fg3", "colwidth(5)", "450");
        store.save("sleutelfrm", "startuplft", "3000");
        store.save("sleutelfrm", "startuptop", "1440");
        store.save("sleutelfrm", "height", "5040");
        store.save("sleutelfrm", "width", "10080");
        m_window = std::make_unique<AccessWindow>(m_fx->session);
        const int dpiX = m_window->logicalDpiX();
        const int dpiY = m_window->logicalDpiY();
        QCOMPARE(m_window->height(), twipsToPixels(5040, dpiY));
        QCOMPARE(m_window->width(), twipsToPixels(10080, dpiX));
        QCOMPARE(m_window->y(), twipsToPixels(1440, dpiY));
        QVERIFY(m_window->x() != twipsToPixels(3000, dpiX));
        QHeaderView* header = grid()->horizontalHeader();
        QCOMPARE(header->sectionSize(0), twipsToPixels(200, dpiX));
        QCOMPARE(header->sectionSize(1), twipsToPixels(2000, dpiX));
        QCOMPARE(header->sectionSize(2), twipsToPixels(900, dpiX));
        QCOMPARE(header->sectionSize(5), twipsToPixels(450, dpiX));
        // Later reader columns are not stored; they open narrow.
        QVERIFY(header->sectionSize(6) > 0);
        QVERIFY(header->sectionSize(6) <= twipsToPixels(900, dpiX) / 2);
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));

        header->resizeSection(3, twipsToPixels(1500, dpiX));
        header->resizeSection(7, 300);
        m_fx->session.subdir = " ";
        QVERIFY(m_window->close());
        QCOMPARE(store.get("fg3", "colwidth(3)", ""), QString("1500"));
        QCOMPARE(store.get("fg3", "colwidth(5)", ""), QString("450"));
        QCOMPARE(store.get("fg3", "colwidth(6)", "none"), QString("none"));
        QCOMPARE(store.get("fg3", "toprow", ""), QString("1"));
        QCOMPARE(store.get("sleutelfrm", "subdir", "none"), QString(" "));
        QVERIFY(store.get("sleutelfrm", "startuplft", "") != QString("3000"));
    }

    void detailsWindow_data() {
        QTest::addColumn<QString>("opener");
        QTest::addColumn<QString>("number");
        QTest::addColumn<bool>("searching");
        QTest::newRow("column 0 of holder 2") << "cell"
                                              << "Volgnummer   2" << false;
        QTest::newRow("Nieuw, written at once") << "Nieuwcmd"
                                                << "Volgnummer   61" << false;
        QTest::newRow("Zoeken") << "zoekcmd"
                                << "" << true;
    }
    void detailsWindow() {
        QFETCH(QString, opener);
        QFETCH(QString, number);
        QFETCH(bool, searching);
        QList<QByteArray> holders;
        for (int i = 1; i <= 60; ++i) {
            holders.append(holder(i, "Houder " + QByteArray::number(i)));
        }
        writeFiles(readers(2), holders);
        open();
        auto* zoekcmd = m_window->findChild<QPushButton*>("zoekcmd");
        QCOMPARE(zoekcmd->text(), QString(" Zoeken"));
        grid()->scrollTo(model()->index(20, 0), QAbstractItemView::PositionAtTop);
        const int top = grid()->rowAt(0);
        if (opener == "cell") {
            grid()->scrollTo(model()->index(1, 0), QAbstractItemView::PositionAtTop);
            click(grid(), 1, Col::ColNumber);
            QCOMPARE(m_fx->settings.get("fg3", "toprow", ""), QString("2"));
        } else {
            QTest::mouseClick(m_window->findChild<QPushButton*>(opener), Qt::LeftButton);
        }
        QVERIFY(details());
        QVERIFY(details()->isVisible());
        QCOMPARE(details()->objectName(), QString("persoonfrm"));
        QCOMPARE(details()->windowTitle(), QString("Personalia"));
        QCOMPARE(details()->findChild<QLabel*>("vlgnrlbl")->text(), number);
        QCOMPARE(zoekcmd->isEnabled(), !searching);
        QCOMPARE(holdersOnDisk().size(), (opener == "Nieuwcmd" ? 61 : 60) * 512);

        // What the details window changed shows when it closes.
        QVERIFY(writeFile(holdersPath(), holder(1, "Nieuw") + holders.mid(1).join()));
        details()->close();
        QVERIFY(zoekcmd->isEnabled());
        QCOMPARE(model()->data(model()->index(0, Col::ColNaam)).toString(), QString("Nieuw"));
        QCOMPARE(grid()->rowAt(0), opener == "cell" ? 1 : top);
    }

    void helpShownAndHidden() {
        writeFiles(readers(1), {holder(1, "Een")});
        open();
        auto* help = m_window->findChild<QPushButton*>("CmdHelp");
        auto* hepllst = m_window->findChild<QListWidget*>("Hepllst");
        QVERIFY(!hepllst->isVisible());
        for (int round = 0; round < 2; ++round) {
            QTest::mouseClick(help, Qt::LeftButton);
            QVERIFY(hepllst->isVisible());
            QCOMPARE(hepllst->count(), int(AccessWindow::helpLines().size()));
            QCOMPARE(hepllst->geometry(), grid()->geometry());
            QCOMPARE(help->text(), QString("X Help"));
            QTest::mouseClick(help, Qt::LeftButton);
            QVERIFY(!hepllst->isVisible());
            QCOMPARE(help->text(), QString("Help"));
        }
    }
};

QTEST_MAIN(TestAccessGrid)
#include "tst_accessgrid.moc"
