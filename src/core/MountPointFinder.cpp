#include "MountPointFinder.h"

#include "base/Console.h"
#include "logging/AuditEventType.h"
#include "logging/LogEvent.h"
#include "platform/FileSystem.h"
#include "platform/MountService.h"

#include <QDir>
#include <QFileInfo>
#include <QUrl>

#include <algorithm>

namespace {

const QString kDiscoverLine = QStringLiteral("🔍 [MOUNT] Discovering mount point in /Volumes...");
const QString kLookingForLine = QStringLiteral("🔍 [MOUNT] Looking for share: '%1', host: '%2'");
const QString kDiscoverFailedPrefix = QStringLiteral("❌ [MOUNT] Failed to discover mount point: ");
const QString kFallbackPathLine = QStringLiteral("📍 [MOUNT] Using fallback path: '%1'");
const QString kExactShareLine = QStringLiteral("🔍 [MOUNT]   Exact share name match! +100");
const QString kPartialShareLine = QStringLiteral("🔍 [MOUNT]   Partial share name match +50");
const QString kExactHostLine = QStringLiteral("🔍 [MOUNT]   Exact hostname match! +80");
const QString kHostLine = QStringLiteral("🔍 [MOUNT]   Hostname match +25");
const QString kRecentLine = QStringLiteral("🔍 [MOUNT]   Recent creation (%1s ago) +75");
const QString kCandidateLine = QStringLiteral("✅ [MOUNT]   Added as candidate with score: ");
const QString kSelectedLine = QStringLiteral("📍 [MOUNT] Selected mount point: '%1'");
const QString kExpectedPathLine = QStringLiteral("📍 [MOUNT] Using expected path: '%1'");
const QString kNoCandidatesLine = QStringLiteral("❌ [MOUNT] No candidates found and expected path doesn't exist!");

const QString kGhostRemovedLine = QStringLiteral("🧹 [GHOST] Removed ghost mount point: '%1'");
const QString kGhostFailedLine = QStringLiteral("🧹 [GHOST] Failed to remove '%1': %2");
const QString kGhostRefusedLine = QStringLiteral("🧹 [GHOST] Not removing '%1' — not a confirmed ghost");

const QString kEjectStartPrefix = QStringLiteral("🔓 [EJECT] Starting eject for: ");
const QString kEjectStoredLine = QStringLiteral("🔓 [EJECT] Stored mount point: '%1'");
const QString kEjectLivePathLine = QStringLiteral("🔓 [EJECT] Using live OS path: '%1'");
const QString kEjectNotListedLine = QStringLiteral("❌ [EJECT] Path not in OS mount table — marking ejected");
const QString kEjectNoPathLine = QStringLiteral("❌ [EJECT] Cannot find mount point - volume may not be mounted");
const QString kEjectAttemptLine = QStringLiteral("🔓 [EJECT] Attempting to eject: '%1'");
const QString kEjectSuccessLine = QStringLiteral("✅ [EJECT] Successfully ejected '%1'");
const QString kEjectFailedLine = QStringLiteral("❌ [EJECT] Failed with errno %1: %2");
const QString kUnknownError = QStringLiteral("Unknown error");

const QString kSyncForceEjectedLine = QStringLiteral("🧹 [SYNC] Force-ejected stale mount at '%1'");
const QString kSyncForceFailedLine = QStringLiteral("🧹 [SYNC] Force-eject failed for '%1'");
const QString kSyncForceErrorLine = QStringLiteral("🧹 [SYNC]   errno %1: %2");

constexpr double kRecentSeconds = 10.0;
constexpr int kEbusy = 16;

QString trimmedOf(const QString &text, QChar c)
{
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && text.at(begin) == c)
        ++begin;
    while (end > begin && text.at(end - 1) == c)
        --end;
    return text.mid(begin, end - begin);
}

QString stripBrackets(QString host)
{
    host = host.trimmed();
    if (host.startsWith(QLatin1Char('[')) && host.endsWith(QLatin1Char(']')))
        host = host.mid(1, host.size() - 2);
    return host;
}

