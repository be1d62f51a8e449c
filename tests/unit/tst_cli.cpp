// tarnwellctl's pure parts: share URLs and flags, command lines, dates, event-log following, output.
#include "cli/CommandLine.h"
#include "cli/DateArgument.h"
#include "cli/Output.h"
#include "cli/ShareArguments.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

Q_DECLARE_METATYPE(ShareArguments::Flags)

namespace {

QStringList L(std::initializer_list<const char *> items)
{
    QStringList list;
    for (const char *item : items)
        list << QString::fromUtf8(item);
    return list;
}

QJsonObject json(const char *text)
{
    return QJsonDocument::fromJson(QByteArray(text)).object();
}

QJsonObject logEntry(const QString &date, qint64 id, const QString &message)
{
    QJsonObject e;
    e[QStringLiteral("date")] = date;
    e[QStringLiteral("recordId")] = id;
    e[QStringLiteral("type")] = QStringLiteral("MOUNT_SUCCESS");
    e[QStringLiteral("message")] = message;
    return e;
}

} // namespace

class TestCli : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void shareUrl_data();
    void shareUrl();
    void shareUrlErrors_data();
    void shareUrlErrors();
    void protocolNames_data();
    void protocolNames();
    void recordJson_data();
    void recordJson();
    void hardwareAddress_data();
    void hardwareAddress();
    void commandLine_data();
    void commandLine();
    void commandLineErrors_data();
    void commandLineErrors();
    void dates_data();
    void dates();
    void dateErrors_data();
    void dateErrors();
    void newEvents();
    void recordTable();
};

void TestCli::shareUrl_data()
{
    QTest::addColumn<QString>("url");
    QTest::addColumn<QString>("protocol");
    QTest::addColumn<QString>("host");
    QTest::addColumn<int>("port"); // 0: none
    QTest::addColumn<QString>("user");
    QTest::addColumn<QString>("share");

    QTest::newRow("smb") << "smb://nas/share" << "SMB" << "nas" << 0 << "" << "share";
    QTest::newRow("smb user port encoded") << "smb://alice@nas.local:1445/Team%20Docs/" << "SMB" << "nas.local" << 1445
                                           << "alice" << "Team Docs";
    QTest::newRow("cifs alias") << "cifs://srv/x" << "SMB" << "srv" << 0 << "" << "x";
    QTest::newRow("afp") << "afp://mac-server/Home" << "AFP" << "mac-server" << 0 << "" << "Home";
    QTest::newRow("nfs export path") << "nfs://10.0.0.5/export/data/" << "NFS" << "10.0.0.5" << 0 << "" << "export/data";
    QTest::newRow("webdav path") << "http://dav.example:8080/remote.php/dav/files/bob" << "WEBDAV" << "dav.example" << 8080
                                 << "" << "remote.php/dav/files/bob";
    QTest::newRow("webdavs root") << "https://cloud.example" << "WEBDAVS" << "cloud.example" << 0 << "" << "";
    QTest::newRow("davs scheme") << "davs://bob@h/x" << "WEBDAVS" << "h" << 0 << "bob" << "x";
    QTest::newRow("upper-case scheme") << "SMB://NAS/Share" << "SMB" << "nas" << 0 << "" << "Share";
    QTest::newRow("ipv6 literal") << "smb://[fe80::1]:4450/share" << "SMB" << "fe80::1" << 4450 << "" << "share";
    QTest::newRow("domain user") << "smb://CORP%5Calice@fs/s" << "SMB" << "fs" << 0 << "CORP\\alice" << "s";
    QTest::newRow("blanks around") << "  smb://nas/share  " << "SMB" << "nas" << 0 << "" << "share";
}

