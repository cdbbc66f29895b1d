#include <QAbstractItemModelTester>
#include <QClipboard>
#include <QLabel>
#include <QMimeData>
#include <QPushButton>
#include <QScopeGuard>
#include <QVBoxLayout>
#include <cerrno>
#include <cstring>

#include "records/FileOps.h"
#include "screens/MessageBox.h"
#include "screens/ReaderListModel.h"
#include "support/GridFixture.h"
#include "support/ManualTicks.h"

using namespace GridDriver;
using Col = ReaderListModel::Column;

namespace {

// What a read-only file does to a writer: every write is refused with the system's text.
class ReadOnlyOps : public FileOps {
public:
    Status write(QFile&, const QByteArray&) override {
        return Status::failure(QString::fromLocal8Bit(std::strerror(EACCES)));
    }
};

}  // namespace

class TestReaderGrid : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<GridFixture> m_fx;
    std::unique_ptr<ReaderGrid> m_grid;
    ManualTicks m_ticks;

    void open(const QList<Reader>& readers) {
        m_fx->writeReaders(readers);
        m_grid = std::make_unique<ReaderGrid>(m_fx->session);
        m_grid->resize(1000, 500);
        for (int c = 0; c < ReaderListModel::kColumnCount; ++c) {
            m_grid->view()->setColumnWidth(c, 100);
        }
        m_grid->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_grid.get()));
        QVERIFY(m_grid->fg2_laden());
    }
    ReaderListModel* model() const { return m_grid->model(); }
    QTableView* view() const { return m_grid->view(); }
    QLineEdit* txtedit() const { return m_grid->findChild<QLineEdit*>(QStringLiteral("txtedit")); }
    QListWidget* list1() const { return m_grid->findChild<QListWidget*>(QStringLiteral("List1")); }
    QByteArray fileBytes() const {
        QFile file(m_fx->readerPath());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

private Q_SLOTS:
    void init() {
        MessageBox::setTestMode(true);
        m_fx = std::make_unique<GridFixture>();
        m_fx->session.ticks = &m_ticks;
    }
    void cleanup() {
        m_grid.reset();
        m_fx.reset();
        QCOMPARE(MessageBox::takeShown().size(), 0);
    }

    void modelPassesTheTester() {
        open({GridFixture::reader("Noord", "0A0B0C"), GridFixture::reader("Zuid", "112233", 10, "X")});
        QAbstractItemModelTester tester(model(), QAbstractItemModelTester::FailureReportingMode::QtTest);
        click(view(), 0, Col::ColLed);
        QVERIFY(pick(list1(), "Extern"));
        doubleClick(view(), 2, Col::ColName);
        type(txtedit(), "Oost");
        QTest::keyClick(txtedit(), Qt::Key_Return);
        QCOMPARE(model()->rowCount(), 4);
        QVERIFY(m_grid->fg2_laden());
    }

    void fillShowsEachRecord_data() {
        QTest::addColumn<int>("mode");
        QTest::addColumn<QString>("flag");
        QTest::addColumn<QString>("led");
        QTest::addColumn<QString>("relay");
        QTest::addColumn<QString>("shownFlag");
        QTest::newRow("new file's mode 0") << 0 << "X"
                                           << "Intern"
                                           << "Tijd"
                                           << "X";
        QTest::newRow("extern invers") << 10 << " "
                                       << "Extern Invers"
                                       << "Tijd"
                                       << "";
        QTest::newRow("extern, houd") << 30 << " "
                                      << "Extern"
                                      << "Houd"
                                      << "";
        QTest::newRow("bit 16 clear without bit 8 is intern") << 2 << " "
                                                              << "Intern"
                                                              << "Tijd"
                                                              << "";
        QTest::newRow("a flag other than X shows blank") << 18 << "x"
                                                         << "Intern"
                                                         << "Tijd"
                                                         << "";
    }
    void fillShowsEachRecord() {
        QFETCH(int, mode);
        QFETCH(QString, flag);
        QFETCH(QString, led);
        QFETCH(QString, relay);
        QFETCH(QString, shownFlag);
        Reader r = GridFixture::reader("Poort 1", "ABC123", quint8(mode), flag);
        r.setRelayTime(45);
        r.setAantalsleutels(17);
        open({GridFixture::reader("Eerste", "000001"), r});
        QCOMPARE(model()->rowCount(), 3);
        const QStringList expected = {shownFlag, "2", "Poort 1", "17", "ABC123", led, relay, "45", "01-02-24"};
        for (int c = 0; c < ReaderListModel::kColumnCount; ++c) {
            QCOMPARE(model()->cell(1, c), expected.at(c));
        }
        QCOMPARE(model()->cell(2, Col::ColFlag), QString(" "));
        QCOMPARE(model()->cell(2, Col::ColNumber), QString("3"));
        QCOMPARE(model()->data(model()->index(1, Col::ColFlag), Qt::ForegroundRole).value<QColor>(), QColor(Qt::red));
        QCOMPARE(model()->data(model()->index(1, Col::ColFlag), Qt::FontRole).value<QFont>().pointSize(), 20);
        QCOMPARE(model()->data(model()->index(1, Col::ColFlag), Qt::TextAlignmentRole).toInt(), int(Qt::AlignCenter));
        QCOMPARE(model()->headerData(2, Qt::Horizontal).toString(), QString("LezerNaam"));
        QCOMPARE(model()->headerData(8, Qt::Horizontal).toString(), QString("Datum"));
    }

    void emptyAndPartialFiles_data() {
        QTest::addColumn<int>("bytes");
        QTest::addColumn<int>("rows");
        QTest::newRow("empty file: only the new-reader row, number 1") << 0 << 1;
        QTest::newRow("a partial record does not count") << 2 * Reader::kSize + 50 << 3;
    }
    void emptyAndPartialFiles() {
        QFETCH(int, bytes);
        QFETCH(int, rows);
        open({});
        QFile file(m_fx->readerPath());
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(QByteArray(bytes, ' '));
        file.close();
        QVERIFY(m_grid->fg2_laden());
        QCOMPARE(model()->rowCount(), rows);
        QCOMPARE(model()->cell(rows - 1, Col::ColNumber), QString::number(rows));
        QCOMPARE(model()->cell(rows - 1, Col::ColName), QString());
    }

    void editInPlace_data() {
        QTest::addColumn<int>("column");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("expected");
        QTest::newRow("name") << int(Col::ColName) << "Poort Noord"
                              << "Poort Noord";
        QTest::newRow("name takes Backspace") << int(Col::ColName) << "Noordx\b"
                                              << "Noord";
        QTest::newRow("name cut to 20") << int(Col::ColName) << "Achteringang parkeergarage"
                                        << "Achteringang parkeer";
        QTest::newRow("code: a becomes A") << int(Col::ColCode) << "12ab"
                                           << "12AB";
        QTest::newRow("code: G dropped") << int(Col::ColCode) << "1G2g"
                                         << "12";
        QTest::newRow("code: Backspace dropped") << int(Col::ColCode) << "12\b3"
                                                 << "123";
        QTest::newRow("code: space and punctuation dropped") << int(Col::ColCode) << "f 0-0!d"
                                                             << "F00D";
        QTest::newRow("code cut to 6") << int(Col::ColCode) << "1234567"
                                       << "123456";
    }
    void editInPlace() {
        QFETCH(int, column);
        QFETCH(QString, typed);
        QFETCH(QString, expected);
        Reader second = GridFixture::reader("Oud", "FFFFFF", 30);
        second.setRelayTime(7);
        open({GridFixture::reader("Eerste", "000001"), second});
        const QByteArray before = m_fx->readBack(2).bytes();

        doubleClick(view(), 1, column);
        QVERIFY(txtedit()->isVisible());
        QVERIFY(coversCell(txtedit(), view(), model()->index(1, column)));
        type(txtedit(), typed);
        QTest::keyClick(txtedit(), Qt::Key_Return);

        QVERIFY(!txtedit()->isVisible());
        // Enter commits where the edit was; the grid's current cell stays on it.
        QCOMPARE(view()->currentIndex(), model()->index(1, column));
        QCOMPARE(model()->cell(1, column), expected);
        QCOMPARE(model()->cell(1, Col::ColFlag), QString("X"));
        const Reader saved = m_fx->readBack(2);
        const QString onDisk = column == Col::ColName ? saved.lezerNaam() : saved.lezerkode();
        QCOMPARE(onDisk.trimmed(), expected);
        QVERIFY(saved.isChanged());
        QCOMPARE(saved.mode(), quint8(30));
        QCOMPARE(saved.relayTime(), qint16(7));
        QCOMPARE(saved.datum(), datumText(QDate::currentDate()));
        // The reserved bytes go back as they were.
        QCOMPARE(saved.bytes().mid(61), before.mid(61));
        QCOMPARE(m_fx->readBack(1).lezerNaam().trimmed(), QString("Eerste"));
    }

    void leavingTheCellCommits() {
        open({GridFixture::reader("Eerste", "000001"), GridFixture::reader("Tweede", "000002")});
        doubleClick(view(), 0, Col::ColName);
        type(txtedit(), "Hal");
        click(view(), 1, Col::ColDate);
        QVERIFY(!txtedit()->isVisible());
        QCOMPARE(m_fx->readBack(1).lezerNaam().trimmed(), QString("Hal"));
        QCOMPARE(m_fx->readBack(2).lezerNaam().trimmed(), QString("Tweede"));
        QVERIFY(!m_fx->readBack(2).isChanged());
    }

    void choicesStoreTheMode_data() {
        QTest::addColumn<int>("startMode");
        QTest::addColumn<int>("column");
        QTest::addColumn<QString>("choice");
        QTest::addColumn<int>("mode");
        QTest::addColumn<int>("relayTime");
        QTest::newRow("Extern Invers") << 18 << int(Col::ColLed) << "Extern Invers" << 10 << 5;
        QTest::newRow("Extern") << 10 << int(Col::ColLed) << "Extern" << 26 << 5;
        QTest::newRow("Intern after Extern Invers") << 10 << int(Col::ColLed) << "Intern" << 18 << 5;
        QTest::newRow("Houd") << 10 << int(Col::ColRelay) << "Houd" << 14 << 5;
        QTest::newRow("relay time") << 10 << int(Col::ColTime) << "25" << 10 << 25;
    }
    void choicesStoreTheMode() {
        QFETCH(int, startMode);
        QFETCH(int, column);
        QFETCH(QString, choice);
        QFETCH(int, mode);
        QFETCH(int, relayTime);
        Reader r = GridFixture::reader("Deur", "00AA00", quint8(startMode));
        r.setRelayTime(5);
        open({r});
        click(view(), 0, column);
        QVERIFY(list1()->isVisible());
        QCOMPARE(model()->data(model()->index(0, Col::ColNumber), Qt::BackgroundRole).value<QColor>(),
                 QColor(0, 0, 255));
        QVERIFY(pick(list1(), choice));
        QVERIFY(!list1()->isVisible());
        QVERIFY(!model()->data(model()->index(0, Col::ColNumber), Qt::BackgroundRole).isValid());
        QCOMPARE(model()->cell(0, column), choice);
        QCOMPARE(model()->cell(0, Col::ColFlag), QString("X"));
        const Reader saved = m_fx->readBack(1);
        QCOMPARE(int(saved.mode()), mode);
        QCOMPARE(int(saved.relayTime()), relayTime);
        QVERIFY(saved.isChanged());
        QVERIFY(m_grid->fg2_laden());
        QCOMPARE(model()->cell(0, column), choice);
    }

    void noTimeListUnderHoud() {
        open({GridFixture::reader("Deur", "00AA00", 18)});
        click(view(), 0, Col::ColTime);
        QVERIFY(list1()->isVisible());
        QCOMPARE(list1()->count(), 60);
        click(view(), 0, Col::ColRelay);
        QCOMPARE(list1()->count(), 2);
        QVERIFY(pick(list1(), "Houd"));
        QCOMPARE(int(m_fx->readBack(1).mode()), 18 + 4);
        click(view(), 0, Col::ColTime);
        QVERIFY(!list1()->isVisible());
        // Nothing was written by the refused click.
        QCOMPARE(int(m_fx->readBack(1).mode()), 22);
    }

    void theNewReaderRowAppends() {
        open({GridFixture::reader("Eerste", "000001")});
        doubleClick(view(), 1, Col::ColName);
        type(txtedit(), "Tweede");
        QTest::keyClick(txtedit(), Qt::Key_Return);
        QCOMPARE(m_fx->countOnDisk(), 2);
        const Reader added = m_fx->readBack(2);
        QCOMPARE(added.lezerNaam().trimmed(), QString("Tweede"));
        QCOMPARE(int(added.mode()), 18);
        QCOMPARE(model()->cell(1, Col::ColKeyCount), QString("0"));
        QCOMPARE(model()->rowCount(), 3);
        QCOMPARE(model()->cell(2, Col::ColNumber), QString("3"));
        // A click in column 0 of the extra row asks for no programming key.
        QSignalSpy programs(m_grid.get(), &ReaderGrid::programKeyRequested);
        click(view(), 2, Col::ColFlag);
        click(view(), 1, Col::ColFlag);
        QCOMPARE(programs.size(), 1);
        QCOMPARE(programs.at(0).at(0).toInt(), 2);
    }

    // The keyboard reaches every cell the mouse does: F2 and Enter where a double-click opens txtedit,
    // Space and Enter where a click opens List1, Space where a click starts a key or the access grid.
    void keyboardOpensWhatTheMouseOpens_data() {
        QTest::addColumn<int>("column");
        QTest::addColumn<int>("key");
        QTest::addColumn<QString>("opens");  // "txtedit", "List1", "program", "access" or "" for nothing
        QTest::newRow("F2 on the name") << int(Col::ColName) << int(Qt::Key_F2) << "txtedit";
        QTest::newRow("Enter on the code") << int(Col::ColCode) << int(Qt::Key_Return) << "txtedit";
        QTest::newRow("Space on the name: no typing opens it here") << int(Col::ColName) << int(Qt::Key_Space) << "";
        QTest::newRow("a letter on the name") << int(Col::ColName) << int(Qt::Key_A) << "";
        QTest::newRow("F2 on the key count") << int(Col::ColKeyCount) << int(Qt::Key_F2) << "";
        QTest::newRow("Space on LED") << int(Col::ColLed) << int(Qt::Key_Space) << "List1";
        QTest::newRow("Enter on relay") << int(Col::ColRelay) << int(Qt::Key_Return) << "List1";
        QTest::newRow("F2 on relay time") << int(Col::ColTime) << int(Qt::Key_F2) << "List1";
        QTest::newRow("Space on column 0") << int(Col::ColFlag) << int(Qt::Key_Space) << "program";
        QTest::newRow("Enter on column 0 starts nothing") << int(Col::ColFlag) << int(Qt::Key_Return) << "";
        QTest::newRow("Space on the number") << int(Col::ColNumber) << int(Qt::Key_Space) << "access";
    }
    void keyboardOpensWhatTheMouseOpens() {
        QFETCH(int, column);
        QFETCH(int, key);
        QFETCH(QString, opens);
        open({GridFixture::reader("Deur", "00AA00", 10)});
        QSignalSpy programs(m_grid.get(), &ReaderGrid::programKeyRequested);
        QSignalSpy access(m_grid.get(), &ReaderGrid::accessRequested);
        view()->setCurrentIndex(model()->index(0, column));
        const QString text = key == Qt::Key_Space ? " " : key == Qt::Key_A ? "a" : key == Qt::Key_Return ? "\r" : "";
        QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier, text);
        QApplication::sendEvent(view(), &press);
        QCOMPARE(txtedit()->isVisible(), opens == "txtedit");
        QCOMPARE(list1()->isVisible(), opens == "List1");
        QCOMPARE(programs.size(), opens == "program" ? 1 : 0);
        QCOMPARE(access.size(), opens == "access" ? 1 : 0);
        if (opens == "txtedit") {
            QCOMPARE(txtedit()->text(), model()->cell(0, column));
        }
    }

    void arrowsAndEnterPickFromList1() {
        open({GridFixture::reader("Deur", "00AA00", 10)});
        view()->setCurrentIndex(model()->index(0, Col::ColLed));
        QTest::keyClick(view(), Qt::Key_Space);
        QVERIFY(list1()->isVisible());
        QCOMPARE(list1()->currentItem()->text(), QString("Extern Invers"));
        QTest::keyClick(list1(), Qt::Key_Up);
        QTest::keyClick(list1(), Qt::Key_Return);
        QVERIFY(!list1()->isVisible());
        QCOMPARE(int(m_fx->readBack(1).mode()), 26);
        QCOMPARE(view()->currentIndex(), model()->index(0, Col::ColLed));
    }

    void escapeClosesWithoutSaving() {
        open({GridFixture::reader("Deur", "00AA00")});
        const QByteArray before = fileBytes();
        view()->setCurrentIndex(model()->index(0, Col::ColName));
        QTest::keyClick(view(), Qt::Key_F2);
        type(txtedit(), "Achterdeur");
        QTest::keyClick(txtedit(), Qt::Key_Escape);
        QVERIFY(!txtedit()->isVisible());
        QCOMPARE(model()->cell(0, Col::ColName), QString("Deur"));
        QCOMPARE(model()->cell(0, Col::ColFlag), QString());
        QCOMPARE(fileBytes(), before);
        // Moving on afterwards commits nothing either.
        view()->setCurrentIndex(model()->index(0, Col::ColCode));
        QCOMPARE(fileBytes(), before);
    }

    // What the user confirms without changing it is not a change: no cross, no date, not a byte written.
    void enterWithoutChangeWritesNothing_data() {
        QTest::addColumn<int>("column");
        QTest::newRow("name") << int(Col::ColName);
        QTest::newRow("code") << int(Col::ColCode);
        QTest::newRow("LED, the same choice") << int(Col::ColLed);
        QTest::newRow("relay time, the same choice") << int(Col::ColTime);
    }
    void enterWithoutChangeWritesNothing() {
        QFETCH(int, column);
        Reader r = GridFixture::reader("Deur", "00AA00", 10);
        r.setRelayTime(5);
        open({r});
        const QByteArray before = fileBytes();
        view()->setCurrentIndex(model()->index(0, column));
        QTest::keyClick(view(), Qt::Key_Return);
        QWidget* editor = column == Col::ColName || column == Col::ColCode ? static_cast<QWidget*>(txtedit())
                                                                           : static_cast<QWidget*>(list1());
        QVERIFY(editor->isVisible());
        QTest::keyClick(editor, Qt::Key_Return);
        QVERIFY(!editor->isVisible());
        QCOMPARE(model()->cell(0, Col::ColFlag), QString());
        QCOMPARE(fileBytes(), before);
    }

    // Text reaches txtedit typed, pasted or dropped; each way meets the same refusal.
    void refusedWhateverWayTextArrives_data() {
        QTest::addColumn<int>("column");
        QTest::addColumn<QString>("how");  // "typed", "pasted" or "dropped"
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("kept");  // what txtedit holds afterwards; the refusal line shows otherwise
        QTest::newRow("pasted name into the code") << int(Col::ColCode) << "pasted"
                                                   << "Hoofdi"
                                                   << "";
        QTest::newRow("pasted hex, lower case") << int(Col::ColCode) << "pasted"
                                                << "a1b2"
                                                << "A1B2";
        QTest::newRow("pasted hex with a blank") << int(Col::ColCode) << "pasted"
                                                 << "A1 B2"
                                                 << "";
        QTest::newRow("dropped name into the code") << int(Col::ColCode) << "dropped" << QString("Hoofdi") << "";
        QTest::newRow("dropped L with stroke into the name")
            << int(Col::ColName) << "dropped" << QString::fromUtf8("Łódź") << "";
        QTest::newRow("dropped hex") << int(Col::ColCode) << "dropped" << QString("f00d") << "F00D";
        QTest::newRow("typed G in the code") << int(Col::ColCode) << "typed"
                                             << "1G"
                                             << "1";
        QTest::newRow("pasted L with stroke into the name")
            << int(Col::ColName) << "pasted" << QString::fromUtf8("Łódź") << "";
        QTest::newRow("typed L with stroke") << int(Col::ColName) << "typed" << QString::fromUtf8("aŁ") << "a";
        QTest::newRow("euro sign fits the code page")
            << int(Col::ColName) << "typed" << QString::fromUtf8("€ 5") << QString::fromUtf8("€ 5");
        QTest::newRow("accent composed on paste")
            << int(Col::ColName) << "pasted" << QString::fromUtf8("Cafe\u0301") << QString::fromUtf8("Cafe\u0301");
    }
    void refusedWhateverWayTextArrives() {
        QFETCH(int, column);
        QFETCH(QString, how);
        QFETCH(QString, text);
        QFETCH(QString, kept);
        open({GridFixture::reader("Deur", "00AA00")});
        const QByteArray before = fileBytes();
        view()->setCurrentIndex(model()->index(0, column));
        QTest::keyClick(view(), Qt::Key_F2);
        QVERIFY(txtedit()->isVisible());
        txtedit()->clear();
        if (how == "pasted") {
            QGuiApplication::clipboard()->setText(text);
            txtedit()->paste();
        } else if (how == "dropped") {
            QMimeData mime;
            mime.setText(text);
            QDragEnterEvent enter(QPoint(2, 2), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
            QApplication::sendEvent(txtedit(), &enter);
            QDropEvent drop(QPointF(2, 2), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
            QApplication::sendEvent(txtedit(), &drop);
        } else {
            // Key by key, as a keyboard with these letters sends them.
            for (const QChar c : text) {
                QKeyEvent press(QEvent::KeyPress, c.isDigit() || c.isLetter() ? c.toUpper().unicode() : 0,
                                Qt::NoModifier, QString(c));
                QApplication::sendEvent(txtedit(), &press);
            }
        }
        QCOMPARE(txtedit()->text(), kept);
        auto* refusal = m_grid->findChild<QLabel*>("weigering");
        const bool refused = kept != text && !(how != "typed" && kept == text.toUpper());
        QCOMPARE(refusal->isVisible(), refused);
        if (refused) {
            QVERIFY2(refusal->text().contains(column == Col::ColCode ? "0-9 en A-F" : "niet in de "),
                     qPrintable(refusal->text()));
        }
        QTest::keyClick(txtedit(), Qt::Key_Escape);
        QVERIFY(!refusal->isVisible());
        QCOMPARE(fileBytes(), before);
    }

    void theCurrentCellStaysAfterASave() {
        open({GridFixture::reader("Deur", "00AA00"), GridFixture::reader("Poort", "00BB00")});
        view()->setCurrentIndex(model()->index(1, Col::ColName));
        QTest::keyClick(view(), Qt::Key_F2);
        type(txtedit(), "Hek");
        QTest::keyClick(txtedit(), Qt::Key_Return);
        QCOMPARE(m_fx->readBack(2).lezerNaam().trimmed(), QString("Hek"));
        // The grid reads the file it follows again after the save; the cell stays.
        QTRY_VERIFY_WITH_TIMEOUT(m_ticks.armedCount() > 0, 10000);
        m_ticks.advance(RecordGrid::kFollowQuietMs);
        QCOMPARE(view()->currentIndex(), model()->index(1, Col::ColName));
    }

    void tabLeavesTheGrid() {
        open({GridFixture::reader("Deur", "00AA00")});
        QWidget window;
        auto* layout = new QVBoxLayout(&window);
        const auto giveBack = qScopeGuard([this] { m_grid->setParent(nullptr); });
        layout->addWidget(m_grid.get());
        auto* after = new QPushButton("Verder", &window);
        layout->addWidget(after);
        window.show();
        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        view()->setFocus();
        view()->setCurrentIndex(model()->index(0, Col::ColName));
        QTest::keyClick(view(), Qt::Key_Tab);
        QVERIFY(after->hasFocus());
        QCOMPARE(view()->currentIndex(), model()->index(0, Col::ColName));
        // From an open editor too, once what was typed is in.
        view()->setFocus();
        QTest::keyClick(view(), Qt::Key_F2);
        type(txtedit(), "Hek");
        QTest::keyClick(txtedit(), Qt::Key_Tab);
        QVERIFY(!txtedit()->isVisible());
        QVERIFY(after->hasFocus());
        QCOMPARE(m_fx->readBack(1).lezerNaam().trimmed(), QString("Hek"));
    }

    // A key holder's maps hold readers 1 to 128; the new-reader row says so before a 129th is named.
    void aReaderBeyondTheMapsIsShownAsSuch_data() {
        QTest::addColumn<int>("readers");
        QTest::addColumn<bool>("beyond");
        QTest::newRow("new row 128") << 127 << false;
        QTest::newRow("new row 129") << 128 << true;
    }
    void aReaderBeyondTheMapsIsShownAsSuch() {
        QFETCH(int, readers);
        QFETCH(bool, beyond);
        QList<Reader> list;
        for (int i = 0; i < readers; ++i) {
            list.append(GridFixture::reader(QStringLiteral("Lezer %1").arg(i + 1), "000000"));
        }
        open(list);
        const QModelIndex name = model()->index(readers, Col::ColName);
        QCOMPARE(model()->data(name, Qt::DisplayRole).toString(),
                 beyond ? ReaderListModel::beyondMapsText(readers + 1) : QString());
        QCOMPARE(model()->data(name, Qt::EditRole).toString(), QString());
        QCOMPARE(model()->data(model()->index(readers, Col::ColNumber), Qt::ToolTipRole).isValid(), beyond);
        // The editor opens empty, not with the warning.
        doubleClick(view(), readers, Col::ColName);
        QCOMPARE(txtedit()->text(), QString());
    }

    void deleteReader_data() {
        QTest::addColumn<int>("row");
        QTest::addColumn<int>("answer");
        QTest::addColumn<QStringList>("left");
        QTest::addColumn<QString>("second");
        QTest::newRow("first") << 0 << int(QMessageBox::Yes) << QStringList{"B", "C"}
                               << "Lezer 1 \"A\" verdwijnt. De lezers 2 tot en met 3 schuiven op naar 1 tot en met 2 "
                                  "en krijgen de toegang van hun voorganger: controleer ze.";
        QTest::newRow("last") << 2 << int(QMessageBox::Yes) << QStringList{"A", "B"}
                              << "Lezer 3 \"C\" verdwijnt. Er komen geen lezers na; er verschuift niets.";
        QTest::newRow("answered No") << 1 << int(QMessageBox::No) << QStringList{"A", "B", "C"}
                                     << "Lezer 2 \"B\" verdwijnt. Lezer 3 schuift op naar 2 en krijgt de toegang van "
                                        "zijn voorganger: controleer hem.";
    }
    void deleteReader() {
        QFETCH(int, row);
        QFETCH(int, answer);
        QFETCH(QStringList, left);
        QFETCH(QString, second);
        open({GridFixture::reader("A", "00000A"), GridFixture::reader("B", "00000B"),
              GridFixture::reader("C", "00000C")});
        click(view(), row, Col::ColName);
        MessageBox::setNextAnswer(QMessageBox::StandardButton(answer));
        m_grid->wiscmd_Click();
        const QList<MessageBox::Shown> shown = MessageBox::takeShown();
        QCOMPARE(shown.size(), 1);
        QCOMPARE(shown.at(0).text.section('\n', 0, 0), QString("Wissen regel %1").arg(row + 1));
        QCOMPARE(shown.at(0).text.section('\n', 1), second);
        QCOMPARE(shown.at(0).title, QString("Locatie gegevens weggooien"));
        QCOMPARE(shown.at(0).icon, QMessageBox::Critical);
        QCOMPARE(shown.at(0).buttons, QMessageBox::Yes | QMessageBox::No);
        QCOMPARE(shown.at(0).defaultButton, QMessageBox::No);

        QCOMPARE(m_fx->countOnDisk(), int(left.size()));
        QCOMPARE(model()->rowCount(), int(left.size()) + 1);
        for (int i = 0; i < left.size(); ++i) {
            QCOMPARE(m_fx->readBack(i + 1).lezerNaam().trimmed(), left.at(i));
            QCOMPARE(model()->cell(i, Col::ColName), left.at(i));
            QCOMPARE(model()->cell(i, Col::ColNumber), QString::number(i + 1));
        }
    }

    void deleteKeepsTheTopRow() {
        QList<Reader> many;
        for (int i = 1; i <= 60; ++i) {
            many.append(GridFixture::reader(QString("Lezer %1").arg(i), "000000"));
        }
        open(many);
        QCoreApplication::processEvents();
        view()->scrollTo(model()->index(20, 0), QAbstractItemView::PositionAtTop);
        const int top = view()->rowAt(0);
        QVERIFY(top > 0);
        view()->setCurrentIndex(model()->index(top + 2, Col::ColName));
        MessageBox::setNextAnswer(QMessageBox::Yes);
        m_grid->wiscmd_Click();
        QCOMPARE(MessageBox::takeShown().size(), 1);
        QCOMPARE(view()->rowAt(0), top);
        QCOMPARE(model()->cell(top + 2, Col::ColName), QString("Lezer %1").arg(top + 4));
    }

    void fileErrorDuringEdit_data() {
        QTest::addColumn<bool>("vanish");
        QTest::newRow("read-only autonoom.bst") << false;
        QTest::newRow("data folder removed") << true;
    }
    void fileErrorDuringEdit() {
        QFETCH(bool, vanish);
        open({GridFixture::reader("Oud", "0000AA")});
        ReadOnlyOps readOnly;
        QString systemText;
        if (vanish) {
            QVERIFY(QDir(m_fx->folder()).removeRecursively());
            systemText = QString::fromLocal8Bit(std::strerror(ENOENT));
        } else {
            QVERIFY(QFile::setPermissions(m_fx->readerPath(), QFile::ReadOwner | QFile::ReadGroup | QFile::ReadOther));
            QFile probe(m_fx->readerPath());
            // The superuser writes through the mode bits; there the refusal is made for it.
            if (probe.open(QIODevice::ReadWrite)) {
                m_fx->session.fileOps = &readOnly;
            }
            systemText = QString::fromLocal8Bit(std::strerror(EACCES));
        }
        doubleClick(view(), 0, Col::ColName);
        type(txtedit(), "Nieuw");
        QTest::keyClick(txtedit(), Qt::Key_Return);

        const QList<MessageBox::Shown> shown = MessageBox::takeShown();
        QCOMPARE(shown.size(), 1);
        QVERIFY2(shown.at(0).text.contains(systemText), qPrintable(shown.at(0).text));
        QCOMPARE(shown.at(0).icon, QMessageBox::Warning);
        // The grid shows the disk again, and the window goes on working.
        if (vanish) {
            QCOMPARE(model()->rowCount(), 1);
            QCOMPARE(model()->cell(0, Col::ColNumber), QString("1"));
        } else {
            QCOMPARE(model()->rowCount(), 2);
            QCOMPARE(model()->cell(0, Col::ColName), QString("Oud"));
            QCOMPARE(model()->cell(0, Col::ColFlag), QString());
            QCOMPARE(m_fx->readBack(1).lezerNaam().trimmed(), QString("Oud"));
        }
        QVERIFY(!txtedit()->isVisible());
        m_fx->session.fileOps = nullptr;
    }

    // Another instance on the same folder changed the file after this grid read it. What this grid
    // does must land on the reader the user saw, or not at all: then the list is read again.
    void anotherInstanceChangedTheFile_data() {
        QTest::addColumn<QString>("other");  // what the other instance did
        QTest::addColumn<QString>("here");   // what the user does in this grid
        QTest::addColumn<int>("row");
        QTest::addColumn<bool>("refused");
        QTest::addColumn<QStringList>("after");  // names on disk afterwards, and in the grid
        QTest::newRow("delete after another deleted a reader before it")
            << "delete 1"
            << "delete" << 1 << true << QStringList{"Magazijn achter", "Kantoor 1e etage"};
        QTest::newRow("delete after another deleted that reader")
            << "delete 2"
            << "delete" << 1 << true << QStringList{"Hoofdingang", "Kantoor 1e etage"};
        QTest::newRow("delete after another changed that reader")
            << "relay 2"
            << "delete" << 1 << true << QStringList{"Hoofdingang", "Magazijn achter", "Kantoor 1e etage"};
        QTest::newRow("delete after another changed a later reader")
            << "relay 3"
            << "delete" << 1 << false << QStringList{"Hoofdingang", "Kantoor 1e etage"};
        QTest::newRow("delete after another added a reader")
            << "append"
            << "delete" << 0 << false << QStringList{"Magazijn achter", "Kantoor 1e etage", "Nieuw"};
        QTest::newRow("save after another changed that reader")
            << "relay 2"
            << "rename" << 1 << true << QStringList{"Hoofdingang", "Magazijn achter", "Kantoor 1e etage"};
        QTest::newRow("save after another deleted a reader before it")
            << "delete 1"
            << "rename" << 1 << true << QStringList{"Magazijn achter", "Kantoor 1e etage"};
        QTest::newRow("save after another changed another reader")
            << "relay 3"
            << "rename" << 1 << false << QStringList{"Hoofdingang", "Poort", "Kantoor 1e etage"};
        QTest::newRow("choice after another changed that reader")
            << "relay 2"
            << "led" << 1 << true << QStringList{"Hoofdingang", "Magazijn achter", "Kantoor 1e etage"};
        QTest::newRow("new reader after another added one")
            << "append"
            << "rename" << 3 << true << QStringList{"Hoofdingang", "Magazijn achter", "Kantoor 1e etage", "Nieuw"};
        QTest::newRow("new reader, nobody else")
            << ""
            << "rename" << 3 << false << QStringList{"Hoofdingang", "Magazijn achter", "Kantoor 1e etage", "Poort"};
    }
    void anotherInstanceChangedTheFile() {
        QFETCH(QString, other);
        QFETCH(QString, here);
        QFETCH(int, row);
        QFETCH(bool, refused);
        QFETCH(QStringList, after);
        open({GridFixture::reader("Hoofdingang", "A1F3C2"), GridFixture::reader("Magazijn achter", "0B7E44"),
              GridFixture::reader("Kantoor 1e etage", "3C9D01")});
        const ReaderFile elsewhere(m_fx->folder());
        const int n = other.section(' ', 1).toInt();
        if (other.startsWith("delete")) {
            VERIFY_OK(elsewhere.remove(n));
        } else if (other.startsWith("relay")) {
            VERIFY_OK(elsewhere.update(n, [](Reader& r) { r.setMode(quint8(r.mode() | Reader::kModeHold)); }));
        } else if (other == "append") {
            VERIFY_OK(elsewhere.write(4, GridFixture::reader("Nieuw", "444444")));
        }

        if (here == "delete") {
            click(view(), row, Col::ColName);
            MessageBox::setNextAnswer(QMessageBox::Yes);
            m_grid->wiscmd_Click();
        } else if (here == "rename") {
            doubleClick(view(), row, Col::ColName);
            type(txtedit(), "Poort");
            QTest::keyClick(txtedit(), Qt::Key_Return);
        } else {
            click(view(), row, Col::ColLed);
            QVERIFY(pick(list1(), "Extern"));
        }

        QList<MessageBox::Shown> shown = MessageBox::takeShown();
        if (here == "delete") {
            QCOMPARE(shown.takeFirst().text.section('\n', 0, 0), QString("Wissen regel %1").arg(row + 1));
        }
        QCOMPARE(shown.size(), refused ? 1 : 0);
        if (refused) {
            QVERIFY2(shown.at(0).text.contains("is intussen door een ander gewijzigd"), qPrintable(shown.at(0).text));
            QVERIFY2(shown.at(0).text.contains("autonoom.bst"), qPrintable(shown.at(0).text));
        }
        QCOMPARE(m_fx->countOnDisk(), int(after.size()));
        QCOMPARE(model()->rowCount(), int(after.size()) + 1);
        for (int i = 0; i < after.size(); ++i) {
            QCOMPARE(m_fx->readBack(i + 1).lezerNaam().trimmed(), after.at(i));
            QCOMPARE(model()->cell(i, Col::ColName), after.at(i));
        }
        // The other instance's relay change stands; the grid shows it once it has read the file again.
        if (other.startsWith("relay")) {
            const int at = int(after.indexOf(n == 2 ? "Magazijn achter" : "Kantoor 1e etage"));
            QVERIFY(at >= 0);
            QCOMPARE(relayText(m_fx->readBack(at + 1).mode()), QString("Houd"));
            if (refused || here == "delete") {
                QCOMPARE(model()->cell(at, Col::ColRelay), QString("Houd"));
            }
        }
    }

    // Another instance writes the file: the grid reads it again once the changes have settled,
    // keeping the user's place, and never under an open editor.
    void followsTheFile_data() {
        QTest::addColumn<QString>("other");
        QTest::addColumn<bool>("editing");
        QTest::newRow("another saves a reader") << "rename" << false;
        QTest::newRow("another deletes a reader") << "delete" << false;
        QTest::newRow("another saves while this grid edits") << "rename" << true;
        QTest::newRow("another deletes while this grid edits") << "delete" << true;
    }
    void followsTheFile() {
        QFETCH(QString, other);
        QFETCH(bool, editing);
        QList<Reader> many;
        for (int i = 1; i <= 60; ++i) {
            many.append(GridFixture::reader(QString("Lezer %1").arg(i), "000000"));
        }
        open(many);
        QCoreApplication::processEvents();
        view()->scrollTo(model()->index(20, 0), QAbstractItemView::PositionAtTop);
        const int top = view()->rowAt(0);
        QVERIFY(top > 0);
        view()->setCurrentIndex(model()->index(top + 2, Col::ColName));
        if (editing) {
            doubleClick(view(), top + 2, Col::ColName);
            type(txtedit(), "Half");
        }
        // Where the user is, as numbers: a reload makes every index of the model new.
        QPair<int, int> place{view()->currentIndex().row(), view()->currentIndex().column()};
        const ReaderFile elsewhere(m_fx->folder());
        // Twice: a file replaced by a rename must go on being followed.
        for (int round = 1; round <= 2; ++round) {
            if (other == "rename") {
                VERIFY_OK(
                    elsewhere.update(50, [round](Reader& r) { r.setLezerNaam(QString("Elders %1").arg(round)); }));
            } else {
                VERIFY_OK(elsewhere.remove(59));
            }
            QTRY_VERIFY_WITH_TIMEOUT(m_ticks.armedCount() > 0, 10000);
            m_ticks.advance(1000);
            if (editing && round == 1) {
                // Not under the editor: what is typed stays, the list waits.
                QVERIFY(txtedit()->isVisible());
                QCOMPARE(txtedit()->text(), QString("Half"));
                QCOMPARE(model()->rowCount(), 61);
                QCOMPARE(model()->cell(49, Col::ColName), QString("Lezer 50"));
                QTest::keyClick(txtedit(), Qt::Key_Return);
                place = {view()->currentIndex().row(), view()->currentIndex().column()};
                m_ticks.advance(1000);
            }
            QCOMPARE(model()->rowCount(), other == "rename" ? 61 : 61 - round);
            QCOMPARE(model()->cell(49, Col::ColName),
                     other == "rename" ? QString("Elders %1").arg(round) : QString("Lezer 50"));
            QCOMPARE(view()->rowAt(0), top);
            QCOMPARE(view()->currentIndex().row(), place.first);
            QCOMPARE(view()->currentIndex().column(), place.second);
        }
        if (editing) {
            QCOMPARE(m_fx->readBack(top + 3).lezerNaam().trimmed(), QString("Half"));
        }
        QCOMPARE(MessageBox::takeShown().size(), 0);
    }
};

QTEST_MAIN(TestReaderGrid)
#include "tst_readergrid.moc"
