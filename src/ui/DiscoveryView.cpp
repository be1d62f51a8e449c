#include "DiscoveryView.h"

#include "core/MountEngine.h"
#include "core/VolumeRecord.h"
#include "discovery/NetworkDiscoveryManager.h"

#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QSplitter>
#include <QVBoxLayout>

DiscoveryView::DiscoveryView(NetworkDiscoveryManager &discovery, MountEngine &engine, QWidget *parent)
    : QWidget(parent)
    , m_discovery(discovery)
    , m_engine(engine)
    , m_scan(new QPushButton(tr("Scan Network")))
    , m_progress(new QProgressBar)
    , m_status(new QLabel)
    , m_servers(new QListWidget)
    , m_user(new QLineEdit)
    , m_password(new QLineEdit)
    , m_browse(new QPushButton(tr("Browse Shares")))
    , m_serverNote(new QLabel)
    , m_shares(new QListWidget)
    , m_error(new QLabel)
    , m_retry(new QPushButton(tr("Retry")))
    , m_add(new QPushButton(tr("Add Share")))
    , m_outcome(new QLabel)
{
    setObjectName(QStringLiteral("DiscoveryView"));
    auto *layout = new QVBoxLayout(this);

    auto *top = new QHBoxLayout;
    m_scan->setObjectName(QStringLiteral("scanButton"));
    m_progress->setObjectName(QStringLiteral("scanProgress"));
    m_progress->setRange(0, 100);
    m_progress->setTextVisible(false);
    m_progress->setMaximumWidth(220);
    m_status->setObjectName(QStringLiteral("scanStatus"));
    top->addWidget(m_scan);
    top->addWidget(m_progress);
    top->addWidget(m_status, 1);
    layout->addLayout(top);

    auto *splitter = new QSplitter;
    auto *serversBox = new QGroupBox(tr("Servers"));
    auto *serversLayout = new QVBoxLayout(serversBox);
    m_servers->setObjectName(QStringLiteral("serverList"));
    serversLayout->addWidget(m_servers);
    splitter->addWidget(serversBox);

    auto *browser = new QGroupBox(tr("Shares"));
    auto *browserLayout = new QVBoxLayout(browser);
    auto *form = new QFormLayout;
    m_user->setObjectName(QStringLiteral("browseUserField"));
    m_user->setPlaceholderText(tr("guest"));
    m_password->setObjectName(QStringLiteral("browsePasswordField"));
    m_password->setEchoMode(QLineEdit::Password);
    form->addRow(tr("Username:"), m_user);
    form->addRow(tr("Password:"), m_password);
    browserLayout->addLayout(form);
    auto *browseRow = new QHBoxLayout;
    m_browse->setObjectName(QStringLiteral("browseButton"));
    browseRow->addWidget(m_browse);
    m_serverNote->setObjectName(QStringLiteral("serverNote"));
    m_serverNote->setWordWrap(true);
    browseRow->addWidget(m_serverNote, 1);
    browserLayout->addLayout(browseRow);
    m_shares->setObjectName(QStringLiteral("shareList"));
    browserLayout->addWidget(m_shares, 1);
    auto *errorRow = new QHBoxLayout;
    m_error->setObjectName(QStringLiteral("browseError"));
    m_error->setWordWrap(true);
    m_error->setStyleSheet(QStringLiteral("color: #c0392b;"));
    m_retry->setObjectName(QStringLiteral("retryButton"));
    errorRow->addWidget(m_error, 1);
    errorRow->addWidget(m_retry, 0, Qt::AlignTop);
    browserLayout->addLayout(errorRow);
    auto *addRow = new QHBoxLayout;
    m_add->setObjectName(QStringLiteral("addShareButton"));
    m_outcome->setObjectName(QStringLiteral("addOutcome"));
    m_outcome->setWordWrap(true);
    addRow->addWidget(m_add);
    addRow->addWidget(m_outcome, 1);
    browserLayout->addLayout(addRow);
    splitter->addWidget(browser);
    splitter->setStretchFactor(1, 2);
    layout->addWidget(splitter, 1);

    connect(m_scan, &QPushButton::clicked, this, &DiscoveryView::toggleScan);
    connect(m_browse, &QPushButton::clicked, this, &DiscoveryView::browse);
    connect(m_retry, &QPushButton::clicked, this, &DiscoveryView::browse);
    connect(m_add, &QPushButton::clicked, this, &DiscoveryView::addSelected);
    connect(m_servers, &QListWidget::currentRowChanged, this, &DiscoveryView::updateButtons);
    connect(m_shares, &QListWidget::currentRowChanged, this, &DiscoveryView::updateButtons);
    connect(m_servers, &QListWidget::itemDoubleClicked, this, &DiscoveryView::browse);
    connect(m_shares, &QListWidget::itemDoubleClicked, this, &DiscoveryView::addSelected);
    connect(&m_discovery, &NetworkDiscoveryManager::changed, this, &DiscoveryView::update);
    update();
}