QString cleaned(const QString &path)
{
    return path.isEmpty() ? path : QDir::cleanPath(path);
}

} // namespace

const QStringList &MountPointFinder::protectedNames()
{
    static const QStringList names{QStringLiteral("Macintosh HD"), QStringLiteral("Data"), QStringLiteral("Preboot"),
                                   QStringLiteral("Recovery"),     QStringLiteral("VM"),   QStringLiteral("Update")};
    return names;
}

QStringList MountPointFinder::schemesFor(MountUsingProtocol_Enum protocol)
{
    switch (protocol) {
    case MountUsingProtocol_Enum::SMB:
        return {QStringLiteral("smb"), QStringLiteral("cifs")};
    case MountUsingProtocol_Enum::AFP:
        return {QStringLiteral("afp")};
    case MountUsingProtocol_Enum::NFS:
        return {QStringLiteral("nfs")};
    case MountUsingProtocol_Enum::WebDAV:
        return {QStringLiteral("http"), QStringLiteral("dav")};
    case MountUsingProtocol_Enum::WebDAVS:
        return {QStringLiteral("https"), QStringLiteral("davs")};
    }
    return {};
}

MountPointFinder::MountPointFinder(FileSystem &fileSystem, MountTable &mountTable, MountService &mountService)
    : m_fs(fileSystem)
    , m_table(mountTable)
    , m_service(mountService)
{
}

QDateTime MountPointFinder::now() const
{
    return m_now ? m_now() : QDateTime::currentDateTime();
}

QString MountPointFinder::volumesFolder() const
{
    return m_fs.volumesFolder();
}

bool MountPointFinder::isSpecificPath(const QString &path) const
{
    const QString p = cleaned(path);
    return !p.isEmpty() && p != QLatin1String("/") && p != QLatin1String("/Volumes") && p != cleaned(volumesFolder());
}

bool MountPointFinder::isInsideVolumesFolder(const QString &path) const
{
    const QString folder = cleaned(volumesFolder());
    const QString p = cleaned(path);
    return p == folder || p.startsWith(folder + QLatin1Char('/'));
}

QString MountPointFinder::expectedMountPath(const VolumeRecord &record) const
{
    if (!record.mount_inside_Volumes)
        return record.unique_mountpoint_fullpath_String;
    const QString text = record.mountURLText();
    if (text.isEmpty())
        return volumesFolder() + QLatin1Char('/');
    return volumesFolder() + QLatin1Char('/') + m_service.volumeFolderName(QUrl(text));
}

QString MountPointFinder::contentPath(const QString &volumeRoot, const VolumeRecord &record) const
{
    const QString root = cleaned(volumeRoot);
    if (!isInsideVolumesFolder(root) || root == cleaned(volumesFolder()))
        return volumeRoot;
    const std::optional<VolumeFolderName> named = m_service.parseVolumeFolderName(QFileInfo(root).fileName());
    if (!named)
        return volumeRoot;
    const QString share = trimmedOf(record.volume_String.trimmed(), QLatin1Char('/'));
    const QString mounted = trimmedOf(named->share, QLatin1Char('/'));
    QString below;
    if (mounted.isEmpty())
        below = share; // the server's root: every path is below it
    else if (share.startsWith(mounted + QLatin1Char('/'), Qt::CaseInsensitive))
        below = share.mid(mounted.size() + 1);
    return below.isEmpty() ? volumeRoot : root + QLatin1Char('/') + below;
}

int MountPointFinder::nameScore(const QString &entryName, const QString &share, const QString &host, bool log) const
{
    const QString e = entryName.toLower();
    const QString s = trimmedOf(share, QLatin1Char('/')).toLower();
    const QString h = host.trimmed().toLower();
    // For a name after the mount (GVfs mount spec) the "exact" tests look at the share and host it names.
    const std::optional<VolumeFolderName> named = m_service.parseVolumeFolderName(e);
    const QString eShare = named ? named->share : e;
    const QString eHost = named ? named->host : e;

    int score = 0;
    if (!s.isEmpty() && (e == s || (named && eShare == s))) {
        score += 100;
        if (log)
            Console::line(kExactShareLine);
    } else if (!s.isEmpty() && (e.contains(s) || s.contains(e))) {
        score += 50;
        if (log)
            Console::line(kPartialShareLine);
    }
    if (e == h || (!h.isEmpty() && named && eHost == stripBrackets(h))) {
        score += 80;
        if (log)
            Console::line(kExactHostLine);
    } else if (!h.isEmpty() && e.contains(h)) {
        score += 25;
        if (log)
            Console::line(kHostLine);
    }
    return score;
}

