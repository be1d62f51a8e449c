#include "app/NotificationCenter.h"
#include "app/PropertyList.h"
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
    r.auto_Mount = 1;
    r.schedule_Mount = 1;
    r.schedule_MountTime = QDateTime(QDate(2024, 3, 4), QTime(8, 15, 30), QTimeZone::utc());
    r.schedule_UnMountTime = QDateTime(QDate(2024, 3, 4), QTime(18, 45, 0), QTimeZone::utc());
    r.schedule_Weekdays = {1, 7};
    r.nickname_String = QStringLiteral("Team share");
    r.macAddress_String = QStringLiteral("00:11:22:33:44:55");
    r.postMountScriptPath_String = QStringLiteral("/usr/local/bin/after.sh");
    r.preUnmountScriptPath_String = QStringLiteral("/usr/local/bin/before.sh");
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

// Field values by name, so one table can check fallbacks of fields of different types.
QVariant field(const VolumeRecord &r, const QString &name)
{
    auto opt = [](const auto &o) { return o ? QVariant::fromValue(*o) : QVariant(); };
    QVariantList days;
    for (int d : r.schedule_Weekdays)
        days.append(d);
    const QHash<QString, QVariant> fields{
        {QStringLiteral("internal_ID_Int"), r.internal_ID_Int},
        {QStringLiteral("hostname_String"), r.hostname_String},
        {QStringLiteral("volume_String"), r.volume_String},
        {QStringLiteral("port_Int"), opt(r.port_Int)},
        {QStringLiteral("no_password_guest_login"), r.no_password_guest_login},
        {QStringLiteral("username_String"), r.username_String},
        {QStringLiteral("credentialAccountOverride"), opt(r.credentialAccountOverride)},
        {QStringLiteral("_cachedPassword"), opt(r._cachedPassword)},
        {QStringLiteral("protocol"), static_cast<int>(r.mounting_using_protocol_Enum)},
        {QStringLiteral("mount_inside_Volumes"), r.mount_inside_Volumes},
        {QStringLiteral("unique_mountpoint_fullpath_String"), r.unique_mountpoint_fullpath_String},
        {QStringLiteral("auto_Mount"), r.auto_Mount},
        {QStringLiteral("schedule_Mount"), r.schedule_Mount},
        {QStringLiteral("schedule_MountTime"), r.schedule_MountTime},
        {QStringLiteral("schedule_UnMountTime"), r.schedule_UnMountTime},
        {QStringLiteral("schedule_Weekdays"), days},
        {QStringLiteral("nickname_String"), r.nickname_String},
        {QStringLiteral("macAddress_String"), r.macAddress_String},
        {QStringLiteral("postMountScriptPath_String"), r.postMountScriptPath_String},
        {QStringLiteral("preUnmountScriptPath_String"), r.preUnmountScriptPath_String},
        {QStringLiteral("group_String"), r.group_String},
        {QStringLiteral("allowedSSIDs_String"), r.allowedSSIDs_String},
        {QStringLiteral("isLocked"), r.isLocked},
        {QStringLiteral("managedBy"), r.managedBy},
        {QStringLiteral("runtime_status_String"), r.runtime_status_String},
        {QStringLiteral("runtime_computed_mountpoint_String"), r.runtime_computed_mountpoint_String},
        {QStringLiteral("runtime_ipAddress_String"), r.runtime_ipAddress_String},
        {QStringLiteral("runtime_isMounted_Bool"), r.runtime_isMounted_Bool},
    };
    Q_ASSERT_X(fields.contains(name), "field", qPrintable(name));
    return fields.value(name);
}

const QStringList kPersistedFields{
    QStringLiteral("internal_ID_Int"), QStringLiteral("hostname_String"), QStringLiteral("volume_String"),
    QStringLiteral("port_Int"), QStringLiteral("no_password_guest_login"), QStringLiteral("username_String"),
    QStringLiteral("credentialAccountOverride"), QStringLiteral("protocol"), QStringLiteral("mount_inside_Volumes"),
    QStringLiteral("unique_mountpoint_fullpath_String"), QStringLiteral("auto_Mount"), QStringLiteral("schedule_Mount"),
    QStringLiteral("schedule_MountTime"), QStringLiteral("schedule_UnMountTime"), QStringLiteral("schedule_Weekdays"),
    QStringLiteral("nickname_String"), QStringLiteral("macAddress_String"), QStringLiteral("postMountScriptPath_String"),
    QStringLiteral("preUnmountScriptPath_String"), QStringLiteral("group_String"), QStringLiteral("allowedSSIDs_String"),
    QStringLiteral("isLocked"), QStringLiteral("managedBy"),
};

} // namespace

