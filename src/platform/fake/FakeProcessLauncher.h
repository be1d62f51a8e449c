#pragma once

#include "platform/ProcessLauncher.h"

#include <QList>
#include <QMutex>

#include <functional>

// Scripted children for unit tests: each request is recorded and answered by the handler (default: the
// program "exits" 0 with no output). Thread-safe.
class FakeProcessLauncher : public ProcessLauncher
{
public:
    using Handler = std::function<Result(const Request &)>;

    void setHandler(Handler handler);
    QList<Request> requests() const;
    Result run(const Request &request) override;

private:
    mutable QMutex m_mutex;
    Handler m_handler;
    QList<Request> m_requests;
};
