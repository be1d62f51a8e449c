// The credential store on the real Secret Service (gnome-keyring of the test stack): save/load/replace,
// an item of another tool, calls from worker threads, and the time bound when no service answers
// (checked in a child process whose session bus is a socket that never speaks).
#include "unit/UnitTestHelpers.h"

#include "core/CredentialStore.h"
#include "core/VolumeRecord.h"
#include "platform/linux/LibsecretStore.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QLocalServer>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QUuid>

#include <libsecret/secret.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

namespace {

const char *const kChildModeVariable = "TW_KEYRING_CHILD";
const QString kChildPassword = QStringLiteral("child-password-never-printed");

QString uniqueAccount(const char *what)
{
    return QStringLiteral("test_%1_%2").arg(QLatin1String(what), QUuid::createUuid().toString(QUuid::Id128));
}

// Child mode: one save and one load against whatever bus the environment names; prints the outcome.
int runChild()
{
    LibsecretStore secrets(std::chrono::milliseconds(1500));
    CredentialStore store(&secrets);
    QElapsedTimer timer;
    timer.start();
    const bool saved = store.save(kChildPassword, QStringLiteral("volume_record_child"));
    const auto loaded = store.load(QStringLiteral("volume_record_child"));
    std::printf("saved=%d loaded=%d ms=%lld\n", int(saved), int(loaded.has_value()), qint64(timer.elapsed()));
    std::fflush(stdout);
    std::_Exit(0); // a libsecret call abandoned after its time limit may still hold a thread
}

} // namespace

class TestKeyring : public QObject
{
    Q_OBJECT

private:
    ConsoleCapture m_console; // lines may come from worker threads
    LibsecretStore m_secrets;
    CredentialStore m_store{&m_secrets};

    QStringList lines() { return m_console.startingWith(QString()); } // a copy, taken under its lock
    int count(const QString &account) { return m_secrets.itemCount(CredentialStore::kServiceName, account); }

    QString runChildOn(const QString &busAddress, QString *errors)
    {
        QProcess child;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QString::fromLatin1(kChildModeVariable), QStringLiteral("1"));
        env.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), busAddress);
        child.setProcessEnvironment(env);
        child.start(QCoreApplication::applicationFilePath(), {});
        if (!child.waitForFinished(20000)) {
            child.kill();
            child.waitForFinished(2000);
            return QStringLiteral("did not finish");
        }
        *errors = QString::fromUtf8(child.readAllStandardError());
        return QString::fromUtf8(child.readAllStandardOutput()).trimmed();
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(qEnvironmentVariableIsSet("DBUS_SESSION_BUS_ADDRESS"), "run under tests/stack/with-stack.sh");
    }
    void cleanupTestCase()
    {
        // Nothing the store printed may carry a password used here.
        for (const QString &line : lines())
            QVERIFY2(!line.contains(QLatin1String("pw-")), qPrintable(line));
    }

    void saveLoadReplace()
    {
        const QString account = uniqueAccount("replace");
        QCOMPARE(m_store.load(account), std::nullopt);
        QVERIFY(m_store.save(QStringLiteral("pw-first"), account));
        QCOMPARE(m_store.load(account), std::optional<QString>(QStringLiteral("pw-first")));
        QVERIFY(m_store.save(QStringLiteral("pw-second ünïcødé 🔑"), account));
        QCOMPARE(m_store.load(account), std::optional<QString>(QStringLiteral("pw-second ünïcødé 🔑")));
        QCOMPARE(count(account), 1);
        QVERIFY(lines().isEmpty()); // a missing item is not a failure worth a line
    }

    void foreignItemIsReplaced()
    {
        // An item written by another tool with the same two attributes but another schema name.
        const QString account = uniqueAccount("foreign");
        static const SecretSchema other = {
            "org.example.Other", SECRET_SCHEMA_NONE,
            {{"service", SECRET_SCHEMA_ATTRIBUTE_STRING}, {"account", SECRET_SCHEMA_ATTRIBUTE_STRING}, {nullptr, SECRET_SCHEMA_ATTRIBUTE_STRING}}};
        GError *error = nullptr;
        const QByteArray service = CredentialStore::kServiceName.toUtf8();
        const QByteArray acct = account.toUtf8();
        QVERIFY(secret_password_store_sync(&other, SECRET_COLLECTION_DEFAULT, "other tool", "pw-foreign", nullptr,
                                           &error, "service", service.constData(), "account", acct.constData(),
                                           nullptr));
        QVERIFY(!error);
        QCOMPARE(count(account), 1);
        QVERIFY(m_store.save(QStringLiteral("pw-ours"), account));
        QCOMPARE(count(account), 1);
        QCOMPARE(m_store.load(account), std::optional<QString>(QStringLiteral("pw-ours")));
    }

    void fromWorkerThreads()
    {
        constexpr int kWorkers = 4;
        std::atomic<int> good{0};
        std::vector<std::thread> workers;
        for (int i = 0; i < kWorkers; ++i) {
            workers.emplace_back([this, i, &good] {
                const QString account = uniqueAccount("worker");
                const QString pw = QStringLiteral("pw-worker-%1").arg(i);
                VolumeRecord record;
                record.credentialAccountOverride = account;
                if (m_store.save(pw, account) && m_store.password(record) == pw && m_store.load(account) == pw)
                    ++good;
            });
        }
        for (auto &w : workers)
            w.join();
        QCOMPARE(good.load(), kWorkers);
    }

    void noServiceIsBoundedAndQuiet_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::newRow("no bus at all") << "missing";
        QTest::newRow("bus that never answers") << "silent";
    }
    void noServiceIsBoundedAndQuiet()
    {
        QFETCH(QString, kind);
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        const QString path = dir.filePath(QStringLiteral("bus"));
        // Accepts connections (the kernel queues them while this thread waits for the child) and never says a word.
        QLocalServer silent;
        if (kind == QLatin1String("silent"))
            QVERIFY(silent.listen(path));
        QElapsedTimer timer;
        timer.start();
        QString errors;
        const QString out = runChildOn(QStringLiteral("unix:path=") + path, &errors);
        const qint64 ms = timer.elapsed();
        qInfo("%s: child finished after %lld ms: %s", qPrintable(kind), ms, qPrintable(out));

        QVERIFY2(out.startsWith(QLatin1String("saved=0 loaded=0 ")), qPrintable(out + QLatin1Char('\n') + errors));
        // Two calls, each bounded by 1.5 s plus a 2 s grace for the cancellation; process start on top.
        QVERIFY2(ms < 12000, "a call without an answering service was not bounded");
        QVERIFY2(errors.contains(QLatin1String("[KEYCHAIN]")), qPrintable(errors));
        QVERIFY(!errors.contains(kChildPassword));
        QVERIFY(!out.contains(kChildPassword));
    }
};

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsSet(kChildModeVariable))
        return runChild();
    QCoreApplication app(argc, argv);
    TestKeyring test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_keyring.moc"
