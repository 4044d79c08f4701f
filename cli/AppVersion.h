// The name and version the application and its command line show.
#pragma once

#include <QString>

namespace KastrelImporter {
QString applicationName();
QString applicationVersion();
} // namespace KastrelImporter
