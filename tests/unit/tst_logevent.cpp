// LogEvent: raw values of the event kinds, the record snapshot, and the stored form.
#include "core/VolumeRecord.h"
#include "logging/LogEvent.h"

#include <QTest>

class TestLogEvent : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void rawValues_data();
    void rawValues();
    void unknownRawValue_data();
    void unknownRawValue();
    void snapshotOfRecord();
    void withoutRecord();
    void messageConvention();
    void roundTrip_data();
    void roundTrip();
    void decodeRejects_data();
    void decodeRejects();
    void decodeLenient_data();
    void decodeLenient();
};

void TestLogEvent::rawValues_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("raw");

    // The stored logs depend on both the order and the strings, including the two "UMM" spellings.
    const char *raws[] = {"STARTUP", "BAD_RECORD", "MANUAL_MOUNT", "ALREADY_MOUNTED", "HOSTNAME_UNRESOLVABLE",
                          "HOSTNAME_RESOLVED", "CONNECTION_FAILED", "CONNECTION_SUCCESS", "NO_SUCH_SHARE",
                          "AUTH_GENERAL", "AUTH_FAILED", "SOCKET_ERROR", "IP_ADDRESS_ERROR", "MOUNTPOINT_NOT_FOUND",
                          "MOUNT_SUCCESS", "UNMOUNT_REQUESTED", "UMMOUNT_SUCCESS", "UMMOUNT_ERROR",
                          "AUTOMOUNT_UNMOUNTED", "SHARENAME_NOT_FOUND", "UNKNOWN_MOUNT_ERROR", "MOUNT_TIMEOUT",
                          "UNKNOWN_ERROR"};
    static_assert(std::size(raws) == kEventTypeCount);
    for (int i = 0; i < kEventTypeCount; ++i)
        QTest::newRow(raws[i]) << i << QString::fromLatin1(raws[i]);
}

void TestLogEvent::rawValues()
{
    QFETCH(int, index);
    QFETCH(QString, raw);
    const auto type = EVENT_TYPE_ENUM(index);
    QCOMPARE(eventTypeRawValue(type), raw);
    QCOMPARE(eventTypeFromRawValue(raw), type);

    // And through the stored form.
    LogEvent event(nullptr, type, QStringLiteral("x"));
    const QVariantMap archive = event.encode();
    QCOMPARE(archive.value(LogEvent::kKeyEventType).toString(), raw);
    const auto decoded = LogEvent::decode(archive);
    QVERIFY(decoded);
    QCOMPARE(decoded->event_type_Enum, type);
}

void TestLogEvent::unknownRawValue_data()
{
    QTest::addColumn<QString>("raw");
    QTest::newRow("empty") << QString();
    QTest::newRow("UNMOUNT spelled as the case") << QStringLiteral("UNMOUNT_SUCCESS");
    QTest::newRow("lower case") << QStringLiteral("startup");
    QTest::newRow("trailing space") << QStringLiteral("MOUNT_SUCCESS ");
    QTest::newRow("from the future") << QStringLiteral("MOUNT_PAUSED");
}

void TestLogEvent::unknownRawValue()
{
    QFETCH(QString, raw);
    QCOMPARE(eventTypeFromRawValue(raw), EVENT_TYPE_ENUM::UNKNOWN_ERROR);

    LogEvent event(nullptr, EVENT_TYPE_ENUM::MOUNT_SUCCESS, QStringLiteral("m"));
    QVariantMap archive = event.encode();
    archive.insert(LogEvent::kKeyEventType, raw);
    const auto decoded = LogEvent::decode(archive);
    QVERIFY(decoded);
    QCOMPARE(decoded->event_type_Enum, EVENT_TYPE_ENUM::UNKNOWN_ERROR);
    QCOMPARE(decoded->eventMessage, QStringLiteral("m"));
}

void TestLogEvent::snapshotOfRecord()
{
    VolumeRecord record;
    record.internal_ID_Int = 4711;
    record.hostname_String = QStringLiteral("nas.local");
    record.volume_String = QStringLiteral("media");
    record.runtime_computed_mountpoint_String = QStringLiteral("/run/user/1000/gvfs/smb-share:server=nas,share=media");
    record.runtime_status_String = QStringLiteral("Mounted");

    const QDateTime before = QDateTime::currentDateTime();
    const LogEvent event(&record, EVENT_TYPE_ENUM::MOUNT_SUCCESS, QStringLiteral("MOUNT_SUCCESS: ok"));
    const QDateTime after = QDateTime::currentDateTime();

    // Later edits of the record must not reach the entry.
    record.hostname_String = QStringLiteral("other");
    record.runtime_status_String = QStringLiteral("Ejected");

    QCOMPARE(event.internal_VolumeRecord_ID_Int, 4711);
    QCOMPARE(event.hostname_String, QStringLiteral("nas.local"));
    QCOMPARE(event.sharename_String, QStringLiteral("media"));
    QCOMPARE(event.mountpoint_String, QStringLiteral("/run/user/1000/gvfs/smb-share:server=nas,share=media"));
    QCOMPARE(event.statusText, QStringLiteral("Mounted"));
    QCOMPARE(event.eventMessage, QStringLiteral("MOUNT_SUCCESS: ok"));
    QVERIFY(event.eventDate >= before && event.eventDate <= after);
}

