#include "app/KSApplicationTermination.h"

#include <QCoreApplication>

namespace KSApplicationTermination {

namespace {

std::function<void()> &installedHandler()
{
    static std::function<void()> handler;
    return handler;
}

} // namespace

void terminate()
{
    if (installedHandler()) {
        installedHandler()();
        return;
    }
    QCoreApplication::exit(0);
}

void setHandler(std::function<void()> handler)
{
    installedHandler() = std::move(handler);
}

} // namespace KSApplicationTermination
