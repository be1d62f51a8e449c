#include "EngineHarness.h"

#include "core/ShareUrlProbe.h"

#include <QDir>
#include <QFile>
#include <QMutexLocker>

EngineHarness::EngineHarness(ConsoleMode mode)
    : EngineHarnessBase(mode)
    , volumesFolder(dir.path() + QStringLiteral("/volumes"))
    , fileSystem(volumesFolder)
    , credentials(&secrets)
{
    QDir().mkpath(volumesFolder);
    service.attachVolumes(&table, volumesFolder);

    MountNetworkOps network;
    network.resolveHostName = [this](const QString &host) {
        QMutexLocker lock(&m_mutex);
        ++m_resolveCalls;
        return m_resolved.value(host, QStringLiteral("0.0.0.0"));
    };
    network.probe = [this](const QString &, const QString &, int) {
        QMutexLocker lock(&m_mutex);
        ++m_probeCalls;
        return m_probeResult;
    };
    network.wakeOnLan = [this](const QString &mac) {
        QMutexLocker lock(&m_mutex);
        m_wakeCalls.append(mac);
    };
    network.probeShareUrl = [this](const VolumeRecord &record, double timeout) {
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
    buildEngine(service, table, fileSystem, &credentials, std::move(network));
}

EngineHarness::~EngineHarness()
{
    shutDown();
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

QString EngineHarness::makeScript(const QString &name, const QString &body) const
{
    QFile file(dir.path() + QLatin1Char('/') + name);
    if (file.open(QIODevice::WriteOnly))
        file.write(body.toUtf8());
    file.close();
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    return file.fileName();
}
