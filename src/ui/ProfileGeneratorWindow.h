#pragma once

#include "enterprise/ProfileGenerator.h"

#include <QWidget>

class QCheckBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;
class QTableWidget;

// The "MDM Profile Generator" window: the organisation's details, the three policy switches, the enforced
// Wi-Fi names and the managed shares (rows added with "+" and removed with "−"); "Generate Profile" shows
// the profile text under "Generated Profile", "Copy" puts it on the clipboard with a short confirmation,
// "Save…" writes it (on a worker) under the proposed "<organisation>-Config.mobileconfig".
// The three switches start on (nothing is forbidden until the administrator says so).
// Thread: main thread.
class ProfileGeneratorWindow : public QWidget
{
    Q_OBJECT
public:
    static inline const QString kTitle = QStringLiteral("MDM Profile Generator");
    static inline const QString kSubtitle
        = QStringLiteral("Create a .mobileconfig profile for JAMF, Mosyle, Kandji, etc.");

    explicit ProfileGeneratorWindow(QWidget *parent = nullptr);

    // What the form holds, as the generator takes it.
    ProfileGenerator::Settings settings() const;

    QLineEdit *organizationField() const { return m_organization; }
    QLineEdit *emailField() const { return m_email; }
    QLineEdit *ssidField() const { return m_ssids; }
    QCheckBox *allowUserSharesSwitch() const { return m_allowUserShares; }
    QCheckBox *allowExportSwitch() const { return m_allowExport; }
    QCheckBox *allowImportSwitch() const { return m_allowImport; }
    QTableWidget *shareTable() const { return m_shares; }
    QString generatedProfile() const;
    QString confirmation() const;

    // Adds a share row (protocol "SMB", locked); returns its row.
    int addShareRow(const ProfileGenerator::Share &share = {});
    void removeSelectedShare();
    void generate();
    void copy();
    void save();

Q_SIGNALS:
    void saved(const QString &path, const QString &error);

private:
    QLineEdit *m_organization;
    QLineEdit *m_email;
    QCheckBox *m_allowUserShares;
    QCheckBox *m_allowExport;
    QCheckBox *m_allowImport;
    QLineEdit *m_ssids;
    QTableWidget *m_shares;
    QPlainTextEdit *m_profile;
    QPushButton *m_copy;
    QPushButton *m_save;
    QLabel *m_confirmation;
};
