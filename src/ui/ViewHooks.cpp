#include "ViewHooks.h"

#include "exchange/ConfigurationManager.h"

#include <QCoreApplication>
#include <QFileDialog>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QThreadPool>

ViewHooks &ViewHooks::instance()
{
    static ViewHooks hooks = [] {
        ViewHooks h;
        h.choosePath = [](QWidget *parent, const FilePanel &panel, std::function<void(const QString &)> done) {
            auto *dialog = new QFileDialog(parent, panel.title);
            dialog->setAttribute(Qt::WA_DeleteOnClose);
            dialog->setWindowModality(Qt::WindowModal);
            dialog->setLabelText(QFileDialog::LookIn, panel.message);
            dialog->setNameFilter(panel.nameFilter);
            if (panel.save) {
                dialog->setAcceptMode(QFileDialog::AcceptSave);
                dialog->setFileMode(QFileDialog::AnyFile);
                dialog->selectFile(panel.proposedName);
            } else {
                dialog->setAcceptMode(QFileDialog::AcceptOpen);
                dialog->setFileMode(QFileDialog::ExistingFile);
            }
            // One answer: the chosen file, or an empty path when the panel closes without one.
            auto answered = std::make_shared<bool>(false);
            QObject::connect(dialog, &QFileDialog::fileSelected, dialog, [done, answered](const QString &path) {
                *answered = true;
                done(path);
            });
            QObject::connect(dialog, &QDialog::finished, dialog, [done, answered] {
                if (!*answered) {
                    *answered = true;
                    done(QString());
                }
            });
            dialog->open();
        };
        h.choose = [](QWidget *parent, const QString &title, const QString &text, const QStringList &buttons,
                      std::function<void(int)> done) {
            auto *box = new QMessageBox(QMessageBox::Question, title, title, QMessageBox::NoButton, parent);
            box->setAttribute(Qt::WA_DeleteOnClose);
            box->setWindowModality(Qt::WindowModal);
            box->setInformativeText(text);
            QList<QAbstractButton *> added;
            for (int i = 0; i < buttons.size(); ++i) {
                const bool last = i == buttons.size() - 1;
                added.append(box->addButton(buttons.at(i), last ? QMessageBox::RejectRole : QMessageBox::AcceptRole));
            }
            QObject::connect(box, &QMessageBox::finished, box, [box, added, done] {
                done(int(added.indexOf(box->clickedButton())));
            });
            box->open();
        };
        return h;
    }();
    return hooks;
}

namespace BackgroundFile {

void read(QObject *owner, const QString &path, std::function<void(const QByteArray &, const QString &)> done)
{
    const QPointer<QObject> guard(owner);
    QThreadPool::globalInstance()->start([guard, path, done] {
        QByteArray bytes;
        const QString error = ConfigurationManager::readFile(path, &bytes);
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [guard, bytes, error, done] {
                if (guard)
                    done(bytes, error);
            },
            Qt::QueuedConnection);
    });
}

void write(QObject *owner, const QString &path, const QByteArray &bytes, std::function<void(const QString &)> done)
{
    const QPointer<QObject> guard(owner);
    QThreadPool::globalInstance()->start([guard, path, bytes, done] {
        const QString error = ConfigurationManager::writeFile(path, bytes);
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [guard, error, done] {
                if (guard)
                    done(error);
            },
            Qt::QueuedConnection);
    });
}

} // namespace BackgroundFile
