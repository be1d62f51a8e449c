#pragma once

#include <QWidget>

class ConfigurationManager;
class LegacyImporter;
class QLabel;
class QPushButton;

// The "Import & Export" tab: the configuration file (export; import through a preview alert that offers
// "Replace All", "Merge (Add New)" and "Cancel", then the "Import Complete" summary), the share CSV (export
// without passwords; import with its warnings alert), the import from the macOS build, and the profile
// generator for administrators.
//
// Controls the organisation forbids (managed "AllowShareImport" / "AllowShareExport" set to false) are
// disabled and carry the policy text; the policy is read again whenever the tab is shown. The chosen files
// are read and written on a worker. Thread: main thread.
class ExchangeView : public QWidget
{
    Q_OBJECT
public:
    static inline const QString kImportDisabledText = QStringLiteral("Your IT administrator has disabled import.");
    static inline const QString kExportDisabledText = QStringLiteral("Your IT administrator has disabled export.");

    // `legacy` may be null (then that import is not offered).
    ExchangeView(ConfigurationManager &configuration, LegacyImporter *legacy, QWidget *parent = nullptr);

    // Re-reads the policy and enables or disables the gated controls.
    void refreshPolicy();

    void exportConfiguration();
    void importConfiguration();
    void exportCsv();
    void importCsv();
    void importLegacy();
    void openProfileGenerator();

    QString lastOutcome() const;

    // The preview alert's text for a configuration file.
    static QString previewText(const QString &fileName, const QString &exportedBy, const QString &date, int shares,
                               int sets, int rules);

Q_SIGNALS:
    // An operation ended (successfully or not); lastOutcome() says how.
    void finished();

protected:
    void showEvent(QShowEvent *event) override;

private:
    void setOutcome(const QString &text);
    void fail(const QString &title, const QString &text);
    void importConfigurationBytes(const QString &path, const QByteArray &bytes);

    ConfigurationManager &m_configuration;
    LegacyImporter *m_legacy;
    QList<QPushButton *> m_importButtons;
    QList<QPushButton *> m_exportButtons;
    QList<QLabel *> m_importPolicyLabels;
    QList<QLabel *> m_exportPolicyLabels;
    QLabel *m_outcome;
};
