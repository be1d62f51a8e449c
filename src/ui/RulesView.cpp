#include "RulesView.h"

#include "NewRuleDialog.h"
#include "RuleDetailView.h"
#include "RuleEditorDialog.h"
#include "RuleSheets.h"
#include "UiContext.h"

#include "core/MountEngine.h"
#include "rules/RuleEngine.h"

#include <QApplication>
#include <QCheckBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QLocale>
#include <QPointer>
#include <QPushButton>
#include <QSplitter>
#include <QStackedWidget>
#include <QStyle>
#include <QVBoxLayout>

namespace {
constexpr int kIdRole = Qt::UserRole + 1;

QIcon activityIcon(RuleEngine::RuleActivity::ActivityType type)
{
    using T = RuleEngine::RuleActivity::ActivityType;
    QStyle *style = QApplication::style();
    switch (type) {
    case T::success:
        return style->standardIcon(QStyle::SP_DialogApplyButton);
    case T::warning:
        return style->standardIcon(QStyle::SP_MessageBoxWarning);
    case T::error:
        return style->standardIcon(QStyle::SP_MessageBoxCritical);
    case T::info:
        break;
    }
    return style->standardIcon(QStyle::SP_MessageBoxInformation);
}

QLabel *centered(const QString &text, const QString &name)
{
    auto *label = new QLabel(text);
    label->setObjectName(name);
    label->setAlignment(Qt::AlignCenter);
    label->setWordWrap(true);
    label->setForegroundRole(QPalette::PlaceholderText);
    return label;
}
} // namespace

QString RulesView::noRulesText()
{
    return tr("Rules automate volume mounting\nbased on conditions you define.");
}

QString RulesView::noneSelectedText()
{
    return tr("Choose a rule from the list to view or edit it,\nor create a new rule to get started.");
}

