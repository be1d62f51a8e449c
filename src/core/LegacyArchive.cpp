#include "LegacyArchive.h"
#include "base/BoundedFile.h"

#include "base/Console.h"
#include "base/PropertyList.h"

#include <QFile>
#include <QHash>
#include <QSet>
#include <QTimeZone>

#include <cmath>

namespace {

const QString kArchiverKey = QStringLiteral("$archiver");
const QString kArchiverName = QStringLiteral("NSKeyedArchiver");
const QString kTopKey = QStringLiteral("$top");
const QString kRootKey = QStringLiteral("root");
const QString kObjectsKey = QStringLiteral("$objects");
const QString kClassKey = QStringLiteral("$class");
const QString kClassNameKey = QStringLiteral("$classname");
const QString kNull = QStringLiteral("$null");

// The record class was renamed with the product's editions; every name ever written maps to VolumeRecord.
const QStringList kRecordClassNames{
    QStringLiteral("Tarnwell.VolumeRecord"),         QStringLiteral("Tarnwell_S.VolumeRecord"),
    QStringLiteral("TarnwellPro.VolumeRecord"),      QStringLiteral("TarnwellProSilicon.VolumeRecord"),
    QStringLiteral("VolumeRecord"),
};

// Far deeper than any real share list (array -> record -> weekday array), small enough to stop a crafted
// file from exhausting the stack.
constexpr int kMaxDepth = 32;
constexpr qint64 kReferenceDateOffsetSeconds = 978307200; // 2001-01-01T00:00:00Z

// A reference: a binary property list has a UID kind; the XML form writes it as a dictionary whose only key
// is "CF$UID".
std::optional<quint64> asUid(const QVariant &v)
{
    if (v.metaType() == QMetaType::fromType<PlistUid>())
        return v.value<PlistUid>().value;
    if (v.metaType().id() == QMetaType::QVariantMap) {
        const QVariantMap m = v.toMap();
        const QVariant n = m.value(QStringLiteral("CF$UID"));
        if (m.size() == 1 && PropertyList::isInteger(n) && n.toLongLong() >= 0)
            return quint64(n.toLongLong());
    }
    return std::nullopt;
}

bool isNumber(const QVariant &v)
{
    const int id = v.metaType().id();
    return PropertyList::isInteger(v) || id == QMetaType::Double || id == QMetaType::Float;
}

// Walks the object graph. Results are memoised per UID, so an object shared by many references is built once
// (and a graph made of shared references cannot grow exponentially); a UID met again while it is still being
// built is a cycle.
class Resolver
{
public:
    explicit Resolver(const QVariantList &objects)
        : m_objects(objects)
    {
    }

    QString error;

    // A keyed value: a UID is followed, anything else is an inline primitive. An invalid QVariant is nil.
    std::optional<QVariant> value(const QVariant &v, int depth)
    {
        if (const auto ref = asUid(v))
            return object(*ref, depth);
        if (v.metaType().id() == QMetaType::QVariantMap || v.metaType().id() == QMetaType::QVariantList)
            return fail(QStringLiteral("container stored inline instead of by reference"));
        return v;
    }

private:
    std::optional<QVariant> fail(const QString &message)
    {
        if (error.isEmpty())
            error = message;
        return std::nullopt;
    }

    std::optional<QVariant> object(quint64 uid, int depth)
    {
        if (uid >= static_cast<quint64>(m_objects.size()))
            return fail(QStringLiteral("reference %1 is out of range").arg(uid));
        if (depth > kMaxDepth)
            return fail(QStringLiteral("objects nested too deeply"));
        if (const auto it = m_done.constFind(uid); it != m_done.cend())
            return *it;
        if (m_inProgress.contains(uid))
            return fail(QStringLiteral("object %1 refers to itself").arg(uid));

        m_inProgress.insert(uid);
        std::optional<QVariant> result = build(uid, m_objects.at(static_cast<qsizetype>(uid)), depth);
        m_inProgress.remove(uid);
        if (result)
            m_done.insert(uid, *result);
        return result;
    }

