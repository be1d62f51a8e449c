#include "ExportFile.h"

#include "Command.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

ExportFile::ExportFile(const QString &output, const QString &name)
    : m_userFile(!output.isEmpty())
    , m_scratch(QDir::tempPath() + QStringLiteral("/tarnwellctl-XXXXXX"))
    , m_path(m_userFile ? QFileInfo(output).absoluteFilePath() : m_scratch.filePath(name))
{
}

bool ExportFile::ready() const
{
    if (m_userFile || m_scratch.isValid())
        return true;
    Cli::err(QStringLiteral("Cannot create a temporary folder: %1").arg(m_scratch.errorString()));
    return false;
}

std::optional<QByteArray> ExportFile::contents(QString *error) const
{
    QFile file(m_path);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("Cannot read the export: %1").arg(file.errorString());
        return std::nullopt;
    }
    return file.readAll();
}

int ExportFile::finish(int count, const QString &what) const
{
    if (m_userFile) {
        Cli::err(QStringLiteral("Wrote %1 %2 to %3").arg(count).arg(what, Cli::printable(m_path)));
        return Command::kExitOk;
    }
    QString error;
    const auto bytes = contents(&error);
    if (!bytes) {
        Cli::err(error);
        return Command::kExitFailure;
    }
    Cli::out(QString::fromUtf8(*bytes));
    return Command::kExitOk;
}
