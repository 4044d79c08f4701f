#include "standins/common/StandinCommandLine.h"

#include "standins/common/StandinBus.h"
#include "standins/common/StandinInstaller.h"

#include <QFileInfo>
#include <cstdio>

namespace Standin {

StandinCommandLine::StandinCommandLine(const QString &description, const QString &defaultIdentifier,
                                       QString displayName)
    : m_identifier(QStringLiteral("identifier"), QStringLiteral("Bus name and application identifier."),
                   QStringLiteral("identifier"), defaultIdentifier)
    , m_version(QStringLiteral("version"), QStringLiteral("Version to answer; without it none is answered."),
                QStringLiteral("version"))
    , m_dataHome(QStringLiteral("data-home"), QStringLiteral("Install under this folder instead of $XDG_DATA_HOME."),
                 QStringLiteral("folder"))
    , m_displayName(std::move(displayName))
{
    m_parser.setApplicationDescription(description);
    m_parser.addHelpOption();
    m_parser.addPositionalArgument(QStringLiteral("command"), QStringLiteral("serve (the default) or install"));
    m_parser.addOptions({m_identifier, m_version, m_dataHome});
}

bool StandinCommandLine::parse(const QStringList &arguments, QString *error)
{
    m_parser.process(arguments);
    const QStringList positional = m_parser.positionalArguments();
    const QString command = positional.value(0, QStringLiteral("serve"));
    if (positional.size() > 1 || (command != QLatin1String("serve") && command != QLatin1String("install"))) {
        if (error)
            *error = QStringLiteral("unknown command; use serve or install");
        return false;
    }
    m_install = command == QLatin1String("install");
    return true;
}

std::optional<QString> StandinCommandLine::version() const
{
    if (!m_parser.isSet(m_version))
        return std::nullopt;
    return m_parser.value(m_version);
}

QString StandinCommandLine::absolutePath(const QCommandLineOption &option) const
{
    return QFileInfo(m_parser.value(option)).absoluteFilePath();
}

bool StandinCommandLine::install(const QString &executable, const QStringList &serveArguments, QString *error) const
{
    QStringList arguments {QStringLiteral("serve"), QStringLiteral("--identifier"), identifier()};
    if (const std::optional<QString> answered = version())
        arguments << QStringLiteral("--version") << *answered;
    arguments << serveArguments;
    const QString dataHome
        = m_parser.isSet(m_dataHome) ? absolutePath(m_dataHome) : StandinInstaller::defaultDataHome();
    const StandinInstallation installation {identifier(), m_displayName, executable, arguments};
    if (!StandinInstaller::install(installation, dataHome, error))
        return false;
    StandinBus::reloadServiceFiles();
    std::printf("%s\n%s\n", qPrintable(StandinInstaller::desktopEntryPath(dataHome, identifier())),
                qPrintable(StandinInstaller::serviceFilePath(dataHome, identifier())));
    return true;
}

} // namespace Standin
