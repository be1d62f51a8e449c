#include "NewRuleDialog.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

NewRuleDialog::NewRuleDialog(QWidget *parent)
    : QDialog(parent)
    , m_name(new QLineEdit)
{
    setObjectName(QStringLiteral("NewRuleDialog"));
    setWindowTitle(tr("New Rule"));
    auto *layout = new QVBoxLayout(this);
    auto *form = new QFormLayout;
    m_name->setObjectName(QStringLiteral("name"));
    m_name->setPlaceholderText(tr("e.g., Office Network"));
    form->addRow(tr("Rule name:"), m_name);
    layout->addLayout(form);
    auto *buttons = new QDialogButtonBox;
    buttons->addButton(tr("Cancel"), QDialogButtonBox::RejectRole);
    m_create = buttons->addButton(tr("Create"), QDialogButtonBox::AcceptRole);
    m_create->setObjectName(QStringLiteral("createButton"));
    m_create->setDefault(true);
    m_create->setEnabled(false);
    connect(m_name, &QLineEdit::textChanged, this,
            [this](const QString &text) { m_create->setEnabled(!text.trimmed().isEmpty()); });
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
    resize(380, 110);
}

void NewRuleDialog::setName(const QString &name)
{
    m_name->setText(name);
}

void NewRuleDialog::accept()
{
    const QString name = m_name->text().trimmed();
    if (name.isEmpty())
        return;
    Rule rule;
    rule.name = name;
    Q_EMIT created(rule);
    QDialog::accept();
}
