#pragma once

#include "StatusIcons.h"
#include "UiContext.h"

#include <QHash>
#include <QObject>
#include <QSystemTrayIcon>
#include <QTimer>

class QAction;
class QMenu;

// The tray item (a StatusNotifierItem on current desktops): an icon for the overall state (all mounted,
// something failing, paused, busy, idle), a left click that opens the dashboard and then the menu (a right
// click the menu alone, a double click the dashboard alone), and a menu with each
// share (its status label; Mount / Eject / Clean Up), pause/resume, the windows and Quit. A status change
// updates that share's entry only; the menu is rebuilt when shares are added, removed or edited, or the pause
// switch flips (coalesced on a zero timer); the overall icon is recomputed at most every 200 ms.
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
    // What a click on the item does (connected to QSystemTrayIcon::activated).
    void onActivated(QSystemTrayIcon::ActivationReason reason);

Q_SIGNALS:
    void dashboardRequested();
    void preferencesRequested();
    void logManagerRequested();
    void quitRequested();

private:
    void scheduleRebuild();
    void updateShare(qint64 id);
    void onRecordsChanged();
    void updateIcon();

    struct ShareEntry
    {
        QMenu *menu = nullptr;
        QAction *mount = nullptr;
        QAction *eject = nullptr;
        QAction *cleanUp = nullptr;
    };

    UiContext m_context;
    QSystemTrayIcon *m_icon;
    QMenu *m_menu;
    QHash<qint64, ShareEntry> m_shares;
    QList<qint64> m_order; // the shares in the menu, in order
    QTimer m_rebuild;
    QTimer m_iconTimer;
    StatusIcons::Overall m_state = StatusIcons::Overall::Idle;
    bool m_visible = false;
};
