#include "UiContext.h"

#include <QMessageBox>
#include <QPushButton>

Prompter &Prompter::instance()
{
    static Prompter prompter{
        [](QWidget *parent, const QString &title, const QString &text, const QString &confirmButton,
           std::function<void(bool)> done) {
            auto *box = new QMessageBox(QMessageBox::Warning, title, text, QMessageBox::NoButton, parent);
            box->setAttribute(Qt::WA_DeleteOnClose);
            QPushButton *yes = box->addButton(confirmButton, QMessageBox::DestructiveRole);
            box->setDefaultButton(box->addButton(QMessageBox::Cancel));
            box->setWindowModality(parent ? Qt::WindowModal : Qt::ApplicationModal);
            QObject::connect(box, &QMessageBox::finished, box,
                             [box, yes, done = std::move(done)](int) { done(box->clickedButton() == yes); });
            box->show();
        },
        [](QWidget *parent, const QString &title, const QString &text) {
            auto *box = new QMessageBox(QMessageBox::Information, title, text, QMessageBox::Ok, parent);
            box->setAttribute(Qt::WA_DeleteOnClose);
            box->setWindowModality(parent ? Qt::WindowModal : Qt::NonModal);
            box->show();
        },
    };
    return prompter;
}
