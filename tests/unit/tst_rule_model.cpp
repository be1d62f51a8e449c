// Rule model: condition tests, rule modes, summaries, the JSON form and action execution.
#include "UnitTestHelpers.h"
#include "platform/fake/FakeProcessLauncher.h"
#include "rules/Rule.h"

#include <QMutex>
#include <QTest>

namespace {

RuleCondition cond(RuleCondition::Type type, const QString &value = {})
{
    RuleCondition c;
    c.type = type;
    const QString key = RuleCondition::parameterKey(type);
    if (!key.isEmpty() && !value.isNull())
        c.parameters.insert(key, value);
    return c;
}

// The rules file's own form: type raw values, seconds since 2001-01-01 UTC, null lastTriggered accepted.
const char *const kFile = R"([{"id":"E621E1F8-C36C-495A-93FC-0C247A3E6E5F","name":"r","isEnabled":true,
    "conditions":[{"id":"11111111-2222-3333-4444-555555555555","type":"Time Window","parameters":{"timeRange":"09:00-17:00"}}],
    "conditionMode":"all","actions":[{"id":"11111111-2222-3333-4444-666666666666","type":"Wait/Delay","parameters":{"seconds":"2"}}],
    "lastTriggered":86400,"triggerCount":3},
    {"id":"E621E1F8-C36C-495A-93FC-0C247A3E6E50","name":"n","isEnabled":false,"conditions":[],"conditionMode":"any",
    "actions":[],"lastTriggered":null,"triggerCount":0}])";

// A context from "key=value" pairs separated by ';': ssid (none: off Wi-Fi), apps and mounted (lists with ','),
// time (hh:mm), day (1 = Sunday), vpn, and battery (no value; on mains otherwise).
RuleContext context(const QString &spec)
{
    RuleContext c;
    for (const QString &pair : spec.split(u';', Qt::SkipEmptyParts)) {
        const QString key = pair.section(u'=', 0, 0);
        const QString value = pair.section(u'=', 1);
        if (key == QLatin1String("ssid"))
            c.currentSSID = value;
        else if (key == QLatin1String("apps"))
            c.runningApps = value.split(u',');
        else if (key == QLatin1String("mounted"))
            c.mountedVolumes = value.split(u',');
        else if (key == QLatin1String("time"))
            std::tie(c.currentHour, c.currentMinute) = std::pair(value.left(2).toInt(), value.mid(3).toInt());
        else if (key == QLatin1String("day"))
            c.currentWeekday = value.toInt();
        else if (key == QLatin1String("vpn"))
            c.connectedVPN = value;
        else
            c.isOnPower = key != QLatin1String("battery");
    }
    return c;
}

} // namespace