QList<MountPointFinder::Candidate> MountPointFinder::scoreCandidates(const VolumeRecord &record,
                                                                      const QStringList &entries) const
{
    QList<Candidate> candidates;
    const QDateTime current = now();
    const QString folder = volumesFolder();
    // A folder named after another kind of mount, port or transport is another share's, however well its
    // share and host match: with mounts made in parallel a fresh SMB share of the same name would otherwise
    // win over this WebDAV share's own folder.
    const QString urlText = record.mountURLText();
    const std::optional<VolumeFolderName> own =
        urlText.isEmpty() ? std::nullopt : m_service.parseVolumeFolderName(m_service.volumeFolderName(QUrl(urlText)));
    const auto another = [&own](const std::optional<VolumeFolderName> &named) {
        const auto differs = [](const QString &a, const QString &b) { return !a.isEmpty() && !b.isEmpty() && a != b; };
        return own && named
            && (differs(own->type, named->type) || differs(own->port, named->port) || differs(own->ssl, named->ssl));
    };
    for (const QString &name : entries) {
        if (protectedNames().contains(name) || name.startsWith(QLatin1Char('.')))
            continue;
        if (another(m_service.parseVolumeFolderName(name)))
            continue;
        const QString path = folder + QLatin1Char('/') + name;
        int score = nameScore(name, record.volume_String, record.hostname_String, true);
        const std::optional<QDateTime> created = m_fs.creationDate(path);
        if (!created)
            continue;
        const double age = double(created->msecsTo(current)) / 1000.0;
        if (age < kRecentSeconds) {
            score += 75;
            Console::line(kRecentLine.arg(qint64(age)));
        }
        if (score == 0)
            continue;
        Console::line(kCandidateLine + QString::number(score));
        candidates.append({path, *created, score});
    }
    std::stable_sort(candidates.begin(), candidates.end(),
                     [](const Candidate &a, const Candidate &b) { return a.score > b.score; });
    return candidates;
}

std::optional<QString> MountPointFinder::discoverMountPoint(const VolumeRecord &record) const
{
    Console::line(kDiscoverLine);
    Console::line(kLookingForLine.arg(record.volume_String, record.hostname_String));

    // A custom folder is a link to the GVfs folder: where the user asked for it is where it is.
    if (!record.mount_inside_Volumes && !record.unique_mountpoint_fullpath_String.isEmpty()
        && isLiveMount(record.unique_mountpoint_fullpath_String)) {
        Console::line(kSelectedLine.arg(record.unique_mountpoint_fullpath_String));
        return record.unique_mountpoint_fullpath_String;
    }

    const QString expected = expectedMountPath(record);
    QString error;
    const std::optional<QStringList> entries = m_fs.list(volumesFolder(), &error);
    if (!entries) {
        Console::line(kDiscoverFailedPrefix + error);
        Console::line(kFallbackPathLine.arg(expected));
        return expected;
    }
    const QList<Candidate> candidates = scoreCandidates(record, *entries);
    if (!candidates.isEmpty()) {
        const QString path = contentPath(candidates.first().path, record);
        Console::line(kSelectedLine.arg(path));
        return path;
    }
    if (!expected.isEmpty() && m_fs.exists(expected)) {
        Console::line(kExpectedPathLine.arg(expected));
        return expected;
    }
    Console::line(kNoCandidatesLine);
    return std::nullopt;
}

QList<MountedVolume> MountPointFinder::networkVolumes() const
{
    QList<MountedVolume> volumes = m_table.mountedVolumes();
    volumes.removeIf([](const MountedVolume &v) { return v.isLocal || v.path.isEmpty(); });
    return volumes;
}

