// The dashboard with 1,000 shares over the real engine and fakes (offscreen): the time from one share's status
// change to the repainted window (one row), a refresh of every row, the full reload (a model reset), and the
// resident memory once idle: of this process, and of the real tarnwell GUI process started on a private bus.
// Prints figures; asserts nothing.
#include "BenchFigures.h"
#include "support/EngineHarness.h"
#include "ui/DashboardWindow.h"
#include "ui/ShareTableModel.h"
#include "ui/TrayController.h"
#include "ui/UiContext.h"

#include "core/MountEngine.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <cstdio>

namespace {


long rssKiB(const QString &pid = QStringLiteral("self"))
{
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').first().toLong();
    }
    return -1;
}

// Starts `program` with `arguments`, stops it by its PID at the end of the scope.
struct Child
{
    QProcess process;
    ~Child()
    {
        if (process.state() != QProcess::NotRunning) {
            process.terminate();
            if (!process.waitForFinished(5000)) {
                process.kill();
                process.waitForFinished(2000);
            }
        }
    }
};

struct GuiProcessMemory
{
    long rssKiB = -1;
    QByteArray how;
};

// The real tarnwell executable, built beside this bench, with a home of its own, on a private session bus and
// under Xvfb when it is installed (else the offscreen platform): its resident size once idle.
GuiProcessMemory measureGuiProcess(const QString &self)
{
    GuiProcessMemory result;
    const QString tarnwell = QFileInfo(self).absolutePath() + QStringLiteral("/../src/tarnwell");
    if (!QFileInfo(tarnwell).isExecutable()) {
        result.how = "no tarnwell executable beside the bench";
        return result;
    }
    QTemporaryDir home;
    Child bus;
    bus.process.start(QStringLiteral("dbus-daemon"), {QStringLiteral("--session"), QStringLiteral("--nofork"),
                                                      QStringLiteral("--print-address=1")});
    if (!bus.process.waitForReadyRead(5000)) {
        result.how = "no private session bus";
        return result;
    }
    const QByteArray busAddress = bus.process.readLine().trimmed();

    Child display;
    QByteArray displayName;
    if (!QStandardPaths::findExecutable(QStringLiteral("Xvfb")).isEmpty()) {
        display.process.start(QStringLiteral("Xvfb"), {QStringLiteral("-displayfd"), QStringLiteral("1"),
                                                        QStringLiteral("-nolisten"), QStringLiteral("tcp"),
                                                        QStringLiteral("-screen"), QStringLiteral("0"),
                                                        QStringLiteral("1280x800x24")});
        if (display.process.waitForReadyRead(10000))
            displayName = ":" + display.process.readLine().trimmed();
    }

    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("HOME"), home.path());
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), home.path() + QStringLiteral("/.config"));
    env.insert(QStringLiteral("XDG_DATA_HOME"), home.path() + QStringLiteral("/.local/share"));
    env.insert(QStringLiteral("XDG_CACHE_HOME"), home.path() + QStringLiteral("/.cache"));
    env.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), QString::fromUtf8(busAddress));
    if (!displayName.isEmpty()) {
        env.insert(QStringLiteral("DISPLAY"), QString::fromUtf8(displayName));
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
        result.how = "Xvfb, xcb";
    } else {
        env.insert(QStringLiteral("DISPLAY"), QStringLiteral(":0")); // the offscreen platform ignores it
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        result.how = "offscreen";
    }
    Child app;
    app.process.setProcessEnvironment(env);
    app.process.setProcessChannelMode(QProcess::MergedChannels);
    app.process.setStandardOutputFile(QProcess::nullDevice());
    app.process.start(tarnwell, {});
    if (!app.process.waitForStarted(5000)) {
        result.how = "tarnwell did not start";
        return result;
    }
    QTest::qWait(5000);
    if (app.process.state() != QProcess::Running) {
        result.how = "tarnwell exited before it was idle";
        return result;
    }
    result.rssKiB = rssKiB(QString::number(app.process.processId()));
    return result;
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

    // The full reload: a model reset, after which the view asks for every row again and repaints.
    QList<double> reloads;
    int resets = 0;
    QObject::connect(window.shareModel(), &QAbstractItemModel::modelReset, [&resets] { ++resets; });
    for (int i = 0; i < 50; ++i) {
        QElapsedTimer t;
        t.start();
        window.shareModel()->reload();
        paintPending();
        reloads << t.nsecsElapsed() / 1e6;
    }

    // Idle: let timers and the tray's coalesced rebuild settle, then read the resident size.
    QTest::qWait(500);
    const long rss = rssKiB();
    const GuiProcessMemory gui = measureGuiProcess(argc > 0 ? QString::fromLocal8Bit(argv[0]) : QString());

    std::printf("bench_ui: %d shares, offscreen\n", kShares);
    std::printf("  status change -> repainted window: median %.3f ms over %d changes (target <= 2 ms); "
                "rows reported changed per status change: %.2f\n",
                median(oneRow), kRounds, rowsPerChange);
    std::printf("  refresh of every row (recordsChanged, same IDs): median %.3f ms over 50 (target <= 30 ms)\n",
                median(allRows));
    std::printf("  full reload (model reset + repaint): median %.3f ms over 50, %d resets seen (target <= 30 ms)\n",
                median(reloads), resets);
    std::printf("  resident memory, engine + dashboard + tray with %d shares, idle: %.1f MB (target <= 80 MB)\n",
                kShares, rss / 1024.0);
    if (gui.rssKiB > 0)
        std::printf("  resident memory of the tarnwell GUI process (%s, example shares, dashboard shown), idle 5 s: "
                    "%.1f MB (target <= 80 MB)\n",
                    gui.how.constData(), gui.rssKiB / 1024.0);
    else
        std::printf("  tarnwell GUI process not measured: %s\n", gui.how.constData());
    return 0;
}
