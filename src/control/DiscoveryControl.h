#pragma once

#include "discovery/DiscoveredShare.h"

#include <QDBusContext>
#include <QDBusMessage>
#include <QList>
#include <QObject>
#include <QString>

class MountEngine;
class NetworkDiscoveryManager;

// The discovery interface io.tarnwell.Tarnwell.Discovery1 (io.tarnwell.Tarnwell.Discovery1.xml beside this
// file), served through the adaptor generated from that XML and exported at kObjectPath by AppDelegate.
// ListShares answers when the listing ends (a delayed reply), so a client simply waits for it; one listing
// runs at a time.
//
// Thread: main thread. The manager and the engine are not owned and must outlive this object.
class DiscoveryControl : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_PROPERTY(bool Scanning READ scanning)
    Q_PROPERTY(double Progress READ progress)
    Q_PROPERTY(QString Status READ status)

public:
    static inline const QString kObjectPath = QStringLiteral("/io/tarnwell/Tarnwell/Discovery");
    static inline const QString kInterface = QStringLiteral("io.tarnwell.Tarnwell.Discovery1");
    static inline const QString kBusyMessage = QStringLiteral("A share listing is already running");
    static inline const QString kNotListedMessage = QStringLiteral("The share '%1' is not in the listing of %2");

    DiscoveryControl(NetworkDiscoveryManager &discovery, MountEngine &engine, QObject *parent = nullptr);

    bool scanning() const;
    double progress() const;
    QString status() const;

    // The JSON forms of the replies (also used by tests).
    static QString serversJson(const QList<DiscoveredShare> &servers);

public Q_SLOTS:
    void StartScan();
    void StopScan();
    QString Servers();
    QString ListShares(const QString &host, int port, const QString &user, const QString &password);
    qint64 AddShare(const QString &host, int port, const QString &user, const QString &password,
                    const QString &share);

Q_SIGNALS:
    void ScanChanged(bool scanning, double progress, const QString &status);

private:
    static DiscoveredShare serverFor(const QString &host, int port);
    void listingFinished();

    NetworkDiscoveryManager &m_discovery;
    MountEngine &m_engine;
    QList<QDBusMessage> m_pendingListings;
    QString m_listedHost; // the host of the last finished listing
    int m_listedPort = 0;
};
