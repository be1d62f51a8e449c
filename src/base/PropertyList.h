#pragma once

#include <QByteArray>
#include <QHash>
#include <QPair>
#include <QMetaType>
#include <QVariant>

#include <optional>

// A UID node of a property list. Keyed archives reference objects with these; ordinary preference
// files never contain them.
struct PlistUid
{
    quint64 value = 0;
    bool operator==(const PlistUid &other) const { return value == other.value; }
};
Q_DECLARE_METATYPE(PlistUid)

// Converts between property lists (XML or binary) and QVariant trees while keeping each value's kind:
// integer -> qint64, real -> double, boolean -> bool, string -> QString, date -> QDateTime (UTC),
// data -> QByteArray, array -> QVariantList, dictionary -> QVariantMap, UID -> PlistUid.
// Thread-safe (no shared state).
namespace PropertyList {

enum class Format { Xml, Binary };

// Parses XML or binary property-list bytes; nullopt when the bytes are not a property list, or when
// containers nest more than 64 levels deep, or when there are more than BoundedFile::kStoreLimit bytes.
std::optional<QVariant> parse(const QByteArray &bytes);

// Serialises a value tree; an empty array when the tree holds a kind that has no plist form.
QByteArray serialize(const QVariant &root, Format format = Format::Xml);

// The XML of dictionaries kept from one serialisation to the next. A dictionary that is still the same
// shared instance (Qt's implicit sharing: unchanged since) is not written again but copied from here, so a
// writer that saves a large, mostly unchanged tree over and over pays only for what changed. Holds a
// reference to each dictionary it has text for, so an address cannot be reused by another one meanwhile.
// Used by one thread at a time.
class XmlCache
{
public:
    struct Entry
    {
        QVariantMap map;
        QByteArray xml;
    };
    QHash<QPair<const void *, int>, Entry> previous; // (first node, depth) -> text
    QHash<QPair<const void *, int>, Entry> current;
};
QByteArray serializeXml(const QVariant &root, XmlCache &cache);

// True when the variant holds a plist integer (any integral Qt type except bool).
bool isInteger(const QVariant &value);

// True when every value in the tree has a property-list form.
bool isSerializable(const QVariant &value);

} // namespace PropertyList
