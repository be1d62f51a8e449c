#include "base/NotificationCenter.h"
#include "base/PropertyList.h"
#include "core/VolumeRecord.h"

#include <QSignalSpy>
#include <QTest>
#include <QTimeZone>
#include <QUuid>

namespace {

// A record whose every persisted field differs from its default, so a field that is not archived shows up.
VolumeRecord fullRecord()
{
    VolumeRecord r;
    r.internal_ID_Int = 4242;
    r.hostname_String = QStringLiteral("files.example.test");
    r.volume_String = QStringLiteral("Projects");
    r.port_Int = 1445;
    r.no_password_guest_login = 1;
    r.username_String = QStringLiteral("jörg");
    r.credentialAccountOverride = QStringLiteral("volume_record_duplicate_0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F0");
    r.mounting_using_protocol_Enum = MountUsingProtocol_Enum::WebDAVS;
    r.mount_inside_Volumes = 0;
    r.unique_mountpoint_fullpath_String = QStringLiteral("/home/u/mnt/projects");
    r.auto_Mount = r.schedule_Mount = 1;
    r.schedule_MountTime = QDateTime(QDate(2024, 3, 4), QTime(8, 15, 30), QTimeZone::utc());
    r.schedule_UnMountTime = QDateTime(QDate(2024, 3, 4), QTime(18, 45, 0), QTimeZone::utc());
    r.schedule_Weekdays = {1, 7};
    r.nickname_String = QStringLiteral("Team share");
    r.macAddress_String = QStringLiteral("00:11:22:33:44:55");
    r.postMountScriptPath_String = QStringLiteral("/bin/after.sh");
    r.preUnmountScriptPath_String = QStringLiteral("/bin/before.sh");
    r.group_String = QStringLiteral("Office");
    r.allowedSSIDs_String = QStringLiteral("CorpWiFi, CorpWiFi-5G");
    r.isLocked = true;
    r.managedBy = QStringLiteral("MDM");
    return r;
}

// The minimal archive that decodes: the required keys only.
QVariantMap requiredOnly()
{
    return {
        {QStringLiteral("internal_ID_Int_String"), QStringLiteral("7")},
        {QStringLiteral("hostname_String"), QStringLiteral("nas")},
        {QStringLiteral("no_password_guest_login"), qint64(0)},
        {QStringLiteral("username_String"), QStringLiteral("alice")},
        {QStringLiteral("mount_inside_Volumes"), qint64(1)},
        {QStringLiteral("unique_mountpoint_fullpath_String"), QString()},
        {QStringLiteral("auto_Mount"), qint64(0)},
    };
}

QVariantMap m(const char *key, const QVariant &v)
{
    return {{QLatin1String(key), v}};
}

// Field values by name, so one table can check fields of different types. Names starting with "runtime_"
// and the cached password are the ones never persisted.
QVariantMap fields(const VolumeRecord &r)
{
    auto opt = [](const auto &o) { return o ? QVariant::fromValue(*o) : QVariant(); };
    QVariantList days;
    for (int d : r.schedule_Weekdays)
        days.append(d);
#define TW_FIELD(name) {QStringLiteral(#name), QVariant::fromValue(r.name)}
    return {
        TW_FIELD(internal_ID_Int), TW_FIELD(hostname_String), TW_FIELD(volume_String),
        {QStringLiteral("port_Int"), opt(r.port_Int)}, TW_FIELD(no_password_guest_login), TW_FIELD(username_String),
        {QStringLiteral("credentialAccountOverride"), opt(r.credentialAccountOverride)},
        {QStringLiteral("_cachedPassword"), opt(r._cachedPassword)},
        {QStringLiteral("protocol"), static_cast<int>(r.mounting_using_protocol_Enum)},
        TW_FIELD(mount_inside_Volumes), TW_FIELD(unique_mountpoint_fullpath_String), TW_FIELD(auto_Mount),
        TW_FIELD(schedule_Mount), TW_FIELD(schedule_MountTime), TW_FIELD(schedule_UnMountTime),
        {QStringLiteral("schedule_Weekdays"), days}, TW_FIELD(nickname_String), TW_FIELD(macAddress_String),
        TW_FIELD(postMountScriptPath_String), TW_FIELD(preUnmountScriptPath_String), TW_FIELD(group_String),
        TW_FIELD(allowedSSIDs_String), TW_FIELD(isLocked), TW_FIELD(managedBy),
        TW_FIELD(runtime_status_String), TW_FIELD(runtime_isMounted_Bool), TW_FIELD(runtime_ipAddress_String),
    };
#undef TW_FIELD
}

QStringList persistedFields()
{
    QStringList out = fields(VolumeRecord()).keys();
    out.removeIf([](const QString &n) { return n.startsWith(QLatin1String("runtime_")) || n.startsWith(QLatin1Char('_')); });
    return out;
}

// Both schedule times lie 15 and 30 minutes after a moment within [before, after].
bool timesFromNow(const VolumeRecord &r, const QDateTime &before, const QDateTime &after)
{
    return r.schedule_MountTime >= before.addSecs(900) && r.schedule_MountTime <= after.addSecs(900)
        && r.schedule_UnMountTime >= before.addSecs(1800) && r.schedule_UnMountTime <= after.addSecs(1800);
}

} // namespace

