#pragma once

#include "core/VolumeRecord.h"

#include <QList>
#include <QString>

#include <optional>

// Finds the record a user means by a name on the command line or in a tarnwell:// URL. Pure; any thread.
//
// Order: a decimal ID of an existing record; else the nickname, exactly; else the nickname ignoring case.
// Several records at the first step that matches make the name ambiguous: the message lists their IDs so
// the user can repeat the command with one of them.
namespace ShareResolver {

struct Resolution
{
    std::optional<qint64> id;
    bool ambiguous = false;   // set with an error message when several records matched
    QString message;          // the error for the user when id is absent
};

Resolution resolve(const QList<VolumeRecord> &records, const QString &query);

} // namespace ShareResolver
