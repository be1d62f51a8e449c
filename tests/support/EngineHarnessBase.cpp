#include "EngineHarnessBase.h"

#include "base/Console.h"

#include <QCoreApplication>
#include <QMutexLocker>
#include <QSignalSpy>
#include <QTest>
#include <QThreadPool>

#include <climits>
#include <cstdio>

namespace {
EngineHost::Options withFiles(EngineHost::Options options, const QString &dir)
{
    options.defaultsFile = dir + QStringLiteral("/prefs.plist");
    options.auditLogFile = dir + QStringLiteral("/audit_log.json");
    return options;
}
} // namespace

EngineHarnessBase::EngineHarnessBase(ConsoleMode mode, const PortsFactory &makePorts, EngineHost::Options options)
    : m_consoleMode(mode)
    , m_consoleInstalled([this, mode] {
        Console::setSink([this, mode](const QString &text) {
            if (mode == ConsoleMode::Discard)
                return;
            if (mode == ConsoleMode::CaptureAndEcho)
                std::fprintf(stderr, "%s\n", text.toUtf8().constData());
            QMutexLocker lock(&m_consoleMutex);
            m_console.append(text);
        });
        return true;
    }())
    , host(std::make_unique<EngineHost>(makePorts(dir.path()), withFiles(std::move(options), dir.path())))
    , defaults(host->defaults())
    , center(host->center())
    , eventLog(host->eventLog())
    , auditLog(host->auditLog())
    , credentials(host->credentials())
    , engine(&host->engine())
    , scheduler(&host->scheduler())
{
    QObject::connect(&center, &NotificationCenter::posted, &center,
                     [this](const QString &name, const QVariantMap &) { notifications.append(name); });
}

EngineHarnessBase::~EngineHarnessBase()
{
    shutDown();
    Console::setSink({});
    if (m_consoleMode == ConsoleMode::CaptureShowOnFailure && QTest::currentTestFailed()) {
        for (const QString &line : console())
            std::fprintf(stderr, "%s\n", line.toUtf8().constData());
    }
}

void EngineHarnessBase::shutDown()
{
    if (!host)
        return;
    host->scheduler().stop();
    host->engine().waitForWorkers();
    QThreadPool::globalInstance()->waitForDone(); // window tasks that use the engine's objects
    host->auditLog().waitForPendingWrites();
    host.reset();
    engine = nullptr;
    scheduler = nullptr;
}

qint64 EngineHarnessBase::addShare(const QString &host, const QString &share, MountUsingProtocol_Enum protocol,
                                   bool guest, int port, const QString &user)
{
    VolumeRecord record;
    record.hostname_String = host;
    record.volume_String = share;
    record.mounting_using_protocol_Enum = protocol;
    record.no_password_guest_login = guest ? 1 : 0;
    if (port > 0)
        record.port_Int = port;
    if (!user.isEmpty())
        record.username_String = user;
    return engine->addRecord(record);
}

qint64 EngineHarnessBase::addRecord(const std::function<void(VolumeRecord &)> &fill)
{
    VolumeRecord record;
    record.hostname_String = QStringLiteral("127.0.0.1");
    record.volume_String = QStringLiteral("docs");
    record.no_password_guest_login = 1;
    fill(record);
    return engine->addRecord(record);
}

void EngineHarnessBase::edit(qint64 id, const std::function<void(VolumeRecord &)> &change)
{
    VolumeRecord r = record(id);
    change(r);
    QVERIFY(engine->updateRecord(r));
}

const VolumeRecord &EngineHarnessBase::record(qint64 id) const
{
    const VolumeRecord *r = engine->record(id);
    Q_ASSERT(r);
    return *r;
}

int EngineHarnessBase::mountAndWait(qint64 id, bool allowUI, int timeoutMs)
{
    QSignalSpy spy(engine, &MountEngine::mountFinished);
    engine->mount(id, allowUI);
    if (!spy.wait(waitMs(timeoutMs)))
        return INT_MIN;
    settle();
    return spy.first().at(1).toInt();
}

bool EngineHarnessBase::ejectAndWait(qint64 id, bool partOfEjectAll, int timeoutMs)
{
    QSignalSpy spy(engine, &MountEngine::ejectFinished);
    engine->eject(id, partOfEjectAll);
    if (!spy.wait(waitMs(timeoutMs)))
        return false;
    settle();
    return spy.first().at(1).toBool();
}

bool EngineHarnessBase::syncAndWait(int timeoutMs)
{
    QSignalSpy spy(engine, &MountEngine::syncFinished);
    engine->syncWithMountTable();
    if (spy.isEmpty() && !spy.wait(waitMs(timeoutMs)))
        return false;
    settle();
    return true;
}

bool EngineHarnessBase::verifyAndWait(qint64 id, int timeoutMs)
{
    QSignalSpy spy(engine, &MountEngine::verifyFinished);
    engine->verify(id);
    if (!spy.wait(waitMs(timeoutMs)))
        return false;
    settle();
    return spy.first().at(1).toBool();
}

bool EngineHarnessBase::cleanUpAndWait(qint64 id, int timeoutMs)
{
    QSignalSpy spy(engine, &MountEngine::cleanUpFinished);
    engine->cleanUp(id);
    if (!spy.wait(waitMs(timeoutMs)))
        return false;
    settle();
    return true;
}

void EngineHarnessBase::ejectEverythingMounted()
{
    if (!host)
        return;
    for (const VolumeRecord &r : engine->store().records()) {
        if (r.runtime_isMounted_Bool)
            ejectAndWait(r.internal_ID_Int);
    }
}

void EngineHarnessBase::settle(int ms)
{
    QCoreApplication::processEvents(QEventLoop::AllEvents);
    QTest::qWait(ms);
}

QStringList EngineHarnessBase::console() const
{
    QMutexLocker lock(&m_consoleMutex);
    return m_console;
}

int EngineHarnessBase::countLinesContaining(const QString &text) const
{
    int n = 0;
    for (const QString &line : console())
        n += line.contains(text) ? 1 : 0;
    return n;
}

void EngineHarnessBase::clearConsole()
{
    QMutexLocker lock(&m_consoleMutex);
    m_console.clear();
}

int EngineHarnessBase::eventCount(EVENT_TYPE_ENUM type, const QString &containing) const
{
    int n = 0;
    for (const LogEvent &e : eventLog.events())
        n += e.event_type_Enum == type && e.eventMessage.contains(containing) ? 1 : 0;
    return n;
}

QList<AuditLogEntry> EngineHarnessBase::audits()
{
    settle();
    return auditLog.entries();
}
