// Start-up cost of managed preferences: a managed folder whose profile carries 500 shares, read from disk
// by the Linux folder source, parsed, and applied to an empty engine as locked records (the start-up check),
// then the same check at the next launch, when every share already has its locked record. The engine is the
// real MountEngine over the in-process fakes. Prints medians; asserts nothing.
#include "BenchFigures.h"
#include "support/EngineHarness.h"

#include "enterprise/ManagedPreferencesMonitor.h"
#include "enterprise/ProfileGenerator.h"
#include "platform/linux/ManagedPreferenceFolder.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <vector>

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    constexpr int kShares = 500;
    constexpr int kSamples = 9;

    QTemporaryDir folder;
    if (!folder.isValid())
        return 1;
    ProfileGenerator::Settings settings;
    settings.organizationName = QStringLiteral("Bench Corp");
    for (int i = 0; i < kShares; ++i) {
        ProfileGenerator::Share share;
        share.nickname = QStringLiteral("Share %1").arg(i);
        share.hostname = QStringLiteral("fs%1.bench.example").arg(i % 20);
        share.shareName = QStringLiteral("dept%1").arg(i);
        share.protocolType = i % 3 == 0 ? QStringLiteral("SMB") : QStringLiteral("webdavs");
        settings.shares.append(share);
    }
    QFile profile(folder.filePath(QStringLiteral("10-bench.mobileconfig")));
    if (!profile.open(QIODevice::WriteOnly))
        return 1;
    profile.write(ProfileGenerator::generate(settings).toUtf8());
    profile.close();
    profile.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther);
    QFile::setPermissions(folder.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadGroup
                                             | QFile::ExeGroup | QFile::ReadOther | QFile::ExeOther);

    std::vector<double> readOnly, firstLaunch, firstLaunchFlushed, nextLaunch;
    int added = 0;
    for (int s = 0; s < kSamples; ++s) {
        EngineHarness harness(EngineHarness::ConsoleMode::Discard);
        ManagedPreferenceFolder source(folder.path());
        ManagedPreferencesMonitor monitor(source, *harness.engine, &harness.center, nullptr);

        QElapsedTimer timer;
        timer.start();
        const auto shares = monitor.reader().readManagedShares();
        readOnly.push_back(timer.nsecsElapsed() / 1e6);
        if (shares.size() != kShares)
            return 1;

        timer.restart();
        added = monitor.check();
        firstLaunch.push_back(timer.nsecsElapsed() / 1e6);
        harness.defaults.flush();
        firstLaunchFlushed.push_back(timer.nsecsElapsed() / 1e6);

        timer.restart();
        const int again = monitor.check();
        nextLaunch.push_back(timer.nsecsElapsed() / 1e6);
        if (added != kShares || again != 0)
            return 1;
    }
    std::printf("bench_managed: %d managed shares in one profile, %d samples (medians)\n", kShares, kSamples);
    std::printf("  read + parse the managed folder:                 %8.2f ms\n", median(readOnly));
    std::printf("  start-up check, empty list (%d added, main thread): %8.2f ms\n", added, median(firstLaunch));
    std::printf("  ... including the preferences write on disk:      %8.2f ms\n", median(firstLaunchFlushed));
    std::printf("  start-up check, every share already present:      %8.2f ms\n", median(nextLaunch));
    std::printf("  target: <= 200 ms for the start-up check\n");
    return 0;
}
