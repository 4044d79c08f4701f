// What every item record holds besides its file: comments, tags, label and groups; and the
// pieces the item loop and the kinds share (checking the file the source answered, dating it,
// the record's first keys, the error for an item that could not be exported).
#include "engine/KSImportErrors.h"
#include "engine/KSImportOperation.h"
#include "engine/KSLibraryRecords.h"
#include "engine/ScriptingValues.h"
#include "foundation/OVFileAttributes.h"
#include "foundation/OVFileNameStrings.h"
#include "foundation/OVLocalization.h"
#include "foundation/OVStringFormat.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>

namespace {

// The node every record's "groups" begins with. Records share it, and share each group's
// identifier node with the other records of the group: a large library holds millions of
// memberships, and one node each would cost more than the rest of the records.
const OVPlist &libraryGroup()
{
    static const OVPlist node(QStringLiteral("LibraryGroup"));
    return node;
}

// Appends, for every group record of `table` in table order, its identifier to the entry of
// each item it lists, once per group however often the group lists the item.
void indexGroups(const OVPlist &table, QHash<QString, OVPlist::Array> &index)
{
    const OVPlist::Dictionary groups = table.toDictionary();
    for (auto group = groups.cbegin(); group != groups.cend(); ++group) {
        const OVPlist items = group.value().value(QStringLiteral("items"));
        if (!items.isArray())
            continue;
        OVPlist identifier = group.value().value(KSLibraryRecords::identifierKey);
        if (!identifier.isString())
            identifier = OVPlist(identifier.toString());
        QSet<QString> seen;
        for (const OVPlist &item : items.toArray()) {
            const QString itemIdentifier = item.toString();
            if (item.isString() && !seen.contains(itemIdentifier)) {
                seen.insert(itemIdentifier);
                OVPlist::Array &entry = index[itemIdentifier];
                if (entry.isEmpty())
                    entry.append(libraryGroup());
                entry.append(identifier);
            }
        }
    }
}

} // namespace

void KSImportOperation::addGeneralAttributesToDatabaseItem(const KastrelDatabaseItem &item, OVPlist &itemRecord)
{
    QString comments;
    readItemProperty(QStringLiteral("comments"), [&] { comments = item.comments(); });
    if (!comments.isEmpty())
        itemRecord.insert(QStringLiteral("comments"), comments);
    QString tags;
    readItemProperty(QStringLiteral("tags"), [&] { tags = tagsStringForDatabaseItem(item); });
    if (!tags.isEmpty())
        itemRecord.insert(QStringLiteral("tagsString"), tags);
    QString label;
    readItemProperty(QStringLiteral("label"), [&] {
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
    if (!label.isEmpty())
        itemRecord.insert(QStringLiteral("label"), label);
    itemRecord.insert(QStringLiteral("groups"), groupIdentifiersForDatabaseItem(item));
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
    const QString identifier = item.id();
    if (!m_groupIndex) {
        // Groups first, then smart groups, each in the order of its table.
        QHash<QString, OVPlist::Array> index;
        const OVPlist entities = m_libraryPlist.value(KSLibraryRecords::entitiesKey);
        indexGroups(entities.value(KSLibraryRecords::itemGroupEntity), index);
        indexGroups(entities.value(KSLibraryRecords::smartGroupEntity), index);
        m_groupIndex = std::move(index);
    }
    const auto groups = m_groupIndex->constFind(identifier);
    return groups == m_groupIndex->constEnd() ? OVPlist::Array {libraryGroup()} : *groups;
}

void KSImportOperation::skipItemWithoutName(const KastrelDatabaseItem &item)
{
    const QString identifier = item.id();
    writeLog(OVStringWithFormat(QStringLiteral("Skipping item with identifier %@ because it doesn't have a name."),
                                {identifier}));
    const OVText reason = OVLocalizedText(QT_TRANSLATE_NOOP("KastrelImporter", "it has no name"));
    m_skippedItems.append(SkippedItem {identifier, m_currentOptionKey, reason.localized, reason.english});
    item.release();
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

QSet<QString> KSImportOperation::recordedFiles() const
{
    QSet<QString> files;
    const OVPlist::Dictionary records
        = m_libraryPlist.value(KSLibraryRecords::entitiesKey).value(KSLibraryRecords::itemEntity).toDictionary();
    for (const OVPlist &record : records)
        files.insert(QDir::cleanPath(record.value(QStringLiteral("absoluteFilename")).toString()));
    return files;
}

bool KSImportOperation::setFileDates(const QString &path, const KastrelDatabaseItem &item)
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

void KSImportOperation::setOnlyCopyOfFileDates(const QString &path, const KastrelDatabaseItem &item,
                                               const QString &identifier, const QString &name)
{
    if (!setFileDates(path, item))
        noteItemProblem(identifier, name, ItemProblemKind::Incomplete,
                        OVLocalizedText(QT_TRANSLATE_NOOP("KastrelImporter", "its dates could not be set")));
}

OVPlist KSImportOperation::itemRecord(qint64 type, const QString &identifier, const QString &path,
                                      const QString &fileName)
{
    static const OVPlist entityName(KSLibraryRecords::itemEntity); // one node for every record
    OVPlist record = OVPlist::dictionary();
    record.insert(KSLibraryRecords::entityNameKey, entityName);
    record.insert(QStringLiteral("itemType"), type);
    record.insert(KSLibraryRecords::identifierKey, identifier);
    record.insert(QStringLiteral("absoluteFilename"), path);
    record.insert(QStringLiteral("filename"), fileName);
    return record;
}

void KSImportOperation::insertNameAndDates(OVPlist &record, const QString &fileName, const KastrelDatabaseItem &item)
{
    record.insert(QStringLiteral("name"), OVExtensions::stringByDeletingPathExtension(fileName));
    record.insert(QStringLiteral("extensionHidden"), true);
    const QDateTime created = itemCreationDate(item);
    const QDateTime modified = itemModificationDate(item);
    if (created.isValid())
        record.insert(QStringLiteral("dateCreated"), created);
    if (modified.isValid())
        record.insert(QStringLiteral("dateModified"), modified);
}

OVError KSImportOperation::itemExportError(const char *format, const QString &name)
{
    return OVMakeError(KSImportErrorDomain, KSItemExportError, OVLocalizedTextWithFormat(format, {name}));
}
