// What a durable acknowledgement costs: the time from a share's add through the control interface until
// the preferences writer reports it on disk (checked writes, fsync, atomic rename, folder fsync), at 0,
// 1,000 and 10,000 stored shares, in process over the fakes (the bus adds about a millisecond). Also the
// engine's resident memory after the 10,000. Prints figures; asserts nothing.
#include "control/ControlService.h"
#include "base/DurableFile.h"
#include "base/Preferences.h"
#include "base/PropertyList.h"
#include "support/EngineHarness.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

long residentKiB()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').first().toLong();
    }
    return -1;
}

// One add through the control interface, timed until the writer reports it on disk.
double acknowledgedAddMs(ControlService &control, Defaults &defaults, int n)
{
    const QString json = QString::fromUtf8(
        QJsonDocument(QJsonObject{{QStringLiteral("hostname"), QStringLiteral("bench-%1.example.lan").arg(n)},
                                  {QStringLiteral("shareName"), QStringLiteral("docs")},
                                  {QStringLiteral("guest"), 1}})
            .toJson(QJsonDocument::Compact));
    QElapsedTimer timer;
    timer.start();
    const auto added = control.addRecord(json, QString());
    if (!added.ok())
        return -1;
    QEventLoop loop; // a bench may wait like this; the engine never does
    QString error;
    defaults.whenSaved(defaults.generation(), &loop, [&](const QString &e) {
        error = e;
        loop.quit();
    });
    loop.exec();
    return error.isEmpty() ? timer.nsecsElapsed() / 1e6 : -1;
}

double median(std::vector<double> samples)
{
    std::sort(samples.begin(), samples.end());
    return samples[samples.size() / 2];
}

// Where an acknowledged add spends its time: handing the records to the preferences on the main thread,
// serialising the whole domain, and the durable write (checked writes, fsync, rename, folder fsync).
void printBreakdown(MountEngine &engine, Defaults &defaults, int shares)
{
    constexpr int kRounds = 9;
    std::vector<double> handOver, serialise, write;
    QVariantMap domain;
    for (const QString &key : {Preferences::Keys::VolumeRecordArray, Preferences::Keys::LogEventArray})
        if (defaults.contains(key))
            domain.insert(key, defaults.value(key));
    const QString path = defaults.filePath() + QStringLiteral(".bench");
    QElapsedTimer timer;
    PropertyList::XmlCache cache;
    PropertyList::serializeXml(domain, cache);
    for (int i = 0; i < kRounds; ++i) {
        timer.start();
        engine.store().save();
        handOver.push_back(timer.nsecsElapsed() / 1e6);
        timer.start();
        domain.insert(Preferences::Keys::VolumeRecordArray, defaults.value(Preferences::Keys::VolumeRecordArray));
        const QByteArray bytes = PropertyList::serializeXml(domain, cache);
        serialise.push_back(timer.nsecsElapsed() / 1e6);
        timer.start();
        DurableFile::write(path, bytes);
        write.push_back(timer.nsecsElapsed() / 1e6);
    }
    QFile::remove(path);
    defaults.flush();
    std::printf("bench_durability:   at %5d shares: main thread %6.2f ms, serialise %6.2f ms, durable write %6.2f ms "
                "(medians of %d)\n",
                shares, median(handOver), median(serialise), median(write), kRounds);
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    constexpr int kSamples = 21;
    EngineHarness harness(EngineHarness::ConsoleMode::Discard);
    MountEngine &engine = harness.host->engine();
    ControlService control(engine, harness.eventLog, harness.auditLog);

    int stored = 0;
    int serial = 0;
    for (int target : {0, 1000, 10000}) {
        QList<VolumeRecord> records = engine.store().records();
        for (; stored < target; ++stored) {
            VolumeRecord r;
            r.internal_ID_Int = 100000 + stored;
            r.hostname_String = QStringLiteral("seed-%1.example.lan").arg(stored);
            r.volume_String = QStringLiteral("share%1").arg(stored);
            r.nickname_String = QStringLiteral("Seeded share %1").arg(stored);
            r.no_password_guest_login = 1;
            records.append(r);
        }
        engine.store().setRecords(records);
        engine.store().save();
        harness.defaults.flush();

        std::vector<double> samples;
        for (int i = 0; i < kSamples; ++i)
            samples.push_back(acknowledgedAddMs(control, harness.defaults, serial++));
        stored += kSamples;
        std::sort(samples.begin(), samples.end());
        std::printf("bench_durability: acknowledged add at %5d shares: median %7.2f ms, min %7.2f, max %7.2f "
                    "(n=%d, preferences file %lld bytes)\n",
                    target, samples[samples.size() / 2], samples.front(), samples.back(), kSamples,
                    qlonglong(QFileInfo(harness.defaults.filePath()).size()));
        printBreakdown(engine, harness.defaults, target);
    }
    std::printf("bench_durability: resident memory with %d shares: %ld KiB\n", stored, residentKiB());
    return 0;
}
