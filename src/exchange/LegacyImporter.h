#pragma once

#include <QString>
#include <QStringList>

#include <functional>

class ConfigurationManager;
class LogEventManager;

// Moving a whole setup from the macOS build: reads the preferences file that build left behind (binary or
// XML property list) and takes
//   - the shares ("Tarnwell_VolumeRecordArray": a keyed archive as data, or the native array), with fresh
//     IDs; a share already configured here (same host and share name) is skipped and keeps its local ID;
//   - the event log ("Tarnwell_LogEventArray": keyed archive or array), appended after the local entries,
//     each entry pointing at the share's new ID (or at none when its share was not taken);
//   - the share sets ("ShareSets": JSON data, or an array), members remapped, same-named sets skipped;
//   - the directory mappings ("ADShareMappings") as they stand, unless this machine already has some;
//   - the settings of the preference table whose values have the expected kind (integers clamped).
// Passwords that older archives kept in clear under "password_String" go into the secret store under the new
// record's credential account; they never reach a file, a log line or the summary. The macOS file is only
// read.
//
// Thread: main thread; the file is read synchronously, passwords are stored on a worker and `done` runs on
// the main thread afterwards.
class LegacyImporter
{
public:
    static inline const QString kRecordsKey = QStringLiteral("Tarnwell_VolumeRecordArray");
    static inline const QString kEventsKey = QStringLiteral("Tarnwell_LogEventArray");
    static inline const QString kSetsKey = QStringLiteral("ShareSets");
    static inline const QString kMappingsKey = QStringLiteral("ADShareMappings");
    static inline const QString kImportedLine = QStringLiteral("✅ [MIGRATE] Imported from the macOS build: ");

    struct Summary
    {
        QString error; // the file could not be used at all (nothing was changed)
        int sharesImported = 0;
        int sharesSkipped = 0;
        bool sharesUnreadable = false;
        int eventsImported = 0;
        int eventsUnreadable = 0;
        int setsImported = 0;
        int setsSkipped = 0;
        bool setsUnreadable = false;
        bool mappingsImported = false;
        bool mappingsKeptLocal = false;
        QStringList settingsImported;
        QStringList notTaken; // keys of the file that were not taken
        int passwordsMoved = 0;
        int passwordsFailed = 0;

        // One line per item: what was taken and what was not.
        QString text() const;
    };

    LegacyImporter(ConfigurationManager &configuration, LogEventManager &eventLog);

    void importFile(const QString &path, std::function<void(const Summary &)> done);

private:
    ConfigurationManager &m_configuration;
    LogEventManager &m_eventLog;
};
