#include "ConfigCommand.h"

#include "ControlClient.h"
#include "ExchangeProxy.h"

#include "control/ControlNames.h"
#include "control/ExchangeNames.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace ExchangeCli {

std::unique_ptr<ExchangeProxy> proxy(ControlClient &client)
{
    auto p = std::make_unique<ExchangeProxy>(ControlNames::kServiceName, ExchangeNames::kObjectPath, client.bus());
    p->setTimeout(10 * 60 * 1000); // a large import with passwords may take a while; the engine always answers
    return p;
}

namespace {
bool failed(const QDBusPendingCall &call, int *status)
{
    if (!call.isError())
        return false;
    Cli::err(ControlClient::failureFor(call.reply()).message);
    *status = Command::kExitFailure;
    return true;
}
} // namespace

template <typename T>
std::optional<T> wait(QDBusPendingReply<T> reply, int *status)
{
    reply.waitForFinished();
    if (failed(reply, status))
        return std::nullopt;
    return reply.value();
}
template std::optional<QString> wait(QDBusPendingReply<QString>, int *);

bool wait(QDBusPendingReply<> reply, int *status)
{
    reply.waitForFinished();
    return !failed(reply, status);
}

QString absolute(const QString &path)
{
    return QDir::cleanPath(QFileInfo(path).absoluteFilePath());
}

} // namespace ExchangeCli

namespace {

QString formatOf(const QString &path, const QString &given)
{
    if (!given.isEmpty())
        return given.toLower();
    const QString suffix = QFileInfo(path).suffix().toLower();
    if (suffix == QLatin1String("csv"))
        return QStringLiteral("csv");
    if (suffix == QLatin1String("plist"))
        return QStringLiteral("legacy");
    return QStringLiteral("json"); // .twconfig, .json
}

QJsonObject object(const QString &text)
{
    return QJsonDocument::fromJson(text.toUtf8()).object();
}

void printPreview(const QJsonObject &p, const QString &file)
{
    QString text = QStringLiteral("File: ") + Cli::printable(QFileInfo(file).fileName())
                 + QStringLiteral("\nExported by: ") + Cli::printable(p.value(QStringLiteral("exportedBy")).toString())
                 + QStringLiteral("\nDate: ") + p.value(QStringLiteral("exportDate")).toString();
    if (const QString org = p.value(QStringLiteral("organizationName")).toString(); !org.isEmpty())
        text += QStringLiteral("\nOrganization: ") + Cli::printable(org);
    text += QStringLiteral("\nVersion: ") + Cli::printable(p.value(QStringLiteral("version")).toString());
    text += QStringLiteral("\n\nContains:\n") + QString::number(p.value(QStringLiteral("shareCount")).toInt())
          + QStringLiteral(" shares\n") + QString::number(p.value(QStringLiteral("setCount")).toInt())
          + QStringLiteral(" share sets\n") + QString::number(p.value(QStringLiteral("ruleCount")).toInt())
          + QStringLiteral(" rules\n");
    if (p.value(QStringLiteral("hasPreferences")).toBool())
        text += QStringLiteral("preferences\n");
    const std::pair<const char *, const char *> lists[] = {{"shareNames", "Shares:"}, {"setNames", "Sets:"}, {"ruleNames", "Rules:"}};
    for (const auto &[key, title] : lists) {
        const QJsonArray names = p.value(QLatin1String(key)).toArray();
        if (names.isEmpty())
            continue;
        text += QLatin1Char('\n') + QLatin1String(title) + QLatin1Char('\n');
        for (const QJsonValue &n : names)
            text += QStringLiteral("  ") + Cli::printable(n.toString()) + QLatin1Char('\n');
    }
    Cli::out(text);
}

} // namespace

