// The event log as it is stored: the "Tarnwell_LogEventArray" list of the preferences file, each entry a
// keyed dictionary. Every entry that decodes must encode to a dictionary that decodes again.
#include "FuzzInput.h"

#include "base/Preferences.h"
#include "base/PropertyList.h"
#include "logging/LogEvent.h"

#include <cstdlib>

TW_FUZZ_QUIET_CONSOLE

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::optional<QVariant> root = PropertyList::parse(FuzzInput::bytes(data, size));
    if (!root || root->typeId() != QMetaType::QVariantMap)
        return 0;
    const QVariant stored = root->toMap().value(Preferences::Keys::LogEventArray);
    if (stored.typeId() != QMetaType::QVariantList)
        return 0;
    for (const QVariant &element : stored.toList()) {
        if (element.typeId() != QMetaType::QVariantMap)
            continue;
        const std::optional<LogEvent> event = LogEvent::decode(element.toMap());
        if (event && !LogEvent::decode(event->encode()))
            std::abort();
    }
    return 0;
}
