#pragma once
// Small helpers shared by the unit tests of the persistence and logging layers.

#include "base/Console.h"
#include "base/PropertyList.h"
#include "core/VolumeRecord.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMutex>
#include <QDateTime>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

#include <functional>
#include <map>

// Collects console lines while alive. Lines may come from worker threads (the audit log's writer).
struct ConsoleCapture
{
    ConsoleCapture()
    {
        Console::setSink([this](const QString &text) {
            QMutexLocker lock(&mutex);
            lines.append(text);
        });
    }
    ~ConsoleCapture() { Console::setSink({}); }
    QStringList startingWith(const QString &prefix)
    {
        QMutexLocker lock(&mutex);
        QStringList out;
        for (const QString &l : std::as_const(lines))
            if (l.startsWith(prefix))
                out.append(l);
        return out;
    }
    QMutex mutex;
    QStringList lines;
};

inline QByteArray readFile(const QString &path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

// Creates the folder as needed; false when the bytes could not all be written.
inline bool writeFile(const QString &path, const QByteArray &bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile f(path);
    return f.open(QIODevice::WriteOnly) && f.write(bytes) == bytes.size();
}

// {"a", "b"} as a list of strings, for table rows.
inline QStringList strs(std::initializer_list<const char *> items)
{
    QStringList list;
    for (const char *item : items)
        list << QString::fromUtf8(item);
    return list;
}

inline QJsonObject json(const char *text)
{
    return QJsonDocument::fromJson(QByteArray(text)).object();
}

// Sets fields of a record from "key=value" pairs separated by ';' (a value may hold ','), for compact rows:
// id, host, share, nick, user, guest, port (empty: none), protocol (SMB, AFP, NFS, WebDAV, WebDAVS), auto,
// volumes, dir, group, mac, ssids, locked, by, password, override. An unknown key fails loudly.
inline void setFields(VolumeRecord &r, const QString &spec)
{
    using R = VolumeRecord;
    static const std::map<QString, QString R::*> texts{
        {QStringLiteral("host"), &R::hostname_String},   {QStringLiteral("share"), &R::volume_String},
        {QStringLiteral("nick"), &R::nickname_String},   {QStringLiteral("user"), &R::username_String},
        {QStringLiteral("group"), &R::group_String},     {QStringLiteral("mac"), &R::macAddress_String},
        {QStringLiteral("ssids"), &R::allowedSSIDs_String}, {QStringLiteral("by"), &R::managedBy},
        {QStringLiteral("dir"), &R::unique_mountpoint_fullpath_String}};
    static const std::map<QString, int R::*> flags{
        {QStringLiteral("guest"), &R::no_password_guest_login}, {QStringLiteral("auto"), &R::auto_Mount},
        {QStringLiteral("volumes"), &R::mount_inside_Volumes}};
    for (const QString &pair : spec.split(QLatin1Char(';'), Qt::SkipEmptyParts)) {
        const QString key = pair.section(QLatin1Char('='), 0, 0);
        const QString v = pair.section(QLatin1Char('='), 1);
        if (const auto text = texts.find(key); text != texts.end())
            r.*(text->second) = v;
        else if (const auto flag = flags.find(key); flag != flags.end())
            r.*(flag->second) = v.toInt();
        else if (key == QLatin1String("id"))
            r.internal_ID_Int = v.toLongLong();
        else if (key == QLatin1String("port"))
            r.port_Int = v.isEmpty() ? std::nullopt : std::optional<qint64>(v.toLongLong());
        else if (key == QLatin1String("protocol"))
            r.mounting_using_protocol_Enum = MountUsingProtocol_Enum(strs({"SMB", "AFP", "NFS", "WebDAV", "WebDAVS"}).indexOf(v));
        else if (key == QLatin1String("locked"))
            r.isLocked = v == QLatin1String("1");
        else if (key == QLatin1String("password"))
            r._cachedPassword = v;
        else if (key == QLatin1String("override"))
            r.credentialAccountOverride = v;
        else
            qFatal("setFields: unknown key in '%s'", qPrintable(pair));
    }
}
inline void setFields(VolumeRecord &r, const char *spec)
{
    setFields(r, QString::fromUtf8(spec));
}
inline VolumeRecord recordOf(const char *spec)
{
    VolumeRecord r;
    setFields(r, spec);
    return r;
}

inline constexpr double kReferenceDate = 978307200.0; // 2001-01-01T00:00:00Z in Unix seconds

inline QVariant uid(quint64 v)
{
    return QVariant::fromValue(PlistUid{v});
}

// Lays out an object graph as the platform's keyed archiver does: "$objects" starts with "$null", every
// object is referenced by UID, each class is a dictionary with "$classname" and "$classes", and the
// archive's single top object is "root". A container's slot comes before those of its members, as there.
class ArchiveBuilder
{
public:
    QVariantList objects{QStringLiteral("$null")};
    QVariantMap top;

    static QVariant null() { return uid(0); }
    QVariant add(const QVariant &v) // strings, numbers and other primitives
    {
        objects.append(v);
        return uid(quint64(objects.size() - 1));
    }
    quint64 reserve() { return add(QVariantMap()).value<PlistUid>().value; }
    void fill(quint64 slot, const QString &className, QVariantMap values)
    {
        const QVariantList chain{className, QStringLiteral("NSObject")};
        values.insert(QStringLiteral("$class"),
                      add(QVariantMap{{QStringLiteral("$classname"), className}, {QStringLiteral("$classes"), chain}}));
        objects[qsizetype(slot)] = values;
    }
    // An instance of the class with the keyed values `values` adds (after the instance's own slot).
    QVariant object(const QString &className, const std::function<QVariantMap(ArchiveBuilder &)> &values)
    {
        const quint64 slot = reserve();
        fill(slot, className, values(*this));
        return uid(slot);
    }
    QVariant array(const QVariantList &refs, const QString &className = QStringLiteral("NSArray"))
    {
        return object(className, [&refs](ArchiveBuilder &) { return QVariantMap{{QStringLiteral("NS.objects"), refs}}; });
    }
    QVariant date(const QDateTime &when)
    {
        const double t = double(when.toMSecsSinceEpoch()) / 1000.0 - kReferenceDate;
        return object(QStringLiteral("NSDate"), [t](ArchiveBuilder &) { return QVariantMap{{QStringLiteral("NS.time"), t}}; });
    }
    QByteArray finish(const QVariant &root, PropertyList::Format format = PropertyList::Format::Binary)
    {
        if (top.isEmpty())
            top.insert(QStringLiteral("root"), root);
        return PropertyList::serialize(QVariantMap{{QStringLiteral("$archiver"), QStringLiteral("NSKeyedArchiver")},
                                                   {QStringLiteral("$version"), qint64(100000)},
                                                   {QStringLiteral("$top"), top},
                                                   {QStringLiteral("$objects"), objects}},
                                       format);
    }
};

#include <csignal>
#include <sys/resource.h>

// While alive, no file of this process may grow beyond `bytes`: writes past it fail (EFBIG) or come back
// short, as on a full disk, without needing a file system of our own. SIGXFSZ is ignored meanwhile.
struct FileSizeLimit
{
    explicit FileSizeLimit(rlim_t bytes)
    {
        m_previousHandler = std::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &m_previous);
        rlimit limited = m_previous;
        limited.rlim_cur = bytes;
        ::setrlimit(RLIMIT_FSIZE, &limited);
    }
    ~FileSizeLimit()
    {
        ::setrlimit(RLIMIT_FSIZE, &m_previous);
        std::signal(SIGXFSZ, m_previousHandler);
    }
    FileSizeLimit(const FileSizeLimit &) = delete;
    FileSizeLimit &operator=(const FileSizeLimit &) = delete;

private:
    rlimit m_previous {};
    void (*m_previousHandler)(int) = nullptr;
};
