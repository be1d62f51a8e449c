#include "DirectoryView.h"

#include "enterprise/ActiveDirectoryManager.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QFrame>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QLocale>
#include <QPointer>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

namespace {
enum Column { HostColumn, ShareColumn, ProtocolColumn, MountPointColumn, ColumnCount };
// WebDAV is not offered: the manager makes an SMB record of anything but SMB, AFP and NFS.
const QStringList kProtocols{QStringLiteral("SMB"), QStringLiteral("AFP"), QStringLiteral("NFS")};

QPushButton *smallButton(const QString &text, const QString &name, const QString &tip)
{
    auto *b = new QPushButton(text);
    b->setObjectName(name);
    b->setToolTip(tip);
    b->setFixedWidth(32);
    return b;
}
} // namespace

DirectoryView::DirectoryView(ActiveDirectoryManager *manager, QWidget *parent)
    : QWidget(parent)
    , m_manager(manager)
{
    setObjectName(QStringLiteral("DirectoryView"));
    auto *layout = new QVBoxLayout(this);
    if (!m_manager) {
        auto *none = new QLabel(tr("This build has no directory service."));
        none->setAlignment(Qt::AlignCenter);
        layout->addWidget(none);
        return;
    }

    // --- Binding and status ---
    auto *binding = new QGroupBox(tr("Directory Binding"));
    auto *bindingLayout = new QHBoxLayout(binding);
    auto *texts = new QVBoxLayout;
    m_status = new QLabel;
    m_status->setObjectName(QStringLiteral("directoryStatus"));
    QFont bold = m_status->font();
    bold.setBold(true);
    m_status->setFont(bold);
    m_domain = new QLabel;
    m_domain->setObjectName(QStringLiteral("directoryDomain"));
    texts->addWidget(m_status);
    texts->addWidget(m_domain);
    bindingLayout->addLayout(texts, 1);
    m_refresh = new QPushButton(tr("Refresh"));
    m_refresh->setObjectName(QStringLiteral("directoryRefreshButton"));
    m_apply = new QPushButton(tr("Apply Mappings"));
    m_apply->setObjectName(QStringLiteral("directoryApplyButton"));
    bindingLayout->addWidget(m_refresh);
    bindingLayout->addWidget(m_apply);
    layout->addWidget(binding);

    m_notice = new QFrame;
    m_notice->setObjectName(QStringLiteral("notBoundNotice"));
    m_notice->setFrameShape(QFrame::StyledPanel);
    m_notice->setStyleSheet(QStringLiteral("#notBoundNotice { background: #fff4e5; border: 1px solid #f0c36d; }"));
    auto *noticeLayout = new QVBoxLayout(m_notice);
    auto *noticeTitle = new QLabel(tr("Not Connected to Active Directory"));
    noticeTitle->setFont(bold);
    auto *noticeText = new QLabel(tr("This Mac is not bound to an Active Directory domain.\nContact your IT "
                                     "administrator to join this Mac to AD."));
    noticeText->setWordWrap(true);
    noticeLayout->addWidget(noticeTitle);
    noticeLayout->addWidget(noticeText);
    layout->addWidget(m_notice);

    m_userBox = new QGroupBox(tr("Current User"));
    auto *userLayout = new QVBoxLayout(m_userBox);
    m_user = new QLabel;
    m_user->setObjectName(QStringLiteral("directoryUser"));
    m_user->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_user->setWordWrap(true);
    userLayout->addWidget(m_user);
    layout->addWidget(m_userBox);

    // --- Mapping editor ---
    auto *editorBox = new QGroupBox(tr("Group Mappings"));
    auto *editorLayout = new QHBoxLayout(editorBox);
    auto *left = new QVBoxLayout;
    m_mappings = new QListWidget;
    m_mappings->setObjectName(QStringLiteral("mappingList"));
    m_mappings->setMaximumWidth(220);
    left->addWidget(m_mappings, 1);
    auto *listButtons = new QHBoxLayout;
    auto *addMappingButton = smallButton(QStringLiteral("+"), QStringLiteral("addMappingButton"), tr("Add a mapping"));
    auto *removeMappingButton =
        smallButton(QStringLiteral("−"), QStringLiteral("removeMappingButton"), tr("Remove the selected mapping"));
    listButtons->addWidget(addMappingButton);
    listButtons->addWidget(removeMappingButton);
    listButtons->addStretch();
    left->addLayout(listButtons);
    editorLayout->addLayout(left);

    m_editor = new QWidget;
    auto *right = new QVBoxLayout(m_editor);
    right->setContentsMargins(0, 0, 0, 0);
    auto *form = new QFormLayout;
    m_group = new QLineEdit;
    m_group->setObjectName(QStringLiteral("mappingGroupField"));
    m_group->setPlaceholderText(tr("Directory group, exactly as named (case-sensitive)"));
    m_enabled = new QCheckBox(tr("Enabled"));
    m_enabled->setObjectName(QStringLiteral("mappingEnabledSwitch"));
    form->addRow(tr("Group:"), m_group);
    form->addRow(QString(), m_enabled);
    right->addLayout(form);
    m_shares = new QTableWidget(0, ColumnCount);
    m_shares->setObjectName(QStringLiteral("mappingShareTable"));
    m_shares->setHorizontalHeaderLabels({tr("Host"), tr("Share"), tr("Protocol"), tr("Mount Point")});
    m_shares->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    m_shares->horizontalHeader()->setSectionResizeMode(ProtocolColumn, QHeaderView::ResizeToContents);
    m_shares->verticalHeader()->hide();
    m_shares->setSelectionBehavior(QAbstractItemView::SelectRows);
    right->addWidget(m_shares, 1);
    auto *shareButtons = new QHBoxLayout;
    auto *addShareButton = smallButton(QStringLiteral("+"), QStringLiteral("addMappedShareButton"), tr("Add a share"));
    auto *removeShareButton =
        smallButton(QStringLiteral("−"), QStringLiteral("removeMappedShareButton"), tr("Remove the selected share"));
    shareButtons->addWidget(addShareButton);
    shareButtons->addWidget(removeShareButton);
    shareButtons->addStretch();
    right->addLayout(shareButtons);
    editorLayout->addWidget(m_editor, 1);
    layout->addWidget(editorBox, 1);

    connect(m_refresh, &QPushButton::clicked, this, &DirectoryView::refresh);
    connect(m_apply, &QPushButton::clicked, this, &DirectoryView::apply);
    connect(addMappingButton, &QPushButton::clicked, this, &DirectoryView::addMapping);
    connect(removeMappingButton, &QPushButton::clicked, this, &DirectoryView::removeMapping);
    connect(addShareButton, &QPushButton::clicked, this, &DirectoryView::addShare);
    connect(removeShareButton, &QPushButton::clicked, this, &DirectoryView::removeShare);
    connect(m_mappings, &QListWidget::currentRowChanged, this, [this] { showMapping(); });
    connect(m_mappings, &QListWidget::itemChanged, this, [this](QListWidgetItem *item) {
        // The list's check box is the mapping's enabled switch.
        const int row = m_mappings->row(item);
        if (m_filling || row < 0 || row >= m_list.size())
            return;
        const bool enabled = item->checkState() == Qt::Checked;
        if (m_list[row].isEnabled == enabled)
            return;
        m_list[row].isEnabled = enabled;
        m_manager->setMappingEnabled(m_list[row].id, enabled);
    });
    connect(m_group, &QLineEdit::editingFinished, this, &DirectoryView::commitEditor);
    connect(m_enabled, &QCheckBox::toggled, this, &DirectoryView::commitEditor);
    connect(m_shares, &QTableWidget::itemChanged, this, &DirectoryView::commitEditor);

    connect(m_manager, &ActiveDirectoryManager::statusMessageChanged, this, &DirectoryView::showState);
    connect(m_manager, &ActiveDirectoryManager::statusChecked, this, &DirectoryView::showState);
    connect(m_manager, &ActiveDirectoryManager::mappingsChanged, this, [this] {
        if (!m_filling)
            showMappings();
    });
    showState();
    showMappings();
}

