#include "ExchangeFixture.h"
#include "UnitTestHelpers.h"

#include <QJsonArray>
#include <QJsonDocument>

class TestShareSet : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void statusTextAndResolution_data()
    {
        // Members by index into three shares (0..2); 9 names a deleted record. mounted: which shares are mounted.
        QTest::addColumn<QList<int>>("members");
        QTest::addColumn<QList<int>>("mounted");
        QTest::addColumn<int>("resolved");
        QTest::addColumn<QString>("status");
        QTest::newRow("none mounted") << QList<int>{0, 1, 2} << QList<int>{} << 3 << "Not connected";
        QTest::newRow("all mounted") << QList<int>{0, 1} << QList<int>{0, 1} << 2 << "All connected";
        QTest::newRow("some") << QList<int>{0, 1, 2} << QList<int>{1} << 3 << "1/3 connected";
        QTest::newRow("deleted ids ignored") << QList<int>{9, 0, 9, 1} << QList<int>{0} << 2 << "1/2 connected";
        QTest::newRow("only deleted ids") << QList<int>{9, 9} << QList<int>{} << 0 << "Not connected";
        QTest::newRow("repeated id counts twice") << QList<int>{0, 0, 1} << QList<int>{0} << 3 << "2/3 connected";
        QTest::newRow("empty") << QList<int>{} << QList<int>{} << 0 << "Not connected";
    }
    void statusTextAndResolution()
    {
        QFETCH(QList<int>, members);
        QFETCH(QList<int>, mounted);
        ExchangeFixture f;
        const QList<qint64> ids{f.h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("a")),
                                f.h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("b")),
                                f.h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("c"))};
        for (int m : mounted)
            QCOMPARE(f.h.mountAndWait(ids.at(m)), 0);
        QList<qint64> setIds;
        for (int m : members)
            setIds << (m == 9 ? 4711 : ids.at(m));
        const ShareSet set = f.makeSet(QStringLiteral("Work"), setIds);
        const auto records = f.sets->resolve(set);
        QTEST(int(records.size()), "resolved");
        int next = 0;
        for (int m : members) { // order kept, deleted skipped
            if (m != 9)
                QCOMPARE(records.at(next++)->internal_ID_Int, ids.at(m));
        }
        QTEST(f.sets->statusText(set), "status");
        f.h.ejectEverythingMounted();
    }
    void deletingAShareRemovesEveryOccurrence()
    {
        ExchangeFixture f;
        const qint64 a = f.h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("a"));
        const qint64 b = f.h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("b"));
        const qint64 locked = f.h.addRecord([](VolumeRecord &r) { setFields(r, "locked=1;by=MDM"); });
        const ShareSet one = f.makeSet(QStringLiteral("One"), {a, b, a, 77, locked});
        const ShareSet two = f.makeSet(QStringLiteral("Two"), {a});
        QVERIFY(f.h.engine->removeRecord(a).removed);
        QVERIFY(!f.h.engine->removeRecord(locked).removed); // a managed share stays, in its sets too
        QCOMPARE(f.sets->find(one.id)->shareIDs, (QList<qint64>{b, 77, locked})); // an id that never existed stays
        QCOMPARE(f.sets->find(two.id)->shareIDs, QList<qint64>{});
        // ...and that is what is stored.
        ShareSetManager reloaded(f.h.defaults, *f.h.engine);
        QCOMPARE(reloaded.find(one.id)->shareIDs, (QList<qint64>{b, 77, locked}));
    }
    void persistsAndReloads()
    {
        ExchangeFixture f;
        ShareSet set = f.makeSet(QStringLiteral("Büro, 2. Stock"), {3, 1, 2});
        set.icon = QStringLiteral("briefcase");
        QVERIFY(f.sets->updateSet(set));
        QVERIFY(f.h.hasLine(QStringLiteral("💾 Saved 1 share sets")));
        ShareSetManager reloaded(f.h.defaults, *f.h.engine);
        QCOMPARE(reloaded.sets().size(), 1);
        const ShareSet &back = reloaded.sets().first();
        QCOMPARE(back.id, set.id);
        QCOMPARE(back.name, set.name);
        QCOMPARE(back.shareIDs, set.shareIDs);
        QCOMPARE(back.icon, set.icon);
        QVERIFY(f.h.hasLine(QStringLiteral("📂 Loaded 1 share sets")));
        QVERIFY(f.h.defaults.data(ShareSetManager::kSaveKey).has_value()); // stored as data
        QVERIFY(f.sets->deleteSet(set.id));
        QVERIFY(!f.sets->deleteSet(set.id));
        QVERIFY(ShareSetManager(f.h.defaults, *f.h.engine).sets().isEmpty());
    }
    void corruptStoredSetsLoadEmptyAndAreOverwritten()
    {
        ExchangeFixture f;
        for (const QVariant &bad : {QVariant(QByteArray("{not json")), QVariant(QStringLiteral("text")),
                                    QVariant(QByteArray(R"([{"id":"nope","name":"x","shareIDs":[]}])"))}) {
            f.h.defaults.setValue(ShareSetManager::kSaveKey, bad);
            f.h.clearConsole();
            ShareSetManager manager(f.h.defaults, *f.h.engine);
            QVERIFY(manager.sets().isEmpty());
            QVERIFY(f.h.hasLineContaining(QStringLiteral("❌ Failed to load share sets: ")));
        }
        ShareSetManager manager(f.h.defaults, *f.h.engine);
        ShareSet set;
        set.name = QStringLiteral("Fresh");
        QVERIFY(manager.addSet(set));
        QCOMPARE(ShareSetManager(f.h.defaults, *f.h.engine).sets().size(), 1);
    }
    void mountAndEjectSkipMembersInWantedState()
    {
        ExchangeFixture f;
        const qint64 a = f.h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("a"));
        const qint64 b = f.h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("b"));
        const qint64 c = f.h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("c"));
        QCOMPARE(f.h.mountAndWait(b), 0);
        const ShareSet set = f.makeSet(QStringLiteral("All"), {a, b, c, a, 99});
        QSignalSpy finished(f.sets.get(), &ShareSetManager::operationFinished);
        f.h.service.clearCalls();
        QVERIFY(f.sets->mountSet(set.id));
        QVERIFY(finished.wait(10000));
        QCOMPARE(finished.first().at(1).value<ShareSetManager::Operation>(), ShareSetManager::Operation::Mount);
        QCOMPARE(finished.first().at(2).toInt(), 2); // a and c; a only once
        QCOMPARE(finished.first().at(3).toInt(), 2);
        QCOMPARE(finished.first().at(4).toInt(), 1); // b was mounted already
        QCOMPARE(f.h.service.mountCalls().size(), 2);
        QCOMPARE(f.sets->statusText(set), QStringLiteral("All connected"));

        finished.clear();
        QVERIFY(f.sets->ejectSet(set.id));
        QVERIFY(finished.wait(10000));
        QCOMPARE(finished.first().at(2).toInt(), 3);
        QCOMPARE(finished.first().at(3).toInt(), 3);
        QCOMPARE(f.sets->statusText(set), QStringLiteral("Not connected"));
        QVERIFY(!f.sets->mountSet(QUuid::createUuid()));

        // A set of deleted shares only finishes at once.
        finished.clear();
        QVERIFY(f.sets->ejectSet(f.makeSet(QStringLiteral("Nothing"), {42}).id));
        QVERIFY(finished.wait(2000));
        QCOMPARE(finished.first().at(2).toInt(), 0);
    }
    void mountRunsAtMostTheBoundInParallel()
    {
        ExchangeFixture f;
        QList<qint64> ids;
        for (int i = 0; i < ShareSetManager::kParallelMembers + 2; ++i)
            ids << f.h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("s%1").arg(i));
        const ShareSet set = f.makeSet(QStringLiteral("Many"), ids);
        f.h.service.setBlocking(QUrl(), true);
        QSignalSpy finished(f.sets.get(), &ShareSetManager::operationFinished);
        QVERIFY(f.sets->mountSet(set.id));
        QVERIFY(f.h.service.waitForBlocked(ShareSetManager::kParallelMembers, 5000));
        QVERIFY(!f.h.service.waitForBlocked(ShareSetManager::kParallelMembers + 1, 300));
        f.h.service.setBlocking(QUrl(), false);
        f.h.service.releaseBlocked();
        QVERIFY(finished.wait(10000));
        QCOMPARE(finished.first().at(2).toInt(), ids.size());
        QCOMPARE(finished.first().at(3).toInt(), ids.size());
        f.h.ejectEverythingMounted();
    }
};

QTEST_GUILESS_MAIN(TestShareSet)
#include "tst_shareset.moc"
