// The discovery tab over the engine on the real Linux ports, driven as a person would: Scan, pick the Samba
// server, Browse, Add. Only ever started by tst_discovery_netns.sh inside its private network namespace
// (it refuses anywhere else); the servers it must find are the ones that script starts.
#include "support/linux/LinuxEngineHarness.h"

#include "ui/DiscoveryView.h"

#include "discovery/NetworkDiscoveryManager.h"

#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

class TestDiscoveryViewNetns : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        if (qEnvironmentVariable("TW_DISC_NETNS") != QLatin1String("1"))
            QFAIL("refusing to scan: not inside the discovery test's network namespace");
    }

    void scanBrowseAndAdd()
    {
        LinuxEngineHarness h;
        NetworkDiscoveryManager &discovery = h.host->discovery();
        DiscoveryView view(discovery, *h.engine);
        QSignalSpy stopped(&discovery, &NetworkDiscoveryManager::scanStopped);
        QSignalSpy listed(&discovery, &NetworkDiscoveryManager::shareBrowsingFinished);

        view.scanButton()->click();
        QVERIFY(stopped.wait(30000));
        QCOMPARE(view.statusText(), QStringLiteral("Scan stopped"));
        QCOMPARE(view.progressBar()->value(), 100);
        QStringList servers;
        for (int i = 0; i < view.serverList()->count(); ++i)
            servers << view.serverList()->item(i)->text();
        servers.sort();
        QCOMPARE(servers, (QStringList{QStringLiteral("192.0.2.1 (SMB)"), QStringLiteral("192.0.2.10 (AFP)"),
                                       QStringLiteral("192.0.2.10 (SMB)"), QStringLiteral("192.0.2.254 (AFP)"),
                                       QStringLiteral("192.0.2.254 (SMB)"), QStringLiteral("Test NAS (SMB)")}));

        // The real Samba server, listed as guest through smbclient; the hidden share is marked.
        const QList<QListWidgetItem *> samba = view.serverList()->findItems(QStringLiteral("192.0.2.10 (SMB)"), Qt::MatchExactly);
        QCOMPARE(samba.size(), 1);
        view.serverList()->setCurrentItem(samba.first());
        view.findChild<QPushButton *>(QStringLiteral("browseButton"))->click();
        QVERIFY(listed.wait(30000));
        QStringList shares;
        for (int i = 0; i < view.shareList()->count(); ++i)
            shares << view.shareList()->item(i)->text();
        QCOMPARE(shares, (QStringList{QStringLiteral("public"), QStringLiteral("secure"), QStringLiteral("Admin$ (hidden)")}));

        view.shareList()->setCurrentRow(0);
        QSignalSpy added(&view, &DiscoveryView::shareAdded);
        view.findChild<QPushButton *>(QStringLiteral("addShareButton"))->click();
        QCOMPARE(added.count(), 1);
        const VolumeRecord *record = h.engine->record(added.at(0).at(0).toLongLong());
        QVERIFY(record);
        QCOMPARE(record->hostname_String, QStringLiteral("192.0.2.10"));
        QCOMPARE(record->volume_String, QStringLiteral("public"));
    }
};

QTEST_MAIN(TestDiscoveryViewNetns)
#include "netns_discovery_view.moc"
