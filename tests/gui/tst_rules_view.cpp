// The Rules tab over the real rule engine and mount engine (fakes below them): the engine switch, the empty
// states, the detail of a rule without conditions or disabled, Run Now, the editor's hints and save, the
// add-condition and add-action sheets' parameters, delete confirmation, the enable toggle in the list.
#include "GuiHarness.h"

#include "ui/AddActionDialog.h"
#include "ui/AddConditionDialog.h"
#include "ui/RuleDetailView.h"
#include "ui/RuleEditorDialog.h"
#include "ui/RulesView.h"

#include "rules/RuleEngine.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTest>

class TestRulesView : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        // Every harness's rule engine reads the same rules file of this test's home.
        QFile::remove(qEnvironmentVariable("XDG_DATA_HOME") + QStringLiteral("/Tarnwell/rules.json"));
    }

    void emptyStatesAndExamples()
    {
        GuiHarness h;
        RulesView view(rules(h), *h.engine);
        QCOMPARE(view.page(), RulesView::Page::NoRules);

        view.findChild<QPushButton *>(QStringLiteral("addExampleRules"))->click();

        QCOMPARE(rules(h).rules().size(), 3);
        QCOMPARE(view.ruleList()->count(), 3);
        QCOMPARE(view.page(), RulesView::Page::NoneSelected);
        view.selectRule(rules(h).rules().at(2).id);
        QCOMPARE(view.page(), RulesView::Page::Detail);
        QCOMPARE(view.detail()->title(), QStringLiteral("Business Hours"));
        QCOMPARE(view.detail()->conditionBadges(),
                 (QStringList{QStringLiteral("Time: 09:00-17:00"), QStringLiteral("Days: Mon,Tue,Wed,Thu,Fri")}));
    }

    void switchIsTheEngineStartAndStop()
    {
        GuiHarness h;
        RulesView view(rules(h), *h.engine);
        QVERIFY(!rules(h).isRunning()); // showing the tab starts nothing
        QVERIFY(!view.engineSwitch()->isChecked());

        view.engineSwitch()->click();
        QVERIFY(rules(h).isRunning());
        QVERIFY(!view.activityLines().isEmpty());
        QVERIFY(view.activityLines().first().endsWith(QStringLiteral("Rule Engine started")));

        // Stopped elsewhere (quit, a test): the switch follows without starting it again.
        rules(h).stop();
        QVERIFY(!view.engineSwitch()->isChecked());
        QVERIFY(!rules(h).isRunning());
    }

    void ruleWithoutConditionsWarns()
    {
        GuiHarness h;
        const Rule empty = rule(QStringLiteral("Nothing yet"));
        rules(h).addRule(empty);
        RulesView view(rules(h), *h.engine);
        view.selectRule(empty.id);

        QCOMPARE(view.findChild<QLabel *>(QStringLiteral("noConditions"))->text(),
                 QStringLiteral("No conditions defined"));
        QCOMPARE(view.findChild<QLabel *>(QStringLiteral("noActions"))->text(), QStringLiteral("No actions defined"));

        RuleEditorDialog *editor = view.editRule(empty.id);
        QVERIFY(editor);
        QCOMPARE(editor->conditionsHint(), QStringLiteral("No conditions - rule will never trigger"));
        QCOMPARE(editor->actionsHint(), QStringLiteral("No actions - rule won't do anything"));
        RuleAction notify;
        notify.type = RuleAction::Type::showNotification;
        editor->addAction(notify);
        QCOMPARE(editor->actionsHint(), QStringLiteral("Actions execute in order when conditions are met"));
        RuleCondition power;
        power.type = RuleCondition::Type::onPower;
        editor->addCondition(power);
        QVERIFY(editor->conditionsHint().isEmpty());
        editor->removeCondition(0);
        QCOMPARE(editor->conditionsHint(), QStringLiteral("No conditions - rule will never trigger"));
        editor->reject();
    }

    void disabledRuleStillRunsNow()
    {
        GuiHarness h;
        const qint64 share = h.addShare(QStringLiteral("127.0.0.1"), QStringLiteral("docs"));
        Rule off = rule(QStringLiteral("Mount docs"), false);
        RuleAction mount;
        mount.type = RuleAction::Type::mountVolume;
        mount.parameters.insert(RuleAction::kVolumeId, QString::number(share));
        off.actions = {mount};
        rules(h).addRule(off);
        RulesView view(rules(h), *h.engine);
        view.selectRule(off.id);
        QCOMPARE(view.detail()->title(), QStringLiteral("Mount docs (disabled)"));
        QVERIFY(view.ruleList()->item(0)->text().startsWith(QStringLiteral("Mount docs (disabled)\n")));
        QVERIFY(!view.findChild<QLabel *>(QStringLiteral("lastRun"))->isVisibleTo(&view));

        QSignalSpy executed(&rules(h), &RuleEngine::ruleExecuted);
        QSignalSpy mounted(h.engine, &MountEngine::mountFinished);
        view.detail()->findChild<QPushButton *>(QStringLiteral("runNow"))->click();

        QVERIFY(executed.wait(5000));
        QVERIFY(mounted.count() > 0 || mounted.wait(5000));
        QVERIFY(h.record(share).runtime_isMounted_Bool);
        QTRY_VERIFY(view.detail()->statistics().contains(QStringLiteral("Times Triggered: 1")));
        QVERIFY(view.findChild<QLabel *>(QStringLiteral("lastRun"))->text().startsWith(QStringLiteral("Last run: ")));
        QVERIFY(view.activityLines().join(QLatin1Char('\n')).contains(QStringLiteral("Manual trigger: Mount docs")));
        QVERIFY(!rules(h).rule(off.id)->isEnabled); // still off
    }

    void editorSavesThroughEngineKeepingCounters()
    {
        GuiHarness h;
        Rule r = rule(QStringLiteral("Office"));
        rules(h).addRule(r);
        RulesView view(rules(h), *h.engine);
        RuleEditorDialog *editor = view.editRule(r.id);
        editor->findChild<QLineEdit *>(QStringLiteral("name"))->setText(QStringLiteral("Office hours"));
        editor->findChild<QComboBox *>(QStringLiteral("mode"))->setCurrentIndex(1);
        AddConditionDialog *sheet = editor->openAddCondition();
        sheet->setType(RuleCondition::Type::timeWindow);
        sheet->accept();
        QCOMPARE(editor->editedRule().conditions.size(), 1);
        QCOMPARE(rules(h).rule(r.id)->conditions.size(), 0); // nothing written before Save

        // The rule runs while the editor is open: its counter must survive the save.
        QSignalSpy executed(&rules(h), &RuleEngine::ruleExecuted);
        rules(h).forceRun(r.id);
        QVERIFY(executed.wait(5000));
        editor->accept();

        const Rule *saved = rules(h).rule(r.id);
        QCOMPARE(saved->name, QStringLiteral("Office hours"));
        QCOMPARE(saved->conditionMode, Rule::ConditionMode::any);
        QCOMPARE(saved->conditions.size(), 1);
        QCOMPARE(saved->conditions.first().parameter(RuleCondition::kTimeRange), QStringLiteral("09:00-17:00"));
        QCOMPARE(saved->triggerCount, 1);
        QFile file(rules(h).filePath());
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY(file.readAll().contains("Office hours"));
    }

    void conditionSheetStores_data()
    {
        sheetColumns();
        using T = RuleCondition::Type;
        QTest::newRow("wifi trimmed") << int(T::wifiConnected) << "ssid= CorpNet " << true << "ssid" << "CorpNet";
        QTest::newRow("wifi empty = any") << int(T::wifiDisconnected) << "" << true << "ssid" << "";
        QTest::newRow("time over midnight")
            << int(T::timeWindow) << "startTime=22:00;endTime=06:00" << true << "timeRange" << "22:00-06:00";
        QTest::newRow("time malformed") << int(T::timeWindow) << "startTime=9;endTime=17" << false << "" << "";
        QTest::newRow("days in week order") << int(T::dayOfWeek) << "day_Fri;day_Mon" << true << "days" << "Mon,Fri";
        QTest::newRow("no day") << int(T::dayOfWeek) << "" << false << "" << "";
        QTest::newRow("app") << int(T::appNotRunning) << "app=final cut" << true << "app" << "final cut";
        QTest::newRow("app missing") << int(T::appRunning) << "" << false << "" << "";
        QTest::newRow("battery") << int(T::onBattery) << "noConfiguration" << true << "" << "";
        QTest::newRow("vpn") << int(T::vpnConnected) << "noConfiguration" << true << "" << "";
        QTest::newRow("volume") << int(T::volumeNotMounted) << "volume" << true << "volumeId" << "<second>";
        QTest::newRow("volume unchosen") << int(T::volumeMounted) << "" << false << "" << "";
    }
    void conditionSheetStores() { sheetStores<AddConditionDialog, RuleCondition>(&AddConditionDialog::conditionChosen); }

    void actionSheetStores_data()
    {
        sheetColumns();
        using T = RuleAction::Type;
        QTest::newRow("mount volume") << int(T::mountVolume) << "volume" << true << "volumeId" << "<second>";
        QTest::newRow("unmount unchosen") << int(T::unmountVolume) << "" << false << "" << "";
        QTest::newRow("unmount all") << int(T::unmountAll) << "" << true << "" << "";
        QTest::newRow("group") << int(T::mountGroup) << "group= Work " << true << "group" << "Work";
        QTest::newRow("group missing") << int(T::unmountGroup) << "" << false << "" << "";
        QTest::newRow("script") << int(T::runScript) << "scriptPath=/opt/x.sh" << true << "scriptPath" << "/opt/x.sh";
        QTest::newRow("notification") << int(T::showNotification) << "message=Hello" << true << "message" << "Hello";
        QTest::newRow("delay") << int(T::delay) << "seconds=30" << true << "seconds" << "30";
    }
    void actionSheetStores() { sheetStores<AddActionDialog, RuleAction>(&AddActionDialog::actionChosen); }

    void deleteAsksFirst()
    {
        GuiHarness h;
        const Rule r = rule(QStringLiteral("Temporary"));
        rules(h).addRule(r);
        RulesView view(rules(h), *h.engine);
        view.selectRule(r.id);

        h.answer = false;
        view.detail()->findChild<QPushButton *>(QStringLiteral("deleteRule"))->click();
        QCOMPARE(h.questions.size(), 1);
        QVERIFY(h.questions.first().endsWith(QStringLiteral("|This action cannot be undone.")));
        QVERIFY(rules(h).rule(r.id));

        h.answer = true;
        view.detail()->findChild<QPushButton *>(QStringLiteral("deleteRule"))->click();
        QVERIFY(!rules(h).rule(r.id));
        QCOMPARE(view.ruleList()->count(), 0);
        QCOMPARE(view.page(), RulesView::Page::NoRules);
    }

    void listCheckboxTogglesRule()
    {
        GuiHarness h;
        const Rule r = rule(QStringLiteral("Toggle me"));
        rules(h).addRule(r);
        RulesView view(rules(h), *h.engine);

        view.ruleList()->item(0)->setCheckState(Qt::Unchecked);
        QVERIFY(!rules(h).rule(r.id)->isEnabled);
        QTRY_VERIFY(view.ruleList()->item(0)->text().startsWith(QStringLiteral("Toggle me (disabled)")));
        view.ruleList()->item(0)->setCheckState(Qt::Checked);
        QVERIFY(rules(h).rule(r.id)->isEnabled);
    }