class TestVolumeRecord : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void protocolTable_data();
    void protocolTable();
    void newRecordDefaults();
    void mountURLText_data();
    void mountURLText();
    void ipLiteral_data();
    void ipLiteral();
    void displayNameAndAccount();
    void roundTrip_data();
    void roundTrip();
    void archiveValueKinds();
    void requiredKeys_data();
    void requiredKeys();
    void fallbacks_data();
    void fallbacks();
    void missingDatesFallBackToNow();
    void duplicate();
};

void TestVolumeRecord::protocolTable_data()
{
    QTest::addColumn<qint64>("raw");
    QTest::addColumn<int>("expectedRaw");
    QTest::addColumn<QString>("scheme");
    QTest::addColumn<int>("port");
    QTest::addColumn<bool>("webdav");
    QTest::newRow("0 SMB") << qint64(0) << 0 << QStringLiteral("smb://") << 445 << false;
    QTest::newRow("1 AFP") << qint64(1) << 1 << QStringLiteral("afp://") << 548 << false;
    QTest::newRow("2 NFS") << qint64(2) << 2 << QStringLiteral("nfs://") << 2049 << false;
    QTest::newRow("3 WebDAV") << qint64(3) << 3 << QStringLiteral("http://") << 80 << true;
    QTest::newRow("4 WebDAVS") << qint64(4) << 4 << QStringLiteral("https://") << 443 << true;
    QTest::newRow("5 -> SMB") << qint64(5) << 0 << QStringLiteral("smb://") << 445 << false;
    QTest::newRow("-1 -> SMB") << qint64(-1) << 0 << QStringLiteral("smb://") << 445 << false;
    QTest::newRow("huge -> SMB") << qint64(1) + (qint64(1) << 32) << 0 << QStringLiteral("smb://") << 445 << false;
}

void TestVolumeRecord::protocolTable()
{
    QFETCH(qint64, raw);
    QFETCH(int, expectedRaw);
    const MountUsingProtocol_Enum p = MountProtocol::fromRaw(raw);
    QCOMPARE(static_cast<int>(p), expectedRaw);
    QTEST(MountProtocol::scheme(p), "scheme");
    QTEST(MountProtocol::defaultPort(p), "port");
    QTEST(MountProtocol::isWebDAV(p), "webdav");
}

void TestVolumeRecord::newRecordDefaults()
{
    const QDateTime before = QDateTime::currentDateTimeUtc();
    const VolumeRecord r;
    const QDateTime after = QDateTime::currentDateTimeUtc();

    QCOMPARE(r.internal_ID_Int, 0);
    QCOMPARE(r.hostname_String, QString());
    QCOMPARE(r.volume_String, QStringLiteral("share"));
    QVERIFY(!r.port_Int);
    QCOMPARE(r.no_password_guest_login, 0);
    QCOMPARE(r.username_String, QStringLiteral("guest"));
    QVERIFY(!r.credentialAccountOverride);
    QVERIFY(!r._cachedPassword);
    QCOMPARE(r.mounting_using_protocol_Enum, MountUsingProtocol_Enum::SMB);
    QCOMPARE(r.mount_inside_Volumes, 1);
    QCOMPARE(r.auto_Mount, 0);
    QCOMPARE(r.schedule_Mount, 0);
    QCOMPARE(r.schedule_Weekdays, (QList<int>{2, 3, 4, 5, 6}));
    QVERIFY(!r.isLocked);
    QCOMPARE(r.runtime_computed_mountpoint_String, QStringLiteral("/Volumes/"));
    QCOMPARE(r.runtime_ipAddress_String, QStringLiteral("0.0.0.0"));
    // The schedule times are relative to the moment of creation.
    QVERIFY(r.schedule_MountTime >= before.addSecs(900) && r.schedule_MountTime <= after.addSecs(900));
    QVERIFY(r.schedule_UnMountTime >= before.addSecs(1800) && r.schedule_UnMountTime <= after.addSecs(1800));
}

