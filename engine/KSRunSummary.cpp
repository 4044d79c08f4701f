#include "engine/KSRunSummary.h"

#include "engine/KSExitStatus.h"
#include "engine/KSExportReport.h"

#include <QDir>
#include <QIODevice>
#include <QJsonArray>
#include <QJsonDocument>

namespace KSRunSummary {

namespace {

QJsonValue pathOrNull(const QString &path)
{
    return path.isEmpty() ? QJsonValue() : QJsonValue(QDir::cleanPath(path));
}

QJsonValue textOrNull(const QString &text)
{
    return text.isEmpty() ? QJsonValue() : QJsonValue(text);
}

} // namespace

QString outcomeName(KSImportOperation::RunOutcome outcome)
{
    switch (outcome) {
    case KSImportOperation::RunOutcome::Ended:
        return QStringLiteral("ended");
    case KSImportOperation::RunOutcome::Cancelled:
        return QStringLiteral("cancelled");
    case KSImportOperation::RunOutcome::Failed:
        return QStringLiteral("failed");
    case KSImportOperation::RunOutcome::Running:
        break;
    }
    return QStringLiteral("unfinished");
}

int exitStatus(const KSImportOperation &operation, const KSExportReport &report)
{
    switch (operation.runOutcome()) {
    case KSImportOperation::RunOutcome::Failed:
        return KSExitStatus::Failed;
    case KSImportOperation::RunOutcome::Cancelled:
        return KSExitStatus::Cancelled;
    case KSImportOperation::RunOutcome::Running:
    case KSImportOperation::RunOutcome::Ended:
        break;
    }
    // An item that arrived without part of what it carries (a date, its label, its own
    // identifier) did not arrive whole either.
    return report.problems.isEmpty() ? KSExitStatus::Ended : KSExitStatus::ItemsMissing;
}

QJsonObject summary(const KSImportOperation &operation, const KSExportReport &report)
{
    QJsonArray errors;
    for (const OVError &error : operation.reportedErrors()) {
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
        {QStringLiteral("outcome"), outcomeName(operation.runOutcome())},
        {QStringLiteral("exitStatus"), exitStatus(operation, report)},
        {QStringLiteral("errors"), errors},
        {QStringLiteral("announced"), announced},
        {QStringLiteral("exported"), exported},
        {QStringLiteral("exportedTotal"), report.importedTotal},
        {QStringLiteral("recordsReported"), qint64(operation.recordEventCount())},
        {QStringLiteral("itemsAnnounced"), report.itemsAnnounced},
        {QStringLiteral("itemsReached"), qint64(report.items.size())},
        {QStringLiteral("skipped"), skipped},
        {QStringLiteral("problems"), problems},
        {QStringLiteral("recordsWithUncarriableCharacters"), report.recordsWithUncarriableCharacters},
        {QStringLiteral("handedOff"), !operation.handedOffLibraryFile().isNull()},
        {QStringLiteral("exportFolder"), pathOrNull(report.exportFolder)},
        {QStringLiteral("libraryFile"), pathOrNull(report.libraryFile)},
        {QStringLiteral("logFile"), pathOrNull(report.logFile)},
        {QStringLiteral("reportFile"), pathOrNull(report.reportFile)},
        {QStringLiteral("jsonReportFile"), pathOrNull(report.jsonReportFile)},
        {QStringLiteral("reportProblem"), textOrNull(report.englishReportProblem)},
        // Continuing an earlier export: what came from its journal, or why it could not.
        {QStringLiteral("resumedItems"), report.resumedItems},
        {QStringLiteral("exportedAnew"), operation.exportedItemCount()},
        {QStringLiteral("keptExportFolder"), pathOrNull(report.keptExportFolder)},
        {QStringLiteral("continued"), operation.resume() && operation.notContinuedReason().english.isEmpty()},
        {QStringLiteral("notContinuedReason"), textOrNull(operation.notContinuedReason().english)},
    };
}

QJsonObject item(const KSReportItem &item)
{
    return QJsonObject {
        {QStringLiteral("identifier"), item.identifier},
        {QStringLiteral("name"), item.name},
        {QStringLiteral("kind"), item.optionKey},
        {QStringLiteral("nortavelKind"), textOrNull(item.nortavelKind)},
        {QStringLiteral("file"), textOrNull(item.file)},
        {QStringLiteral("outcome"), KSReportItem::outcomeName(item.outcome)},
        {QStringLiteral("reason"), textOrNull(item.englishReason)},
    };
}

void writeWithItems(QIODevice &device, const QJsonObject &summary, const KSExportReport &report)
{
    // The summary as it is, up to its closing brace; then the items, each made on its own.
    QByteArray head = QJsonDocument(summary).toJson(QJsonDocument::Indented);
    head.truncate(head.lastIndexOf('}'));
    while (head.endsWith('\n') || head.endsWith(' '))
        head.chop(1);
    device.write(head);
    device.write(summary.isEmpty() ? "\n    \"items\": [" : ",\n    \"items\": [");
    const char *separator = "\n";
    for (const KSReportItem &entry : report.items) {
        device.write(separator);
        QByteArray object = QJsonDocument(item(entry)).toJson(QJsonDocument::Indented);
        object.chop(1); // its last line feed
        device.write(object.replace('\n', "\n        ").prepend("        "));
        separator = ",\n";
    }
    device.write(report.items.isEmpty() ? "]\n}\n" : "\n    ]\n}\n");
}

} // namespace KSRunSummary
