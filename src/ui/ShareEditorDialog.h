#pragma once

#include "UiContext.h"

#include "core/VolumeRecord.h"

#include <QDialog>
#include <QHash>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QTimeEdit;
struct CertificateRead;

// The editor of one share: every stored field of VolumeRecord, the mount URL it will produce, the help texts,
// and the password (through the credential store: loaded on a worker when the dialog opens, written back by
// the engine on save, never kept in the record's stored form). Invalid input is shown next to its field and
// nothing is saved until every field is valid. A managed (locked) share opens read-only under the
// "IT-Managed Share" banner.
//
// A secure WebDAV share can trust its server's own certificate: "Trust Certificate…" reads the certificate
// of the server as typed (on an engine worker), shows its fingerprint and subject and, once confirmed, the
// fingerprint goes with the record when it is saved; "Forget" drops it the same way.
//
// Saving goes through the engine: addRecord for a new share, updateRecord for an existing one.
// Thread: main thread.
class ShareEditorDialog : public QDialog
{
    Q_OBJECT
public:
    // Texts of the field help (translated).
    static QString portHelp();
    static QString urlHelp();
    static QString shareNameHelp();

    // An existing record (edit) or a new one (std::nullopt: the defaults of a fresh record).
    ShareEditorDialog(const UiContext &context, std::optional<VolumeRecord> existing, QWidget *parent = nullptr);

    bool isReadOnly() const { return m_readOnly; }
    // The record as the fields describe it (stored fields only; runtime fields of the original are kept).
    VolumeRecord recordFromFields() const;
    // Checks every field, shows each error at its field; true when all are valid.
    bool validate();
    // The error shown at a field ("host", "port", "share", "user", "folder", "weekdays", "mac", "postScript",
    // "preScript"); empty when the field is valid.
    QString fieldError(const QString &field) const;
    QString urlPreview() const;
    // The ID the save produced (0 before a save).
    qint64 savedId() const { return m_savedId; }

    void accept() override;
    void done(int result) override;

private:
    QLineEdit *addLine(const QString &objectName);
    QLabel *errorLabel(const QString &field);
    void setError(const QString &field, const QString &text);
    void updatePreview();
    void updateEnabled();
    void loadPassword();
    QWidget *pathRow(QLineEdit *edit, bool folder);
    QLabel *certificateRow(); // the fingerprint; its buttons are m_certificate, the row below
    void updateCertificateRow();
    void readCertificate();
    void offerCertificate(const QString &server, const CertificateRead &read);

    UiContext m_context;
    VolumeRecord m_original;
    bool m_isNew = true;
    bool m_readOnly = false;
    bool m_passwordEdited = false;
    qint64 m_savedId = 0;
    QString m_trustedCertificate;   // the fingerprint the record will trust when saved
    quint64 m_certificateRead = 0;  // the read whose answer is awaited (0: none; any other answer is stale)
    quint64 m_certificateReads = 0; // numbers the reads

    QLineEdit *m_nickname = nullptr;
    QComboBox *m_protocol = nullptr;
    QLineEdit *m_host = nullptr;
    QLineEdit *m_port = nullptr;
    QLineEdit *m_share = nullptr;
    QLabel *m_preview = nullptr;
    QCheckBox *m_guest = nullptr;
    QLineEdit *m_user = nullptr;
    QLineEdit *m_password = nullptr;
    QCheckBox *m_customFolder = nullptr;
    QLineEdit *m_folder = nullptr;
    QCheckBox *m_autoMount = nullptr;
    QCheckBox *m_schedule = nullptr;
    QTimeEdit *m_mountTime = nullptr;
    QTimeEdit *m_unmountTime = nullptr;
    QList<QCheckBox *> m_weekdays; // Sunday (1) .. Saturday (7)
    QLineEdit *m_ssids = nullptr;
    QLineEdit *m_mac = nullptr;
    QLineEdit *m_postScript = nullptr;
    QLineEdit *m_preScript = nullptr;
    QLineEdit *m_group = nullptr;
    QWidget *m_certificate = nullptr;
    QLabel *m_certificateText = nullptr;
    QPushButton *m_trustCertificate = nullptr;
    QPushButton *m_forgetCertificate = nullptr;
    QHash<QString, QLabel *> m_errors;
};
