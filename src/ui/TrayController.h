#pragma once

#include "StatusIcons.h"
#include "UiContext.h"

#include <QObject>
#include <QTimer>

class QMenu;
class QSystemTrayIcon;

// The tray item (a StatusNotifierItem on current desktops): an icon for the overall state (all mounted,
// something failing, paused, busy, idle), a left click that opens the dashboard, and a menu with each
// share (its status label; Mount / Eject / Clean Up), pause/resume, the windows and Quit. The menu and the
// icon are rebuilt shortly after the engine reports a change (coalesced, so a burst of status changes costs
// one rebuild).
// Thread: main thread.
class TrayController : public QObject
{
    Q_OBJECT
public:
    explicit TrayController(const UiContext &context, QObject *parent = nullptr);
    ~TrayController() override;

    void setVisible(bool visible);
    bool isVisible() const { return m_visible; }
    QMenu *menu() const { return m_menu; }
    QSystemTrayIcon *icon() const { return m_icon; }
    StatusIcons::Overall overallState() const { return m_state; }
    // Rebuilds menu and icon now (normally done on a zero timer after a change).
    void rebuild();

Q_SIGNALS:
    void dashboardRequested();
    void preferencesRequested();
    void logManagerRequested();
    void quitRequested();

private:
    void scheduleRebuild();

    UiContext m_context;
    QSystemTrayIcon *m_icon;
    QMenu *m_menu;
    QList<QMenu *> m_shareMenus;
    QTimer m_rebuild;
    StatusIcons::Overall m_state = StatusIcons::Overall::Idle;
    bool m_visible = false;
};
