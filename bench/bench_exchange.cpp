// Configuration exchange at scale over the real engine (in-process fakes for the ports): share CSV import of
// 5,000 rows, and export and import of a configuration with 1,000 shares and 100 sets. Prints medians;
// asserts nothing.
#include "BenchFigures.h"
#include "support/EngineHarness.h"

#include "exchange/ConfigurationManager.h"
#include "exchange/ShareCsv.h"
#include "exchange/ShareSetManager.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTest>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <vector>

namespace {

struct Exchange
{
    Exchange()
        : harness(EngineHarness::ConsoleMode::Discard)
        , sets(harness.defaults, *harness.engine)
        , config(ConfigurationManager::Dependencies{harness.engine, &sets, &harness.defaults, &harness.center,
                                                    &harness.credentials})
    {
    }
    EngineHarness harness;
    ShareSetManager sets;
    ConfigurationManager config;
};


QString csvOf(int rows)
{
    QString text = QStringLiteral("nickname,hostname,shareName,protocol,username,guest,port,group,autoMount\n");
    for (int i = 0; i < rows; ++i)
        text += QStringLiteral("\"Share %1, floor %2\",nas%2.example.lan,share%1,smb,user%1,no,445,team%3,yes\n")
                    .arg(i)
                    .arg(i % 50)
                    .arg(i % 7);
    return text;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    constexpr int kSamples = 5;

    // CSV: 5,000 rows into an empty engine, until the result callback.
    const QString csv = csvOf(5000);
    std::vector<double> csvMs;
    std::vector<double> parseMs;
    for (int s = 0; s < kSamples; ++s) {
        QElapsedTimer t;
        t.start();
        const ShareCsv::Parsed parsed = ShareCsv::parse(csv);
        parseMs.push_back(t.nsecsElapsed() / 1e6);
        if (parsed.rows.size() != 5000)
            std::printf("unexpected: %lld rows parsed\n", static_cast<long long>(parsed.rows.size()));
    }
    for (int s = 0; s < kSamples; ++s) {
        Exchange x;
        bool done = false;
        int imported = 0;
        QElapsedTimer t;
        t.start();
        x.config.importCsv(csv, [&](const ConfigurationManager::CsvOutcome &o) {
            imported = o.imported;
            done = true;
        });
        if (!QTest::qWaitFor([&] { return done; }, 60000))
            std::printf("CSV import did not finish\n");
        csvMs.push_back(t.nsecsElapsed() / 1e6);
        if (imported != 5000)
            std::printf("unexpected: %d rows imported\n", imported);
        x.harness.defaults.flush();
    }

    // Configuration: 1,000 shares and 100 sets of 10 members.
    Exchange source;
    RecordStore &store = source.harness.engine->store();
    for (int i = 0; i < 1000; ++i) {
        VolumeRecord r;
        r.internal_ID_Int = i + 1;
        r.hostname_String = QStringLiteral("nas%1.example.lan").arg(i % 50);
        r.volume_String = QStringLiteral("share%1").arg(i);
        r.nickname_String = QStringLiteral("Share %1").arg(i);
        r.group_String = QStringLiteral("team%1").arg(i % 7);
        store.add(r);
    }
    store.save();
    QList<ShareSet> sets;
    for (int k = 0; k < 100; ++k) {
        ShareSet set;
        set.name = QStringLiteral("Set %1").arg(k);
        for (int m = 0; m < 10; ++m)
            set.shareIDs.append(k * 10 + m + 1);
        sets.append(set);
    }
    source.sets.setSets(sets);

    std::vector<double> exportMs;
    QByteArray file;
    for (int s = 0; s < kSamples; ++s) {
        QElapsedTimer t;
        t.start();
        file = source.config.exportConfiguration().value;
        exportMs.push_back(t.nsecsElapsed() / 1e6);
    }
    std::vector<double> importMs;
    for (int s = 0; s < kSamples; ++s) {
        Exchange target;
        QElapsedTimer t;
        t.start();
        const auto result = target.config.importConfiguration(file, Configuration::ImportMode::Merge);
        importMs.push_back(t.nsecsElapsed() / 1e6);
        if (result.value.sharesImported != 1000 || result.value.setsImported != 100)
            std::printf("unexpected: %s\n", qPrintable(Configuration::summaryText(result.value)));
        target.harness.defaults.flush();
    }

    std::printf("share CSV parse only, 5000 rows:                  median %.1f ms\n", median(parseMs));
    std::printf("share CSV import, 5000 rows:                      median %.1f ms (target <= 1000 ms)\n", median(csvMs));
    std::printf("configuration export, 1000 shares + 100 sets:     median %.1f ms (target <= 300 ms), %lld bytes\n",
                median(exportMs), static_cast<long long>(file.size()));
    std::printf("configuration import (merge), 1000 shares + 100 sets: median %.1f ms (target <= 300 ms)\n",
                median(importMs));
    return 0;
}
