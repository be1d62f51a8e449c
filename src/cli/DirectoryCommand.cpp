#include "DirectoryCommand.h"

#include "ControlClient.h"
#include "control/ControlNames.h"
#include "control/EnterpriseNames.h"
#include "enterprise1proxy.h"

#include <QCoreApplication>
#include <QDBusPendingReply>
#include <QEventLoop>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimer>

#include <functional>

namespace {

using Proxy = IoTarnwellTarnwellEnterprise1Interface;
constexpr int kCheckTimeoutMs = 60000;

struct Session
{
    ControlClient client;
    Proxy proxy{ControlNames::kServiceName, EnterpriseNames::kObjectPath, client.bus()};
};

// Reports a failed reply; true when it failed.
bool failed(const QDBusPendingCall &call, int *status)
{
    QDBusPendingCall c = call;
    c.waitForFinished();
    if (!c.isError())
        return false;
    Cli::err(ControlClient::failureFor(c.reply()).message);
    *status = Command::kExitFailure;
    return true;
}

// Starts `start` and waits (bounded) until `finished` is emitted by the proxy. This process has nothing else to
// do meanwhile, so a local event loop is fine here.
template <typename Signal, typename Slot>
bool startAndWait(Proxy &proxy, Signal signal, Slot onSignal, const std::function<QDBusPendingCall()> &start, int *status)
{
    QEventLoop loop;
    bool arrived = false;
    QObject::connect(&proxy, signal, &loop, [&](auto... args) {
        onSignal(args...);
        arrived = true;
        loop.quit();
    });
    if (failed(start(), status))
        return false;
    QTimer::singleShot(kCheckTimeoutMs, &loop, &QEventLoop::quit);
    if (!arrived)
        loop.exec();
    if (!arrived) {
        Cli::err(QStringLiteral("The Tarnwell engine did not finish the directory check in time"));
        *status = Command::kExitFailure;
    }
    return arrived;
}

QString text(const QJsonValue &v)
{
    return v.isNull() || v.isUndefined() ? QStringLiteral("-") : Cli::printable(v.toString());
}

void printStatus(const QJsonObject &o)
{
    QString out = QStringLiteral("Status: %1\n").arg(Cli::printable(o.value(QStringLiteral("status")).toString()));
    out += QStringLiteral("Bound: %1\n").arg(o.value(QStringLiteral("configured")).toBool() ? QStringLiteral("yes") : QStringLiteral("no"));
    const QJsonObject user = o.value(QStringLiteral("user")).toObject();
    if (!user.isEmpty()) {
        out += QStringLiteral("Domain: %1\n").arg(text(user.value(QStringLiteral("domain"))));
        out += QStringLiteral("User: %1 (%2)\n").arg(text(user.value(QStringLiteral("username"))), text(user.value(QStringLiteral("displayName"))));
        out += QStringLiteral("Home: %1\n").arg(text(user.value(QStringLiteral("homeDirectory"))));
        QStringList groups;
        for (const QJsonValue &g : user.value(QStringLiteral("groups")).toArray())
            groups << Cli::printable(g.toString());
        out += QStringLiteral("Groups: %1\n").arg(groups.join(QStringLiteral(", ")));
    }
    Cli::out(out);
}

const QCommandLineOption kJson(QStringLiteral("json"), QStringLiteral("Print JSON for scripts."));

} // namespace

int DirectoryCommand::run(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Directory binding and group share mappings.\n\nCommands:\n"
        "  status     the binding, the user and their groups (checks the directory first)\n"
        "  mappings   the group-to-shares mappings\n"
        "  map        map a group to a share\n"
        "  unmap      remove a mapping\n"
        "  enable     enable a mapping\n"
        "  disable    disable a mapping\n"
        "  apply      add the mapped shares of the user's groups"));
    parser.addPositionalArgument(QStringLiteral("command"), QStringLiteral("status, mappings, map, unmap, enable, disable or apply"));
    parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
    int exitStatus = kExitOk;
    if (!parse(parser, arguments, &exitStatus))
        return exitStatus;
    const QStringList positional = parser.positionalArguments();
    if (positional.isEmpty()) {
        Cli::err(QStringLiteral("directory: a command is needed (status, mappings, map, unmap, enable, disable, apply)"));
        return kExitUsage;
    }
    const QString command = positional.first();
    const QStringList rest = QStringList{QStringLiteral("directory ") + command} + positional.mid(1);
    if (command == QLatin1String("status"))
        return status(rest);
    if (command == QLatin1String("mappings"))
        return mappings(rest);
    if (command == QLatin1String("map"))
        return map(rest);
    if (command == QLatin1String("unmap"))
        return unmap(rest);
    if (command == QLatin1String("enable"))
        return setEnabled(rest, true);
    if (command == QLatin1String("disable"))
        return setEnabled(rest, false);
    if (command == QLatin1String("apply"))
        return apply(rest);
    Cli::err(QStringLiteral("directory: unknown command '%1'").arg(Cli::printable(command)));
    return kExitUsage;
}

