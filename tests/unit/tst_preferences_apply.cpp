// The preferences page's apply step: the delegate's copies and the change notification.
#include "app/Defaults.h"
#include "app/NotificationCenter.h"
#include "app/Preferences.h"
#include "app/PreferencesApply.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

class TestPreferencesApply : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void integers_data();
    void integers();
    void booleansAndNotification();
};

using Field = std::optional<int> AppDelegateFields::*;
Q_DECLARE_METATYPE(Field)

void TestPreferencesApply::integers_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<Field>("field");
    QTest::addColumn<QVariant>("stored");
    QTest::addColumn<std::optional<int>>("copied");
    const auto tcp = &AppDelegateFields::tcp_connection_timeout_Int;
    const auto mount = &AppDelegateFields::mount_timeout_Int;
    const auto interval = &AppDelegateFields::auto_mount_check_interval_Int;
    const auto lines = &AppDelegateFields::max_number_of_log_lines_Int;
    QTest::newRow("tcp unset keeps the probe's own default") << Preferences::Keys::TcpConnectionTimeout << Field(tcp) << QVariant() << std::optional<int>();
    QTest::newRow("tcp in range") << Preferences::Keys::TcpConnectionTimeout << Field(tcp) << QVariant(3) << std::optional<int>(3);
    QTest::newRow("tcp above range") << Preferences::Keys::TcpConnectionTimeout << Field(tcp) << QVariant(30) << std::optional<int>(5);
    QTest::newRow("mount below range") << Preferences::Keys::MountTimeout << Field(mount) << QVariant(1) << std::optional<int>(10);
    QTest::newRow("mount not an integer") << Preferences::Keys::MountTimeout << Field(mount) << QVariant(QStringLiteral("60")) << std::optional<int>();
    QTest::newRow("interval 10") << Preferences::Keys::AutoMountCheckInterval << Field(interval) << QVariant(10) << std::optional<int>(10);
    QTest::newRow("interval 5000") << Preferences::Keys::AutoMountCheckInterval << Field(interval) << QVariant(5000) << std::optional<int>(1440);
    QTest::newRow("log lines unset keeps the log's 2000") << Preferences::Keys::MaxNumberOfLogLines << Field(lines) << QVariant() << std::optional<int>();
    QTest::newRow("log lines 500") << Preferences::Keys::MaxNumberOfLogLines << Field(lines) << QVariant(500) << std::optional<int>(500);
}

void TestPreferencesApply::integers()
{
    QFETCH(QString, key);
    QFETCH(Field, field);
    QFETCH(QVariant, stored);
    QFETCH(std::optional<int>, copied);
    QTemporaryDir dir;
    Defaults defaults(dir.path() + QStringLiteral("/prefs.plist"));
    if (stored.isValid())
        defaults.setValue(key, stored);
    AppDelegateFields fields;
    fields.*field = 12345; // a stale copy is replaced, also by "unset"
    PreferencesApply::apply(defaults, fields, nullptr);
    QCOMPARE(fields.*field, copied);
}

void TestPreferencesApply::booleansAndNotification()
{
    QTemporaryDir dir;
    Defaults defaults(dir.path() + QStringLiteral("/prefs.plist"));
    NotificationCenter center;
    QSignalSpy posted(&center, &NotificationCenter::posted);
    AppDelegateFields fields;
    PreferencesApply::apply(defaults, fields, &center);
    QCOMPARE(fields.delete_associated_log_entries, std::nullopt);
    QCOMPARE(posted.size(), 1);
    QCOMPARE(posted.first().at(0).toString(), QStringLiteral("Tarnwell_PreferencesChanged"));
    QVERIFY(posted.first().at(1).toMap().isEmpty());

    defaults.setValue(Preferences::Keys::DeleteAssociatedLogEntries, false);
    defaults.setValue(Preferences::Keys::ShowConfigurationOnStart, true);
    PreferencesApply::apply(defaults, fields, &center);
    QCOMPARE(fields.delete_associated_log_entries, std::optional<bool>(false));
    QCOMPARE(fields.show_configuration_on_start, std::optional<bool>(true));
    QCOMPARE(posted.size(), 2);
}

QTEST_GUILESS_MAIN(TestPreferencesApply)
#include "tst_preferences_apply.moc"
