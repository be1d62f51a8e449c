#pragma once

#include "core/VolumeRecord.h"
#include "logging/AuditEventType.h"
#include "logging/LogEvent.h"
#include "platform/MountTable.h"

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

class FileSystem;
class MountService;

// Outcome of one eject, applied to the live record by the engine on the main thread.
struct EjectOutcome
{
    bool ok = false;           // the share is no longer mounted
    bool clearMounted = false; // clear runtime_isMounted_Bool
    QString status;            // new status text (empty: leave it)
    QString path;              // the path ejected (or looked at)
    std::optional<EVENT_TYPE_ENUM> eventType;
    QString eventText;         // without the "<RAW>: " prefix
    std::optional<AuditEventType> auditType;
    QString auditDetails;
    bool auditSuccess = false;
    std::optional<int> auditErrorCode;
};

// Where shares really are: discovery of a fresh mount's folder by scoring the entries of the volumes
// folder, the live-mount and confirmed-ghost tests, ghost removal, the paths Clean Up looks at, the match
// of a record against the OS mount table, and the eject of one share.
//
// The volumes folder is FileSystem::volumesFolder(): the GVfs FUSE root on Linux, whose entries are named
// after the mount ("smb-share:port=1445,server=127.0.0.1,share=public", "dav:host=h,ssl=false,prefix=%2Fdav").
// Scoring compares the lower-cased entry name with the share and host as substrings; for such GVfs names
// the "exact" comparisons use the name's share (smb "share", dav "prefix") and host ("server", "host")
// fields, which is what the folder would be called on a system that names it after the share.
//
// A custom mount folder (mount_inside_Volumes off) is a symbolic link to the live GVfs folder; the mount
// service creates it and removes it on unmount (restoring the empty folder). A live link counts as a live
// mount; a dangling one is a ghost, and removing it puts the empty folder back.
//
// Threads: no state of its own besides the references; every function may be called from any thread.
// Functions that touch the file system or the mount service BLOCK (the volumes folder is a FUSE mount)
// and belong on a worker; the mount-table functions work on a snapshot and are safe on the main thread.
class MountPointFinder
{
public:
    struct Candidate
    {
        QString path;
        QDateTime creationDate;
        int score = 0;
    };


    // Protected volume names: never candidates, never ghosts.
    static const QStringList &protectedNames();
    // Accepted remount-URL schemes of a protocol (lower case), GVfs's "dav"/"davs" included.
    static QStringList schemesFor(MountUsingProtocol_Enum protocol);

    // Status texts and messages of eject and sync.
    static inline const QString kEjectBusyStatus = QStringLiteral("Eject failed: Volume is busy (close open files)");
    static inline const QString kEjectFailedStatusPrefix = QStringLiteral("Eject failed: ");
    static inline const QString kAlreadyEjectedMessage = QStringLiteral("Volume was already ejected");
    static inline const QString kNotFoundMessage = QStringLiteral("Volume not found - may already be ejected");
    static inline const QString kBusyMessage = QStringLiteral("Volume busy - files may be open");
    static inline const QString kEjectedByUserDetail = QStringLiteral("Volume was ejected by user");
    static inline const QString kAllEjectedDetail = QStringLiteral("All volumes were ejected");
    static inline const QString kBusyAuditDetail = QStringLiteral("Volume busy");

    MountPointFinder(FileSystem &fileSystem, MountTable &mountTable, MountService &mountService);

    // For tests: the clock of the "recently created" bonus.
    void setClock(std::function<QDateTime()> now) { m_now = std::move(now); }

    QString volumesFolder() const;
    bool isInsideVolumesFolder(const QString &path) const;
    // A path that names one volume: not empty, not "/", "/Volumes" or the volumes folder itself.
    bool isSpecificPath(const QString &path) const;

