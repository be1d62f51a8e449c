#include "ShareEditorDialog.h"

#include "base/CertificateFingerprint.h"
#include "core/CertificateTrust.h"
#include "core/RecordRules.h"
#include "core/CredentialStore.h"
#include "core/MountEngine.h"
#include "core/RecordFields.h"
#include "core/WakeOnLan.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHash>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QPointer>
#include <QPushButton>
#include <QScrollArea>
#include <QThreadPool>
#include <QTimeEdit>
#include <QToolButton>
#include <QVBoxLayout>

QString ShareEditorDialog::portHelp()
{
    return tr("Network port number. Leave empty for defaults:\n• SMB: 445\n• AFP: 548\n• NFS: 2049\n• WebDAV: 80\n"
              "• WebDAV Secure: 443\n\nOnly change if your server uses a non-standard port.");
}

QString ShareEditorDialog::urlHelp()
{
    return tr("This is the URL Tarnwell will mount. Select the text to copy it.\nA Share Name of RAW becomes /RAW on "
              "the server; leave it blank for /.");
}

QString ShareEditorDialog::shareNameHelp()
{
    return tr("For WebDAV, leave Share Name blank to mount the server root.");
}

namespace {
const char *const kFields[] = {"host", "port",       "share",     "user",     "folder", "weekdays",
                                "mac",  "postScript", "preScript", "nickname", "group",  "ssids"};

// The editor's row for a field named in a refusal of the shared validation ("'hostname' is too long ...").
QString rowOfProblem(const QString &problem)
{
    static const QHash<QString, QString> rows{
        {QStringLiteral("hostname"), QStringLiteral("host")},   {QStringLiteral("port"), QStringLiteral("port")},
        {QStringLiteral("shareName"), QStringLiteral("share")}, {QStringLiteral("username"), QStringLiteral("user")},
        {QStringLiteral("customMountPoint"), QStringLiteral("folder")},
        {QStringLiteral("macAddress"), QStringLiteral("mac")},  {QStringLiteral("nickname"), QStringLiteral("nickname")},
        {QStringLiteral("group"), QStringLiteral("group")},     {QStringLiteral("allowedSSIDs"), QStringLiteral("ssids")}};
    const QString field = problem.section(QLatin1Char('\''), 1, 1);
    return rows.value(field, QStringLiteral("host"));
}
}