RulesView::RulesView(RuleEngine &rules, MountEngine &engine, QWidget *parent)
    : QWidget(parent)
    , m_rules(rules)
    , m_engine(engine)
    , m_switch(new QCheckBox(tr("Rule Engine")))
    , m_engineState(new QLabel)
    , m_list(new QListWidget)
    , m_duplicate(new QPushButton(tr("Duplicate")))
    , m_pages(new QStackedWidget)
    , m_detail(new RuleDetailView(rules, engine))
    , m_activity(new QListWidget)
{
    setObjectName(QStringLiteral("RulesView"));
    auto *layout = new QVBoxLayout(this);

    // The engine's switch heads the list: rules only act while it is on.
    auto *bar = new QHBoxLayout;
    m_switch->setObjectName(QStringLiteral("engineSwitch"));
    m_switch->setToolTip(tr("Evaluate the rules and run their actions when their conditions become true"));
    bar->addWidget(m_switch);
    m_engineState->setObjectName(QStringLiteral("engineState"));
    m_engineState->setForegroundRole(QPalette::PlaceholderText);
    bar->addWidget(m_engineState, 1);
    layout->addLayout(bar);

    auto *splitter = new QSplitter(Qt::Horizontal);
    auto *left = new QWidget;
    auto *leftLayout = new QVBoxLayout(left);
    leftLayout->setContentsMargins(0, 0, 0, 0);
    m_list->setObjectName(QStringLiteral("ruleList"));
    m_list->setSelectionMode(QAbstractItemView::SingleSelection);
    m_list->setUniformItemSizes(true);
    m_list->setWordWrap(false);
    leftLayout->addWidget(m_list);
    auto *listButtons = new QHBoxLayout;
    auto *add = new QPushButton(RuleSheets::icon(RuleSheets::Icon::Add), tr("New Rule"));
    add->setObjectName(QStringLiteral("newRule"));
    m_duplicate->setObjectName(QStringLiteral("duplicateRule"));
    listButtons->addWidget(add);
    listButtons->addWidget(m_duplicate);
    listButtons->addStretch();
    leftLayout->addLayout(listButtons);
    splitter->addWidget(left);

    // Right: the empty states or the detail.
    auto *noRules = new QWidget;
    auto *noRulesLayout = new QVBoxLayout(noRules);
    noRulesLayout->addStretch();
    noRulesLayout->addWidget(centered(noRulesText(), QStringLiteral("noRulesText")));
    auto *emptyButtons = new QHBoxLayout;
    emptyButtons->addStretch();
    auto *first = new QPushButton(tr("Create Your First Rule"));
    first->setObjectName(QStringLiteral("createFirstRule"));
    auto *examples = new QPushButton(tr("Add Example Rules"));
    examples->setObjectName(QStringLiteral("addExampleRules"));
    emptyButtons->addWidget(first);
    emptyButtons->addWidget(examples);
    emptyButtons->addStretch();
    noRulesLayout->addLayout(emptyButtons);
    noRulesLayout->addStretch();
    m_pages->insertWidget(int(Page::NoRules), noRules);
    m_pages->insertWidget(int(Page::NoneSelected), centered(noneSelectedText(), QStringLiteral("noneSelectedText")));
    m_pages->insertWidget(int(Page::Detail), m_detail);
    splitter->addWidget(m_pages);
    splitter->setStretchFactor(0, 2);
    splitter->setStretchFactor(1, 3);
    splitter->setSizes({320, 480});
    layout->addWidget(splitter, 1);

    auto *activity = new QGroupBox(tr("Recent Activity"));
    auto *activityLayout = new QVBoxLayout(activity);
    m_activity->setObjectName(QStringLiteral("activityList"));
    m_activity->setSelectionMode(QAbstractItemView::NoSelection);
    m_activity->setMaximumHeight(130);
    activityLayout->addWidget(m_activity);
    layout->addWidget(activity);

    connect(add, &QPushButton::clicked, this, [this] { newRule(); });
    connect(first, &QPushButton::clicked, this, [this] { newRule(); });
    connect(examples, &QPushButton::clicked, this, &RulesView::addExampleRules);
    connect(m_duplicate, &QPushButton::clicked, this, &RulesView::duplicateSelected);
    connect(m_switch, &QCheckBox::toggled, this, [this](bool on) {
        // The one place the user starts and stops the engine.
        if (on)
            m_rules.start();
        else
            m_rules.stop();
        updateEngineState();
    });
    connect(m_list, &QListWidget::itemSelectionChanged, this, &RulesView::showSelection);
    connect(m_list, &QListWidget::itemChanged, this, &RulesView::onItemChanged);
    connect(m_list, &QListWidget::itemDoubleClicked, this,
            [this](QListWidgetItem *item) { editRule(item->data(kIdRole).toUuid()); });
    connect(m_detail, &RuleDetailView::runRequested, this, &RulesView::runRule);
    connect(m_detail, &RuleDetailView::editRequested, this, [this](const QUuid &id) { editRule(id); });
    connect(m_detail, &RuleDetailView::deleteRequested, this, &RulesView::deleteRule);

    m_rebuild.setSingleShot(true);
    m_rebuild.setInterval(0);
    connect(&m_rebuild, &QTimer::timeout, this, &RulesView::rebuildList);
    connect(&m_rules, &RuleEngine::rulesChanged, this, &RulesView::scheduleRebuild);
    connect(&m_rules, &RuleEngine::ruleExecuted, this, &RulesView::scheduleRebuild);
    connect(&m_rules, &RuleEngine::evaluated, this, [this] {
        scheduleRebuild();
        updateEngineState();
    });
    connect(&m_rules, &RuleEngine::activityChanged, this, &RulesView::rebuildActivity);
    connect(&m_rules, &RuleEngine::runningChanged, this, &RulesView::updateEngineState);
    // Share names appear in the conditions and actions.
    connect(&m_engine, &MountEngine::recordsChanged, this, &RulesView::scheduleRebuild);

    rebuildList();
    rebuildActivity();
    updateEngineState();
}

RulesView::Page RulesView::page() const
{
    return Page(m_pages->currentIndex());
}

QUuid RulesView::selectedId() const
{
    const QList<QListWidgetItem *> items = m_list->selectedItems();
    return items.isEmpty() ? QUuid() : items.first()->data(kIdRole).toUuid();
}

void RulesView::selectRule(const QUuid &id)
{
    for (int i = 0; i < m_list->count(); ++i) {
        if (m_list->item(i)->data(kIdRole).toUuid() == id) {
            m_list->setCurrentRow(i);
            m_list->scrollToItem(m_list->item(i));
            return;
        }
    }
}

void RulesView::scheduleRebuild()
{
    if (!m_rebuild.isActive())
        m_rebuild.start();
}

void RulesView::rebuildList()
{
    m_rebuild.stop();
    const QUuid selected = selectedId();
    m_filling = true;
    m_list->setUpdatesEnabled(false);
    m_list->clear();
    for (const Rule &rule : m_rules.rules()) {
        auto *item = new QListWidgetItem;
        QString text = rule.name;
        if (!rule.isEnabled)
            text += QLatin1Char(' ') + tr("(disabled)");
        item->setText(text + QLatin1Char('\n') + rule.summary());
        item->setToolTip(rule.summary());
        item->setData(kIdRole, rule.id);
        item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable);
        item->setCheckState(rule.isEnabled ? Qt::Checked : Qt::Unchecked);
        if (!rule.isEnabled)
            item->setForeground(m_list->palette().brush(QPalette::Disabled, QPalette::Text));
        m_list->addItem(item);
    }
    m_list->setUpdatesEnabled(true);
    m_filling = false;
    if (!selected.isNull())
        selectRule(selected);
    showSelection();
}

