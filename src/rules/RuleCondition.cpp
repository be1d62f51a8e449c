#include "RuleCondition.h"

#include "rules/RuleJsonUtil.h"

#include <array>

namespace {

struct TypeInfo
{
    RuleCondition::Type type;
    const char *raw;
    const char *key;
};

const std::array<TypeInfo, 12> kTypes { {
    { RuleCondition::Type::wifiConnected, "WiFi Connected", "ssid" },
    { RuleCondition::Type::wifiDisconnected, "WiFi Disconnected", "ssid" },
    { RuleCondition::Type::timeWindow, "Time Window", "timeRange" },
    { RuleCondition::Type::dayOfWeek, "Day of Week", "days" },
    { RuleCondition::Type::appRunning, "App Running", "app" },
    { RuleCondition::Type::appNotRunning, "App Not Running", "app" },
    { RuleCondition::Type::onPower, "On AC Power", "" },
    { RuleCondition::Type::onBattery, "On Battery", "" },
    { RuleCondition::Type::vpnConnected, "VPN Connected", "" },
    { RuleCondition::Type::vpnDisconnected, "VPN Disconnected", "" },
    { RuleCondition::Type::volumeMounted, "Volume Mounted", "volumeId" },
    { RuleCondition::Type::volumeNotMounted, "Volume Not Mounted", "volumeId" },
} };

const TypeInfo &info(RuleCondition::Type type)
{
    return kTypes[size_t(type)];
}

// An optional leading sign, then at least one digit; nothing else (no spaces).
std::optional<int> strictInt(QStringView text)
{
    qsizetype i = 0;
    bool negative = false;
    if (i < text.size() && (text[i] == u'+' || text[i] == u'-')) {
        negative = text[i] == u'-';
        ++i;
    }
    if (i == text.size() || text.size() - i > 6)
        return std::nullopt;
    int value = 0;
    for (; i < text.size(); ++i) {
        if (text[i] < u'0' || text[i] > u'9')
            return std::nullopt;
        value = value * 10 + (text[i].unicode() - u'0');
    }
    return negative ? -value : value;
}

std::optional<int> minutesOf(QStringView part)
{
    const auto pieces = part.split(u':');
    if (pieces.size() != 2)
        return std::nullopt;
    const auto h = strictInt(pieces[0]);
    const auto m = strictInt(pieces[1]);
    if (!h || !m)
        return std::nullopt;
    return *h * 60 + *m;
}

} // namespace

const QList<RuleCondition::Type> &RuleCondition::allTypes()
{
    static const QList<Type> all = [] {
        QList<Type> list;
        for (const TypeInfo &t : kTypes)
            list.append(t.type);
        return list;
    }();
    return all;
}

QString RuleCondition::rawValue(Type type)
{
    return QString::fromUtf8(info(type).raw);
}

std::optional<RuleCondition::Type> RuleCondition::typeFromRawValue(const QString &raw)
{
    for (const TypeInfo &t : kTypes) {
        if (raw == QLatin1String(t.raw))
            return t.type;
    }
    return std::nullopt;
}

QString RuleCondition::parameterKey(Type type)
{
    return QString::fromUtf8(info(type).key);
}

QString RuleCondition::summary() const
{
    switch (type) {
    case Type::wifiConnected:
        return QStringLiteral("WiFi = \"") + parameter(kSsid) + QLatin1Char('"');
    case Type::wifiDisconnected:
        return QStringLiteral("WiFi ≠ \"") + parameter(kSsid) + QLatin1Char('"');
    case Type::timeWindow:
        return QStringLiteral("Time: ") + parameter(kTimeRange);
    case Type::dayOfWeek:
        return QStringLiteral("Days: ") + parameter(kDays);
    case Type::appRunning:
        return parameter(kApp) + QStringLiteral(" running");
    case Type::appNotRunning:
        return parameter(kApp) + QStringLiteral(" not running");
    case Type::onPower:
        return QStringLiteral("On AC power");
    case Type::onBattery:
        return QStringLiteral("On battery");
    case Type::vpnConnected:
        return QStringLiteral("VPN connected");
    case Type::vpnDisconnected:
        return QStringLiteral("VPN disconnected");
    case Type::volumeMounted:
        return QStringLiteral("Volume mounted");
    case Type::volumeNotMounted:
        return QStringLiteral("Volume not mounted");
    }
    return {};
}