void TestVolumeRecord::mountURLText_data()
{
    QTest::addColumn<int>("protocol");
    QTest::addColumn<QString>("host");
    QTest::addColumn<qint64>("port"); // -1: absent
    QTest::addColumn<QString>("share");
    QTest::addColumn<QString>("expected");

    QTest::newRow("plain smb") << 0 << QStringLiteral("nas.local") << qint64(-1) << QStringLiteral("share")
                               << QStringLiteral("smb://nas.local/share");
    QTest::newRow("ipv6 wrapped") << 0 << QStringLiteral("fe80::1") << qint64(-1) << QStringLiteral("share")
                                  << QStringLiteral("smb://[fe80::1]/share");
    QTest::newRow("ipv6 already bracketed") << 0 << QStringLiteral("[fe80::1]") << qint64(-1) << QStringLiteral("share")
                                            << QStringLiteral("smb://[fe80::1]/share");
    QTest::newRow("ipv6 trimmed then wrapped") << 0 << QStringLiteral("  fe80::1\n") << qint64(-1)
                                               << QStringLiteral("share") << QStringLiteral("smb://[fe80::1]/share");
    QTest::newRow("ipv6 with port") << 0 << QStringLiteral("2001:db8::5") << qint64(8445) << QStringLiteral("data")
                                    << QStringLiteral("smb://[2001:db8::5]:8445/data");
    QTest::newRow("mapped ipv4 in ipv6") << 1 << QStringLiteral("::ffff:192.0.2.1") << qint64(-1)
                                         << QStringLiteral("x") << QStringLiteral("afp://[::ffff:192.0.2.1]/x");
    QTest::newRow("ipv6 with zone is not a literal") << 0 << QStringLiteral("fe80::1%eth0") << qint64(-1)
                                                     << QStringLiteral("s") << QStringLiteral("smb://fe80::1%eth0/s");
    QTest::newRow("name with colon left alone") << 0 << QStringLiteral("nas:8080") << qint64(-1)
                                                << QStringLiteral("s") << QStringLiteral("smb://nas:8080/s");
    QTest::newRow("ipv4 not wrapped") << 2 << QStringLiteral("192.168.1.100") << qint64(-1) << QStringLiteral("export")
                                      << QStringLiteral("nfs://192.168.1.100/export");
    QTest::newRow("port appended") << 0 << QStringLiteral("192.168.1.100") << qint64(1445) << QStringLiteral("share")
                                   << QStringLiteral("smb://192.168.1.100:1445/share");
    QTest::newRow("port 1 appended") << 0 << QStringLiteral("h") << qint64(1) << QStringLiteral("s")
                                     << QStringLiteral("smb://h:1/s");
    QTest::newRow("port 0 left out") << 0 << QStringLiteral("h") << qint64(0) << QStringLiteral("s")
                                     << QStringLiteral("smb://h/s");
    QTest::newRow("negative port left out") << 0 << QStringLiteral("h") << qint64(-5) << QStringLiteral("s")
                                            << QStringLiteral("smb://h/s");
    QTest::newRow("RAW with slashes") << 0 << QStringLiteral("h") << qint64(-1) << QStringLiteral("/RAW/")
                                      << QStringLiteral("smb://h/RAW");
    QTest::newRow("inner slashes kept") << 3 << QStringLiteral("dav.example") << qint64(-1)
                                        << QStringLiteral("//remote.php/dav/files/u//")
                                        << QStringLiteral("http://dav.example/remote.php/dav/files/u");
    QTest::newRow("empty share") << 0 << QStringLiteral("h") << qint64(-1) << QString() << QStringLiteral("smb://h/");
    QTest::newRow("slashes-only share") << 0 << QStringLiteral("h") << qint64(445) << QStringLiteral("///")
                                        << QStringLiteral("smb://h:445/");
    QTest::newRow("webdav root") << 3 << QStringLiteral("dav.example") << qint64(-1) << QString()
                                 << QStringLiteral("http://dav.example/");
    QTest::newRow("webdavs port") << 4 << QStringLiteral("cloud.example.com") << qint64(8443)
                                  << QStringLiteral("remote.php/dav/files/username")
                                  << QStringLiteral("https://cloud.example.com:8443/remote.php/dav/files/username");
    QTest::newRow("blank host") << 0 << QStringLiteral("   ") << qint64(445) << QStringLiteral("share") << QString();
    QTest::newRow("line breaks only") << 0 << QStringLiteral("\n\t\r") << qint64(-1) << QStringLiteral("s") << QString();
    QTest::newRow("empty host") << 4 << QString() << qint64(-1) << QString() << QString();
}

