#pragma once

#include "core/VolumeRecord.h"

#include <QString>

#include <optional>

// A whole record through the one validation of a share's fields (ShareFields): what importers and the
// editor ask before a record they built from outside input joins the store.
namespace RecordFields {

// The first problem, naming the field; nullopt when the record's user-given fields are all valid.
std::optional<QString> check(const VolumeRecord &record);

} // namespace RecordFields
