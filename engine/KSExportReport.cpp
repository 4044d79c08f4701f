#include "engine/KSExportReport.h"

#include "engine/KSLibraryRecords.h"
#include "formats/NVItemType.h"
#include "foundation/OVLocalization.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

KSExportReport KSExportReport::ofOperation(const KSImportOperation &operation)
{
    KSExportReport report;
    const QMap<qint64, qint64> recorded = operation.recordedItemCountsByType();
    for (auto count = recorded.cbegin(); count != recorded.cend(); ++count) {
        report.importedByKind[itemTypeName(count.key())] += count.value();
        report.importedTotal += count.value();
    }
    report.passedOver = operation.skippedItems();
    report.problems = operation.itemProblems();
    report.recordsWithUncarriableCharacters = operation.recordsWithUncarriableCharacters();
    // Only what is there: a summary never sends anybody to look for a file that is not.
    if (!operation.logFilePath().isNull() && QFileInfo::exists(operation.logFilePath()))
        report.logFile = operation.logFilePath();
    const QString libraryFile = operation.handedOffLibraryFile();
    if (!libraryFile.isNull() && QFileInfo::exists(libraryFile))
        report.libraryFile = QDir::cleanPath(libraryFile);
    const QString exportFolder = operation.filesPath();
    if (!exportFolder.isEmpty() && QFileInfo(exportFolder).isDir())
        report.exportFolder = QDir::cleanPath(exportFolder);
    report.resumedItems = operation.resumedItemCount();
    if (!operation.keptExportFolder().isEmpty() && QFileInfo(operation.keptExportFolder()).isDir())
        report.keptExportFolder = QDir::cleanPath(operation.keptExportFolder());
    return report;
}

qsizetype KSExportReport::missingItemCount() const
{
    return std::count_if(problems.cbegin(), problems.cend(), [](const KSImportOperation::ItemProblem &problem) {
        return problem.kind != KSImportOperation::ItemProblemKind::Incomplete;
    });
}

qsizetype KSExportReport::incompleteItemCount() const
{
    return problems.size() - missingItemCount();
}

QString KSExportReport::itemTypeName(qint64 itemType)
{
    switch (itemType) {
    case NVItemTypeNote:
        return QStringLiteral("note");
    case NVItemTypeDocument:
        return QStringLiteral("document");
    case NVItemTypeImage:
        return QStringLiteral("image");
    case NVItemTypeSound:
        return QStringLiteral("sound");
    case NVItemTypeMovie:
        return QStringLiteral("movie");
    case NVItemTypeBookmark:
        return QStringLiteral("bookmark");
    case NVItemTypeWebPage:
        return QStringLiteral("webPage");
    default:
        break;
    }
    return QStringLiteral("unknown");
}

QString KSExportReport::problemKindName(KSImportOperation::ItemProblemKind kind)
{
    switch (kind) {
    case KSImportOperation::ItemProblemKind::NotImported:
        return QStringLiteral("notImported");
    case KSImportOperation::ItemProblemKind::OriginalFileAttached:
        return QStringLiteral("originalFileAttached");
    case KSImportOperation::ItemProblemKind::Incomplete:
        break;
    }
    return QStringLiteral("incomplete");
}

QString KSExportReport::problemKindDescription(KSImportOperation::ItemProblemKind kind)
{
    switch (kind) {
    case KSImportOperation::ItemProblemKind::NotImported:
        return OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "not imported"));
    case KSImportOperation::ItemProblemKind::OriginalFileAttached:
        return OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "imported with its original file attached"));
    case KSImportOperation::ItemProblemKind::Incomplete:
        break;
    }
    return OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "not fully imported"));
}
