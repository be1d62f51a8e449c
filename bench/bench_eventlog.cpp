// Cost of one event-log insertion on a full log: insert, trim, and persist the whole list to the real
// preferences file (atomic rewrite). Prints figures; asserts nothing.
#include "base/Defaults.h"
#include "base/NotificationCenter.h"
#include "base/Preferences.h"
#include "logging/LogEventManager.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <vector>

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    constexpr int kFull = LogEventManager::kDefaultMaxNumberOfLogLines;
    constexpr int kSamples = 41;

    QTemporaryDir dir;
    if (!dir.isValid())
        return 1;
    Defaults defaults(dir.filePath(QStringLiteral("io.tarnwell.Tarnwell.plist")));

    // A full log as a long-running installation would have it.
    QVariantList seeded;
    for (int k = 0; k < kFull; ++k) {
        LogEvent event(k % 40 + 1, QStringLiteral("nas%1.example.lan").arg(k % 40), QStringLiteral("share"),
                       QStringLiteral("/run/user/1000/gvfs/smb-share:server=nas,share=share"),
                       QStringLiteral("Mounted at /run/user/1000/gvfs"), EVENT_TYPE_ENUM::MOUNT_SUCCESS,
                       LogEvent::message(EVENT_TYPE_ENUM::MOUNT_SUCCESS, QStringLiteral("Mounted share %1").arg(k)));
        seeded.append(event.encode());
    }
    defaults.setValue(Preferences::Keys::LogEventArray, seeded);

    QElapsedTimer load;
    load.start();
    NotificationCenter center;
    LogEventManager manager(defaults, &center);
    const double loadMs = load.nsecsElapsed() / 1e6;

    std::vector<double> samples;
    for (int i = 0; i < kSamples; ++i) {
        const LogEvent event = LogEvent::general(
            EVENT_TYPE_ENUM::MANUAL_MOUNT, LogEvent::message(EVENT_TYPE_ENUM::MANUAL_MOUNT, QStringLiteral("bench %1").arg(i)));
        QElapsedTimer timer;
        timer.start();
        manager.addEvent(event);
        samples.push_back(timer.nsecsElapsed() / 1e6);
    }
    std::sort(samples.begin(), samples.end());

    std::printf("bench_eventlog: entries=%lld file=%lld bytes\n", qlonglong(manager.events().size()),
                qlonglong(QFileInfo(defaults.filePath()).size()));
    std::printf("bench_eventlog: load %.2f ms\n", loadMs);
    std::printf("bench_eventlog: add at %d entries: median %.2f ms, min %.2f ms, max %.2f ms (n=%d)\n", kFull,
                samples[samples.size() / 2], samples.front(), samples.back(), kSamples);
    return 0;
}
