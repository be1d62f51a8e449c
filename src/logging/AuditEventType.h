#pragma once

#include <QList>
#include <QString>

#include <optional>

// Kinds of audit entries. Persisted and exported by raw value; allAuditEventTypes() lists them in this
// order (the audit view's type filter offers them so).
enum class AuditEventType : int {
    appLaunch = 0,
    appQuit,
    mountAttempt,
    mountSuccess,
    mountFailure,
    unmountAttempt,
    unmountSuccess,
    unmountFailure,
    configImport,
    configExport,
    shareAdded,
    shareRemoved,
    shareModified,
    mdmConfigApplied,
    ruleTriggered,
    authFailure,
    networkChange,
};

namespace AuditEventTypes {

QString rawValue(AuditEventType type);    // "APP_LAUNCH", ...
QString displayName(AuditEventType type); // "Application Launched", ...
QString symbolName(AuditEventType type);  // icon name, "app.badge", ...
// nullopt for a string that is not a raw value (a decoding error for the caller).
std::optional<AuditEventType> fromRawValue(const QString &raw);
const QList<AuditEventType> &allCases();

} // namespace AuditEventTypes