std::optional<std::pair<int, int>> RuleCondition::parseTimeRange(const QString &text)
{
    const auto parts = QStringView(text).split(u'-');
    if (parts.size() != 2)
        return std::nullopt;
    const auto start = minutesOf(parts[0]);
    const auto end = minutesOf(parts[1]);
    if (!start || !end)
        return std::nullopt;
    return std::make_pair(*start, *end);
}

QList<int> RuleCondition::parseDays(const QString &text)
{
    static const std::array<std::pair<const char *, int>, 14> names { {
        { "sun", 1 },
        { "sunday", 1 },
        { "mon", 2 },
        { "monday", 2 },
        { "tue", 3 },
        { "tuesday", 3 },
        { "wed", 4 },
        { "wednesday", 4 },
        { "thu", 5 },
        { "thursday", 5 },
        { "fri", 6 },
        { "friday", 6 },
        { "sat", 7 },
        { "saturday", 7 },
    } };
    QList<int> days;
    for (const QString &item : text.split(QLatin1Char(','))) {
        const QString name = item.trimmed().toLower();
        for (const auto &[n, day] : names) {
            if (name == QLatin1String(n)) {
                days.append(day);
                break;
            }
        }
    }
    return days;
}

bool RuleCondition::test(const RuleContext &context) const
{
    switch (type) {
    case Type::wifiConnected: {
        const QString ssid = parameter(kSsid).toLower();
        if (ssid.isEmpty())
            return context.currentSSID.has_value();
        return context.currentSSID && context.currentSSID->toLower() == ssid;
    }
    case Type::wifiDisconnected: {
        const QString ssid = parameter(kSsid).toLower();
        if (ssid.isEmpty())
            return !context.currentSSID.has_value();
        return !context.currentSSID || context.currentSSID->toLower() != ssid;
    }
    case Type::timeWindow: {
        const auto range = parseTimeRange(parameter(kTimeRange));
        if (!range)
            return false;
        const auto [start, end] = *range;
        const int now = context.currentHour * 60 + context.currentMinute;
        if (start < end)
            return start <= now && now < end;
        return now >= start || now < end; // across midnight; equal bounds: all day
    }
    case Type::dayOfWeek:
        return parseDays(parameter(kDays)).contains(context.currentWeekday);
    case Type::appRunning:
    case Type::appNotRunning: {
        const QString app = parameter(kApp);
        bool running = false;
        for (const QString &name : context.runningApps) {
            if (name.contains(app, Qt::CaseInsensitive)) {
                running = true;
                break;
            }
        }
        return type == Type::appRunning ? running : !running;
    }
    case Type::onPower:
        return context.isOnPower;
    case Type::onBattery:
        return !context.isOnPower;
    case Type::vpnConnected:
        return context.connectedVPN.has_value();
    case Type::vpnDisconnected:
        return !context.connectedVPN.has_value();
    case Type::volumeMounted:
        return context.mountedVolumes.contains(parameter(kVolumeId));
    case Type::volumeNotMounted:
        return !context.mountedVolumes.contains(parameter(kVolumeId));
    }
    return false;
}

QJsonObject RuleCondition::toJson() const
{
    return RuleJsonUtil::itemToJson(*this);
}

std::optional<RuleCondition> RuleCondition::fromJson(const QJsonObject &object, QString *error)
{
    return RuleJsonUtil::itemFromJson<RuleCondition>(object, QStringLiteral("condition"), error);
}
