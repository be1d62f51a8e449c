#pragma once

#include <QAbstractTableModel>

class LogEventManager;
class NotificationCenter;

// The event log as a table, newest first (the log's own order): Date, Time, Status, Status Text, Message,
// Server. Date and time are local time. Reloads whole when "Tarnwell_RefreshLogEventTableView" is posted
// (every change of the log posts it). Sorting happens in a proxy; SortRole gives each column's sort key.
// Thread: main thread.
class LogEventTableModel : public QAbstractTableModel
{
    Q_OBJECT
public:
    enum Column { DateColumn, TimeColumn, StatusColumn, StatusTextColumn, MessageColumn, ServerColumn, ColumnCount };
    static constexpr int SortRole = Qt::UserRole + 1;

    LogEventTableModel(LogEventManager &log, NotificationCenter *center, QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

    // The text "Copy" places on the clipboard: the full local timestamp and every column, tab-separated.
    QString copyText(int row) const;
    void reload();

private:
    LogEventManager &m_log;
    int m_rows = 0;
};
