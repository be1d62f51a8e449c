#pragma once

#include "RuleSheets.h"

#include "rules/RuleAction.h"

#include <QDialog>
#include <QList>

class QComboBox;
class QLineEdit;
class QPushButton;
class QSpinBox;
class QStackedWidget;

// The add-action sheet: an action type and the input it reads, turned into the action's parameters: mount and
// unmount of one share store `volumeId` (chosen in a picker prompting "Select a volume..."), the group
// actions `group`, the script `scriptPath`, the notification `message`, the delay `seconds` (a whole number,
// in decimal); the all-shares actions need nothing. "Add" stays disabled while the input is missing.
// actionChosen() carries the new action when the sheet is accepted.
// Thread: main thread.
class AddActionDialog : public QDialog
{
    Q_OBJECT
public:
    explicit AddActionDialog(const QList<RuleSheets::ShareChoice> &shares, QWidget *parent = nullptr);

    void setType(RuleAction::Type type);
    RuleAction::Type type() const;
    RuleAction action() const;
    bool canAdd() const;

    void accept() override;

Q_SIGNALS:
    void actionChosen(const RuleAction &action);

private:
    void updatePage();
    void chooseScript();

    QComboBox *m_type;
    QStackedWidget *m_pages;
    QComboBox *m_volume;
    QLineEdit *m_group;
    QLineEdit *m_script;
    QLineEdit *m_message;
    QSpinBox *m_seconds;
    QPushButton *m_add;
};
