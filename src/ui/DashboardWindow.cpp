#include "DashboardWindow.h"

#include "ActionSounds.h"
#include "AuditView.h"
#include "DirectoryView.h"
#include "DiscoveryView.h"
#include "ExchangeView.h"
#include "LogManagerWidget.h"
#include "RulesView.h"
#include "SetsView.h"
#include "ShareEditorDialog.h"
#include "ShareTableModel.h"

#include "base/Console.h"
#include "base/Defaults.h"
#include "control/ControlService.h"
#include "core/AutoMountScheduler.h"
#include "core/MountEngine.h"
#include "core/VolumeRecord.h"
#include "engine/EngineHost.h"

#include <QAction>
#include <QCloseEvent>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QLabel>
#include <QPointer>
#include <QStatusBar>
#include <QTabWidget>
#include <QTableView>
#include <QToolBar>
#include <QVBoxLayout>

DashboardWindow::DashboardWindow(const UiContext &context, QWidget *parent)
    : QMainWindow(parent)
    , m_context(context)
    , m_model(new ShareTableModel(*context.engine, context.scheduler, this))
    , m_table(new QTableView)
    , m_tabs(new QTabWidget)
    , m_logView(new LogManagerWidget(*context.eventLog, context.center))
    , m_message(new QLabel)
{
    setObjectName(QStringLiteral("DashboardWindow"));
    setWindowTitle(tr("Tarnwell"));

    // --- Shares tab ---
    auto *shares = new QWidget;
    auto *layout = new QVBoxLayout(shares);
    auto *toolbar = new QToolBar;
    toolbar->setObjectName(QStringLiteral("shareToolbar"));
    toolbar->setToolButtonStyle(Qt::ToolButtonTextOnly);
    const auto action = [this, toolbar](const QString &text, const QString &name, void (DashboardWindow::*slot)()) {
        QAction *a = toolbar->addAction(text, this, slot);
        a->setObjectName(name);
        return a;
    };
    m_mount = action(tr("Mount"), QStringLiteral("mountAction"), &DashboardWindow::mountSelected);
    m_eject = action(tr("Eject"), QStringLiteral("ejectAction"), &DashboardWindow::ejectSelected);
    m_cleanUp = action(tr("Clean Up"), QStringLiteral("cleanUpAction"), &DashboardWindow::cleanUpSelected);
    m_verify = action(tr("Verify"), QStringLiteral("verifyAction"), &DashboardWindow::verifySelected);
    toolbar->addSeparator();
    m_add = action(tr("Add"), QStringLiteral("addAction"), &DashboardWindow::addShare);
    m_edit = action(tr("Edit"), QStringLiteral("editAction"), &DashboardWindow::editSelected);
    m_duplicate = action(tr("Duplicate"), QStringLiteral("duplicateAction"), &DashboardWindow::duplicateSelected);
    m_delete = action(tr("Delete"), QStringLiteral("deleteAction"), &DashboardWindow::deleteSelected);
    toolbar->addSeparator();
    m_pause = action(tr("Pause Auto-Mount"), QStringLiteral("pauseAction"), &DashboardWindow::togglePause);
    m_pause->setEnabled(context.scheduler != nullptr);
    layout->addWidget(toolbar);

    m_table->setObjectName(QStringLiteral("shareTable"));
    m_table->setModel(m_model);
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setSelectionMode(QAbstractItemView::SingleSelection);
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->verticalHeader()->hide();
    m_table->verticalHeader()->setDefaultSectionSize(m_table->fontMetrics().height() + 10);
    m_table->horizontalHeader()->setSectionResizeMode(ShareTableModel::StatusColumn, QHeaderView::Stretch);
    m_table->setColumnWidth(ShareTableModel::NameColumn, 180);
    m_table->setColumnWidth(ShareTableModel::UrlColumn, 260);
    m_table->setColumnWidth(ShareTableModel::LabelColumn, 200);
    m_table->setColumnWidth(ShareTableModel::GroupColumn, 90);
    m_table->setShowGrid(false);
    m_table->setAlternatingRowColors(true);
    connect(m_table, &QTableView::doubleClicked, this, [this] { editSelected(); });
    connect(m_table->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] {
        updateActions();
        explainSelection();
    });
    connect(m_model, &QAbstractItemModel::dataChanged, this, [this](const QModelIndex &from, const QModelIndex &to) {
        const int row = m_model->rowOf(selectedId());
        if (row >= from.row() && row <= to.row()) {
            updateActions();
            explainSelection();
        }
    });
    connect(m_model, &QAbstractItemModel::modelReset, this, &DashboardWindow::updateActions);
    layout->addWidget(m_table);

    m_tabs->setObjectName(QStringLiteral("dashboardTabs"));
    m_tabs->addTab(shares, tr("Shares"));
    m_tabs->addTab(m_logView, tr("Logs"));
    if (context.rules)
        addView(new RulesView(*context.rules, *context.engine), tr("Rules"));
    if (context.shareSets)
        addView(new SetsView(context), tr("Sets"));
    if (EngineHost *host = context.host) {
        addView(new ExchangeView(host->configuration(), &host->legacyImporter()), tr("Import && Export"));
        addView(new DiscoveryView(host->discovery(), host->engine()), tr("Discovery"));
        addView(new DirectoryView(host->directoryMappings()), tr("Directory"));
        addView(new AuditView(host->auditLog()), tr("Audit"));
    }
    setCentralWidget(m_tabs);

    m_message->setObjectName(QStringLiteral("statusMessage"));
    m_message->setTextInteractionFlags(Qt::TextSelectableByMouse);
    statusBar()->addWidget(m_message, 1);

    // Engine outcomes reach the message bar.
    MountEngine *engine = context.engine;
    const auto nameOf = [engine](qint64 id) {
        const VolumeRecord *r = engine->record(id);
        return r ? r->displayName() : QString();
    };
    connect(engine, &MountEngine::mountFinished, this, [this, engine, nameOf](qint64 id, int) {
        const VolumeRecord *r = engine->record(id);
        if (!r)
            return;
        setStatusMessage(r->runtime_isMounted_Bool ? tr("%1 is mounted.").arg(nameOf(id))
                                                   : tr("%1: %2").arg(nameOf(id), r->runtime_status_String));
    });
    connect(engine, &MountEngine::ejectFinished, this, [this, nameOf](qint64 id, bool ok) {
        setStatusMessage(ok ? tr("%1 was ejected.").arg(nameOf(id)) : tr("%1 could not be ejected.").arg(nameOf(id)));
    });
    connect(engine, &MountEngine::cleanUpFinished, this,
            [this, nameOf](qint64 id) { setStatusMessage(tr("Clean Up finished for %1.").arg(nameOf(id))); });
    if (context.scheduler) {
        connect(context.scheduler, &AutoMountScheduler::pausedChanged, this, [this](bool paused) {
            setStatusMessage(paused ? tr("Auto-mount paused.") : tr("Auto-mount resumed."));
            updateActions();
        });
    }

    updateActions();
    setStatusMessage(tr("%n share(s) configured.", nullptr, int(engine->store().size())));
    resize(1020, 560);
}

