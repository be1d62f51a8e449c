#include "ProfileGeneratorWindow.h"

#include "ViewHooks.h"

#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QFontDatabase>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QTableWidget>
#include <QTimer>
#include <QVBoxLayout>

namespace {
enum Column { NicknameColumn, HostColumn, ShareColumn, ProtocolColumn, LockedColumn, ColumnCount };
const QStringList kProtocols{QStringLiteral("SMB"), QStringLiteral("AFP"), QStringLiteral("NFS"),
                             QStringLiteral("WEBDAV"), QStringLiteral("WEBDAVS")};
} // namespace

ProfileGeneratorWindow::ProfileGeneratorWindow(QWidget *parent)
    : QWidget(parent, Qt::Window)
    , m_organization(new QLineEdit)
    , m_email(new QLineEdit)
    , m_allowUserShares(new QCheckBox(tr("Allow users to add their own shares")))
    , m_allowExport(new QCheckBox(tr("Allow export (CSV, config, sets)")))
    , m_allowImport(new QCheckBox(tr("Allow import (CSV, config, sets)")))
    , m_ssids(new QLineEdit)
    , m_shares(new QTableWidget(0, ColumnCount))
    , m_profile(new QPlainTextEdit)
    , m_copy(new QPushButton(tr("Copy")))
    , m_save(new QPushButton(tr("Save…")))
    , m_confirmation(new QLabel)
{
    setObjectName(QStringLiteral("ProfileGeneratorWindow"));
    setWindowTitle(tr("MDM Profile Generator"));
    auto *layout = new QVBoxLayout(this);

    auto *title = new QLabel(tr("MDM Profile Generator"));
    QFont big = title->font();
    big.setPointSizeF(big.pointSizeF() * 1.4);
    big.setBold(true);
    title->setFont(big);
    auto *subtitle = new QLabel(tr("Create a .mobileconfig profile for JAMF, Mosyle, Kandji, etc."));
    subtitle->setObjectName(QStringLiteral("subtitle"));
    subtitle->setStyleSheet(QStringLiteral("color: #666666;"));
    layout->addWidget(title);
    layout->addWidget(subtitle);

    auto *organisation = new QGroupBox(tr("Organization"));
    auto *form = new QFormLayout(organisation);
    m_organization->setObjectName(QStringLiteral("organizationField"));
    m_organization->setPlaceholderText(QStringLiteral("Acme Corporation"));
    m_email->setObjectName(QStringLiteral("helpDeskEmailField"));
    m_email->setPlaceholderText(QStringLiteral("helpdesk@acme.com"));
    form->addRow(tr("Organization Name:"), m_organization);
    form->addRow(tr("Help Desk Email:"), m_email);
    layout->addWidget(organisation);

    auto *policies = new QGroupBox(tr("Policies"));
    auto *policyLayout = new QFormLayout(policies);
    for (QCheckBox *box : {m_allowUserShares, m_allowExport, m_allowImport}) {
        box->setChecked(true);
        policyLayout->addRow(box);
    }
    m_allowUserShares->setObjectName(QStringLiteral("allowUserSharesSwitch"));
    m_allowExport->setObjectName(QStringLiteral("allowExportSwitch"));
    m_allowImport->setObjectName(QStringLiteral("allowImportSwitch"));
    m_ssids->setObjectName(QStringLiteral("ssidField"));
    m_ssids->setPlaceholderText(QStringLiteral("CorpWiFi, CorpWiFi-5G (comma-separated)"));
    policyLayout->addRow(tr("Enforced Wi-Fi networks:"), m_ssids);
    layout->addWidget(policies);

    auto *sharesBox = new QGroupBox(tr("Managed Shares"));
    auto *sharesLayout = new QVBoxLayout(sharesBox);
    m_shares->setObjectName(QStringLiteral("profileShareTable"));
    m_shares->setHorizontalHeaderLabels({tr("Nickname"), tr("Hostname"), tr("Share"), tr("Protocol"), tr("Locked")});
    m_shares->horizontalHeader()->setSectionResizeMode(HostColumn, QHeaderView::Stretch);
    m_shares->horizontalHeader()->setSectionResizeMode(ShareColumn, QHeaderView::Stretch);
    m_shares->verticalHeader()->hide();
    m_shares->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_shares->setMinimumHeight(110);
    sharesLayout->addWidget(m_shares);
    auto *rowButtons = new QHBoxLayout;
    auto *add = new QPushButton(QStringLiteral("+"));
    add->setObjectName(QStringLiteral("addShareRowButton"));
    add->setToolTip(tr("Add a share"));
    auto *remove = new QPushButton(QStringLiteral("−"));
    remove->setObjectName(QStringLiteral("removeShareRowButton"));
    remove->setToolTip(tr("Remove the selected share"));
    for (QPushButton *b : {add, remove})
        b->setFixedWidth(32);
    connect(add, &QPushButton::clicked, this, [this] { addShareRow(); });
    connect(remove, &QPushButton::clicked, this, &ProfileGeneratorWindow::removeSelectedShare);
    rowButtons->addWidget(add);
    rowButtons->addWidget(remove);
    rowButtons->addStretch();
    sharesLayout->addLayout(rowButtons);
    layout->addWidget(sharesBox);

    auto *actions = new QHBoxLayout;
    auto *generateButton = new QPushButton(tr("Generate Profile"));
    generateButton->setObjectName(QStringLiteral("generateButton"));
    generateButton->setDefault(true);
    m_copy->setObjectName(QStringLiteral("copyButton"));
    m_save->setObjectName(QStringLiteral("saveButton"));
    m_copy->setEnabled(false);
    m_save->setEnabled(false);
    connect(generateButton, &QPushButton::clicked, this, &ProfileGeneratorWindow::generate);
    connect(m_copy, &QPushButton::clicked, this, &ProfileGeneratorWindow::copy);
    connect(m_save, &QPushButton::clicked, this, &ProfileGeneratorWindow::save);
    m_confirmation->setObjectName(QStringLiteral("copyConfirmation"));
    actions->addWidget(generateButton);
    actions->addWidget(m_copy);
    actions->addWidget(m_save);
    actions->addWidget(m_confirmation);
    actions->addStretch();
    layout->addLayout(actions);

    layout->addWidget(new QLabel(tr("Generated Profile")));
    m_profile->setObjectName(QStringLiteral("generatedProfile"));
    m_profile->setReadOnly(true);
    m_profile->setLineWrapMode(QPlainTextEdit::NoWrap); // the indentation is part of the format
    m_profile->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    m_profile->setMinimumHeight(140);
    layout->addWidget(m_profile, 1);
    resize(660, 880);
}

