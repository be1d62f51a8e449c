// The audit tab over a real audit log: the empty state, the type and date-range filters (local calendar
// days, both ends inclusive), and the exports written through the export range.
#include "ViewHooksScript.h"
#include "unit/UnitTestHelpers.h"

#include "ui/AuditView.h"
#include "ui/UiContext.h"

#include "logging/AuditEventType.h"
#include "logging/EnterpriseAuditLog.h"
#include "platform/fake/FakeClock.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDateEdit>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

class TestAuditView : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        m_clock = std::make_unique<FakeClock>();
        m_log = std::make_unique<EnterpriseAuditLog>(m_dir->filePath(QStringLiteral("audit_log.json")));
        m_log->setClock(m_clock.get());
        Prompter::instance().inform = [](QWidget *, const QString &title, const QString &text) {
            QFAIL(qPrintable(title + QLatin1Char('|') + text));
        };
    }

    void cleanup()
    {
        m_log->waitForPendingWrites();
        m_log.reset();
        m_clock.reset();
        m_dir.reset();
    }

    void emptyStateFollowsTheLog()
    {
        AuditView view(*m_log);
        QVERIFY(view.showsEmptyState());
        logAt(QDateTime::currentDateTime(), AuditEventType::appLaunch, QStringLiteral("Tarnwell launched"));
        QVERIFY(!view.showsEmptyState());
        QCOMPARE(shown(view), QStringList{QStringLiteral("Tarnwell launched")});
        // A filter that hides everything is not an empty log.
        view.typeFilter()->setCurrentIndex(1 + int(AuditEventType::authFailure));
        QCOMPARE(view.model()->rowCount(), 0);
        QVERIFY(!view.showsEmptyState());
    }

    void filters_data()
    {
        QTest::addColumn<int>("type"); // -1: all events
        QTest::addColumn<int>("from"); // days after day 0; -1: open
        QTest::addColumn<int>("to");
        QTest::addColumn<QStringList>("expected"); // newest first

        QTest::newRow("everything") << -1 << -1 << -1 << strs({"d", "c", "b", "a"});
        QTest::newRow("one type") << int(AuditEventType::mountAttempt) << -1 << -1 << strs({"c", "a"});
        QTest::newRow("type absent") << int(AuditEventType::authFailure) << -1 << -1 << QStringList();
        QTest::newRow("a single day, late evening kept") << -1 << 0 << 0 << strs({"a"});
        QTest::newRow("from the next day") << -1 << 1 << -1 << strs({"d", "c", "b"});
        QTest::newRow("up to and including day 3") << -1 << -1 << 3 << strs({"c", "b", "a"});
        QTest::newRow("range and type") << int(AuditEventType::mountAttempt) << 1 << 5 << strs({"c"});
        QTest::newRow("a range with nothing") << -1 << 6 << 9 << QStringList();
    }

    void filters()
    {
        QFETCH(int, type);
        QFETCH(int, from);
        QFETCH(int, to);
        QFETCH(QStringList, expected);
        fillSample();
        AuditView view(*m_log);

        // Through the controls, as the user sets them.
        view.typeFilter()->setCurrentIndex(type < 0 ? 0 : 1 + type);
        QCOMPARE(view.typeFilter()->currentText(),
                 type < 0 ? QStringLiteral("All Events") : AuditEventTypes::displayName(AuditEventType(type)));
        if (from >= 0) {
            view.fromDate()->setDate(m_day0.addDays(from));
            view.fromCheck()->setChecked(true);
        }
        if (to >= 0) {
            view.toDate()->setDate(m_day0.addDays(to));
            view.toCheck()->setChecked(true);
        }
        QCOMPARE(shown(view), expected);
        QCOMPARE(view.countText(), QStringLiteral("%1 of 4 entries").arg(expected.size()));

        // Unchecking the bounds and choosing all events shows everything again.
        view.fromCheck()->setChecked(false);
        view.toCheck()->setChecked(false);
        view.typeFilter()->setCurrentIndex(0);
        QCOMPARE(view.model()->rowCount(), 4);
    }

    void exportRanges_data()
    {
        QTest::addColumn<QString>("format");
        QTest::addColumn<QString>("range");
        QTest::addColumn<int>("days"); // 0: all time
        QTest::newRow("CSV, all time") << QStringLiteral("CSV") << QStringLiteral("all") << 0;
        QTest::newRow("CSV, last 7 days") << QStringLiteral("CSV") << QStringLiteral("7days") << 7;
        QTest::newRow("JSON, last 30 days") << QStringLiteral("JSON") << QStringLiteral("30days") << 30;
        QTest::newRow("JSON, last 90 days") << QStringLiteral("JSON") << QStringLiteral("90days") << 90;
    }

    void exportRanges()
    {
        QFETCH(QString, format);
        QFETCH(QString, range);
        QFETCH(int, days);
        const QDateTime now = QDateTime::currentDateTimeUtc();
        logAt(now.addDays(-120), AuditEventType::appLaunch, QStringLiteral("old"));
        logAt(now.addDays(-45), AuditEventType::mountSuccess, QStringLiteral("quote \"inside\""));
        logAt(now.addDays(-10), AuditEventType::unmountSuccess, QStringLiteral("ten"));
        logAt(now.addDays(-1), AuditEventType::mountFailure, QStringLiteral("yesterday"), false);

        ViewHooksScript script;
        const QString path = m_dir->filePath(QStringLiteral("export"));
        script.paths << path;
        AuditView view(*m_log);
        QSignalSpy exported(&view, &AuditView::exported);
        view.exportTo(format, range);
        QVERIFY(exported.wait(5000));
        QCOMPARE(exported.at(0).at(1).toString(), QString());

        QCOMPARE(script.panels.size(), 1);
        QCOMPARE(script.panels.at(0).proposedName, QStringLiteral("Tarnwell-AuditLog.") + format.toLower());
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray written = file.readAll();
        // The same text as the log's own export of that range (the boundary is a day count before now).
        const std::optional<QDateTime> start = days ? std::optional<QDateTime>(now.addDays(-days)) : std::nullopt;
        const QByteArray expected = format == QStringLiteral("JSON") ? *m_log->exportJSON(start, std::nullopt)
                                                                      : m_log->exportCSV(start, std::nullopt).toUtf8();
        QCOMPARE(written, expected);
        const int entries = days == 0 ? 4 : days == 7 ? 1 : days == 30 ? 2 : 3;
        if (format == QStringLiteral("CSV"))
            QCOMPARE(written.count('\n'), 1 + entries);
        else
            QCOMPARE(written.count("\"eventType\""), entries);
    }

