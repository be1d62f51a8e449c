// What a click on the tray item does: a left click opens the dashboard and then the menu, a double click only
// the dashboard, a right click (the item's own context menu) neither.
#include "GuiHarness.h"

#include "ui/TrayController.h"

#include <QMenu>
#include <QSignalSpy>
#include <QTest>

class TestTrayController : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void clicks_data()
    {
        QTest::addColumn<int>("reason");
        QTest::addColumn<bool>("dashboard");
        QTest::addColumn<bool>("menu");
        QTest::newRow("left click") << int(QSystemTrayIcon::Trigger) << true << true;
        QTest::newRow("double click") << int(QSystemTrayIcon::DoubleClick) << true << false;
        QTest::newRow("right click") << int(QSystemTrayIcon::Context) << false << false;
        QTest::newRow("middle click") << int(QSystemTrayIcon::MiddleClick) << false << false;
    }

    void clicks()
    {
        QFETCH(int, reason);
        QFETCH(bool, dashboard);
        QFETCH(bool, menu);
        GuiHarness h;
        h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("docs"));
        TrayController tray(h.context());
        // The dashboard comes first: the menu must not be open yet when it is asked for.
        bool menuOpenAtDashboard = false;
        QSignalSpy requested(&tray, &TrayController::dashboardRequested);
        connect(&tray, &TrayController::dashboardRequested, this,
                [&] { menuOpenAtDashboard = tray.menu()->isVisible(); });

        Q_EMIT tray.icon()->activated(QSystemTrayIcon::ActivationReason(reason));

        QCOMPARE(requested.count(), dashboard ? 1 : 0);
        QVERIFY(!menuOpenAtDashboard);
        if (menu) {
            QTRY_VERIFY(tray.menu()->isVisible());
            tray.menu()->hide();
        } else {
            QTest::qWait(50);
            QVERIFY(!tray.menu()->isVisible());
        }
    }
};

QTEST_MAIN(TestTrayController)
#include "tst_tray_controller.moc"
