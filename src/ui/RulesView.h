#pragma once

#include <QPointer>
#include <QTimer>
#include <QUuid>
#include <QWidget>

class MountEngine;
class NewRuleDialog;
class QCheckBox;
class QLabel;
class QListWidget;
class QListWidgetItem;
class QPushButton;
class QStackedWidget;
class RuleDetailView;
class RuleEditorDialog;
class RuleEngine;

// The Rules tab: the rule list with the rule engine's on/off switch (the one control that starts and stops the
// engine), the empty states, the selected rule's detail, the new-rule sheet, the editor, the delete
// confirmation, Run Now, and the engine's recent activity. Every change goes through the engine's operations,
// which save the rules file and log an activity; the view follows the engine's signals (list changes are
// coalesced on a zero timer, so a burst of changes rebuilds the list once).
// Thread: main thread. The engines outlive the view.
class RulesView : public QWidget
{
    Q_OBJECT
public:
    enum class Page { NoRules, NoneSelected, Detail };

    static QString noRulesText();
    static QString noneSelectedText();

    RulesView(RuleEngine &rules, MountEngine &engine, QWidget *parent = nullptr);

    Page page() const;
    QUuid selectedId() const;
    void selectRule(const QUuid &id);
    QListWidget *ruleList() const { return m_list; }
    QCheckBox *engineSwitch() const { return m_switch; }
    RuleDetailView *detail() const { return m_detail; }
    // The activity history as shown, newest first.
    QStringList activityLines() const;

    // What the buttons run.
    NewRuleDialog *newRule();
    void addExampleRules();
    RuleEditorDialog *editRule(const QUuid &id);
    void runRule(const QUuid &id);
    void deleteRule(const QUuid &id);
    void duplicateSelected();

private:
    void rebuildList();
    void scheduleRebuild();
    void showSelection();
    void rebuildActivity();
    void updateEngineState();
    void onItemChanged(QListWidgetItem *item);

    RuleEngine &m_rules;
    MountEngine &m_engine;
    QCheckBox *m_switch;
    QLabel *m_engineState;
    QListWidget *m_list;
    QPushButton *m_duplicate;
    QStackedWidget *m_pages;
    RuleDetailView *m_detail;
    QListWidget *m_activity;
    QTimer m_rebuild;
    bool m_filling = false;
    QPointer<RuleEditorDialog> m_editor;
};
