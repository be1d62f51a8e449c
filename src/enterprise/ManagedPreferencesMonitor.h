#pragma once

#include "enterprise/ManagedPreferencesReader.h"

#include <QObject>
#include <QString>
#include <QTimer>

class DesktopNotifier;
class ManagedPreferenceSource;
class MountEngine;
class NotificationCenter;

// Applies the managed shares at launch (the start-up check) and again whenever the managed source changes
// while the engine runs, so that a newly deployed profile takes effect without a restart. Changes are
// debounced: a profile written in several steps is applied once.
//
// Thread: main thread. The source, engine, centre and notifier are not owned and must outlive this object;
// centre and notifier may be null.
class ManagedPreferencesMonitor : public QObject
{
    Q_OBJECT
public:
    static inline const QString kDetectedLine = QStringLiteral("📱 [MDM] Managed preferences detected");
    static inline const QString kOrganizationLine = QStringLiteral("📱 [MDM] Organization: ");
    static inline const QString kAppliedLine = QStringLiteral("📱 [MDM] Applied %1 managed shares");
    static inline const QString kNotificationTitle = QStringLiteral("Tarnwell");
    static inline const QString kNotificationBody =
        QStringLiteral("Your IT department has configured %1 network share(s).");
    static constexpr int kDefaultDebounceMs = 500;

    ManagedPreferencesMonitor(ManagedPreferenceSource &source, MountEngine &engine, NotificationCenter *center,
                              DesktopNotifier *notifier, QObject *parent = nullptr);

    const ManagedPreferencesReader &reader() const { return m_reader; }

    // The start-up check: when "ManagedShares" is an array, prints the detection and organisation lines,
    // applies the shares and, when any were added, prints the count and posts the desktop notification.
    // Returns the number added. Also what a (debounced) change of the source runs.
    int check();

    // Starts reacting to changes of the source (after the start-up check).
    void watch(int debounceMs = kDefaultDebounceMs);

Q_SIGNALS:
    // After every check that added records.
    void sharesApplied(int added);

private:
    ManagedPreferenceSource &m_source;
    ManagedPreferencesReader m_reader;
    MountEngine &m_engine;
    NotificationCenter *m_center;
    DesktopNotifier *m_notifier;
    QTimer m_debounce;
    bool m_watching = false;
};
