#include "standins/nortavel/NortavelLibraryValidator.h"

#include "foundation/OVKeyedUnarchiver.h"
#include "foundation/OVPlistSerialization.h"

#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>

namespace Standin {

namespace {

constexpr int kMaximumKeptProblems = 1000;
const QString kEntityNameKey = QStringLiteral("com.orvantis.Nortavel.EntityName");

// How a key of a record is checked beyond its type.
enum class Check {
    Plain,
    EntityName, // equal to the table's name
    Identifier, // equal to the record's key in its table
    Uuid, // an identifier that is a fresh UUID in canonical upper-case form
    NonEmpty, // a string written only when it has text
    Strings, // an array of strings
    UnitInterval, // a real from 0 to 1
    ItemType, // one of the item kinds 1 to 7
};

struct KeyRule
{
    QString key;
    OVPlist::Type type;
    bool required;
    OVPlist constant; // invalid when any value of the type is taken
    Check check;
};

using Rules = QList<KeyRule>;

const QHash<QString, Rules> &recordRules()
{
    using T = OVPlist::Type;
    static const QHash<QString, Rules> rules = [] {
        const KeyRule entityName {kEntityNameKey, T::String, true, OVPlist(), Check::EntityName};
        const KeyRule identifier {QStringLiteral("identifier"), T::String, true, OVPlist(), Check::Identifier};
        const KeyRule uuidIdentifier {QStringLiteral("identifier"), T::String, true, OVPlist(), Check::Uuid};
        const KeyRule name {QStringLiteral("name"), T::String, true, OVPlist(), Check::Plain};
        const KeyRule library {QStringLiteral("library"), T::String, true, OVPlist(QStringLiteral("Library")),
                               Check::Plain};
        const KeyRule parent {QStringLiteral("parent"), T::String, true, OVPlist(QStringLiteral("RootFolder")),
                              Check::Plain};
        const KeyRule comments {QStringLiteral("comments"), T::String, false, OVPlist(), Check::NonEmpty};
        auto integer = [](const char *key, int value) {
            return KeyRule {QString::fromLatin1(key), T::Integer, true, OVPlist(value), Check::Plain};
        };
        auto component = [](const char *key) {
            return KeyRule {QString::fromLatin1(key), T::Real, true, OVPlist(), Check::UnitInterval};
        };
        QHash<QString, Rules> table;
        table.insert(QStringLiteral("ItemGroup"),
                     {entityName, name, identifier, integer("groupType", 50), library, parent, comments,
                      KeyRule {QStringLiteral("items"), T::Array, true, OVPlist(), Check::Strings}});
        table.insert(QStringLiteral("SmartGroup"),
                     {entityName, name, identifier, integer("groupType", 60), library, parent, comments,
                      KeyRule {QStringLiteral("ruleSet"), T::String, true, OVPlist(), Check::Plain}});
        table.insert(QStringLiteral("RuleSet"),
                     {entityName, uuidIdentifier,
                      KeyRule {QStringLiteral("matchAll"), T::Boolean, true, OVPlist(), Check::Plain},
                      KeyRule {QStringLiteral("smartGroup"), T::String, true, OVPlist(), Check::Plain},
                      KeyRule {QStringLiteral("ruleValues"), T::Array, true, OVPlist(), Check::Strings}});
        table.insert(
            QStringLiteral("RuleValue"),
            {entityName, uuidIdentifier,
             KeyRule {QStringLiteral("keyString"), T::String, true, OVPlist(QStringLiteral("tags.name")), Check::Plain},
             integer("conditionType", 101), integer("valueType", 8),
             KeyRule {QStringLiteral("ruleSet"), T::String, true, OVPlist(), Check::Plain},
             KeyRule {QStringLiteral("valueData"), T::Data, true, OVPlist(), Check::Plain}});
        table.insert(QStringLiteral("Label"),
                     {entityName, name, identifier, integer("groupType", 1020),
                      KeyRule {QStringLiteral("labelLibrary"), T::String, true, OVPlist(QStringLiteral("Library")),
                               Check::Plain},
                      component("redComponent"), component("greenComponent"), component("blueComponent"),
                      component("alphaComponent")});
        table.insert(QStringLiteral("Item"),
                     {entityName, KeyRule {QStringLiteral("itemType"), T::Integer, true, OVPlist(), Check::ItemType},
                      identifier,
                      KeyRule {QStringLiteral("absoluteFilename"), T::String, true, OVPlist(), Check::Plain},
                      KeyRule {QStringLiteral("filename"), T::String, true, OVPlist(), Check::Plain},
                      KeyRule {QStringLiteral("name"), T::String, false, OVPlist(), Check::Plain},
                      KeyRule {QStringLiteral("extensionHidden"), T::Boolean, true, OVPlist(true), Check::Plain},
                      KeyRule {QStringLiteral("dateCreated"), T::Date, false, OVPlist(), Check::Plain},
                      KeyRule {QStringLiteral("dateModified"), T::Date, false, OVPlist(), Check::Plain},
                      KeyRule {QStringLiteral("com.orvantis.Nortavel.EncryptItemOnImport"), T::Boolean, false,
                               OVPlist(), Check::Plain},
                      comments, KeyRule {QStringLiteral("tagsString"), T::String, false, OVPlist(), Check::NonEmpty},
                      KeyRule {QStringLiteral("label"), T::String, false, OVPlist(), Check::Plain},
                      KeyRule {QStringLiteral("groups"), T::Array, true, OVPlist(), Check::Strings}});
        return table;
    }();
    return rules;
}

QString typeName(OVPlist::Type type)
{
    return OVPlist::typeName(type);
}

// The file name without the text behind its last dot (a leading dot starts no extension).
QString withoutExtension(const QString &fileName)
{
    const qsizetype dot = fileName.lastIndexOf(QLatin1Char('.'));
    return dot > 0 ? fileName.left(dot) : fileName;
}

} // namespace

QJsonObject NortavelLibraryProblem::toJson() const
{
    QJsonObject object {{QStringLiteral("message"), message}};
    if (!table.isEmpty())
        object.insert(QStringLiteral("table"), table);
    if (!identifier.isEmpty())
        object.insert(QStringLiteral("identifier"), identifier);
    if (!key.isEmpty())
        object.insert(QStringLiteral("key"), key);
    return object;
}

QString NortavelLibraryProblem::toString() const
{
    QString place = table;
    if (!identifier.isEmpty())
        place += QLatin1Char('/') + identifier;
    if (!key.isEmpty())
        place += (place.isEmpty() ? QString() : QStringLiteral(" ")) + key;
    return place.isEmpty() ? message : place + QStringLiteral(": ") + message;
}

const QStringList &NortavelLibraryValidator::tableNames()
{
    static const QStringList names {QStringLiteral("ItemGroup"), QStringLiteral("SmartGroup"),
                                    QStringLiteral("RuleSet"),   QStringLiteral("RuleValue"),
                                    QStringLiteral("Label"),     QStringLiteral("Item")};
    return names;
}

NortavelLibraryValidator::NortavelLibraryValidator(QString libraryFilePath)
    : m_libraryFilePath(std::move(libraryFilePath))
{ }

void NortavelLibraryValidator::problem(const QString &table, const QString &identifier, const QString &key,
                                       const QString &message)
{
    if (m_problems.size() >= kMaximumKeptProblems) {
        ++m_omittedProblems;
        return;
    }
    m_problems << NortavelLibraryProblem {table, identifier, key, message};
}

void NortavelLibraryValidator::warning(const QString &table, const QString &identifier, const QString &key,
                                       const QString &message)
{
    if (m_warnings.size() < kMaximumKeptProblems)
        m_warnings << NortavelLibraryProblem {table, identifier, key, message};
}

bool NortavelLibraryValidator::validate(const QByteArray &data)
{
    m_problems.clear();
    m_warnings.clear();
    m_omittedProblems = 0;
    OVError error;
    const OVPlist library = OVPlistSerialization::propertyListWithData(data, nullptr, &error);
    if (!library.isValid()) {
        problem(QString(), QString(), QString(),
                QStringLiteral("not a property list: %1").arg(error.localizedDescription));
        return false;
    }
    return validate(library);
}

bool NortavelLibraryValidator::validate(const OVPlist &library)
{
    m_exportFolder.clear();
    m_problems.clear();
    m_warnings.clear();
    m_omittedProblems = 0;
    if (!library.isDictionary()) {
        problem(QString(), QString(), QString(),
                QStringLiteral("the library must be a dictionary, not %1").arg(typeName(library.type())));
        return false;
    }
    checkTopLevel(library);
    const OVPlist entities = library.value(QStringLiteral("Entities"));
    if (entities.isDictionary()) {
        for (const QString &table : tableNames()) {
            const OVPlist records = entities.value(table);
            if (!records.isValid())
                problem(table, QString(), QString(), QStringLiteral("the table is missing"));
            else if (!records.isDictionary())
                problem(table, QString(), QString(),
                        QStringLiteral("the table must be a dictionary, not %1").arg(typeName(records.type())));
            else
                checkRecords(table, records);
        }
        for (const QString &table : entities.keys()) {
            if (!tableNames().contains(table))
                problem(table, QString(), QString(), QStringLiteral("unknown entity table"));
        }
        checkReferences(entities);
    }
    return m_problems.isEmpty() && m_omittedProblems == 0;
}

void NortavelLibraryValidator::checkTopLevel(const OVPlist &library)
{
    const QStringList known {QStringLiteral("Entities"), QStringLiteral("ExporterVersion"),
                             QStringLiteral("RemoveFileOnCompletion")};
    for (const QString &key : library.keys()) {
        if (!known.contains(key))
            problem(QString(), QString(), key, QStringLiteral("unknown top-level key"));
    }
    const OVPlist entities = library.value(QStringLiteral("Entities"));
    if (!entities.isValid())
        problem(QString(), QString(), QStringLiteral("Entities"), QStringLiteral("missing"));
    else if (!entities.isDictionary())
        problem(QString(), QString(), QStringLiteral("Entities"),
                QStringLiteral("must be a dictionary, not %1").arg(typeName(entities.type())));

    const OVPlist version = library.value(QStringLiteral("ExporterVersion"));
    if (!version.isValid())
        problem(QString(), QString(), QStringLiteral("ExporterVersion"), QStringLiteral("missing"));
    else if (!version.isInteger())
        problem(QString(), QString(), QStringLiteral("ExporterVersion"),
                QStringLiteral("must be an integer, not %1").arg(typeName(version.type())));
    else if (version.toInteger() != 350)
        problem(QString(), QString(), QStringLiteral("ExporterVersion"),
                QStringLiteral("must be 350, not %1").arg(version.toInteger()));

    const QString removeKey = QStringLiteral("RemoveFileOnCompletion");
    const OVPlist remove = library.value(removeKey);
    if (remove.isString() && QFileInfo(remove.toString()).isAbsolute()
        && QDir::cleanPath(remove.toString()) != QLatin1String("/"))
        m_exportFolder = QDir::cleanPath(remove.toString());
    if (!remove.isValid()) {
        problem(QString(), QString(), removeKey, QStringLiteral("missing"));
    } else if (!remove.isString()) {
        problem(QString(), QString(), removeKey,
                QStringLiteral("must be a string (a folder's path), not %1").arg(typeName(remove.type())));
    } else if (!QFileInfo(remove.toString()).isAbsolute() || QDir::cleanPath(remove.toString()) == QLatin1String("/")) {
        problem(QString(), QString(), removeKey,
                QStringLiteral("must be the absolute path of the export folder, not \"%1\"").arg(remove.toString()));
    } else if (!m_libraryFilePath.isEmpty()
               && QDir::cleanPath(remove.toString()) != QDir::cleanPath(QFileInfo(m_libraryFilePath).absolutePath())) {
        // The folder is deleted after the import: it must be the one the file came in.
        problem(QString(), QString(), removeKey,
                QStringLiteral("\"%1\" is not the folder holding the library file").arg(remove.toString()));
    }
}

void NortavelLibraryValidator::checkRecords(const QString &table, const OVPlist &records)
{
    const OVPlist::Dictionary dictionary = records.toDictionary();
    for (auto it = dictionary.constBegin(); it != dictionary.constEnd(); ++it)
        checkRecord(table, it.key(), it.value());
}

void NortavelLibraryValidator::checkRecord(const QString &table, const QString &identifier, const OVPlist &record)
{
    if (!record.isDictionary()) {
        problem(table, identifier, QString(),
                QStringLiteral("a record must be a dictionary, not %1").arg(typeName(record.type())));
        return;
    }
    static const QRegularExpression uuid(
        QStringLiteral("^[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}$"));
    const Rules &rules = recordRules().value(table);
    QStringList known;
    for (const KeyRule &rule : rules) {
        known << rule.key;
        const OVPlist value = record.value(rule.key);
        if (!value.isValid()) {
            if (rule.required)
                problem(table, identifier, rule.key, QStringLiteral("missing"));
            continue;
        }
        if (value.type() != rule.type) {
            problem(table, identifier, rule.key,
                    QStringLiteral("must be %1, not %2").arg(typeName(rule.type), typeName(value.type())));
            continue;
        }
        if (rule.constant.isValid() && value != rule.constant) {
            problem(
                table, identifier, rule.key,
                QStringLiteral("must be %1, not %2").arg(rule.constant.debugDescription(), value.debugDescription()));
            continue;
        }
        switch (rule.check) {
        case Check::Plain:
            break;
        case Check::EntityName:
            if (value.toString() != table)
                problem(table, identifier, rule.key,
                        QStringLiteral("names entity \"%1\" in the table of \"%2\"").arg(value.toString(), table));
            break;
        case Check::Identifier:
            if (value.toString() != identifier)
                problem(table, identifier, rule.key,
                        QStringLiteral("\"%1\" differs from the record's key in its table").arg(value.toString()));
            break;
        case Check::Uuid:
            if (value.toString() != identifier)
                problem(table, identifier, rule.key,
                        QStringLiteral("\"%1\" differs from the record's key in its table").arg(value.toString()));
            else if (!uuid.match(identifier).hasMatch())
                problem(table, identifier, rule.key, QStringLiteral("is not an upper-case UUID"));
            break;
        case Check::NonEmpty:
            if (value.toString().isEmpty())
                problem(table, identifier, rule.key, QStringLiteral("is written only when it is not empty"));
            break;
        case Check::Strings:
            for (qsizetype i = 0; i < value.size(); ++i) {
                if (!value.at(i).isString()) {
                    problem(
                        table, identifier, rule.key,
                        QStringLiteral("entry %1 must be a string, not %2").arg(i).arg(typeName(value.at(i).type())));
                    break;
                }
            }
            break;
        case Check::UnitInterval: {
            const double component = value.toReal();
            if (!(component >= 0.0 && component <= 1.0))
                problem(table, identifier, rule.key, QStringLiteral("%1 lies outside 0 to 1").arg(component));
            break;
        }
        case Check::ItemType:
            if (value.toInteger() < 1 || value.toInteger() > 7)
                problem(table, identifier, rule.key, QStringLiteral("%1 is no item kind").arg(value.toInteger()));
            break;
        }
    }
    for (const QString &key : record.keys()) {
        if (!known.contains(key))
            problem(table, identifier, key, QStringLiteral("unknown key"));
    }
    if (table == QLatin1String("Item"))
        checkItemFile(identifier, record);
    else if (table == QLatin1String("RuleValue"))
        checkKeyedArchiveOfString(identifier, record.value(QStringLiteral("valueData")));
}

void NortavelLibraryValidator::checkItemFile(const QString &identifier, const OVPlist &record)
{
    const QString table = QStringLiteral("Item");
    const OVPlist absolute = record.value(QStringLiteral("absoluteFilename"));
    const OVPlist filename = record.value(QStringLiteral("filename"));
    const OVPlist name = record.value(QStringLiteral("name"));
    if (!absolute.isString())
        return;
    const QString path = absolute.toString();
    if (!QFileInfo(path).isAbsolute()) {
        problem(table, identifier, QStringLiteral("absoluteFilename"),
                QStringLiteral("\"%1\" is not absolute").arg(path));
        return;
    }
    const QString lastComponent = QFileInfo(path).fileName();
    if (filename.isString() && filename.toString() != lastComponent)
        problem(table, identifier, QStringLiteral("filename"),
                QStringLiteral("\"%1\" is not the last component of \"%2\"").arg(filename.toString(), path));
    if (name.isString() && filename.isString() && name.toString() != withoutExtension(filename.toString()))
        problem(table, identifier, QStringLiteral("name"),
                QStringLiteral("\"%1\" is not the file name \"%2\" without its extension")
                    .arg(name.toString(), filename.toString()));
    // Items travel inside the export folder; a path elsewhere would have the target copy
    // (and the exporter later delete) something that is not the export's.
    if (!m_exportFolder.isEmpty() && !QDir::cleanPath(path).startsWith(m_exportFolder + QLatin1Char('/')))
        problem(table, identifier, QStringLiteral("absoluteFilename"),
                QStringLiteral("\"%1\" lies outside the export folder \"%2\"").arg(path, m_exportFolder));
    if (m_checksFiles && !QFileInfo::exists(path) && !QFileInfo(path).isSymLink())
        problem(table, identifier, QStringLiteral("absoluteFilename"), QStringLiteral("no file at \"%1\"").arg(path));
}

void NortavelLibraryValidator::checkKeyedArchiveOfString(const QString &identifier, const OVPlist &data)
{
    if (!data.isData())
        return;
    OVError error;
    if (!OVKeyedUnarchiver::unarchivedObjectOfClass<QString>(data.toData(), &error))
        problem(QStringLiteral("RuleValue"), identifier, QStringLiteral("valueData"),
                QStringLiteral("is not a keyed archive of a string: %1").arg(error.localizedDescription));
}

void NortavelLibraryValidator::checkReferences(const OVPlist &entities)
{
    const OVPlist itemGroups = entities.value(QStringLiteral("ItemGroup"));
    const OVPlist smartGroups = entities.value(QStringLiteral("SmartGroup"));
    const OVPlist ruleSets = entities.value(QStringLiteral("RuleSet"));
    const OVPlist ruleValues = entities.value(QStringLiteral("RuleValue"));
    const OVPlist labels = entities.value(QStringLiteral("Label"));
    const OVPlist items = entities.value(QStringLiteral("Item"));
    auto stringOf
        = [](const OVPlist &record, const char *key) { return record.value(QString::fromLatin1(key)).toString(); };

    // Groups list item identifiers; items that were not exported (switched off, or without
    // a name) leave identifiers the target passes over.
    if (itemGroups.isDictionary()) {
        const OVPlist::Dictionary groups = itemGroups.toDictionary();
        for (auto it = groups.constBegin(); it != groups.constEnd(); ++it) {
            for (const QString &member : it.value().value(QStringLiteral("items")).toStringList()) {
                if (!items.contains(member))
                    warning(QStringLiteral("ItemGroup"), it.key(), QStringLiteral("items"),
                            QStringLiteral("item \"%1\" is not in the library").arg(member));
            }
        }
    }

    if (smartGroups.isDictionary()) {
        const OVPlist::Dictionary groups = smartGroups.toDictionary();
        for (auto it = groups.constBegin(); it != groups.constEnd(); ++it) {
            const QString ruleSet = stringOf(it.value(), "ruleSet");
            if (ruleSet.isEmpty())
                continue;
            if (!ruleSets.contains(ruleSet))
                problem(QStringLiteral("SmartGroup"), it.key(), QStringLiteral("ruleSet"),
                        QStringLiteral("rule set \"%1\" does not exist").arg(ruleSet));
            else if (stringOf(ruleSets.value(ruleSet), "smartGroup") != it.key())
                problem(QStringLiteral("SmartGroup"), it.key(), QStringLiteral("ruleSet"),
                        QStringLiteral("rule set \"%1\" belongs to another smart group").arg(ruleSet));
        }
    }

    if (ruleSets.isDictionary()) {
        const OVPlist::Dictionary sets = ruleSets.toDictionary();
        for (auto it = sets.constBegin(); it != sets.constEnd(); ++it) {
            const QString smartGroup = stringOf(it.value(), "smartGroup");
            if (!smartGroup.isEmpty() && !smartGroups.contains(smartGroup))
                problem(QStringLiteral("RuleSet"), it.key(), QStringLiteral("smartGroup"),
                        QStringLiteral("smart group \"%1\" does not exist").arg(smartGroup));
            else if (!smartGroup.isEmpty() && stringOf(smartGroups.value(smartGroup), "ruleSet") != it.key())
                problem(QStringLiteral("RuleSet"), it.key(), QStringLiteral("smartGroup"),
                        QStringLiteral("smart group \"%1\" points to another rule set").arg(smartGroup));
            for (const QString &value : it.value().value(QStringLiteral("ruleValues")).toStringList()) {
                if (!ruleValues.contains(value))
                    problem(QStringLiteral("RuleSet"), it.key(), QStringLiteral("ruleValues"),
                            QStringLiteral("rule value \"%1\" does not exist").arg(value));
                else if (stringOf(ruleValues.value(value), "ruleSet") != it.key())
                    problem(QStringLiteral("RuleSet"), it.key(), QStringLiteral("ruleValues"),
                            QStringLiteral("rule value \"%1\" belongs to another rule set").arg(value));
            }
        }
    }

    if (ruleValues.isDictionary()) {
        const OVPlist::Dictionary values = ruleValues.toDictionary();
        for (auto it = values.constBegin(); it != values.constEnd(); ++it) {
            const QString ruleSet = stringOf(it.value(), "ruleSet");
            if (ruleSet.isEmpty())
                continue;
            if (!ruleSets.contains(ruleSet))
                problem(QStringLiteral("RuleValue"), it.key(), QStringLiteral("ruleSet"),
                        QStringLiteral("rule set \"%1\" does not exist").arg(ruleSet));
            else if (!ruleSets.value(ruleSet).value(QStringLiteral("ruleValues")).toStringList().contains(it.key()))
                problem(QStringLiteral("RuleValue"), it.key(), QStringLiteral("ruleSet"),
                        QStringLiteral("rule set \"%1\" does not list this rule value").arg(ruleSet));
        }
    }

    if (items.isDictionary()) {
        const OVPlist::Dictionary records = items.toDictionary();
        for (auto it = records.constBegin(); it != records.constEnd(); ++it) {
            const OVPlist label = it.value().value(QStringLiteral("label"));
            if (label.isString() && !labels.contains(label.toString()))
                problem(QStringLiteral("Item"), it.key(), QStringLiteral("label"),
                        QStringLiteral("label \"%1\" does not exist").arg(label.toString()));
            const OVPlist groups = it.value().value(QStringLiteral("groups"));
            if (!groups.isArray())
                continue;
            if (groups.at(0) != OVPlist(QStringLiteral("LibraryGroup")))
                problem(QStringLiteral("Item"), it.key(), QStringLiteral("groups"),
                        QStringLiteral("must begin with \"LibraryGroup\""));
            for (qsizetype i = 1; i < groups.size(); ++i) {
                const QString group = groups.at(i).toString();
                if (groups.at(i).isString() && !itemGroups.contains(group) && !smartGroups.contains(group))
                    problem(QStringLiteral("Item"), it.key(), QStringLiteral("groups"),
                            QStringLiteral("group \"%1\" does not exist").arg(group));
            }
        }
    }
}

} // namespace Standin
