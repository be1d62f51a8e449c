#pragma once

#include <QObject>
#include <QString>
#include <QVariantMap>

// The named in-process notifications. Names are constants and used as they stand.
namespace Notifications {
inline const QString VolumeRecordChanged = QStringLiteral("Tarnwell_VolumeRecordChanged");
inline const QString RefreshVolumeUI = QStringLiteral("RefreshVolumeUI");
inline const QString PreferencesChanged = QStringLiteral("Tarnwell_PreferencesChanged");
inline const QString AppPresenceModeChanged = QStringLiteral("Tarnwell_AppPresenceModeChanged");
inline const QString RefreshLogEventTableView = QStringLiteral("Tarnwell_RefreshLogEventTableView");
inline const QString CloseMenuletPopover = QStringLiteral("CloseMenuletPopover");
inline const QString DisplayMainWindow = QStringLiteral("DisplayMainWindow");
inline const QString ShowMainWindowTab = QStringLiteral("ShowMainWindowTab");
} // namespace Notifications

// One process-wide carrier of named notifications: a single signal with the name; observers filter by name.
// Created once by the application and handed to whoever posts or observes (no global instance).
// post() may be called from any thread; observers always receive on the centre's own (main) thread.
class NotificationCenter : public QObject
{
    Q_OBJECT
public:
    explicit NotificationCenter(QObject *parent = nullptr);

    void post(const QString &name, const QVariantMap &info = {});

Q_SIGNALS:
    void posted(const QString &name, const QVariantMap &info);
};
