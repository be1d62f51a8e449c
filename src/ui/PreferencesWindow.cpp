#include "PreferencesWindow.h"

#include "ActionSounds.h"
#include "Languages.h"
#include "LoginItem.h"

#include "base/Defaults.h"
#include "base/NotificationCenter.h"
#include "base/Preferences.h"
#include "logging/LogEventManager.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

namespace {

QLabel *helpLabel(const QString &text)
{
    auto *label = new QLabel(text);
    label->setWordWrap(true);
    QFont small = label->font();
    small.setPointSizeF(small.pointSizeF() * 0.9);
    label->setFont(small);
    label->setForegroundRole(QPalette::PlaceholderText);
    return label;
}

} // namespace

PreferencesWindow::PreferencesWindow(const UiContext &context, QWidget *parent)
    : QWidget(parent, Qt::Window)
    , m_context(context)
{
    setObjectName(QStringLiteral("PreferencesWindow"));
    setWindowTitle(tr("Tarnwell Preferences"));
    auto *columns = new QHBoxLayout(this);
    auto *left = new QVBoxLayout;
    auto *right = new QVBoxLayout;
    columns->addLayout(left, 1);
    columns->addLayout(right, 1);

    // --- Connections ---
    auto *connections = new QGroupBox(tr("Connections"));
    auto *cform = new QFormLayout(connections);
    addSpin(cform, Preferences::Keys::TcpConnectionTimeout, tr("Connection test timeout:"), tr(" s"));
    cform->addRow(helpLabel(tr("Range: 1 - 5 seconds")));
    addSpin(cform, Preferences::Keys::MountTimeout, tr("Mount timeout:"), tr(" s"));
    cform->addRow(helpLabel(tr("Range: 10 - 300 seconds")));
    addSpin(cform, Preferences::Keys::AutoMountCheckInterval, tr("Auto-remount interval:"), tr(" s"));
    cform->addRow(
                  helpLabel(tr("Range: 10 - 1440 seconds (default 15). How often Tarnwell re-checks Auto-Mount and "
                               "Scheduled Mount shares. Lower = faster reconnect after a drop; higher = quieter on "
                               "the network.")));
    left->addWidget(connections);

    // --- Logs ---
    auto *logs = new QGroupBox(tr("Logs"));
    auto *lform = new QFormLayout(logs);
    addSpin(lform, Preferences::Keys::MaxNumberOfLogLines, tr("Keep at most:"), tr(" entries"));
    lform->addRow(helpLabel(tr("Range: 10 - 2000 entries")));
    addCheck(lform, Preferences::Keys::DeleteAssociatedLogEntries, tr("Auto-delete logs when share is removed"),
             tr("Removes log history for a share when it's deleted"));
    auto *clear = new QPushButton(tr("Clear All Logs…"));
    clear->setObjectName(QStringLiteral("clearLogsButton"));
    clear->setToolTip(tr("Clear all logs if needed for security or privacy reasons."));
    connect(clear, &QPushButton::clicked, this, [this] {
        LogEventManager *log = m_context.eventLog;
        Prompter::instance().confirm(
            this, tr("Clear All Logs?"),
            tr("This will permanently delete all log entries. This action cannot be undone."), tr("Clear Logs"),
            [log](bool yes) {
                if (yes)
                    log->clearAll([] { return true; });
            });
    });
    auto *openLogs = new QPushButton(tr("Open Logs"));
    openLogs->setObjectName(QStringLiteral("openLogsButton"));
    openLogs->setToolTip(tr("Bring Tarnwell to the front and open the Logs tab."));
    connect(openLogs, &QPushButton::clicked, this, &PreferencesWindow::showLogsRequested);
    auto *logButtons = new QHBoxLayout;
    logButtons->addWidget(clear);
    logButtons->addWidget(openLogs);
    logButtons->addStretch();
    lform->addRow(logButtons);
    left->addWidget(logs);
    left->addStretch();

    // --- Application ---
    auto *app = new QGroupBox(tr("Application"));
    auto *aform = new QFormLayout(app);
    addCheck(aform, Preferences::Keys::ShowConfigurationOnStart, tr("Open Dashboard at Startup"), QString());
    QCheckBox *sounds = addCheck(aform, Preferences::Keys::PlayActionSounds, tr("Play action sounds"),
                                 tr("Play a short sound when you click Mount, Eject, Pause, or Clean Up. Silent when "
                                    "the desktop is muted."));
    if (!ActionSounds::available()) {
        sounds->setEnabled(false);
        sounds->setToolTip(tr("This build plays no sounds."));
    }
    m_presence = new QComboBox;
    m_presence->setObjectName(QStringLiteral("presenceMode"));
    m_presence->addItem(tr("Tray only"), int(Preferences::AppPresenceMode::MenuBarOnly));
    m_presence->addItem(tr("Tray and taskbar"), int(Preferences::AppPresenceMode::MenuBarAndDock));
    m_presence->addItem(tr("Taskbar only"), int(Preferences::AppPresenceMode::DockOnly));
    connect(m_presence, &QComboBox::currentIndexChanged, this, [this] {
        if (m_loading)
            return;
        writeInteger(Preferences::Keys::AppPresenceMode, m_presence->currentData().toInt());
        if (m_context.center)
            m_context.center->post(Notifications::AppPresenceModeChanged);
    });
    aform->addRow(tr("Show Tarnwell in:"), m_presence);
    m_login = new QCheckBox(tr("Start at login"));
    m_login->setObjectName(QStringLiteral("startAtLogin"));
    connect(m_login, &QCheckBox::toggled, this, [this](bool on) {
        if (m_loading)
            return;
        if (!LoginItem::setEnabled(on)) {
            const QSignalBlocker block(m_login);
            m_login->setChecked(LoginItem::isEnabled());
        }
    });
    aform->addRow(QString(), m_login);

    m_language = new QComboBox;
    m_language->setObjectName(QStringLiteral("language"));
    for (const Languages::Language &language : Languages::all()) {
        const QString text = language.nativeName.isEmpty() || language.nativeName == language.englishName
                                 ? language.englishName
                                 : QStringLiteral("%1 — %2").arg(language.nativeName, language.englishName);
        m_language->addItem(text, language.code);
    }
    connect(m_language, &QComboBox::currentIndexChanged, this, [this] {
        if (m_loading || !m_context.defaults)
            return;
        const QString code = m_language->currentData().toString();
        if (code == Languages::current(*m_context.defaults))
            return;
        Languages::store(*m_context.defaults, code);
        Prompter::instance().inform(this, tr("Restart Required"),
                                    tr("The language change will take effect after restarting Tarnwell."));
    });
    aform->addRow(tr("Language:"), m_language);
    right->addWidget(app);

    // --- Configuration ---
    auto *configuration = new QGroupBox(tr("Configuration"));
    auto *confLayout = new QVBoxLayout(configuration);
    auto *exchange = new QHBoxLayout;
    for (const auto &[name, text] : {std::pair{QStringLiteral("importButton"), tr("Import…")},
                                     std::pair{QStringLiteral("exportButton"), tr("Export…")}}) {
        auto *button = new QPushButton(text);
        button->setObjectName(name);
        button->setEnabled(false);
        button->setToolTip(tr("Configuration import and export are not part of this build yet."));
        exchange->addWidget(button);
    }
    exchange->addStretch();
    confLayout->addLayout(exchange);
    auto *updates = new QLabel(tr("Updates come with your distribution's packages."));
    updates->setObjectName(QStringLiteral("updatesNote"));
    updates->setWordWrap(true);
    confLayout->addWidget(updates);
    right->addWidget(configuration);
    right->addStretch();

    reload();
    resize(820, 410);
}