ShareEditorDialog::ShareEditorDialog(const UiContext &context, std::optional<VolumeRecord> existing, QWidget *parent)
    : QDialog(parent)
    , m_context(context)
    , m_original(existing.value_or(VolumeRecord()))
    , m_isNew(!existing)
    , m_readOnly(existing && existing->isLocked)
{
    setObjectName(QStringLiteral("ShareEditorDialog"));
    setWindowTitle(m_isNew ? tr("Add Share") : tr("Edit Share"));
    auto *outer = new QVBoxLayout(this);

    if (m_readOnly) {
        auto *banner = new QLabel(this);
        banner->setObjectName(QStringLiteral("managedBanner"));
        const QString manager =
            m_original.managedBy.isEmpty() ? RecordRules::kLockedEditFallbackManager : m_original.managedBy;
        banner->setText(QStringLiteral("<b>%1</b><br>%2").arg(tr("IT-Managed Share"),
                                                              tr("This share is managed by %1. Settings cannot be modified.")
                                                                  .arg(manager.toHtmlEscaped())));
        banner->setWordWrap(true);
        banner->setStyleSheet(QStringLiteral("QLabel { background: #fff4d6; border: 1px solid #e0b84c; "
                                             "border-radius: 4px; padding: 8px; color: #4d3b00; }"));
        outer->addWidget(banner);
    }

    auto *content = new QWidget;
    auto *columns = new QHBoxLayout(content);
    columns->setContentsMargins(0, 0, 0, 0);

    // --- Connection ---
    auto *connection = new QGroupBox(tr("Connection"));
    auto *form = new QFormLayout(connection);
    m_nickname = addLine(QStringLiteral("nickname"));
    m_nickname->setPlaceholderText(tr("Optional display name"));
    form->addRow(tr("Name:"), m_nickname);
    form->addRow(QString(), errorLabel(QStringLiteral("nickname")));

    m_protocol = new QComboBox;
    m_protocol->setObjectName(QStringLiteral("protocol"));
    m_protocol->addItem(tr("SMB"), int(MountUsingProtocol_Enum::SMB));
    m_protocol->addItem(tr("AFP"), int(MountUsingProtocol_Enum::AFP));
    m_protocol->addItem(tr("NFS"), int(MountUsingProtocol_Enum::NFS));
    m_protocol->addItem(tr("WebDAV"), int(MountUsingProtocol_Enum::WebDAV));
    m_protocol->addItem(tr("WebDAV Secure"), int(MountUsingProtocol_Enum::WebDAVS));
    form->addRow(tr("Protocol:"), m_protocol);

    m_host = addLine(QStringLiteral("host"));
    m_host->setPlaceholderText(tr("Server name or address"));
    m_host->setMinimumWidth(280);
    form->addRow(tr("Server:"), m_host);
    form->addRow(QString(), errorLabel(QStringLiteral("host")));

    m_port = addLine(QStringLiteral("port"));
    m_port->setPlaceholderText(tr("Default"));
    m_port->setToolTip(portHelp());
    form->addRow(tr("Port:"), m_port);
    form->addRow(QString(), errorLabel(QStringLiteral("port")));
    // The fingerprint above its buttons: side by side they would widen the whole column.
    form->addRow(tr("Certificate:"), certificateRow());
    form->addRow(QString(), m_certificate);

    m_share = addLine(QStringLiteral("share"));
    m_share->setToolTip(shareNameHelp());
    form->addRow(tr("Share Name:"), m_share);
    form->addRow(QString(), errorLabel(QStringLiteral("share")));

    m_preview = new QLabel;
    m_preview->setObjectName(QStringLiteral("urlPreview"));
    m_preview->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_preview->setToolTip(urlHelp());
    m_preview->setStyleSheet(QStringLiteral("QLabel { font-family: monospace; }"));
    form->addRow(tr("Mount URL:"), m_preview);
    auto *urlHelpLabel = new QLabel(urlHelp());
    urlHelpLabel->setWordWrap(true);
    urlHelpLabel->setStyleSheet(QStringLiteral("QLabel { color: palette(mid); font-size: small; }"));
    form->addRow(urlHelpLabel); // full width: a wrapped label in the field column is cut short

    m_guest = new QCheckBox(tr("Guest login (no password)"));
    m_guest->setObjectName(QStringLiteral("guest"));
    form->addRow(QString(), m_guest);
    m_user = addLine(QStringLiteral("user"));
    form->addRow(tr("User:"), m_user);
    form->addRow(QString(), errorLabel(QStringLiteral("user")));
    m_password = addLine(QStringLiteral("password"));
    m_password->setEchoMode(QLineEdit::Password);
    m_password->setPlaceholderText(context.credentials ? tr("Stored in the keyring") : tr("No keyring available"));
    form->addRow(tr("Password:"), m_password);

    m_group = addLine(QStringLiteral("group"));
    m_group->setPlaceholderText(tr("e.g., Work, Media"));
    form->addRow(tr("Group:"), m_group);
    form->addRow(QString(), errorLabel(QStringLiteral("group")));
    columns->addWidget(connection, 1);

    // --- Automation ---
    auto *automation = new QGroupBox(tr("Mounting and automation"));
    auto *auto_ = new QFormLayout(automation);
    m_customFolder = new QCheckBox(tr("Mount at a custom folder"));
    m_customFolder->setObjectName(QStringLiteral("customFolder"));
    auto_->addRow(QString(), m_customFolder);
    m_folder = addLine(QStringLiteral("folder"));
    auto_->addRow(tr("Folder:"), pathRow(m_folder, true));
    auto_->addRow(QString(), errorLabel(QStringLiteral("folder")));

    m_autoMount = new QCheckBox(tr("Auto-mount (keep mounted)"));
    m_autoMount->setObjectName(QStringLiteral("autoMount"));
    auto_->addRow(QString(), m_autoMount);
    m_schedule = new QCheckBox(tr("Scheduled mount"));
    m_schedule->setObjectName(QStringLiteral("schedule"));
    auto_->addRow(QString(), m_schedule);
    m_mountTime = new QTimeEdit;
    m_mountTime->setObjectName(QStringLiteral("mountTime"));
    m_mountTime->setDisplayFormat(QStringLiteral("HH:mm"));
    m_unmountTime = new QTimeEdit;
    m_unmountTime->setObjectName(QStringLiteral("unmountTime"));
    m_unmountTime->setDisplayFormat(QStringLiteral("HH:mm"));
    auto *times = new QHBoxLayout;
    times->addWidget(m_mountTime);
    times->addWidget(new QLabel(tr("until")));
    times->addWidget(m_unmountTime);
    times->addStretch();
    auto_->addRow(tr("Mount from:"), times);
    auto *days = new QHBoxLayout;
    const QLocale locale;
    for (int calendarDay = 1; calendarDay <= 7; ++calendarDay) {
        // Calendar weekday numbers: 1 = Sunday; Qt's: 7 = Sunday.
        const int qtDay = calendarDay == 1 ? 7 : calendarDay - 1;
        auto *box = new QCheckBox(locale.dayName(qtDay, QLocale::ShortFormat));
        box->setObjectName(QStringLiteral("weekday%1").arg(calendarDay));
        m_weekdays.append(box);
        days->addWidget(box);
    }
    days->addStretch();
    auto_->addRow(tr("Days:"), days);
    auto_->addRow(QString(), errorLabel(QStringLiteral("weekdays")));
    m_ssids = addLine(QStringLiteral("ssids"));
    m_ssids->setPlaceholderText(tr("Any network"));
    m_ssids->setToolTip(tr("Comma-separated Wi-Fi network names the share may mount on. Empty: any network."));
    auto_->addRow(tr("Allowed Wi-Fi:"), m_ssids);
    auto_->addRow(QString(), errorLabel(QStringLiteral("ssids")));
    m_mac = addLine(QStringLiteral("mac"));
    m_mac->setPlaceholderText(tr("e.g. 00:11:22:33:44:55"));
    m_mac->setToolTip(tr("Hardware address of the server, woken with a Wake-on-LAN packet before mounting."));
    auto_->addRow(tr("Wake-on-LAN:"), m_mac);
    auto_->addRow(QString(), errorLabel(QStringLiteral("mac")));
    m_postScript = addLine(QStringLiteral("postScript"));
    auto_->addRow(tr("After mount:"), pathRow(m_postScript, false));
    auto_->addRow(QString(), errorLabel(QStringLiteral("postScript")));
    m_preScript = addLine(QStringLiteral("preScript"));
    auto_->addRow(tr("Before eject:"), pathRow(m_preScript, false));
    auto_->addRow(QString(), errorLabel(QStringLiteral("preScript")));
    columns->addWidget(automation, 1);
    outer->addWidget(content);

    auto *buttons = new QDialogButtonBox(m_readOnly ? QDialogButtonBox::Close
                                                    : QDialogButtonBox::Save | QDialogButtonBox::Cancel);
    connect(buttons, &QDialogButtonBox::accepted, this, &ShareEditorDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &ShareEditorDialog::reject);
    outer->addWidget(buttons);

    // Fill from the record.
    const VolumeRecord &r = m_original;
    m_nickname->setText(r.nickname_String);
    m_protocol->setCurrentIndex(m_protocol->findData(int(r.mounting_using_protocol_Enum)));
    m_host->setText(r.hostname_String);
    m_port->setText(r.port_Int ? QString::number(*r.port_Int) : QString());
    m_share->setText(r.volume_String);
    m_guest->setChecked(r.no_password_guest_login != 0);
    m_user->setText(r.username_String);
    m_customFolder->setChecked(r.mount_inside_Volumes == 0);
    m_folder->setText(r.unique_mountpoint_fullpath_String);
    m_autoMount->setChecked(r.auto_Mount != 0);
    m_schedule->setChecked(r.schedule_Mount != 0);
    m_mountTime->setTime(r.schedule_MountTime.toLocalTime().time());
    m_unmountTime->setTime(r.schedule_UnMountTime.toLocalTime().time());
    for (int i = 0; i < m_weekdays.size(); ++i)
        m_weekdays[i]->setChecked(r.schedule_Weekdays.contains(i + 1));
    m_ssids->setText(r.allowedSSIDs_String);
    m_mac->setText(r.macAddress_String);
    m_postScript->setText(r.postMountScriptPath_String);
    m_preScript->setText(r.preUnmountScriptPath_String);
    m_group->setText(r.group_String);
    m_trustedCertificate = r.trustedCertificateSHA256;

    for (QLineEdit *edit : {m_host, m_port, m_share})
        connect(edit, &QLineEdit::textChanged, this, &ShareEditorDialog::updatePreview);
    connect(m_protocol, &QComboBox::currentIndexChanged, this, &ShareEditorDialog::updatePreview);
    const auto serverChanged = [this] {
        m_certificateRead = 0; // an answer about a server no longer typed is not offered
        updateCertificateRow();
    };
    for (QLineEdit *edit : {m_host, m_port})
        connect(edit, &QLineEdit::textChanged, this, serverChanged);
    connect(m_protocol, &QComboBox::currentIndexChanged, this, serverChanged);
    connect(m_password, &QLineEdit::textEdited, this, [this] { m_passwordEdited = true; });
    for (QCheckBox *box : {m_guest, m_customFolder, m_schedule})
        connect(box, &QCheckBox::toggled, this, &ShareEditorDialog::updateEnabled);
    updatePreview();
    updateEnabled();
    updateCertificateRow();

    if (m_readOnly) {
        content->setEnabled(false);
        // A disabled field's placeholder reads like a value; a managed share shows only what it holds.
        for (QLineEdit *edit : content->findChildren<QLineEdit *>())
            edit->setPlaceholderText(QString());
    } else if (!m_isNew) {
        loadPassword();
    }
}

