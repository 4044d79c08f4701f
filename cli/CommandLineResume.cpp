#include "cli/CommandLineResume.h"

#include "cli/CommandLineOutput.h"
#include "engine/KSExportReport.h"
#include "engine/KSImportOperation.h"
#include "foundation/OVLocalization.h"

namespace CommandLineResume {

namespace {

bool continued(const KSImportOperation &operation)
{
    return operation.resume() && operation.notContinuedReason().english.isEmpty();
}

} // namespace

void writeClosingLines(const KSImportOperation &operation, const KSExportReport &report)
{
    if (operation.resume() && !operation.notContinuedReason().english.isEmpty())
        CommandLineOutput::writeError(
            OVLocalizedString(
                QT_TRANSLATE_NOOP("KastrelImporter", "not continued: %1; the export started from the first item"))
                .arg(operation.notContinuedReason().localized)
            + QLatin1Char('\n'));
    if (continued(operation) && (report.resumedItems > 0 || operation.exportedItemCount() > 0))
        CommandLineOutput::writeError(
            OVLocalizedString(
                QT_TRANSLATE_NOOP("KastrelImporter", "items taken from the earlier export: %1, exported anew: %2"))
                .arg(report.resumedItems)
                .arg(operation.exportedItemCount())
            + QLatin1Char('\n'));
    if (!report.keptExportFolder.isEmpty())
        CommandLineOutput::writeError(
            OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter",
                                                "unfinished export kept in: %1 (\"kastrel-importer export "
                                                "--resume\" continues it)"))
                .arg(report.keptExportFolder)
            + QLatin1Char('\n'));
}

} // namespace CommandLineResume
