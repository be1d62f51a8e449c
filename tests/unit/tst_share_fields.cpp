// ShareFields: the one validation of a share's fields, row by row. That the control interface's JSON, the
// command line and the CSV importer refuse through it: tst_control, tst_cli and tst_sharecsv.
#include "base/ShareFields.h"

#include <QTest>

using Fields = ShareFields::Fields;
Q_DECLARE_METATYPE(Fields)

class TestShareFields : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void check_data()
    {
        QTest::addColumn<Fields>("fields");
        QTest::addColumn<QString>("problem"); // a part of the refusal; empty when valid
        auto row = [](const char *name, auto set, const char *problem) {
            Fields f;
            set(f);
            QTest::newRow(name) << f << QString::fromUtf8(problem);
        };
        row("nothing given", [](Fields &) {}, "");
        row("host name", [](Fields &f) { f.hostname = QStringLiteral("nas-01.example.org"); }, "");
        row("IPv6 literal with zone", [](Fields &f) { f.hostname = QStringLiteral("[fe80::1%eth0]"); }, "");
        row("international name", [](Fields &f) { f.hostname = QStringLiteral("bücher.example"); }, "");
        row("host with newline", [](Fields &f) { f.hostname = QStringLiteral("nas\nevil"); }, "'hostname' must not contain '\\x0a'");
        row("host with NUL", [](Fields &f) { f.hostname = QStringLiteral("nas") + QChar(0) + QStringLiteral("x"); }, "'\\x00'");
        row("host with shell characters", [](Fields &f) { f.hostname = QStringLiteral("nas;rm -rf ~"); }, "must not contain ';'");
        row("host with space", [](Fields &f) { f.hostname = QStringLiteral("my nas"); }, "must not contain ' '");
        row("host with user part", [](Fields &f) { f.hostname = QStringLiteral("bob@nas"); }, "must not contain '@'");
        row("host too long", [](Fields &f) { f.hostname = QString(254, u'a'); }, "'hostname' is too long (254 characters; at most 253)");
        row("host blank", [](Fields &f) { f.hostname = QStringLiteral("  "); }, "'hostname' must not be empty");
        row("share with spaces and $", [](Fields &f) { f.shareName = QStringLiteral("Team Files$"); }, "");
        row("share with escape", [](Fields &f) { f.shareName = QStringLiteral("a\x1b[31m"); }, "'shareName' must not contain control characters");
        row("share too long", [](Fields &f) { f.shareName = QString(1025, u's'); }, "'shareName' is too long");
        row("port 1", [](Fields &f) { f.port = 1; }, "");
        row("port 65535", [](Fields &f) { f.port = 65535; }, "");
        row("port 0", [](Fields &f) { f.port = 0; }, "'port' must be a number from 1 to 65535, not 0");
        row("port 65536", [](Fields &f) { f.port = 65536; }, "not 65536");
        row("nickname of 256", [](Fields &f) { f.nickname = QString(256, u'n'); }, "");
        row("nickname of 1 MB", [](Fields &f) { f.nickname = QString(1 << 20, u'n'); }, "'nickname' is too long");
        row("nickname with bidi override", [](Fields &f) { f.nickname = QStringLiteral("abc\u202Etxt.exe"); }, "control characters");
        row("nickname with emoji", [](Fields &f) { f.nickname = QStringLiteral("Fotos 📷"); }, "");
        row("user with tab", [](Fields &f) { f.username = QStringLiteral("bob\t"); }, "'username' must not contain control");
        row("group too long", [](Fields &f) { f.group = QString(300, u'g'); }, "'group' is too long");
        row("no mount folder", [](Fields &f) { f.customMountPoint = QString(); }, "");
        row("absolute mount folder", [](Fields &f) { f.customMountPoint = QStringLiteral("/mnt/nas"); }, "");
        row("relative mount folder", [](Fields &f) { f.customMountPoint = QStringLiteral("mnt/nas"); }, "must be an absolute path");
        row("mount folder with ..", [](Fields &f) { f.customMountPoint = QStringLiteral("/mnt/../etc"); }, "must be a plain path ('/etc'");
        row("mount folder with //", [](Fields &f) { f.customMountPoint = QStringLiteral("/mnt//nas/"); }, "must be a plain path ('/mnt/nas'");
        row("hardware address", [](Fields &f) { f.macAddress = QStringLiteral("00:11:22:aa:BB:cc"); }, "");
        row("hardware address with dashes", [](Fields &f) { f.macAddress = QStringLiteral("00-11-22-33-44-55"); }, "");
        row("hardware address bare", [](Fields &f) { f.macAddress = QStringLiteral("001122334455"); }, "");
        row("hardware address mixed", [](Fields &f) { f.macAddress = QStringLiteral("00:11-22:33:44:55"); }, "'macAddress' must be a hardware address");
        row("hardware address short", [](Fields &f) { f.macAddress = QStringLiteral("00:11:22:33:44"); }, "'macAddress'");
        row("networks with newline", [](Fields &f) { f.allowedSSIDs = QStringLiteral("Home\nWork"); }, "'allowedSSIDs'");
    }

    void check()
    {
        QFETCH(Fields, fields);
        QFETCH(QString, problem);
        const auto found = ShareFields::check(fields);
        if (problem.isEmpty()) {
            QVERIFY2(!found, qPrintable(found.value_or(QString())));
            return;
        }
        QVERIFY(found);
        QVERIFY2(found->contains(problem), qPrintable(*found));
    }
};

QTEST_GUILESS_MAIN(TestShareFields)
#include "tst_share_fields.moc"
