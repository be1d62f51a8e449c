#include "FakeProcessLauncher.h"

#include <QMutexLocker>

void FakeProcessLauncher::setHandler(Handler handler)
{
    QMutexLocker lock(&m_mutex);
    m_handler = std::move(handler);
}

QList<ProcessLauncher::Request> FakeProcessLauncher::requests() const
{
    QMutexLocker lock(&m_mutex);
    return m_requests;
}

ProcessLauncher::Result FakeProcessLauncher::run(const Request &request)
{
    Handler handler;
    {
        QMutexLocker lock(&m_mutex);
        m_requests.append(request);
        handler = m_handler;
    }
    if (handler)
        return handler(request);
    Result result;
    result.started = true;
    result.exitCode = 0;
    return result;
}
