#pragma once

#include "platform/ShareLister.h"

#include <QList>
#include <QMutex>

#include <functional>

// Answers listings through a handler (default: the client exits 0 printing nothing) and records each
// request. Thread-safe.
class FakeShareLister : public ShareLister
{
public:
    using Handler = std::function<Result(const Request &)>;

    void setHandler(Handler handler)
    {
        QMutexLocker lock(&m_mutex);
        m_handler = std::move(handler);
    }
    QList<Request> requests() const
    {
        QMutexLocker lock(&m_mutex);
        return m_requests;
    }
    Result list(const Request &request) override
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

private:
    mutable QMutex m_mutex;
    Handler m_handler;
    QList<Request> m_requests;
};
