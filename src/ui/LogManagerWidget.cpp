#include "LogManagerWidget.h"

#include "ErrorCodeReference.h"
#include "LogEventTableModel.h"
#include "UiContext.h"

#include "logging/LogEventManager.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QMenu>
#include <QPushButton>
#include <QSortFilterProxyModel>
#include <QTableView>
#include <QVBoxLayout>

LogManagerWidget::LogManagerWidget(LogEventManager &log, NotificationCenter *center, QWidget *parent)
    : QWidget(parent)
    , m_log(log)
    , m_model(new LogEventTableModel(log, center, this))
    , m_proxy(new QSortFilterProxyModel(this))
    , m_table(new QTableView(this))
{
    setObjectName(QStringLiteral("LogManagerWidget"));
    m_proxy->setSourceModel(m_model);
    m_proxy->setSortRole(LogEventTableModel::SortRole);
    m_table->setObjectName(QStringLiteral("logTable"));
    m_table->setModel(m_proxy);
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->setAlternatingRowColors(true);
    m_table->verticalHeader()->hide();
    m_table->verticalHeader()->setDefaultSectionSize(m_table->fontMetrics().height() + 8);
    m_table->horizontalHeader()->setStretchLastSection(false);
    m_table->horizontalHeader()->setSectionResizeMode(LogEventTableModel::MessageColumn, QHeaderView::Stretch);
    m_table->setColumnWidth(LogEventTableModel::DateColumn, 90);
    m_table->setColumnWidth(LogEventTableModel::TimeColumn, 70);
    m_table->setColumnWidth(LogEventTableModel::StatusColumn, 170);
    m_table->setColumnWidth(LogEventTableModel::StatusTextColumn, 180);
    m_table->setColumnWidth(LogEventTableModel::ServerColumn, 120);
    // Sorting starts with the user's first click on a header, never on its own.
    m_table->horizontalHeader()->setSortIndicatorShown(false);
    m_table->horizontalHeader()->setSectionsClickable(true);
    connect(m_table->horizontalHeader(), &QHeaderView::sectionClicked, this, [this](int column) {
        QHeaderView *header = m_table->horizontalHeader();
        const Qt::SortOrder order = header->isSortIndicatorShown() && header->sortIndicatorSection() == column
                                            && header->sortIndicatorOrder() == Qt::AscendingOrder
                                        ? Qt::DescendingOrder
                                        : Qt::AscendingOrder;
        header->setSortIndicatorShown(true);
        header->setSortIndicator(column, order);
        m_proxy->sort(column, order);
        m_log.setSorted(true);
    });

    m_table->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(m_table, &QTableView::customContextMenuRequested, this, [this](const QPoint &pos) {
        const QModelIndex index = m_table->indexAt(pos);
        if (!index.isValid())
            return;
        auto *menu = new QMenu(this);
        menu->setAttribute(Qt::WA_DeleteOnClose);
        menu->addAction(tr("Copy"), this, [this, row = index.row()] { copyRow(row); });
        menu->popup(m_table->viewport()->mapToGlobal(pos));
    });
    auto *copy = new QAction(tr("Copy"), m_table);
    copy->setShortcut(QKeySequence::Copy);
    copy->setShortcutContext(Qt::WidgetShortcut);
    connect(copy, &QAction::triggered, this, [this] {
        if (m_table->currentIndex().isValid())
            copyRow(m_table->currentIndex().row());
    });
    m_table->addAction(copy);

    auto *clear = new QPushButton(tr("Clear Log"));
    clear->setObjectName(QStringLiteral("clearLogButton"));
    connect(clear, &QPushButton::clicked, this, &LogManagerWidget::clearLog);
    auto *codes = new QPushButton(tr("Error Codes"));
    codes->setObjectName(QStringLiteral("errorCodesButton"));
    codes->setToolTip(tr("View a reference of common error codes and their meanings"));
    connect(codes, &QPushButton::clicked, this, &LogManagerWidget::showErrorCodes);

    auto *buttons = new QHBoxLayout;
    buttons->addWidget(codes);
    buttons->addStretch();
    buttons->addWidget(clear);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_table);
    layout->addLayout(buttons);
}

void LogManagerWidget::copyRow(int viewRow) const
{
    const QModelIndex source = m_proxy->mapToSource(m_proxy->index(viewRow, 0));
    const QString text = m_model->copyText(source.row());
    if (!text.isEmpty())
        QGuiApplication::clipboard()->setText(text);
}

void LogManagerWidget::clearLog()
{
    LogEventManager *log = &m_log;
    Prompter::instance().confirm(
        this, tr("Clear All Logs?"),
        tr("This will permanently delete all log entries. This action cannot be undone."),
        tr("Clear Logs"), [log](bool yes) {
            if (yes)
                log->clearAll([] { return true; });
        });
}

void LogManagerWidget::showErrorCodes()
{
    auto *dialog = new ErrorCodeReferenceDialog(this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->open();
}

LogManagerWindow::LogManagerWindow(LogEventManager &log, NotificationCenter *center, QWidget *parent)
    : QWidget(parent, Qt::Window)
    , m_view(new LogManagerWidget(log, center, this))
{
    setObjectName(QStringLiteral("LogManagerWindow"));
    setWindowTitle(tr("Log Manager"));
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_view);
    resize(980, 520);
}
