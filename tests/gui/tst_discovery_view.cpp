// The discovery tab over the real discovery manager and fake ports (no packet leaves the process; the
// sweep's probe is a function of the test): a scan with its progress and status texts, the server list,
// the share browser with hidden shares marked, an error with Retry, and "Add Share" creating the record.
#include "ViewSetups.h"

#include "ui/DiscoveryView.h"
#include "unit/UnitTestHelpers.h"

#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

class TestDiscoveryView : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void scanListsServers()
    {
        GuiHarness h;
        DiscoverySetup s;
        DiscoveryView view(*s.manager, *h.engine);
        QStringList statuses;
        QList<int> progress;
        connect(s.manager.get(), &NetworkDiscoveryManager::changed, &view, [&] {
            if (statuses.isEmpty() || statuses.last() != view.statusText())
                statuses << view.statusText();
            progress << view.progressBar()->value();
        });
        QSignalSpy stopped(s.manager.get(), &NetworkDiscoveryManager::scanStopped);

        view.scanButton()->click();
        QCOMPARE(view.scanButton()->text(), QStringLiteral("Stop Scan"));
        QVERIFY(view.progressBar()->isVisibleTo(&view));
        s.browser.announce(QStringLiteral("Office NAS"), NetworkDiscoveryManager::kSmbServiceType);
        QVERIFY(stopped.wait(10000));

        // The browsed service first (announced at once), then the sweep's hits.
        QStringList servers = itemTexts(view.serverList());
        QCOMPARE(servers.value(0), QStringLiteral("Office NAS (SMB)"));
        servers.sort();
        QCOMPARE(servers, (QStringList{QStringLiteral("192.0.2.10 (AFP)"), QStringLiteral("192.0.2.10 (SMB)"),
                                       QStringLiteral("Office NAS (SMB)")}));
        QVERIFY2(statuses.contains(QStringLiteral("Scanning 192.0.2.* for file servers...")),
                 qPrintable(statuses.join(QLatin1Char('|'))));
        QVERIFY2(statuses.contains(QStringLiteral("Found 3 file servers")),
                 qPrintable(statuses.join(QLatin1Char('|'))));
        QCOMPARE(view.statusText(), QStringLiteral("Scan stopped"));
        QCOMPARE(view.scanButton()->text(), QStringLiteral("Scan Network"));
        QVERIFY(std::is_sorted(progress.begin(), progress.end()));
        QCOMPARE(progress.last(), 100);

        // An AFP server cannot be browsed.
        select(view.serverList(), QStringLiteral("192.0.2.10 (AFP)"));
        QVERIFY(!view.findChild<QPushButton *>(QStringLiteral("browseButton"))->isEnabled());
        select(view.serverList(), QStringLiteral("192.0.2.10 (SMB)"));
        QVERIFY(view.findChild<QPushButton *>(QStringLiteral("browseButton"))->isEnabled());
    }

    void browseRetryAndAdd()
    {
        GuiHarness h;
        DiscoverySetup s;
        DiscoveryView view(*s.manager, *h.engine);
        QSignalSpy stopped(s.manager.get(), &NetworkDiscoveryManager::scanStopped);
        QSignalSpy listed(s.manager.get(), &NetworkDiscoveryManager::shareBrowsingFinished);
        view.toggleScan();
        QVERIFY(stopped.wait(10000));
        select(view.serverList(), QStringLiteral("192.0.2.10 (SMB)"));

        // The server refuses the guest: the error text with Retry.
        s.lister.setHandler([](const ShareLister::Request &) {
            return DiscoverySetup::exited(1, QStringLiteral("session setup failed: NT_STATUS_LOGON_FAILURE\n"));
        });
        view.findChild<QPushButton *>(QStringLiteral("browseButton"))->click();
        QVERIFY(listed.wait(5000));
        QCOMPARE(view.errorText(),
                 QStringLiteral("Authentication required. Enter your username and password above, then click Retry."));
        QVERIFY(view.retryShown());
        QCOMPARE(view.shareList()->count(), 0);

        // With credentials, Retry lists the shares; hidden ones are marked.
        s.lister.setHandler([](const ShareLister::Request &request) {
            if (request.user != QStringLiteral("dana") || request.password != QStringLiteral("s3cret"))
                return DiscoverySetup::exited(1, QStringLiteral("NT_STATUS_LOGON_FAILURE"));
            return DiscoverySetup::exited(
                0, QStringLiteral("Disk|projects|\nIPC|IPC$|IPC Service\nDisk|Admin$|Remote Admin\n"));
        });
        QTest::keyClicks(view.userField(), QStringLiteral("dana"));
        QTest::keyClicks(view.passwordField(), QStringLiteral("s3cret"));
        view.findChild<QPushButton *>(QStringLiteral("retryButton"))->click();
        QVERIFY(listed.wait(5000));
        QCOMPARE(itemTexts(view.shareList()), strs({"projects", "Admin$ (hidden)"}));
        QVERIFY(!view.retryShown());
        QCOMPARE(s.lister.requests().last().host, QStringLiteral("192.0.2.10"));

        // Add: a record for the chosen share, its name filled in.
        auto *add = view.findChild<QPushButton *>(QStringLiteral("addShareButton"));
        QVERIFY(!add->isEnabled());
        view.shareList()->setCurrentRow(0);
        QVERIFY(add->isEnabled());
        QSignalSpy added(&view, &DiscoveryView::shareAdded);
        add->click();
        QCOMPARE(added.count(), 1);
        const VolumeRecord *record = h.engine->record(added.at(0).at(0).toLongLong());
        QVERIFY(record);
        QCOMPARE(record->hostname_String, QStringLiteral("192.0.2.10"));
        QCOMPARE(record->volume_String, QStringLiteral("projects"));
        QCOMPARE(record->mounting_using_protocol_Enum, MountUsingProtocol_Enum::SMB);
        QCOMPARE(record->username_String, QStringLiteral("dana"));
        QVERIFY(h.hasLineContaining(QStringLiteral("' with share name pre-filled!")));
        QVERIFY(view.outcomeText().contains(record->displayName()));
    }

private:
    // Probes finish in any order: rows are found by their text.
    static void select(QListWidget *list, const QString &text)
    {
        const QList<QListWidgetItem *> found = list->findItems(text, Qt::MatchExactly);
        QVERIFY2(found.size() == 1, qPrintable(text));
        list->setCurrentItem(found.first());
    }
};

QTEST_MAIN(TestDiscoveryView)
#include "tst_discovery_view.moc"
