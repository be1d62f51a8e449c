#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <optional>

// The machine's situation at one evaluation pass, built by the rule engine from the ports and the mount
// engine. A plain value: condition tests read it on any thread.
struct RuleContext
{
    std::optional<QString> currentSSID; // absent when not on Wi-Fi
    QDateTime currentTime;
    int currentWeekday = 1; // 1 = Sunday ... 7 = Saturday
    int currentHour = 0; // 0-23, local time
    int currentMinute = 0; // 0-59
    bool isOnPower = true;
    QStringList runningApps;
    std::optional<QString> connectedVPN; // first VPN-like interface or connection, absent if none
    QStringList mountedVolumes; // decimal internal_ID_Int of the mounted records

    // Fills the clock fields from a local date and time (weekday numbering with Sunday = 1).
    void setTime(const QDateTime &now)
    {
        currentTime = now;
        currentWeekday = now.date().dayOfWeek() % 7 + 1; // Qt: Monday 1 ... Sunday 7
        currentHour = now.time().hour();
        currentMinute = now.time().minute();
    }
};
