#pragma once

#include "logging/AuditLogEntry.h"

#include <QAbstractTableModel>
#include <QDate>
#include <QWidget>

#include <optional>

class EnterpriseAuditLog;
class QCheckBox;
class QComboBox;
class QDateEdit;
class QLabel;
class QStackedWidget;
class QTableView;

// The audit entries behind the audit tab, newest first, with a filter by event type and by an inclusive
// range of calendar days (local time). Filtering keeps a list of row indices into the entries, so a change
// of filter costs one pass over them and no copies. Thread: main thread.
class AuditTableModel : public QAbstractTableModel
{
    Q_OBJECT
public:
    enum Column {
        TimeColumn,
        EventColumn,
        ShareColumn,
        HostColumn,
        UserColumn,
        ResultColumn,
        DetailsColumn,
        ColumnCount
    };

    struct Filter
    {
        std::optional<AuditEventType> type;
        std::optional<QDate> from; // local calendar days, both inclusive
        std::optional<QDate> to;
    };

    explicit AuditTableModel(QObject *parent = nullptr);

    void setEntries(QList<AuditLogEntry> entries);
    void setFilter(const Filter &filter);
    const Filter &filter() const { return m_filter; }
    int totalCount() const { return int(m_entries.size()); }
    const AuditLogEntry &entryAt(int row) const { return m_entries.at(m_rows.at(row)); }

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    void rebuild();

    QList<AuditLogEntry> m_entries;
    QList<int> m_rows;
    Filter m_filter;
};

// The audit tab: the audit log's in-memory entries (the newest 500) in a table, filters by event type (the
// kinds in their fixed order) and by date range, "No audit log entries" when the log is empty, and "Export…"
// with the "Export Audit Log" dialog (CSV or JSON; all time or the last 7, 30 or 90 days), written on a
// worker. Thread: main thread.
class AuditView : public QWidget
{
    Q_OBJECT
public:
    static inline const QString kEmptyText = QStringLiteral("No audit log entries");

    explicit AuditView(EnterpriseAuditLog &log, QWidget *parent = nullptr);

    AuditTableModel *model() const { return m_model; }
    QTableView *table() const { return m_table; }
    QComboBox *typeFilter() const { return m_type; }
    QCheckBox *fromCheck() const { return m_fromCheck; }
    QCheckBox *toCheck() const { return m_toCheck; }
    QDateEdit *fromDate() const { return m_from; }
    QDateEdit *toDate() const { return m_to; }
    bool showsEmptyState() const;
    QString countText() const;

    // Reloads from the log (also on its entriesChanged()).
    void reload();
    // Opens the export dialog.
    void exportLog();
    // Export without the dialog: `format` "CSV" or "JSON", `range` "all", "7days", "30days" or "90days".
    void exportTo(const QString &format, const QString &range);

    // The start of an export range relative to `now`; nullopt for all time.
    static std::optional<QDateTime> rangeStart(const QString &range, const QDateTime &now);

Q_SIGNALS:
    void exported(const QString &path, const QString &error);

private:
    void applyFilter();
    void updateState();

    EnterpriseAuditLog &m_log;
    AuditTableModel *m_model;
    QTableView *m_table;
    QComboBox *m_type;
    QCheckBox *m_fromCheck;
    QCheckBox *m_toCheck;
    QDateEdit *m_from;
    QDateEdit *m_to;
    QLabel *m_count;
    QLabel *m_empty;
    QStackedWidget *m_stack;
};
