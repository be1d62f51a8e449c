#pragma once

#include "UiContext.h"

#include <QWidget>

class QCheckBox;
class QComboBox;
class QLabel;
class QSpinBox;

// The preferences window over the preference table: time-outs, the auto-remount interval, the event log,
// sounds, presence (tray/taskbar), start at login, language; the log actions; the entry points of the
// configuration exchange (disabled until that part is in the build). Every change is written at once and
// applied: the delegate copies are refreshed (the event log's limit) and "Tarnwell_PreferencesChanged" is
// posted (the scheduler restarts its tick); a presence change also posts "Tarnwell_AppPresenceModeChanged".
// There is no updater on Linux: its keys are kept, the page says where updates come from.
// Thread: main thread.
class PreferencesWindow : public QWidget
{
    Q_OBJECT
public:
    explicit PreferencesWindow(const UiContext &context, QWidget *parent = nullptr);

    // Re-reads every control from the preferences (when the window is shown).
    void reload();

    QSpinBox *spinBox(const QString &key) const;
    QCheckBox *checkBox(const QString &key) const;
    QComboBox *presenceBox() const { return m_presence; }
    QComboBox *languageBox() const { return m_language; }

Q_SIGNALS:
    void showLogsRequested();

protected:
    void showEvent(QShowEvent *event) override;

private:
    QSpinBox *addSpin(class QFormLayout *form, const QString &key, const QString &label, const QString &suffix);
    QCheckBox *addCheck(class QFormLayout *form, const QString &key, const QString &label, const QString &help);
    void apply();
    void writeInteger(const QString &key, int value);
    void writeBoolean(const QString &key, bool value);

    UiContext m_context;
    QComboBox *m_presence = nullptr;
    QComboBox *m_language = nullptr;
    QCheckBox *m_login = nullptr;
    bool m_loading = false;
};
