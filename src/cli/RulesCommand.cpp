#include "RulesCommand.h"

#include "ControlClient.h"
#include "RulesProxy.h" // generated from io.tarnwell.Tarnwell.Rules1.xml
#include "control/ControlNames.h"
#include "control/RulesNames.h"

#include <QDateTime>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QTextStream>

#include <array>

namespace {

using Proxy = IoTarnwellTarnwellRules1Interface;

struct Kind
{
    const char *word; // as typed
    const char *type; // the rule's raw value
    const char *key; // parameter; "" for none
    bool valueRequired; // false: the value may be left out (wifi = any network)
    const char *help;
};

const std::array<Kind, 12> kConditions { {
    { "wifi", "WiFi Connected", "ssid", false, "wifi[=SSID]        on Wi-Fi network SSID (any network without one)" },
    { "not-wifi", "WiFi Disconnected", "ssid", false, "not-wifi[=SSID]    not on SSID (off Wi-Fi without one)" },
    { "time", "Time Window", "timeRange", true, "time=HH:MM-HH:MM   within the time window (may cross midnight)" },
    { "days", "Day of Week", "days", true, "days=Mon,Tue,...   on these days" },
    { "app", "App Running", "app", true, "app=NAME           an application whose name contains NAME runs" },
    { "not-app", "App Not Running", "app", true, "not-app=NAME       no such application runs" },
    { "power", "On AC Power", "", false, "power              on mains power" },
    { "battery", "On Battery", "", false, "battery            on battery" },
    { "vpn", "VPN Connected", "", false, "vpn                a VPN is connected" },
    { "no-vpn", "VPN Disconnected", "", false, "no-vpn             no VPN is connected" },
    { "mounted", "Volume Mounted", "volumeId", true, "mounted=SHARE-ID   the share is mounted" },
    { "not-mounted", "Volume Not Mounted", "volumeId", true, "not-mounted=SHARE-ID  the share is not mounted" },
} };

const std::array<Kind, 9> kActions { {
    { "mount", "Mount Volume", "volumeId", true, "mount=SHARE-ID     mount the share" },
    { "unmount", "Unmount Volume", "volumeId", true, "unmount=SHARE-ID   eject the share" },
    { "mount-all", "Mount All Volumes", "", false, "mount-all          mount every share" },
    { "unmount-all", "Unmount All Volumes", "", false, "unmount-all        eject every share" },
    { "mount-group", "Mount Group", "group", true, "mount-group=GROUP  mount the shares tagged GROUP" },
    { "unmount-group", "Unmount Group", "group", true, "unmount-group=GROUP  eject the shares tagged GROUP" },
    { "script", "Run Script", "scriptPath", true, "script=PATH        run the script (zsh -c PATH, else sh)" },
    { "notify", "Show Notification", "message", true, "notify=[TITLE::]MESSAGE  show a desktop notification" },
    { "delay", "Wait/Delay", "seconds", true, "delay=SECONDS      wait before the next action" },
} };

const QRegularExpression kTimeRange(QStringLiteral("^([01]?\\d|2[0-3]):([0-5]\\d)-([01]?\\d|2[0-3]):([0-5]\\d)$"));

template<size_t N>
std::optional<QJsonObject> parseSpec(const std::array<Kind, N> &kinds, const QString &spec, const QString &what,
                                     QString *error)
{
    const qsizetype eq = spec.indexOf(QLatin1Char('='));
    const QString word = (eq < 0 ? spec : spec.left(eq)).trimmed().toLower();
    const std::optional<QString> value = eq < 0 ? std::nullopt : std::optional<QString>(spec.mid(eq + 1));
    for (const Kind &kind : kinds) {
        if (word != QLatin1String(kind.word))
            continue;
        const QString key = QString::fromLatin1(kind.key);
        if (key.isEmpty() && value) {
            *error = QStringLiteral("%1 '%2' takes no value").arg(what, word);
            return std::nullopt;
        }
        if (kind.valueRequired && (!value || value->trimmed().isEmpty())) {
            *error = QStringLiteral("%1 '%2' needs a value: %3")
                         .arg(what, word, QString::fromLatin1(kind.help).simplified());
            return std::nullopt;
        }
        QJsonObject parameters;
        if (!key.isEmpty())
            parameters.insert(key, value.value_or(QString()));
        return QJsonObject { { QStringLiteral("type"), QString::fromLatin1(kind.type) },
                             { QStringLiteral("parameters"), parameters } };
    }
    *error = QStringLiteral("Unknown %1 '%2'. Known kinds:\n%3").arg(what, word, RulesCommand::kindsHelp());
    return std::nullopt;
}

bool isShareId(const QString &text)
{
    bool ok = false;
    text.trimmed().toLongLong(&ok);
    return ok;
}

QString text(const QJsonValue &value)
{
    return Cli::printable(value.toString());
}

QString lastTriggeredText(const QJsonValue &value)
{
    if (!value.isDouble())
        return QStringLiteral("never");
    const QDateTime reference(QDate(2001, 1, 1), QTime(0, 0), Qt::UTC);
    return reference.addMSecs(qint64(value.toDouble() * 1000.0))
        .toLocalTime()
        .toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
}

QString ruleDetails(const QJsonObject &rule)
{
    QString out;
    QTextStream s(&out);
    s << "id: " << text(rule.value(QStringLiteral("id"))) << '\n'
      << "name: " << text(rule.value(QStringLiteral("name"))) << '\n'
      << "enabled: " << (rule.value(QStringLiteral("isEnabled")).toBool() ? "yes" : "no") << '\n'
      << "mode: " << text(rule.value(QStringLiteral("conditionMode"))) << '\n'
      << "when: " << text(rule.value(QStringLiteral("summary"))) << '\n';
    for (const QJsonValue &c : rule.value(QStringLiteral("conditions")).toArray()) {
        s << "  condition: " << text(c[QStringLiteral("type")]);
        const QJsonObject p = c[QStringLiteral("parameters")].toObject();
        for (auto it = p.begin(); it != p.end(); ++it)
            s << "  " << Cli::printable(it.key()) << '=' << text(it.value());
        s << '\n';
    }
    for (const QJsonValue &a : rule.value(QStringLiteral("actions")).toArray()) {
        s << "  action: " << text(a[QStringLiteral("type")]);
        const QJsonObject p = a[QStringLiteral("parameters")].toObject();
        for (auto it = p.begin(); it != p.end(); ++it)
            s << "  " << Cli::printable(it.key()) << '=' << text(it.value());
        s << '\n';
    }
    s << "triggered: " << rule.value(QStringLiteral("triggerCount")).toInteger() << " times, last "
      << lastTriggeredText(rule.value(QStringLiteral("lastTriggered"))) << '\n';
    return out;
}

// Exit status for an engine error: refused input is a usage error, the rest a failure.
int statusFor(const QDBusError &error)
{
    return error.name() == ControlNames::kErrorInvalidArgument ? Command::kExitUsage : Command::kExitFailure;
}

} // namespace

