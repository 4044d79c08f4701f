// kastrel-standin: serves a library folder as the source application on the session bus,
// or installs itself (desktop entry and D-Bus service file) to be started on demand.
//
//   kastrel-standin [serve] --library DIR [--identifier ID] [--version V] [--reply-delay MS]
//   kastrel-standin install --library DIR [--identifier ID] [--version V] [--reply-delay MS]
//                           [--data-home DIR]
#include "standins/common/StandinBus.h"
#include "standins/common/StandinCommandLine.h"
#include "standins/kastrel/KastrelLibrary.h"
#include "standins/kastrel/KastrelScriptingService.h"

#include <QCoreApplication>

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("kastrel-standin"));

    Standin::StandinCommandLine commandLine(QStringLiteral("Serves a Kastrel library on the session bus."),
                                            QStringLiteral("com.fendwick.kastrel4"),
                                            QStringLiteral("Kastrel (stand-in)"));
    const QCommandLineOption libraryOption(QStringLiteral("library"), QStringLiteral("Library folder."),
                                           QStringLiteral("folder"));
    const QCommandLineOption delayOption(QStringLiteral("reply-delay"),
                                         QStringLiteral("Milliseconds to hold back every reply."),
                                         QStringLiteral("milliseconds"), QStringLiteral("0"));
    commandLine.addOption(libraryOption);
    commandLine.addOption(delayOption);
    QString error;
    if (!commandLine.parse(QCoreApplication::arguments(), &error))
        return Standin::StandinBus::fail(error);
    if (!commandLine.isSet(libraryOption))
        return Standin::StandinBus::fail(QStringLiteral("--library is required"));
    const QString library = commandLine.absolutePath(libraryOption);
    bool delayOk = false;
    const int delay = commandLine.value(delayOption).toInt(&delayOk);
    if (!delayOk || delay < 0)
        return Standin::StandinBus::fail(QStringLiteral("--reply-delay takes a number of milliseconds"));

    if (commandLine.isInstall()) {
        QStringList arguments {QStringLiteral("--library"), library};
        if (delay > 0)
            arguments << QStringLiteral("--reply-delay") << QString::number(delay);
        return commandLine.install(QCoreApplication::applicationFilePath(), arguments, &error)
            ? 0
            : Standin::StandinBus::fail(error);
    }

    Standin::KastrelLibrary kastrelLibrary;
    if (!kastrelLibrary.load(library, &error))
        return Standin::StandinBus::fail(error);
    Standin::KastrelScriptingService::registerTypes();
    Standin::KastrelScriptingService service(kastrelLibrary, commandLine.version());
    service.setReplyDelay(delay);
    return Standin::StandinBus::serve(&service, commandLine.identifier());
}
