// kastrel-standin: serves a library folder as the source application on the session bus,
// or installs itself (desktop entry and D-Bus service file) to be started on demand.
//
//   kastrel-standin [serve] --library DIR [--identifier ID] [--version V] [--reply-delay MS]
//                   [--serial-delay MS] [--elements-of-each served|missing|failing]
//                   [--export-log FILE]
//   kastrel-standin install --library DIR [the same options] [--data-home DIR]
#include "standins/common/StandinBus.h"
#include "standins/common/StandinCommandLine.h"
#include "standins/kastrel/KastrelLibrary.h"
#include "standins/kastrel/KastrelScriptingService.h"

#include <QCoreApplication>
#include <optional>

namespace {

// A number of milliseconds from an option, or nothing when it is not one.
std::optional<int> milliseconds(const Standin::StandinCommandLine &commandLine, const QCommandLineOption &option)
{
    bool ok = false;
    const int value = commandLine.value(option).toInt(&ok);
    if (!ok || value < 0)
        return std::nullopt;
    return value;
}

std::optional<Standin::KastrelElementsOfEach> elementsOfEachAnswer(const QString &text)
{
    if (text == QLatin1String("served"))
        return Standin::KastrelElementsOfEach::Served;
    if (text == QLatin1String("missing"))
        return Standin::KastrelElementsOfEach::Missing;
    if (text == QLatin1String("failing"))
        return Standin::KastrelElementsOfEach::Failing;
    return std::nullopt;
}

} // namespace

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
    const QCommandLineOption serialOption(
        QStringLiteral("serial-delay"),
        QStringLiteral("Handle one call at a time, each taking at least this many milliseconds."),
        QStringLiteral("milliseconds"), QStringLiteral("0"));
    const QCommandLineOption elementsOfEachOption(
        QStringLiteral("elements-of-each"),
        QStringLiteral("How ElementsOfEach is answered: served, missing (an unknown method) or failing."),
        QStringLiteral("answer"), QStringLiteral("served"));
    commandLine.addOption(libraryOption);
    commandLine.addOption(delayOption);
    commandLine.addOption(serialOption);
    commandLine.addOption(elementsOfEachOption);
    const QCommandLineOption exportLogOption(
        QStringLiteral("export-log"),
        QStringLiteral("Append the identifier of each item asked to Export to this file."), QStringLiteral("file"));
    commandLine.addOption(exportLogOption);
    QString error;
    if (!commandLine.parse(QCoreApplication::arguments(), &error))
        return Standin::StandinBus::fail(error);
    if (!commandLine.isSet(libraryOption))
        return Standin::StandinBus::fail(QStringLiteral("--library is required"));
    const QString library = commandLine.absolutePath(libraryOption);
    const std::optional<int> delay = milliseconds(commandLine, delayOption);
    if (!delay)
        return Standin::StandinBus::fail(QStringLiteral("--reply-delay takes a number of milliseconds"));
    const std::optional<int> serialDelay = milliseconds(commandLine, serialOption);
    if (!serialDelay)
        return Standin::StandinBus::fail(QStringLiteral("--serial-delay takes a number of milliseconds"));
    const std::optional<Standin::KastrelElementsOfEach> elementsOfEach
        = elementsOfEachAnswer(commandLine.value(elementsOfEachOption));
    if (!elementsOfEach)
        return Standin::StandinBus::fail(QStringLiteral("--elements-of-each takes served, missing or failing"));

    if (commandLine.isInstall()) {
        QStringList arguments {QStringLiteral("--library"), library};
        if (*delay > 0)
            arguments << QStringLiteral("--reply-delay") << QString::number(*delay);
        if (*serialDelay > 0)
            arguments << QStringLiteral("--serial-delay") << QString::number(*serialDelay);
        if (*elementsOfEach != Standin::KastrelElementsOfEach::Served)
            arguments << QStringLiteral("--elements-of-each") << commandLine.value(elementsOfEachOption);
        if (commandLine.isSet(exportLogOption))
            arguments << QStringLiteral("--export-log") << commandLine.absolutePath(exportLogOption);
        return commandLine.install(QCoreApplication::applicationFilePath(), arguments, &error)
            ? 0
            : Standin::StandinBus::fail(error);
    }

    Standin::KastrelLibrary kastrelLibrary;
    if (!kastrelLibrary.load(library, &error))
        return Standin::StandinBus::fail(error);
    Standin::KastrelScriptingService::registerTypes();
    Standin::KastrelScriptingService service(kastrelLibrary, commandLine.version());
    service.setReplyDelay(*delay);
    service.setSerialDelay(*serialDelay);
    service.setElementsOfEach(*elementsOfEach);
    if (commandLine.isSet(exportLogOption))
        service.setExportLog(commandLine.absolutePath(exportLogOption));
    return Standin::StandinBus::serve(&service, commandLine.identifier());
}
