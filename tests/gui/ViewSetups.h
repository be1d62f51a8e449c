#pragma once

// The subsystem managers the views are built over, on in-process fakes, shared by the view tests and the
// screenshots.
#include "GuiHarness.h"

#include "discovery/NetworkDiscoveryManager.h"
#include "enterprise/ActiveDirectoryManager.h"
#include "platform/fake/FakeDirectoryService.h"
#include "platform/fake/FakeNetworkInterfaces.h"
#include "platform/fake/FakeServiceBrowser.h"
#include "platform/fake/FakeShareLister.h"

#include <QListWidget>

#include <memory>

// Discovery on a 192.0.2.37/24 interface whose sweep finds one server, at .10, answering on the SMB and
// AFP ports; no packet leaves the process.
struct DiscoverySetup
{
    DiscoverySetup()
    {
        NetworkInterfaces::Interface eth;
        eth.name = QStringLiteral("eth0");
        eth.up = true;
        eth.ipv4 = {QStringLiteral("192.0.2.37")};
        interfaces.interfaces = {eth};
        NetworkDiscoveryManager::Dependencies deps;
        deps.browser = &browser;
        deps.interfaces = &interfaces;
        deps.lister = &lister;
        deps.stopDelayMs = 200;
        deps.probe = [](const QString &address, int port, int) {
            return address == QStringLiteral("192.0.2.10") && (port == 445 || port == 548);
        };
        deps.resolve = [](const QString &) { return QStringLiteral("0.0.0.0"); };
        manager = std::make_unique<NetworkDiscoveryManager>(deps);
    }
    static ShareLister::Result exited(int code, const QString &output)
    {
        ShareLister::Result r;
        r.started = true;
        r.exitCode = code;
        r.output = output;
        return r;
    }
    FakeServiceBrowser browser;
    FakeNetworkInterfaces interfaces;
    FakeShareLister lister;
    std::unique_ptr<NetworkDiscoveryManager> manager;
};

// The directory mappings over a scripted directory; bind() sets what the directory answers.
struct DirectorySetup
{
    explicit DirectorySetup(GuiHarness &h)
    {
        ActiveDirectoryManager::Dependencies deps;
        deps.directory = &directory;
        deps.defaults = &h.defaults;
        deps.engine = h.engine;
        deps.auditLog = &h.auditLog;
        deps.center = &h.center;
        manager = std::make_unique<ActiveDirectoryManager>(deps);
    }
    // The user "dana" in `groups` of `domain` (empty: not bound).
    void bind(const QString &domain, const QStringList &groups)
    {
        DirectoryService::DomainLookup d;
        d.ran = true;
        d.domain = domain;
        DirectoryService::GroupsLookup g;
        g.ran = true;
        g.groups = groups;
        DirectoryService::UserRecord user;
        user.userName = QStringLiteral("dana");
        user.fullName = QStringLiteral("Dana Scully");
        user.email = QStringLiteral("dana@corp.example");
        directory.set(d, g, user);
    }
    static ADMappedShare share(const QString &host, const QString &name, const QString &protocol = QStringLiteral("SMB"))
    {
        ADMappedShare s;
        s.hostname = host;
        s.shareName = name;
        s.protocolType = protocol;
        return s;
    }
    FakeDirectoryService directory;
    std::unique_ptr<ActiveDirectoryManager> manager;
};

inline QStringList itemTexts(const QListWidget *list)
{
    QStringList out;
    for (int i = 0; i < list->count(); ++i)
        out << list->item(i)->text();
    return out;
}