int DirectoryCommand::status(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Checks the directory binding and shows the user and their groups."));
    const QCommandLineOption cached(QStringLiteral("no-refresh"), QStringLiteral("Show the engine's last result without a check."));
    parser.addOptions({kJson, cached});
    int exitStatus = kExitOk;
    if (!parse(parser, arguments, &exitStatus))
        return exitStatus;
    Session s;
    QString json;
    if (parser.isSet(cached)) {
        QDBusPendingReply<QString> reply = s.proxy.DirectoryStatus();
        if (failed(reply, &exitStatus))
            return exitStatus;
        json = reply.value();
    } else if (!startAndWait(
                   s.proxy, &Proxy::DirectoryStatusChanged, [&](const QString &j) { json = j; },
                   [&] { return QDBusPendingCall(s.proxy.DirectoryRefresh()); }, &exitStatus)) {
        return exitStatus;
    }
    if (parser.isSet(kJson))
        Cli::out(json + QLatin1Char('\n'));
    else
        printStatus(QJsonDocument::fromJson(json.toUtf8()).object());
    return kExitOk;
}

int DirectoryCommand::mappings(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Lists the group-to-shares mappings."));
    parser.addOption(kJson);
    int exitStatus = kExitOk;
    if (!parse(parser, arguments, &exitStatus))
        return exitStatus;
    Session s;
    QDBusPendingReply<QString> reply = s.proxy.DirectoryMappings();
    if (failed(reply, &exitStatus))
        return exitStatus;
    if (parser.isSet(kJson)) {
        Cli::out(reply.value() + QLatin1Char('\n'));
        return kExitOk;
    }
    QString out;
    for (const QJsonValue &v : QJsonDocument::fromJson(reply.value().toUtf8()).array()) {
        const QJsonObject m = v.toObject();
        out += QStringLiteral("%1  %2  %3\n")
                   .arg(m.value(QStringLiteral("id")).toString(),
                        m.value(QStringLiteral("isEnabled")).toBool() ? QStringLiteral("enabled ") : QStringLiteral("disabled"),
                        Cli::printable(m.value(QStringLiteral("groupName")).toString()));
        for (const QJsonValue &sv : m.value(QStringLiteral("shares")).toArray()) {
            const QJsonObject share = sv.toObject();
            QString line = QStringLiteral("    %1/%2 (%3)")
                               .arg(Cli::printable(share.value(QStringLiteral("hostname")).toString()),
                                    Cli::printable(share.value(QStringLiteral("shareName")).toString()),
                                    Cli::printable(share.value(QStringLiteral("protocolType")).toString()));
            if (share.contains(QStringLiteral("mountPoint")))
                line += QStringLiteral(" at ") + Cli::printable(share.value(QStringLiteral("mountPoint")).toString());
            out += line + QLatin1Char('\n');
        }
    }
    Cli::out(out.isEmpty() ? QStringLiteral("No mappings\n") : out);
    return kExitOk;
}

