// EnterpriseAuditLog: event kinds, memory and file caps, loading, exports, the serial writer, corrupt files.
#include "app/Console.h"
#include "logging/AuditLogFile.h"
#include "logging/EnterpriseAuditLog.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMutex>
#include <QRegularExpression>
#include <QSet>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

namespace {

struct ConsoleCapture
{
    ConsoleCapture()
    {
        Console::setSink([this](const QString &text) {
            QMutexLocker lock(&mutex);
            lines.append(text);
        });
    }
    ~ConsoleCapture() { Console::setSink({}); }
    QStringList taken()
    {
        QMutexLocker lock(&mutex);
        return lines;
    }
    QStringList matching(const QString &prefix)
    {
        return taken().filter(QRegularExpression(QLatin1Char('^') + QRegularExpression::escape(prefix)));
    }
    QMutex mutex;
    QStringList lines;
};

// The file as another program would read it: plain JSON, no help from the code under test.
QJsonArray readFileArray(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QJsonDocument::fromJson(file.readAll()).array();
}

// An entry written by hand, as a file left by an earlier run would hold it.
QJsonObject handEntry(int n, const QDateTime &timestamp)
{
    return QJsonObject{
        {QStringLiteral("id"), QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper()},
        {QStringLiteral("timestamp"), timestamp.toUTC().toString(Qt::ISODate)},
        {QStringLiteral("eventType"), QStringLiteral("MOUNT_SUCCESS")},
        {QStringLiteral("shareName"), QStringLiteral("share%1").arg(n)},
        {QStringLiteral("username"), QStringLiteral("alice")},
        {QStringLiteral("machineName"), QStringLiteral("desk")},
        {QStringLiteral("details"), QString::number(n)},
        {QStringLiteral("success"), true},
    };
}

void writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(bytes), bytes.size());
}

QStringList detailsOf(const QList<AuditLogEntry> &entries)
{
    QStringList out;
    for (const AuditLogEntry &entry : entries)
        out.append(entry.details);
    return out;
}

const QRegularExpression kIsoUtc(QStringLiteral("^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\dZ$"));

} // namespace

class TestAuditLog : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void eventTypes_data();
    void eventTypes();
    void entryJson_data();
    void entryJson();

    void logFillsEntryAndPrints();
    void memoryCapButFileKeepsAll();
    void largeFileLoadsNewestAndIsTrimmedOnWrite();
    void missingFileIsSilent();
    void corruptFileIsKeptAside_data();
    void corruptFileIsKeptAside();
    void concurrentLoggingLosesNothing();

    void csvRows_data();
    void csvRows();
    void dateFilter_data();
    void dateFilter();
    void jsonExport();

private:
    QString path() const { return m_dir->filePath(QStringLiteral("Tarnwell/audit_log.json")); }
    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestAuditLog::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
}

void TestAuditLog::cleanup()
{
    m_dir.reset();
}

void TestAuditLog::eventTypes_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("raw");
    QTest::addColumn<QString>("display");
    QTest::addColumn<QString>("symbol");

    const char *rows[][3] = {
        {"APP_LAUNCH", "Application Launched", "app.badge"},
        {"APP_QUIT", "Application Quit", "app.badge"},
        {"MOUNT_ATTEMPT", "Mount Attempted", "arrow.up.circle"},
        {"MOUNT_SUCCESS", "Mount Successful", "arrow.up.circle"},
        {"MOUNT_FAILURE", "Mount Failed", "exclamationmark.triangle"},
        {"UNMOUNT_ATTEMPT", "Unmount Attempted", "arrow.down.circle"},
        {"UNMOUNT_SUCCESS", "Unmount Successful", "arrow.down.circle"},
        {"UNMOUNT_FAILURE", "Unmount Failed", "exclamationmark.triangle"},
        {"CONFIG_IMPORT", "Configuration Imported", "doc.badge.gearshape"},
        {"CONFIG_EXPORT", "Configuration Exported", "doc.badge.gearshape"},
        {"SHARE_ADDED", "Share Added", "plus.circle"},
        {"SHARE_REMOVED", "Share Removed", "minus.circle"},
        {"SHARE_MODIFIED", "Share Modified", "pencil.circle"},
        {"MDM_CONFIG_APPLIED", "MDM Configuration Applied", "building.2"},
        {"RULE_TRIGGERED", "Rule Triggered", "bolt.circle"},
        {"AUTH_FAILURE", "Authentication Failed", "lock.slash"},
        {"NETWORK_CHANGE", "Network Changed", "wifi"},
    };
    QCOMPARE(AuditEventTypes::allCases().size(), qsizetype(std::size(rows)));
    for (int i = 0; i < int(std::size(rows)); ++i)
        QTest::newRow(rows[i][0]) << i << QString::fromLatin1(rows[i][0]) << QString::fromLatin1(rows[i][1])
                                  << QString::fromLatin1(rows[i][2]);
}