class TestVolumeRecord : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void defaultsAndDateFallback()
    {
        QVariantMap archive = requiredOnly();
        archive.insert(QStringLiteral("scheduleMountTime"), QStringLiteral("2024-01-01")); // wrong kind
        archive.insert(QStringLiteral("volume_String"), QStringLiteral("media"));
        const QDateTime before = QDateTime::currentDateTimeUtc();
        const VolumeRecord r;
        const auto decoded = VolumeRecord::decode(archive);
        const QDateTime after = QDateTime::currentDateTimeUtc();
        QVERIFY(decoded);
        // Schedule times are relative to the moment of creation, also when the archive lacks usable ones.
        QVERIFY(timesFromNow(r, before, after));
        QVERIFY(timesFromNow(*decoded, before, after));
        const QDateTime stored(QDate(2023, 12, 24), QTime(6, 0), QTimeZone::utc());
        archive.insert(QStringLiteral("scheduleUnMountTime"), stored);
        QCOMPARE(VolumeRecord::decode(archive)->schedule_UnMountTime, stored);
        // Without nickname and override: named by host and share, password under the ID's account.
        QCOMPARE(decoded->displayName(), QStringLiteral("nas/media"));
        QCOMPARE(decoded->credentialAccount(), QStringLiteral("volume_record_7"));
    }

    void mountURLText_data()
    {
        QTest::addColumn<qint64>("protocol");
        QTest::addColumn<QString>("host");
        QTest::addColumn<qint64>("port"); // -1: absent
        QTest::addColumn<QString>("share");
        QTest::addColumn<QString>("literal"); // ipLiteral(host); null: not an address literal
        QTest::addColumn<QString>("url");
        auto row = [](const char *name, qint64 protocol, const char *host, qint64 port, const char *share,
                      const char *literal, const char *url) {
            QTest::newRow(name) << protocol << QString::fromUtf8(host) << port << QString::fromUtf8(share)
                                << (literal ? QString::fromUtf8(literal) : QString()) << QString::fromUtf8(url);
        };
        auto host = [&row](const char *h, const char *literal, const char *url) { row(h, 0, h, -1, "s", literal, url); };
        // Raw protocol values are persisted; out of range reads as SMB.
        row("0 smb, ipv6 with port", 0, "2001:db8::5", 8445, "data", "2001:db8::5", "smb://[2001:db8::5]:8445/data");
        row("1 afp", 1, "h", -1, "s", nullptr, "afp://h/s");
        row("2 nfs, port 1 appended", 2, "h", 1, "s", nullptr, "nfs://h:1/s");
        row("3 http, inner slashes kept", 3, "dav.example", -1, "//remote.php/dav/files/u//", nullptr,
            "http://dav.example/remote.php/dav/files/u");
        row("4 https, root", 4, "dav.example", -1, "", nullptr, "https://dav.example/");
        row("5 -> smb, port 0 left out", 5, "h", 0, "s", nullptr, "smb://h/s");
        row("-1 -> smb, slashes-only share", -1, "h", 445, "///", nullptr, "smb://h:445/");
        row("2^32+1 -> smb", (qint64(1) << 32) + 1, "h", -1, "s", nullptr, "smb://h/s");
        row("blank host", 0, " \n\t", 445, "share", nullptr, "");
        row("ipv6 in white space", 0, "  fe80::1\n", -1, "s", "fe80::1", "smb://[fe80::1]/s");
        host("10.0.0.1", "10.0.0.1", "smb://10.0.0.1/s");
        host("[fe80::1]", "fe80::1", "smb://[fe80::1]/s");
        host("::ffff:1.2.3.4", "::ffff:1.2.3.4", "smb://[::ffff:1.2.3.4]/s");
        // Anything else is the user's own text and stays as typed.
        host("[[::1]]", nullptr, "smb://[[::1]]/s"); // only one pair is stripped
        host("[::1", nullptr, "smb://[::1/s");
        host("10.1", nullptr, "smb://10.1/s"); // short forms are not addresses
        host("fe80::1%eth0", nullptr, "smb://fe80::1%eth0/s");
        host("nas:8080", nullptr, "smb://nas:8080/s");
        host("１０.0.0.1", nullptr, "smb://１０.0.0.1/s"); // full-width digits
    }
    void mountURLText()
    {
        QFETCH(qint64, protocol);
        QFETCH(QString, host);
        QFETCH(qint64, port);
        QFETCH(QString, literal);
        const std::optional<QString> got = VolumeRecord::ipLiteral(host);
        QCOMPARE(got.value_or(QString()), literal);
        QCOMPARE(got.has_value(), !literal.isNull());
        VolumeRecord r;
        r.mounting_using_protocol_Enum = MountProtocol::fromRaw(protocol);
        r.hostname_String = host;
        if (port != -1)
            r.port_Int = port;
        QFETCH(QString, share);
        r.volume_String = share;
        QTEST(r.mountURLText(), "url");
    }

    void roundTrip_data()
    {
        QTest::addColumn<PropertyList::Format>("format");
        QTest::addColumn<bool>("bare"); // empty share name and no port: the edge cases of both
        QTest::newRow("xml") << PropertyList::Format::Xml << false;
        QTest::newRow("binary") << PropertyList::Format::Binary << false;
        QTest::newRow("binary, bare") << PropertyList::Format::Binary << true;
    }
    void roundTrip()
    {
        QFETCH(PropertyList::Format, format);
        QFETCH(bool, bare);
        VolumeRecord original = fullRecord();
        original._cachedPassword = QStringLiteral("s3cret-pass");
        original.runtime_status_String = QStringLiteral("Mounted");
        original.runtime_isMounted_Bool = true;
        if (bare) {
            original.volume_String.clear();
            original.port_Int.reset();
        }

        QVariantMap archive = original.encode();
        QVERIFY(!archive.contains(QStringLiteral("password_String")));
        QCOMPARE(archive.contains(QStringLiteral("port_Int")), !bare);
        // The kinds are the format: on/off states as integers, ID and protocol as decimal text, two Booleans.
        QCOMPARE(archive.value(QStringLiteral("internal_ID_Int_String")), QVariant(QStringLiteral("4242")));
        QCOMPARE(archive.value(QStringLiteral("protocol_Int_String")), QVariant(QStringLiteral("4")));
        QCOMPARE(archive.value(QStringLiteral("volume_String_isEmpty")).toBool(), bare);
        QCOMPARE(archive.value(QStringLiteral("credentialAccountOverride")),
                 QVariant(*original.credentialAccountOverride));
        for (const char *key : {"no_password_guest_login", "mount_inside_Volumes", "auto_Mount", "schedule_Mount"})
            QVERIFY2(PropertyList::isInteger(archive.value(QLatin1String(key))), key);
        QVERIFY(bare || PropertyList::isInteger(archive.value(QStringLiteral("port_Int"))));
        const std::pair<const char *, int> kinds[] = {{"isLocked", QMetaType::Bool},
                                                      {"volume_String_isEmpty", QMetaType::Bool},
                                                      {"scheduleMountTime", QMetaType::QDateTime},
                                                      {"scheduleUnMountTime", QMetaType::QDateTime},
                                                      {"schedule_Weekdays", QMetaType::QVariantList}};
        for (const auto &[key, kind] : kinds)
            QVERIFY2(archive.value(QLatin1String(key)).metaType().id() == kind, key);
        const QByteArray bytes = PropertyList::serialize(archive, format);
        QVERIFY(!bytes.isEmpty() && !bytes.contains("s3cret-pass"));
        archive = PropertyList::parse(bytes).value_or(QVariant()).toMap();

        const std::optional<VolumeRecord> decoded = VolumeRecord::decode(archive);
        QVERIFY(decoded);
        const QVariantMap got = fields(*decoded), want = fields(original), fresh = fields(VolumeRecord());
        const QStringList persisted = persistedFields();
        // Persisted fields come back; run-time state and the password never travel through the archive.
        for (auto it = got.cbegin(); it != got.cend(); ++it)
            QVERIFY2(*it == (persisted.contains(it.key()) ? want : fresh).value(it.key()), qPrintable(it.key()));
        QCOMPARE(decoded->mountURLText(), bare ? QStringLiteral("https://files.example.test/")
                                               : QStringLiteral("https://files.example.test:1445/Projects"));
    }

    void requiredKeys_data()
    {
        QTest::addColumn<QStringList>("removed");
        QTest::addColumn<QVariantMap>("replaced");
        QTest::addColumn<QString>("failedKey"); // empty: decodes

        for (const QString &key : requiredOnly().keys())
            QTest::addRow("missing %s", qPrintable(key)) << QStringList{key} << QVariantMap() << key;
        auto bad = [](const char *name, const char *key, const QVariant &v, bool decodes = false) {
            QTest::newRow(name) << QStringList() << m(key, v) << (decodes ? QString() : QString::fromLatin1(key));
        };
        bad("id not a string", "internal_ID_Int_String", qint64(7));
        bad("id not a number", "internal_ID_Int_String", QStringLiteral("7a"));
        bad("id with spaces", "internal_ID_Int_String", QStringLiteral(" 7"));
        bad("negative id decodes", "internal_ID_Int_String", QStringLiteral("-3"), true);
        bad("guest as string", "no_password_guest_login", QStringLiteral("1"));
        bad("guest as boolean", "no_password_guest_login", true);
        bad("guest as whole real decodes", "no_password_guest_login", 1.0, true);
        bad("auto mount as fraction", "auto_Mount", 0.5);
        // With several keys bad, the one earliest in the reading order is reported.
        QTest::newRow("order: user before auto") << QStringList{QStringLiteral("auto_Mount"), QStringLiteral("username_String")}
                                                 << QVariantMap() << QStringLiteral("username_String");
    }
    void requiredKeys()
    {
        QFETCH(QStringList, removed);
        QFETCH(QVariantMap, replaced);
        QFETCH(QString, failedKey);
        QVariantMap archive = requiredOnly();
        for (const QString &k : removed)
            archive.remove(k);
        archive.insert(replaced);
        QString reported;
        const auto r = VolumeRecord::decode(archive, &reported);
        QCOMPARE(r.has_value(), failedKey.isEmpty());
        QCOMPARE(reported, failedKey);
        QCOMPARE(VolumeRecord::decode(archive).has_value(), failedKey.isEmpty());
    }

    void fallbacks_data()
    {
        QTest::addColumn<QVariantMap>("extra"); // merged into the required keys
        QTest::addColumn<QString>("field");
        QTest::addColumn<QVariant>("expected");
        // The field read back is the key's own unless named.
        auto row = [](const char *name, const char *key, const QVariant &v, const QVariant &expected, const char *f = nullptr) {
            QTest::newRow(name) << m(key, v) << QString::fromLatin1(f ? f : key) << expected;
        };
        const QString uuid = QStringLiteral("0f1e2d3c-4b5a-6978-8796-a5b4c3d2e1f0");
        const QString dup = QStringLiteral("volume_record_duplicate_");
        const QVariantList weekdays{2, 3, 4, 5, 6};
        const char *ov = "credentialAccountOverride";

        row("id parsed as 64-bit", "internal_ID_Int_String", QStringLiteral("9000000000"), qint64(9000000000), "internal_ID_Int");
        row("share missing", "other", true, QString(), "volume_String");
        for (bool isEmpty : {true, false}) {
            QVariantMap extra = m("volume_String_isEmpty", isEmpty);
            extra.insert(QStringLiteral("volume_String"), QStringLiteral("share"));
            QTest::addRow("empty flag %d beside old share", isEmpty)
                << extra << QStringLiteral("volume_String") << QVariant(isEmpty ? QString() : QStringLiteral("share"));
        }
        row("port as text", "port_Int", QStringLiteral("445"), QVariant());
        row("protocol 7", "protocol_Int_String", QStringLiteral("7"), 0, "protocol");
        row("protocol not text", "protocol_Int_String", qint64(3), 0, "protocol");
        row("schedule as text", "schedule_Mount", QStringLiteral("1"), 0);
        row("weekdays mixed kinds", "schedule_Weekdays", QVariantList{qint64(1), QStringLiteral("x")}, weekdays);
        row("weekdays not an array", "schedule_Weekdays", qint64(1), weekdays);
        row("weekdays empty kept", "schedule_Weekdays", QVariantList{}, QVariantList{});
        row("locked as number", "isLocked", qint64(1), true);
        row("locked as text", "isLocked", QStringLiteral("yes"), false);
        row("override lower-case uuid kept", ov, QString(dup + uuid), QString(dup + uuid));
        row("override default form dropped", ov, QStringLiteral("volume_record_3"), QVariant());
        row("override bad uuid dropped", ov, QString(dup + QStringLiteral("12345")), QVariant());
        row("override braced uuid dropped", ov, QString(dup + u'{' + uuid + u'}'), QVariant());
        row("legacy password cached", "password_String", QStringLiteral("pw"), QStringLiteral("pw"), "_cachedPassword");
        row("legacy password not text", "password_String", qint64(1234), QVariant(), "_cachedPassword");
    }
    void fallbacks()
    {
        QFETCH(QVariantMap, extra);
        QFETCH(QString, field);
        QFETCH(QVariant, expected);
        QVariantMap archive = requiredOnly();
        archive.insert(extra);
        const auto r = VolumeRecord::decode(archive);
        QVERIFY(r);
        const QVariant actual = fields(*r).value(field);
        QVERIFY2(actual == expected, qPrintable(actual.toString() + QStringLiteral(" != ") + expected.toString()));
        QCOMPARE(actual.isValid(), expected.isValid());
    }

    void duplicate()
    {
        VolumeRecord source = fullRecord();
        source._cachedPassword = QStringLiteral("pw");
        source.runtime_isMounted_Bool = true;
        NotificationCenter center;
        QSignalSpy spy(&center, &NotificationCenter::posted);

        const VolumeRecord copy = source.duplicate(77, &center);
        QCOMPARE(copy.internal_ID_Int, 77);
        const QString prefix = QStringLiteral("volume_record_duplicate_");
        QVERIFY(copy.credentialAccountOverride && copy.credentialAccountOverride->startsWith(prefix));
        const QString uuid = copy.credentialAccountOverride->mid(prefix.size());
        QVERIFY2(uuid == uuid.toUpper() && !QUuid::fromString(uuid).isNull(), qPrintable(uuid));
        QVERIFY(*copy.credentialAccountOverride != *source.credentialAccountOverride);
        QCOMPARE(copy.credentialAccount(), *copy.credentialAccountOverride);
        QCOMPARE(copy.displayName(), QStringLiteral("Team share Copy"));
        QCOMPARE(copy._cachedPassword, source._cachedPassword);
        QVERIFY(!copy.runtime_isMounted_Bool);
        // The copy's override is of the form the decoder keeps, so it survives a save.
        QCOMPARE(VolumeRecord::decode(copy.encode())->credentialAccountOverride, copy.credentialAccountOverride);

        // Every other persisted setting is copied, except that a copy of an imposed record belongs to the user.
        QStringList copied = persistedFields();
        for (const char *own : {"internal_ID_Int", "credentialAccountOverride", "nickname_String", "isLocked", "managedBy"})
            copied.removeOne(QLatin1String(own));
        const QVariantMap from = fields(source), to = fields(copy);
        for (const QString &name : std::as_const(copied))
            QVERIFY2(to.value(name) == from.value(name), qPrintable(name));
        QVERIFY(!copy.isLocked);
        QCOMPARE(copy.managedBy, QString());

        // One announcement per copied setting (the list above, the cached password and the nickname).
        QCOMPARE(spy.count(), copied.size() + 2);
        for (const QList<QVariant> &args : std::as_const(spy))
            QCOMPARE(args.at(0).toString(), QStringLiteral("Tarnwell_VolumeRecordChanged"));

        source.nickname_String.clear();
        const VolumeRecord unnamed = source.duplicate(78);
        QCOMPARE(unnamed.nickname_String, QStringLiteral("New Share Copy"));
        QVERIFY(*unnamed.credentialAccountOverride != *copy.credentialAccountOverride);
    }
};

QTEST_GUILESS_MAIN(TestVolumeRecord)
#include "tst_volumerecord.moc"
