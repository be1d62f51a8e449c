// Certificate trust: the fingerprint's one spelling, the mount's verdict over a fake server certificate,
// what the control interface accepts to trust, and the fingerprint surviving the preferences record and the
// configuration file.
#include "support/EngineHarness.h"

#include "base/CertificateFingerprint.h"
#include "control/ControlNames.h"
#include "control/ControlService.h"
#include "core/CertificateTrust.h"
#include "exchange/ConfigurationManager.h"
#include "platform/fake/FakeCertificateReader.h"

#include <QTest>

namespace {
const QString kA = QString(64, QLatin1Char('a'));
const QString kB = QStringLiteral("0123456789abcdef").repeated(4);
const QString kSubject = QStringLiteral("CN=127.0.0.1, O=Test");
} // namespace

class TestCertificateTrust : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void normalise_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected"); // empty: refused
        QString grouped;
        for (int i = 0; i < 64; i += 2)
            grouped += (i ? QStringLiteral(":") : QString()) + kB.mid(i, 2).toUpper();
        QTest::newRow("as tools print it") << grouped << kB;
        QTest::newRow("spaces and case") << QStringLiteral(" ") + kA.toUpper().insert(8, QLatin1Char(' ')) << kA;
        QTest::newRow("63 digits") << kA.left(63) << QString();
        QTest::newRow("65 digits") << kA + QLatin1Char('a') << QString();
        QTest::newRow("not hex") << kA.left(63) + QLatin1Char('g') << QString();
        QTest::newRow("empty") << QString() << QString();
    }
    void normalise()
    {
        QFETCH(QString, text);
        QTEST(CertificateFingerprint::normalise(text).value_or(QString()), "expected");
    }

    void mountVerdict_data()
    {
        QTest::addColumn<QString>("trusted");
        QTest::addColumn<QString>("presented"); // empty: the certificate cannot be read
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("status");
        QTest::newRow("trusted one") << kA << kA << 0 << QString();
        QTest::newRow("none trusted") << QString() << kA << 80 << CertificateTrust::kNotTrustedStatus.arg(kA, kSubject);
        QTest::newRow("changed") << kB << kA << 80 << CertificateTrust::kChangedStatus.arg(kA, kSubject);
        QTest::newRow("unreadable") << kA << QString() << 80 << CertificateTrust::kUnreadableStatus.arg(QStringLiteral("refused"));
    }
    void mountVerdict()
    {
        QFETCH(QString, trusted);
        QFETCH(QString, presented);
        QFETCH(int, code);
        QFETCH(QString, status);
        FakeCertificateReader *reader = nullptr;
        EngineHarness h(EngineHarness::ConsoleMode::Capture, EngineHarness::defaultOptions(), [&](PlatformPorts &ports) {
            auto fake = std::make_unique<FakeCertificateReader>();
            reader = fake.get();
            ports.certificateReader = std::move(fake);
        });
        reader->present(presented.isEmpty() ? CertificateRead{std::nullopt, QStringLiteral("refused")}
                                            : CertificateRead{ServerCertificate{presented, kSubject}, {}});
        h.service.setAsksCertificate(true);
        const qint64 id = h.addRecord([&](VolumeRecord &r) {
            r.mounting_using_protocol_Enum = MountUsingProtocol_Enum::WebDAVS;
            r.port_Int = 8443;
            r.trustedCertificateSHA256 = trusted;
        });
        QCOMPARE(h.mountAndWait(id), code);
        QCOMPARE(reader->reads(), QStringList{QStringLiteral("127.0.0.1:8443")});
        QCOMPARE(h.record(id).runtime_isMounted_Bool, code == 0);
        if (code != 0) {
            QCOMPARE(h.record(id).runtime_status_String, status);
            QCOMPARE(h.eventCount(EVENT_TYPE_ENUM::CONNECTION_FAILED, status), 1);
            QCOMPARE(h.eventCount(EVENT_TYPE_ENUM::AUTH_FAILED), 0);
        }
    }

    void trustThroughControl_data()
    {
        QTest::addColumn<int>("protocol");
        QTest::addColumn<QString>("given");
        QTest::addColumn<QString>("error");
        QTest::addColumn<QString>("stored");
        const int davs = int(MountUsingProtocol_Enum::WebDAVS);
        QTest::newRow("grouped, upper case") << davs << kA.toUpper().insert(2, QLatin1Char(':')) << QString() << kA;
        QTest::newRow("forget") << davs << QString() << QString() << QString();
        QTest::newRow("not a fingerprint") << davs << QStringLiteral("12:34") << ControlNames::kErrorInvalidArgument << kB;
        QTest::newRow("SMB share") << int(MountUsingProtocol_Enum::SMB) << kA << ControlNames::kErrorInvalidArgument << kB;
    }
    void trustThroughControl()
    {
        QFETCH(int, protocol);
        QFETCH(QString, given);
        EngineHarness h;
        ControlService control(*h.engine, h.eventLog, h.auditLog);
        const qint64 id = h.addRecord([&](VolumeRecord &r) {
            r.mounting_using_protocol_Enum = MountUsingProtocol_Enum(protocol);
            r.trustedCertificateSHA256 = kB;
        });
        QTEST(control.trustCertificate(id, given).error.name, "error");
        QTEST(h.record(id).trustedCertificateSHA256, "stored");
    }

    void fingerprintIsKept_data()
    {
        QTest::addColumn<QString>("stored");
        QTest::addColumn<QString>("kept");
        QTest::newRow("fingerprint") << kB.toUpper() << kB;
        QTest::newRow("not a fingerprint") << QStringLiteral("12:34") << QString();
    }
    void fingerprintIsKept()
    {
        QFETCH(QString, stored);
        QFETCH(QString, kept);
        VolumeRecord record;
        record.internal_ID_Int = 3;
        record.hostname_String = QStringLiteral("nas");
        QVariantMap archive = record.encode();
        archive.insert(QStringLiteral("trustedCertificateSHA256"), stored);
        const std::optional<VolumeRecord> decoded = VolumeRecord::decode(archive);
        QVERIFY(decoded);
        QCOMPARE(decoded->trustedCertificateSHA256, kept);
        QJsonObject json = ConfigurationManager::shareToJson(record);
        json.insert(QStringLiteral("trustedCertificateSHA256"), stored);
        QCOMPARE(ConfigurationManager::shareFromJson(json)->trustedCertificateSHA256, kept);
        QCOMPARE(ConfigurationManager::shareToJson(*decoded).value(QStringLiteral("trustedCertificateSHA256")).toString(), kept);
        QCOMPARE(VolumeRecord::decode(decoded->encode())->trustedCertificateSHA256, kept);
    }
};

QTEST_GUILESS_MAIN(TestCertificateTrust)
#include "tst_certificate_trust.moc"
