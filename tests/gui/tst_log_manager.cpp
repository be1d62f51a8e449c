// The log manager and its error-code reference over the real event log.
#include "GuiHarness.h"

#include "ui/ErrorCodeReference.h"
#include "ui/LogEventTableModel.h"
#include "ui/LogManagerWidget.h"

#include "base/Preferences.h"

#include <QApplication>
#include <QClipboard>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QSortFilterProxyModel>
#include <QTableView>
#include <QTest>

namespace {
// The log dates an entry by the engine's clock: the fake clock is set to the moment first.
void addAt(GuiHarness &h, const QString &host, const QDateTime &date)
{
    h.clock.setNow(date);
    h.eventLog.addEvent(LogEvent(1, host, QStringLiteral("docs"), QString(), QStringLiteral("Ready"),
                                 EVENT_TYPE_ENUM::MOUNT_SUCCESS, LogEvent::message(EVENT_TYPE_ENUM::MOUNT_SUCCESS, host)));
}
} // namespace

class TestLogManager : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void referenceOpensAndCloses()
    {
        GuiHarness h;
        LogManagerWidget view(h.eventLog, &h.center);
        view.findChild<QPushButton *>(QStringLiteral("errorCodesButton"))->click();
        auto *dialog = view.findChild<ErrorCodeReferenceDialog *>();
        QVERIFY(dialog);
        dialog->findChild<QPushButton *>(QStringLiteral("doneButton"))->click();
        QTRY_VERIFY(!view.findChild<ErrorCodeReferenceDialog *>());
    }

    void columnsShowLocalTime()
    {
        GuiHarness h;
        const QDateTime when(QDate(2026, 3, 4), QTime(5, 6, 7), Qt::UTC);
        addAt(h, QStringLiteral("nas"), when);
        LogManagerWidget view(h.eventLog, &h.center);
        QAbstractItemModel *model = view.table()->model();
        const QDateTime local = when.toLocalTime();
        QCOMPARE(model->index(0, 0).data().toString(), local.toString(QStringLiteral("yyyy-MM-dd")));
        QCOMPARE(model->index(0, 1).data().toString(), local.toString(QStringLiteral("HH:mm:ss")));
        QCOMPARE(model->index(0, 2).data().toString(), QStringLiteral("MOUNT_SUCCESS"));
        QCOMPARE(model->index(0, 5).data().toString(), QStringLiteral("nas"));
    }

    void clearAsksThenOneEvent()
    {
        GuiHarness h;
        for (int i = 0; i < 4; ++i)
            addAt(h, QStringLiteral("old%1").arg(i), QDateTime::currentDateTime());
        LogManagerWidget view(h.eventLog, &h.center);
        QCOMPARE(view.table()->model()->rowCount(), 4);

        h.answer = false;
        view.clearLog();
        QCOMPARE(h.eventLog.events().size(), 4);
        QCOMPARE(view.table()->model()->rowCount(), 4);

        h.answer = true;
        view.findChild<QPushButton *>(QStringLiteral("clearLogButton"))->click();
        QCOMPARE(h.questions.size(), 2);
        QVERIFY(h.questions.last().startsWith(QStringLiteral("Clear All Logs?|")));
        QTRY_COMPARE(view.table()->model()->rowCount(), 0);

        addAt(h, QStringLiteral("new"), QDateTime::currentDateTime());
        QTRY_COMPARE(view.table()->model()->rowCount(), 1);
        QCOMPARE(view.table()->model()->index(0, 5).data().toString(), QStringLiteral("new"));
    }

    void sortThenTrimRemovesOldest()
    {
        GuiHarness h;
        h.defaults.setValue(Preferences::Keys::MaxNumberOfLogLines, qint64(3));
        const QDateTime base = QDateTime::currentDateTime();
        // Newest first in the log, but the oldest entry is NOT the last one.
        addAt(h, QStringLiteral("middle"), base.addSecs(-60));
        addAt(h, QStringLiteral("oldest"), base.addSecs(-3600));
        addAt(h, QStringLiteral("recent"), base.addSecs(-10));
        LogManagerWidget view(h.eventLog, &h.center);
        QVERIFY(!h.eventLog.isSorted());

        // The user sorts by Server.
        QHeaderView *header = view.table()->horizontalHeader();
        QTest::mouseClick(header->viewport(), Qt::LeftButton, {},
                          QPoint(header->sectionViewportPosition(LogEventTableModel::ServerColumn) + 5, 5));
        QVERIFY(h.eventLog.isSorted());
        QCOMPARE(view.proxy()->sortColumn(), int(LogEventTableModel::ServerColumn));

        addAt(h, QStringLiteral("newest"), base);
        QStringList hosts;
        for (const LogEvent &e : h.eventLog.events())
            hosts << e.hostname_String;
        QCOMPARE(hosts, (QStringList{QStringLiteral("newest"), QStringLiteral("recent"), QStringLiteral("middle")}));
        QTRY_COMPARE(view.table()->model()->rowCount(), 3);
        // Sorted by server: middle, newest, recent.
        QCOMPARE(view.table()->model()->index(0, LogEventTableModel::ServerColumn).data().toString(),
                 QStringLiteral("middle"));
    }

    void copyPutsEntryOnClipboard()
    {
        GuiHarness h;
        const QDateTime when = QDateTime::currentDateTime();
        addAt(h, QStringLiteral("nas"), when);
        LogManagerWidget view(h.eventLog, &h.center);
        view.copyRow(0);
        const QString text = QGuiApplication::clipboard()->text();
        QVERIFY(text.startsWith(h.eventLog.events().first().timestampText()));
        QVERIFY(text.contains(QStringLiteral("MOUNT_SUCCESS: nas")));
    }
};

QTEST_MAIN(TestLogManager)
#include "tst_log_manager.moc"
