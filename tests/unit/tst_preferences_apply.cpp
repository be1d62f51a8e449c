// The preferences page's apply step: the delegate's copies and the change notification.
#include "base/Defaults.h"
#include "base/NotificationCenter.h"
#include "base/Preferences.h"
#include "base/PreferencesApply.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

Q_DECLARE_METATYPE(AppDelegateFields)

class TestPreferencesApply : public QObject
{
    Q_OBJECT
private Q_SLOTS:
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

QTEST_GUILESS_MAIN(TestPreferencesApply)
#include "tst_preferences_apply.moc"