QString RulesCommand::kindsHelp()
{
    QString help = QStringLiteral("Conditions (--when):\n");
    for (const Kind &k : kConditions)
        help += QStringLiteral("  ") + QString::fromUtf8(k.help) + QLatin1Char('\n');
    help += QStringLiteral("Actions (--do), run in order:\n");
    for (const Kind &k : kActions)
        help += QStringLiteral("  ") + QString::fromUtf8(k.help) + QLatin1Char('\n');
    return help;
}

std::optional<QJsonObject> RulesCommand::parseCondition(const QString &spec, QString *error)
{
    auto object = parseSpec(kConditions, spec, QStringLiteral("condition"), error);
    if (!object)
        return std::nullopt;
    const QString type = object->value(QStringLiteral("type")).toString();
    const QJsonObject p = object->value(QStringLiteral("parameters")).toObject();
    if (type == QLatin1String("Time Window")
        && !kTimeRange.match(p.value(QStringLiteral("timeRange")).toString()).hasMatch()) {
        *error = QStringLiteral("Malformed time range '%1': use HH:MM-HH:MM in 24-hour format, e.g. time=22:00-06:00")
                     .arg(Cli::printable(p.value(QStringLiteral("timeRange")).toString()));
        return std::nullopt;
    }
    if (type == QLatin1String("Day of Week")) {
        static const QStringList days { QStringLiteral("sun"), QStringLiteral("mon"), QStringLiteral("tue"),
                                        QStringLiteral("wed"), QStringLiteral("thu"), QStringLiteral("fri"),
                                        QStringLiteral("sat") };
        static const QStringList full { QStringLiteral("sunday"),   QStringLiteral("monday"),
                                        QStringLiteral("tuesday"),  QStringLiteral("wednesday"),
                                        QStringLiteral("thursday"), QStringLiteral("friday"),
                                        QStringLiteral("saturday") };
        for (const QString &item : p.value(QStringLiteral("days")).toString().split(QLatin1Char(','))) {
            const QString day = item.trimmed().toLower();
            if (!days.contains(day) && !full.contains(day)) {
                *error = QStringLiteral("Unknown day '%1': use Sun, Mon, Tue, Wed, Thu, Fri, Sat or full names")
                             .arg(Cli::printable(item.trimmed()));
                return std::nullopt;
            }
        }
    }
    if (p.contains(QStringLiteral("volumeId")) && !isShareId(p.value(QStringLiteral("volumeId")).toString())) {
        *error = QStringLiteral("A share is named by its numeric ID here (see tarnwellctl list)");
        return std::nullopt;
    }
    return object;
}

