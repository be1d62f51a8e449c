// Renders every window and the subsystem views with sample data and checks that each picture has content.
// With TW_SCREENSHOT_DIR set (scripts/screenshots.sh), the pictures are written there for the documentation.
#include "ViewSetups.h"

#include "ui/DashboardWindow.h"
#include "ui/ErrorCodeReference.h"
#include "ui/LogManagerWidget.h"
#include "ui/AddActionDialog.h"
#include "ui/AddConditionDialog.h"
#include "ui/AuditView.h"
#include "ui/DirectoryView.h"
#include "ui/DiscoveryView.h"
#include "ui/ExchangeView.h"
#include "ui/ProfileGeneratorWindow.h"
#include "ui/ViewHooks.h"
#include "ui/PreferencesWindow.h"
#include "ui/RuleEditorDialog.h"
#include "ui/RulesView.h"
#include "ui/SetsView.h"
#include "ui/ShareEditorDialog.h"
#include "ui/StatusIcons.h"
#include "ui/TrayController.h"

#include "core/RecordEvent.h"
#include "exchange/ConfigurationManager.h"
#include "exchange/ShareSetManager.h"
#include "rules/RuleEngine.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QImage>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMessageBox>
#include <QPainter>
#include <QSignalSpy>
#include <QTableView>
#include <QTest>