int DirectoryCommand::map(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Maps a directory group (exact, case-sensitive name) to a share; a group already mapped gets the share added."));
    parser.addPositionalArgument(QStringLiteral("group"), QStringLiteral("The group's name as `id -Gn` shows it."));
    parser.addPositionalArgument(QStringLiteral("share"), QStringLiteral("HOST/SHARE"));
    const QCommandLineOption protocol(QStringLiteral("protocol"), QStringLiteral("SMB (default), AFP or NFS."), QStringLiteral("name"),
                                      QStringLiteral("SMB"));
    const QCommandLineOption mountPoint(QStringLiteral("mount-point"), QStringLiteral("Mount at this path instead of the volumes folder."),
                                        QStringLiteral("path"));
    const QCommandLineOption driveLetter(QStringLiteral("drive-letter"), QStringLiteral("Kept with the mapping for other systems."),
                                         QStringLiteral("letter"));
    parser.addOptions({protocol, mountPoint, driveLetter});
    int exitStatus = kExitOk;
    if (!parse(parser, arguments, &exitStatus))
        return exitStatus;
    const QStringList positional = parser.positionalArguments();
    const qsizetype slash = positional.value(1).indexOf(QLatin1Char('/'));
    if (positional.size() != 2 || slash <= 0 || slash == positional.at(1).size() - 1) {
        Cli::err(QStringLiteral("directory map: expected GROUP HOST/SHARE"));
        return kExitUsage;
    }
    QJsonObject share{{QStringLiteral("hostname"), positional.at(1).left(slash)},
                      {QStringLiteral("shareName"), positional.at(1).mid(slash + 1)},
                      {QStringLiteral("protocolType"), parser.value(protocol)}};
    if (parser.isSet(mountPoint))
        share[QStringLiteral("mountPoint")] = parser.value(mountPoint);
    if (parser.isSet(driveLetter))
        share[QStringLiteral("driveLetter")] = parser.value(driveLetter);
    Session s;
    QDBusPendingReply<QString> reply =
        s.proxy.DirectoryMap(positional.first(), QString::fromUtf8(QJsonDocument(share).toJson(QJsonDocument::Compact)));
    if (failed(reply, &exitStatus))
        return exitStatus;
    Cli::out(QStringLiteral("Mapped %1 to %2 (mapping %3)\n")
                 .arg(Cli::printable(positional.first()), Cli::printable(positional.at(1)), reply.value()));
    return kExitOk;
}

int DirectoryCommand::unmap(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Removes a mapping (records it added stay)."));
    parser.addPositionalArgument(QStringLiteral("id"), QStringLiteral("The mapping's id (directory mappings)."));
    int exitStatus = kExitOk;
    if (!parse(parser, arguments, &exitStatus))
        return exitStatus;
    if (parser.positionalArguments().size() != 1) {
        Cli::err(QStringLiteral("directory unmap: expected one mapping id"));
        return kExitUsage;
    }
    Session s;
    if (failed(s.proxy.DirectoryUnmap(parser.positionalArguments().first()), &exitStatus))
        return exitStatus;
    Cli::out(QStringLiteral("Removed mapping %1\n").arg(Cli::printable(parser.positionalArguments().first())));
    return kExitOk;
}

int DirectoryCommand::setEnabled(const QStringList &arguments, bool enabled)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(enabled ? QStringLiteral("Enables a mapping.") : QStringLiteral("Disables a mapping."));
    parser.addPositionalArgument(QStringLiteral("id"), QStringLiteral("The mapping's id (directory mappings)."));
    int exitStatus = kExitOk;
    if (!parse(parser, arguments, &exitStatus))
        return exitStatus;
    if (parser.positionalArguments().size() != 1) {
        Cli::err(QStringLiteral("directory %1: expected one mapping id").arg(enabled ? QStringLiteral("enable") : QStringLiteral("disable")));
        return kExitUsage;
    }
    Session s;
    if (failed(s.proxy.DirectorySetEnabled(parser.positionalArguments().first(), enabled), &exitStatus))
        return exitStatus;
    Cli::out(QStringLiteral("%1 mapping %2\n")
                 .arg(enabled ? QStringLiteral("Enabled") : QStringLiteral("Disabled"), Cli::printable(parser.positionalArguments().first())));
    return kExitOk;
}

int DirectoryCommand::apply(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Checks the directory, then adds the mapped shares of the user's groups."));
    int exitStatus = kExitOk;
    if (!parse(parser, arguments, &exitStatus))
        return exitStatus;
    Session s;
    QString statusText;
    int added = 0;
    if (!startAndWait(
            s.proxy, &Proxy::DirectoryApplied,
            [&](const QString &text, int count) {
                statusText = text;
                added = count;
            },
            [&] { return QDBusPendingCall(s.proxy.DirectoryApply()); }, &exitStatus)) {
        return exitStatus;
    }
    Cli::out(Cli::printable(statusText) + QLatin1Char('\n'));
    Q_UNUSED(added)
    return kExitOk;
}
