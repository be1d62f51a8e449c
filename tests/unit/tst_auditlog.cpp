// EnterpriseAuditLog: event kinds, memory and file caps, loading, exports, the serial writer, corrupt files.
#include "base/Console.h"
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

// Lines come from the caller's thread and from the log's writer, hence the lock.
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
    QStringList matching(const QString &prefix)
    {
        QMutexLocker lock(&mutex);
        return prefix.isEmpty() ? lines : lines.filter(QRegularExpression(u'^' + QRegularExpression::escape(prefix)));
    }
    QMutex mutex;
    QStringList lines;
};

// The file as another program would read it: plain JSON, no help from the code under test.
QJsonArray readFileArray(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll()).array() : QJsonArray();
}

QString detailsAt(const QJsonArray &array, qsizetype i)
{
    return array.at(i).toObject().value(QStringLiteral("details")).toString();
}

// An entry written by hand, as a file left by an earlier run would hold it.
QJsonObject handEntry(const QString &details, const QDateTime &timestamp)
{
    return QJsonObject{
        {QStringLiteral("id"), QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper()},
        {QStringLiteral("timestamp"), timestamp.toUTC().toString(Qt::ISODate)},
        {QStringLiteral("eventType"), QStringLiteral("MOUNT_SUCCESS")},
        {QStringLiteral("shareName"), QStringLiteral("share")},
        {QStringLiteral("username"), QStringLiteral("alice")},
        {QStringLiteral("machineName"), QStringLiteral("desk")},
        {QStringLiteral("details"), details},
        {QStringLiteral("success"), true},
    };
}

} // namespace

class TestAuditLog : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QVERIFY(m_dir.emplace().isValid()); }

    void eventTypes_data();
    void eventTypes();

    void logFillsEntryAndPrints();
    void memoryCapButFileKeepsAll();
    void largeFileLoadsNewestAndIsTrimmedOnWrite();
    void corruptFileIsKeptAside_data();
    void corruptFileIsKeptAside();
    void concurrentLoggingLosesNothing();

    void entryFormats_data();
    void entryFormats();
    void dateFilter_data();
    void dateFilter();

private:
    QString folder() const { return m_dir->filePath(QStringLiteral("Tarnwell")); }
    QString path() const { return folder() + QStringLiteral("/audit_log.json"); }
    void writeFile(const QByteArray &bytes)
    {
        QDir().mkpath(folder());
        QFile file(path());
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(bytes), bytes.size());
    }
    std::optional<QTemporaryDir> m_dir;
};

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
    const AuditEventType type = AuditEventTypes::allCases().at(index);
    QCOMPARE(AuditEventTypes::rawValue(type), raw);
    QTEST(AuditEventTypes::displayName(type), "display");
    QTEST(AuditEventTypes::symbolName(type), "symbol");
    QCOMPARE(AuditEventTypes::fromRawValue(raw), std::optional<AuditEventType>(type));
    QVERIFY(!AuditEventTypes::fromRawValue(raw.toLower()));
}

void TestAuditLog::logFillsEntryAndPrints()
{
    ConsoleCapture console;
    EnterpriseAuditLog log(path());
    // No file yet: silent, empty, and the folder is created up front.
    QVERIFY(console.matching({}).isEmpty());
    QVERIFY(QFileInfo(folder()).isDir());

    QSignalSpy changed(&log, &EnterpriseAuditLog::entriesChanged);
    log.log(AuditEventType::mountAttempt, QStringLiteral("media"), QStringLiteral("nas.local"),
            QStringLiteral("User initiated mount"), false, 13);
    // The console line is immediate; the in-memory insertion waits for the event loop.
    QCOMPARE(console.matching(QStringLiteral("📋 [AUDIT] ")),
             QStringList{QStringLiteral("📋 [AUDIT] MOUNT_ATTEMPT: User initiated mount")});
    QVERIFY(log.entries().isEmpty());
    QTRY_COMPARE(log.entries().size(), 1);
    QCOMPARE(changed.count(), 1);

    const AuditLogEntry entry = log.entries().first();
    QVERIFY(!entry.id.isNull());
    QCOMPARE(entry.username, EnterpriseAuditLog::currentUserName());
    QVERIFY(!entry.username.isEmpty() && !entry.machineName.isEmpty());
    QVERIFY(qAbs(entry.timestamp.secsTo(QDateTime::currentDateTimeUtc())) < 60);
    QCOMPARE(entry.errorCode, 13);

    log.waitForPendingWrites();
    const QJsonArray file = readFileArray(path());
    QCOMPARE(file.size(), 1);
    QCOMPARE(AuditLogEntry::fromJson(file.at(0).toObject()), std::optional<AuditLogEntry>(entry));

    // The JSON export is pretty-printed, with whole-second UTC times and keys in sorted order.
    const auto bytes = log.exportJSON(std::nullopt, std::nullopt);
    QVERIFY(bytes && bytes->contains('\n'));
    const QJsonObject exported = QJsonDocument::fromJson(*bytes).array().at(0).toObject();
    QVERIFY(QRegularExpression(QStringLiteral("^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\dZ$"))
                .match(exported.value(QStringLiteral("timestamp")).toString())
                .hasMatch());
    QCOMPARE(AuditLogEntry::fromJson(exported), std::optional<AuditLogEntry>(entry));
    QStringList keys;
    const QRegularExpression keyPattern(QStringLiteral("\"(\\w+)\":"));
    for (auto it = keyPattern.globalMatch(QString::fromUtf8(*bytes)); it.hasNext();)
        keys.append(it.next().captured(1));
    QCOMPARE(keys.size(), 10);
    QVERIFY2(std::is_sorted(keys.cbegin(), keys.cend()), qPrintable(keys.join(u' ')));
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
    QCOMPARE(detailsAt(file, 0), QStringLiteral("501"));
    QCOMPARE(detailsAt(file, 500), QStringLiteral("1"));
}

