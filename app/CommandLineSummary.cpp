#include "app/CommandLineSummary.h"

#include "app/CommandLineProgress.h"
#include "engine/KSImportOperation.h"
#include "engine/KSLibraryRecords.h"
#include "formats/NVItemType.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
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

// The records of the library's item table counted by their "itemType".
QJsonObject exportedCounts(const KSImportOperation &operation, qint64 *total)
{
    QMap<QString, qint64> counts;
    const OVPlist items
        = operation.libraryPlist().value(QStringLiteral("Entities")).value(KSLibraryRecords::itemEntity);
    const OVPlist::Dictionary records = items.toDictionary();
    for (const OVPlist &record : records)
        ++counts[itemTypeName(record.value(QStringLiteral("itemType")).toInteger())];
    *total = records.size();
    QJsonObject object;
    for (auto count = counts.cbegin(); count != counts.cend(); ++count)
        object.insert(count.key(), count.value());
    return object;
}

QJsonValue pathOrNull(const QString &path)
{
    return path.isEmpty() ? QJsonValue() : QJsonValue(QDir::cleanPath(path));
}

} // namespace

QString itemTypeName(qint64 itemType)
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

QJsonObject summary(const KSImportOperation &operation, const CommandLineProgress &progress)
{
    QJsonArray errors;
    for (const OVError &error : progress.errors()) {
        errors.append(QJsonObject {{QStringLiteral("domain"), error.domain},
                                   {QStringLiteral("code"), error.code},
                                   {QStringLiteral("text"), error.localizedDescription}});
    }

    QJsonObject announced;
    const QMap<QString, quint64> counts = operation.announcedItemCounts();
    for (auto count = counts.cbegin(); count != counts.cend(); ++count)
        announced.insert(count.key(), qint64(count.value()));

    QJsonArray skipped;
    const auto skippedItems = operation.skippedItems();
    for (const KSImportOperation::SkippedItem &item : skippedItems) {
        skipped.append(QJsonObject {{QStringLiteral("identifier"), item.identifier},
                                    {QStringLiteral("optionKey"), item.optionKey},
                                    {QStringLiteral("reason"), item.reason}});
    }

    qint64 exportedTotal = 0;
    const QJsonObject exported = exportedCounts(operation, &exportedTotal);

    QString logFile;
    if (const auto *file = dynamic_cast<const QFile *>(operation.logStream().get()))
        logFile = QFileInfo(file->fileName()).absoluteFilePath();
    const QString exportFolder = operation.filesPath();
    const QString libraryFile
        = exportFolder.isEmpty() ? QString() : QDir(exportFolder).filePath(QStringLiteral("Kastrel.nvlibxml"));

    return QJsonObject {
        {QStringLiteral("outcome"), outcomeName(progress.outcome())},
        {QStringLiteral("exitStatus"), progress.exitStatus()},
        {QStringLiteral("errors"), errors},
        {QStringLiteral("announced"), announced},
        {QStringLiteral("exported"), exported},
        {QStringLiteral("exportedTotal"), exportedTotal},
        {QStringLiteral("recordsReported"), qint64(progress.recordsExported())},
        {QStringLiteral("skipped"), skipped},
        {QStringLiteral("exportFolder"), pathOrNull(exportFolder)},
        {QStringLiteral("libraryFile"), pathOrNull(libraryFile)},
        {QStringLiteral("logFile"), pathOrNull(logFile)},
    };
}

} // namespace CommandLineSummary
