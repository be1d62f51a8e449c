#pragma once

#include "platform/ServiceBrowser.h"

#include <QHash>

// Records start/stop; tests announce services with announce() and set name resolutions in `resolutions`.
class FakeServiceBrowser : public ServiceBrowser
{
    Q_OBJECT
public:
    void start(const QStringList &types, const QString &domain) override
    {
        startedTypes = types;
        startedDomain = domain;
        running = true;
        ++starts;
    }
    void stop() override
    {
        running = false;
        ++stops;
    }
    QString resolveHostName(const QString &name, int) override { return resolutions.value(name); }

    // Reports a service as a real browser would (only while running).
    void announce(const QString &name, const QString &type)
    {
        if (running)
            Q_EMIT serviceFound(name, type, startedDomain);
    }

    QStringList startedTypes;
    QString startedDomain;
    bool running = false;
    int starts = 0;
    int stops = 0;
    QHash<QString, QString> resolutions;
};
