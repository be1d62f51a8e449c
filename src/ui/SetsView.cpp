#include "SetsView.h"

#include "ShareStatusLabel.h"

#include "core/AutoMountScheduler.h"
#include "core/MountEngine.h"
#include "exchange/ConfigurationManager.h"

#include <QApplication>
#include <QComboBox>
#include <QFileDialog>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QInputDialog>
#include <QLabel>
#include <QListWidget>
#include <QPointer>
#include <QPushButton>
#include <QSplitter>
#include <QStackedWidget>
#include <QStyle>
#include <QVBoxLayout>

#include <algorithm>
#include <memory>

namespace {
constexpr int kIdRole = Qt::UserRole + 1;
const QString kSetFileSuffix = QStringLiteral("twconfig");

void defaultChooser(QWidget *parent, const SetsView::FileRequest &request, std::function<void(QString)> done)
{
    // Qt's own dialog: it has room for the panel's message, and open() does not block.
    auto *dialog = new QFileDialog(parent, request.title);
    dialog->setOption(QFileDialog::DontUseNativeDialog);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setNameFilter(QCoreApplication::translate("SetsView", "Tarnwell set file (*.twconfig)"));
    dialog->setDefaultSuffix(kSetFileSuffix);
    if (request.save) {
        dialog->setAcceptMode(QFileDialog::AcceptSave);
        dialog->setFileMode(QFileDialog::AnyFile);
        dialog->selectFile(request.proposedName);
    } else {
        dialog->setAcceptMode(QFileDialog::AcceptOpen);
        dialog->setFileMode(QFileDialog::ExistingFile);
    }
    if (auto *grid = qobject_cast<QGridLayout *>(dialog->layout())) {
        auto *message = new QLabel(request.message);
        message->setObjectName(QStringLiteral("panelMessage"));
        grid->addWidget(message, grid->rowCount(), 0, 1, grid->columnCount());
    }
    auto answered = std::make_shared<bool>(false);
    QObject::connect(dialog, &QFileDialog::fileSelected, dialog, [done, answered](const QString &path) {
        *answered = true;
        done(path);
    });
    QObject::connect(dialog, &QDialog::finished, dialog, [done, answered](int) {
        if (!*answered)
            done(QString());
    });
    dialog->open();
}
} // namespace

SetsView::FileChooser &SetsView::fileChooser()
{
    static FileChooser chooser = defaultChooser;
    return chooser;
}

const QStringList &SetsView::iconNames()
{
    static const QStringList names{QStringLiteral("folder"),      QStringLiteral("briefcase"),
                                   QStringLiteral("house"),       QStringLiteral("film"),
                                   QStringLiteral("music.note"),  QStringLiteral("photo"),
                                   QStringLiteral("server.rack"), QStringLiteral("externaldrive"),
                                   QStringLiteral("star")};
    return names;
}

QIcon SetsView::iconFor(const QString &name)
{
    // The names are the ones other builds store; each shows as the nearest freedesktop icon.
    static const QHash<QString, std::pair<const char *, QStyle::StandardPixmap>> themed{
        {QStringLiteral("folder"), {"folder", QStyle::SP_DirIcon}},
        {QStringLiteral("briefcase"), {"folder-documents", QStyle::SP_FileDialogContentsView}},
        {QStringLiteral("house"), {"user-home", QStyle::SP_DirHomeIcon}},
        {QStringLiteral("film"), {"folder-videos", QStyle::SP_MediaPlay}},
        {QStringLiteral("music.note"), {"folder-music", QStyle::SP_MediaVolume}},
        {QStringLiteral("photo"), {"folder-pictures", QStyle::SP_FileIcon}},
        {QStringLiteral("server.rack"), {"network-server", QStyle::SP_DriveNetIcon}},
        {QStringLiteral("externaldrive"), {"drive-harddisk", QStyle::SP_DriveHDIcon}},
        {QStringLiteral("star"), {"starred", QStyle::SP_DialogYesButton}},
    };
    const auto entry = themed.value(name, {"folder", QStyle::SP_DirIcon});
    return QIcon::fromTheme(QLatin1String(entry.first), QApplication::style()->standardIcon(entry.second));
}

