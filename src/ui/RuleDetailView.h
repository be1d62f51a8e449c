#pragma once

#include <QUuid>
#include <QWidget>

class MountEngine;
class QGroupBox;
class QLabel;
class QPushButton;
class QVBoxLayout;
class RuleEngine;

// The detail of one rule: its name ("(disabled)" after it when it is off) and last run, the buttons "Run
// Now" and "Edit", the sections "Conditions" (the mode and one badge per condition, or "No conditions
// defined"), "Actions" (one badge per action, or "No actions defined") and "Statistics", and "Delete Rule".
// The buttons only ask (signals); the rules list carries them out through the engine.
// Thread: main thread. The engines outlive the view.
class RuleDetailView : public QWidget
{
    Q_OBJECT
public:
    RuleDetailView(const RuleEngine &rules, const MountEngine &engine, QWidget *parent = nullptr);

    void setRule(const QUuid &id);
    QUuid ruleId() const { return m_id; }
    // Re-reads the rule from the engine (after a change or a run).
    void refresh();

    QString title() const;
    QStringList conditionBadges() const;
    QStringList actionBadges() const;
    // The statistics as "label: value" lines.
    QStringList statistics() const;

Q_SIGNALS:
    void runRequested(const QUuid &id);
    void editRequested(const QUuid &id);
    void deleteRequested(const QUuid &id);

private:
    QGroupBox *section(const QString &title, const QString &name, QVBoxLayout **content);
    static void clear(QVBoxLayout *layout);

    const RuleEngine &m_rules;
    const MountEngine &m_engine;
    QUuid m_id;
    QLabel *m_title;
    QLabel *m_lastRun;
    QLabel *m_mode;
    QVBoxLayout *m_conditions = nullptr;
    QVBoxLayout *m_actions = nullptr;
    QVBoxLayout *m_statistics = nullptr;
    QPushButton *m_run;
    QPushButton *m_edit;
    QPushButton *m_delete;
};
