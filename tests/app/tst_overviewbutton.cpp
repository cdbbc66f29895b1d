// "Overzicht" on the main window shows the current location of the demo set.

#include <QPushButton>
#include <QtTest>

#include "app/DemoData.h"
#include "records/ReaderFile.h"
#include "screens/LocationWindow.h"
#include "screens/MessageBox.h"
#include "screens/OverviewWindow.h"
#include "screens/Session.h"
#include "support/AppFixture.h"
#include "support/VerifyStatus.h"

class TestOverviewButton : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void showsTheCurrentLocation() {
        MessageBox::setTestMode(true);
        AppFixture fx;
        QDir().mkpath(fx.home());
        VERIFY_OK(DemoData::create(fx.home(), QDate(2025, 6, 1)));
        fx.demo = true;
        StartWindow& window = fx.start();
        QTest::mouseClick(window.findChild<QPushButton*>(QStringLiteral("overzichtbtn")), Qt::LeftButton);
        auto* overview = window.findChild<OverviewWindow*>();
        QVERIFY(overview && overview->isVisible());
        const QString location = LocationWindow::nameOfCurrentLocation(window.session());
        QVERIFY(!location.isEmpty());
        QCOMPARE(overview->overview().location, location);
        QCOMPARE(overview->overview().folder, window.session().dataFolder());
        QCOMPARE(int(overview->overview().readers.size()), ReaderFile(window.session().dataFolder()).count().value);
        QVERIFY(!overview->overview().holders.isEmpty());
        fx.stop();
    }
};

QTEST_MAIN(TestOverviewButton)
#include "tst_overviewbutton.moc"