SetsView::SetsView(const UiContext &context, QWidget *parent)
    : QWidget(parent)
    , m_context(context)
    , m_sets(*context.shareSets)
    , m_list(new QListWidget)
    , m_pages(new QStackedWidget)
    , m_title(new QLabel)
    , m_status(new QLabel)
    , m_icon(new QComboBox)
    , m_members(new QListWidget)
    , m_sharePicker(new QComboBox)
    , m_addMember(new QPushButton(tr("Add")))
    , m_removeMember(new QPushButton(tr("Remove")))
    , m_up(new QPushButton(tr("Move Up")))
    , m_down(new QPushButton(tr("Move Down")))
    , m_rename(new QPushButton(tr("Rename…")))
    , m_delete(new QPushButton(tr("Delete")))
    , m_mount(new QPushButton(tr("Mount Set")))
    , m_eject(new QPushButton(tr("Eject Set")))
    , m_export(new QPushButton(tr("Export Set…")))
    , m_import(new QPushButton(tr("Import Set…")))
    , m_message(new QLabel)
{
    setObjectName(QStringLiteral("SetsView"));
    auto *layout = new QVBoxLayout(this);
    auto *splitter = new QSplitter(Qt::Horizontal);

    // Left: the sets.
    auto *left = new QWidget;
    auto *leftLayout = new QVBoxLayout(left);
    leftLayout->setContentsMargins(0, 0, 0, 0);
    m_list->setObjectName(QStringLiteral("setList"));
    m_list->setSelectionMode(QAbstractItemView::SingleSelection);
    m_list->setIconSize(QSize(24, 24));
    leftLayout->addWidget(m_list);
    auto *listButtons = new QHBoxLayout;
    auto *create = new QPushButton(tr("New Set…"));
    create->setObjectName(QStringLiteral("newSet"));
    m_rename->setObjectName(QStringLiteral("renameSet"));
    m_delete->setObjectName(QStringLiteral("deleteSet"));
    m_import->setObjectName(QStringLiteral("importSet"));
    for (QPushButton *b : {create, m_rename, m_delete})
        listButtons->addWidget(b);
    listButtons->addStretch();
    listButtons->addWidget(m_import);
    leftLayout->addLayout(listButtons);
    splitter->addWidget(left);

    // Right: the empty state or the selected set.
    auto *empty = new QLabel(tr("A share set mounts and ejects several shares as one.\nCreate a set, then add "
                                "its shares."));
    empty->setObjectName(QStringLiteral("noSetText"));
    empty->setAlignment(Qt::AlignCenter);
    empty->setWordWrap(true);
    empty->setForegroundRole(QPalette::PlaceholderText);
    m_pages->addWidget(empty);

    auto *detail = new QWidget;
    auto *detailLayout = new QVBoxLayout(detail);
    auto *header = new QHBoxLayout;
    auto *titles = new QVBoxLayout;
    m_title->setObjectName(QStringLiteral("setTitle"));
    QFont big = m_title->font();
    big.setPointSizeF(big.pointSizeF() * 1.4);
    big.setBold(true);
    m_title->setFont(big);
    titles->addWidget(m_title);
    m_status->setObjectName(QStringLiteral("setStatus"));
    titles->addWidget(m_status);
    header->addLayout(titles, 1);
    m_icon->setObjectName(QStringLiteral("iconPicker"));
    for (const QString &name : iconNames())
        m_icon->addItem(iconFor(name), name, name);
    header->addWidget(new QLabel(tr("Icon:")));
    header->addWidget(m_icon);
    detailLayout->addLayout(header);

    auto *actions = new QHBoxLayout;
    m_mount->setObjectName(QStringLiteral("mountSet"));
    m_eject->setObjectName(QStringLiteral("ejectSet"));
    m_export->setObjectName(QStringLiteral("exportSet"));
    actions->addWidget(m_mount);
    actions->addWidget(m_eject);
    actions->addStretch();
    actions->addWidget(m_export);
    detailLayout->addLayout(actions);

    auto *members = new QGroupBox(tr("Shares in this set"));
    auto *membersLayout = new QVBoxLayout(members);
    m_members->setObjectName(QStringLiteral("memberList"));
    m_members->setSelectionMode(QAbstractItemView::SingleSelection);
    membersLayout->addWidget(m_members);
    auto *memberButtons = new QHBoxLayout;
    m_removeMember->setObjectName(QStringLiteral("removeMember"));
    m_up->setObjectName(QStringLiteral("moveUp"));
    m_down->setObjectName(QStringLiteral("moveDown"));
    memberButtons->addWidget(m_removeMember);
    memberButtons->addWidget(m_up);
    memberButtons->addWidget(m_down);
    memberButtons->addStretch();
    m_sharePicker->setObjectName(QStringLiteral("sharePicker"));
    m_sharePicker->setPlaceholderText(tr("Choose a share…"));
    m_sharePicker->setMinimumContentsLength(18);
    m_addMember->setObjectName(QStringLiteral("addMember"));
    memberButtons->addWidget(m_sharePicker);
    memberButtons->addWidget(m_addMember);
    membersLayout->addLayout(memberButtons);
    detailLayout->addWidget(members, 1);
    m_pages->addWidget(detail);
    splitter->addWidget(m_pages);
    splitter->setStretchFactor(0, 2);
    splitter->setStretchFactor(1, 3);
    splitter->setSizes({300, 500});
    layout->addWidget(splitter, 1);
    m_message->setObjectName(QStringLiteral("setMessage"));
    m_message->setWordWrap(true);
    layout->addWidget(m_message);

    connect(create, &QPushButton::clicked, this, &SetsView::promptNewSet);
    connect(m_rename, &QPushButton::clicked, this, &SetsView::promptRename);
    connect(m_delete, &QPushButton::clicked, this, &SetsView::deleteSelected);
    connect(m_mount, &QPushButton::clicked, this, &SetsView::mountSelected);
    connect(m_eject, &QPushButton::clicked, this, &SetsView::ejectSelected);
    connect(m_export, &QPushButton::clicked, this, &SetsView::exportSelected);
    connect(m_import, &QPushButton::clicked, this, &SetsView::importSetFile);
    connect(m_addMember, &QPushButton::clicked, this, [this] {
        if (m_sharePicker->currentIndex() >= 0)
            addMember(m_sharePicker->currentData().toLongLong());
    });
    connect(m_removeMember, &QPushButton::clicked, this, [this] { removeMember(m_members->currentRow()); });
    connect(m_up, &QPushButton::clicked, this, [this] { moveMember(m_members->currentRow(), -1); });
    connect(m_down, &QPushButton::clicked, this, [this] { moveMember(m_members->currentRow(), 1); });
    connect(m_icon, &QComboBox::activated, this, [this](int index) { setIcon(m_icon->itemData(index).toString()); });
    connect(m_list, &QListWidget::itemSelectionChanged, this, &SetsView::showSelection);
    connect(m_members, &QListWidget::currentRowChanged, this, &SetsView::updateMemberButtons);

    m_rebuild.setSingleShot(true);
    m_rebuild.setInterval(0);
    connect(&m_rebuild, &QTimer::timeout, this, &SetsView::rebuild);
    connect(&m_sets, &ShareSetManager::setsChanged, this, &SetsView::scheduleRebuild);
    connect(context.engine, &MountEngine::recordChanged, this, &SetsView::scheduleRebuild);
    connect(context.engine, &MountEngine::recordsChanged, this, &SetsView::scheduleRebuild);
    connect(&m_sets, &ShareSetManager::operationFinished, this,
            [this](const QUuid &id, ShareSetManager::Operation operation, int started, int succeeded, int skipped) {
                const ShareSet *set = m_sets.find(id);
                const QString name = set ? set->name : QString();
                const bool mount = operation == ShareSetManager::Operation::Mount;
                if (started == 0)
                    setMessage(mount ? tr("%1: nothing to mount (%2 already mounted or busy).").arg(name).arg(skipped)
                                     : tr("%1: nothing to eject (%2 not mounted or busy).").arg(name).arg(skipped));
                else
                    setMessage((mount ? tr("%1: %2 of %3 shares mounted.") : tr("%1: %2 of %3 shares ejected."))
                                   .arg(name)
                                   .arg(succeeded)
                                   .arg(started));
                scheduleRebuild();
            });
    rebuild();
}