QString DirectoryView::statusText() const
{
    return m_status ? m_status->text() : QString();
}

bool DirectoryView::notBoundNoticeShown() const
{
    return m_notice && !m_notice->isHidden();
}

QString DirectoryView::userText() const
{
    return m_user ? m_user->text() : QString();
}

void DirectoryView::showEvent(QShowEvent *event)
{
    if (m_manager && !m_manager->isChecking())
        refresh();
    QWidget::showEvent(event);
}

void DirectoryView::refresh()
{
    if (!m_manager)
        return;
    m_refresh->setEnabled(false);
    m_status->setText(tr("Checking…"));
    const QPointer<DirectoryView> self(this);
    m_manager->checkStatus([self] {
        if (self)
            self->m_refresh->setEnabled(true);
    });
}

void DirectoryView::apply()
{
    if (!m_manager)
        return;
    commitEditor();
    m_manager->applyMappings();
    showState();
}

void DirectoryView::showState()
{
    const QString status = m_manager->statusMessage();
    m_status->setText(status.isEmpty() ? tr("Not checked yet") : status);
    // A user read before the binding went away is not shown (nor applied) as current.
    const bool bound = m_manager->isConfigured();
    const std::optional<ADUserInfo> user = bound ? m_manager->currentUser() : std::nullopt;
    QString domain;
    if (user)
        domain = tr("Domain: %1").arg(user->domain);
    if (const auto synced = m_manager->lastSyncDate(); synced && bound)
        domain += (domain.isEmpty() ? QString() : QStringLiteral(" · ")) +
                  tr("Last checked: %1").arg(QLocale().toString(synced->toLocalTime(), QLocale::ShortFormat));
    m_domain->setText(domain);
    m_domain->setVisible(!domain.isEmpty());
    // The notice answers a finished check that found no binding.
    m_notice->setVisible(!bound && !status.isEmpty() &&
                         status == ActiveDirectoryManager::kStatusNotBound);
    m_userBox->setVisible(user.has_value());
    if (user) {
        QStringList lines;
        lines << tr("Name: %1 (%2)").arg(user->displayName, user->username);
        if (user->email)
            lines << tr("E-mail: %1").arg(*user->email);
        if (user->homeDirectory)
            lines << tr("Home: %1").arg(*user->homeDirectory);
        lines << tr("Groups: %1").arg(user->groups.isEmpty() ? tr("none") : user->groups.join(QStringLiteral(", ")));
        m_user->setText(lines.join(QLatin1Char('\n')));
    } else {
        m_user->clear();
    }
    m_apply->setEnabled(user.has_value());
}

