#include "cli/CommandLineExport.h"

#include "cli/CommandLineInterrupt.h"
#include "cli/CommandLineOutput.h"
#include "cli/CommandLineProgress.h"
#include "cli/CommandLineResume.h"
#include "cli/KSExitStatus.h"
#include "engine/KSExportReport.h"
#include "engine/KSImportOperation.h"
#include "engine/KSImportOptions.h"
#include "engine/KSImportRunner.h"
#include "engine/KSRunSummary.h"
#include "foundation/OVLocalization.h"
#include "foundation/OVStringFormat.h"

#include <QJsonDocument>

namespace {

QString validKeys()
{
    return KSImportOptions::allKeys().join(QLatin1Char(','));
}

int usageError(const QString &message)
{
    CommandLineOutput::writeError(QStringLiteral("kastrel-importer export: %1\n").arg(message));
    CommandLineOutput::writeError(CommandLineExport::usage());
    return KSExitStatus::UsageError;
}

// The last line: what became of the export, in one sentence that matches the exit status.
QString verdict(int status, const KSExportReport &report, bool handedOff)
{
    switch (status) {
    case KSExitStatus::Ended:
        return OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "Export ended."));
    case KSExitStatus::Cancelled:
        return OVLocalizedString(
            QT_TRANSLATE_NOOP("KastrelImporter", "Export cancelled. Nothing was handed to Nortavel 3."));
    case KSExitStatus::ItemsMissing:
        return OVLocalizedCountString(
            QT_TRANSLATE_N_NOOP("KastrelImporter", "Export ended, but %n items did not arrive whole (listed above)."),
            qint64(report.problems.size()));
    default:
        break;
    }
    return handedOff
        ? OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "Export failed."))
        : OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "Export failed. Nothing was handed to Nortavel 3."));
}

} // namespace

CommandLineExport::CommandLineExport(std::shared_ptr<ScriptingBackend> backend)
    : m_backend(std::move(backend))
{ }

QString CommandLineExport::usage()
{
    return OVLocalizedString(
               QT_TRANSLATE_NOOP(
                   "KastrelImporter",
                   "Usage: kastrel-importer export [--only KEYS] [--resume] [--json]\n"
                   "\n"
                   "Exports the Kastrel library into Nortavel 3, both reached on the D-Bus session bus.\n"
                   "\n"
                   "  --only KEYS  export only these kinds, comma-separated, of:\n"
                   "               %1\n"
                   "               (all of them by default)\n"
                   "  --resume     continue the export an earlier run left unfinished (cancelled,\n"
                   "               failed or killed): the items it recorded that have not changed\n"
                   "               since are not exported again. With no unfinished export, or one\n"
                   "               whose journal cannot be trusted, it says why and starts from the\n"
                   "               first item; one made from another Kastrel or with other kinds is\n"
                   "               refused (exit status 1, nothing done: its items would not match)\n"
                   "  --json       print a summary of the run as JSON on standard output\n"
                   "  --help       show this help\n"
                   "\n"
                   "Progress and errors (\"error CODE: TEXT\") go to standard error. Ctrl-C cancels the\n"
                   "export; a second Ctrl-C stops at once.\n"
                   "Exit status: 0 ended with every item in Nortavel 3, 1 an error was reported (nothing\n"
                   "was handed to Nortavel 3), 2 cancelled, 3 ended but items that should have arrived did\n"
                   "not, or arrived as a note holding their original file or without part of what they carry\n"
                   "(each is listed with the reason; items passed over on purpose, such as those without a\n"
                   "name, are listed but do not count), 64 wrong usage.\n"))
        .arg(validKeys());
}

std::optional<KSImportOptions> CommandLineExport::importOptionsForKeys(const QString &keys, QString *error)
{
    KSImportOptions options = KSImportOptions::none();
    const QStringList given = keys.split(QLatin1Char(','));
    for (const QString &raw : given) {
        const QString key = raw.trimmed();
        const std::optional<KSImportKind> kind = KSImportOptions::kindForKey(key);
        if (!kind) {
            if (error) {
                *error = key.isEmpty()
                    ? OVLocalizedString(
                          QT_TRANSLATE_NOOP("KastrelImporter", "--only needs at least one kind; valid keys: %1"))
                          .arg(validKeys())
                    : OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "unknown key \"%1\"; valid keys: %2"))
                          .arg(key, validKeys());
            }
            return std::nullopt;
        }
        options.set(*kind, true);
    }
    return options;
}

