#pragma once

// The discovery manager over in-process fakes (service browser, interface list, share lister) with a
// scripted probe that records what it was asked; no packet leaves the process. Shared by the discovery unit
// tests, the discovery view tests and the screenshots.
#include "discovery/NetworkDiscoveryManager.h"
#include "platform/fake/FakeNetworkInterfaces.h"
#include "platform/fake/FakeServiceBrowser.h"
#include "platform/fake/FakeShareLister.h"

#include <QHash>
#include <QMutex>
#include <QSet>

#include <memory>

struct DiscoveryFakes
{
    // Loopback plus eth0 with `address`; the probe answers for the "address:port" pairs in `open`.
    explicit DiscoveryFakes(const QString &address = QStringLiteral("192.168.1.37"), QSet<QString> open = {},
                            int stopDelayMs = 50)
        : m_open(std::move(open))
    {
        interfaces.interfaces = {iface(QStringLiteral("lo"), true, true, {QStringLiteral("127.0.0.1")}),
                                 iface(QStringLiteral("eth0"), true, false, {address})};
        NetworkDiscoveryManager::Dependencies deps;
        deps.browser = &browser;
        deps.interfaces = &interfaces;
        deps.lister = &lister;
        deps.stopDelayMs = stopDelayMs;
        deps.probe = [this](const QString &host, int port, int timeoutMs) {
            const QString target = host + QLatin1Char(':') + QString::number(port);
            QMutexLocker lock(&mutex);
            probed.append(target);
            timeouts.insert(timeoutMs);
            return m_open.contains(target);
        };
        deps.resolve = [this](const QString &host) { return resolved.value(host, QStringLiteral("0.0.0.0")); };
        manager = std::make_unique<NetworkDiscoveryManager>(deps);
    }

    static NetworkInterfaces::Interface iface(const QString &name, bool up, bool loopback, QStringList ipv4)
    {
        NetworkInterfaces::Interface i;
        i.name = name;
        i.up = up;
        i.loopback = loopback;
        i.ipv4 = std::move(ipv4);
        return i;
    }
    // A lister run that exited with `code` after printing `output`.
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
    QMutex mutex; // guards probed and timeouts (the sweep probes on workers)
    QStringList probed;
    QSet<int> timeouts;
    QHash<QString, QString> resolved; // what the system resolver answers (the rest: 0.0.0.0)
    std::unique_ptr<NetworkDiscoveryManager> manager;

private:
    QSet<QString> m_open;
};
