#pragma once

#include "RuleSheets.h"

#include "rules/Rule.h"

#include <QDialog>
#include <QPointer>

class AddActionDialog;
class AddConditionDialog;
class MountEngine;
class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;

// The rule editor: edits copies of a rule's name, enabled flag, condition mode, conditions and actions, and
// hands the edited rule to saved() only when the user saves (the caller writes it through the rule engine,
// which saves the file). Conditions and actions are added through their sheets and removed row by row; under
// each list a line says what the rule will do ("No conditions - rule will never trigger", "Actions execute in
// order when conditions are met", "No actions - rule won't do anything").
// Thread: main thread. The engine outlives the dialog.
class RuleEditorDialog : public QDialog
{
    Q_OBJECT
public:
    static QString neverTriggersText();
    static QString actionsInOrderText();
    static QString noActionsText();

    RuleEditorDialog(const Rule &rule, const MountEngine &engine, QWidget *parent = nullptr);

    // The rule as edited so far (counters and id of the original).
    Rule editedRule() const;
    QString conditionsHint() const;
    QString actionsHint() const;

    // Open the sheets (window-modal); the sheet is returned so that a caller can fill it in.
    AddConditionDialog *openAddCondition();
    AddActionDialog *openAddAction();
    void addCondition(const RuleCondition &condition);
    void addAction(const RuleAction &action);
    void removeCondition(int index);
    void removeAction(int index);

    void accept() override;

Q_SIGNALS:
    void saved(const Rule &rule);

private:
    void refreshLists();

    Rule m_rule;
    const MountEngine &m_engine;
    QList<RuleCondition> m_conditions;
    QList<RuleAction> m_actions;
    QLineEdit *m_name;
    QCheckBox *m_enabled;
    QComboBox *m_mode;
    QListWidget *m_conditionList;
    QListWidget *m_actionList;
    QLabel *m_conditionsHint;
    QLabel *m_actionsHint;
    QPointer<AddConditionDialog> m_conditionSheet;
    QPointer<AddActionDialog> m_actionSheet;
};
