#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QList>
#include <QString>

// Text shown by tarnwellctl for what the engine returns (records and event-log entries as JSON), for a
// terminal: control characters in the texts are escaped (Cli::printable). Pure.
namespace Output {

// One line per share under a header: ID, NICKNAME, PROTOCOL, STATE, URL, STATUS (the short status label when
// the engine gives one, else the status text). "No shares configured." for an empty list.
QString recordTable(const QJsonArray &records);

// "key: value" lines for one share (status command).
QString recordDetails(const QJsonObject &record);

// "2024-05-01 12:00:00  #3 host/share  MOUNT_SUCCESS: Mounted share" (the status appended in brackets when
// the message does not already say it).
QString eventLine(const QJsonObject &event);

// The entries of `current` (newest first) that are newer than everything in `previous` (newest first too):
// those in front of previous' newest entry in `current`. When that entry is gone (the log was cleared or
// trimmed past it), the entries of `current` dated after it. Returned oldest first, ready to print.
QList<QJsonObject> newEvents(const QJsonArray &previous, const QJsonArray &current);

// Text as it stands (JSON for scripts), ending in a newline.
QString asLine(const QString &text);

// A share's name for messages: its nickname, else host/share, with the ID.
QString shareName(const QJsonObject &record);

} // namespace Output
