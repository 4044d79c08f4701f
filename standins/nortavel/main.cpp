// nortavel3-standin: the target application on the session bus. It answers its version,
// takes "activate", and really ingests the library files it is asked to import, writing a
// report of what it took or why it refused.
//
//   nortavel3-standin [serve] [--identifier ID] [--version V] [--data DIR] [--report FILE]
//   nortavel3-standin install [the same options] [--data-home DIR]
#include "standins/common/StandinBus.h"
#include "standins/common/StandinCommandLine.h"
#include "standins/common/StandinInstaller.h"
#include "standins/nortavel/NortavelScriptingService.h"

#include <QCoreApplication>
#include <QDir>

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("nortavel3-standin"));

    Standin::StandinCommandLine commandLine(QStringLiteral("Receives library files to import on the session bus."),
                                            QStringLiteral("com.orvantis.Nortavel3"),
                                            QStringLiteral("Nortavel 3 (stand-in)"));
    const QCommandLineOption dataOption(QStringLiteral("data"),
                                        QStringLiteral("Data folder (default $XDG_DATA_HOME/nortavel3-standin/<id>)."),
                                        QStringLiteral("folder"));
    const QCommandLineOption reportOption(QStringLiteral("report"),
                                          QStringLiteral("Import report (default <data>/import-report.json)."),
                                          QStringLiteral("file"));
    commandLine.addOption(dataOption);
    commandLine.addOption(reportOption);
    QString error;
    if (!commandLine.parse(QCoreApplication::arguments(), &error))
        return Standin::StandinBus::fail(error);

    if (commandLine.isInstall()) {
        QStringList arguments;
        if (commandLine.isSet(dataOption))
            arguments << QStringLiteral("--data") << commandLine.absolutePath(dataOption);
        if (commandLine.isSet(reportOption))
            arguments << QStringLiteral("--report") << commandLine.absolutePath(reportOption);
        return commandLine.install(QCoreApplication::applicationFilePath(), arguments, &error)
            ? 0
            : Standin::StandinBus::fail(error);
    }

    // Defaults are looked up when serving, so an installed stand-in follows the session's
    // $XDG_DATA_HOME rather than the one of whoever installed it.
    const QString dataFolder = commandLine.isSet(dataOption)
        ? commandLine.absolutePath(dataOption)
        : QDir(Standin::StandinInstaller::defaultDataHome())
              .filePath(QStringLiteral("nortavel3-standin/") + commandLine.identifier());
    const QString reportPath = commandLine.isSet(reportOption)
        ? commandLine.absolutePath(reportOption)
        : QDir(dataFolder).filePath(QStringLiteral("import-report.json"));
    Standin::NortavelScriptingService service(commandLine.version(), dataFolder, reportPath);
    return Standin::StandinBus::serve(&service, commandLine.identifier());
}
