#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <optional>

// The file operations that mount-point discovery, ghost removal and custom mount folders need, and the
// volumes folder they work in. Blocking; callable from any thread. Paths on a dead network mount can
// hang, so callers that must not block run these on a worker.
class FileSystem
{
public:
    virtual ~FileSystem() = default;

    // The folder where network volumes appear (the GVfs FUSE root on Linux). One place names it.
    virtual QString volumesFolder() const = 0;

    // Entry names in directory order; nullopt with an error text when the listing fails.
    virtual std::optional<QStringList> list(const QString &directory, QString *error = nullptr) const = 0;
    // Birth time when the file system keeps one, else the inode change time; nullopt when unreadable.
    virtual std::optional<QDateTime> creationDate(const QString &path) const = 0;
    virtual bool exists(const QString &path, bool *isDirectory = nullptr) const = 0;
    virtual bool isSymbolicLink(const QString &path) const = 0;
    virtual QString symbolicLinkTarget(const QString &path) const = 0;
    virtual bool createSymbolicLink(const QString &target, const QString &linkPath, QString *error = nullptr) = 0;
    // Removes an empty directory or a symbolic link (never follows the link, never removes contents).
    virtual bool removeEntry(const QString &path, QString *error = nullptr) = 0;
};

// The real file system; the volumes folder is given (tests pass a temporary folder).
class LocalFileSystem : public FileSystem
{
public:
    explicit LocalFileSystem(QString volumesFolder);

    // $XDG_RUNTIME_DIR/gvfs
    static QString standardVolumesFolder();

    QString volumesFolder() const override { return m_volumesFolder; }
    std::optional<QStringList> list(const QString &directory, QString *error) const override;
    std::optional<QDateTime> creationDate(const QString &path) const override;
    bool exists(const QString &path, bool *isDirectory) const override;
    bool isSymbolicLink(const QString &path) const override;
    QString symbolicLinkTarget(const QString &path) const override;
    bool createSymbolicLink(const QString &target, const QString &linkPath, QString *error) override;
    bool removeEntry(const QString &path, QString *error) override;

private:
    QString m_volumesFolder;
};
