// The configuration-profile generator: the exact text (indents, spacer lines, unescaped user text), the
// rows that are left out, fresh UUIDs, the proposed file name, and that a generated profile is what the
// managed-preferences reader takes.
#include "enterprise/ManagedPreferencesReader.h"
#include "enterprise/ProfileGenerator.h"
#include "base/PropertyList.h"
#include "platform/fake/FakeManagedPreferenceSource.h"
#include "cli/ProfileCommand.h"

#include <QRegularExpression>
#include <QTest>

namespace {

const QUuid kInner = QUuid::fromString(QStringLiteral("{0a1b2c3d-0000-4000-8000-00000000000a}"));
const QUuid kOuter = QUuid::fromString(QStringLiteral("{0a1b2c3d-0000-4000-8000-00000000000b}"));

std::function<QUuid()> fixedUuids()
{
    auto next = std::make_shared<int>(0);
    return [next] { return (*next)++ == 0 ? kInner : kOuter; };
}

ProfileGenerator::Share row(const QString &nick, const QString &host, const QString &name,
                            const QString &protocol = QStringLiteral("SMB"), bool locked = true)
{
    ProfileGenerator::Share s;
    s.nickname = nick;
    s.hostname = host;
    s.shareName = name;
    s.protocolType = protocol;
    s.locked = locked;
    return s;
}

// The lines of the expected text; "~N" stands for a line of N spaces only.
QString lines(const QStringList &parts)
{
    QStringList out;
    for (const QString &p : parts)
        out << (p.startsWith(QLatin1Char('~')) ? QString(p.mid(1).toInt(), QLatin1Char(' ')) : p);
    return out.join(QLatin1Char('\n'));
}

QStringList head(const QString &org, const QString &mail, const QString &user, const QString &exp, const QString &imp)
{
    return {QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>"),
            QStringLiteral("<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" \"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">"),
            QStringLiteral("<plist version=\"1.0\">"),
            QStringLiteral("<dict>"),
            QStringLiteral("    <key>PayloadContent</key>"),
            QStringLiteral("    <array>"),
            QStringLiteral("        <dict>"),
            QStringLiteral("            <key>PayloadType</key>"),
            QStringLiteral("            <string>io.tarnwell.Tarnwell</string>"),
            QStringLiteral("            <key>PayloadVersion</key>"),
            QStringLiteral("            <integer>1</integer>"),
            QStringLiteral("            <key>PayloadIdentifier</key>"),
            QStringLiteral("            <string>io.tarnwell.Tarnwell.config</string>"),
            QStringLiteral("            <key>PayloadUUID</key>"),
            QStringLiteral("            <string>0A1B2C3D-0000-4000-8000-00000000000A</string>"),
            QStringLiteral("            <key>PayloadDisplayName</key>"),
            QStringLiteral("            <string>Tarnwell Configuration</string>"),
            QStringLiteral("~12"),
            QStringLiteral("            <key>OrganizationName</key>"),
            QStringLiteral("            <string>") + org + QStringLiteral("</string>"),
            QStringLiteral("            <key>HelpDeskEmail</key>"),
            QStringLiteral("            <string>") + mail + QStringLiteral("</string>"),
            QStringLiteral("            <key>AllowUserShares</key>"),
            QStringLiteral("            <") + user + QStringLiteral("/>"),
            QStringLiteral("            <key>AllowShareExport</key>"),
            QStringLiteral("            <") + exp + QStringLiteral("/>"),
            QStringLiteral("            <key>AllowShareImport</key>"),
            QStringLiteral("            <") + imp + QStringLiteral("/>")};
}

QStringList tail(const QString &displayOrg, const QString &identifierOrg)
{
    return {QStringLiteral("            </array>"),
            QStringLiteral("        </dict>"),
            QStringLiteral("    </array>"),
            QStringLiteral("~4"),
            QStringLiteral("    <key>PayloadDisplayName</key>"),
            QStringLiteral("    <string>Tarnwell - ") + displayOrg + QStringLiteral(" Configuration</string>"),
            QStringLiteral("    <key>PayloadIdentifier</key>"),
            QStringLiteral("    <string>com.") + identifierOrg + QStringLiteral(".tarnwell.profile</string>"),
            QStringLiteral("    <key>PayloadType</key>"),
            QStringLiteral("    <string>Configuration</string>"),
            QStringLiteral("    <key>PayloadUUID</key>"),
            QStringLiteral("    <string>0A1B2C3D-0000-4000-8000-00000000000B</string>"),
            QStringLiteral("    <key>PayloadVersion</key>"),
            QStringLiteral("    <integer>1</integer>"),
            QStringLiteral("</dict>"),
            QStringLiteral("</plist>")};
}

QStringList shareLines(const QString &nick, const QString &host, const QString &name, const QString &protocol,
                       const QString &locked)
{
    return {QStringLiteral("            <dict>"),
            QStringLiteral("                <key>nickname</key>"),
            QStringLiteral("                <string>") + nick + QStringLiteral("</string>"),
            QStringLiteral("                <key>hostname</key>"),
            QStringLiteral("                <string>") + host + QStringLiteral("</string>"),
            QStringLiteral("                <key>share</key>"),
            QStringLiteral("                <string>") + name + QStringLiteral("</string>"),
            QStringLiteral("                <key>protocol</key>"),
            QStringLiteral("                <string>") + protocol + QStringLiteral("</string>"),
            QStringLiteral("                <key>locked</key>"),
            QStringLiteral("                <") + locked + QStringLiteral("/>"),
            QStringLiteral("            </dict>")};
}

} // namespace

Q_DECLARE_METATYPE(ProfileGenerator::Settings)

class TestProfileGenerator : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void text_data();
    void text();
    void freshUuids();
    void fileName_data();
    void fileName();
    void readerTakesGeneratedProfile();
    void shareOption_data();
    void shareOption();
};

