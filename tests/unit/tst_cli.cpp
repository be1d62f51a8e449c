// tarnwellctl: share URLs and flags (and that the engine takes the JSON they make), dates, event-log
// following, terminal output, and whole command lines through the dispatch with no engine reachable:
// usage errors, the password rule and the exit statuses.
#include "cli/Command.h"
#include "cli/DateArgument.h"
#include "cli/Dispatch.h"
#include "cli/Output.h"
#include "cli/ShareArguments.h"
#include "control/ControlNames.h"
#include "control/RecordJson.h"
#include "UnitTestHelpers.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QTemporaryFile>
#include <QTest>

#include <cstdio>
#include <unistd.h>

Q_DECLARE_METATYPE(ShareArguments::Flags)

namespace {

QJsonObject logEntry(const char *date, qint64 id, const char *message)
{
    return QJsonObject{{QStringLiteral("date"), QLatin1String(date)},
                       {QStringLiteral("recordId"), id},
                       {QStringLiteral("type"), QStringLiteral("MOUNT_SUCCESS")},
                       {QStringLiteral("message"), QLatin1String(message)}};
}

struct Run
{
    int status = -1;
    QString out;
    QString err;
};

// Runs the command line through the dispatch with standard output and error captured.
Run dispatch(const QStringList &arguments)
{
    QTemporaryFile outFile, errFile;
    if (!outFile.open() || !errFile.open())
        return {};
    std::fflush(stdout);
    std::fflush(stderr);
    const int savedOut = ::dup(STDOUT_FILENO);
    const int savedErr = ::dup(STDERR_FILENO);
    ::dup2(outFile.handle(), STDOUT_FILENO);
    ::dup2(errFile.handle(), STDERR_FILENO);
    Run run;
    run.status = Cli::dispatch(arguments);
    std::fflush(stdout);
    std::fflush(stderr);
    ::dup2(savedOut, STDOUT_FILENO);
    ::dup2(savedErr, STDERR_FILENO);
    ::close(savedOut);
    ::close(savedErr);
    outFile.seek(0);
    errFile.seek(0);
    run.out = QString::fromUtf8(outFile.readAll());
    run.err = QString::fromUtf8(errFile.readAll());
    return run;
}

} // namespace

