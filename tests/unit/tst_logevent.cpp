// LogEvent: raw values of the event kinds, the record snapshot, and the stored form.
#include "UnitTestHelpers.h"
#include "core/RecordEvent.h"
#include "logging/LogEvent.h"

#include <QTest>

class TestLogEvent : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void rawValues()
    {
        // The stored logs depend on both the order and the strings, including the two "UMM" spellings.
        const QStringList raws = QStringLiteral(
            "STARTUP BAD_RECORD MANUAL_MOUNT ALREADY_MOUNTED HOSTNAME_UNRESOLVABLE HOSTNAME_RESOLVED CONNECTION_FAILED "
            "CONNECTION_SUCCESS NO_SUCH_SHARE AUTH_GENERAL AUTH_FAILED SOCKET_ERROR IP_ADDRESS_ERROR MOUNTPOINT_NOT_FOUND "
            "MOUNT_SUCCESS UNMOUNT_REQUESTED UMMOUNT_SUCCESS UMMOUNT_ERROR AUTOMOUNT_UNMOUNTED SHARENAME_NOT_FOUND "
            "UNKNOWN_MOUNT_ERROR MOUNT_TIMEOUT UNKNOWN_ERROR").split(u' ');
        QCOMPARE(raws.size(), kEventTypeCount);
        for (int i = 0; i < kEventTypeCount; ++i) {
            const auto type = EVENT_TYPE_ENUM(i);
            // The message convention "<raw value>: <text>", and the kind through the stored form.
            const QVariantMap archive = LogEvent::general(type, LogEvent::message(type, QString())).encode();
            QCOMPARE(archive.value(LogEvent::kKeyEventType).toString(), raws.at(i));
            const auto decoded = LogEvent::decode(archive);
            QVERIFY(decoded);
            QCOMPARE(decoded->event_type_Enum, type);
            QCOMPARE(decoded->eventMessage, raws.at(i) + QStringLiteral(": "));
        }
    }
    void snapshotOfRecord()
    {
        VolumeRecord record = recordOf("id=4711;host=nas.local;share=media");
        record.runtime_computed_mountpoint_String = QStringLiteral("/run/gvfs/media");
        record.runtime_status_String = QStringLiteral("Mounted");

        const QDateTime before = QDateTime::currentDateTime();
        const LogEvent event = recordEvent(&record, EVENT_TYPE_ENUM::MOUNT_SUCCESS, QStringLiteral("MOUNT_SUCCESS: ok"));
        const QDateTime after = QDateTime::currentDateTime();

        // Later edits of the record must not reach the entry.
        record.hostname_String = QStringLiteral("other");
        record.runtime_status_String = QStringLiteral("Ejected");

        QCOMPARE(event.internal_VolumeRecord_ID_Int, 4711);
        QCOMPARE(event.hostname_String, QStringLiteral("nas.local"));
        QCOMPARE(event.sharename_String, QStringLiteral("media"));
        QCOMPARE(event.mountpoint_String, QStringLiteral("/run/gvfs/media"));
        QCOMPARE(event.statusText, QStringLiteral("Mounted"));
        QCOMPARE(event.eventMessage, QStringLiteral("MOUNT_SUCCESS: ok"));
        QVERIFY(event.eventDate >= before && event.eventDate <= after);

        // Without a record: id 0, stored as "0", and still a full round trip.
        const LogEvent bare = recordEvent(nullptr, EVENT_TYPE_ENUM::STARTUP, QStringLiteral("STARTUP: Tarnwell started"));
        QVERIFY(bare.hostname_String.isEmpty() && bare.statusText.isEmpty());
        QCOMPARE(bare.encode().value(LogEvent::kKeyRecordId), QVariant(QStringLiteral("0")));
        QCOMPARE(LogEvent::decode(bare.encode()), std::optional<LogEvent>(bare));
    }
    void roundTrip_data()
    {
        QTest::addColumn<qint64>("id");
        QTest::addColumn<QString>("text");
        QTest::newRow("large id") << qint64(9007199254740993) << QStringLiteral("big");
        QTest::newRow("negative id") << qint64(-3) << QStringLiteral("neg");
        QTest::newRow("unicode and newline") << qint64(1) << QStringLiteral("Ü \"quoted\"\nnext");
    }
    void roundTrip()
    {
        QFETCH(qint64, id);
        QFETCH(QString, text);
        const LogEvent event(id, QStringLiteral("h"), QStringLiteral("s"), QStringLiteral("/m"), QStringLiteral("st"),
                             EVENT_TYPE_ENUM::AUTH_FAILED, text);
        const QVariantMap archive = event.encode();
        QCOMPARE(archive.value(LogEvent::kKeyRecordId).toString(), QString::number(id));
        QCOMPARE(LogEvent::decode(archive), std::optional<LogEvent>(event));
    }
    // One key of a stored entry removed (invalid replacement) or replaced: rejected, or read leniently.
    void decodeAltered_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QVariant>("replacement");
        QTest::addColumn<bool>("accepted");
        QTest::addColumn<qint64>("expectedId");
        QTest::addColumn<QString>("expectedStatus");
        QTest::addColumn<EVENT_TYPE_ENUM>("expectedType");

        const auto reject = [](const char *name, const QString &key, const QVariant &value) {
            QTest::newRow(name) << key << value << false << qint64(0) << QString() << EVENT_TYPE_ENUM::UNKNOWN_ERROR;
        };
        for (const QString &key : {LogEvent::kKeyRecordId, LogEvent::kKeyEventDate, LogEvent::kKeyEventType,
                                   LogEvent::kKeyHostname, LogEvent::kKeySharename, LogEvent::kKeyMountpoint,
                                   LogEvent::kKeyEventMessage})
            reject(qPrintable(QStringLiteral("missing ") + key), key, QVariant());
        reject("id not a number", LogEvent::kKeyRecordId, QStringLiteral("12a"));
        reject("date as string", LogEvent::kKeyEventDate, QStringLiteral("2024-01-01"));
        reject("message as data", LogEvent::kKeyEventMessage, QByteArray("x"));

        const auto accept = [](const char *name, const QString &key, const QVariant &value, qint64 id,
                               const QString &status, EVENT_TYPE_ENUM type) {
            QTest::newRow(name) << key << value << true << id << status << type;
        };
        const auto mm = EVENT_TYPE_ENUM::MANUAL_MOUNT;
        accept("status missing", LogEvent::kKeyStatusText, QVariant(), 7, QString(), mm);
        accept("status not a string", LogEvent::kKeyStatusText, qint64(3), 7, QString(), mm);
        accept("id stored as integer", LogEvent::kKeyRecordId, qint64(99), 99, QStringLiteral("st"), mm);
        // Any type string that is not exactly a raw value reads as UNKNOWN_ERROR.
        for (const char *raw : {"UNMOUNT_SUCCESS", "startup", "MOUNT_PAUSED"})
            accept(qPrintable(QStringLiteral("type '%1'").arg(QLatin1String(raw))), LogEvent::kKeyEventType,
                   QString::fromLatin1(raw), 7, QStringLiteral("st"), EVENT_TYPE_ENUM::UNKNOWN_ERROR);
    }
    void decodeAltered()
    {
        QFETCH(QString, key);
        QFETCH(QVariant, replacement);
        QVariantMap archive = LogEvent(7, QStringLiteral("h"), QStringLiteral("s"), QStringLiteral("/m"),
                                       QStringLiteral("st"), EVENT_TYPE_ENUM::MANUAL_MOUNT, QStringLiteral("m"))
                                  .encode();
        if (replacement.isValid())
            archive.insert(key, replacement);
        else
            archive.remove(key);
        const auto decoded = LogEvent::decode(archive);
        QTEST(bool(decoded), "accepted");
        if (!decoded)
            return;
        QTEST(decoded->internal_VolumeRecord_ID_Int, "expectedId");
        QTEST(decoded->statusText, "expectedStatus");
        QTEST(decoded->event_type_Enum, "expectedType");
        QCOMPARE(decoded->eventMessage, QStringLiteral("m"));
    }
};

QTEST_GUILESS_MAIN(TestLogEvent)
#include "tst_logevent.moc"
