#pragma once

#include <QObject>
#include <QString>

#include <chrono>
#include <functional>
#include <memory>

class FileSystem;

// One listing of a folder that answers within a bound, whatever the folder does: the honest test of a
// mounted share (a FUSE path of a hung server blocks in the kernel, of a dead one fails at once).
//
// The listing runs on a detached thread of its own, not a pool thread: a call stuck on a hung FUSE path may
// never return, and it must pin neither a pool nor shutdown. The thread shares ownership of the file system
// and touches nothing else. `done` is called exactly once on the main thread: with the listing's outcome,
// or with TimedOut when the bound passes first. `returned` (optional) is called on the main thread when
// the listing itself comes back, also after a time-out (the folder answers again). Neither is called once
// `context` is gone.
//
// Threads: start() and `context` on the main thread (its event loop delivers the answers).
namespace BoundedListing {

enum class Outcome { Listed, Failed, TimedOut };

void start(std::shared_ptr<FileSystem> fileSystem, const QString &path, std::chrono::milliseconds bound,
           QObject *context, std::function<void(Outcome outcome, const QString &error)> done,
           std::function<void()> returned = {});

} // namespace BoundedListing