QSpinBox *PreferencesWindow::addSpin(QFormLayout *form, const QString &key, const QString &label,
                                     const QString &suffix)
{
    const Preferences::Spec *spec = Preferences::spec(key);
    auto *spin = new QSpinBox;
    spin->setObjectName(key);
    spin->setRange(int(spec->min.value_or(0)), int(spec->max.value_or(1000000)));
    spin->setSuffix(suffix);
    // Typed values apply when the field is left or Return is pressed, not on every keystroke.
    spin->setKeyboardTracking(false);
    connect(spin, &QSpinBox::valueChanged, this, [this, key](int value) {
        if (!m_loading)
            writeInteger(key, value);
    });
    form->addRow(label, spin);
    return spin;
}

QCheckBox *PreferencesWindow::addCheck(QFormLayout *form, const QString &key, const QString &label,
                                       const QString &help)
{
    auto *box = new QCheckBox(label);
    box->setObjectName(key);
    if (!help.isEmpty())
        box->setToolTip(help);
    connect(box, &QCheckBox::toggled, this, [this, key](bool on) {
        if (!m_loading)
            writeBoolean(key, on);
    });
    form->addRow(QString(), box);
    if (!help.isEmpty())
        form->addRow(helpLabel(help));
    return box;
}

QSpinBox *PreferencesWindow::spinBox(const QString &key) const
{
    return findChild<QSpinBox *>(key);
}

QCheckBox *PreferencesWindow::checkBox(const QString &key) const
{
    return findChild<QCheckBox *>(key);
}

void PreferencesWindow::reload()
{
    if (!m_context.defaults)
        return;
    const Defaults &defaults = *m_context.defaults;
    m_loading = true;
    for (const Preferences::Spec &spec : Preferences::table()) {
        if (spec.kind == Preferences::Kind::Integer) {
            if (QSpinBox *spin = spinBox(spec.key))
                spin->setValue(int(Preferences::clamp(spec.key, defaults.integer(spec.key).value_or(spec.pageDefault.toLongLong()))));
        } else if (QCheckBox *box = checkBox(spec.key)) {
            box->setChecked(defaults.boolean(spec.key).value_or(spec.pageDefault.toBool()));
        }
    }
    m_presence->setCurrentIndex(m_presence->findData(int(Preferences::appPresenceMode(defaults))));
    m_login->setChecked(LoginItem::isEnabled());
    m_language->setCurrentIndex(std::max(0, m_language->findData(Languages::current(defaults))));
    m_loading = false;
}

void PreferencesWindow::showEvent(QShowEvent *event)
{
    reload();
    QWidget::showEvent(event);
}

void PreferencesWindow::writeInteger(const QString &key, int value)
{
    if (!m_context.defaults)
        return;
    m_context.defaults->setValue(key, qint64(Preferences::clamp(key, value)));
    apply();
}

void PreferencesWindow::writeBoolean(const QString &key, bool value)
{
    if (!m_context.defaults)
        return;
    m_context.defaults->setValue(key, value);
    apply();
}

void PreferencesWindow::apply()
{
    // The delegate's copies: the event log's limit is the one the engine consults instead of the key.
    if (m_context.eventLog) {
        if (const auto lines = m_context.defaults->integer(Preferences::Keys::MaxNumberOfLogLines))
            m_context.eventLog->setMaxNumberOfLogLines(int(*lines));
    }
    if (m_context.center)
        m_context.center->post(Notifications::PreferencesChanged);
}
