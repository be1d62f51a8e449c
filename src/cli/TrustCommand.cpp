#include "TrustCommand.h"

#include "ControlClient.h"
#include "PasswordReader.h"

#include "base/CertificateFingerprint.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTextStream>

namespace {

bool confirmedOnTerminal(const QString &question)
{
    Cli::out(question + QStringLiteral(" [y/N] "));
    QTextStream in(stdin);
    const QString answer = in.readLine().trimmed().toLower();
    return answer == QLatin1String("y") || answer == QLatin1String("yes");
}

} // namespace

int TrustCommand::run(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(summary());
    addShareArgument(parser);
    const QCommandLineOption yes(QStringLiteral("yes"), QStringLiteral("Trust the certificate shown without asking."));
    const QCommandLineOption fingerprint(
        QStringLiteral("fingerprint"),
        QStringLiteral("Trust only the certificate with this SHA-256 fingerprint (64 hex digits, ':' allowed)."),
        QStringLiteral("HEX"));
    const QCommandLineOption remove(QStringLiteral("remove"), QStringLiteral("Trust no certificate for the share any more."));
    parser.addOptions({yes, fingerprint, remove});
    int status = kExitOk;
    if (!parse(parser, arguments, &status) || !expectPositionals(parser, 1, 1, &status))
        return status;
    if (parser.isSet(remove) && (parser.isSet(yes) || parser.isSet(fingerprint)))
        return usageError(QStringLiteral("--remove takes neither --yes nor --fingerprint"));
    std::optional<QString> expected;
    if (parser.isSet(fingerprint)) {
        expected = CertificateFingerprint::normalise(parser.value(fingerprint));
        if (!expected)
            return usageError(CertificateFingerprint::invalidText(QStringLiteral("--fingerprint")));
    }

    ControlClient client;
    ControlClient::Failure failure;
    const auto id = client.resolve(parser.positionalArguments().first(), &failure);
    if (!id)
        return failure.report();
    if (parser.isSet(remove)) {
        if (!client.wait(client.control().TrustCertificate(*id, QString()), &failure))
            return failure.report();
        Cli::out(QStringLiteral("Share %1 trusts no server certificate now\n").arg(*id));
        return kExitOk;
    }

    const auto reply = client.wait(client.control().ServerCertificate(*id), &failure);
    if (!reply)
        return failure.report();
    const QJsonObject certificate = QJsonDocument::fromJson(reply->toUtf8()).object();
    const QString sha256 = certificate.value(QStringLiteral("sha256")).toString();
    Cli::out(QStringLiteral("SHA-256: %1\nSubject: %2\n")
                 .arg(sha256, Cli::printable(certificate.value(QStringLiteral("subject")).toString())));
    if (certificate.value(QStringLiteral("trusted")).toString() == sha256) {
        Cli::out(QStringLiteral("Already trusted\n"));
        return kExitOk;
    }
    if (expected && *expected != sha256) {
        Cli::err(QStringLiteral("The server presents another certificate than the fingerprint given: nothing trusted"));
        return kExitFailure;
    }
    if (!expected && !parser.isSet(yes)) {
        if (!PasswordReader::stdinIsTerminal()) {
            Cli::err(QStringLiteral("Not trusted: confirm on a terminal, or give --yes or --fingerprint HEX"));
            return kExitFailure;
        }
        if (!confirmedOnTerminal(QStringLiteral("Trust this certificate for %1?").arg(Cli::printable(parser.positionalArguments().first())))) {
            Cli::err(QStringLiteral("Not trusted"));
            return kExitFailure;
        }
    }
    if (!client.wait(client.control().TrustCertificate(*id, sha256), &failure))
        return failure.report();
    Cli::out(QStringLiteral("Trusted SHA-256 %1 for share %2\n").arg(sha256).arg(*id));
    return kExitOk;
}