QString DiscoveryView::statusText() const
{
    return m_status->text();
}

QString DiscoveryView::errorText() const
{
    return m_error->text();
}

bool DiscoveryView::retryShown() const
{
    return !m_retry->isHidden();
}

QString DiscoveryView::outcomeText() const
{
    return m_outcome->text();
}

void DiscoveryView::toggleScan()
{
    if (m_discovery.isScanning())
        m_discovery.stopScan();
    else
        m_discovery.startScan();
}

void DiscoveryView::browse()
{
    const int row = m_servers->currentRow();
    const QList<DiscoveredShare> &servers = m_discovery.discoveredShares();
    if (row < 0 || row >= servers.size() || servers.at(row).protocolType != NetworkDiscoveryManager::kSmb)
        return;
    m_browsed = servers.at(row);
    m_outcome->clear();
    m_discovery.browseShares(servers.at(row), m_user->text().trimmed(), m_password->text());
}

qint64 DiscoveryView::addSelected()
{
    const QList<ShareInfo> &shares = m_discovery.availableShares();
    const int row = m_shares->currentRow();
    if (!m_browsed || row < 0 || row >= shares.size())
        return 0;
    const qint64 id = NetworkDiscoveryManager::addShare(m_engine, *m_browsed, shares.at(row),
                                                        m_user->text().trimmed(), m_password->text());
    const VolumeRecord *record = m_engine.record(id);
    m_outcome->setText(record ? tr("Added share '%1'. Edit it in the Shares tab.").arg(record->displayName())
                              : tr("The share could not be added."));
    Q_EMIT shareAdded(id);
    return id;
}

void DiscoveryView::update()
{
    // Scan.
    m_scan->setText(m_discovery.isScanning() ? tr("Stop Scan") : tr("Scan Network"));
    m_progress->setValue(int(m_discovery.scanProgress() * 100 + 0.5));
    m_progress->setVisible(m_discovery.isScanning() || m_discovery.scanProgress() > 0);
    m_status->setText(m_discovery.statusMessage());

    // Servers: rebuilt only when the list changed, so the selection survives progress updates.
    const QList<DiscoveredShare> &servers = m_discovery.discoveredShares();
    bool same = m_servers->count() == servers.size();
    for (int i = 0; same && i < servers.size(); ++i)
        same = m_servers->item(i)->data(Qt::UserRole).toUuid() == servers.at(i).id;
    if (!same) {
        const QUuid selected
            = m_servers->currentItem() ? m_servers->currentItem()->data(Qt::UserRole).toUuid() : QUuid();
        m_servers->clear();
        for (const DiscoveredShare &server : servers) {
            auto *item = new QListWidgetItem(server.displayName);
            item->setData(Qt::UserRole, server.id);
            if (server.ipAddress && *server.ipAddress != server.hostname)
                item->setToolTip(*server.ipAddress);
            m_servers->addItem(item);
            if (server.id == selected)
                m_servers->setCurrentItem(item);
        }
    }
    showShares();
    updateButtons();
}

void DiscoveryView::showShares()
{
    // Rebuilt only when the listing changed, so the chosen share survives scan progress.
    const QList<ShareInfo> &shares = m_discovery.availableShares();
    bool same = m_shares->count() == shares.size();
    for (int i = 0; same && i < shares.size(); ++i)
        same = m_shares->item(i)->data(Qt::UserRole).toUuid() == shares.at(i).id;
    if (!same)
        m_shares->clear();
    for (const ShareInfo &share : same ? QList<ShareInfo>() : shares) {
        auto *item = new QListWidgetItem(share.isHidden ? tr("%1 (hidden)").arg(share.name) : share.name);
        item->setData(Qt::UserRole, share.id);
        if (share.isHidden) {
            item->setForeground(palette().color(QPalette::Disabled, QPalette::Text));
            item->setToolTip(tr("Hidden share: its name ends in $"));
        }
        m_shares->addItem(item);
    }
    const std::optional<QString> &error = m_discovery.shareBrowseError();
    m_error->setText(error.value_or(QString()));
    m_error->setVisible(error.has_value());
    m_retry->setVisible(error.has_value());
    if (m_discovery.isBrowsingShares())
        m_serverNote->setText(tr("Listing shares…"));
}

void DiscoveryView::updateButtons()
{
    const QList<DiscoveredShare> &servers = m_discovery.discoveredShares();
    const int row = m_servers->currentRow();
    const bool hasServer = row >= 0 && row < servers.size();
    const bool smb = hasServer && servers.at(row).protocolType == NetworkDiscoveryManager::kSmb;
    const bool busy = m_discovery.isBrowsingShares();
    m_browse->setEnabled(smb && !busy);
    m_retry->setEnabled(!busy);
    if (!busy)
        m_serverNote->setText(hasServer && !smb ? tr("Shares can be listed for SMB servers only.") : QString());
    m_add->setEnabled(!busy && m_browsed && m_shares->currentRow() >= 0);
}