void DirectoryView::showMappings()
{
    const int current = m_mappings->currentRow();
    m_list = m_manager->shareMappings();
    m_filling = true;
    m_mappings->clear();
    for (const ADShareMapping &mapping : std::as_const(m_list)) {
        auto *item = new QListWidgetItem(mapping.groupName.isEmpty() ? tr("(no group)") : mapping.groupName);
        item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
        item->setCheckState(mapping.isEnabled ? Qt::Checked : Qt::Unchecked);
        item->setToolTip(tr("%n share(s)", nullptr, int(mapping.shares.size())));
        m_mappings->addItem(item);
    }
    m_filling = false;
    if (!m_list.isEmpty())
        m_mappings->setCurrentRow(qBound(0, current, int(m_list.size()) - 1));
    showMapping();
}

int DirectoryView::currentMapping() const
{
    const int row = m_mappings->currentRow();
    return row >= 0 && row < m_list.size() ? row : -1;
}

void DirectoryView::selectMapping(int row)
{
    m_mappings->setCurrentRow(row);
}

void DirectoryView::showMapping()
{
    const int row = currentMapping();
    m_editor->setEnabled(row >= 0);
    m_filling = true;
    m_shares->setRowCount(0);
    if (row < 0) {
        m_group->clear();
        m_enabled->setChecked(false);
        m_filling = false;
        return;
    }
    const ADShareMapping &mapping = m_list.at(row);
    m_group->setText(mapping.groupName);
    m_enabled->setChecked(mapping.isEnabled);
    for (const ADMappedShare &share : mapping.shares) {
        const int r = m_shares->rowCount();
        m_shares->insertRow(r);
        m_shares->setItem(r, HostColumn, new QTableWidgetItem(share.hostname));
        m_shares->setItem(r, ShareColumn, new QTableWidgetItem(share.shareName));
        m_shares->setItem(r, MountPointColumn, new QTableWidgetItem(share.mountPoint.value_or(QString())));
        auto *protocol = new QComboBox;
        protocol->addItems(kProtocols);
        const int index = kProtocols.indexOf(share.protocolType.toUpper());
        if (index < 0)
            protocol->addItem(share.protocolType); // kept as the file has it
        protocol->setCurrentIndex(index < 0 ? protocol->count() - 1 : index);
        connect(protocol, &QComboBox::currentTextChanged, this, &DirectoryView::commitEditor);
        m_shares->setCellWidget(r, ProtocolColumn, protocol);
    }
    m_filling = false;
}

