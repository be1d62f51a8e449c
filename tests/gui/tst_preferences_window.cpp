// The preferences window and the shell's presence modes, over the real engine and scheduler.
#include "GuiHarness.h"

#include "ui/DashboardWindow.h"
#include "ui/DesktopShell.h"
#include "ui/Languages.h"
#include "ui/LoginItem.h"
#include "ui/PreferencesWindow.h"
#include "ui/ShareStatusLabel.h"
#include "ui/TrayController.h"

#include "base/Preferences.h"
#include "logging/LogEventManager.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QMenu>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTest>
#include <QTranslator>

class TestPreferencesWindow : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void checkIntervalReachesSchedulerAtOnce()
    {
        GuiHarness h;
        AutoMountScheduler &scheduler = h.startScheduler();
        QCOMPARE(scheduler.intervalSeconds(), 15);
        PreferencesWindow window(h.context());
        window.spinBox(Preferences::Keys::AutoMountCheckInterval)->setValue(10);
        QTRY_COMPARE(scheduler.intervalSeconds(), 10);
        QVERIFY(scheduler.isTimerActive());
        QCOMPARE(h.defaults.integer(Preferences::Keys::AutoMountCheckInterval), std::optional<qint64>(10));
    }

    void storedValuesShowInRange_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<qint64>("stored");
        QTest::addColumn<int>("shown");
        QTest::newRow("tcp unset shows page default") << Preferences::Keys::TcpConnectionTimeout << qint64(-1) << 2;
        QTest::newRow("log lines unset shows 50") << Preferences::Keys::MaxNumberOfLogLines << qint64(-1) << 50;
        QTest::newRow("tcp above") << Preferences::Keys::TcpConnectionTimeout << qint64(9) << 5;
        QTest::newRow("mount timeout below") << Preferences::Keys::MountTimeout << qint64(3) << 10;
        QTest::newRow("interval above") << Preferences::Keys::AutoMountCheckInterval << qint64(5000) << 1440;
    }

    void storedValuesShowInRange()
    {
        QFETCH(QString, key);
        QFETCH(qint64, stored);
        GuiHarness h;
        if (stored >= 0)
            h.defaults.setValue(key, stored);
        PreferencesWindow window(h.context());
        QTEST(window.spinBox(key)->value(), "shown");
        // Showing a value is not a change: the stored one stays until the user edits it.
        QCOMPARE(h.defaults.integer(key), stored >= 0 ? std::optional<qint64>(stored) : std::nullopt);
    }

    void typedValueAppliesOnReturn()
    {
        GuiHarness h;
        PreferencesWindow window(h.context());
        QSpinBox *spin = window.spinBox(Preferences::Keys::MountTimeout);
        spin->setFocus();
        QTest::keyClick(spin, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(spin, QStringLiteral("12"));
        QVERIFY(!h.defaults.contains(Preferences::Keys::MountTimeout)); // "1" on the way to "12" is not applied
        QTest::keyClick(spin, Qt::Key_Return);
        QCOMPARE(h.defaults.integer(Preferences::Keys::MountTimeout), std::optional<qint64>(12));
    }

    void logLimitReachesEventLog()
    {
        GuiHarness h;
        PreferencesWindow window(h.context());
        window.spinBox(Preferences::Keys::MaxNumberOfLogLines)->setValue(10);
        QCOMPARE(h.eventLog.maxNumberOfLogLines(), 10);
        for (int i = 0; i < 12; ++i)
            h.eventLog.addEvent(LogEvent::general(EVENT_TYPE_ENUM::STARTUP, QString::number(i)));
        QCOMPARE(h.eventLog.events().size(), 10);
    }

    void presenceModeSwitchesWithoutRestart()
    {
        GuiHarness h;
        h.defaults.setValue(Preferences::Keys::ShowConfigurationOnStart, false);
        DesktopShell shell(h.context(), hooks());
        shell.start();
        QCOMPARE(shell.presence(), DesktopShell::Presence::TrayOnly);
        QVERIFY(shell.trayShown());
        QVERIFY(shell.dashboard()->isHidden());

        PreferencesWindow window(h.context());
        window.presenceBox()->setCurrentIndex(window.presenceBox()->findData(2)); // taskbar only
        QTRY_COMPARE(shell.presence(), DesktopShell::Presence::TaskbarOnly);
        QVERIFY(!shell.trayShown());
        QVERIFY(shell.dashboard()->isVisible()); // no tray: the window is the way in
        // Closing keeps it in the taskbar.
        shell.dashboard()->close();
        QVERIFY(shell.dashboard()->isVisible());

        window.presenceBox()->setCurrentIndex(window.presenceBox()->findData(0));
        QTRY_COMPARE(shell.presence(), DesktopShell::Presence::TrayOnly);
        QVERIFY(shell.trayShown());
        shell.dashboard()->close();
        QVERIFY(shell.dashboard()->isHidden()); // closing hides to the tray
    }

    void unknownPresenceReadsTrayOnly()
    {
        GuiHarness h;
        h.defaults.setValue(Preferences::Keys::AppPresenceMode, qint64(7));
        DesktopShell shell(h.context(), hooks());
        shell.start();
        QCOMPARE(shell.presence(), DesktopShell::Presence::TrayOnly);
        QVERIFY(shell.trayShown());
        PreferencesWindow window(h.context());
        QCOMPARE(window.presenceBox()->currentData().toInt(), 0);
    }

    void noTrayKeepsWindow()
    {
        GuiHarness h;
        h.defaults.setValue(Preferences::Keys::ShowConfigurationOnStart, false);
        DesktopShell shell(h.context(), hooks(false));
        shell.start();
        QVERIFY(!shell.trayShown());
        QVERIFY(shell.dashboard()->isVisible());
    }

    void startAtLoginWritesAutostartEntry()
    {
        GuiHarness h;
        QFile::remove(LoginItem::entryPath());
        PreferencesWindow window(h.context());
        auto *login = window.findChild<QCheckBox *>(QStringLiteral("startAtLogin"));
        QVERIFY(!login->isChecked());
        login->setChecked(true);
        QFile entry(LoginItem::entryPath());
        QVERIFY(entry.open(QIODevice::ReadOnly));
        const QString text = QString::fromUtf8(entry.readAll());
        QVERIFY(text.contains(QStringLiteral("Exec=") + QCoreApplication::applicationFilePath()));
        QVERIFY(text.contains(QStringLiteral("[Desktop Entry]")));
        login->setChecked(false);
        QVERIFY(!QFile::exists(LoginItem::entryPath()));
    }

    void languageChangeAsksForRestart()
    {
        GuiHarness h;
        PreferencesWindow window(h.context());
        window.languageBox()->setCurrentIndex(window.languageBox()->findData(QStringLiteral("de")));
        QCOMPARE(Languages::current(h.defaults), QStringLiteral("de"));
        QCOMPARE(h.notices, QStringList{QStringLiteral(
                                "Restart Required|The language change will take effect after restarting Tarnwell.")});
        window.reload(); // the same choice again asks nothing
        QCOMPARE(h.notices.size(), 1);
    }

    void trayMenuListsSharesAndMounts()
    {
        GuiHarness h;
        const qint64 id = h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("docs"));
        h.startScheduler();
        TrayController tray(h.context());
        QCOMPARE(tray.overallState(), StatusIcons::Overall::Idle);
        auto *share = tray.menu()->findChild<QMenu *>(QStringLiteral("share_%1").arg(id));
        QVERIFY(share);
        QCOMPARE(share->title(), QStringLiteral("127.0.0.1/docs — READY"));
        QStringList entries;
        for (QAction *a : tray.menu()->actions()) {
            if (!a->isSeparator() && !a->menu())
                entries << a->text();
        }
        QCOMPARE(entries, (QStringList{QStringLiteral("Pause Auto-Mount"), QStringLiteral("Open Dashboard"), QStringLiteral("Log Manager…"), QStringLiteral("Preferences…"), QStringLiteral("Quit Tarnwell")}));

        QSignalSpy finished(h.engine, &MountEngine::mountFinished);
        share->actions().first()->trigger(); // Mount
        QVERIFY(finished.wait(10000));
        QTRY_COMPARE(tray.overallState(), StatusIcons::Overall::AllMounted);
        share = tray.menu()->findChild<QMenu *>(QStringLiteral("share_%1").arg(id));
        QCOMPARE(share->title(), QStringLiteral("127.0.0.1/docs — MOUNTED ✓"));
        QVERIFY(!share->actions().first()->isEnabled());
    }

    void germanTranslationIsBuiltIn()
    {
        GuiHarness h;
        Languages::store(h.defaults, QStringLiteral("de"));
        QTranslator *translator = Languages::install(h.defaults);
        QVERIFY(translator);
        const auto label = ShareStatusLabel::derive({false, false, QStringLiteral("Host unreachable (Error 65)"), {}});
        const auto idle = ShareStatusLabel::derive({false, false, QStringLiteral("Ready"), {}});
        QCoreApplication::removeTranslator(translator);
        delete translator;
        QCOMPARE(label.text, QStringLiteral("HOST NICHT ERREICHBAR"));
        // The engine's own status texts stay English, so the idle test still recognises them.
        QCOMPARE(idle.text, QStringLiteral("BEREIT"));
    }

private:
    static DesktopShell::Hooks hooks(bool tray = true)
    {
        DesktopShell::Hooks h;
        h.trayAvailable = tray;
        return h;
    }
};

QTEST_MAIN(TestPreferencesWindow)
#include "tst_preferences_window.moc"