QLineEdit *ShareEditorDialog::addLine(const QString &objectName)
{
    auto *edit = new QLineEdit;
    edit->setObjectName(objectName);
    return edit;
}

QLabel *ShareEditorDialog::errorLabel(const QString &field)
{
    auto *label = new QLabel;
    label->setObjectName(field + QStringLiteral("Error"));
    label->setStyleSheet(QStringLiteral("QLabel { color: #c5221f; }"));
    label->setWordWrap(true);
    label->hide();
    m_errors.insert(field, label);
    return label;
}

QWidget *ShareEditorDialog::pathRow(QLineEdit *edit, bool folder)
{
    auto *row = new QWidget;
    auto *layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(edit);
    auto *browse = new QToolButton;
    browse->setText(tr("Choose…"));
    browse->setObjectName(edit->objectName() + QStringLiteral("Browse"));
    layout->addWidget(browse);
    connect(browse, &QToolButton::clicked, this, [this, edit, folder] {
        // A non-native dialog: the native portal may block on a FUSE path; opened without exec().
        auto *dialog = new QFileDialog(this, folder ? tr("Choose Mount Folder") : tr("Choose Script"),
                                       edit->text().isEmpty() ? QDir::homePath() : edit->text());
        dialog->setAttribute(Qt::WA_DeleteOnClose);
        dialog->setOption(QFileDialog::DontUseNativeDialog);
        dialog->setFileMode(folder ? QFileDialog::Directory : QFileDialog::ExistingFile);
        if (folder)
            dialog->setOption(QFileDialog::ShowDirsOnly);
        connect(dialog, &QFileDialog::fileSelected, edit, &QLineEdit::setText);
        dialog->open();
    });
    return row;
}