void TestCli::shareUrl()
{
    QFETCH(QString, url);
    QString error;
    const auto parsed = ShareArguments::parseShareUrl(url, &error);
    QVERIFY2(parsed, qPrintable(error));
    QTEST(parsed->protocolType, "protocol");
    QTEST(parsed->hostname, "host");
    QTEST(parsed->port.value_or(0), "port");
    QTEST(parsed->username, "user");
    QTEST(parsed->shareName, "share");
}

void TestCli::shareUrlErrors_data()
{
    QTest::addColumn<QString>("url");
    QTest::addColumn<QString>("reason");

    QTest::newRow("no share") << "smb://host" << "the share name is missing";
    QTest::newRow("only slashes") << "afp://host///" << "the share name is missing";
    QTest::newRow("unknown scheme") << "ftp://h/s" << "unknown scheme 'ftp'";
    QTest::newRow("one slash") << "smb:/x" << "scheme is missing";
    QTest::newRow("no scheme") << "nas/share" << "scheme is missing";
    QTest::newRow("no host") << "smb:///share" << "server name is missing";
    QTest::newRow("port out of range") << "smb://h:99999/s" << "not a valid URL";
    QTest::newRow("query") << "smb://h/s?x=1" << "no query";
    QTest::newRow("password") << "smb://u:Sekr1t@h/s" << "carries a password";
    QTest::newRow("empty") << "" << "";
}

void TestCli::shareUrlErrors()
{
    QFETCH(QString, url);
    QFETCH(QString, reason);
    QString error;
    QVERIFY(!ShareArguments::parseShareUrl(url, &error));
    QVERIFY2(error.startsWith(QLatin1String("Malformed share URL")), qPrintable(error));
    QVERIFY2(error.contains(reason), qPrintable(error));
    QVERIFY2(!error.contains(QLatin1String("Sekr1t")), "a password was repeated in the message");
}

void TestCli::protocolNames_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("protocol"); // empty: refused

    QTest::newRow("smb") << "smb" << "SMB";
    QTest::newRow("SMB") << "SMB" << "SMB";
    QTest::newRow("afp") << "afp" << "AFP";
    QTest::newRow("nfs") << "Nfs" << "NFS";
    QTest::newRow("webdav") << "webdav" << "WEBDAV";
    QTest::newRow("webdavs") << "WebDAVS" << "WEBDAVS";
    QTest::newRow("http") << "http" << "WEBDAV";
    QTest::newRow("https") << "https" << "WEBDAVS";
    QTest::newRow("ftp") << "ftp" << "";
    QTest::newRow("smb3") << "smb3" << "";
    QTest::newRow("empty") << "" << "";
}

void TestCli::protocolNames()
{
    QFETCH(QString, name);
    QFETCH(QString, protocol);
    QCOMPARE(ShareArguments::protocolFromName(name).value_or(QString()), protocol);
}

