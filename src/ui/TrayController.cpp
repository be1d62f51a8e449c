#include "TrayController.h"

#include "ActionSounds.h"
#include "ShareStatusLabel.h"

#include "base/Defaults.h"
#include "core/AutoMountScheduler.h"
#include "core/MountEngine.h"

#include <QCursor>
#include <QMenu>
#include <QSystemTrayIcon>

TrayController::TrayController(const UiContext &context, QObject *parent)
    : QObject(parent)
    , m_context(context)
    , m_icon(new QSystemTrayIcon(this))
    , m_menu(new QMenu)
{
    m_menu->setObjectName(QStringLiteral("trayMenu"));
    m_icon->setContextMenu(m_menu);
    m_icon->setToolTip(tr("Tarnwell"));
    connect(m_icon, &QSystemTrayIcon::activated, this, &TrayController::onActivated);
    m_rebuild.setSingleShot(true);
    m_rebuild.setInterval(0);
    connect(&m_rebuild, &QTimer::timeout, this, &TrayController::rebuild);
    m_iconTimer.setSingleShot(true);
    m_iconTimer.setInterval(200);
    connect(&m_iconTimer, &QTimer::timeout, this, &TrayController::updateIcon);
    connect(context.engine, &MountEngine::recordChanged, this, &TrayController::updateShare);
    connect(context.engine, &MountEngine::recordsChanged, this, &TrayController::onRecordsChanged);
    if (context.scheduler)
        connect(context.scheduler, &AutoMountScheduler::pausedChanged, this, &TrayController::scheduleRebuild);
    rebuild();
}

TrayController::~TrayController()
{
    delete m_menu;
}

void TrayController::onActivated(QSystemTrayIcon::ActivationReason reason)
{
    if (reason != QSystemTrayIcon::Trigger && reason != QSystemTrayIcon::DoubleClick)
        return; // Context: the item shows its menu by itself
    Q_EMIT dashboardRequested();
    if (reason != QSystemTrayIcon::Trigger)
        return;
    // Then the menu, at the click: on the next turn, once the dashboard's activation has been handled (an
    // activation arriving after the popup would close it again).
    const QPoint at = QCursor::pos();
    QMetaObject::invokeMethod(
        this, [this, at] { m_menu->popup(at); }, Qt::QueuedConnection);
}

void TrayController::setVisible(bool visible)
{
    m_visible = visible;
    m_icon->setVisible(visible);
}

void TrayController::scheduleRebuild()
{
    if (!m_rebuild.isActive())
        m_rebuild.start();
}

void TrayController::updateShare(qint64 id)
{
    const auto it = m_shares.constFind(id);
    const VolumeRecord *record = m_context.engine->record(id);
    if (it == m_shares.constEnd() || !record) {
        scheduleRebuild();
        return;
    }
    const bool paused = m_context.scheduler && m_context.scheduler->isAutoMountPaused();
    const ShareStatusLabel::Label label = ShareStatusLabel::derive(
        {record->runtime_isMounted_Bool, paused, record->runtime_status_String, record->hostname_String});
    const bool busy = m_context.engine->isMountInProgress(id);
    it->menu->setTitle(QStringLiteral("%1 — %2").arg(record->displayName(), label.text));
    it->mount->setEnabled(!record->runtime_isMounted_Bool && !busy);
    it->eject->setEnabled(record->runtime_isMounted_Bool || busy);
    it->cleanUp->setEnabled(!record->runtime_isMounted_Bool && !busy);
    if (!m_iconTimer.isActive())
        m_iconTimer.start();
}

void TrayController::onRecordsChanged()
{
    // An edit that keeps the list of shares updates the entries in place; anything else rebuilds.
    const QList<VolumeRecord> &records = m_context.engine->store().records();
    bool same = records.size() == m_order.size();
    for (qsizetype i = 0; same && i < records.size(); ++i)
        same = records.at(i).internal_ID_Int == m_order.at(i);
    if (!same) {
        scheduleRebuild();
        return;
    }
    for (const qint64 id : std::as_const(m_order))
        updateShare(id);
}