void TestAuditLog::eventTypes()
{
    QFETCH(int, index);
    QFETCH(QString, raw);
    QFETCH(QString, display);
    QFETCH(QString, symbol);
    const AuditEventType type = AuditEventTypes::allCases().at(index);
    QCOMPARE(AuditEventTypes::rawValue(type), raw);
    QCOMPARE(AuditEventTypes::displayName(type), display);
    QCOMPARE(AuditEventTypes::symbolName(type), symbol);
    QCOMPARE(AuditEventTypes::fromRawValue(raw), std::optional<AuditEventType>(type));
    QVERIFY(!AuditEventTypes::fromRawValue(raw.toLower()));
}

void TestAuditLog::entryJson_data()
{
    QTest::addColumn<bool>("withOptionals");
    QTest::newRow("all optionals") << true;
    QTest::newRow("no optionals") << false;
}

void TestAuditLog::entryJson()
{
    QFETCH(bool, withOptionals);
    AuditLogEntry entry;
    entry.id = QUuid::createUuid();
    entry.timestamp = QDateTime(QDate(2024, 5, 1), QTime(12, 0, 7), Qt::UTC);
    entry.eventType = AuditEventType::unmountFailure;
    entry.username = QStringLiteral("alice");
    entry.machineName = QStringLiteral("Alice's desk");
    entry.details = QStringLiteral("Volume busy");
    entry.success = false;
    if (withOptionals) {
        entry.shareName = QStringLiteral("media");
        entry.hostname = QStringLiteral("nas.local");
        entry.errorCode = -6600;
    }

    const QJsonObject json = entry.toJson();
    QCOMPARE(json.value(QStringLiteral("timestamp")).toString(), QStringLiteral("2024-05-01T12:00:07Z"));
    QCOMPARE(json.value(QStringLiteral("eventType")).toString(), QStringLiteral("UNMOUNT_FAILURE"));
    // Absent optionals are omitted, not written as null.
    QCOMPARE(json.contains(QStringLiteral("shareName")), withOptionals);
    QCOMPARE(json.contains(QStringLiteral("hostname")), withOptionals);
    QCOMPARE(json.contains(QStringLiteral("errorCode")), withOptionals);

    QString error;
    const auto decoded = AuditLogEntry::fromJson(json, &error);
    QVERIFY2(decoded, qPrintable(error));
    QCOMPARE(*decoded, entry);

    // Each required key is required.
    for (const QString &key : {AuditLogEntry::kKeyId, AuditLogEntry::kKeyTimestamp, AuditLogEntry::kKeyEventType,
                               AuditLogEntry::kKeyUsername, AuditLogEntry::kKeyMachineName,
                               AuditLogEntry::kKeyDetails, AuditLogEntry::kKeySuccess}) {
        QJsonObject broken = json;
        broken.remove(key);
        QVERIFY2(!AuditLogEntry::fromJson(broken), qPrintable(key));
    }
}

