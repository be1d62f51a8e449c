#pragma once

#include "rules/Rule.h"
#include "rules/RuleContext.h"

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QObject>
#include <QThreadPool>
#include <QUuid>

#include <functional>
#include <memory>
#include <optional>

class Clock;
class ClockTimer;
class DesktopNotifier;
class PowerSource;
class ProcessLauncher;
class RunningApplications;
class SleepMonitor;
class VpnMonitor;
class WifiNetwork;

// What the rule engine is built from. Only `clock` is required; a missing port reads as its default (no
// Wi-Fi, on power, no application, no VPN) and never triggers. The share functions are called on the main
// thread: `volumes` lists the records for the actions and the mounted-volume condition, `mount` and
// `eject` go to the mount engine (automatic callers: no UI).
struct RuleEngineDependencies
{
    Clock *clock = nullptr;
    WifiNetwork *wifi = nullptr;
    SleepMonitor *sleepMonitor = nullptr;
    PowerSource *power = nullptr;
    RunningApplications *applications = nullptr;
    VpnMonitor *vpn = nullptr;
    ProcessLauncher *launcher = nullptr;
    DesktopNotifier *notifier = nullptr;
    std::function<QList<RuleVolume>()> volumes;
    std::function<void(qint64 id)> mount;
    std::function<void(qint64 id)> eject;
    QString rulesFile; // empty: $XDG_DATA_HOME/Tarnwell/rules.json
    QString shell; // empty: zsh when installed, else /bin/sh
};

// The user's rules, kept on disk, evaluated against a snapshot of the machine at every trigger (the 30 s
// timer, a Wi-Fi change, wake, a power change, an application launch). A rule fires once each time its
// conditions turn from false to true: its actions run on a worker of the engine's pool, one job per fired
// rule, then its counters are updated and the rules saved on the main thread.
//
// Created stopped with its rules loaded; start() and stop() switch the observers and timers.
//
// Thread: main thread for everything public. The destructor wakes pending delays and waits for the
// workers (a running script is waited for, up to its time limit).
class RuleEngine : public QObject
{
    Q_OBJECT
public:
    static constexpr int kEvaluationIntervalMs = 30000;
    static constexpr int kWifiPollIntervalMs = 5000;
    static constexpr int kMaxActivityHistory = 50;

    static inline const QString kTriggerScheduled = QStringLiteral("Scheduled");
    static inline const QString kTriggerWifi = QStringLiteral("WiFi change");
    static inline const QString kTriggerWake = QStringLiteral("Wake from sleep");
    static inline const QString kTriggerPower = QStringLiteral("Power state change");
    static inline const QString kTriggerAppLaunch = QStringLiteral("App launch: ");
    static inline const QString kFileName = QStringLiteral("rules.json");

    struct RuleActivity
    {
        enum class ActivityType { info, success, warning, error };
        QUuid id;
        QDateTime timestamp;
        QString message;
        ActivityType type = ActivityType::info;
        std::optional<QString> ruleName;
    };

    explicit RuleEngine(const RuleEngineDependencies &dependencies, QObject *parent = nullptr);
    ~RuleEngine() override;

    const QList<Rule> &rules() const { return m_rules; }
    const Rule *rule(const QUuid &id) const;
    bool isRunning() const { return m_running; }
    std::optional<QDateTime> lastEvaluationTime() const { return m_lastEvaluation; }
    const QList<RuleActivity> &recentActivity() const { return m_activity; }
    QString filePath() const { return m_filePath; }
    // Whether the rule's conditions held at the last pass (the edge-trigger state); absent: never seen.
    std::optional<bool> triggeredState(const QUuid &id) const;

    void start();
    void stop();
    void evaluate(const QString &trigger);
    RuleContext buildContext() const;

    // Editing; each saves and logs an activity. The return value is the save's outcome: false means the
    // change is in memory but not on disk (lastSaveError() says why).
    bool addRule(const Rule &rule);
    // Replaces the whole list at once (an import): one save, one activity entry. Edge-trigger states of
    // rules that are gone are dropped. False when the save failed (the list is replaced all the same).
    bool replaceRules(const QList<Rule> &rules, const QString &reason);
    bool updateRule(const Rule &rule); // replaces the rule with the same id; false also when unknown
    bool deleteRule(const QUuid &id);
    bool toggleRule(const QUuid &id);
    bool setRuleEnabled(const QUuid &id, bool enabled);
    // The copy's id, or nullopt when there is no such rule.
    std::optional<QUuid> duplicateRule(const QUuid &id);
    bool addExampleRules();
    // Runs the rule's actions now, conditions untested; false when there is no such rule.
    bool forceRun(const QUuid &id);

    // Writes the file through DurableFile. A failure keeps the list in memory and is retried every
    // kSaveRetryMs (and with the next change) until it lands.
    bool saveRules();
    static constexpr int kSaveRetryMs = 2000;
    void loadRules();
    QString lastSaveError() const { return m_lastSaveError; }

    void logActivity(const QString &message, RuleActivity::ActivityType type,
                     const std::optional<QString> &ruleName = std::nullopt);

    // Waits until no rule is executing (tests, benchmarks). Results still arrive through the event loop.
    void waitForWorkers();

Q_SIGNALS:
    void rulesChanged();
    void runningChanged(bool running);
    void activityChanged();
    void evaluated(const QString &trigger);
    // A fired or force-run rule finished its actions and its counters were updated.
    void ruleExecuted(const QUuid &id);

private:
    struct Cancellation;
    void execute(const Rule &rule);
    void finishExecution(const QUuid &id);
    void checkWifi();
    bool writeFile(const QByteArray &data, QString *error) const;

    RuleEngineDependencies m_deps;
    QString m_filePath;
    QString m_shell;
    QList<Rule> m_rules;
    bool m_running = false;
    std::optional<QDateTime> m_lastEvaluation;
    QList<RuleActivity> m_activity;
    QHash<QUuid, bool> m_triggeredRuleStates;
    std::unique_ptr<ClockTimer> m_evaluationTimer;
    std::unique_ptr<ClockTimer> m_wifiPollTimer;
    std::optional<QString> m_lastSsid;
    QList<QMetaObject::Connection> m_observers;
    QString m_lastSaveError;
    bool m_saveRetryPending = false; // a failed save is tried again after kSaveRetryMs
    std::shared_ptr<Cancellation> m_cancellation;
    QThreadPool m_pool;
};