void TestLogEvent::withoutRecord()
{
    const LogEvent event(nullptr, EVENT_TYPE_ENUM::STARTUP, QStringLiteral("STARTUP: Tarnwell started"));
    QCOMPARE(event.internal_VolumeRecord_ID_Int, 0);
    QVERIFY(event.hostname_String.isEmpty());
    QVERIFY(event.sharename_String.isEmpty());
    QVERIFY(event.mountpoint_String.isEmpty());
    QVERIFY(event.statusText.isEmpty());

    const auto decoded = LogEvent::decode(event.encode());
    QVERIFY(decoded);
    QCOMPARE(*decoded, event);
    QCOMPARE(event.encode().value(LogEvent::kKeyRecordId), QVariant(QStringLiteral("0")));
}

void TestLogEvent::messageConvention()
{
    QCOMPARE(LogEvent::message(EVENT_TYPE_ENUM::UNMOUNT_SUCCESS, QStringLiteral("Volume was already ejected")),
             QStringLiteral("UMMOUNT_SUCCESS: Volume was already ejected"));
    QCOMPARE(LogEvent::message(EVENT_TYPE_ENUM::MOUNT_TIMEOUT, QString()), QStringLiteral("MOUNT_TIMEOUT: "));
}

void TestLogEvent::roundTrip_data()
{
    QTest::addColumn<qint64>("id");
    QTest::addColumn<QString>("text");
    QTest::newRow("plain") << qint64(12) << QStringLiteral("hello");
    QTest::newRow("large id") << qint64(9007199254740993) << QStringLiteral("big");
    QTest::newRow("negative id") << qint64(-3) << QStringLiteral("neg");
    QTest::newRow("unicode and newline") << qint64(1) << QStringLiteral("Ü \"quoted\"\nnext");
}

void TestLogEvent::roundTrip()
{
    QFETCH(qint64, id);
    QFETCH(QString, text);
    const LogEvent event(id, QStringLiteral("h"), QStringLiteral("s"), QStringLiteral("/m"), QStringLiteral("st"),
                         EVENT_TYPE_ENUM::AUTH_FAILED, text);
    const QVariantMap archive = event.encode();
    QCOMPARE(archive.value(LogEvent::kKeyRecordId).toString(), QString::number(id));
    const auto decoded = LogEvent::decode(archive);
    QVERIFY(decoded);
    QCOMPARE(*decoded, event);
}

void TestLogEvent::decodeRejects_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QVariant>("replacement"); // invalid: remove the key

    for (const QString &key : {LogEvent::kKeyRecordId, LogEvent::kKeyEventDate, LogEvent::kKeyEventType,
                               LogEvent::kKeyHostname, LogEvent::kKeySharename, LogEvent::kKeyMountpoint,
                               LogEvent::kKeyEventMessage})
        QTest::newRow(qPrintable(QStringLiteral("missing ") + key)) << key << QVariant();
    QTest::newRow("id not a number") << LogEvent::kKeyRecordId << QVariant(QStringLiteral("12a"));
    QTest::newRow("date as string") << LogEvent::kKeyEventDate << QVariant(QStringLiteral("2024-01-01"));
    QTest::newRow("type as integer") << LogEvent::kKeyEventType << QVariant(qint64(14));
    QTest::newRow("message as data") << LogEvent::kKeyEventMessage << QVariant(QByteArray("x"));
}

void TestLogEvent::decodeRejects()
{
    QFETCH(QString, key);
    QFETCH(QVariant, replacement);
    const LogEvent event(1, QStringLiteral("h"), QStringLiteral("s"), QStringLiteral("/m"), QStringLiteral("st"),
                         EVENT_TYPE_ENUM::MANUAL_MOUNT, QStringLiteral("m"));
    QVariantMap archive = event.encode();
    if (replacement.isValid())
        archive.insert(key, replacement);
    else
        archive.remove(key);
    QVERIFY(!LogEvent::decode(archive));
}

void TestLogEvent::decodeLenient_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QVariant>("replacement");
    QTest::addColumn<qint64>("expectedId");
    QTest::addColumn<QString>("expectedStatus");

    QTest::newRow("status missing") << LogEvent::kKeyStatusText << QVariant() << qint64(7) << QString();
    QTest::newRow("status not a string") << LogEvent::kKeyStatusText << QVariant(qint64(3)) << qint64(7) << QString();
    QTest::newRow("id stored as integer") << LogEvent::kKeyRecordId << QVariant(qint64(99)) << qint64(99)
                                          << QStringLiteral("st");
}

void TestLogEvent::decodeLenient()
{
    QFETCH(QString, key);
    QFETCH(QVariant, replacement);
    QFETCH(qint64, expectedId);
    QFETCH(QString, expectedStatus);
    const LogEvent event(7, QStringLiteral("h"), QStringLiteral("s"), QStringLiteral("/m"), QStringLiteral("st"),
                         EVENT_TYPE_ENUM::MANUAL_MOUNT, QStringLiteral("m"));
    QVariantMap archive = event.encode();
    if (replacement.isValid())
        archive.insert(key, replacement);
    else
        archive.remove(key);
    const auto decoded = LogEvent::decode(archive);
    QVERIFY(decoded);
    QCOMPARE(decoded->internal_VolumeRecord_ID_Int, expectedId);
    QCOMPARE(decoded->statusText, expectedStatus);
}

QTEST_GUILESS_MAIN(TestLogEvent)
#include "tst_logevent.moc"
