#pragma once

#include "core/VolumeRecord.h"
#include "logging/LogEvent.h"

// An event-log entry about a share: copies the record's id, host, share name, computed mount point and
// status as they are now, so later edits of the record leave the entry unchanged. A null record gives an
// event about no share in particular.
inline LogEvent recordEvent(const VolumeRecord *record, EVENT_TYPE_ENUM type, const QString &message)
{
    if (!record)
        return LogEvent::general(type, message);
    return LogEvent(record->internal_ID_Int, record->hostname_String, record->volume_String,
                    record->runtime_computed_mountpoint_String, record->runtime_status_String, type, message);
}
