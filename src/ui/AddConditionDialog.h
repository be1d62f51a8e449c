#pragma once

#include "RuleSheetDialog.h"
#include "RuleSheets.h"

#include "rules/RuleCondition.h"

#include <QList>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;

// The add-condition sheet: a condition type and the one input that type reads, turned into the condition's
// parameters: Wi-Fi types store `ssid` (empty matches any network), the time window `timeRange` = start + "-"
// + end, the weekdays the chosen three-letter names joined with "," in week order, the application types
// `app`, the volume types `volumeId` (the record's ID in decimal); power and VPN types need nothing. "Add"
// stays disabled while the input cannot make a condition (a malformed time, no day, no share chosen).
// conditionChosen() carries the new condition when the sheet is accepted.
// Thread: main thread.
class AddConditionDialog : public RuleSheetDialog
{
    Q_OBJECT
public:
    explicit AddConditionDialog(const QList<RuleSheets::ShareChoice> &shares, QWidget *parent = nullptr);

    static const QStringList &dayNames(); // "Sun" ... "Sat", the order they are offered and stored in

    void setType(RuleCondition::Type type);
    RuleCondition::Type type() const;
    // The condition the current input describes (a fresh id).
    RuleCondition condition() const;
    bool canAdd() const override;

Q_SIGNALS:
    void conditionChosen(const RuleCondition &condition);

protected:
    int pageOfCurrentType() const override;
    void emitChosen() override;

private:
    QLineEdit *m_ssid;
    QLineEdit *m_start;
    QLineEdit *m_end;
    QList<QCheckBox *> m_days;
    QLineEdit *m_app;
    QComboBox *m_volume;
};