const ShareSet *SetsView::selected() const
{
    return m_sets.find(selectedId());
}

QUuid SetsView::selectedId() const
{
    const QList<QListWidgetItem *> items = m_list->selectedItems();
    return items.isEmpty() ? QUuid() : items.first()->data(kIdRole).toUuid();
}

void SetsView::selectSet(const QUuid &id)
{
    for (int i = 0; i < m_list->count(); ++i) {
        if (m_list->item(i)->data(kIdRole).toUuid() == id) {
            m_list->setCurrentRow(i);
            return;
        }
    }
}

QString SetsView::statusText() const
{
    return m_status->text();
}

QString SetsView::message() const
{
    return m_message->text();
}

void SetsView::setMessage(const QString &text)
{
    m_message->setText(text);
}

void SetsView::scheduleRebuild()
{
    if (!m_rebuild.isActive())
        m_rebuild.start();
}

void SetsView::rebuild()
{
    m_rebuild.stop();
    const QUuid id = selectedId();
    m_filling = true;
    m_list->clear();
    for (const ShareSet &set : m_sets.sets()) {
        auto *item = new QListWidgetItem(iconFor(set.icon), set.name + QLatin1Char('\n') + m_sets.statusText(set));
        item->setData(kIdRole, set.id);
        if (set.isLocked)
            item->setToolTip(tr("Managed by %1").arg(set.managedBy));
        m_list->addItem(item);
    }
    m_filling = false;
    if (!id.isNull())
        selectSet(id);
    if (m_list->selectedItems().isEmpty() && m_list->count() > 0)
        m_list->setCurrentRow(0);
    showSelection();
}

