#include "RuleEngine.h"

#include <QSet>

#include "base/Console.h"
#include "base/BoundedFile.h"
#include "base/DurableFile.h"
#include "base/Paths.h"
#include "core/ScriptRunner.h"
#include "platform/Clock.h"
#include "platform/DesktopNotifier.h"
#include "platform/PowerSource.h"
#include "platform/RunningApplications.h"
#include "platform/SleepMonitor.h"
#include "platform/VpnMonitor.h"
#include "platform/WifiNetwork.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMutex>
#include <QPointer>
#include <QTimer>
#include <QWaitCondition>

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {
const QString kEvaluating = QStringLiteral("🔍 [RULES] Evaluating rules (trigger: %1)");
const QString kContext = QStringLiteral("   Context: WiFi=%1, Hour=%2, Power=%3");
const QString kTriggered = QStringLiteral("✅ [RULES] Rule triggered: ");
const QString kReset = QStringLiteral("🔄 [RULES] Rule reset: ");
const QString kExecuting = QStringLiteral("🎯 [RULE] Executing rule: ");
const QString kForceRunning = QStringLiteral("⚡ [RULES] Force-running rule: ");
const QString kWifiChanged = QStringLiteral("📶 [RULES] WiFi changed: %1 → %2");
const QString kWoke = QStringLiteral("💤 [RULES] System woke from sleep");
const QString kPowerChanged = QStringLiteral("🔋 [RULES] Power state changed");
const QString kAppLaunched = QStringLiteral("📱 [RULES] App launched: ");
const QString kStarting = QStringLiteral("🚀 [RULES] Starting Rule Engine...");
const QString kSaved = QStringLiteral("💾 [RULES] Saved %1 rules");
const QString kSaveFailed = QStringLiteral("❌ [RULES] Failed to save rules: ");
const QString kNoSaved = QStringLiteral("ℹ️ [RULES] No saved rules found");
const QString kLoaded = QStringLiteral("📂 [RULES] Loaded %1 rules");
const QString kLoadFailed = QStringLiteral("❌ [RULES] Failed to load rules: ");
const QString kKeptAside = QStringLiteral("⚠️ [RULES] Kept the unreadable rules file as: ");
const QString kKeepAsideFailed = QStringLiteral("❌ [RULES] Could not keep the unreadable rules file aside: ");

QString none(const std::optional<QString> &text)
{
    return text ? *text : QStringLiteral("none");
}

RuleCondition condition(RuleCondition::Type type, const QString &key, const QString &value)
{
    RuleCondition c;
    c.type = type;
    c.parameters.insert(key, value);
    return c;
}

RuleAction notification(const QString &message)
{
    RuleAction a;
    a.type = RuleAction::Type::showNotification;
    a.parameters = { { RuleAction::kMessage, message }, { RuleAction::kTitle, RuleAction::kDefaultTitle } };
    return a;
}
} // namespace

// Lets the destructor wake the delays of rules still running.
struct RuleEngine::Cancellation
{
    QMutex mutex;
    QWaitCondition wake;
    bool cancelled = false;

    void wait(double seconds)
    {
        QMutexLocker lock(&mutex);
        QDeadlineTimer deadline(qint64(seconds * 1000.0));
        while (!cancelled && !deadline.hasExpired())
            wake.wait(&mutex, deadline);
    }
    void cancel()
    {
        QMutexLocker lock(&mutex);
        cancelled = true;
        wake.wakeAll();
    }
};

RuleEngine::RuleEngine(const RuleEngineDependencies &dependencies, QObject *parent)
    : QObject(parent)
    , m_deps(dependencies)
    , m_filePath(dependencies.rulesFile.isEmpty() ? Paths::appSupportDir() + QLatin1Char('/') + kFileName
                                                  : dependencies.rulesFile)
    , m_shell(dependencies.shell.isEmpty() ? ScriptRunner::shell() : dependencies.shell)
    , m_cancellation(std::make_shared<Cancellation>())
{
    // One job per fired rule; a long delay or script must not hold back the others.
    m_pool.setMaxThreadCount(16);
    loadRules();
}

RuleEngine::~RuleEngine()
{
    stop();
    m_cancellation->cancel();
    m_pool.waitForDone();
}

const Rule *RuleEngine::rule(const QUuid &id) const
{
    for (const Rule &r : m_rules) {
        if (r.id == id)
            return &r;
    }
    return nullptr;
}

std::optional<bool> RuleEngine::triggeredState(const QUuid &id) const
{
    const auto it = m_triggeredRuleStates.constFind(id);
    if (it == m_triggeredRuleStates.cend())
        return std::nullopt;
    return *it;
}

