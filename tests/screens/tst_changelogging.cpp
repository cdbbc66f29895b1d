// Every change made in the reader list and the access grid leaves one line in the location's
// logboek.txt once it is on disk, and none when it is refused; a log that cannot be written is told
// once and holds up nothing; the setting verschuif takes the deleted reader out of every key holder's
// maps.
#include <QLabel>
#include <QRegularExpression>

#include "records/ChangeLog.h"
#include "records/KeyHolderFile.h"
#include "screens/AccessGrid.h"
#include "screens/AccessGridModel.h"
#include "screens/CellEditor.h"
#include "screens/ChangeLogWindow.h"
#include "screens/MessageBox.h"
#include "screens/ReaderListModel.h"
#include "support/GridFixture.h"
#include "support/ReadOnlyFile.h"
#include "support/RecordFixtures.h"

using namespace fixtures;
using namespace GridDriver;
using Col = ReaderListModel::Column;

namespace {

const QString kUser = QStringLiteral("beheerder");

KeyHolder holder(const QString& naam, quint8 toegang0) {
    KeyHolder k = KeyHolder::blank();
    k.setGeldig(QStringLiteral("1"));
    k.setNaam(naam);
    QByteArray map(KeyHolder::kMapBytes, '\0');
    map[0] = static_cast<char>(toegang0);
    k.setToegang(map);
    return k;
}

}  // namespace

class TestChangeLogging : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<GridFixture> m_fx;
    std::unique_ptr<ReaderGrid> m_readers;
    std::unique_ptr<AccessGrid> m_access;

    QString holdersPath() const { return QDir(m_fx->folder()).filePath("asleutel.bst"); }
    QString logPath() const { return QDir(m_fx->folder()).filePath("logboek.txt"); }

    // The changes told in the log, oldest first, each checked for its time and user.
    QStringList logged() const {
        const Result<QStringList> lines = ChangeLog(m_fx->folder()).newestFirst();
        if (!lines) {
            return {lines.error};
        }
        static const QRegularExpression head(
            QStringLiteral("^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d(Z|[+-]\\d\\d:\\d\\d) %1 ").arg(kUser));
        QStringList changes;
        for (auto it = lines.value.crbegin(); it != lines.value.crend(); ++it) {
            const QRegularExpressionMatch match = head.match(*it);
            changes.append(match.hasMatch() ? it->mid(match.capturedLength()) : QStringLiteral("?? ") + *it);
        }
        return changes;
    }

    void writeFiles() {
        m_fx->writeReaders({GridFixture::reader("Hal", "00000A"), GridFixture::reader("Kelder", "00000B"),
                            GridFixture::reader("Zolder", "00000C")});
        KeyHolderFile holders(m_fx->folder());
        // Jansen opens readers 1 and 3, Smit reader 2.
        holders.current() = holder("Jansen", 0x05);
        VERIFY_OK(holders.write(1));
        holders.current() = holder("Smit", 0x02);
        VERIFY_OK(holders.write(2));
    }
    void openReaders() {
        m_readers = std::make_unique<ReaderGrid>(m_fx->session);
        m_readers->resize(1000, 400);
        m_readers->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_readers.get()));
        QVERIFY(m_readers->fg2_laden());
    }
    void openAccess() {
        m_access = std::make_unique<AccessGrid>(m_fx->session);
        m_access->resize(1000, 400);
        m_access->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_access.get()));
        QVERIFY(m_access->fg3_laden());
    }
    QLineEdit* txtedit(RecordGrid* grid) const { return grid->editor()->txtedit(); }
    QListWidget* list1() const { return m_readers->findChild<QListWidget*>(QStringLiteral("List1")); }

    void renameReader(int row, const QString& name) {
        doubleClick(m_readers->view(), row, Col::ColName);
        QLineEdit* editor = txtedit(m_readers.get());
        editor->selectAll();
        type(editor, name);
        QTest::keyClick(editor, Qt::Key_Return);
    }

