#include "PropertyList.h"

#include "BoundedFile.h"

#include <QDateTime>
#include <QTimeZone>

#include <plist/plist.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>

namespace {

// Property-list dates count seconds from 2001-01-01T00:00:00Z.
constexpr qint64 kPlistEpochOffset = 978307200;

constexpr char kXmlHeader[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                              "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                              "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                              "<plist version=\"1.0\">\n";

struct PlistDeleter
{
    void operator()(plist_t node) const { plist_free(node); }
};
using PlistPtr = std::unique_ptr<void, PlistDeleter>;

// Deeper nesting than any preference file or profile has: a crafted file could otherwise exhaust the
// stack, as the conversion recurses once per level.
constexpr int kMaxDepth = 64;
constexpr qsizetype kMaxBytes = qsizetype(BoundedFile::kStoreLimit);

QVariant toVariant(plist_t node, int depth, bool *tooDeep)
{
    if (depth > kMaxDepth) {
        *tooDeep = true;
        return {};
    }
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
        uint8_t v = 0;
        plist_get_bool_val(node, &v);
        return QVariant(v != 0);
    }
    case PLIST_UINT: {
        uint64_t v = 0;
        plist_get_uint_val(node, &v);
        return QVariant(static_cast<qlonglong>(v));
    }
    case PLIST_REAL: {
        double v = 0;
        plist_get_real_val(node, &v);
        return QVariant(v);
    }
    case PLIST_STRING: {
        // By pointer and length: the copying getter asserts (aborts) on a string with an embedded NUL,
        // which a damaged binary file can hold.
        uint64_t len = 0;
        const char *v = plist_get_string_ptr(node, &len);
        return QVariant(v ? QString::fromUtf8(v, static_cast<qsizetype>(len)) : QString());
    }
    case PLIST_DATA: {
        char *v = nullptr;
        uint64_t len = 0;
        plist_get_data_val(node, &v, &len);
        const QByteArray d(v, static_cast<qsizetype>(len));
        free(v);
        return QVariant(d);
    }
    case PLIST_DATE: {
        int32_t sec = 0;
        int32_t usec = 0;
        plist_get_date_val(node, &sec, &usec);
        const qint64 ms = (qint64(sec) + kPlistEpochOffset) * 1000 + usec / 1000;
        return QVariant(QDateTime::fromMSecsSinceEpoch(ms, QTimeZone::utc()));
    }
    case PLIST_UID: {
        uint64_t v = 0;
        plist_get_uid_val(node, &v);
        return QVariant::fromValue(PlistUid{v});
    }
    case PLIST_ARRAY: {
        QVariantList list;
        const uint32_t n = plist_array_get_size(node);
        list.reserve(n);
        for (uint32_t i = 0; i < n; ++i)
            list.append(toVariant(plist_array_get_item(node, i), depth + 1, tooDeep));
        return QVariant(list);
    }
    case PLIST_DICT: {
        QVariantMap map;
        plist_dict_iter it = nullptr;
        plist_dict_new_iter(node, &it);
        for (;;) {
            char *key = nullptr;
            plist_t value = nullptr;
            plist_dict_next_item(node, it, &key, &value);
            if (!key)
                break;
            map.insert(QString::fromUtf8(key), toVariant(value, depth + 1, tooDeep));
            free(key);
        }
        free(it);
        // The XML form has no UID element: a UID is written as a dictionary whose only key is "CF$UID".
        if (map.size() == 1) {
            const QVariant uid = map.value(QStringLiteral("CF$UID"));
            if (PropertyList::isInteger(uid) && uid.toLongLong() >= 0)
                return QVariant::fromValue(PlistUid{static_cast<quint64>(uid.toLongLong())});
        }
        return QVariant(map);
    }
    default:
        return {};
    }
}

