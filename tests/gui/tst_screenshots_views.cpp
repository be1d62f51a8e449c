// Renders the subsystem views (import and export, discovery, directory, audit, profile generator) with
// sample data and checks that each picture has content. With TW_SCREENSHOT_DIR set (scripts/screenshots.sh)
// the pictures are written there for the documentation.
#include "GuiHarness.h"

#include "ui/AuditView.h"
#include "ui/DashboardWindow.h"
#include "ui/DirectoryView.h"
#include "ui/DiscoveryView.h"
#include "ui/ExchangeView.h"
#include "ui/ProfileGeneratorWindow.h"
#include "ui/ViewHooks.h"

#include "discovery/NetworkDiscoveryManager.h"
#include "enterprise/ActiveDirectoryManager.h"
#include "exchange/ConfigurationManager.h"
#include "platform/fake/FakeDirectoryService.h"
#include "platform/fake/FakeNetworkInterfaces.h"
#include "platform/fake/FakeServiceBrowser.h"
#include "platform/fake/FakeShareLister.h"

#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QImage>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QSignalSpy>
#include <QTableWidget>
#include <QTabWidget>
#include <QTest>

class TestScreenshotsViews : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void exchange();
    void audit();
    void directory();
    void discovery();
    void profileGenerator();

private:
    void save(QWidget *widget, const QString &name);
    QString m_dir;
    QTemporaryDir m_temp;
};

void TestScreenshotsViews::initTestCase()
{
    m_dir = qEnvironmentVariable("TW_SCREENSHOT_DIR");
    if (m_dir.isEmpty())
        m_dir = m_temp.path();
    QDir().mkpath(m_dir);
    QApplication::setFont(QFont(QStringLiteral("DejaVu Sans"), 10));
}

void TestScreenshotsViews::save(QWidget *widget, const QString &name)
{
    widget->show();
    QVERIFY(QTest::qWaitForWindowExposed(widget));
    QTest::qWait(50);
    const QImage image = widget->grab().toImage();
    QVERIFY2(!image.isNull(), qPrintable(name));
    const QRgb background = image.pixel(2, 2);
    int different = 0;
    for (int y = 0; y < image.height(); y += 4) {
        for (int x = 0; x < image.width(); x += 4)
            different += image.pixel(x, y) != background;
    }
    QVERIFY2(different > 200, qPrintable(name));
    QVERIFY(image.save(m_dir + QLatin1Char('/') + name + QStringLiteral(".png")));
}

void TestScreenshotsViews::exchange()
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

void TestScreenshotsViews::audit()
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

void TestScreenshotsViews::directory()
{
    GuiHarness h;
    FakeDirectoryService directory;
    DirectoryService::DomainLookup domain;
    domain.ran = true;
    domain.domain = QStringLiteral("corp.example");
    DirectoryService::GroupsLookup groups;
    groups.ran = true;
    groups.groups = {QStringLiteral("Domain Users"), QStringLiteral("Engineering"), QStringLiteral("Staff")};
    DirectoryService::UserRecord user;
    user.userName = QStringLiteral("dana");
    user.fullName = QStringLiteral("Dana Scully");
    user.email = QStringLiteral("dana@corp.example");
    user.homeDirectory = QStringLiteral("/home/dana");
    directory.set(domain, groups, user);
    ActiveDirectoryManager::Dependencies deps;
    deps.directory = &directory;
    deps.defaults = &h.defaults;
    deps.engine = h.engine;
    ActiveDirectoryManager manager(deps);
    ADShareMapping engineering;
    engineering.groupName = QStringLiteral("Engineering");
    ADMappedShare eng;
    eng.hostname = QStringLiteral("files.corp.example");
    eng.shareName = QStringLiteral("engineering");
    ADMappedShare tools = eng;
    tools.shareName = QStringLiteral("tools");
    tools.mountPoint = QStringLiteral("/mnt/tools");
    engineering.shares = {eng, tools};
    ADShareMapping finance;
    finance.groupName = QStringLiteral("Finance");
    finance.isEnabled = false;
    manager.setMappings({engineering, finance});

    DirectoryView view(&manager);
    view.resize(820, 620);
    view.show();
    QTRY_COMPARE(view.statusText(), QStringLiteral("Connected to corp.example"));
    view.apply();
    save(&view, QStringLiteral("directory"));
    view.hide();

    directory.set(DirectoryService::DomainLookup { true, {}, {} }, DirectoryService::GroupsLookup { true, {}, {} },
                  std::nullopt);
    view.refresh();
    QTRY_COMPARE(view.statusText(), QStringLiteral("Not bound to Active Directory"));
    save(&view, QStringLiteral("directory-not-bound"));
}

void TestScreenshotsViews::discovery()
{
    GuiHarness h;
    FakeServiceBrowser browser;
    FakeNetworkInterfaces interfaces;
    NetworkInterfaces::Interface eth;
    eth.name = QStringLiteral("eth0");
    eth.up = true;
    eth.ipv4 = {QStringLiteral("192.0.2.37")};
    interfaces.interfaces = {eth};
    FakeShareLister lister;
    NetworkDiscoveryManager::Dependencies deps;
    deps.browser = &browser;
    deps.interfaces = &interfaces;
    deps.lister = &lister;
    deps.stopDelayMs = 100;
    deps.probe = [](const QString &address, int port, int) {
        return (address == QStringLiteral("192.0.2.10") && port == 445) ||
               (address == QStringLiteral("192.0.2.20") && port == 548);
    };
    deps.resolve = [](const QString &) { return QStringLiteral("0.0.0.0"); };
    NetworkDiscoveryManager manager(deps);
    DiscoveryView view(manager, *h.engine);
    view.resize(860, 480);
    QSignalSpy stopped(&manager, &NetworkDiscoveryManager::scanStopped);
    QSignalSpy listed(&manager, &NetworkDiscoveryManager::shareBrowsingFinished);
    view.toggleScan();
    browser.announce(QStringLiteral("Office NAS"), NetworkDiscoveryManager::kSmbServiceType);
    QVERIFY(stopped.wait(10000));

    lister.setHandler([](const ShareLister::Request &) {
        ShareLister::Result r;
        r.started = true;
        r.exitCode = 0;
        r.output = QStringLiteral("Disk|projects|\nDisk|media|\nDisk|Admin$|Remote Admin\nIPC|IPC$|IPC Service\n");
        return r;
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

    lister.setHandler([](const ShareLister::Request &) {
        ShareLister::Result r;
        r.started = true;
        r.exitCode = 1;
        r.output = QStringLiteral("session setup failed: NT_STATUS_LOGON_FAILURE\n");
        return r;
    });
    view.userField()->clear();
    view.passwordField()->clear();
    view.browse();
    QVERIFY(listed.wait(5000));
    save(&view, QStringLiteral("discovery-error"));
}

void TestScreenshotsViews::profileGenerator()
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

QTEST_MAIN(TestScreenshotsViews)
#include "tst_screenshots_views.moc"