void TestProfileGenerator::text_data()
{
    QTest::addColumn<ProfileGenerator::Settings>("settings");
    QTest::addColumn<QString>("expected");

    ProfileGenerator::Settings acme;
    acme.organizationName = QStringLiteral("Acme Corporation");
    acme.helpDeskEmail = QStringLiteral("help@acme.example");
    acme.allowUserShares = false;
    acme.allowShareImport = false;
    acme.shares = {row(QStringLiteral("Finance"), QStringLiteral("fs1.acme"), QStringLiteral("fin"), QStringLiteral("SMB")),
                   row(QStringLiteral("Dropped"), QStringLiteral("fs1.acme"), QString()),
                   row(QStringLiteral("No host"), QString(), QStringLiteral("x")),
                   row(QString(), QStringLiteral("dav.acme"), QStringLiteral("web"), QStringLiteral("webdavs"), false)};
    QTest::newRow("organisation, no SSIDs, rows with an empty field left out")
        << acme
        << lines(head(QStringLiteral("Acme Corporation"), QStringLiteral("help@acme.example"), QStringLiteral("false"),
                      QStringLiteral("true"), QStringLiteral("false"))
                 + QStringList{QStringLiteral("~12"), QStringLiteral("~12"), QStringLiteral("            <key>ManagedShares</key>"),
                               QStringLiteral("            <array>")}
                 + shareLines(QStringLiteral("Finance"), QStringLiteral("fs1.acme"), QStringLiteral("fin"), QStringLiteral("SMB"),
                              QStringLiteral("true"))
                 + shareLines(QString(), QStringLiteral("dav.acme"), QStringLiteral("web"), QStringLiteral("webdavs"),
                              QStringLiteral("false"))
                 + tail(QStringLiteral("Acme Corporation"), QStringLiteral("acmecorporation")));

    ProfileGenerator::Settings empty;
    empty.enforcedSSIDs = QStringLiteral("CorpWiFi, CorpWiFi-5G");
    QTest::newRow("no organisation, SSIDs as one string, no shares")
        << empty
        << lines(head(QString(), QString(), QStringLiteral("true"), QStringLiteral("true"), QStringLiteral("true"))
                 + QStringList{QStringLiteral("            <key>EnforceSSIDRestriction</key>"),
                               QStringLiteral("            <string>CorpWiFi, CorpWiFi-5G</string>"), QStringLiteral("~12"),
                               QStringLiteral("            <key>ManagedShares</key>"), QStringLiteral("            <array>")}
                 + tail(QStringLiteral("Company"), QStringLiteral("company")));

    ProfileGenerator::Settings ampersand;
    ampersand.organizationName = QStringLiteral("R&D <Lab>");
    QTest::newRow("user text is not escaped")
        << ampersand
        << lines(head(QStringLiteral("R&D <Lab>"), QString(), QStringLiteral("true"), QStringLiteral("true"), QStringLiteral("true"))
                 + QStringList{QStringLiteral("~12"), QStringLiteral("~12"), QStringLiteral("            <key>ManagedShares</key>"),
                               QStringLiteral("            <array>")}
                 + tail(QStringLiteral("R&D <Lab>"), QStringLiteral("r&d<lab>")));
}

void TestProfileGenerator::text()
{
    QFETCH(ProfileGenerator::Settings, settings);
    QFETCH(QString, expected);
    const QString actual = ProfileGenerator::generate(settings, fixedUuids());
    const QStringList a = actual.split(QLatin1Char('\n'));
    const QStringList e = expected.split(QLatin1Char('\n'));
    for (qsizetype i = 0; i < std::min(a.size(), e.size()); ++i)
        QVERIFY2(a.at(i) == e.at(i), qPrintable(QStringLiteral("line %1: '%2' != '%3'").arg(i + 1).arg(a.at(i), e.at(i))));
    QCOMPARE(a.size(), e.size());
    QVERIFY(!actual.endsWith(QLatin1Char('\n')));
}