std::optional<QJsonObject> RulesCommand::parseAction(const QString &spec, QString *error)
{
    auto object = parseSpec(kActions, spec, QStringLiteral("action"), error);
    if (!object)
        return std::nullopt;
    QJsonObject p = object->value(QStringLiteral("parameters")).toObject();
    if (p.contains(QStringLiteral("volumeId")) && !isShareId(p.value(QStringLiteral("volumeId")).toString())) {
        *error = QStringLiteral("A share is named by its numeric ID here (see tarnwellctl list)");
        return std::nullopt;
    }
    if (p.contains(QStringLiteral("seconds"))) {
        bool ok = false;
        p.value(QStringLiteral("seconds")).toString().toDouble(&ok);
        if (!ok) {
            *error = QStringLiteral("Invalid delay '%1': give a number of seconds")
                         .arg(Cli::printable(p.value(QStringLiteral("seconds")).toString()));
            return std::nullopt;
        }
    }
    if (object->value(QStringLiteral("type")).toString() == QLatin1String("Show Notification")) {
        const QString value = p.value(QStringLiteral("message")).toString();
        const qsizetype sep = value.indexOf(QStringLiteral("::"));
        p.insert(QStringLiteral("title"), sep < 0 ? QStringLiteral("Tarnwell") : value.left(sep));
        p.insert(QStringLiteral("message"), sep < 0 ? value : value.mid(sep + 2));
        object->insert(QStringLiteral("parameters"), p);
    }
    return object;
}