class TestRuleModel : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void conditions_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QString>("value");
        QTest::addColumn<QString>("state"); // the context, see context()
        QTest::addColumn<bool>("expected");
        using T = RuleCondition::Type;
        auto row = [](const char *name, T type, const char *value, const char *state, bool expected) {
            QTest::newRow(name) << int(type) << value << state << expected;
        };
        row("overnight late", T::timeWindow, "22:00-06:00", "time=23:30", true);
        row("overnight early", T::timeWindow, "22:00-06:00", "time=05:59", true);
        row("overnight end excluded", T::timeWindow, "22:00-06:00", "time=06:00", false);
        row("overnight before start", T::timeWindow, "22:00-06:00", "time=21:59", false);
        row("day start included", T::timeWindow, "09:00-17:00", "time=09:00", true);
        row("day last minute", T::timeWindow, "09:00-17:00", "time=16:59", true);
        row("day end excluded", T::timeWindow, "09:00-17:00", "time=17:00", false);
        row("equal bounds all day", T::timeWindow, "08:00-08:00", "time=03:17", true);
        row("hours only", T::timeWindow, "9-17", "time=12:00", false);
        row("single time", T::timeWindow, "09:00", "time=09:00", false);
        row("letters", T::timeWindow, "aa:bb-cc:dd", "time=12:00", false);
        row("explicit plus sign", T::timeWindow, "+09:00-17:00", "time=10:00", true);
        row("space inside", T::timeWindow, "09:00 -17:00", "time=10:00", false);
        row("three parts", T::timeWindow, "09:00-12:00-17:00", "time=10:00", false);
        row("empty range", T::timeWindow, "", "time=10:00", false);
        row("spaces and case, Monday", T::dayOfWeek, "MON , friday", "day=2", true);
        row("spaces and case, Friday", T::dayOfWeek, "MON , friday", "day=6", true);
        row("spaces and case, Tuesday", T::dayOfWeek, "MON , friday", "day=3", false);
        row("Sunday is 1", T::dayOfWeek, "sun", "day=1", true);
        row("Saturday is 7", T::dayOfWeek, "Saturday", "day=7", true);
        row("unknown word", T::dayOfWeek, "Weekdays", "day=2", false);
        row("unknown items skipped", T::dayOfWeek, "funday,tue", "day=3", true);
        row("no days", T::dayOfWeek, "", "day=2", false);
        row("ssid case-insensitive", T::wifiConnected, "corpnetwork", "ssid=CorpNetwork", true);
        row("ssid whole name only", T::wifiConnected, "Corp", "ssid=CorpNetwork", false);
        row("any network", T::wifiConnected, "", "ssid=Home", true);
        row("any network, Wi-Fi off", T::wifiConnected, "", "", false);
        row("disconnected from named, other network", T::wifiDisconnected, "Office", "ssid=Home", true);
        row("disconnected from named, same network", T::wifiDisconnected, "office", "ssid=Office", false);
        row("disconnected from named, Wi-Fi off", T::wifiDisconnected, "Office", "", true);
        row("disconnected, any, on Wi-Fi", T::wifiDisconnected, "", "ssid=Office", false);
        row("app substring", T::appRunning, "final cut", "apps=Mail,Final Cut Pro", true);
        row("app absent", T::appRunning, "final cut", "apps=Mail", false);
        row("app not running", T::appNotRunning, "Mail", "apps=Safari", true);
        row("app not running, is", T::appNotRunning, "mail", "apps=Mail", false);
        row("on power, on battery", T::onPower, "", "battery", false);
        row("on battery", T::onBattery, "", "battery", true);
        row("no VPN", T::vpnDisconnected, "", "", true);
        row("VPN", T::vpnConnected, "", "vpn=wg0", true);
        row("volume mounted", T::volumeMounted, "3", "mounted=3", true);
        row("volume id as written", T::volumeMounted, "03", "mounted=3", false);
        row("volume not mounted", T::volumeNotMounted, "4", "mounted=3", true);
    }
    void conditions()
    {
        QFETCH(int, type);
        QFETCH(QString, value);
        QFETCH(QString, state);
        QTEST(cond(RuleCondition::Type(type), value).test(context(state)), "expected");
    }

    void contextWeekdayFromDate()
    {
        RuleContext context;
        context.setTime(QDateTime(QDate(2024, 6, 2), QTime(23, 5))); // a Sunday
        QCOMPARE(context.currentWeekday, 1);
        QCOMPARE(context.currentHour, 23);
        context.setTime(QDateTime(QDate(2024, 6, 8), QTime(0, 0))); // a Saturday
        QCOMPARE(context.currentWeekday, 7);
    }

    void ruleModes_data()
    {
        QTest::addColumn<QString>("mode");
        QTest::addColumn<QString>("conditions"); // t = true condition, f = false one
        QTest::addColumn<bool>("expected");
        auto row = [](const char *name, const char *mode, const char *conditions, bool expected) {
            QTest::newRow(name) << mode << conditions << expected;
        };
        row("all, none", "all", "", false);
        row("any, none", "any", "", false);
        row("all, all true", "all", "tt", true);
        row("all, one false", "all", "tft", false);
        row("any, one true", "any", "fft", true);
        row("any, all false", "any", "ff", false);
    }
    void ruleModes()
    {
        QFETCH(QString, mode);
        QFETCH(QString, conditions);
        Rule rule;
        rule.conditionMode = *Rule::modeFromRawValue(mode);
        for (const QChar c : conditions)
            rule.conditions << cond(c == u't' ? RuleCondition::Type::onPower : RuleCondition::Type::onBattery);
        RuleContext context; // on power
        QTEST(rule.test(context), "expected");
    }

    void summaries()
    {
        Rule rule;
        QCOMPARE(rule.summary(), QStringLiteral("No conditions"));
        rule.conditions = { cond(RuleCondition::Type::wifiConnected, QStringLiteral("Office")),
                            cond(RuleCondition::Type::appRunning, QStringLiteral("Mail")) };
        QCOMPARE(rule.summary(), QStringLiteral("WiFi = \"Office\" AND Mail running"));
        rule.conditionMode = Rule::ConditionMode::any;
        rule.conditions[0].type = RuleCondition::Type::wifiDisconnected;
        QCOMPARE(rule.summary(), QStringLiteral("WiFi ≠ \"Office\" OR Mail running"));
    }

    void jsonRoundTrip()
    {
        Rule rule;
        rule.name = QStringLiteral("Night \"backup\"");
        rule.isEnabled = false;
        rule.conditionMode = Rule::ConditionMode::any;
        for (RuleCondition::Type type : RuleCondition::allTypes())
            rule.conditions << cond(type, QStringLiteral("x"));
        for (RuleAction::Type type : RuleAction::allTypes()) {
            RuleAction action;
            action.type = type;
            for (const QString &key : RuleAction::parameterKeys(type))
                action.parameters.insert(key, QStringLiteral("v-") + key);
            rule.actions << action;
        }
        rule.lastTriggered = QDateTime(QDate(2024, 3, 1), QTime(10, 30, 15, 250), Qt::UTC).toLocalTime();
        rule.triggerCount = 7;
        Rule never;
        never.name = QStringLiteral("never fired");

        QString error;
        const auto decoded = Rule::decodeList(Rule::encodeList({ rule, never }), &error);
        QVERIFY2(decoded, qPrintable(error));
        QCOMPARE(decoded->size(), 2);
        QCOMPARE(decoded->at(0), rule);
        QCOMPARE(decoded->at(1), never);
        QVERIFY(!decoded->at(1).lastTriggered);
    }

    void jsonForm()
    {
        QString error;
        const auto rules = Rule::decodeList(kFile, &error);
        QVERIFY2(rules, qPrintable(error));
        QCOMPARE(rules->at(0).lastTriggered->toUTC(), QDateTime(QDate(2001, 1, 2), QTime(0, 0), Qt::UTC));
        QCOMPARE(rules->at(0).actions.at(0).type, RuleAction::Type::delay);
        QCOMPARE(rules->at(0).toJson().value(QStringLiteral("id")).toString(),
                 QStringLiteral("E621E1F8-C36C-495A-93FC-0C247A3E6E5F"));
        QCOMPARE(rules->at(0).toJson().value(QStringLiteral("lastTriggered")).toDouble(), 86400.0);
        QVERIFY(!rules->at(1).lastTriggered);
    }

    void decodeFailsWholeFile_data()
    {
        QTest::addColumn<QString>("from");
        QTest::addColumn<QString>("to");
        auto row = [](const char *name, const char *from, const char *to) { QTest::newRow(name) << from << to; };
        row("unknown condition type", "\"Time Window\"", "\"Moon Phase\"");
        row("unknown action type", "\"Wait/Delay\"", "\"Reboot\"");
        row("unknown mode", "\"all\"", "\"most\"");
        row("display name of mode", "\"all\"", "\"All conditions must be true\"");
        row("bad uuid", "\"E621E1F8-C36C-495A-93FC-0C247A3E6E5F\"", "\"not-a-uuid\"");
        row("missing count", ",\"triggerCount\":3", "");
        row("numeric parameter", "\"2\"", "2");
        row("not json", "[{", "{");
    }
    void decodeFailsWholeFile()
    {
        QFETCH(QString, from);
        QFETCH(QString, to);
        QString file = QString::fromUtf8(kFile);
        QVERIFY(Rule::decodeList(file.toUtf8(), nullptr));
        file.replace(file.indexOf(from), from.size(), to);
        QString error;
        QVERIFY(!Rule::decodeList(file.toUtf8(), &error));
        QVERIFY(!error.isEmpty());
    }

    void delayAction_data()
    {
        QTest::addColumn<QString>("seconds"); // null: parameter missing
        QTest::addColumn<QStringList>("lines");
        QTest::addColumn<double>("waited");
        const QString invalid = QStringLiteral("⚠️ [ACTION] Invalid delay duration");
        const QString done = QStringLiteral("⏳ [ACTION] Delay complete");
        for (const char *bad : {"soon", "inf"})
            QTest::newRow(bad) << bad << QStringList { invalid } << -1.0;
        QTest::newRow("missing") << QString() << QStringList { invalid } << -1.0;
        const auto waits = [&done](const char *shown) { return QStringList { QString::fromUtf8(shown), done }; };
        QTest::newRow("zero") << "0" << waits("⏳ [ACTION] Waiting 0.0 seconds...") << -1.0;
        QTest::newRow("negative") << "-5" << waits("⏳ [ACTION] Waiting -5.0 seconds...") << -1.0;
        QTest::newRow("fraction") << "1.5" << waits("⏳ [ACTION] Waiting 1.5 seconds...") << 1.5;
    }
    void delayAction()
    {
        QFETCH(QString, seconds);
        RuleAction action;
        action.type = RuleAction::Type::delay;
        if (!seconds.isNull())
            action.parameters.insert(RuleAction::kSeconds, seconds);
        double asked = -1.0;
        RuleActionEnvironment env;
        env.wait = [&asked](double s) { asked = s; };
        ConsoleCapture console;
        action.execute(env);
        QTEST(console.lines, "lines");
        QTEST(asked, "waited");
    }

    void volumeActions()
    {
        RuleActionEnvironment env;
        env.volumes = { { 1, QStringLiteral("Media"), QStringLiteral("Studio"), false },
                        { 2, QStringLiteral("Docs"), QStringLiteral("studio"), true },
                        { 3, QStringLiteral("Home"), QStringLiteral("Other"), false } };
        QList<qint64> mounted, ejected;
        env.mount = [&](qint64 id) { mounted << id; };
        env.eject = [&](qint64 id) { ejected << id; };
        auto run = [&](RuleAction::Type type, const QString &key = {}, const QString &value = {}) {
            RuleAction a;
            a.type = type;
            if (!key.isEmpty())
                a.parameters.insert(key, value);
            a.execute(env);
        };
        ConsoleCapture console;
        run(RuleAction::Type::mountVolume, RuleAction::kVolumeId, QStringLiteral("9"));
        QCOMPARE(console.lines.last(), QStringLiteral("⚠️ [ACTION] Volume not found for mount: 9"));
        run(RuleAction::Type::mountVolume, RuleAction::kVolumeId, QStringLiteral("3"));
        QCOMPARE(console.lines.last(), QStringLiteral("🔌 [ACTION] Mounting volume: Home"));
        run(RuleAction::Type::mountGroup, RuleAction::kGroup, QStringLiteral("STUDIO"));
        run(RuleAction::Type::unmountGroup, RuleAction::kGroup, QStringLiteral("studio"));
        run(RuleAction::Type::unmountGroup);
        QCOMPARE(console.lines.last(), QStringLiteral("⚠️ [ACTION] No group specified for unmount"));
        run(RuleAction::Type::mountAll);
        run(RuleAction::Type::unmountAll);
        QCOMPARE(mounted, (QList<qint64> { 3, 1, 1, 3 }));
        QCOMPARE(ejected, (QList<qint64> { 2, 2 }));
    }

    void scriptAndNotification()
    {
        FakeProcessLauncher launcher;
        launcher.setHandler([](const ProcessLauncher::Request &) {
            ProcessLauncher::Result r;
            r.started = true;
            r.exitCode = 3;
            r.standardOutput = "oops\n";
            return r;
        });
        RuleActionEnvironment env;
        env.launcher = &launcher;
        env.shell = QStringLiteral("/bin/sh");
        QStringList posted;
        env.notify = [&](const QString &title, const QString &body) { posted << title + QLatin1Char('|') + body; };
        ConsoleCapture console;
        RuleAction script;
        script.type = RuleAction::Type::runScript;
        script.parameters.insert(RuleAction::kScriptPath, QStringLiteral("/tmp/a b.sh"));
        script.execute(env);
        QCOMPARE(launcher.requests().size(), 1);
        QCOMPARE(launcher.requests().at(0).arguments,
                 (QStringList { QStringLiteral("-c"), QStringLiteral("/tmp/a b.sh") }));
        QVERIFY(launcher.requests().at(0).mergeOutput);
        QCOMPARE(console.lines,
                 (QStringList { QStringLiteral("📜 [ACTION] Running script: /tmp/a b.sh"),
                                QStringLiteral("❌ [ACTION] Script failed with exit code: 3"),
                                QStringLiteral("   Output: oops") }));
        RuleAction note;
        note.type = RuleAction::Type::showNotification;
        note.execute(env);
        QCOMPARE(posted, QStringList { QStringLiteral("Tarnwell|Tarnwell Rule Triggered") });
    }
};

QTEST_GUILESS_MAIN(TestRuleModel)
#include "tst_rule_model.moc"
