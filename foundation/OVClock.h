// The one source of "now" for log lines and file dates, replaceable by tests.
#pragma once

#include <QDateTime>
#include <functional>

namespace OVClock {

QDateTime currentDateTimeUtc();

// Makes currentDateTimeUtc() answer from `now`; an empty function restores the system clock.
void setCurrentDateTimeProvider(std::function<QDateTime()> now);

} // namespace OVClock
