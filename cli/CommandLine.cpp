#include "cli/CommandLine.h"

#include "cli/CommandLineExport.h"
#include "cli/CommandLineOutput.h"
#include "cli/KSExitStatus.h"
#include "foundation/AppVersion.h"
#include "foundation/OVLocalization.h"

namespace CommandLine {

namespace {

bool isHelp(const QString &argument)
{
    return argument == QLatin1String("--help") || argument == QLatin1String("-h") || argument == QLatin1String("help");
}

bool isVersion(const QString &argument)
{
    return argument == QLatin1String("--version") || argument == QLatin1String("-v");
}

} // namespace

bool handles(const QStringList &arguments)
{
    if (arguments.isEmpty())
        return false;
    const QString &first = arguments.first();
    return !first.startsWith(QLatin1Char('-')) || isHelp(first) || isVersion(first);
}

QString usage()
{
    return OVLocalizedString(
        QT_TRANSLATE_NOOP("KastrelImporter",
                          "Usage: kastrel-importer                 open the export window\n"
                          "       kastrel-importer export [--only KEYS] [--json]\n"
                          "                                        export without a window (see export --help)\n"
                          "       kastrel-importer --help | --version\n"));
}

int run(const QStringList &arguments, std::shared_ptr<ScriptingBackend> backend)
{
    const QString command = arguments.value(0);
    if (isHelp(command)) {
        CommandLineOutput::writeOutput(usage());
        return KSExitStatus::Ended;
    }
    if (isVersion(command)) {
        CommandLineOutput::writeOutput(KastrelImporter::applicationName() + QLatin1Char(' ')
                                       + KastrelImporter::applicationVersion() + QLatin1Char('\n'));
        return KSExitStatus::Ended;
    }
    if (command == QLatin1String("export"))
        return CommandLineExport(std::move(backend)).run(arguments.mid(1));
    CommandLineOutput::writeError(
        OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "kastrel-importer: unknown command \"%1\"")).arg(command)
        + QLatin1Char('\n'));
    CommandLineOutput::writeError(usage());
    return KSExitStatus::UsageError;
}

} // namespace CommandLine