int DashboardWindow::addView(QWidget *view, const QString &title)
{
    return m_tabs->addTab(view, title);
}

void DashboardWindow::showTab(int index)
{
    if (index >= 0 && index < m_tabs->count())
        m_tabs->setCurrentIndex(index);
}

QString DashboardWindow::statusMessage() const
{
    return m_message->text();
}

void DashboardWindow::setStatusMessage(const QString &text)
{
    m_message->setText(text);
}

qint64 DashboardWindow::selectedId() const
{
    const QModelIndexList rows = m_table->selectionModel()->selectedRows();
    return rows.isEmpty() ? 0 : m_model->idAt(rows.first().row());
}

void DashboardWindow::selectShare(qint64 id)
{
    const int row = m_model->rowOf(id);
    if (row >= 0)
        m_table->selectRow(row);
}

void DashboardWindow::updateActions()
{
    const VolumeRecord *r = m_context.engine->record(selectedId());
    const bool busy = r && m_context.engine->isMountInProgress(r->internal_ID_Int);
    m_mount->setEnabled(r && !r->runtime_isMounted_Bool && !busy);
    m_eject->setEnabled(r && (r->runtime_isMounted_Bool || busy));
    m_cleanUp->setEnabled(r && !r->runtime_isMounted_Bool && !busy);
    m_verify->setEnabled(r && r->runtime_isMounted_Bool);
    m_edit->setEnabled(r != nullptr);
    m_edit->setText(r && r->isLocked ? tr("View") : tr("Edit"));
    m_duplicate->setEnabled(r != nullptr);
    m_delete->setEnabled(r != nullptr);
    if (m_context.scheduler)
        m_pause->setText(m_context.scheduler->isAutoMountPaused() ? tr("Resume Auto-Mount") : tr("Pause Auto-Mount"));
}

