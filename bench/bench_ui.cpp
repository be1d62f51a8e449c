// The dashboard with 1,000 shares over the real engine and fakes (offscreen): the time from one share's status
// change to the repainted window (one row), a refresh of every row, and the process's resident memory once
// idle. Prints figures; asserts nothing.
#include "support/EngineHarness.h"
#include "ui/DashboardWindow.h"
#include "ui/ShareTableModel.h"
#include "ui/TrayController.h"
#include "ui/UiContext.h"

#include "core/MountEngine.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTableView>
#include <QTest>

#include <algorithm>
#include <cstdio>

namespace {

double median(QList<double> v)
{
    std::sort(v.begin(), v.end());
    return v.isEmpty() ? 0 : v.at(v.size() / 2);
}

long rssKiB()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').first().toLong();
    }
    return -1;
}

// Paints what is pending (the offscreen platform paints synchronously into its backing store).
void paintPending()
{
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
}

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    constexpr int kShares = 1000;
    constexpr int kRounds = 300;

    EngineHarness h(EngineHarness::ConsoleMode::Discard);
    for (int i = 0; i < kShares; ++i)
        h.addShare(QStringLiteral("host%1.lan").arg(i), QStringLiteral("share%1").arg(i));
    h.defaults.flush();

    UiContext context;
    context.engine = h.engine;
    context.eventLog = &h.eventLog;
    context.defaults = &h.defaults;
    context.center = &h.center;
    context.credentials = &h.credentials;
    DashboardWindow window(context);
    TrayController tray(context);
    window.show();
    if (!QTest::qWaitForWindowExposed(&window))
        std::fprintf(stderr, "window not exposed\n");
    paintPending();

    const QList<VolumeRecord> &records = h.engine->store().records();
    int rowsTold = 0;
    QObject::connect(window.shareModel(), &QAbstractItemModel::dataChanged,
                     [&rowsTold](const QModelIndex &a, const QModelIndex &b) { rowsTold += b.row() - a.row() + 1; });

    QList<double> oneRow;
    for (int i = 0; i < kRounds; ++i) {
        const qint64 id = records.at(i % 20).internal_ID_Int; // rows on screen
        QElapsedTimer t;
        t.start();
        h.engine->setStatus(id, i % 2 ? QStringLiteral("Connecting... %1s").arg(i) : QStringLiteral("Host unreachable (Error 65)"));
        paintPending();
        oneRow << t.nsecsElapsed() / 1e6;
    }
    const double rowsPerChange = double(rowsTold) / kRounds;

    QList<double> allRows;
    for (int i = 0; i < 50; ++i) {
        QElapsedTimer t;
        t.start();
        Q_EMIT h.engine->recordsChanged(); // every row re-read and the visible ones repainted
        paintPending();
        allRows << t.nsecsElapsed() / 1e6;
    }

    // Idle: let timers and the tray's coalesced rebuild settle, then read the resident size.
    QTest::qWait(500);
    const long rss = rssKiB();

    std::printf("bench_ui: %d shares, offscreen\n", kShares);
    std::printf("  status change -> repainted window: median %.3f ms over %d changes (target <= 2 ms); "
                "rows reported changed per status change: %.2f\n",
                median(oneRow), kRounds, rowsPerChange);
    std::printf("  refresh of every row (recordsChanged, same IDs): median %.3f ms over 50 (target <= 30 ms)\n",
                median(allRows));
    std::printf("  resident memory, engine + dashboard + tray with %d shares, idle: %.1f MB (target <= 80 MB)\n",
                kShares, rss / 1024.0);
    return 0;
}