bool MountPointFinder::isLiveMount(const QString &path) const
{
    return isLiveMount(path, networkVolumes());
}

bool MountPointFinder::isLiveMount(const QString &path, const QList<MountedVolume> &volumes) const
{
    if (path.isEmpty())
        return false;
    QStringList candidates{cleaned(path)};
    // Only paths outside the volumes folder can be links (custom folders); an lstat inside the FUSE root
    // could hang on a dead server, and this test must stay safe on the main thread.
    if (!isInsideVolumesFolder(path) && m_fs.isSymbolicLink(path)) {
        QString target = m_fs.symbolicLinkTarget(path);
        if (!target.isEmpty()) {
            if (QDir::isRelativePath(target))
                target = QFileInfo(path).absolutePath() + QLatin1Char('/') + target;
            candidates.append(cleaned(target));
        }
    }
    for (const MountedVolume &volume : volumes) {
        const QString root = cleaned(volume.path);
        if (root.isEmpty() || root == QLatin1String("/"))
            continue;
        for (const QString &p : std::as_const(candidates)) {
            if (p == root || p.startsWith(root + QLatin1Char('/')))
                return true;
        }
    }
    return false;
}

MountPointFinder::VolumeIndex::VolumeIndex(QList<MountedVolume> volumes)
    : m_volumes(std::move(volumes))
{
    for (qsizetype i = 0; i < m_volumes.size(); ++i) {
        const MountedVolume &volume = m_volumes.at(i);
        const QString path = cleaned(volume.path);
        if (!m_byPath.contains(path)) // the first volume with a path wins, as in a scan
            m_byPath.insert(path, i);
        if (!volume.remountUrl)
            continue;
        const QUrl &url = *volume.remountUrl;
        m_byHost[url.host().toLower()].append(
            UrlEntry{url.scheme().toLower(), trimmedOf(url.path(), QLatin1Char('/')), i});
    }
}

std::optional<qsizetype> MountPointFinder::VolumeIndex::containing(const QString &path) const
{
    // A share's content folder lies a few levels below its volume's root at most.
    QString p = cleaned(path);
    for (int depth = 0; depth < 32 && !p.isEmpty() && p != QLatin1String("/"); ++depth) {
        if (const auto it = m_byPath.constFind(p); it != m_byPath.cend())
            return *it;
        const qsizetype slash = p.lastIndexOf(QLatin1Char('/'));
        if (slash <= 0)
            break;
        p.truncate(slash);
    }
    return std::nullopt;
}

std::optional<MountedVolume> MountPointFinder::matchVolume(const VolumeRecord &record,
                                                           const QList<MountedVolume> &volumes, bool *byKnownPath) const
{
    return matchVolume(record, VolumeIndex(volumes), byKnownPath);
}

std::optional<MountedVolume> MountPointFinder::matchVolume(const VolumeRecord &record, const VolumeIndex &index,
                                                           bool *byKnownPath) const
{
    if (byKnownPath)
        *byKnownPath = false;
    const auto known = [&](qsizetype i) {
        if (byKnownPath)
            *byKnownPath = true;
        return std::optional<MountedVolume>(index.m_volumes.at(i));
    };
    const QString stored = cleaned(record.runtime_computed_mountpoint_String);
    if (isSpecificPath(stored)) {
        if (const auto it = index.m_byPath.constFind(stored); it != index.m_byPath.cend())
            return known(*it);
        // The share's content folder below its volume's root (a WebDAV or SMB path below the mount).
        if (isInsideVolumesFolder(stored)) {
            if (const auto i = index.containing(stored))
                return known(*i);
        }
        // A custom folder: the link points at the listed GVfs folder.
        if (!isInsideVolumesFolder(stored) && m_fs.isSymbolicLink(stored)) {
            QString target = m_fs.symbolicLinkTarget(stored);
            if (QDir::isRelativePath(target))
                target = QFileInfo(stored).absolutePath() + QLatin1Char('/') + target;
            target = cleaned(target);
            if (const auto i = target.isEmpty() ? std::nullopt : index.containing(target))
                return known(*i);
        }
    }

    const auto entries = index.m_byHost.constFind(stripBrackets(record.hostname_String).toLower());
    if (entries == index.m_byHost.cend())
        return std::nullopt;
    const QStringList schemes = schemesFor(record.mounting_using_protocol_Enum);
    const QString share = trimmedOf(record.volume_String, QLatin1Char('/'));
    for (const VolumeIndex::UrlEntry &entry : *entries) {
        if (!schemes.contains(entry.scheme))
            continue;
        // The mounted path is the share or lies inside it, or the share lies inside what is mounted.
        if (entry.path.startsWith(share, Qt::CaseInsensitive) || entry.path.isEmpty()
            || share.startsWith(entry.path + QLatin1Char('/'), Qt::CaseInsensitive))
            return index.m_volumes.at(entry.index);
    }
    return std::nullopt;
}

