#include "engine/KSLibraryRecords.h"

#include "foundation/OVKeyedArchiver.h"

#include <QUuid>

namespace KSLibraryRecords {

namespace {

const QString libraryName = QStringLiteral("Library");
const QString rootFolder = QStringLiteral("RootFolder");

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

OVPlist itemGroup(const QString &identifier, const QString &name, const QString &comments, const QStringList &items)
{
    OVPlist result = record(itemGroupEntity, identifier);
    result.insert(QStringLiteral("name"), name);
    result.insert(QStringLiteral("groupType"), itemGroupType);
    result.insert(QStringLiteral("library"), libraryName);
    result.insert(QStringLiteral("parent"), rootFolder);
    insertComments(result, comments);
    result.insert(QStringLiteral("items"), OVPlist(items));
    return result;
}

OVPlist smartGroup(const QString &identifier, const QString &name, const QString &comments, const QString &ruleSet)
{
    OVPlist result = record(smartGroupEntity, identifier);
    result.insert(QStringLiteral("name"), name);
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
    result.insert(QStringLiteral("name"), name);
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
