#include "BoundedListing.h"

#include "platform/FileSystem.h"

#include <QCoreApplication>
#include <QPointer>
#include <QTimer>

#include <thread>

namespace BoundedListing {

void start(std::shared_ptr<FileSystem> fileSystem, const QString &path, std::chrono::milliseconds bound,
           QObject *context, std::function<void(Outcome, const QString &)> done, std::function<void()> returned)
{
    // Touched on the context's thread only: the first of answer and time-out wins.
    struct State
    {
        bool answered = false;
        std::function<void(Outcome, const QString &)> done;
        std::function<void()> returned;
    };
    const auto state = std::make_shared<State>();
    state->done = std::move(done);
    state->returned = std::move(returned);
    const QPointer<QObject> guard(context);

    QTimer::singleShot(bound, context, [state] {
        if (state->answered)
            return;
        state->answered = true;
        state->done(Outcome::TimedOut, QString());
    });

    std::thread([fileSystem = std::move(fileSystem), path, state, guard] {
        QString error;
        const bool listed = fileSystem->list(path, &error).has_value();
        QCoreApplication *app = QCoreApplication::instance();
        if (!app)
            return;
        // Posted to the application and checked there: the context may be gone by now.
        QMetaObject::invokeMethod(
            app,
            [state, guard, listed, error] {
                if (!guard)
                    return;
                if (!state->answered) {
                    state->answered = true;
                    state->done(listed ? Outcome::Listed : Outcome::Failed, error);
                }
                if (state->returned)
                    state->returned();
            },
            Qt::QueuedConnection);
    }).detach();
}

} // namespace BoundedListing
