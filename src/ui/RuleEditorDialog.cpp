#include "RuleEditorDialog.h"

#include "AddActionDialog.h"
#include "AddConditionDialog.h"

#include "core/MountEngine.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QToolButton>
#include <QVBoxLayout>

QString RuleEditorDialog::neverTriggersText()
{
    return tr("No conditions - rule will never trigger");
}

QString RuleEditorDialog::actionsInOrderText()
{
    return tr("Actions execute in order when conditions are met");
}

QString RuleEditorDialog::noActionsText()
{
    return tr("No actions - rule won't do anything");
}

RuleEditorDialog::RuleEditorDialog(const Rule &rule, const MountEngine &engine, QWidget *parent)
    : QDialog(parent)
    , m_rule(rule)
    , m_engine(engine)
    , m_conditions(rule.conditions)
    , m_actions(rule.actions)
    , m_name(new QLineEdit(rule.name))
    , m_enabled(new QCheckBox(tr("Enabled")))
    , m_mode(new QComboBox)
    , m_conditionList(new QListWidget)
    , m_actionList(new QListWidget)
    , m_conditionsHint(new QLabel)
    , m_actionsHint(new QLabel)
{
    setObjectName(QStringLiteral("RuleEditorDialog"));
    setWindowTitle(tr("Edit Rule"));
    auto *layout = new QVBoxLayout(this);

    auto *form = new QFormLayout;
    m_name->setObjectName(QStringLiteral("name"));
    form->addRow(tr("Name:"), m_name);
    m_enabled->setObjectName(QStringLiteral("enabled"));
    m_enabled->setChecked(rule.isEnabled);
    form->addRow(QString(), m_enabled);
    layout->addLayout(form);

    const auto section = [](const QString &title, QListWidget *list, QLabel *hint,
                                const QString &addText, const QString &addName) {
        auto *box = new QGroupBox(title);
        auto *boxLayout = new QVBoxLayout(box);
        list->setObjectName(addName + QStringLiteral("List"));
        list->setSelectionMode(QAbstractItemView::NoSelection);
        list->setMinimumHeight(90);
        boxLayout->addWidget(list);
        auto *row = new QHBoxLayout;
        hint->setObjectName(addName + QStringLiteral("Hint"));
        hint->setWordWrap(true);
        row->addWidget(hint, 1);
        auto *add = new QPushButton(RuleSheets::icon(RuleSheets::Icon::Add), addText);
        add->setObjectName(QStringLiteral("add") + addName.at(0).toUpper() + addName.mid(1));
        row->addWidget(add);
        boxLayout->addLayout(row);
        return std::make_pair(box, add);
    };

    auto [conditions, addCondition] = section(tr("Conditions"), m_conditionList,
                                              m_conditionsHint, tr("Add Condition"), QStringLiteral("condition"));
    m_mode->setObjectName(QStringLiteral("mode"));
    m_mode->addItem(tr("All conditions must be true"), int(Rule::ConditionMode::all));
    m_mode->addItem(tr("Any condition can be true"), int(Rule::ConditionMode::any));
    m_mode->setCurrentIndex(m_mode->findData(int(rule.conditionMode)));
    static_cast<QVBoxLayout *>(conditions->layout())->insertWidget(0, m_mode);
    layout->addWidget(conditions);
    connect(addCondition, &QPushButton::clicked, this, [this] { openAddCondition(); });

    auto [actions, addAction] = section(tr("Actions"), m_actionList, m_actionsHint,
                                        tr("Add Action"), QStringLiteral("action"));
    layout->addWidget(actions);
    connect(addAction, &QPushButton::clicked, this, [this] { openAddAction(); });

    auto *buttons = new QDialogButtonBox;
    buttons->addButton(tr("Cancel"), QDialogButtonBox::RejectRole);
    QPushButton *save = buttons->addButton(tr("Save"), QDialogButtonBox::AcceptRole);
    save->setObjectName(QStringLiteral("saveButton"));
    save->setDefault(true);
    connect(m_name, &QLineEdit::textChanged, save, [save](const QString &text) { save->setEnabled(!text.trimmed().isEmpty()); });
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);

    refreshLists();
    resize(560, 560);
}

QString RuleEditorDialog::conditionsHint() const
{
    return m_conditionsHint->text();
}

