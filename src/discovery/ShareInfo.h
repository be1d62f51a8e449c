#pragma once

#include <QString>
#include <QUuid>

#include <optional>

// One share offered by an SMB server, as its listing names it.
struct ShareInfo
{
    QUuid id = QUuid::createUuid();
    QString name;
    QString serverHost;              // the host the listing ran against
    std::optional<QString> serverIP; // the resolved address, when resolution was needed
    QString protocolType = QStringLiteral("SMB");
    bool isHidden = false;           // the name ends in "$"

    friend bool operator==(const ShareInfo &, const ShareInfo &) = default;
};
