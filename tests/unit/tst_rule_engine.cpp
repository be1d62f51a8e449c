// Rule engine over fakes: edge triggering, triggers, history, editing and the rules file.
#include "UnitTestHelpers.h"
#include "platform/fake/FakeClock.h"
#include "platform/fake/FakeDesktopNotifier.h"
#include "platform/fake/FakePowerSource.h"
#include "platform/fake/FakeRunningApplications.h"
#include "platform/fake/FakeSleepMonitor.h"
#include "platform/fake/FakeVpnMonitor.h"
#include "platform/fake/FakeWifiNetwork.h"
#include "rules/RuleEngine.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

namespace {

// The rule engine over fakes, with the console captured.
struct Harness
{
    explicit Harness(const QString &file = {})
    {
        deps.clock = &clock;
        deps.wifi = &wifi;
        deps.sleepMonitor = &sleep;
        deps.power = &power;
        deps.applications = &apps;
        deps.vpn = &vpn;
        deps.notifier = &notifier;
        deps.rulesFile = file.isEmpty() ? dir.filePath(QStringLiteral("rules.json")) : file;
        deps.volumes = [this] { return volumes; };
        deps.mount = [this](qint64 id) { mounted << id; };
        deps.eject = [](qint64) {};
        engine = std::make_unique<RuleEngine>(deps);
    }
    ~Harness() { engine.reset(); }
    // Lets the workers finish and their results arrive on this thread.
    void settle()
    {
        engine->waitForWorkers();
        QCoreApplication::processEvents();
        QCoreApplication::processEvents();
    }
    int count(const QString &text) { return int(console.startingWith(text).size()); }
    Rule addRule(const QString &name, RuleCondition::Type type, const QString &value = {})
    {
        Rule rule;
        rule.name = name;
        RuleCondition c;
        c.type = type;
        if (!RuleCondition::parameterKey(type).isEmpty())
            c.parameters.insert(RuleCondition::parameterKey(type), value);
        rule.conditions << c;
        RuleAction a;
        a.type = RuleAction::Type::mountVolume;
        a.parameters.insert(RuleAction::kVolumeId, QStringLiteral("1"));
        rule.actions << a;
        engine->addRule(rule);
        return rule;
    }

    ConsoleCapture console; // before the engine: it prints while being built
    QTemporaryDir dir;
    FakeClock clock { QDateTime(QDate(2024, 6, 3), QTime(10, 0)) };
    FakeWifiNetwork wifi { QStringLiteral("Home") };
    FakeSleepMonitor sleep;
    FakePowerSource power;
    FakeRunningApplications apps;
    FakeVpnMonitor vpn;
    FakeDesktopNotifier notifier;
    QList<RuleVolume> volumes { { 1, QStringLiteral("Media"), {}, false } };
    QList<qint64> mounted;
    RuleEngineDependencies deps;
    std::unique_ptr<RuleEngine> engine;
};

const QString kTriggered = QStringLiteral("✅ [RULES] Rule triggered: ");
const QString kReset = QStringLiteral("🔄 [RULES] Rule reset: ");

} // namespace

