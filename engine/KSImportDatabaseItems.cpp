// Images and web archives: the source writes each item's file straight into its folder;
// the file keeps the name the source gave it, is dated, and gets its item record.
#include "engine/KSImportOperation.h"
#include "foundation/OVFileNameFitting.h"
#include "foundation/OVFileNameStrings.h"
#include "foundation/OVXmlCharacters.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

bool KSImportOperation::importDatabaseItems(const QList<KastrelDatabaseItem> &items, qint64 type,
                                            const QString &directory, const QString &optionKey)
{
    ItemKindSteps steps;
    steps.optionKey = optionKey;
    steps.exportFolder = [directory](int) { return directory; };
    steps.exportFailureText = QT_TRANSLATE_NOOP("KastrelImporter", "Unable to export database item with name \"%@\".");
    steps.logFormat = QStringLiteral("Exporting item with identifier: %@");

    steps.placeFile
        = [this, type, &directory](ExportedItem &item, const QString &exported) -> std::optional<PlacedFile> {
        QString path = exported;
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
        return PlacedFile {type, path, fileName};
    };

    steps.completeRecord = [this](ExportedItem &exported, KSItemRecord &record) {
        setNameAndDates(record, exported);
        // Only ever yes: an item that is not encrypted says nothing.
        const KastrelDatabaseItem &item = exported.item;
        std::optional<bool> encrypted;
        if (item.respondsToEncrypted())
            readItemProperty(exported, QStringLiteral("encrypted"), [&] { encrypted = item.encrypted(); });
        if (encrypted.value_or(false))
            record.encrypted = true;
    };
    return exportEachItem(items, steps);
}
