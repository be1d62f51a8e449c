// The share editor's certificate trust over the real engine and a fake certificate reader: the certificate of
// the server as typed is read on a worker, confirmed, and goes with the record only when the editor saves.
#include "GuiHarness.h"

#include "ui/ShareEditorDialog.h"

#include "base/CertificateFingerprint.h"
#include "platform/fake/FakeCertificateReader.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

namespace {
const QString kA = QString(64, QLatin1Char('a'));
const QString kB = QStringLiteral("0123456789abcdef").repeated(4);
const QString kSubject = QStringLiteral("CN=nas.lan, O=Home");
const QString kTrust = QStringLiteral("trustCertificate");
} // namespace

class TestShareEditor : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void certificateTrust_data()
    {
        QTest::addColumn<int>("protocol");
        QTest::addColumn<QString>("presented"); // empty: the read fails
        QTest::addColumn<QString>("press");
        QTest::addColumn<bool>("answer");
        QTest::addColumn<QString>("saved"); // the record trusted kB before
        const int davs = int(MountUsingProtocol_Enum::WebDAVS);
        const QString forget = QStringLiteral("forgetCertificate");
        QTest::newRow("accepted") << davs << kA << kTrust << true << kA;
        QTest::newRow("declined") << davs << kA << kTrust << false << kB;
        QTest::newRow("read fails") << davs << QString() << kTrust << true << kB;
        QTest::newRow("forget") << davs << kA << forget << true << QString();
        QTest::newRow("SMB, then https") << int(MountUsingProtocol_Enum::SMB) << kA << kTrust << true << kA;
    }
    void certificateTrust()
    {
        QFETCH(int, protocol);
        QFETCH(QString, presented);
        QFETCH(QString, press);
        QFETCH(bool, answer);
        QFETCH(QString, saved);
        FakeCertificateReader *reader = nullptr;
        GuiHarness h([&](PlatformPorts &ports) {
            auto fake = std::make_unique<FakeCertificateReader>();
            reader = fake.get();
            ports.certificateReader = std::move(fake);
        });
        reader->present(presented.isEmpty() ? CertificateRead{std::nullopt, QStringLiteral("connection refused")}
                                            : CertificateRead{ServerCertificate{presented, kSubject}, {}});
        const qint64 id = h.addRecord([&](VolumeRecord &r) {
            r.mounting_using_protocol_Enum = MountUsingProtocol_Enum(protocol);
            r.trustedCertificateSHA256 = kB;
        });
        ShareEditorDialog editor(h.context(), *h.engine->record(id));
        auto *button = editor.findChild<QPushButton *>(press);
        QCOMPARE(button->isVisibleTo(&editor), protocol == int(MountUsingProtocol_Enum::WebDAVS));
        auto *protocols = editor.findChild<QComboBox *>(QStringLiteral("protocol"));
        protocols->setCurrentIndex(protocols->findData(int(MountUsingProtocol_Enum::WebDAVS)));
        QVERIFY(button->isVisibleTo(&editor)); // follows the protocol
        editor.findChild<QLineEdit *>(QStringLiteral("host"))->setText(QStringLiteral("127.0.0.2"));
        editor.findChild<QLineEdit *>(QStringLiteral("port"))->setText(QStringLiteral("8443"));
        h.answer = answer;

        QTest::mouseClick(button, Qt::LeftButton);
        const bool reads = press == kTrust;
        if (reads) {
            QVERIFY(!button->isEnabled()); // busy while the worker reads
            QTRY_VERIFY(button->isEnabled());
            QCOMPARE(reader->reads(), QStringList{QStringLiteral("127.0.0.2:8443")});
        }
        QCOMPARE(h.notices.size(), int(reads && presented.isEmpty()));
        QCOMPARE(h.questions.size(), int(reads && !presented.isEmpty()));
        for (const QString &question : std::as_const(h.questions)) {
            QVERIFY(question.contains(CertificateFingerprint::grouped(presented, 16)));
            QVERIFY(question.contains(kSubject));
        }
        for (const QString &notice : std::as_const(h.notices))
            QVERIFY(notice.contains(QStringLiteral("connection refused")));
        QCOMPARE(h.engine->record(id)->trustedCertificateSHA256, kB); // nothing stored before the save
        if (!saved.isEmpty()) {
            const QString shown = editor.findChild<QLabel *>(QStringLiteral("certificateText"))->toolTip();
            QVERIFY(shown.contains(CertificateFingerprint::grouped(saved, 16)));
        }

        editor.accept();
        QCOMPARE(h.engine->record(id)->trustedCertificateSHA256, saved);
    }
};

QTEST_MAIN(TestShareEditor)
#include "tst_share_editor.moc"
