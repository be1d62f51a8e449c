#pragma once

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QEventLoop>
#include <QObject>

#include <functional>
#include <optional>

class ControlClient;

// A bounded wait in tarnwellctl for something the engine announces by a signal: runs the event loop until
// finish() (called from the signal's handler), the time limit, or the engine leaving the bus. `poll`, when
// given, is re-checked every half second, because a signal may have gone out before the subscription and
// the engine's state tells as well. Main thread.
class EngineWait : public QObject
{
    Q_OBJECT
public:
    enum class End { Finished, TimedOut, EngineGone };

    static constexpr int kDefaultSeconds = 120;
    static constexpr int kPollIntervalMs = 500;
    static constexpr int kMaxSeconds = 86400;

    explicit EngineWait(ControlClient &client);

    void finish();
    // seconds: nullopt waits without a limit (until interrupted).
    End run(std::optional<int> seconds, const std::function<bool()> &poll = {});

    // The --wait and --timeout options of the commands that wait.
    static QCommandLineOption waitOption();
    static QCommandLineOption timeoutOption(int defaultSeconds);
    // The --timeout value, `fallback` when absent; nullopt with *error (a usage error) when it is not a
    // number of seconds from 1 to a day.
    static std::optional<int> seconds(const QCommandLineParser &parser, const QCommandLineOption &timeout,
                                      int fallback, QString *error);

private:
    ControlClient &m_client;
    QEventLoop m_loop;
    bool m_finished = false;
};