private Q_SLOTS:
    void init() {
        MessageBox::setTestMode(true);
        m_fx = std::make_unique<GridFixture>();
        m_fx->session.logUser = kUser;
        writeFiles();
    }
    void cleanup() {
        m_readers.reset();
        m_access.reset();
        m_fx.reset();
        QCOMPARE(MessageBox::takeShown().size(), 0);
    }

    void readerChangesAreLogged_data() {
        QTest::addColumn<QString>("change");
        QTest::addColumn<QString>("expected");
        QTest::newRow("name typed") << "rename"
                                    << "Lezer 2 \"Kelder\" gewijzigd: LezerNaam \"Kelder\" → \"Berging\"";
        QTest::newRow("LED picked") << "led"
                                    << "Lezer 2 \"Kelder\" gewijzigd: LED \"Intern\" → \"Extern\"";
        QTest::newRow("reader added") << "add"
                                      << "Lezer 4 \"Berging\" toegevoegd";
        QTest::newRow("reader deleted")
            << "delete"
            << "Lezer 2 \"Kelder\" verwijderd; lezer 3 is nu lezer 2 en heeft de toegang van zijn voorganger "
               "gekregen: nakijken";
    }
    void readerChangesAreLogged() {
        QFETCH(QString, change);
        QFETCH(QString, expected);
        openReaders();
        QVERIFY(!QFile::exists(logPath()));
        if (change == "rename") {
            renameReader(1, "Berging");
            QCOMPARE(m_fx->readBack(2).lezerNaam().trimmed(), QString("Berging"));
        } else if (change == "led") {
            click(m_readers->view(), 1, Col::ColLed);
            QVERIFY(pick(list1(), "Extern"));
            QVERIFY(m_fx->readBack(2).isChanged());
        } else if (change == "add") {
            renameReader(3, "Berging");
            QCOMPARE(m_fx->countOnDisk(), 4);
        } else {
            click(m_readers->view(), 1, Col::ColName);
            MessageBox::setNextAnswer(QMessageBox::Yes);
            m_readers->wiscmd_Click();
            QCOMPARE(MessageBox::takeShown().size(), 1);
            QCOMPARE(m_fx->countOnDisk(), 2);
        }
        QCOMPARE(logged(), QStringList{expected});
    }

    void refusedChangesAreNotLogged() {
        openReaders();
        // Another program changes reader 2 meanwhile: the edit and the delete are refused.
        Reader other = m_fx->readBack(2);
        other.setLezerNaam(QStringLiteral("Elders"));
        VERIFY_OK(ReaderFile(m_fx->folder()).write(2, other));
        renameReader(1, "Berging");
        QCOMPARE(MessageBox::takeShown().size(), 1);
        click(m_readers->view(), 2, Col::ColName);
        other.setLezerNaam(QStringLiteral("Weer anders"));
        VERIFY_OK(ReaderFile(m_fx->folder()).write(3, other));
        MessageBox::setNextAnswer(QMessageBox::Yes);
        m_readers->wiscmd_Click();
        QCOMPARE(MessageBox::takeShown().size(), 2);
        QCOMPARE(m_fx->countOnDisk(), 3);
        // Answered No: nothing happened, nothing is told.
        click(m_readers->view(), 0, Col::ColName);
        MessageBox::setNextAnswer(QMessageBox::No);
        m_readers->wiscmd_Click();
        QCOMPARE(MessageBox::takeShown().size(), 1);
        QCOMPARE(logged(), QStringList());
    }

    void accessStepsAndTextsAreLogged() {
        openAccess();
        const int hal = AccessGridModel::kFirstReaderColumn;
        click(m_access.get(), 1, hal);  // Smit: white to green
        click(m_access.get(), 1, hal);  // green to blue
        click(m_access.get(), 1, hal);  // blue to white
        doubleClick(m_access.get(), 0, AccessGridModel::ColPlaats);
        type(txtedit(m_access.get()), "Ede");
        QTest::keyClick(txtedit(m_access.get()), Qt::Key_Return);
        QCOMPARE(logged(), (QStringList{
                               "Sleutelhouder 2 \"Smit\" × lezer 1 \"Hal\": toegang verleend (groen)",
                               "Sleutelhouder 2 \"Smit\" × lezer 1 \"Hal\": toegang ingetrokken (blauw)",
                               "Sleutelhouder 2 \"Smit\" × lezer 1 \"Hal\": geen toegang meer vermeld (wit)",
                               "Sleutelhouder 1 \"Jansen\" gewijzigd: Plaats \"\" → \"Ede\"",
                           }));
    }

    void refusedAccessStepIsNotLogged() {
        openAccess();
        // The holder changed on disk since the grid read it.
        KeyHolderFile holders(m_fx->folder());
        holders.current() = holder("Smit-de Vries", 0x02);
        VERIFY_OK(holders.write(2));
        click(m_access.get(), 1, AccessGridModel::kFirstReaderColumn);
        QCOMPARE(MessageBox::takeShown().size(), 1);
        QCOMPARE(logged(), QStringList());
    }

    void unwritableLogWarnsOnceAndChangesLand_data() {
        QTest::addColumn<QString>("how");
        QTest::newRow("folder in place of logboek.txt") << "folder";
        QTest::newRow("read-only logboek.txt") << "file";
        QTest::newRow("read-only location folder") << "readonly folder";
    }
    void unwritableLogWarnsOnceAndChangesLand() {
        QFETCH(QString, how);
        std::unique_ptr<ReadOnlyFile> readOnly;
        if (how == "folder") {
            QVERIFY(QDir().mkdir(logPath()));
        } else if (how == "file") {
            QVERIFY(writeFile(logPath(), QByteArray()));
            readOnly = std::make_unique<ReadOnlyFile>(logPath());
        }
        openReaders();
        openAccess();
        if (how == "readonly folder") {
            QVERIFY(QFile::setPermissions(m_fx->folder(), QFile::ReadOwner | QFile::ExeOwner));
        }
        renameReader(0, "Entree");
        click(m_access.get(), 1, AccessGridModel::kFirstReaderColumn);
        renameReader(2, "Vliering");
        QFile::setPermissions(m_fx->folder(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        readOnly.reset();

        const QList<MessageBox::Shown> shown = MessageBox::takeShown();
        QCOMPARE(shown.size(), 1);
        QVERIFY2(shown.at(0).text.contains("logboek.txt") && shown.at(0).text.contains("opgeslagen"),
                 qPrintable(shown.at(0).text));
        QCOMPARE(m_fx->readBack(1).lezerNaam().trimmed(), QString("Entree"));
        QCOMPARE(m_fx->readBack(3).lezerNaam().trimmed(), QString("Vliering"));
        KeyHolderFile holders(m_fx->folder());
        VERIFY_OK(holders.record_load(2));
        QCOMPARE(quint8(holders.current().toegang().at(0)), quint8(0x03));
    }

    void verschuifKeepsEachReadersAccess_data() {
        QTest::addColumn<QString>("setting");
        QTest::addColumn<QList<quint8>>("maps");
        QTest::addColumn<QString>("question");
        QTest::addColumn<QString>("told");
        // Reader 1 deleted: Jansen (1 and 3) and Smit (2).
        QTest::newRow("off") << "0" << QList<quint8>{0x05, 0x02}
                             << "De lezers 2 tot en met 3 schuiven op naar 1 tot en met 2 en krijgen de toegang van "
                                "hun voorganger: controleer ze."
                             << "en hebben de toegang van hun voorganger gekregen: nakijken";
        QTest::newRow("on") << " 1 " << QList<quint8>{0x02, 0x01}
                            << "De lezers 2 tot en met 3 schuiven op naar 1 tot en met 2; de toegang van de "
                               "sleutelhouders schuift mee. Controleer ze."
                            << "de toegang van de sleutelhouders is meegeschoven";
    }
    void verschuifKeepsEachReadersAccess() {
        QFETCH(QString, setting);
        QFETCH(QList<quint8>, maps);
        QFETCH(QString, question);
        QFETCH(QString, told);
        m_fx->settings.save(QStringLiteral("Opties"), QStringLiteral("Verschuif"), setting);
        const QByteArray before = readFile(holdersPath());
        openReaders();
        click(m_readers->view(), 0, Col::ColName);
        MessageBox::setNextAnswer(QMessageBox::Yes);
        m_readers->wiscmd_Click();
        const QList<MessageBox::Shown> shown = MessageBox::takeShown();
        QCOMPARE(shown.size(), 1);
        QCOMPARE(shown.at(0).text.section('\n', 0, 0), QString("Wissen regel 1"));
        QVERIFY2(shown.at(0).text.section('\n', 1).endsWith(question), qPrintable(shown.at(0).text));
        QCOMPARE(m_fx->countOnDisk(), 2);
        const QByteArray after = readFile(holdersPath());
        QCOMPARE(quint8(after.at(291)), maps.at(0));
        QCOMPARE(quint8(after.at(512 + 291)), maps.at(1));
        if (setting == "0") {
            QCOMPARE(after, before);
        }
        QCOMPARE(logged().size(), 1);
        QVERIFY2(logged().at(0).endsWith(told), qPrintable(logged().at(0)));
    }

    void logWindowShowsNewestFirstAndFilters() {
        ChangeLogWindow empty(m_fx->session);
        QVERIFY(empty.shownLines().isEmpty());
        QVERIFY(empty.findChild<QLabel*>("aantallbl")->text().contains("Nog geen"));

        const ChangeLog log(m_fx->folder(), kUser);
        const QDateTime start(QDate(2026, 3, 1), QTime(8, 0));
        VERIFY_OK(log.append("Lezer 1 \"Hal\" toegevoegd", start));
        VERIFY_OK(log.append("Sleutelhouder 2 \"Smit\" × lezer 1 \"Hal\": toegang verleend (groen)", start.addSecs(5)));
        VERIFY_OK(log.append("Lezer 2 \"Kelder\" toegevoegd", start.addSecs(9)));
        ChangeLogWindow window(m_fx->session);
        QStringList shown = window.shownLines();
        QCOMPARE(shown.size(), 3);
        QVERIFY(shown.at(0).endsWith("Lezer 2 \"Kelder\" toegevoegd"));
        QVERIFY(shown.at(2).endsWith("Lezer 1 \"Hal\" toegevoegd"));
        QTest::keyClicks(window.filter(), "SMIT");
        shown = window.shownLines();
        QCOMPARE(shown.size(), 1);
        QVERIFY(shown.at(0).contains("toegang verleend"));
        QCOMPARE(window.findChild<QLabel*>("aantallbl")->text(), QString("1 van 3 regels"));
        window.filter()->clear();
        QCOMPARE(window.shownLines().size(), 3);
    }
};

QTEST_MAIN(TestChangeLogging)
#include "tst_changelogging.moc"