void TestCli::recordJson_data()
{
    using Flags = ShareArguments::Flags;
    QTest::addColumn<Flags>("flags");
    QTest::addColumn<bool>("forAdd");
    QTest::addColumn<QJsonObject>("expected"); // empty: refused
    QTest::addColumn<QString>("reason");

    auto make = [](auto fill) {
        Flags f;
        fill(f);
        return f;
    };
    QTest::newRow("url, no user: guest")
        << make([](Flags &f) { f.url = QStringLiteral("smb://nas:1445/pub"); }) << true
        << json(R"({"protocolType":"SMB","hostname":"nas","shareName":"pub","port":1445,"guest":1,"username":"guest"})") << "";
    QTest::newRow("url user and nickname")
        << make([](Flags &f) {
               f.url = QStringLiteral("smb://alice@nas/team");
               f.nickname = QStringLiteral("Team");
           })
        << true << json(R"({"protocolType":"SMB","hostname":"nas","shareName":"team","username":"alice","nickname":"Team"})")
        << "";
    QTest::newRow("flags override the url")
        << make([](Flags &f) {
               f.url = QStringLiteral("smb://nas:1445/pub");
               f.port = QStringLiteral("2000");
               f.protocol = QStringLiteral("afp");
           })
        << true << json(R"({"protocolType":"AFP","hostname":"nas","shareName":"pub","port":2000,"guest":1,"username":"guest"})")
        << "";
    QTest::newRow("flags only, defaults to smb")
        << make([](Flags &f) {
               f.host = QStringLiteral(" fs1 ");
               f.share = QStringLiteral("data");
               f.user = QStringLiteral("bob");
               f.autoMount = true;
               f.mountDir = QStringLiteral("/mnt/data");
               f.mac = QStringLiteral("00:11:22:AA:bb:cc");
               f.group = QStringLiteral("Office");
           })
        << true
        << json(R"({"protocolType":"SMB","hostname":"fs1","shareName":"data","username":"bob","guest":0,"autoMount":1,)"
                R"("mountInVolumes":0,"customMountPoint":"/mnt/data","macAddress":"00:11:22:AA:bb:cc","group":"Office"})")
        << "";
    QTest::newRow("webdav root without share")
        << make([](Flags &f) {
               f.host = QStringLiteral("dav");
               f.protocol = QStringLiteral("webdavs");
               f.user = QStringLiteral("u");
           })
        << true << json(R"({"protocolType":"WEBDAVS","hostname":"dav","shareName":"","username":"u","guest":0})") << "";
    QTest::newRow("add without server") << make([](Flags &f) { f.share = QStringLiteral("x"); }) << true << QJsonObject()
                                        << "A server is needed";
    QTest::newRow("smb add without share") << make([](Flags &f) { f.host = QStringLiteral("h"); }) << true << QJsonObject()
                                           << "A share name is needed";
    QTest::newRow("user and guest")
        << make([](Flags &f) {
               f.host = QStringLiteral("h");
               f.share = QStringLiteral("s");
               f.user = QStringLiteral("u");
               f.guest = true;
           })
        << true << QJsonObject() << "exclude each other";
    QTest::newRow("guest against url user")
        << make([](Flags &f) {
               f.url = QStringLiteral("smb://u@h/s");
               f.guest = true;
           })
        << true << QJsonObject() << "contradicts";
    QTest::newRow("port zero") << make([](Flags &f) { f.port = QStringLiteral("0"); }) << false << QJsonObject() << "--port";
    QTest::newRow("port text") << make([](Flags &f) { f.port = QStringLiteral("smb"); }) << false << QJsonObject() << "--port";
    QTest::newRow("relative mount dir") << make([](Flags &f) { f.mountDir = QStringLiteral("mnt"); }) << false
                                        << QJsonObject() << "absolute path";
    QTest::newRow("bad mac") << make([](Flags &f) { f.mac = QStringLiteral("00:11:22"); }) << false << QJsonObject() << "--mac";
    QTest::newRow("bad protocol") << make([](Flags &f) { f.protocol = QStringLiteral("gopher"); }) << false << QJsonObject()
                                  << "Unknown protocol 'gopher'";
    QTest::newRow("edit nothing") << Flags() << false << QJsonObject() << "Nothing to change";
    QTest::newRow("edit port back to default")
        << make([](Flags &f) { f.port = QStringLiteral("default"); }) << false << json(R"({"port":null})") << "";
    QTest::newRow("edit switches off")
        << make([](Flags &f) {
               f.guest = false;
               f.autoMount = false;
               f.inVolumes = true;
           })
        << false << json(R"({"guest":0,"autoMount":0,"mountInVolumes":1})") << "";
    QTest::newRow("edit empty host") << make([](Flags &f) { f.host = QStringLiteral("  "); }) << false << QJsonObject()
                                     << "--host must not be empty";
}