QLabel *ShareEditorDialog::certificateRow()
{
    m_certificateText = new QLabel;
    m_certificateText->setObjectName(QStringLiteral("certificateText"));
    m_certificate = new QWidget;
    m_certificate->setObjectName(QStringLiteral("certificate"));
    auto *buttons = new QHBoxLayout(m_certificate);
    buttons->setContentsMargins(0, 0, 0, 0);
    m_trustCertificate = new QPushButton(tr("Trust Certificate…"));
    m_trustCertificate->setObjectName(QStringLiteral("trustCertificate"));
    m_trustCertificate->setToolTip(tr("Reads the certificate the server presents and asks whether this share "
                                      "trusts it (for a self-signed certificate, or one the system does not know)."));
    buttons->addWidget(m_trustCertificate);
    m_forgetCertificate = new QPushButton(tr("Forget"));
    m_forgetCertificate->setObjectName(QStringLiteral("forgetCertificate"));
    m_forgetCertificate->setToolTip(tr("Trust no server certificate of its own for this share any more."));
    buttons->addWidget(m_forgetCertificate);
    buttons->addStretch();
    connect(m_trustCertificate, &QPushButton::clicked, this, &ShareEditorDialog::readCertificate);
    connect(m_forgetCertificate, &QPushButton::clicked, this, [this] {
        m_trustedCertificate.clear();
        updateCertificateRow();
    });
    return m_certificateText;
}

