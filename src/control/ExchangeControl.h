#pragma once

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QUuid>

class ConfigurationManager;
class LegacyImporter;
class MountEngine;
class ShareSetManager;
struct ShareSet;

// The engine's exchange interface io.tarnwell.Tarnwell.Exchange1 (io.tarnwell.Tarnwell.Exchange1.xml beside
// this file), served through the adaptor generated from that XML and exported at
// /io/tarnwell/Tarnwell/Exchange by AppDelegate. Every method works on a file PATH that the engine reads or
// writes itself. Imports answer with a delayed reply once what they changed is on disk (the preferences, the
// rules file) and, for those that store passwords (CSV, macOS build), once the secret store is done; a save
// that failed makes the reply NotSaved with the reason (the engine keeps the import and retries). Refusals
// (policy, invalid file, unsupported version) are D-Bus errors whose message is the text to show, and change
// nothing.
//
// Thread: main thread. The managers are not owned and must outlive this object.
class ExchangeControl : public QObject, protected QDBusContext
{
    Q_OBJECT
public:
    ExchangeControl(ConfigurationManager &configuration, ShareSetManager &sets, LegacyImporter &legacy,
                    QObject *parent = nullptr);

    // Called by the generated adaptor (names and signatures follow the XML).
    void ExportConfiguration(const QString &path);
    QString PreviewConfiguration(const QString &path);
    QString ImportConfiguration(const QString &path, const QString &mode);
    void ExportCsv(const QString &path);
    QString ImportCsv(const QString &path);
    QString ImportLegacy(const QString &path);
    QString ListSets();
    QString GetSet(const QString &set);
    QString CreateSet(const QString &name, const QString &icon);
    void AddToSet(const QString &set, qlonglong share);
    void RemoveFromSet(const QString &set, qlonglong share);
    void DeleteSet(const QString &set);
    QString MountSet(const QString &set);
    QString EjectSet(const QString &set);
    void ExportSet(const QString &set, const QString &path);
    QString ImportSet(const QString &path, const QString &mode);

Q_SIGNALS:
    void SetOperationFinished(const QString &id, const QString &operation, int started, int succeeded, int skipped);
    void SetsChanged();

private:
    // The answer to a bus call that finishes later (a long import): taken over from the call now, sent when
    // the work ends. Nothing is sent for an in-process call.
    struct LaterReply
    {
        bool viaBus = false;
        QDBusMessage call;
        QDBusConnection bus{QString()};
        QPointer<ExchangeControl> context;
        void error(const QString &name, const QString &text) const;
        // `text` once the preferences hold every change made so far (SavedReply); NotSaved when they fail
        // or `alsoNotSaved` names another store that failed.
        void replyWhenSaved(const QString &text, const QString &alsoNotSaved = QString()) const;
    };
    LaterReply replyLater();
    // A change over the bus is answered once it is on disk (or with NotSaved).
    void replyWhenSaved(const QVariant &value = QVariant(), const QString &alsoNotSaved = QString());
    void fail(const QString &name, const QString &message);
    void failWith(int errorKind, const QString &text); // a Configuration::ErrorKind
    const ShareSet *resolveSet(const QString &query);
    QString importConfigurationFile(const QString &path, const QString &mode, bool setFile);
    bool requireAbsolutePath(const QString &path);

    ConfigurationManager &m_configuration;
    ShareSetManager &m_sets;
    LegacyImporter &m_legacy;
};
