#include "AuditView.h"

#include "UiContext.h"
#include "ViewHooks.h"

#include "logging/AuditEventType.h"
#include "logging/EnterpriseAuditLog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDateEdit>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLocale>
#include <QPointer>
#include <QPushButton>
#include <QStackedWidget>
#include <QTableView>
#include <QVBoxLayout>

#include <limits>

// --- Model ----------------------------------------------------------------------------------------------

AuditTableModel::AuditTableModel(QObject *parent)
    : QAbstractTableModel(parent)
{
}

void AuditTableModel::setEntries(QList<AuditLogEntry> entries)
{
    // No signal is emitted between the assignment and the reset in rebuild().
    m_entries = std::move(entries);
    rebuild();
}

void AuditTableModel::setFilter(const Filter &filter)
{
    m_filter = filter;
    rebuild();
}

void AuditTableModel::rebuild()
{
    beginResetModel();
    m_rows.clear();
    m_rows.reserve(m_entries.size());
    // Day bounds in local time, compared as UTC instants: [from 00:00, to+1 00:00).
    const qint64 start = m_filter.from ? QDateTime(*m_filter.from, QTime(0, 0)).toMSecsSinceEpoch()
                                       : std::numeric_limits<qint64>::min();
    const qint64 end = m_filter.to ? QDateTime(m_filter.to->addDays(1), QTime(0, 0)).toMSecsSinceEpoch()
                                   : std::numeric_limits<qint64>::max();
    const bool byDate = m_filter.from || m_filter.to;
    for (int i = 0; i < m_entries.size(); ++i) {
        const AuditLogEntry &e = m_entries.at(i);
        if (m_filter.type && e.eventType != *m_filter.type)
            continue;
        if (byDate) {
            const qint64 t = e.timestamp.toMSecsSinceEpoch();
            if (t < start || t >= end)
                continue;
        }
        m_rows.append(i);
    }
    endResetModel();
}

int AuditTableModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

int AuditTableModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant AuditTableModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_rows.size())
        return {};
    const AuditLogEntry &e = entryAt(index.row());
    if (role == Qt::DisplayRole) {
        switch (index.column()) {
        case TimeColumn:
            return QLocale().toString(e.timestamp.toLocalTime(), QStringLiteral("yyyy-MM-dd HH:mm:ss"));
        case EventColumn:
            return AuditEventTypes::displayName(e.eventType);
        case ShareColumn:
            return e.shareName.value_or(QString());
        case HostColumn:
            return e.hostname.value_or(QString());
        case UserColumn:
            return QString(e.username + QLatin1Char('@') + e.machineName);
        case ResultColumn:
            if (e.success)
                return tr("Success");
            return e.errorCode ? tr("Failed (%1)").arg(*e.errorCode) : tr("Failed");
        case DetailsColumn:
            return e.details;
        }
    } else if (role == Qt::ForegroundRole && index.column() == ResultColumn && !e.success) {
        return QColor(0xc0, 0x39, 0x2b);
    } else if (role == Qt::ToolTipRole && index.column() == DetailsColumn) {
        return e.details;
    } else if (role == Qt::ToolTipRole && index.column() == EventColumn) {
        return AuditEventTypes::rawValue(e.eventType);
    }
    return {};
}

QVariant AuditTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    switch (section) {
    case TimeColumn:
        return tr("Time");
    case EventColumn:
        return tr("Event");
    case ShareColumn:
        return tr("Share");
    case HostColumn:
        return tr("Host");
    case UserColumn:
        return tr("User");
    case ResultColumn:
        return tr("Result");
    case DetailsColumn:
        return tr("Details");
    }
    return {};
}

// --- View -----------------------------------------------------------------------------------------------

