#include "ExchangeView.h"

#include "ProfileGeneratorWindow.h"
#include "UiContext.h"
#include "ViewHooks.h"

#include "base/Console.h"
#include "exchange/Configuration.h"
#include "exchange/ConfigurationManager.h"
#include "exchange/LegacyImporter.h"

#include <QFileInfo>
#include <QGroupBox>
#include <QLabel>
#include <QLocale>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

const QString kConfigFilter = QStringLiteral("Tarnwell configuration (*.twconfig)");
const QString kCsvFilter = QStringLiteral("Comma-separated values (*.csv)");

QLabel *policyLabel(const QString &text)
{
    auto *label = new QLabel(text);
    label->setObjectName(QStringLiteral("policyLabel"));
    label->setStyleSheet(QStringLiteral("color: #a15c00;"));
    label->setWordWrap(true);
    label->hide();
    return label;
}

} // namespace

ExchangeView::ExchangeView(ConfigurationManager &configuration, LegacyImporter *legacy, QWidget *parent)
    : QWidget(parent)
    , m_configuration(configuration)
    , m_legacy(legacy)
    , m_outcome(new QLabel)
{
    setObjectName(QStringLiteral("ExchangeView"));
    auto *layout = new QVBoxLayout(this);

    // One box per kind of exchange: its explanation, its buttons, and the policy notes under them.
    const auto box = [layout](const QString &title, const QString &explanation) {
        auto *group = new QGroupBox(title);
        auto *inner = new QVBoxLayout(group);
        auto *text = new QLabel(explanation);
        text->setWordWrap(true);
        inner->addWidget(text);
        auto *buttons = new QHBoxLayout;
        inner->addLayout(buttons);
        layout->addWidget(group);
        return std::make_pair(inner, buttons);
    };
    const auto button = [this](QHBoxLayout *row, const QString &text, const QString &name, void (ExchangeView::*slot)(),
                               bool import) {
        auto *b = new QPushButton(text);
        b->setObjectName(name);
        connect(b, &QPushButton::clicked, this, slot);
        row->addWidget(b);
        (import ? m_importButtons : m_exportButtons).append(b);
        return b;
    };
    const auto notes = [this](QVBoxLayout *inner, bool withImport, bool withExport) {
        if (withExport) {
            QLabel *label = policyLabel(tr("Your IT administrator has disabled export."));
            m_exportPolicyLabels.append(label);
            inner->addWidget(label);
        }
        if (withImport) {
            QLabel *label = policyLabel(tr("Your IT administrator has disabled import."));
            m_importPolicyLabels.append(label);
            inner->addWidget(label);
        }
    };

    auto [configBox, configRow] = box(tr("Configuration File"),
                                      tr("The whole setup (shares without passwords, share sets, rules and settings) "
                                         "as one .twconfig file, to move it to another machine."));
    button(configRow, tr("Export Configuration…"), QStringLiteral("exportConfigButton"),
           &ExchangeView::exportConfiguration, false);
    button(configRow, tr("Import Configuration…"), QStringLiteral("importConfigButton"),
           &ExchangeView::importConfiguration, true);
    configRow->addStretch();
    notes(configBox, true, true);

    auto [csvBox, csvRow] = box(tr("Share CSV"),
                                tr("One share per line, for spreadsheets. Passwords are never exported; an import "
                                   "may carry them in a \"password\" column."));
    button(csvRow, tr("Export Shares as CSV…"), QStringLiteral("exportCsvButton"), &ExchangeView::exportCsv, false);
    button(csvRow, tr("Import Shares from CSV…"), QStringLiteral("importCsvButton"), &ExchangeView::importCsv, true);
    csvRow->addStretch();
    notes(csvBox, true, true);

    if (m_legacy) {
        auto [legacyBox, legacyRow] =
            box(tr("Earlier Version"), tr("Takes the shares, event log, share sets, directory mappings and settings "
                                          "from the preferences file of the macOS build (the file is only read)."));
        button(legacyRow, tr("Import from the macOS Build…"), QStringLiteral("importLegacyButton"),
               &ExchangeView::importLegacy, true);
        legacyRow->addStretch();
        notes(legacyBox, true, false);
    }

    auto [adminBox, adminRow] = box(tr("Deployment"), tr("Create a configuration profile that pushes shares and "
                                                         "policies to managed machines."));
    auto *generator = new QPushButton(tr("MDM Profile Generator…"));
    generator->setObjectName(QStringLiteral("profileGeneratorButton"));
    connect(generator, &QPushButton::clicked, this, &ExchangeView::openProfileGenerator);
    adminRow->addWidget(generator);
    adminRow->addStretch();
    Q_UNUSED(adminBox);

    m_outcome->setObjectName(QStringLiteral("exchangeOutcome"));
    m_outcome->setWordWrap(true);
    m_outcome->setTextInteractionFlags(Qt::TextSelectableByMouse);
    layout->addWidget(m_outcome);
    layout->addStretch();
    refreshPolicy();
}

void ExchangeView::showEvent(QShowEvent *event)
{
    refreshPolicy();
    QWidget::showEvent(event);
}