private:
    // Entries on local days relative to `base`: (days before, type, details).
    void logAt(const QDateTime &when, AuditEventType type, const QString &details, bool success = true)
    {
        m_clock->setNow(when);
        QSignalSpy changed(m_log.get(), &EnterpriseAuditLog::entriesChanged);
        m_log->log(type, QStringLiteral("Team"), QStringLiteral("nas.lan"), details, success);
        QVERIFY(changed.wait(2000));
    }
    QStringList shown(const AuditView &view) const
    {
        QStringList details;
        for (int row = 0; row < view.model()->rowCount(); ++row)
            details << view.model()->entryAt(row).details;
        return details;
    }
    void fillSample()
    {
        // Late evening and early morning local time: the day bounds are local, not UTC.
        m_day0 = QDate(2025, 3, 10);
        logAt(QDateTime(m_day0, QTime(23, 30)), AuditEventType::mountAttempt, QStringLiteral("a"));
        logAt(QDateTime(m_day0.addDays(1), QTime(0, 15)), AuditEventType::mountFailure, QStringLiteral("b"), false);
        logAt(QDateTime(m_day0.addDays(3), QTime(9, 0)), AuditEventType::mountAttempt, QStringLiteral("c"));
        logAt(QDateTime(m_day0.addDays(5), QTime(18, 0)), AuditEventType::configImport, QStringLiteral("d"));
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<FakeClock> m_clock;
    std::unique_ptr<EnterpriseAuditLog> m_log;
    QDate m_day0; // the local day of the oldest sample entry
};

QTEST_MAIN(TestAuditView)
#include "tst_audit_view.moc"
