#include "ManagedPreferencesMonitor.h"

#include "base/Console.h"
#include "platform/DesktopNotifier.h"
#include "platform/ManagedPreferenceSource.h"

ManagedPreferencesMonitor::ManagedPreferencesMonitor(ManagedPreferenceSource &source, MountEngine &engine,
                                                     NotificationCenter *center, DesktopNotifier *notifier,
                                                     QObject *parent)
    : QObject(parent)
    , m_source(source)
    , m_reader(source)
    , m_engine(engine)
    , m_center(center)
    , m_notifier(notifier)
{
    m_debounce.setSingleShot(true);
    connect(&m_debounce, &QTimer::timeout, this, [this] { check(); });
}

int ManagedPreferencesMonitor::check()
{
    // One read of the source for the whole check: the lines and the shares come from the same profiles.
    const ManagedPreferencesReader snapshot(m_source.values());
    if (!snapshot.hasManagedShareList())
        return 0;
    Console::line(kDetectedLine);
    if (const auto organization = snapshot.string(ManagedPreferencesReader::kOrganizationNameKey))
        Console::line(kOrganizationLine + *organization);
    const int added = snapshot.applyManagedShares(m_engine, m_center);
    if (added >= 1) {
        Console::line(kAppliedLine.arg(added));
        if (m_notifier)
            m_notifier->notify(kNotificationTitle, kNotificationBody.arg(added));
        Q_EMIT sharesApplied(added);
    }
    return added;
}

void ManagedPreferencesMonitor::watch(int debounceMs)
{
    m_debounce.setInterval(debounceMs);
    if (m_watching)
        return;
    m_watching = true;
    connect(&m_source, &ManagedPreferenceSource::changed, this, [this] { m_debounce.start(); });
}
