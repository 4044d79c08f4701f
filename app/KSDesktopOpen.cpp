#include "app/KSDesktopOpen.h"

#include "app/KSAlert.h"
#include "foundation/OVLocalization.h"
#include "foundation/OVStringFormat.h"

#include <QDesktopServices>
#include <QFileInfo>
#include <QUrl>

namespace KSDesktopOpen {

bool isThere(const QString &path)
{
    return !path.isEmpty() && QFileInfo::exists(path);
}

bool open(const QString &path, QWidget *parent)
{
    if (isThere(path) && QDesktopServices::openUrl(QUrl::fromLocalFile(path)))
        return true;
    KSAlert alert;
    alert.messageText
        = OVStringWithFormat(OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "%@ could not be opened.")),
                             {QFileInfo(path).fileName()});
    alert.informativeText = isThere(path)
        ? OVStringWithFormat(
            OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "The desktop has no application for it. It is %@.")),
            {path})
        : OVStringWithFormat(OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "%@ is not there any more.")),
                             {path});
    alert.runModal(parent);
    return false;
}

} // namespace KSDesktopOpen
