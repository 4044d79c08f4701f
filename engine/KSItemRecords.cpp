// What every item record holds besides its file: comments, tags, label and groups; and the
// pieces the item loop and the kinds share (checking the file the source answered, dating it,
// the name and dates, the error for an item that could not be exported).
#include "engine/KSImportErrors.h"
#include "engine/KSImportOperation.h"
#include "engine/ScriptingValues.h"
#include "foundation/OVFileAttributes.h"
#include "foundation/OVFileNameStrings.h"
#include "foundation/OVLocalization.h"
#include "foundation/OVStringFormat.h"

#include <QDir>
#include <QFileInfo>

void KSImportOperation::addGeneralAttributesToDatabaseItem(ExportedItem &exported, KSItemRecord &record)
{
    const KastrelDatabaseItem &item = exported.item;
    readItemProperty(exported, QStringLiteral("comments"), [&] { record.comments = item.comments(); });
    readItemProperty(exported, QStringLiteral("tags"), [&] { record.tags = tagsStringForDatabaseItem(item); });
    QString label;
    readItemProperty(exported, QStringLiteral("label"), [&] {
        const std::optional<KastrelLabel> reference = item.label();
        if (!reference)
            return;
        try {
            label = reference->id();
        } catch (const KSScriptingValueException &) {
            throw;
        } catch (const KSScriptingException &exception) {
            // The source refused to read the object the reference names: it leads nowhere.
            // A source that quit or hangs ends the run as ever.
            if (exception.failure() != KSScriptingException::Failure::Other)
                throw;
            throw KSScriptingValueException(
                QStringLiteral("The label %1 is not there: %2").arg(reference->objectPath(), exception.reason()));
        }
    });
    record.label = label;
    record.groups = groupIdentifiersForDatabaseItem(item);
}

QString KSImportOperation::tagsStringForDatabaseItem(const KastrelDatabaseItem &item)
{
    QStringList names;
    for (const KastrelTag &tag : item.tags().get())
        names.append(tag.name());
    // Names go in as they are: a comma inside a name is the target's to make sense of.
    return names.isEmpty() ? QString() : names.join(QLatin1Char(','));
}

OVPlist::Array KSImportOperation::groupIdentifiersForDatabaseItem(const KastrelDatabaseItem &item)
{
    return m_library.groupsOfItem(item.id());
}

void KSImportOperation::skipItemWithoutName(const ExportedItem &item)
{
    writeLog(OVStringWithFormat(QStringLiteral("Skipping item with identifier %@ because it doesn't have a name."),
                                {item.identifier}));
    const OVText reason = OVLocalizedText(QT_TRANSLATE_NOOP("KastrelImporter", "it has no name"));
    m_skippedItems.append(SkippedItem {item.identifier, item.optionKey, reason.localized, reason.english});
    m_reportItems.markPassedOver(item.reportIndex, reason.localized, reason.english);
    item.item.release();
    informDelegateDidImportRecordOfType(QString(QLatin1String("")));
}

QString KSImportOperation::checkedExportPath(const KastrelDatabaseItem &item, const QString &answered,
                                             const QString &folder)
{
    if (answered.isEmpty())
        return QString();
    // Only a file written straight into the folder we gave is ours to move, convert or delete.
    const QFileInfo written(answered);
    if (!written.isAbsolute() || QDir::cleanPath(written.absolutePath()) != QDir::cleanPath(folder)
        || written.fileName() == QLatin1String("..") || written.fileName() == QLatin1String(".")
        || (!written.exists() && !written.isSymLink())) {
        writeLog(OVStringWithFormat(QStringLiteral("Ignoring export of item %@ to %@: not a file in %@"),
                                    {item.id(), answered, folder}));
        return QString();
    }
    return QDir::cleanPath(answered);
}

bool KSImportOperation::setFileDates(const QString &path, ExportedItem &item)
{
    const QDateTime created = itemCreationDate(item);
    const QDateTime modified = itemModificationDate(item);
    bool set = true;
    if (created.isValid())
        set = OVFileAttributes::setCreationDate(path, created) && set;
    if (modified.isValid())
        set = OVFileAttributes::setModificationDate(path, modified) && set;
    return set;
}

void KSImportOperation::setOnlyCopyOfFileDates(const QString &path, ExportedItem &item)
{
    if (!setFileDates(path, item))
        noteItemProblem(item, ItemProblemKind::Incomplete,
                        OVLocalizedText(QT_TRANSLATE_NOOP("KastrelImporter", "its dates could not be set")));
}

void KSImportOperation::setNameAndDates(KSItemRecord &record, ExportedItem &item)
{
    record.name = OVExtensions::stringByDeletingPathExtension(record.fileName);
    record.dateCreated = itemCreationDate(item);
    record.dateModified = itemModificationDate(item);
}

OVError KSImportOperation::itemExportError(const char *format, const QString &name)
{
    return OVMakeError(KSImportErrorDomain, KSItemExportError, OVLocalizedTextWithFormat(format, {name}));
}
