#include "Commands.h"

#include "DateArgument.h"
#include "Output.h"
#include "PasswordReader.h"
#include "ShareArguments.h"

#include "control/ControlNames.h"

#include <QDBusServiceWatcher>
#include <QFileInfo>
#include <QJsonDocument>
#include <QSaveFile>
#include <QTimer>

#include <cstdio>

namespace {

constexpr int kDefaultWaitSeconds = 120;
constexpr int kCleanUpWaitSeconds = 30;
constexpr int kPollIntervalMs = 500;
constexpr int kDefaultLogLimit = 50;
constexpr int kFollowWindow = 500; // entries re-read on each change while following

void writeOut(const QString &text)
{
    const QByteArray utf8 = text.toUtf8();
    std::fwrite(utf8.constData(), 1, size_t(utf8.size()), stdout);
    std::fflush(stdout);
}

void writeErr(const QString &text)
{
    const QByteArray utf8 = (QStringLiteral("tarnwellctl: ") + text + QLatin1Char('\n')).toUtf8();
    std::fwrite(utf8.constData(), 1, size_t(utf8.size()), stderr);
    std::fflush(stderr);
}

QJsonArray parseArray(const QString &text)
{
    return QJsonDocument::fromJson(text.toUtf8()).array();
}

QString compact(const QJsonObject &object)
{
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

ShareArguments::Flags flagsFrom(const CommandLine::Parsed &p)
{
    ShareArguments::Flags f;
    f.host = p.value(QStringLiteral("host"));
    f.share = p.value(QStringLiteral("share"));
    f.protocol = p.value(QStringLiteral("protocol"));
    f.port = p.value(QStringLiteral("port"));
    f.user = p.value(QStringLiteral("user"));
    f.nickname = p.value(QStringLiteral("nickname"));
    f.mountDir = p.value(QStringLiteral("mount-dir"));
    f.group = p.value(QStringLiteral("group"));
    f.mac = p.value(QStringLiteral("mac"));
    if (p.has(QStringLiteral("guest")))
        f.guest = true;
    if (p.has(QStringLiteral("no-guest")))
        f.guest = false;
    if (p.has(QStringLiteral("auto-mount")))
        f.autoMount = true;
    if (p.has(QStringLiteral("no-auto-mount")))
        f.autoMount = false;
    if (p.has(QStringLiteral("in-volumes")))
        f.inVolumes = true;
    return f;
}

} // namespace

Commands::Commands() = default;

int Commands::fail(const ControlClient::Failure &failure)
{
    writeErr(failure.message);
    return failure.exitCode;
}

int Commands::usage(const QString &message)
{
    writeErr(message);
    return CommandLine::kExitUsage;
}

int Commands::run(const CommandLine::Parsed &p)
{
    const QString &c = p.command;
    if (c == QLatin1String("list"))
        return list(p);
    if (c == QLatin1String("status"))
        return status(p);
    if (c == QLatin1String("add"))
        return add(p);
    if (c == QLatin1String("edit"))
        return edit(p);
    if (c == QLatin1String("remove"))
        return remove(p);
    if (c == QLatin1String("mount"))
        return mount(p);
    if (c == QLatin1String("eject"))
        return eject(p);
    if (c == QLatin1String("cleanup"))
        return cleanUp(p);
    if (c == QLatin1String("verify"))
        return verify(p);
    if (c == QLatin1String("pause"))
        return simple(QStringLiteral("Pause"), QStringLiteral("Auto-mount paused"));
    if (c == QLatin1String("resume"))
        return simple(QStringLiteral("Resume"), QStringLiteral("Auto-mount resumed"));
    if (c == QLatin1String("log"))
        return log(p);
    if (c == QLatin1String("audit"))
        return audit(p);
    if (c == QLatin1String("import"))
        return exchange(p, true);
    if (c == QLatin1String("export"))
        return exchange(p, false);
    return usage(QStringLiteral("Unknown command '%1'").arg(c));
}

std::optional<QJsonObject> Commands::fetchRecord(qint64 id, ControlClient::Failure *failure)
{
    const auto text = m_client.callText(QStringLiteral("GetRecord"), {QVariant::fromValue<qlonglong>(id)}, failure);
    if (!text)
        return std::nullopt;
    return QJsonDocument::fromJson(text->toUtf8()).object();
}

std::optional<int> Commands::waitSeconds(const CommandLine::Parsed &p, int fallback, QString *error)
{
    const auto text = p.value(QStringLiteral("timeout"));
    if (!text)
        return fallback;
    bool ok = false;
    const int seconds = text->toInt(&ok);
    if (!ok || seconds < 1 || seconds > 86400) {
        *error = QStringLiteral("--timeout must be a number of seconds from 1 to 86400, not '%1'").arg(*text);
        return std::nullopt;
    }
    return seconds;
}

bool Commands::connectSignal(const QString &name, const char *slot)
{
    return m_client.bus().connect(ControlNames::kServiceName, ControlNames::kObjectPath, ControlNames::kInterface, name,
                                  this, slot);
}

void Commands::finish()
{
    m_finished = true;
    m_loop.quit();
}

bool Commands::waitUntil(int seconds, const std::function<bool()> &poll)
{
    QTimer deadline;
    deadline.setSingleShot(true);
    connect(&deadline, &QTimer::timeout, &m_loop, &QEventLoop::quit);
    QTimer poller;
    connect(&poller, &QTimer::timeout, this, [this, &poll] {
        if (!m_finished && poll())
            finish();
    });
    deadline.start(seconds * 1000);
    poller.start(kPollIntervalMs);
    if (!m_finished)
        m_loop.exec();
    return m_finished;
}

void Commands::onMountFinished(qlonglong id, int code, const QString &status)
{
    if (id != m_waitId)
        return;
    m_finishedCode = code;
    m_finishedStatus = status;
    finish();
}

void Commands::onEjectFinished(qlonglong id, bool ok, const QString &status)
{
    if (id != m_waitId)
        return;
    m_finishedOk = ok;
    m_finishedStatus = status;
    finish();
}

void Commands::onEjectAllFinished()
{
    finish();
}

void Commands::onCleanUpFinished(qlonglong id, const QString &status)
{
    if (id != m_waitId)
        return;
    m_finishedStatus = status;
    finish();
}

void Commands::onEngineGone()
{
    writeErr(QStringLiteral("The Tarnwell engine stopped"));
    m_loop.exit(1);
}

void Commands::onEventLogChanged()
{
    ControlClient::Failure failure;
    const auto text = m_client.callText(QStringLiteral("EventLog"), {kFollowWindow}, &failure);
    if (!text) {
        writeErr(failure.message);
        m_loop.exit(1);
        return;
    }
    const QJsonArray current = parseArray(*text);
    for (const QJsonObject &event : Output::newEvents(m_lastEvents, current))
        writeOut((m_followJson ? compact(event) : Output::eventLine(event)) + QLatin1Char('\n'));
    m_lastEvents = current;
}

// --- commands ---

int Commands::list(const CommandLine::Parsed &p)
{
    ControlClient::Failure failure;
    const auto text = m_client.callText(QStringLiteral("ListRecords"), {}, &failure);
    if (!text)
        return fail(failure);
    if (p.has(QStringLiteral("json")))
        writeOut(text->endsWith(QLatin1Char('\n')) ? *text : *text + QLatin1Char('\n'));
    else
        writeOut(Output::recordTable(parseArray(*text)));
    return CommandLine::kExitOk;
}

int Commands::status(const CommandLine::Parsed &p)
{
    ControlClient::Failure failure;
    const auto id = m_client.resolve(p.positional.first(), &failure);
    if (!id)
        return fail(failure);
    const auto text = m_client.callText(QStringLiteral("GetRecord"), {QVariant::fromValue<qlonglong>(*id)}, &failure);
    if (!text)
        return fail(failure);
    if (p.has(QStringLiteral("json")))
        writeOut(text->endsWith(QLatin1Char('\n')) ? *text : *text + QLatin1Char('\n'));
    else
        writeOut(Output::recordDetails(QJsonDocument::fromJson(text->toUtf8()).object()));
    return CommandLine::kExitOk;
}

std::optional<QString> Commands::readPassword(const CommandLine::Parsed &p, const QString &prompt, bool required)
{
    if (p.has(QStringLiteral("password-stdin"))) {
        const auto password = PasswordReader::fromStdin();
        return password.value_or(QString());
    }
    if (PasswordReader::stdinIsTerminal())
        return PasswordReader::fromTerminal(prompt).value_or(QString());
    if (required)
        return std::nullopt;
    writeErr(QStringLiteral("No password stored: standard input is not a terminal (use --password-stdin)"));
    return QString();
}

int Commands::add(const CommandLine::Parsed &p)
{
    ShareArguments::Flags flags = flagsFrom(p);
    if (!p.positional.isEmpty())
        flags.url = p.positional.first();
    QString error;
    const auto record = ShareArguments::toRecordJson(flags, /*forAdd=*/true, &error);
    if (!record)
        return usage(error);

    QString password;
    const bool guest = record->value(QStringLiteral("guest")).toInt() == 1;
    if (guest && p.has(QStringLiteral("password-stdin")))
        return usage(QStringLiteral("--password-stdin does not go with a guest share"));
    if (!guest) {
        const QString prompt = QStringLiteral("Password for %1@%2: ")
                                   .arg(record->value(QStringLiteral("username")).toString(),
                                        record->value(QStringLiteral("hostname")).toString());
        password = readPassword(p, prompt, false).value_or(QString());
    }

    ControlClient::Failure failure;
    const auto reply = m_client.call(QStringLiteral("AddRecord"), {compact(*record), password}, &failure);
    password.fill(QLatin1Char('\0'));
    if (!reply)
        return fail(failure);
    const qint64 id = reply->isEmpty() ? 0 : reply->first().toLongLong();
    const auto added = fetchRecord(id, &failure);
    writeOut(QStringLiteral("Added share %1: %2\n")
                 .arg(id)
                 .arg(added ? added->value(QStringLiteral("mountURL")).toString() : QString()));
    return CommandLine::kExitOk;
}

int Commands::edit(const CommandLine::Parsed &p)
{
    ControlClient::Failure failure;
    const auto id = m_client.resolve(p.positional.first(), &failure);
    if (!id)
        return fail(failure);

    const bool setPassword = p.has(QStringLiteral("set-password"));
    if (p.has(QStringLiteral("password-stdin")) && !setPassword)
        return usage(QStringLiteral("--password-stdin goes with --set-password"));
    const ShareArguments::Flags flags = flagsFrom(p);
    QString error;
    std::optional<QJsonObject> record = ShareArguments::toRecordJson(flags, /*forAdd=*/false, &error);
    if (!record && !setPassword)
        return usage(error);
    if (record && record->value(QStringLiteral("guest")).toInt() == 1 && flags.guest && setPassword)
        return usage(QStringLiteral("--set-password does not go with --guest"));

    if (record) {
        if (!m_client.call(QStringLiteral("EditRecord"), {QVariant::fromValue<qlonglong>(*id), compact(*record)}, &failure))
            return fail(failure);
    }
    if (setPassword) {
        const auto current = fetchRecord(*id, &failure);
        const QString prompt = QStringLiteral("New password for %1@%2: ")
                                   .arg(current ? current->value(QStringLiteral("username")).toString() : QString(),
                                        current ? current->value(QStringLiteral("hostname")).toString() : QString());
        auto password = readPassword(p, prompt, true);
        if (!password)
            return usage(QStringLiteral("--set-password needs a terminal or --password-stdin"));
        const auto ok = m_client.call(QStringLiteral("SetPassword"), {QVariant::fromValue<qlonglong>(*id), *password}, &failure);
        password->fill(QLatin1Char('\0'));
        if (!ok)
            return fail(failure);
    }
    writeOut(QStringLiteral("Updated share %1\n").arg(*id));
    return CommandLine::kExitOk;
}

int Commands::remove(const CommandLine::Parsed &p)
{
    ControlClient::Failure failure;
    const auto id = m_client.resolve(p.positional.first(), &failure);
    if (!id)
        return fail(failure);
    if (!m_client.call(QStringLiteral("RemoveRecord"), {QVariant::fromValue<qlonglong>(*id)}, &failure))
        return fail(failure);
    writeOut(QStringLiteral("Removed share %1\n").arg(*id));
    return CommandLine::kExitOk;
}

int Commands::mount(const CommandLine::Parsed &p)
{
    QString error;
    const auto seconds = waitSeconds(p, kDefaultWaitSeconds, &error);
    if (!seconds)
        return usage(error);
    ControlClient::Failure failure;
    const auto id = m_client.resolve(p.positional.first(), &failure);
    if (!id)
        return fail(failure);
    const bool wait = p.has(QStringLiteral("wait"));
    m_waitId = *id;
    if (wait)
        connectSignal(QStringLiteral("MountFinished"), SLOT(onMountFinished(qlonglong, int, QString)));
    if (!m_client.call(QStringLiteral("Mount"), {QVariant::fromValue<qlonglong>(*id)}, &failure))
        return fail(failure);
    if (!wait) {
        writeOut(QStringLiteral("Mounting share %1 (see: tarnwellctl status %1)\n").arg(*id));
        return CommandLine::kExitOk;
    }
    const bool ended = waitUntil(*seconds, [this, &failure] {
        const auto r = fetchRecord(m_waitId, &failure);
        return !r || !r->value(QStringLiteral("mountInProgress")).toBool();
    });
    const auto record = fetchRecord(*id, &failure);
    if (!record)
        return fail(failure);
    const QString status = record->value(QStringLiteral("status")).toString();
    if (!ended) {
        writeErr(QStringLiteral("Gave up waiting for the mount of %1 after %2 s; status: %3")
                     .arg(Output::shareName(*record))
                     .arg(*seconds)
                     .arg(status));
        return CommandLine::kExitFailure;
    }
    if (record->value(QStringLiteral("mounted")).toBool()) {
        writeOut(QStringLiteral("Mounted %1 at %2\n").arg(Output::shareName(*record), record->value(QStringLiteral("mountPoint")).toString()));
        return CommandLine::kExitOk;
    }
    writeErr(QStringLiteral("Mount of %1 failed: %2").arg(Output::shareName(*record), status));
    return CommandLine::kExitFailure;
}

int Commands::eject(const CommandLine::Parsed &p)
{
    QString error;
    const auto seconds = waitSeconds(p, kDefaultWaitSeconds, &error);
    if (!seconds)
        return usage(error);
    const bool all = p.has(QStringLiteral("all"));
    if (all == !p.positional.isEmpty())
        return usage(QStringLiteral("Name one share, or give --all. Usage: tarnwellctl eject SHARE | --all"));
    const bool wait = p.has(QStringLiteral("wait"));
    ControlClient::Failure failure;

    if (all) {
        if (wait)
            connectSignal(QStringLiteral("EjectAllFinished"), SLOT(onEjectAllFinished()));
        if (!m_client.call(QStringLiteral("EjectAll"), {}, &failure))
            return fail(failure);
        if (!wait) {
            writeOut(QStringLiteral("Ejecting every mounted share\n"));
            return CommandLine::kExitOk;
        }
        auto mountedCount = [this, &failure]() -> int {
            const auto text = m_client.callText(QStringLiteral("ListRecords"), {}, &failure);
            if (!text)
                return -1;
            int n = 0;
            for (const QJsonValue &v : parseArray(*text))
                n += v.toObject().value(QStringLiteral("mounted")).toBool() ? 1 : 0;
            return n;
        };
        waitUntil(*seconds, [&mountedCount] { return mountedCount() == 0; });
        const int left = mountedCount();
        if (left != 0) {
            writeErr(left < 0 ? failure.message : QStringLiteral("%1 share(s) still mounted").arg(left));
            return CommandLine::kExitFailure;
        }
        writeOut(QStringLiteral("Ejected every share\n"));
        return CommandLine::kExitOk;
    }

    const auto id = m_client.resolve(p.positional.first(), &failure);
    if (!id)
        return fail(failure);
    m_waitId = *id;
    if (wait)
        connectSignal(QStringLiteral("EjectFinished"), SLOT(onEjectFinished(qlonglong, bool, QString)));
    if (!m_client.call(QStringLiteral("Eject"), {QVariant::fromValue<qlonglong>(*id)}, &failure))
        return fail(failure);
    if (!wait) {
        writeOut(QStringLiteral("Ejecting share %1\n").arg(*id));
        return CommandLine::kExitOk;
    }
    // The signal ends the wait; a share that was not mounted has nothing to wait for.
    waitUntil(*seconds, [this, &failure] {
        const auto r = fetchRecord(m_waitId, &failure);
        return !r || !r->value(QStringLiteral("mounted")).toBool();
    });
    const auto record = fetchRecord(*id, &failure);
    if (!record)
        return fail(failure);
    if (record->value(QStringLiteral("mounted")).toBool()) {
        writeErr(QStringLiteral("Eject of %1 failed: %2")
                     .arg(Output::shareName(*record), record->value(QStringLiteral("status")).toString()));
        return CommandLine::kExitFailure;
    }
    writeOut(QStringLiteral("Ejected %1\n").arg(Output::shareName(*record)));
    return CommandLine::kExitOk;
}

int Commands::cleanUp(const CommandLine::Parsed &p)
{
    QString error;
    const auto seconds = waitSeconds(p, kCleanUpWaitSeconds, &error);
    if (!seconds)
        return usage(error);
    ControlClient::Failure failure;
    const auto id = m_client.resolve(p.positional.first(), &failure);
    if (!id)
        return fail(failure);
    m_waitId = *id;
    connectSignal(QStringLiteral("CleanUpFinished"), SLOT(onCleanUpFinished(qlonglong, QString)));
    if (!m_client.call(QStringLiteral("CleanUp"), {QVariant::fromValue<qlonglong>(*id)}, &failure))
        return fail(failure);
    if (!waitUntil(*seconds, [] { return false; })) {
        writeErr(QStringLiteral("Clean Up of share %1 did not finish within %2 s").arg(*id).arg(*seconds));
        return CommandLine::kExitFailure;
    }
    writeOut(m_finishedStatus + QLatin1Char('\n'));
    return CommandLine::kExitOk;
}

int Commands::verify(const CommandLine::Parsed &p)
{
    ControlClient::Failure failure;
    const auto id = m_client.resolve(p.positional.first(), &failure);
    if (!id)
        return fail(failure);
    const auto reply = m_client.call(QStringLiteral("Verify"), {QVariant::fromValue<qlonglong>(*id)}, &failure);
    if (!reply)
        return fail(failure);
    const bool live = !reply->isEmpty() && reply->first().toBool();
    const auto record = fetchRecord(*id, &failure);
    const QString status = record ? record->value(QStringLiteral("status")).toString() : QString();
    if (live) {
        writeOut(status + QLatin1Char('\n'));
        return CommandLine::kExitOk;
    }
    writeErr(status);
    return CommandLine::kExitFailure;
}

int Commands::simple(const QString &method, const QString &done)
{
    ControlClient::Failure failure;
    if (!m_client.call(method, {}, &failure))
        return fail(failure);
    writeOut(done + QLatin1Char('\n'));
    return CommandLine::kExitOk;
}

int Commands::log(const CommandLine::Parsed &p)
{
    int limit = kDefaultLogLimit;
    if (const auto text = p.value(QStringLiteral("limit"))) {
        bool ok = false;
        limit = text->toInt(&ok);
        if (!ok || limit < 0)
            return usage(QStringLiteral("--limit must be a number of entries (0 = all), not '%1'").arg(*text));
    }
    m_followJson = p.has(QStringLiteral("json"));
    const bool follow = p.has(QStringLiteral("follow"));
    ControlClient::Failure failure;
    // Subscribe before reading, so nothing logged in between is missed.
    QDBusServiceWatcher watcher(ControlNames::kServiceName, m_client.bus(), QDBusServiceWatcher::WatchForUnregistration);
    if (follow) {
        connectSignal(QStringLiteral("EventLogChanged"), SLOT(onEventLogChanged()));
        connect(&watcher, &QDBusServiceWatcher::serviceUnregistered, this, &Commands::onEngineGone);
    }
    const auto text = m_client.callText(QStringLiteral("EventLog"), {follow ? qMax(limit, kFollowWindow) : limit}, &failure);
    if (!text)
        return fail(failure);
    const QJsonArray events = parseArray(*text);
    if (m_followJson && !follow) {
        writeOut(text->endsWith(QLatin1Char('\n')) ? *text : *text + QLatin1Char('\n'));
        return CommandLine::kExitOk;
    }
    const qsizetype shown = limit > 0 ? qMin<qsizetype>(limit, events.size()) : events.size();
    for (qsizetype i = shown - 1; i >= 0; --i) {
        const QJsonObject event = events.at(i).toObject();
        writeOut((m_followJson ? compact(event) : Output::eventLine(event)) + QLatin1Char('\n'));
    }
    if (!follow)
        return CommandLine::kExitOk;
    m_lastEvents = events;
    return m_loop.exec(); // until Ctrl-C or the engine goes away
}

int Commands::audit(const CommandLine::Parsed &p)
{
    if (p.positional.first() != QLatin1String("export"))
        return usage(QStringLiteral("Unknown audit command '%1' (use: tarnwellctl audit export ...)").arg(p.positional.first()));
    const auto format = p.value(QStringLiteral("format"));
    if (!format || (format->toLower() != QLatin1String("csv") && format->toLower() != QLatin1String("json")))
        return usage(QStringLiteral("--format csv or --format json is needed"));
    const QDateTime now = QDateTime::currentDateTime();
    QString since, until, error;
    if (const auto text = p.value(QStringLiteral("since"))) {
        const auto date = DateArgument::parse(*text, DateArgument::Bound::Since, now, &error);
        if (!date)
            return usage(error);
        since = DateArgument::toWire(*date);
    }
    if (const auto text = p.value(QStringLiteral("until"))) {
        const auto date = DateArgument::parse(*text, DateArgument::Bound::Until, now, &error);
        if (!date)
            return usage(error);
        until = DateArgument::toWire(*date);
    }
    ControlClient::Failure failure;
    const auto text = m_client.callText(QStringLiteral("ExportAudit"), {format->toLower(), since, until}, &failure);
    if (!text)
        return fail(failure);
    const auto output = p.value(QStringLiteral("output"));
    if (!output) {
        writeOut(*text);
        return CommandLine::kExitOk;
    }
    QSaveFile file(*output);
    const QByteArray data = text->toUtf8();
    if (!file.open(QIODevice::WriteOnly) || file.write(data) != data.size() || !file.commit()) {
        writeErr(QStringLiteral("Cannot write %1: %2").arg(*output, file.errorString()));
        return CommandLine::kExitFailure;
    }
    writeErr(QStringLiteral("Wrote the audit log to %1").arg(*output));
    return CommandLine::kExitOk;
}

int Commands::exchange(const CommandLine::Parsed &p, bool import)
{
    const QFileInfo info(p.positional.first());
    const bool csv = info.suffix().compare(QLatin1String("csv"), Qt::CaseInsensitive) == 0;
    if (import && !info.isFile()) {
        writeErr(QStringLiteral("No such file: %1").arg(p.positional.first()));
        return CommandLine::kExitFailure;
    }
    const QString method = import ? (csv ? QStringLiteral("ImportCsv") : QStringLiteral("ImportConfiguration"))
                                  : (csv ? QStringLiteral("ExportCsv") : QStringLiteral("ExportConfiguration"));
    ControlClient::Failure failure;
    // The engine runs elsewhere: it gets an absolute path.
    const auto reply = m_client.call(method, {info.absoluteFilePath()}, &failure);
    if (!reply)
        return fail(failure);
    if (import && !reply->isEmpty())
        writeOut(reply->first().toString() + QLatin1Char('\n'));
    else
        writeOut(QStringLiteral("%1 %2\n").arg(import ? QStringLiteral("Imported") : QStringLiteral("Exported"),
                                                info.absoluteFilePath()));
    return CommandLine::kExitOk;
}
