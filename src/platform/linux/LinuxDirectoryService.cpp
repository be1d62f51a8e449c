#include "LinuxDirectoryService.h"

#include "platform/ProcessLauncher.h"

#include <QFile>

#include <cerrno>

#include <pwd.h>
#include <unistd.h>

#include <vector>

namespace {

constexpr int kToolTimeoutMs = 20000;

ProcessLauncher::Request tool(const QString &program, const QStringList &arguments)
{
    ProcessLauncher::Request request;
    request.program = program;
    request.arguments = arguments;
    request.timeoutMs = kToolTimeoutMs;
    // The tools' output is parsed: keep it in the untranslated wording.
    request.environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C"));
    return request;
}

QString failureText(const ProcessLauncher::Result &result)
{
    if (!result.started)
        return result.errorText;
    if (result.timedOut)
        return QStringLiteral("timed out");
    const QString err = QString::fromLocal8Bit(result.standardError).trimmed();
    return err.isEmpty() ? QStringLiteral("exit status %1").arg(result.exitCode) : err;
}

} // namespace

LinuxDirectoryService::LinuxDirectoryService(ProcessLauncher &launcher, QString sssdConfig)
    : m_launcher(launcher)
    , m_sssdConfig(std::move(sssdConfig))
{
}

QString LinuxDirectoryService::domainFromRealmList(const QString &output)
{
    QString heading;
    QString domainName;
    bool configured = false;
    auto finished = [&]() -> QString { return configured ? (domainName.isEmpty() ? heading : domainName) : QString(); };
    for (const QString &rawLine : output.split(QLatin1Char('\n'))) {
        if (rawLine.trimmed().isEmpty())
            continue;
        if (!rawLine.front().isSpace()) {
            if (const QString found = finished(); !found.isEmpty())
                return found;
            heading = rawLine.trimmed();
            domainName.clear();
            configured = false;
            continue;
        }
        const QString line = rawLine.trimmed();
        const qsizetype colon = line.indexOf(QLatin1Char(':'));
        if (colon < 0)
            continue;
        const QString key = line.left(colon).trimmed();
        const QString value = line.mid(colon + 1).trimmed();
        if (key == QLatin1String("domain-name"))
            domainName = value;
        else if (key == QLatin1String("configured"))
            configured = !value.isEmpty() && value != QLatin1String("no");
    }
    return finished();
}

QString LinuxDirectoryService::domainFromSssdConfig(const QString &text)
{
    bool inSssd = false;
    for (const QString &rawLine : text.split(QLatin1Char('\n'))) {
        const QString line = rawLine.trimmed();
        if (line.startsWith(QLatin1Char('#')) || line.startsWith(QLatin1Char(';')))
            continue;
        if (line.startsWith(QLatin1Char('['))) {
            inSssd = line == QLatin1String("[sssd]");
            continue;
        }
        if (!inSssd)
            continue;
        const qsizetype eq = line.indexOf(QLatin1Char('='));
        if (eq < 0 || line.left(eq).trimmed() != QLatin1String("domains"))
            continue;
        for (const QString &domain : line.mid(eq + 1).split(QLatin1Char(','))) {
            if (!domain.trimmed().isEmpty())
                return domain.trimmed();
        }
        return {};
    }
    return {};
}

QStringList LinuxDirectoryService::groupsFromIdOutput(const QByteArray &output)
{
    const char separator = output.contains('\0') ? '\0' : ' ';
    QStringList groups;
    for (const QByteArray &piece : output.trimmed().split(separator)) {
        const QString name = QString::fromUtf8(piece).trimmed();
        if (!name.isEmpty())
            groups.append(name);
    }
    return groups;
}

QString LinuxDirectoryService::fullNameFromGecos(const QString &gecos)
{
    return gecos.section(QLatin1Char(','), 0, 0).trimmed();
}

DirectoryService::DomainLookup LinuxDirectoryService::boundDomain()
{
    DomainLookup lookup;
    const auto realm = m_launcher.run(tool(QStringLiteral("realm"), {QStringLiteral("list")}));
    if (realm.succeeded()) {
        lookup.ran = true;
        lookup.domain = domainFromRealmList(QString::fromUtf8(realm.standardOutput));
        if (!lookup.domain.isEmpty())
            return lookup;
    } else {
        lookup.error = QStringLiteral("realm list: ") + failureText(realm);
    }
    // Machines joined with sssd alone (no realmd) name their domain in sssd's configuration, which is
    // usually readable by root only; unreadable counts as unbound.
    QFile config(m_sssdConfig);
    if (config.open(QIODevice::ReadOnly)) {
        lookup.ran = true;
        lookup.domain = domainFromSssdConfig(QString::fromUtf8(config.readAll()));
    }
    return lookup;
}

DirectoryService::GroupsLookup LinuxDirectoryService::currentUserGroups()
{
    GroupsLookup lookup;
    const auto id = m_launcher.run(tool(QStringLiteral("id"), {QStringLiteral("-Gnz")}));
    if (!id.succeeded()) {
        lookup.error = QStringLiteral("id -Gnz: ") + failureText(id);
        return lookup;
    }
    lookup.ran = true;
    lookup.groups = groupsFromIdOutput(id.standardOutput);
    return lookup;
}

std::optional<DirectoryService::UserRecord> LinuxDirectoryService::currentUserRecord()
{
    long size = ::sysconf(_SC_GETPW_R_SIZE_MAX);
    std::vector<char> buffer(size > 0 ? size_t(size) : 16384);
    passwd entry{};
    passwd *found = nullptr;
    while (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) == ERANGE && buffer.size() < (1u << 20))
        buffer.resize(buffer.size() * 2);
    if (!found)
        return std::nullopt;
    UserRecord record;
    record.userName = QString::fromLocal8Bit(found->pw_name);
    record.fullName = fullNameFromGecos(QString::fromLocal8Bit(found->pw_gecos ? found->pw_gecos : ""));
    if (found->pw_dir && *found->pw_dir)
        record.homeDirectory = QString::fromLocal8Bit(found->pw_dir);
    return record;
}
