#pragma once

#include <QObject>
#include <QString>

#include <optional>

// The name (SSID) of the Wi-Fi network the machine is on. Used by the auto-mount tick's allow-lists and by
// the rules' Wi-Fi conditions.
//
// Thread: main thread. Implementations never block: they keep the last known state and update it from
// system events, emitting currentNetworkChanged() (only when the name really changed, or when the state
// becomes known).
class WifiNetwork : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;

    // The current network's name; nullopt when not on Wi-Fi, when the service is missing, or while the
    // state is not known yet.
    virtual std::optional<QString> currentNetworkName() const = 0;

    // False until the first answer from the system (right after start-up). Callers that would act on the
    // absence of a network (eject a share limited to some networks) wait until it is true.
    virtual bool isKnown() const = 0;

Q_SIGNALS:
    void currentNetworkChanged();
};
