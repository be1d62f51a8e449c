// The kernel's mount table (/proc/self/mountinfo): the network mounts read from it and the health of the
// FUSE bridge judged from it.
#include "FuzzInput.h"

#include "platform/linux/GvfsFuseBridge.h"
#include "platform/linux/GvfsMountTable.h"

TW_FUZZ_QUIET_CONSOLE

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray text = FuzzInput::bytes(data, size);
    for (const MountedVolume &volume : GvfsMountTable::parseMountInfo(text))
        (void)volume.path.size();
    const QString folder = QStringLiteral("/run/user/1000/gvfs");
    (void)GvfsFuseBridge::classify(text, folder, 0);
    (void)GvfsFuseBridge::mountTypeAt(text, folder);
    return 0;
}