void TestVolumeRecord::mountURLText()
{
    QFETCH(int, protocol);
    QFETCH(QString, host);
    QFETCH(qint64, port);
    QFETCH(QString, share);
    VolumeRecord r;
    r.mounting_using_protocol_Enum = MountProtocol::fromRaw(protocol);
    r.hostname_String = host;
    if (port != -1)
        r.port_Int = port;
    r.volume_String = share;
    QTEST(r.mountURLText(), "expected");
}

void TestVolumeRecord::ipLiteral_data()
{
    QTest::addColumn<QString>("host");
    QTest::addColumn<QString>("expected"); // null: not a literal
    QTest::newRow("ipv4") << QStringLiteral("10.0.0.1") << QStringLiteral("10.0.0.1");
    QTest::newRow("ipv4 trimmed") << QStringLiteral(" 10.0.0.1 ") << QStringLiteral("10.0.0.1");
    QTest::newRow("ipv6") << QStringLiteral("::1") << QStringLiteral("::1");
    QTest::newRow("bracketed ipv6") << QStringLiteral("[fe80::1]") << QStringLiteral("fe80::1");
    QTest::newRow("bracketed ipv4") << QStringLiteral("[10.0.0.1]") << QStringLiteral("10.0.0.1");
    QTest::newRow("only one pair stripped") << QStringLiteral("[[::1]]") << QString();
    QTest::newRow("short ipv4 rejected") << QStringLiteral("10.1") << QString();
    QTest::newRow("octet too big") << QStringLiteral("256.1.1.1") << QString();
    QTest::newRow("only one bracket") << QStringLiteral("[::1") << QString();
    QTest::newRow("zone index") << QStringLiteral("fe80::1%eth0") << QString();
    QTest::newRow("v4-mapped") << QStringLiteral("::ffff:1.2.3.4") << QStringLiteral("::ffff:1.2.3.4");
    QTest::newRow("host name") << QStringLiteral("nas.local") << QString();
    QTest::newRow("empty brackets") << QStringLiteral("[]") << QString();
    QTest::newRow("empty") << QString() << QString();
    QTest::newRow("non-latin") << QStringLiteral("１０.0.0.1") << QString();
}

void TestVolumeRecord::ipLiteral()
{
    QFETCH(QString, host);
    QFETCH(QString, expected);
    const std::optional<QString> literal = VolumeRecord::ipLiteral(host);
    QCOMPARE(literal.has_value(), !expected.isNull());
    if (literal)
        QCOMPARE(*literal, expected);
}

void TestVolumeRecord::displayNameAndAccount()
{
    VolumeRecord r;
    r.internal_ID_Int = 12;
    r.hostname_String = QStringLiteral("nas");
    r.volume_String = QStringLiteral("media");
    QCOMPARE(r.displayName(), QStringLiteral("nas/media"));
    QCOMPARE(r.credentialAccount(), QStringLiteral("volume_record_12"));
    r.nickname_String = QStringLiteral("Media");
    r.credentialAccountOverride = QStringLiteral("volume_record_duplicate_X");
    QCOMPARE(r.displayName(), QStringLiteral("Media"));
    QCOMPARE(r.credentialAccount(), QStringLiteral("volume_record_duplicate_X"));
}

void TestVolumeRecord::roundTrip_data()
{
    QTest::addColumn<int>("medium"); // 0 in memory, 1 XML property list, 2 binary property list
    QTest::newRow("in memory") << 0;
    QTest::newRow("xml plist") << 1;
    QTest::newRow("binary plist") << 2;
}

