#pragma once

#include "UiContext.h"

#include "exchange/ShareSetManager.h"

#include <QTimer>
#include <QUuid>
#include <QWidget>

#include <functional>

class QComboBox;
class QLabel;
class QListWidget;
class QPushButton;
class QStackedWidget;

// The Sets tab: the share sets with their status texts ("Not connected", "2/5 connected", "All connected"),
// creating, renaming and deleting a set, its icon, its members in order (add, remove, move), mounting and
// ejecting the set as a unit, and exporting or importing a set file (.twconfig, without passwords; an import
// merges: shares and sets already present are skipped). Export and import obey the organisation's policy:
// when it forbids them the buttons stay disabled and say why.
//
// Changes go through ShareSetManager (which saves); mounts and ejects through its operations on the engine,
// whose outcome appears in the tab's message line. Status texts follow the engine's record changes,
// coalesced on a zero timer.
// Thread: main thread. The context's objects outlive the view.
class SetsView : public QWidget
{
    Q_OBJECT
public:
    // A file panel: its title and message, whether it saves (else opens one existing file), the proposed
    // file name. `done` receives the chosen path, or an empty string when the user cancelled.
    struct FileRequest
    {
        QString title;
        QString message;
        bool save = false;
        QString proposedName;
    };
    using FileChooser = std::function<void(QWidget *parent, const FileRequest &request, std::function<void(QString)> done)>;
    // The process's file chooser (a non-blocking file dialog); tests replace it.
    static FileChooser &fileChooser();

    // The icon names offered for a set (stored in the set's "icon"), and the icon shown for a name.
    static const QStringList &iconNames();
    static QIcon iconFor(const QString &name);

    explicit SetsView(const UiContext &context, QWidget *parent = nullptr);

    QUuid selectedId() const;
    void selectSet(const QUuid &id);
    QListWidget *setList() const { return m_list; }
    QListWidget *memberList() const { return m_members; }
    QString statusText() const;
    QString message() const;

    // What the buttons run (the prompting ones ask first).
    QUuid createSet(const QString &name);
    void renameSelected(const QString &name);
    void deleteSelected();
    void setIcon(const QString &name);
    void addMember(qint64 shareId);
    void removeMember(int row);
    void moveMember(int row, int delta);
    void mountSelected();
    void ejectSelected();
    void exportSelected();
    void importSetFile();

private:
    void promptNewSet();
    void promptRename();
    void rebuild();
    void scheduleRebuild();
    void showSelection();
    void updateMemberButtons();
    void setMessage(const QString &text);
    const ShareSet *selected() const;

    UiContext m_context;
    ShareSetManager &m_sets;
    QListWidget *m_list;
    QStackedWidget *m_pages;
    QLabel *m_title;
    QLabel *m_status;
    QComboBox *m_icon;
    QListWidget *m_members;
    QComboBox *m_sharePicker;
    QPushButton *m_addMember;
    QPushButton *m_removeMember;
    QPushButton *m_up;
    QPushButton *m_down;
    QPushButton *m_rename;
    QPushButton *m_delete;
    QPushButton *m_mount;
    QPushButton *m_eject;
    QPushButton *m_export;
    QPushButton *m_import;
    QLabel *m_message;
    QTimer m_rebuild;
    bool m_filling = false;
};