bool MountPointFinder::isConfirmedGhost(const QString &path, bool isCustomMountFolder) const
{
    if (path.isEmpty())
        return false;
    const QString folder = volumesFolder();
    if (path.startsWith(folder + QLatin1Char('/'))) {
        const QString name = QFileInfo(cleaned(path)).fileName();
        if (name.isEmpty() || protectedNames().contains(name) || name.startsWith(QLatin1Char('.')))
            return false;
        if (isLiveMount(path))
            return false;
        if (m_fs.isSymbolicLink(path))
            return false;
        bool isDirectory = false;
        if (!m_fs.exists(path, &isDirectory) || !isDirectory)
            return false;
        const std::optional<QStringList> entries = m_fs.list(path);
        return entries && entries->isEmpty();
    }
    // Outside the volumes folder only the link that stood for a custom mount folder can be stale: a link
    // whose target has gone. The user's folder itself is never a ghost.
    if (!isCustomMountFolder || !m_fs.isSymbolicLink(path))
        return false;
    if (isLiveMount(path))
        return false;
    return !m_fs.exists(path); // exists() follows the link
}

bool MountPointFinder::removeGhost(const QString &path, bool isCustomMountFolder) const
{
    if (!isConfirmedGhost(path, isCustomMountFolder)) {
        Console::line(kGhostRefusedLine.arg(path));
        return false;
    }
    const bool wasLink = m_fs.isSymbolicLink(path);
    QString error;
    if (!m_fs.removeEntry(path, &error)) {
        Console::line(kGhostFailedLine.arg(path, error));
        return false;
    }
    // The stale link stood in for the user's empty folder: put the folder back so the next mount finds it.
    if (wasLink && isCustomMountFolder)
        QDir().mkpath(path);
    Console::line(kGhostRemovedLine.arg(path));
    return true;
}

QStringList MountPointFinder::cleanUpPaths(const VolumeRecord &record) const
{
    QStringList paths;
    auto add = [&paths](const QString &p) {
        const QString c = cleaned(p);
        if (!c.isEmpty() && !paths.contains(c))
            paths.append(c);
    };
    add(record.runtime_computed_mountpoint_String);
    add(expectedMountPath(record));
    if (!record.mount_inside_Volumes)
        add(record.unique_mountpoint_fullpath_String);
    const QString share = trimmedOf(record.volume_String, QLatin1Char('/'));
    if (!share.isEmpty()) {
        if (const std::optional<QStringList> entries = m_fs.list(volumesFolder())) {
            for (const QString &name : *entries) {
                if (nameScore(name, record.volume_String, QString()) > 0)
                    add(volumesFolder() + QLatin1Char('/') + name);
            }
        }
    }
    // The volumes folder itself is never a candidate.
    paths.removeAll(cleaned(volumesFolder()));
    return paths;
}

