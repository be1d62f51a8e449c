#pragma once

#include "platform/DesktopNotifier.h"

#include <QList>
#include <QPair>

// Records the notifications posted, in order.
class FakeDesktopNotifier : public DesktopNotifier
{
public:
    void notify(const QString &title, const QString &body) override { posted.append({title, body}); }
    QList<QPair<QString, QString>> posted;
};