plist_t fromVariant(const QVariant &value)
{
    if (value.metaType() == QMetaType::fromType<PlistUid>())
        return plist_new_uid(value.value<PlistUid>().value);
    // libplist keeps integers as 64-bit two's complement, so negative values round-trip.
    if (PropertyList::isInteger(value))
        return plist_new_uint(static_cast<uint64_t>(value.toLongLong()));
    switch (value.metaType().id()) {
    case QMetaType::Bool:
        return plist_new_bool(value.toBool() ? 1 : 0);
    case QMetaType::Double:
    case QMetaType::Float:
        return plist_new_real(value.toDouble());
    case QMetaType::QString: {
        const QByteArray utf8 = value.toString().toUtf8();
        return plist_new_string(utf8.constData());
    }
    case QMetaType::QByteArray: {
        const QByteArray d = value.toByteArray();
        return plist_new_data(d.constData(), static_cast<uint64_t>(d.size()));
    }
    case QMetaType::QDateTime: {
        const qint64 ms = value.toDateTime().toMSecsSinceEpoch() - kPlistEpochOffset * 1000;
        qint64 sec = ms / 1000;
        qint64 rem = ms % 1000;
        if (rem < 0) {
            rem += 1000;
            --sec;
        }
        return plist_new_date(static_cast<int32_t>(sec), static_cast<int32_t>(rem * 1000));
    }
    case QMetaType::QStringList:
    case QMetaType::QVariantList: {
        plist_t array = plist_new_array();
        for (const QVariant &item : value.toList()) {
            plist_t child = fromVariant(item);
            if (!child) {
                plist_free(array);
                return nullptr;
            }
            plist_array_append_item(array, child);
        }
        return array;
    }
    case QMetaType::QVariantMap: {
        plist_t dict = plist_new_dict();
        const QVariantMap map = value.toMap();
        for (auto it = map.cbegin(); it != map.cend(); ++it) {
            plist_t child = fromVariant(it.value());
            if (!child) {
                plist_free(dict);
                return nullptr;
            }
            plist_dict_set_item(dict, it.key().toUtf8().constData(), child);
        }
        return dict;
    }
    default:
        return nullptr;
    }
}

// The XML form written directly, without building libplist's node tree first: the preferences file is
// rewritten on every acknowledged change, and the node tree cost more than the text. The output is byte for
// byte what libplist writes (same indentation, escapes, number and date forms, base64 line width), so files
// stay the same whichever writer made them. Values whose libplist form is unusual (non-finite reals, deep
// data) return false and the caller falls back to libplist.
class XmlWriter
{
public:
    explicit XmlWriter(QByteArray &out, PropertyList::XmlCache *cache = nullptr)
        : m_out(out)
        , m_cache(cache)
    {
    }

    bool write(const QVariant &value, int depth)
    {
        indent(depth);
        if (value.metaType() == QMetaType::fromType<PlistUid>()) {
            m_out += "<dict>\n";
            indent(depth + 1);
            m_out += "<key>CF$UID</key>\n";
            indent(depth + 1);
            integer(qint64(value.value<PlistUid>().value));
            indent(depth);
            m_out += "</dict>\n";
            return true;
        }
        if (PropertyList::isInteger(value)) {
            integer(value.toLongLong());
            return true;
        }
        switch (value.metaType().id()) {
        case QMetaType::Bool:
            m_out += value.toBool() ? "<true/>\n" : "<false/>\n";
            return true;
        case QMetaType::Double:
        case QMetaType::Float: {
            const double v = value.toDouble();
            if (!std::isfinite(v))
                return false;
            m_out += "<real>";
            if (v == 0) {
                m_out += "0.0";
            } else {
                char text[40];
                const int n = std::snprintf(text, sizeof text, "%.17g", v);
                m_out.append(text, n);
            }
            m_out += "</real>\n";
            return true;
        }
        case QMetaType::QString:
            m_out += "<string>";
            escaped(value.toString());
            m_out += "</string>\n";
            return true;
        case QMetaType::QByteArray:
            return data(value.toByteArray(), depth);
        case QMetaType::QDateTime:
            return date(value.toDateTime());
        case QMetaType::QStringList:
        case QMetaType::QVariantList: {
            const QVariantList list = value.toList();
            if (list.isEmpty()) {
                m_out += "<array/>\n";
                return true;
            }
            m_out += "<array>\n";
            for (const QVariant &item : list) {
                if (!write(item, depth + 1))
                    return false;
            }
            indent(depth);
            m_out += "</array>\n";
            return true;
        }
        case QMetaType::QVariantMap: {
            const QVariantMap *map = static_cast<const QVariantMap *>(value.constData());
            if (map->isEmpty()) {
                m_out += "<dict/>\n";
                return true;
            }
            if (m_cache && depth > 0)
                return cachedDict(*map, depth);
            m_out += "<dict>\n";
            for (auto it = map->cbegin(); it != map->cend(); ++it) {
                indent(depth + 1);
                m_out += "<key>";
                escaped(it.key());
                m_out += "</key>\n";
                if (!write(it.value(), depth + 1))
                    return false;
            }
            indent(depth);
            m_out += "</dict>\n";
            return true;
        }
        default:
            return false;
        }
    }

private:
    void indent(int depth) { m_out.append(depth, '\t'); }

