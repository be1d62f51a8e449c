// EnterpriseAuditLog: event kinds, memory and file caps, loading, exports, the serial writer, corrupt files.
#include "UnitTestHelpers.h"
#include "logging/AuditLogFile.h"
#include "logging/EnterpriseAuditLog.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSet>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

namespace {

// The file as another program would read it: plain JSON, no help from the code under test.
QJsonArray readFileArray(const QString &path)
{
    return QJsonDocument::fromJson(readFile(path)).array();
}

QString detailsAt(const QJsonArray &array, qsizetype i)
{
    return array.at(i).toObject().value(QStringLiteral("details")).toString();
}

// An entry written by hand, as a file left by an earlier run would hold it.
QJsonObject handEntry(const QString &details, const QDateTime &timestamp)
{
    QJsonObject entry = json(R"({"eventType":"MOUNT_SUCCESS","shareName":"share","username":"alice",)"
                             R"("machineName":"desk","success":true})");
    entry.insert(QStringLiteral("id"), QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper());
    entry.insert(QStringLiteral("timestamp"), timestamp.toUTC().toString(Qt::ISODate));
    entry.insert(QStringLiteral("details"), details);
    return entry;
}

} // namespace

class TestAuditLog : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QVERIFY(m_dir.emplace().isValid()); }

    void eventTypes()
    {
        // Raw values are persisted and exported, in this order; anything else is a decoding error.
        const QStringList raws = QStringLiteral(
            "APP_LAUNCH APP_QUIT MOUNT_ATTEMPT MOUNT_SUCCESS MOUNT_FAILURE UNMOUNT_ATTEMPT UNMOUNT_SUCCESS "
            "UNMOUNT_FAILURE CONFIG_IMPORT CONFIG_EXPORT SHARE_ADDED SHARE_REMOVED SHARE_MODIFIED MDM_CONFIG_APPLIED "
            "RULE_TRIGGERED AUTH_FAILURE NETWORK_CHANGE").split(u' ');
        QCOMPARE(AuditEventTypes::allCases().size(), raws.size());
        for (qsizetype i = 0; i < raws.size(); ++i) {
            const AuditEventType type = AuditEventTypes::allCases().at(i);
            QCOMPARE(int(type), int(i));
            QCOMPARE(AuditEventTypes::rawValue(type), raws.at(i));
            QCOMPARE(AuditEventTypes::fromRawValue(raws.at(i)), std::optional<AuditEventType>(type));
            QVERIFY(!AuditEventTypes::fromRawValue(raws.at(i).toLower()));
        }
    }

    void logFillsEntryAndPrints()
    {
        ConsoleCapture console;
        EnterpriseAuditLog log(path());
        // No file yet: silent, empty, and the folder is created up front.
        QVERIFY(console.lines.isEmpty());
        QVERIFY(QFileInfo(folder()).isDir());

        QSignalSpy changed(&log, &EnterpriseAuditLog::entriesChanged);
        log.log(AuditEventType::mountAttempt, QStringLiteral("media"), QStringLiteral("nas.local"),
                QStringLiteral("User initiated mount"), false, 13);
        // The console line is immediate; the in-memory insertion waits for the event loop.
        QCOMPARE(console.startingWith(QStringLiteral("📋 [AUDIT] ")),
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
    void capsInMemoryAndOnDisk()
    {
        const QDateTime newest = QDateTime::currentDateTimeUtc().addDays(-1);
        QJsonArray array;
        for (int n = 0; n < 12000; ++n)
            array.append(handEntry(QString::number(n), newest.addSecs(-n)));
        QVERIFY(writeFile(path(), QJsonDocument(array).toJson()));

        ConsoleCapture console;
        EnterpriseAuditLog log(path());
        QCOMPARE(log.entries().size(), 500);
        QCOMPARE(log.entries().first().details, QStringLiteral("0"));
        QCOMPARE(log.entries().last().details, QStringLiteral("499"));
        QCOMPARE(console.lines, QStringList{QStringLiteral("📋 [AUDIT] Loaded 500 audit log entries")});
        QCOMPARE(readFileArray(path()).size(), 12000); // loading leaves the file alone

        // A new entry pushes the oldest out of memory; the file keeps up to 10,000.
        log.log(AuditEventType::appLaunch, std::nullopt, std::nullopt, QStringLiteral("Tarnwell launched"), true);
        QTRY_COMPARE(log.entries().first().details, QStringLiteral("Tarnwell launched"));
        QCOMPARE(log.entries().size(), 500);
        QCOMPARE(log.entries().last().details, QStringLiteral("498"));
        log.waitForPendingWrites();
        const QJsonArray file = readFileArray(path());
        QCOMPARE(file.size(), 10000);
        QCOMPARE(detailsAt(file, 0), QStringLiteral("Tarnwell launched"));
        QCOMPARE(detailsAt(file, 9999), QStringLiteral("9998"));
    }
    void unreadableFileIsKeptAside_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("loadLine");  // printed once on loading
        QTest::addColumn<QString>("asideLine"); // printed once when the next write sets the old file aside
        QTest::addColumn<QStringList>("kept");  // details in the file after logging "new", newest first

        const QString failed = QStringLiteral("❌ [AUDIT] Failed to load audit log: ");
        const QString keptAs = QStringLiteral("⚠️ [AUDIT] Unreadable audit log kept as ");
        QTest::newRow("truncated JSON") << QByteArray("[{\"id\": \"AB") << failed << keptAs << strs({"new"});
        QTest::newRow("object instead of array") << QByteArray("{\"entries\": []}") << failed << keptAs << strs({"new"});

        // A bad entry between two readable ones loses only itself.
        const QDateTime t = QDateTime::currentDateTimeUtc().addSecs(-60);
        const auto around = [t](const QJsonValue &bad) {
            return QJsonDocument(QJsonArray{handEntry(QStringLiteral("newer"), t), bad, handEntry(QStringLiteral("older"), t)})
                .toJson();
        };
        QJsonObject unknownType = handEntry(QStringLiteral("bad"), t);
        unknownType.insert(QStringLiteral("eventType"), QStringLiteral("TELEPORT"));
        QJsonObject mistyped = handEntry(QStringLiteral("bad"), t);
        mistyped.insert(QStringLiteral("success"), QStringLiteral("yes"));
        const QString skipped = QStringLiteral("⚠️ [AUDIT] 1 unreadable audit entries left out: entry 1: ");
        const QString leftOut = QStringLiteral("⚠️ [AUDIT] Unreadable audit entries left out of the log");
        const QStringList three = strs({"new", "newer", "older"});
        QTest::newRow("entry missing a key") << around(json(R"({"details":"x"})")) << skipped << leftOut << three;
        QTest::newRow("unknown event type") << around(unknownType) << skipped << leftOut << three;
        QTest::newRow("mistyped field") << around(mistyped) << skipped << leftOut << three;
        QTest::newRow("not an object") << around(42) << skipped << leftOut << three;
    }
    void unreadableFileIsKeptAside()
    {
        QFETCH(QByteArray, content);
        QFETCH(QStringList, kept);
        QVERIFY(writeFile(path(), content));

        ConsoleCapture console;
        EnterpriseAuditLog log(path());
        QCOMPARE(log.entries().size(), kept.size() - 1);
        QFETCH(QString, loadLine);
        QCOMPARE(console.startingWith(loadLine).size(), 1);

        // The next write carries the readable entries over; the file as it was is kept aside, announced.
        log.log(AuditEventType::appLaunch, std::nullopt, std::nullopt, QStringLiteral("new"), true);
        log.waitForPendingWrites();
        QStringList details;
        for (const QJsonValue &entry : readFileArray(path()))
            details << entry.toObject().value(QStringLiteral("details")).toString();
        QCOMPARE(details, kept);
        const auto asideFiles = [this] {
            return QDir(folder()).entryList({QStringLiteral("audit_log.json.corrupt-*")}, QDir::Files);
        };
        QCOMPARE(asideFiles().size(), 1);
        QCOMPARE(readFile(folder() + u'/' + asideFiles().first()), content);
        QFETCH(QString, asideLine);
        QCOMPARE(console.startingWith(asideLine).size(), 1);

        // Once replaced, the file is valid again and nothing more is set aside.
        log.log(AuditEventType::appQuit, std::nullopt, std::nullopt, QStringLiteral("Tarnwell quit"), true);
        log.waitForPendingWrites();
        QCOMPARE(readFileArray(path()).size(), kept.size() + 1);
        QCOMPARE(asideFiles().size(), 1);
    }
    void concurrentLoggingLosesNothing()
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
    void failedWriteKeepsEntriesAndRetries()
    {
        ConsoleCapture console;
        EnterpriseAuditLog log(path());
        log.setRetryInterval(50);
        log.log(AuditEventType::appLaunch, std::nullopt, std::nullopt, QStringLiteral("first"), true);
        log.waitForPendingWrites();
        const QByteArray before = readFile(path());
        {
            FileSizeLimit full(before.size() + 16);
            for (int i = 0; i < 50; ++i)
                log.log(AuditEventType::shareAdded, QStringLiteral("s%1").arg(i), std::nullopt, QStringLiteral("burst"), true);
            log.waitForPendingWrites();
            QTest::qWait(200); // retries fail too, and are reported once
            QCOMPARE(readFile(path()), before);
            QCOMPARE(log.pendingEntryCount(), 50);
            QCOMPARE(console.startingWith(QStringLiteral("❌ [AUDIT] Failed to save audit log: ")).size(), 1);
        }
        QTRY_COMPARE(log.pendingEntryCount(), 0);
        const QJsonArray file = readFileArray(path());
        QCOMPARE(file.size(), 51);
        QCOMPARE(detailsAt(file, 50), QStringLiteral("first"));
        QCOMPARE(file.at(0).toObject().value(QStringLiteral("shareName")).toString(), QStringLiteral("s49"));
        QCOMPARE(console.startingWith(QStringLiteral("✅ [AUDIT] Audit log saved again")).size(), 1);
    }

    void entryFormats_data()
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
    void entryFormats()
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

        QVERIFY(writeFile(path(), AuditLogFile::encode({entry})));
        EnterpriseAuditLog log(path());
        QCOMPARE(log.exportCSV(std::nullopt, std::nullopt),
                 QStringLiteral("Timestamp,Event Type,Share Name,Hostname,Username,Machine,Success,Error Code,Details\n"
                                "2024-02-29T23:59:59Z,")
                     + expectedTail + u'\n');
    }
    void dateFilter_data()
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
    void dateFilter()
    {
        QFETCH(int, startOffset);
        QFETCH(int, endOffset);

        const QDateTime mid = QDateTime(QDate(2024, 6, 1), QTime(10, 0, 0), Qt::UTC);
        QVERIFY(writeFile(path(), QJsonDocument(QJsonArray{handEntry(QStringLiteral("new"), mid.addSecs(3600)),
                                                           handEntry(QStringLiteral("mid"), mid),
                                                           handEntry(QStringLiteral("old"), mid.addSecs(-3600))})
                                      .toJson()));

        EnterpriseAuditLog log(path());
        const auto bound = [&](int offset) {
            return offset == INT_MIN ? std::optional<QDateTime>() : std::optional<QDateTime>(mid.addSecs(offset));
        };
        const auto start = bound(startOffset), end = bound(endOffset);
        QStringList kept;
        for (const AuditLogEntry &entry : log.filtered(start, end))
            kept.append(entry.details);
        QTEST(kept.join(u','), "expected");

        // Both exports apply the same filter.
        QCOMPARE(log.exportCSV(start, end).split(u'\n', Qt::SkipEmptyParts).size() - 1, kept.size());
        const auto json = log.exportJSON(start, end);
        QVERIFY(json);
        QCOMPARE(QJsonDocument::fromJson(*json).array().size(), kept.size());
    }

private:
    QString folder() const { return m_dir->filePath(QStringLiteral("Tarnwell")); }
    QString path() const { return folder() + QStringLiteral("/audit_log.json"); }
    std::optional<QTemporaryDir> m_dir;
};

QTEST_GUILESS_MAIN(TestAuditLog)
#include "tst_auditlog.moc"
