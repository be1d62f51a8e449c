#pragma once

#include <QString>

#include <functional>
#include <optional>

// The organisation's import/export policy as the exchange sees it: a read of one managed boolean key.
// Only an explicit false blocks; an absent key (nullopt) or true allows. Without a reader everything is
// allowed. The composition root connects it to the managed-preferences reader.
namespace ExchangePolicy {

using Reader = std::function<std::optional<bool>(const QString &key)>;

inline const QString kAllowImportKey = QStringLiteral("AllowShareImport");
inline const QString kAllowExportKey = QStringLiteral("AllowShareExport");

inline bool allows(const Reader &reader, const QString &key)
{
    if (!reader)
        return true;
    const std::optional<bool> value = reader(key);
    return !(value.has_value() && !*value);
}

inline bool importAllowed(const Reader &reader) { return allows(reader, kAllowImportKey); }
inline bool exportAllowed(const Reader &reader) { return allows(reader, kAllowExportKey); }

} // namespace ExchangePolicy
