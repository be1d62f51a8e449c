#pragma once

#include <QCoreApplication>
#include <QThread>

// TW_ASSERT_MAIN_THREAD(): the engine objects own their state on the main thread, and a call from a worker
// is a race. Debug builds abort with the function's name; release builds compile it away. Before a
// QCoreApplication exists there is no main thread to compare with and the check passes.
namespace ThreadCheck {
inline bool isMainThread()
{
    const QCoreApplication *app = QCoreApplication::instance();
    return !app || QThread::currentThread() == app->thread();
}
} // namespace ThreadCheck

#ifdef QT_NO_DEBUG
#define TW_ASSERT_MAIN_THREAD() static_cast<void>(0)
#else
#define TW_ASSERT_MAIN_THREAD() Q_ASSERT_X(ThreadCheck::isMainThread(), Q_FUNC_INFO, "called off the main thread")
#endif