void TestCli::recordJson()
{
    QFETCH(ShareArguments::Flags, flags);
    QFETCH(bool, forAdd);
    QFETCH(QJsonObject, expected);
    QFETCH(QString, reason);
    QString error;
    const auto result = ShareArguments::toRecordJson(flags, forAdd, &error);
    if (expected.isEmpty()) {
        QVERIFY2(!result, QJsonDocument(result.value_or(QJsonObject())).toJson().constData());
        QVERIFY2(error.contains(reason), qPrintable(error));
        return;
    }
    QVERIFY2(result, qPrintable(error));
    QCOMPARE(*result, expected);
}

void TestCli::hardwareAddress_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("valid");
    QTest::newRow("colons") << "00:11:22:aa:BB:cc" << true;
    QTest::newRow("dashes") << "00-11-22-aa-bb-cc" << true;
    QTest::newRow("bare") << "001122aabbcc" << true;
    QTest::newRow("mixed separators") << "00:11-22:aa:bb:cc" << false;
    QTest::newRow("short") << "00:11:22:aa:bb" << false;
    QTest::newRow("not hex") << "00:11:22:aa:bb:zz" << false;
    QTest::newRow("long") << "00:11:22:aa:bb:cc:dd" << false;
}

void TestCli::hardwareAddress()
{
    QFETCH(QString, text);
    QTEST(ShareArguments::isHardwareAddress(text), "valid");
}

void TestCli::commandLine_data()
{
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<QString>("command");
    QTest::addColumn<QStringList>("positional");
    QTest::addColumn<QStringList>("flags");
    QTest::addColumn<QString>("values"); // "name=value;..." sorted by name

    QTest::newRow("list json") << L({"list", "--json"}) << "list" << QStringList() << L({"json"}) << "";
    QTest::newRow("mount wait timeout") << L({"mount", "NAS", "--wait", "--timeout", "30"}) << "mount"
                                        << L({"NAS"}) << L({"wait"}) << "timeout=30";
    QTest::newRow("inline value") << L({"log", "--limit=5", "--follow"}) << "log" << QStringList()
                                  << L({"follow"}) << "limit=5";
    QTest::newRow("options before positional") << L({"add", "--guest", "smb://h/s", "--nickname", "My Share"})
                                               << "add" << L({"smb://h/s"}) << L({"guest"})
                                               << "nickname=My Share";
    QTest::newRow("double dash ends options") << L({"remove", "--", "--odd-name"}) << "remove"
                                              << L({"--odd-name"}) << QStringList() << "";
    QTest::newRow("audit export") << L({"audit", "export", "--format", "csv", "--since", "7d"}) << "audit"
                                  << L({"export"}) << QStringList() << "format=csv;since=7d";
    QTest::newRow("eject all") << L({"eject", "--all"}) << "eject" << QStringList() << L({"all"}) << "";
    QTest::newRow("empty value") << L({"edit", "1", "--group="}) << "edit" << L({"1"}) << QStringList()
                                 << "group=";
}

void TestCli::commandLine()
{
    QFETCH(QStringList, args);
    QString error;
    const auto parsed = CommandLine::parse(args, &error);
    QVERIFY2(parsed, qPrintable(error));
    QTEST(parsed->command, "command");
    QTEST(parsed->positional, "positional");
    QTEST(parsed->flags, "flags");
    QStringList values;
    for (auto it = parsed->values.cbegin(); it != parsed->values.cend(); ++it)
        values << it.key() + QLatin1Char('=') + it.value();
    values.sort();
    QTEST(values.join(QLatin1Char(';')), "values");
    QVERIFY(!parsed->help);
}

