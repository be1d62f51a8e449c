// The preference table against the engine's readers: one row per key and case. A reader falls back to its
// consumer's own default when the key was never written or holds another kind; the page and the
// configuration import clamp to the table's range. The page's apply step copies them to the delegate.
#include "base/Defaults.h"
#include "base/NotificationCenter.h"
#include "base/Preferences.h"
#include "base/PreferencesApply.h"

#include <QHash>
#include <QSet>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

Q_DECLARE_METATYPE(AppDelegateFields)

namespace {

using Reader = int (*)(const Defaults &);

int presence(const Defaults &defaults)
{
    return int(Preferences::appPresenceMode(defaults));
}

Reader readerFor(const QString &key)
{
    using namespace Preferences;
    static const QHash<QString, Reader> readers{
        {Keys::TcpConnectionTimeout, tcpConnectionTimeoutSeconds}, {Keys::MountTimeout, mountTimeoutSeconds},
        {Keys::AutoMountCheckInterval, autoMountCheckIntervalSeconds}, {Keys::MaxNumberOfLogLines, maxNumberOfLogLines},
        {Keys::AppPresenceMode, presence}};
    return readers.value(key);
}

} // namespace

class TestPreferences : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void readers_data()
    {
        using namespace Preferences::Keys;
        QTest::addColumn<QString>("key");
        QTest::addColumn<QVariant>("stored"); // invalid: never written
        QTest::addColumn<int>("read");
        const QVariant unset;
        // The probe waits 10 s when nothing was written, although the page shows 2 (kept on purpose).
        QTest::newRow("tcp unset") << TcpConnectionTimeout << unset << 10;
        QTest::newRow("tcp text") << TcpConnectionTimeout << QVariant(QStringLiteral("3")) << 10;
        QTest::newRow("tcp zero") << TcpConnectionTimeout << QVariant(0) << 10;
        QTest::newRow("tcp in range") << TcpConnectionTimeout << QVariant(3) << 3;
        QTest::newRow("tcp beyond the page") << TcpConnectionTimeout << QVariant(3600) << 3600;
        QTest::newRow("tcp ceiling") << TcpConnectionTimeout << QVariant(3601) << 3600;
        QTest::newRow("mount unset") << MountTimeout << unset << 60;
        QTest::newRow("mount negative") << MountTimeout << QVariant(-5) << 60;
        QTest::newRow("mount below the page") << MountTimeout << QVariant(1) << 1;
        QTest::newRow("mount ceiling") << MountTimeout << QVariant(86401) << 86400;
        QTest::newRow("interval unset") << AutoMountCheckInterval << unset << 15;
        QTest::newRow("interval text") << AutoMountCheckInterval << QVariant(QStringLiteral("30")) << 15;
        QTest::newRow("interval boolean") << AutoMountCheckInterval << QVariant(true) << 15;
        QTest::newRow("interval below") << AutoMountCheckInterval << QVariant(5) << 10;
        QTest::newRow("interval lower bound") << AutoMountCheckInterval << QVariant(10) << 10;
        QTest::newRow("interval upper bound") << AutoMountCheckInterval << QVariant(1440) << 1440;
        QTest::newRow("interval above") << AutoMountCheckInterval << QVariant(5000) << 1440;
        // The log trims at 2000 when nothing was written, although the page shows 50 (kept on purpose).
        QTest::newRow("log unset") << MaxNumberOfLogLines << unset << 2000;
        QTest::newRow("log text") << MaxNumberOfLogLines << QVariant(QStringLiteral("10")) << 2000;
        QTest::newRow("log zero") << MaxNumberOfLogLines << QVariant(0) << 2000;
        QTest::newRow("log stored") << MaxNumberOfLogLines << QVariant(10) << 10;
        QTest::newRow("log ceiling") << MaxNumberOfLogLines << QVariant(1000001) << 1000000;
        QTest::newRow("presence unset") << AppPresenceMode << unset << 0;
        QTest::newRow("presence dock") << AppPresenceMode << QVariant(1) << 1;
        QTest::newRow("presence dock only") << AppPresenceMode << QVariant(2) << 2;
        QTest::newRow("presence unknown") << AppPresenceMode << QVariant(3) << 0;
        QTest::newRow("presence negative") << AppPresenceMode << QVariant(-1) << 0;
    }
    void readers()
    {
        QFETCH(QString, key);
        QFETCH(QVariant, stored);
        QTemporaryDir dir;
        Defaults defaults(dir.path() + QStringLiteral("/prefs.plist"));
        if (stored.isValid())
            QVERIFY(defaults.setValue(key, stored));
        QTEST(readerFor(key)(defaults), "read");
    }

    void pageRanges_data()
    {
        using namespace Preferences::Keys;
        QTest::addColumn<QString>("key");
        QTest::addColumn<qint64>("min");
        QTest::addColumn<qint64>("max");
        QTest::addColumn<qint64>("pageDefault");
        QTest::newRow("tcp") << TcpConnectionTimeout << qint64(1) << qint64(5) << qint64(2);
        QTest::newRow("mount") << MountTimeout << qint64(10) << qint64(300) << qint64(60);
        QTest::newRow("interval") << AutoMountCheckInterval << qint64(10) << qint64(1440) << qint64(15);
        QTest::newRow("log") << MaxNumberOfLogLines << qint64(10) << qint64(2000) << qint64(50);
        QTest::newRow("presence") << AppPresenceMode << qint64(0) << qint64(2) << qint64(0);
    }
    void pageRanges()
    {
        QFETCH(QString, key);
        QFETCH(qint64, min);
        QFETCH(qint64, max);
        const Preferences::Spec *spec = Preferences::spec(key);
        QVERIFY(spec);
        QTEST(spec->pageDefault.toLongLong(), "pageDefault");
        QCOMPARE(Preferences::clamp(key, min - 1), min);
        QCOMPARE(Preferences::clamp(key, min), min);
        QCOMPARE(Preferences::clamp(key, max), max);
        QCOMPARE(Preferences::clamp(key, max + 1), max);
    }

    // Invariants of the whole table: every key once, each default of its kind and inside its range, and
    // every integer key with a range has a reader above (so a new key cannot slip past the rows).
    void tableIsConsistent()
    {
        QSet<QString> seen;
        for (const Preferences::Spec &s : Preferences::table()) {
            QVERIFY2(!seen.contains(s.key), qPrintable(s.key));
            seen.insert(s.key);
            QCOMPARE(Preferences::spec(s.key), &s);
            if (s.kind == Preferences::Kind::Boolean) {
                QCOMPARE(s.pageDefault.typeId(), int(QMetaType::Bool));
                QVERIFY(!s.min && !s.max);
                continue;
            }
            QVERIFY2(s.pageDefault.typeId() == QMetaType::Int, qPrintable(s.key));
            if (s.min && s.max) {
                QVERIFY2(readerFor(s.key), qPrintable(s.key));
                QVERIFY(*s.min <= s.pageDefault.toLongLong() && s.pageDefault.toLongLong() <= *s.max);
            }
        }
        QCOMPARE(Preferences::clamp(QStringLiteral("no such key"), -7), qint64(-7));
    }

    void apply_data()
    {
        using namespace Preferences::Keys;
        QTest::addColumn<QVariantMap>("stored");
        QTest::addColumn<AppDelegateFields>("copied");
        // Unset values stay unset: each consumer then keeps its own default (the probe's, the log's 2000 ...).
        QTest::newRow("nothing stored") << QVariantMap() << AppDelegateFields();
        QTest::newRow("not an integer") << QVariantMap{{MountTimeout, QStringLiteral("60")}} << AppDelegateFields();
        // Distinct values per field, so that a key read into the wrong field shows; out-of-range values clamped.
        QTest::newRow("all set") << QVariantMap{{TcpConnectionTimeout, 30}, {MountTimeout, 1},
                                                {AutoMountCheckInterval, 5000}, {MaxNumberOfLogLines, 500},
                                                {DeleteAssociatedLogEntries, false}, {ShowConfigurationOnStart, true}}
                                 << AppDelegateFields{5, 10, 1440, 500, false, true};
    }
    void apply()
    {
        QFETCH(QVariantMap, stored);
        QFETCH(AppDelegateFields, copied);
        QTemporaryDir dir;
        Defaults defaults(dir.path() + QStringLiteral("/prefs.plist"));
        for (auto it = stored.cbegin(); it != stored.cend(); ++it)
            defaults.setValue(it.key(), it.value());
        NotificationCenter center;
        QSignalSpy posted(&center, &NotificationCenter::posted);
        AppDelegateFields fields{12345, 12345, 12345, 12345, true, false}; // stale copies are replaced, also by "unset"

        PreferencesApply::apply(defaults, fields, &center);
        const auto tie = [](const AppDelegateFields &f) {
            return std::tie(f.tcp_connection_timeout_Int, f.mount_timeout_Int, f.auto_mount_check_interval_Int,
                            f.max_number_of_log_lines_Int, f.delete_associated_log_entries, f.show_configuration_on_start);
        };
        QVERIFY(tie(fields) == tie(copied));
        QCOMPARE(posted.size(), 1);
        QCOMPARE(posted.first().at(0).toString(), QStringLiteral("Tarnwell_PreferencesChanged"));
        QVERIFY(posted.first().at(1).toMap().isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestPreferences)
#include "tst_preferences.moc"
