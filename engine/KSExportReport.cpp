#include "engine/KSExportReport.h"

#include "engine/KSLibraryRecords.h"
#include "formats/NVItemType.h"
#include "foundation/OVLocalization.h"
#include "foundation/OVStringFormat.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>

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
    report.items = operation.reportItems();
    if (!operation.reportFilePath().isEmpty() && QFileInfo::exists(operation.reportFilePath()))
        report.reportFile = operation.reportFilePath();
    if (!operation.jsonReportFilePath().isEmpty() && QFileInfo::exists(operation.jsonReportFilePath()))
        report.jsonReportFile = operation.jsonReportFilePath();
    report.reportProblem = operation.reportProblem().localized;
    report.englishReportProblem = operation.reportProblem().english;
    const QMap<QString, quint64> announced = operation.announcedItemCounts();
    for (const quint64 count : announced)
        report.itemsAnnounced += qint64(count);
    report.resumedItems = operation.resumedItemCount();
    if (!operation.keptExportFolder().isEmpty() && QFileInfo(operation.keptExportFolder()).isDir())
        report.keptExportFolder = QDir::cleanPath(operation.keptExportFolder());
    return report;
}

QString KSExportReport::keptExportFolderText() const
{
    if (keptExportFolder.isEmpty())
        return QString();
    return OVStringWithFormat(
        OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter",
                                            "The unfinished export was kept in %@: exporting again offers to "
                                            "continue it (\"kastrel-importer export --resume\").")),
        {keptExportFolder});
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

QString KSExportReport::outcomeDescription(KSReportItem::Outcome outcome)
{
    switch (outcome) {
    case KSReportItem::Outcome::Imported:
        return OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "imported"));
    case KSReportItem::Outcome::PassedOver:
        return OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "passed over"));
    case KSReportItem::Outcome::OriginalFileAttached:
        return OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "imported with its original file attached"));
    case KSReportItem::Outcome::Incomplete:
        return OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "not fully imported"));
    case KSReportItem::Outcome::NotImported:
        break;
    }
    return OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "not imported"));
}

QString KSExportReport::problemKindDescription(KSImportOperation::ItemProblemKind kind)
{
    switch (kind) {
    case KSImportOperation::ItemProblemKind::NotImported:
        return outcomeDescription(KSReportItem::Outcome::NotImported);
    case KSImportOperation::ItemProblemKind::OriginalFileAttached:
        return outcomeDescription(KSReportItem::Outcome::OriginalFileAttached);
    case KSImportOperation::ItemProblemKind::Incomplete:
        break;
    }
    return outcomeDescription(KSReportItem::Outcome::Incomplete);
}

QString KSExportReport::kindCountText(const QString &kindName, qint64 count)
{
    static const QHash<QString, const char *> texts {
        {QStringLiteral("note"), QT_TRANSLATE_N_NOOP("KastrelImporter", "%n notes")},
        {QStringLiteral("document"), QT_TRANSLATE_N_NOOP("KastrelImporter", "%n documents")},
        {QStringLiteral("image"), QT_TRANSLATE_N_NOOP("KastrelImporter", "%n images")},
        {QStringLiteral("sound"), QT_TRANSLATE_N_NOOP("KastrelImporter", "%n sounds")},
        {QStringLiteral("movie"), QT_TRANSLATE_N_NOOP("KastrelImporter", "%n movies")},
        {QStringLiteral("bookmark"), QT_TRANSLATE_N_NOOP("KastrelImporter", "%n bookmarks")},
        {QStringLiteral("webPage"), QT_TRANSLATE_N_NOOP("KastrelImporter", "%n web pages")},
    };
    return OVLocalizedCountString(texts.value(kindName, QT_TRANSLATE_N_NOOP("KastrelImporter", "%n other items")),
                                  count);
}

QString KSExportReport::itemKindDescription(const QString &optionKey)
{
    static const QHash<QString, const char *> kinds {
        {QStringLiteral("notes"), QT_TRANSLATE_NOOP("KastrelImporter", "note")},
        {QStringLiteral("bookmarks"), QT_TRANSLATE_NOOP("KastrelImporter", "bookmark")},
        {QStringLiteral("serialNumbers"), QT_TRANSLATE_NOOP("KastrelImporter", "serial number")},
        {QStringLiteral("passwords"), QT_TRANSLATE_NOOP("KastrelImporter", "password")},
        {QStringLiteral("images"), QT_TRANSLATE_NOOP("KastrelImporter", "image")},
        {QStringLiteral("PDFs"), QT_TRANSLATE_NOOP("KastrelImporter", "PDF document")},
        {QStringLiteral("webArchives"), QT_TRANSLATE_NOOP("KastrelImporter", "web archive")},
    };
    const char *kind = kinds.value(optionKey);
    return kind ? OVLocalizedString(kind) : optionKey;
}