class TestRuleEngine : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void powerRuleFiresOnEachReturnToMains()
    {
        Harness h;
        const Rule rule = h.addRule(QStringLiteral("Mains"), RuleCondition::Type::onPower);
        h.engine->start();
        QCOMPARE(h.count(kTriggered), 1);
        h.clock.advance(std::chrono::seconds(95)); // three scheduled passes: still true, no new firing
        QCOMPARE(h.count(kTriggered), 1);
        h.power.setOnPower(false);
        QCOMPARE(h.count(kReset + QStringLiteral("Mains")), 1);
        h.power.setOnPower(true);
        QCOMPARE(h.count(kTriggered), 2);
        QCOMPARE(h.count(QStringLiteral("🔋 [RULES] Power state changed")), 2);
        h.settle();
        QCOMPARE(h.mounted, (QList<qint64> { 1, 1 }));
        QCOMPARE(h.engine->rule(rule.id)->triggerCount, 2);
        QVERIFY(h.engine->rule(rule.id)->lastTriggered);
    }

    void disabledRuleKeepsItsState()
    {
        Harness h;
        const Rule rule = h.addRule(QStringLiteral("Mains"), RuleCondition::Type::onPower);
        h.engine->start();
        QCOMPARE(h.engine->triggeredState(rule.id), std::optional<bool>(true));
        h.engine->toggleRule(rule.id);
        h.power.setOnPower(false);
        QCOMPARE(h.engine->triggeredState(rule.id), std::optional<bool>(true));
        h.power.setOnPower(true);
        h.engine->toggleRule(rule.id);
        h.engine->evaluate(RuleEngine::kTriggerScheduled);
        QCOMPARE(h.count(kTriggered), 1); // it never saw the condition turn false
        QCOMPARE(h.count(kReset), 0);
    }

    void startTwiceRegistersOnce()
    {
        Harness h;
        h.addRule(QStringLiteral("Battery"), RuleCondition::Type::onBattery);
        h.engine->start();
        h.engine->start();
        QCOMPARE(h.apps.startCount, 1);
        QCOMPARE(h.clock.activeTimerCount(), 2); // evaluation + Wi-Fi poll
        QCOMPARE(h.count(QStringLiteral("🚀 [RULES] Starting Rule Engine...")), 1);
        h.power.setOnPower(false);
        QCOMPARE(h.count(QStringLiteral("🔍 [RULES] Evaluating rules (trigger: Power state change)")), 1);
        QCOMPARE(h.count(kTriggered), 1);
        h.engine->stop();
        QCOMPARE(h.clock.activeTimerCount(), 0);
        QVERIFY(!h.apps.isStarted());
        h.power.setOnPower(true);
        QCOMPARE(h.count(QStringLiteral("🔍 [RULES] Evaluating")), 2);
    }

    void triggers()
    {
        Harness h;
        h.addRule(QStringLiteral("Office"), RuleCondition::Type::wifiConnected, QStringLiteral("office"));
        h.addRule(QStringLiteral("Editor"), RuleCondition::Type::appRunning, QStringLiteral("final cut"));
        h.engine->start();
        h.wifi.setCurrentNetworkName(QStringLiteral("Office"));
        QCOMPARE(h.count(QStringLiteral("📶 [RULES] WiFi changed: Home → Office")), 1);
        QCOMPARE(h.count(kTriggered + QStringLiteral("Office")), 1);
        h.clock.advance(std::chrono::seconds(5)); // the poll sees no further change
        QCOMPARE(h.count(QStringLiteral("📶")), 1);
        h.wifi.setCurrentNetworkName(std::nullopt);
        QCOMPARE(h.count(QStringLiteral("📶 [RULES] WiFi changed: Office → none")), 1);
        h.apps.launch(QStringLiteral("Final Cut Pro"));
        QCOMPARE(h.count(QStringLiteral("🔍 [RULES] Evaluating rules (trigger: App launch: Final Cut Pro)")), 1);
        QCOMPARE(h.count(kTriggered + QStringLiteral("Editor")), 1);
        // Wake from sleep: tests/integration/tst_rules.sh, with the same two lines.
    }

    void activityHistoryCapped()
    {
        Harness h;
        for (int i = 0; i < 60; ++i)
            h.engine->logActivity(QString::number(i), RuleEngine::RuleActivity::ActivityType::info);
        QCOMPARE(h.engine->recentActivity().size(), 50);
        QCOMPARE(h.engine->recentActivity().first().message, QStringLiteral("59"));
        QCOMPARE(h.engine->recentActivity().last().message, QStringLiteral("10"));
    }

    void editingPersists()
    {
        QTemporaryDir dir;
        const QString file = dir.filePath(QStringLiteral("sub/rules.json"));
        QUuid copyId;
        {
            Harness h(file);
            QCOMPARE(h.count(QStringLiteral("ℹ️ [RULES] No saved rules found")), 1);
            QVERIFY(h.engine->addExampleRules());
            const Rule rule = h.addRule(QStringLiteral("Mains"), RuleCondition::Type::onPower);
            copyId = *h.engine->duplicateRule(rule.id);
            QVERIFY(h.engine->deleteRule(h.engine->rules().first().id));
            QCOMPARE(h.engine->recentActivity().first().type, RuleEngine::RuleActivity::ActivityType::warning);
            QVERIFY(h.engine->forceRun(copyId));
            h.settle();
            QCOMPARE(h.mounted, QList<qint64> { 1 });
            QVERIFY(!h.engine->triggeredState(copyId));
        }
        Harness h(file);
        QCOMPARE(h.count(QStringLiteral("📂 [RULES] Loaded 4 rules")), 1);
        QCOMPARE(h.engine->rules().at(0).name, QStringLiteral("Video Editing"));
        QCOMPARE(h.engine->rule(copyId)->name, QStringLiteral("Mains (Copy)"));
        QCOMPARE(h.engine->rule(copyId)->triggerCount, 1);
        QVERIFY(!QFile::exists(file + QStringLiteral(".tmp")));
    }

    void corruptFileKeptAside()
    {
        QTemporaryDir dir;
        const QString file = dir.filePath(QStringLiteral("rules.json"));
        QVERIFY(writeFile(file, R"([{"id":"E621E1F8-C36C-495A-93FC-0C247A3E6E5F","name":"r","isEnabled":true,)"
                                R"("conditions":[],"conditionMode":"sometimes","actions":[],"triggerCount":0}])"));
        Harness h(file);
        QVERIFY(h.engine->rules().isEmpty());
        QCOMPARE(h.count(QStringLiteral("❌ [RULES] Failed to load rules: ")), 1);
        QCOMPARE(h.count(QStringLiteral("⚠️ [RULES] Kept the unreadable rules file as: ")), 1);
        QCOMPARE(QDir(dir.path()).entryList({ QStringLiteral("rules.json.corrupt-*") }).size(), 1);
        h.addRule(QStringLiteral("new"), RuleCondition::Type::onPower);
        QCOMPARE(Rule::decodeList(readFile(file), nullptr)->size(), 1);
    }

    void failedSaveIsReported()
    {
        QTemporaryDir dir;
        QVERIFY(writeFile(dir.filePath(QStringLiteral("notadir")), {}));
        Harness h(dir.filePath(QStringLiteral("notadir/rules.json")));
        Rule rule;
        rule.name = QStringLiteral("x");
        QVERIFY(!h.engine->addRule(rule));
        QVERIFY(!h.engine->lastSaveError().isEmpty());
        QCOMPARE(h.count(QStringLiteral("❌ [RULES] Failed to save rules: ")), 1);
        QCOMPARE(h.count(QStringLiteral("💾")), 0);
    }
};

QTEST_GUILESS_MAIN(TestRuleEngine)
#include "tst_rule_engine.moc"
