#pragma once

#include <QProcess>
#include <QString>
#include <QTemporaryDir>

#include <memory>

// An smbd of one test only: the stack's configuration (TW_SMB_CONF) with its own port, state folders and
// log, in a process group of its own so that a signal to the group reaches the per-connection children
// too. kill() is a crash (no goodbye to the clients), stop() a hung server (SIGSTOP), resume() undoes
// stop(). Always by the group of the PID this object started; the destructor resumes and kills it.
// Main thread; loopback only.
class PrivateSmbd
{
public:
    PrivateSmbd() = default;
    ~PrivateSmbd();
    Q_DISABLE_COPY_MOVE(PrivateSmbd)

    // Writes the configuration; `port` 0 picks a free one.
    bool prepare(quint16 port = 0);
    // Starts smbd and waits (at most 15 s) until it accepts connections.
    bool start();
    void kill();
    bool stop();
    bool resume();

    quint16 port() const { return m_port; }
    qint64 pid() const;
    bool isStopped() const { return m_stopped; }

private:
    QTemporaryDir m_dir;
    QString m_conf;
    quint16 m_port = 0;
    bool m_stopped = false;
    std::unique_ptr<QProcess> m_process;
};
