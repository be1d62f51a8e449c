#include "RuleDetailView.h"

#include "RuleSheets.h"

#include "core/MountEngine.h"
#include "rules/RuleEngine.h"

#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

namespace {
QLabel *badge(const QString &text, const QString &name)
{
    auto *label = new QLabel(text);
    label->setObjectName(name);
    label->setWordWrap(true);
    label->setStyleSheet(QStringLiteral("QLabel { background: palette(alternate-base); border: 1px solid palette(mid);"
                                        " border-radius: 6px; padding: 4px 8px; }"));
    return label;
}

QLabel *muted(const QString &text, const QString &name)
{
    auto *label = new QLabel(text);
    label->setObjectName(name);
    label->setForegroundRole(QPalette::PlaceholderText);
    return label;
}

QString localTime(const QDateTime &time)
{
    return QLocale().toString(time.toLocalTime(), QLocale::ShortFormat);
}
} // namespace

RuleDetailView::RuleDetailView(const RuleEngine &rules, const MountEngine &engine, QWidget *parent)
    : QWidget(parent)
    , m_rules(rules)
    , m_engine(engine)
    , m_title(new QLabel)
    , m_lastRun(new QLabel)
    , m_mode(new QLabel)
    , m_run(new QPushButton(RuleSheets::icon(RuleSheets::Icon::Run), tr("Run Now")))
    , m_edit(new QPushButton(RuleSheets::icon(RuleSheets::Icon::Edit), tr("Edit")))
    , m_delete(new QPushButton(RuleSheets::icon(RuleSheets::Icon::Delete), tr("Delete Rule")))
{
    setObjectName(QStringLiteral("RuleDetailView"));
    auto *outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    auto *scroll = new QScrollArea;
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    auto *content = new QWidget;
    auto *layout = new QVBoxLayout(content);
    scroll->setWidget(content);
    outer->addWidget(scroll);

    auto *header = new QHBoxLayout;
    auto *titles = new QVBoxLayout;
    m_title->setObjectName(QStringLiteral("ruleTitle"));
    QFont big = m_title->font();
    big.setPointSizeF(big.pointSizeF() * 1.4);
    big.setBold(true);
    m_title->setFont(big);
    m_title->setWordWrap(true);
    titles->addWidget(m_title);
    m_lastRun->setObjectName(QStringLiteral("lastRun"));
    m_lastRun->setForegroundRole(QPalette::PlaceholderText);
    titles->addWidget(m_lastRun);
    header->addLayout(titles, 1);
    m_run->setObjectName(QStringLiteral("runNow"));
    m_edit->setObjectName(QStringLiteral("editRule"));
    header->addWidget(m_run, 0, Qt::AlignTop);
    header->addWidget(m_edit, 0, Qt::AlignTop);
    layout->addLayout(header);

    QGroupBox *conditions = section(tr("Conditions"), QStringLiteral("conditionsSection"), &m_conditions);
    m_mode->setObjectName(QStringLiteral("conditionMode"));
    static_cast<QVBoxLayout *>(conditions->layout())->insertWidget(0, m_mode);
    layout->addWidget(conditions);
    layout->addWidget(section(tr("Actions"), QStringLiteral("actionsSection"), &m_actions));
    layout->addWidget(section(tr("Statistics"), QStringLiteral("statisticsSection"), &m_statistics));

    auto *footer = new QHBoxLayout;
    footer->addStretch();
    m_delete->setObjectName(QStringLiteral("deleteRule"));
    footer->addWidget(m_delete);
    layout->addLayout(footer);
    layout->addStretch();

    connect(m_run, &QPushButton::clicked, this, [this] { Q_EMIT runRequested(m_id); });
    connect(m_edit, &QPushButton::clicked, this, [this] { Q_EMIT editRequested(m_id); });
    connect(m_delete, &QPushButton::clicked, this, [this] { Q_EMIT deleteRequested(m_id); });
}

QGroupBox *RuleDetailView::section(const QString &title, const QString &name, QVBoxLayout **content)
{
    auto *box = new QGroupBox(title);
    box->setObjectName(name);
    auto *layout = new QVBoxLayout(box);
    auto *items = new QVBoxLayout;
    items->setSpacing(4);
    layout->addLayout(items);
    *content = items;
    return box;
}