void TestAuditLog::logFillsEntryAndPrints()
{
    ConsoleCapture console;
    EnterpriseAuditLog log(path());
    QSignalSpy changed(&log, &EnterpriseAuditLog::entriesChanged);
    log.log(AuditEventType::mountAttempt, QStringLiteral("media"), QStringLiteral("nas.local"),
            QStringLiteral("User initiated mount"), true);
    // The console line is immediate; the in-memory insertion waits for the event loop.
    QCOMPARE(console.matching(QStringLiteral("📋 [AUDIT] ")),
             QStringList{QStringLiteral("📋 [AUDIT] MOUNT_ATTEMPT: User initiated mount")});
    QVERIFY(log.entries().isEmpty());
    QTRY_COMPARE(log.entries().size(), 1);
    QCOMPARE(changed.count(), 1);

    const AuditLogEntry entry = log.entries().first();
    QVERIFY(!entry.id.isNull());
    QCOMPARE(entry.username, EnterpriseAuditLog::currentUserName());
    QVERIFY(!entry.username.isEmpty());
    QVERIFY(!entry.machineName.isEmpty());
    QVERIFY(qAbs(entry.timestamp.secsTo(QDateTime::currentDateTimeUtc())) < 60);
    QCOMPARE(entry.errorCode, std::nullopt);

    log.waitForPendingWrites();
    const QJsonArray file = readFileArray(path());
    QCOMPARE(file.size(), 1);
    QCOMPARE(AuditLogEntry::fromJson(file.at(0).toObject()), std::optional<AuditLogEntry>(entry));
}

void TestAuditLog::memoryCapButFileKeepsAll()
{
    EnterpriseAuditLog log(path());
    for (int n = 1; n <= 501; ++n)
        log.log(AuditEventType::shareModified, std::nullopt, std::nullopt, QString::number(n), true);
    QTRY_COMPARE(log.entries().value(0).details, QStringLiteral("501"));
    QCOMPARE(log.entries().size(), EnterpriseAuditLog::kMaxMemoryEntries);
    QCOMPARE(log.entries().last().details, QStringLiteral("2"));

    log.waitForPendingWrites();
    const QJsonArray file = readFileArray(path());
    QCOMPARE(file.size(), 501);
    QCOMPARE(file.first().toObject().value(QStringLiteral("details")).toString(), QStringLiteral("501"));
    QCOMPARE(file.last().toObject().value(QStringLiteral("details")).toString(), QStringLiteral("1"));
}

void TestAuditLog::largeFileLoadsNewestAndIsTrimmedOnWrite()
{
    QDir().mkpath(QFileInfo(path()).absolutePath());
    const QDateTime newest = QDateTime::currentDateTimeUtc().addDays(-1);
    QJsonArray array;
    for (int n = 0; n < 12000; ++n)
        array.append(handEntry(n, newest.addSecs(-n)));
    writeFile(path(), QJsonDocument(array).toJson());

    ConsoleCapture console;
    EnterpriseAuditLog log(path());
    QCOMPARE(log.entries().size(), 500);
    QCOMPARE(log.entries().first().details, QStringLiteral("0"));
    QCOMPARE(log.entries().last().details, QStringLiteral("499"));
    QCOMPARE(console.taken(), QStringList{QStringLiteral("📋 [AUDIT] Loaded 500 audit log entries")});
    QCOMPARE(readFileArray(path()).size(), 12000); // loading leaves the file alone

    log.log(AuditEventType::appLaunch, std::nullopt, std::nullopt, QStringLiteral("Tarnwell launched"), true);
    log.waitForPendingWrites();
    const QJsonArray file = readFileArray(path());
    QCOMPARE(file.size(), 10000);
    QCOMPARE(file.first().toObject().value(QStringLiteral("details")).toString(), QStringLiteral("Tarnwell launched"));
    QCOMPARE(file.last().toObject().value(QStringLiteral("details")).toString(), QStringLiteral("9998"));
}

void TestAuditLog::missingFileIsSilent()
{
    ConsoleCapture console;
    EnterpriseAuditLog log(path());
    QVERIFY(log.entries().isEmpty());
    QVERIFY(console.taken().isEmpty());
    QVERIFY(QFileInfo(QFileInfo(path()).absolutePath()).isDir()); // the folder is created up front
}