void DirectoryView::commitEditor()
{
    const int row = currentMapping();
    if (m_filling || row < 0)
        return;
    ADShareMapping mapping = m_list.at(row);
    mapping.groupName = m_group->text().trimmed();
    mapping.isEnabled = m_enabled->isChecked();
    QList<ADMappedShare> shares;
    const auto text = [this](int r, int c) {
        const QTableWidgetItem *item = m_shares->item(r, c);
        return item ? item->text().trimmed() : QString();
    };
    for (int r = 0; r < m_shares->rowCount(); ++r) {
        // Row identities survive an edit, so a share keeps its ID.
        ADMappedShare share = r < mapping.shares.size() ? mapping.shares.at(r) : ADMappedShare();
        share.hostname = text(r, HostColumn);
        share.shareName = text(r, ShareColumn);
        if (auto *protocol = qobject_cast<QComboBox *>(m_shares->cellWidget(r, ProtocolColumn)))
            share.protocolType = protocol->currentText();
        const QString mountPoint = text(r, MountPointColumn);
        share.mountPoint = mountPoint.isEmpty() ? std::nullopt : std::optional<QString>(mountPoint);
        shares.append(share);
    }
    mapping.shares = shares;
    if (mapping.groupName == m_list.at(row).groupName && mapping.isEnabled == m_list.at(row).isEnabled &&
        mapping.toJson() == m_list.at(row).toJson())
        return;
    m_list[row] = mapping;
    m_filling = true;
    m_manager->setMappings(m_list);
    if (QListWidgetItem *item = m_mappings->item(row)) {
        item->setText(mapping.groupName.isEmpty() ? tr("(no group)") : mapping.groupName);
        item->setCheckState(mapping.isEnabled ? Qt::Checked : Qt::Unchecked);
    }
    m_filling = false;
}

void DirectoryView::addMapping()
{
    commitEditor();
    ADShareMapping mapping;
    m_manager->addMapping(mapping); // mappingsChanged refills the list
    m_mappings->setCurrentRow(int(m_list.size()) - 1);
    m_group->setFocus();
}

void DirectoryView::removeMapping()
{
    const int row = currentMapping();
    if (row >= 0)
        m_manager->removeMapping(m_list.at(row).id);
}

void DirectoryView::addShare()
{
    const int row = currentMapping();
    if (row < 0)
        return;
    commitEditor();
    ADShareMapping mapping = m_list.at(row);
    mapping.shares.append(ADMappedShare());
    m_list[row] = mapping;
    m_filling = true;
    m_manager->setMappings(m_list);
    m_filling = false;
    showMapping();
    m_shares->setCurrentCell(m_shares->rowCount() - 1, HostColumn);
}

void DirectoryView::removeShare()
{
    const int row = currentMapping();
    const int shareRow = m_shares->currentRow();
    if (row < 0 || shareRow < 0 || shareRow >= m_list.at(row).shares.size())
        return;
    m_list[row].shares.removeAt(shareRow);
    m_filling = true;
    m_manager->setMappings(m_list);
    m_filling = false;
    showMapping();
}
