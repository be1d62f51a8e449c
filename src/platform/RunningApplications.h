#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

// The applications running in the user's session and their launches, for the rules' application
// conditions and the "App launch" trigger. A running application is known by every name a user may type
// for it (process name, executable name, the Name of its desktop entry).
//
// Thread: main thread. names() reads the system at once (a short scan, no blocking service); launches are
// found only between start() and stop(), by comparing successive scans, and reported with
// applicationLaunched(displayName) on the main thread.
class RunningApplications : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;

    virtual QStringList names() = 0;
    virtual void start() = 0;
    virtual void stop() = 0;

Q_SIGNALS:
    void applicationLaunched(const QString &displayName);
};