void TestVolumeRecord::roundTrip()
{
    QFETCH(int, medium);
    VolumeRecord original = fullRecord();
    original._cachedPassword = QStringLiteral("s3cret-pass");
    original.runtime_status_String = QStringLiteral("Mounted");
    original.runtime_isMounted_Bool = true;

    QVariantMap archive = original.encode();
    QVERIFY(!archive.contains(QStringLiteral("password_String")));
    for (const QVariant &v : std::as_const(archive))
        QVERIFY(v.toString() != QStringLiteral("s3cret-pass"));
    if (medium != 0) {
        const QByteArray bytes = PropertyList::serialize(
            archive, medium == 1 ? PropertyList::Format::Xml : PropertyList::Format::Binary);
        QVERIFY(!bytes.isEmpty());
        QVERIFY(!bytes.contains("s3cret-pass"));
        const auto parsed = PropertyList::parse(bytes);
        QVERIFY(parsed);
        archive = parsed->toMap();
    }

    const std::optional<VolumeRecord> decoded = VolumeRecord::decode(archive);
    QVERIFY(decoded);
    for (const QString &name : kPersistedFields)
        QVERIFY2(field(*decoded, name) == field(original, name), qPrintable(name));
    // Run-time state and the password never travel through the archive.
    const VolumeRecord fresh;
    QVERIFY(!decoded->_cachedPassword);
    for (const char *name : {"runtime_status_String", "runtime_isMounted_Bool", "runtime_computed_mountpoint_String",
                             "runtime_ipAddress_String"})
        QCOMPARE(field(*decoded, QLatin1String(name)), field(fresh, QLatin1String(name)));

    // The edge cases of the share name and the port survive the same path.
    VolumeRecord empty = original;
    empty.volume_String.clear();
    empty.port_Int.reset();
    const QVariantMap emptyArchive = empty.encode();
    QVERIFY(!emptyArchive.contains(QStringLiteral("port_Int")));
    const auto emptyDecoded = VolumeRecord::decode(emptyArchive);
    QVERIFY(emptyDecoded);
    QCOMPARE(emptyDecoded->volume_String, QString());
    QVERIFY(!emptyDecoded->port_Int);
    QVERIFY(!emptyDecoded->mountURLText().contains(QStringLiteral(":1445")));
    QVERIFY(emptyDecoded->mountURLText().endsWith(QStringLiteral("files.example.test/")));
}

void TestVolumeRecord::archiveValueKinds()
{
    // The kinds are the format: on/off states as integers, ID and protocol as decimal text, two Booleans.
    VolumeRecord r = fullRecord();
    r.volume_String.clear();
    const QVariantMap a = r.encode();
    auto kind = [&a](const char *key) { return a.value(QLatin1String(key)).metaType().id(); };
    QCOMPARE(a.value(QStringLiteral("internal_ID_Int_String")), QVariant(QStringLiteral("4242")));
    QCOMPARE(a.value(QStringLiteral("protocol_Int_String")), QVariant(QStringLiteral("4")));
    for (const char *key : {"no_password_guest_login", "mount_inside_Volumes", "auto_Mount", "schedule_Mount", "port_Int"})
        QVERIFY2(PropertyList::isInteger(a.value(QLatin1String(key))), key);
    QCOMPARE(kind("volume_String_isEmpty"), QMetaType::Bool);
    QCOMPARE(a.value(QStringLiteral("volume_String_isEmpty")).toBool(), true);
    QCOMPARE(kind("isLocked"), QMetaType::Bool);
    QCOMPARE(kind("scheduleMountTime"), QMetaType::QDateTime);
    QCOMPARE(kind("scheduleUnMountTime"), QMetaType::QDateTime);
    QCOMPARE(kind("schedule_Weekdays"), QMetaType::QVariantList);
    QCOMPARE(a.value(QStringLiteral("credentialAccountOverride")), QVariant(*r.credentialAccountOverride));

    r.credentialAccountOverride.reset();
    QVERIFY(!r.encode().contains(QStringLiteral("credentialAccountOverride")));
}

