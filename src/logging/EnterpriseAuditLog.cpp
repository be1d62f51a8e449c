#include "EnterpriseAuditLog.h"

#include "base/ThreadCheck.h"
#include "platform/Clock.h"

#include "base/Console.h"
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
    m_writer.setMaxThreadCount(1);
    // A missing folder is created now; if that fails the first write reports it.
    QDir().mkpath(QFileInfo(m_filePath).absolutePath());

    if (!QFileInfo::exists(m_filePath))
        return;
    QString error;
    auto loaded = AuditLogFile::read(m_filePath, &error);
    if (!loaded) {
        Console::line(kLoadFailedLine + error);
        return;
    }
    // Only the newest entries are kept in memory; the file itself is left as it is.
    if (loaded->size() > kMaxMemoryEntries)
        loaded->resize(kMaxMemoryEntries);
    m_entries = std::move(*loaded);
    Console::line(kLoadedLine.arg(m_entries.size()));
}

EnterpriseAuditLog::~EnterpriseAuditLog()
{
    m_writer.waitForDone();
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
    m_writer.start([path = m_filePath, entry] { AuditLogFile::append(path, entry, kMaxDiskEntries); });
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
    m_writer.waitForDone();
}