QString DashboardWindow::explanation(qint64 id) const
{
    const VolumeRecord *r = m_context.engine->record(id);
    if (!r)
        return {};
    using ShareStatusLabel::Kind;
    switch (m_model->labelOf(*r).kind) {
    case Kind::Mounted:
        return tr("Mounted at %1.").arg(r->runtime_computed_mountpoint_String);
    case Kind::MountedPaused:
        return tr("Mounted; auto-mount is paused and will not reconnect it after a drop.");
    case Kind::Paused:
        return tr("Auto-mount is paused: this share is not mounted automatically until you resume.");
    case Kind::CleanedUp:
        return tr("Empty folders left by lost connections were removed.");
    case Kind::Ready:
        return tr("Not mounted. Select Mount to connect.");
    case Kind::Ejected:
        return tr("Ejected. Auto-mount shares are mounted again at the next check.");
    case Kind::Connecting:
    case Kind::Mounting:
        return tr("Connecting to %1…").arg(r->hostname_String);
    case Kind::HostUnreachable:
        return tr("The server does not answer. Check that it is on and reachable from this network.");
    case Kind::ShareNotFound:
        return tr("The server has no share of that name. Check the share name (it is case-sensitive).");
    case Kind::AccessDenied:
        return tr("The server refused access. Check the account's rights on this share.");
    case Kind::AuthFailed:
        return tr("User name or password incorrect. Edit the share to correct them.");
    case Kind::TimedOut:
        return tr("The server took too long to answer. Try again, or raise the mount timeout in Preferences.");
    case Kind::ConnectFailed:
        return tr("No connection to the server could be made.");
    case Kind::HostUnresolved:
        return tr("The server's name could not be resolved. Check the name, or use its address.");
    case Kind::CertificateUntrusted:
        return tr("The server's certificate is not one this share trusts. Edit the share and choose Trust "
                  "Certificate… to compare its fingerprint with the server's and trust it (or run: tarnwellctl "
                  "trust SHARE).");
    case Kind::Error:
        return tr("The last attempt failed; see the Logs tab for details.");
    case Kind::Resolved:
    case Kind::LocalOk:
    case Kind::Authenticating:
    case Kind::Other:
        break;
    }
    return r->runtime_status_String;
}

void DashboardWindow::explainSelection()
{
    const qint64 id = selectedId();
    if (id)
        setStatusMessage(explanation(id));
}

void DashboardWindow::mountSelected()
{
    const qint64 id = selectedId();
    if (!id)
        return;
    ActionSounds::play(*m_context.defaults, ActionSounds::Action::Mount);
    m_context.engine->mount(id, true);
    updateActions();
}

