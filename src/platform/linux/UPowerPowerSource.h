#pragma once

#include "platform/PowerSource.h"

#include <QDBusConnection>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <optional>

// Power state from UPower's OnBattery property on the system bus, followed through its PropertiesChanged
// signal. While UPower has not answered (or is not running) the state comes from the kernel: on power when
// a supply of type "Mains" in /sys/class/power_supply reports online=1, on battery when every Mains supply
// reports 0, and on power when there is none (a desktop without a battery).
//
// Thread: main thread; the D-Bus calls are asynchronous.
class UPowerPowerSource : public PowerSource
{
    Q_OBJECT
public:
    explicit UPowerPowerSource(const QDBusConnection &bus = QDBusConnection::systemBus(),
                               QString powerSupplyDir = QStringLiteral("/sys/class/power_supply"),
                               QObject *parent = nullptr);

    bool isOnPower() const override;

    // The kernel's answer for a power_supply folder (pure but for the file reads); nullopt: no Mains supply.
    static std::optional<bool> mainsOnline(const QString &powerSupplyDir);

private Q_SLOTS:
    void onPropertiesChanged(const QString &interface, const QVariantMap &changed, const QStringList &invalidated);
    void onServiceOwnerChanged(const QString &service, const QString &oldOwner, const QString &newOwner);

private:
    void readOnBattery();
    void setOnBattery(std::optional<bool> onBattery);

    QDBusConnection m_bus;
    QString m_powerSupplyDir;
    std::optional<bool> m_onBattery; // from UPower; nullopt: not known from it
    bool m_lastReported = true;
};
