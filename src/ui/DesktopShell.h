#pragma once

#include "LogManagerWidget.h"
#include "PreferencesWindow.h"
#include "UiContext.h"

#include <QObject>
#include <QPointer>

#include <functional>

class DashboardWindow;
class TrayController;

// The tray application's part of start-up and its windows: attaches to an engine that is already running
// (its launch entry written, its interval notice queued) and sets up, in this order, the notice presenter
// (the one-time interval notice becomes a dialog), the tray item, the presence mode with its observer, the
// observers of "DisplayMainWindow", "ShowMainWindowTab" and "CloseMenuletPopover", the dashboard (shown when
// "show_configuration_on_start" is on), then the hooks for managed preferences and the rule engine.
//
// Presence on Linux: tray only (closing the dashboard hides it; nothing in the taskbar until it is opened),
// tray and taskbar (the dashboard stays in the taskbar; closing minimises it), taskbar only (no tray item;
// closing minimises). Without a system tray the application behaves as taskbar only. Changes apply at once.
// Thread: main thread.
class DesktopShell : public QObject
{
    Q_OBJECT
public:
    enum class Presence { TrayOnly = 0, TrayAndTaskbar = 1, TaskbarOnly = 2 };

    struct Hooks
    {
        std::function<void()> quit;                     // the application's orderly quit
        std::function<void()> applyManagedPreferences; // may be empty (not in this build)
        std::function<void()> startRuleEngine;         // may be empty (not in this build)
        std::function<void(const std::function<void(const QString &, const QString &)> &)> setNoticePresenter;
        bool trayAvailable = true;                      // QSystemTrayIcon::isSystemTrayAvailable()
    };

    static inline const QString kTabInfoKey = QStringLiteral("tab");

    DesktopShell(const UiContext &context, Hooks hooks, QObject *parent = nullptr);
    ~DesktopShell() override;

    void start();

    void showDashboard(int tab = -1);
    void showPreferences();
    void showLogManager();
    void applyPresenceMode();

    Presence presence() const { return m_presence; }
    bool trayShown() const;
    DashboardWindow *dashboard() const { return m_dashboard; }
    TrayController *tray() const { return m_tray; }
    PreferencesWindow *preferences() const { return m_preferences; }
    LogManagerWindow *logManager() const { return m_logManager; }

private:
    void onNotification(const QString &name, const QVariantMap &info);

    UiContext m_context;
    Hooks m_hooks;
    TrayController *m_tray = nullptr;
    DashboardWindow *m_dashboard = nullptr;
    QPointer<PreferencesWindow> m_preferences;
    QPointer<LogManagerWindow> m_logManager;
    Presence m_presence = Presence::TrayOnly;
};
