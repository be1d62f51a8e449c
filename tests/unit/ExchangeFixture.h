#pragma once

// The exchange objects over the engine harness: what the composition root builds, over in-process fakes.
#include "support/EngineHarness.h"

#include "exchange/ConfigurationManager.h"
#include "exchange/ShareSetManager.h"

#include <QHash>
#include <QSignalSpy>
#include <QTest>

#include <memory>

struct ExchangeFixture
{
    ExchangeFixture()
        : sets(std::make_unique<ShareSetManager>(h.defaults, *h.engine))
    {
        ConfigurationManager::Dependencies deps{h.engine, sets.get(), &h.defaults, &h.center, &h.credentials};
        config = std::make_unique<ConfigurationManager>(deps);
        config->setUserNameProvider([] { return QStringLiteral("Ada Example"); });
        config->setPolicyReader([this](const QString &key) -> std::optional<bool> {
            return policy.contains(key) ? std::optional<bool>(policy.value(key)) : std::nullopt;
        });
    }
    ~ExchangeFixture()
    {
        config.reset();
        sets.reset();
    }

    ShareSet makeSet(const QString &name, const QList<qint64> &ids)
    {
        ShareSet set;
        set.name = name;
        set.shareIDs = ids;
        sets->addSet(set);
        return set;
    }

    // host/share pairs of the engine's records, in order.
    QStringList shares() const
    {
        QStringList list;
        for (const VolumeRecord &r : h.engine->store().records())
            list << r.hostname_String + QLatin1Char('/') + r.volume_String;
        return list;
    }

    qint64 idOf(const QString &host, const QString &share) const
    {
        for (const VolumeRecord &r : h.engine->store().records()) {
            if (r.hostname_String == host && r.volume_String == share)
                return r.internal_ID_Int;
        }
        return -1;
    }
    qint64 idOf(const char *hostShare) const // "host/share", as shares() lists them
    {
        const QString text = QString::fromUtf8(hostShare);
        return idOf(text.section(QLatin1Char('/'), 0, 0), text.section(QLatin1Char('/'), 1));
    }

    ConfigurationManager::CsvOutcome importCsv(const QString &text)
    {
        ConfigurationManager::CsvOutcome result;
        bool finished = false;
        config->importCsv(text, [&](const ConfigurationManager::CsvOutcome &o) {
            result = o;
            finished = true;
        });
        if (!QTest::qWaitFor([&] { return finished; }, 5000))
            qWarning("CSV import did not finish");
        return result;
    }

    EngineHarness h;
    QHash<QString, bool> policy; // managed keys; absent = not managed
    std::unique_ptr<ShareSetManager> sets;
    std::unique_ptr<ConfigurationManager> config;
};
