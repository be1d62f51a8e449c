#include "GvfsNames.h"

#include <QStringList>

namespace {

QString trimmedOf(const QString &text, QChar c)
{
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && text.at(begin) == c)
        ++begin;
    while (end > begin && text.at(end - 1) == c)
        --end;
    return text.mid(begin, end - begin);
}

QString escapeSpecValue(const QString &value)
{
    // GVfs escapes every reserved character of a mount-spec value except these.
    return QString::fromLatin1(QUrl::toPercentEncoding(value, "$&'()*+"));
}

} // namespace

namespace GvfsNames {

QString folderName(const QUrl &url)
{
    const QString scheme = url.scheme().toLower();
    const QString host = url.host();
    const QString path = trimmedOf(url.path(), QLatin1Char('/'));
    QStringList items; // sorted by key, as GVfs keeps them
    auto add = [&items](const QString &key, const QString &value) {
        items.append(key + QLatin1Char('=') + escapeSpecValue(value));
    };
    QString type;
    QString prefix;
    if (scheme == QLatin1String("smb") || scheme == QLatin1String("cifs")) {
        // GVfs keeps the share lower-cased in the mount spec.
        const QString share = path.section(QLatin1Char('/'), 0, 0).toLower();
        type = share.isEmpty() ? QStringLiteral("smb-server") : QStringLiteral("smb-share");
        if (url.port() > 0)
            add(QStringLiteral("port"), QString::number(url.port()));
        add(QStringLiteral("server"), host);
        if (!share.isEmpty())
            add(QStringLiteral("share"), share);
    } else if (scheme == QLatin1String("http") || scheme == QLatin1String("https") || scheme == QLatin1String("dav")
               || scheme == QLatin1String("davs")) {
        type = QStringLiteral("dav");
        const bool ssl = scheme == QLatin1String("https") || scheme == QLatin1String("davs");
        add(QStringLiteral("host"), host);
        if (url.port() > 0)
            add(QStringLiteral("port"), QString::number(url.port()));
        add(QStringLiteral("ssl"), ssl ? QStringLiteral("true") : QStringLiteral("false"));
        if (!path.isEmpty())
            prefix = QLatin1Char('/') + path;
    } else if (scheme == QLatin1String("afp")) {
        type = QStringLiteral("afp-volume");
        add(QStringLiteral("host"), host);
        if (url.port() > 0)
            add(QStringLiteral("port"), QString::number(url.port()));
        add(QStringLiteral("volume"), path.section(QLatin1Char('/'), 0, 0));
    } else {
        type = scheme;
        add(QStringLiteral("host"), host);
        if (url.port() > 0)
            add(QStringLiteral("port"), QString::number(url.port()));
        if (!path.isEmpty())
            prefix = QLatin1Char('/') + path;
    }
    if (!prefix.isEmpty())
        items.append(QStringLiteral("prefix=") + escapeSpecValue(prefix));
    return type + QLatin1Char(':') + items.join(QLatin1Char(','));
}

QHash<QString, QString> specFields(const QString &name)
{
    QHash<QString, QString> fields;
    const qsizetype colon = name.indexOf(QLatin1Char(':'));
    if (colon <= 0 || name.indexOf(QLatin1Char('='), colon) < 0)
        return fields;
    const QStringList items = name.mid(colon + 1).split(QLatin1Char(','));
    for (const QString &item : items) {
        const qsizetype eq = item.indexOf(QLatin1Char('='));
        if (eq <= 0)
            return {};
        fields.insert(item.left(eq), QUrl::fromPercentEncoding(item.mid(eq + 1).toUtf8()));
    }
    return fields;
}

std::optional<ShareAndHost> shareAndHost(const QString &name)
{
    const QHash<QString, QString> fields = specFields(name);
    if (fields.isEmpty())
        return std::nullopt;
    ShareAndHost result;
    result.share = fields.contains(QStringLiteral("share")) ? fields.value(QStringLiteral("share"))
                                                            : trimmedOf(fields.value(QStringLiteral("prefix")), QLatin1Char('/'));
    result.host = fields.contains(QStringLiteral("server")) ? fields.value(QStringLiteral("server"))
                                                            : fields.value(QStringLiteral("host"));
    result.type = name.left(name.indexOf(QLatin1Char(':')));
    result.port = fields.value(QStringLiteral("port"));
    result.ssl = fields.value(QStringLiteral("ssl"));
    return result;
}

} // namespace GvfsNames
