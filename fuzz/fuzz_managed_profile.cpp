// A managed profile from the managed-preferences folder (XML or binary property list, a payload wrapper
// or a plain dictionary), down to the locked records its shares become.
#include "FuzzInput.h"

#include "base/PropertyList.h"
#include "enterprise/ManagedPreferencesReader.h"
#include "platform/linux/ManagedPreferenceFolder.h"

TW_FUZZ_QUIET_CONSOLE

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::optional<QVariant> root = PropertyList::parse(FuzzInput::bytes(data, size));
    if (!root)
        return 0;
    const ManagedPreferencesReader reader(ManagedPreferenceFolder::keysFromPropertyList(*root));
    (void)reader.hasManagedShareList();
    (void)reader.string(ManagedPreferencesReader::kOrganizationNameKey);
    (void)reader.isShareImportAllowed();
    (void)reader.isShareExportAllowed();
    qint64 id = 1;
    for (const ManagedShare &share : reader.readManagedShares())
        (void)ManagedPreferencesReader::recordFor(share, id++).encode();
    return 0;
}