int ConfigCommand::run(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(summary());
    parser.addPositionalArgument(QStringLiteral("action"), QStringLiteral("import or export"));
    parser.addPositionalArgument(QStringLiteral("file"), QStringLiteral("The file to read or write"));
    const QCommandLineOption format(QStringLiteral("format"),
                                    QStringLiteral("json (.twconfig), csv, or legacy (the macOS build's preferences "
                                                   "file); default: from the file's extension"),
                                    QStringLiteral("format"));
    const QCommandLineOption mode(QStringLiteral("mode"), QStringLiteral("Import mode: replace, merge (default) or update"),
                                  QStringLiteral("mode"), QStringLiteral("merge"));
    const QCommandLineOption preview(QStringLiteral("preview"), QStringLiteral("Show what the file holds; change nothing"));
    const QCommandLineOption json(QStringLiteral("json"), QStringLiteral("Print the engine's answer as JSON"));
    parser.addOptions({format, mode, preview, json});
    int status = kExitOk;
    if (!parse(parser, arguments, &status))
        return status;
    const QStringList positional = parser.positionalArguments();
    if (positional.size() != 2 || (positional.at(0) != QLatin1String("import") && positional.at(0) != QLatin1String("export"))) {
        Cli::err(QStringLiteral("usage: tarnwellctl config import FILE | export FILE (see --help)"));
        return kExitUsage;
    }
    const bool importing = positional.at(0) == QLatin1String("import");
    const QString file = ExchangeCli::absolute(positional.at(1));
    const QString kind = formatOf(file, parser.value(format));
    if (kind != QLatin1String("json") && kind != QLatin1String("csv") && kind != QLatin1String("legacy")) {
        Cli::err(QStringLiteral("Unknown format \"") + kind + QStringLiteral("\" (json, csv or legacy)"));
        return kExitUsage;
    }
    if (!importing && kind == QLatin1String("legacy")) {
        Cli::err(QStringLiteral("The macOS build's settings can only be imported"));
        return kExitUsage;
    }
    if (parser.isSet(preview) && (!importing || kind != QLatin1String("json"))) {
        Cli::err(QStringLiteral("--preview applies to importing a configuration file"));
        return kExitUsage;
    }
    const QString modeName = parser.value(mode).toLower();
    if (modeName != QLatin1String("replace") && modeName != QLatin1String("merge") && modeName != QLatin1String("update")) {
        Cli::err(QStringLiteral("Unknown import mode \"") + modeName + QStringLiteral("\" (replace, merge or update)"));
        return kExitUsage;
    }

    ControlClient client;
    const auto exchange = ExchangeCli::proxy(client);
    if (!importing) {
        const bool ok = kind == QLatin1String("csv") ? ExchangeCli::wait(exchange->ExportCsv(file), &status)
                                                     : ExchangeCli::wait(exchange->ExportConfiguration(file), &status);
        if (ok)
            Cli::out(QStringLiteral("Exported to ") + Cli::printable(file) + QLatin1Char('\n'));
        return status;
    }
    if (parser.isSet(preview)) {
        const auto answer = ExchangeCli::wait(exchange->PreviewConfiguration(file), &status);
        if (answer)
            parser.isSet(json) ? Cli::out(*answer + QLatin1Char('\n')) : printPreview(object(*answer), file);
        return status;
    }
    std::optional<QString> answer;
    if (kind == QLatin1String("csv"))
        answer = ExchangeCli::wait(exchange->ImportCsv(file), &status);
    else if (kind == QLatin1String("legacy"))
        answer = ExchangeCli::wait(exchange->ImportLegacy(file), &status);
    else
        answer = ExchangeCli::wait(exchange->ImportConfiguration(file, modeName), &status);
    if (!answer)
        return status;
    if (parser.isSet(json)) {
        Cli::out(*answer + QLatin1Char('\n'));
        return status;
    }
    const QJsonObject result = object(*answer);
    if (kind == QLatin1String("csv")) {
        Cli::out(result.value(QStringLiteral("title")).toString() + QStringLiteral(": ")
                 + result.value(QStringLiteral("summary")).toString() + QLatin1Char('\n'));
        for (const QJsonValue &w : result.value(QStringLiteral("warnings")).toArray())
            Cli::out(QStringLiteral("  ") + Cli::printable(w.toString()) + QLatin1Char('\n'));
        if (const QString error = result.value(QStringLiteral("error")).toString(); !error.isEmpty()) {
            Cli::err(error);
            return kExitFailure;
        }
        return result.value(QStringLiteral("passwordsFailed")).toInt() > 0 ? kExitFailure : kExitOk;
    }
    Cli::out(Cli::printable(result.value(QStringLiteral("summary")).toString(), true) + QLatin1Char('\n'));
    if (kind == QLatin1String("legacy") && result.value(QStringLiteral("passwordsFailed")).toInt() > 0)
        return kExitFailure;
    return kExitOk;
}
