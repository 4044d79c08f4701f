// The loop every kind of item goes through, item after item in the source's order: the cancel
// check; an item without a name passed over (for the kinds that look); the source's export,
// asked ahead so that the source writes the next items while this one is recorded; then the
// kind's own steps; the log line; the record; one progress event.
#include "engine/KSExportReport.h"
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
            [this, &steps](const KastrelDatabaseItem &item) {
                return (!steps.skipsItemsWithoutName || !item.name().isEmpty())
                    && !journalEntryFor(item, steps.optionKey);
            },
            steps.exportFolder, [this] { return m_library.files(); });

    for (qsizetype index = 0; index < items.size(); ++index) {
        const KastrelDatabaseItem &item = items.at(index);
        if (isCancelled())
            return false;
        syncJournalIfDue();
        const QString name = item.name();
        ExportedItem exported {item, QString(), name, steps.optionKey, {}, -1};
        // A failure of the connection from here on happened while this item was exported.
        try {
            exported.identifier = item.id();
            exported.reportIndex = m_reportItems.add(exported.identifier, name, steps.optionKey);
            if (steps.skipsItemsWithoutName && name.isEmpty()) {
                skipItemWithoutName(exported);
                m_reportItems.finishCurrent();
                continue;
            }
            // An item a continued run finds in its journal, unchanged, is not exported again.
            if (const KSExportJournal::Entry *entry = journalEntryFor(item, steps.optionKey)) {
                takeItemFromJournal(exported, entry);
                m_reportItems.finishCurrent();
                informDelegateDidImportRecordOfType(QString(QLatin1String("")));
                continue;
            }
            QString path;
            if (exports) {
                QString folder;
                const QString answered = exports->take(index, &folder);
                path = checkedExportPath(item, answered, folder);
                if (path.isNull()) {
                    informDelegateDidEncounterError(itemExportError(steps.exportFailureText, name));
                    return false;
                }
            }
            if (!recordItem(exported, path, steps))
                return false;
        } catch (const KSScriptingException &exception) {
            throw ItemScriptingException(exception, name);
        }
        m_reportItems.finishCurrent();
        informDelegateDidImportRecordOfType(QString(QLatin1String("")));
    }
    return true;
}

bool KSImportOperation::recordItem(ExportedItem &exported, const QString &path, const ItemKindSteps &steps)
{
    const qsizetype problemsBefore = m_itemProblems.size();
    const std::optional<PlacedFile> placed = steps.placeFile(exported, path);
    if (!placed)
        return false;
    writeLog(OVStringWithFormat(steps.logFormat, {exported.identifier}));

    KSItemRecord record;
    record.type = placed->type;
    record.identifier = recordIdentifierForItem(exported);
    record.path = placed->path;
    record.fileName = placed->fileName;
    steps.completeRecord(exported, record);
    addGeneralAttributesToDatabaseItem(exported, record);
    // The groups name the source's identifier, which stays with the item listed first.
    if (record.identifier != exported.identifier)
        record.groups = OVPlist::Array {KSLibraryRecords::libraryGroup()};
    m_library.addItem(record);
    m_reportItems.markRecorded(exported.reportIndex, record.identifier, KSExportReport::itemTypeName(record.type),
                               QDir(m_filesPath).relativeFilePath(record.path));
    ++m_exportedItems;
    journalItem(exported, record, placed->path, problemsBefore);
    // Nothing reads the item again: what the connection keeps of it can go.
    exported.item.release();
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
