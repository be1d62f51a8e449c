#pragma once

#include "UiContext.h"

#include <QMainWindow>

class LogManagerWidget;
class QAction;
class QLabel;
class QTabWidget;
class QTableView;
class ShareTableModel;

// The dashboard: the share list with its status labels and actions (mount, eject, clean up, verify, add,
// edit, duplicate, delete, pause/resume), a status message bar that explains the selected share's state,
// and tabs for the other views (the Logs tab here; rules, sets, discovery, directory and audit are added
// by their owners through addView()).
//
// Every action that reaches the network or a mount goes through the engine's asynchronous operations; the
// window only repaints the rows the engine reports changed.
// Thread: main thread.
class DashboardWindow : public QMainWindow
{
    Q_OBJECT
public:
    enum Tab { SharesTab = 0, LogsTab = 1 };

    explicit DashboardWindow(const UiContext &context, QWidget *parent = nullptr);

    // Adds a view as a further tab; returns its index.
    int addView(QWidget *view, const QString &title);
    void showTab(int index);

    QTableView *shareTable() const { return m_table; }
    ShareTableModel *shareModel() const { return m_model; }
    LogManagerWidget *logView() const { return m_logView; }
    QTabWidget *tabs() const { return m_tabs; }
    QString statusMessage() const;

    // The actions on the selected share (also what the toolbar buttons run).
    qint64 selectedId() const;
    void selectShare(qint64 id);
    void mountSelected();
    void ejectSelected();
    void cleanUpSelected();
    void verifySelected();
    void addShare();
    void editSelected();
    void duplicateSelected();
    void deleteSelected();
    void togglePause();

    // Closing hides the window (the application keeps running in the tray); otherwise it minimises.
    void setCloseHides(bool hides) { m_closeHides = hides; }

Q_SIGNALS:
    void preferencesRequested();
    void logManagerRequested();
    void hidden();

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    void setStatusMessage(const QString &text);
    void updateActions();
    void explainSelection();
    QString explanation(qint64 id) const;

    UiContext m_context;
    ShareTableModel *m_model;
    QTableView *m_table;
    QTabWidget *m_tabs;
    LogManagerWidget *m_logView;
    QLabel *m_message;
    QAction *m_mount = nullptr;
    QAction *m_eject = nullptr;
    QAction *m_cleanUp = nullptr;
    QAction *m_verify = nullptr;
    QAction *m_add = nullptr;
    QAction *m_edit = nullptr;
    QAction *m_duplicate = nullptr;
    QAction *m_delete = nullptr;
    QAction *m_pause = nullptr;
    bool m_closeHides = true;
};
