#pragma once

#include "rules/Rule.h"

#include <QDialog>

class QLineEdit;
class QPushButton;

// The new-rule sheet: the name typed; "Create" hands a new, empty rule of that name to created().
// Thread: main thread.
class NewRuleDialog : public QDialog
{
    Q_OBJECT
public:
    explicit NewRuleDialog(QWidget *parent = nullptr);

    void setName(const QString &name);
    void accept() override;

Q_SIGNALS:
    void created(const Rule &rule);

private:
    QLineEdit *m_name;
    QPushButton *m_create;
};