void ExchangeView::refreshPolicy()
{
    const bool importAllowed = m_configuration.importAllowed();
    const bool exportAllowed = m_configuration.exportAllowed();
    const QString importText = tr("Your IT administrator has disabled import.");
    const QString exportText = tr("Your IT administrator has disabled export.");
    for (QPushButton *b : std::as_const(m_importButtons)) {
        b->setEnabled(importAllowed);
        b->setToolTip(importAllowed ? QString() : importText);
    }
    for (QPushButton *b : std::as_const(m_exportButtons)) {
        b->setEnabled(exportAllowed);
        b->setToolTip(exportAllowed ? QString() : exportText);
    }
    for (QLabel *l : std::as_const(m_importPolicyLabels))
        l->setVisible(!importAllowed);
    for (QLabel *l : std::as_const(m_exportPolicyLabels))
        l->setVisible(!exportAllowed);
}

QString ExchangeView::lastOutcome() const
{
    return m_outcome->text();
}

void ExchangeView::setOutcome(const QString &text)
{
    m_outcome->setText(text);
    Q_EMIT finished();
}

void ExchangeView::fail(const QString &title, const QString &text)
{
    Prompter::instance().inform(this, title, text);
    setOutcome(text);
}

QString ExchangeView::previewText(const QString &fileName, const QString &exportedBy, const QString &date, int shares,
                                  int sets, int rules)
{
    return QStringLiteral("File: ") + fileName + QStringLiteral("\nExported by: ") + exportedBy +
           QStringLiteral("\nDate: ") + date + QStringLiteral("\n\nContains:\n") + QString::number(shares) +
           QStringLiteral(" shares\n") + QString::number(sets) + QStringLiteral(" share sets\n") +
           QString::number(rules) + QStringLiteral(" rules\n\nHow should imported items be handled?");
}

// --- Configuration file ---------------------------------------------------------------------------------

void ExchangeView::exportConfiguration()
{
    // Refused before any panel opens.
    if (!m_configuration.exportAllowed()) {
        refreshPolicy();
        fail(tr("Export Failed"), Configuration::Error{Configuration::ErrorKind::ExportDisabledByIT, {}}.text());
        return;
    }
    ViewHooks::FilePanel panel;
    panel.title = tr("Export Configuration");
    panel.message = tr("Save the Tarnwell configuration (passwords not included)");
    panel.nameFilter = kConfigFilter;
    panel.proposedName = QStringLiteral("Tarnwell-Configuration") + Configuration::kFileExtension;
    panel.save = true;
    const QPointer<ExchangeView> self(this);
    ViewHooks::instance().choosePath(this, panel, [self](const QString &chosen) {
        if (!self || chosen.isEmpty())
            return;
        QString path = chosen;
        if (!path.endsWith(Configuration::kFileExtension))
            path += Configuration::kFileExtension;
        // Taken at the moment of saving, so the file holds what the user saw when choosing the name.
        const auto bytes = self->m_configuration.exportConfiguration();
        if (!bytes.ok()) {
            self->fail(tr("Export Failed"), bytes.error.text());
            return;
        }
        BackgroundFile::write(self, path, bytes.value, [self, path](const QString &error) {
            if (!error.isEmpty()) {
                self->fail(tr("Export Failed"), error);
                return;
            }
            Console::line(ConfigurationManager::kExportedLine + path);
            self->setOutcome(tr("Exported configuration to %1").arg(path));
        });
    });
}

void ExchangeView::importConfiguration()
{
    if (!m_configuration.importAllowed()) {
        refreshPolicy();
        fail(tr("Import Failed"), Configuration::Error{Configuration::ErrorKind::ImportDisabledByIT, {}}.text());
        return;
    }
    ViewHooks::FilePanel panel;
    panel.title = QStringLiteral("Import Configuration");
    panel.message = QStringLiteral("Select a Tarnwell configuration file");
    panel.nameFilter = kConfigFilter;
    const QPointer<ExchangeView> self(this);
    ViewHooks::instance().choosePath(this, panel, [self](const QString &path) {
        if (!self || path.isEmpty())
            return;
        BackgroundFile::read(self, path, [self, path](const QByteArray &bytes, const QString &error) {
            if (!error.isEmpty())
                self->fail(tr("Import Failed"), error);
            else
                self->importConfigurationBytes(path, bytes);
        });
    });
}

