// The configuration-profile generator: the exact text (indents, spacer lines, unescaped user text), the
// rows that are left out, fresh UUIDs, the proposed file name, and the command line's share option. That the
// managed-preferences reader takes a generated profile is shown by tests/integration/tst_enterprise.sh.
#include "UnitTestHelpers.h"
#include "enterprise/ProfileGenerator.h"
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

// A key line and its value line, both indented by `indent`.
QStringList kv(int indent, const char *key, const QString &value)
{
    const QString pad(indent, QLatin1Char(' '));
    return {pad + QStringLiteral("<key>%1</key>").arg(QLatin1String(key)), pad + value};
}
QString str(const QString &text)
{
    return QStringLiteral("<string>") + text + QStringLiteral("</string>");
}
QString flag(bool on)
{
    return on ? QStringLiteral("<true/>") : QStringLiteral("<false/>");
}
const QString kOne = QStringLiteral("<integer>1</integer>");

QStringList head(const QString &org, const QString &mail, bool user, bool exp, bool imp)
{
    return strs({"<?xml version=\"1.0\" encoding=\"UTF-8\"?>",
                 "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" \"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">",
                 "<plist version=\"1.0\">", "<dict>", "    <key>PayloadContent</key>", "    <array>", "        <dict>"})
        + kv(12, "PayloadType", str(QStringLiteral("io.tarnwell.Tarnwell"))) + kv(12, "PayloadVersion", kOne)
        + kv(12, "PayloadIdentifier", str(QStringLiteral("io.tarnwell.Tarnwell.config")))
        + kv(12, "PayloadUUID", str(QStringLiteral("0A1B2C3D-0000-4000-8000-00000000000A")))
        + kv(12, "PayloadDisplayName", str(QStringLiteral("Tarnwell Configuration"))) + strs({"~12"})
        + kv(12, "OrganizationName", str(org)) + kv(12, "HelpDeskEmail", str(mail))
        + kv(12, "AllowUserShares", flag(user)) + kv(12, "AllowShareExport", flag(exp))
        + kv(12, "AllowShareImport", flag(imp));
}

// After the settings: the SSID pair (when given), a spacer, and the opening of the share list.
QStringList sharesOpen(const QString &ssids = QString())
{
    return (ssids.isEmpty() ? strs({"~12"}) : kv(12, "EnforceSSIDRestriction", str(ssids)))
        + strs({"~12", "            <key>ManagedShares</key>", "            <array>"});
}

QStringList tail(const QString &displayOrg, const QString &identifierOrg)
{
    return strs({"            </array>", "        </dict>", "    </array>", "~4"})
        + kv(4, "PayloadDisplayName", str(QStringLiteral("Tarnwell - %1 Configuration").arg(displayOrg)))
        + kv(4, "PayloadIdentifier", str(QStringLiteral("com.%1.tarnwell.profile").arg(identifierOrg)))
        + kv(4, "PayloadType", str(QStringLiteral("Configuration")))
        + kv(4, "PayloadUUID", str(QStringLiteral("0A1B2C3D-0000-4000-8000-00000000000B")))
        + kv(4, "PayloadVersion", kOne)
        + strs({"</dict>", "</plist>"});
}

QStringList shareLines(const QString &nick, const QString &host, const QString &name, const QString &protocol,
                       bool locked)
{
    return strs({"            <dict>"}) + kv(16, "nickname", str(nick)) + kv(16, "hostname", str(host))
        + kv(16, "share", str(name)) + kv(16, "protocol", str(protocol)) + kv(16, "locked", flag(locked))
        + strs({"            </dict>"});
}

} // namespace

Q_DECLARE_METATYPE(ProfileGenerator::Settings)

class TestProfileGenerator : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void text_data()
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
                       row(QString(), QStringLiteral("dav.acme"), QStringLiteral("web"), QStringLiteral("webdavs"),
                           false)};
        QTest::newRow("organisation, no SSIDs, rows with an empty field left out")
            << acme
            << lines(head(QStringLiteral("Acme Corporation"), QStringLiteral("help@acme.example"), false, true, false)
                     + sharesOpen()
                     + shareLines(QStringLiteral("Finance"), QStringLiteral("fs1.acme"), QStringLiteral("fin"),
                                  QStringLiteral("SMB"), true)
                     + shareLines(QString(), QStringLiteral("dav.acme"), QStringLiteral("web"),
                                  QStringLiteral("webdavs"), false)
                     + tail(QStringLiteral("Acme Corporation"), QStringLiteral("acmecorporation")));

        ProfileGenerator::Settings empty;
        empty.enforcedSSIDs = QStringLiteral("CorpWiFi, CorpWiFi-5G");
        QTest::newRow("no organisation, SSIDs as one string, no shares")
            << empty
            << lines(head(QString(), QString(), true, true, true) + sharesOpen(QStringLiteral("CorpWiFi, CorpWiFi-5G"))
                     + tail(QStringLiteral("Company"), QStringLiteral("company")));

        ProfileGenerator::Settings ampersand;
        ampersand.organizationName = QStringLiteral("R&D <Lab>");
        QTest::newRow("user text is not escaped")
            << ampersand
            << lines(head(QStringLiteral("R&D <Lab>"), QString(), true, true, true) + sharesOpen()
                     + tail(QStringLiteral("R&D <Lab>"), QStringLiteral("r&d<lab>")));
    }

    void text()
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

    void freshUuids()
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

    // A named organisation's file name is checked by the window test and the enterprise scenario.
    void fileName()
    {
        QCOMPARE(ProfileGenerator::proposedFileName(QString()), QStringLiteral("Tarnwell-Config.mobileconfig"));
    }

    void shareOption_data()
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

    void shareOption()
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

};

QTEST_GUILESS_MAIN(TestProfileGenerator)
#include "tst_profile_generator.moc"
