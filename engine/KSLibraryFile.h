// The library file being built: the stages add their records to it, typed, and it answers
// what the run needs to know of them (the files its items name, how many items of each type,
// the groups that list an item) without anyone reading a record back by its key. At the end
// it writes itself atomically and reads itself back as the target will.
#pragma once

#include "engine/KSLibraryRecords.h"
#include "foundation/OVError.h"
#include "foundation/OVPlist.h"

#include <QColor>
#include <QHash>
#include <QList>
#include <QMap>
#include <QSet>
#include <QString>
#include <QStringList>
#include <optional>

class KSLibraryFile
{
public:
    // A record taken out because its file is not where the record says.
    struct RemovedItem
    {
        QString identifier;
        QString name; // the record's name, or its file's name when it has none
        QString path;
    };

    // An empty library; the run begins it once the export folder is there.
    KSLibraryFile();

    // Makes the (empty) table of entities, into which the stages add their tables.
    void begin();

    // Each stage makes its tables empty before it adds records to them.
    void beginGroups();
    void beginSmartGroups();
    void beginLabels();
    // The item table, with the top-level keys that name the layout's version and `exportFolder`.
    void beginItems(const QString &exportFolder);

    void addGroup(const QString &identifier, const QString &name, const QString &comments, const QStringList &members);
    void addSmartGroup(const QString &identifier, const QString &name, const QString &comments, const QString &ruleSet);
    void addRuleSet(const QString &identifier, bool matchAll, const QString &smartGroup, const QStringList &ruleValues);
    void addRuleValue(const QString &identifier, const QString &ruleSet, const QString &tagName);
    void addLabel(const QString &identifier, const QString &name, const QColor &color);
    // Puts the record under its identifier, replacing one there before.
    void addItem(const KSItemRecord &item);

    // Whether an item record is kept under `identifier`.
    bool containsItem(const QString &identifier) const;
    // "LibraryGroup", then the groups and smart groups that list the item, each in table order.
    OVPlist::Array groupsOfItem(const QString &itemIdentifier) const;
    // The files the item records name, cleaned.
    QSet<QString> files() const;
    // How many item records there are of each item type.
    QMap<qint64, qint64> itemCountsByType() const;

    // Takes out every item record whose file is not inside `folder`, not there, or under a name
    // the file cannot carry whole, and answers them in table order. `*kept` gets the files of
    // the records that stay.
    QList<RemovedItem> removeItemsWithoutFiles(const QString &folder, QSet<QString> *kept);
    // How many records, of every table, lose characters that XML cannot carry.
    qint64 recordsWithUncarriableCharacters() const;

    // Writes the library to `path` through a temporary file renamed into place.
    [[nodiscard]] bool write(const QString &path, OVText *problem = nullptr) const;
    // Reads the file at `path` as the target will: strict XML, and every file it names one of
    // `files`. A file that does not read so fails with `*problem` saying why.
    [[nodiscard]] static bool readBack(const QString &path, const QSet<QString> &files, OVText *problem = nullptr);

    // The whole library as a property list, as it is written.
    const OVPlist &propertyList() const { return m_library; }

private:
    void beginTable(const QString &entity);
    void addRecord(const QString &entity, const QString &identifier, const OVPlist &record);

    OVPlist m_library;
    // Item identifier to the groups listing it, made from the group tables on first use, so
    // finding an item's groups does not scan every group for every item.
    mutable std::optional<QHash<QString, OVPlist::Array>> m_groupIndex;
};