void TestCli::commandLineErrors_data()
{
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<QString>("reason");

    QTest::newRow("nothing") << QStringList() << "A command is needed";
    QTest::newRow("unknown command") << L({"frobnicate"}) << "Unknown command 'frobnicate'";
    QTest::newRow("unknown option") << L({"list", "--xml"}) << "Unknown option '--xml' for 'list'";
    QTest::newRow("short option") << L({"list", "-j"}) << "Unknown option '-j'";
    QTest::newRow("missing value") << L({"log", "--limit"}) << "needs a value";
    QTest::newRow("flag with value") << L({"list", "--json=yes"}) << "takes no value";
    QTest::newRow("too few") << L({"mount"}) << "Too few arguments";
    QTest::newRow("too many") << L({"status", "a", "b"}) << "Too many arguments";
    QTest::newRow("password option") << L({"add", "smb://h/s", "--password", "x"}) << "Passwords are never taken";
    QTest::newRow("password inline") << L({"edit", "1", "--password=x"}) << "Passwords are never taken";
    QTest::newRow("passwd") << L({"add", "--passwd", "x"}) << "Passwords are never taken";
    QTest::newRow("help of unknown") << L({"help", "nope"}) << "Unknown command 'nope'";
    QTest::newRow("option before command") << L({"--json", "list"}) << "Unknown option '--json'";
}

void TestCli::commandLineErrors()
{
    QFETCH(QStringList, args);
    QFETCH(QString, reason);
    QString error;
    QVERIFY(!CommandLine::parse(args, &error));
    QVERIFY2(error.contains(reason), qPrintable(error));
}

void TestCli::dates_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("until");
    QTest::addColumn<QDateTime>("expected");

    const QDateTime now(QDate(2024, 5, 10), QTime(15, 30), Qt::LocalTime);
    QTest::newRow("day since") << "2024-05-01" << false << QDateTime(QDate(2024, 5, 1), QTime(0, 0), Qt::LocalTime);
    QTest::newRow("day until") << "2024-05-01" << true
                               << QDateTime(QDate(2024, 5, 1), QTime(23, 59, 59, 999), Qt::LocalTime);
    QTest::newRow("utc instant") << "2024-05-01T10:30:00Z" << false
                                 << QDateTime(QDate(2024, 5, 1), QTime(10, 30), Qt::UTC);
    QTest::newRow("offset instant") << "2024-05-01T10:30:00+02:00" << true
                                    << QDateTime(QDate(2024, 5, 1), QTime(8, 30), Qt::UTC);
    QTest::newRow("local with space") << "2024-05-01 10:30" << false
                                      << QDateTime(QDate(2024, 5, 1), QTime(10, 30), Qt::LocalTime);
    QTest::newRow("milliseconds") << "2024-05-01T10:30:00.250Z" << false
                                  << QDateTime(QDate(2024, 5, 1), QTime(10, 30, 0, 250), Qt::UTC);
    QTest::newRow("today") << "today" << false << QDateTime(QDate(2024, 5, 10), QTime(0, 0), Qt::LocalTime);
    QTest::newRow("yesterday until") << "Yesterday" << true
                                     << QDateTime(QDate(2024, 5, 9), QTime(23, 59, 59, 999), Qt::LocalTime);
    QTest::newRow("7d") << "7d" << false << now.addDays(-7);
    QTest::newRow("30days") << "30days" << false << now.addDays(-30);
    QTest::newRow("24h") << "24h" << true << now.addSecs(-24 * 3600);
}

void TestCli::dates()
{
    QFETCH(QString, text);
    QFETCH(bool, until);
    QFETCH(QDateTime, expected);
    const QDateTime now(QDate(2024, 5, 10), QTime(15, 30), Qt::LocalTime);
    QString error;
    const auto parsed = DateArgument::parse(text, until ? DateArgument::Bound::Until : DateArgument::Bound::Since, now, &error);
    QVERIFY2(parsed, qPrintable(error));
    QCOMPARE(parsed->toUTC(), expected.toUTC());
    // The wire form reads back as the same instant.
    QCOMPARE(QDateTime::fromString(DateArgument::toWire(*parsed), Qt::ISODateWithMs), expected.toUTC());
}

