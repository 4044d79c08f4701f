#include "foundation/OVClock.h"

#include <mutex>

namespace OVClock {

namespace {
std::mutex providerMutex;
std::function<QDateTime()> &provider()
{
    static std::function<QDateTime()> now;
    return now;
}
} // namespace

QDateTime currentDateTimeUtc()
{
    std::function<QDateTime()> now;
    {
        const std::lock_guard<std::mutex> lock(providerMutex);
        now = provider();
    }
    return (now ? now() : QDateTime::currentDateTimeUtc()).toUTC();
}

void setCurrentDateTimeProvider(std::function<QDateTime()> now)
{
    const std::lock_guard<std::mutex> lock(providerMutex);
    provider() = std::move(now);
}

} // namespace OVClock
