#include "RuleAction.h"

#include "base/Console.h"
#include "platform/ProcessLauncher.h"
#include "rules/RuleJsonUtil.h"

#include <array>
#include <cmath>

namespace {

const QString kNotFoundMount = QStringLiteral("⚠️ [ACTION] Volume not found for mount: ");
const QString kNotFoundUnmount = QStringLiteral("⚠️ [ACTION] Volume not found for unmount: ");
const QString kMounting = QStringLiteral("🔌 [ACTION] Mounting volume: ");
const QString kUnmounting = QStringLiteral("⏏️ [ACTION] Unmounting volume: ");
const QString kMountingAll = QStringLiteral("🔌 [ACTION] Mounting all volumes...");
const QString kNoGroupMount = QStringLiteral("⚠️ [ACTION] No group specified for mount");
const QString kNoGroupUnmount = QStringLiteral("⚠️ [ACTION] No group specified for unmount");
const QString kMountingGroup = QStringLiteral("📁 [ACTION] Mounting group: ");
const QString kUnmountingGroup = QStringLiteral("📁 [ACTION] Unmounting group: ");
const QString kNoScript = QStringLiteral("⚠️ [ACTION] No script path specified");
const QString kRunningScript = QStringLiteral("📜 [ACTION] Running script: ");
const QString kScriptError = QStringLiteral("❌ [ACTION] Script error: ");
const QString kScriptOk = QStringLiteral("✅ [ACTION] Script completed successfully");
const QString kScriptFailed = QStringLiteral("❌ [ACTION] Script failed with exit code: ");
const QString kScriptOutput = QStringLiteral("   Output: ");
const QString kShowing = QStringLiteral("🔔 [ACTION] Showing notification: ");
const QString kInvalidDelay = QStringLiteral("⚠️ [ACTION] Invalid delay duration");
const QString kWaiting = QStringLiteral("⏳ [ACTION] Waiting %1 seconds...");
const QString kDelayDone = QStringLiteral("⏳ [ACTION] Delay complete");

struct TypeInfo
{
    RuleAction::Type type;
    const char *raw;
    const char *keys;
};

const std::array<TypeInfo, 9> kTypes { {
    { RuleAction::Type::mountVolume, "Mount Volume", "volumeId" },
    { RuleAction::Type::unmountVolume, "Unmount Volume", "volumeId" },
    { RuleAction::Type::mountAll, "Mount All Volumes", "" },
    { RuleAction::Type::unmountAll, "Unmount All Volumes", "" },
    { RuleAction::Type::mountGroup, "Mount Group", "group" },
    { RuleAction::Type::unmountGroup, "Unmount Group", "group" },
    { RuleAction::Type::runScript, "Run Script", "scriptPath" },
    { RuleAction::Type::showNotification, "Show Notification", "title,message" },
    { RuleAction::Type::delay, "Wait/Delay", "seconds" },
} };

const RuleVolume *findVolume(const QList<RuleVolume> &volumes, const QString &idText)
{
    bool ok = false;
    const qint64 id = idText.trimmed().toLongLong(&ok);
    if (!ok)
        return nullptr;
    for (const RuleVolume &volume : volumes) {
        if (volume.id == id)
            return &volume;
    }
    return nullptr;
}

// A number as the console has always shown it: whole numbers with ".0".
QString secondsText(double seconds)
{
    QString text = QString::number(seconds, 'g', 15);
    if (!text.contains(QLatin1Char('.')) && !text.contains(QLatin1Char('e')))
        text += QStringLiteral(".0");
    return text;
}

} // namespace

const QList<RuleAction::Type> &RuleAction::allTypes()
{
    static const QList<Type> all = [] {
        QList<Type> list;
        for (const TypeInfo &t : kTypes)
            list.append(t.type);
        return list;
    }();
    return all;
}

QString RuleAction::rawValue(Type type)
{
    return QString::fromUtf8(kTypes[size_t(type)].raw);
}

std::optional<RuleAction::Type> RuleAction::typeFromRawValue(const QString &raw)
{
    for (const TypeInfo &t : kTypes) {
        if (raw == QLatin1String(t.raw))
            return t.type;
    }
    return std::nullopt;
}

QStringList RuleAction::parameterKeys(Type type)
{
    return QString::fromUtf8(kTypes[size_t(type)].keys).split(QLatin1Char(','), Qt::SkipEmptyParts);
}

