#pragma once

#include <QByteArray>
#include <QString>

#include <sys/types.h>

// The one way a store puts a file on disk so that nothing it acknowledged is lost:
//   1. the bytes go to a temporary file beside the target (same file system, so the rename is atomic),
//      created with `mode`; every write is checked, short writes are continued, errors end the attempt;
//   2. the temporary file is fsync'ed, then renamed over the target, then the folder is fsync'ed so the
//      rename itself survives a power cut.
// On any failure the temporary file is removed and the previous file is left exactly as it was; the
// reason is returned (the caller prints its own tagged console line and reports it to whoever asked).
// Missing folders are created with mode 0700 when createFolder is set (a store's own folder); an export to
// a folder the user named must find it.
//
// Reentrant; blocks (fsync), so it runs on a writer thread, never on the main thread of a busy engine.
namespace DurableFile {

struct Result
{
    bool ok = false;
    QString error; // empty when ok
};

Result write(const QString &path, const QByteArray &bytes, mode_t mode = 0600, bool createFolder = true);

// Creates the folder and its missing parents with mode 0700 (existing folders are left as they are).
// False with *error set when it cannot be created.
bool makeFolder(const QString &path, QString *error = nullptr);

// A store's file and its folder made private (0600 in 0700) when they exist and belong to this user:
// files and folders that an older build created with the umask's modes are tightened at load.
void makePrivate(const QString &filePath);

// Removes temporary files that a writer killed in mid-write left beside `path`. Call once at load, while
// no other writer of the file runs.
void removeLeftovers(const QString &path);

} // namespace DurableFile
