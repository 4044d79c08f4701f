// Notes, serial numbers and passwords: the source writes each item into the staging folder
// in whatever rich-text form it likes; the main thread converts that into a note package in
// "Notes", which gets its dates and its item record; then the staged file goes.
#include "engine/KSImportOperation.h"
#include "formats/NVItemType.h"
#include "formats/RTFDPackage.h"
#include "formats/RichTextReader.h"
#include "foundation/OVFileNameStrings.h"
#include "foundation/OVMainThread.h"
#include "foundation/OVStandardPaths.h"
#include "foundation/OVStringFormat.h"

#include <QDir>
#include <QTextDocument>
#include <QUrl>

bool KSImportOperation::importDatabaseItemsAsNotes(const QList<KastrelDatabaseItem> &items)
{
    const QString notesFolder = QDir(filesPath()).filePath(QStringLiteral("Notes"));
    const QUrl notesFolderURL = QUrl::fromLocalFile(notesFolder);
    const QString stagingFolder = QDir(filesPath()).filePath(QStringLiteral("TMP"));

    for (const KastrelDatabaseItem &item : items) {
        if (isCancelled())
            return false;
        bool skipped = false;
        const QString stagedPath = exportNamedItemToFolder(item, stagingFolder, &skipped);
        if (skipped)
            continue;
        if (stagedPath.isNull())
            return false;
        const QString name = item.name();

        // The extension goes on before sanitising, so a long name is cut with its extension
        // kept, and uniquing numbers it before the extension: 'Agenda 1.nvnote'.
        const QString noteName = OVExtensions::makeFilenameUniqueInDirectoryAtURL(
            OVExtensions::stringSanitizedForFileName(name + QLatin1Char('.') + NVNoteDocumentFileExtension),
            notesFolderURL);
        const QString notePath = QDir(notesFolder).filePath(noteName);
        const QVariantMap request {{QStringLiteral("originalPath"), stagedPath},
                                   {QStringLiteral("notePath"), notePath}};
        OVPerformOnMainThreadAndWait([this, &request] { convertFileToNoteOnMainThread(request); });

        setFileDates(notePath, item);
        const QString identifier = item.id();
        writeLog(OVStringWithFormat(QStringLiteral("Exporting item with identifier as note: %@"), {identifier}));

        OVPlist record = itemRecord(NVItemTypeNote, identifier, notePath, noteName);
        insertNameAndDates(record, noteName, item);
        // Notes pass their flag on as it is, yes or no; password items without one are encrypted.
        if (item.respondsToEncrypted())
            record.insert(QStringLiteral("com.orvantis.Nortavel.EncryptItemOnImport"),
                          item.encrypted().value_or(false));
        else if (item.respondsToPassword())
            record.insert(QStringLiteral("com.orvantis.Nortavel.EncryptItemOnImport"), true);
        storeItemRecord(item, identifier, record);

        OVStandardPaths::removeItemAtPath(stagedPath);
        informDelegateDidImportRecordOfType(QString(QLatin1String("")));
    }
    return true;
}

void KSImportOperation::convertFileToNoteOnMainThread(const QVariantMap &request)
{
    const QString originalPath = request.value(QStringLiteral("originalPath")).toString();
    const QString notePath = request.value(QStringLiteral("notePath")).toString();

    QTextDocument document;
    OVError error;
    if (!RichTextReader::readFile(originalPath, &document, nullptr, &error)
        || !RTFDPackage::writeDocument(&document, notePath, {}, &error)) {
        qWarning().noquote() << OVStringWithFormat(QStringLiteral("Cannot write note: %@"),
                                                   {error.localizedDescription});
    }
}