void ShareEditorDialog::updateCertificateRow()
{
    const VolumeRecord r = recordFromFields();
    const bool secure = r.mounting_using_protocol_Enum == MountUsingProtocol_Enum::WebDAVS;
    if (auto *form = qobject_cast<QFormLayout *>(m_certificate->parentWidget()->layout())) {
        form->setRowVisible(m_certificateText, secure);
        form->setRowVisible(m_certificate, secure);
    }
    const bool reading = m_certificateRead != 0;
    m_trustCertificate->setText(reading ? tr("Reading…") : tr("Trust Certificate…"));
    m_trustCertificate->setEnabled(!reading && !r.hostname_String.isEmpty());
    m_forgetCertificate->setVisible(!m_trustedCertificate.isEmpty());
    m_forgetCertificate->setEnabled(!reading);
    if (m_trustedCertificate.isEmpty()) {
        m_certificateText->setText(tr("Only those the system trusts"));
        m_certificateText->setToolTip(tr("Only certificates from authorities the system trusts are accepted."));
    } else {
        const QString grouped = CertificateFingerprint::grouped(m_trustedCertificate);
        m_certificateText->setText(tr("Trusted: %1…").arg(grouped.left(17)));
        m_certificateText->setToolTip(tr("Trusted certificate, SHA-256:\n%1")
                                          .arg(CertificateFingerprint::grouped(m_trustedCertificate, 16)));
    }
}

void ShareEditorDialog::readCertificate()
{
    const VolumeRecord r = recordFromFields();
    QString host = CertificateTrust::host(r);
    if (host.contains(QLatin1Char(':')))
        host = QLatin1Char('[') + host + QLatin1Char(']');
    const QString server = host + QLatin1Char(':') + QString::number(CertificateTrust::port(r));
    const quint64 read = ++m_certificateReads;
    m_certificateRead = read;
    updateCertificateRow();
    QPointer<ShareEditorDialog> self(this);
    m_context.engine->readServerCertificate(r, [self, read, server](const CertificateRead &answer) {
        // Closed, or the server fields changed while the worker read: the answer is stale.
        if (!self || self->m_certificateRead != read)
            return;
        self->m_certificateRead = 0;
        self->updateCertificateRow();
        self->offerCertificate(server, answer);
    });
}

void ShareEditorDialog::offerCertificate(const QString &server, const CertificateRead &read)
{
    const QString title = tr("Trust Certificate");
    const std::optional<QString> fingerprint =
        read.certificate ? CertificateFingerprint::normalise(read.certificate->sha256) : std::nullopt;
    if (!fingerprint) {
        Prompter::instance().inform(this, title,
                                    tr("The certificate of %1 could not be read: %2").arg(server, read.error));
        return;
    }
    const QString sha256 = *fingerprint;
    if (sha256 == m_trustedCertificate) {
        Prompter::instance().inform(this, title,
                                    tr("This share already trusts the certificate %1 presents.").arg(server));
        return;
    }
    const QString text = tr("%1 presents this certificate:\n\nSHA-256:\n%2\n\nSubject: %3\n\nCompare the fingerprint "
                            "with the one the server's administrator gives you. Trust this certificate for this share?")
                             .arg(server, CertificateFingerprint::grouped(sha256, 16), read.certificate->subject);
    QPointer<ShareEditorDialog> self(this);
    Prompter::instance().confirm(this, title, text, tr("Trust"), [self, sha256](bool yes) {
        if (!self || !yes)
            return;
        self->m_trustedCertificate = sha256;
        self->updateCertificateRow();
    });
}