class TestCli : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void shareUrl_data()
    {
        QTest::addColumn<QString>("url");
        QTest::addColumn<QString>("protocol"); // empty: refused with reason
        QTest::addColumn<QString>("host");
        QTest::addColumn<int>("port"); // 0: none
        QTest::addColumn<QString>("user");
        QTest::addColumn<QString>("share");
        QTest::addColumn<QString>("reason");

        const auto ok = [](const char *name, const char *url, const char *protocol, const char *host, int port,
                           const char *user, const char *share) {
            QTest::newRow(name) << url << protocol << host << port << user << share << "";
        };
        ok("smb user port encoded", "smb://alice@nas.local:1445/Team%20Docs/", "SMB", "nas.local", 1445, "alice",
           "Team Docs");
        ok("cifs alias", "cifs://srv/x", "SMB", "srv", 0, "", "x");
        ok("nfs export path", "nfs://10.0.0.5/export/data/", "NFS", "10.0.0.5", 0, "", "export/data");
        ok("webdav path", "http://dav.example:8080/remote.php/dav/files/bob", "WEBDAV", "dav.example", 8080, "",
           "remote.php/dav/files/bob");
        ok("webdavs root", "https://cloud.example", "WEBDAVS", "cloud.example", 0, "", "");
        ok("davs scheme", "davs://bob@h/x", "WEBDAVS", "h", 0, "bob", "x");
        ok("upper-case scheme", "SMB://NAS/Share", "SMB", "nas", 0, "", "Share");
        ok("ipv6 literal", "smb://[fe80::1]:4450/share", "SMB", "fe80::1", 4450, "", "share");
        ok("domain user", "smb://CORP%5Calice@fs/s", "SMB", "fs", 0, "CORP\\alice", "s");
        ok("blanks around", "  smb://nas/share  ", "SMB", "nas", 0, "", "share");

        const auto bad = [](const char *name, const char *url, const char *reason) {
            QTest::newRow(name) << url << "" << "" << 0 << "" << "" << reason;
        };
        bad("only slashes", "afp://host///", "the share name is missing");
        bad("unknown scheme", "ftp://h/s", "unknown scheme 'ftp'");
        bad("one slash", "smb:/x", "scheme is missing");
        bad("no host", "smb:///share", "server name is missing");
        bad("port out of range", "smb://h:99999/s", "not a valid URL");
        bad("query", "smb://h/s?x=1", "no query");
        bad("password", "smb://u:Sekr1t@h/s", "carries a password");
        bad("empty", "", "");
    }
    void shareUrl()
    {
        QFETCH(QString, url);
        QFETCH(QString, protocol);
        QFETCH(QString, reason);
        QString error;
        const auto parsed = ShareArguments::parseShareUrl(url, &error);
        if (protocol.isEmpty()) {
            QVERIFY(!parsed);
            QVERIFY2(error.startsWith(QLatin1String("Malformed share URL")), qPrintable(error));
            QVERIFY2(error.contains(reason), qPrintable(error));
            QVERIFY2(!error.contains(QLatin1String("Sekr1t")), "a password was repeated in the message");
            return;
        }
        QVERIFY2(parsed, qPrintable(error));
        QCOMPARE(parsed->protocolType, protocol);
        QTEST(parsed->hostname, "host");
        QTEST(parsed->port.value_or(0), "port");
        QTEST(parsed->username, "user");
        QTEST(parsed->shareName, "share");
    }
    void recordJson_data()
    {
        using Flags = ShareArguments::Flags;
        QTest::addColumn<Flags>("flags");
        QTest::addColumn<bool>("forAdd");
        QTest::addColumn<QJsonObject>("expected"); // empty: refused
        QTest::addColumn<QString>("reason");

        const auto ok = [](const char *name, const Flags &flags, bool forAdd, const char *expected) {
            QTest::newRow(name) << flags << forAdd << json(expected) << "";
        };
        const auto bad = [](const char *name, const Flags &flags, bool forAdd, const char *reason) {
            QTest::newRow(name) << flags << forAdd << QJsonObject() << reason;
        };
        ok("url, no user: guest", {.url = QStringLiteral("smb://nas:1445/pub")}, true,
           R"({"protocolType":"SMB","hostname":"nas","shareName":"pub","port":1445,"guest":1,"username":"guest"})");
        ok("url user and nickname", {.url = QStringLiteral("smb://alice@nas/team"), .nickname = QStringLiteral("Team")},
           true, R"({"protocolType":"SMB","hostname":"nas","shareName":"team","username":"alice","nickname":"Team"})");
        ok("flags override the url",
           {.url = QStringLiteral("smb://nas:1445/pub"), .protocol = QStringLiteral("afp"), .port = QStringLiteral("2000")},
           true, R"({"protocolType":"AFP","hostname":"nas","shareName":"pub","port":2000,"guest":1,"username":"guest"})");
        ok("flags only, defaults to smb",
           {.host = QStringLiteral(" fs1 "), .share = QStringLiteral("data"), .user = QStringLiteral("bob"),
            .autoMount = true, .mountDir = QStringLiteral("/mnt/data"), .group = QStringLiteral("Office"),
            .mac = QStringLiteral("00:11:22:AA:bb:cc")},
           true,
           R"({"protocolType":"SMB","hostname":"fs1","shareName":"data","username":"bob","guest":0,"autoMount":1,)"
           R"("mountInVolumes":0,"customMountPoint":"/mnt/data","macAddress":"00:11:22:AA:bb:cc","group":"Office"})");
        ok("webdav root without share",
           {.host = QStringLiteral("dav"), .protocol = QStringLiteral("webdavs"), .user = QStringLiteral("u")}, true,
           R"({"protocolType":"WEBDAVS","hostname":"dav","shareName":"","username":"u","guest":0})");
        bad("add without server", {.share = QStringLiteral("x")}, true, "A server is needed");
        bad("smb add without share", {.host = QStringLiteral("h")}, true, "A share name is needed");
        bad("user and guest",
            {.host = QStringLiteral("h"), .share = QStringLiteral("s"), .user = QStringLiteral("u"), .guest = true}, true,
            "exclude each other");
        bad("guest against url user", {.url = QStringLiteral("smb://u@h/s"), .guest = true}, true, "contradicts");
        bad("port zero", {.port = QStringLiteral("0")}, false, "--port");
        bad("port text", {.port = QStringLiteral("smb")}, false, "--port");
        bad("relative mount dir", {.mountDir = QStringLiteral("mnt")}, false, "absolute path");
        bad("bad mac", {.mac = QStringLiteral("00:11:22")}, false, "--mac");
        bad("bad protocol", {.protocol = QStringLiteral("gopher")}, false, "Unknown protocol 'gopher'");
        bad("edit nothing", {}, false, "Nothing to change");
        bad("edit empty host", {.host = QStringLiteral("  ")}, false, "--host must not be empty");
        ok("edit port back to default", {.port = QStringLiteral("default")}, false, R"({"port":null})");
        ok("edit switches off", {.guest = false, .autoMount = false, .inVolumes = true}, false,
           R"({"guest":0,"autoMount":0,"mountInVolumes":1})");
    }
    void recordJson()
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
        // What the command line makes, the engine takes.
        VolumeRecord record;
        QVERIFY2(RecordJson::apply(*result, record, &error), qPrintable(error));
    }
    void hardwareAddress_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("valid");
        for (const char *text : {"00:11:22:aa:BB:cc", "00-11-22-aa-bb-cc", "001122aabbcc"})
            QTest::newRow(text) << text << true;
        // Mixed separators, short, not hex, long.
        for (const char *text : {"00:11-22:aa:bb:cc", "00:11:22:aa:bb", "00:11:22:aa:bb:zz", "00:11:22:aa:bb:cc:dd"})
            QTest::newRow(text) << text << false;
    }
    void hardwareAddress()
    {
        QFETCH(QString, text);
        QTEST(ShareArguments::isHardwareAddress(text), "valid");
    }
    void commandLines_data()
    {
        // No engine can be reached: the session bus address leads nowhere, so an accepted command line ends
        // with status 1 and the no-engine message, and only usage errors end with 2.
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + m_noBus.filePath(QStringLiteral("none")).toUtf8());

        QTest::addColumn<QStringList>("args");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("text"); // in standard output for status 0, else in standard error

        const QString noEngine = ControlNames::kNoEngineMessage.section(QLatin1Char('\n'), 0, 0);
        const auto accepted = [&noEngine](const char *name, const QStringList &args) {
            QTest::newRow(name) << args << 1 << noEngine;
        };
        const auto usage = [](const char *name, const QStringList &args, const char *text) {
            QTest::newRow(name) << args << 2 << QString::fromUtf8(text);
        };

        // --help, mount --help, an unknown command, an unknown protocol and a password as an option or in the URL:
        // tests/integration/tst_cli.sh, with the same texts and statuses.
        QTest::newRow("version") << strs({"--version"}) << 0 << "tarnwellctl " TARNWELL_VERSION;
        QTest::newRow("help command") << strs({"help", "eject"}) << 0 << "Usage: tarnwellctl eject";
        QTest::newRow("--help command") << strs({"--help", "log"}) << 0 << "Usage: tarnwellctl log";

        // list --json, mount NAME --wait --timeout N, eject --all --wait and audit export --format csv --since: run
        // against a real engine in tests/integration/tst_cli.sh.
        accepted("inline value", strs({"log", "--limit=5", "--follow"}));
        accepted("options around the url", strs({"add", "--guest", "smb://h/s", "--nickname", "My Share"}));
        // A password share asks nobody for a password while no engine would take it.
        accepted("password share", strs({"add", "smb://alice@h/s"}));
        accepted("double dash ends options", strs({"remove", "--", "--odd-name"}));
        accepted("new password only", strs({"edit", "1", "--set-password", "--password-stdin"}));

        usage("nothing", {}, "A command is needed");
        usage("option before command", strs({"--json", "list"}), "Unknown option '--json'");
        usage("help of unknown", strs({"help", "nope"}), "Unknown command 'nope'");
        usage("unknown option", strs({"list", "--xml"}), "Unknown option 'xml'");
        usage("missing value", strs({"log", "--limit"}), "Missing value after '--limit'");
        usage("flag with value", strs({"list", "--json=yes"}), "Unexpected value after '--json'");
        usage("too few", strs({"mount"}), "Too few arguments. Usage: tarnwellctl mount");
        usage("too many", strs({"status", "a", "b"}), "Too many arguments");
        usage("password inline", strs({"edit", "1", "--password=Sekr1t"}), "Passwords are never taken");
        usage("passwd", strs({"mount", "x", "--passwd", "Sekr1t"}), "Passwords are never taken");
        usage("timeout", strs({"mount", "x", "--timeout", "0"}), "--timeout must be a number of seconds");
        usage("limit", strs({"log", "--limit=all"}), "--limit must be a number");
        usage("eject neither", strs({"eject"}), "Name one share, or give --all");
        usage("eject both", strs({"eject", "x", "--all"}), "Name one share, or give --all");
        usage("audit action", strs({"audit", "import"}), "Unknown audit command 'import'");
        usage("audit format", strs({"audit", "export"}), "--format csv or --format json is needed");
        usage("audit date", strs({"audit", "export", "--format", "csv", "--since", "last week"}), "Not a date");
        usage("edit nothing", strs({"edit", "1"}), "Nothing to change");
        usage("password-stdin alone", strs({"edit", "1", "--nickname", "x", "--password-stdin"}), "goes with --set-password");
        usage("guest with a password", strs({"add", "smb://h/s", "--password-stdin"}), "does not go with a guest share");
    }
    void commandLines()
    {
        QFETCH(QStringList, args);
        QFETCH(int, status);
        QFETCH(QString, text);
        const Run run = dispatch(args);
        QCOMPARE(run.status, status);
        QVERIFY2((status == 0 ? run.out : run.err).contains(text), qPrintable(run.out + run.err));
        if (status != 0)
            QVERIFY2(run.out.isEmpty(), qPrintable(run.out));
        // A password given on the command line is never repeated.
        QVERIFY(!run.out.contains(QLatin1String("Sekr1t")) && !run.err.contains(QLatin1String("Sekr1t")));
    }
    void dates_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("until");
        QTest::addColumn<QDateTime>("expected"); // invalid: refused

        const QDateTime now(QDate(2024, 5, 10), QTime(15, 30), Qt::LocalTime);
        const auto at = [](int d, QTime t, Qt::TimeSpec spec = Qt::LocalTime) { return QDateTime(QDate(2024, 5, d), t, spec); };
        QTest::newRow("day since") << "2024-05-01" << false << at(1, QTime(0, 0));
        QTest::newRow("day until") << "2024-05-01" << true << at(1, QTime(23, 59, 59, 999));
        QTest::newRow("utc instant") << "2024-05-01T10:30:00Z" << false << at(1, QTime(10, 30), Qt::UTC);
        QTest::newRow("offset instant") << "2024-05-01T10:30:00+02:00" << true << at(1, QTime(8, 30), Qt::UTC);
        QTest::newRow("local with space") << "2024-05-01 10:30" << false << at(1, QTime(10, 30));
        QTest::newRow("milliseconds") << "2024-05-01T10:30:00.250Z" << false << at(1, QTime(10, 30, 0, 250), Qt::UTC);
        QTest::newRow("today") << "today" << false << at(10, QTime(0, 0));
        QTest::newRow("yesterday until") << "Yesterday" << true << at(9, QTime(23, 59, 59, 999));
        QTest::newRow("7d") << "7d" << false << now.addDays(-7);
        QTest::newRow("30days") << "30days" << false << now.addDays(-30);
        QTest::newRow("24h") << "24h" << true << now.addSecs(-24 * 3600);
        for (const char *bad : {"2024-02-30", "2024-5-1", "last week", "", "15m", "2024-05-01T25:00"})
            QTest::newRow(qPrintable(QStringLiteral("refused '%1'").arg(QLatin1String(bad)))) << bad << false << QDateTime();
    }
    void dates()
    {
        QFETCH(QString, text);
        QFETCH(bool, until);
        QFETCH(QDateTime, expected);
        const QDateTime now(QDate(2024, 5, 10), QTime(15, 30), Qt::LocalTime);
        QString error;
        const auto parsed =
            DateArgument::parse(text, until ? DateArgument::Bound::Until : DateArgument::Bound::Since, now, &error);
        if (!expected.isValid()) {
            QVERIFY(!parsed);
            QVERIFY2(error.startsWith(QLatin1String("Not a date")), qPrintable(error));
            return;
        }
        QVERIFY2(parsed, qPrintable(error));
        QCOMPARE(parsed->toUTC(), expected.toUTC());
        // The wire form reads back as the same instant.
        QCOMPARE(QDateTime::fromString(DateArgument::toWire(*parsed), Qt::ISODateWithMs), expected.toUTC());
    }
    void newEvents()
    {
        const QJsonObject a = logEntry("2024-05-01T10:00:00.000Z", 1, "a");
        const QJsonObject b = logEntry("2024-05-01T10:00:01.000Z", 1, "b");
        const QJsonObject c = logEntry("2024-05-01T10:00:01.000Z", 2, "c"); // same instant as b
        const QJsonObject d = logEntry("2024-05-01T10:00:02.000Z", 2, "d");

        // Newest first in, oldest first out.
        QCOMPARE(Output::newEvents(QJsonArray{b, a}, QJsonArray{d, c, b, a}), (QList<QJsonObject>{c, d}));
        QCOMPARE(Output::newEvents(QJsonArray{d, c, b, a}, QJsonArray{d, c, b, a}), QList<QJsonObject>{});
        QCOMPARE(Output::newEvents(QJsonArray{}, QJsonArray{b, a}), (QList<QJsonObject>{a, b}));
        // The last seen entry was trimmed away: everything dated after it is new.
        QCOMPARE(Output::newEvents(QJsonArray{b}, QJsonArray{d, c}), QList<QJsonObject>{d});
        // The log was cleared: nothing old comes back.
        QCOMPARE(Output::newEvents(QJsonArray{d, c}, QJsonArray{}), QList<QJsonObject>{});
    }
    void recordTable()
    {
        QCOMPARE(Output::recordTable(QJsonArray{}), QStringLiteral("No shares configured.\n"));
        const QJsonArray records{
            json(R"({"id":3,"nickname":"NAS","protocolType":"SMB","mountURL":"smb://nas/x","status":"Successfully mounted at /m",)"
                 R"("statusLabel":"MOUNTED ✓","mounted":true,"mountInProgress":false,"isLocked":false})"),
            json(R"({"id":12,"nickname":"Policies","protocolType":"WEBDAVS","mountURL":"https://h/","status":"Connecting... 3s",)"
                 R"("statusLabel":"","mounted":false,"mountInProgress":true,"isLocked":true})"),
        };
        const QStringList lines = Output::recordTable(records).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 4);
        QVERIFY(lines.at(0).startsWith(QLatin1String("ID  NICKNAME")));
        QCOMPARE(lines.at(3), QStringLiteral("1 of 2 share(s) managed by your IT department (they cannot be edited or removed)"));
        // The label wins over the status text when there is one; otherwise the status text.
        QVERIFY2(lines.at(1).contains(QLatin1String("mounted")) && lines.at(1).endsWith(QStringLiteral("MOUNTED ✓")),
                 qPrintable(lines.at(1)));
        QVERIFY2(lines.at(2).contains(QLatin1String("Policies [managed]")) && lines.at(2).contains(QLatin1String("mounting"))
                     && lines.at(2).endsWith(QLatin1String("Connecting... 3s")),
                 qPrintable(lines.at(2)));
        // Columns line up: the URL column starts at the same place on every line.
        const qsizetype urlColumn = lines.at(0).indexOf(QLatin1String("URL"));
        QCOMPARE(lines.at(1).indexOf(QLatin1String("smb://")), urlColumn);
        QCOMPARE(lines.at(2).indexOf(QLatin1String("https://")), urlColumn);
    }
    void escaping_data()
    {
        // Texts from user data (a nickname, a status from the network) holding terminal control sequences.
        QTest::addColumn<QString>("shown");

        const QJsonObject record = json(R"({"id":3,"nickname":"\u001b[2J\u001b]0;owned\u0007Team","mountURL":"smb://nas/x",)"
                                        R"("status":"Failed\rOK","mounted":true})");
        const QJsonObject event = json(R"({"timestamp":"2024-05-01 12:00:00","recordId":3,"hostname":"nas","shareName":"x",)"
                                       R"("message":"\u001b[2J\u001b]0;owned\u0007Team"})");
        QTest::newRow("list") << Output::recordTable(QJsonArray{record});
        QTest::newRow("status") << Output::recordDetails(record);
        QTest::newRow("log") << Output::eventLine(event) + QLatin1Char('\n');
        QTest::newRow("share name") << Output::shareName(record) + QLatin1Char('\n');
    }
    void escaping()
    {
        QFETCH(QString, shown);
        QVERIFY2(shown.contains(QLatin1String("\\x1b[2J\\x1b]0;owned\\x07Team")), qPrintable(shown));
        for (const QChar c : shown)
            QVERIFY2(c == QLatin1Char('\n') || c.unicode() >= 0x20, qPrintable(shown));
    }

private:
    QTemporaryDir m_noBus;
};

QTEST_GUILESS_MAIN(TestCli)
#include "tst_cli.moc"
