#include "Defaults.h"

#include "Console.h"
#include "Paths.h"
#include "PropertyList.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <sys/stat.h>

Defaults::Defaults(QString filePath)
    : m_filePath(std::move(filePath))
{
    QMutexLocker lock(&m_mutex);
    loadLocked();
}

QString Defaults::standardFilePath()
{
    return Paths::configDir() + QLatin1Char('/') + QLatin1String(Paths::kBundleId) + QLatin1String(".plist");
}

void Defaults::reload()
{
    QMutexLocker lock(&m_mutex);
    loadLocked();
}

void Defaults::loadLocked()
{
    m_values.clear();
    QFile file(m_filePath);
    if (!file.exists())
        return;
    if (!file.open(QIODevice::ReadOnly)) {
        Console::line(QStringLiteral("⚠️ [Persistence] Could not read preferences file ") + m_filePath + QStringLiteral(": ")
                      + file.errorString());
        return;
    }
    const QByteArray bytes = file.readAll();
    file.close();
    const std::optional<QVariant> root = PropertyList::parse(bytes);
    if (root && root->metaType().id() == QMetaType::QVariantMap) {
        m_values = root->toMap();
        return;
    }
    // Keep the damaged file for inspection instead of overwriting it with the next write.
    const QString aside = m_filePath + QStringLiteral(".corrupt-")
                          + QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMddTHHmmss"));
    QFile::rename(m_filePath, aside);
    Console::line(QStringLiteral("⚠️ [Persistence] Preferences file is not a valid property list; moved aside to ") + aside);
}

bool Defaults::contains(const QString &key) const
{
    QMutexLocker lock(&m_mutex);
    return m_values.contains(key);
}

QVariant Defaults::value(const QString &key) const
{
    QMutexLocker lock(&m_mutex);
    return m_values.value(key);
}

std::optional<qint64> Defaults::integer(const QString &key) const
{
    const QVariant v = value(key);
    if (!PropertyList::isInteger(v))
        return std::nullopt;
    return v.toLongLong();
}

std::optional<bool> Defaults::boolean(const QString &key) const
{
    const QVariant v = value(key);
    if (v.metaType().id() != QMetaType::Bool)
        return std::nullopt;
    return v.toBool();
}

std::optional<QString> Defaults::string(const QString &key) const
{
    const QVariant v = value(key);
    if (v.metaType().id() != QMetaType::QString)
        return std::nullopt;
    return v.toString();
}

std::optional<QDateTime> Defaults::date(const QString &key) const
{
    const QVariant v = value(key);
    if (v.metaType().id() != QMetaType::QDateTime)
        return std::nullopt;
    return v.toDateTime();
}

std::optional<QByteArray> Defaults::data(const QString &key) const
{
    const QVariant v = value(key);
    if (v.metaType().id() != QMetaType::QByteArray)
        return std::nullopt;
    return v.toByteArray();
}

std::optional<QVariantList> Defaults::array(const QString &key) const
{
    const QVariant v = value(key);
    if (v.metaType().id() != QMetaType::QVariantList && v.metaType().id() != QMetaType::QStringList)
        return std::nullopt;
    return v.toList();
}

std::optional<QVariantMap> Defaults::dictionary(const QString &key) const
{
    const QVariant v = value(key);
    if (v.metaType().id() != QMetaType::QVariantMap)
        return std::nullopt;
    return v.toMap();
}

bool Defaults::setValue(const QString &key, const QVariant &value)
{
    QMutexLocker lock(&m_mutex);
    m_values.insert(key, PropertyList::isInteger(value) ? QVariant(value.toLongLong()) : value);
    return writeLocked();
}

bool Defaults::remove(const QString &key)
{
    QMutexLocker lock(&m_mutex);
    if (m_values.remove(key) == 0)
        return true;
    return writeLocked();
}

bool Defaults::writeLocked()
{
    const QByteArray bytes = PropertyList::serialize(QVariant(m_values));
    if (bytes.isEmpty()) {
        Console::line(QStringLiteral("⚠️ [Persistence] Preferences hold a value with no property-list form; not written"));
        return false;
    }
    const QFileInfo info(m_filePath);
    QDir().mkpath(info.absolutePath());
    QSaveFile file(m_filePath);
    if (!file.open(QIODevice::WriteOnly)) {
        Console::line(QStringLiteral("⚠️ [Persistence] Could not write preferences file ") + m_filePath + QStringLiteral(": ")
                      + file.errorString());
        return false;
    }
    ::fchmod(file.handle(), S_IRUSR | S_IWUSR);
    file.write(bytes);
    if (!file.commit()) {
        Console::line(QStringLiteral("⚠️ [Persistence] Could not write preferences file ") + m_filePath + QStringLiteral(": ")
                      + file.errorString());
        return false;
    }
    return true;
}