void ShareEditorDialog::setError(const QString &field, const QString &text)
{
    QLabel *label = m_errors.value(field);
    if (!label)
        return;
    label->setText(text);
    label->setVisible(!text.isEmpty());
    if (QWidget *edit = findChild<QWidget *>(field)) {
        edit->setStyleSheet(text.isEmpty() ? QString() : QStringLiteral("border: 1px solid #c5221f;"));
        if (!text.isEmpty())
            edit->setToolTip(text);
    }
}

QString ShareEditorDialog::fieldError(const QString &field) const
{
    const QLabel *label = m_errors.value(field);
    return label && !label->isHidden() ? label->text() : QString();
}

QString ShareEditorDialog::urlPreview() const
{
    return m_preview->text();
}

void ShareEditorDialog::updatePreview()
{
    const QString url = recordFromFields().mountURLText();
    m_preview->setText(url.isEmpty() ? tr("(enter a server)") : url);
}

void ShareEditorDialog::updateEnabled()
{
    m_user->setEnabled(!m_guest->isChecked());
    m_password->setEnabled(!m_guest->isChecked() && m_context.credentials);
    m_folder->parentWidget()->setEnabled(m_customFolder->isChecked());
    m_mountTime->setEnabled(m_schedule->isChecked());
    m_unmountTime->setEnabled(m_schedule->isChecked());
    for (QCheckBox *day : std::as_const(m_weekdays))
        day->setEnabled(m_schedule->isChecked());
}

void ShareEditorDialog::loadPassword()
{
    if (!m_context.credentials)
        return;
    if (m_original._cachedPassword) {
        m_password->setText(*m_original._cachedPassword);
        return;
    }
    // The secret store may take its time (D-Bus, an unlock prompt): ask on a worker.
    QPointer<ShareEditorDialog> self(this);
    CredentialStore *credentials = m_context.credentials;
    const QString account = m_original.credentialAccount();
    m_password->setPlaceholderText(tr("Loading…"));
    QThreadPool::globalInstance()->start([self, credentials, account] {
        const std::optional<QString> password = credentials->load(account);
        if (!self)
            return;
        QMetaObject::invokeMethod(
            self.data(),
            [self, password] {
                if (!self)
                    return;
                self->m_password->setPlaceholderText(tr("Stored in the keyring"));
                if (password && !self->m_passwordEdited)
                    self->m_password->setText(*password);
            },
            Qt::QueuedConnection);
    });
}

VolumeRecord ShareEditorDialog::recordFromFields() const
{
    VolumeRecord r = m_original;
    r.nickname_String = m_nickname->text().trimmed();
    r.mounting_using_protocol_Enum = MountProtocol::fromRaw(m_protocol->currentData().toInt());
    r.hostname_String = m_host->text().trimmed();
    bool ok = false;
    const qint64 port = m_port->text().trimmed().toLongLong(&ok);
    r.port_Int = ok ? std::optional<qint64>(port) : std::nullopt;
    r.volume_String = m_share->text().trimmed();
    r.no_password_guest_login = m_guest->isChecked() ? 1 : 0;
    r.username_String = m_user->text().trimmed();
    r.mount_inside_Volumes = m_customFolder->isChecked() ? 0 : 1;
    r.unique_mountpoint_fullpath_String = m_folder->text().trimmed();
    r.auto_Mount = m_autoMount->isChecked() ? 1 : 0;
    r.schedule_Mount = m_schedule->isChecked() ? 1 : 0;
    QDateTime mountAt = r.schedule_MountTime.toLocalTime();
    mountAt.setTime(m_mountTime->time());
    r.schedule_MountTime = mountAt;
    QDateTime unmountAt = r.schedule_UnMountTime.toLocalTime();
    unmountAt.setTime(m_unmountTime->time());
    r.schedule_UnMountTime = unmountAt;
    r.schedule_Weekdays.clear();
    for (int i = 0; i < m_weekdays.size(); ++i) {
        if (m_weekdays[i]->isChecked())
            r.schedule_Weekdays.append(i + 1);
    }
    r.allowedSSIDs_String = m_ssids->text().trimmed();
    r.macAddress_String = m_mac->text().trimmed();
    r.postMountScriptPath_String = m_postScript->text().trimmed();
    r.preUnmountScriptPath_String = m_preScript->text().trimmed();
    r.group_String = m_group->text().trimmed();
    r.trustedCertificateSHA256 = m_trustedCertificate;
    if (m_passwordEdited && !m_guest->isChecked())
        CredentialStore::setPassword(r, m_password->text());
    return r;
}

