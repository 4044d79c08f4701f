// nortavel3-standin: the target application on the session bus. It answers its version,
// takes "activate", and really ingests the library files it is asked to import, writing a
// report of what it took or why it refused.
//
//   nortavel3-standin [serve] [--identifier ID] [--version V] [--data DIR] [--report FILE]
//   nortavel3-standin install [the same options] [--data-home DIR]
#include "standins/common/StandinBus.h"
#include "standins/common/StandinInstaller.h"
#include "standins/nortavel/NortavelScriptingService.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <cstdio>

namespace {

int fail(const QString &text)
{
    std::fprintf(stderr, "nortavel3-standin: %s\n", qPrintable(text));
    return 2;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("nortavel3-standin"));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Receives library files to import on the session bus."));
    parser.addHelpOption();
    parser.addPositionalArgument(QStringLiteral("command"), QStringLiteral("serve (the default) or install"));
    const QCommandLineOption identifierOption(QStringLiteral("identifier"),
                                              QStringLiteral("Bus name and application identifier."),
                                              QStringLiteral("identifier"), QStringLiteral("com.orvantis.Nortavel3"));
    const QCommandLineOption versionOption(QStringLiteral("version"),
                                           QStringLiteral("Version to answer; without it none is answered."),
                                           QStringLiteral("version"));
    const QCommandLineOption dataOption(QStringLiteral("data"),
                                        QStringLiteral("Data folder (default $XDG_DATA_HOME/nortavel3-standin/<id>)."),
                                        QStringLiteral("folder"));
    const QCommandLineOption reportOption(QStringLiteral("report"),
                                          QStringLiteral("Import report (default <data>/import-report.json)."),
                                          QStringLiteral("file"));
    const QCommandLineOption dataHomeOption(QStringLiteral("data-home"),
                                            QStringLiteral("Install under this folder instead of $XDG_DATA_HOME."),
                                            QStringLiteral("folder"));
    parser.addOptions({identifierOption, versionOption, dataOption, reportOption, dataHomeOption});
    parser.process(application);

    const QStringList positional = parser.positionalArguments();
    const QString command = positional.value(0, QStringLiteral("serve"));
    if (positional.size() > 1 || (command != QLatin1String("serve") && command != QLatin1String("install")))
        return fail(QStringLiteral("unknown command; use serve or install"));
    const QString identifier = parser.value(identifierOption);

    if (command == QLatin1String("install")) {
        QStringList arguments {QStringLiteral("serve"), QStringLiteral("--identifier"), identifier};
        if (parser.isSet(versionOption))
            arguments << QStringLiteral("--version") << parser.value(versionOption);
        if (parser.isSet(dataOption))
            arguments << QStringLiteral("--data") << QFileInfo(parser.value(dataOption)).absoluteFilePath();
        if (parser.isSet(reportOption))
            arguments << QStringLiteral("--report") << QFileInfo(parser.value(reportOption)).absoluteFilePath();
        const StandinInstallation installation {identifier, QStringLiteral("Nortavel 3 (stand-in)"),
                                                QCoreApplication::applicationFilePath(), arguments};
        const QString dataHome = parser.isSet(dataHomeOption)
            ? QFileInfo(parser.value(dataHomeOption)).absoluteFilePath()
            : StandinInstaller::defaultDataHome();
        QString error;
        if (!StandinInstaller::install(installation, dataHome, &error))
            return fail(error);
        StandinBus::reloadServiceFiles();
        std::printf("%s\n%s\n", qPrintable(StandinInstaller::desktopEntryPath(dataHome, identifier)),
                    qPrintable(StandinInstaller::serviceFilePath(dataHome, identifier)));
        return 0;
    }

    // Defaults are looked up when serving, so an installed stand-in follows the session's
    // $XDG_DATA_HOME rather than the one of whoever installed it.
    const QString dataFolder = parser.isSet(dataOption)
        ? QFileInfo(parser.value(dataOption)).absoluteFilePath()
        : QDir(StandinInstaller::defaultDataHome()).filePath(QStringLiteral("nortavel3-standin/") + identifier);
    const QString reportPath = parser.isSet(reportOption)
        ? QFileInfo(parser.value(reportOption)).absoluteFilePath()
        : QDir(dataFolder).filePath(QStringLiteral("import-report.json"));
    const std::optional<QString> version
        = parser.isSet(versionOption) ? std::optional<QString>(parser.value(versionOption)) : std::nullopt;
    NortavelScriptingService service(version, dataFolder, reportPath);
    QString error;
    if (!StandinBus::publish(&service, identifier, &error))
        return fail(error);
    StandinBus::quitWhenBusCloses(&service);
    std::printf("ready %s\n", qPrintable(identifier));
    std::fflush(stdout);
    return QCoreApplication::exec();
}
