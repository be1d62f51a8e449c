#pragma once

#include <QString>

// Posts a desktop notification (title and body): rule actions, the managed-shares notice.
//
// Thread: main thread. Never blocks: the notification is sent asynchronously; one that the desktop cannot
// show is dropped (the caller's console line is the record of it).
class DesktopNotifier
{
public:
    virtual ~DesktopNotifier() = default;
    virtual void notify(const QString &title, const QString &body) = 0;
};
