// The loop every kind of item goes through, item after item in the source's order: the cancel
// check; an item without a name passed over (for the kinds that look); the source's export,
// asked ahead so that the source writes the next items while this one is recorded; then the
// kind's own steps; the log line; the record; one progress event.
#include "engine/KSExportWindow.h"
#include "engine/KSImportOperation.h"
#include "engine/KSLibraryRecords.h"
#include "foundation/OVStringFormat.h"

#include <QDir>

bool KSImportOperation::exportEachItem(const QList<KastrelDatabaseItem> &items, const ItemKindSteps &steps)
{
    // Bookmarks are written here, without the source: nothing to ask ahead.
    std::optional<KSExportWindow> exports;
    if (steps.exportFolder)
        exports.emplace(
            *m_kastrelApp, items, m_exportWindow,
            [&steps](const KastrelDatabaseItem &item) {
                return !steps.skipsItemsWithoutName || !item.name().isEmpty();
            },
            steps.exportFolder, [this] { return recordedFiles(); });

    for (qsizetype index = 0; index < items.size(); ++index) {
        const KastrelDatabaseItem &item = items.at(index);
        if (isCancelled())
            return false;
        const QString name = item.name();
        setCurrentItemName(name);
        if (steps.skipsItemsWithoutName && name.isEmpty()) {
            skipItemWithoutName(item);
            continue;
        }

        QString exported;
        if (exports) {
            QString folder;
            const QString answered = exports->take(index, &folder);
            exported = checkedExportPath(item, answered, folder);
            if (exported.isNull()) {
                informDelegateDidEncounterError(itemExportError(steps.exportFailureText, name));
                return false;
            }
        }

        const QString identifier = item.id();
        m_currentItemIdentifier = identifier;
        m_unusableItemProperties.clear();
        const std::optional<PlacedFile> placed = steps.placeFile(item, name, identifier, exported);
        if (!placed)
            return false;
        writeLog(OVStringWithFormat(steps.logFormat, {identifier}));

        const QString recordIdentifier = recordIdentifierForItem(identifier, name);
        OVPlist record = itemRecord(placed->type, recordIdentifier, placed->path, placed->fileName);
        steps.completeRecord(item, record);
        addGeneralAttributesToDatabaseItem(item, record);
        // The groups name the source's identifier, which stays with the item listed first.
        if (recordIdentifier != identifier)
            record.insert(QStringLiteral("groups"), OVPlist::Array {OVPlist(QStringLiteral("LibraryGroup"))});
        setEntityRecord(KSLibraryRecords::itemEntity, recordIdentifier, record);
        // Nothing reads the item again: what the connection keeps of it can go.
        item.release();

        informDelegateDidImportRecordOfType(QString(QLatin1String("")));
    }
    return true;
}

QString KSImportOperation::stagingFolder(int slot) const
{
    const QString staging = QDir(m_filesPath).filePath(QStringLiteral("TMP"));
    return m_exportWindow <= 1 ? staging : staging + QStringLiteral("/%1").arg(slot + 1);
}

QStringList KSImportOperation::stagingSlotFolders() const
{
    QStringList folders;
    if (m_exportWindow > 1) {
        for (int slot = 0; slot < m_exportWindow; ++slot)
            folders.append(stagingFolder(slot));
    }
    return folders;
}
