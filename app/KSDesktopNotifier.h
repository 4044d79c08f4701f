// Tells a person who stopped watching that an export is over: a desktop notification sent
// through the notification service on the session bus (org.freedesktop.Notifications), only
// for an export that took a while and ended while its window was not the active one. The
// call is sent without waiting for an answer, so a desktop without a notification service,
// or with a slow one, never holds up the end of an export.
#pragma once

#include "engine/KSExportReport.h"

#include <QString>
#include <chrono>

class KSDesktopNotifier
{
public:
    enum class Ending { Ended, Cancelled, Failed };

    // An export shorter than this is still in the person's mind when it ends.
    static constexpr std::chrono::milliseconds DefaultMinimumDuration {5000};

    explicit KSDesktopNotifier(std::chrono::milliseconds minimumDuration = DefaultMinimumDuration)
        : m_minimumDuration(minimumDuration)
    { }

    std::chrono::milliseconds minimumDuration() const { return m_minimumDuration; }
    void setMinimumDuration(std::chrono::milliseconds duration) { m_minimumDuration = duration; }

    // Whether an export that ran for `duration` and ended while its window was (not) active
    // is worth a notification.
    bool shouldNotify(std::chrono::milliseconds duration, bool windowIsActive) const
    {
        return !windowIsActive && duration >= m_minimumDuration;
    }

    // Sends the notification without waiting for an answer; false when there is no session
    // bus (a debug line says so, nothing else).
    static bool notify(const QString &summary, const QString &body);

    // "Export ended", "Export cancelled", "Export failed".
    static QString summaryText(Ending ending);
    // How many items reached Nortavel 3 and, when any, how many need a look in the report.
    static QString countsText(const KSExportReport &report);

private:
    std::chrono::milliseconds m_minimumDuration;
};
