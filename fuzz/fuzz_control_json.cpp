// JSON a caller hands the control interface: share settings (add, edit), a rule, a directory mapping and
// its share.
#include "FuzzInput.h"

#include "control/RecordJson.h"
#include "enterprise/ADShareMapping.h"
#include "rules/Rule.h"

#include <QJsonDocument>

TW_FUZZ_QUIET_CONSOLE

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes = FuzzInput::bytes(data, size);
    QString error;
    (void)ADShareMapping::decodeList(bytes, &error);
    const QJsonDocument document = QJsonDocument::fromJson(bytes);
    if (!document.isObject())
        return 0;
    const QJsonObject object = document.object();
    VolumeRecord record;
    if (RecordJson::apply(object, record, &error))
        (void)RecordJson::toJson(record);
    (void)Rule::fromJson(object, &error);
    (void)ADMappedShare::fromJson(object);
    (void)ADShareMapping::fromJson(object);
    return 0;
}
