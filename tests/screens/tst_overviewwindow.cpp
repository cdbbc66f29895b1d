// The "Overzicht" window over hand-built record files: opened from the access grid, its two views and
// filter, and its print, PDF and CSV buttons answered through the dialog seam.

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTabWidget>
#include <QtTest>

#include "records/LocationFile.h"
#include "reports/OverviewExport.h"
#include "screens/AccessWindow.h"
#include "screens/FileDialogs.h"
#include "screens/MessageBox.h"
#include "screens/OverviewWindow.h"
#include "support/AccessRecords.h"
#include "support/GridFixture.h"

namespace {

QStringList column(const OverviewTableModel* model, int c) {
    QStringList out;
    for (int r = 0; r < model->rowCount(); ++r) {
        out.append(model->index(r, c).data().toString());
    }
    return out;
}

}  // namespace

class TestOverviewWindow : public QObject {
    Q_OBJECT

    std::unique_ptr<GridFixture> m_fx;
    std::unique_ptr<AccessWindow> m_access;
    OverviewWindow* m_window = nullptr;

    void click(const char* name) {
        auto* button = m_window->findChild<QPushButton*>(QString::fromLatin1(name));
        QVERIFY(button);
        QTest::mouseClick(button, Qt::LeftButton);
    }

private Q_SLOTS:
    void init() {
        MessageBox::setTestMode(true);
        FileDialogs::setTestMode(true);
        m_fx = std::make_unique<GridFixture>();
        m_fx->session.subdir = QStringLiteral("noord");
        LocationFile locations(m_fx->session.bestandenFolder());
        QDir().mkpath(m_fx->session.bestandenFolder());
        Location::Texts texts;
        texts[Location::Naam] = QStringLiteral("Vestiging Noord");
        texts[Location::Map] = QStringLiteral("NOORD");
        VERIFY_OK(locations.saveRecord(1, texts));
        QVERIFY(accessrecords::writeFolder(m_fx->session.dataFolder(), accessrecords::sampleReaders(),
                                           accessrecords::sampleHolders()));
        m_access = std::make_unique<AccessWindow>(m_fx->session);
        m_access->show();
        QTest::mouseClick(m_access->findChild<QPushButton*>(QStringLiteral("overzichtcmd")), Qt::LeftButton);
        m_window = m_access->findChild<OverviewWindow*>();
        QVERIFY(m_window);
        m_window->setDate(QDate(2025, 6, 1));
        QVERIFY(MessageBox::takeShown().isEmpty());
    }
    void cleanup() {
        m_access.reset();
        m_fx.reset();
        FileDialogs::setTestMode(false);
    }

    void opensOnTheLocation() {
        QVERIFY(m_window->isVisible());
        QCOMPARE(m_window->windowTitle(), QStringLiteral("Overzicht"));
        QCOMPARE(m_window->findChild<QLabel*>(QStringLiteral("locatielbl"))->text(), QStringLiteral("Vestiging Noord"));
        const OverviewTableModel* readers = m_window->listModel(OverviewView::PerReader);
        QCOMPARE(column(readers, 1), (QStringList{"A1F3C2", "0B7E44", "3C9D01"}));
        QCOMPARE(column(readers, 5), (QStringList{"X", "", "X"}));
        // The first reader is chosen: granted apart from withdrawn.
        QCOMPARE(column(m_window->grantedModel(OverviewView::PerReader), 1),
                 (QStringList{"Jansen, Anna", "Bakker; Bram"}));
        QCOMPARE(column(m_window->grantedModel(OverviewView::PerReader), 3), (QStringList{"ja", "nee"}));
        QCOMPARE(column(m_window->withdrawnModel(OverviewView::PerReader), 1), (QStringList{"Visser \"Cor\""}));

        m_window->setView(OverviewView::PerHolder);
        m_window->selectRow(1);
        QCOMPARE(column(m_window->listModel(OverviewView::PerHolder), 0).size(), 5);
        QCOMPARE(column(m_window->grantedModel(OverviewView::PerHolder), 2), (QStringList{"Hoofdingang"}));
        QCOMPARE(column(m_window->withdrawnModel(OverviewView::PerHolder), 2), (QStringList{"Kantoor; 1e \"etage\""}));
    }

