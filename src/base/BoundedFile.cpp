#include "BoundedFile.h"

#include <QFile>

namespace BoundedFile {

QString tooLargeText(qint64 maxBytes)
{
    return QStringLiteral("larger than %1 bytes").arg(maxBytes);
}

Content read(const QString &path, qint64 maxBytes)
{
    Content content;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        content.error = file.errorString();
        return content;
    }
    // One byte beyond the bound tells a file that grew (or a device without a size) from one at the bound.
    if (file.size() > maxBytes || (content.bytes = file.read(maxBytes + 1)).size() > maxBytes) {
        content.bytes.clear();
        content.tooLarge = true;
        content.error = tooLargeText(maxBytes);
        return content;
    }
    if (file.error() != QFileDevice::NoError) {
        content.bytes.clear();
        content.error = file.errorString();
        return content;
    }
    content.ok = true;
    return content;
}

} // namespace BoundedFile
