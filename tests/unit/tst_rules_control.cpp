// The rules interface and the command line's rule syntax: what is refused, and that a refusal changes
// nothing; rule names and id prefixes.
#include "cli/RulesCommand.h"
#include "control/ControlNames.h"
#include "control/RulesControl.h"
#include "control/RulesNames.h"
#include "platform/fake/FakeClock.h"
#include "rules/RuleEngine.h"
#include "support/EngineHarness.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

class TestRulesControl : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void commandLineSyntax_data()
    {
        QTest::addColumn<bool>("condition");
        QTest::addColumn<QString>("spec");
        QTest::addColumn<QString>("json"); // empty: refused
        QTest::newRow("wifi") << true << "wifi=Office" << R"({"parameters":{"ssid":"Office"},"type":"WiFi Connected"})";
        QTest::newRow("any wifi") << true << "wifi" << R"({"parameters":{"ssid":""},"type":"WiFi Connected"})";
        QTest::newRow("overnight") << true << "time=22:00-06:00"
                                   << R"({"parameters":{"timeRange":"22:00-06:00"},"type":"Time Window"})";
        QTest::newRow("days with spaces") << true << "days=Mon, friday"
                                          << R"({"parameters":{"days":"Mon, friday"},"type":"Day of Week"})";
        QTest::newRow("mount") << false << "mount=3" << R"({"parameters":{"volumeId":"3"},"type":"Mount Volume"})";
        QTest::newRow("notify with title")
            << false << "notify=Work::Hello: there"
            << R"({"parameters":{"message":"Hello: there","title":"Work"},"type":"Show Notification"})";
        QTest::newRow("notify") << false << "notify=Hi"
                                << R"({"parameters":{"message":"Hi","title":"Tarnwell"},"type":"Show Notification"})";
        QTest::newRow("negative delay") << false << "delay=-5" << R"({"parameters":{"seconds":"-5"},"type":"Wait/Delay"})";
        // Refused: a value where none is taken, hour 24, no name, a share by name, an action without its group.
        // (Unknown kinds, days and actions, hours without minutes and a delay in words: tests/integration/tst_rules.sh.)
        for (const char *spec : {"power=yes", "time=24:00-06:00", "app=", "mounted=Media"})
            QTest::newRow(spec) << true << spec << "";
        QTest::newRow("mount-group") << false << "mount-group" << "";
    }
    void commandLineSyntax()
    {
        QFETCH(bool, condition);
        QFETCH(QString, spec);
        QFETCH(QString, json);
        QString error;
        const auto object
            = condition ? RulesCommand::parseCondition(spec, &error) : RulesCommand::parseAction(spec, &error);
        if (json.isEmpty()) {
            QVERIFY(!object);
            QVERIFY(!error.isEmpty());
        } else {
            QVERIFY2(object, qPrintable(error));
            QCOMPARE(QString::fromUtf8(QJsonDocument(*object).toJson(QJsonDocument::Compact)), json);
        }
    }

    void refusedRulesChangeNothing_data()
    {
        QTest::addColumn<QString>("json");
        QTest::addColumn<QString>("error");
        const QString share = ControlNames::kErrorUnknownShare;
        const QString invalid = ControlNames::kErrorInvalidArgument;
        QTest::newRow("unknown share in condition")
            << R"({"name":"r","conditions":[{"type":"Volume Mounted","parameters":{"volumeId":"x"}}]})" << share;
        QTest::newRow("minutes past 59")
            << R"({"name":"r","conditions":[{"type":"Time Window","parameters":{"timeRange":"09:75-10:00"}}]})"
            << invalid;
        QTest::newRow("unknown mode") << R"({"name":"r","conditionMode":"most"})" << invalid;
        QTest::newRow("no name") << R"({"conditions":[]})" << invalid;
        QTest::newRow("bad delay")
            << R"({"name":"r","actions":[{"type":"Wait/Delay","parameters":{"seconds":"soon"}}]})" << invalid;
        QTest::newRow("not an object") << R"([1])" << invalid;
    }
    void refusedRulesChangeNothing()
    {
        QFETCH(QString, json);
        Fixture f;
        const QString before = f.control->ListRules();
        QVERIFY(f.control->AddRule(json).isEmpty());
        QTEST(f.control->lastError().name, "error");
        QCOMPARE(f.control->ListRules(), before);
        QVERIFY(!QFile::exists(f.rules->filePath()));
    }

    void addEditResolve()
    {
        Fixture f;
        const QString json
            = QStringLiteral(
                  R"({"name":"Office","conditions":[{"type":"WiFi Connected","parameters":{"ssid":"Office"}}],"actions":[{"type":"Mount Volume","parameters":{"volumeId":"%1"}}]})")
                  .arg(f.shareId);
        const QString id = f.control->AddRule(json);
        QVERIFY2(!id.isEmpty(), qPrintable(f.control->lastError().message));
        QCOMPARE(f.rules->rules().size(), 1);
        QVERIFY(f.rules->rules().first().isEnabled);
        QCOMPARE(f.control->ResolveRule(id.left(6).toLower()), id);
        QCOMPARE(f.control->ResolveRule(QStringLiteral("office")), id);
        f.control->DuplicateRule(id);
        f.control->ResolveRule(id.left(2)); // too short a prefix: no match by prefix
        QCOMPARE(f.control->lastError().name, RulesNames::kErrorUnknownRule);
        QVERIFY(f.control->ResolveRule(QStringLiteral("Office (Copy)")) != id);

        // An edit keeps the counters; a refused edit keeps the rule.
        f.rules->forceRun(QUuid::fromString(id));
        f.rules->waitForWorkers();
        QTRY_COMPARE(f.rules->rule(QUuid::fromString(id))->triggerCount, 1);
        f.control->UpdateRule(QStringLiteral(R"({"id":"%1","name":"Renamed","conditions":[],"actions":[]})").arg(id));
        QCOMPARE(f.rules->rule(QUuid::fromString(id))->name, QStringLiteral("Renamed"));
        QCOMPARE(f.rules->rule(QUuid::fromString(id))->triggerCount, 1);
        f.control->UpdateRule(
            QStringLiteral(
                R"({"id":"%1","name":"X","conditions":[{"type":"Day of Week","parameters":{"days":"Mon,Weekdays"}}]})")
                .arg(id));
        QCOMPARE(f.control->lastError().name, ControlNames::kErrorInvalidArgument);
        QCOMPARE(f.rules->rule(QUuid::fromString(id))->name, QStringLiteral("Renamed"));
    }

private:
    struct Fixture
    {
        Fixture()
        {
            shareId = harness.addShare(QStringLiteral("nas.example"), QStringLiteral("media"));
            RuleEngineDependencies deps;
            deps.clock = &clock;
            deps.rulesFile = harness.dir.filePath(QStringLiteral("rules.json"));
            deps.volumes = [] { return QList<RuleVolume> {}; };
            rules = std::make_unique<RuleEngine>(deps);
            control = std::make_unique<RulesControl>(*rules, *harness.engine);
        }
        EngineHarness harness;
        FakeClock clock;
        qint64 shareId = 0;
        std::unique_ptr<RuleEngine> rules;
        std::unique_ptr<RulesControl> control;
    };
};

QTEST_GUILESS_MAIN(TestRulesControl)
#include "tst_rules_control.moc"
