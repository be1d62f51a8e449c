#include "AddConditionDialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStackedWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace {
enum Page { WifiPage, TimePage, DaysPage, AppPage, NothingPage, VolumePage };

Page pageOf(RuleCondition::Type type)
{
    using T = RuleCondition::Type;
    switch (type) {
    case T::wifiConnected:
    case T::wifiDisconnected:
        return WifiPage;
    case T::timeWindow:
        return TimePage;
    case T::dayOfWeek:
        return DaysPage;
    case T::appRunning:
    case T::appNotRunning:
        return AppPage;
    case T::onPower:
    case T::onBattery:
    case T::vpnConnected:
    case T::vpnDisconnected:
        return NothingPage;
    case T::volumeMounted:
    case T::volumeNotMounted:
        return VolumePage;
    }
    return NothingPage;
}

QLabel *hint(const QString &text)
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

const QStringList &AddConditionDialog::dayNames()
{
    static const QStringList names{QStringLiteral("Sun"), QStringLiteral("Mon"), QStringLiteral("Tue"),
                                   QStringLiteral("Wed"), QStringLiteral("Thu"), QStringLiteral("Fri"),
                                   QStringLiteral("Sat")};
    return names;
}

AddConditionDialog::AddConditionDialog(const QList<RuleSheets::ShareChoice> &shares, QWidget *parent)
    : RuleSheetDialog(QStringLiteral("AddConditionDialog"), tr("Add Condition"), parent)
    , m_ssid(new QLineEdit)
    , m_start(new QLineEdit(QStringLiteral("09:00")))
    , m_end(new QLineEdit(QStringLiteral("17:00")))
    , m_app(new QLineEdit)
    , m_volume(new QComboBox)
{
    addTypeRow(tr("Condition type:"));
    // The kinds by their display names, which are also what the rules file stores.
    for (RuleCondition::Type type : RuleCondition::allTypes())
        m_type->addItem(RuleCondition::rawValue(type), int(type));

    // Wi-Fi
    m_ssid->setObjectName(QStringLiteral("ssid"));
    m_ssid->setPlaceholderText(tr("e.g., HomeNetwork"));
    m_pages->insertWidget(WifiPage,
                          page({new QLabel(tr("WiFi Name (SSID):")), m_ssid, hint(tr("Leave empty to match any WiFi network"))}));

    // Time window
    auto *time = new QWidget;
    auto *timeLayout = new QVBoxLayout(time);
    auto *times = new QFormLayout;
    m_start->setObjectName(QStringLiteral("startTime"));
    m_end->setObjectName(QStringLiteral("endTime"));
    m_start->setPlaceholderText(QStringLiteral("09:00"));
    m_end->setPlaceholderText(QStringLiteral("17:00"));
    times->addRow(tr("Start time:"), m_start);
    times->addRow(tr("End time:"), m_end);
    timeLayout->addLayout(times);
    timeLayout->addWidget(hint(tr("Use 24-hour format (HH:MM)")));
    timeLayout->addStretch();
    m_pages->insertWidget(TimePage, time);

    // Days
    auto *days = new QWidget;
    auto *daysLayout = new QHBoxLayout(days);
    for (const QString &day : dayNames()) {
        auto *box = new QCheckBox(day);
        box->setObjectName(QStringLiteral("day_") + day);
        connect(box, &QCheckBox::toggled, this, &AddConditionDialog::updatePage);
        m_days.append(box);
        daysLayout->addWidget(box);
    }
    daysLayout->addStretch();
    m_pages->insertWidget(DaysPage, days);

    // Application
    m_app->setObjectName(QStringLiteral("app"));
    m_app->setPlaceholderText(tr("e.g., Final Cut Pro"));
    m_pages->insertWidget(AppPage, page({new QLabel(tr("Application name:")), m_app}));

    // Power, VPN
    auto *nothingLabel = new QLabel(tr("No additional configuration needed"));
    nothingLabel->setObjectName(QStringLiteral("noConfiguration"));
    m_pages->insertWidget(NothingPage, page({nothingLabel}));

    // Volume
    m_volume->setObjectName(QStringLiteral("volume"));
    RuleSheets::fillSharePicker(m_volume, shares);
    m_pages->insertWidget(VolumePage, page({m_volume}));

    connect(m_start, &QLineEdit::textChanged, this, &AddConditionDialog::updatePage);
    connect(m_end, &QLineEdit::textChanged, this, &AddConditionDialog::updatePage);
    connect(m_app, &QLineEdit::textChanged, this, &AddConditionDialog::updatePage);
    connect(m_volume, &QComboBox::currentIndexChanged, this, &AddConditionDialog::updatePage);
    finishLayout(440, 240);
}

void AddConditionDialog::setType(RuleCondition::Type type)
{
    setTypeValue(int(type));
}

RuleCondition::Type AddConditionDialog::type() const
{
    return RuleCondition::Type(typeValue());
}

RuleCondition AddConditionDialog::condition() const
{
    RuleCondition condition;
    condition.type = type();
    switch (pageOf(condition.type)) {
    case WifiPage:
        condition.parameters.insert(RuleCondition::kSsid, m_ssid->text().trimmed());
        break;
    case TimePage:
        condition.parameters.insert(RuleCondition::kTimeRange,
                                    m_start->text().trimmed() + QLatin1Char('-') + m_end->text().trimmed());
        break;
    case DaysPage: {
        QStringList chosen;
        for (QCheckBox *box : m_days) {
            if (box->isChecked())
                chosen.append(box->text());
        }
        condition.parameters.insert(RuleCondition::kDays, chosen.join(QLatin1Char(',')));
        break;
    }
    case AppPage:
        condition.parameters.insert(RuleCondition::kApp, m_app->text().trimmed());
        break;
    case VolumePage:
        if (m_volume->currentIndex() >= 0)
            condition.parameters.insert(RuleCondition::kVolumeId, QString::number(m_volume->currentData().toLongLong()));
        break;
    case NothingPage:
        break;
    }
    return condition;
}

bool AddConditionDialog::canAdd() const
{
    switch (pageOf(type())) {
    case TimePage:
        return RuleCondition::parseTimeRange(condition().parameter(RuleCondition::kTimeRange)).has_value();
    case DaysPage:
        return std::any_of(m_days.cbegin(), m_days.cend(), [](const QCheckBox *box) { return box->isChecked(); });
    case AppPage:
        return !m_app->text().trimmed().isEmpty();
    case VolumePage:
        return m_volume->currentIndex() >= 0;
    case WifiPage:
    case NothingPage:
        break;
    }
    return true;
}

int AddConditionDialog::pageOfCurrentType() const
{
    return pageOf(type());
}

void AddConditionDialog::emitChosen()
{
    Q_EMIT conditionChosen(condition());
}