void TestCli::dateErrors_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("month 13") << "2024-13-01";
    QTest::newRow("day 30 feb") << "2024-02-30";
    QTest::newRow("short form") << "2024-5-1";
    QTest::newRow("words") << "last week";
    QTest::newRow("empty") << "";
    QTest::newRow("minutes span") << "15m";
    QTest::newRow("hour 25") << "2024-05-01T25:00";
}

void TestCli::dateErrors()
{
    QFETCH(QString, text);
    QString error;
    QVERIFY(!DateArgument::parse(text, DateArgument::Bound::Since, QDateTime::currentDateTime(), &error));
    QVERIFY2(error.startsWith(QLatin1String("Not a date")), qPrintable(error));
}

void TestCli::newEvents()
{
    const QJsonObject a = logEntry(QStringLiteral("2024-05-01T10:00:00.000Z"), 1, QStringLiteral("a"));
    const QJsonObject b = logEntry(QStringLiteral("2024-05-01T10:00:01.000Z"), 1, QStringLiteral("b"));
    const QJsonObject c = logEntry(QStringLiteral("2024-05-01T10:00:01.000Z"), 2, QStringLiteral("c")); // same instant as b
    const QJsonObject d = logEntry(QStringLiteral("2024-05-01T10:00:02.000Z"), 2, QStringLiteral("d"));

    // Newest first in, oldest first out.
    QCOMPARE(Output::newEvents(QJsonArray{b, a}, QJsonArray{d, c, b, a}), (QList<QJsonObject>{c, d}));
    QCOMPARE(Output::newEvents(QJsonArray{d, c, b, a}, QJsonArray{d, c, b, a}), QList<QJsonObject>{});
    QCOMPARE(Output::newEvents(QJsonArray{}, QJsonArray{b, a}), (QList<QJsonObject>{a, b}));
    // The last seen entry was trimmed away: everything dated after it is new.
    QCOMPARE(Output::newEvents(QJsonArray{b}, QJsonArray{d, c}), QList<QJsonObject>{d});
    // The log was cleared: nothing old comes back.
    QCOMPARE(Output::newEvents(QJsonArray{d, c}, QJsonArray{}), QList<QJsonObject>{});
}

void TestCli::recordTable()
{
    QCOMPARE(Output::recordTable(QJsonArray{}), QStringLiteral("No shares configured.\n"));
    const QJsonArray records{
        json(R"({"id":3,"nickname":"NAS","protocolType":"SMB","mountURL":"smb://nas/x","status":"Successfully mounted at /m",)"
             R"("statusLabel":"MOUNTED ✓","mounted":true,"mountInProgress":false,"isLocked":false})"),
        json(R"({"id":12,"nickname":"Policies","protocolType":"WEBDAVS","mountURL":"https://h/","status":"Connecting... 3s",)"
             R"("statusLabel":"","mounted":false,"mountInProgress":true,"isLocked":true})"),
    };
    const QStringList lines = Output::recordTable(records).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    QCOMPARE(lines.size(), 3);
    QVERIFY(lines.at(0).startsWith(QLatin1String("ID  NICKNAME")));
    // The label wins over the status text when there is one; otherwise the status text.
    QVERIFY2(lines.at(1).contains(QLatin1String("mounted")) && lines.at(1).endsWith(QStringLiteral("MOUNTED ✓")), qPrintable(lines.at(1)));
    QVERIFY2(lines.at(2).contains(QLatin1String("Policies [managed]")) && lines.at(2).contains(QLatin1String("mounting"))
                 && lines.at(2).endsWith(QLatin1String("Connecting... 3s")),
             qPrintable(lines.at(2)));
    // Columns line up: the URL column starts at the same place on every line.
    const qsizetype urlColumn = lines.at(0).indexOf(QLatin1String("URL"));
    QCOMPARE(lines.at(1).indexOf(QLatin1String("smb://")), urlColumn);
    QCOMPARE(lines.at(2).indexOf(QLatin1String("https://")), urlColumn);
}

QTEST_GUILESS_MAIN(TestCli)
#include "tst_cli.moc"
