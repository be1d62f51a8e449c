#include "AddActionDialog.h"

#include <QComboBox>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace {
enum Page { VolumePage, AllPage, GroupPage, ScriptPage, NotificationPage, DelayPage };

Page pageOf(RuleAction::Type type)
{
    using T = RuleAction::Type;
    switch (type) {
    case T::mountVolume:
    case T::unmountVolume:
        return VolumePage;
    case T::mountAll:
    case T::unmountAll:
        return AllPage;
    case T::mountGroup:
    case T::unmountGroup:
        return GroupPage;
    case T::runScript:
        return ScriptPage;
    case T::showNotification:
        return NotificationPage;
    case T::delay:
        return DelayPage;
    }
    return AllPage;
}

QLabel *note(const QString &text, const QString &name)
{
    auto *label = new QLabel(text);
    label->setObjectName(name);
    label->setWordWrap(true);
    label->setForegroundRole(QPalette::PlaceholderText);
    return label;
}
} // namespace

AddActionDialog::AddActionDialog(const QList<RuleSheets::ShareChoice> &shares, QWidget *parent)
    : RuleSheetDialog(QStringLiteral("AddActionDialog"), tr("Add Action"), parent)
    , m_volume(new QComboBox)
    , m_group(new QLineEdit)
    , m_script(new QLineEdit)
    , m_message(new QLineEdit)
    , m_seconds(new QSpinBox)
{
    addTypeRow(tr("Action type:"));
    for (RuleAction::Type type : RuleAction::allTypes())
        m_type->addItem(RuleAction::rawValue(type), int(type));

    m_volume->setObjectName(QStringLiteral("volume"));
    RuleSheets::fillSharePicker(m_volume, shares);
    m_pages->insertWidget(VolumePage, page({m_volume}));

    m_pages->insertWidget(AllPage, page({note(tr("This will affect all configured volumes"), QStringLiteral("allNote"))}));

    m_group->setObjectName(QStringLiteral("group"));
    m_group->setPlaceholderText(tr("e.g., Work, Media"));
    m_pages->insertWidget(GroupPage,
                          page({m_group, note(tr("Volumes must have matching group tag"), QStringLiteral("groupNote"))}));

    m_script->setObjectName(QStringLiteral("scriptPath"));
    m_script->setPlaceholderText(QStringLiteral("/path/to/script.sh"));
    auto *scriptRow = new QWidget;
    auto *scriptLayout = new QHBoxLayout(scriptRow);
    scriptLayout->setContentsMargins(0, 0, 0, 0);
    scriptLayout->addWidget(m_script, 1);
    auto *browse = new QPushButton(tr("Choose…"));
    connect(browse, &QPushButton::clicked, this, &AddActionDialog::chooseScript);
    scriptLayout->addWidget(browse);
    m_pages->insertWidget(ScriptPage, page({scriptRow}));

    m_message->setObjectName(QStringLiteral("message"));
    m_message->setPlaceholderText(tr("Notification message"));
    m_pages->insertWidget(NotificationPage, page({m_message}));

    m_seconds->setObjectName(QStringLiteral("seconds"));
    m_seconds->setRange(1, 3600);
    m_seconds->setValue(5);
    m_seconds->setSuffix(tr(" seconds"));
    m_pages->insertWidget(DelayPage, page({m_seconds}));

    connect(m_volume, &QComboBox::currentIndexChanged, this, &AddActionDialog::updatePage);
    for (QLineEdit *edit : {m_group, m_script, m_message})
        connect(edit, &QLineEdit::textChanged, this, &AddActionDialog::updatePage);
    finishLayout(440, 220);
}

void AddActionDialog::setType(RuleAction::Type type)
{
    setTypeValue(int(type));
}

RuleAction::Type AddActionDialog::type() const
{
    return RuleAction::Type(typeValue());
}

RuleAction AddActionDialog::action() const
{
    RuleAction action;
    action.type = type();
    switch (pageOf(action.type)) {
    case VolumePage:
        if (m_volume->currentIndex() >= 0)
            action.parameters.insert(RuleAction::kVolumeId, QString::number(m_volume->currentData().toLongLong()));
        break;
    case GroupPage:
        action.parameters.insert(RuleAction::kGroup, m_group->text().trimmed());
        break;
    case ScriptPage:
        action.parameters.insert(RuleAction::kScriptPath, m_script->text().trimmed());
        break;
    case NotificationPage:
        action.parameters.insert(RuleAction::kMessage, m_message->text().trimmed());
        break;
    case DelayPage:
        action.parameters.insert(RuleAction::kSeconds, QString::number(m_seconds->value()));
        break;
    case AllPage:
        break;
    }
    return action;
}

bool AddActionDialog::canAdd() const
{
    switch (pageOf(type())) {
    case VolumePage:
        return m_volume->currentIndex() >= 0;
    case GroupPage:
        return !m_group->text().trimmed().isEmpty();
    case ScriptPage:
        return !m_script->text().trimmed().isEmpty();
    case NotificationPage:
        return !m_message->text().trimmed().isEmpty();
    case AllPage:
    case DelayPage:
        break;
    }
    return true;
}

int AddActionDialog::pageOfCurrentType() const
{
    return pageOf(type());
}

void AddActionDialog::chooseScript()
{
    auto *dialog = new QFileDialog(this, tr("Choose Script"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::ExistingFile);
    connect(dialog, &QFileDialog::fileSelected, this, [this](const QString &path) { m_script->setText(path); });
    dialog->open();
}

void AddActionDialog::emitChosen()
{
    Q_EMIT actionChosen(action());
}
