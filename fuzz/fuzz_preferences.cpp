// The preferences file: XML or binary property list. Whatever parses must serialise again in both forms
// and parse back (the writer thread does exactly that with what the reader accepted).
#include "FuzzInput.h"

#include "base/PropertyList.h"

#include <cstdlib>

TW_FUZZ_QUIET_CONSOLE

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::optional<QVariant> root = PropertyList::parse(FuzzInput::bytes(data, size));
    if (!root || !PropertyList::isSerializable(*root))
        return 0;
    for (const auto format : {PropertyList::Format::Xml, PropertyList::Format::Binary}) {
        const QByteArray written = PropertyList::serialize(*root, format);
        if (written.isEmpty() || !PropertyList::parse(written))
            std::abort(); // accepted once, then unreadable after our own write
    }
    return 0;
}
