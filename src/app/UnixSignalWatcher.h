#pragma once

#include <QList>
#include <QObject>

class QSocketNotifier;

// Turns SIGINT/SIGTERM/SIGHUP into a Qt signal on the main thread. The handler only writes the signal
// number into a socket pair (async-signal-safe); a QSocketNotifier reads it in the event loop, where the
// real work happens. One instance per process (the handler has one static pipe).
class UnixSignalWatcher : public QObject
{
    Q_OBJECT
public:
    explicit UnixSignalWatcher(const QList<int> &signals, QObject *parent = nullptr);
    ~UnixSignalWatcher() override;

    bool isWatching() const { return m_notifier != nullptr; }

Q_SIGNALS:
    void signalReceived(int signalNumber);

private:
    void readSignals();

    QList<int> m_signals;
    QSocketNotifier *m_notifier = nullptr;
};
