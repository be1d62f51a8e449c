#include "EnterpriseAuditLog.h"

#include "base/ThreadCheck.h"
#include "platform/Clock.h"

#include "base/Console.h"
#include "base/DurableFile.h"
#include "base/Paths.h"
#include "logging/AuditLogFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>

#include <pwd.h>
#include <unistd.h>

#include <climits>

namespace {
const QString kLogLinePrefix = QStringLiteral("📋 [AUDIT] ");
const QString kLoadedLine = QStringLiteral("📋 [AUDIT] Loaded %1 audit log entries");
const QString kLoadFailedLine = QStringLiteral("❌ [AUDIT] Failed to load audit log: ");
const QString kEntriesSkippedLine = QStringLiteral("⚠️ [AUDIT] %1 unreadable audit entries left out: %2");
const QString kSaveFailedLine = QStringLiteral("❌ [AUDIT] Failed to save audit log: ");
const QString kSavedAgainLine = QStringLiteral("✅ [AUDIT] Audit log saved again");
const QString kFileName = QStringLiteral("audit_log.json");
const QString kUnknownMachine = QStringLiteral("Unknown");

// PRETTY_HOSTNAME from /etc/machine-info (an environment-style file; the value may be quoted).
QString prettyHostName()
{
    QFile file(QStringLiteral("/etc/machine-info"));
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return {};
    const QString prefix = QStringLiteral("PRETTY_HOSTNAME=");
    while (!file.atEnd()) {
        const QString line = QString::fromUtf8(file.readLine()).trimmed();
        if (!line.startsWith(prefix))
            continue;
        QString value = line.mid(prefix.size());
        if (value.size() >= 2 && (value.front() == QLatin1Char('"') || value.front() == QLatin1Char('\''))
            && value.back() == value.front())
            value = value.mid(1, value.size() - 2);
        QString unescaped;
        for (qsizetype i = 0; i < value.size(); ++i) {
            if (value[i] == QLatin1Char('\\') && i + 1 < value.size())
                ++i;
            unescaped.append(value[i]);
        }
        return unescaped.trimmed();
    }
    return {};
}
} // namespace

EnterpriseAuditLog::EnterpriseAuditLog(const QString &filePath, QObject *parent)
    : QObject(parent)
    , m_filePath(filePath)
    , m_userName(currentUserName())
    , m_machineName(currentMachineName())
{
    // A missing folder is created now (private: the log names users, hosts and shares); if that fails the
    // first write reports it.
    DurableFile::makeFolder(QFileInfo(m_filePath).absolutePath());
    DurableFile::removeLeftovers(m_filePath);
    DurableFile::makePrivate(m_filePath);
    m_writer = std::thread([this] { writerLoop(); });

    if (!QFileInfo::exists(m_filePath))
        return;
    QString error;
    QStringList skipped;
    auto loaded = AuditLogFile::read(m_filePath, &error, &skipped);
    if (!loaded) {
        Console::line(kLoadFailedLine + error);
        return;
    }
    if (!skipped.isEmpty())
        Console::line(kEntriesSkippedLine.arg(skipped.size()).arg(skipped.join(QStringLiteral("; "))));
    // Only the newest entries are kept in memory; the file itself is left as it is.
    if (loaded->size() > kMaxMemoryEntries)
        loaded->resize(kMaxMemoryEntries);
    m_entries = std::move(*loaded);
    Console::line(kLoadedLine.arg(m_entries.size()));
}

EnterpriseAuditLog::~EnterpriseAuditLog()
{
    {
        QMutexLocker lock(&m_writeMutex);
        m_stopping = true;
        m_writeChanged.wakeAll();
    }
    m_writer.join(); // what is queued gets one more attempt first
}

void EnterpriseAuditLog::writerLoop()
{
    QMutexLocker lock(&m_writeMutex);
    QDeadlineTimer retryAt(QDeadlineTimer::Forever);
    for (;;) {
        const bool fresh = m_attemptedCount < m_loggedCount; // entries no write has carried yet
        if (!fresh) {
            if (m_stopping)
                return;
            if (m_unwritten.isEmpty()) {
                m_writeChanged.wait(&m_writeMutex);
                continue;
            }
            if (!retryAt.hasExpired()) {
                m_writeChanged.wait(&m_writeMutex, retryAt);
                continue;
            }
        }
        const quint64 carried = m_loggedCount;
        QList<AuditLogEntry> batch;
        batch.reserve(m_unwritten.size());
        for (auto it = m_unwritten.crbegin(); it != m_unwritten.crend(); ++it)
            batch.append(*it); // newest first, as the file holds them
        const qsizetype taken = m_unwritten.size();
        lock.unlock();
        QString error;
        const bool ok = AuditLogFile::append(m_filePath, batch, kMaxDiskEntries, &error);
        lock.relock();
        m_attemptedCount = carried;
        if (ok) {
            m_unwritten.remove(0, taken); // newer entries arrived meanwhile stay queued
            if (!m_lastWriteError.isEmpty())
                Console::line(kSavedAgainLine);
            m_lastWriteError.clear();
        } else {
            if (error != m_lastWriteError)
                Console::line(kSaveFailedLine + error);
            m_lastWriteError = error;
            retryAt = QDeadlineTimer(m_retryMs);
            // The file keeps only the newest entries anyway: a long outage must not grow memory without end.
            if (m_unwritten.size() > kMaxDiskEntries)
                m_unwritten.remove(0, m_unwritten.size() - kMaxDiskEntries);
        }
        m_writeChanged.wakeAll();
    }
}

