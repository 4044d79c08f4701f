// The item stage: counts and announces the items of the selected kinds, prepares the export
// folder's sub-folders and the item table, then hands each selected kind, in a fixed order,
// to its exporter, stopping at the first that answers no.
#include "engine/KSImportErrors.h"
#include "engine/KSImportOperation.h"
#include "engine/KSResumedExport.h"
#include "formats/NVItemType.h"
#include "foundation/OVLocalization.h"
#include "foundation/OVStandardPaths.h"
#include "foundation/OVStringFormat.h"

#include <QDir>
#include <QFileInfo>

namespace {

enum class Exporter { Notes, Bookmarks, DatabaseItems, PDFs };

struct ItemKind
{
    KSImportKind option;
    KastrelItemKind kind;
    const char *logLine;
    Exporter exporter;
    NVItemType type; // for the database-item exporter
    const char *folder;
};

// Serial numbers and passwords become notes in the target, not kinds of their own.
const ItemKind itemKinds[] = {
    {KSImportKind::Notes, KastrelItemKind::Note, "Exporting notes", Exporter::Notes, NVItemTypeNote, "Notes"},
    {KSImportKind::Bookmarks, KastrelItemKind::Bookmark, "Exporting bookmarks", Exporter::Bookmarks, NVItemTypeBookmark,
     "Bookmarks"},
    {KSImportKind::SerialNumbers, KastrelItemKind::SerialNumber, "Exporting serial numbers", Exporter::Notes,
     NVItemTypeNote, "Notes"},
    {KSImportKind::Passwords, KastrelItemKind::Password, "Exporting passwords", Exporter::Notes, NVItemTypeNote,
     "Notes"},
    {KSImportKind::Images, KastrelItemKind::Image, "Exporting images", Exporter::DatabaseItems, NVItemTypeImage,
     "Images"},
    {KSImportKind::PDFs, KastrelItemKind::PDFArchive, "Exporting PDFs", Exporter::PDFs, NVItemTypeDocument,
     "Documents"},
    {KSImportKind::WebArchives, KastrelItemKind::WebArchive, "Exporting web archives", Exporter::DatabaseItems,
     NVItemTypeWebPage, "Web Pages"},
};

const char *const subFolders[] = {"Notes", "Documents", "Images", "Bookmarks", "Web Pages", "TMP"};

const char *const exportFolderErrorText
    = QT_TRANSLATE_NOOP("KastrelImporter", "Unable to create the temporary directory to export files.");

} // namespace

bool KSImportOperation::importItems()
{
    const auto selected = [this](const ItemKind &kind) { return m_importOptions.contains(kind.option); };
    const KastrelApplication source = *m_kastrelApp;

    quint64 total = 0;
    QMap<QString, quint64> counts;
    for (const ItemKind &kind : itemKinds) {
        if (!selected(kind))
            continue;
        const quint64 count = source.itemsOfKind(kind.kind).count();
        counts.insert(KSImportOptions::keyOf(kind.option), count);
        total += count;
    }
    m_announcedItemCounts = counts;
    m_reachedItemStage = true;
    informDelegateWillStartImportingCountOfRecordsOfType(
        {{QStringLiteral("type"), OVLocalizedString(QT_TRANSLATE_NOOP("KastrelImporter", "Items"))},
         {QStringLiteral("count"), total}});

    const QString folder = m_filesPath;
    writeLog(OVStringWithFormat(QStringLiteral("Using temporary directory: %@"), {folder}));

    QString reason;
    QStringList folders;
    for (const char *subFolder : subFolders)
        folders.append(QDir(folder).filePath(QString::fromLatin1(subFolder)));
    // A continued run keeps what its journal names, and only that.
    if (m_resumed)
        prepareFolderToContinue(folders.mid(0, folders.size() - 1), folders.last());
    else if (QFileInfo(folder).exists() || QFileInfo(folder).isSymLink()) {
        if (!OVStandardPaths::removeItemAtPath(folder, &reason)) {
            informDelegateDidEncounterError(KSImportError(KSExportFolderError, exportFolderErrorText));
            writeLog(OVStringWithFormat(QStringLiteral("Unable to remove directory %@: %@"), {folder, reason}));
            return false;
        }
    }
    // The staging folder's own folders, one per export in flight.
    const QStringList slotFolders = stagingSlotFolders();
    folders += slotFolders;
    for (const QString &path : std::as_const(folders)) {
        if (!OVStandardPaths::createFolderWithIntermediates(path, &reason)) {
            informDelegateDidEncounterError(KSImportError(KSExportFolderError, exportFolderErrorText));
            writeLog(OVStringWithFormat(QStringLiteral("Unable to create directory %@: %@"), {path, reason}));
            return false;
        }
    }

    m_library.beginItems(folder);
    beginJournal(total);

    for (const ItemKind &kind : itemKinds) {
        if (!selected(kind))
            continue;
        writeLog(QString::fromLatin1(kind.logLine));
        const QString optionKey = KSImportOptions::keyOf(kind.option);
        bool exported = false;
        switch (kind.exporter) {
        case Exporter::Notes:
            exported = importDatabaseItemsAsNotes(source.itemsOfKind(kind.kind).get(), optionKey);
            break;
        case Exporter::Bookmarks:
            exported = importBookmarks(optionKey);
            break;
        case Exporter::DatabaseItems:
            exported = importDatabaseItems(source.itemsOfKind(kind.kind).get(), kind.type,
                                           QDir(folder).filePath(QString::fromLatin1(kind.folder)), optionKey);
            break;
        case Exporter::PDFs:
            exported = importPDFs(optionKey);
            break;
        }
        if (!exported)
            return false;
    }
    // The slots' folders are empty now: "TMP" is left as one item at a time leaves it.
    for (const QString &slotFolder : slotFolders)
        QDir().rmdir(slotFolder);
    return true;
}
