#pragma once

#include <QWidget>

class LogEventManager;
class LogEventTableModel;
class NotificationCenter;
class QSortFilterProxyModel;
class QTableView;

// The log manager: the event log table (sortable; sorting by a column sets the log's sorted flag, which
// decides which entry a trim removes), "Copy" on a row, "Clear Log" with the log's confirmation, and
// "Error Codes" for the reference. Used as the dashboard's Logs tab and inside LogManagerWindow.
// Thread: main thread.
class LogManagerWidget : public QWidget
{
    Q_OBJECT
public:
    LogManagerWidget(LogEventManager &log, NotificationCenter *center, QWidget *parent = nullptr);

    QTableView *table() const { return m_table; }
    QSortFilterProxyModel *proxy() const { return m_proxy; }
    void copyRow(int viewRow) const;
    void clearLog();
    void showErrorCodes();

private:
    LogEventManager &m_log;
    LogEventTableModel *m_model;
    QSortFilterProxyModel *m_proxy;
    QTableView *m_table;
};

// The separate "Log Manager" window.
class LogManagerWindow : public QWidget
{
    Q_OBJECT
public:
    LogManagerWindow(LogEventManager &log, NotificationCenter *center, QWidget *parent = nullptr);
    LogManagerWidget *logView() const { return m_view; }

private:
    LogManagerWidget *m_view;
};