    std::optional<QVariant> build(quint64 uid, const QVariant &raw, int depth)
    {
        const int type = raw.metaType().id();
        if (type == QMetaType::QString) {
            if (uid == 0 && raw.toString() == kNull)
                return QVariant();
            return raw;
        }
        if (isNumber(raw) || type == QMetaType::Bool || type == QMetaType::QByteArray || type == QMetaType::QDateTime)
            return raw;
        if (type != QMetaType::QVariantMap)
            return fail(QStringLiteral("object %1 has an unexpected kind").arg(uid));

        const QVariantMap dict = raw.toMap();
        const std::optional<quint64> classRef = asUid(dict.value(kClassKey));
        if (!classRef)
            return fail(QStringLiteral("object %1 has no class").arg(uid));
        const quint64 classUid = *classRef;
        if (classUid >= static_cast<quint64>(m_objects.size()))
            return fail(QStringLiteral("class reference %1 is out of range").arg(classUid));
        const QVariant classDef = m_objects.at(static_cast<qsizetype>(classUid));
        const QString className = classDef.toMap().value(kClassNameKey).toString();
        if (classDef.metaType().id() != QMetaType::QVariantMap || className.isEmpty())
            return fail(QStringLiteral("object %1 names no class").arg(uid));

        if (kRecordClassNames.contains(className))
            return record(dict, className, depth);
        if (className == QLatin1String("NSArray") || className == QLatin1String("NSMutableArray")
            || className == QLatin1String("NSSet") || className == QLatin1String("NSMutableSet")
            || className == QLatin1String("NSOrderedSet") || className == QLatin1String("NSMutableOrderedSet"))
            return array(dict.value(QStringLiteral("NS.objects")), depth);
        if (className == QLatin1String("NSDictionary") || className == QLatin1String("NSMutableDictionary"))
            return dictionary(dict, depth);
        if (className == QLatin1String("NSString") || className == QLatin1String("NSMutableString")) {
            const auto s = value(dict.value(QStringLiteral("NS.string")), depth + 1);
            if (!s)
                return std::nullopt;
            if (s->metaType().id() == QMetaType::QString)
                return s;
            if (s->metaType().id() == QMetaType::QByteArray)
                return QVariant(QString::fromUtf8(s->toByteArray()));
            return fail(QStringLiteral("string object %1 holds no text").arg(uid));
        }
        if (className == QLatin1String("NSDate")) {
            const QVariant t = dict.value(QStringLiteral("NS.time"));
            if (!isNumber(t) || !std::isfinite(t.toDouble()))
                return fail(QStringLiteral("date object %1 holds no time").arg(uid));
            const double ms = (t.toDouble() + double(kReferenceDateOffsetSeconds)) * 1000.0;
            // QDateTime's range ends long before qint64 milliseconds do; reject rather than wrap.
            if (std::fabs(ms) > 8.0e15)
                return fail(QStringLiteral("date object %1 is out of range").arg(uid));
            return QVariant(QDateTime::fromMSecsSinceEpoch(std::llround(ms), QTimeZone::utc()));
        }
        if (className == QLatin1String("NSData") || className == QLatin1String("NSMutableData")) {
            const auto d = value(dict.value(QStringLiteral("NS.data")), depth + 1);
            if (!d)
                return std::nullopt;
            if (d->metaType().id() != QMetaType::QByteArray)
                return fail(QStringLiteral("data object %1 holds no bytes").arg(uid));
            return d;
        }
        return fail(QStringLiteral("unknown class ") + className);
    }

    std::optional<QVariant> array(const QVariant &items, int depth)
    {
        if (items.metaType().id() != QMetaType::QVariantList)
            return fail(QStringLiteral("array without elements"));
        QVariantList out;
        for (const QVariant &item : items.toList()) {
            const auto v = value(item, depth + 1);
            if (!v)
                return std::nullopt;
            if (!v->isValid())
                return fail(QStringLiteral("array holds a nil element"));
            out.append(*v);
        }
        return QVariant(out);
    }

    std::optional<QVariant> dictionary(const QVariantMap &dict, int depth)
    {
        const QVariant keys = dict.value(QStringLiteral("NS.keys"));
        const QVariant values = dict.value(QStringLiteral("NS.objects"));
        if (keys.metaType().id() != QMetaType::QVariantList || values.metaType().id() != QMetaType::QVariantList
            || keys.toList().size() != values.toList().size())
            return fail(QStringLiteral("dictionary with mismatched keys and values"));
        const QVariantList keyList = keys.toList();
        const QVariantList valueList = values.toList();
        QVariantMap out;
        for (qsizetype i = 0; i < keyList.size(); ++i) {
            const auto k = value(keyList.at(i), depth + 1);
            if (!k)
                return std::nullopt;
            if (k->metaType().id() != QMetaType::QString)
                return fail(QStringLiteral("dictionary key is not a string"));
            const auto v = value(valueList.at(i), depth + 1);
            if (!v)
                return std::nullopt;
            if (v->isValid())
                out.insert(k->toString(), *v);
        }
        return QVariant(out);
    }

    // A record's keyed values; nil values are left out so that the decoder sees those keys as missing.
    std::optional<QVariant> record(const QVariantMap &dict, const QString &className, int depth)
    {
        QVariantMap out;
        for (auto it = dict.cbegin(); it != dict.cend(); ++it) {
            if (it.key() == kClassKey)
                continue;
            const auto v = value(it.value(), depth + 1);
            if (!v)
                return std::nullopt;
            if (v->isValid())
                out.insert(it.key(), *v);
        }
        out.insert(kClassKey, className);
        return QVariant(out);
    }