bool ShareEditorDialog::validate()
{
    const QString host = m_host->text().trimmed();
    QString hostError;
    if (host.isEmpty())
        hostError = tr("Enter the server's name or address.");
    else if (host.contains(QLatin1Char(' ')) || host.contains(QLatin1Char('/')))
        hostError = tr("A server name has no spaces or slashes; enter the share name below.");
    setError(QStringLiteral("host"), hostError);

    QString portError;
    const QString portText = m_port->text().trimmed();
    if (!portText.isEmpty()) {
        bool ok = false;
        const int port = portText.toInt(&ok);
        if (!ok || port < 1 || port > 65535)
            portError = tr("A port is a number from 1 to 65535, or empty for the protocol's default.");
    }
    setError(QStringLiteral("port"), portError);

    const auto protocol = MountProtocol::fromRaw(m_protocol->currentData().toInt());
    QString shareError;
    QString share = m_share->text().trimmed();
    while (share.startsWith(QLatin1Char('/')))
        share.remove(0, 1);
    if (share.isEmpty() && !MountProtocol::isWebDAV(protocol))
        shareError = tr("Enter the share name. %1").arg(shareNameHelp());
    setError(QStringLiteral("share"), shareError);

    setError(QStringLiteral("user"), !m_guest->isChecked() && m_user->text().trimmed().isEmpty()
                                         ? tr("Enter a user name, or choose guest login.")
                                         : QString());

    QString folderError;
    if (m_customFolder->isChecked()) {
        const QString folder = m_folder->text().trimmed();
        if (folder.isEmpty() || !QDir::isAbsolutePath(folder))
            folderError = tr("Choose a full folder path (beginning with /).");
    }
    setError(QStringLiteral("folder"), folderError);

    bool anyDay = false;
    for (QCheckBox *day : std::as_const(m_weekdays))
        anyDay = anyDay || day->isChecked();
    setError(QStringLiteral("weekdays"),
             m_schedule->isChecked() && !anyDay ? tr("A scheduled mount needs at least one day.") : QString());

    const QString mac = m_mac->text().trimmed();
    setError(QStringLiteral("mac"), !mac.isEmpty() && !WakeOnLan::magicPacket(mac)
                                        ? tr("Enter six hexadecimal pairs, e.g. 00:11:22:33:44:55.")
                                        : QString());

    for (const auto &[field, edit] : {std::pair{QStringLiteral("postScript"), m_postScript},
                                      std::pair{QStringLiteral("preScript"), m_preScript}}) {
        const QString path = edit->text().trimmed();
        setError(field, !path.isEmpty() && !QDir::isAbsolutePath(path) ? tr("Choose a script by its full path.")
                                                                        : QString());
    }

    // Only the shared validation below speaks for these rows.
    for (const char *field : {"nickname", "group", "ssids"})
        setError(QLatin1String(field), QString());
    for (const char *field : kFields) {
        if (!fieldError(QLatin1String(field)).isEmpty())
            return false;
    }
    // The rules every other way in applies (lengths, characters, a plain absolute folder), with its own words.
    if (const auto problem = RecordFields::check(recordFromFields())) {
        setError(rowOfProblem(*problem), *problem);
        return false;
    }
    return true;
}

void ShareEditorDialog::accept()
{
    if (m_readOnly) {
        QDialog::reject();
        return;
    }
    if (!validate())
        return;
    const VolumeRecord record = recordFromFields();
    if (m_isNew)
        m_savedId = m_context.engine->addRecord(record);
    else if (m_context.engine->updateRecord(record))
        m_savedId = record.internal_ID_Int;
    QDialog::accept();
}

void ShareEditorDialog::done(int result)
{
    m_certificateRead = 0; // an answer arriving after the dialog closed is not offered
    QDialog::done(result);
}
