#pragma once

#include "platform/ShareLister.h"

#include <QStringList>

class ProcessLauncher;

// ShareLister over `smbclient -g -L` run through a ProcessLauncher. With a user name the credentials go
// into a private authentication file (mode 0600, `-A`), removed when the child has ended; a guest listing
// uses `-U guest -N`. The launcher is not owned.
class SmbclientShareLister : public ShareLister
{
public:
    static inline const QString kProgram = QStringLiteral("smbclient");

    explicit SmbclientShareLister(ProcessLauncher *launcher) : m_launcher(launcher) {}

    Result list(const Request &request) override;

    // The client's arguments; `authFile` is the credentials file (empty for a guest listing).
    static QStringList arguments(const Request &request, const QString &authFile);
    // The authentication file's content.
    static QByteArray authFileContent(const QString &user, const QString &password);

private:
    ProcessLauncher *m_launcher;
};