void TestVolumeRecord::requiredKeys_data()
{
    QTest::addColumn<QStringList>("removed");
    QTest::addColumn<QVariantMap>("replaced");
    QTest::addColumn<QString>("failedKey"); // empty: decodes

    const QStringList none;
    const QVariantMap same;
    const char *order[] = {"internal_ID_Int_String", "hostname_String", "no_password_guest_login", "username_String",
                           "mount_inside_Volumes", "unique_mountpoint_fullpath_String", "auto_Mount"};
    for (const char *key : order)
        QTest::addRow("missing %s", key) << QStringList{QLatin1String(key)} << same << QString::fromLatin1(key);

    QTest::newRow("id not a string") << none << QVariantMap{{QStringLiteral("internal_ID_Int_String"), qint64(7)}}
                                     << QStringLiteral("internal_ID_Int_String");
    QTest::newRow("id not a number") << none << QVariantMap{{QStringLiteral("internal_ID_Int_String"), QStringLiteral("7a")}}
                                     << QStringLiteral("internal_ID_Int_String");
    QTest::newRow("id with spaces") << none << QVariantMap{{QStringLiteral("internal_ID_Int_String"), QStringLiteral(" 7")}}
                                    << QStringLiteral("internal_ID_Int_String");
    QTest::newRow("id empty") << none << QVariantMap{{QStringLiteral("internal_ID_Int_String"), QString()}}
                              << QStringLiteral("internal_ID_Int_String");
    QTest::newRow("negative id decodes") << none
                                         << QVariantMap{{QStringLiteral("internal_ID_Int_String"), QStringLiteral("-3")}}
                                         << QString();
    QTest::newRow("host as number") << none << QVariantMap{{QStringLiteral("hostname_String"), qint64(1)}}
                                    << QStringLiteral("hostname_String");
    QTest::newRow("guest as string") << none << QVariantMap{{QStringLiteral("no_password_guest_login"), QStringLiteral("1")}}
                                     << QStringLiteral("no_password_guest_login");
    QTest::newRow("guest as boolean") << none << QVariantMap{{QStringLiteral("no_password_guest_login"), true}}
                                      << QStringLiteral("no_password_guest_login");
    QTest::newRow("guest as whole real decodes") << none
                                                 << QVariantMap{{QStringLiteral("no_password_guest_login"), 1.0}}
                                                 << QString();
    QTest::newRow("auto mount as fraction") << none << QVariantMap{{QStringLiteral("auto_Mount"), 0.5}}
                                            << QStringLiteral("auto_Mount");
    QTest::newRow("mount point as date") << none
                                         << QVariantMap{{QStringLiteral("unique_mountpoint_fullpath_String"),
                                                         QDateTime::currentDateTimeUtc()}}
                                         << QStringLiteral("unique_mountpoint_fullpath_String");
    // With several keys bad, the one earliest in the reading order is reported.
    QTest::newRow("order: user before auto") << QStringList{QStringLiteral("auto_Mount"), QStringLiteral("username_String")}
                                             << same << QStringLiteral("username_String");
    QTest::newRow("order: id first") << QStringList{QStringLiteral("hostname_String")}
                                     << QVariantMap{{QStringLiteral("internal_ID_Int_String"), QStringLiteral("x")}}
                                     << QStringLiteral("internal_ID_Int_String");
    QTest::newRow("order: mount point before auto")
        << QStringList{QStringLiteral("auto_Mount"), QStringLiteral("unique_mountpoint_fullpath_String")} << same
        << QStringLiteral("unique_mountpoint_fullpath_String");
}

void TestVolumeRecord::requiredKeys()
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