    bool cachedDict(const QVariantMap &map, int depth)
    {
        const QPair<const void *, int> key(&map.constBegin().key(), depth);
        auto found = m_cache->previous.constFind(key);
        if (found == m_cache->previous.cend() || !found->map.isSharedWith(map)) {
            found = m_cache->current.constFind(key);
            if (found == m_cache->current.cend() || !found->map.isSharedWith(map)) {
                QByteArray xml;
                XmlWriter inner(xml);
                if (!inner.write(QVariant(map), depth))
                    return false;
                found = m_cache->current.insert(key, {map, xml});
            }
        }
        const PropertyList::XmlCache::Entry entry = *found; // insert() below may move what found points at
        // write() indented the opening tag already; the cached text carries its own.
        m_out.chop(depth);
        m_out += entry.xml;
        m_cache->current.insert(key, entry);
        return true;
    }

    void integer(qint64 v)
    {
        m_out += "<integer>";
        m_out += QByteArray::number(v);
        m_out += "</integer>\n";
    }

    void escaped(const QString &text)
    {
        const QByteArray utf8 = text.toUtf8();
        const char *from = utf8.constData();
        const char *const end = from + utf8.size();
        for (const char *p = from; p != end; ++p) {
            const char c = *p;
            if (c != '&' && c != '<' && c != '>')
                continue;
            m_out.append(from, p - from);
            m_out += c == '&' ? "&amp;" : c == '<' ? "&lt;" : "&gt;";
            from = p + 1;
        }
        m_out.append(from, end - from);
    }

    bool data(const QByteArray &bytes, int depth)
    {
        const int width = 76 - 8 * depth; // libplist narrows the base64 lines with the indentation
        if (width < 16)
            return false;
        m_out += "<data>\n";
        const QByteArray base64 = bytes.toBase64();
        for (qsizetype at = 0; at < base64.size(); at += width) {
            indent(depth);
            m_out.append(base64.constData() + at, qMin<qsizetype>(width, base64.size() - at));
            m_out += '\n';
        }
        indent(depth);
        m_out += "</data>\n";
        return true;
    }

    bool date(const QDateTime &when)
    {
        // libplist keeps seconds as a double and prints them truncated toward zero.
        const qint64 plistSeconds = (when.toMSecsSinceEpoch() - kPlistEpochOffset * 1000) / 1000;
        const QDateTime utc = QDateTime::fromSecsSinceEpoch(plistSeconds + kPlistEpochOffset, QTimeZone::utc());
        const QDate day = utc.date();
        if (!day.isValid() || day.year() < 1000 || day.year() > 9999)
            return false;
        const QTime t = utc.time();
        char text[32];
        const int n = std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02dZ", day.year(), day.month(),
                                    day.day(), t.hour(), t.minute(), t.second());
        m_out += "<date>";
        m_out.append(text, n);
        m_out += "</date>\n";
        return true;
    }

    QByteArray &m_out;
    PropertyList::XmlCache *m_cache;
};

quint64 readBigEndian(const QByteArray &bytes, qsizetype at, int size)
{
    quint64 v = 0;
    for (int i = 0; i < size; ++i)
        v = (v << 8) | static_cast<uchar>(bytes.at(at + i));
    return v;
}

// What both pre-parse scans of a binary property list read: the 32-byte trailer (where the offset table is,
// the width of its entries and of object references, the object count and the top object) and, per object,
// its kind, element count and where its content starts. Anything inconsistent reads as nothing: damage of
// other kinds is left to libplist, which reports it.
struct BinaryLayout
{
    qsizetype end = 0; // the trailer's start: every object lies before it
    int offsetSize = 0;
    int refSize = 0;
    quint64 count = 0;
    quint64 top = 0;
    quint64 tableOffset = 0;

