#include <QGuiApplication>
#include <QHeaderView>
#include <QScreen>
#include <QStandardItemModel>
#include <QTableView>
#include <QTemporaryDir>
#include <QtTest>

#include "screens/SettingsStore.h"
#include "screens/WindowSettings.h"

using namespace WindowSettings;

class TestSettings : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    QString iniPath(const char* name) const { return m_dir.filePath(QString::fromLatin1(name)); }

private Q_SLOTS:
    void defaultsAndCaseFolding() {
        SettingsStore store(iniPath("case.ini"));
        QCOMPARE(store.get("startfrm", "subdir", "fallback"), QString("fallback"));
        QCOMPARE(store.get("opties", "check1", "0"), QString("0"));
        store.save("FG2", "colwidth(0)", "1234");
        store.save("startfrm", "Poort", "2");
        QCOMPARE(store.get("fg2", "COLWIDTH(0)", "900"), QString("1234"));
        QCOMPARE(store.get("StartFrm", "poort", ""), QString("2"));
        store.save("STARTFRM", "POORT", "1");  // overwrites, does not add a second key
        QCOMPARE(store.get("startfrm", "poort", ""), QString("1"));
        // An empty stored value is a value, not a missing key.
        store.save("startfrm", "subdir", "");
        QCOMPARE(store.get("startfrm", "subdir", "x"), QString(""));
    }

    // An INI file edited by hand spells sections and keys its own way; they are found and kept, and no
    // second section is appended beside them.
    void handWrittenNamesFoundWhateverTheirCase() {
        const QString path = iniPath("byhand.ini");
        {
            QFile file(path);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(
                "[FG2]\nColWidth(0)=1234\ncolwidth(1)=50\n\n[StartFrm]\nPOORT=2\n\n"
                "[fg2]\ncolwidth(1)=60\n");
        }
        {
            SettingsStore store(path);
            QCOMPARE(store.get("FG2", "colwidth(0)", "900"), QString("1234"));
            QCOMPARE(store.get("startfrm", "poort", ""), QString("2"));
            store.save("FG2", "colwidth(0)", "777");
            store.save("startfrm", "poort", "1");
            store.save("FG2", "colwidth(5)", "300");
            // A key stored in two spellings of its section ends up in one.
            store.save("FG2", "colwidth(1)", "70");
            QCOMPARE(store.get("fg2", "colwidth(1)", "?"), QString("70"));
        }
        SettingsStore again(path);
        QCOMPARE(again.get("fg2", "COLWIDTH(0)", "?"), QString("777"));
        QCOMPARE(again.get("startfrm", "poort", ""), QString("1"));
        QCOMPARE(again.get("FG2", "colwidth(5)", "?"), QString("300"));
        QCOMPARE(again.get("FG2", "colwidth(1)", "?"), QString("70"));
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QString text = QString::fromLatin1(file.readAll());
        QCOMPARE(text.count(QStringLiteral("[FG2]"), Qt::CaseInsensitive), 1);
        QCOMPARE(text.count(QStringLiteral("[StartFrm]"), Qt::CaseInsensitive), 1);
        QCOMPARE(text.count(QStringLiteral("poort="), Qt::CaseInsensitive), 1);
        QCOMPARE(text.count(QStringLiteral("colwidth(1)="), Qt::CaseInsensitive) +
                     text.count(QStringLiteral("colwidth%281%29="), Qt::CaseInsensitive),
                 1);
    }

    void valuesSurviveANewStore() {
        {
            SettingsStore store(iniPath("persist.ini"));
            store.save("locatiefrm", "width", "9876");
        }
        SettingsStore again(iniPath("persist.ini"));
        QCOMPARE(again.get("LocatieFrm", "Width", "9000"), QString("9876"));
    }

    void minimumWidthRules_data() {
        QTest::addColumn<int>("rule");
        QTest::addColumn<int>("column");
        QTest::addColumn<QString>("stored");
        QTest::addColumn<int>("expected");
        const int fg1 = int(MinWidthRule::EveryColumn);
        const int fg2 = int(MinWidthRule::Columns2To4);
        const int fg3 = int(MinWidthRule::FirstColumnOnly);
        QTest::newRow("FG1 default 100 of column 7 opens at 200") << fg1 << 7 << "100" << 200;
        QTest::newRow("FG1 stored 50") << fg1 << 7 << "50" << 200;
        QTest::newRow("FG1 column 0 stored 0") << fg1 << 0 << "0" << 200;
        QTest::newRow("FG1 wide kept") << fg1 << 3 << "900" << 900;
        QTest::newRow("FG2 column 0 stored 0 stays hidden") << fg2 << 0 << "0" << 0;
        QTest::newRow("FG2 column 1 narrow kept") << fg2 << 1 << "150" << 150;
        QTest::newRow("FG2 column 2 raised") << fg2 << 2 << "150" << 200;
        QTest::newRow("FG2 column 4 raised") << fg2 << 4 << "0" << 200;
        QTest::newRow("FG2 column 5 narrow kept") << fg2 << 5 << "10" << 10;
        QTest::newRow("fg3 column 0 raised") << fg3 << 0 << "0" << 200;
        QTest::newRow("fg3 column 1 kept") << fg3 << 1 << "0" << 0;
        QTest::newRow("unreadable text counts as 0") << fg2 << 0 << "abc" << 0;
        QTest::newRow("fraction rounded") << fg2 << 5 << "900.6" << 901;
    }
    void minimumWidthRules() {
        QFETCH(int, rule);
        QFETCH(int, column);
        QFETCH(QString, stored);
        QFETCH(int, expected);
        QCOMPARE(restoredColumnTwips(MinWidthRule(rule), column, stored), expected);
    }

    void columnWidthsRoundTrip() {
        SettingsStore store(iniPath("columns.ini"));
        QStandardItemModel model(1, 10);
        QTableView view;
        view.setModel(&model);
        QHeaderView* header = view.horizontalHeader();
        const int dpi = header->logicalDpiX();

        restoreColumnWidths(header, store, "FG1", MinWidthRule::EveryColumn, 0, 5, "900");
        restoreColumnWidths(header, store, "FG1", MinWidthRule::EveryColumn, 6, 9, "100");
        QCOMPARE(header->sectionSize(0), qMax(twipsToPixels(900, dpi), headerTextPixels(header, 0)));
        QCOMPARE(header->sectionSize(8), qMax(twipsToPixels(200, dpi), headerTextPixels(header, 8)));
        // Stored widths are taken as they are, however short the header text falls.
        model.setHorizontalHeaderLabels({"Een heel lange kop"});
        store.save("FG1", "colwidth(0)", "300");
        restoreColumnWidths(header, store, "FG1", MinWidthRule::EveryColumn, 0, 0, "900");
        QVERIFY(headerTextPixels(header, 0) > twipsToPixels(900, dpi));
        QCOMPARE(header->sectionSize(0), twipsToPixels(300, dpi));
        store.save("FG1", "colwidth(0)", "900");

        store.save("FG2", "colwidth(0)", "0");
        store.save("FG2", "colwidth(3)", "1440");
        restoreColumnWidths(header, store, "FG2", MinWidthRule::Columns2To4, 0, 5, "900");
        QVERIFY(header->isSectionHidden(0));
        QCOMPARE(header->sectionSize(3), dpi);  // 1440 twips is one inch

        saveColumnWidths(header, store, "FG2", 0, 5);
        QCOMPARE(store.get("FG2", "colwidth(0)", "?"), QString("0"));
        QCOMPARE(store.get("FG2", "colwidth(3)", "?"), QString("1440"));
    }

    void geometryRestoredAndSavedOnlyInNormalState() {
        SettingsStore store(iniPath("geometry.ini"));
        QWidget window;
        restoreGeometry(&window, store, "persoonfrm");
        const int dpiX = window.logicalDpiX();
        const int dpiY = window.logicalDpiY();
        QCOMPARE(window.pos(), QPoint(twipsToPixels(200, dpiX), twipsToPixels(1000, dpiY)));
        QCOMPARE(window.size(), QSize(twipsToPixels(9000, dpiX), twipsToPixels(3500, dpiY)));

        window.move(twipsToPixels(1440, dpiX), twipsToPixels(2880, dpiY));
        window.resize(twipsToPixels(7200, dpiX), twipsToPixels(4320, dpiY));
        QVERIFY(saveGeometry(&window, store, "persoonfrm"));
        QCOMPARE(store.get("persoonfrm", "startuplft", "?"), QString("1440"));
        QCOMPARE(store.get("persoonfrm", "startuptop", "?"), QString("2880"));
        QCOMPARE(store.get("persoonfrm", "width", "?"), QString("7200"));
        QCOMPARE(store.get("persoonfrm", "height", "?"), QString("4320"));

        window.move(0, 0);
        window.setWindowState(Qt::WindowMaximized);
        QVERIFY(!saveGeometry(&window, store, "persoonfrm"));
        QCOMPARE(store.get("persoonfrm", "startuplft", "?"), QString("1440"));
        window.setWindowState(Qt::WindowMinimized);
        QVERIFY(!saveGeometry(&window, store, "persoonfrm"));
    }

    void fittedOnScreen_data() {
        QTest::addColumn<QRectF>("wanted");
        QTest::addColumn<QRect>("fitted");
        QTest::newRow("inside stays") << QRectF(113, 67, 600, 233) << QRect(113, 67, 600, 233);
        QTest::newRow("too wide") << QRectF(13, 67, 2147483648.0, 233) << QRect(100, 67, 800, 233);
        QTest::newRow("too tall and low") << QRectF(113, 1e12, 600, 1e12) << QRect(113, 50, 600, 600);
        QTest::newRow("off to the right") << QRectF(5000, 67, 600, 233) << QRect(300, 67, 600, 233);
        QTest::newRow("off to the top left") << QRectF(-4000, -70, 600, 233) << QRect(100, 50, 600, 233);
        QTest::newRow("negative size") << QRectF(13, 67, -600, -1) << QRect(100, 67, 0, 0);
    }
    void fittedOnScreen() {
        QFETCH(QRectF, wanted);
        QFETCH(QRect, fitted);
        const QRect available(100, 50, 800, 600);
        QCOMPARE(fitOnScreen(wanted.x(), wanted.y(), wanted.width(), wanted.height(), available), fitted);
    }

    // A width of 2147483648 twips once took 15 GB and was written back at the next close.
    void geometryThatDoesNotFitIsFittedAndNotSavedBack() {
        SettingsStore store(iniPath("huge.ini"));
        store.save("startfrm", "width", "2147483648");
        store.save("startfrm", "height", "1e300");
        store.save("startfrm", "startuplft", "-99999999999");
        store.save("startfrm", "startuptop", "nan");
        store.save("FG2", "colwidth(1)", "2147483648");
        store.save("FG2", "colwidth(3)", "inf");
        QWidget window;
        restoreGeometry(&window, store, "startfrm");
        const QRect available = window.screen()->availableGeometry();
        QVERIFY(available.contains(window.geometry()));
        QCOMPARE(window.size(), available.size());

        QStandardItemModel model(1, 6);
        QTableView view(&window);
        view.setModel(&model);
        QHeaderView* header = view.horizontalHeader();
        restoreColumnWidths(header, store, "FG2", MinWidthRule::Columns2To4, 0, 5, "900");
        QCOMPARE(header->sectionSize(1), available.width());
        QCOMPARE(header->sectionSize(3), twipsToPixels(200, header->logicalDpiX()));

        QVERIFY(saveGeometry(&window, store, "startfrm"));
        saveColumnWidths(header, store, "FG2", 0, 5);
        QCOMPARE(store.get("startfrm", "width", "?").toDouble(),
                 pixelsToTwips(available.width(), window.logicalDpiX()));
        QCOMPARE(store.get("FG2", "colwidth(1)", "?").toDouble(),
                 pixelsToTwips(available.width(), header->logicalDpiX()));
    }

    void accessWindowKeepsItsLeftEdge() {
        SettingsStore store(iniPath("sleutel.ini"));
        store.save("sleutelfrm", "startuplft", "5000");
        store.save("sleutelfrm", "startuptop", "1440");
        QWidget window;
        window.move(33, 44);
        restoreGeometry(&window, store, "sleutelfrm", false);
        QCOMPARE(window.x(), 33);
        QCOMPARE(window.y(), twipsToPixels(1440, window.logicalDpiY()));
    }
};

QTEST_MAIN(TestSettings)
#include "tst_settings.moc"
