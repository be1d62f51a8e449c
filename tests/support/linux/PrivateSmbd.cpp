#include "PrivateSmbd.h"

#include "TestStack.h"

#include <QDir>
#include <QFile>
#include <QStringList>
#include <QTest>

#include <csignal>
#include <unistd.h>

using namespace TestStack;

PrivateSmbd::~PrivateSmbd()
{
    kill();
}

bool PrivateSmbd::prepare(quint16 port)
{
    QFile stackConf(env("TW_SMB_CONF"));
    if (!m_dir.isValid() || !stackConf.open(QIODevice::ReadOnly))
        return false;
    m_port = port ? port : freePort();
    const QString d = m_dir.path();
    static const QStringList dirs{QStringLiteral("lock directory"), QStringLiteral("state directory"),
                                  QStringLiteral("cache directory"), QStringLiteral("private dir"),
                                  QStringLiteral("pid directory"), QStringLiteral("ncalrpc dir")};
    QStringList lines;
    for (const QString &line : QString::fromUtf8(stackConf.readAll()).split(QLatin1Char('\n'))) {
        const QString key = line.section(QLatin1Char('='), 0, 0).trimmed();
        if (key == QLatin1String("smb ports"))
            lines.append(QStringLiteral("  smb ports = %1").arg(m_port));
        else if (dirs.contains(key))
            lines.append(QStringLiteral("  %1 = %2/%3").arg(key, d, QString(key).replace(QLatin1Char(' '), QLatin1Char('_'))));
        else if (key == QLatin1String("passdb backend"))
            lines.append(QStringLiteral("  passdb backend = tdbsam:%1/passdb.tdb").arg(d));
        else if (key == QLatin1String("log file"))
            lines.append(QStringLiteral("  log file = %1/smbd.log").arg(d));
        else
            lines.append(line);
    }
    for (QString sub : dirs)
        QDir().mkpath(d + QLatin1Char('/') + sub.replace(QLatin1Char(' '), QLatin1Char('_')));
    m_conf = d + QStringLiteral("/smb.conf");
    QFile conf(m_conf);
    if (!conf.open(QIODevice::WriteOnly))
        return false;
    conf.write(lines.join(QLatin1Char('\n')).toUtf8());
    return true;
}

bool PrivateSmbd::start()
{
    m_process = std::make_unique<QProcess>();
    m_process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process->setStandardOutputFile(m_dir.path() + QStringLiteral("/smbd.stdout"));
    m_process->setChildProcessModifier([] { ::setsid(); });
    m_process->start(QStringLiteral("/usr/sbin/smbd"),
                     {QStringLiteral("--foreground"), QStringLiteral("--no-process-group"),
                      QStringLiteral("--configfile=") + m_conf});
    if (!m_process->waitForStarted(5000))
        return false;
    m_stopped = false;
    for (int i = 0; i < 150; ++i) {
        if (listening(m_port))
            return true;
        QTest::qWait(100);
    }
    return false;
}

qint64 PrivateSmbd::pid() const
{
    return m_process && m_process->state() != QProcess::NotRunning ? m_process->processId() : 0;
}

bool PrivateSmbd::stop()
{
    const qint64 p = pid();
    if (p <= 0 || ::kill(-pid_t(p), SIGSTOP) != 0)
        return false;
    m_stopped = true;
    return true;
}

bool PrivateSmbd::resume()
{
    const qint64 p = pid();
    if (p <= 0 || ::kill(-pid_t(p), SIGCONT) != 0)
        return false;
    m_stopped = false;
    return true;
}

void PrivateSmbd::kill()
{
    const qint64 p = pid();
    if (p <= 0)
        return;
    if (m_stopped)
        resume(); // a stopped group is continued first, so that it can die and be reaped
    ::kill(-pid_t(p), SIGKILL);
    m_process->waitForFinished(10000);
}