void TestAuditLog::corruptFileIsKeptAside_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("truncated JSON") << QByteArray("[{\"id\": \"AB");
    QTest::newRow("object instead of array") << QByteArray("{\"entries\": []}");
    QTest::newRow("entry missing a key")
        << QJsonDocument(QJsonArray{QJsonObject{{QStringLiteral("details"), QStringLiteral("x")}}}).toJson();
    QTest::newRow("unknown event type")
        << QJsonDocument(QJsonArray{[] {
               QJsonObject o = handEntry(1, QDateTime::currentDateTimeUtc());
               o.insert(QStringLiteral("eventType"), QStringLiteral("TELEPORT"));
               return o;
           }()})
               .toJson();
}

void TestAuditLog::corruptFileIsKeptAside()
{
    QFETCH(QByteArray, content);
    QDir().mkpath(QFileInfo(path()).absolutePath());
    writeFile(path(), content);

    ConsoleCapture console;
    EnterpriseAuditLog log(path());
    QVERIFY(log.entries().isEmpty());
    QCOMPARE(console.matching(QStringLiteral("❌ [AUDIT] Failed to load audit log: ")).size(), 1);

    log.log(AuditEventType::appLaunch, std::nullopt, std::nullopt, QStringLiteral("Tarnwell launched"), true);
    log.waitForPendingWrites();

    // The new file holds only the new entry; the old content survives next to it, announced on the console.
    QCOMPARE(readFileArray(path()).size(), 1);
    const QStringList aside = QDir(QFileInfo(path()).absolutePath())
                                  .entryList({QStringLiteral("audit_log.json.corrupt-*")}, QDir::Files);
    QCOMPARE(aside.size(), 1);
    QFile kept(QFileInfo(path()).absolutePath() + QLatin1Char('/') + aside.first());
    QVERIFY(kept.open(QIODevice::ReadOnly));
    QCOMPARE(kept.readAll(), content);
    QCOMPARE(console.matching(QStringLiteral("⚠️ [AUDIT] Unreadable audit log kept as ")).size(), 1);

    // Once replaced, the file is valid again and nothing more is set aside.
    log.log(AuditEventType::appQuit, std::nullopt, std::nullopt, QStringLiteral("Tarnwell quit"), true);
    log.waitForPendingWrites();
    QCOMPARE(readFileArray(path()).size(), 2);
    QCOMPARE(QDir(QFileInfo(path()).absolutePath()).entryList({QStringLiteral("audit_log.json.corrupt-*")}).size(), 1);
}

void TestAuditLog::concurrentLoggingLosesNothing()
{
    constexpr int kThreads = 8;
    constexpr int kPerThread = 50;
    EnterpriseAuditLog log(path());

    std::vector<std::unique_ptr<QThread>> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back(QThread::create([&log, t] {
            for (int i = 0; i < kPerThread; ++i)
                log.log(AuditEventType::ruleTriggered, QStringLiteral("s%1").arg(t), std::nullopt,
                        QStringLiteral("%1-%2").arg(t).arg(i), true, i);
        }));
        threads.back()->start();
    }
    for (auto &thread : threads)
        QVERIFY(thread->wait(QDeadlineTimer(60000)));
    log.waitForPendingWrites();

    const QJsonArray file = readFileArray(path());
    QCOMPARE(file.size(), kThreads * kPerThread);
    QSet<QString> seen;
    for (const QJsonValue &value : file)
        seen.insert(value.toObject().value(QStringLiteral("details")).toString());
    QCOMPARE(seen.size(), kThreads * kPerThread);

    // Per thread, the file keeps the call order (newest first).
    for (int t = 0; t < kThreads; ++t) {
        int previous = kPerThread;
        for (const QJsonValue &value : file) {
            const QString details = value.toObject().value(QStringLiteral("details")).toString();
            if (!details.startsWith(QString::number(t) + QLatin1Char('-')))
                continue;
            const int i = details.section(QLatin1Char('-'), 1).toInt();
            QVERIFY(i < previous);
            previous = i;
        }
    }
    QTRY_COMPARE(log.entries().size(), kThreads * kPerThread);
}

