// Qt's own texts in a Dutch program: the buttons of a message box and the context menu of a text field
// come from Qt's Dutch translation, loaded as the program loads it.
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QtTest>

#include "app/DutchTranslation.h"

class TestDutch : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY2(installDutchTranslation(*qApp), "qt6-translations-l10n is not installed"); }

    void messageBoxButtons_data() {
        QTest::addColumn<QMessageBox::StandardButton>("button");
        QTest::addColumn<QString>("text");
        QTest::newRow("yes") << QMessageBox::Yes << "&Ja";
        QTest::newRow("no") << QMessageBox::No << "&Nee";
        QTest::newRow("cancel") << QMessageBox::Cancel << "Annuleren";
    }
    void messageBoxButtons() {
        QFETCH(QMessageBox::StandardButton, button);
        QFETCH(QString, text);
        QMessageBox box(QMessageBox::Question, "Vondrel Lezers", "Wissen regel 1",
                        QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel);
        QCOMPARE(box.button(button)->text(), text);
    }

    void textFieldContextMenu() {
        QLineEdit field("Hoofdingang");
        std::unique_ptr<QMenu> menu(field.createStandardContextMenu());
        QStringList texts;
        for (const QAction* action : menu->actions()) {
            if (!action->isSeparator()) {
                texts << action->text().section(QLatin1Char('\t'), 0, 0).remove(QLatin1Char('&'));
            }
        }
        QCOMPARE(texts, (QStringList{"Ongedaan maken", "Opnieuw", "Knippen", "Kopiëren", "Plakken", "Verwijderen",
                                     "Alles selecteren"}));
    }
};

QTEST_MAIN(TestDutch)
#include "tst_dutch.moc"
