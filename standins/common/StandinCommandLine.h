// The command line both stand-ins share: the command ("serve", the default, or "install"),
// the identifier and version they serve under, where "install" writes, and the installation
// itself, which starts the stand-in with "serve" and the same options.
#pragma once

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QString>
#include <QStringList>
#include <optional>

namespace Standin {

class StandinCommandLine
{
public:
    StandinCommandLine(const QString &description, const QString &defaultIdentifier, QString displayName);

    // Options of one stand-in only; add them before parse().
    void addOption(const QCommandLineOption &option) { m_parser.addOption(option); }

    // Parses the application's arguments (--help exits). False with a message when the
    // command is unknown.
    [[nodiscard]] bool parse(const QStringList &arguments, QString *error);

    bool isInstall() const { return m_install; }
    QString identifier() const { return m_parser.value(m_identifier); }
    // Absent when the stand-in is to answer no version.
    std::optional<QString> version() const;
    bool isSet(const QCommandLineOption &option) const { return m_parser.isSet(option); }
    QString value(const QCommandLineOption &option) const { return m_parser.value(option); }
    // The option's value as an absolute path.
    QString absolutePath(const QCommandLineOption &option) const;

    // Writes the desktop entry and the service file that start `executable` with "serve",
    // the identifier, the version and `serveArguments`; then has a running session bus read
    // its service files again. Prints the two paths written.
    [[nodiscard]] bool install(const QString &executable, const QStringList &serveArguments, QString *error) const;

private:
    QCommandLineParser m_parser;
    QCommandLineOption m_identifier;
    QCommandLineOption m_version;
    QCommandLineOption m_dataHome;
    QString m_displayName;
    bool m_install = false;
};

} // namespace Standin