void SetsView::showSelection()
{
    if (m_filling)
        return;
    const ShareSet *set = selected();
    const bool editable = set && !set->isLocked;
    ConfigurationManager *configuration = m_context.configuration;
    const bool exportAllowed = configuration && configuration->exportAllowed();
    const bool importAllowed = configuration && configuration->importAllowed();
    m_import->setEnabled(importAllowed);
    m_import->setToolTip(importAllowed ? tr("Select a set file (.twconfig)")
                                       : Configuration::Error{Configuration::ErrorKind::ImportDisabledByIT, {}}.text());
    m_rename->setEnabled(editable);
    m_delete->setEnabled(editable);
    if (!set) {
        m_pages->setCurrentIndex(0);
        return;
    }
    m_pages->setCurrentIndex(1);
    m_title->setText(set->name);
    m_status->setText(m_sets.statusText(*set));
    m_icon->setCurrentIndex(std::max(0, int(m_icon->findData(set->icon))));
    m_icon->setEnabled(editable);
    const bool busy = m_sets.isBusy(set->id);
    const QList<const VolumeRecord *> resolved = m_sets.resolve(*set);
    m_mount->setEnabled(!busy && !resolved.isEmpty());
    m_eject->setEnabled(!busy && !resolved.isEmpty());
    m_export->setEnabled(exportAllowed);
    m_export->setToolTip(exportAllowed ? tr("Save this set for sharing (passwords not included)")
                                       : Configuration::Error{Configuration::ErrorKind::ExportDisabledByIT, {}}.text());

    // Members in set order; an ID whose share is gone is shown as such until the set is edited.
    const int row = m_members->currentRow();
    const bool paused = m_context.scheduler && m_context.scheduler->isAutoMountPaused();
    {
        const QSignalBlocker block(m_members);
        m_members->clear();
        for (qint64 shareId : set->shareIDs) {
            const VolumeRecord *record = m_context.engine->record(shareId);
            if (!record) {
                m_members->addItem(tr("(missing share %1)").arg(shareId));
                continue;
            }
            const ShareStatusLabel::Label label = ShareStatusLabel::derive(
                {record->runtime_isMounted_Bool, paused, record->runtime_status_String, record->hostname_String});
            m_members->addItem(record->displayName() + QStringLiteral(" — ") + label.text);
        }
        m_members->setCurrentRow(std::min(row, int(m_members->count()) - 1));
    }
    updateMemberButtons();

    const qint64 picked = m_sharePicker->currentIndex() >= 0 ? m_sharePicker->currentData().toLongLong() : 0;
    m_sharePicker->clear();
    for (const VolumeRecord &record : m_context.engine->store().records()) {
        if (!set->shareIDs.contains(record.internal_ID_Int))
            m_sharePicker->addItem(record.displayName(), record.internal_ID_Int);
    }
    m_sharePicker->setCurrentIndex(m_sharePicker->findData(picked));
    m_sharePicker->setEnabled(editable && m_sharePicker->count() > 0);
    m_addMember->setEnabled(editable && m_sharePicker->count() > 0);
}

