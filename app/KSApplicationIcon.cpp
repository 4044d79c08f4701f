#include "app/KSApplicationIcon.h"

#include "foundation/AppVersion.h"

#include <QGuiApplication>

namespace KSApplicationIcon {

QIcon bundledIcon()
{
    QIcon icon;
    for (int size : {32, 48, 64, 128, 256})
        icon.addFile(QStringLiteral(":/icons/kastrel-importer-%1.png").arg(size), QSize(size, size));
    return icon;
}

QIcon icon()
{
    return QIcon::fromTheme(KastrelImporter::desktopEntryName(), bundledIcon());
}

void install()
{
    QGuiApplication::setWindowIcon(icon());
    QGuiApplication::setDesktopFileName(KastrelImporter::desktopEntryName());
}

} // namespace KSApplicationIcon