void TestVolumeRecord::fallbacks_data()
{
    QTest::addColumn<QVariantMap>("extra"); // merged into the required keys; an invalid value removes the key
    QTest::addColumn<QString>("field");
    QTest::addColumn<QVariant>("expected");

    const QString uuid = QStringLiteral("0f1e2d3c-4b5a-6978-8796-a5b4c3d2e1f0");
    auto row = [](const char *name, const QVariantMap &extra, const char *fieldName, const QVariant &expected) {
        QTest::newRow(name) << extra << QString::fromLatin1(fieldName) << expected;
    };
    auto m = [](const char *key, const QVariant &v) { return QVariantMap{{QLatin1String(key), v}}; };

    row("id parsed", m("internal_ID_Int_String", QStringLiteral("9000000000")), "internal_ID_Int", qint64(9000000000));
    row("share missing", {}, "volume_String", QString());
    row("share wrong kind", m("volume_String", qint64(3)), "volume_String", QString());
    row("share kept", m("volume_String", QStringLiteral("RAW")), "volume_String", QStringLiteral("RAW"));
    row("empty flag wins over old share",
        QVariantMap{{QStringLiteral("volume_String"), QStringLiteral("share")}, {QStringLiteral("volume_String_isEmpty"), true}},
        "volume_String", QString());
    row("empty flag false keeps share",
        QVariantMap{{QStringLiteral("volume_String"), QStringLiteral("share")}, {QStringLiteral("volume_String_isEmpty"), false}},
        "volume_String", QStringLiteral("share"));
    row("port missing", {}, "port_Int", QVariant());
    row("port as text", m("port_Int", QStringLiteral("445")), "port_Int", QVariant());
    row("port kept", m("port_Int", qint64(8445)), "port_Int", QVariant::fromValue(qint64(8445)));
    row("nickname missing", {}, "nickname_String", QString());
    row("protocol missing", {}, "protocol", 0);
    row("protocol 7", m("protocol_Int_String", QStringLiteral("7")), "protocol", 0);
    row("protocol -1", m("protocol_Int_String", QStringLiteral("-1")), "protocol", 0);
    row("protocol not text", m("protocol_Int_String", qint64(3)), "protocol", 0);
    row("protocol garbage", m("protocol_Int_String", QStringLiteral("dav")), "protocol", 0);
    row("protocol 3", m("protocol_Int_String", QStringLiteral("3")), "protocol", 3);
    row("protocol 4", m("protocol_Int_String", QStringLiteral("4")), "protocol", 4);
    row("schedule missing", {}, "schedule_Mount", 0);
    row("schedule as text", m("schedule_Mount", QStringLiteral("1")), "schedule_Mount", 0);
    row("schedule kept", m("schedule_Mount", qint64(1)), "schedule_Mount", 1);
    row("weekdays missing", {}, "schedule_Weekdays", QVariantList{2, 3, 4, 5, 6});
    row("weekdays mixed kinds", m("schedule_Weekdays", QVariantList{qint64(1), QStringLiteral("x")}), "schedule_Weekdays",
        QVariantList{2, 3, 4, 5, 6});
    row("weekdays not an array", m("schedule_Weekdays", qint64(1)), "schedule_Weekdays", QVariantList{2, 3, 4, 5, 6});
    row("weekdays empty kept", m("schedule_Weekdays", QVariantList{}), "schedule_Weekdays", QVariantList{});
    row("weekdays kept", m("schedule_Weekdays", QVariantList{qint64(1), qint64(7)}), "schedule_Weekdays",
        QVariantList{1, 7});
    row("mac missing", {}, "macAddress_String", QString());
    row("post script wrong kind", m("postMountScriptPath_String", true), "postMountScriptPath_String", QString());
    row("pre script missing", {}, "preUnmountScriptPath_String", QString());
    row("ssids missing", {}, "allowedSSIDs_String", QString());
    row("group missing", {}, "group_String", QString());
    row("managedBy missing", {}, "managedBy", QString());
    row("locked missing", {}, "isLocked", false);
    row("locked true", m("isLocked", true), "isLocked", true);
    row("locked as number", m("isLocked", qint64(1)), "isLocked", true);
    row("locked as text", m("isLocked", QStringLiteral("yes")), "isLocked", false);
    row("override duplicate form kept", m("credentialAccountOverride", QString(QStringLiteral("volume_record_duplicate_") + uuid)),
        "credentialAccountOverride", QString(QStringLiteral("volume_record_duplicate_") + uuid));
    row("override default form dropped", m("credentialAccountOverride", QStringLiteral("volume_record_3")),
        "credentialAccountOverride", QVariant());
    row("override bad uuid dropped", m("credentialAccountOverride", QStringLiteral("volume_record_duplicate_12345")),
        "credentialAccountOverride", QVariant());
    row("override braced uuid dropped",
        m("credentialAccountOverride", QString(QStringLiteral("volume_record_duplicate_{") + uuid + QStringLiteral("}"))),
        "credentialAccountOverride", QVariant());
    row("override other prefix dropped", m("credentialAccountOverride", QString(QStringLiteral("other_") + uuid)),
        "credentialAccountOverride", QVariant());
    row("override not text dropped", m("credentialAccountOverride", qint64(5)), "credentialAccountOverride", QVariant());
    row("legacy password cached", m("password_String", QStringLiteral("pw")), "_cachedPassword", QStringLiteral("pw"));
    row("legacy password not text", m("password_String", qint64(1234)), "_cachedPassword", QVariant());
    row("no password", {}, "_cachedPassword", QVariant());
    row("guest state kept as number", m("no_password_guest_login", qint64(1)), "no_password_guest_login", 1);
}

