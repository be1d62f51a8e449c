// The import and export tab over the real exchange: a configuration import through the preview alert in
// each of its answers, the policy gate on the controls, the CSV warnings alert, and exports written to the
// chosen file.
#include "GuiHarness.h"
#include "ViewHooksScript.h"
#include "unit/UnitTestHelpers.h"

#include "ui/ExchangeView.h"

#include "exchange/ConfigurationManager.h"
#include "exchange/ShareCsv.h"

#include <QFile>
#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

class TestExchangeView : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void importThroughPreviewAlert_data()
    {
        QTest::addColumn<int>("button");
        QTest::addColumn<QStringList>("shares");
        QTest::addColumn<QString>("notice");
        QTest::newRow("Replace All") << 0 << strs({"alpha/docs", "beta/media"})
                                     << QStringLiteral("Import Complete|2 shares imported, preferences imported");
        QTest::newRow("Merge (Add New)")
            << 1 << strs({"alpha/docs", "beta/media", "gamma/home"})
            << QStringLiteral("Import Complete|1 shares imported, 1 shares skipped, preferences imported");
        QTest::newRow("Cancel") << 2 << strs({"alpha/docs", "gamma/home"}) << QString();
    }

    void importThroughPreviewAlert()
    {
        QFETCH(int, button);
        QFETCH(QStringList, shares);
        QFETCH(QString, notice);

        GuiHarness h;
        ConfigurationManager &configuration = h.host->configuration();
        configuration.setUserNameProvider([] { return QStringLiteral("Dana Admin"); });
        // The file: alpha/docs and beta/media. Locally: alpha/docs and gamma/home.
        const qint64 alpha = h.addShare(QStringLiteral("alpha"), QStringLiteral("docs"));
        const qint64 beta = h.addShare(QStringLiteral("beta"), QStringLiteral("media"));
        const QString file = h.dir.filePath(QStringLiteral("office.twconfig"));
        QVERIFY(configuration.exportConfigurationFile(file).ok());
        QVERIFY(h.engine->removeRecord(beta).removed);
        h.addShare(QStringLiteral("gamma"), QStringLiteral("home"));

        ViewHooksScript script;
        script.paths << file;
        script.button = button;
        ExchangeView view(configuration, &h.host->legacyImporter());
        view.findChild<QPushButton *>(QStringLiteral("importConfigButton"))->click();
        QVERIFY(waitFinished(view));

        QCOMPARE(script.panels.size(), 1);
        QVERIFY(script.panels.at(0).nameFilter.contains(QStringLiteral("*.twconfig")));
        QCOMPARE(script.alertButtons, strs({"Replace All", "Merge (Add New)", "Cancel"}));
        QCOMPARE(script.alerts.size(), 1);
        const QString alert = script.alerts.at(0);
        QVERIFY2(alert.startsWith(
                     QStringLiteral("Import Configuration|File: office.twconfig\nExported by: Dana Admin\nDate: ")),
                 qPrintable(alert));
        QVERIFY2(
            alert.endsWith(QStringLiteral("\n\nContains:\n2 shares\n0 share sets\n0 rules\n\nHow should imported items be "
                                          "handled?")),
            qPrintable(alert));

        QCOMPARE(shareKeys(h), shares);
        QCOMPARE(h.notices.filter(QStringLiteral("Import Complete")),
                 notice.isEmpty() ? QStringList() : QStringList { notice });
        if (notice.isEmpty())
            QCOMPARE(view.lastOutcome(), QStringLiteral("Operation was cancelled"));
        else
            QVERIFY(h.hasLine(ConfigurationManager::kImportCompleteLine + notice.section(QLatin1Char('|'), 1)));
        // A merge keeps the local duplicate's identity.
        if (button == 1)
            QVERIFY(h.engine->record(alpha));
    }

    void policyDisablesImportControls()
    {
        GuiHarness h;
        ConfigurationManager &configuration = h.host->configuration();
        bool importAllowed = false;
        configuration.setPolicyReader([&importAllowed](const QString &key) -> std::optional<bool> {
            if (key == QStringLiteral("AllowShareImport"))
                return importAllowed;
            return std::nullopt;
        });
        ViewHooksScript script;
        ExchangeView view(configuration, &h.host->legacyImporter());
        view.show();

        const QStringList importButtons{QStringLiteral("importConfigButton"), QStringLiteral("importCsvButton"),
                                        QStringLiteral("importLegacyButton")};
        for (const QString &name : importButtons) {
            auto *b = view.findChild<QPushButton *>(name);
            QVERIFY2(b && !b->isEnabled(), qPrintable(name));
            QCOMPARE(b->toolTip(), QStringLiteral("Your IT administrator has disabled import."));
        }
        for (const char *name : {"exportConfigButton", "exportCsvButton"})
            QVERIFY(view.findChild<QPushButton *>(QLatin1String(name))->isEnabled());
        int shown = 0;
        for (QLabel *label : view.findChildren<QLabel *>(QStringLiteral("policyLabel"))) {
            if (label->isVisibleTo(&view)) {
                ++shown;
                QCOMPARE(label->text(), QStringLiteral("Your IT administrator has disabled import."));
            }
        }
        QCOMPARE(shown, 3);

        // Even when asked directly, no panel opens.
        view.importConfiguration();
        view.importCsv();
        QVERIFY(script.panels.isEmpty());
        QCOMPARE(h.notices.count(QStringLiteral("Import Failed|Import is disabled by your IT administrator")), 2);

        // The policy is read again when asked (and whenever the tab is shown).
        importAllowed = true;
        view.refreshPolicy();
        for (const QString &name : importButtons)
            QVERIFY(view.findChild<QPushButton *>(name)->isEnabled());
        for (QLabel *label : view.findChildren<QLabel *>(QStringLiteral("policyLabel")))
            QVERIFY(!label->isVisibleTo(&view));
    }

    void csvImportShowsWarnings()
    {
        GuiHarness h;
        const QString file = h.dir.filePath(QStringLiteral("shares.csv"));
        QFile out(file);
        QVERIFY(out.open(QIODevice::WriteOnly));
        out.write("HostName,ShareName,nickname\n"
                  "nas.lan,team,Team\n"
                  ",orphan,No Host\n"
                  "files.lan\n");
        out.close();

        ViewHooksScript script;
        script.paths << file;
        ExchangeView view(h.host->configuration(), nullptr);
        QVERIFY(!view.findChild<QPushButton *>(QStringLiteral("importLegacyButton")));
        view.importCsv();
        QVERIFY(waitFinished(view));

        QCOMPARE(h.notices.size(), 1);
        QCOMPARE(h.notices.at(0), QStringLiteral("Import Complete with Warnings|1 shares imported, 2 lines skipped\n\n"
                                                 "Line 3: hostname required\nLine 4: Not enough columns"));
        QCOMPARE(shareKeys(h), QStringList{QStringLiteral("nas.lan/team")});
    }

    void exportsWriteChosenFiles()
    {
        GuiHarness h;
        h.addShare(QStringLiteral("nas.lan"), QStringLiteral("team"));
        ViewHooksScript script;
        const QString config = h.dir.filePath(QStringLiteral("out")); // the extension is added
        const QString csv = h.dir.filePath(QStringLiteral("shares.csv"));
        script.paths << config << csv;
        ExchangeView view(h.host->configuration(), nullptr);

        view.exportConfiguration();
        QVERIFY(waitFinished(view));
        const QString written = config + QStringLiteral(".twconfig");
        QCOMPARE(view.lastOutcome(), QStringLiteral("Exported configuration to %1").arg(written));
        QVERIFY(h.hasLine(ConfigurationManager::kExportedLine + written));
        const auto preview = h.host->configuration().previewFile(written);
        QVERIFY(preview.ok());
        QCOMPARE(preview.value.shareCount, 1);

        view.exportCsv();
        QVERIFY(waitFinished(view));
        QCOMPARE(script.panels.at(1).proposedName, QStringLiteral("Tarnwell-Shares.csv"));
        QFile in(csv);
        QVERIFY(in.open(QIODevice::ReadOnly));
        QCOMPARE(QString::fromUtf8(in.readAll()), ShareCsv::write(h.engine->store().records()));

        // Refused exports open no panel.
        h.host->configuration().setPolicyReader([](const QString &key) -> std::optional<bool> {
            return key == QStringLiteral("AllowShareExport") ? std::optional<bool>(false) : std::nullopt;
        });
        view.exportCsv();
        QCOMPARE(script.panels.size(), 2);
        QVERIFY(h.notices.contains(QStringLiteral("Export Failed|Export is disabled by your IT administrator")));
        QVERIFY(!view.findChild<QPushButton *>(QStringLiteral("exportCsvButton"))->isEnabled());
    }

private:
    static QStringList shareKeys(GuiHarness &h)
    {
        QStringList keys;
        for (const VolumeRecord &r : h.engine->store().records())
            keys << r.hostname_String + QLatin1Char('/') + r.volume_String;
        keys.sort();
        return keys;
    }
    static bool waitFinished(ExchangeView &view)
    {
        QSignalSpy spy(&view, &ExchangeView::finished);
        return spy.count() > 0 || spy.wait(5000);
    }
};

QTEST_MAIN(TestExchangeView)
#include "tst_exchange_view.moc"