AuditView::AuditView(EnterpriseAuditLog &log, QWidget *parent)
    : QWidget(parent)
    , m_log(log)
    , m_model(new AuditTableModel(this))
    , m_table(new QTableView)
    , m_type(new QComboBox)
    , m_fromCheck(new QCheckBox(tr("From")))
    , m_toCheck(new QCheckBox(tr("To")))
    , m_from(new QDateEdit)
    , m_to(new QDateEdit)
    , m_count(new QLabel)
    , m_empty(new QLabel(tr("No audit log entries")))
    , m_stack(new QStackedWidget)
{
    setObjectName(QStringLiteral("AuditView"));
    auto *layout = new QVBoxLayout(this);

    auto *filters = new QHBoxLayout;
    m_type->setObjectName(QStringLiteral("auditTypeFilter"));
    m_type->addItem(tr("All Events"));
    for (AuditEventType type : AuditEventTypes::allCases())
        m_type->addItem(AuditEventTypes::displayName(type), int(type));
    filters->addWidget(new QLabel(tr("Event:")));
    filters->addWidget(m_type);
    filters->addSpacing(12);
    const QDate today = QDate::currentDate();
    for (QDateEdit *edit : {m_from, m_to}) {
        edit->setCalendarPopup(true);
        edit->setDisplayFormat(QStringLiteral("yyyy-MM-dd"));
        edit->setDate(today);
        edit->setEnabled(false);
    }
    m_from->setDate(today.addDays(-7));
    m_fromCheck->setObjectName(QStringLiteral("auditFromCheck"));
    m_toCheck->setObjectName(QStringLiteral("auditToCheck"));
    m_from->setObjectName(QStringLiteral("auditFromDate"));
    m_to->setObjectName(QStringLiteral("auditToDate"));
    filters->addWidget(m_fromCheck);
    filters->addWidget(m_from);
    filters->addWidget(m_toCheck);
    filters->addWidget(m_to);
    filters->addStretch();
    m_count->setObjectName(QStringLiteral("auditCount"));
    filters->addWidget(m_count);
    auto *exportButton = new QPushButton(tr("Export…"));
    exportButton->setObjectName(QStringLiteral("auditExportButton"));
    filters->addWidget(exportButton);
    layout->addLayout(filters);

    m_table->setObjectName(QStringLiteral("auditTable"));
    m_table->setModel(m_model);
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->verticalHeader()->hide();
    m_table->verticalHeader()->setDefaultSectionSize(m_table->fontMetrics().height() + 8);
    m_table->setShowGrid(false);
    m_table->setAlternatingRowColors(true);
    m_table->setWordWrap(false);
    m_table->horizontalHeader()->setSectionResizeMode(AuditTableModel::DetailsColumn, QHeaderView::Stretch);
    m_table->setColumnWidth(AuditTableModel::TimeColumn, 150);
    m_table->setColumnWidth(AuditTableModel::EventColumn, 170);
    m_table->setColumnWidth(AuditTableModel::ShareColumn, 120);
    m_table->setColumnWidth(AuditTableModel::HostColumn, 130);
    m_table->setColumnWidth(AuditTableModel::UserColumn, 140);
    m_table->setColumnWidth(AuditTableModel::ResultColumn, 90);
    m_empty->setObjectName(QStringLiteral("auditEmpty"));
    m_empty->setAlignment(Qt::AlignCenter);
    m_empty->setStyleSheet(QStringLiteral("color: palette(mid); font-size: 14pt;"));
    m_stack->addWidget(m_table);
    m_stack->addWidget(m_empty);
    layout->addWidget(m_stack, 1);

    connect(m_type, &QComboBox::currentIndexChanged, this, &AuditView::applyFilter);
    for (QCheckBox *check : {m_fromCheck, m_toCheck})
        connect(check, &QCheckBox::toggled, this, &AuditView::applyFilter);
    for (QDateEdit *edit : {m_from, m_to})
        connect(edit, &QDateEdit::dateChanged, this, &AuditView::applyFilter);
    connect(exportButton, &QPushButton::clicked, this, &AuditView::exportLog);
    connect(&m_log, &EnterpriseAuditLog::entriesChanged, this, &AuditView::reload);
    reload();
}

void AuditView::reload()
{
    m_model->setEntries(m_log.entries());
    updateState();
}