void TestVolumeRecord::fallbacks()
{
    QFETCH(QVariantMap, extra);
    QFETCH(QString, field);
    QFETCH(QVariant, expected);
    QVariantMap archive = requiredOnly();
    archive.insert(extra);
    const auto r = VolumeRecord::decode(archive);
    QVERIFY(r);
    const QVariant actual = ::field(*r, field);
    QVERIFY2(actual == expected, qPrintable(actual.toString() + QStringLiteral(" != ") + expected.toString()));
    QCOMPARE(actual.isValid(), expected.isValid());
}

void TestVolumeRecord::missingDatesFallBackToNow()
{
    QVariantMap archive = requiredOnly();
    archive.insert(QStringLiteral("scheduleMountTime"), QStringLiteral("2024-01-01")); // wrong kind
    const QDateTime before = QDateTime::currentDateTimeUtc();
    const auto r = VolumeRecord::decode(archive);
    const QDateTime after = QDateTime::currentDateTimeUtc();
    QVERIFY(r);
    QVERIFY(r->schedule_MountTime >= before.addSecs(900) && r->schedule_MountTime <= after.addSecs(900));
    QVERIFY(r->schedule_UnMountTime >= before.addSecs(1800) && r->schedule_UnMountTime <= after.addSecs(1800));

    const QDateTime stored(QDate(2023, 12, 24), QTime(6, 0), QTimeZone::utc());
    archive.insert(QStringLiteral("scheduleUnMountTime"), stored);
    QCOMPARE(VolumeRecord::decode(archive)->schedule_UnMountTime, stored);
}

void TestVolumeRecord::duplicate()
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
    QCOMPARE(uuid, uuid.toUpper());
    QVERIFY(!QUuid::fromString(uuid).isNull());
    QVERIFY(*copy.credentialAccountOverride != *source.credentialAccountOverride);
    QCOMPARE(copy.credentialAccount(), *copy.credentialAccountOverride);
    QCOMPARE(copy.nickname_String, QStringLiteral("Team share Copy"));
    QCOMPARE(copy._cachedPassword, source._cachedPassword);
    QVERIFY(!copy.runtime_isMounted_Bool);
    // The copy's override is of the form the decoder keeps, so it survives a save.
    QCOMPARE(VolumeRecord::decode(copy.encode())->credentialAccountOverride, copy.credentialAccountOverride);

    const QStringList copied{
        QStringLiteral("hostname_String"), QStringLiteral("volume_String"), QStringLiteral("port_Int"),
        QStringLiteral("no_password_guest_login"), QStringLiteral("username_String"), QStringLiteral("protocol"),
        QStringLiteral("mount_inside_Volumes"), QStringLiteral("unique_mountpoint_fullpath_String"),
        QStringLiteral("auto_Mount"), QStringLiteral("schedule_Mount"), QStringLiteral("schedule_MountTime"),
        QStringLiteral("schedule_UnMountTime"), QStringLiteral("schedule_Weekdays"), QStringLiteral("macAddress_String"),
        QStringLiteral("postMountScriptPath_String"), QStringLiteral("preUnmountScriptPath_String"),
        QStringLiteral("group_String"), QStringLiteral("allowedSSIDs_String"),
    };
    for (const QString &name : copied)
        QVERIFY2(field(copy, name) == field(source, name), qPrintable(name));
    // A copy of an imposed record belongs to the user.
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

QTEST_GUILESS_MAIN(TestVolumeRecord)
#include "tst_volumerecord.moc"