void DashboardWindow::ejectSelected()
{
    const qint64 id = selectedId();
    if (!id)
        return;
    ActionSounds::play(*m_context.defaults, ActionSounds::Action::Eject);
    if (m_context.engine->isMountInProgress(id))
        m_context.engine->cancelMount(id);
    else
        m_context.engine->eject(id, false, true);
}

void DashboardWindow::cleanUpSelected()
{
    const qint64 id = selectedId();
    if (!id)
        return;
    ActionSounds::play(*m_context.defaults, ActionSounds::Action::CleanUp);
    m_context.engine->cleanUp(id);
}

void DashboardWindow::verifySelected()
{
    const qint64 id = selectedId();
    if (!id)
        return;
    // A bounded check on a worker; the answer comes back here.
    const QPointer<DashboardWindow> self(this);
    m_context.engine->verify(id, [self, id](bool) {
        if (!self)
            return;
        if (const VolumeRecord *r = self->m_context.engine->record(id))
            self->setStatusMessage(r->runtime_status_String); // says connected or why not
    });
}

void DashboardWindow::addShare()
{
    auto *editor = new ShareEditorDialog(m_context, std::nullopt, this);
    editor->setAttribute(Qt::WA_DeleteOnClose);
    connect(editor, &QDialog::accepted, this, [this, editor] {
        selectShare(editor->savedId());
        setStatusMessage(tr("Share added."));
    });
    editor->open();
}

void DashboardWindow::editSelected()
{
    const VolumeRecord *r = m_context.engine->record(selectedId());
    if (!r)
        return;
    auto *editor = new ShareEditorDialog(m_context, *r, this);
    editor->setAttribute(Qt::WA_DeleteOnClose);
    editor->open();
}

void DashboardWindow::duplicateSelected()
{
    const VolumeRecord *r = m_context.engine->record(selectedId());
    if (!r)
        return;
    VolumeRecord copy = r->duplicate(0, m_context.center);
    // A copy of a managed share belongs to the user.
    copy.isLocked = false;
    copy.managedBy.clear();
    const qint64 id = m_context.engine->addRecord(copy);
    selectShare(id);
    setStatusMessage(tr("Share duplicated."));
}

void DashboardWindow::deleteSelected()
{
    const VolumeRecord *r = m_context.engine->record(selectedId());
    if (!r)
        return;
    const qint64 id = r->internal_ID_Int;
    if (r->isLocked) {
        // The engine refuses and carries the texts.
        const MountEngine::RemoveResult result = m_context.engine->removeRecord(id);
        Prompter::instance().inform(this, result.alertTitle, result.alertText);
        return;
    }
    const QPointer<DashboardWindow> self(this);
    Prompter::instance().confirm(this, tr("Delete Share?"),
                                 tr("\"%1\" will be removed from Tarnwell. This action cannot be undone.")
                                     .arg(r->displayName()),
                                 tr("Delete"), [self, id](bool yes) {
                                     if (!yes || !self)
                                         return;
                                     const MountEngine::RemoveResult result = self->m_context.engine->removeRecord(id);
                                     if (!result.removed)
                                         Prompter::instance().inform(self, result.alertTitle, result.alertText);
                                     else
                                         self->setStatusMessage(tr("Share deleted."));
                                 });
}

void DashboardWindow::togglePause()
{
    AutoMountScheduler *scheduler = m_context.scheduler;
    if (!scheduler)
        return;
    ActionSounds::play(*m_context.defaults, ActionSounds::Action::Pause);
    if (scheduler->isAutoMountPaused())
        scheduler->resumeAutoMount();
    else if (!scheduler->pauseAutoMount())
        setStatusMessage(tr("Auto-mount can be paused only while at least one share is mounted"));
    updateActions();
}

void DashboardWindow::closeEvent(QCloseEvent *event)
{
    if (m_closeHides) {
        event->ignore();
        hide();
        Q_EMIT hidden();
        return;
    }
    // Without a tray item to bring it back, the window stays in the taskbar.
    event->ignore();
    showMinimized();
}
