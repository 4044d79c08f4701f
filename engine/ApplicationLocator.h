// Finding applications on this desktop by bundle identifier: whether one is installed (its
// desktop entry "<identifier>.desktop" in an applications folder of the XDG data folders) and
// whether the session bus can put us in touch with it (the identifier is a well-known name
// with an owner now, or one the bus can start).
#pragma once

#include <QDBusConnection>
#include <QString>
#include <QStringList>

namespace ApplicationLocator {

// The applications folders searched for desktop entries, in search order:
// $XDG_DATA_HOME/applications (default ~/.local/share), then those of $XDG_DATA_DIRS (default
// /usr/local/share:/usr/share). Relative entries are ignored, as XDG asks.
QStringList applicationFolders();

// The absolute path of the application's desktop entry in the first folder that has one, or a
// null string.
QString absolutePathForAppBundleWithIdentifier(const QString &identifier);

// Whether `identifier` is usable as a well-known bus name.
bool isValidBusName(const QString &identifier);

// Whether `identifier` has an owner on `connection` now or is activatable there. A bus that
// does not answer counts as neither.
bool hasProxy(const QDBusConnection &connection, const QString &identifier);

} // namespace ApplicationLocator