void RuleEngine::start()
{
    if (m_running)
        return;
    Console::line(kStarting);
    m_running = true;

    m_evaluationTimer = m_deps.clock->createTimer();
    connect(m_evaluationTimer.get(), &ClockTimer::timeout, this, [this] { evaluate(kTriggerScheduled); });
    m_evaluationTimer->start(std::chrono::milliseconds(kEvaluationIntervalMs), false);

    evaluate(kTriggerScheduled);

    if (m_deps.sleepMonitor) {
        m_observers << connect(m_deps.sleepMonitor, &SleepMonitor::resumed, this, [this] {
            Console::line(kWoke);
            evaluate(kTriggerWake);
        });
    }
    if (m_deps.power) {
        m_observers << connect(m_deps.power, &PowerSource::powerStateChanged, this, [this] {
            Console::line(kPowerChanged);
            evaluate(kTriggerPower);
        });
    }
    if (m_deps.applications) {
        m_observers << connect(m_deps.applications, &RunningApplications::applicationLaunched, this,
                               [this](const QString &name) {
                                   const QString shown = name.isEmpty() ? QStringLiteral("Unknown") : name;
                                   Console::line(kAppLaunched + shown);
                                   evaluate(kTriggerAppLaunch + shown);
                               });
        m_deps.applications->start();
    }

    // Wi-Fi: the port's change signal reacts at once; the poll is the fallback for a port that misses one.
    m_lastSsid = m_deps.wifi ? m_deps.wifi->currentNetworkName() : std::nullopt;
    if (m_deps.wifi)
        m_observers << connect(m_deps.wifi, &WifiNetwork::currentNetworkChanged, this, &RuleEngine::checkWifi);
    m_wifiPollTimer = m_deps.clock->createTimer();
    connect(m_wifiPollTimer.get(), &ClockTimer::timeout, this, &RuleEngine::checkWifi);
    m_wifiPollTimer->start(std::chrono::milliseconds(kWifiPollIntervalMs), false);

    logActivity(QStringLiteral("Rule Engine started"), RuleActivity::ActivityType::info);
    Q_EMIT runningChanged(true);
}

void RuleEngine::stop()
{
    if (!m_running)
        return;
    m_running = false;
    m_evaluationTimer.reset();
    m_wifiPollTimer.reset();
    for (const QMetaObject::Connection &connection : std::as_const(m_observers))
        disconnect(connection);
    m_observers.clear();
    if (m_deps.applications)
        m_deps.applications->stop();
    logActivity(QStringLiteral("Rule Engine stopped"), RuleActivity::ActivityType::info);
    Q_EMIT runningChanged(false);
}

void RuleEngine::checkWifi()
{
    const std::optional<QString> current = m_deps.wifi ? m_deps.wifi->currentNetworkName() : std::nullopt;
    if (current == m_lastSsid)
        return;
    Console::line(kWifiChanged.arg(none(m_lastSsid), none(current)));
    m_lastSsid = current;
    evaluate(kTriggerWifi);
}

RuleContext RuleEngine::buildContext() const
{
    RuleContext context;
    context.setTime(m_deps.clock->now());
    if (m_deps.wifi)
        context.currentSSID = m_deps.wifi->currentNetworkName();
    context.isOnPower = m_deps.power ? m_deps.power->isOnPower() : true;
    if (m_deps.applications)
        context.runningApps = m_deps.applications->names();
    if (m_deps.vpn)
        context.connectedVPN = m_deps.vpn->connectedVpn();
    if (m_deps.volumes) {
        for (const RuleVolume &volume : m_deps.volumes()) {
            if (volume.mounted)
                context.mountedVolumes.append(QString::number(volume.id));
        }
    }
    return context;
}

void RuleEngine::evaluate(const QString &trigger)
{
    const RuleContext context = buildContext();
    Console::line(kEvaluating.arg(trigger));
    Console::line(kContext.arg(none(context.currentSSID))
                      .arg(context.currentHour)
                      .arg(context.isOnPower ? QStringLiteral("true") : QStringLiteral("false")));
    m_lastEvaluation = context.currentTime;

    // Copies: executing a rule may not change the list, but a save through a slot could.
    const QList<Rule> rules = m_rules;
    for (const Rule &rule : rules) {
        if (!rule.isEnabled)
            continue;
        const bool matches = rule.test(context);
        const bool was = m_triggeredRuleStates.value(rule.id, false);
        if (matches && !was) {
            Console::line(kTriggered + rule.name);
            logActivity(QStringLiteral("Rule triggered: ") + rule.name, RuleActivity::ActivityType::success, rule.name);
            m_triggeredRuleStates.insert(rule.id, true);
            execute(rule);
        } else if (!matches && was) {
            Console::line(kReset + rule.name);
            m_triggeredRuleStates.insert(rule.id, false);
        }
    }
    Q_EMIT evaluated(trigger);
}