int CommandLineExport::run(const QStringList &arguments)
{
    KSImportOptions options;
    bool json = false;
    bool resume = false;
    for (qsizetype index = 0; index < arguments.size(); ++index) {
        const QString &argument = arguments.at(index);
        if (argument == QLatin1String("--help") || argument == QLatin1String("-h")) {
            CommandLineOutput::writeOutput(usage());
            return KSExitStatus::Ended;
        }
        if (argument == QLatin1String("--json")) {
            json = true;
            continue;
        }
        if (argument == QLatin1String("--resume")) {
            resume = true;
            continue;
        }
        QString keys;
        if (argument == QLatin1String("--only")) {
            if (index + 1 >= arguments.size())
                return usageError(OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter",
                                                                      "--only needs a list of keys; valid keys: %1"))
                                      .arg(validKeys()));
            keys = arguments.at(++index);
        } else if (argument.startsWith(QLatin1String("--only="))) {
            keys = argument.mid(7);
        } else {
            return usageError(
                OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "unknown argument \"%1\"")).arg(argument));
        }
        QString error;
        const std::optional<KSImportOptions> selected = importOptionsForKeys(keys, &error);
        if (!selected)
            return usageError(error);
        options = *selected;
    }
    return exportWithOptions(options, json, resume);
}

int CommandLineExport::exportWithOptions(const KSImportOptions &options, bool json, bool resume)
{
    auto progress = std::make_shared<CommandLineProgress>(CommandLineOutput::errorIsTerminal());
    auto operation = std::make_shared<KSImportOperation>(options, progress, m_backend);
    operation->setResume(resume);
    m_lastOperation = operation;

    {
        const CommandLineInterrupt interrupt(operation, [progress] { progress->cancelRequested(); });
        // The engine hands every notification to this thread and waits for it: this thread
        // serves them until the worker is through.
        KSImportRunner::runToEnd(operation);
    }

    const KSExportReport report = KSExportReport::ofOperation(*operation);
    const int status = KSRunSummary::exitStatus(*operation, report);
    for (const KSImportOperation::SkippedItem &item : report.passedOver)
        CommandLineOutput::writeError(
            OVStringWithFormat(OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "passed over: item %@ (%@)")),
                               {item.identifier, item.reason})
            + QLatin1Char('\n'));
    for (const KSImportOperation::ItemProblem &problem : report.problems)
        CommandLineOutput::writeError(
            QStringLiteral("%1: \"%2\" (%3)\n")
                .arg(KSExportReport::problemKindDescription(problem.kind), problem.name, problem.reason));
    if (report.recordsWithUncarriableCharacters > 0)
        CommandLineOutput::writeError(
            OVLocalizedCountString(
                QT_TRANSLATE_N_NOOP("KastrelImporter", "characters that XML cannot carry were left out of %n records"),
                report.recordsWithUncarriableCharacters)
            + QLatin1Char('\n'));
    if (!report.libraryFile.isEmpty())
        CommandLineOutput::writeError(
            OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "library file: %1")).arg(report.libraryFile)
            + QLatin1Char('\n'));
    if (!report.logFile.isEmpty())
        CommandLineOutput::writeError(
            OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "log file: %1")).arg(report.logFile)
            + QLatin1Char('\n'));
    if (!report.reportFile.isEmpty())
        CommandLineOutput::writeError(
            OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "report: %1")).arg(report.reportFile)
            + QLatin1Char('\n'));
    else if (!report.reportProblem.isEmpty())
        CommandLineOutput::writeError(report.reportProblem + QLatin1Char('\n'));
    CommandLineResume::writeClosingLines(*operation, report);
    if (json)
        CommandLineOutput::writeOutput(QString::fromUtf8(
            QJsonDocument(KSRunSummary::summary(*operation, report)).toJson(QJsonDocument::Indented)));
    CommandLineOutput::writeError(verdict(status, report, !operation->handedOffLibraryFile().isNull())
                                  + QLatin1Char('\n'));
    return status;
}