QString RuleEditorDialog::actionsHint() const
{
    return m_actionsHint->text();
}

Rule RuleEditorDialog::editedRule() const
{
    Rule rule = m_rule;
    rule.name = m_name->text().trimmed();
    rule.isEnabled = m_enabled->isChecked();
    rule.conditionMode = Rule::ConditionMode(m_mode->currentData().toInt());
    rule.conditions = m_conditions;
    rule.actions = m_actions;
    return rule;
}

AddConditionDialog *RuleEditorDialog::openAddCondition()
{
    if (!m_conditionSheet) {
        m_conditionSheet = new AddConditionDialog(RuleSheets::shareChoices(m_engine), this);
        m_conditionSheet->setAttribute(Qt::WA_DeleteOnClose);
        connect(m_conditionSheet, &AddConditionDialog::conditionChosen, this, &RuleEditorDialog::addCondition);
    }
    m_conditionSheet->open();
    return m_conditionSheet;
}

AddActionDialog *RuleEditorDialog::openAddAction()
{
    if (!m_actionSheet) {
        m_actionSheet = new AddActionDialog(RuleSheets::shareChoices(m_engine), this);
        m_actionSheet->setAttribute(Qt::WA_DeleteOnClose);
        connect(m_actionSheet, &AddActionDialog::actionChosen, this, &RuleEditorDialog::addAction);
    }
    m_actionSheet->open();
    return m_actionSheet;
}

void RuleEditorDialog::addCondition(const RuleCondition &condition)
{
    m_conditions.append(condition);
    refreshLists();
}

void RuleEditorDialog::addAction(const RuleAction &action)
{
    m_actions.append(action);
    refreshLists();
}

void RuleEditorDialog::removeCondition(int index)
{
    if (index >= 0 && index < m_conditions.size())
        m_conditions.removeAt(index);
    refreshLists();
}

void RuleEditorDialog::removeAction(int index)
{
    if (index >= 0 && index < m_actions.size())
        m_actions.removeAt(index);
    refreshLists();
}

void RuleEditorDialog::refreshLists()
{
    // One row per item: its text and a remove button (the rows are few: a rebuild is cheap).
    const auto fill = [this](QListWidget *list, const QStringList &texts, void (RuleEditorDialog::*remove)(int)) {
        list->clear();
        for (int i = 0; i < texts.size(); ++i) {
            auto *item = new QListWidgetItem(list);
            auto *row = new QWidget;
            auto *rowLayout = new QHBoxLayout(row);
            rowLayout->setContentsMargins(6, 1, 2, 1);
            auto *label = new QLabel(texts.at(i));
            rowLayout->addWidget(label, 1);
            auto *removeButton = new QToolButton;
            removeButton->setObjectName(QStringLiteral("remove_%1").arg(i));
            removeButton->setIcon(RuleSheets::icon(RuleSheets::Icon::Delete));
            removeButton->setToolTip(tr("Remove"));
            removeButton->setAutoRaise(true);
            connect(removeButton, &QToolButton::clicked, this, [this, remove, i] {
                // After the click has been handled: the row's widgets go away with the rebuild.
                QMetaObject::invokeMethod(this, [this, remove, i] { (this->*remove)(i); }, Qt::QueuedConnection);
            });
            rowLayout->addWidget(removeButton);
            item->setSizeHint(row->sizeHint());
            list->setItemWidget(item, row);
        }
    };
    QStringList conditions;
    for (const RuleCondition &condition : std::as_const(m_conditions))
        conditions.append(RuleSheets::describe(condition, m_engine));
    QStringList actions;
    for (int i = 0; i < m_actions.size(); ++i)
        actions.append(QStringLiteral("%1. ").arg(i + 1) + RuleSheets::describe(m_actions.at(i), m_engine));
    fill(m_conditionList, conditions, &RuleEditorDialog::removeCondition);
    fill(m_actionList, actions, &RuleEditorDialog::removeAction);
    m_conditionsHint->setText(m_conditions.isEmpty() ? neverTriggersText() : QString());
    m_actionsHint->setText(m_actions.isEmpty() ? noActionsText() : actionsInOrderText());
}

void RuleEditorDialog::accept()
{
    if (m_name->text().trimmed().isEmpty())
        return;
    Q_EMIT saved(editedRule());
    QDialog::accept();
}
