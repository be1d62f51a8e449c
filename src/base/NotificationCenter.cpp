#include "NotificationCenter.h"

#include <QThread>

NotificationCenter::NotificationCenter(QObject *parent)
    : QObject(parent)
{
}

void NotificationCenter::post(const QString &name, const QVariantMap &info)
{
    if (QThread::currentThread() == thread()) {
        Q_EMIT posted(name, info);
        return;
    }
    QMetaObject::invokeMethod(this, [this, name, info] { Q_EMIT posted(name, info); }, Qt::QueuedConnection);
}