void TestAuditLog::largeFileLoadsNewestAndIsTrimmedOnWrite()
{
    const QDateTime newest = QDateTime::currentDateTimeUtc().addDays(-1);
    QJsonArray array;
    for (int n = 0; n < 12000; ++n)
        array.append(handEntry(QString::number(n), newest.addSecs(-n)));
    writeFile(QJsonDocument(array).toJson());

    ConsoleCapture console;
    EnterpriseAuditLog log(path());
    QCOMPARE(log.entries().size(), 500);
    QCOMPARE(log.entries().first().details, QStringLiteral("0"));
    QCOMPARE(log.entries().last().details, QStringLiteral("499"));
    QCOMPARE(console.matching({}), QStringList{QStringLiteral("📋 [AUDIT] Loaded 500 audit log entries")});
    QCOMPARE(readFileArray(path()).size(), 12000); // loading leaves the file alone

    log.log(AuditEventType::appLaunch, std::nullopt, std::nullopt, QStringLiteral("Tarnwell launched"), true);
    log.waitForPendingWrites();
    const QJsonArray file = readFileArray(path());
    QCOMPARE(file.size(), 10000);
    QCOMPARE(detailsAt(file, 0), QStringLiteral("Tarnwell launched"));
    QCOMPARE(detailsAt(file, 9999), QStringLiteral("9998"));
}

void TestAuditLog::corruptFileIsKeptAside_data()
{
    QTest::addColumn<QByteArray>("content");
    QJsonObject unknownType = handEntry(QStringLiteral("1"), QDateTime::currentDateTimeUtc());
    unknownType.insert(QStringLiteral("eventType"), QStringLiteral("TELEPORT"));

    QTest::newRow("truncated JSON") << QByteArray("[{\"id\": \"AB");
    QTest::newRow("object instead of array") << QByteArray("{\"entries\": []}");
    QTest::newRow("entry missing a key")
        << QJsonDocument(QJsonArray{QJsonObject{{QStringLiteral("details"), QStringLiteral("x")}}}).toJson();
    QTest::newRow("unknown event type") << QJsonDocument(QJsonArray{unknownType}).toJson();
}

void TestAuditLog::corruptFileIsKeptAside()
{
    QFETCH(QByteArray, content);
    writeFile(content);

    ConsoleCapture console;
    EnterpriseAuditLog log(path());
    QVERIFY(log.entries().isEmpty());
    QCOMPARE(console.matching(QStringLiteral("❌ [AUDIT] Failed to load audit log: ")).size(), 1);

    log.log(AuditEventType::appLaunch, std::nullopt, std::nullopt, QStringLiteral("Tarnwell launched"), true);
    log.waitForPendingWrites();

    // The new file holds only the new entry; the old content survives next to it, announced on the console.
    QCOMPARE(readFileArray(path()).size(), 1);
    const auto asideFiles = [this] {
        return QDir(folder()).entryList({QStringLiteral("audit_log.json.corrupt-*")}, QDir::Files);
    };
    QCOMPARE(asideFiles().size(), 1);
    QFile kept(folder() + u'/' + asideFiles().first());
    QVERIFY(kept.open(QIODevice::ReadOnly));
    QCOMPARE(kept.readAll(), content);
    QCOMPARE(console.matching(QStringLiteral("⚠️ [AUDIT] Unreadable audit log kept as ")).size(), 1);

    // Once replaced, the file is valid again and nothing more is set aside.
    log.log(AuditEventType::appQuit, std::nullopt, std::nullopt, QStringLiteral("Tarnwell quit"), true);
    log.waitForPendingWrites();
    QCOMPARE(readFileArray(path()).size(), 2);
    QCOMPARE(asideFiles().size(), 1);
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

    // Every entry once, and per thread in call order (the file is newest first).
    const QJsonArray file = readFileArray(path());
    QCOMPARE(file.size(), kThreads * kPerThread);
    QSet<QString> seen;
    QList<int> previous(kThreads, kPerThread);
    for (qsizetype n = 0; n < file.size(); ++n) {
        const QString details = detailsAt(file, n);
        seen.insert(details);
        const int t = details.section(u'-', 0, 0).toInt();
        const int i = details.section(u'-', 1).toInt();
        QVERIFY2(i < previous[t], qPrintable(details));
        previous[t] = i;
    }
    QCOMPARE(seen.size(), kThreads * kPerThread);
    QTRY_COMPARE(log.entries().size(), kThreads * kPerThread);
}

