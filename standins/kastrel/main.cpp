// kastrel-standin: serves a library folder as the source application on the session bus,
// or installs itself (desktop entry and D-Bus service file) to be started on demand.
//
//   kastrel-standin [serve] --library DIR [--identifier ID] [--version V] [--reply-delay MS]
//   kastrel-standin install --library DIR [--identifier ID] [--version V] [--reply-delay MS]
//                           [--data-home DIR]
#include "standins/common/StandinBus.h"
#include "standins/common/StandinInstaller.h"
#include "standins/kastrel/KastrelLibrary.h"
#include "standins/kastrel/KastrelScriptingService.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFileInfo>
#include <cstdio>

namespace {

int fail(const QString &text)
{
    std::fprintf(stderr, "kastrel-standin: %s\n", qPrintable(text));
    return 2;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("kastrel-standin"));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Serves a Kastrel library on the session bus."));
    parser.addHelpOption();
    parser.addPositionalArgument(QStringLiteral("command"), QStringLiteral("serve (the default) or install"));
    const QCommandLineOption libraryOption(QStringLiteral("library"), QStringLiteral("Library folder."),
                                           QStringLiteral("folder"));
    const QCommandLineOption identifierOption(QStringLiteral("identifier"),
                                              QStringLiteral("Bus name and application identifier."),
                                              QStringLiteral("identifier"), QStringLiteral("com.fendwick.kastrel4"));
    const QCommandLineOption versionOption(QStringLiteral("version"),
                                           QStringLiteral("Version to answer; without it none is answered."),
                                           QStringLiteral("version"));
    const QCommandLineOption delayOption(QStringLiteral("reply-delay"),
                                         QStringLiteral("Milliseconds to hold back every reply."),
                                         QStringLiteral("milliseconds"), QStringLiteral("0"));
    const QCommandLineOption dataHomeOption(QStringLiteral("data-home"),
                                            QStringLiteral("Install under this folder instead of $XDG_DATA_HOME."),
                                            QStringLiteral("folder"));
    parser.addOptions({libraryOption, identifierOption, versionOption, delayOption, dataHomeOption});
    parser.process(application);

    const QStringList positional = parser.positionalArguments();
    const QString command = positional.value(0, QStringLiteral("serve"));
    if (positional.size() > 1 || (command != QLatin1String("serve") && command != QLatin1String("install")))
        return fail(QStringLiteral("unknown command; use serve or install"));
    if (!parser.isSet(libraryOption))
        return fail(QStringLiteral("--library is required"));
    const QString library = QFileInfo(parser.value(libraryOption)).absoluteFilePath();
    const QString identifier = parser.value(identifierOption);
    bool delayOk = false;
    const int delay = parser.value(delayOption).toInt(&delayOk);
    if (!delayOk || delay < 0)
        return fail(QStringLiteral("--reply-delay takes a number of milliseconds"));

    if (command == QLatin1String("install")) {
        QStringList arguments {QStringLiteral("serve"), QStringLiteral("--library"), library,
                               QStringLiteral("--identifier"), identifier};
        if (parser.isSet(versionOption))
            arguments << QStringLiteral("--version") << parser.value(versionOption);
        if (delay > 0)
            arguments << QStringLiteral("--reply-delay") << QString::number(delay);
        const StandinInstallation installation {identifier, QStringLiteral("Kastrel (stand-in)"),
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

    KastrelLibrary kastrelLibrary;
    QString error;
    if (!kastrelLibrary.load(library, &error))
        return fail(error);
    KastrelScriptingService::registerTypes();
    const std::optional<QString> version
        = parser.isSet(versionOption) ? std::optional<QString>(parser.value(versionOption)) : std::nullopt;
    KastrelScriptingService service(kastrelLibrary, version);
    service.setReplyDelay(delay);
    if (!StandinBus::publish(&service, identifier, &error))
        return fail(error);
    StandinBus::quitWhenBusCloses(&service);
    // Whoever started the stand-in by hand may wait for this line instead of polling the bus.
    std::printf("ready %s\n", qPrintable(identifier));
    std::fflush(stdout);
    return QCoreApplication::exec();
}
