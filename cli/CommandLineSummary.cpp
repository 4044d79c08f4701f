#include "cli/CommandLineSummary.h"

#include "cli/CommandLineProgress.h"
#include "cli/KSExitStatus.h"
#include "engine/KSExportReport.h"
#include "engine/KSImportOperation.h"

#include <QDir>
#include <QJsonArray>

namespace CommandLineSummary {

namespace {

QString outcomeName(CommandLineProgress::Outcome outcome)
{
    switch (outcome) {
    case CommandLineProgress::Outcome::Ended:
        return QStringLiteral("ended");
    case CommandLineProgress::Outcome::Cancelled:
        return QStringLiteral("cancelled");
    case CommandLineProgress::Outcome::Failed:
        return QStringLiteral("failed");
    case CommandLineProgress::Outcome::Running:
        break;
    }
    return QStringLiteral("unfinished");
}

QJsonValue pathOrNull(const QString &path)
{
    return path.isEmpty() ? QJsonValue() : QJsonValue(QDir::cleanPath(path));
}

} // namespace

int exitStatus(const CommandLineProgress &progress, const KSExportReport &report)
{
    const int status = progress.exitStatus();
    // An item that arrived without part of what it carries (a date, its label, its own
    // identifier) did not arrive whole either.
    if (status == KSExitStatus::Ended && !report.problems.isEmpty())
        return KSExitStatus::ItemsMissing;
    return status;
}

QJsonObject summary(const KSImportOperation &operation, const CommandLineProgress &progress,
                    const KSExportReport &report)
{
    QJsonArray errors;
    for (const OVError &error : progress.errors()) {
        errors.append(QJsonObject {{QStringLiteral("domain"), error.domain},
                                   {QStringLiteral("code"), error.code},
                                   {QStringLiteral("text"), error.descriptionInEnglish()}});
    }

    QJsonObject announced;
    const QMap<QString, quint64> counts = operation.announcedItemCounts();
    for (auto count = counts.cbegin(); count != counts.cend(); ++count)
        announced.insert(count.key(), qint64(count.value()));

    QJsonArray skipped;
    for (const KSImportOperation::SkippedItem &item : report.passedOver) {
        skipped.append(QJsonObject {{QStringLiteral("identifier"), item.identifier},
                                    {QStringLiteral("optionKey"), item.optionKey},
                                    {QStringLiteral("reason"), item.englishReason}});
    }
    QJsonArray problems;
    for (const KSImportOperation::ItemProblem &problem : report.problems) {
        problems.append(QJsonObject {{QStringLiteral("identifier"), problem.identifier},
                                     {QStringLiteral("name"), problem.name},
                                     {QStringLiteral("optionKey"), problem.optionKey},
                                     {QStringLiteral("kind"), KSExportReport::problemKindName(problem.kind)},
                                     {QStringLiteral("reason"), problem.englishReason}});
    }
    QJsonObject exported;
    for (auto count = report.importedByKind.cbegin(); count != report.importedByKind.cend(); ++count)
        exported.insert(count.key(), count.value());

    return QJsonObject {
        {QStringLiteral("outcome"), outcomeName(progress.outcome())},
        {QStringLiteral("exitStatus"), exitStatus(progress, report)},
        {QStringLiteral("errors"), errors},
        {QStringLiteral("announced"), announced},
        {QStringLiteral("exported"), exported},
        {QStringLiteral("exportedTotal"), report.importedTotal},
        {QStringLiteral("recordsReported"), qint64(progress.recordsExported())},
        {QStringLiteral("skipped"), skipped},
        {QStringLiteral("problems"), problems},
        {QStringLiteral("recordsWithUncarriableCharacters"), report.recordsWithUncarriableCharacters},
        {QStringLiteral("handedOff"), !operation.handedOffLibraryFile().isNull()},
        {QStringLiteral("exportFolder"), pathOrNull(report.exportFolder)},
        {QStringLiteral("libraryFile"), pathOrNull(report.libraryFile)},
        {QStringLiteral("logFile"), pathOrNull(report.logFile)},
    };
}

} // namespace CommandLineSummary
