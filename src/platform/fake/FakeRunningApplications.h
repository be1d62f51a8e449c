#pragma once

#include "platform/RunningApplications.h"

// Running applications set by the test. launch() adds a name and, while started, reports the launch.
class FakeRunningApplications : public RunningApplications
{
    Q_OBJECT
public:
    using RunningApplications::RunningApplications;

    QStringList names() override { return m_names; }
    void start() override
    {
        ++startCount;
        m_started = true;
    }
    void stop() override { m_started = false; }
    bool isStarted() const { return m_started; }

    void setNames(const QStringList &names) { m_names = names; }
    void launch(const QString &name)
    {
        m_names.append(name);
        if (m_started)
            Q_EMIT applicationLaunched(name);
    }
    void quit(const QString &name) { m_names.removeAll(name); }

    int startCount = 0;

private:
    QStringList m_names;
    bool m_started = false;
};
