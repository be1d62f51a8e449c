#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <functional>

class QObject;
class QWidget;

// The file panels and the alert with several buttons that the subsystem views (import and export, audit,
// profile generator) put to the user. Like Prompter, the defaults open window-modal dialogs and answer
// through a callback (no nested event loop); tests replace the functions to pick a file or a button.
struct ViewHooks
{
    struct FilePanel
    {
        QString title;
        QString message;
        QString nameFilter;   // "Tarnwell configuration (*.twconfig)"
        QString proposedName; // save panels only
        bool save = false;
    };
    // `done(path)`; an empty path means the panel was cancelled.
    std::function<void(QWidget *parent, const FilePanel &panel, std::function<void(const QString &path)> done)>
        choosePath;
    // `done(index)` with the index of the chosen button in `buttons`; -1 when the alert was closed.
    std::function<void(QWidget *parent, const QString &title, const QString &text, const QStringList &buttons,
                       std::function<void(int index)> done)>
        choose;

    static ViewHooks &instance();
};

// File reads and writes of the views, on a worker (the chosen file may sit on a slow mount); the answer
// comes back on the main thread, and only while `owner` still exists.
namespace BackgroundFile {
// `done(bytes, error)`; error is empty on success.
void read(QObject *owner, const QString &path, std::function<void(const QByteArray &bytes, const QString &error)> done);
// Atomic write; `done(error)`, empty on success.
void write(QObject *owner, const QString &path, const QByteArray &bytes,
           std::function<void(const QString &error)> done);
} // namespace BackgroundFile