    quint64 objectAt(const QByteArray &bytes, quint64 object) const
    {
        return readBigEndian(bytes, qsizetype(tableOffset + object * quint64(offsetSize)), offsetSize);
    }
};

std::optional<BinaryLayout> binaryLayout(const QByteArray &bytes)
{
    constexpr qsizetype kTrailer = 32;
    const qsizetype size = bytes.size();
    if (size < 8 + kTrailer)
        return std::nullopt;
    BinaryLayout l;
    l.end = size - kTrailer;
    l.offsetSize = static_cast<uchar>(bytes.at(l.end + 6));
    l.refSize = static_cast<uchar>(bytes.at(l.end + 7));
    l.count = readBigEndian(bytes, l.end + 8, 8);
    l.top = readBigEndian(bytes, l.end + 16, 8);
    l.tableOffset = readBigEndian(bytes, l.end + 24, 8);
    if (l.offsetSize < 1 || l.offsetSize > 8 || l.tableOffset >= quint64(size) || l.count > quint64(size)
        || l.tableOffset + l.count * quint64(l.offsetSize) > quint64(l.end))
        return std::nullopt;
    return l;
}

struct BinaryObject
{
    int kind = 0;       // the marker's high nibble
    quint64 length = 0; // elements (characters, members)
    quint64 start = 0;  // where the elements begin
};

std::optional<BinaryObject> binaryObject(const QByteArray &bytes, const BinaryLayout &l, quint64 at)
{
    if (at >= quint64(l.end))
        return std::nullopt;
    const uchar marker = static_cast<uchar>(bytes.at(qsizetype(at)));
    BinaryObject o{marker >> 4, quint64(marker & 0x0F), at + 1};
    if (o.length == 0x0F) {
        // The long form: an integer object with the count follows the marker.
        if (o.start >= quint64(l.end))
            return std::nullopt;
        const uchar intMarker = static_cast<uchar>(bytes.at(qsizetype(o.start)));
        const int intSize = 1 << (intMarker & 0x0F);
        if ((intMarker >> 4) != 0x1 || intSize > 8 || o.start + 1 + quint64(intSize) > quint64(l.end))
            return std::nullopt;
        o.length = readBigEndian(bytes, qsizetype(o.start + 1), intSize);
        o.start += 1 + quint64(intSize);
    }
    if (o.length > quint64(l.end))
        return std::nullopt;
    return o;
}

// libplist asserts (aborts the process) when a binary string or key holds a NUL character, and a damaged
// preferences file or a foreign archive may well hold one. Such files are refused before libplist sees them.
bool binaryHasNulInString(const QByteArray &bytes)
{
    const auto l = binaryLayout(bytes);
    if (!l)
        return false;
    for (quint64 i = 0; i < l->count; ++i) {
        const auto o = binaryObject(bytes, *l, l->objectAt(bytes, i));
        if (!o || (o->kind != 0x5 && o->kind != 0x6 && o->kind != 0x7))
            continue;
        const quint64 unit = o->kind == 0x6 ? 2 : 1;
        if (o->start + o->length * unit > quint64(l->end))
            continue;
        for (quint64 k = 0; k < o->length; ++k) {
            const qsizetype p = qsizetype(o->start + k * unit);
            if (bytes.at(p) == 0 && (unit == 1 || bytes.at(p + 1) == 0))
                return true;
        }
    }
    return false;
}

