// Bookmarks: the source only tells each bookmark's name and address; the bookmark file is
// written here. A file that cannot be written is logged and still recorded, so one bad
// bookmark does not stop the library.
#include "engine/KSImportOperation.h"
#include "formats/NVItemType.h"
#include "formats/NVWebBookmarkFile.h"
#include "foundation/OVFileNameStrings.h"
#include "foundation/OVStringFormat.h"

#include <QDir>
#include <QUrl>

bool KSImportOperation::importBookmarks()
{
    const QString folder = QDir(filesPath()).filePath(QStringLiteral("Bookmarks"));
    const QUrl folderURL = QUrl::fromLocalFile(folder);

    for (const KastrelDatabaseItem &item : kastrelApp()->bookmarkItems().get()) {
        if (isCancelled())
            return false;
        const QString location = item.location();
        const QUrl url = location.isEmpty() ? QUrl() : NVWebBookmarkFile::URLWithString(location);
        // A bookmark without a name is written too: its file name comes from its address.
        const NVWebBookmarkFile::Pointer bookmark = NVWebBookmarkFile::bookmarkWithName(item.name(), url);

        const QString fileName
            = OVExtensions::makeFilenameUniqueInDirectoryAtURL(bookmark->suggestedFilename(), folderURL);
        const QString path = QDir(folder).filePath(fileName);
        OVError error;
        if (!bookmark->writeToFileAtURL(QUrl::fromLocalFile(path), &error))
            writeLog(OVStringWithFormat(QStringLiteral("Exporting bookmark file %@ failed: %@"),
                                        {path, error.localizedDescription}));

        setFileDates(path, item);
        const QString identifier = item.id();
        writeLog(OVStringWithFormat(QStringLiteral("Exporting item with identifier as bookmark: %@"), {identifier}));

        // No name and no dates in the record: the file carries the dates.
        OVPlist record = itemRecord(NVItemTypeBookmark, identifier, path, fileName);
        record.insert(QStringLiteral("extensionHidden"), true);
        storeItemRecord(item, identifier, record);

        informDelegateDidImportRecordOfType(QString(QLatin1String("")));
    }
    return true;
}
