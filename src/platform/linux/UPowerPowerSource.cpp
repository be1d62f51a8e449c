#include "UPowerPowerSource.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QDir>
#include <QFile>

namespace {
const QString kService = QStringLiteral("org.freedesktop.UPower");
const QString kPath = QStringLiteral("/org/freedesktop/UPower");
const QString kProperties = QStringLiteral("org.freedesktop.DBus.Properties");
const QString kOnBattery = QStringLiteral("OnBattery");

QByteArray readTrimmed(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll().trimmed();
}
} // namespace

UPowerPowerSource::UPowerPowerSource(const QDBusConnection &bus, QString powerSupplyDir, QObject *parent)
    : PowerSource(parent)
    , m_bus(bus)
    , m_powerSupplyDir(std::move(powerSupplyDir))
{
    m_lastReported = isOnPower();
    if (!m_bus.isConnected())
        return;
    m_bus.connect(kService, kPath, kProperties, QStringLiteral("PropertiesChanged"), this,
                  SLOT(onPropertiesChanged(QString, QVariantMap, QStringList)));
    auto *watcher = new QDBusServiceWatcher(kService, m_bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(watcher, &QDBusServiceWatcher::serviceOwnerChanged, this, &UPowerPowerSource::onServiceOwnerChanged);
    readOnBattery();
}

std::optional<bool> UPowerPowerSource::mainsOnline(const QString &powerSupplyDir)
{
    std::optional<bool> online;
    const QDir dir(powerSupplyDir);
    for (const QString &entry : dir.entryList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::System, QDir::Name)) {
        if (readTrimmed(dir.filePath(entry + QStringLiteral("/type"))) != "Mains")
            continue;
        const bool on = readTrimmed(dir.filePath(entry + QStringLiteral("/online"))) == "1";
        online = online.value_or(false) || on;
    }
    return online;
}

bool UPowerPowerSource::isOnPower() const
{
    if (m_onBattery)
        return !*m_onBattery;
    return mainsOnline(m_powerSupplyDir).value_or(true);
}

void UPowerPowerSource::readOnBattery()
{
    QDBusMessage call = QDBusMessage::createMethodCall(kService, kPath, kProperties, QStringLiteral("Get"));
    call << kService << kOnBattery;
    auto *watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher *w) {
        w->deleteLater();
        const QDBusPendingReply<QDBusVariant> reply = *w;
        if (reply.isError())
            setOnBattery(std::nullopt);
        else
            setOnBattery(reply.value().variant().toBool());
    });
}

void UPowerPowerSource::onPropertiesChanged(const QString &interface, const QVariantMap &changed,
                                            const QStringList &invalidated)
{
    if (interface != kService)
        return;
    if (changed.contains(kOnBattery))
        setOnBattery(changed.value(kOnBattery).toBool());
    else if (invalidated.contains(kOnBattery))
        readOnBattery();
}

void UPowerPowerSource::onServiceOwnerChanged(const QString &, const QString &, const QString &newOwner)
{
    if (newOwner.isEmpty())
        setOnBattery(std::nullopt);
    else
        readOnBattery();
}

void UPowerPowerSource::setOnBattery(std::optional<bool> onBattery)
{
    m_onBattery = onBattery;
    const bool now = isOnPower();
    if (now == m_lastReported)
        return;
    m_lastReported = now;
    Q_EMIT powerStateChanged();
}