void TrayController::rebuild()
{
    MountEngine *engine = m_context.engine;
    const bool paused = m_context.scheduler && m_context.scheduler->isAutoMountPaused();

    // Submenus are not owned by the menu's actions: clear() alone would keep them.
    m_menu->clear();
    for (const ShareEntry &entry : std::as_const(m_shares))
        delete entry.menu;
    m_shares.clear();
    m_order.clear();
    bool anyMounted = false;
    for (const VolumeRecord &record : engine->store().records()) {
        const qint64 id = record.internal_ID_Int;
        anyMounted = anyMounted || record.runtime_isMounted_Bool;
        auto *share = new QMenu(m_menu);
        share->setObjectName(QStringLiteral("share_%1").arg(id));
        m_menu->addMenu(share);
        ShareEntry entry;
        entry.menu = share;
        entry.mount = share->addAction(tr("Mount"), this, [this, id] {
            ActionSounds::play(*m_context.defaults, ActionSounds::Action::Mount);
            m_context.engine->mount(id, true);
        });
        entry.eject = share->addAction(tr("Eject"), this, [this, id] {
            ActionSounds::play(*m_context.defaults, ActionSounds::Action::Eject);
            if (m_context.engine->isMountInProgress(id))
                m_context.engine->cancelMount(id);
            else
                m_context.engine->eject(id, false, true);
        });
        entry.cleanUp = share->addAction(tr("Clean Up"), this, [this, id] {
            ActionSounds::play(*m_context.defaults, ActionSounds::Action::CleanUp);
            m_context.engine->cleanUp(id);
        });
        m_shares.insert(id, entry);
        m_order.append(id);
        updateShare(id);
    }
    if (engine->store().isEmpty())
        m_menu->addAction(tr("No shares configured"))->setEnabled(false);
    m_menu->addSeparator();

    if (m_context.scheduler) {
        QAction *pause = m_menu->addAction(paused ? tr("Resume Auto-Mount") : tr("Pause Auto-Mount"), this, [this] {
            ActionSounds::play(*m_context.defaults, ActionSounds::Action::Pause);
            if (m_context.scheduler->isAutoMountPaused())
                m_context.scheduler->resumeAutoMount();
            else
                m_context.scheduler->pauseAutoMount();
        });
        pause->setObjectName(QStringLiteral("pauseAction"));
        pause->setEnabled(paused || anyMounted);
    }
    m_menu->addSeparator();
    m_menu->addAction(tr("Open Dashboard"), this, &TrayController::dashboardRequested);
    m_menu->addAction(tr("Log Manager…"), this, &TrayController::logManagerRequested);
    m_menu->addAction(tr("Preferences…"), this, &TrayController::preferencesRequested);
    m_menu->addSeparator();
    m_menu->addAction(tr("Quit Tarnwell"), this, &TrayController::quitRequested);
    m_iconTimer.stop();
    updateIcon();
}

void TrayController::updateIcon()
{
    const bool paused = m_context.scheduler && m_context.scheduler->isAutoMountPaused();
    bool anyMounted = false;
    bool anyFailing = false;
    bool anyBusy = false;
    for (const VolumeRecord &record : m_context.engine->store().records()) {
        anyMounted = anyMounted || record.runtime_isMounted_Bool;
        const auto severity = ShareStatusLabel::severity(
            ShareStatusLabel::derive({record.runtime_isMounted_Bool, paused, record.runtime_status_String,
                                      record.hostname_String})
                .kind);
        anyFailing = anyFailing || severity == ShareStatusLabel::Severity::Failure;
        anyBusy = anyBusy || severity == ShareStatusLabel::Severity::Busy;
    }
    // The pause entry follows the mounted state (pausing needs a mounted share).
    if (auto *pause = m_menu->findChild<QAction *>(QStringLiteral("pauseAction"), Qt::FindDirectChildrenOnly))
        pause->setEnabled(paused || anyMounted);

    using StatusIcons::Overall;
    Overall state = Overall::Idle;
    if (paused)
        state = Overall::Paused;
    else if (anyFailing)
        state = Overall::Failing;
    else if (anyBusy)
        state = Overall::Busy;
    else if (anyMounted)
        state = Overall::AllMounted;
    if (state != m_state || m_icon->icon().isNull()) {
        m_state = state;
        m_icon->setIcon(StatusIcons::trayIcon(state));
    }
}
