// The directory tab over the real mappings manager and a scripted directory: binding status and the
// user's details, the not-bound notice, apply with its status texts, and the mapping editor's edits
// reaching the stored mappings.
#include "ViewSetups.h"

#include "ui/DirectoryView.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTableWidget>
#include <QTest>

class TestDirectoryView : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void boundUserAndApply()
    {
        GuiHarness h;
        DirectorySetup s(h);
        s.bind(QStringLiteral("corp.example"), {QStringLiteral("Staff"), QStringLiteral("Engineering")});
        const QString files = QStringLiteral("files.corp");
        const ADMappedShare tools = adShare(files, QStringLiteral("tools"), QStringLiteral("afp"));
        s.manager->setMappings({adMapping(QStringLiteral("Engineering"), {adShare(files, QStringLiteral("eng")), tools}),
                                // "staff" is not the user's "Staff"
                                adMapping(QStringLiteral("staff"), {adShare(files, QStringLiteral("staff"))})});

        DirectoryView view(s.manager.get());
        auto *apply = view.findChild<QPushButton *>(QStringLiteral("directoryApplyButton"));
        QVERIFY(!apply->isEnabled()); // no user yet
        view.show(); // showing the tab asks the directory
        QTRY_COMPARE(view.statusText(), QStringLiteral("Connected to corp.example"));
        QVERIFY(!view.notBoundNoticeShown());
        QVERIFY2(view.userText().contains(QStringLiteral("Dana Scully (dana)")), qPrintable(view.userText()));
        QVERIFY(view.userText().contains(QStringLiteral("Groups: Staff, Engineering")));
        QVERIFY(view.userText().contains(QStringLiteral("dana@corp.example")));
        QCOMPARE(view.mappingList()->count(), 2);

        const int before = int(h.engine->store().size());
        QVERIFY(apply->isEnabled());
        apply->click();
        QCOMPARE(view.statusText(), QStringLiteral("Added 2 shares based on AD groups"));
        QCOMPARE(int(h.engine->store().size()), before + 2);
        bool afp = false;
        for (const VolumeRecord &r : h.engine->store().records())
            afp |= r.volume_String == QStringLiteral("tools")
                && r.mounting_using_protocol_Enum == MountUsingProtocol_Enum::AFP
                && r.nickname_String == QStringLiteral("tools (AD: Engineering)");
        QVERIFY(afp);
        apply->click();
        QCOMPARE(view.statusText(), QStringLiteral("No new shares to add"));

        // Disabling the mapping in the list is stored; a new share under it is then not added.
        view.mappingList()->item(0)->setCheckState(Qt::Unchecked);
        QVERIFY(!s.manager->shareMappings().at(0).isEnabled);
    }

    void notBoundShowsNotice()
    {
        GuiHarness h;
        DirectorySetup s(h);
        s.bind(QString(), {});
        DirectoryView view(s.manager.get());
        QVERIFY(!view.notBoundNoticeShown());
        view.refresh();
        QTRY_COMPARE(view.statusText(), QStringLiteral("Not bound to Active Directory"));
        QVERIFY(view.notBoundNoticeShown());
        QVERIFY(!view.findChild<QPushButton *>(QStringLiteral("directoryApplyButton"))->isEnabled());
        QCOMPARE(view.userText(), QString());

        // Bound later: the notice goes; unbound again: the user read before is not shown as current.
        s.bind(QStringLiteral("corp.example"), {QStringLiteral("Staff")});
        view.refresh();
        QTRY_COMPARE(view.statusText(), QStringLiteral("Connected to corp.example"));
        QVERIFY(!view.notBoundNoticeShown());
        QVERIFY(view.userText().contains(QStringLiteral("Groups: Staff")));
        s.bind(QString(), {});
        view.refresh();
        QTRY_COMPARE(view.statusText(), QStringLiteral("Not bound to Active Directory"));
        QVERIFY(view.notBoundNoticeShown());
        QCOMPARE(view.userText(), QString());
        QVERIFY(!view.findChild<QPushButton *>(QStringLiteral("directoryApplyButton"))->isEnabled());
    }

    void editorStoresMappings()
    {
        GuiHarness h;
        DirectorySetup s(h);
        DirectoryView view(s.manager.get());
        QVERIFY(!view.groupField()->isEnabled() || view.mappingList()->count() == 0);

        view.addMapping();
        QCOMPARE(s.manager->shareMappings().size(), 1);
        view.groupField()->setText(QStringLiteral("Design"));
        Q_EMIT view.groupField()->editingFinished();
        view.addShare();
        QTableWidget *table = view.shareTable();
        QCOMPARE(table->rowCount(), 1);
        table->item(0, 0)->setText(QStringLiteral("art.corp"));
        table->item(0, 1)->setText(QStringLiteral("assets"));
        table->item(0, 3)->setText(QStringLiteral("/mnt/assets"));
        qobject_cast<QComboBox *>(table->cellWidget(0, 2))->setCurrentText(QStringLiteral("NFS"));
        view.enabledSwitch()->setChecked(false);

        // What the manager stored survives a reload from the preferences.
        const auto reloaded = s.create();
        QCOMPARE(reloaded->shareMappings().size(), 1);
        const ADShareMapping &m = reloaded->shareMappings().at(0);
        QCOMPARE(m.groupName, QStringLiteral("Design"));
        QVERIFY(!m.isEnabled);
        QCOMPARE(m.shares.size(), 1);
        QCOMPARE(m.shares.at(0).hostname, QStringLiteral("art.corp"));
        QCOMPARE(m.shares.at(0).shareName, QStringLiteral("assets"));
        QCOMPARE(m.shares.at(0).protocolType, QStringLiteral("NFS"));
        QCOMPARE(m.shares.at(0).mountPoint, std::optional<QString>(QStringLiteral("/mnt/assets")));
        QCOMPARE(view.mappingList()->item(0)->text(), QStringLiteral("Design"));

        view.removeShare(); // nothing selected in the table: nothing removed
        table->setCurrentCell(0, 0);
        view.removeShare();
        QVERIFY(s.manager->shareMappings().at(0).shares.isEmpty());
        view.removeMapping();
        QVERIFY(s.manager->shareMappings().isEmpty());
        QCOMPARE(view.mappingList()->count(), 0);
    }
};

QTEST_MAIN(TestDirectoryView)
#include "tst_directory_view.moc"
