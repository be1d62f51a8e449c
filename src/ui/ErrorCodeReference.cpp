#include "ErrorCodeReference.h"

#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

namespace ErrorCodeReference {

QList<ErrorCodeInfo> rows()
{
    // Two rows are kept as they stand although other parts of the system read them differently: 88 carries the
    // name EIDRM, and -6600 is explained as a permission issue while the pipeline reports it as an internal
    // authentication error. The reference says what the user may check.
    return {
        {2, QStringLiteral("ENOENT"),
         QCoreApplication::translate("ErrorCodeReference", "Share not found. The share name doesn't exist on this server. Verify the exact share name (case-sensitive).")},
        {5, QStringLiteral("EIO"),
         QCoreApplication::translate("ErrorCodeReference", "I/O Error / Access Denied. Server rejected connection. Account may not have access, WebDAV not enabled, or "
           "2FA blocking access.")},
        {13, QStringLiteral("EACCES"),
         QCoreApplication::translate("ErrorCodeReference", "Permission denied. You don't have access rights to this share. Contact your server administrator.")},
        {17, QStringLiteral("EEXIST"),
         QCoreApplication::translate("ErrorCodeReference", "Mount point already exists. Another volume is already mounted at this location.")},
        {19, QStringLiteral("ENODEV"),
         QCoreApplication::translate("ErrorCodeReference", "No such device. The share path does not exist on this server. For WebDAV, leave Share Name blank to mount "
           "the server root.")},
        {60, QStringLiteral("ETIMEDOUT"),
         QCoreApplication::translate("ErrorCodeReference", "Connection timed out. Server took too long to respond. Check network or try again.")},
        {64, QStringLiteral("EHOSTDOWN"),
         QCoreApplication::translate("ErrorCodeReference", "Host is down. The server is not responding. Check if it's powered on and connected to the network.")},
        {65, QStringLiteral("EHOSTUNREACH"),
         QCoreApplication::translate("ErrorCodeReference", "No route to host. Cannot reach the server. Check hostname/IP, firewall settings, and network connectivity.")},
        {80, QStringLiteral("EAUTH"),
         QCoreApplication::translate("ErrorCodeReference", "Authentication failed. Username or password incorrect. For guest access, enable 'Guest Login'.")},
        {88, QStringLiteral("EIDRM"), QCoreApplication::translate("ErrorCodeReference", "Identifier removed. The mount point or share was disconnected unexpectedly.")},
        {-6600, QCoreApplication::translate("ErrorCodeReference", "Permission Issue"),
         QCoreApplication::translate("ErrorCodeReference", "macOS sandbox or permission issue. May need to grant Full Disk Access in System Settings > Privacy.")},
    };
}

} // namespace ErrorCodeReference

ErrorCodeReferenceDialog::ErrorCodeReferenceDialog(QWidget *parent)
    : QDialog(parent)
{
    setObjectName(QStringLiteral("ErrorCodeReferenceDialog"));
    setWindowTitle(tr("Error Codes Reference"));
    auto *layout = new QVBoxLayout(this);
    auto *caption = new QLabel(tr("These are the error codes in a mount failure's status and log line. This "
                                  "system's mount service (GVfs) reports its failures in this numbering, which "
                                  "follows the BSD system error codes."));
    caption->setObjectName(QStringLiteral("caption"));
    caption->setWordWrap(true);
    layout->addWidget(caption);

    const QList<ErrorCodeInfo> rows = ErrorCodeReference::rows();
    auto *table = new QTableWidget(int(rows.size()), 3, this);
    table->setObjectName(QStringLiteral("errorCodeTable"));
    table->setHorizontalHeaderLabels({tr("Code"), tr("Name"), tr("Description")});
    table->verticalHeader()->hide();
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setWordWrap(true);
    for (int i = 0; i < rows.size(); ++i) {
        auto *code = new QTableWidgetItem(QString::number(rows[i].code));
        code->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
        table->setItem(i, 0, code);
        table->setItem(i, 1, new QTableWidgetItem(rows[i].name));
        table->setItem(i, 2, new QTableWidgetItem(rows[i].description));
    }
    table->horizontalHeader()->setSectionResizeMode(0, QHeaderView::ResizeToContents);
    table->horizontalHeader()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
    table->horizontalHeader()->setSectionResizeMode(2, QHeaderView::Stretch);
    table->verticalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    layout->addWidget(table);

    auto *buttons = new QDialogButtonBox;
    QPushButton *done = buttons->addButton(tr("Done"), QDialogButtonBox::AcceptRole);
    done->setObjectName(QStringLiteral("doneButton"));
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    layout->addWidget(buttons);
    resize(760, 470);
}
