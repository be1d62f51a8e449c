#pragma once

#include <QJsonObject>
#include <QList>
#include <QMap>
#include <QString>
#include <QUuid>

#include <functional>
#include <optional>

class ProcessLauncher;

// A share as the rule actions see it: a snapshot taken on the main thread when the rule fires.
struct RuleVolume
{
    qint64 id = 0;
    QString name;
    QString group;
    bool mounted = false;
};

// What executing an action may touch. Built by the rule engine for one run; every member is safe to call
// from the worker that runs the rule (mount, eject and notify hand the work to the main thread).
struct RuleActionEnvironment
{
    QList<RuleVolume> volumes;
    std::function<void(qint64 id)> mount;
    std::function<void(qint64 id)> eject;
    std::function<void(const QString &title, const QString &body)> notify;
    ProcessLauncher *launcher = nullptr; // scripts; none: the script cannot start
    QString shell; // zsh when installed, else /bin/sh
    int scriptTimeoutMs = 10 * 60 * 1000;
    // Blocks for `seconds`; returns early when the engine is going away.
    std::function<void(double seconds)> wait;
};

// One step of a rule: a kind and its string parameters. Kinds persist by their display names ("Mount
// Volume", "Wait/Delay", ...). Executing an action never fails towards the caller: each failure is a
// console line and the next action runs.
class RuleAction
{
public:
    enum class Type {
        mountVolume,
        unmountVolume,
        mountAll,
        unmountAll,
        mountGroup,
        unmountGroup,
        runScript,
        showNotification,
        delay,
    };

    static inline const QString kVolumeId = QStringLiteral("volumeId");
    static inline const QString kGroup = QStringLiteral("group");
    static inline const QString kScriptPath = QStringLiteral("scriptPath");
    static inline const QString kTitle = QStringLiteral("title");
    static inline const QString kMessage = QStringLiteral("message");
    static inline const QString kSeconds = QStringLiteral("seconds");

    static inline const QString kDefaultTitle = QStringLiteral("Tarnwell");
    static inline const QString kDefaultMessage = QStringLiteral("Tarnwell Rule Triggered");

    QUuid id = QUuid::createUuid();
    Type type = Type::showNotification;
    QMap<QString, QString> parameters;

    static const QList<Type> &allTypes();
    static QString rawValue(Type type); // = display name
    static std::optional<Type> typeFromRawValue(const QString &raw);
    // The parameter keys the kind reads.
    static QStringList parameterKeys(Type type);

    QString parameter(const QString &key) const { return parameters.value(key); }
    // One line for lists ("Mount all volumes", "Mount Volume: 3", ...).
    QString summary() const;

    // Runs the action on the calling worker (may block: scripts, delays).
    void execute(const RuleActionEnvironment &environment) const;

    // The number a `seconds` parameter waits, or nullopt when it is not a finite number.
    static std::optional<double> parseSeconds(const QString &text);

    QJsonObject toJson() const;
    static std::optional<RuleAction> fromJson(const QJsonObject &object, QString *error);

    bool operator==(const RuleAction &other) const = default;
};
