#include "engine/KSLibraryFile.h"

#include "foundation/OVPlistSerialization.h"
#include "foundation/OVStringFormat.h"
#include "foundation/OVXmlCharacters.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QXmlStreamReader>
#include <algorithm>

namespace {

using namespace KSLibraryRecords;

// Whether every string and key of `value` reaches the library file whole.
bool canBeCarried(const OVPlist &value)
{
    switch (value.type()) {
    case OVPlist::Type::String:
        return OVXmlCharacters::canCarry(value.toString());
    case OVPlist::Type::Array: {
        const OVPlist::Array members = value.toArray();
        return std::all_of(members.cbegin(), members.cend(), canBeCarried);
    }
    case OVPlist::Type::Dictionary: {
        const OVPlist::Dictionary entries = value.toDictionary();
        for (auto entry = entries.cbegin(); entry != entries.cend(); ++entry) {
            if (!OVXmlCharacters::canCarry(entry.key()) || !canBeCarried(entry.value()))
                return false;
        }
        return true;
    }
    default:
        return true;
    }
}

// A file of the export, as the target will look for it: inside the folder, under a name the
// library file carries whole, and there.
bool isExportedFile(const QString &path, const QString &folderPrefix)
{
    if (!path.startsWith(folderPrefix) || !OVXmlCharacters::canCarry(path) || path.contains(QLatin1String("/../")))
        return false;
    return QFileInfo(path).exists();
}

// Appends, for every group record of `table` in table order, its identifier to the entry of
// each item it lists, once per group however often the group lists the item. Records share
// the "LibraryGroup" node and each group's identifier node: a large library holds millions
// of memberships, and one node each would cost more than the rest of the records.
void indexGroups(const OVPlist &table, QHash<QString, OVPlist::Array> &index)
{
    const OVPlist::Dictionary groups = table.toDictionary();
    for (auto group = groups.cbegin(); group != groups.cend(); ++group) {
        const OVPlist items = groupMembers(group.value());
        if (!items.isArray())
            continue;
        OVPlist identifier = group.value().value(identifierKey);
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

// Why the written file does not read back, or an empty text.
OVText readBackProblem(const QString &path, const QSet<QString> &files)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return OVText::untranslated(file.errorString());
    QXmlStreamReader reader(&file);
    bool nextIsFile = false;
    while (!reader.atEnd()) {
        if (reader.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (reader.name() == QLatin1String("key")) {
            nextIsFile = reader.readElementText() == itemFileKey;
        } else if (nextIsFile && reader.name() == QLatin1String("string")) {
            const QString named = reader.readElementText();
            if (!files.contains(named))
                return OVText::untranslated(
                    OVStringWithFormat(QStringLiteral("it names %@, which is not there"), {named}));
            nextIsFile = false;
        }
    }
    if (reader.hasError())
        return OVText::untranslated(
            OVStringWithFormat(QStringLiteral("line %ld: %@"), {qint64(reader.lineNumber()), reader.errorString()}));
    return OVText();
}

} // namespace

KSLibraryFile::KSLibraryFile()
    : m_library(OVPlist::dictionary())
{ }

void KSLibraryFile::begin()
{
    m_library.insert(entitiesKey, OVPlist::dictionary());
    m_groupIndex.reset();
}

void KSLibraryFile::beginTable(const QString &entity)
{
    m_library[entitiesKey].insert(entity, OVPlist::dictionary());
    m_groupIndex.reset();
}

void KSLibraryFile::addRecord(const QString &entity, const QString &identifier, const OVPlist &record)
{
    m_library[entitiesKey][entity].insert(identifier, record);
}

void KSLibraryFile::beginGroups()
{
    beginTable(itemGroupEntity);
}

void KSLibraryFile::beginSmartGroups()
{
    beginTable(smartGroupEntity);
    beginTable(ruleSetEntity);
    beginTable(ruleValueEntity);
}

void KSLibraryFile::beginLabels()
{
    beginTable(labelEntity);
}

void KSLibraryFile::beginItems(const QString &exportFolder)
{
    setItemStageKeys(m_library, exportFolder);
    beginTable(itemEntity);
}

void KSLibraryFile::addGroup(const QString &identifier, const QString &name, const QString &comments,
                             const QStringList &members)
{
    addRecord(itemGroupEntity, identifier, itemGroup(identifier, name, comments, members));
    m_groupIndex.reset();
}

void KSLibraryFile::addSmartGroup(const QString &identifier, const QString &name, const QString &comments,
                                  const QString &ruleSet)
{
    addRecord(smartGroupEntity, identifier, smartGroup(identifier, name, comments, ruleSet));
    m_groupIndex.reset();
}

void KSLibraryFile::addRuleSet(const QString &identifier, bool matchAll, const QString &smartGroup,
                               const QStringList &ruleValues)
{
    addRecord(ruleSetEntity, identifier, ruleSet(identifier, matchAll, smartGroup, ruleValues));
}

void KSLibraryFile::addRuleValue(const QString &identifier, const QString &ruleSet, const QString &tagName)
{
    addRecord(ruleValueEntity, identifier, ruleValue(identifier, ruleSet, tagName));
}

void KSLibraryFile::addLabel(const QString &identifier, const QString &name, const QColor &color)
{
    addRecord(labelEntity, identifier, label(identifier, name, color));
}

void KSLibraryFile::addItem(const KSItemRecord &record)
{
    addRecord(itemEntity, record.identifier, item(record));
}

bool KSLibraryFile::containsItem(const QString &identifier) const
{
    return m_library.value(entitiesKey).value(itemEntity).contains(identifier);
}

OVPlist::Array KSLibraryFile::groupsOfItem(const QString &itemIdentifier) const
{
    if (!m_groupIndex) {
        // Groups first, then smart groups, each in the order of its table.
        QHash<QString, OVPlist::Array> index;
        const OVPlist entities = m_library.value(entitiesKey);
        indexGroups(entities.value(itemGroupEntity), index);
        indexGroups(entities.value(smartGroupEntity), index);
        m_groupIndex = std::move(index);
    }
    const auto groups = m_groupIndex->constFind(itemIdentifier);
    return groups == m_groupIndex->constEnd() ? OVPlist::Array {libraryGroup()} : *groups;
}

QSet<QString> KSLibraryFile::files() const
{
    QSet<QString> result;
    const OVPlist::Dictionary records = m_library.value(entitiesKey).value(itemEntity).toDictionary();
    for (const OVPlist &record : records)
        result.insert(QDir::cleanPath(itemFile(record)));
    return result;
}

QMap<qint64, qint64> KSLibraryFile::itemCountsByType() const
{
    QMap<qint64, qint64> counts;
    const OVPlist::Dictionary records = m_library.value(entitiesKey).value(itemEntity).toDictionary();
    for (const OVPlist &record : records)
        ++counts[itemType(record)];
    return counts;
}

QList<KSLibraryFile::RemovedItem> KSLibraryFile::removeItemsWithoutFiles(const QString &folder, QSet<QString> *kept)
{
    const QString folderPrefix = QDir::cleanPath(folder) + QLatin1Char('/');
    const OVPlist::Dictionary records = m_library.value(entitiesKey).value(itemEntity).toDictionary();
    QList<RemovedItem> removed;
    for (auto record = records.cbegin(); record != records.cend(); ++record) {
        const QString path = itemFile(record.value());
        if (isExportedFile(path, folderPrefix)) {
            if (kept)
                kept->insert(path);
        } else {
            removed.append(RemovedItem {record.key(), itemName(record.value(), QFileInfo(path).fileName()), path});
        }
    }
    for (const RemovedItem &item : std::as_const(removed))
        m_library[entitiesKey][itemEntity].remove(item.identifier);
    return removed;
}

qint64 KSLibraryFile::recordsWithUncarriableCharacters() const
{
    qint64 uncarriable = 0;
    const OVPlist::Dictionary tables = m_library.value(entitiesKey).toDictionary();
    for (const OVPlist &table : tables) {
        const OVPlist::Dictionary records = table.toDictionary();
        for (auto record = records.cbegin(); record != records.cend(); ++record) {
            if (!OVXmlCharacters::canCarry(record.key()) || !canBeCarried(record.value()))
                ++uncarriable;
        }
    }
    return uncarriable;
}

bool KSLibraryFile::write(const QString &path, OVText *problem) const
{
    QSaveFile file(path);
    OVError error;
    OVText why;
    if (!file.open(QIODevice::WriteOnly))
        why = OVText::untranslated(file.errorString());
    else if (!OVPlistSerialization::writePropertyList(m_library, &file, OVPlistSerialization::Format::Xml, &error))
        why = error.description();
    else if (!file.commit())
        why = OVText::untranslated(file.errorString());
    if (problem)
        *problem = why;
    return why.english.isEmpty();
}

bool KSLibraryFile::readBack(const QString &path, const QSet<QString> &files, OVText *problem)
{
    const OVText why = readBackProblem(path, files);
    if (problem)
        *problem = why;
    return why.english.isEmpty();
}
