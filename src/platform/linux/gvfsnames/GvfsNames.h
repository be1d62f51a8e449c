#pragma once

#include <QHash>
#include <QString>
#include <QUrl>

#include <optional>

// GVfs names each mount's folder under its FUSE root after the mount spec: the mount type, a colon, then
// the spec's keys sorted, "key=value" joined by commas, values percent-escaped
// ("smb-share:port=1445,server=127.0.0.1,share=public", "dav:host=h,port=8080,ssl=false,prefix=%2Fdav").
// The one implementation of that naming: the GVfs mount service and the fake use it, the engine reaches
// it through MountService. Pure; any thread.
namespace GvfsNames {

// The folder name GVfs gives the mount of a share URL (smb/cifs, http/https/dav/davs, afp, others).
QString folderName(const QUrl &url);

// The fields of a mount-spec folder name, values unescaped; empty for a name that is not a mount spec.
QHash<QString, QString> specFields(const QString &name);

// The share ("share", else "prefix" without its slashes) and host ("server", else "host") a mount-spec
// folder name stands for, with what tells mounts of one server apart (the mount type, "port", "ssl");
// nullopt for other names.
struct ShareAndHost
{
    QString share;
    QString host;
    QString type;
    QString port;
    QString ssl;
};
std::optional<ShareAndHost> shareAndHost(const QString &name);

} // namespace GvfsNames