void SetsView::updateMemberButtons()
{
    const ShareSet *set = selected();
    const bool editable = set && !set->isLocked;
    const int current = m_members->currentRow();
    m_removeMember->setEnabled(editable && current >= 0);
    m_up->setEnabled(editable && current > 0);
    m_down->setEnabled(editable && current >= 0 && current + 1 < m_members->count());
}

QUuid SetsView::createSet(const QString &name)
{
    const QString trimmed = name.trimmed();
    if (trimmed.isEmpty())
        return {};
    ShareSet set;
    set.name = trimmed;
    if (!m_sets.addSet(set))
        setMessage(tr("The set could not be saved."));
    rebuild();
    selectSet(set.id);
    return set.id;
}

void SetsView::promptNewSet()
{
    auto *dialog = new QInputDialog(this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowTitle(tr("New Set"));
    dialog->setLabelText(tr("Set name:"));
    connect(dialog, &QInputDialog::textValueSelected, this, [this](const QString &name) { createSet(name); });
    dialog->open();
}

void SetsView::promptRename()
{
    const ShareSet *set = selected();
    if (!set || set->isLocked)
        return;
    auto *dialog = new QInputDialog(this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowTitle(tr("Rename Set"));
    dialog->setLabelText(tr("Set name:"));
    dialog->setTextValue(set->name);
    connect(dialog, &QInputDialog::textValueSelected, this, [this](const QString &name) { renameSelected(name); });
    dialog->open();
}

void SetsView::renameSelected(const QString &name)
{
    const ShareSet *set = selected();
    if (!set || set->isLocked || name.trimmed().isEmpty())
        return;
    ShareSet changed = *set;
    changed.name = name.trimmed();
    m_sets.updateSet(changed);
    rebuild();
}

void SetsView::deleteSelected()
{
    const ShareSet *set = selected();
    if (!set || set->isLocked)
        return;
    const QUuid id = set->id;
    const QPointer<SetsView> self(this);
    Prompter::instance().confirm(this, tr("Delete Set?"),
                                 tr("\"%1\" will be removed. Its shares stay configured.").arg(set->name), tr("Delete"),
                                 [self, id](bool yes) {
                                     if (!yes || !self)
                                         return;
                                     self->m_sets.deleteSet(id);
                                     self->rebuild();
                                 });
}

void SetsView::setIcon(const QString &name)
{
    const ShareSet *set = selected();
    if (!set || set->isLocked || set->icon == name)
        return;
    ShareSet changed = *set;
    changed.icon = name;
    m_sets.updateSet(changed);
    rebuild();
}

void SetsView::addMember(qint64 shareId)
{
    const ShareSet *set = selected();
    if (!set || set->isLocked || !m_context.engine->record(shareId))
        return;
    ShareSet changed = *set;
    changed.shareIDs.append(shareId);
    m_sets.updateSet(changed);
    rebuild();
    m_members->setCurrentRow(int(changed.shareIDs.size()) - 1);
}

void SetsView::removeMember(int row)
{
    const ShareSet *set = selected();
    if (!set || set->isLocked || row < 0 || row >= set->shareIDs.size())
        return;
    ShareSet changed = *set;
    changed.shareIDs.removeAt(row);
    m_sets.updateSet(changed);
    rebuild();
}

void SetsView::moveMember(int row, int delta)
{
    const ShareSet *set = selected();
    const int to = row + delta;
    if (!set || set->isLocked || row < 0 || row >= set->shareIDs.size() || to < 0 || to >= set->shareIDs.size())
        return;
    ShareSet changed = *set;
    changed.shareIDs.move(row, to);
    m_sets.updateSet(changed);
    rebuild();
    m_members->setCurrentRow(to);
}

void SetsView::mountSelected()
{
    if (const ShareSet *set = selected()) {
        setMessage(tr("Mounting %1…").arg(set->name));
        m_sets.mountSet(set->id);
        showSelection();
    }
}

void SetsView::ejectSelected()
{
    if (const ShareSet *set = selected()) {
        setMessage(tr("Ejecting %1…").arg(set->name));
        m_sets.ejectSet(set->id);
        showSelection();
    }
}

void SetsView::exportSelected()
{
    const ShareSet *set = selected();
    ConfigurationManager *configuration = m_context.configuration;
    if (!set || !configuration)
        return;
    // The refusals (policy, no shares left) come before the panel.
    const auto encoded = configuration->exportSet(set->id);
    if (!encoded.ok()) {
        Prompter::instance().inform(this, tr("Export Failed"), encoded.error.text());
        return;
    }
    const QUuid id = set->id;
    const QPointer<SetsView> self(this);
    FileRequest request;
    request.title = tr("Export Set");
    request.message = tr("Save this set for sharing (passwords not included)");
    request.save = true;
    request.proposedName = set->name + QStringLiteral("-Set.") + kSetFileSuffix;
    fileChooser()(this, request, [self, id](const QString &path) {
        if (!self || path.isEmpty() || !self->m_context.configuration)
            return;
        const auto written = self->m_context.configuration->exportSetFile(id, path);
        if (written.ok())
            self->setMessage(tr("Set exported to %1.").arg(path));
        else
            Prompter::instance().inform(self, tr("Export Failed"), written.error.text());
    });
}

void SetsView::importSetFile()
{
    ConfigurationManager *configuration = m_context.configuration;
    if (!configuration)
        return;
    if (!configuration->importAllowed()) {
        Prompter::instance().inform(this, tr("Import Failed"),
                                    Configuration::Error{Configuration::ErrorKind::ImportDisabledByIT, {}}.text());
        return;
    }
    const QPointer<SetsView> self(this);
    FileRequest request;
    request.title = tr("Import Set");
    request.message = tr("Select a set file (.twconfig)");
    fileChooser()(this, request, [self](const QString &path) {
        if (!self || path.isEmpty() || !self->m_context.configuration)
            return;
        const auto result =
            self->m_context.configuration->importConfigurationFile(path, Configuration::ImportMode::Merge);
        if (!result.ok()) {
            Prompter::instance().inform(self, tr("Import Failed"), result.error.text());
            return;
        }
        Prompter::instance().inform(self, tr("Import Complete"), Configuration::summaryText(result.value));
        self->rebuild();
    });
}
