#pragma once

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

#include <optional>

// Where the engine writes a large result (an audit export, the event log) so that it never travels as one bus
// message: the file the user named with --output, or a file in a private temporary folder that is read back
// here and removed with this object.
class ExportFile
{
public:
    // `output`: the user's file (relative to the current folder), empty for a temporary file named `name`.
    ExportFile(const QString &output, const QString &name);
    Q_DISABLE_COPY_MOVE(ExportFile)

    // False, with the message printed, when no temporary folder could be made.
    bool ready() const;
    bool isUserFile() const { return m_userFile; }
    // Absolute: the engine runs in another folder.
    QString path() const { return m_path; }
    // The file as the engine wrote it; nullopt with *error set when it cannot be read.
    std::optional<QByteArray> contents(QString *error) const;
    // After the engine wrote `count` entries: the user's file is named on standard error ("Wrote 3 audit
    // entries to FILE", `what` being "audit entries"), a temporary one is printed. The exit status.
    int finish(int count, const QString &what) const;

private:
    bool m_userFile;
    QTemporaryDir m_scratch;
    QString m_path;
};
