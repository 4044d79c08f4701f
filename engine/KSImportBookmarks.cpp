// Bookmarks: the source only tells each bookmark's name and address; the bookmark file is
// written here. A file that cannot be written is logged and still recorded, so one bad
// bookmark does not stop the library; the check before the hand-off takes such a record out
// again and the item is listed as not imported.
#include "engine/KSImportOperation.h"
#include "formats/NVItemType.h"
#include "formats/NVWebBookmarkFile.h"
#include "foundation/OVFileNameFitting.h"
#include "foundation/OVFileNameStrings.h"
#include "foundation/OVLocalization.h"
#include "foundation/OVStringFormat.h"

#include <QDir>
#include <QUrl>

bool KSImportOperation::importBookmarks(const QString &optionKey)
{
    const QString folder = QDir(m_filesPath).filePath(QStringLiteral("Bookmarks"));

    // No export folder: the source is not asked for bookmark files. Every bookmark is taken up,
    // with or without a name.
    ItemKindSteps steps;
    steps.optionKey = optionKey;
    steps.skipsItemsWithoutName = false;
    steps.logFormat = QStringLiteral("Exporting item with identifier as bookmark: %@");

    steps.placeFile = [this, &folder](ExportedItem &item, const QString &) -> std::optional<PlacedFile> {
        const QString &name = item.name;
        QString location;
        readItemProperty(item, QStringLiteral("location"), [&] { location = item.item.location(); });
        // Addresses as people paste them (a blank, an accented path, a host in its own
        // script) are made into URLs as browsers do, so they are not lost.
        const QUrl url = location.isEmpty() ? QUrl() : NVWebBookmarkFile::URLWithLocation(location);
        if (!location.isEmpty() && url.isEmpty())
            noteItemProblem(
                item, ItemProblemKind::Incomplete,
                OVLocalizedTextWithFormat(
                    QT_TRANSLATE_NOOP("KastrelImporter", "its address \"%@\" is not a web address"), {location}));
        // A bookmark without a name is written too: its file name comes from its address.
        const NVWebBookmarkFile::Pointer bookmark = NVWebBookmarkFile::bookmarkWithName(name, url);

        const QString suggested = bookmark->suggestedFilename();
        const QString fileName = OVExtensions::makeFittedFilenameUniqueInDirectory(
            OVExtensions::fileNameFittedToFolder(suggested, folder, NVWebBookmarkFile::fileExtensionForURL(url)),
            folder);
        const QString path = folder + QLatin1Char('/') + fileName;
        OVError error;
        if (!bookmark->writeToFileAtURL(QUrl::fromLocalFile(path), &error)) {
            // One bad bookmark does not stop the library: it is still recorded, and the check
            // before the hand-off lists it.
            writeLog(OVStringWithFormat(QStringLiteral("Exporting bookmark file %@ failed: %@"),
                                        {path, error.wholeDescriptionInEnglish()}));
            if (stopIfOutOfSpace(folder))
                return std::nullopt;
            noteItemProblem(item, ItemProblemKind::NotImported,
                            OVLocalizedTextWithFormat(
                                QT_TRANSLATE_NOOP("KastrelImporter", "its bookmark file could not be written (%@)"),
                                {QVariant::fromValue(error.description())}));
        } else {
            setOnlyCopyOfFileDates(path, item);
        }
        return PlacedFile {NVItemTypeBookmark, path, fileName};
    };

    // No name and no dates in the record: the file carries the dates.
    steps.completeRecord = [](ExportedItem &, KSItemRecord &) {};
    return exportEachItem(m_kastrelApp->bookmarkItems().get(), steps);
}