    void filterNarrowsBothViews_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("readers");
        QTest::addColumn<QStringList>("holders");
        QTest::newRow("name") << "bakker" << QStringList{"1", "3"} << QStringList{"2"};
        QTest::newRow("key code") << "a1b2" << QStringList{"1", "2"} << QStringList{"1"};
        QTest::newRow("none") << "zzz" << QStringList() << QStringList();
        QTest::newRow("cleared") << "" << QStringList{"1", "2", "3"} << QStringList{"1", "2", "3", "4", "5"};
    }
    void filterNarrowsBothViews() {
        QFETCH(QString, text);
        QTest::keyClicks(m_window->findChild<QLineEdit*>(QStringLiteral("filtertxt")), text);
        QTEST(column(m_window->listModel(OverviewView::PerReader), 0), "readers");
        QTEST(column(m_window->listModel(OverviewView::PerHolder), 0), "holders");
        if (text.isEmpty()) {
            return;
        }
        // Reader 1 with only the matching holders under it.
        const QStringList onFirst = column(m_window->grantedModel(OverviewView::PerReader), 0) +
                                    column(m_window->withdrawnModel(OverviewView::PerReader), 0);
        QCOMPARE(onFirst.size(), m_window->listModel(OverviewView::PerReader)->rowCount() ? 1 : 0);
    }

    // What the CSV button writes is the export of the view and filter on screen; a cancelled dialog
    // writes nothing.
    void csvButton() {
        const QString path = m_fx->dir.filePath(QStringLiteral("uit.csv"));
        click("csvcmd");
        QCOMPARE(FileDialogs::takeShown(), QStringList{"CSV exporteren"});
        QVERIFY(!QFile::exists(path));

        m_window->setView(OverviewView::PerHolder);
        m_window->setFilter(QStringLiteral("smit"));
        FileDialogs::setNextSaveName(path);
        click("csvcmd");
        QCOMPARE(fixtures::readFile(path),
                 QByteArray("\xEF\xBB\xBF"
                            "Sleutelhouder;Naam;Sleutelcode;Geldig;Lezer;Lezercode;Lezernaam;Toegang\r\n"
                            "5;Smit, Eva;FFEEDDCCBB;ja;2;0B7E44;Caf\xC3\xA9 \xE2\x82\xAC-kassa;ingetrokken\r\n"));
        QVERIFY(MessageBox::takeShown().isEmpty());
    }

    void pdfAndPrintButtons() {
        const QString pdf = m_fx->dir.filePath(QStringLiteral("uit.pdf"));
        FileDialogs::setNextSaveName(pdf);
        click("pdfcmd");
        QVERIFY(fixtures::readFile(pdf).startsWith("%PDF-"));

        const QString printed = m_fx->dir.filePath(QStringLiteral("afdruk.pdf"));
        FileDialogs::setPreviewOutput(printed);
        click("printcmd");
        QCOMPARE(FileDialogs::takeShown(), (QStringList{"PDF opslaan", "Afdrukvoorbeeld"}));
        QVERIFY(fixtures::readFile(printed).startsWith("%PDF-"));
        QVERIFY(MessageBox::takeShown().isEmpty());
    }

    void unwritableFileIsReported_data() {
        QTest::addColumn<QString>("button");
        QTest::newRow("csv") << "csvcmd";
        QTest::newRow("pdf") << "pdfcmd";
    }
    void unwritableFileIsReported() {
        QFETCH(QString, button);
        const QString path = m_fx->dir.filePath(QStringLiteral("geen-map/uit"));
        FileDialogs::setNextSaveName(path);
        click(qPrintable(button));
        const QList<MessageBox::Shown> shown = MessageBox::takeShown();
        QCOMPARE(shown.size(), 1);
        QVERIFY2(shown.at(0).text.contains(path), qPrintable(shown.at(0).text));
    }

    // The button again brings the same window up, read anew.
    void reopeningReadsAgain() {
        QVERIFY(accessrecords::writeFolder(m_fx->session.dataFolder(), accessrecords::sampleReaders().mid(0, 1), {}));
        QTest::mouseClick(m_access->findChild<QPushButton*>(QStringLiteral("overzichtcmd")), Qt::LeftButton);
        QCOMPARE(m_access->findChildren<OverviewWindow*>().size(), 1);
        QCOMPARE(m_window->listModel(OverviewView::PerReader)->rowCount(), 1);
        QCOMPARE(m_window->listModel(OverviewView::PerHolder)->rowCount(), 0);
        QCOMPARE(m_window->grantedModel(OverviewView::PerReader)->rowCount(), 0);
    }

    void modelsPassTheTester() {
        for (OverviewView view : {OverviewView::PerReader, OverviewView::PerHolder}) {
            QAbstractItemModelTester tester(m_window->listModel(view),
                                            QAbstractItemModelTester::FailureReportingMode::QtTest);
            m_window->setFilter(QStringLiteral("a"));
            m_window->setFilter(QString());
        }
    }
};

QTEST_MAIN(TestOverviewWindow)
#include "tst_overviewwindow.moc"