void RuleEngine::execute(const Rule &rule)
{
    RuleActionEnvironment env;
    if (m_deps.volumes)
        env.volumes = m_deps.volumes();
    const QPointer<RuleEngine> self(this);
    // Mount engine and notifier live on the main thread: the worker hands these calls over.
    env.mount = [self](qint64 id) {
        QMetaObject::invokeMethod(
            self.data(),
            [self, id] {
                if (self && self->m_deps.mount)
                    self->m_deps.mount(id);
            },
            Qt::QueuedConnection);
    };
    env.eject = [self](qint64 id) {
        QMetaObject::invokeMethod(
            self.data(),
            [self, id] {
                if (self && self->m_deps.eject)
                    self->m_deps.eject(id);
            },
            Qt::QueuedConnection);
    };
    env.notify = [self](const QString &title, const QString &body) {
        QMetaObject::invokeMethod(
            self.data(),
            [self, title, body] {
                if (self && self->m_deps.notifier)
                    self->m_deps.notifier->notify(title, body);
            },
            Qt::QueuedConnection);
    };
    env.launcher = m_deps.launcher;
    env.shell = m_shell;
    const std::shared_ptr<Cancellation> cancellation = m_cancellation;
    env.wait = [cancellation](double seconds) { cancellation->wait(seconds); };

    const QList<RuleAction> actions = rule.actions;
    const QString name = rule.name;
    const QUuid id = rule.id;
    m_pool.start([self, env, actions, name, id] {
        Console::line(kExecuting + name);
        for (const RuleAction &action : actions)
            action.execute(env);
        QMetaObject::invokeMethod(
            self.data(),
            [self, id] {
                if (self)
                    self->finishExecution(id);
            },
            Qt::QueuedConnection);
    });
}

void RuleEngine::finishExecution(const QUuid &id)
{
    for (Rule &r : m_rules) {
        if (r.id != id)
            continue;
        r.lastTriggered = m_deps.clock->now();
        ++r.triggerCount;
        saveRules();
        Q_EMIT rulesChanged();
        break;
    }
    Q_EMIT ruleExecuted(id);
}

bool RuleEngine::forceRun(const QUuid &id)
{
    const Rule *r = rule(id);
    if (!r)
        return false;
    Console::line(kForceRunning + r->name);
    logActivity(QStringLiteral("Manual trigger: ") + r->name, RuleActivity::ActivityType::info, r->name);
    execute(*r);
    saveRules();
    return true;
}

bool RuleEngine::addRule(const Rule &rule)
{
    m_rules.append(rule);
    const bool saved = saveRules();
    logActivity(QStringLiteral("Rule added: ") + rule.name, RuleActivity::ActivityType::info, rule.name);
    Q_EMIT rulesChanged();
    return saved;
}

bool RuleEngine::replaceRules(const QList<Rule> &rules, const QString &reason)
{
    QSet<QUuid> kept;
    for (const Rule &rule : rules)
        kept.insert(rule.id);
    for (auto it = m_triggeredRuleStates.begin(); it != m_triggeredRuleStates.end();)
        it = kept.contains(it.key()) ? std::next(it) : m_triggeredRuleStates.erase(it);
    m_rules = rules;
    const bool saved = saveRules();
    logActivity(reason, RuleActivity::ActivityType::info, QString());
    Q_EMIT rulesChanged();
    return saved;
}

bool RuleEngine::updateRule(const Rule &rule)
{
    for (Rule &r : m_rules) {
        if (r.id != rule.id)
            continue;
        r = rule;
        const bool saved = saveRules();
        logActivity(QStringLiteral("Rule updated: ") + rule.name, RuleActivity::ActivityType::info, rule.name);
        Q_EMIT rulesChanged();
        return saved;
    }
    return false;
}

bool RuleEngine::deleteRule(const QUuid &id)
{
    for (qsizetype i = 0; i < m_rules.size(); ++i) {
        if (m_rules.at(i).id != id)
            continue;
        const QString name = m_rules.takeAt(i).name;
        m_triggeredRuleStates.remove(id);
        const bool saved = saveRules();
        logActivity(QStringLiteral("Rule deleted: ") + name, RuleActivity::ActivityType::warning, name);
        Q_EMIT rulesChanged();
        return saved;
    }
    return false;
}

bool RuleEngine::toggleRule(const QUuid &id)
{
    const Rule *r = rule(id);
    return r && setRuleEnabled(id, !r->isEnabled);
}

