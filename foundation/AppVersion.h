// The name and version the application and its command line show.
#pragma once

#include <QString>

namespace KastrelImporter {
QString applicationName();
QString applicationVersion();
// The desktop entry's name without ".desktop"; also the name of the installed icon.
QString desktopEntryName();
} // namespace KastrelImporter
