#include "EngineHarness.h"

#include "app/Console.h"
#include "core/ShareUrlProbe.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QMutexLocker>
#include <QSignalSpy>
#include <QTest>

#include <climits>

namespace {
QString tempPath(const QTemporaryDir &dir, const QString &name)
{
    return dir.path() + QLatin1Char('/') + name;
}
} // namespace

EngineHarness::EngineHarness()
    : volumesFolder(tempPath(dir, QStringLiteral("volumes")))
    , defaults(tempPath(dir, QStringLiteral("prefs.plist")))
    , eventLog(defaults, &center)
    , auditLog(tempPath(dir, QStringLiteral("audit_log.json")))
    , fileSystem(volumesFolder)
    , credentials(&secrets)
{
    QDir().mkpath(volumesFolder);
    Console::setSink([this](const QString &text) {
        QMutexLocker lock(&m_mutex);
        m_console.append(text);
    });
    QObject::connect(&center, &NotificationCenter::posted, &center,
                     [this](const QString &name, const QVariantMap &) { notifications.append(name); });
    service.attachVolumes(&table, volumesFolder);

    MountEngineDependencies deps;
    deps.defaults = &defaults;
    deps.center = &center;
    deps.eventLog = &eventLog;
    deps.auditLog = &auditLog;
    deps.mountService = &service;
    deps.mountTable = &table;
    deps.fileSystem = &fileSystem;
    deps.credentials = &credentials;
    deps.network.resolveHostName = [this](const QString &host) {
        QMutexLocker lock(&m_mutex);
        ++m_resolveCalls;
        return m_resolved.value(host, QStringLiteral("0.0.0.0"));
    };
    deps.network.probe = [this](const QString &, const QString &, int) {
        QMutexLocker lock(&m_mutex);
        ++m_probeCalls;
        return m_probeResult;
    };
    deps.network.wakeOnLan = [this](const QString &mac) {
        QMutexLocker lock(&m_mutex);
        m_wakeCalls.append(mac);
    };
    deps.network.probeShareUrl = [this](const VolumeRecord &record, double timeout) {
        bool real = false;
        bool reachable = true;
        {
            QMutexLocker lock(&m_mutex);
            real = m_realShareUrlProbe;
            reachable = m_shareUrlReachable;
        }
        if (real)
            return ShareUrlProbe::probe(record, timeout);
        return MountProtocol::isWebDAV(record.mounting_using_protocol_Enum) ? reachable : true;
    };
    engine = std::make_unique<MountEngine>(deps);
}

EngineHarness::~EngineHarness()
{
    engine.reset();
    auditLog.waitForPendingWrites();
    Console::setSink({});
}

void EngineHarness::setResolved(const QString &host, const QString &address)
{
    QMutexLocker lock(&m_mutex);
    m_resolved.insert(host, address);
}

void EngineHarness::setProbeResult(const SelectResult &result)
{
    QMutexLocker lock(&m_mutex);
    m_probeResult = result;
}

void EngineHarness::setShareUrlReachable(bool reachable)
{
    QMutexLocker lock(&m_mutex);
    m_shareUrlReachable = reachable;
}

void EngineHarness::setUseRealShareUrlProbe(bool real)
{
    QMutexLocker lock(&m_mutex);
    m_realShareUrlProbe = real;
}

int EngineHarness::resolveCalls() const
{
    QMutexLocker lock(&m_mutex);
    return m_resolveCalls;
}

int EngineHarness::probeCalls() const
{
    QMutexLocker lock(&m_mutex);
    return m_probeCalls;
}

QStringList EngineHarness::wakeCalls() const
{
    QMutexLocker lock(&m_mutex);
    return m_wakeCalls;
}

qint64 EngineHarness::addShare(const QString &host, const QString &share, MountUsingProtocol_Enum protocol, bool guest)
{
    VolumeRecord record;
    record.hostname_String = host;
    record.volume_String = share;
    record.mounting_using_protocol_Enum = protocol;
    record.no_password_guest_login = guest ? 1 : 0;
    return engine->addRecord(record);
}

const VolumeRecord &EngineHarness::record(qint64 id) const
{
    const VolumeRecord *r = engine->record(id);
    Q_ASSERT(r);
    return *r;
}

int EngineHarness::mountAndWait(qint64 id, bool allowUI, int timeoutMs)
{
    QSignalSpy spy(engine.get(), &MountEngine::mountFinished);
    engine->mount(id, allowUI);
    if (!spy.wait(timeoutMs))
        return INT_MIN;
    settle();
    return spy.first().at(1).toInt();
}

bool EngineHarness::ejectAndWait(qint64 id, bool partOfEjectAll, int timeoutMs)
{
    QSignalSpy spy(engine.get(), &MountEngine::ejectFinished);
    engine->eject(id, partOfEjectAll);
    if (!spy.wait(timeoutMs))
        return false;
    settle();
    return spy.first().at(1).toBool();
}

bool EngineHarness::syncAndWait(int timeoutMs)
{
    QSignalSpy spy(engine.get(), &MountEngine::syncFinished);
    engine->syncWithMountTable();
    if (spy.isEmpty() && !spy.wait(timeoutMs))
        return false;
    settle();
    return true;
}

bool EngineHarness::cleanUpAndWait(qint64 id, int timeoutMs)
{
    QSignalSpy spy(engine.get(), &MountEngine::cleanUpFinished);
    engine->cleanUp(id);
    if (!spy.wait(timeoutMs))
        return false;
    settle();
    return true;
}

void EngineHarness::settle(int ms)
{
    QCoreApplication::processEvents(QEventLoop::AllEvents);
    QTest::qWait(ms);
}

QStringList EngineHarness::console() const
{
    QMutexLocker lock(&m_mutex);
    return m_console;
}

bool EngineHarness::hasLine(const QString &text) const
{
    return console().contains(text);
}

bool EngineHarness::hasLineContaining(const QString &text) const
{
    return countLinesContaining(text) > 0;
}

int EngineHarness::countLinesContaining(const QString &text) const
{
    int n = 0;
    for (const QString &line : console())
        n += line.contains(text) ? 1 : 0;
    return n;
}

void EngineHarness::clearConsole()
{
    QMutexLocker lock(&m_mutex);
    m_console.clear();
}

QList<AuditLogEntry> EngineHarness::audits()
{
    settle();
    return auditLog.entries();
}

QString EngineHarness::makeVolumeFolder(const QString &name, bool withFile) const
{
    const QString path = volumePath(name);
    QDir().mkpath(path);
    if (withFile) {
        QFile file(path + QStringLiteral("/file.txt"));
        if (file.open(QIODevice::WriteOnly))
            file.write("x");
    }
    return path;
}