int EnterpriseAuditLog::pendingEntryCount() const
{
    QMutexLocker lock(&m_writeMutex);
    return int(m_unwritten.size());
}

void EnterpriseAuditLog::setRetryInterval(int milliseconds)
{
    QMutexLocker lock(&m_writeMutex);
    m_retryMs = milliseconds;
    m_writeChanged.wakeAll();
}

QString EnterpriseAuditLog::standardFilePath()
{
    return Paths::appSupportDir() + QLatin1Char('/') + kFileName;
}

QString EnterpriseAuditLog::currentUserName()
{
    if (const passwd *pw = ::getpwuid(::getuid()); pw && pw->pw_name)
        return QString::fromLocal8Bit(pw->pw_name);
    return qEnvironmentVariable("USER");
}

QString EnterpriseAuditLog::currentMachineName()
{
    const QString pretty = prettyHostName();
    if (!pretty.isEmpty())
        return pretty;
    char buffer[HOST_NAME_MAX + 1] = {};
    if (::gethostname(buffer, sizeof buffer - 1) == 0 && buffer[0] != '\0')
        return QString::fromLocal8Bit(buffer);
    return kUnknownMachine;
}

void EnterpriseAuditLog::log(AuditEventType type, const std::optional<QString> &shareName,
                             const std::optional<QString> &hostname, const QString &details, bool success,
                             std::optional<int> errorCode)
{
    AuditLogEntry entry;
    entry.id = QUuid::createUuid();
    // Whole seconds: the precision of the file, so memory and file agree.
    const Clock *clock = m_clock.load();
    const QDateTime now = clock ? clock->now().toUTC() : QDateTime::currentDateTimeUtc();
    entry.timestamp = QDateTime(now.date(), QTime(now.time().hour(), now.time().minute(), now.time().second()),
                                Qt::UTC);
    entry.eventType = type;
    entry.shareName = shareName;
    entry.hostname = hostname;
    entry.username = m_userName;
    entry.machineName = m_machineName;
    entry.details = details;
    entry.success = success;
    entry.errorCode = errorCode;

    QMetaObject::invokeMethod(this, [this, entry] { insertInMemory(entry); }, Qt::QueuedConnection);
    {
        QMutexLocker lock(&m_writeMutex);
        m_unwritten.append(entry);
        ++m_loggedCount;
        m_writeChanged.wakeAll();
    }
    Console::line(kLogLinePrefix + AuditEventTypes::rawValue(type) + QStringLiteral(": ") + details);
}

void EnterpriseAuditLog::insertInMemory(const AuditLogEntry &entry)
{
    m_entries.prepend(entry);
    if (m_entries.size() > kMaxMemoryEntries)
        m_entries.resize(kMaxMemoryEntries);
    Q_EMIT entriesChanged();
}

QList<AuditLogEntry> EnterpriseAuditLog::filtered(std::optional<QDateTime> start, std::optional<QDateTime> end) const
{
    TW_ASSERT_MAIN_THREAD();
    QList<AuditLogEntry> result;
    for (const AuditLogEntry &entry : m_entries) {
        if (start && entry.timestamp < *start)
            continue;
        if (end && entry.timestamp > *end)
            continue;
        result.append(entry);
    }
    return result;
}

QString EnterpriseAuditLog::exportCSV(std::optional<QDateTime> start, std::optional<QDateTime> end) const
{
    TW_ASSERT_MAIN_THREAD();
    QString csv = kCsvHeader;
    const QChar comma = QLatin1Char(',');
    for (const AuditLogEntry &entry : filtered(start, end)) {
        // Only the details are quoted; the other fields go out raw even with commas (a kept quirk of the
        // format that consumers already parse).
        QString details = entry.details;
        details.replace(QLatin1Char('"'), QStringLiteral("\"\""));
        csv += AuditLogEntry::isoTimestamp(entry.timestamp) + comma + AuditEventTypes::rawValue(entry.eventType)
            + comma + entry.shareName.value_or(QString()) + comma + entry.hostname.value_or(QString()) + comma
            + entry.username + comma + entry.machineName + comma
            + (entry.success ? QStringLiteral("true") : QStringLiteral("false")) + comma
            + (entry.errorCode ? QString::number(*entry.errorCode) : QString()) + comma + QLatin1Char('"') + details
            + QLatin1Char('"') + QLatin1Char('\n');
    }
    return csv;
}

std::optional<QByteArray> EnterpriseAuditLog::exportJSON(std::optional<QDateTime> start,
                                                         std::optional<QDateTime> end) const
{
    TW_ASSERT_MAIN_THREAD();
    const QByteArray bytes = AuditLogFile::encode(filtered(start, end));
    if (bytes.isEmpty())
        return std::nullopt;
    return bytes;
}

void EnterpriseAuditLog::waitForPendingWrites()
{
    QMutexLocker lock(&m_writeMutex);
    const quint64 target = m_loggedCount;
    while (m_attemptedCount < target)
        m_writeChanged.wait(&m_writeMutex);
}
