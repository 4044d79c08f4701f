// Installed and reachable applications; see ApplicationLocator.h.
#include "engine/ApplicationLocator.h"

#include <QDBusMessage>
#include <QDir>
#include <QFileInfo>

namespace ApplicationLocator {

namespace {

const QString BusService = QStringLiteral("org.freedesktop.DBus");
const QString BusPath = QStringLiteral("/org/freedesktop/DBus");
const QString BusInterface = QStringLiteral("org.freedesktop.DBus");

QString dataHome()
{
    const QString configured = qEnvironmentVariable("XDG_DATA_HOME");
    if (!configured.isEmpty() && QDir::isAbsolutePath(configured))
        return configured;
    return QDir::home().filePath(QStringLiteral(".local/share"));
}

QStringList dataDirectories()
{
    QString configured = qEnvironmentVariable("XDG_DATA_DIRS");
    if (configured.isEmpty())
        configured = QStringLiteral("/usr/local/share:/usr/share");
    QStringList directories;
    for (const QString &directory : configured.split(QLatin1Char(':'), Qt::SkipEmptyParts)) {
        if (QDir::isAbsolutePath(directory))
            directories.append(directory);
    }
    return directories;
}

bool isBusNameCharacter(QChar c, bool first)
{
    if ((c >= QLatin1Char('a') && c <= QLatin1Char('z')) || (c >= QLatin1Char('A') && c <= QLatin1Char('Z'))
        || c == QLatin1Char('_') || c == QLatin1Char('-'))
        return true;
    return !first && c >= QLatin1Char('0') && c <= QLatin1Char('9');
}

// One call to the bus itself; an invalid message when the bus did not answer.
QDBusMessage askBus(const QDBusConnection &connection, const QString &method, const QVariantList &arguments)
{
    QDBusMessage message = QDBusMessage::createMethodCall(BusService, BusPath, BusInterface, method);
    message.setArguments(arguments);
    return connection.call(message, QDBus::Block);
}

} // namespace

QStringList applicationFolders()
{
    QStringList folders;
    folders.append(QDir(dataHome()).filePath(QStringLiteral("applications")));
    for (const QString &directory : dataDirectories())
        folders.append(QDir(directory).filePath(QStringLiteral("applications")));
    return folders;
}

QString absolutePathForAppBundleWithIdentifier(const QString &identifier)
{
    if (identifier.isEmpty() || identifier.contains(QLatin1Char('/')) || identifier.contains(QChar()))
        return QString();
    const QString fileName = identifier + QStringLiteral(".desktop");
    for (const QString &folder : applicationFolders()) {
        const QFileInfo entry(QDir(folder).filePath(fileName));
        if (entry.isFile())
            return entry.absoluteFilePath();
    }
    return QString();
}

bool isValidBusName(const QString &identifier)
{
    if (identifier.isEmpty() || identifier.size() > 255)
        return false;
    const QStringList elements = identifier.split(QLatin1Char('.'));
    if (elements.size() < 2)
        return false;
    for (const QString &element : elements) {
        if (element.isEmpty())
            return false;
        for (qsizetype i = 0; i < element.size(); ++i) {
            if (!isBusNameCharacter(element.at(i), i == 0))
                return false;
        }
    }
    return true;
}

bool hasProxy(const QDBusConnection &connection, const QString &identifier)
{
    if (!isValidBusName(identifier) || !connection.isConnected())
        return false;
    const QDBusMessage owner = askBus(connection, QStringLiteral("NameHasOwner"), {identifier});
    if (owner.type() == QDBusMessage::ReplyMessage && owner.signature() == QLatin1String("b")
        && owner.arguments().value(0).toBool())
        return true;
    const QDBusMessage activatable = askBus(connection, QStringLiteral("ListActivatableNames"), {});
    if (activatable.type() != QDBusMessage::ReplyMessage || activatable.signature() != QLatin1String("as"))
        return false;
    return activatable.arguments().value(0).toStringList().contains(identifier);
}

} // namespace ApplicationLocator