int RulesCommand::run(const QStringList &arguments)
{
    static const QStringList kSubcommands {
        QStringLiteral("list"),     QStringLiteral("show"),   QStringLiteral("add"),     QStringLiteral("edit"),
        QStringLiteral("remove"),   QStringLiteral("enable"), QStringLiteral("disable"), QStringLiteral("duplicate"),
        QStringLiteral("run-now"),  QStringLiteral("start"),  QStringLiteral("stop"),    QStringLiteral("examples"),
        QStringLiteral("activity"), QStringLiteral("status")
    };

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Automation rules: when conditions turn true, run actions.\n\n")
                                     + kindsHelp());
    parser.addPositionalArgument(QStringLiteral("subcommand"), kSubcommands.join(QStringLiteral(" | ")));
    parser.addPositionalArgument(QStringLiteral("rule"), QStringLiteral("a rule's id (or unique prefix) or name"),
                                 QStringLiteral("[RULE]"));
    const QCommandLineOption whenOption(QStringLiteral("when"), QStringLiteral("add a condition (repeatable)"),
                                        QStringLiteral("KIND[=VALUE]"));
    const QCommandLineOption doOption(QStringLiteral("do"), QStringLiteral("add an action (repeatable, run in order)"),
                                      QStringLiteral("KIND[=VALUE]"));
    const QCommandLineOption modeOption(QStringLiteral("mode"), QStringLiteral("all (default) or any"),
                                        QStringLiteral("MODE"));
    const QCommandLineOption nameOption(QStringLiteral("name"), QStringLiteral("the rule's name"),
                                        QStringLiteral("NAME"));
    const QCommandLineOption disabledOption(QStringLiteral("disabled"), QStringLiteral("add the rule switched off"));
    const QCommandLineOption jsonFileOption(
        QStringLiteral("json"),
        QStringLiteral("add/edit: read the rule as JSON from FILE (- for standard input); "
                       "list/show/activity: print JSON"),
        QStringLiteral("FILE"));
    const QCommandLineOption limitOption(QStringLiteral("limit"), QStringLiteral("activity: only the newest N entries"),
                                         QStringLiteral("N"));
    parser.addOptions({ whenOption, doOption, modeOption, nameOption, disabledOption, limitOption });

    // --json is a flag for the listing subcommands and takes a file for add/edit.
    const QString sub = arguments.size() > 1 ? arguments.at(1) : QString();
    const bool jsonTakesFile = sub == QLatin1String("add") || sub == QLatin1String("edit");
    const QCommandLineOption jsonFlag(QStringLiteral("json"), QStringLiteral("print JSON"));
    parser.addOption(jsonTakesFile ? jsonFileOption : jsonFlag);

    int status = kExitOk;
    if (!parse(parser, arguments, &status))
        return status;
    const QStringList positional = parser.positionalArguments();
    if (positional.isEmpty() || !kSubcommands.contains(positional.first())) {
        Cli::err(positional.isEmpty()
                     ? QStringLiteral("rules: name a subcommand: ") + kSubcommands.join(QStringLiteral(", "))
                     : QStringLiteral("rules: unknown subcommand '%1'").arg(Cli::printable(positional.first())));
        return kExitUsage;
    }
    const QString command = positional.first();
    const bool needsRule = command == QLatin1String("show") || command == QLatin1String("edit")
        || command == QLatin1String("remove") || command == QLatin1String("enable")
        || command == QLatin1String("disable") || command == QLatin1String("duplicate")
        || command == QLatin1String("run-now");
    if (positional.size() != (needsRule ? 2 : 1)) {
        Cli::err(
            needsRule
                ? QStringLiteral("rules %1: name one rule").arg(command)
                : QStringLiteral("rules %1: unexpected argument '%2'").arg(command, Cli::printable(positional.last())));
        return kExitUsage;
    }
    const bool editing = command == QLatin1String("add") || command == QLatin1String("edit");
    if (!editing
        && (parser.isSet(whenOption) || parser.isSet(doOption) || parser.isSet(modeOption) || parser.isSet(nameOption)
            || parser.isSet(disabledOption))) {
        Cli::err(QStringLiteral("rules %1: --when, --do, --mode, --name and --disabled belong to add and edit")
                     .arg(command));
        return kExitUsage;
    }

    // Everything typed is checked before the engine is asked anything.
    QJsonArray conditions, actions;
    for (const QString &spec : parser.values(whenOption)) {
        QString error;
        const auto c = parseCondition(spec, &error);
        if (!c) {
            Cli::err(error);
            return kExitUsage;
        }
        conditions.append(*c);
    }
    for (const QString &spec : parser.values(doOption)) {
        QString error;
        const auto a = parseAction(spec, &error);
        if (!a) {
            Cli::err(error);
            return kExitUsage;
        }
        actions.append(*a);
    }
    const QString mode = parser.value(modeOption).toLower();
    if (parser.isSet(modeOption) && mode != QLatin1String("all") && mode != QLatin1String("any")) {
        Cli::err(QStringLiteral("--mode is all or any"));
        return kExitUsage;
    }
    std::optional<QJsonObject> fromFile;
    if (editing && parser.isSet(jsonFileOption)) {
        if (parser.isSet(whenOption) || parser.isSet(doOption)) {
            Cli::err(QStringLiteral("give the rule either as --json FILE or with --when/--do, not both"));
            return kExitUsage;
        }
        const QString path = parser.value(jsonFileOption);
        QFile file;
        const bool opened = path == QLatin1String("-") ? file.open(stdin, QIODevice::ReadOnly)
                                                       : (file.setFileName(path), file.open(QIODevice::ReadOnly));
        if (!opened) {
            Cli::err(QStringLiteral("cannot read %1: %2").arg(Cli::printable(path), file.errorString()));
            return kExitFailure;
        }
        QJsonParseError parseError;
        const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &parseError);
        if (!document.isObject()) {
            Cli::err(QStringLiteral("%1 does not hold a rule object: %2")
                         .arg(Cli::printable(path), parseError.errorString()));
            return kExitUsage;
        }
        fromFile = document.object();
    }
    int limit = 0;
    if (parser.isSet(limitOption)) {
        bool ok = false;
        limit = parser.value(limitOption).toInt(&ok);
        if (!ok || limit < 0) {
            Cli::err(QStringLiteral("--limit takes a number"));
            return kExitUsage;
        }
    }

    ControlClient client;
    ControlClient::Failure noEngine;
    if (!client.engineRunning(&noEngine))
        return noEngine.report();
    Proxy proxy(ControlNames::kServiceName, RulesNames::kObjectPath, client.bus());
    proxy.setTimeout(30000);
    auto failed = [](const auto &reply) {
        if (!reply.isError())
            return false;
        Cli::err(ControlClient::failureFor(reply.reply()).message);
        return true;
    };
    auto resolve = [&](QString *id) {
        auto reply = proxy.ResolveRule(positional.at(1));
        reply.waitForFinished();
        if (failed(reply))
            return statusFor(reply.error());
        *id = reply.value();
        return kExitOk;
    };
    const bool json = !jsonTakesFile && parser.isSet(jsonFlag);

    if (command == QLatin1String("list")) {
        auto reply = proxy.ListRules();
        reply.waitForFinished();
        if (failed(reply))
            return kExitFailure;
        if (json) {
            Cli::out(reply.value() + QLatin1Char('\n'));
            return kExitOk;
        }
        const QJsonArray rules = QJsonDocument::fromJson(reply.value().toUtf8()).array();
        if (rules.isEmpty()) {
            Cli::out(QStringLiteral("No rules.\n"));
            return kExitOk;
        }
        QString out = QStringLiteral("ID        ON   FIRED  NAME  —  WHEN\n");
        for (const QJsonValue &r : rules) {
            out += QStringLiteral("%1  %2  %3  %4  —  %5\n")
                       .arg(r[QStringLiteral("id")].toString().left(8),
                            r[QStringLiteral("isEnabled")].toBool() ? QStringLiteral("yes") : QStringLiteral("no "))
                       .arg(r[QStringLiteral("triggerCount")].toInteger(), 5)
                       .arg(text(r[QStringLiteral("name")]), text(r[QStringLiteral("summary")]));
        }
        Cli::out(out);
        return kExitOk;
    }
    if (command == QLatin1String("activity") || command == QLatin1String("status")) {
        auto reply = command == QLatin1String("status") ? proxy.GetStatus() : proxy.GetActivity();
        reply.waitForFinished();
        if (failed(reply))
            return kExitFailure;
        if (json) {
            Cli::out(reply.value() + QLatin1Char('\n'));
            return kExitOk;
        }
        const QJsonDocument document = QJsonDocument::fromJson(reply.value().toUtf8());
        if (command == QLatin1String("status")) {
            const QJsonObject s = document.object();
            Cli::out(QStringLiteral("running: %1\nrules: %2\nlast evaluation: %3\nfile: %4\n")
                         .arg(s[QStringLiteral("running")].toBool() ? QStringLiteral("yes") : QStringLiteral("no"))
                         .arg(s[QStringLiteral("ruleCount")].toInt())
                         .arg(s[QStringLiteral("lastEvaluationTime")].isString()
                                  ? text(s[QStringLiteral("lastEvaluationTime")])
                                  : QStringLiteral("never"),
                              text(s[QStringLiteral("file")])));
            return kExitOk;
        }
        QJsonArray entries = document.array();
        if (limit > 0)
            while (entries.size() > limit)
                entries.removeLast();
        QString out;
        for (qsizetype i = entries.size() - 1; i >= 0; --i) { // oldest first, like the event log
            const QJsonObject e = entries.at(i).toObject();
            out += QStringLiteral("%1  %2  %3\n")
                       .arg(QDateTime::fromString(e[QStringLiteral("timestamp")].toString(), Qt::ISODateWithMs)
                                .toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")),
                            e[QStringLiteral("type")].toString().leftJustified(7), text(e[QStringLiteral("message")]));
        }
        Cli::out(out.isEmpty() ? QStringLiteral("No rule activity.\n") : out);
        return kExitOk;
    }
    if (command == QLatin1String("start") || command == QLatin1String("stop") || command == QLatin1String("examples")) {
        auto reply = command == QLatin1String("start") ? proxy.Start()
            : command == QLatin1String("stop")         ? proxy.Stop()
                                                       : proxy.AddExampleRules();
        reply.waitForFinished();
        if (failed(reply))
            return kExitFailure;
        Cli::out(command == QLatin1String("start")      ? QStringLiteral("Rule engine running\n")
                     : command == QLatin1String("stop") ? QStringLiteral("Rule engine stopped\n")
                                                        : QStringLiteral("Example rules added\n"));
        return kExitOk;
    }
    if (command == QLatin1String("add")) {
        QJsonObject rule = fromFile.value_or(QJsonObject());
        if (parser.isSet(nameOption))
            rule.insert(QStringLiteral("name"), parser.value(nameOption));
        if (!fromFile) {
            rule.insert(QStringLiteral("conditions"), conditions);
            rule.insert(QStringLiteral("actions"), actions);
        }
        if (parser.isSet(modeOption))
            rule.insert(QStringLiteral("conditionMode"), mode);
        if (parser.isSet(disabledOption))
            rule.insert(QStringLiteral("isEnabled"), false);
        if (rule.value(QStringLiteral("name")).toString().trimmed().isEmpty()) {
            Cli::err(QStringLiteral("rules add: give the rule a --name"));
            return kExitUsage;
        }
        auto reply = proxy.AddRule(QString::fromUtf8(QJsonDocument(rule).toJson(QJsonDocument::Compact)));
        reply.waitForFinished();
        if (failed(reply))
            return statusFor(reply.error());
        Cli::out(QStringLiteral("Added rule %1\n").arg(reply.value()));
        return kExitOk;
    }

    QString id;
    if (const int resolved = resolve(&id); resolved != kExitOk)
        return resolved;

    if (command == QLatin1String("show")) {
        auto reply = proxy.GetRule(id);
        reply.waitForFinished();
        if (failed(reply))
            return kExitFailure;
        Cli::out(json ? reply.value() + QLatin1Char('\n')
                      : ruleDetails(QJsonDocument::fromJson(reply.value().toUtf8()).object()));
        return kExitOk;
    }
    if (command == QLatin1String("edit")) {
        QJsonObject rule;
        if (fromFile) {
            rule = *fromFile;
        } else {
            auto current = proxy.GetRule(id);
            current.waitForFinished();
            if (failed(current))
                return kExitFailure;
            rule = QJsonDocument::fromJson(current.value().toUtf8()).object();
            rule.remove(QStringLiteral("summary"));
            if (parser.isSet(whenOption))
                rule.insert(QStringLiteral("conditions"), conditions);
            if (parser.isSet(doOption))
                rule.insert(QStringLiteral("actions"), actions);
        }
        rule.insert(QStringLiteral("id"), id);
        if (parser.isSet(nameOption))
            rule.insert(QStringLiteral("name"), parser.value(nameOption));
        if (parser.isSet(modeOption))
            rule.insert(QStringLiteral("conditionMode"), mode);
        if (parser.isSet(disabledOption))
            rule.insert(QStringLiteral("isEnabled"), false);
        auto reply = proxy.UpdateRule(QString::fromUtf8(QJsonDocument(rule).toJson(QJsonDocument::Compact)));
        reply.waitForFinished();
        if (failed(reply))
            return statusFor(reply.error());
        Cli::out(QStringLiteral("Updated rule %1\n").arg(id));
        return kExitOk;
    }
    if (command == QLatin1String("duplicate")) {
        auto reply = proxy.DuplicateRule(id);
        reply.waitForFinished();
        if (failed(reply))
            return kExitFailure;
        Cli::out(QStringLiteral("Added rule %1\n").arg(reply.value()));
        return kExitOk;
    }
    QDBusPendingReply<> reply = command == QLatin1String("remove") ? proxy.RemoveRule(id)
        : command == QLatin1String("enable")                       ? proxy.SetRuleEnabled(id, true)
        : command == QLatin1String("disable")                      ? proxy.SetRuleEnabled(id, false)
                                                                   : proxy.RunRule(id);
    reply.waitForFinished();
    if (failed(reply))
        return kExitFailure;
    const QString done = command == QLatin1String("remove") ? QStringLiteral("Removed")
        : command == QLatin1String("enable")                ? QStringLiteral("Enabled")
        : command == QLatin1String("disable")               ? QStringLiteral("Disabled")
                                                            : QStringLiteral("Started the actions of");
    Cli::out(QStringLiteral("%1 rule %2\n").arg(done, id));
    return kExitOk;
}
