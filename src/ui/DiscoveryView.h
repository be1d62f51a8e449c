#pragma once

#include "discovery/DiscoveredShare.h"

#include <QWidget>

#include <optional>

class MountEngine;
class NetworkDiscoveryManager;
class QLabel;
class QLineEdit;
class QListWidget;
class QProgressBar;
class QPushButton;

// The discovery tab: "Scan Network" with the scan's progress bar and status text, the servers found, and
// the share browser of the chosen server (user name and password fields, the listed shares with hidden ones
// marked, the listing's error text with "Retry"). "Add Share" creates a share record for the chosen share
// with its name filled in. The view only reads the manager's published state (its changed() signal).
// Thread: main thread.
class DiscoveryView : public QWidget
{
    Q_OBJECT
public:
    DiscoveryView(NetworkDiscoveryManager &discovery, MountEngine &engine, QWidget *parent = nullptr);

    QPushButton *scanButton() const { return m_scan; }
    QProgressBar *progressBar() const { return m_progress; }
    QString statusText() const;
    QListWidget *serverList() const { return m_servers; }
    QListWidget *shareList() const { return m_shares; }
    QLineEdit *userField() const { return m_user; }
    QLineEdit *passwordField() const { return m_password; }
    QString errorText() const;
    bool retryShown() const;
    QString outcomeText() const;

    void toggleScan();
    void browse();
    // Adds the selected share; returns the new record's ID (0 when nothing is selected).
    qint64 addSelected();

Q_SIGNALS:
    void shareAdded(qint64 id);

private:
    void update();
    void showShares();
    void updateButtons();

    NetworkDiscoveryManager &m_discovery;
    MountEngine &m_engine;
    QPushButton *m_scan;
    QProgressBar *m_progress;
    QLabel *m_status;
    QListWidget *m_servers;
    QLineEdit *m_user;
    QLineEdit *m_password;
    QPushButton *m_browse;
    QLabel *m_serverNote;
    QListWidget *m_shares;
    QLabel *m_error;
    QPushButton *m_retry;
    QPushButton *m_add;
    QLabel *m_outcome;
    std::optional<DiscoveredShare> m_browsed; // the server whose listing is shown
};