void TestProfileGenerator::freshUuids()
{
    const ProfileGenerator::Settings settings;
    const QRegularExpression uuid(QStringLiteral("<string>([0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12})</string>"));
    QStringList seen;
    for (int i = 0; i < 2; ++i) {
        auto it = uuid.globalMatch(ProfileGenerator::generate(settings));
        while (it.hasNext())
            seen << it.next().captured(1);
    }
    QCOMPARE(seen.size(), 4);
    QCOMPARE(QSet<QString>(seen.cbegin(), seen.cend()).size(), 4);
}

void TestProfileGenerator::fileName_data()
{
    QTest::addColumn<QString>("organization");
    QTest::addColumn<QString>("expected");
    QTest::newRow("named") << QStringLiteral("Acme Corporation") << QStringLiteral("Acme Corporation-Config.mobileconfig");
    QTest::newRow("empty") << QString() << QStringLiteral("Tarnwell-Config.mobileconfig");
}

void TestProfileGenerator::fileName()
{
    QFETCH(QString, organization);
    QTEST(ProfileGenerator::proposedFileName(organization), "expected");
}

void TestProfileGenerator::readerTakesGeneratedProfile()
{
    ProfileGenerator::Settings settings;
    settings.organizationName = QStringLiteral("Acme");
    settings.allowShareExport = false;
    settings.shares = {row(QStringLiteral("A"), QStringLiteral("nas"), QStringLiteral("a"), QStringLiteral("afp")),
                       row(QStringLiteral("B"), QStringLiteral("nas"), QStringLiteral("b"), QStringLiteral("SMB"), false)};
    const auto root = PropertyList::parse(ProfileGenerator::generate(settings).toUtf8());
    QVERIFY(root);
    const QVariantMap payload = root->toMap().value(QStringLiteral("PayloadContent")).toList().value(0).toMap();
    FakeManagedPreferenceSource source;
    source.setValues(payload);
    const ManagedPreferencesReader reader(source);
    QCOMPARE(reader.string(ManagedPreferencesReader::kOrganizationNameKey), std::optional<QString>(QStringLiteral("Acme")));
    QVERIFY(!reader.isShareExportAllowed());
    QVERIFY(reader.isShareImportAllowed());
    const auto shares = reader.readManagedShares();
    QCOMPARE(shares.size(), 2);
    QCOMPARE(ManagedPreferencesReader::protocolFromText(shares.at(0).protocolType), MountUsingProtocol_Enum::AFP);
    QVERIFY(shares.at(0).isLocked);
    QVERIFY(!shares.at(1).isLocked);

    // An ampersand in the organisation makes the profile unreadable, as for every consumer of the format.
    settings.organizationName = QStringLiteral("R&D");
    QVERIFY(!PropertyList::parse(ProfileGenerator::generate(settings).toUtf8()));
}

void TestProfileGenerator::shareOption_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("row"); // host|share|nickname|protocol|locked, or "error"
    QTest::newRow("host and share") << QStringLiteral("fs1/fin") << QStringLiteral("fs1|fin||SMB|1");
    QTest::newRow("every field") << QStringLiteral("fs1/fin,nickname=Finance Team,protocol=afp,locked=no")
                                 << QStringLiteral("fs1|fin|Finance Team|afp|0");
    QTest::newRow("share path keeps its slashes") << QStringLiteral("dav/remote.php/files") << QStringLiteral("dav|remote.php/files||SMB|1");
    QTest::newRow("empty share name is a row the generator leaves out") << QStringLiteral("fs1/") << QStringLiteral("fs1|||SMB|1");
    QTest::newRow("no slash") << QStringLiteral("fs1") << QStringLiteral("error");
    QTest::newRow("locked neither yes nor no") << QStringLiteral("fs1/a,locked=maybe") << QStringLiteral("error");
    QTest::newRow("unknown field") << QStringLiteral("fs1/a,colour=red") << QStringLiteral("error");
    QTest::newRow("not key=value") << QStringLiteral("fs1/a,afp") << QStringLiteral("error");
}

void TestProfileGenerator::shareOption()
{
    QFETCH(QString, text);
    QFETCH(QString, row);
    QString error;
    const auto share = ProfileCommand::parseShare(text, &error);
    if (row == QLatin1String("error")) {
        QVERIFY(!share);
        QVERIFY(error.contains(text));
        return;
    }
    QVERIFY2(share, qPrintable(error));
    QCOMPARE(QStringList({share->hostname, share->shareName, share->nickname, share->protocolType,
                          QString::number(share->locked)})
                 .join(QLatin1Char('|')),
             row);
}

QTEST_GUILESS_MAIN(TestProfileGenerator)
#include "tst_profile_generator.moc"