bool RuleEngine::setRuleEnabled(const QUuid &id, bool enabled)
{
    for (Rule &r : m_rules) {
        if (r.id != id)
            continue;
        r.isEnabled = enabled;
        const bool saved = saveRules();
        logActivity((enabled ? QStringLiteral("Rule enabled: ") : QStringLiteral("Rule disabled: ")) + r.name,
                    RuleActivity::ActivityType::info, r.name);
        Q_EMIT rulesChanged();
        return saved;
    }
    return false;
}

std::optional<QUuid> RuleEngine::duplicateRule(const QUuid &id)
{
    const Rule *r = rule(id);
    if (!r)
        return std::nullopt;
    Rule copy = *r;
    copy.id = QUuid::createUuid();
    copy.name = r->name + QStringLiteral(" (Copy)");
    m_rules.append(copy);
    saveRules();
    logActivity(QStringLiteral("Rule duplicated: ") + copy.name, RuleActivity::ActivityType::info, copy.name);
    Q_EMIT rulesChanged();
    return copy.id;
}

bool RuleEngine::addExampleRules()
{
    Rule work;
    work.name = QStringLiteral("Work Network");
    work.conditions
        = { condition(RuleCondition::Type::wifiConnected, RuleCondition::kSsid, QStringLiteral("CorpNetwork")) };
    work.actions = { notification(QStringLiteral("Connected to work network")) };

    Rule video;
    video.name = QStringLiteral("Video Editing");
    video.conditions
        = { condition(RuleCondition::Type::appRunning, RuleCondition::kApp, QStringLiteral("Final Cut Pro")) };
    video.actions = { notification(QStringLiteral("Final Cut Pro detected - ready to mount media")) };

    Rule hours;
    hours.name = QStringLiteral("Business Hours");
    hours.conditions
        = { condition(RuleCondition::Type::timeWindow, RuleCondition::kTimeRange,
                      QStringLiteral("09:00") + QStringLiteral("-") + QStringLiteral("17:00")),
            condition(RuleCondition::Type::dayOfWeek, RuleCondition::kDays, QStringLiteral("Mon,Tue,Wed,Thu,Fri")) };
    hours.actions = { notification(QStringLiteral("Business hours active")) };

    m_rules << work << video << hours;
    const bool saved = saveRules();
    logActivity(QStringLiteral("Created example rules"), RuleActivity::ActivityType::info);
    Q_EMIT rulesChanged();
    return saved;
}

void RuleEngine::logActivity(const QString &message, RuleActivity::ActivityType type,
                             const std::optional<QString> &ruleName)
{
    m_activity.prepend(RuleActivity { QUuid::createUuid(), m_deps.clock->now(), message, type, ruleName });
    while (m_activity.size() > kMaxActivityHistory)
        m_activity.removeLast();
    Q_EMIT activityChanged();
}

bool RuleEngine::writeFile(const QByteArray &data, QString *error) const
{
    // A crash or a full disk leaves either the old or the new rules, never half a file.
    const DurableFile::Result result = DurableFile::write(m_filePath, data, 0600);
    if (!result.ok)
        *error = result.error;
    return result.ok;
}

bool RuleEngine::saveRules()
{
    QString error;
    if (!writeFile(Rule::encodeList(m_rules), &error)) {
        if (error != m_lastSaveError) // once per reason, not once per retry
            Console::line(kSaveFailed + error);
        m_lastSaveError = error;
        if (!m_saveRetryPending) {
            m_saveRetryPending = true;
            QTimer::singleShot(kSaveRetryMs, this, [this] {
                m_saveRetryPending = false;
                if (!m_lastSaveError.isEmpty())
                    saveRules();
            });
        }
        return false;
    }
    m_lastSaveError.clear();
    Console::line(kSaved.arg(m_rules.size()));
    return true;
}

void RuleEngine::loadRules()
{
    DurableFile::makePrivate(m_filePath);
    if (!QFile::exists(m_filePath)) {
        Console::line(kNoSaved);
        return;
    }
    const BoundedFile::Content content = BoundedFile::read(m_filePath, BoundedFile::kImportLimit);
    QString error = content.error;
    std::optional<QList<Rule>> rules;
    if (content.ok)
        rules = Rule::decodeList(content.bytes, &error);
    if (!rules) {
        Console::line(kLoadFailed + error);
        // Kept aside so that the next save cannot destroy what the user may still want back.
        const QString aside = m_filePath + QStringLiteral(".corrupt-")
            + QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd-HHmmss"));
        if (QFile::rename(m_filePath, aside))
            Console::line(kKeptAside + aside);
        else
            Console::line(kKeepAsideFailed + m_filePath);
        return;
    }
    m_rules = *rules;
    Console::line(kLoaded.arg(m_rules.size()));
    Q_EMIT rulesChanged();
}

void RuleEngine::waitForWorkers()
{
    m_pool.waitForDone();
}
