#pragma once

#include <QDialog>
#include <QList>
#include <QString>

// The reference of the mount call's response codes: what a number in "Mount failed: Error N" or in the log
// line of the response code means and what the user may check. On this system the mount service's failures
// are mapped into this numbering (BSD errno values and -6600), so the table reads the same as elsewhere.
struct ErrorCodeInfo
{
    int code;
    QString name;
    QString description;
};

namespace ErrorCodeReference {
// The fixed eleven rows, in display order (translated descriptions).
QList<ErrorCodeInfo> rows();
} // namespace ErrorCodeReference

// "Error Codes Reference": caption, the table of rows() and a "Done" button. Opened with open(), never exec().
class ErrorCodeReferenceDialog : public QDialog
{
    Q_OBJECT
public:
    explicit ErrorCodeReferenceDialog(QWidget *parent = nullptr);
};
