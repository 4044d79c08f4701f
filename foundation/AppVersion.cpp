#include "foundation/AppVersion.h"

namespace KastrelImporter {

QString applicationName()
{
    return QStringLiteral("Kastrel Importer");
}

QString applicationVersion()
{
    return QStringLiteral(KI_PROJECT_VERSION);
}

QString desktopEntryName()
{
    return QStringLiteral("com.orvantis.KastrelImporter");
}

} // namespace KastrelImporter
