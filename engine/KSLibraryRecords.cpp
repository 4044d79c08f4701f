#include "engine/KSLibraryRecords.h"

#include "foundation/OVKeyedArchiver.h"

#include <QUuid>

namespace KSLibraryRecords {

namespace {

const QString libraryName = QStringLiteral("Library");
const QString rootFolder = QStringLiteral("RootFolder");

const QString itemTypeKey = QStringLiteral("itemType");
const QString filenameKey = QStringLiteral("filename");
const QString nameKey = QStringLiteral("name");
const QString itemsKey = QStringLiteral("items");

// Groups and smart groups keep their comments only when there are any.
void insertComments(OVPlist &record, const QString &comments)
{
    if (!comments.isEmpty())
        record.insert(QStringLiteral("comments"), comments);
}

// The tag name as a keyed archive whose root object is the string, which the target
// unarchives into the value its rule compares against.
QByteArray archivedTagName(const QString &tagName)
{
    return OVKeyedArchiver::archivedDataWithRootObject(tagName);
}

} // namespace

const OVPlist &libraryGroup()
{
    static const OVPlist node(QStringLiteral("LibraryGroup"));
    return node;
}

QString freshIdentifier()
{
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
}

OVPlist record(const QString &entity, const QString &identifier)
{
    OVPlist result = OVPlist::dictionary();
    result.insert(entityNameKey, entity);
    result.insert(identifierKey, identifier);
    return result;
}

OVPlist item(const KSItemRecord &item)
{
    // One entity-name node for every record: a large library has many of them.
    static const OVPlist entityName(itemEntity);
    OVPlist result = OVPlist::dictionary();
    result.insert(entityNameKey, entityName);
    result.insert(itemTypeKey, item.type);
    result.insert(identifierKey, item.identifier);
    result.insert(itemFileKey, item.path);
    result.insert(filenameKey, item.fileName);
    if (!item.name.isNull())
        result.insert(nameKey, item.name);
    result.insert(QStringLiteral("extensionHidden"), true);
    if (item.dateCreated.isValid())
        result.insert(QStringLiteral("dateCreated"), item.dateCreated);
    if (item.dateModified.isValid())
        result.insert(QStringLiteral("dateModified"), item.dateModified);
    if (item.encrypted)
        result.insert(QStringLiteral("com.orvantis.Nortavel.EncryptItemOnImport"), *item.encrypted);
    if (!item.comments.isEmpty())
        result.insert(QStringLiteral("comments"), item.comments);
    if (!item.tags.isEmpty())
        result.insert(QStringLiteral("tagsString"), item.tags);
    if (!item.label.isEmpty())
        result.insert(QStringLiteral("label"), item.label);
    result.insert(QStringLiteral("groups"), item.groups);
    return result;
}

void setItemStageKeys(OVPlist &library, const QString &exportFolder)
{
    library.insert(exporterVersionKey, 350);
    // A path, not a flag: it names what the target deletes once it has imported the library.
    library.insert(removeFileOnCompletionKey, exportFolder);
}

QString itemFile(const OVPlist &itemRecord)
{
    return itemRecord.value(itemFileKey).toString();
}

QString itemName(const OVPlist &itemRecord, const QString &fallback)
{
    return itemRecord.value(nameKey).toString(fallback);
}

qint64 itemType(const OVPlist &itemRecord)
{
    return itemRecord.value(itemTypeKey).toInteger();
}

OVPlist groupMembers(const OVPlist &groupRecord)
{
    return groupRecord.value(itemsKey);
}

OVPlist itemGroup(const QString &identifier, const QString &name, const QString &comments, const QStringList &items)
{
    OVPlist result = record(itemGroupEntity, identifier);
    result.insert(nameKey, name);
    result.insert(QStringLiteral("groupType"), itemGroupType);
    result.insert(QStringLiteral("library"), libraryName);
    result.insert(QStringLiteral("parent"), rootFolder);
    insertComments(result, comments);
    result.insert(itemsKey, OVPlist(items));
    return result;
}

OVPlist smartGroup(const QString &identifier, const QString &name, const QString &comments, const QString &ruleSet)
{
    OVPlist result = record(smartGroupEntity, identifier);
    result.insert(nameKey, name);
    result.insert(QStringLiteral("groupType"), smartGroupType);
    result.insert(QStringLiteral("library"), libraryName);
    result.insert(QStringLiteral("parent"), rootFolder);
    insertComments(result, comments);
    result.insert(QStringLiteral("ruleSet"), ruleSet);
    return result;
}

OVPlist ruleSet(const QString &identifier, bool matchAll, const QString &smartGroup, const QStringList &ruleValues)
{
    OVPlist result = record(ruleSetEntity, identifier);
    result.insert(QStringLiteral("matchAll"), matchAll);
    result.insert(QStringLiteral("smartGroup"), smartGroup);
    result.insert(QStringLiteral("ruleValues"), OVPlist(ruleValues));
    return result;
}

OVPlist ruleValue(const QString &identifier, const QString &ruleSet, const QString &tagName)
{
    OVPlist result = record(ruleValueEntity, identifier);
    result.insert(QStringLiteral("keyString"), QStringLiteral("tags.name"));
    result.insert(QStringLiteral("conditionType"), tagNameConditionType);
    result.insert(QStringLiteral("valueType"), stringValueType);
    result.insert(QStringLiteral("ruleSet"), ruleSet);
    result.insert(QStringLiteral("valueData"), archivedTagName(tagName));
    return result;
}

OVPlist label(const QString &identifier, const QString &name, const QColor &color)
{
    OVPlist result = record(labelEntity, identifier);
    result.insert(nameKey, name);
    result.insert(QStringLiteral("groupType"), labelGroupType);
    result.insert(QStringLiteral("labelLibrary"), libraryName);
    const QColor rgb = color.isValid() ? color.toRgb() : QColor();
    result.insert(QStringLiteral("redComponent"), rgb.isValid() ? rgb.redF() : 0.0);
    result.insert(QStringLiteral("greenComponent"), rgb.isValid() ? rgb.greenF() : 0.0);
    result.insert(QStringLiteral("blueComponent"), rgb.isValid() ? rgb.blueF() : 0.0);
    result.insert(QStringLiteral("alphaComponent"), rgb.isValid() ? rgb.alphaF() : 0.0);
    return result;
}

} // namespace KSLibraryRecords
