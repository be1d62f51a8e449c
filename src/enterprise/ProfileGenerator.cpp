#include "ProfileGenerator.h"

#include "base/Paths.h"

namespace ProfileGenerator {

namespace {

QString indent(int n)
{
    return QString(n, QLatin1Char(' '));
}

QString key(int n, const QString &name)
{
    return indent(n) + QStringLiteral("<key>") + name + QStringLiteral("</key>\n");
}

QString string(int n, const QString &value)
{
    return indent(n) + QStringLiteral("<string>") + value + QStringLiteral("</string>\n");
}

QString boolean(int n, bool value)
{
    return indent(n) + (value ? QStringLiteral("<true/>\n") : QStringLiteral("<false/>\n"));
}

QString uuidText(const QUuid &uuid)
{
    return uuid.toString(QUuid::WithoutBraces).toUpper();
}

} // namespace

QString generate(const Settings &settings, const std::function<QUuid()> &newUuid)
{
    const auto uuid = [&newUuid] { return uuidText(newUuid ? newUuid() : QUuid::createUuid()); };
    const QString bundleId = QString::fromLatin1(Paths::kBundleId);
    const QString organization =
        settings.organizationName.isEmpty() ? QStringLiteral("Company") : settings.organizationName;

    QString p;
    p += QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n");
    p += QStringLiteral("<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                        "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n");
    p += QStringLiteral("<plist version=\"1.0\">\n");
    p += QStringLiteral("<dict>\n");
    p += key(4, QStringLiteral("PayloadContent"));
    p += indent(4) + QStringLiteral("<array>\n");
    p += indent(8) + QStringLiteral("<dict>\n");
    p += key(12, QStringLiteral("PayloadType")) + string(12, bundleId);
    p += key(12, QStringLiteral("PayloadVersion")) + indent(12) + QStringLiteral("<integer>1</integer>\n");
    p += key(12, QStringLiteral("PayloadIdentifier")) + string(12, bundleId + QStringLiteral(".config"));
    p += key(12, QStringLiteral("PayloadUUID")) + string(12, uuid());
    p += key(12, QStringLiteral("PayloadDisplayName")) + string(12, QStringLiteral("Tarnwell Configuration"));
    p += indent(12) + QLatin1Char('\n');
    p += key(12, QStringLiteral("OrganizationName")) + string(12, settings.organizationName);
    p += key(12, QStringLiteral("HelpDeskEmail")) + string(12, settings.helpDeskEmail);
    p += key(12, QStringLiteral("AllowUserShares")) + boolean(12, settings.allowUserShares);
    p += key(12, QStringLiteral("AllowShareExport")) + boolean(12, settings.allowShareExport);
    p += key(12, QStringLiteral("AllowShareImport")) + boolean(12, settings.allowShareImport);
    if (settings.enforcedSSIDs.isEmpty()) {
        p += indent(12) + QLatin1Char('\n');
        p += indent(12) + QLatin1Char('\n');
    } else {
        p += key(12, QStringLiteral("EnforceSSIDRestriction")) + string(12, settings.enforcedSSIDs);
        p += indent(12) + QLatin1Char('\n');
    }
    p += key(12, QStringLiteral("ManagedShares"));
    p += indent(12) + QStringLiteral("<array>\n");
    for (const Share &share : settings.shares) {
        if (share.hostname.isEmpty() || share.shareName.isEmpty())
            continue;
        p += indent(12) + QStringLiteral("<dict>\n");
        p += key(16, QStringLiteral("nickname")) + string(16, share.nickname);
        p += key(16, QStringLiteral("hostname")) + string(16, share.hostname);
        p += key(16, QStringLiteral("share")) + string(16, share.shareName);
        p += key(16, QStringLiteral("protocol")) + string(16, share.protocolType);
        p += key(16, QStringLiteral("locked")) + boolean(16, share.locked);
        p += indent(12) + QStringLiteral("</dict>\n");
    }
    p += indent(12) + QStringLiteral("</array>\n");
    p += indent(8) + QStringLiteral("</dict>\n");
    p += indent(4) + QStringLiteral("</array>\n");
    p += indent(4) + QLatin1Char('\n');
    p += key(4, QStringLiteral("PayloadDisplayName"))
        + string(4, QStringLiteral("Tarnwell - ") + organization + QStringLiteral(" Configuration"));
    p += key(4, QStringLiteral("PayloadIdentifier"))
        + string(4, QStringLiteral("com.") + organization.toLower().remove(QLatin1Char(' '))
                        + QStringLiteral(".tarnwell.profile"));
    p += key(4, QStringLiteral("PayloadType")) + string(4, QStringLiteral("Configuration"));
    p += key(4, QStringLiteral("PayloadUUID")) + string(4, uuid());
    p += key(4, QStringLiteral("PayloadVersion")) + indent(4) + QStringLiteral("<integer>1</integer>\n");
    p += QStringLiteral("</dict>\n");
    p += QStringLiteral("</plist>");
    return p;
}

QString proposedFileName(const QString &organizationName)
{
    return (organizationName.isEmpty() ? kProductName : organizationName) + kFileSuffix;
}

} // namespace ProfileGenerator
