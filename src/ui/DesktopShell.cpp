#include "DesktopShell.h"

#include "DashboardWindow.h"
#include "LogManagerWidget.h"
#include "PreferencesWindow.h"
#include "TrayController.h"

#include "base/Console.h"
#include "base/Defaults.h"
#include "base/NotificationCenter.h"
#include "base/Preferences.h"

#include <QApplication>
#include <QMenuBar>

DesktopShell::DesktopShell(const UiContext &context, Hooks hooks, QObject *parent)
    : QObject(parent)
    , m_context(context)
    , m_hooks(std::move(hooks))
{
}

DesktopShell::~DesktopShell()
{
    delete m_preferences.data();
    delete m_logManager.data();
    delete m_dashboard;
}

void DesktopShell::start()
{
    QApplication::setQuitOnLastWindowClosed(false);

    if (m_hooks.setNoticePresenter) {
        m_hooks.setNoticePresenter([](const QString &title, const QString &text) {
            Prompter::instance().inform(nullptr, title, text);
        });
    }

    m_tray = new TrayController(m_context, this);
    connect(m_tray, &TrayController::dashboardRequested, this, [this] { showDashboard(); });
    connect(m_tray, &TrayController::preferencesRequested, this, &DesktopShell::showPreferences);
    connect(m_tray, &TrayController::logManagerRequested, this, &DesktopShell::showLogManager);
    connect(m_tray, &TrayController::quitRequested, this, [this] {
        if (m_hooks.quit)
            m_hooks.quit();
    });
    Console::line(QStringLiteral("🔧 [SETUP] Tray item configured (left click = Dashboard, right click = menu)"));

    m_dashboard = new DashboardWindow(m_context);
    QMenu *file = m_dashboard->menuBar()->addMenu(tr("&Tarnwell"));
    file->addAction(tr("Preferences…"), QKeySequence::Preferences, this, &DesktopShell::showPreferences);
    file->addAction(tr("Log Manager…"), this, &DesktopShell::showLogManager);
    file->addSeparator();
    file->addAction(tr("Quit Tarnwell"), QKeySequence::Quit, this, [this] {
        if (m_hooks.quit)
            m_hooks.quit();
    });

    // Presence first, then the observers: a change posted from now on applies at once.
    applyPresenceMode();
    connect(m_context.center, &NotificationCenter::posted, this, &DesktopShell::onNotification);

    const bool show =
        m_context.defaults->boolean(Preferences::Keys::ShowConfigurationOnStart).value_or(true);
    if (show || m_presence == Presence::TaskbarOnly || !m_hooks.trayAvailable)
        showDashboard();

    if (m_hooks.applyManagedPreferences)
        m_hooks.applyManagedPreferences();
    if (m_hooks.startRuleEngine)
        m_hooks.startRuleEngine();
}

bool DesktopShell::trayShown() const
{
    return m_tray && m_tray->isVisible();
}

void DesktopShell::applyPresenceMode()
{
    m_presence = Presence(int(Preferences::appPresenceMode(*m_context.defaults)));
    const bool tray = m_presence != Presence::TaskbarOnly && m_hooks.trayAvailable;
    if (m_tray)
        m_tray->setVisible(tray);
    if (!m_dashboard)
        return;
    // Without a tray item a hidden window could not be found again: closing minimises instead.
    m_dashboard->setCloseHides(tray && m_presence == Presence::TrayOnly);
    if (!tray && m_dashboard->isHidden())
        showDashboard();
}

void DesktopShell::showDashboard(int tab)
{
    if (!m_dashboard)
        return;
    if (tab >= 0)
        m_dashboard->showTab(tab);
    if (m_dashboard->isMinimized())
        m_dashboard->showNormal();
    else
        m_dashboard->show();
    m_dashboard->raise();
    m_dashboard->activateWindow();
}

void DesktopShell::showPreferences()
{
    if (!m_preferences) {
        m_preferences = new PreferencesWindow(m_context);
        connect(m_preferences, &PreferencesWindow::showLogsRequested, this,
                [this] { showDashboard(DashboardWindow::LogsTab); });
    }
    m_preferences->show();
    m_preferences->raise();
    m_preferences->activateWindow();
}

void DesktopShell::showLogManager()
{
    if (!m_logManager)
        m_logManager = new LogManagerWindow(*m_context.eventLog, m_context.center);
    m_logManager->show();
    m_logManager->raise();
    m_logManager->activateWindow();
}

void DesktopShell::onNotification(const QString &name, const QVariantMap &info)
{
    if (name == Notifications::AppPresenceModeChanged) {
        applyPresenceMode();
    } else if (name == Notifications::DisplayMainWindow) {
        showDashboard();
    } else if (name == Notifications::ShowMainWindowTab) {
        showDashboard(info.value(kTabInfoKey, -1).toInt());
    }
    // "CloseMenuletPopover": the tray menu closes by itself; nothing stays open to close.
}
