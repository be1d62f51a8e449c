#pragma once

#include <QString>

#include <memory>

// One engine per user's files: an exclusive lock (flock) on "engine.lock" in the configuration folder,
// held for as long as this object lives and released by the kernel when the process ends, however it ends.
// A second engine on the same files (another session bus, or none) is refused instead of overwriting the
// first one's saves. The file holds the holder's PID, for the refusal's message only.
//
// Thread: main thread, at start-up.
class EngineLock
{
public:
    // The lock, or null with *why set (held by another process, or the file cannot be opened).
    static std::unique_ptr<EngineLock> acquire(const QString &path, QString *why);
    ~EngineLock();
    EngineLock(const EngineLock &) = delete;
    EngineLock &operator=(const EngineLock &) = delete;

private:
    explicit EngineLock(int fd) : m_fd(fd) {}
    int m_fd;
};