void RulesView::showSelection()
{
    const QUuid id = selectedId();
    m_duplicate->setEnabled(!id.isNull());
    if (m_rules.rules().isEmpty()) {
        m_pages->setCurrentIndex(int(Page::NoRules));
    } else if (id.isNull() || !m_rules.rule(id)) {
        m_pages->setCurrentIndex(int(Page::NoneSelected));
    } else {
        m_detail->setRule(id);
        m_pages->setCurrentIndex(int(Page::Detail));
    }
}

void RulesView::onItemChanged(QListWidgetItem *item)
{
    if (m_filling)
        return;
    const QUuid id = item->data(kIdRole).toUuid();
    const Rule *rule = m_rules.rule(id);
    const bool enabled = item->checkState() == Qt::Checked;
    if (rule && rule->isEnabled != enabled)
        m_rules.setRuleEnabled(id, enabled);
}

void RulesView::rebuildActivity()
{
    m_activity->clear();
    for (const RuleEngine::RuleActivity &entry : m_rules.recentActivity()) {
        auto *item = new QListWidgetItem(activityIcon(entry.type),
                                         QLocale().toString(entry.timestamp.toLocalTime().time(), QLocale::ShortFormat)
                                             + QStringLiteral("  ") + entry.message);
        m_activity->addItem(item);
    }
    if (m_rules.recentActivity().isEmpty())
        m_activity->addItem(tr("No activity yet"));
}

QStringList RulesView::activityLines() const
{
    QStringList lines;
    if (m_rules.recentActivity().isEmpty())
        return lines; // the placeholder row only
    for (int i = 0; i < m_activity->count(); ++i)
        lines.append(m_activity->item(i)->text());
    return lines;
}

void RulesView::updateEngineState()
{
    const bool running = m_rules.isRunning();
    {
        const QSignalBlocker block(m_switch);
        m_switch->setChecked(running);
    }
    QString state = running ? tr("Running") : tr("Stopped — rules do not act until the engine is switched on");
    if (running && m_rules.lastEvaluationTime())
        state += QStringLiteral(" · ") + tr("last check %1")
                                             .arg(QLocale().toString(m_rules.lastEvaluationTime()->toLocalTime().time(),
                                                                     QLocale::ShortFormat));
    m_engineState->setText(state);
}

NewRuleDialog *RulesView::newRule()
{
    auto *dialog = new NewRuleDialog(this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &NewRuleDialog::created, this, [this](const Rule &rule) {
        m_rules.addRule(rule);
        rebuildList();
        selectRule(rule.id);
        // A new rule is empty: straight on to its conditions and actions.
        editRule(rule.id);
    });
    dialog->open();
    return dialog;
}

void RulesView::addExampleRules()
{
    m_rules.addExampleRules();
    rebuildList();
}

RuleEditorDialog *RulesView::editRule(const QUuid &id)
{
    const Rule *rule = m_rules.rule(id);
    if (!rule)
        return nullptr;
    if (m_editor)
        m_editor->close();
    m_editor = new RuleEditorDialog(*rule, m_engine, this);
    m_editor->setAttribute(Qt::WA_DeleteOnClose);
    connect(m_editor, &RuleEditorDialog::saved, this, [this](const Rule &edited) {
        const Rule *current = m_rules.rule(edited.id);
        if (!current) {
            Prompter::instance().inform(this, tr("Rule Not Saved"), tr("The rule was deleted meanwhile."));
            return;
        }
        // Only what the editor edits: counters that changed while it was open are kept.
        Rule updated = *current;
        updated.name = edited.name;
        updated.isEnabled = edited.isEnabled;
        updated.conditionMode = edited.conditionMode;
        updated.conditions = edited.conditions;
        updated.actions = edited.actions;
        if (!m_rules.updateRule(updated))
            Prompter::instance().inform(this, tr("Rule Not Saved"),
                                        tr("The rules file could not be written: %1").arg(m_rules.lastSaveError()));
        rebuildList();
    });
    m_editor->open();
    return m_editor;
}

void RulesView::runRule(const QUuid &id)
{
    // Conditions untested, enabled or not: the engine runs the actions on its worker.
    m_rules.forceRun(id);
}

void RulesView::deleteRule(const QUuid &id)
{
    const Rule *rule = m_rules.rule(id);
    if (!rule)
        return;
    const QPointer<RulesView> self(this);
    Prompter::instance().confirm(this, tr("Delete \"%1\"?").arg(rule->name), tr("This action cannot be undone."),
                                 tr("Delete"), [self, id](bool yes) {
                                     if (!yes || !self)
                                         return;
                                     self->m_rules.deleteRule(id);
                                     self->rebuildList();
                                 });
}

void RulesView::duplicateSelected()
{
    if (const std::optional<QUuid> copy = m_rules.duplicateRule(selectedId())) {
        rebuildList();
        selectRule(*copy);
    }
}