private:
    static RuleEngine &rules(GuiHarness &h) { return h.host->rules(); }
    static Rule rule(const QString &name, bool enabled = true)
    {
        Rule r;
        r.name = name;
        r.isEnabled = enabled;
        return r;
    }
    static void sheetColumns()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QString>("input"); // see fill()
        QTest::addColumn<bool>("addable");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("value");
    }
    // Sets a sheet's fields from "name=value;...": a line edit's text, a spin box's value; "day_Fri" ticks that
    // box, "volume" picks the second share, "noConfiguration" expects that notice shown.
    static void fill(QDialog &sheet, const QString &input, qint64 second)
    {
        for (const QString &item : input.split(QLatin1Char(';'), Qt::SkipEmptyParts)) {
            const QString name = item.section(QLatin1Char('='), 0, 0);
            const QString value = item.section(QLatin1Char('='), 1);
            if (auto *line = sheet.findChild<QLineEdit *>(name))
                line->setText(value);
            else if (auto *spin = sheet.findChild<QSpinBox *>(name))
                spin->setValue(value.toInt());
            else if (auto *box = sheet.findChild<QCheckBox *>(name))
                box->setChecked(true);
            else if (auto *picker = sheet.findChild<QComboBox *>(name))
                picker->setCurrentIndex(picker->findData(second));
            else if (auto *notice = sheet.findChild<QLabel *>(name))
                QVERIFY(notice->isVisibleTo(&sheet));
            else
                QFAIL(qPrintable(QStringLiteral("no field ") + name));
        }
    }
    // A sheet of the row's type filled from the row's input: whether it can be added, and the one condition or
    // action it then emits, with the row's key and value ("<second>": the second share's ID).
    template<typename Sheet, typename Chosen>
    static void sheetStores(void (Sheet::*chosenSignal)(const Chosen &))
    {
        QFETCH(int, type);
        QFETCH(QString, input);
        QFETCH(bool, addable);
        GuiHarness h;
        h.addShare(QStringLiteral("first.lan"), QStringLiteral("a"));
        const qint64 second = h.addShare(QStringLiteral("second.lan"), QStringLiteral("b"));
        Sheet sheet(RuleSheets::shareChoices(*h.engine));
        sheet.setType(typename Chosen::Type(type));
        fill(sheet, input, second);
        QCOMPARE(sheet.canAdd(), addable);
        QCOMPARE(sheet.template findChild<QPushButton *>(QStringLiteral("addButton"))->isEnabled(), addable);
        if (!addable)
            return;
        QSignalSpy chosen(&sheet, chosenSignal);
        sheet.accept();
        QCOMPARE(chosen.count(), 1);
        const auto item = chosen.first().first().template value<Chosen>();
        QCOMPARE(int(item.type), type);
        QFETCH(QString, key);
        QFETCH(QString, value);
        QMap<QString, QString> expected;
        if (!key.isEmpty())
            expected.insert(key, value == QStringLiteral("<second>") ? QString::number(second) : value);
        QCOMPARE(item.parameters, expected);
    }
};

QTEST_MAIN(TestRulesView)
#include "tst_rules_view.moc"