// libplist's binary reader takes time quadratic in the nesting (seconds for a 400 KB file 50,000 levels
// deep), and the depth limit of the conversion only applies after it. Containers are followed here first,
// without recursion, and a file nesting deeper than the limit is refused before libplist sees it.
bool binaryNestsTooDeep(const QByteArray &bytes)
{
    const auto l = binaryLayout(bytes);
    if (!l || l->refSize < 1 || l->refSize > 8 || l->top >= l->count)
        return false;
    QList<bool> seen(qsizetype(l->count), false);
    QList<QPair<quint64, int>> pending{{l->top, 0}}; // object, its depth
    while (!pending.isEmpty()) {
        const auto [object, depth] = pending.takeLast();
        if (object >= l->count || seen.at(qsizetype(object)))
            continue;
        seen[qsizetype(object)] = true;
        const auto o = binaryObject(bytes, *l, l->objectAt(bytes, object));
        if (!o || (o->kind != 0xA && o->kind != 0xC && o->kind != 0xD))
            continue;
        if (depth >= kMaxDepth && o->length > 0)
            return true; // its members would lie beyond the limit
        const quint64 refs = o->kind == 0xD ? o->length * 2 : o->length;
        if (o->start + refs * quint64(l->refSize) > quint64(l->end))
            continue;
        for (quint64 k = 0; k < refs; ++k)
            pending.append({readBigEndian(bytes, qsizetype(o->start + k * quint64(l->refSize)), l->refSize), depth + 1});
    }
    return false;
}

} // namespace

namespace PropertyList {

std::optional<QVariant> parse(const QByteArray &bytes)
{
    // libplist takes a 32-bit length; nothing this application reads comes near the bound.
    if (bytes.isEmpty() || bytes.size() > kMaxBytes)
        return std::nullopt;
    plist_t root = nullptr;
    if (bytes.startsWith("bplist00")) {
        if (binaryHasNulInString(bytes) || binaryNestsTooDeep(bytes))
            return std::nullopt;
        plist_from_bin(bytes.constData(), static_cast<uint32_t>(bytes.size()), &root);
    } else {
        plist_from_xml(bytes.constData(), static_cast<uint32_t>(bytes.size()), &root);
    }
    if (!root)
        return std::nullopt;
    PlistPtr guard(root);
    bool tooDeep = false;
    QVariant tree = toVariant(root, 0, &tooDeep);
    if (tooDeep)
        return std::nullopt;
    return tree;
}

QByteArray serialize(const QVariant &root, Format format)
{
    if (format == Format::Xml) {
        QByteArray bytes;
        bytes.reserve(64 * 1024);
        bytes += kXmlHeader;
        if (XmlWriter(bytes).write(root, 0)) {
            bytes += "</plist>\n";
            return bytes;
        }
    }
    PlistPtr node(fromVariant(root));
    if (!node)
        return {};
    char *out = nullptr;
    uint32_t length = 0;
    if (format == Format::Binary)
        plist_to_bin(node.get(), &out, &length);
    else
        plist_to_xml(node.get(), &out, &length);
    QByteArray bytes(out, static_cast<qsizetype>(length));
    free(out);
    return bytes;
}

QByteArray serializeXml(const QVariant &root, XmlCache &cache)
{
    QByteArray bytes;
    bytes.reserve(64 * 1024);
    bytes += kXmlHeader;
    cache.current.clear();
    const bool written = XmlWriter(bytes, &cache).write(root, 0);
    // Only what this tree still holds is kept: the rest would pin dictionaries that are gone.
    cache.previous.swap(cache.current);
    cache.current.clear();
    if (written)
        return bytes + "</plist>\n";
    return serialize(root);
}

bool isInteger(const QVariant &value)
{
    switch (value.metaType().id()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Short:
    case QMetaType::UShort:
        return true;
    default:
        return false;
    }
}

bool isSerializable(const QVariant &value)
{
    if (value.metaType() == QMetaType::fromType<PlistUid>() || isInteger(value))
        return true;
    switch (value.metaType().id()) {
    case QMetaType::Bool:
    case QMetaType::Double:
    case QMetaType::Float:
    case QMetaType::QString:
    case QMetaType::QByteArray:
    case QMetaType::QDateTime:
    case QMetaType::QStringList:
        return true;
    case QMetaType::QVariantList: {
        const QVariantList list = value.toList();
        return std::all_of(list.cbegin(), list.cend(), [](const QVariant &v) { return isSerializable(v); });
    }
    case QMetaType::QVariantMap: {
        const QVariantMap map = value.toMap();
        return std::all_of(map.cbegin(), map.cend(), [](const QVariant &v) { return isSerializable(v); });
    }
    default:
        return false;
    }
}

} // namespace PropertyList
