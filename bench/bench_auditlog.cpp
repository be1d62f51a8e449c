// Cost of one audit append on a full file (10,000 entries): read, decode, insert, trim, encode, durable
// rewrite, measured end to end through the writer; and a burst of 1,000 entries, which the writer coalesces. Prints figures; asserts nothing.
#include "logging/AuditLogFile.h"
#include "logging/EnterpriseAuditLog.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <vector>

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    constexpr int kSamples = 21;

    QTemporaryDir dir;
    if (!dir.isValid())
        return 1;
    const QString path = dir.filePath(QStringLiteral("audit_log.json"));

    QList<AuditLogEntry> seeded;
    const QDateTime now = QDateTime::currentDateTimeUtc();
    for (int k = 0; k < EnterpriseAuditLog::kMaxDiskEntries; ++k) {
        AuditLogEntry entry;
        entry.id = QUuid::createUuid();
        entry.timestamp = now.addSecs(-k);
        entry.eventType = AuditEventType(k % 17);
        entry.shareName = QStringLiteral("share%1").arg(k % 40);
        entry.hostname = QStringLiteral("nas%1.example.lan").arg(k % 40);
        entry.username = QStringLiteral("alice");
        entry.machineName = QStringLiteral("Alice's workstation");
        entry.details = QStringLiteral("Mount attempt for share%1 via user action").arg(k % 40);
        entry.success = k % 3 != 0;
        if (!entry.success)
            entry.errorCode = 64;
        seeded.append(entry);
    }
    {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly))
            return 1;
        file.write(AuditLogFile::encode(seeded));
    }

    QElapsedTimer load;
    load.start();
    EnterpriseAuditLog log(path);
    const double loadMs = load.nsecsElapsed() / 1e6;

    std::vector<double> samples;
    for (int i = 0; i < kSamples; ++i) {
        QElapsedTimer timer;
        timer.start();
        log.log(AuditEventType::mountAttempt, QStringLiteral("media"), QStringLiteral("nas.example.lan"),
                QStringLiteral("bench %1").arg(i), true);
        log.waitForPendingWrites();
        samples.push_back(timer.nsecsElapsed() / 1e6);
    }
    std::sort(samples.begin(), samples.end());

    // The caller's share of the cost: log() only queues.
    QElapsedTimer callerTimer;
    callerTimer.start();
    for (int i = 0; i < 100; ++i)
        log.log(AuditEventType::shareModified, std::nullopt, std::nullopt, QStringLiteral("queued %1").arg(i), true);
    const double callerUs = callerTimer.nsecsElapsed() / 1e3 / 100;
    log.waitForPendingWrites();

    // A burst: 1,000 entries logged at once on the full file, from the first log() until all are on disk.
    QElapsedTimer burst;
    burst.start();
    for (int i = 0; i < 1000; ++i)
        log.log(AuditEventType::ruleTriggered, QStringLiteral("s%1").arg(i % 40), std::nullopt,
                QStringLiteral("burst %1").arg(i), true);
    log.waitForPendingWrites();
    const double burstMs = burst.nsecsElapsed() / 1e6;
    int burstOnDisk = 0;
    if (const auto onDisk = AuditLogFile::read(path)) {
        for (const AuditLogEntry &entry : *onDisk)
            burstOnDisk += entry.details.startsWith(QLatin1String("burst ")) ? 1 : 0;
    }
    std::printf("bench_auditlog: burst of 1000 entries on %d: %.1f ms until all on disk (%d of 1000 in the file)\n",
                EnterpriseAuditLog::kMaxDiskEntries, burstMs, burstOnDisk);

    std::printf("bench_auditlog: file=%lld bytes, %d entries\n", qlonglong(QFileInfo(path).size()),
                EnterpriseAuditLog::kMaxDiskEntries);
    std::printf("bench_auditlog: load %.2f ms (500 kept in memory)\n", loadMs);
    std::printf("bench_auditlog: append at %d entries: median %.2f ms, min %.2f ms, max %.2f ms (n=%d)\n",
                EnterpriseAuditLog::kMaxDiskEntries, samples[samples.size() / 2], samples.front(), samples.back(),
                kSamples);
    std::printf("bench_auditlog: log() on the calling thread: %.1f us per call\n", callerUs);
    return 0;
}