void AuditView::applyFilter()
{
    m_from->setEnabled(m_fromCheck->isChecked());
    m_to->setEnabled(m_toCheck->isChecked());
    AuditTableModel::Filter filter;
    if (m_type->currentIndex() > 0)
        filter.type = AuditEventType(m_type->currentData().toInt());
    if (m_fromCheck->isChecked())
        filter.from = m_from->date();
    if (m_toCheck->isChecked())
        filter.to = m_to->date();
    m_model->setFilter(filter);
    updateState();
}

void AuditView::updateState()
{
    const bool empty = m_model->totalCount() == 0;
    m_stack->setCurrentWidget(empty ? static_cast<QWidget *>(m_empty) : m_table);
    m_count->setText(tr("%1 of %2 entries").arg(m_model->rowCount()).arg(m_model->totalCount()));
}

bool AuditView::showsEmptyState() const
{
    return m_stack->currentWidget() == m_empty;
}

QString AuditView::countText() const
{
    return m_count->text();
}

std::optional<QDateTime> AuditView::rangeStart(const QString &range, const QDateTime &now)
{
    static const QHash<QString, int> days{{QStringLiteral("7days"), 7},
                                          {QStringLiteral("30days"), 30},
                                          {QStringLiteral("90days"), 90}};
    const auto it = days.constFind(range);
    if (it == days.cend())
        return std::nullopt;
    return now.addDays(-*it);
}

void AuditView::exportLog()
{
    auto *dialog = new QDialog(this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setObjectName(QStringLiteral("auditExportDialog"));
    dialog->setWindowTitle(tr("Export Audit Log"));
    auto *form = new QFormLayout(dialog);
    auto *title = new QLabel(tr("Export Audit Log"));
    QFont bold = title->font();
    bold.setBold(true);
    title->setFont(bold);
    form->addRow(title);
    auto *format = new QComboBox;
    format->addItem(QStringLiteral("CSV"));
    format->addItem(QStringLiteral("JSON"));
    auto *range = new QComboBox;
    range->addItem(tr("All Time"), QStringLiteral("all"));
    range->addItem(tr("Last 7 Days"), QStringLiteral("7days"));
    range->addItem(tr("Last 30 Days"), QStringLiteral("30days"));
    range->addItem(tr("Last 90 Days"), QStringLiteral("90days"));
    form->addRow(tr("Format:"), format);
    form->addRow(tr("Date Range:"), range);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Cancel);
    buttons->addButton(tr("Export…"), QDialogButtonBox::AcceptRole);
    form->addRow(buttons);
    connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
    connect(buttons, &QDialogButtonBox::accepted, dialog, [this, dialog, format, range] {
        const QString f = format->currentText();
        const QString r = range->currentData().toString();
        dialog->accept();
        exportTo(f, r);
    });
    dialog->open();
}

void AuditView::exportTo(const QString &format, const QString &range)
{
    const bool json = format.compare(QStringLiteral("JSON"), Qt::CaseInsensitive) == 0;
    const std::optional<QDateTime> start = rangeStart(range, QDateTime::currentDateTimeUtc());
    // Taken now: the file holds the entries as they were when the user asked.
    QByteArray bytes;
    if (json) {
        const std::optional<QByteArray> data = m_log.exportJSON(start, std::nullopt);
        if (!data) {
            Q_EMIT exported(QString(), tr("The audit log could not be encoded."));
            return;
        }
        bytes = *data;
    } else {
        bytes = m_log.exportCSV(start, std::nullopt).toUtf8();
    }
    const QString suffix = json ? QStringLiteral("json") : QStringLiteral("csv");
    ViewHooks::FilePanel panel;
    panel.title = tr("Export Audit Log");
    panel.message = tr("Save the audit log");
    panel.nameFilter = json ? tr("JSON (*.json)") : tr("Comma-separated values (*.csv)");
    panel.proposedName = QStringLiteral("Tarnwell-AuditLog.") + suffix;
    panel.save = true;
    const QPointer<AuditView> self(this);
    ViewHooks::instance().choosePath(this, panel, [self, bytes](const QString &path) {
        if (!self || path.isEmpty())
            return;
        BackgroundFile::write(self, path, bytes, [self, path](const QString &error) {
            if (!error.isEmpty())
                Prompter::instance().inform(self, tr("Export Failed"), error);
            Q_EMIT self->exported(path, error);
        });
    });
}
