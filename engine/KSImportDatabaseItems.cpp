// Images and web archives: the source writes each item's file straight into its folder;
// the file keeps the name the source gave it, is dated, and gets its item record.
#include "engine/KSImportOperation.h"
#include "foundation/OVFileNameFitting.h"
#include "foundation/OVFileNameStrings.h"
#include "foundation/OVStringFormat.h"
#include "foundation/OVXmlCharacters.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

bool KSImportOperation::importDatabaseItems(const QList<KastrelDatabaseItem> &items, qint64 type,
                                            const QString &directory)
{
    for (const KastrelDatabaseItem &item : items) {
        if (isCancelled())
            return false;
        bool skipped = false;
        QString path = exportNamedItemToFolder(item, directory, &skipped);
        if (skipped)
            continue;
        if (path.isNull())
            return false;

        // The file keeps the name the source chose. Only when sanitising would not change it is
        // it "moved", onto itself; a name the sanitiser would change is left alone, and the
        // record describes the file as the source named it.
        QString fileName = QFileInfo(path).fileName();
        if (OVExtensions::stringSanitizedForFileName(fileName) == fileName)
            QFile::rename(path, QDir(QFileInfo(path).absolutePath()).filePath(fileName));
        // Except for a name the library file cannot carry (a control character): the record
        // would name a file that is not there, so such a file takes the name without them.
        if (!OVXmlCharacters::canCarry(fileName)) {
            const QString carried = OVExtensions::makeFittedFilenameUniqueInDirectory(
                OVExtensions::fileNameFittedToFolder(fileName, directory), directory);
            const QString carriedPath = directory + QLatin1Char('/') + carried;
            if (QFile::rename(path, carriedPath)) {
                path = carriedPath;
                fileName = carried;
            }
        }

        setFileDates(path, item);
        const QString identifier = item.id();
        writeLog(OVStringWithFormat(QStringLiteral("Exporting item with identifier: %@"), {identifier}));

        OVPlist record = itemRecord(type, identifier, path, fileName);
        insertNameAndDates(record, fileName, item);
        // Only ever yes: an item that is not encrypted says nothing.
        if (item.respondsToEncrypted() && item.encrypted().value_or(false))
            record.insert(QStringLiteral("com.orvantis.Nortavel.EncryptItemOnImport"), true);
        storeItemRecord(item, identifier, record);

        informDelegateDidImportRecordOfType(QString(QLatin1String("")));
    }
    return true;
}
