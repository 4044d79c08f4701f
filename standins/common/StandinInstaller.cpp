#include "standins/common/StandinInstaller.h"

#include <QDir>
#include <QFileInfo>
#include <QSaveFile>

namespace Standin {

namespace {

bool setError(QString *error, const QString &text)
{
    if (error)
        *error = text;
    return false;
}

// A well-known bus name: two or more dot-separated elements of letters, digits, "_" and
// "-", none starting with a digit, 255 characters at most.
bool isWellKnownBusName(const QString &name)
{
    if (name.isEmpty() || name.size() > 255)
        return false;
    const QStringList elements = name.split(QLatin1Char('.'));
    if (elements.size() < 2)
        return false;
    for (const QString &element : elements) {
        if (element.isEmpty() || element.at(0).isDigit())
            return false;
        for (const QChar c : element) {
            const bool allowed = (c >= QLatin1Char('a') && c <= QLatin1Char('z'))
                || (c >= QLatin1Char('A') && c <= QLatin1Char('Z')) || (c >= QLatin1Char('0') && c <= QLatin1Char('9'))
                || c == QLatin1Char('_') || c == QLatin1Char('-');
            if (!allowed)
                return false;
        }
    }
    return true;
}

bool hasControlCharacters(const QString &text)
{
    for (const QChar c : text) {
        if (c.unicode() < 0x20 || c.unicode() == 0x7f)
            return true;
    }
    return false;
}

// Desktop entries reserve these characters in Exec arguments; an argument holding one is
// quoted, and inside the quotes ", `, $ and \ take a backslash.
QString quotedForDesktopEntry(const QString &argument)
{
    static const QString reserved = QStringLiteral(" \t\"'\\><~|&;$*?#()`");
    bool needsQuotes = argument.isEmpty();
    for (const QChar c : argument) {
        if (reserved.contains(c))
            needsQuotes = true;
    }
    QString text = argument;
    text.replace(QLatin1Char('%'), QStringLiteral("%%"));
    if (!needsQuotes)
        return text;
    QString quoted;
    for (const QChar c : text) {
        if (c == QLatin1Char('"') || c == QLatin1Char('`') || c == QLatin1Char('$') || c == QLatin1Char('\\'))
            quoted += QLatin1Char('\\');
        quoted += c;
    }
    return QLatin1Char('"') + quoted + QLatin1Char('"');
}

// The bus daemon splits Exec like a shell: single quotes keep everything literal, and a
// single quote itself is written as '\''.
QString quotedForServiceFile(const QString &argument)
{
    static const QString plain = QStringLiteral("-_./:=+,@%");
    bool needsQuotes = argument.isEmpty();
    for (const QChar c : argument) {
        if (!c.isLetterOrNumber() && !plain.contains(c))
            needsQuotes = true;
    }
    if (!needsQuotes)
        return argument;
    QString text = argument;
    text.replace(QLatin1Char('\''), QStringLiteral("'\\''"));
    return QLatin1Char('\'') + text + QLatin1Char('\'');
}

bool writeTextFile(const QString &path, const QString &text, QString *error)
{
    if (!QDir().mkpath(QFileInfo(path).absolutePath()))
        return setError(error, QStringLiteral("cannot create the folder of %1").arg(path));
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return setError(error, QStringLiteral("cannot write %1: %2").arg(path, file.errorString()));
    file.write(text.toUtf8());
    if (!file.commit())
        return setError(error, QStringLiteral("cannot write %1: %2").arg(path, file.errorString()));
    return true;
}

} // namespace

namespace StandinInstaller {

QString defaultDataHome()
{
    const QString dataHome = qEnvironmentVariable("XDG_DATA_HOME");
    if (!dataHome.isEmpty())
        return dataHome;
    return QDir::homePath() + QStringLiteral("/.local/share");
}

QString desktopEntryExec(const QString &executable, const QStringList &arguments)
{
    QStringList words {quotedForDesktopEntry(executable)};
    for (const QString &argument : arguments)
        words << quotedForDesktopEntry(argument);
    // The Exec value is itself a desktop-file string, whose own escaping doubles backslashes.
    return words.join(QLatin1Char(' ')).replace(QLatin1Char('\\'), QStringLiteral("\\\\"));
}

QString serviceFileExec(const QString &executable, const QStringList &arguments)
{
    QStringList words {quotedForServiceFile(executable)};
    for (const QString &argument : arguments)
        words << quotedForServiceFile(argument);
    // The daemon reads the value with desktop-file escapes first: a backslash is written twice.
    return words.join(QLatin1Char(' ')).replace(QLatin1Char('\\'), QStringLiteral("\\\\"));
}

QString desktopEntryText(const StandinInstallation &installation)
{
    return QStringLiteral("[Desktop Entry]\n"
                          "Type=Application\n"
                          "Name=%1\n"
                          "Comment=Stand-in application serving the scripting interface on the session bus\n"
                          "Exec=%2\n"
                          "Terminal=false\n"
                          "NoDisplay=true\n"
                          "X-DBus-ServiceName=%3\n")
        .arg(installation.displayName, desktopEntryExec(installation.executable, installation.arguments),
             installation.identifier);
}

QString serviceFileText(const StandinInstallation &installation)
{
    return QStringLiteral("[D-BUS Service]\n"
                          "Name=%1\n"
                          "Exec=%2\n")
        .arg(installation.identifier, serviceFileExec(installation.executable, installation.arguments));
}

QString desktopEntryPath(const QString &dataHome, const QString &identifier)
{
    return QDir(dataHome).filePath(QStringLiteral("applications/") + identifier + QStringLiteral(".desktop"));
}

QString serviceFilePath(const QString &dataHome, const QString &identifier)
{
    return QDir(dataHome).filePath(QStringLiteral("dbus-1/services/") + identifier + QStringLiteral(".service"));
}

bool install(const StandinInstallation &installation, const QString &dataHome, QString *error)
{
    if (!isWellKnownBusName(installation.identifier))
        return setError(error, QStringLiteral("not a well-known bus name: %1").arg(installation.identifier));
    if (!QFileInfo(installation.executable).isAbsolute())
        return setError(error,
                        QStringLiteral("the executable's path must be absolute: %1").arg(installation.executable));
    if (dataHome.isEmpty() || !QFileInfo(dataHome).isAbsolute())
        return setError(error, QStringLiteral("the data folder must be an absolute path: %1").arg(dataHome));
    QStringList words = installation.arguments;
    words << installation.executable << installation.displayName;
    for (const QString &word : std::as_const(words)) {
        if (hasControlCharacters(word))
            return setError(error, QStringLiteral("an argument holds a line break or control character: %1").arg(word));
    }
    return writeTextFile(desktopEntryPath(dataHome, installation.identifier), desktopEntryText(installation), error)
        && writeTextFile(serviceFilePath(dataHome, installation.identifier), serviceFileText(installation), error);
}

} // namespace StandinInstaller

} // namespace Standin
