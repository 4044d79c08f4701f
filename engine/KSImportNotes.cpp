// Notes, serial numbers and passwords: the source writes each item into the staging folder
// in whatever rich-text form it likes; the main thread converts that into a note package in
// "Notes", which gets its dates and its item record; then the staged file goes.
#include "engine/KSEngineLog.h"
#include "engine/KSImportOperation.h"
#include "formats/NVItemType.h"
#include "formats/NVOriginalFileNote.h"
#include "formats/RTFDPackage.h"
#include "formats/RichTextAttributes.h"
#include "formats/RichTextReader.h"
#include "foundation/OVFileNameFitting.h"
#include "foundation/OVFileNameStrings.h"
#include "foundation/OVLocalization.h"
#include "foundation/OVMainThread.h"
#include "foundation/OVStandardPaths.h"
#include "foundation/OVStringFormat.h"

#include <QDir>
#include <QTextDocument>

bool KSImportOperation::importDatabaseItemsAsNotes(const QList<KastrelDatabaseItem> &items, const QString &optionKey)
{
    const QString notesFolder = QDir(m_filesPath).filePath(QStringLiteral("Notes"));

    ItemKindSteps steps;
    steps.optionKey = optionKey;
    steps.exportFolder = [this](int slot) { return stagingFolder(slot); };
    steps.exportFailureText = QT_TRANSLATE_NOOP("KastrelImporter", "Unable to export database item with name \"%@\".");
    steps.logFormat = QStringLiteral("Exporting item with identifier as note: %@");

    // The staged file is converted on the main thread into a package in "Notes", then goes.
    steps.placeFile = [this, &notesFolder](ExportedItem &item, const QString &stagedPath) -> std::optional<PlacedFile> {
        const QString &name = item.name;
        // The extension goes on before sanitising, so a long name is cut with its extension
        // kept, and uniquing numbers it before the extension: 'Agenda 1.nvnote'. The name is
        // then fitted to what the file system takes (255 bytes, not 255 characters) and to
        // what the library file can carry, before uniquing, so two long names never share a
        // package.
        const QString noteName = OVExtensions::makeFittedFilenameUniqueInDirectory(
            OVExtensions::fileNameFittedToFolder(
                OVExtensions::stringSanitizedForFileName(
                    OVExtensions::stringByAppendingPathExtension(name, NVNoteDocumentFileExtension)),
                notesFolder, NVNoteDocumentFileExtension),
            notesFolder);
        const QString notePath = notesFolder + QLatin1Char('/') + noteName;
        const QVariantMap request {{QStringLiteral("originalPath"), stagedPath},
                                   {QStringLiteral("notePath"), notePath},
                                   {QStringLiteral("name"), name}};
        NoteConversion conversion;
        OVPerformOnMainThreadAndWait(
            [this, &request, &conversion] { convertFileToNoteOnMainThread(request, &conversion); });

        // The note arrived; what its text held that a note cannot show is written down, so
        // that nothing leaves without a trace.
        if (!conversion.leftOut.isEmpty())
            writeLog(OVStringWithFormat(QStringLiteral("Note with identifier %@ (\"%@\") leaves out: %@"),
                                        {item.identifier, name, conversion.leftOut.join(QStringLiteral(", "))}));
        switch (conversion.outcome) {
        case NoteConversion::Outcome::Converted:
            break;
        case NoteConversion::Outcome::OriginalFileAttached:
            noteItemProblem(item, ItemProblemKind::OriginalFileAttached, conversion.reason);
            break;
        case NoteConversion::Outcome::NotWritten:
            if (stopIfOutOfSpace(notesFolder))
                return std::nullopt;
            noteItemProblem(item, ItemProblemKind::NotImported, conversion.reason);
            break;
        }
        setFileDates(notePath, item);
        OVStandardPaths::removeItemAtPath(stagedPath);
        return PlacedFile {NVItemTypeNote, notePath, noteName};
    };

    steps.completeRecord = [this](ExportedItem &exported, KSItemRecord &record) {
        setNameAndDates(record, exported);
        // Notes pass their flag on as it is, yes or no; password items without one are encrypted.
        // A flag that cannot be read is left out, as it is for a note that has none.
        const KastrelDatabaseItem &item = exported.item;
        std::optional<bool> encrypted;
        if (item.respondsToEncrypted()) {
            if (readItemProperty(exported, QStringLiteral("encrypted"), [&] { encrypted = item.encrypted(); }))
                record.encrypted = encrypted.value_or(false);
        } else if (item.respondsToPassword())
            record.encrypted = true;
    };
    return exportEachItem(items, steps);
}

void KSImportOperation::convertFileToNoteOnMainThread(const QVariantMap &request, NoteConversion *conversion)
{
    const QString originalPath = request.value(QStringLiteral("originalPath")).toString();
    const QString notePath = request.value(QStringLiteral("notePath")).toString();
    NoteConversion result;

    QTextDocument document;
    OVError error;
    bool written = false;
    RichTextReader reader;
    if (!reader.read(originalPath, &document)) {
        error = reader.error();
        qCWarning(lcEngine).noquote() << OVStringWithFormat(QStringLiteral("Cannot write note: %@"),
                                                            {error.wholeDescriptionInEnglish()});
        // Text that cannot be read is still the person's data: the note holds the file itself.
        const OVText readFailure = error.description();
        const QString name = request.value(QStringLiteral("name"), QFileInfo(originalPath).fileName()).toString();
        written = NVOriginalFileNote::write(name, originalPath, notePath, &error);
        if (written) {
            result.outcome = NoteConversion::Outcome::OriginalFileAttached;
            result.reason
                = OVLocalizedTextWithFormat(QT_TRANSLATE_NOOP("KastrelImporter", "its text could not be read (%@)"),
                                            {QVariant::fromValue(readFailure)});
        }
    } else {
        result.leftOut = reader.documentAttributes().value(RichText::LeftOutContentAttribute).toStringList();
        RTFDPackage package;
        written = package.writeDocument(&document, notePath);
        error = package.error();
        if (!written)
            qCWarning(lcEngine).noquote()
                << OVStringWithFormat(QStringLiteral("Cannot write note: %@"), {error.wholeDescriptionInEnglish()});
    }
    if (!written) {
        result.outcome = NoteConversion::Outcome::NotWritten;
        result.reason
            = OVLocalizedTextWithFormat(QT_TRANSLATE_NOOP("KastrelImporter", "its note could not be written (%@)"),
                                        {QVariant::fromValue(error.description())});
    }
    if (conversion)
        *conversion = result;
}