void ExchangeView::importConfigurationBytes(const QString &path, const QByteArray &bytes)
{
    const auto preview = m_configuration.preview(bytes);
    if (!preview.ok()) {
        fail(tr("Import Failed"), preview.error.text());
        return;
    }
    const Configuration::Preview &p = preview.value;
    const QString date =
        p.exportDate ? QLocale().toString(p.exportDate->toLocalTime(), QLocale::ShortFormat) : QString();
    const QString text =
        previewText(QFileInfo(path).fileName(), p.exportedBy, date, p.shareCount, p.setCount, p.ruleCount);
    const QStringList buttons { QStringLiteral("Replace All"), QStringLiteral("Merge (Add New)"),
                                QStringLiteral("Cancel") };
    const QPointer<ExchangeView> self(this);
    ViewHooks::instance().choose(this, QStringLiteral("Import Configuration"), text, buttons, [self, bytes](int index) {
        if (!self)
            return;
        if (index != 0 && index != 1) {
            self->setOutcome(Configuration::Error{Configuration::ErrorKind::UserCancelled, {}}.text());
            return;
        }
        const auto mode = index == 0 ? Configuration::ImportMode::Replace : Configuration::ImportMode::Merge;
        const auto result = self->m_configuration.importConfiguration(bytes, mode);
        if (!result.ok()) {
            self->fail(tr("Import Failed"), result.error.text());
            return;
        }
        const QString summary = Configuration::summaryText(result.value);
        Prompter::instance().inform(self, QStringLiteral("Import Complete"), summary);
        self->setOutcome(summary);
    });
}

// --- Share CSV --------------------------------------------------------------------------------------------

void ExchangeView::exportCsv()
{
    if (!m_configuration.exportAllowed()) {
        refreshPolicy();
        fail(tr("Export Failed"), Configuration::Error{Configuration::ErrorKind::ExportDisabledByIT, {}}.text());
        return;
    }
    ViewHooks::FilePanel panel;
    panel.title = QStringLiteral("Export Shares as CSV");
    panel.message = QStringLiteral("Save for Excel, Numbers, or sharing (passwords not included)");
    panel.nameFilter = kCsvFilter;
    panel.proposedName = QStringLiteral("Tarnwell-Shares.csv");
    panel.save = true;
    const QPointer<ExchangeView> self(this);
    ViewHooks::instance().choosePath(this, panel, [self](const QString &chosen) {
        if (!self || chosen.isEmpty())
            return;
        const QString path
            = chosen.endsWith(QStringLiteral(".csv"), Qt::CaseInsensitive) ? chosen : chosen + QStringLiteral(".csv");
        const auto text = self->m_configuration.exportCsv();
        if (!text.ok()) {
            self->fail(tr("Export Failed"), text.error.text());
            return;
        }
        BackgroundFile::write(self, path, text.value.toUtf8(), [self, path](const QString &error) {
            if (!error.isEmpty())
                self->fail(tr("Export Failed"), error);
            else
                self->setOutcome(tr("Exported shares to %1").arg(path));
        });
    });
}

void ExchangeView::importCsv()
{
    if (!m_configuration.importAllowed()) {
        refreshPolicy();
        fail(tr("Import Failed"), Configuration::Error{Configuration::ErrorKind::ImportDisabledByIT, {}}.text());
        return;
    }
    ViewHooks::FilePanel panel;
    panel.title = tr("Import Shares from CSV");
    panel.message = tr("Select a CSV file with hostname and shareName columns");
    panel.nameFilter = kCsvFilter;
    const QPointer<ExchangeView> self(this);
    ViewHooks::instance().choosePath(this, panel, [self](const QString &path) {
        if (!self || path.isEmpty())
            return;
        BackgroundFile::read(self, path, [self](const QByteArray &bytes, const QString &error) {
            if (!error.isEmpty()) {
                self->fail(tr("Import Failed"), error);
                return;
            }
            self->m_configuration.importCsv(
                QString::fromUtf8(bytes), [self](const ConfigurationManager::CsvOutcome &outcome) {
                    if (!self)
                        return;
                    if (outcome.error.isError()) {
                        self->fail(tr("Import Failed"), outcome.error.text());
                        return;
                    }
                    QString text = outcome.summary();
                    if (!outcome.warnings.isEmpty())
                        text += QStringLiteral("\n\n") + outcome.warnings.join(QLatin1Char('\n'));
                    Prompter::instance().inform(self, outcome.title(), text);
                    self->setOutcome(text);
                });
        });
    });
}

// --- The macOS build ------------------------------------------------------------------------------------

void ExchangeView::importLegacy()
{
    if (!m_legacy)
        return;
    if (!m_configuration.importAllowed()) {
        refreshPolicy();
        fail(tr("Import Failed"), Configuration::Error{Configuration::ErrorKind::ImportDisabledByIT, {}}.text());
        return;
    }
    ViewHooks::FilePanel panel;
    panel.title = tr("Import from the macOS Build");
    panel.message = tr("Select the preferences file the macOS build left behind");
    panel.nameFilter = tr("Property lists (*.plist)");
    const QPointer<ExchangeView> self(this);
    ViewHooks::instance().choosePath(this, panel, [self](const QString &path) {
        if (!self || path.isEmpty())
            return;
        self->m_legacy->importFile(path, [self](const LegacyImporter::Summary &summary) {
            if (!self)
                return;
            if (!summary.error.isEmpty()) {
                self->fail(tr("Import Failed"), summary.error);
                return;
            }
            Prompter::instance().inform(self, QStringLiteral("Import Complete"), summary.text());
            self->setOutcome(summary.text());
        });
    });
}

void ExchangeView::openProfileGenerator()
{
    auto *window = new ProfileGeneratorWindow;
    window->setAttribute(Qt::WA_DeleteOnClose);
    window->show();
}
