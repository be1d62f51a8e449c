// The profile generator window: the text it shows is the generator's for what the form holds (fields,
// switches, share rows with their protocol and lock), and Copy and Save hand on that same text.
#include "ViewHooksScript.h"

#include "ui/ProfileGeneratorWindow.h"

#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QFile>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTest>

class TestProfileGeneratorWindow : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void generatedTextIsTheEngines_data()
    {
        QTest::addColumn<QString>("organization");
        QTest::addColumn<QString>("ssids");
        QTest::addColumn<bool>("allowExport");
        QTest::newRow("organisation, SSIDs, export forbidden")
            << QStringLiteral("Acme Corporation") << QStringLiteral("CorpWiFi, CorpWiFi-5G") << false;
        QTest::newRow("empty organisation, no SSIDs") << QStringLiteral("") << QStringLiteral("") << true;
        QTest::newRow("ampersand written as typed") << QStringLiteral("Smith & Sons") << QStringLiteral("") << true;
    }

    void generatedTextIsTheEngines()
    {
        QFETCH(QString, organization);
        QFETCH(QString, ssids);
        QFETCH(bool, allowExport);

        ProfileGeneratorWindow window;
        QVERIFY(!window.findChild<QPushButton *>(QStringLiteral("copyButton"))->isEnabled());

        QTest::keyClicks(window.organizationField(), organization);
        QTest::keyClicks(window.emailField(), QStringLiteral("help@corp.example"));
        QTest::keyClicks(window.ssidField(), ssids);
        if (!allowExport)
            window.allowExportSwitch()->click();
        window.allowUserSharesSwitch()->click();
        QTableWidget *table = window.shareTable();
        auto *add = window.findChild<QPushButton *>(QStringLiteral("addShareRowButton"));
        add->click();
        add->click();
        add->click();
        typeRow(table, 0, QStringLiteral("Team"), QStringLiteral("nas.corp"), QStringLiteral("team"));
        typeRow(table, 1, QStringLiteral("Half"), QStringLiteral("nas.corp"), QString()); // left out
        typeRow(table, 2, QStringLiteral("Web"), QStringLiteral("dav.corp"), QStringLiteral("web"));
        qobject_cast<QComboBox *>(table->cellWidget(2, 3))->setCurrentText(QStringLiteral("WEBDAVS"));
        table->item(2, 4)->setCheckState(Qt::Unchecked);

        window.findChild<QPushButton *>(QStringLiteral("generateButton"))->click();
        const QString text = window.generatedProfile();
        const QList<QUuid> ids = uuids(text);
        QCOMPARE(ids.size(), 2);
        QVERIFY(ids.at(0) != ids.at(1));

        // The same form, stated independently of the window.
        ProfileGenerator::Settings expected;
        expected.organizationName = organization;
        expected.helpDeskEmail = QStringLiteral("help@corp.example");
        expected.enforcedSSIDs = ssids;
        expected.allowUserShares = false;
        expected.allowShareExport = allowExport;
        expected.allowShareImport = true;
        ProfileGenerator::Share team;
        team.nickname = QStringLiteral("Team");
        team.hostname = QStringLiteral("nas.corp");
        team.shareName = QStringLiteral("team");
        ProfileGenerator::Share half = team;
        half.nickname = QStringLiteral("Half");
        half.shareName.clear();
        ProfileGenerator::Share web;
        web.nickname = QStringLiteral("Web");
        web.hostname = QStringLiteral("dav.corp");
        web.shareName = QStringLiteral("web");
        web.protocolType = QStringLiteral("WEBDAVS");
        web.locked = false;
        expected.shares = {team, half, web};
        int next = 0;
        QCOMPARE(text, ProfileGenerator::generate(expected, [&] { return ids.at(next++); }));
        QVERIFY(!text.contains(QStringLiteral("<string>Half</string>")));

        // Removing the selected row takes it out of the next profile.
        table->setCurrentCell(0, 0);
        window.findChild<QPushButton *>(QStringLiteral("removeShareRowButton"))->click();
        window.generate();
        QVERIFY(!window.generatedProfile().contains(QStringLiteral("<string>team</string>")));
        QVERIFY(window.generatedProfile().contains(QStringLiteral("<string>web</string>")));
    }

    void copyAndSave()
    {
        QTemporaryDir dir;
        ViewHooksScript script;
        script.paths << dir.filePath(QStringLiteral("profile.mobileconfig"));
        ProfileGeneratorWindow window;
        QTest::keyClicks(window.organizationField(), QStringLiteral("Acme Corporation"));
        window.generate();
        const QString text = window.generatedProfile();
        QVERIFY(text.contains(QStringLiteral("<string>com.acmecorporation.tarnwell.profile</string>")));

        window.findChild<QPushButton *>(QStringLiteral("copyButton"))->click();
        QCOMPARE(QApplication::clipboard()->text(), text);
        QVERIFY(!window.confirmation().isEmpty());

        QSignalSpy saved(&window, &ProfileGeneratorWindow::saved);
        window.findChild<QPushButton *>(QStringLiteral("saveButton"))->click();
        QVERIFY(saved.wait(5000));
        QCOMPARE(saved.at(0).at(1).toString(), QString());
        QCOMPARE(script.panels.at(0).proposedName, QStringLiteral("Acme Corporation-Config.mobileconfig"));
        QFile file(dir.filePath(QStringLiteral("profile.mobileconfig")));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(QString::fromUtf8(file.readAll()), text);
    }

private:
    // The two payload UUIDs of a profile, in order.
    static QList<QUuid> uuids(const QString &profile)
    {
        static const QRegularExpression uuid(QStringLiteral("<key>PayloadUUID</key>\\n *<string>([^<]*)</string>"));
        QList<QUuid> found;
        for (auto it = uuid.globalMatch(profile); it.hasNext();)
            found << QUuid::fromString(it.next().captured(1));
        return found;
    }
    static void typeRow(QTableWidget *table, int row, const QString &nick, const QString &host, const QString &share)
    {
        table->item(row, 0)->setText(nick);
        table->item(row, 1)->setText(host);
        table->item(row, 2)->setText(share);
    }
};

QTEST_MAIN(TestProfileGeneratorWindow)
#include "tst_profile_generator_window.moc"
