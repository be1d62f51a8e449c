#pragma once

#include "RuleSheetDialog.h"
#include "RuleSheets.h"

#include "rules/RuleAction.h"

#include <QList>

class QComboBox;
class QLineEdit;
class QSpinBox;

// The add-action sheet: an action type and the input it reads, turned into the action's parameters: mount and
// unmount of one share store `volumeId` (chosen in a picker prompting "Select a volume..."), the group
// actions `group`, the script `scriptPath`, the notification `message`, the delay `seconds` (a whole number,
// in decimal); the all-shares actions need nothing. "Add" stays disabled while the input is missing.
// actionChosen() carries the new action when the sheet is accepted.
// Thread: main thread.
class AddActionDialog : public RuleSheetDialog
{
    Q_OBJECT
public:
    explicit AddActionDialog(const QList<RuleSheets::ShareChoice> &shares, QWidget *parent = nullptr);

    void setType(RuleAction::Type type);
    RuleAction::Type type() const;
    RuleAction action() const;
    bool canAdd() const override;

Q_SIGNALS:
    void actionChosen(const RuleAction &action);

protected:
    int pageOfCurrentType() const override;
    void emitChosen() override;

private:
    void chooseScript();

    QComboBox *m_volume;
    QLineEdit *m_group;
    QLineEdit *m_script;
    QLineEdit *m_message;
    QSpinBox *m_seconds;
};