    // Where the share is expected to appear: the custom folder when mount_inside_Volumes is off, else the
    // volumes folder + the folder name the mount service gives the share's URL.
    QString expectedMountPath(const VolumeRecord &record) const;

    // The folder that shows the share's own content, given the root of the volume that holds it: GVfs mounts
    // an SMB share, or a WebDAV server's collection (its "prefix"), and a share path below that is a
    // sub-folder of the root. A root not named after a mount, or whose name does not lead to the share, is
    // returned as it is.
    QString contentPath(const QString &volumeRoot, const VolumeRecord &record) const;

    // Score of one entry name (creation bonus excluded); prints the per-rule lines when `log`.
    int nameScore(const QString &entryName, const QString &share, const QString &host, bool log = false) const;
    // Candidates among `entries` (names in listing order), sorted best first (stable). Reads creation dates.
    QList<Candidate> scoreCandidates(const VolumeRecord &record, const QStringList &entries) const;
    // The discovery: prints its lines, returns the chosen path, or nullopt. Blocking.
    std::optional<QString> discoverMountPoint(const VolumeRecord &record) const;

    // Mount table.
    QList<MountedVolume> networkVolumes() const; // non-local volumes (snapshot)
    // True when path (or, for a symbolic link, its target) equals a listed volume's path or lies beneath one.
    bool isLiveMount(const QString &path) const;
    bool isLiveMount(const QString &path, const QList<MountedVolume> &volumes) const;
    // The listed volume of the record: first by its stored mount point, then by remount URL.
    std::optional<MountedVolume> matchVolume(const VolumeRecord &record, const QList<MountedVolume> &volumes,
                                             bool *byKnownPath = nullptr) const;

    // A mount-table snapshot prepared for matching many records: paths and remount URLs are normalised once,
    // so a sync over a thousand records and hundreds of volumes costs lookups instead of re-parsing every URL
    // for every record. Matching through it gives the same answers, in the same order, as the list.
    class VolumeIndex
    {
    public:
        explicit VolumeIndex(QList<MountedVolume> volumes);
        const QList<MountedVolume> &volumes() const { return m_volumes; }

    private:
        friend class MountPointFinder;
        struct UrlEntry
        {
            QString scheme; // lower case
            QString path;   // without leading and trailing slashes
            qsizetype index = 0;
        };
        QList<MountedVolume> m_volumes;
        QHash<QString, qsizetype> m_byPath;          // cleaned path -> first volume with it
        // The volume whose path is `path` or an ancestor of it.
        std::optional<qsizetype> containing(const QString &path) const;
        QHash<QString, QList<UrlEntry>> m_byHost;    // lower-case host -> entries in table order
    };
    std::optional<MountedVolume> matchVolume(const VolumeRecord &record, const VolumeIndex &index,
                                             bool *byKnownPath = nullptr) const;

    // Ghosts. Blocking.
    bool isConfirmedGhost(const QString &path, bool isCustomMountFolder = false) const;
    // Removes a confirmed ghost (printing the outcome); false when not a ghost or removal failed.
    bool removeGhost(const QString &path, bool isCustomMountFolder = false) const;
    // Paths Clean Up examines: stored mount point, expected path, name-matching volumes-folder entries,
    // the custom folder. Blocking.
    QStringList cleanUpPaths(const VolumeRecord &record) const;

    // Eject of one share (steps 1-7 without the pre-unmount script, which the caller runs). Blocking.
    // `beforeUnmount` runs after the path is known and before the unmount call.
    EjectOutcome eject(const VolumeRecord &record, bool partOfEjectAll,
                       const std::function<void(const QString &path)> &beforeUnmount = {}) const;
    // Force-unmounts a path (sync of a stale WebDAV mount); prints the SYNC line. Blocking.
    bool forceEject(const QString &path) const;

private:
    QDateTime now() const;

    FileSystem &m_fs;
    MountTable &m_table;
    MountService &m_service;
    std::function<QDateTime()> m_now;
};