void TestAuditLog::csvRows_data()
{
    QTest::addColumn<std::optional<QString>>("shareName");
    QTest::addColumn<std::optional<QString>>("hostname");
    QTest::addColumn<QString>("details");
    QTest::addColumn<bool>("success");
    QTest::addColumn<std::optional<int>>("errorCode");
    QTest::addColumn<QString>("expectedTail"); // the row after "<timestamp>,"

    QTest::newRow("plain") << std::optional<QString>(QStringLiteral("media"))
                           << std::optional<QString>(QStringLiteral("nas")) << QStringLiteral("ok") << true
                           << std::optional<int>(2) << QStringLiteral("MOUNT_FAILURE,media,nas,U,M,true,2,\"ok\"");
    QTest::newRow("quote in details doubled")
        << std::optional<QString>(QStringLiteral("media")) << std::optional<QString>() << QStringLiteral("say \"hi\"")
        << false << std::optional<int>() << QStringLiteral("MOUNT_FAILURE,media,,U,M,false,,\"say \"\"hi\"\"\"");
    QTest::newRow("comma in share name shifts columns")
        << std::optional<QString>(QStringLiteral("a,b")) << std::optional<QString>(QStringLiteral("h"))
        << QStringLiteral("x, y") << false << std::optional<int>(-6600)
        << QStringLiteral("MOUNT_FAILURE,a,b,h,U,M,false,-6600,\"x, y\"");
    QTest::newRow("no optionals: empty columns") << std::optional<QString>() << std::optional<QString>() << QString()
                                                 << true << std::optional<int>()
                                                 << QStringLiteral("MOUNT_FAILURE,,,U,M,true,,\"\"");
}

void TestAuditLog::csvRows()
{
    QFETCH(std::optional<QString>, shareName);
    QFETCH(std::optional<QString>, hostname);
    QFETCH(QString, details);
    QFETCH(bool, success);
    QFETCH(std::optional<int>, errorCode);
    QFETCH(QString, expectedTail);

    // User and machine come from the file, so the expected row does not depend on this computer.
    AuditLogEntry entry;
    entry.id = QUuid::createUuid();
    entry.timestamp = QDateTime(QDate(2024, 2, 29), QTime(23, 59, 59), Qt::UTC);
    entry.eventType = AuditEventType::mountFailure;
    entry.shareName = shareName;
    entry.hostname = hostname;
    entry.username = QStringLiteral("U");
    entry.machineName = QStringLiteral("M");
    entry.details = details;
    entry.success = success;
    entry.errorCode = errorCode;
    QDir().mkpath(QFileInfo(path()).absolutePath());
    writeFile(path(), AuditLogFile::encode({entry}));

    EnterpriseAuditLog log(path());
    const QString csv = log.exportCSV(std::nullopt, std::nullopt);
    QCOMPARE(csv, EnterpriseAuditLog::kCsvHeader + QStringLiteral("2024-02-29T23:59:59Z,") + expectedTail
                      + QLatin1Char('\n'));
    QCOMPARE(EnterpriseAuditLog::kCsvHeader,
             QStringLiteral("Timestamp,Event Type,Share Name,Hostname,Username,Machine,Success,Error Code,Details\n"));
}

void TestAuditLog::dateFilter_data()
{
    QTest::addColumn<int>("startOffset"); // seconds from the middle entry; INT_MIN = none
    QTest::addColumn<int>("endOffset");
    QTest::addColumn<QString>("expected"); // details of the kept entries, newest first

    // Entries "new" (+3600 s), "mid" (0), "old" (-3600 s).
    QTest::newRow("all time") << INT_MIN << INT_MIN << QStringLiteral("new,mid,old");
    QTest::newRow("end only, inclusive") << INT_MIN << 0 << QStringLiteral("mid,old");
    QTest::newRow("end only, one second before") << INT_MIN << -1 << QStringLiteral("old");
    QTest::newRow("start only, inclusive") << 0 << INT_MIN << QStringLiteral("new,mid");
    QTest::newRow("both, same instant") << 0 << 0 << QStringLiteral("mid");
    QTest::newRow("empty range") << 1 << 3599 << QString();
}

