// The dashboard over the real engine and fakes: one-row repaint, actions through the engine, the managed
// share's refusals, deletion with its log entries, and the share editor's round trip and validation.
#include "GuiHarness.h"

#include "ui/DashboardWindow.h"
#include "ui/ShareEditorDialog.h"
#include "ui/ShareTableModel.h"

#include "base/Preferences.h"
#include "control/ControlService.h"
#include "core/RecordEvent.h"
#include "core/RecordRules.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QSignalSpy>
#include <QTableView>
#include <QTest>
#include <QTimeEdit>

class TestDashboard : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void statusChangeRepaintsOneRow()
    {
        GuiHarness h;
        for (int i = 0; i < 5; ++i)
            h.addShare(QStringLiteral("host%1").arg(i), QStringLiteral("docs"));
        const qint64 third = h.engine->store().records().at(2).internal_ID_Int;
        DashboardWindow window(h.context());
        QSignalSpy changed(window.shareModel(), &QAbstractItemModel::dataChanged);
        QSignalSpy reset(window.shareModel(), &QAbstractItemModel::modelReset);

        h.engine->setStatus(third, QStringLiteral("Host unreachable (Error 65)"));

        QCOMPARE(changed.count(), 1);
        QCOMPARE(reset.count(), 0);
        const auto from = changed.at(0).at(0).value<QModelIndex>();
        const auto to = changed.at(0).at(1).value<QModelIndex>();
        QCOMPARE(from.row(), 2);
        QCOMPARE(to.row(), 2);
        QCOMPARE(window.shareModel()->index(2, ShareTableModel::LabelColumn).data().toString(),
                 QStringLiteral("HOST UNREACHABLE"));
        QCOMPARE(window.shareModel()->index(1, ShareTableModel::LabelColumn).data().toString(), QStringLiteral("READY"));
    }
    void mountFromDashboardShowsLabel()
    {
        GuiHarness h;
        const qint64 id = h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("docs"));
        DashboardWindow window(h.context());
        window.selectShare(id);
        QVERIFY(action(window, "mountAction")->isEnabled());
        QSignalSpy finished(h.engine, &MountEngine::mountFinished);

        action(window, "mountAction")->trigger();

        QVERIFY(finished.wait(10000));
        const int row = window.shareModel()->rowOf(id);
        QTRY_COMPARE(window.shareModel()->index(row, ShareTableModel::LabelColumn).data().toString(),
                     QStringLiteral("MOUNTED ✓"));
        QVERIFY(window.statusMessage().contains(QStringLiteral("mounted")));
        QVERIFY(!action(window, "mountAction")->isEnabled());
        QVERIFY(action(window, "ejectAction")->isEnabled());
    }
    void lockedShareIsReadOnlyAndNotDeleted()
    {
        GuiHarness h;
        const qint64 id = h.addRecord([](VolumeRecord &r) {
            r.isLocked = true;
            r.managedBy = QStringLiteral("MDM");
        });
        DashboardWindow window(h.context());
        window.selectShare(id);

        action(window, "deleteAction")->trigger();
        QVERIFY(h.engine->record(id));
        QVERIFY(h.questions.isEmpty()); // refused outright, not asked
        QCOMPARE(h.notices, QStringList{RecordRules::kLockedRemoveTitle + QLatin1Char('|')
                                        + RecordRules::kLockedRemoveText.arg(QStringLiteral("MDM"))});

        ShareEditorDialog editor(h.context(), *h.engine->record(id));
        QVERIFY(editor.isReadOnly());
        auto *banner = editor.findChild<QLabel *>(QStringLiteral("managedBanner"));
        QVERIFY(banner);
        QVERIFY(banner->text().contains(QStringLiteral("IT-Managed Share")));
        QVERIFY(banner->text().contains(QStringLiteral("This share is managed by MDM. Settings cannot be modified.")));
        QVERIFY(!editor.findChild<QLineEdit *>(QStringLiteral("host"))->isEnabled());
        const VolumeRecord before = *h.engine->record(id);
        editor.accept();
        QCOMPARE(h.engine->record(id)->encode(), before.encode());
    }
    void deleteAsksAndRemovesLogEntries()
    {
        GuiHarness h;
        const qint64 keep = h.addShare(QStringLiteral("keep"), QStringLiteral("docs"));
        const qint64 gone = h.addShare(QStringLiteral("gone"), QStringLiteral("docs"));
        h.eventLog.addEvent(recordEvent(h.engine->record(keep), EVENT_TYPE_ENUM::MANUAL_MOUNT, QStringLiteral("a")));
        h.eventLog.addEvent(recordEvent(h.engine->record(gone), EVENT_TYPE_ENUM::MANUAL_MOUNT, QStringLiteral("b")));
        DashboardWindow window(h.context());
        window.selectShare(gone);
        h.answer = false;
        action(window, "deleteAction")->trigger();
        QVERIFY(h.engine->record(gone)); // cancelled
        h.answer = true;
        action(window, "deleteAction")->trigger();

        QCOMPARE(h.questions.size(), 2);
        QVERIFY(!h.engine->record(gone));
        QCOMPARE(window.shareModel()->rowCount(), 1);
        QCOMPARE(h.eventLog.events().size(), 1);
        QCOMPARE(h.eventLog.events().first().internal_VolumeRecord_ID_Int, keep);

        // With the preference off, a share's entries stay.
        h.defaults.setValue(Preferences::Keys::DeleteAssociatedLogEntries, false);
        window.selectShare(keep);
        action(window, "deleteAction")->trigger();
        QVERIFY(!h.engine->record(keep));
        QCOMPARE(h.eventLog.events().size(), 1);
    }
    void editorRoundTrip()
    {
        GuiHarness h;
        ShareEditorDialog editor(h.context(), std::nullopt);
        editor.findChild<QLineEdit *>(QStringLiteral("nickname"))->setText(QStringLiteral("Office"));
        auto *protocol = editor.findChild<QComboBox *>(QStringLiteral("protocol"));
        protocol->setCurrentIndex(protocol->findData(int(MountUsingProtocol_Enum::WebDAVS)));
        editor.findChild<QLineEdit *>(QStringLiteral("host"))->setText(QStringLiteral(" ::1 "));
        editor.findChild<QLineEdit *>(QStringLiteral("port"))->setText(QStringLiteral("8443"));
        editor.findChild<QLineEdit *>(QStringLiteral("share"))->setText(QStringLiteral("/team/"));
        QCOMPARE(editor.urlPreview(), QStringLiteral("https://[::1]:8443/team"));
        editor.findChild<QCheckBox *>(QStringLiteral("guest"))->setChecked(false);
        editor.findChild<QLineEdit *>(QStringLiteral("user"))->setText(QStringLiteral("ann"));
        editor.findChild<QCheckBox *>(QStringLiteral("customFolder"))->setChecked(true);
        editor.findChild<QLineEdit *>(QStringLiteral("folder"))->setText(QStringLiteral("/srv/mnt/team"));
        editor.findChild<QCheckBox *>(QStringLiteral("autoMount"))->setChecked(true);
        editor.findChild<QCheckBox *>(QStringLiteral("schedule"))->setChecked(true);
        editor.findChild<QTimeEdit *>(QStringLiteral("mountTime"))->setTime(QTime(8, 30));
        editor.findChild<QTimeEdit *>(QStringLiteral("unmountTime"))->setTime(QTime(18, 0));
        for (int day = 1; day <= 7; ++day)
            editor.findChild<QCheckBox *>(QStringLiteral("weekday%1").arg(day))->setChecked(day == 1 || day == 7);
        editor.findChild<QLineEdit *>(QStringLiteral("ssids"))->setText(QStringLiteral("Office, Lab"));
        editor.findChild<QLineEdit *>(QStringLiteral("mac"))->setText(QStringLiteral("00-11-22-aa-bb-cc"));
        editor.findChild<QLineEdit *>(QStringLiteral("postScript"))->setText(QStringLiteral("/usr/local/bin/after.sh"));
        editor.findChild<QLineEdit *>(QStringLiteral("preScript"))->setText(QStringLiteral("/usr/local/bin/before.sh"));
        editor.findChild<QLineEdit *>(QStringLiteral("group"))->setText(QStringLiteral("Work"));

        editor.accept();
        QCOMPARE(editor.result(), int(QDialog::Accepted));

        const VolumeRecord *saved = h.engine->record(editor.savedId());
        QVERIFY(saved);
        QCOMPARE(saved->nickname_String, QStringLiteral("Office"));
        QCOMPARE(saved->mounting_using_protocol_Enum, MountUsingProtocol_Enum::WebDAVS);
        QCOMPARE(saved->hostname_String, QStringLiteral("::1"));
        QCOMPARE(saved->port_Int, std::optional<qint64>(8443));
        QCOMPARE(saved->no_password_guest_login, 0);
        QCOMPARE(saved->username_String, QStringLiteral("ann"));
        QCOMPARE(saved->mount_inside_Volumes, 0);
        QCOMPARE(saved->unique_mountpoint_fullpath_String, QStringLiteral("/srv/mnt/team"));
        QCOMPARE(saved->auto_Mount, 1);
        QCOMPARE(saved->schedule_Mount, 1);
        QCOMPARE(saved->schedule_MountTime.toLocalTime().time(), QTime(8, 30));
        QCOMPARE(saved->schedule_UnMountTime.toLocalTime().time(), QTime(18, 0));
        QCOMPARE(saved->schedule_Weekdays, (QList<int>{1, 7}));
        QCOMPARE(saved->allowedSSIDs_String, QStringLiteral("Office, Lab"));
        QCOMPARE(saved->macAddress_String, QStringLiteral("00-11-22-aa-bb-cc"));
        QCOMPARE(saved->postMountScriptPath_String, QStringLiteral("/usr/local/bin/after.sh"));
        QCOMPARE(saved->preUnmountScriptPath_String, QStringLiteral("/usr/local/bin/before.sh"));
        QCOMPARE(saved->group_String, QStringLiteral("Work"));

        // Reopened, the editor shows what was saved, and saving unchanged changes nothing.
        ShareEditorDialog again(h.context(), *saved);
        QCOMPARE(again.urlPreview(), saved->mountURLText());
        QCOMPARE(again.recordFromFields().encode(), saved->encode());
    }
    void editorPasswordGoesToKeyring()
    {
        GuiHarness h;
        const qint64 id = h.addShare(QStringLiteral("nas"), QStringLiteral("docs"), MountUsingProtocol_Enum::SMB, false, 0,
                                     QStringLiteral("bob"));
        const QString account = h.engine->record(id)->credentialAccount();
        QVERIFY(h.credentials.save(QStringLiteral("old"), account));

        ShareEditorDialog editor(h.context(), *h.engine->record(id));
        auto *password = editor.findChild<QLineEdit *>(QStringLiteral("password"));
        QTRY_COMPARE(password->text(), QStringLiteral("old")); // loaded on a worker
        password->clear();
        QTest::keyClicks(password, QStringLiteral("new secret"));
        editor.accept();

        QTRY_COMPARE(h.credentials.load(account), std::optional<QString>(QStringLiteral("new secret")));
        const QVariantMap stored = h.engine->record(id)->encode();
        for (const QVariant &value : stored)
            QVERIFY(!value.toString().contains(QStringLiteral("new secret")));
    }
    void editorRejectsInvalidFields_data()
    {
        QTest::addColumn<QString>("field");
        QTest::addColumn<QString>("value");
        QTest::addColumn<bool>("valid");
        QTest::newRow("host empty") << QStringLiteral("host") << QStringLiteral("") << false;
        QTest::newRow("host with path") << QStringLiteral("host") << QStringLiteral("nas/docs") << false;
        QTest::newRow("port zero") << QStringLiteral("port") << QStringLiteral("0") << false;
        QTest::newRow("port too big") << QStringLiteral("port") << QStringLiteral("65536") << false;
        QTest::newRow("port text") << QStringLiteral("port") << QStringLiteral("smb") << false;
        QTest::newRow("port highest") << QStringLiteral("port") << QStringLiteral("65535") << true;
        QTest::newRow("port empty") << QStringLiteral("port") << QStringLiteral("") << true;
        QTest::newRow("mac short") << QStringLiteral("mac") << QStringLiteral("00:11:22:33:44") << false;
        QTest::newRow("mac not hex") << QStringLiteral("mac") << QStringLiteral("00:11:22:33:44:zz") << false;
        QTest::newRow("mac ok") << QStringLiteral("mac") << QStringLiteral("00:11:22:33:44:55") << true;
        QTest::newRow("share empty on SMB") << QStringLiteral("share") << QStringLiteral("") << false;
        QTest::newRow("script relative") << QStringLiteral("postScript") << QStringLiteral("after.sh") << false;
        QTest::newRow("user empty without guest") << QStringLiteral("user") << QStringLiteral("") << false;
        // The shared validation of every way in, beyond the editor's own checks.
        QTest::newRow("host too long") << QStringLiteral("host") << QString(254, QLatin1Char('h')) << false;
        QTest::newRow("host with a tab") << QStringLiteral("host") << QStringLiteral("nas\tx") << false;
        QTest::newRow("nickname too long") << QStringLiteral("nickname") << QString(257, QLatin1Char('n')) << false;
        QTest::newRow("group too long") << QStringLiteral("group") << QString(257, QLatin1Char('g')) << false;
    }
    void editorRejectsInvalidFields()
    {
        QFETCH(QString, field);
        QFETCH(QString, value);
        QFETCH(bool, valid);
        GuiHarness h;
        const qint64 id = h.addShare(QStringLiteral("nas"), QStringLiteral("docs"), MountUsingProtocol_Enum::SMB, false, 0,
                                     QStringLiteral("bob"));
        const QVariantMap before = h.engine->record(id)->encode();
        ShareEditorDialog editor(h.context(), *h.engine->record(id));
        editor.findChild<QLineEdit *>(field)->setText(value);

        editor.accept();

        QCOMPARE(editor.fieldError(field).isEmpty(), valid);
        QCOMPARE(editor.result(), valid ? int(QDialog::Accepted) : int(QDialog::Rejected));
        if (!valid)
            QCOMPARE(h.engine->record(id)->encode(), before); // nothing saved
    }
    void duplicateOfManagedShareIsEditable()
    {
        GuiHarness h;
        const qint64 id = h.addRecord([](VolumeRecord &r) {
            r.isLocked = true;
            r.managedBy = QStringLiteral("MDM");
            r.nickname_String = QStringLiteral("Team");
        });
        DashboardWindow window(h.context());
        window.selectShare(id);
        action(window, "duplicateAction")->trigger();
        QCOMPARE(h.engine->store().size(), 2);
        const VolumeRecord &copy = h.engine->store().records().last();
        QCOMPARE(copy.nickname_String, QStringLiteral("Team Copy"));
        QVERIFY(!copy.isLocked);
        QCOMPARE(window.selectedId(), copy.internal_ID_Int);
    }

private:
    static QAction *action(DashboardWindow &window, const char *name)
    {
        return window.findChild<QAction *>(QLatin1String(name));
    }
};

QTEST_MAIN(TestDashboard)
#include "tst_dashboard.moc"