int ProfileGeneratorWindow::addShareRow(const ProfileGenerator::Share &share)
{
    const int row = m_shares->rowCount();
    m_shares->insertRow(row);
    m_shares->setItem(row, NicknameColumn, new QTableWidgetItem(share.nickname));
    m_shares->setItem(row, HostColumn, new QTableWidgetItem(share.hostname));
    m_shares->setItem(row, ShareColumn, new QTableWidgetItem(share.shareName));
    auto *protocol = new QComboBox;
    protocol->addItems(kProtocols);
    const int index = kProtocols.indexOf(share.protocolType.toUpper());
    protocol->setCurrentIndex(index < 0 ? 0 : index);
    m_shares->setCellWidget(row, ProtocolColumn, protocol);
    auto *locked = new QTableWidgetItem;
    locked->setFlags(Qt::ItemIsUserCheckable | Qt::ItemIsEnabled | Qt::ItemIsSelectable);
    locked->setCheckState(share.locked ? Qt::Checked : Qt::Unchecked);
    m_shares->setItem(row, LockedColumn, locked);
    return row;
}

void ProfileGeneratorWindow::removeSelectedShare()
{
    const int row = m_shares->currentRow();
    if (row >= 0)
        m_shares->removeRow(row);
    else if (m_shares->rowCount() > 0)
        m_shares->removeRow(m_shares->rowCount() - 1);
}

ProfileGenerator::Settings ProfileGeneratorWindow::settings() const
{
    ProfileGenerator::Settings s;
    s.organizationName = m_organization->text();
    s.helpDeskEmail = m_email->text();
    s.allowUserShares = m_allowUserShares->isChecked();
    s.allowShareExport = m_allowExport->isChecked();
    s.allowShareImport = m_allowImport->isChecked();
    s.enforcedSSIDs = m_ssids->text();
    const auto text = [this](int row, int column) {
        const QTableWidgetItem *item = m_shares->item(row, column);
        return item ? item->text() : QString();
    };
    for (int row = 0; row < m_shares->rowCount(); ++row) {
        ProfileGenerator::Share share;
        share.nickname = text(row, NicknameColumn);
        share.hostname = text(row, HostColumn);
        share.shareName = text(row, ShareColumn);
        if (auto *protocol = qobject_cast<QComboBox *>(m_shares->cellWidget(row, ProtocolColumn)))
            share.protocolType = protocol->currentText();
        const QTableWidgetItem *locked = m_shares->item(row, LockedColumn);
        share.locked = locked && locked->checkState() == Qt::Checked;
        s.shares.append(share);
    }
    return s;
}

QString ProfileGeneratorWindow::generatedProfile() const
{
    return m_profile->toPlainText();
}

QString ProfileGeneratorWindow::confirmation() const
{
    return m_confirmation->text();
}

void ProfileGeneratorWindow::generate()
{
    m_profile->setPlainText(ProfileGenerator::generate(settings()));
    m_copy->setEnabled(true);
    m_save->setEnabled(true);
    m_confirmation->clear();
}

void ProfileGeneratorWindow::copy()
{
    if (generatedProfile().isEmpty())
        return;
    QApplication::clipboard()->setText(generatedProfile());
    m_confirmation->setText(tr("Copied to clipboard"));
    const QPointer<QLabel> label(m_confirmation);
    QTimer::singleShot(2000, this, [label] {
        if (label)
            label->clear();
    });
}

void ProfileGeneratorWindow::save()
{
    if (generatedProfile().isEmpty())
        return;
    ViewHooks::FilePanel panel;
    panel.title = tr("Save Configuration Profile");
    panel.message = tr("Deploy this file with your device-management service");
    panel.nameFilter = tr("Configuration profiles (*.mobileconfig)");
    panel.proposedName = ProfileGenerator::proposedFileName(m_organization->text());
    panel.save = true;
    const QByteArray bytes = generatedProfile().toUtf8();
    const QPointer<ProfileGeneratorWindow> self(this);
    ViewHooks::instance().choosePath(this, panel, [self, bytes](const QString &path) {
        if (!self || path.isEmpty())
            return;
        BackgroundFile::write(self, path, bytes, [self, path](const QString &error) {
            self->m_confirmation->setText(error.isEmpty() ? tr("Saved to %1").arg(path) : error);
            Q_EMIT self->saved(path, error);
        });
    });
}