EjectOutcome MountPointFinder::eject(const VolumeRecord &record, bool partOfEjectAll,
                                                       const std::function<void(const QString &)> &beforeUnmount) const
{
    EjectOutcome outcome;
    const QString ejectedStatus = partOfEjectAll ? QStringLiteral("Ejected all") : QStringLiteral("Ejected");
    const QString stored = record.runtime_computed_mountpoint_String;
    Console::line(kEjectStartPrefix + record.volume_String);
    Console::line(kEjectStoredLine.arg(stored));

    const QList<MountedVolume> volumes = networkVolumes();
    bool byKnownPath = false;
    const std::optional<MountedVolume> match = matchVolume(record, volumes, &byKnownPath);
    QString path = stored;
    // The volume's root is what unmounts: the stored path may be the share's folder below it. (A custom
    // folder's link stays the path: unmounting it gives the folder back.)
    if (match && cleaned(match->path) != cleaned(stored) && (!byKnownPath || isInsideVolumesFolder(stored))) {
        path = match->path;
        Console::line(kEjectLivePathLine.arg(path));
    }
    outcome.path = path;

    const bool noPath = !isSpecificPath(stored);
    if (!match && (noPath || !isLiveMount(stored, volumes))) {
        if (noPath) {
            Console::line(kEjectNoPathLine);
            outcome.clearMounted = true;
            outcome.eventType = (EVENT_TYPE_ENUM::UNMOUNT_ERROR);
            outcome.eventText = kNotFoundMessage;
            return outcome;
        }
        Console::line(kEjectNotListedLine);
        outcome.ok = true;
        outcome.clearMounted = true;
        outcome.status = ejectedStatus;
        outcome.eventType = (EVENT_TYPE_ENUM::UNMOUNT_SUCCESS);
        outcome.eventText = kAlreadyEjectedMessage;
        return outcome;
    }

    if (beforeUnmount)
        beforeUnmount(path);

    Console::line(kEjectAttemptLine.arg(path));
    UnmountResult result;
    if (MountProtocol::isWebDAV(record.mounting_using_protocol_Enum)) {
        result = m_service.unmount(path, true);
    } else {
        result = m_service.unmount(path, false);
        if (!result.ok)
            result = m_service.unmount(path, true);
    }

    if (result.ok) {
        Console::line(kEjectSuccessLine.arg(path));
        outcome.ok = true;
        outcome.clearMounted = true;
        outcome.status = ejectedStatus;
        outcome.eventType = (EVENT_TYPE_ENUM::UNMOUNT_SUCCESS);
        outcome.eventText = partOfEjectAll ? kAllEjectedDetail : kEjectedByUserDetail;
        outcome.auditType = (AuditEventType::unmountSuccess);
        outcome.auditDetails = partOfEjectAll ? kAllEjectedDetail : kEjectedByUserDetail;
        outcome.auditSuccess = true;
        return outcome;
    }

    const QString errorText = result.errorText.isEmpty() ? kUnknownError : result.errorText;
    Console::line(kEjectFailedLine.arg(result.errnoValue).arg(errorText));
    if (!isLiveMount(path)) {
        outcome.ok = true;
        outcome.clearMounted = true;
        outcome.status = QStringLiteral("Ejected");
        outcome.eventType = (EVENT_TYPE_ENUM::UNMOUNT_SUCCESS);
        outcome.eventText = kAlreadyEjectedMessage;
        return outcome;
    }
    outcome.eventType = (EVENT_TYPE_ENUM::UNMOUNT_ERROR);
    outcome.auditType = (AuditEventType::unmountFailure);
    outcome.auditSuccess = false;
    outcome.auditErrorCode = result.errnoValue;
    if (result.errnoValue == kEbusy) {
        outcome.status = kEjectBusyStatus;
        outcome.eventText = kBusyMessage;
        outcome.auditDetails = kBusyAuditDetail;
    } else {
        outcome.status = kEjectFailedStatusPrefix + errorText;
        outcome.eventText = errorText;
        outcome.auditDetails = errorText;
    }
    return outcome;
}

bool MountPointFinder::forceEject(const QString &path) const
{
    const UnmountResult result = m_service.unmount(path, true);
    Console::line((result.ok ? kSyncForceEjectedLine : kSyncForceFailedLine).arg(path));
    if (!result.ok)
        Console::line(kSyncForceErrorLine.arg(result.errnoValue).arg(result.errorText.isEmpty() ? kUnknownError : result.errorText));
    return result.ok;
}