void TestAuditLog::entryFormats_data()
{
    QTest::addColumn<std::optional<QString>>("shareName");
    QTest::addColumn<std::optional<QString>>("hostname");
    QTest::addColumn<QString>("details");
    QTest::addColumn<bool>("success");
    QTest::addColumn<std::optional<int>>("errorCode");
    QTest::addColumn<QString>("expectedTail"); // the CSV row after "<timestamp>,"

    using S = std::optional<QString>;
    using I = std::optional<int>;
    QTest::newRow("quote in details doubled")
        << S(QStringLiteral("media")) << S() << QStringLiteral("say \"hi\"") << false << I()
        << QStringLiteral("MOUNT_FAILURE,media,,U,M,false,,\"say \"\"hi\"\"\"");
    QTest::newRow("comma in share name shifts columns")
        << S(QStringLiteral("a,b")) << S(QStringLiteral("h")) << QStringLiteral("x, y") << false << I(-6600)
        << QStringLiteral("MOUNT_FAILURE,a,b,h,U,M,false,-6600,\"x, y\"");
    QTest::newRow("no optionals: empty columns")
        << S() << S() << QString() << true << I() << QStringLiteral("MOUNT_FAILURE,,,U,M,true,,\"\"");
}

// One entry through its JSON form and through the CSV export.
void TestAuditLog::entryFormats()
{
    QFETCH(std::optional<QString>, shareName);
    QFETCH(std::optional<QString>, hostname);
    QFETCH(QString, details);
    QFETCH(bool, success);
    QFETCH(std::optional<int>, errorCode);
    QFETCH(QString, expectedTail);

    // User and machine come from the file, so the expected row does not depend on this computer.
    const AuditLogEntry entry{QUuid::createUuid(), QDateTime(QDate(2024, 2, 29), QTime(23, 59, 59), Qt::UTC),
                              AuditEventType::mountFailure, shareName, hostname, QStringLiteral("U"),
                              QStringLiteral("M"), details, success, errorCode};

    const QJsonObject json = entry.toJson();
    // Absent optionals are omitted, not written as null.
    QCOMPARE(json.contains(AuditLogEntry::kKeyShareName), shareName.has_value());
    QCOMPARE(json.contains(AuditLogEntry::kKeyHostname), hostname.has_value());
    QCOMPARE(json.contains(AuditLogEntry::kKeyErrorCode), errorCode.has_value());
    QString error;
    QCOMPARE(AuditLogEntry::fromJson(json, &error), std::optional<AuditLogEntry>(entry));
    QVERIFY(error.isEmpty());
    for (const QString &key : {AuditLogEntry::kKeyId, AuditLogEntry::kKeyTimestamp, AuditLogEntry::kKeyEventType,
                               AuditLogEntry::kKeyUsername, AuditLogEntry::kKeyMachineName,
                               AuditLogEntry::kKeyDetails, AuditLogEntry::kKeySuccess}) {
        QJsonObject broken = json;
        broken.remove(key);
        QVERIFY2(!AuditLogEntry::fromJson(broken), qPrintable(key)); // each required key is required
    }

    writeFile(AuditLogFile::encode({entry}));
    EnterpriseAuditLog log(path());
    QCOMPARE(log.exportCSV(std::nullopt, std::nullopt),
             QStringLiteral("Timestamp,Event Type,Share Name,Hostname,Username,Machine,Success,Error Code,Details\n"
                            "2024-02-29T23:59:59Z,")
                 + expectedTail + u'\n');
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
    writeFile(QJsonDocument(QJsonArray{handEntry(QStringLiteral("new"), mid.addSecs(3600)),
                                       handEntry(QStringLiteral("mid"), mid),
                                       handEntry(QStringLiteral("old"), mid.addSecs(-3600))})
                  .toJson());

    EnterpriseAuditLog log(path());
    const auto bound = [&](int offset) {
        return offset == INT_MIN ? std::optional<QDateTime>() : std::optional<QDateTime>(mid.addSecs(offset));
    };
    const auto start = bound(startOffset), end = bound(endOffset);
    QStringList kept;
    for (const AuditLogEntry &entry : log.filtered(start, end))
        kept.append(entry.details);
    QCOMPARE(kept.join(u','), expected);

    // Both exports apply the same filter.
    QCOMPARE(log.exportCSV(start, end).split(u'\n', Qt::SkipEmptyParts).size() - 1, kept.size());
    const auto json = log.exportJSON(start, end);
    QVERIFY(json);
    QCOMPARE(QJsonDocument::fromJson(*json).array().size(), kept.size());
}

QTEST_GUILESS_MAIN(TestAuditLog)
#include "tst_auditlog.moc"