void RuleDetailView::clear(QVBoxLayout *layout)
{
    while (QLayoutItem *item = layout->takeAt(0)) {
        if (QLayout *inner = item->layout()) {
            while (QLayoutItem *child = inner->takeAt(0)) {
                delete child->widget();
                delete child;
            }
        }
        delete item->widget();
        delete item;
    }
}

void RuleDetailView::setRule(const QUuid &id)
{
    m_id = id;
    refresh();
}

void RuleDetailView::refresh()
{
    clear(m_conditions);
    clear(m_actions);
    clear(m_statistics);
    const Rule *rule = m_rules.rule(m_id);
    m_run->setEnabled(rule != nullptr);
    m_edit->setEnabled(rule != nullptr);
    m_delete->setEnabled(rule != nullptr);
    if (!rule) {
        m_title->clear();
        m_lastRun->clear();
        m_mode->clear();
        return;
    }
    m_title->setText(rule->isEnabled ? rule->name : rule->name + QLatin1Char(' ') + tr("(disabled)"));
    m_lastRun->setText(rule->lastTriggered ? tr("Last run: ") + localTime(*rule->lastTriggered) : QString());
    m_lastRun->setVisible(rule->lastTriggered.has_value());

    m_mode->setText(rule->conditionMode == Rule::ConditionMode::all ? tr("All conditions must be true")
                                                                    : tr("Any condition can be true"));
    for (const RuleCondition &condition : rule->conditions)
        m_conditions->addWidget(badge(RuleSheets::describe(condition, m_engine), QStringLiteral("conditionBadge")));
    if (rule->conditions.isEmpty())
        m_conditions->addWidget(muted(tr("No conditions defined"), QStringLiteral("noConditions")));
    for (const RuleAction &action : rule->actions)
        m_actions->addWidget(badge(RuleSheets::describe(action, m_engine), QStringLiteral("actionBadge")));
    if (rule->actions.isEmpty())
        m_actions->addWidget(muted(tr("No actions defined"), QStringLiteral("noActions")));

    const std::optional<bool> held = m_rules.triggeredState(rule->id);
    const QList<std::pair<QString, QString>> stats{
        {tr("Times Triggered"), QString::number(rule->triggerCount)},
        {tr("Last Triggered"), rule->lastTriggered ? localTime(*rule->lastTriggered) : tr("Never")},
        {tr("Status"), rule->isEnabled ? tr("Enabled") : tr("Disabled")},
        {tr("Conditions at last check"),
         !held ? tr("Not evaluated yet") : (*held ? tr("Met") : tr("Not met"))},
        {tr("Conditions"), QString::number(rule->conditions.size())},
        {tr("Actions"), QString::number(rule->actions.size())},
    };
    for (const auto &[label, value] : stats) {
        auto *row = new QHBoxLayout;
        auto *name = new QLabel(label);
        name->setObjectName(QStringLiteral("statLabel"));
        auto *text = new QLabel(value);
        text->setObjectName(QStringLiteral("statValue"));
        QFont bold = text->font();
        bold.setBold(true);
        text->setFont(bold);
        row->addWidget(name, 1);
        row->addWidget(text);
        m_statistics->addLayout(row);
    }
}

QString RuleDetailView::title() const
{
    return m_title->text();
}

QStringList RuleDetailView::conditionBadges() const
{
    QStringList texts;
    for (int i = 0; i < m_conditions->count(); ++i) {
        if (auto *label = qobject_cast<QLabel *>(m_conditions->itemAt(i)->widget()))
            texts.append(label->text());
    }
    return texts;
}

QStringList RuleDetailView::actionBadges() const
{
    QStringList texts;
    for (int i = 0; i < m_actions->count(); ++i) {
        if (auto *label = qobject_cast<QLabel *>(m_actions->itemAt(i)->widget()))
            texts.append(label->text());
    }
    return texts;
}

QStringList RuleDetailView::statistics() const
{
    QStringList lines;
    for (int i = 0; i < m_statistics->count(); ++i) {
        QLayout *row = m_statistics->itemAt(i)->layout();
        if (!row || row->count() < 2)
            continue;
        const auto *label = qobject_cast<QLabel *>(row->itemAt(0)->widget());
        const auto *value = qobject_cast<QLabel *>(row->itemAt(1)->widget());
        if (label && value)
            lines.append(label->text() + QStringLiteral(": ") + value->text());
    }
    return lines;
}
