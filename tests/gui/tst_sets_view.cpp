// The Sets tab over the real set manager, configuration exchange and mount engine (fakes below them):
// editing a set (name, icon, member order) as stored, the status text through a set mount and eject, the set
// file's panels and round trip, the refusals before a panel (no shares, policy), locked sets.
#include "GuiHarness.h"

#include "ui/SetsView.h"

#include "exchange/ConfigurationManager.h"
#include "exchange/ShareSetManager.h"

#include <QComboBox>
#include <QFile>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QTest>

class TestSetsView : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        m_requests.clear();
        m_answerPath.clear();
        SetsView::fileChooser() = [this](QWidget *, const SetsView::FileRequest &request, std::function<void(QString)> done) {
            m_requests.append(request);
            done(m_answerPath);
        };
    }

    void cleanup()
    {
        SetsView::fileChooser() = nullptr;
    }

    void editingIsStored()
    {
        GuiHarness h;
        const qint64 a = h.addShare(QStringLiteral("a.lan"), QStringLiteral("docs"));
        const qint64 b = h.addShare(QStringLiteral("b.lan"), QStringLiteral("docs"));
        const qint64 c = h.addShare(QStringLiteral("c.lan"), QStringLiteral("docs"));
        SetsView view(h.context());

        const QUuid id = view.createSet(QStringLiteral(" Work "));
        view.addMember(a);
        view.addMember(b);
        view.addMember(c);
        view.moveMember(2, -1); // c before b
        view.moveMember(0, -1); // nothing above the first: unchanged
        view.renameSelected(QStringLiteral("Office"));
        view.setIcon(QStringLiteral("briefcase"));
        view.removeMember(0);

        // What another manager reads back from the preferences.
        ShareSetManager reread(h.defaults, *h.engine);
        QCOMPARE(reread.sets().size(), 1);
        const ShareSet &stored = reread.sets().first();
        QCOMPARE(stored.id, id);
        QCOMPARE(stored.name, QStringLiteral("Office"));
        QCOMPARE(stored.icon, QStringLiteral("briefcase"));
        QCOMPARE(stored.shareIDs, (QList<qint64>{c, b}));
        QCOMPARE(view.memberList()->count(), 2);
        QVERIFY(view.memberList()->item(0)->text().startsWith(h.record(c).displayName()));
    }

    void statusFollowsSetMountAndEject()
    {
        GuiHarness h;
        const qint64 a = h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("one"));
        const qint64 b = h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("two"));
        SetsView view(h.context());
        view.createSet(QStringLiteral("Pair"));
        view.addMember(a);
        view.addMember(b);
        QCOMPARE(view.statusText(), QStringLiteral("Not connected"));

        QCOMPARE(h.mountAndWait(a), 0);
        QTRY_COMPARE(view.statusText(), QStringLiteral("1/2 connected"));

        view.findChild<QPushButton *>(QStringLiteral("mountSet"))->click();
        QTRY_COMPARE(view.statusText(), QStringLiteral("All connected"));
        QTRY_COMPARE(view.message(), QStringLiteral("Pair: 1 of 1 shares mounted."));

        view.findChild<QPushButton *>(QStringLiteral("ejectSet"))->click();
        QTRY_COMPARE(view.statusText(), QStringLiteral("Not connected"));
        QTRY_COMPARE(view.message(), QStringLiteral("Pair: 2 of 2 shares ejected."));
    }

    void exportThenImportRestoresSet()
    {
        GuiHarness h;
        const qint64 a = h.addShare(QStringLiteral("a.lan"), QStringLiteral("docs"));
        const qint64 b = h.addShare(QStringLiteral("b.lan"), QStringLiteral("media"));
        SetsView view(h.context());
        const QUuid id = view.createSet(QStringLiteral("Studio"));
        view.addMember(b);
        view.addMember(a);
        m_answerPath = h.dir.filePath(QStringLiteral("studio.twconfig"));

        view.findChild<QPushButton *>(QStringLiteral("exportSet"))->click();
        QCOMPARE(m_requests.size(), 1);
        QCOMPARE(m_requests.first().proposedName, QStringLiteral("Studio-Set.twconfig"));
        QVERIFY(m_requests.first().save);
        QVERIFY(QFile::exists(m_answerPath));

        // Gone, then back from the file: the shares are still here (duplicates, skipped), the set returns
        // with its members in order.
        sets(h).deleteSet(id);
        view.findChild<QPushButton *>(QStringLiteral("importSet"))->click();
        QCOMPARE(m_requests.size(), 2);
        QVERIFY(!m_requests.last().save);
        QCOMPARE(h.notices.size(), 1);
        QVERIFY(h.notices.first().startsWith(QStringLiteral("Import Complete|")));
        QCOMPARE(sets(h).sets().size(), 1);
        QCOMPARE(sets(h).sets().first().name, QStringLiteral("Studio"));
        QCOMPARE(sets(h).sets().first().shareIDs, (QList<qint64>{b, a}));
        QCOMPARE(h.engine->store().size(), 2);
        QTRY_COMPARE(view.setList()->count(), 1);
    }

    void refusalsComeBeforeThePanel_data()
    {
        QTest::addColumn<bool>("exportAllowed");
        QTest::addColumn<bool>("importAllowed");
        QTest::addColumn<bool>("withShares");
        QTest::addColumn<QString>("button");
        QTest::addColumn<QString>("notice");
        QTest::newRow("set without shares")
            << true << true << false << "exportSet" << "Export Failed|Set has no shares";
        QTest::newRow("export forbidden") << false << true << true << "exportSet"
                                          << "Export Failed|Export is disabled by your IT administrator";
        QTest::newRow("import forbidden") << true << false << true << "importSet"
                                          << "Import Failed|Import is disabled by your IT administrator";
    }

    void refusalsComeBeforeThePanel()
    {
        QFETCH(bool, exportAllowed);
        QFETCH(bool, importAllowed);
        QFETCH(bool, withShares);
        QFETCH(QString, button);
        QFETCH(QString, notice);
        GuiHarness h;
        h.host->configuration().setPolicyReader([=](const QString &key) -> std::optional<bool> {
            return key == QStringLiteral("AllowShareExport") ? exportAllowed : importAllowed;
        });
        const qint64 a = h.addShare(QStringLiteral("a.lan"), QStringLiteral("docs"));
        ShareSet set;
        set.name = QStringLiteral("Gone");
        set.shareIDs = {withShares ? a : 987654};
        sets(h).addSet(set);
        SetsView view(h.context());
        view.selectSet(set.id);
        auto *control = view.findChild<QPushButton *>(button);
        // A control the policy forbids stays disabled and says why.
        const bool allowed = button == QStringLiteral("exportSet") ? exportAllowed : importAllowed;
        QCOMPARE(control->isEnabled(), allowed);
        if (!allowed)
            QCOMPARE(control->toolTip(), notice.section(QLatin1Char('|'), 1));

        if (button == QStringLiteral("exportSet"))
            view.exportSelected();
        else
            view.importSetFile();
        QCOMPARE(h.notices, QStringList{notice});
        QVERIFY(m_requests.isEmpty());
    }

    void lockedSetIsReadOnly()
    {
        GuiHarness h;
        const qint64 a = h.addShare(QStringLiteral("a.lan"), QStringLiteral("docs"));
        const qint64 b = h.addShare(QStringLiteral("b.lan"), QStringLiteral("docs"));
        ShareSet set;
        set.name = QStringLiteral("Company");
        set.shareIDs = {a};
        set.isLocked = true;
        set.managedBy = QStringLiteral("MDM");
        sets(h).addSet(set);
        SetsView view(h.context());
        view.selectSet(set.id);
        for (const char *name : {"renameSet", "deleteSet", "addMember", "removeMember", "moveUp", "moveDown"})
            QVERIFY2(!view.findChild<QPushButton *>(QLatin1String(name))->isEnabled(), name);
        QVERIFY(view.findChild<QPushButton *>(QStringLiteral("mountSet"))->isEnabled());

        view.addMember(b);
        view.renameSelected(QStringLiteral("Mine"));
        QCOMPARE(sets(h).find(set.id)->shareIDs, QList<qint64>{a});
        QCOMPARE(sets(h).find(set.id)->name, QStringLiteral("Company"));
    }

    void deleteAsksFirst()
    {
        GuiHarness h;
        SetsView view(h.context());
        const QUuid id = view.createSet(QStringLiteral("Old"));
        h.answer = false;
        view.deleteSelected();
        QVERIFY(sets(h).find(id));
        h.answer = true;
        view.deleteSelected();
        QVERIFY(!sets(h).find(id));
        QCOMPARE(h.questions.size(), 2);
        QVERIFY(h.questions.first().startsWith(QStringLiteral("Delete Set?|")));
    }

private:
    static ShareSetManager &sets(GuiHarness &h) { return h.host->shareSets(); }
    QList<SetsView::FileRequest> m_requests;
    QString m_answerPath;
};

QTEST_MAIN(TestSetsView)
#include "tst_sets_view.moc"
