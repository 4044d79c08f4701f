// Installing a stand-in like an application: a desktop entry that makes it "installed" under
// its identifier, and a D-Bus service file that lets the session bus start it on the first
// call to its well-known name. Both name the stand-in's executable with the arguments it is
// to serve with.
#pragma once

#include <QString>
#include <QStringList>

namespace Standin {

struct StandinInstallation
{
    QString identifier; // the well-known bus name, also the desktop entry's file name
    QString displayName;
    QString executable; // absolute path
    QStringList arguments; // what follows the executable on its command line
};

namespace StandinInstaller {

// $XDG_DATA_HOME, or ~/.local/share when it is unset or empty.
QString defaultDataHome();

// The Exec value of a desktop entry (quoted and escaped for desktop files) and of a D-Bus
// service file (quoted for the bus daemon's shell-like splitting) for the same command.
QString desktopEntryExec(const QString &executable, const QStringList &arguments);
QString serviceFileExec(const QString &executable, const QStringList &arguments);

QString desktopEntryText(const StandinInstallation &installation);
QString serviceFileText(const StandinInstallation &installation);

// Where install() writes: <dataHome>/applications/<id>.desktop and
// <dataHome>/dbus-1/services/<id>.service.
QString desktopEntryPath(const QString &dataHome, const QString &identifier);
QString serviceFilePath(const QString &dataHome, const QString &identifier);

// Writes both files, replacing older ones. Refuses identifiers that are no valid bus names
// and arguments that cannot be written on one line.
[[nodiscard]] bool install(const StandinInstallation &installation, const QString &dataHome, QString *error = nullptr);

} // namespace StandinInstaller

} // namespace Standin
