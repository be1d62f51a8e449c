#pragma once

#include "enterprise/ADShareMapping.h"

#include <QWidget>

class ActiveDirectoryManager;
class QCheckBox;
class QFrame;
class QGroupBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;
class QTableWidget;

// The directory tab: the machine's directory binding and the manager's status text, the current user's
// details and groups, the not-bound notice, and the editor of the group-to-shares mappings (a list of
// mappings, each with its group, its enabled switch and its shares: host, share, protocol, mount point).
// "Refresh" asks the directory again (on the manager's worker), "Apply Mappings" adds the mapped shares of
// the user's groups. Every edit is saved by the manager at once. Thread: main thread.
class DirectoryView : public QWidget
{
    Q_OBJECT
public:
    static inline const QString kNotBoundTitle = QStringLiteral("Not Connected to Active Directory");
    static inline const QString kNotBoundText = QStringLiteral(
        "This Mac is not bound to an Active Directory domain.\nContact your IT administrator to join this Mac to AD.");

    // `manager` may be null (this build has no directory service): the tab says so.
    explicit DirectoryView(ActiveDirectoryManager *manager, QWidget *parent = nullptr);

    QString statusText() const;
    bool notBoundNoticeShown() const;
    QString userText() const;
    QListWidget *mappingList() const { return m_mappings; }
    QLineEdit *groupField() const { return m_group; }
    QCheckBox *enabledSwitch() const { return m_enabled; }
    QTableWidget *shareTable() const { return m_shares; }

    void refresh();
    void apply();
    // Editor actions.
    void addMapping();
    void removeMapping();
    void addShare();
    void removeShare();
    void selectMapping(int row);

protected:
    // The directory is asked again whenever the tab is shown.
    void showEvent(QShowEvent *event) override;

private:
    void showState();
    void showMappings();
    void showMapping();
    void commitEditor();
    int currentMapping() const;

    ActiveDirectoryManager *m_manager;
    QLabel *m_status = nullptr;
    QLabel *m_domain = nullptr;
    QFrame *m_notice = nullptr;
    QGroupBox *m_userBox = nullptr;
    QLabel *m_user = nullptr;
    QPushButton *m_refresh = nullptr;
    QPushButton *m_apply = nullptr;
    QListWidget *m_mappings = nullptr;
    QLineEdit *m_group = nullptr;
    QCheckBox *m_enabled = nullptr;
    QTableWidget *m_shares = nullptr;
    QWidget *m_editor = nullptr;
    QList<ADShareMapping> m_list; // the manager's mappings as the editor shows them
    bool m_filling = false;       // the editor is being filled from m_list, not edited
};