void TestAuditLog::dateFilter()
{
    QFETCH(int, startOffset);
    QFETCH(int, endOffset);
    QFETCH(QString, expected);

    const QDateTime mid = QDateTime(QDate(2024, 6, 1), QTime(10, 0, 0), Qt::UTC);
    QJsonArray array;
    QJsonObject newer = handEntry(0, mid.addSecs(3600));
    newer.insert(QStringLiteral("details"), QStringLiteral("new"));
    QJsonObject middle = handEntry(0, mid);
    middle.insert(QStringLiteral("details"), QStringLiteral("mid"));
    QJsonObject older = handEntry(0, mid.addSecs(-3600));
    older.insert(QStringLiteral("details"), QStringLiteral("old"));
    array << newer << middle << older;
    QDir().mkpath(QFileInfo(path()).absolutePath());
    writeFile(path(), QJsonDocument(array).toJson());

    EnterpriseAuditLog log(path());
    const auto bound = [&](int offset) {
        return offset == INT_MIN ? std::optional<QDateTime>() : std::optional<QDateTime>(mid.addSecs(offset));
    };
    QCOMPARE(detailsOf(log.filtered(bound(startOffset), bound(endOffset))).join(QLatin1Char(',')), expected);

    // Both exports apply the same filter.
    const QStringList csvLines = log.exportCSV(bound(startOffset), bound(endOffset)).split(QLatin1Char('\n'),
                                                                                          Qt::SkipEmptyParts);
    QCOMPARE(csvLines.size() - 1, expected.isEmpty() ? 0 : expected.count(QLatin1Char(',')) + 1);
    const auto json = log.exportJSON(bound(startOffset), bound(endOffset));
    QVERIFY(json);
    QCOMPARE(QJsonDocument::fromJson(*json).array().size(), csvLines.size() - 1);
}

void TestAuditLog::jsonExport()
{
    EnterpriseAuditLog log(path());
    log.log(AuditEventType::authFailure, QStringLiteral("media"), std::nullopt, QStringLiteral("bad password"), false,
            13);
    log.log(AuditEventType::appQuit, std::nullopt, std::nullopt, QStringLiteral("Tarnwell quit"), true);
    QTRY_COMPARE(log.entries().size(), 2);

    const auto bytes = log.exportJSON(std::nullopt, std::nullopt);
    QVERIFY(bytes);
    QVERIFY(bytes->contains('\n')); // pretty-printed
    const QJsonArray array = QJsonDocument::fromJson(*bytes).array();
    QCOMPARE(array.size(), 2);

    const QJsonObject quit = array.at(0).toObject();
    QCOMPARE(quit.value(QStringLiteral("eventType")).toString(), QStringLiteral("APP_QUIT"));
    QVERIFY(!quit.contains(QStringLiteral("shareName")));
    QVERIFY(!quit.contains(QStringLiteral("errorCode")));
    QVERIFY(kIsoUtc.match(quit.value(QStringLiteral("timestamp")).toString()).hasMatch());

    const QJsonObject auth = array.at(1).toObject();
    QCOMPARE(auth.value(QStringLiteral("errorCode")).toInt(), 13);
    QCOMPARE(auth.value(QStringLiteral("success")).toBool(true), false);

    // Keys appear in sorted order in the text.
    const QString text = QString::fromUtf8(*bytes);
    const qsizetype firstObjectEnd = text.indexOf(QLatin1Char('}'));
    QStringList keys;
    const QRegularExpression keyPattern(QStringLiteral("\"(\\w+)\":"));
    for (auto it = keyPattern.globalMatch(text.left(firstObjectEnd)); it.hasNext();)
        keys.append(it.next().captured(1));
    QStringList sorted = keys;
    sorted.sort();
    QCOMPARE(keys, sorted);
    QCOMPARE(keys.size(), 7);
}

QTEST_GUILESS_MAIN(TestAuditLog)
#include "tst_auditlog.moc"