class TestScreenshots : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        m_dir = qEnvironmentVariable("TW_SCREENSHOT_DIR");
        if (m_dir.isEmpty())
            m_dir = m_temp.path();
        QDir().mkpath(m_dir);
        QApplication::setFont(QFont(QStringLiteral("DejaVu Sans"), 10));
    }
    void everyWindow()
    {
        GuiHarness h;
        h.startScheduler();
        struct Sample
        {
            const char *nick, *host, *share;
            MountUsingProtocol_Enum protocol;
            const char *status;
            bool mounted;
            bool locked;
        };
        const QList<Sample> samples{
            {"Team Files", "nas.office.lan", "team", MountUsingProtocol_Enum::SMB, "Mounted", true, false},
            {"Media", "192.168.1.20", "media", MountUsingProtocol_Enum::SMB, "Host unreachable (Error 65)", false, false},
            {"Projects", "files.example.com", "projects", MountUsingProtocol_Enum::WebDAVS, "Connecting... 7s", false, false},
            {"Archive", "backup.lan", "archive", MountUsingProtocol_Enum::NFS, "Authentication failed", false, false},
            {"Scans", "printer.lan", "scans", MountUsingProtocol_Enum::SMB, "", false, false},
            {"Company Drive", "dc01.corp.example", "company", MountUsingProtocol_Enum::SMB, "Ejected", false, true},
        };
        for (const Sample &s : samples) {
            const qint64 id = h.addRecord([&s](VolumeRecord &r) {
                r.nickname_String = QString::fromUtf8(s.nick);
                r.hostname_String = QString::fromUtf8(s.host);
                r.volume_String = QString::fromUtf8(s.share);
                r.mounting_using_protocol_Enum = s.protocol;
                r.isLocked = s.locked;
                r.managedBy = s.locked ? QStringLiteral("MDM") : QString();
                r.group_String = s.locked ? QStringLiteral("Company") : QStringLiteral("Home");
                r.auto_Mount = 1;
            });
            h.engine->updateRuntime(id, [&s](VolumeRecord &r) {
                r.runtime_status_String = QString::fromUtf8(s.status);
                r.runtime_isMounted_Bool = s.mounted;
                r.runtime_computed_mountpoint_String = QStringLiteral("/run/user/1000/gvfs/smb-share:server=nas,share=team");
            });
            h.eventLog.addEvent(recordEvent(h.engine->record(id),
                                            s.mounted ? EVENT_TYPE_ENUM::MOUNT_SUCCESS : EVENT_TYPE_ENUM::CONNECTION_FAILED,
                                            LogEvent::message(s.mounted ? EVENT_TYPE_ENUM::MOUNT_SUCCESS
                                                                        : EVENT_TYPE_ENUM::CONNECTION_FAILED,
                                                              *s.status ? QString::fromUtf8(s.status) : QStringLiteral("Ready"))));
        }
        const VolumeRecord first = h.engine->store().records().first();

        DashboardWindow dashboard(h.context());
        dashboard.selectShare(h.engine->store().records().at(1).internal_ID_Int);
        save(&dashboard, QStringLiteral("dashboard"));
        dashboard.showTab(DashboardWindow::LogsTab);
        save(&dashboard, QStringLiteral("dashboard-logs"));

        // Rules: the empty state, then the example rules with one selected, its editor and the two sheets.
        if (!h.host->rules().rules().isEmpty()) // left by an earlier run in the same home
            h.host->rules().replaceRules({}, QStringLiteral("screenshots"));
        auto *rulesView = dashboard.findChild<RulesView *>();
        auto *setsView = dashboard.findChild<SetsView *>();
        QVERIFY(rulesView && setsView);
        dashboard.showTab(dashboard.tabs()->indexOf(rulesView));
        save(&dashboard, QStringLiteral("rules-empty"));
        rulesView->addExampleRules();
        {
            Rule changed = h.host->rules().rules().at(2);
            RuleAction mount;
            mount.type = RuleAction::Type::mountGroup;
            mount.parameters.insert(RuleAction::kGroup, QStringLiteral("Home"));
            changed.actions.prepend(mount);
            changed.triggerCount = 12;
            changed.lastTriggered = QDateTime(QDate(2026, 11, 23), QTime(9, 0));
            h.host->rules().updateRule(changed);
        }
        h.host->rules().setRuleEnabled(h.host->rules().rules().at(1).id, false);
        rulesView->engineSwitch()->setChecked(true);
        rulesView->selectRule(h.host->rules().rules().at(2).id);
        QTest::qWait(20);
        save(&dashboard, QStringLiteral("rules"));
        RuleEditorDialog *ruleEditor = rulesView->editRule(h.host->rules().rules().at(2).id);
        save(ruleEditor, QStringLiteral("rule-editor"));
        AddConditionDialog *conditionSheet = ruleEditor->openAddCondition();
        conditionSheet->setType(RuleCondition::Type::wifiConnected);
        save(conditionSheet, QStringLiteral("rule-add-condition"));
        conditionSheet->setType(RuleCondition::Type::dayOfWeek);
        conditionSheet->findChild<QCheckBox *>(QStringLiteral("day_Mon"))->setChecked(true);
        conditionSheet->findChild<QCheckBox *>(QStringLiteral("day_Fri"))->setChecked(true);
        save(conditionSheet, QStringLiteral("rule-add-condition-days"));
        conditionSheet->reject();
        AddActionDialog *actionSheet = ruleEditor->openAddAction();
        actionSheet->setType(RuleAction::Type::mountVolume);
        save(actionSheet, QStringLiteral("rule-add-action"));
        actionSheet->reject();
        ruleEditor->reject();
        rulesView->engineSwitch()->setChecked(false);

        // Sets: one set mounted in part, one empty.
        {
            const QList<VolumeRecord> &records = h.engine->store().records();
            const QUuid office = setsView->createSet(QStringLiteral("Office"));
            setsView->setIcon(QStringLiteral("briefcase"));
            for (int i : {0, 2, 1})
                setsView->addMember(records.at(i).internal_ID_Int);
            setsView->createSet(QStringLiteral("Media Library"));
            setsView->setIcon(QStringLiteral("film"));
            setsView->addMember(records.at(1).internal_ID_Int);
            setsView->selectSet(office);
            dashboard.showTab(dashboard.tabs()->indexOf(setsView));
            QTest::qWait(20);
            save(&dashboard, QStringLiteral("sets"));
        }
        dashboard.hide();

        ShareEditorDialog editor(h.context(), first);
        save(&editor, QStringLiteral("share-editor"));
        editor.findChild<QLineEdit *>(QStringLiteral("port"))->setText(QStringLiteral("99999"));
        editor.findChild<QLineEdit *>(QStringLiteral("mac"))->setText(QStringLiteral("00:11:22"));
        editor.validate();
        save(&editor, QStringLiteral("share-editor-invalid"));
        editor.hide();

        ShareEditorDialog managed(h.context(), h.engine->store().records().last());
        save(&managed, QStringLiteral("share-editor-managed"));
        managed.hide();

        VolumeRecord secure = h.engine->store().records().at(2);
        secure.trustedCertificateSHA256 = QStringLiteral("3f9a0c7e5b12d48a").repeated(4);
        ShareEditorDialog trusted(h.context(), secure);
        save(&trusted, QStringLiteral("share-editor-certificate"));
        trusted.hide();

        LogManagerWindow logs(h.eventLog, &h.center);
        save(&logs, QStringLiteral("log-manager"));
        logs.hide();

        ErrorCodeReferenceDialog codes;
        save(&codes, QStringLiteral("error-codes"));
        codes.hide();

        PreferencesWindow preferences(h.context());
        save(&preferences, QStringLiteral("preferences"));
        preferences.hide();

        TrayController tray(h.context());
        tray.rebuild();
        tray.menu()->popup(QPoint(0, 0));
        save(tray.menu(), QStringLiteral("tray-menu"));
        tray.menu()->hide();

        // The tray icons side by side on a light and a dark strip.
        QImage icons(5 * 40, 80, QImage::Format_ARGB32);
        icons.fill(QColor(0xf0, 0xf0, 0xf0));
        {
            QPainter p(&icons);
            p.fillRect(0, 40, icons.width(), 40, QColor(0x30, 0x30, 0x30));
            int x = 4;
            for (auto state : {StatusIcons::Overall::Idle, StatusIcons::Overall::AllMounted, StatusIcons::Overall::Busy,
                               StatusIcons::Overall::Failing, StatusIcons::Overall::Paused}) {
                const QPixmap pm = StatusIcons::trayIcon(state).pixmap(32, 32);
                p.drawPixmap(x, 4, pm);
                p.drawPixmap(x, 44, pm);
                x += 40;
            }
        }
        QVERIFY(icons.save(m_dir + QStringLiteral("/tray-icons.png")));
    }
    void exchange()
    {
        GuiHarness h;
        h.addShare(QStringLiteral("nas.office.lan"), QStringLiteral("team"));
        h.addShare(QStringLiteral("files.example.com"), QStringLiteral("projects"));
        UiContext context = h.context();
        context.host = h.host.get();
        DashboardWindow dashboard(context);
        auto *view = dashboard.findChild<ExchangeView *>();
        QVERIFY(view);
        dashboard.showTab(dashboard.tabs()->indexOf(view));
        save(&dashboard, QStringLiteral("dashboard-exchange"));

        // The preview alert of a configuration import, as the default hook shows it.
        const QString text = ExchangeView::previewText(QStringLiteral("office.twconfig"), QStringLiteral("Dana Admin"),
                                                       QStringLiteral("3/14/25 9:30 AM"), 12, 2, 4);
        ViewHooks::instance().choose(
            &dashboard, QStringLiteral("Import Configuration"), text,
            { QStringLiteral("Replace All"), QStringLiteral("Merge (Add New)"), QStringLiteral("Cancel") }, [](int) {});
        auto *box = dashboard.findChild<QMessageBox *>();
        QVERIFY(box);
        save(box, QStringLiteral("exchange-import-preview"));
        box->reject();
        dashboard.hide();

        // Forbidden by the organisation: the import controls disabled with the policy text.
        h.host->configuration().setPolicyReader([](const QString &key) -> std::optional<bool> {
            return key == QStringLiteral("AllowShareImport") ? std::optional<bool>(false) : std::nullopt;
        });
        ExchangeView gated(h.host->configuration(), &h.host->legacyImporter());
        gated.resize(760, 560);
        save(&gated, QStringLiteral("exchange-import-disabled"));
    }
    void audit()
    {
        GuiHarness h;
        struct Sample
        {
            AuditEventType type;
            const char *share, *host, *details;
            bool success;
            int code;
        };
        const QList<Sample> samples{
            {AuditEventType::appLaunch, nullptr, nullptr, "Tarnwell launched", true, 0},
            {AuditEventType::mountAttempt, "Team Files", "nas.office.lan", "Mount requested for Team Files", true, 0},
            {AuditEventType::mountSuccess, "Team Files", "nas.office.lan", "Mounted Team Files", true, 0},
            {AuditEventType::mountFailure, "Media", "192.168.1.20", "Host unreachable (Error 65)", false, 65},
            {AuditEventType::configImport, nullptr, nullptr, "Added 2 shares for user dana", true, 0},
            {AuditEventType::shareModified, "Projects", "files.example.com", "Share Projects changed", true, 0},
            {AuditEventType::unmountSuccess, "Team Files", "nas.office.lan", "Ejected Team Files", true, 0},
            {AuditEventType::authFailure, "Archive", "backup.lan", "Authentication failed for Archive", false, 80},
        };
        QDateTime when(QDate(2025, 3, 14), QTime(8, 55));
        for (const Sample &s : samples) {
            h.clock.setNow(when);
            when = when.addSecs(37 * 60);
            h.auditLog.log(s.type, s.share ? std::optional<QString>(QString::fromUtf8(s.share)) : std::nullopt,
                           s.host ? std::optional<QString>(QString::fromUtf8(s.host)) : std::nullopt,
                           QString::fromUtf8(s.details), s.success, s.code ? std::optional<int>(s.code) : std::nullopt);
        }
        h.settle(100);
        AuditView view(h.auditLog);
        view.resize(1020, 420);
        save(&view, QStringLiteral("audit"));
        view.typeFilter()->setCurrentIndex(1 + int(AuditEventType::mountFailure));
        save(&view, QStringLiteral("audit-filtered"));
    }
    void directory()
    {
        GuiHarness h;
        DirectorySetup s(h);
        s.bind(QStringLiteral("corp.example"), {QStringLiteral("Domain Users"), QStringLiteral("Engineering"), QStringLiteral("Staff")});
        const QString files = QStringLiteral("files.corp.example");
        s.manager->setMappings({adMapping(QStringLiteral("Engineering"),
                                          {adShare(files, QStringLiteral("engineering")),
                                           adShare(files, QStringLiteral("tools"), QStringLiteral("SMB"),
                                                   QStringLiteral("/mnt/tools"))}),
                                adMapping(QStringLiteral("Finance"), {}, false)});

        DirectoryView view(s.manager.get());
        view.resize(820, 620);
        view.show();
        QTRY_COMPARE(view.statusText(), QStringLiteral("Connected to corp.example"));
        view.apply();
        save(&view, QStringLiteral("directory"));
        view.hide();

        s.bind(QString(), {});
        view.refresh();
        QTRY_COMPARE(view.statusText(), QStringLiteral("Not bound to Active Directory"));
        save(&view, QStringLiteral("directory-not-bound"));
    }
    void discovery()
    {
        GuiHarness h;
        DiscoverySetup s;
        DiscoveryView view(*s.manager, *h.engine);
        view.resize(860, 480);
        QSignalSpy stopped(s.manager.get(), &NetworkDiscoveryManager::scanStopped);
        QSignalSpy listed(s.manager.get(), &NetworkDiscoveryManager::shareBrowsingFinished);
        view.toggleScan();
        s.browser.announce(QStringLiteral("Office NAS"), NetworkDiscoveryManager::kSmbServiceType);
        QVERIFY(stopped.wait(10000));

        s.lister.setHandler([](const ShareLister::Request &) {
            return DiscoverySetup::exited(0, QStringLiteral("Disk|projects|\nDisk|media|\nDisk|Admin$|Remote Admin\nIPC|IPC$|IPC Service\n"));
        });
        // Probes finish in any order.
        view.serverList()->setCurrentItem(
            view.serverList()->findItems(QStringLiteral("192.0.2.10 (SMB)"), Qt::MatchExactly).value(0));
        view.userField()->setText(QStringLiteral("dana"));
        view.passwordField()->setText(QStringLiteral("secret"));
        view.browse();
        QVERIFY(listed.wait(5000));
        view.shareList()->setCurrentRow(0);
        view.addSelected();
        save(&view, QStringLiteral("discovery"));

        s.lister.setHandler([](const ShareLister::Request &) {
            return DiscoverySetup::exited(1, QStringLiteral("session setup failed: NT_STATUS_LOGON_FAILURE\n"));
        });
        view.userField()->clear();
        view.passwordField()->clear();
        view.browse();
        QVERIFY(listed.wait(5000));
        save(&view, QStringLiteral("discovery-error"));
    }
    void profileGenerator()
    {
        ProfileGeneratorWindow window;
        window.organizationField()->setText(QStringLiteral("Acme Corporation"));
        window.emailField()->setText(QStringLiteral("helpdesk@acme.example"));
        window.ssidField()->setText(QStringLiteral("CorpWiFi, CorpWiFi-5G"));
        ProfileGenerator::Share team;
        team.nickname = QStringLiteral("Team Files");
        team.hostname = QStringLiteral("files.acme.example");
        team.shareName = QStringLiteral("team");
        window.addShareRow(team);
        ProfileGenerator::Share web;
        web.nickname = QStringLiteral("Intranet");
        web.hostname = QStringLiteral("dav.acme.example");
        web.shareName = QStringLiteral("intranet");
        web.protocolType = QStringLiteral("WEBDAVS");
        web.locked = false;
        window.addShareRow(web);
        window.generate();
        save(&window, QStringLiteral("profile-generator"));
    }

private:
    void save(QWidget *widget, const QString &name)
    {
        widget->show();
        QVERIFY(QTest::qWaitForWindowExposed(widget));
        QTest::qWait(50);
        const QImage image = widget->grab().toImage();
        QVERIFY2(!image.isNull(), qPrintable(name));
        // Something besides the background colour was drawn.
        const QRgb background = image.pixel(2, 2);
        int different = 0;
        for (int y = 0; y < image.height(); y += 4) {
            for (int x = 0; x < image.width(); x += 4)
                different += image.pixel(x, y) != background;
        }
        QVERIFY2(different > 200, qPrintable(name));
        QVERIFY(image.save(m_dir + QLatin1Char('/') + name + QStringLiteral(".png")));
    }
    QString m_dir;
    QTemporaryDir m_temp;
};

QTEST_MAIN(TestScreenshots)
#include "tst_screenshots.moc"