    const QVariantList &m_objects;
    QHash<quint64, QVariant> m_done;
    QSet<quint64> m_inProgress;
};

std::optional<QList<VolumeRecord>> failImport(const QString &reason, QString *error)
{
    Console::line(LegacyArchive::kDecodeFailedLine);
    if (error)
        *error = reason;
    return std::nullopt;
}

} // namespace

namespace LegacyArchive {

std::optional<QVariant> resolveRoot(const QByteArray &archiveBytes, QString *error)
{
    auto fail = [error](const QString &reason) -> std::optional<QVariant> {
        if (error)
            *error = reason;
        return std::nullopt;
    };
    const std::optional<QVariant> parsed = PropertyList::parse(archiveBytes);
    if (!parsed || parsed->metaType().id() != QMetaType::QVariantMap)
        return fail(QStringLiteral("not a property list"));
    const QVariantMap top = parsed->toMap();
    if (top.value(kArchiverKey).toString() != kArchiverName)
        return fail(QStringLiteral("not a keyed archive"));
    const QVariant objects = top.value(kObjectsKey);
    const QVariant roots = top.value(kTopKey);
    if (objects.metaType().id() != QMetaType::QVariantList || roots.metaType().id() != QMetaType::QVariantMap)
        return fail(QStringLiteral("keyed archive without objects or top"));
    const QVariantMap rootMap = roots.toMap();
    QVariant rootRef = rootMap.value(kRootKey);
    // Archives made with an explicit top-level key other than "root" still have exactly one top object.
    if (!rootRef.isValid() && rootMap.size() == 1)
        rootRef = rootMap.first();
    if (!asUid(rootRef))
        return fail(QStringLiteral("keyed archive without a root object"));

    const QVariantList objectList = objects.toList();
    Resolver resolver(objectList);
    std::optional<QVariant> root = resolver.value(rootRef, 0);
    if (!root)
        return fail(resolver.error);
    return root;
}

std::optional<QList<VolumeRecord>> decodeVolumeRecords(const QByteArray &archiveBytes, QString *error)
{
    QString reason;
    const std::optional<QVariant> root = resolveRoot(archiveBytes, &reason);
    if (!root)
        return failImport(reason, error);
    if (root->metaType().id() != QMetaType::QVariantList)
        return failImport(QStringLiteral("root object is not an array"), error);

    QList<VolumeRecord> records;
    const QVariantList elements = root->toList();
    for (qsizetype i = 0; i < elements.size(); ++i) {
        QVariantMap fields = elements.at(i).toMap();
        if (elements.at(i).metaType().id() != QMetaType::QVariantMap
            || !kRecordClassNames.contains(fields.value(kClassKey).toString()))
            return failImport(QStringLiteral("element %1 is not a share record").arg(i), error);
        fields.remove(kClassKey);
        QString failedKey;
        const std::optional<VolumeRecord> record = VolumeRecord::decode(fields, &failedKey);
        // An element that cannot be decoded fails the array as a whole, as the platform's unarchiver does.
        if (!record)
            return failImport(QStringLiteral("element %1 lacks %2").arg(i).arg(failedKey), error);
        records.append(*record);
    }
    return records;
}

std::optional<QList<VolumeRecord>> importFromPreferencesFile(const QString &path, QString *error)
{
    auto fail = [error](const QString &reason) -> std::optional<QList<VolumeRecord>> {
        if (error)
            *error = reason;
        return std::nullopt;
    };
    const BoundedFile::Content content = BoundedFile::read(path, BoundedFile::kStoreLimit);
    if (!content.ok)
        return fail(content.error);
    const std::optional<QVariant> parsed = PropertyList::parse(content.bytes);
    if (!parsed || parsed->metaType().id() != QMetaType::QVariantMap)
        return fail(QStringLiteral("not a preferences file"));
    const QVariant value = parsed->toMap().value(kPreferencesKey);
    if (value.metaType().id() == QMetaType::QByteArray)
        return decodeVolumeRecords(value.toByteArray(), error);
    if (value.metaType().id() == QMetaType::QVariantList) {
        QList<VolumeRecord> records;
        const QVariantList elements = value.toList();
        for (qsizetype i = 0; i < elements.size(); ++i) {
            QString failedKey;
            const auto record = elements.at(i).metaType().id() == QMetaType::QVariantMap
                                    ? VolumeRecord::decode(elements.at(i).toMap(), &failedKey)
                                    : std::nullopt;
            if (!record)
                return failImport(QStringLiteral("element %1 is not a share record").arg(i), error);
            records.append(*record);
        }
        return records;
    }
    return fail(QStringLiteral("no share list in the preferences file"));
}

} // namespace LegacyArchive
