#include "ManagedPreferenceFolder.h"

#include "base/Console.h"
#include "base/Paths.h"
#include "base/PropertyList.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <sys/stat.h>
#include <unistd.h>

namespace {

const QString kPayloadContent = QStringLiteral("PayloadContent");
const QString kPayloadType = QStringLiteral("PayloadType");
const QString kManagedShares = QStringLiteral("ManagedShares");

// Payload bookkeeping keys are the profile's, not settings.
QVariantMap withoutPayloadKeys(QVariantMap map)
{
    for (auto it = map.begin(); it != map.end();) {
        if (it.key().startsWith(QLatin1String("Payload")))
            it = map.erase(it);
        else
            ++it;
    }
    return map;
}

QStringList profileFiles(const QString &folder)
{
    return QDir(folder).entryList({QStringLiteral("*.mobileconfig"), QStringLiteral("*.plist")},
                                  QDir::Files | QDir::Hidden | QDir::System, QDir::Name);
}

} // namespace

QString ManagedPreferenceFolder::standardFolder()
{
    const QString overridden = qEnvironmentVariable(kFolderVariable);
    return overridden.isEmpty() ? kDefaultFolder : overridden;
}

ManagedPreferenceFolder::ManagedPreferenceFolder(QString folder, QObject *parent)
    : ManagedPreferenceSource(parent)
    , m_folder(std::move(folder))
{
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this, [this] { rewatch(); });
    connect(&m_watcher, &QFileSystemWatcher::fileChanged, this, [this] { rewatch(); });
    m_fingerprint = fingerprint();
    rewatch();
}

QVariantMap ManagedPreferenceFolder::keysFromPropertyList(const QVariant &root)
{
    if (root.metaType().id() != QMetaType::QVariantMap)
        return {};
    const QVariantMap map = root.toMap();
    const QString bundleId = QString::fromLatin1(Paths::kBundleId);
    if (map.contains(kPayloadContent)) {
        QVariantMap merged;
        const QVariant content = map.value(kPayloadContent);
        if (content.metaType().id() != QMetaType::QVariantList)
            return {};
        for (const QVariant &payload : content.toList()) {
            if (payload.metaType().id() != QMetaType::QVariantMap)
                continue;
            const QVariantMap dict = payload.toMap();
            if (dict.value(kPayloadType).toString() != bundleId)
                continue;
            merged.insert(withoutPayloadKeys(dict));
        }
        return merged;
    }
    if (map.contains(kPayloadType))
        return map.value(kPayloadType).toString() == bundleId ? withoutPayloadKeys(map) : QVariantMap();
    return map;
}

QString ManagedPreferenceFolder::unsafeReason(const QString &path, uint uid)
{
    struct stat st {};
    if (::stat(QFile::encodeName(path).constData(), &st) != 0)
        return QStringLiteral("cannot be examined");
    if (st.st_mode & (S_IWGRP | S_IWOTH))
        return QStringLiteral("writable by group or others");
    if (st.st_uid != 0 && st.st_uid != uid)
        return QStringLiteral("owned by another user (uid %1)").arg(st.st_uid);
    return {};
}

void ManagedPreferenceFolder::report(const QString &path, const QString &line)
{
    // The reader reads the folder once per key; a file is reported once for as long as it stays the same.
    const QFileInfo info(path);
    const QString key = line + QLatin1Char('|') + QString::number(info.size()) + QLatin1Char('|')
        + QString::number(info.lastModified().toMSecsSinceEpoch()) + QLatin1Char('|')
        + QString::number(info.metadataChangeTime().toMSecsSinceEpoch());
    if (m_reported.contains(key))
        return;
    m_reported.insert(key);
    Console::line(line);
}

QVariantMap ManagedPreferenceFolder::values()
{
    QVariantMap merged;
    const QFileInfo folderInfo(m_folder);
    if (!folderInfo.isDir())
        return merged; // nothing managed: no message
    const uint uid = ::getuid();
    if (const QString reason = unsafeReason(m_folder, uid); !reason.isEmpty()) {
        report(m_folder, kUnsafeFolderLine.arg(m_folder, reason));
        return merged;
    }
    for (const QString &name : profileFiles(m_folder)) {
        const QString path = m_folder + QLatin1Char('/') + name;
        if (const QString reason = unsafeReason(path, uid); !reason.isEmpty()) {
            report(path, kUnreadableLine.arg(path, reason));
            continue;
        }
        QFile file(path);
        if (file.size() > kMaxFileBytes) {
            report(path, kUnreadableLine.arg(path, QStringLiteral("larger than %1 bytes").arg(kMaxFileBytes)));
            continue;
        }
        if (!file.open(QIODevice::ReadOnly)) {
            report(path, kUnreadableLine.arg(path, file.errorString()));
            continue;
        }
        const auto root = PropertyList::parse(file.readAll());
        if (!root) {
            report(path, kUnparsableLine.arg(path));
            continue;
        }
        QVariantMap keys = keysFromPropertyList(*root);
        // Share lists add up, so that a company-wide and a department profile both count; any other key
        // of a later file replaces an earlier one's.
        const QVariant earlier = merged.value(kManagedShares);
        const QVariant later = keys.value(kManagedShares);
        if (earlier.metaType().id() == QMetaType::QVariantList && later.metaType().id() == QMetaType::QVariantList)
            keys.insert(kManagedShares, earlier.toList() + later.toList());
        merged.insert(keys);
    }
    return merged;
}

QByteArray ManagedPreferenceFolder::fingerprint() const
{
    QCryptographicHash hash(QCryptographicHash::Sha1);
    const QFileInfo folderInfo(m_folder);
    hash.addData(QByteArray::number(folderInfo.exists()));
    if (folderInfo.isDir()) {
        for (const QString &name : profileFiles(m_folder)) {
            const QFileInfo info(m_folder + QLatin1Char('/') + name);
            hash.addData(name.toUtf8());
            hash.addData(QByteArray::number(info.size()));
            hash.addData(QByteArray::number(info.lastModified().toMSecsSinceEpoch()));
            hash.addData(QByteArray::number(info.metadataChangeTime().toMSecsSinceEpoch()));
        }
    }
    return hash.result();
}

void ManagedPreferenceFolder::rewatch()
{
    if (!m_watcher.files().isEmpty())
        m_watcher.removePaths(m_watcher.files());
    if (!m_watcher.directories().isEmpty())
        m_watcher.removePaths(m_watcher.directories());
    if (QFileInfo(m_folder).isDir()) {
        m_watcher.addPath(m_folder);
        QStringList files;
        for (const QString &name : profileFiles(m_folder))
            files.append(m_folder + QLatin1Char('/') + name);
        if (!files.isEmpty())
            m_watcher.addPaths(files);
    } else {
        // Wait for the folder to appear.
        const QString parent = QFileInfo(m_folder).absolutePath();
        if (QFileInfo(parent).isDir())
            m_watcher.addPath(parent);
    }
    const QByteArray now = fingerprint();
    if (now != m_fingerprint) {
        m_fingerprint = now;
        Q_EMIT changed();
    }
}