QString RuleAction::summary() const
{
    switch (type) {
    case Type::mountAll:
        return QStringLiteral("Mount all volumes");
    case Type::unmountAll:
        return QStringLiteral("Unmount all volumes");
    case Type::showNotification:
        return rawValue(type) + QStringLiteral(": ") + parameters.value(kMessage, kDefaultMessage);
    default:
        break;
    }
    const QStringList keys = parameterKeys(type);
    return keys.isEmpty() ? rawValue(type) : rawValue(type) + QStringLiteral(": ") + parameter(keys.first());
}

std::optional<double> RuleAction::parseSeconds(const QString &text)
{
    bool ok = false;
    const double value = text.toDouble(&ok);
    if (!ok || !std::isfinite(value))
        return std::nullopt;
    return value;
}

void RuleAction::execute(const RuleActionEnvironment &env) const
{
    switch (type) {
    case Type::mountVolume:
    case Type::unmountVolume: {
        const bool mount = type == Type::mountVolume;
        const RuleVolume *volume = findVolume(env.volumes, parameter(kVolumeId));
        if (!volume) {
            Console::line((mount ? kNotFoundMount : kNotFoundUnmount) + parameter(kVolumeId));
            return;
        }
        Console::line((mount ? kMounting : kUnmounting) + volume->name);
        if (mount && env.mount)
            env.mount(volume->id);
        else if (!mount && env.eject)
            env.eject(volume->id);
        return;
    }
    case Type::mountAll:
        Console::line(kMountingAll);
        for (const RuleVolume &volume : env.volumes) {
            if (!volume.mounted && env.mount)
                env.mount(volume.id);
        }
        return;
    case Type::unmountAll:
        for (const RuleVolume &volume : env.volumes) {
            if (volume.mounted && env.eject)
                env.eject(volume.id);
        }
        return;
    case Type::mountGroup:
    case Type::unmountGroup: {
        const bool mount = type == Type::mountGroup;
        const QString group = parameter(kGroup);
        if (group.isEmpty()) {
            Console::line(mount ? kNoGroupMount : kNoGroupUnmount);
            return;
        }
        Console::line((mount ? kMountingGroup : kUnmountingGroup) + group);
        for (const RuleVolume &volume : env.volumes) {
            if (volume.group.compare(group, Qt::CaseInsensitive) != 0 || volume.mounted == mount)
                continue;
            if (mount && env.mount)
                env.mount(volume.id);
            else if (!mount && env.eject)
                env.eject(volume.id);
        }
        return;
    }
    case Type::runScript: {
        const QString path = parameter(kScriptPath);
        if (path.isEmpty()) {
            Console::line(kNoScript);
            return;
        }
        Console::line(kRunningScript + path);
        if (!env.launcher) {
            Console::line(kScriptError + QStringLiteral("no process launcher"));
            return;
        }
        ProcessLauncher::Request request;
        request.program = env.shell;
        request.arguments = { QStringLiteral("-c"), path };
        request.mergeOutput = true;
        request.timeoutMs = env.scriptTimeoutMs;
        const ProcessLauncher::Result result = env.launcher->run(request);
        if (!result.started) {
            Console::line(kScriptError + result.errorText);
            return;
        }
        if (result.timedOut)
            Console::line(kScriptError + result.errorText);
        else if (result.exitCode == 0 && !result.crashed)
            Console::line(kScriptOk);
        else
            Console::line(kScriptFailed + QString::number(result.exitCode));
        const QString output = QString::fromUtf8(result.standardOutput).trimmed();
        if (!output.isEmpty())
            Console::line(kScriptOutput + output);
        return;
    }
    case Type::showNotification: {
        const QString title = parameters.value(kTitle, kDefaultTitle);
        const QString message = parameters.value(kMessage, kDefaultMessage);
        Console::line(kShowing + message);
        if (env.notify)
            env.notify(title, message);
        return;
    }
    case Type::delay: {
        const auto seconds = parseSeconds(parameter(kSeconds));
        if (!seconds) {
            Console::line(kInvalidDelay);
            return;
        }
        Console::line(kWaiting.arg(secondsText(*seconds)));
        if (*seconds > 0 && env.wait)
            env.wait(*seconds);
        Console::line(kDelayDone);
        return;
    }
    }
}

QJsonObject RuleAction::toJson() const
{
    return RuleJsonUtil::itemToJson(*this);
}

std::optional<RuleAction> RuleAction::fromJson(const QJsonObject &object, QString *error)
{
    return RuleJsonUtil::itemFromJson<RuleAction>(object, QStringLiteral("action"), error);
}
